// fuzz_agentframes.cpp: what the agent reads from a peer before any request runs: frames cut from a byte
// stream that arrives in pieces, and tagged values in their bodies.
// Input: one byte giving the piece size, then the stream.
#include "fuzzsupport.h"

#include "protocol.h"

#include <QBuffer>
#include <QDataStream>

using namespace Vexil;

namespace {

QByteArray encode(const QVariantList &values)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    Protocol::setUp(out);
    Protocol::writeValueList(out, values);
    return bytes;
}

void checkBody(const QByteArray &body)
{
    QDataStream in(body);
    Protocol::setUp(in);
    QVariantList values;
    if (!Protocol::readValueList(in, &values)) {
        FUZZ_CHECK(in.status() != QDataStream::Ok);
        return;
    }
    // What was read writes back to a form that reads to the same thing and writes identically again.
    const QByteArray once = encode(values);
    QDataStream again(once);
    Protocol::setUp(again);
    QVariantList reread;
    FUZZ_CHECK(Protocol::readValueList(again, &reread) && Protocol::readAll(again));
    FUZZ_CHECK(encode(reread) == once);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    VexilFuzz::initialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    const int piece = 1 + data[0];
    const QByteArray stream(reinterpret_cast<const char *>(data + 1), int(size - 1));
    Protocol::FrameReader reader(Protocol::MaxHandshakeFrameLength * 4);
    int consumed = 0;
    for (int pos = 0; pos < stream.size(); pos += piece) {
        reader.append(stream.mid(pos, piece));
        for (;;) {
            Protocol::Frame frame;
            const Protocol::FrameReader::Result r = reader.next(&frame);
            if (r == Protocol::FrameReader::NeedMore)
                break;
            if (r == Protocol::FrameReader::Invalid)
                return 0; // the agent closes the connection here
            consumed += 10 + frame.body.size();
            FUZZ_CHECK(Protocol::encodeFrame(frame.id, frame.kind, frame.body)
                       == stream.mid(consumed - 10 - frame.body.size(), 10 + frame.body.size()));
            checkBody(frame.body);
        }
    }
    FUZZ_CHECK(reader.buffered() == stream.size() - consumed);
    return 0;
}
