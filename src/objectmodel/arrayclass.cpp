// arrayclass.cpp: the built-in array class, its shared member descriptors and the array helpers.
#include "arrayclass.h"

#include "inspector.h"
#include "primitives.h"
#include "valueclass_p.h"

namespace Vexil {

using namespace ValueClass;

namespace {

const int kNumMethods = 2;
const int kNumProperties = 1;

typedef std::vector<Object::Ptr> Elements;

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
    return sharedDefaultConstructor(this, index);
}

Method *ArrayClass::createMethod(int index) const
{
    return sharedDescriptor<Method, kNumMethods>(
        this, MethodOffset, index, [this, index](int local) -> Method * {
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
    return sharedDescriptor<Property, kNumProperties>(this, PropertyOffset, index, [this, index](int) {
        const auto *decl = new PropertyDeclaration(this, Argument(Inspector::self()->type(Inspector::Int64)),
                                                   QStringLiteral("length"), PropertyDeclaration::Readable);
        return new Property(decl, this, index, true);
    });
}

Object::Ptr ArrayClass::getProperty(Object::Ptr object, const Property *property) const
{
    if (!property || property->index() - superClassOffset(PropertyOffset) != 0)
        return Object::Ptr();
    const Elements *elements = valueOf<Elements>(object, this);
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
    const int local = checkedMethodCall(this, index, kNumMethods, method, args);
    if (local < 0)
        return Object::Ptr();
    Elements *elements = valueOf<Elements>(object, this);
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
    return wrapOwned(this, new Elements(), ObjectAttribute::Pointer);
}

const Class *ArrayClass::registeredClass()
{
    return globalClass(QStringLiteral("Vexil_Array"));
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
    return wrapOwned(cls, new Elements(elements), ObjectAttribute::Pointer);
}

std::vector<Object::Ptr> ArrayClass::unwrapObject(Object::Ptr array)
{
    const Elements *elements = localValue<ArrayClass, const Elements>(array);
    return elements ? *elements : std::vector<Object::Ptr>();
}

void *ArrayClass::unwrapInternal(Object::Ptr array)
{
    return array ? array->rawData() : nullptr;
}

Object::Ptr ArrayClass::createRemoteObject(const std::vector<Object::Ptr> &elements)
{
    return createRemote(registeredClass(), elements.empty(), QStringLiteral("push"),
                        [&elements](const Object::Ptr &array, const Method *push) {
                            for (const Object::Ptr &element : elements)
                                push->invoke(array, ObjectList { element });
                        });
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
