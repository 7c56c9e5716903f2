// mapclass.h: the built-in string-keyed map class "Vexil_Map" and the helpers between native maps and maps.
#ifndef VEXIL_MAPCLASS_H
#define VEXIL_MAPCLASS_H

#include "object.h"
#include "vexil_export.h"

#include <map>
#include <string>

namespace Vexil {

/// A script-visible map from texts to objects of any class, ordered by key. Its objects own a heap
/// std::map<QString, Object::Ptr>. Members: constructor 0 (an empty map), method 0 "at" (key), method 1
/// "insert" (key, value; the first value of a key stays), properties 0 "length" and 1 "keys" (an array of
/// the keys in order). The member descriptors are made once per process and shared.
class VEXIL_EXPORT MapClass : public Class
{
public:
    MapClass();
    ~MapClass() override;

    using Class::construct;
    using Class::getProperty;
    using Class::invoke;

    Object::Ptr getProperty(Object::Ptr object, const Property *property) const override;
    /// Releases every value reference and deletes the map; a null pointer is ignored.
    void deleteObjectData(void *data, const ObjectAttribute &attr) const override;
    Constructor *createConstructor(int index) const override;
    Method *createMethod(int index) const override;
    Property *createProperty(int index) const override;
    /// "at" returns the value itself or null with the Inspector's error set; "insert" returns void.
    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                       const Method *method) const override;
    Object::Ptr construct(int index, const ObjectList &args, const Constructor *constructor) const override;

    /// The class registered as "Vexil_Map" in the global namespace; null without an Inspector.
    static const Class *registeredClass();
    /// An argument named \p name of the map class.
    static Argument mapClassArg(const std::string &name);
    /// A new map object owning a copy of \p entries (the values themselves are shared).
    static Object::Ptr wrapObject(const std::map<QString, Object::Ptr> &entries);
    /// A copy of the entries of a local map; empty for anything that is not one.
    static std::map<QString, Object::Ptr> unwrapObject(Object::Ptr map);
    /// The object's raw data: for a local map the std::map<QString, Object::Ptr> itself, not a copy.
    static void *unwrapInternal(Object::Ptr map);
    /// Builds a map through the reflective interface only (constructor 0, then "insert" per entry, in key
    /// order).
    static Object::Ptr createRemoteObject(const std::map<QString, Object::Ptr> &entries);
    /// Reads a map through the reflective interface only ("keys", then "at" per key).
    static std::map<QString, Object::Ptr> unwrapRemoteObject(Object::Ptr map);
};

} // namespace Vexil

#endif // VEXIL_MAPCLASS_H
