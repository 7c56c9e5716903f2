// globalobject.cpp: the class of global functions, its methods and properties.
#include "globalobject.h"

#include "inspector.h"

#include <QtGlobal>

#include <algorithm>
#include <set>

namespace Vexil {

namespace {

template <class T, class Base>
int positionOf(const std::vector<const T *> &list, const Base *item)
{
    if (!item)
        return -1;
    for (size_t i = 0; i < list.size(); ++i) {
        if (static_cast<const Base *>(list[i]) == item)
            return int(i);
    }
    return -1;
}

template <class T>
bool inRange(const std::vector<T> &list, int index)
{
    return index >= 0 && size_t(index) < list.size();
}

const Class *globalOwner()
{
    return Inspector::self()->globalClass();
}

// The next free place in the global class: the place addMethod gives a method added right after it is made.
int nextMethodIndex()
{
    const Class *owner = globalOwner();
    return owner ? owner->numMethods() : 0;
}

} // namespace

GlobalMethodInvoker::~GlobalMethodInvoker() = default;

GlobalMethod::GlobalMethod(GlobalMethodInvoker *invoker, const Argument &returnArg, const QString &name,
                           const Signature &signature, bool isStatic)
    : Method(globalOwner(), returnArg, name, signature, isStatic, nextMethodIndex())
    , m_kind(InvokerBody)
    , m_invoker(invoker)
    , m_raw(nullptr)
    , m_list(nullptr)
{
}

GlobalMethod::GlobalMethod(RawFunction function, const Argument &returnArg, const QString &name,
                           const Signature &signature, bool isStatic)
    : Method(globalOwner(), returnArg, name, signature, isStatic, nextMethodIndex())
    , m_kind(RawBody)
    , m_invoker(nullptr)
    , m_raw(function)
    , m_list(nullptr)
{
}

// Scripts call global functions without an object, so a method that cannot say otherwise is static.
GlobalMethod::GlobalMethod(ListFunction function, const Argument &returnArg, const QString &name,
                           const Signature &signature)
    : Method(globalOwner(), returnArg, name, signature, true, nextMethodIndex())
    , m_kind(ListBody)
    , m_invoker(nullptr)
    , m_raw(nullptr)
    , m_list(function)
{
}

GlobalMethod::~GlobalMethod() = default;

Object::Ptr GlobalMethod::callBody(const ObjectList &args, const Class *cls) const
{
    switch (m_kind) {
    case InvokerBody:
        return m_invoker ? m_invoker->invoke(args, cls) : Object::Ptr();
    case ListBody:
        return m_list ? m_list(args, cls) : Object::Ptr();
    case RawBody:
        break;
    }
    if (!m_raw)
        return Object::Ptr();
    // The function reads one pointer per parameter: a short list is padded with nulls rather than overrun.
    std::vector<void *> raw(std::max(args.size(), size_t(signature().count())) + 1, nullptr);
    for (size_t i = 0; i < args.size(); ++i)
        raw[i] = args[i] ? args[i]->rawData() : nullptr;
    return m_raw(raw.data(), cls);
}

Object::Ptr GlobalMethod::callBody(void **args, const Class *cls) const
{
    if (m_kind == RawBody)
        return m_raw ? m_raw(args, cls) : Object::Ptr();
    ObjectList list;
    const Signature &sig = signature();
    list.reserve(size_t(sig.count()));
    for (int i = 0; i < sig.count(); ++i) {
        const Argument &param = sig.at(i);
        void *data = args ? args[i] : nullptr;
        list.push_back(param.type() ? param.type()->wrap(data, param.attribute()) : Object::Ptr());
    }
    return callBody(list, cls);
}

namespace {

PropertyDeclaration *globalDeclaration(const Argument &type, const QString &name, unsigned int flags)
{
    return new PropertyDeclaration(globalOwner(), type, name, flags | PropertyDeclaration::Static);
}

} // namespace

GlobalProperty::GlobalProperty(Setter setter, Getter getter, const Argument &type, const QString &name,
                               unsigned int flags)
    : Property(globalDeclaration(type, name, flags), globalOwner(), nextIndex(), true)
    , m_setter(setter)
    , m_getter(getter)
{
}

GlobalProperty::~GlobalProperty() = default;

// Own properties come before any that a property delegate adds, so the count of the list is the next place.
int GlobalProperty::nextIndex()
{
    const GlobalClass *owner = dynamic_cast<const GlobalClass *>(globalOwner());
    return owner ? int(owner->m_properties.size()) : 0;
}

Object::Ptr GlobalProperty::read(const Class *cls) const
{
    return m_getter ? m_getter(cls) : Object::Ptr();
}

bool GlobalProperty::write(void *value) const
{
    return m_setter ? m_setter(value) : false;
}

GlobalClass::GlobalClass()
    : Class("Vexil::Global", true)
    , m_methodsCreated(false)
{
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

GlobalClass::~GlobalClass()
{
    // The member tables hold only pointers from the lists below, and some list entries may never have
    // reached a table: the lists decide, and each descriptor is deleted exactly once.
    releaseMemberTables();
    std::set<const void *> seen;
    for (const GlobalMethod *m : m_methods) {
        if (seen.insert(m).second)
            delete m;
    }
    for (const GlobalProperty *p : m_properties) {
        if (seen.insert(p).second)
            delete p;
    }
    for (const Event *e : m_events) {
        if (seen.insert(e).second)
            delete e;
    }
    for (const Enum *e : m_enums) {
        if (seen.insert(e).second)
            delete e;
    }
}

void GlobalClass::addMethod(const GlobalMethod *method)
{
    if (!method)
        return;
    m_methods.push_back(method);
    // A method made before others were added took a place that is no longer free: it gets the one it joins.
    const_cast<GlobalMethod *>(method)->setIndex(superClassOffset(MethodOffset) + int(m_methods.size()) - 1);
    if (m_methodsCreated)
        lateAddMethod(const_cast<GlobalMethod *>(method));
    else
        setNumMethods(int(m_methods.size()));
}

const GlobalMethod *GlobalClass::injectMethod(const GlobalMethod *method)
{
    if (!method)
        return nullptr;
    const Signature &sig = method->signature();
    for (const GlobalMethod *&existing : m_methods) {
        if (existing->name() != method->name() || existing->signature().count() != sig.count())
            continue;
        // The comparison is not symmetric: the new method's argument goes first, so an injected pointer
        // parameter can stand in for a plain one.
        bool same = true;
        for (int i = 0; same && i < sig.count(); ++i)
            same = vexilidl_compare_args(sig.at(i), existing->signature().at(i));
        if (!same)
            continue;
        const GlobalMethod *old = existing;
        const_cast<GlobalMethod *>(method)->setIndex(old->index());
        existing = method;
        // The method table may still hold the old method, which now belongs to the caller: forget the
        // tables so they are rebuilt from the lists.
        if (m_methodsCreated)
            releaseMemberTables();
        return old;
    }
    addMethod(method);
    return nullptr;
}

// Properties, events and enums have no late registration: the tables are rebuilt from the lists instead.
void GlobalClass::addProperty(const GlobalProperty *property)
{
    if (!property)
        return;
    m_properties.push_back(property);
    setNumProperties(int(m_properties.size()));
    releaseMemberTables();
}

void GlobalClass::addEvent(const Event *event)
{
    if (!event)
        return;
    m_events.push_back(event);
    setNumEvents(int(m_events.size()));
    releaseMemberTables();
}

void GlobalClass::addEnum(const Enum *e)
{
    if (!e)
        return;
    m_enums.push_back(e);
    setNumEnums(int(m_enums.size()));
    releaseMemberTables();
}

Method *GlobalClass::createMethod(int index) const
{
    m_methodsCreated = true;
    const int local = index - superClassOffset(MethodOffset);
    return inRange(m_methods, local) ? const_cast<GlobalMethod *>(m_methods[size_t(local)]) : nullptr;
}

Property *GlobalClass::createProperty(int index) const
{
    const int local = index - superClassOffset(PropertyOffset);
    return inRange(m_properties, local) ? const_cast<GlobalProperty *>(m_properties[size_t(local)]) : nullptr;
}

Event *GlobalClass::createEvent(int index) const
{
    const int local = index - superClassOffset(EventOffset);
    return inRange(m_events, local) ? const_cast<Event *>(m_events[size_t(local)]) : nullptr;
}

Enum *GlobalClass::createEnum(int index) const
{
    const int local = index - superClassOffset(EnumOffset);
    return inRange(m_enums, local) ? const_cast<Enum *>(m_enums[size_t(local)]) : nullptr;
}

Constructor *GlobalClass::createConstructor(int) const
{
    return nullptr;
}

Object::Ptr GlobalClass::construct(int, void **) const
{
    return Object::Ptr();
}

Object::Ptr GlobalClass::getProperty(int index, void *, const Class *cls) const
{
    if (!inRange(m_properties, index))
        return Object::Ptr();
    return m_properties[size_t(index)]->read(cls);
}

bool GlobalClass::setProperty(int index, void *, void *value) const
{
    if (!inRange(m_properties, index))
        return false;
    return m_properties[size_t(index)]->write(value);
}

int GlobalClass::localPropertyIndex(const Property *property) const
{
    const int pos = positionOf(m_properties, property);
    if (pos >= 0)
        return pos;
    return property ? property->index() : -1;
}

// A property records the place it expected when it was made; its actual place in the list is what counts.
Object::Ptr GlobalClass::getProperty(Object::Ptr object, const Property *property) const
{
    return Class::getProperty(localPropertyIndex(property), object, property);
}

bool GlobalClass::setProperty(Object::Ptr object, const Property *property, Object::Ptr value) const
{
    return Class::setProperty(localPropertyIndex(property), object, value, property);
}

int GlobalClass::localMethodIndex(int index, const Method *method) const
{
    // A method's own index is fixed when it is made; after injectMethod or a late addMethod its place in the
    // list is the one that counts.
    const int pos = positionOf(m_methods, method);
    if (pos >= 0)
        return pos;
    return index - superClassOffset(MethodOffset);
}

Object::Ptr GlobalClass::invoke(int index, void *, void **args, const Class *cls) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (!inRange(m_methods, local))
        return Object::Ptr();
    return m_methods[size_t(local)]->callBody(args, cls ? cls : this);
}

Object::Ptr GlobalClass::invoke(int index, Object::Ptr object, const ObjectList &args,
                                const Method *method) const
{
    const int local = localMethodIndex(index, method);
    if (!inRange(m_methods, local))
        return Object::Ptr();
    const GlobalMethod *global = m_methods[size_t(local)];
    // A raw body reads one pointer per parameter; list bodies see the list and check it themselves.
    if (global->bodyKind() == GlobalMethod::RawBody
        && !verifyMethodArgumentCount(QString::fromLatin1(name()), global, args))
        return Object::Ptr();
    const Class *cls = object && object->objectClass() ? object->objectClass() : this;
    return global->callBody(args, cls);
}

Object::Ptr GlobalClass::invoke(Object::Ptr object, const Method *method, void **args) const
{
    if (!method || !verifyMethodInvocation(object, method))
        return Object::Ptr();
    const int local = localMethodIndex(method->index(), method);
    if (!inRange(m_methods, local))
        return Object::Ptr();
    const Class *cls = object && object->objectClass() ? object->objectClass() : this;
    return m_methods[size_t(local)]->callBody(args, cls);
}

Object::Ptr GlobalClass::wrap(void *, const ObjectAttribute &) const
{
    qFatal("GlobalClass::wrap called");
    return Object::Ptr();
}

} // namespace Vexil
