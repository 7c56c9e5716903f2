// protocol.h: the wire format shared by the agent and its clients (docs/protocol.md): frames, tagged values,
// request and error numbers.
#ifndef VEXIL_PROTOCOL_H
#define VEXIL_PROTOCOL_H

#include <QByteArray>
#include <QDataStream>
#include <QMetaType>
#include <QString>
#include <QVariant>

namespace Vexil {
namespace Protocol {

constexpr quint32 Version = 1;
constexpr int StreamVersion = QDataStream::Qt_5_12;
constexpr quint32 MinFrameLength = 6; // id + kind
constexpr quint32 MaxFrameLength = 64u << 20;
constexpr quint32 MaxHandshakeFrameLength = 4096; // before a peer has shown it may talk to us
constexpr int MaxValueDepth = 64; // nesting of lists and maps in one value

enum Request : quint16 {
    Hello = 1,
    Ping,
    Find,
    Step,
    GetProperty,
    SetProperty,
    Invoke,
    Call,
    Children,
    Parent,
    Describe,
    ClassInfo,
    Screenshot,
    Record,
    ObjectMapOp,
    Setting,
    Release,
    Quit,
    WaitForProperty,
    LastRequest = WaitForProperty
};
enum Answer : quint16 { Ok = 0x8000, Failed = 0x8001 };
enum Push : quint16 { Invalidated = 0x4001, RecordPush = 0x4002 };
enum StepAction : quint8 { NoAction = 0, InvokeAction, SetPropertyAction, CallAction };
enum TargetKind : quint8 { ByName = 0, ByHandle = 1 };

enum ErrorCode : quint16 {
    BadRequest = 1,
    UnknownRequest,
    NoSuchObject,
    StaleObject,
    ObjectNotFound,
    InvocationError,
    Timeout,
    Unsupported,
    VersionMismatch,
    // Client side only: never on the wire.
    ConnectionLost = 100,
    NotConnected
};

/// An application object as it travels: the agent's handle and the object's class name.
struct ObjectRef
{
    quint64 handle = 0;
    QString className;
    bool operator==(const ObjectRef &o) const { return handle == o.handle; }
};

/// One frame: the request id (0 in pushes), the kind and the body bytes.
struct Frame
{
    quint32 id = 0;
    quint16 kind = 0;
    QByteArray body;
};

QByteArray encodeFrame(quint32 id, quint16 kind, const QByteArray &body);

/// Cuts a byte stream into frames. Feed it what arrives; take frames while next() says so.
class FrameReader
{
public:
    enum Result { NeedMore, FrameReady, Invalid };

    explicit FrameReader(quint32 maxLength = MaxFrameLength)
        : m_maxLength(maxLength)
    {
    }
    void setMaxLength(quint32 maxLength) { m_maxLength = maxLength; }
    void append(const QByteArray &bytes) { m_buffer.append(bytes); }
    /// Invalid means the length field is out of range: the stream cannot be resynchronised, close it.
    Result next(Frame *frame);
    int buffered() const { return int(m_buffer.size() - m_pos); }

private:
    QByteArray m_buffer;
    int m_pos = 0;
    quint32 m_maxLength;
};

/// A data stream over a body with the pinned version.
void setUp(QDataStream &stream);

/// Values: QVariant holding nothing (none), bool, qlonglong, double, QString, QVariantList, QVariantMap,
/// ObjectRef, QPoint, QRect, QDateTime or QByteArray. Other integer types are written as integers.
void writeValue(QDataStream &out, const QVariant &value);
/// False (stream status set to ReadCorruptData) on an unknown tag, too deep a nesting or a short read.
bool readValue(QDataStream &in, QVariant *value, int depth = 0);
void writeValueList(QDataStream &out, const QVariantList &values);
bool readValueList(QDataStream &in, QVariantList *values, int depth = 0);

/// True when the stream read without error and nothing is left over.
bool readAll(const QDataStream &in);

/// Compares two secrets in time that does not depend on where they differ.
bool sameSecret(const QByteArray &a, const QByteArray &b);

QString errorName(quint16 code);

} // namespace Protocol
} // namespace Vexil

Q_DECLARE_METATYPE(Vexil::Protocol::ObjectRef)

#endif // VEXIL_PROTOCOL_H
