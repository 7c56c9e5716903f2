// screenrectangle.cpp: the ScreenRectangle script class, its center and the wrap/unwrap helpers.
#include "screenrectangle.h"

#include "inspector.h"
#include "screenpoint.h"

namespace Vexil {

namespace {

const int kNumProperties = 4;
const char *const kPropertyNames[kNumProperties] = {"x", "y", "width", "height"};
int ScreenRectangle::*const kFields[kNumProperties] = {&ScreenRectangle::x, &ScreenRectangle::y,
                                                       &ScreenRectangle::width, &ScreenRectangle::height};

Object::Ptr wrapOwned(const Class *cls, ScreenRectangle *rect, unsigned int flags)
{
    Object::Ptr object = cls ? cls->wrap(rect, ObjectAttribute(flags, 0)) : Object::Ptr();
    if (!object) {
        delete rect;
        return object;
    }
    object->ownsData = true;
    return object;
}

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
    setNumProperties(kNumProperties);
}

ScreenRectangle_class::~ScreenRectangle_class() = default;

Constructor *ScreenRectangle_class::createConstructor(int index) const
{
    const Class *intClass = Inspector::self()->type(Inspector::Int);
    auto arg = [intClass](int field) {
        return Argument(QString::fromLatin1(kPropertyNames[field]), intClass);
    };
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
    const int local = index - superClassOffset(PropertyOffset);
    if (local < 0 || local >= kNumProperties)
        return nullptr;
    const auto *decl = new PropertyDeclaration(this, Argument(Inspector::self()->type(Inspector::Int)),
                                               QString::fromLatin1(kPropertyNames[local]),
                                               PropertyDeclaration::Readable | PropertyDeclaration::Writable);
    return new Property(decl, this, index, true);
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
    if (!object || !cls || !cls->isSubClassOf(this) || index < 0 || index >= kNumProperties)
        return Object::Ptr();
    return Inspector::self()->createPrimitive(static_cast<const ScreenRectangle *>(object)->*kFields[index]);
}

bool ScreenRectangle_class::setProperty(int index, void *object, void *value) const
{
    if (!object || !value || index < 0 || index >= kNumProperties)
        return false;
    static_cast<ScreenRectangle *>(object)->*kFields[index] = *static_cast<const int *>(value);
    return true;
}

bool ScreenRectangle_class::setProperty(int index, Object::Ptr object, Object::Ptr value,
                                        const Property *property) const
{
    // The raw slot above is told nothing about the object's class.
    if (object && !object->isA(this))
        return false;
    return Class::setProperty(index, object, value, property);
}

Object::Ptr ScreenRectangle_class::construct(int index, const ObjectList &args, const Constructor *constructor) const
{
    // The raw slot reads an int or a whole rectangle through each pointer: a foreign object must not reach it.
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

Object::Ptr ScreenRectangle_class::construct(int index, void **args) const
{
    switch (index) {
    case 0:
        return wrapOwned(this, new ScreenRectangle(-1, -1, -1, -1), ObjectAttribute::Pointer);
    case 1: {
        int v[kNumProperties];
        for (int i = 0; i < kNumProperties; ++i) {
            if (!args || !args[i])
                return Object::Ptr();
            v[i] = *static_cast<const int *>(args[i]);
        }
        return wrapOwned(this, new ScreenRectangle(v[0], v[1], v[2], v[3]), ObjectAttribute::Pointer);
    }
    case 2:
        if (!args || !args[0])
            return Object::Ptr();
        return wrapOwned(this, new ScreenRectangle(*static_cast<const ScreenRectangle *>(args[0])),
                         ObjectAttribute::Pointer);
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
    Namespace *ns = Inspector::self()->nameSpace(QStringLiteral("UiTypes"));
    return ns ? ns->getClass(QStringLiteral("ScreenRectangle")) : nullptr;
}

Object::Ptr wrapScreenRectangle(const ScreenRectangle &rect)
{
    return wrapOwned(objectModelScreenRectangleClass(), new ScreenRectangle(rect), 0);
}

ScreenRectangle unwrapScreenRectangle(Object::Ptr object)
{
    if (!object || !object->rawData() || !dynamic_cast<const ScreenRectangle_class *>(object->objectClass()))
        return ScreenRectangle();
    return *static_cast<const ScreenRectangle *>(object->rawData());
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
    for (int i = 0; i < kNumProperties; ++i) {
        const Property *p = cls->property(QString::fromLatin1(kPropertyNames[i]));
        const Object::Ptr value = p ? p->get(object) : Object::Ptr();
        if (value)
            r.*kFields[i] = value->toInteger();
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
