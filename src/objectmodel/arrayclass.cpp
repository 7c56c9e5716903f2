// arrayclass.cpp: the built-in array class, its shared member descriptors and the array helpers.
#include "arrayclass.h"

#include "inspector.h"
#include "primitives.h"

#include <array>
#include <map>
#include <memory>

namespace Vexil {

namespace {

const int kNumMethods = 2;
const int kNumProperties = 1;

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

typedef std::vector<Object::Ptr> Elements;

// The vector of an array object of \p cls; null for a null pointer, a null object or another class's object.
Elements *elementsOf(const Object::Ptr &object, const Class *cls)
{
    if (!object || !object->isA(cls))
        return nullptr;
    return static_cast<Elements *>(object->rawData());
}

// Any array class will do for the static helpers: each of them stores the same vector.
Elements *localElements(const Object::Ptr &array)
{
    if (!array || !dynamic_cast<const ArrayClass *>(array->objectClass()))
        return nullptr;
    return static_cast<Elements *>(array->rawData());
}

Object::Ptr wrapElements(const Class *cls, Elements *elements)
{
    Object::Ptr object = cls->wrap(elements, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!object) {
        delete elements;
        return object;
    }
    object->ownsData = true;
    return object;
}

} // namespace

ArrayClass::ArrayClass()
    : Class("Vexil_Array", true)
{
    setNumConstructors(1);
    setNumMethods(kNumMethods);
    setNumProperties(kNumProperties);
}

ArrayClass::~ArrayClass()
{
    // The descriptors are shared statics; the base class must not delete them.
    releaseMemberTables();
}

Constructor *ArrayClass::createConstructor(int index) const
{
    if (index != 0)
        return nullptr;
    static DescriptorCache<Constructor, 1> cache;
    return cache.get(this, 0, [this] { return new Constructor(this, Signature(), 0); });
}

Method *ArrayClass::createMethod(int index) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return nullptr;
    static DescriptorCache<Method, kNumMethods> cache;
    return cache.get(this, local, [this, local, index]() -> Method * {
        Inspector *insp = Inspector::self();
        const Argument result(insp->type(Inspector::Void));
        if (local == 0) {
            const Argument i(QStringLiteral("i"), insp->type(Inspector::Int64));
            return new Method(this, result, QStringLiteral("at"), Signature(i), false, index);
        }
        const Argument obj(QStringLiteral("obj"), insp->type(Inspector::Void));
        return new Method(this, result, QStringLiteral("push"), Signature(obj), false, index);
    });
}

Property *ArrayClass::createProperty(int index) const
{
    const int local = index - superClassOffset(PropertyOffset);
    if (local < 0 || local >= kNumProperties)
        return nullptr;
    static DescriptorCache<Property, kNumProperties> cache;
    return cache.get(this, local, [this, index] {
        const auto *decl = new PropertyDeclaration(this, Argument(Inspector::self()->type(Inspector::Int64)),
                                                   QStringLiteral("length"), PropertyDeclaration::Readable);
        return new Property(decl, this, index, true);
    });
}

Object::Ptr ArrayClass::getProperty(Object::Ptr object, const Property *property) const
{
    if (!property || property->index() - superClassOffset(PropertyOffset) != 0)
        return Object::Ptr();
    const Elements *elements = elementsOf(object, this);
    if (!elements)
        return Object::Ptr();
    return Inspector::self()->createPrimitive(static_cast<long long>(elements->size()));
}

void ArrayClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<Elements *>(data);
}

Object::Ptr ArrayClass::invoke(int index, Object::Ptr object, const ObjectList &args,
                               const Method *method) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return Object::Ptr();
    if (!method)
        method = this->method(index);
    // Overload resolution has matched the signature already; a direct call with a short list must not crash.
    if (!method || !verifyMethodArgumentCount(QString::fromLatin1(name()), method, args) || !args[0])
        return Object::Ptr();
    Elements *elements = elementsOf(object, this);
    if (!elements)
        return Object::Ptr();

    Inspector *insp = Inspector::self();
    if (local == 0) {
        const long long i = args[0]->toInt64();
        if (i < 0) {
            insp->setError(QStringLiteral("Negative index not supported"));
            return Object::Ptr();
        }
        if (static_cast<unsigned long long>(i) >= elements->size()) {
            insp->setError(QStringLiteral("Out of bounds access: index: %1, size: %2")
                               .arg(i)
                               .arg(static_cast<qulonglong>(elements->size())));
            return Object::Ptr();
        }
        return (*elements)[size_t(i)];
    }
    elements->push_back(args[0]);
    return insp->voidObject();
}

Object::Ptr ArrayClass::construct(int index, const ObjectList &, const Constructor *) const
{
    if (index != 0)
        return Object::Ptr();
    return wrapElements(this, new Elements());
}

const Class *ArrayClass::registeredClass()
{
    // Never create the Inspector from here: this is asked while it is being torn down as well.
    Inspector *insp = Inspector::insp;
    Namespace *ns = insp ? insp->globalNamespace() : nullptr;
    return ns ? ns->getClass(QStringLiteral("Vexil_Array")) : nullptr;
}

Argument ArrayClass::arrayClassArg(const std::string &name)
{
    return Argument(QString::fromStdString(name), registeredClass());
}

Object::Ptr ArrayClass::wrapObject(const std::vector<Object::Ptr> &elements)
{
    const Class *cls = registeredClass();
    if (!cls)
        return Object::Ptr();
    return wrapElements(cls, new Elements(elements));
}

std::vector<Object::Ptr> ArrayClass::unwrapObject(Object::Ptr array)
{
    const Elements *elements = localElements(array);
    return elements ? *elements : std::vector<Object::Ptr>();
}

void *ArrayClass::unwrapInternal(Object::Ptr array)
{
    return array ? array->rawData() : nullptr;
}

Object::Ptr ArrayClass::createRemoteObject(const std::vector<Object::Ptr> &elements)
{
    const Class *cls = registeredClass();
    const Constructor *ctor = cls ? cls->constructor(0) : nullptr;
    if (!ctor)
        return Object::Ptr();
    Object::Ptr array = ctor->construct(ObjectList());
    if (!array || elements.empty())
        return array;
    const Class *arrayClass = array->objectClass() ? array->objectClass() : cls;
    const MethodList push = arrayClass->methods(QStringLiteral("push"));
    if (push.empty() || !push.front())
        return array;
    for (const Object::Ptr &element : elements)
        push.front()->invoke(array, ObjectList { element });
    return array;
}

std::vector<Object::Ptr> ArrayClass::unwrapRemoteObject(Object::Ptr array)
{
    std::vector<Object::Ptr> result;
    const Class *cls = array ? array->objectClass() : nullptr;
    const Property *length = cls ? cls->property(QStringLiteral("length")) : nullptr;
    if (!length)
        return result;
    const Object::Ptr lengthValue = length->get(array);
    const int n = lengthValue ? lengthValue->toInteger() : 0;
    if (n < 1)
        return result;
    const MethodList at = cls->methods(QStringLiteral("at"));
    if (at.empty() || !at.front())
        return result;
    Inspector *insp = Inspector::self();
    result.reserve(size_t(n));
    for (int i = 0; i < n; ++i)
        result.push_back(at.front()->invoke(array, ObjectList { insp->createPrimitive(i) }));
    return result;
}

Object::Ptr wrap(const QStringList &list)
{
    std::vector<Object::Ptr> elements;
    elements.reserve(size_t(list.size()));
    for (const QString &s : list)
        elements.push_back(wrap(s));
    return ArrayClass::wrapObject(elements);
}

void unwrap(Object::Ptr array, QStringList *out)
{
    if (!out)
        return;
    for (const Object::Ptr &element : ArrayClass::unwrapObject(array)) {
        QString text;
        unwrap(element, &text);
        out->append(text);
    }
}

} // namespace Vexil
