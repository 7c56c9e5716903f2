// screenrectangle.cpp: the ScreenRectangle script class, its center and the wrap/unwrap helpers.
#include "screenrectangle.h"

#include "inspector.h"
#include "screenpoint.h"
#include "valueclass_p.h"

namespace Vexil {

using namespace ValueClass;

namespace {

const IntFields<ScreenRectangle, 4> kFields = { { "x", "y", "width", "height" },
                                                { &ScreenRectangle::x, &ScreenRectangle::y,
                                                  &ScreenRectangle::width, &ScreenRectangle::height } };

// Offsets wrap around instead of overflowing: a rectangle at the far end of the int range is still no crash.
int addWrapping(int a, int b)
{
    return int(unsigned(a) + unsigned(b));
}

} // namespace

ScreenRectangle_class::ScreenRectangle_class(Namespace *ns)
    : Class("ScreenRectangle", ns, true)
{
    setNumConstructors(3);
    setNumMethods(1);
    setNumProperties(kFields.count);
}

ScreenRectangle_class::~ScreenRectangle_class() = default;

Constructor *ScreenRectangle_class::createConstructor(int index) const
{
    auto arg = [](int field) { return kFields.argument(field); };
    switch (index) {
    case 0:
        return new Constructor(this, Signature(), index);
    case 1:
        return new Constructor(this, Signature(arg(0), arg(1), arg(2), arg(3)), index);
    case 2:
        return new Constructor(this, Signature(Argument(QStringLiteral("rect"), this)), index);
    default:
        return nullptr;
    }
}

Method *ScreenRectangle_class::createMethod(int index) const
{
    if (index - superClassOffset(MethodOffset) != 0)
        return nullptr;
    return new Method(this, Argument(screenPointClass()), QStringLiteral("center"), Signature(), false,
                      index);
}

Property *ScreenRectangle_class::createProperty(int index) const
{
    return kFields.createProperty(this, index);
}

Object::Ptr ScreenRectangle_class::invoke(int index, void *object, void **, const Class *cls) const
{
    if (index != 0 || !object || !cls || !cls->isSubClassOf(this))
        return Object::Ptr();
    const ScreenRectangle &r = *static_cast<const ScreenRectangle *>(object);
    if (r.width < 0 || r.height < 0)
        return wrapScreenPoint(ScreenPoint(0, 0));
    // Halves rounded toward minus infinity, as an arithmetic shift gives them.
    return wrapScreenPoint(ScreenPoint(addWrapping(r.x, r.width >> 1), addWrapping(r.y, r.height >> 1)));
}

Object::Ptr ScreenRectangle_class::getProperty(int index, void *object, const Class *cls) const
{
    return kFields.get(this, index, object, cls);
}

bool ScreenRectangle_class::setProperty(int index, void *object, void *value) const
{
    return kFields.set(index, object, value);
}

bool ScreenRectangle_class::setProperty(int index, Object::Ptr object, Object::Ptr value,
                                        const Property *property) const
{
    return setPropertyChecked(this, index, object, value, property);
}

Object::Ptr ScreenRectangle_class::construct(int index, const ObjectList &args,
                                             const Constructor *constructor) const
{
    return constructChecked(this, index, args, constructor);
}

Object::Ptr ScreenRectangle_class::construct(int index, void **args) const
{
    int v[4];
    switch (index) {
    case 0:
        return wrapOwned(this, new ScreenRectangle(-1, -1, -1, -1), ObjectAttribute::Pointer);
    case 1:
        if (!readInts(args, 4, v))
            return Object::Ptr();
        return wrapOwned(this, new ScreenRectangle(v[0], v[1], v[2], v[3]), ObjectAttribute::Pointer);
    case 2:
        return wrapCopy<ScreenRectangle>(this, args, ObjectAttribute::Pointer);
    default:
        return Object::Ptr();
    }
}

void ScreenRectangle_class::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<ScreenRectangle *>(data);
}

const Class *objectModelScreenRectangleClass()
{
    return uiTypesClass(QStringLiteral("ScreenRectangle"));
}

Object::Ptr wrapScreenRectangle(const ScreenRectangle &rect)
{
    return wrapOwned(objectModelScreenRectangleClass(), new ScreenRectangle(rect), 0);
}

ScreenRectangle unwrapScreenRectangle(Object::Ptr object)
{
    const ScreenRectangle *rect = localValue<ScreenRectangle_class, ScreenRectangle>(object);
    return rect ? *rect : ScreenRectangle();
}

Object::Ptr createRemoteScreenRectangle(const ScreenRectangle &rect)
{
    const Class *cls = objectModelScreenRectangleClass();
    const Constructor *ctor = cls ? cls->constructor(1) : nullptr;
    if (!ctor)
        return Object::Ptr();
    Inspector *insp = Inspector::self();
    return ctor->construct(ObjectList { insp->createPrimitive(rect.x), insp->createPrimitive(rect.y),
                                        insp->createPrimitive(rect.width),
                                        insp->createPrimitive(rect.height) });
}

Object::Ptr createRemoteScreenRectangle(const QRect &rect)
{
    // QRect's width and height already count both edges (right - left + 1).
    return createRemoteScreenRectangle(ScreenRectangle(rect.left(), rect.top(), rect.width(), rect.height()));
}

ScreenRectangle unwrapRemoteScreenRectangle(Object::Ptr object)
{
    if (!object || !object->objectClass())
        return ScreenRectangle();
    const Class *cls = object->objectClass();
    ScreenRectangle r(0, 0, 0, 0);
    for (int i = 0; i < kFields.count; ++i) {
        const Property *p = cls->property(kFields.name(i));
        const Object::Ptr value = p ? p->get(object) : Object::Ptr();
        if (value)
            r.*kFields.members[i] = value->toInteger();
    }
    return r;
}

QRect unwrapRemoteScreenRectangleAsQRect(Object::Ptr object)
{
    const ScreenRectangle r = unwrapRemoteScreenRectangle(object);
    const int right = addWrapping(r.x, addWrapping(r.width, -1));
    const int bottom = addWrapping(r.y, addWrapping(r.height, -1));
    return QRect(QPoint(r.x, r.y), QPoint(right, bottom));
}

} // namespace Vexil
