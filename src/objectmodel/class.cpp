// class.cpp: classes, lazy superclass and member tables with global numbering, interfaces, remote classes and
// namespaces. Calls go through invocation.cpp, conversions through conversion.cpp.
#include "object.h"
#include "object_p.h"

#include "delegate.h"
#include "inspector.h"

#include <QDataStream>

#include <cstring>
#include <memory>

namespace Vexil {

const Class *const Class::uninitialized = reinterpret_cast<const Class *>(quintptr(1));

namespace {

std::vector<QString> *s_qobjectTypes = nullptr;

// Reads a superclass link, setting it up on first need; null for a root or a class that never sets one.
const Class *superOf(const Class *c)
{
    return c ? c->superClass() : nullptr;
}

template <class T>
void deleteAll(std::vector<T *> &v)
{
    for (T *p : v)
        delete p;
    v.clear();
}

} // namespace

int Internal::primitiveIndex(const Class *c)
{
    if (!c)
        return -1;
    const int id = c->classId();
    if (id < 0 || id > Inspector::Undefined)
        return -1;
    return Inspector::self()->type(id) == c ? id : -1;
}

bool Internal::isVoidClass(const Class *c)
{
    return c && c->classId() == Inspector::Void && std::strcmp(c->name(), "void") == 0;
}

void vexil_register_qobject_type(const char *name)
{
    if (!s_qobjectTypes)
        s_qobjectTypes = new std::vector<QString>();
    s_qobjectTypes->push_back(QString::fromLatin1(name));
}

bool vexil_is_qobject_type(const QString &name)
{
    if (!s_qobjectTypes)
        return false;
    for (const QString &n : *s_qobjectTypes) {
        if (n == name)
            return true;
    }
    return false;
}

// Construction and registration

Class::Class()
    : d(nullptr)
{
    init();
}

Class::Class(const char *name, bool registerIt)
    : d(nullptr)
{
    init();
    d->name = QByteArray(name ? name : "");
    d->nameSpace = Inspector::self()->globalNamespace();
    if (registerIt)
        registerClass();
}

Class::Class(const char *name, Namespace *ns, bool registerIt)
    : d(nullptr)
{
    init();
    d->name = QByteArray(name ? name : "");
    d->nameSpace = ns;
    if (registerIt)
        registerClass();
}

void Class::releaseMemberTables()
{
    d->constructors.clear();
    d->methods.clear();
    d->properties.clear();
    d->events.clear();
    d->enums.clear();
}

Class::~Class()
{
    deleteAll(d->constructors);
    deleteAll(d->methods);
    deleteAll(d->properties);
    deleteAll(d->events);
    deleteAll(d->enums);
    if (d->delegateProperties) {
        deleteAll(*d->delegateProperties);
        delete d->delegateProperties;
    }
    delete d;
}

void Class::init()
{
    if (!d)
        d = new ClassPrivate();
}

void Class::registerClass()
{
    if (d->nameSpace)
        d->nameSpace->registerClass(this);
    d->classId = Inspector::self()->registerClass(this);
}

void Class::setSuperClass(const Class *superClass)
{
    d->superClass = superClass;
    invalidateDelegateLookups();
}

const char *Class::name() const
{
    return d->name.constData();
}

Namespace *Class::nameSpace() const
{
    return d->nameSpace;
}

int Class::classId() const
{
    return d->classId;
}

const Class *Class::superClass() const
{
    if (d->superClass == uninitialized) {
        // Every reader of the chain is const, but the link is filled in on first need by the class's own
        // initSuperClass(), which wrappers override as a non-const slot. Classes are always made with new,
        // never as const objects, so casting the const away here is sound.
        const_cast<Class *>(this)->initSuperClass();
        if (d->superClass == uninitialized)
            return nullptr;
    }
    return d->superClass;
}

QString Class::fullyQualifiedClassName() const
{
    QString result = QString::fromLatin1(d->name);
    for (const Namespace *ns = d->nameSpace; ns && ns->parent(); ns = ns->parent())
        result = ns->name() + QStringLiteral("::") + result;
    return result;
}

// Hierarchy

int Class::inheritanceDepth(const Class *ancestor) const
{
    if (!ancestor)
        return -1;
    int depth = 0;
    for (const Class *c = this; c; c = superOf(c), ++depth) {
        if (c == ancestor)
            return depth;
    }
    return -1;
}

bool Class::isSubClassOf(const Class *c) const
{
    return inheritanceDepth(c) >= 0;
}

// Default slots

void Class::writeObject(QDataStream &stream) const
{
    stream << fullyQualifiedClassName();
}

void Class::readObject(QDataStream &)
{
}

Object::Ptr Class::convertToInterface(Object::Ptr object, const QString &name) const
{
    if (!object || !object->isA(this))
        return Object::Ptr();
    const Class *iface = interfaceClass(name);
    if (!iface)
        return Object::Ptr();
    return iface->wrap(object->rawData(), object->objectAttribute());
}

Object::Ptr Class::invoke(int, void *, void **, const Class *) const
{
    return Object::Ptr();
}

bool Class::setProperty(int, void *, void *) const
{
    return false;
}

Object::Ptr Class::getProperty(int, void *, const Class *) const
{
    return Object::Ptr();
}

Object::Ptr Class::construct(int, void **) const
{
    return Object::Ptr();
}

Object::Ptr Class::wrap(void *data, const ObjectAttribute &attr) const
{
    return Object::Ptr(new Object(data, this, attr));
}

void Class::deleteObjectData(void *, const ObjectAttribute &) const
{
}

void Class::initSuperClass()
{
    setSuperClass(nullptr);
}

Constructor *Class::createConstructor(int) const
{
    return nullptr;
}

Method *Class::createMethod(int) const
{
    return nullptr;
}

Property *Class::createProperty(int) const
{
    return nullptr;
}

Event *Class::createEvent(int) const
{
    return nullptr;
}

Enum *Class::createEnum(int) const
{
    return nullptr;
}

bool Class::canCastTo(const Class *, bool) const
{
    return false;
}

Object::Ptr Class::castTo(Object::Ptr, const Class *, bool) const
{
    return Object::Ptr();
}

bool Class::canConvertToInternal(const Class *, bool, bool) const
{
    return false;
}

Object::Ptr Class::convertToInternal(Object::Ptr, const Class *, bool) const
{
    return Object::Ptr();
}

// Member counts and offsets

void Class::setNumMethods(int n)
{
    d->declaredMethods = n;
}

void Class::setNumConstructors(int n)
{
    d->declaredConstructors = n;
}

void Class::setNumProperties(int n)
{
    d->declaredProperties = n;
}

void Class::setNumEvents(int n)
{
    d->declaredEvents = n;
}

void Class::setNumEnums(int n)
{
    d->declaredEnums = n;
}

namespace {

int positive(int n)
{
    return n > 0 ? n : 0;
}

} // namespace

int Class::superClassOffset(OffsetType kind) const
{
    const Class *super = superClass();
    if (!super)
        return 0;
    switch (kind) {
    case MethodOffset: {
        int sum = 0;
        for (const Class *c = super; c; c = superOf(c))
            sum += positive(c->d->declaredMethods);
        return sum;
    }
    case EnumOffset: {
        int sum = 0;
        for (const Class *c = super; c; c = superOf(c))
            sum += positive(c->d->declaredEnums);
        return sum;
    }
    case PropertyOffset:
        return super->numProperties();
    case EventOffset:
        return super->numEvents();
    default:
        return 0;
    }
}

int Class::numMethods() const
{
    return positive(d->declaredMethods) + superClassOffset(MethodOffset);
}

int Class::numConstructors() const
{
    return positive(d->declaredConstructors);
}

void Class::setupPropertyDelegate() const
{
    if (d->propertyDelegateLooked)
        return;
    d->propertyDelegateLooked = true;
    d->propertyDelegate = static_cast<const StaticPropertyDelegate *>(
        DelegateFactory::self()->delegate(QString::fromLatin1(d->name), Delegate::StaticProperty));
}

int Class::numProperties() const
{
    if (d->numDelegateProperties < 0) {
        setupPropertyDelegate();
        d->numDelegateProperties = d->propertyDelegate ? positive(d->propertyDelegate->numProperties()) : 0;
    }
    return positive(d->declaredProperties) + superClassOffset(PropertyOffset) + d->numDelegateProperties;
}

int Class::numEvents() const
{
    return positive(d->declaredEvents) + superClassOffset(EventOffset);
}

int Class::numEnums() const
{
    return positive(d->declaredEnums) + superClassOffset(EnumOffset);
}

// Lazy tables

void Class::initMethods() const
{
    if (!d->methods.empty() || d->declaredMethods <= 0)
        return;
    const int offset = superClassOffset(MethodOffset);
    const int n = d->declaredMethods;
    d->methods.resize(size_t(n), nullptr);
    for (int k = 0; k < n; ++k)
        d->methods[size_t(k)] = createMethod(offset + k);
}

void Class::initConstructors() const
{
    if (!d->constructors.empty() || d->declaredConstructors <= 0)
        return;
    const int n = d->declaredConstructors;
    d->constructors.resize(size_t(n), nullptr);
    for (int k = 0; k < n; ++k)
        d->constructors[size_t(k)] = createConstructor(k);
}

void Class::initProperties() const
{
    if (!d->properties.empty() || d->declaredProperties <= 0)
        return;
    const int offset = superClassOffset(PropertyOffset);
    const int n = d->declaredProperties;
    d->properties.resize(size_t(n), nullptr);
    for (int k = 0; k < n; ++k)
        d->properties[size_t(k)] = createProperty(offset + k);
}

void Class::initEvents() const
{
    if (!d->events.empty() || d->declaredEvents <= 0)
        return;
    const int offset = superClassOffset(EventOffset);
    const int n = d->declaredEvents;
    d->events.resize(size_t(n), nullptr);
    for (int k = 0; k < n; ++k)
        d->events[size_t(k)] = createEvent(offset + k);
}

void Class::initEnums() const
{
    if (!d->enums.empty() || d->declaredEnums <= 0)
        return;
    const int offset = superClassOffset(EnumOffset);
    const int n = d->declaredEnums;
    d->enums.resize(size_t(n), nullptr);
    for (int k = 0; k < n; ++k)
        d->enums[size_t(k)] = createEnum(offset + k);
}

// Lookup by index: own members when the index is at or above the offset, else the superclass's.

const Method *Class::method(int index) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        c->initMethods();
        const int offset = c->superClassOffset(MethodOffset);
        if (offset <= index) {
            const size_t local = size_t(index - offset);
            return local < c->d->methods.size() ? c->d->methods[local] : nullptr;
        }
    }
    return nullptr;
}

const Constructor *Class::constructor(int index) const
{
    initConstructors();
    if (index < 0 || size_t(index) >= d->constructors.size())
        return nullptr;
    return d->constructors[size_t(index)];
}

const Property *Class::property(int index) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        c->initProperties();
        const int offset = c->superClassOffset(PropertyOffset);
        if (offset > index)
            continue;
        const int local = index - offset;
        const int own = positive(c->d->declaredProperties);
        if (local < own)
            return size_t(local) < c->d->properties.size() ? c->d->properties[size_t(local)] : nullptr;
        // Past the declared ones come the property delegate's declarations.
        c->numProperties();
        const int extra = local - own;
        if (!c->d->propertyDelegate || extra >= c->d->numDelegateProperties)
            return nullptr;
        if (!c->d->delegateProperties)
            c->d->delegateProperties = new std::vector<Property *>(size_t(c->d->numDelegateProperties),
                                                                   nullptr);
        Property *&slot = (*c->d->delegateProperties)[size_t(extra)];
        if (!slot) {
            const PropertyDeclaration *decl = c->d->propertyDelegate->propertyDeclaration(extra);
            if (decl)
                slot = new Property(decl, c, index);
        }
        return slot;
    }
    return nullptr;
}

const Event *Class::event(int index) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        c->initEvents();
        const int offset = c->superClassOffset(EventOffset);
        if (offset <= index) {
            const size_t local = size_t(index - offset);
            return local < c->d->events.size() ? c->d->events[local] : nullptr;
        }
    }
    return nullptr;
}

const Enum *Class::enumerator(int index) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        c->initEnums();
        const int offset = c->superClassOffset(EnumOffset);
        if (offset <= index) {
            const size_t local = size_t(index - offset);
            return local < c->d->enums.size() ? c->d->enums[local] : nullptr;
        }
    }
    return nullptr;
}

// Lookup by name: own class first, then ancestors.

MethodList Class::methods(const QString &name) const
{
    MethodList result;
    for (const Class *c = this; c; c = superOf(c)) {
        c->initMethods();
        for (const Method *m : c->d->methods) {
            if (m && m->name() == name)
                result.push_back(m);
        }
    }
    return result;
}

const Property *Class::property(const QString &name) const
{
    const int n = numProperties();
    for (const Class *c = this; c; c = superOf(c)) {
        const int offset = c->superClassOffset(PropertyOffset);
        const int end = c == this ? n : c->numProperties();
        for (int i = offset; i < end; ++i) {
            const Property *p = c->property(i);
            if (p && p->name() == name)
                return p;
        }
    }
    return nullptr;
}

const Event *Class::event(const QString &name) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        c->initEvents();
        for (const Event *e : c->d->events) {
            if (e && e->name() == name)
                return e;
        }
    }
    return nullptr;
}

const Enum *Class::enumerator(const QString &name) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        c->initEnums();
        for (const Enum *e : c->d->enums) {
            if (e && e->name() == name)
                return e;
        }
    }
    return nullptr;
}

void Class::lateAddMethod(Method *m)
{
    const bool built = !d->methods.empty();
    d->declaredMethods = positive(d->declaredMethods) + 1;
    // Before the table is built only the count changes: createMethod hands the method out later.
    if (built)
        d->methods.push_back(m);
}

Object::Ptr Class::createNull() const
{
    return Inspector::self()->createNull(this);
}

// Interfaces

void Class::addInterface(const Interface *iface)
{
    if (!iface)
        return;
    const QString name = QString::fromLatin1(iface->name());
    if (interfaceClass(name))
        qFatal("Cannot add duplicate Interface %s to Class %s", iface->name(), this->name());
    d->interfaces.insert(name, iface);
}

const Class *Class::interfaceClass(const QString &name) const
{
    for (const Class *c = this; c; c = superOf(c)) {
        auto it = c->d->interfaces.constFind(name);
        if (it != c->d->interfaces.constEnd())
            return it.value();
    }
    return nullptr;
}

Interface::Interface(const char *name, Namespace *ns)
    : Class(name, ns ? ns : Inspector::self()->globalNamespace(), false)
{
}

Interface::~Interface() = default;

RemoteClassBase::RemoteClassBase(int contextId)
    : Class()
    , m_contextId(contextId)
{
}

RemoteClassBase::RemoteClassBase(int contextId, const QByteArray &name, Namespace *ns, int classId)
    : Class()
    , m_contextId(contextId)
{
    ClassPrivate *p = ClassPrivate::get(this);
    p->name = name;
    p->nameSpace = ns;
    p->classId = classId;
}

RemoteClassBase::~RemoteClassBase() = default;

// Namespaces

Namespace::Namespace()
    : m_parent(nullptr)
    , m_id(-1)
{
    m_classes.reserve(1009);
    m_namespaces.reserve(1009);
}

Namespace::Namespace(Namespace *parent, const QString &name)
    : m_parent(parent)
    , m_name(name)
    , m_id(-1)
{
    m_classes.reserve(1009);
    m_namespaces.reserve(1009);
    if (m_parent)
        m_parent->registerNamespace(this);
    m_id = Inspector::self()->registerNamespace(this);
}

Namespace::~Namespace() = default;

QString Namespace::fullyQualifiedName() const
{
    if (m_parent && m_parent->m_parent)
        return m_parent->fullyQualifiedName() + QStringLiteral("::") + m_name;
    return m_name;
}

void Namespace::registerClass(const Class *c)
{
    if (!c)
        return;
    m_classes.insert(QString::fromLatin1(c->name()), c);
}

void Namespace::registerNamespace(Namespace *ns)
{
    if (!ns)
        return;
    m_namespaces.insert(ns->name(), ns);
    m_children.push_back(ns);
}

const Class *Namespace::getClass(const QString &name) const
{
    return m_classes.value(name, nullptr);
}

Namespace *Namespace::getNamespace(const QString &name) const
{
    return m_namespaces.value(name, nullptr);
}

int Namespace::numNamespaces() const
{
    return int(m_children.size());
}

Namespace *Namespace::getNamespace(int index) const
{
    if (index < 0 || size_t(index) >= m_children.size())
        return nullptr;
    return m_children[size_t(index)];
}

bool Namespace::containsIdentifier(const QString &name) const
{
    return m_classes.contains(name) || m_namespaces.contains(name);
}

} // namespace Vexil
