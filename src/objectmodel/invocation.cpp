// invocation.cpp: overload choice, argument acceptance, the checks before a call or a property access,
// and the Class slots that carry a call down to the raw native slots.
#include "object.h"
#include "object_p.h"

#include "diagnostics.h"
#include "inspector.h"

#include <cstdio>
#include <cstring>
#include <vector>

namespace Vexil {

using namespace Internal;

namespace {

void *rawDataOf(const Object::Ptr &object)
{
    return object ? object->rawData() : nullptr;
}

// The class whose slots serve \p object: its own, or \p fallback for a null object or one without a class.
const Class *servingClass(const Object::Ptr &object, const Class *fallback)
{
    return object && object->objectClass() ? object->objectClass() : fallback;
}

// Leaves \p text as the Inspector's error; false, for the checks to return.
bool refuse(const QString &text)
{
    Inspector::self()->setError(text);
    return false;
}

// The argument as the parameter takes it: as it is when it already is-a the parameter's class (or the
// parameter is void), converted when its class can, otherwise null.
Object::Ptr acceptArgument(const Object::Ptr &arg, const Argument &param)
{
    if (!arg)
        return Object::Ptr();
    const Class *type = param.type();
    if (isVoidClass(type) || arg->isA(type))
        return arg;
    const Class *cls = arg->objectClass();
    if (!cls || !type)
        return Object::Ptr();
    const bool paramIsPointer = (param.flags() & ObjectAttribute::Pointer) != 0;
    if (!cls->canConvertTo(type, isPointer(arg), paramIsPointer, nullptr))
        return Object::Ptr();
    return cls->convertTo(arg, type, paramIsPointer);
}

// Fills \p converted with the arguments as \p sig takes them; false at the first one that can't be had.
// \p converted stays empty when every argument is taken as it is, so the caller can pass the original list.
bool acceptArguments(const Signature &sig, const ObjectList &args, ObjectList &converted)
{
    const int n = sig.count();
    bool copying = false;
    for (int i = 0; i < n; ++i) {
        const Object::Ptr &arg = args[size_t(i)];
        Object::Ptr taken = acceptArgument(arg, sig.at(i));
        if (!taken)
            return false;
        if (taken != arg && !copying) {
            copying = true;
            converted.reserve(size_t(n));
            for (int k = 0; k < i; ++k)
                converted.push_back(args[size_t(k)]);
        }
        if (copying)
            converted.push_back(taken);
    }
    return true;
}

// The raw data pointers of a list of arguments, on the stack for the usual short lists.
class RawArguments
{
public:
    explicit RawArguments(const ObjectList &args)
        : m_data(m_fixed)
    {
        const size_t n = args.size();
        if (n > FixedSize) {
            m_heap.resize(n);
            m_data = m_heap.data();
        }
        for (size_t i = 0; i < n; ++i)
            m_data[i] = args[i] ? args[i]->rawData() : nullptr;
    }
    void **data() { return m_data; }

private:
    static constexpr size_t FixedSize = 8;
    void *m_fixed[FixedSize] = {};
    std::vector<void *> m_heap;
    void **m_data;
};

} // namespace

Object::Ptr Method::invoke(Object::Ptr object, const ObjectList &args) const
{
    if (!verifyMethodInvocation(object, this))
        return Object::Ptr();
    if (!m_owner)
        return Object::Ptr();
    return m_owner->invoke(m_index, object, args, this);
}

const Method *MethodList::methodForArguments(const ObjectList &args) const
{
    for (const Method *m : *this) {
        if (!m)
            continue;
        const Signature &sig = m->signature();
        if (size_t(sig.count()) != args.size())
            continue;
        bool all = true;
        for (int i = 0; i < sig.count() && all; ++i) {
            const Object::Ptr &arg = args[size_t(i)];
            const Class *type = sig.at(i).type();
            all = arg && (isVoidClass(type) || arg->isA(type));
        }
        if (all)
            return m;
    }
    return nullptr;
}

Object::Ptr MethodList::invoke(Object::Ptr object, const ObjectList &args, bool *found) const
{
    if (found)
        *found = false;
    if (empty()) {
        Inspector::self()->setError(QStringLiteral("Function not available"));
        return Object::Ptr();
    }
    for (const Method *m : *this) {
        if (!m || size_t(m->signature().count()) != args.size())
            continue;
        ObjectList converted;
        if (!acceptArguments(m->signature(), args, converted))
            continue;
        if (found)
            *found = true;
        return m->invoke(object, converted.empty() ? args : converted);
    }
    Inspector::self()->setError(QStringLiteral("Found no matching overload"));
    return Object::Ptr();
}

bool MethodList::invoke(Object::Ptr object, const ObjectList &args, Object::Ptr &result) const
{
    bool found = false;
    result = invoke(object, args, &found);
    return found;
}

Object::Ptr Constructor::construct(const ObjectList &args) const
{
    if (size_t(m_signature.count()) != args.size()) {
        diagnostic(QStringLiteral("Constructor::construct %1: %2 arguments expected, %3 given")
                       .arg(QString::fromLatin1(m_owner ? m_owner->name() : ""),
                            QString::number(m_signature.count()), QString::number(args.size())));
        return Object::Ptr();
    }
    if (!m_owner)
        return Object::Ptr();
    return m_owner->construct(m_index, args, this);
}

namespace {

// The class that reads and writes \p p: the one it is bound to, else its declaration's owner.
const Class *accessingClass(const Property &p)
{
    if (p.boundClass())
        return p.boundClass();
    return p.declaration() ? p.declaration()->ownerClass() : nullptr;
}

} // namespace

Object::Ptr Property::get(Object::Ptr object) const
{
    if (!verifyPropertyAccess(object, this))
        return Object::Ptr();
    const Class *owner = accessingClass(*this);
    return owner ? owner->getProperty(object, this) : Object::Ptr();
}

bool Property::set(Object::Ptr object, Object::Ptr value) const
{
    if (!verifyPropertyAccess(object, this))
        return false;
    const Class *owner = accessingClass(*this);
    return owner ? owner->setProperty(object, this, value) : false;
}

void Event::sendEvent(Object::Ptr object, const ObjectList &args) const
{
    Inspector::self()->sendEvent(this, object, args);
}

// Checks before a call or a property access

bool verifyMethodInvocation(Object::Ptr object, const Method *method)
{
    if (!method)
        return false;
    if (object && !method->isStatic() && object->isNull())
        return refuse(QStringLiteral("Cannot invoke member function %1() on null object reference")
                          .arg(method->name()));
    if (object && object->isInvalidated())
        return refuse(QStringLiteral("Cannot invoke member function %1() on invalidated object reference")
                          .arg(method->name()));
    if (!object && !method->isStatic())
        return refuse(QStringLiteral("Cannot invoke non-static function %1() without a object reference")
                          .arg(method->name()));
    return true;
}

bool verifyMethodArgumentCount(const QString &className, const Method *method, const ObjectList &args)
{
    if (!method)
        return false;
    const int expected = method->signature().count();
    if (size_t(expected) == args.size())
        return true;
    // One arg() call, so that a "%" in the class name is not taken for a place holder.
    const QString text = QStringLiteral("Class::invoke %1::%2: %3 arguments expected, %4 given")
                             .arg(className, QString::number(method->index()), QString::number(expected),
                                  QString::number(qulonglong(args.size())));
    diagnostic(text);
    return refuse(text);
}

bool verifyPropertyAccess(Object::Ptr object, const Property *property)
{
    if (!property)
        return false;
    const QString name = property->name();
    if (!object && !property->isStatic())
        return refuse(
            QStringLiteral("Cannot access non-static property %1 without object reference").arg(name));
    if (object && object->isNull())
        return refuse(QStringLiteral("Cannot access property %1 on null object reference").arg(name));
    if (object && object->isInvalidated())
        return refuse(QStringLiteral("Cannot access property %1 on invalidated object reference").arg(name));
    return true;
}

bool verifyPropertyWrite(Object::Ptr object, const Property *property)
{
    if (!property)
        return false;
    if (!object && !property->isStatic()) {
        diagnostic(
            QStringLiteral("Class::setProperty: Can't set non-static property without object reference"));
        return false;
    }
    if (!property->isWritable()) {
        diagnostic(QStringLiteral("Object::setProperty: property %1 is not writable").arg(property->name()));
        return false;
    }
    return true;
}

bool vexilidl_compare_args(const Argument &a, const Argument &b)
{
    if (a.type() == b.type()) {
        const bool aPointer = (a.flags() & ObjectAttribute::Pointer) != 0;
        const bool bPointer = (b.flags() & ObjectAttribute::Pointer) != 0;
        if (a.flags() == b.flags() || aPointer == bPointer || (aPointer && !bPointer))
            return true;
    }
    return a.type() && b.type() && std::strcmp(a.type()->name(), "char") == 0
        && std::strcmp(b.type()->name(), "QCString") == 0;
}

// Class: the road from objects and lists down to the raw slots

Object::Ptr Class::invoke(Object::Ptr object, const Method *method, void **args) const
{
    if (!method || !verifyMethodInvocation(object, method))
        return Object::Ptr();
    return invoke(method->index(), rawDataOf(object), args, servingClass(object, this));
}

Object::Ptr Class::invoke(int index, Object::Ptr object, const ObjectList &args, const Method *method) const
{
    if (!method && index >= 0 && index < numMethods())
        method = this->method(index);
    // The raw slot reads one pointer per parameter: a short list must not reach it. The name is only made
    // for the report, a call is not slowed down by it.
    if (method && size_t(method->signature().count()) != args.size()) {
        verifyMethodArgumentCount(QString::fromLatin1(name()), method, args);
        return Object::Ptr();
    }
    RawArguments raw(args);
    return invoke(index, rawDataOf(object), raw.data(), servingClass(object, this));
}

Object::Ptr Class::construct(int index, const ObjectList &args, const Constructor *constructor) const
{
    if (constructor && size_t(constructor->signature().count()) != args.size())
        return constructor->construct(args); // reports the count
    RawArguments raw(args);
    return construct(index, raw.data());
}

Object::Ptr Class::construct(const ObjectList &args) const
{
    const int n = numConstructors();
    for (int i = 0; i < n; ++i) {
        const Constructor *c = constructor(i);
        if (!c || size_t(c->signature().count()) != args.size())
            continue;
        ObjectList converted;
        if (!acceptArguments(c->signature(), args, converted))
            continue;
        return c->construct(converted.empty() ? args : converted);
    }
    diagnostic(QStringLiteral("Class::construct: No matching constructor found"));
    return Object::Ptr();
}

Object::Ptr Class::getProperty(Object::Ptr object, const Property *property) const
{
    return getProperty(property ? property->index() : -1, object, property);
}

bool Class::setProperty(Object::Ptr object, const Property *property, Object::Ptr value) const
{
    return setProperty(property ? property->index() : -1, object, value, property);
}

Object::Ptr Class::getProperty(int index, Object::Ptr object, const Property *property) const
{
    if (!property && index >= 0 && index < numProperties())
        property = this->property(index);
    if (!property) {
        diagnostic(QStringLiteral("Class::getProperty: No such property: %1").arg(index));
        return Object::Ptr();
    }
    if (!property->isReadable()) {
        diagnostic(QStringLiteral("Class::getProperty: property %1 is not readable").arg(property->name()));
        return Object::Ptr();
    }
    // Declared properties may name a reader of their own; the rest are the class's raw slot's business.
    if (const PropertyDeclaration *decl = property->declaration()) {
        if (decl->readFunction())
            return decl->readFunction()(object);
        if (!decl->readMethod().isEmpty())
            return servingClass(object, this)->methods(decl->readMethod()).invoke(object, ObjectList());
    }
    return getProperty(index, rawDataOf(object), servingClass(object, this));
}

bool Class::setProperty(int index, Object::Ptr object, Object::Ptr value, const Property *property) const
{
    if (!property && index >= 0 && index < numProperties())
        property = this->property(index);
    if (!verifyPropertyWrite(object, property))
        return false;
    Object::Ptr taken = value;
    const PropertyDeclaration *decl = property->declaration();
    // A type left unset by a declaration that named an unknown one takes the value as it is.
    if (decl && decl->type()) {
        taken = acceptArgument(value, decl->value());
        if (!taken) {
            diagnostic(QStringLiteral("Object::setProperty: type %1 cannot be converted to %2")
                           .arg(QString::fromLatin1(
                                    value && value->objectClass() ? value->objectClass()->name() : "null"),
                                QString::fromLatin1(decl->type()->name())));
            return false;
        }
    }
    if (decl) {
        if (decl->writeFunction())
            return decl->writeFunction()(object, taken);
        if (!decl->writeMethod().isEmpty()) {
            bool found = false;
            servingClass(object, this)
                ->methods(decl->writeMethod())
                .invoke(object, ObjectList { taken }, &found);
            return found;
        }
    }
    return setProperty(index, rawDataOf(object), rawDataOf(taken));
}

} // namespace Vexil
