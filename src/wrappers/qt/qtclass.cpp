// qtclass.cpp: classes made from QMetaObjects, and the mapping between Qt values and model objects.
#include "qtwrapper.h"
#include "diagnostics.h"
#include "qtwrapper_p.h"

#include "arrayclass.h"
#include "datetime.h"
#include "inspector.h"
#include "primitives.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QDate>
#include <QDateTime>
#include <QHash>
#include <QJSValue>
#include <QPoint>
#include <QRect>
#include <QStringList>

#include <cstdio>
#include <cstring>

namespace Vexil {
namespace QtWrapper {

namespace {

QHash<const QMetaObject *, QtClass *> &classes()
{
    static QHash<const QMetaObject *, QtClass *> s_classes;
    return s_classes;
}

// Enums, and flags registered with Q_FLAG, arrive as their own meta types; their storage is an integer of the
// enum's size.
int enumValue(const QVariant &value)
{
    const int type = value.userType();
    if (type == QMetaType::Int || type == QMetaType::UInt)
        return value.toInt();
    if (QMetaType::typeFlags(type) & QMetaType::IsEnumeration) {
        const void *p = value.constData();
        switch (QMetaType::sizeOf(type)) {
        case 1:
            return *static_cast<const qint8 *>(p);
        case 2:
            return *static_cast<const qint16 *>(p);
        case 4:
            return *static_cast<const qint32 *>(p);
        case 8:
            return int(*static_cast<const qint64 *>(p));
        default:
            break;
        }
    }
    return value.toInt();
}

QVariant enumVariant(int typeId, int value)
{
    if (typeId != QMetaType::UnknownType && typeId != QMetaType::Int
        && (QMetaType::typeFlags(typeId) & QMetaType::IsEnumeration)
        && QMetaType::sizeOf(typeId) == sizeof(int))
        return QVariant(typeId, &value);
    return QVariant(value);
}

QObject *objectPointer(const QVariant &value)
{
    if (!(QMetaType::typeFlags(value.userType()) & QMetaType::PointerToQObject))
        return nullptr;
    return *static_cast<QObject *const *>(value.constData());
}

const Enum *enumFor(const QMetaEnum &metaEnum)
{
    if (!metaEnum.isValid() || !metaEnum.enclosingMetaObject())
        return nullptr;
    const Class *owner = classForMetaObject(metaEnum.enclosingMetaObject());
    return owner ? owner->enumerator(QString::fromLatin1(metaEnum.name())) : nullptr;
}

// What a parameter of \p param's type takes \p value as: the value itself when it already is-a the type,
// otherwise its conversion, or null.
Object::Ptr acceptValue(const Object::Ptr &value, const Argument &param)
{
    if (!value)
        return Object::Ptr();
    const Class *type = param.type();
    if (!type || value->isA(type))
        return value;
    const Class *cls = value->objectClass();
    if (!cls)
        return Object::Ptr();
    const bool targetIsPointer = (param.flags() & ObjectAttribute::Pointer) != 0;
    const bool sourceIsPointer = (value->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
    if (!cls->canConvertTo(type, sourceIsPointer, targetIsPointer, nullptr))
        return Object::Ptr();
    return cls->convertTo(value, type, targetIsPointer);
}

bool isTextObject(const Object::Ptr &value)
{
    return value && value->objectClass() == Inspector::self()->type(Inspector::Char);
}

// Converts a model object for a parameter or property of type \p info; an enum also takes a key text.
bool toVariant(const Object::Ptr &value, const TypeInfo &info, QVariant *out)
{
    // A QVariant takes any object as it is.
    if (info.kind == ValueKind::Variant)
        return objectToVariant(value, info, out);
    if (info.kind == ValueKind::Enum && isTextObject(value) && info.metaEnum.isValid()) {
        bool ok = false;
        const int n = info.metaEnum.keysToValue(value->toString().toLatin1().constData(), &ok);
        if (ok) {
            *out = enumVariant(info.typeId, n);
            return true;
        }
    }
    const Object::Ptr taken = acceptValue(value, argumentFor(info));
    return taken && objectToVariant(taken, info, out);
}

QVariant dateTimeVariant(const DateTime &d, bool withTime)
{
    const QDate date(d.year, d.month, d.day);
    if (!withTime)
        return QVariant(date);
    const QTime time(d.hour < 0 ? 0 : d.hour, d.minute < 0 ? 0 : d.minute, d.second < 0 ? 0 : d.second);
    return QVariant(QDateTime(date, time));
}

// The Qt value of the numbers, enums, lists, geometry and dates that \p source holds; texts and object
// pointers differ between the sources and are their callers' business. A source reads the value of the
// kind asked for, and a compound one only after checking that it holds one (false when not).
template <typename Source>
bool valueToVariant(const Source &source, const TypeInfo &info, QVariant *out)
{
    switch (info.kind) {
    case ValueKind::Int:
        *out = QVariant(source.integer());
        return true;
    case ValueKind::Enum:
        *out = enumVariant(info.typeId, source.integer());
        return true;
    case ValueKind::Bool:
        *out = QVariant(source.boolean());
        return true;
    case ValueKind::Double:
        *out = QVariant(source.real());
        return true;
    case ValueKind::Int64:
        *out = QVariant(source.int64());
        return true;
    case ValueKind::StringList: {
        QStringList list;
        if (!source.stringList(&list))
            return false;
        *out = QVariant(list);
        return true;
    }
    case ValueKind::Rect: {
        ScreenRectangle r;
        if (!source.rectangle(&r))
            return false;
        *out = QVariant(QRect(r.x, r.y, r.width, r.height));
        return true;
    }
    case ValueKind::Point: {
        ScreenPoint p;
        if (!source.point(&p))
            return false;
        *out = QVariant(QPoint(p.x, p.y));
        return true;
    }
    case ValueKind::DateTime:
    case ValueKind::Date: {
        DateTime d;
        if (!source.dateTime(&d))
            return false;
        *out = dateTimeVariant(d, info.kind == ValueKind::DateTime);
        return true;
    }
    default:
        return false;
    }
}

// The native value behind an object's data pointer, as the raw slots receive it.
struct RawSource
{
    void *raw;

    int integer() const { return *static_cast<int *>(raw); }
    bool boolean() const { return *static_cast<bool *>(raw); }
    double real() const { return *static_cast<double *>(raw); }
    qlonglong int64() const { return qlonglong(*static_cast<long long *>(raw)); }
    bool stringList(QStringList *list) const
    {
        for (const Object::Ptr &element : *static_cast<std::vector<Object::Ptr> *>(raw))
            list->append(element ? element->toString() : QString());
        return true;
    }
    bool rectangle(ScreenRectangle *r) const
    {
        *r = *static_cast<ScreenRectangle *>(raw);
        return true;
    }
    bool point(ScreenPoint *p) const
    {
        *p = *static_cast<ScreenPoint *>(raw);
        return true;
    }
    bool dateTime(DateTime *d) const
    {
        *d = *static_cast<DateTime *>(raw);
        return true;
    }
};

// A model object's value, through its conversions; a compound value only from an object of its class.
struct ObjectSource
{
    const Object::Ptr &object;

    int integer() const { return object->toInteger(); }
    bool boolean() const { return object->toBoolean(); }
    double real() const { return object->toDouble(); }
    qlonglong int64() const { return qlonglong(object->toInt64()); }
    bool stringList(QStringList *list) const
    {
        if (!object->isA(ArrayClass::registeredClass()))
            return false;
        unwrap(object, list);
        return true;
    }
    bool rectangle(ScreenRectangle *r) const
    {
        if (!object->isA(objectModelScreenRectangleClass()))
            return false;
        *r = unwrapScreenRectangle(object);
        return true;
    }
    bool point(ScreenPoint *p) const
    {
        if (!object->isA(screenPointClass()))
            return false;
        *p = unwrapScreenPoint(object);
        return true;
    }
    bool dateTime(DateTime *d) const
    {
        if (!object->isA(objectModelDateTimeClass()))
            return false;
        *d = unwrapDateTime(object);
        return true;
    }
};

// Storage that the raw slots receive: the native value behind an object's data pointer, by kind.
bool rawToVariant(void *raw, const TypeInfo &info, QVariant *out)
{
    switch (info.kind) {
    case ValueKind::String:
        *out = QVariant(raw ? QString::fromUtf8(static_cast<const char *>(raw)) : QString());
        return info.typeId == QMetaType::QString || out->convert(info.typeId);
    case ValueKind::Variant:
        return false;
    case ValueKind::QObjectPtr: {
        QObject *object = static_cast<QObject *>(raw);
        if (object && !object->metaObject()->inherits(info.objectType))
            return false;
        *out = QVariant(info.typeId, &object);
        return true;
    }
    default:
        return raw && valueToVariant(RawSource { raw }, info, out);
    }
}

// The meta-object index of the class's own member numbered \p local among \p members, or -1 for none.
int metaIndex(const std::vector<int> &members, int local)
{
    return local >= 0 && size_t(local) < members.size() ? members[size_t(local)] : -1;
}

Signature signatureOf(const QMetaMethod &m)
{
    const QList<QByteArray> names = m.parameterNames();
    Signature signature;
    for (int p = 0; p < m.parameterCount(); ++p)
        signature.append(
            argumentFor(typeInfoForType(m.parameterType(p)), QString::fromLatin1(names.value(p))));
    return signature;
}

QString typeNameOf(const Object::Ptr &value)
{
    return value && value->objectClass() ? QString::fromLatin1(value->objectClass()->name())
                                         : QStringLiteral("null");
}

} // namespace

// Types and values

TypeInfo typeInfoForType(int typeId)
{
    TypeInfo info;
    info.typeId = typeId;
    switch (typeId) {
    case QMetaType::Int:
        info.kind = ValueKind::Int;
        return info;
    case QMetaType::Bool:
        info.kind = ValueKind::Bool;
        return info;
    case QMetaType::Double:
        info.kind = ValueKind::Double;
        return info;
    case QMetaType::LongLong:
        info.kind = ValueKind::Int64;
        return info;
    case QMetaType::QString:
    case QMetaType::QColor:
    case QMetaType::QUrl:
        info.kind = ValueKind::String;
        return info;
    case QMetaType::QVariant:
        info.kind = ValueKind::Variant;
        return info;
    case QMetaType::QStringList:
        info.kind = ValueKind::StringList;
        return info;
    case QMetaType::QRect:
        info.kind = ValueKind::Rect;
        return info;
    case QMetaType::QPoint:
        info.kind = ValueKind::Point;
        return info;
    case QMetaType::QDateTime:
        info.kind = ValueKind::DateTime;
        return info;
    case QMetaType::QDate:
        info.kind = ValueKind::Date;
        return info;
    case QMetaType::UnknownType:
        return info;
    default:
        break;
    }
    const QMetaType::TypeFlags flags = QMetaType::typeFlags(typeId);
    if (flags & QMetaType::PointerToQObject) {
        info.objectType = QMetaType::metaObjectForType(typeId);
        if (info.objectType)
            info.kind = ValueKind::QObjectPtr;
        return info;
    }
    if ((flags & QMetaType::IsEnumeration) && QMetaType::sizeOf(typeId) == sizeof(int)) {
        // A Q_ENUM type knows its enclosing meta-object; the enum is found there by its short name.
        info.kind = ValueKind::Enum;
        if (const QMetaObject *owner = QMetaType::metaObjectForType(typeId)) {
            QByteArray name = QMetaType::typeName(typeId);
            const int colons = name.lastIndexOf("::");
            if (colons >= 0)
                name = name.mid(colons + 2);
            const int index = owner->indexOfEnumerator(name.constData());
            if (index >= 0)
                info.metaEnum = owner->enumerator(index);
        }
    }
    return info;
}

TypeInfo typeInfoForProperty(const QMetaProperty &property)
{
    if (property.isEnumType()) {
        TypeInfo info;
        info.kind = ValueKind::Enum;
        info.typeId = property.userType();
        info.metaEnum = property.enumerator();
        return info;
    }
    return typeInfoForType(property.userType());
}

Argument argumentFor(const TypeInfo &info, const QString &name)
{
    Inspector *insp = Inspector::self();
    switch (info.kind) {
    case ValueKind::Int:
        return Argument(name, insp->type(Inspector::Int));
    case ValueKind::Bool:
        return Argument(name, insp->type(Inspector::Bool));
    case ValueKind::Double:
        return Argument(name, insp->type(Inspector::Double));
    case ValueKind::Int64:
        return Argument(name, insp->type(Inspector::Int64));
    case ValueKind::String:
        return Argument(name, insp->type(Inspector::Char), ObjectAttribute::Pointer);
    case ValueKind::StringList:
        return Argument(name, ArrayClass::registeredClass());
    case ValueKind::Rect:
        return Argument(name, objectModelScreenRectangleClass());
    case ValueKind::Point:
        return Argument(name, screenPointClass());
    case ValueKind::DateTime:
    case ValueKind::Date:
        return Argument(name, objectModelDateTimeClass());
    case ValueKind::Enum:
        return Argument(name, insp->type(Inspector::Int), 0, 0, enumFor(info.metaEnum));
    case ValueKind::QObjectPtr:
        return Argument(name, classForMetaObject(info.objectType), ObjectAttribute::Pointer);
    case ValueKind::Variant:
        return Argument(name, insp->type(Inspector::Void)); // void takes any object unchanged
    case ValueKind::Unsupported:
        break;
    }
    return Argument(name, insp->type(Inspector::Undefined));
}

Object::Ptr variantToObject(const QVariant &value, const TypeInfo &info)
{
    Inspector *insp = Inspector::self();
    switch (info.kind) {
    case ValueKind::Int:
        return insp->createPrimitive(value.toInt());
    case ValueKind::Enum:
        return insp->createPrimitive(enumValue(value));
    case ValueKind::Bool:
        return insp->createPrimitive(value.toBool());
    case ValueKind::Double:
        return insp->createPrimitive(value.toDouble());
    case ValueKind::Int64:
        return insp->createPrimitive(static_cast<long long>(value.toLongLong()));
    case ValueKind::String:
        return wrap(value.toString());
    case ValueKind::StringList:
        return wrap(value.toStringList());
    case ValueKind::Rect: {
        const QRect r = value.toRect();
        return wrapScreenRectangle(ScreenRectangle(r.x(), r.y(), r.width(), r.height()));
    }
    case ValueKind::Point: {
        const QPoint p = value.toPoint();
        return wrapScreenPoint(ScreenPoint(p.x(), p.y()));
    }
    case ValueKind::DateTime: {
        const QDateTime dt = value.toDateTime();
        if (!dt.isValid())
            return wrapDateTime(DateTime());
        const QDate d = dt.date();
        const QTime t = dt.time();
        return wrapDateTime(DateTime(d.year(), d.month(), d.day(), t.hour(), t.minute(), t.second()));
    }
    case ValueKind::Date: {
        const QDate d = value.toDate();
        return wrapDateTime(d.isValid() ? DateTime(d.year(), d.month(), d.day()) : DateTime());
    }
    case ValueKind::Variant: {
        // QML hands its values over as JavaScript values; what they hold decides the model's type.
        QVariant held = value.userType() == qMetaTypeId<QJSValue>() ? value.value<QJSValue>().toVariant()
                                                                    : value;
        if (!held.isValid())
            return insp->voidObject();
        if (held.userType() == QMetaType::Float || held.userType() == QMetaType::UInt)
            held.convert(held.userType() == QMetaType::Float ? QMetaType::Double : QMetaType::LongLong);
        const TypeInfo inner = typeInfoForType(held.userType());
        if (inner.supported() && inner.kind != ValueKind::Variant && inner.kind != ValueKind::Enum)
            return variantToObject(held, inner);
        return held.canConvert<QString>() ? wrap(held.toString()) : insp->voidObject();
    }
    case ValueKind::QObjectPtr: {
        if (QObject *object = objectPointer(value))
            return wrapQObject(object);
        // A pointer property that holds no object reads as a null object of its class, not as a failure.
        const Class *cls = classForMetaObject(info.objectType);
        return cls ? cls->createNull() : Object::Ptr();
    }
    case ValueKind::Unsupported:
        break;
    }
    return Object::Ptr();
}

bool objectToVariant(const Object::Ptr &object, const TypeInfo &info, QVariant *out)
{
    if (!object)
        return false;
    switch (info.kind) {
    case ValueKind::String:
        *out = QVariant(object->toString());
        return info.typeId == QMetaType::QString || out->convert(info.typeId);
    case ValueKind::Variant: {
        Inspector *insp = Inspector::self();
        const Class *cls = object->objectClass();
        if (QObject *target = qobjectOf(object))
            *out = QVariant::fromValue(target);
        else if (cls == insp->type(Inspector::Bool))
            *out = QVariant(object->toBoolean());
        else if (cls == insp->type(Inspector::Double))
            *out = QVariant(object->toDouble());
        else if (cls == insp->type(Inspector::Int64))
            *out = QVariant(qlonglong(object->toInt64()));
        else if (cls == insp->type(Inspector::Int) || cls == insp->type(Inspector::Short)
                 || cls == insp->type(Inspector::Long))
            *out = QVariant(object->toInteger());
        else if (object->isNull() || cls == insp->type(Inspector::Void))
            *out = QVariant();
        else
            *out = QVariant(object->toString());
        return true;
    }
    case ValueKind::QObjectPtr: {
        // A null object of a Qt class stands for a null pointer; a dead one for nothing at all.
        if (object->isInvalidated())
            return false;
        QObject *target = qobjectOf(object);
        if (!target && (!object->isNull() || !qtClass(object->objectClass())))
            return false;
        if (target && !target->metaObject()->inherits(info.objectType))
            return false;
        *out = QVariant(info.typeId, &target);
        return true;
    }
    default:
        return valueToVariant(ObjectSource { object }, info, out);
    }
}

QString variantToText(const QVariant &value, const QMetaProperty &property)
{
    if (property.isEnumType()) {
        const QMetaEnum e = property.enumerator();
        const int n = enumValue(value);
        const QByteArray keys = e.isFlag() ? e.valueToKeys(n) : QByteArray(e.valueToKey(n));
        return keys.isEmpty() ? QString::number(n) : QString::fromLatin1(keys);
    }
    switch (value.userType()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Double:
        return QString::number(value.toDouble(), 'g', 6);
    case QMetaType::QStringList:
        return value.toStringList().join(QLatin1Char(','));
    case QMetaType::QRect: {
        const QRect r = value.toRect();
        return QStringLiteral("%1,%2,%3,%4").arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height());
    }
    case QMetaType::QPoint: {
        const QPoint p = value.toPoint();
        return QStringLiteral("%1,%2").arg(p.x()).arg(p.y());
    }
    default:
        break;
    }
    if (QMetaType::typeFlags(value.userType()) & QMetaType::PointerToQObject) {
        QObject *object = objectPointer(value);
        return object ? object->objectName() : QString();
    }
    return value.toString();
}

// Classes

const Class *classForMetaObject(const QMetaObject *metaObject)
{
    if (!metaObject)
        return nullptr;
    auto &known = classes();
    auto it = known.constFind(metaObject);
    if (it != known.constEnd())
        return it.value();
    QtClass *cls = new QtClass(metaObject); // owned by the Inspector from here on
    known.insert(metaObject, cls);
    return cls;
}

const QtClass *qtClass(const Class *cls)
{
    return dynamic_cast<const QtClass *>(cls);
}

QtClass::QtClass(const QMetaObject *metaObject)
    : Class(metaObject->className(), true)
    , m_metaObject(metaObject)
{
    const QMetaObject *mo = metaObject;
    for (int i = mo->propertyOffset(); i < mo->propertyCount(); ++i) {
        if (typeInfoForProperty(mo->property(i)).supported())
            m_properties.push_back(i);
    }
    for (int i = mo->methodOffset(); i < mo->methodCount(); ++i) {
        const QMetaMethod m = mo->method(i);
        bool supported = true;
        for (int p = 0; p < m.parameterCount() && supported; ++p)
            supported = typeInfoForType(m.parameterType(p)).supported();
        if (!supported)
            continue;
        if (m.methodType() == QMetaMethod::Signal) {
            m_signals.push_back(i);
        } else if (m.access() == QMetaMethod::Public
                   && (m.methodType() == QMetaMethod::Slot || m.methodType() == QMetaMethod::Method)
                   && (m.returnType() == QMetaType::Void || typeInfoForType(m.returnType()).supported())) {
            m_methods.push_back(i);
        }
    }
    for (int i = mo->enumeratorOffset(); i < mo->enumeratorCount(); ++i)
        m_enums.push_back(i);

    setNumProperties(int(m_properties.size()));
    setNumMethods(int(m_methods.size()));
    setNumEvents(int(m_signals.size()));
    setNumEnums(int(m_enums.size()));
    setNumConstructors(0);

    if (mo->inherits(&QObject::staticMetaObject))
        vexil_register_qobject_type(mo->className());
}

QtClass::~QtClass()
{
    classes().remove(m_metaObject);
}

void QtClass::initSuperClass()
{
    setSuperClass(m_metaObject->superClass() ? classForMetaObject(m_metaObject->superClass()) : nullptr);
}

QMetaProperty QtClass::metaProperty(int index) const
{
    const int i = metaIndex(m_properties, index - superClassOffset(PropertyOffset));
    return i < 0 ? QMetaProperty() : m_metaObject->property(i);
}

Property *QtClass::createProperty(int index) const
{
    const QMetaProperty mp = metaProperty(index);
    if (!mp.isValid())
        return nullptr;
    unsigned int flags = 0;
    if (mp.isReadable())
        flags |= PropertyDeclaration::Readable;
    if (mp.isWritable())
        flags |= PropertyDeclaration::Writable;
    if (mp.isStored())
        flags |= PropertyDeclaration::Stored;
    auto *decl = new PropertyDeclaration(this, argumentFor(typeInfoForProperty(mp)),
                                         QString::fromLatin1(mp.name()), flags);
    return new Property(decl, this, index, true);
}

Method *QtClass::createMethod(int index) const
{
    const int i = metaIndex(m_methods, index - superClassOffset(MethodOffset));
    if (i < 0)
        return nullptr;
    const QMetaMethod m = m_metaObject->method(i);
    const Argument result = m.returnType() == QMetaType::Void
        ? Argument(Inspector::self()->type(Inspector::Void))
        : argumentFor(typeInfoForType(m.returnType()));
    return new Method(this, result, QString::fromLatin1(m.name()), signatureOf(m), false, index);
}

Event *QtClass::createEvent(int index) const
{
    const int i = metaIndex(m_signals, index - superClassOffset(EventOffset));
    if (i < 0)
        return nullptr;
    const QMetaMethod m = m_metaObject->method(i);
    return new Event(this, QString::fromLatin1(m.name()), signatureOf(m));
}

Enum *QtClass::createEnum(int index) const
{
    const int i = metaIndex(m_enums, index - superClassOffset(EnumOffset));
    if (i < 0)
        return nullptr;
    const QMetaEnum me = m_metaObject->enumerator(i);
    auto *e = new Enum(this, QString::fromLatin1(me.name()));
    for (int k = 0; k < me.keyCount(); ++k)
        e->addItem(QString::fromLatin1(me.key(k)), me.value(k));
    e->setIsMask(me.isFlag());
    return e;
}

Object::Ptr QtClass::wrap(void *data, const ObjectAttribute &attr) const
{
    if (!data)
        return Class::wrap(data, attr);
    return wrapQObject(static_cast<QObject *>(data));
}

QObject *QtClass::instance(void *data) const
{
    // Member indexes only mean something to objects of this class: a descriptor used with an object of
    // another class would reach a different member.
    auto *object = static_cast<QObject *>(data);
    return object && object->metaObject()->inherits(m_metaObject) ? object : nullptr;
}

Object::Ptr QtClass::getProperty(int index, void *object, const Class *) const
{
    const QMetaProperty mp = metaProperty(index);
    QObject *target = instance(object);
    if (!mp.isValid() || !target)
        return Object::Ptr();
    const QVariant value = mp.read(target);
    if (!value.isValid())
        return Object::Ptr();
    return variantToObject(value, typeInfoForProperty(mp));
}

bool QtClass::setProperty(int index, void *object, void *value) const
{
    const QMetaProperty mp = metaProperty(index);
    QObject *target = instance(object);
    if (!mp.isValid() || !target)
        return false;
    QVariant v;
    if (!rawToVariant(value, typeInfoForProperty(mp), &v))
        return false;
    return mp.write(target, v);
}

bool QtClass::setProperty(int index, Object::Ptr object, Object::Ptr value, const Property *property) const
{
    const QMetaProperty mp = metaProperty(index);
    if (!mp.isValid())
        return Class::setProperty(index, object, value, property);
    if (!property)
        property = this->property(index);
    if (!verifyPropertyWrite(object, property))
        return false;
    QObject *target = instance(qobjectOf(object));
    if (!target)
        return false;
    const TypeInfo info = typeInfoForProperty(mp);
    QVariant v;
    if (!toVariant(value, info, &v)) {
        diagnostic(QStringLiteral("Object::setProperty: type %1 cannot be converted to %2")
                       .arg(typeNameOf(value),
                            QLatin1String(property->type() ? property->type()->name() : "undefined")));
        return false;
    }
    return mp.write(target, v);
}

Object::Ptr QtClass::invoke(int index, void *object, void **args, const Class *) const
{
    const int local = index - superClassOffset(MethodOffset);
    QObject *target = instance(object);
    if (local < 0 || size_t(local) >= m_methods.size() || !target)
        return Object::Ptr();
    const QMetaMethod m = m_metaObject->method(m_methods[size_t(local)]);
    QVector<QVariant> values(m.parameterCount());
    for (int p = 0; p < m.parameterCount(); ++p) {
        if (!rawToVariant(args ? args[p] : nullptr, typeInfoForType(m.parameterType(p)), &values[p]))
            return Object::Ptr();
    }
    return callMethod(local, target, values);
}

Object::Ptr QtClass::invoke(int index, Object::Ptr object, const ObjectList &args, const Method *method) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || size_t(local) >= m_methods.size())
        return Class::invoke(index, object, args, method);
    if (!method)
        method = this->method(index);
    if (method && !verifyMethodArgumentCount(QString::fromLatin1(name()), method, args))
        return Object::Ptr();
    const QMetaMethod m = m_metaObject->method(m_methods[size_t(local)]);
    QObject *target = qobjectOf(object);
    if (!target) {
        Inspector::self()->setError(
            QStringLiteral("Cannot invoke member function %1() on null object reference")
                .arg(QLatin1String(m.name())));
        return Object::Ptr();
    }
    if (!instance(target)) {
        Inspector::self()->setError(QStringLiteral("Cannot invoke %1::%2() on an object of type %3")
                                        .arg(QLatin1String(name()), QLatin1String(m.name()),
                                             QLatin1String(target->metaObject()->className())));
        return Object::Ptr();
    }
    QVector<QVariant> values(m.parameterCount());
    for (int p = 0; p < m.parameterCount(); ++p) {
        if (!toVariant(args[size_t(p)], typeInfoForType(m.parameterType(p)), &values[p])) {
            Inspector::self()->setError(
                QStringLiteral("Argument %1 of %2() cannot be converted from %3 to %4")
                    .arg(p + 1)
                    .arg(QLatin1String(m.name()))
                    .arg(typeNameOf(args[size_t(p)]))
                    .arg(QLatin1String(m.parameterTypes().value(p))));
            return Object::Ptr();
        }
    }
    return callMethod(local, target, values);
}

Object::Ptr QtClass::callMethod(int local, QObject *object, const QVector<QVariant> &args) const
{
    const QMetaMethod m = m_metaObject->method(m_methods[size_t(local)]);
    const int returnType = m.returnType();
    QVariant result;
    QVector<void *> argv(args.size() + 1, nullptr);
    // A QVariant parameter or result is the variant itself, not what it holds.
    if (returnType == QMetaType::QVariant) {
        argv[0] = &result;
    } else if (returnType != QMetaType::Void) {
        result = QVariant(returnType, nullptr);
        argv[0] = result.data();
    }
    QVector<QVariant> values = args; // data() below needs detached, writable copies
    for (int i = 0; i < values.size(); ++i)
        argv[i + 1] = m.parameterType(i) == QMetaType::QVariant ? static_cast<void *>(&values[i])
                                                                : values[i].data();
    // Slots and invokables of every class in the chain take the absolute method index.
    QMetaObject::metacall(object, QMetaObject::InvokeMetaMethod, m.methodIndex(), argv.data());
    if (returnType == QMetaType::Void)
        return Inspector::self()->voidObject();
    return variantToObject(result, typeInfoForType(returnType));
}

} // namespace QtWrapper
} // namespace Vexil
