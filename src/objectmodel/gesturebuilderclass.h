// gesturebuilderclass.h: the script class "GestureBuilder" for multi-touch gestures.
#ifndef VEXIL_GESTUREBUILDERCLASS_H
#define VEXIL_GESTUREBUILDERCLASS_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class TouchBuilder;

/// The script class of gesture builders. Each object owns one TouchBuilder (attribute flags 2).
///
/// Constructors: 0 a default builder (area 0 by 0 millimetres), 1 from "xml", 2 from "width", "height" and
/// "unit". Properties 0 "areaWidth", 1 "areaHeight" (double) and 2 "unit" (int), read-only. Enum 0 "Unit".
/// Methods 0 to 16: fromXml, toXml, translate, scale (three forms), rotate (two forms), accelerate,
/// addStroke (four forms), lineTo, curveTo (two forms), build. Every method but toXml returns the builder
/// object itself; toXml returns the XML text. A failed call sets the Inspector's error, returns null and
/// leaves the builder as it was.
class VEXIL_EXPORT GestureBuilderClass : public Class
{
public:
    enum Unit { Pixel = 0, MilliMeter = 1, LogicalPoint = 2 };

    explicit GestureBuilderClass(Namespace *ns);
    ~GestureBuilderClass() override;

    using Class::construct;
    using Class::getProperty;
    using Class::invoke;

    Constructor *createConstructor(int index) const override;
    Method *createMethod(int index) const override;
    Property *createProperty(int index) const override;
    Enum *createEnum(int index) const override;

    /// Reads the arguments with toDouble/toInteger/toString.
    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                       const Method *method) const override;
    /// The native form: each argument points at a double, an int or (for a text) the characters themselves.
    /// Chaining methods return \p object.
    Object::Ptr invoke(Object::Ptr object, const Method *method, void **args) const override;
    /// The native form without an object handle: chaining methods return a new object that refers to the same
    /// builder without owning it.
    Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const override;

    Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const override;
    /// Arguments as for the native invoke: const char * for "xml", double * and int * for the area.
    Object::Ptr construct(int index, void **args) const override;

    Object::Ptr getProperty(int index, void *object, const Class *cls) const override;
    /// Deletes the TouchBuilder.
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;

    /// A new object of this class owning \p builder; the builder is deleted when that fails.
    Object::Ptr wrapBuilder(TouchBuilder *builder) const;
    /// The builder of an object of this class (or a subclass); null for anything else.
    TouchBuilder *builderOf(const Object::Ptr &object) const;
};

} // namespace Vexil

#endif // VEXIL_GESTUREBUILDERCLASS_H
