// wirevalues.cpp: the value classes' wire forms, shared by the agent and the runner.
#include "wirevalues.h"

#include "arrayclass.h"
#include "datetime.h"
#include "inspector.h"
#include "mapclass.h"
#include "primitives.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QDateTime>
#include <QPoint>
#include <QRect>

#include <limits>

namespace Vexil {
namespace Protocol {

namespace {

bool isValueClass(const Class *cls, const char *name)
{
    return qstrcmp(cls->name(), name) == 0 && cls->nameSpace()
        && cls->nameSpace()->name() == QLatin1String("UiTypes");
}

} // namespace

bool toWire(const Object::Ptr &object, ObjectCodec &codec, QVariant *value, QString *error)
{
    *value = QVariant();
    if (!object)
        return true;
    if (codec.isReference(object))
        return codec.referenceFor(object, value, error);
    if (object->isNull())
        return true;
    Inspector *insp = Inspector::self();
    const Class *cls = object->objectClass();
    if (cls == insp->type(Inspector::Void) || cls == insp->type(Inspector::Undefined))
        return true;
    if (cls == insp->type(Inspector::Bool)) {
        *value = object->toBoolean();
    } else if (cls == insp->type(Inspector::Double)) {
        *value = object->toDouble();
    } else if (cls == insp->type(Inspector::Char)) {
        *value = object->toString();
    } else if (cls == insp->type(Inspector::Short) || cls == insp->type(Inspector::Int)
               || cls == insp->type(Inspector::Long) || cls == insp->type(Inspector::Int64)) {
        *value = qlonglong(object->toInt64());
    } else if (cls == ArrayClass::registeredClass()) {
        QVariantList list;
        for (const Object::Ptr &item : ArrayClass::unwrapObject(object)) {
            QVariant v;
            if (!toWire(item, codec, &v, error))
                return false;
            list.append(v);
        }
        *value = list;
    } else if (cls == MapClass::registeredClass()) {
        QVariantMap map;
        for (const auto &entry : MapClass::unwrapObject(object)) {
            QVariant v;
            if (!toWire(entry.second, codec, &v, error))
                return false;
            map.insert(entry.first, v);
        }
        *value = map;
    } else if (cls && isValueClass(cls, "ScreenPoint")) {
        const ScreenPoint p = unwrapScreenPoint(object);
        *value = QPoint(p.x, p.y);
    } else if (cls && isValueClass(cls, "ScreenRectangle")) {
        const ScreenRectangle r = unwrapScreenRectangle(object);
        *value = QRect(r.x, r.y, r.width, r.height);
    } else if (cls && isValueClass(cls, "DateTime")) {
        const DateTime d = unwrapDateTime(object);
        *value = QDateTime(QDate(d.year, d.month, d.day), QTime(d.hour, d.minute, d.second));
    } else {
        return codec.referenceFor(object, value, error);
    }
    return true;
}

Object::Ptr fromWire(const QVariant &value, ObjectCodec &codec, QString *error)
{
    Inspector *insp = Inspector::self();
    if (value.userType() == qMetaTypeId<ObjectRef>())
        return codec.objectFor(value.value<ObjectRef>(), error);
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
            Object::Ptr item = fromWire(v, codec, error);
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
            Object::Ptr item = fromWire(it.value(), codec, error);
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

} // namespace Protocol
} // namespace Vexil
