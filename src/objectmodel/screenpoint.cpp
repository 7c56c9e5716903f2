// screenpoint.cpp: the ScreenPoint script class and its wrap/unwrap helpers.
#include "screenpoint.h"

#include "inspector.h"

namespace Vexil {

namespace {

const int kNumProperties = 2;
const char *const kPropertyNames[kNumProperties] = {"x", "y"};
int ScreenPoint::*const kFields[kNumProperties] = {&ScreenPoint::x, &ScreenPoint::y};

Object::Ptr wrapOwned(const Class *cls, ScreenPoint *point, unsigned int flags)
{
    Object::Ptr object = cls ? cls->wrap(point, ObjectAttribute(flags, 0)) : Object::Ptr();
    if (!object) {
        delete point;
        return object;
    }
    object->ownsData = true;
    return object;
}

} // namespace

ScreenPointClass::ScreenPointClass(Namespace *ns)
    : Class("ScreenPoint", ns, true)
{
    setNumConstructors(3);
    setNumProperties(kNumProperties);
}

ScreenPointClass::~ScreenPointClass() = default;

Constructor *ScreenPointClass::createConstructor(int index) const
{
    const Class *intClass = Inspector::self()->type(Inspector::Int);
    switch (index) {
    case 0:
        return new Constructor(this, Signature(), index);
    case 1:
        return new Constructor(this,
                               Signature(Argument(QStringLiteral("x"), intClass),
                                         Argument(QStringLiteral("y"), intClass)),
                               index);
    case 2:
        return new Constructor(this, Signature(Argument(QStringLiteral("point"), this)), index);
    default:
        return nullptr;
    }
}

Property *ScreenPointClass::createProperty(int index) const
{
    const int local = index - superClassOffset(PropertyOffset);
    if (local < 0 || local >= kNumProperties)
        return nullptr;
    const auto *decl = new PropertyDeclaration(this, Argument(Inspector::self()->type(Inspector::Int)),
                                               QString::fromLatin1(kPropertyNames[local]),
                                               PropertyDeclaration::Readable | PropertyDeclaration::Writable);
    return new Property(decl, this, index, true);
}

Object::Ptr ScreenPointClass::getProperty(int index, void *object, const Class *cls) const
{
    if (!object || !cls || !cls->isSubClassOf(this) || index < 0 || index >= kNumProperties)
        return Object::Ptr();
    return Inspector::self()->createPrimitive(static_cast<const ScreenPoint *>(object)->*kFields[index]);
}

bool ScreenPointClass::setProperty(int index, void *object, void *value) const
{
    if (!object || !value || index < 0 || index >= kNumProperties)
        return false;
    static_cast<ScreenPoint *>(object)->*kFields[index] = *static_cast<const int *>(value);
    return true;
}

bool ScreenPointClass::setProperty(int index, Object::Ptr object, Object::Ptr value,
                                   const Property *property) const
{
    // The raw slot above is told nothing about the object's class.
    if (object && !object->isA(this))
        return false;
    return Class::setProperty(index, object, value, property);
}

Object::Ptr ScreenPointClass::construct(int index, const ObjectList &args, const Constructor *constructor) const
{
    // The raw slot reads an int or a whole point through each pointer: a foreign object must not reach it.
    if (const Constructor *c = this->constructor(index)) {
        // Only the constructor's own road reports a wrong count.
        if (size_t(c->signature().count()) != args.size())
            return constructor ? Class::construct(index, args, constructor) : Object::Ptr();
        for (size_t i = 0; i < args.size(); ++i) {
            if (!args[i] || !args[i]->isA(c->signature().at(int(i)).type()))
                return Object::Ptr();
        }
    }
    return Class::construct(index, args, constructor);
}

Object::Ptr ScreenPointClass::construct(int index, void **args) const
{
    auto arg = [args](int i) { return args ? args[i] : nullptr; };
    auto coordinate = [args](int i) { return *static_cast<const int *>(args[i]); };
    switch (index) {
    case 0:
        return wrapOwned(this, new ScreenPoint(0, 0), ObjectAttribute::Pointer);
    case 1:
        if (!arg(0) || !arg(1))
            return Object::Ptr();
        return wrapOwned(this, new ScreenPoint(coordinate(0), coordinate(1)), ObjectAttribute::Pointer);
    case 2:
        if (!arg(0))
            return Object::Ptr();
        return wrapOwned(this, new ScreenPoint(*static_cast<const ScreenPoint *>(args[0])),
                         ObjectAttribute::Pointer);
    default:
        return Object::Ptr();
    }
}

void ScreenPointClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<ScreenPoint *>(data);
}

Object::Ptr ScreenPointClass::wrapNewPoint(ScreenPoint *point)
{
    if (!point)
        return Object::Ptr();
    return wrapOwned(screenPointClass(), point, ObjectAttribute::Pointer);
}

const Class *screenPointClass()
{
    Namespace *ns = Inspector::self()->nameSpace(QStringLiteral("UiTypes"));
    return ns ? ns->getClass(QStringLiteral("ScreenPoint")) : nullptr;
}

Object::Ptr wrapScreenPoint(const ScreenPoint &point)
{
    return wrapOwned(screenPointClass(), new ScreenPoint(point), 0);
}

ScreenPoint unwrapScreenPoint(Object::Ptr object)
{
    if (!object || !object->rawData() || !dynamic_cast<const ScreenPointClass *>(object->objectClass()))
        return ScreenPoint();
    return *static_cast<const ScreenPoint *>(object->rawData());
}

} // namespace Vexil
