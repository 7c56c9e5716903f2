// protocol.cpp: frames and tagged values; every reader checks lengths before it trusts them.
#include "protocol.h"

#include <QDateTime>
#include <QPoint>
#include <QRect>
#include <QtEndian>

#include <cstring>
#include <limits>

namespace Vexil {
namespace Protocol {

namespace {

enum Tag : quint8 {
    NoneTag = 0,
    BoolTag,
    IntTag,
    DoubleTag,
    TextTag,
    ListTag,
    MapTag,
    ObjectTag,
    PointTag,
    RectTag,
    DateTimeTag,
    BytesTag
};

bool fail(QDataStream &in)
{
    in.setStatus(QDataStream::ReadCorruptData);
    return false;
}

// Counts are checked against what is left, so a forged count cannot make us allocate or loop for long.
bool plausibleCount(QDataStream &in, quint32 count, int minBytesEach)
{
    const QIODevice *dev = in.device();
    return dev && qint64(count) * minBytesEach <= dev->bytesAvailable();
}

} // namespace

QByteArray encodeFrame(quint32 id, quint16 kind, const QByteArray &body)
{
    QByteArray frame(10 + body.size(), Qt::Uninitialized);
    uchar *p = reinterpret_cast<uchar *>(frame.data());
    qToBigEndian<quint32>(quint32(6 + body.size()), p);
    qToBigEndian<quint32>(id, p + 4);
    qToBigEndian<quint16>(kind, p + 8);
    memcpy(p + 10, body.constData(), size_t(body.size()));
    return frame;
}

FrameReader::Result FrameReader::next(Frame *frame)
{
    const int available = m_buffer.size() - m_pos;
    if (available < 4)
        return NeedMore;
    const uchar *p = reinterpret_cast<const uchar *>(m_buffer.constData()) + m_pos;
    const quint32 length = qFromBigEndian<quint32>(p);
    if (length < MinFrameLength || length > m_maxLength)
        return Invalid;
    if (quint32(available - 4) < length)
        return NeedMore;
    frame->id = qFromBigEndian<quint32>(p + 4);
    frame->kind = qFromBigEndian<quint16>(p + 8);
    frame->body = m_buffer.mid(m_pos + 10, int(length) - 6);
    m_pos += 4 + int(length);
    // Compact once the consumed part dominates, so a long-lived connection does not grow its buffer.
    if (m_pos == m_buffer.size()) {
        m_buffer.clear();
        m_pos = 0;
    } else if (m_pos > 65536 && m_pos > m_buffer.size() / 2) {
        m_buffer.remove(0, m_pos);
        m_pos = 0;
    }
    return FrameReady;
}

void setUp(QDataStream &stream)
{
    stream.setVersion(StreamVersion);
    stream.setByteOrder(QDataStream::BigEndian);
}

void writeValue(QDataStream &out, const QVariant &value)
{
    if (value.userType() == qMetaTypeId<ObjectRef>()) {
        const ObjectRef ref = value.value<ObjectRef>();
        out << quint8(ObjectTag) << ref.handle << ref.className;
        return;
    }
    switch (int(value.type())) {
    case QMetaType::UnknownType:
        out << quint8(NoneTag);
        return;
    case QMetaType::Bool:
        out << quint8(BoolTag) << quint8(value.toBool());
        return;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        out << quint8(IntTag) << qint64(value.toLongLong());
        return;
    case QMetaType::ULongLong:
        out << quint8(IntTag) << qint64(value.toULongLong());
        return;
    case QMetaType::Double:
    case QMetaType::Float:
        out << quint8(DoubleTag) << value.toDouble();
        return;
    case QMetaType::QString:
        out << quint8(TextTag) << value.toString();
        return;
    case QMetaType::QStringList:
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        out << quint8(ListTag);
        writeValueList(out, list);
        return;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        out << quint8(MapTag) << quint32(map.size());
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            out << it.key();
            writeValue(out, it.value());
        }
        return;
    }
    case QMetaType::QPoint: {
        const QPoint p = value.toPoint();
        out << quint8(PointTag) << qint32(p.x()) << qint32(p.y());
        return;
    }
    case QMetaType::QRect: {
        const QRect r = value.toRect();
        out << quint8(RectTag) << qint32(r.x()) << qint32(r.y()) << qint32(r.width()) << qint32(r.height());
        return;
    }
    case QMetaType::QDateTime:
        out << quint8(DateTimeTag) << qint64(value.toDateTime().toMSecsSinceEpoch());
        return;
    case QMetaType::QByteArray:
        out << quint8(BytesTag) << value.toByteArray();
        return;
    default:
        // Anything else that has a text form travels as text rather than being lost.
        if (value.canConvert<QString>())
            out << quint8(TextTag) << value.toString();
        else
            out << quint8(NoneTag);
        return;
    }
}

bool readValue(QDataStream &in, QVariant *value, int depth)
{
    if (depth > MaxValueDepth)
        return fail(in);
    quint8 tag = 0;
    in >> tag;
    if (in.status() != QDataStream::Ok)
        return false;
    switch (tag) {
    case NoneTag:
        *value = QVariant();
        return true;
    case BoolTag: {
        quint8 b = 0;
        in >> b;
        if (b > 1)
            return fail(in);
        *value = bool(b);
        break;
    }
    case IntTag: {
        qint64 i = 0;
        in >> i;
        *value = qlonglong(i);
        break;
    }
    case DoubleTag: {
        double d = 0;
        in >> d;
        *value = d;
        break;
    }
    case TextTag: {
        QString s;
        in >> s;
        *value = s;
        break;
    }
    case ListTag: {
        QVariantList list;
        if (!readValueList(in, &list, depth + 1))
            return false;
        *value = list;
        break;
    }
    case MapTag: {
        quint32 count = 0;
        in >> count;
        if (in.status() != QDataStream::Ok || !plausibleCount(in, count, 5))
            return fail(in);
        QVariantMap map;
        for (quint32 i = 0; i < count; ++i) {
            QString key;
            QVariant v;
            in >> key;
            if (!readValue(in, &v, depth + 1))
                return false;
            map.insert(key, v);
        }
        *value = map;
        break;
    }
    case ObjectTag: {
        ObjectRef ref;
        in >> ref.handle >> ref.className;
        *value = QVariant::fromValue(ref);
        break;
    }
    case PointTag: {
        qint32 x = 0, y = 0;
        in >> x >> y;
        *value = QPoint(x, y);
        break;
    }
    case RectTag: {
        qint32 x = 0, y = 0, w = 0, h = 0;
        in >> x >> y >> w >> h;
        // QRect keeps the far corner, which must stay within int.
        if (qint64(x) + w > std::numeric_limits<int>::max() || qint64(y) + h > std::numeric_limits<int>::max()
            || qint64(x) + w < std::numeric_limits<int>::min()
            || qint64(y) + h < std::numeric_limits<int>::min())
            return fail(in);
        *value = QRect(x, y, w, h);
        break;
    }
    case DateTimeTag: {
        qint64 ms = 0;
        in >> ms;
        *value = QDateTime::fromMSecsSinceEpoch(ms);
        break;
    }
    case BytesTag: {
        QByteArray bytes;
        in >> bytes;
        *value = bytes;
        break;
    }
    default:
        return fail(in);
    }
    return in.status() == QDataStream::Ok;
}

void writeValueList(QDataStream &out, const QVariantList &values)
{
    out << quint32(values.size());
    for (const QVariant &v : values)
        writeValue(out, v);
}

bool readValueList(QDataStream &in, QVariantList *values, int depth)
{
    quint32 count = 0;
    in >> count;
    if (in.status() != QDataStream::Ok || !plausibleCount(in, count, 1))
        return fail(in);
    values->clear();
    values->reserve(int(count));
    for (quint32 i = 0; i < count; ++i) {
        QVariant v;
        if (!readValue(in, &v, depth))
            return false;
        values->append(v);
    }
    return true;
}

bool readAll(const QDataStream &in)
{
    return in.status() == QDataStream::Ok && in.device() && in.device()->atEnd();
}

bool sameSecret(const QByteArray &a, const QByteArray &b)
{
    // Length is not secret (the launcher's tokens all have one length); the content is.
    if (a.size() != b.size())
        return false;
    unsigned char diff = 0;
    for (int i = 0; i < a.size(); ++i)
        diff |= static_cast<unsigned char>(a[i] ^ b[i]);
    return diff == 0;
}

QString errorName(quint16 code)
{
    switch (code) {
    case BadRequest:
        return QStringLiteral("bad request");
    case UnknownRequest:
        return QStringLiteral("unknown request");
    case NoSuchObject:
        return QStringLiteral("no such object");
    case StaleObject:
        return QStringLiteral("stale object");
    case ObjectNotFound:
        return QStringLiteral("object not found");
    case InvocationError:
        return QStringLiteral("invocation error");
    case Timeout:
        return QStringLiteral("time-out");
    case Unsupported:
        return QStringLiteral("unsupported program");
    case VersionMismatch:
        return QStringLiteral("protocol version mismatch");
    case ConnectionLost:
        return QStringLiteral("connection lost");
    case NotConnected:
        return QStringLiteral("not connected");
    }
    return QStringLiteral("error %1").arg(code);
}

} // namespace Protocol
} // namespace Vexil
