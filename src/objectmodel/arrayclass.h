// arrayclass.h: the built-in array class "Vexil_Array" and the helpers between native vectors and arrays.
#ifndef VEXIL_ARRAYCLASS_H
#define VEXIL_ARRAYCLASS_H

#include "object.h"
#include "vexil_export.h"

#include <QStringList>

#include <string>
#include <vector>

namespace Vexil {

/// A script-visible array of objects of any class. Its objects own a heap std::vector<Object::Ptr>.
/// Members: constructor 0 (an empty array), method 0 "at" (int64 index), method 1 "push", property 0
/// "length". The member descriptors are made once per process and shared.
class VEXIL_EXPORT ArrayClass : public Class
{
public:
    ArrayClass();
    ~ArrayClass() override;

    using Class::construct;
    using Class::getProperty;
    using Class::invoke;

    Object::Ptr getProperty(Object::Ptr object, const Property *property) const override;
    /// Releases every element reference and deletes the vector; a null pointer is ignored.
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;
    Constructor *createConstructor(int index) const override;
    Method *createMethod(int index) const override;
    Property *createProperty(int index) const override;
    /// "at" returns the element itself, or null with the Inspector's error set; "push" appends, returns void.
    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                       const Method *method) const override;
    Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const override;

    /// The class registered as "Vexil_Array" in the global namespace; null without an Inspector.
    static const Class *registeredClass();
    /// An argument named \p name of the array class.
    static Argument arrayClassArg(const std::string &name);
    /// A new array object owning a copy of \p elements (the elements themselves are shared).
    static Object::Ptr wrapObject(const std::vector<Object::Ptr> &elements);
    /// A copy of the elements of a local array; empty for anything that is not one.
    static std::vector<Object::Ptr> unwrapObject(Object::Ptr array);
    /// The object's raw data: for a local array the std::vector<Object::Ptr> itself, not a copy.
    static void *unwrapInternal(Object::Ptr array);
    /// Builds an array through the reflective interface only (constructor 0, then "push" per element).
    static Object::Ptr createRemoteObject(const std::vector<Object::Ptr> &elements);
    /// Reads an array through the reflective interface only ("length", then "at" per index).
    static std::vector<Object::Ptr> unwrapRemoteObject(Object::Ptr array);
};

/// An array of text objects, one per string.
VEXIL_EXPORT Object::Ptr wrap(const QStringList &list);
/// Appends the text form of each element of a local array to \p out.
VEXIL_EXPORT void unwrap(Object::Ptr array, QStringList *out);

} // namespace Vexil

#endif // VEXIL_ARRAYCLASS_H
