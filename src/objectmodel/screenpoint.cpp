// screenpoint.cpp: the ScreenPoint script class and its wrap/unwrap helpers.
#include "screenpoint.h"

#include "inspector.h"
#include "valueclass_p.h"

namespace Vexil {

using namespace ValueClass;

namespace {

const IntFields<ScreenPoint, 2> kFields = { { "x", "y" }, { &ScreenPoint::x, &ScreenPoint::y } };

} // namespace

ScreenPointClass::ScreenPointClass(Namespace *ns)
    : Class("ScreenPoint", ns, true)
{
    setNumConstructors(3);
    setNumProperties(kFields.count);
}

ScreenPointClass::~ScreenPointClass() = default;

Constructor *ScreenPointClass::createConstructor(int index) const
{
    switch (index) {
    case 0:
        return new Constructor(this, Signature(), index);
    case 1:
        return new Constructor(this, Signature(kFields.argument(0), kFields.argument(1)), index);
    case 2:
        return new Constructor(this, Signature(Argument(QStringLiteral("point"), this)), index);
    default:
        return nullptr;
    }
}

Property *ScreenPointClass::createProperty(int index) const
{
    return kFields.createProperty(this, index);
}

Object::Ptr ScreenPointClass::getProperty(int index, void *object, const Class *cls) const
{
    return kFields.get(this, index, object, cls);
}

bool ScreenPointClass::setProperty(int index, void *object, void *value) const
{
    return kFields.set(index, object, value);
}

bool ScreenPointClass::setProperty(int index, Object::Ptr object, Object::Ptr value,
                                   const Property *property) const
{
    return setPropertyChecked(this, index, object, value, property);
}

Object::Ptr ScreenPointClass::construct(int index, const ObjectList &args,
                                        const Constructor *constructor) const
{
    return constructChecked(this, index, args, constructor);
}

Object::Ptr ScreenPointClass::construct(int index, void **args) const
{
    int v[2];
    switch (index) {
    case 0:
        return wrapOwned(this, new ScreenPoint(0, 0), ObjectAttribute::Pointer);
    case 1:
        if (!readInts(args, 2, v))
            return Object::Ptr();
        return wrapOwned(this, new ScreenPoint(v[0], v[1]), ObjectAttribute::Pointer);
    case 2:
        return wrapCopy<ScreenPoint>(this, args, ObjectAttribute::Pointer);
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
    return uiTypesClass(QStringLiteral("ScreenPoint"));
}

Object::Ptr wrapScreenPoint(const ScreenPoint &point)
{
    return wrapOwned(screenPointClass(), new ScreenPoint(point), 0);
}

ScreenPoint unwrapScreenPoint(Object::Ptr object)
{
    const ScreenPoint *point = localValue<ScreenPointClass, ScreenPoint>(object);
    return point ? *point : ScreenPoint();
}

} // namespace Vexil
