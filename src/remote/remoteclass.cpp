// remoteclass.cpp: classes and objects of a program under the agent, and the mapping between wire values and
// local objects.
#include "remoteinspector_p.h"

#include "protocol.h"

#include "arrayclass.h"
#include "datetime.h"
#include "inspector.h"
#include "mapclass.h"
#include "screenpoint.h"
#include "screenrectangle.h"

#include <QDateTime>
#include <QPoint>
#include <QRect>

#include <limits>

namespace Vexil {
namespace Remote {

bool ClassDescription::read(QDataStream &in)
{
    QString shortName, nameSpace;
    in >> shortName >> nameSpace >> superClass;
    name = nameSpace.isEmpty() ? shortName : nameSpace + QStringLiteral("::") + shortName;
    // Counts come from the peer: read item by item and stop at the first short read rather than reserving.
    quint32 n = 0;
    in >> n;
    for (quint32 i = 0; i < n && in.status() == QDataStream::Ok; ++i) {
        MethodInfo m;
        in >> m.name >> m.returnType >> m.isStatic >> m.parameterTypes >> m.parameterNames;
        methods.append(m);
    }
    in >> n;
    for (quint32 i = 0; i < n && in.status() == QDataStream::Ok; ++i) {
        PropertyInfo p;
        in >> p.name >> p.type >> p.readable >> p.writable >> p.isStatic;
        properties.append(p);
    }
    in >> n;
    for (quint32 i = 0; i < n && in.status() == QDataStream::Ok; ++i) {
        EnumInfo e;
        quint32 count = 0;
        in >> e.name >> e.isMask >> count;
        for (quint32 k = 0; k < count && in.status() == QDataStream::Ok; ++k) {
            QString key;
            qint32 value = 0;
            in >> key >> value;
            e.items.append(qMakePair(key, int(value)));
        }
        enums.append(e);
    }
    return in.status() == QDataStream::Ok;
}

// Classes

RemoteClass::RemoteClass(RemoteInspectorPrivate *owner, const ClassDescription &description, int classId,
                         Namespace *ns)
    // The program's fully qualified name is the one every wire value and every script uses.
    : RemoteClassBase(int(owner->contextId), description.name.toLatin1(), ns, classId)
    , m_owner(owner)
    , m_description(description)
{
    setNumMethods(description.methods.size());
    setNumProperties(description.properties.size());
    setNumEnums(description.enums.size());
    setNumEvents(0);
    setNumConstructors(0);
    if (ns)
        ns->registerClass(this);
}

RemoteClass::~RemoteClass() = default;

namespace {

// Counts a class being built, so that pushes are not applied in the middle of it.
struct Building
{
    explicit Building(RemoteInspectorPrivate *d)
        : d(d)
    {
        ++d->building;
    }
    ~Building() { --d->building; }
    RemoteInspectorPrivate *d;
};

} // namespace

void RemoteClass::initSuperClass()
{
    const Class *super = nullptr;
    if (!m_description.superClass.isEmpty()) {
        Building building(m_owner);
        super = m_owner->remoteClass(m_description.superClass);
    }
    setSuperClass(super);
}

const Class *RemoteClass::typeNamed(const QString &name) const
{
    const Class *voidClass = m_owner->classes[Inspector::Void];
    if (name.isEmpty() || name == QLatin1String("void"))
        return voidClass;
    Building building(m_owner);
    const Class *c = m_owner->remoteClass(name);
    // A type the program cannot describe takes anything here: the program checks it when the call arrives.
    return c ? c : voidClass;
}

Method *RemoteClass::createMethod(int index) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= m_description.methods.size())
        return nullptr;
    const ClassDescription::MethodInfo &m = m_description.methods.at(local);
    Signature signature;
    for (int i = 0; i < m.parameterTypes.size(); ++i)
        signature.append(Argument(m.parameterNames.value(i), typeNamed(m.parameterTypes.at(i))));
    return new Method(this, Argument(typeNamed(m.returnType)), m.name, signature, m.isStatic, index);
}

Property *RemoteClass::createProperty(int index) const
{
    const int local = index - superClassOffset(PropertyOffset);
    if (local < 0 || local >= m_description.properties.size())
        return nullptr;
    const ClassDescription::PropertyInfo &p = m_description.properties.at(local);
    unsigned int flags = 0;
    if (p.readable)
        flags |= PropertyDeclaration::Readable;
    if (p.writable)
        flags |= PropertyDeclaration::Writable;
    if (p.isStatic)
        flags |= PropertyDeclaration::Static;
    auto *declaration = new PropertyDeclaration(this, Argument(typeNamed(p.type)), p.name, flags);
    return new Property(declaration, this, index, true);
}

Enum *RemoteClass::createEnum(int index) const
{
    const int local = index - superClassOffset(EnumOffset);
    if (local < 0 || local >= m_description.enums.size())
        return nullptr;
    const ClassDescription::EnumInfo &info = m_description.enums.at(local);
    auto *e = new Enum(this, info.name);
    for (const auto &item : info.items)
        e->addItem(item.first, item.second);
    e->setIsMask(info.isMask);
    return e;
}

Object::Ptr RemoteClass::invoke(int index, Object::Ptr object, const ObjectList &args,
                                const Method *method) const
{
    if (!method)
        method = this->method(index);
    if (!method) {
        m_owner->setError(
            QStringLiteral("Class %1 has no method number %2").arg(QString::fromLatin1(name())).arg(index));
        return Object::Ptr();
    }
    if (size_t(method->signature().count()) != args.size()) {
        verifyMethodArgumentCount(QString::fromLatin1(name()), method, args);
        return Object::Ptr();
    }
    const quint64 handle = m_owner->handleFor(object, method->name() + QStringLiteral("()"));
    if (!handle)
        return Object::Ptr();
    // The agent chooses among the same overloads, in the same order, of the object's own class.
    const MethodList overloads = object->objectClass()->methods(method->name());
    int overload = -1;
    for (size_t i = 0; i < overloads.size(); ++i) {
        if (overloads[i] == method)
            overload = int(i);
    }
    return m_owner->invoke(handle, method->name(), overload, args);
}

Object::Ptr RemoteClass::getProperty(int index, Object::Ptr object, const Property *property) const
{
    if (!property)
        property = this->property(index);
    if (!property)
        return Object::Ptr();
    const quint64 handle = m_owner->handleFor(object, property->name());
    return handle ? m_owner->getProperty(handle, property->name()) : Object::Ptr();
}

bool RemoteClass::setProperty(int index, Object::Ptr object, Object::Ptr value,
                              const Property *property) const
{
    if (!property)
        property = this->property(index);
    if (!property)
        return false;
    // Writability and the value's type are the program's to check: its texts are the ones scripts know.
    const quint64 handle = m_owner->handleFor(object, property->name());
    return handle && m_owner->setProperty(handle, property->name(), value);
}

bool RemoteClass::sameObjects(Object::Ptr a, Object::Ptr b) const
{
    const auto *ra = dynamic_cast<const RemoteObject *>(a.get());
    const auto *rb = dynamic_cast<const RemoteObject *>(b.get());
    if (!ra || !rb)
        return a && a == b;
    return ra->contextId() == rb->contextId() && ra->handle() == rb->handle();
}

int RemoteClass::compare(Object::Ptr a, Object::Ptr b) const
{
    if (sameObjects(a, b))
        return 0;
    const quint64 ha = RemoteInspector::handleOf(a);
    const quint64 hb = RemoteInspector::handleOf(b);
    return ha < hb ? -1 : 1;
}

// Objects

RemoteObject::RemoteObject(const Class *cls, RemoteInspectorPrivate *owner, quint64 handle)
    : RemoteObjectBase(cls, owner->contextId)
    , m_owner(owner)
    , m_handle(handle)
{
}

RemoteObject::~RemoteObject()
{
    if (m_owner)
        m_owner->forget(this);
}

int RemoteObject::numChildren() const
{
    return int(children().size());
}

Object::Ptr RemoteObject::child(int index) const
{
    const ObjectList all = children();
    return index >= 0 && size_t(index) < all.size() ? all[size_t(index)] : Ptr();
}

ObjectList RemoteObject::children() const
{
    return m_owner && !isInvalidated() ? m_owner->children(m_handle) : ObjectList();
}

Object::Ptr RemoteObject::parent() const
{
    return m_owner && !isInvalidated() ? m_owner->parent(m_handle) : Ptr();
}

// Values

Object::Ptr RemoteInspectorPrivate::toLocal(const QVariant &value)
{
    QString unused;
    return Protocol::fromWire(value, *this, &unused); // references always resolve to a remote object
}

bool RemoteInspectorPrivate::isReference(const Object::Ptr &object) const
{
    return dynamic_cast<const RemoteObject *>(object.get()) != nullptr;
}

bool RemoteInspectorPrivate::referenceFor(const Object::Ptr &object, QVariant *value, QString *text)
{
    const auto *remote = dynamic_cast<const RemoteObject *>(object.get());
    // An invalidated object still goes by its handle: the program answers that it is gone.
    if (remote && remote->owner() == this) {
        Protocol::ObjectRef ref;
        ref.handle = remote->handle();
        ref.className = object->className();
        *value = QVariant::fromValue(ref);
        return true;
    }
    *text = remote ? QStringLiteral("The object belongs to another application")
                   : QStringLiteral("An object of class %1 cannot be passed to the application")
                         .arg(object->className());
    return false;
}

Object::Ptr RemoteInspectorPrivate::objectFor(const Protocol::ObjectRef &ref, QString *)
{
    return remoteObject(ref.handle, ref.className);
}

bool RemoteInspectorPrivate::toWire(const Object::Ptr &object, QVariant *value)
{
    return Protocol::toWire(object, *this, value, &error);
}

bool RemoteInspectorPrivate::toWire(const ObjectList &objects, QVariantList *values)
{
    for (const Object::Ptr &o : objects) {
        QVariant v;
        if (!toWire(o, &v))
            return false;
        values->append(v);
    }
    return true;
}

bool RemoteInspectorPrivate::variantToWire(const QVariant &value, QVariant *wire)
{
    if (value.userType() == qMetaTypeId<Object::Ptr>())
        return toWire(value.value<Object::Ptr>(), wire);
    if (value.type() == QVariant::List) {
        QVariantList list;
        for (const QVariant &v : value.toList()) {
            QVariant w;
            if (!variantToWire(v, &w))
                return false;
            list.append(w);
        }
        *wire = list;
        return true;
    }
    if (value.type() == QVariant::Map) {
        QVariantMap map;
        const QVariantMap in = value.toMap();
        for (auto it = in.cbegin(); it != in.cend(); ++it) {
            QVariant w;
            if (!variantToWire(it.value(), &w))
                return false;
            map.insert(it.key(), w);
        }
        *wire = map;
        return true;
    }
    *wire = value;
    return true;
}

QVariant RemoteInspectorPrivate::variantFromWire(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<Protocol::ObjectRef>())
        return QVariant::fromValue(toLocal(value));
    if (value.type() == QVariant::List) {
        QVariantList list;
        for (const QVariant &v : value.toList())
            list.append(variantFromWire(v));
        return list;
    }
    if (value.type() == QVariant::Map) {
        QVariantMap map;
        const QVariantMap in = value.toMap();
        for (auto it = in.cbegin(); it != in.cend(); ++it)
            map.insert(it.key(), variantFromWire(it.value()));
        return map;
    }
    return value;
}

} // namespace Remote
} // namespace Vexil
