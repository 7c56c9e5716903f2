// eventdata.cpp: recorded event data, its detached arguments, debug text and stream form.
#include "eventdata.h"

#include "diagnostics.h"
#include "inspector.h"

#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#include <QDateTime>
#include <QVarLengthArray>
#include <QtEndian>

#include <atomic>
#include <cstdio>
#include <vector>

namespace Vexil {

namespace {

// The index counter is shared by every record of the process. Atomic so that records made on other threads
// still get distinct numbers; nothing else about records is thread-safe.
std::atomic<quint32> s_nextIndex(0);

// QTime::currentTime() goes through the C library's local time conversion on every call, which re-reads the
// time zone and costs microseconds; records are made (and read) by the hundred thousand. The offset from UTC
// only changes at zone transitions, which fall on whole minutes, so it is looked up once per minute.
QTime currentTimeOfDay()
{
    static const qint64 msecsPerDay = 86400000;
    thread_local qint64 cachedMinute = -1;
    thread_local qint64 offsetMsecs = 0;
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const qint64 minute = now / 60000;
    if (minute != cachedMinute) {
        offsetMsecs = qint64(QDateTime::fromMSecsSinceEpoch(now, Qt::UTC).toLocalTime().offsetFromUtc())
            * 1000;
        cachedMinute = minute;
    }
    qint64 msecs = (now + offsetMsecs) % msecsPerDay;
    if (msecs < 0)
        msecs += msecsPerDay;
    return QTime::fromMSecsSinceStartOfDay(int(msecs));
}

bool streamOk(const QDataStream &stream)
{
    return stream.status() == QDataStream::Ok;
}

void markCorrupt(QDataStream &stream)
{
    // setStatus keeps an earlier failure, which is what we want.
    stream.setStatus(QDataStream::ReadCorruptData);
}

// QDataStream's own QList reader reserves the count it reads before reading any element, so a corrupt count
// would allocate gigabytes. This reads the same form, growing with the elements actually present.
bool readStringList(QDataStream &stream, QStringList &list)
{
    list.clear();
    quint32 n = 0;
    stream >> n;
    if (!streamOk(stream))
        return false;
    for (quint32 i = 0; i < n; ++i) {
        QString text;
        stream >> text;
        if (!streamOk(stream)) {
            list.clear();
            return false;
        }
        list.append(text);
    }
    return true;
}

bool readArgument(QDataStream &stream, EventDataArg &arg, int depth);

// Reads a count (32-bit signed) and that many arguments into \p out. The count is not trusted: elements are
// collected one by one, so a short stream fails at its end instead of allocating for a count it never holds.
bool readArguments(QDataStream &stream, FVector<EventDataArg> &out, int depth)
{
    qint32 count = 0;
    stream >> count;
    if (!streamOk(stream))
        return false;
    if (count < 0) {
        markCorrupt(stream);
        return false;
    }
    std::vector<EventDataArg> collected;
    for (qint32 i = 0; i < count; ++i) {
        collected.emplace_back();
        if (!readArgument(stream, collected.back(), depth))
            return false;
    }
    FVector<EventDataArg> result(unsigned(collected.size()));
    for (unsigned i = 0; i < result.size(); ++i)
        result[i] = std::move(collected[i]);
    out = std::move(result);
    return true;
}

bool readArgumentFields(QDataStream &stream, EventDataArg &arg, int depth)
{
    stream >> arg.name >> arg.classId >> arg.kind;
    if (!streamOk(stream))
        return false;
    switch (arg.kind) {
    case EventDataArg::PlainValue:
        stream >> arg.value >> arg.typeId;
        return streamOk(stream);
    case EventDataArg::ObjectValue:
        // Each level costs the reader a stack frame; a stream nested deeper than any recording makes is corrupt.
        if (depth >= EventDataArg::maxStreamDepth) {
            markCorrupt(stream);
            return false;
        }
        return readArguments(stream, arg.args(), depth + 1);
    case EventDataArg::EnumValue:
        stream >> arg.enumName >> arg.value;
        return streamOk(stream) && readStringList(stream, arg.keys);
    default:
        // Kinds this version does not know carry nothing more.
        return true;
    }
}

bool readArgument(QDataStream &stream, EventDataArg &arg, int depth)
{
    arg = EventDataArg();
    if (readArgumentFields(stream, arg, depth))
        return true;
    arg = EventDataArg();
    return false;
}

// QDataStream costs a virtual device call per field, several times what the record itself costs. Streams of
// the usual kind (big-endian, Qt 4 form or later, over a QBuffer) are therefore read from the buffer's memory
// and written as one block. Anything else, and any record the memory reader does not accept whole, goes
// through QDataStream field by field, which stays the reference for the form and for every error.
bool usualForm(const QDataStream &stream)
{
    return stream.status() == QDataStream::Ok && stream.byteOrder() == QDataStream::BigEndian
        && stream.version() >= QDataStream::Qt_4_0;
}

class MemoryWriter
{
public:
    void u32(quint32 v)
    {
        const int at = m_bytes.size();
        m_bytes.resize(at + 4);
        qToBigEndian(v, m_bytes.data() + at);
    }
    void text(const QString &s)
    {
        if (s.isNull()) {
            u32(0xffffffffu);
            return;
        }
        const int n = s.size();
        u32(quint32(n) * 2);
        const int at = m_bytes.size();
        m_bytes.resize(at + 2 * n);
        qToBigEndian<quint16>(s.utf16(), n, m_bytes.data() + at);
    }
    void texts(const QStringList &list)
    {
        u32(quint32(list.size()));
        for (const QString &s : list)
            text(s);
    }
    void argument(const EventDataArg &arg)
    {
        text(arg.name);
        u32(quint32(arg.classId));
        u32(quint32(arg.kind));
        switch (arg.kind) {
        case EventDataArg::PlainValue:
            text(arg.value);
            u32(quint32(arg.typeId));
            break;
        case EventDataArg::ObjectValue:
            u32(arg.args().size());
            for (const EventDataArg &sub : arg.args())
                argument(sub);
            break;
        case EventDataArg::EnumValue:
            text(arg.enumName);
            text(arg.value);
            texts(arg.keys);
            break;
        default:
            break;
        }
    }
    void flush(QDataStream &stream) { stream.writeRawData(m_bytes.constData(), m_bytes.size()); }

private:
    QVarLengthArray<char, 1024> m_bytes;
};

// Every read fails on a short or unusual input without touching the stream; the caller then starts over
// through QDataStream, which reports it.
class MemoryReader
{
public:
    MemoryReader(const char *begin, const char *end)
        : m_begin(begin)
        , m_at(begin)
        , m_end(end)
    {
    }

    qint64 consumed() const { return m_at - m_begin; }

    bool u32(quint32 &v)
    {
        if (m_end - m_at < 4)
            return false;
        v = qFromBigEndian<quint32>(m_at);
        m_at += 4;
        return true;
    }
    bool i32(qint32 &v)
    {
        quint32 u;
        if (!u32(u))
            return false;
        v = qint32(u);
        return true;
    }
    bool text(QString &s)
    {
        quint32 bytes;
        if (!u32(bytes))
            return false;
        if (bytes == 0xffffffffu) {
            s = QString();
            return true;
        }
        if ((bytes & 1) || quint64(m_end - m_at) < bytes)
            return false;
        if (bytes == 0) {
            s = QLatin1String(""); // empty, not null, as QDataStream reads it
            return true;
        }
        const int n = int(bytes / 2);
        s = QString(n, Qt::Uninitialized);
        qFromBigEndian<quint16>(m_at, n, s.data());
        m_at += bytes;
        return true;
    }
    bool texts(QStringList &list)
    {
        quint32 n;
        // Each text takes at least its 4-byte length, which bounds what a corrupt count can reserve.
        if (!u32(n) || quint64(n) * 4 > quint64(m_end - m_at))
            return false;
        list.clear();
        list.reserve(int(n));
        for (quint32 i = 0; i < n; ++i) {
            QString s;
            if (!text(s))
                return false;
            list.append(std::move(s));
        }
        return true;
    }
    bool arguments(FVector<EventDataArg> &out, int depth)
    {
        qint32 count;
        // An argument takes at least 12 bytes (name, class, kind).
        if (!i32(count) || count < 0 || quint64(count) * 12 > quint64(m_end - m_at))
            return false;
        FVector<EventDataArg> result(static_cast<unsigned>(count));
        for (EventDataArg &arg : result) {
            if (!argument(arg, depth))
                return false;
        }
        out = std::move(result);
        return true;
    }
    bool argument(EventDataArg &arg, int depth)
    {
        if (!text(arg.name) || !i32(arg.classId) || !i32(arg.kind))
            return false;
        switch (arg.kind) {
        case EventDataArg::PlainValue:
            return text(arg.value) && i32(arg.typeId);
        case EventDataArg::ObjectValue:
            return depth < EventDataArg::maxStreamDepth && arguments(arg.args(), depth + 1);
        case EventDataArg::EnumValue:
            return text(arg.enumName) && text(arg.value) && texts(arg.keys);
        default:
            return true;
        }
    }

private:
    const char *m_begin;
    const char *m_at;
    const char *m_end;
};

// Runs \p read over the unread bytes of the stream's buffer and moves the stream past what it took. False,
// with the stream untouched, when the stream is not of the usual kind or \p read fails.
template <class Read>
bool readFromMemory(QDataStream &stream, Read read)
{
    auto *buffer = qobject_cast<QBuffer *>(stream.device());
    if (!buffer || !usualForm(stream) || buffer->isSequential() || !buffer->isReadable()
        || (buffer->openMode() & QIODevice::Text))
        return false;
    const QByteArray &data = buffer->data();
    const qint64 pos = buffer->pos();
    if (pos < 0 || pos > data.size())
        return false;
    MemoryReader reader(data.constData() + pos, data.constData() + data.size());
    if (!read(reader))
        return false;
    return buffer->seek(pos + reader.consumed());
}

// Builds the detached argument tree of one value. The budget of expanded sub-arguments is shared by the whole
// tree of one top argument.
class ArgumentBuilder
{
public:
    ArgumentBuilder()
        : m_expanded(0)
    {
    }

    EventDataArg build(const QString &name, const Class *declaredClass, const Enum *enumType,
                       const Object::Ptr &value, int depth);

private:
    static void setEnumeration(EventDataArg &arg, const Enum *enumType, int n);
    void expandObject(EventDataArg &arg, const Object::Ptr &value, int depth);

    int m_expanded;
};

void ArgumentBuilder::setEnumeration(EventDataArg &arg, const Enum *enumType, int n)
{
    arg.kind = EventDataArg::EnumValue;
    arg.enumName = enumType->name();
    arg.value = QString::number(n);
    arg.keys.clear();
    const int count = enumType->count();
    if (enumType->isMask()) {
        // Spell the value with keys in declared order; a value the keys cannot spell exactly keeps the number
        // alone. A key of 0 only matches 0, as every value contains it.
        unsigned int rest = unsigned(n);
        for (int i = 0; i < count; ++i) {
            const unsigned int v = unsigned(enumType->value(i));
            if ((v != 0 || n == 0) && (rest & v) == v) {
                arg.keys.append(enumType->key(i));
                rest -= v;
            }
        }
        if (rest != 0)
            arg.keys.clear();
        return;
    }
    // Searched here rather than with Enum::valueToKey, which reports a miss on stderr: a value without a key
    // is normal while recording.
    for (int i = 0; i < count; ++i) {
        if (enumType->value(i) == n) {
            arg.keys.append(enumType->key(i));
            return;
        }
    }
}

void ArgumentBuilder::expandObject(EventDataArg &arg, const Object::Ptr &value, int depth)
{
    const Class *cls = value->objectClass();
    std::vector<EventDataArg> collected;
    // Past the depth limit or the budget the object stays unexpanded: that is what ends graphs whose
    // properties lead back to the object itself.
    if (cls && depth < EventDataArg::maxObjectDepth && m_expanded < EventDataArg::maxExpandedArguments) {
        // A null or invalidated object has no property values to read; asking would only leave an error text
        // behind for the script. Its properties are kept with empty values so the shape stays the same.
        const bool readable = !value->isNull();
        const int n = cls->numProperties();
        for (int i = 0; i < n; ++i) {
            const Property *property = cls->property(i);
            if (!property)
                continue;
            Object::Ptr propertyValue;
            if (readable && property->isReadable())
                propertyValue = property->get(value);
            ++m_expanded;
            collected.push_back(
                build(property->name(), property->type(), property->enumeration(), propertyValue, depth + 1));
        }
    }
    FVector<EventDataArg> subs(unsigned(collected.size()));
    for (unsigned i = 0; i < subs.size(); ++i)
        subs[i] = std::move(collected[i]);
    arg.args() = std::move(subs);
    arg.kind = EventDataArg::ObjectValue;
}

EventDataArg ArgumentBuilder::build(const QString &name, const Class *declaredClass, const Enum *enumType,
                                    const Object::Ptr &value, int depth)
{
    if (!value)
        return EventDataArg(name, declaredClass);

    const Class *cls = value->objectClass();
    EventDataArg arg(name, cls);
    Inspector *inspector = Inspector::self();
    const Class *intClass = inspector->type(Inspector::Int);
    const Class *charClass = inspector->type(Inspector::Char);

    if (enumType && cls && cls == intClass) {
        setEnumeration(arg, enumType, value->toInteger());
        return arg;
    }

    const int classId = cls ? cls->classId() : -1;
    if (classId >= Inspector::Short && classId < Inspector::Void) {
        arg.kind = EventDataArg::PlainValue;
        arg.value = value->toString();
        arg.typeId = classId;
        return arg;
    }

    if (declaredClass && cls) {
        const bool sourceIsPointer = (value->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
        if (intClass && cls->canConvertTo(intClass, sourceIsPointer, false, nullptr)
            && intClass->canConvertTo(declaredClass, false, false, nullptr)) {
            Object::Ptr converted = cls->convertTo(value, intClass, false);
            if (converted) {
                arg.kind = EventDataArg::PlainValue;
                arg.value = converted->toString();
                arg.typeId = Inspector::Int;
                return arg;
            }
        }
        if (charClass && cls->canConvertTo(charClass, sourceIsPointer, true, nullptr)
            && charClass->canConvertTo(declaredClass, true, false, nullptr)) {
            Object::Ptr converted = cls->convertTo(value, charClass, true);
            if (converted) {
                arg.kind = EventDataArg::PlainValue;
                arg.value = converted->toString();
                arg.typeId = Inspector::Char;
                return arg;
            }
        }
    }

    expandObject(arg, value, depth);
    return arg;
}

// Every streamed field back to its default; the index is not streamed and stays.
void resetStreamedFields(EventData &data)
{
    data.type = EventData::EventType;
    data.eventName.clear();
    data.methodName.clear();
    data.objectId.clear();
    data.arguments.clear();
    data.timeStamp = QTime();
    data.extraText.clear();
    data.argumentTexts.clear();
    data.extraValue = -1;
    data.itemText.clear();
}

bool readRecordFields(QDataStream &stream, EventData &data)
{
    stream >> data.type;
    if (!streamOk(stream))
        return false;
    switch (data.type) {
    case EventData::MethodType:
    case EventData::FunctionType:
        stream >> data.methodName;
        break;
    case EventData::EventType:
        stream >> data.eventName;
        break;
    default:
        break;
    }
    stream >> data.objectId >> data.timeStamp >> data.extraText;
    if (!streamOk(stream))
        return false;
    // A time of day outside one day is no time stamp any writer produces.
    if (!data.timeStamp.isNull() && !data.timeStamp.isValid()) {
        markCorrupt(stream);
        return false;
    }
    if (!readStringList(stream, data.argumentTexts))
        return false;
    if (!readArguments(stream, data.arguments, 0))
        return false;
    stream >> data.extraValue >> data.itemText;
    return streamOk(stream);
}

// One argument per value; the declarations of \p signature, where it has one for that position.
void recordArguments(EventData &data, const Signature *signature, const ObjectList &args)
{
    data.arguments.resize(unsigned(args.size()));
    for (size_t i = 0; i < args.size(); ++i) {
        const unsigned slot = unsigned(i);
        if (signature && int(i) < signature->count()) {
            const Argument &declared = signature->at(int(i));
            data.arguments[slot] = EventData::createArgument(declared.name(), declared.type(),
                                                             declared.enumeration(), args[i]);
        } else {
            data.arguments[slot] = EventData::createArgument(QString(), nullptr, nullptr, args[i]);
        }
    }
}

} // namespace

// EventDataArg

EventDataArg::EventDataArg()
    : kind(PlainValue)
    , classId(-1)
    , typeId(-1)
{
}

EventDataArg::EventDataArg(const QString &name, const Class *cls)
    : kind(PlainValue)
    , name(name)
    , classId(cls ? cls->classId() : -1)
    , typeId(-1)
{
}

EventDataArg::EventDataArg(const EventDataArg &other) = default;
EventDataArg::EventDataArg(EventDataArg &&other) noexcept = default;
EventDataArg &EventDataArg::operator=(const EventDataArg &other) = default;
EventDataArg &EventDataArg::operator=(EventDataArg &&other) noexcept = default;
EventDataArg::~EventDataArg() = default;

void EventDataArg::setArguments(const FVector<EventDataArg> &args)
{
    m_args = args;
    kind = ObjectValue;
}

void EventDataArg::writeObject(QDataStream &stream) const
{
    if (usualForm(stream)) {
        MemoryWriter writer;
        writer.argument(*this);
        writer.flush(stream);
        return;
    }
    stream << name << qint32(classId) << qint32(kind);
    switch (kind) {
    case PlainValue:
        stream << value << qint32(typeId);
        break;
    case ObjectValue:
        stream << qint32(m_args.size());
        for (const EventDataArg &sub : m_args)
            sub.writeObject(stream);
        break;
    case EnumValue:
        stream << enumName << value << keys;
        break;
    default:
        break;
    }
}

void EventDataArg::readObject(QDataStream &stream)
{
    *this = EventDataArg();
    if (!readFromMemory(stream, [this](MemoryReader &reader) { return reader.argument(*this, 0); }))
        readArgument(stream, *this, 0);
}

// EventData

EventData::EventData()
    : type(EventType)
    , index(qint32(s_nextIndex.fetch_add(1)))
    , extraValue(-1)
{
    createTimeStamp();
}

EventData::EventData(const Event *event, const QString &objectName, const ObjectList &args)
    : EventData()
{
    type = EventType;
    objectId = objectName;
    if (event)
        eventName = event->name();
    recordArguments(*this, event ? &event->signature() : nullptr, args);
}

EventData::EventData(const Method *method, const QString &objectName, const ObjectList &args)
    : EventData()
{
    type = MethodType;
    if (!method) {
        objectId = objectName;
        recordArguments(*this, nullptr, args);
        return;
    }
    const Class *global = Inspector::self()->globalClass();
    if (global && method->ownerClass() == global) {
        methodName = method->name();
        objectId = objectName;
    } else {
        // A member of an application object replays as a call on the object looked up by name.
        methodName = QStringLiteral("[findObject \"") + objectName + QStringLiteral("\"] ") + method->name();
    }
    recordArguments(*this, &method->signature(), args);
}

EventData::EventData(const Method *method, const ObjectList &args)
    : EventData()
{
    type = FunctionType;
    if (method)
        methodName = method->name();
    recordArguments(*this, method ? &method->signature() : nullptr, args);
}

EventData::EventData(const QString &methodName, const QString &objectName, const ObjectList &args)
    : EventData()
{
    type = MethodType;
    this->methodName = methodName;
    objectId = objectName;
    recordArguments(*this, nullptr, args);
}

EventData::EventData(const QString &functionName, const ObjectList &args, const QString &)
    : EventData()
{
    type = FunctionType;
    methodName = functionName;
    recordArguments(*this, nullptr, args);
}

EventData::EventData(const QString &functionName, const QStringList &argumentTexts, const QString &)
    : EventData()
{
    type = FunctionType;
    methodName = functionName;
    this->argumentTexts = argumentTexts;
}

EventData::~EventData() = default;

EventData EventData::fromComment(const QString &text)
{
    EventData data;
    data.type = CommentType;
    data.objectId = text;
    return data;
}

EventData EventData::applicationStarted()
{
    EventData data;
    data.type = StartedType;
    return data;
}

void EventData::createTimeStamp()
{
    timeStamp = currentTimeOfDay();
}

EventDataArg EventData::createArgument(const QString &name, const Class *declaredClass, const Enum *enumType,
                                       Object::Ptr value)
{
    ArgumentBuilder builder;
    return builder.build(name, declaredClass, enumType, value, 0);
}

bool EventData::operator<(const EventData &other) const
{
    if (timeStamp != other.timeStamp)
        return timeStamp < other.timeStamp;
    return index < other.index;
}

std::string EventData::toDebugString() const
{
    QByteArray text;
    switch (type) {
    case EventType:
        text = "Type event: eventName: '" + eventName.toLocal8Bit() + '\'';
        break;
    case MethodType:
    case FunctionType:
        text = "Type method/function: methodName: '" + methodName.toLocal8Bit() + '\'';
        break;
    case CommentType:
        text = "Type comment:";
        break;
    case StartedType:
        text = "Type started:";
        break;
    default:
        text = "Type " + QByteArray::number(type) + ':';
        break;
    }
    text += " objectId: '" + objectId.toLocal8Bit() + '\'';
    if (!itemText.isEmpty())
        text += ", itemText = '" + itemText.toLocal8Bit() + '\'';
    text += " numArguments: " + QByteArray::number(arguments.size()) + ": [";
    for (const EventDataArg &arg : arguments)
        text += ' ' + arg.value.toLocal8Bit();
    text += " ]";
    return std::string(text.constData(), size_t(text.size()));
}

void EventData::writeObject(QDataStream &stream) const
{
    // A time of day outside one day (only a hand-set QTime holds one) keeps QDataStream's own form.
    if (usualForm(stream) && (timeStamp.isNull() || timeStamp.isValid())) {
        MemoryWriter writer;
        writer.u32(quint32(type));
        if (type == MethodType || type == FunctionType)
            writer.text(methodName);
        else if (type == EventType)
            writer.text(eventName);
        writer.text(objectId);
        writer.u32(timeStamp.isNull() ? 0xffffffffu : quint32(timeStamp.msecsSinceStartOfDay()));
        writer.text(extraText);
        writer.texts(argumentTexts);
        writer.u32(arguments.size());
        for (const EventDataArg &arg : arguments)
            writer.argument(arg);
        writer.u32(quint32(extraValue));
        writer.text(itemText);
        writer.flush(stream);
        return;
    }
    stream << qint32(type);
    switch (type) {
    case MethodType:
    case FunctionType:
        stream << methodName;
        break;
    case EventType:
        stream << eventName;
        break;
    default:
        break;
    }
    stream << objectId << timeStamp << extraText << argumentTexts;
    stream << qint32(arguments.size());
    for (const EventDataArg &arg : arguments)
        arg.writeObject(stream);
    stream << qint32(extraValue) << itemText;
}

void EventData::readObject(QDataStream &stream)
{
    resetStreamedFields(*this);
    const bool fromMemory = readFromMemory(stream, [this](MemoryReader &reader) {
        quint32 msecs;
        if (!reader.i32(type))
            return false;
        if (type == MethodType || type == FunctionType) {
            if (!reader.text(methodName))
                return false;
        } else if (type == EventType) {
            if (!reader.text(eventName))
                return false;
        }
        if (!reader.text(objectId) || !reader.u32(msecs) || !reader.text(extraText))
            return false;
        timeStamp = QTime::fromMSecsSinceStartOfDay(int(msecs));
        if (!timeStamp.isNull() && !timeStamp.isValid())
            return false;
        return reader.texts(argumentTexts) && reader.arguments(arguments, 0) && reader.i32(extraValue)
            && reader.text(itemText);
    });
    if (fromMemory)
        return;
    resetStreamedFields(*this);
    if (!readRecordFields(stream, *this))
        resetStreamedFields(*this);
}

void dumpEventData(const EventData &data)
{
    diagnostic(QString::fromStdString(data.toDebugString()));
}

} // namespace Vexil
