// fuzz_eventdata.cpp: recorded events as they arrive from another process.
// Input: the bytes of a data stream holding one record.
#include "fuzzsupport.h"

#include "eventdata.h"

#include <QDataStream>

using namespace Vexil;

namespace {

void checkDefaults(const EventData &data)
{
    FUZZ_CHECK(data.type == EventData::EventType);
    FUZZ_CHECK(data.eventName.isEmpty() && data.methodName.isEmpty() && data.objectId.isEmpty());
    FUZZ_CHECK(data.arguments.size() == 0 && data.timeStamp.isNull());
    FUZZ_CHECK(data.extraText.isEmpty() && data.argumentTexts.isEmpty());
    FUZZ_CHECK(data.extraValue == -1 && data.itemText.isEmpty());
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    VexilFuzz::initialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    EventData record = EventData::fromComment(QStringLiteral("before"));
    const qint32 index = record.index;
    QDataStream in(bytes);
    record.readObject(in);
    FUZZ_CHECK(record.index == index);
    if (in.status() != QDataStream::Ok) {
        checkDefaults(record);
        return 0;
    }
    record.toDebugString();

    // A record read successfully writes bytes that read back to an equal record.
    const QByteArray written = VexilFuzz::written([&](QDataStream &out) { record.writeObject(out); });
    EventData again;
    QDataStream in2(written);
    again.readObject(in2);
    FUZZ_CHECK(in2.status() == QDataStream::Ok);
    FUZZ_CHECK(in2.atEnd());
    FUZZ_CHECK(VexilFuzz::written([&](QDataStream &out) { again.writeObject(out); }) == written);
    FUZZ_CHECK(again.toDebugString() == record.toDebugString());

    // Copies carry everything, the index included.
    EventData copy(record);
    FUZZ_CHECK(copy == record);
    FUZZ_CHECK(VexilFuzz::written([&](QDataStream &out) { copy.writeObject(out); }) == written);
    return 0;
}
