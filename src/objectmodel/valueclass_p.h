// valueclass_p.h: pieces shared by the built-in value classes (arrays, maps, dates and screen geometry).
// Internal: not installed.
#ifndef VEXIL_VALUECLASS_P_H
#define VEXIL_VALUECLASS_P_H

#include "inspector.h"
#include "object.h"

#include <array>
#include <map>
#include <memory>

namespace Vexil {
namespace ValueClass {

// Wraps a value the new object takes over; the value is deleted when there is no class or no object.
template <class T>
Object::Ptr wrapOwned(const Class *cls, T *value, unsigned int flags)
{
    Object::Ptr object = cls ? cls->wrap(value, ObjectAttribute(flags, 0)) : Object::Ptr();
    if (!object) {
        delete value;
        return object;
    }
    object->ownsData = true;
    return object;
}

// A new object of \p cls owning a copy of the value the first argument points to; null when it is missing.
template <class T>
Object::Ptr wrapCopy(const Class *cls, void **args, unsigned int flags)
{
    if (!args || !args[0])
        return Object::Ptr();
    return wrapOwned(cls, new T(*static_cast<const T *>(args[0])), flags);
}

// The value held by an object of any class of type C; null for anything else. The static helpers use
// this: every class of that type stores the same kind of value.
template <class C, class T>
T *localValue(const Object::Ptr &object)
{
    if (!object || !dynamic_cast<const C *>(object->objectClass()))
        return nullptr;
    return static_cast<T *>(object->rawData());
}

// The value held by an object of \p cls or a subclass; null for a null pointer or another class's object.
template <class T>
T *valueOf(const Object::Ptr &object, const Class *cls)
{
    if (!object || !object->isA(cls))
        return nullptr;
    return static_cast<T *>(object->rawData());
}

// The class \p name of namespace "UiTypes", looked up anew on every call.
inline const Class *uiTypesClass(const QString &name)
{
    Namespace *ns = Inspector::self()->nameSpace(QStringLiteral("UiTypes"));
    return ns ? ns->getClass(name) : nullptr;
}

// The class \p name of the global namespace. Never creates the Inspector: this is asked while it is being
// torn down as well.
inline const Class *globalClass(const QString &name)
{
    Inspector *insp = Inspector::insp;
    Namespace *ns = insp ? insp->globalNamespace() : nullptr;
    return ns ? ns->getClass(name) : nullptr;
}

// Reads the integers the first \p n argument pointers point to; false when one is missing.
inline bool readInts(void **args, int n, int *out)
{
    for (int i = 0; i < n; ++i) {
        if (!args || !args[i])
            return false;
        out[i] = *static_cast<const int *>(args[i]);
    }
    return true;
}

// The int fields of a struct T, shown as read-write integer properties 0 to N-1 named like the fields.
template <class T, int N>
struct IntFields
{
    const char *names[N];
    int T::*members[N];

    static constexpr int count = N;

    QString name(int field) const { return QString::fromLatin1(names[field]); }

    // A constructor argument named like the field.
    Argument argument(int field) const
    {
        return Argument(name(field), Inspector::self()->type(Inspector::Int));
    }

    Property *createProperty(const Class *owner, int index) const
    {
        const int local = index - owner->superClassOffset(Class::PropertyOffset);
        if (local < 0 || local >= N)
            return nullptr;
        const auto *decl =
            new PropertyDeclaration(owner, Argument(Inspector::self()->type(Inspector::Int)), name(local),
                                    PropertyDeclaration::Readable | PropertyDeclaration::Writable);
        return new Property(decl, owner, index, true);
    }

    Object::Ptr get(const Class *owner, int index, void *object, const Class *cls) const
    {
        if (!object || !cls || !cls->isSubClassOf(owner) || index < 0 || index >= N)
            return Object::Ptr();
        return Inspector::self()->createPrimitive(static_cast<const T *>(object)->*members[index]);
    }

    bool set(int index, void *object, void *value) const
    {
        if (!object || !value || index < 0 || index >= N)
            return false;
        static_cast<T *>(object)->*members[index] = *static_cast<const int *>(value);
        return true;
    }
};

// Refuses an object of another class: the raw property slot is told nothing about the object's class.
inline bool setPropertyChecked(const Class *cls, int index, const Object::Ptr &object,
                               const Object::Ptr &value, const Property *property)
{
    if (object && !object->isA(cls))
        return false;
    return cls->Class::setProperty(index, object, value, property);
}

// The raw constructor slots read an int or a whole value through each pointer: a foreign object must not
// reach them.
inline Object::Ptr constructChecked(const Class *cls, int index, const ObjectList &args,
                                    const Constructor *constructor)
{
    if (const Constructor *c = cls->constructor(index)) {
        // Only the constructor's own road reports a wrong count.
        if (size_t(c->signature().count()) != args.size())
            return constructor ? cls->Class::construct(index, args, constructor) : Object::Ptr();
        for (size_t i = 0; i < args.size(); ++i) {
            if (!args[i] || !args[i]->isA(c->signature().at(int(i)).type()))
                return Object::Ptr();
        }
    }
    return cls->Class::construct(index, args, constructor);
}

// Descriptors are made once per process and shared by every call. They are kept per owning class all the
// same: a descriptor points at its owner, and an Inspector built anew after the first one is gone must not
// hand out descriptors of a deleted class.
template <class T, int N>
class DescriptorCache
{
public:
    template <class Make>
    T *get(const Class *owner, int slot, Make make)
    {
        std::unique_ptr<T> &p = m_byOwner[owner][size_t(slot)];
        if (!p)
            p.reset(make());
        return p.get();
    }

private:
    std::map<const Class *, std::array<std::unique_ptr<T>, N>> m_byOwner;
};

// The shared descriptor of member \p index of one kind of \p owner, one of its own \p N; \p make makes it
// from the local index on first use. Each caller has its own cache.
template <class T, int N, class C, class Make>
T *sharedDescriptor(const C *owner, Class::OffsetType kind, int index, Make make)
{
    const int local = index - owner->superClassOffset(kind);
    if (local < 0 || local >= N)
        return nullptr;
    static DescriptorCache<T, N> cache;
    return cache.get(owner, local, [&make, local] { return make(local); });
}

// The shared constructor 0 without arguments of a container class of type C.
template <class C>
Constructor *sharedDefaultConstructor(const C *owner, int index)
{
    if (index != 0)
        return nullptr;
    static DescriptorCache<Constructor, 1> cache;
    return cache.get(owner, 0, [owner] { return new Constructor(owner, Signature(), 0); });
}

// The local index of a call of method \p index of \p cls (one of its own \p numMethods) whose arguments
// are all there; -1 otherwise, a wrong count reported as usual. \p method may be null: it is looked up.
inline int checkedMethodCall(const Class *cls, int index, int numMethods, const Method *method,
                             const ObjectList &args)
{
    const int local = index - cls->superClassOffset(Class::MethodOffset);
    if (local < 0 || local >= numMethods)
        return -1;
    if (!method)
        method = cls->method(index);
    // Overload resolution has matched the signature already; a direct call with a short list must not crash.
    if (!method || !verifyMethodArgumentCount(QString::fromLatin1(cls->name()), method, args))
        return -1;
    for (const Object::Ptr &arg : args) {
        if (!arg)
            return -1;
    }
    return local;
}

// Builds a container through constructor 0 of \p cls, then calls \p fill with the first method named
// \p adder of the new object's class, unless \p empty or there is no such method.
template <class Fill>
Object::Ptr createRemote(const Class *cls, bool empty, const QString &adder, Fill fill)
{
    const Constructor *ctor = cls ? cls->constructor(0) : nullptr;
    if (!ctor)
        return Object::Ptr();
    Object::Ptr object = ctor->construct(ObjectList());
    if (!object || empty)
        return object;
    const Class *objectClass = object->objectClass() ? object->objectClass() : cls;
    const MethodList methods = objectClass->methods(adder);
    if (methods.empty() || !methods.front())
        return object;
    fill(object, methods.front());
    return object;
}

} // namespace ValueClass
} // namespace Vexil

#endif // VEXIL_VALUECLASS_P_H
