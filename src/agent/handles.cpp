// handles.cpp: handed-out objects and the value mapping of the wire format.
#include "handles.h"

#include "arrayclass.h"
#include "datetime.h"
#include "inspector.h"
#include "mapclass.h"
#include "primitives.h"
#include "qtwrapper.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QDateTime>
#include <QPoint>
#include <QRect>

#include <limits>

namespace Vexil {
namespace Agent {

quint64 HandleTable::handleFor(const Object::Ptr &object)
{
    const auto known = m_byObject.constFind(object.get());
    if (known != m_byObject.cend())
        return *known;
    const quint64 handle = m_next++;
    Entry entry;
    entry.object = object;
    entry.qobject = QtWrapper::qobjectOf(object);
    if (entry.qobject) {
        QObject::connect(entry.qobject.data(), &QObject::destroyed, &m_watcherContext,
                         [this, handle]() { forget(handle); });
    }
    m_entries.emplace(handle, std::move(entry));
    m_byObject.insert(object.get(), handle);
    return handle;
}

Object::Ptr HandleTable::resolve(quint64 handle, Protocol::ErrorCode *error)
{
    const auto it = m_entries.find(handle);
    if (it == m_entries.end()) {
        *error = handle != 0 && handle < m_next ? Protocol::StaleObject : Protocol::NoSuchObject;
        return Object::Ptr();
    }
    const Object::Ptr object = it->second.object;
    if (object->isInvalidated() || object->isNull() || (it->second.qobject.isNull() && QtWrapper::qobjectOf(object))) {
        forget(handle);
        *error = Protocol::StaleObject;
        return Object::Ptr();
    }
    return object;
}

void HandleTable::release(quint64 handle)
{
    const auto it = m_entries.find(handle);
    if (it == m_entries.end())
        return;
    m_byObject.remove(it->second.object.get());
    m_entries.erase(it);
}

void HandleTable::forget(quint64 handle)
{
    const auto it = m_entries.find(handle);
    if (it == m_entries.end())
        return;
    m_byObject.remove(it->second.object.get());
    m_entries.erase(it);
    if (onInvalidated)
        onInvalidated(handle);
}

namespace {

bool isValueClass(const Class *cls, const char *name)
{
    return cls && qstrcmp(cls->name(), name) == 0 && cls->nameSpace()
        && cls->nameSpace()->name() == QLatin1String("UiTypes");
}

} // namespace

QVariant toWire(const Object::Ptr &object, HandleTable *handles)
{
    if (!object || object->isNull())
        return QVariant();
    Inspector *insp = Inspector::self();
    const Class *cls = object->objectClass();
    if (cls == insp->type(Inspector::Void) || cls == insp->type(Inspector::Undefined))
        return QVariant();
    if (cls == insp->type(Inspector::Bool))
        return object->toBoolean();
    if (cls == insp->type(Inspector::Double))
        return object->toDouble();
    if (cls == insp->type(Inspector::Char))
        return object->toString();
    if (cls == insp->type(Inspector::Short) || cls == insp->type(Inspector::Int)
        || cls == insp->type(Inspector::Long) || cls == insp->type(Inspector::Int64))
        return qlonglong(object->toInt64());
    if (cls == ArrayClass::registeredClass()) {
        QVariantList list;
        for (const Object::Ptr &item : ArrayClass::unwrapObject(object))
            list.append(toWire(item, handles));
        return list;
    }
    if (cls == MapClass::registeredClass()) {
        QVariantMap map;
        for (const auto &entry : MapClass::unwrapObject(object))
            map.insert(entry.first, toWire(entry.second, handles));
        return map;
    }
    if (isValueClass(cls, "ScreenPoint")) {
        const ScreenPoint p = unwrapScreenPoint(object);
        return QPoint(p.x, p.y);
    }
    if (isValueClass(cls, "ScreenRectangle")) {
        const ScreenRectangle r = unwrapScreenRectangle(object);
        return QRect(r.x, r.y, r.width, r.height);
    }
    if (isValueClass(cls, "DateTime")) {
        const DateTime d = unwrapDateTime(object);
        return QDateTime(QDate(d.year, d.month, d.day), QTime(d.hour, d.minute, d.second));
    }
    Protocol::ObjectRef ref;
    ref.handle = handles->handleFor(object);
    ref.className = cls ? cls->fullyQualifiedClassName() : QString();
    return QVariant::fromValue(ref);
}

Object::Ptr fromWire(const QVariant &value, HandleTable *handles, Protocol::ErrorCode *error)
{
    Inspector *insp = Inspector::self();
    if (value.userType() == qMetaTypeId<Protocol::ObjectRef>())
        return handles->resolve(value.value<Protocol::ObjectRef>().handle, error);
    switch (int(value.type())) {
    case QMetaType::UnknownType:
        return insp->voidObject();
    case QMetaType::Bool:
        return insp->createPrimitive(value.toBool());
    case QMetaType::LongLong: {
        const qlonglong i = value.toLongLong();
        if (i >= std::numeric_limits<int>::min() && i <= std::numeric_limits<int>::max())
            return insp->createPrimitive(int(i));
        return insp->createPrimitive(static_cast<long long>(i));
    }
    case QMetaType::Double:
        return insp->createPrimitive(value.toDouble());
    case QMetaType::QVariantList: {
        std::vector<Object::Ptr> items;
        for (const QVariant &v : value.toList()) {
            Object::Ptr item = fromWire(v, handles, error);
            if (!item)
                return Object::Ptr();
            items.push_back(item);
        }
        return ArrayClass::wrapObject(items);
    }
    case QMetaType::QVariantMap: {
        std::map<QString, Object::Ptr> entries;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            Object::Ptr item = fromWire(it.value(), handles, error);
            if (!item)
                return Object::Ptr();
            entries.emplace(it.key(), item);
        }
        return MapClass::wrapObject(entries);
    }
    case QMetaType::QPoint: {
        const QPoint p = value.toPoint();
        return wrapScreenPoint(ScreenPoint(p.x(), p.y()));
    }
    case QMetaType::QRect: {
        const QRect r = value.toRect();
        return wrapScreenRectangle(ScreenRectangle(r.x(), r.y(), r.width(), r.height()));
    }
    case QMetaType::QDateTime: {
        const QDateTime d = value.toDateTime();
        return wrapDateTime(DateTime(d.date().year(), d.date().month(), d.date().day(), d.time().hour(),
                                     d.time().minute(), d.time().second()));
    }
    case QMetaType::QByteArray:
        return wrap(QString::fromUtf8(value.toByteArray()));
    default:
        return wrap(value.toString());
    }
}

} // namespace Agent
} // namespace Vexil
