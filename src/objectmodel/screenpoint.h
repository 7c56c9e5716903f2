// screenpoint.h: the screen point value and its class "ScreenPoint" in namespace "UiTypes".
#ifndef VEXIL_SCREENPOINT_H
#define VEXIL_SCREENPOINT_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

/// A point on the screen.
struct VEXIL_EXPORT ScreenPoint
{
    ScreenPoint()
        : x(0)
        , y(0)
    {
    }
    ScreenPoint(int px, int py)
        : x(px)
        , y(py)
    {
    }

    int x;
    int y;
};

/// The script class of ScreenPoint values. Properties 0 "x" and 1 "y" (integers, read-write).
/// Constructors: 0 the point (0, 0), 1 from "x" and "y", 2 a copy of "point".
class VEXIL_EXPORT ScreenPointClass : public Class
{
public:
    explicit ScreenPointClass(Namespace *ns);
    ~ScreenPointClass() override;

    using Class::construct;
    using Class::getProperty;
    using Class::setProperty;

    bool setProperty(int index, void *object, void *value) const override;
    Object::Ptr getProperty(int index, void *object, const Class *cls) const override;
    /// Refuses objects of other classes before the general checks and conversion of the value.
    bool setProperty(int index, Object::Ptr object, Object::Ptr value,
                     const Property *property) const override;
    Object::Ptr construct(int index, void **args) const override;
    /// Refuses arguments that are not of the constructor's parameter classes before the raw slot reads
    /// through their data pointers.
    Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const override;
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;
    Constructor *createConstructor(int index) const override;
    Property *createProperty(int index) const override;

    /// Wraps a point the caller allocated with new (attribute flags 2); the object takes it over.
    /// Null (and the point deleted) when the class is not registered.
    static Object::Ptr wrapNewPoint(ScreenPoint *point);
};

/// The class "ScreenPoint" of namespace "UiTypes", looked up anew on every call; null when absent.
VEXIL_EXPORT const Class *screenPointClass();
/// A new object owning a copy of \p point (attribute flags 0).
VEXIL_EXPORT Object::Ptr wrapScreenPoint(const ScreenPoint &point);
/// A copy of the stored point; (0, 0) for anything that is not a ScreenPoint object.
VEXIL_EXPORT ScreenPoint unwrapScreenPoint(Object::Ptr object);

} // namespace Vexil

#endif // VEXIL_SCREENPOINT_H
