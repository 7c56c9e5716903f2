// screenrectangle.h: the screen rectangle value and its class "ScreenRectangle" in namespace "UiTypes".
#ifndef VEXIL_SCREENRECTANGLE_H
#define VEXIL_SCREENRECTANGLE_H

#include "object.h"
#include "vexil_export.h"

#include <QRect>

namespace Vexil {

/// A rectangle on the screen: its top left corner and its size.
struct VEXIL_EXPORT ScreenRectangle
{
    /// All four -1, like the script object made without arguments.
    ScreenRectangle()
        : x(-1)
        , y(-1)
        , width(-1)
        , height(-1)
    {
    }
    ScreenRectangle(int rx, int ry, int rwidth, int rheight)
        : x(rx)
        , y(ry)
        , width(rwidth)
        , height(rheight)
    {
    }

    int x;
    int y;
    int width;
    int height;
};

/// The script class of ScreenRectangle values. Properties 0 "x", 1 "y", 2 "width", 3 "height" (integers,
/// read-write). Constructors: 0 all -1, 1 from "x", "y", "width", "height", 2 a copy of "rect".
/// Method 0 "center" gives the middle as a ScreenPoint, or (0, 0) for a negative size.
class VEXIL_EXPORT ScreenRectangle_class : public Class
{
public:
    explicit ScreenRectangle_class(Namespace *ns);
    ~ScreenRectangle_class() override;

    using Class::construct;
    using Class::getProperty;
    using Class::invoke;
    using Class::setProperty;

    Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const override;
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
    Method *createMethod(int index) const override;
    Property *createProperty(int index) const override;
};

/// The class "ScreenRectangle" of namespace "UiTypes", looked up anew on every call; null when absent.
VEXIL_EXPORT const Class *objectModelScreenRectangleClass();
/// A new object owning a copy of \p rect (attribute flags 0).
VEXIL_EXPORT Object::Ptr wrapScreenRectangle(const ScreenRectangle &rect);
/// A copy of the stored rectangle; all -1 for anything that is not a ScreenRectangle object.
VEXIL_EXPORT ScreenRectangle unwrapScreenRectangle(Object::Ptr object);

/// Builds a rectangle object through the reflective interface only (constructor 1 with four integers).
VEXIL_EXPORT Object::Ptr createRemoteScreenRectangle(const ScreenRectangle &rect);
/// As above from a QRect: its left, top, width and height.
VEXIL_EXPORT Object::Ptr createRemoteScreenRectangle(const QRect &rect);
/// Reads "x", "y", "width" and "height" through the object's class; a property that can't be read gives 0,
/// a null pointer all -1.
VEXIL_EXPORT ScreenRectangle unwrapRemoteScreenRectangle(Object::Ptr object);
/// As above as a QRect from (x, y) to (x + width - 1, y + height - 1).
VEXIL_EXPORT QRect unwrapRemoteScreenRectangleAsQRect(Object::Ptr object);

} // namespace Vexil

#endif // VEXIL_SCREENRECTANGLE_H
