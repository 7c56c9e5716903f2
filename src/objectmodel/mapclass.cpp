// mapclass.cpp: the built-in map class, its shared member descriptors and the map helpers.
#include "mapclass.h"

#include "arrayclass.h"
#include "inspector.h"
#include "valueclass_p.h"

namespace Vexil {

using namespace ValueClass;

namespace {

const int kNumMethods = 2;
const int kNumProperties = 2;

typedef std::map<QString, Object::Ptr> Entries;

Object::Ptr textObject(const QString &text)
{
    return Inspector::self()->createPrimitive(text.toUtf8().constData());
}

} // namespace

MapClass::MapClass()
    : Class("Vexil_Map", true)
{
    setNumConstructors(1);
    setNumMethods(kNumMethods);
    setNumProperties(kNumProperties);
}

MapClass::~MapClass()
{
    // The descriptors are shared statics; the base class must not delete them.
    releaseMemberTables();
}

Constructor *MapClass::createConstructor(int index) const
{
    return sharedDefaultConstructor(this, index);
}

Method *MapClass::createMethod(int index) const
{
    return sharedDescriptor<Method,
                            kNumMethods>(this, MethodOffset, index, [this, index](int local) -> Method * {
        Inspector *insp = Inspector::self();
        const Class *voidClass = insp->type(Inspector::Void);
        const Argument key(QStringLiteral("i"), insp->type(Inspector::Char), ObjectAttribute::Pointer);
        if (local == 0)
            return new Method(this, Argument(voidClass), QStringLiteral("at"), Signature(key), false, index);
        return new Method(this, Argument(voidClass), QStringLiteral("insert"),
                          Signature(key, Argument(voidClass)), false, index);
    });
}

Property *MapClass::createProperty(int index) const
{
    return sharedDescriptor<Property, kNumProperties>(this, PropertyOffset, index, [this, index](int local) {
        const PropertyDeclaration *decl = local == 0
            ? new PropertyDeclaration(this, Argument(Inspector::self()->type(Inspector::Int64)),
                                      QStringLiteral("length"), PropertyDeclaration::Readable)
            : new PropertyDeclaration(this, ArrayClass::arrayClassArg(std::string()), QStringLiteral("keys"),
                                      PropertyDeclaration::Readable);
        return new Property(decl, this, index, true);
    });
}

Object::Ptr MapClass::getProperty(Object::Ptr object, const Property *property) const
{
    if (!property)
        return Object::Ptr();
    const int local = property->index() - superClassOffset(PropertyOffset);
    if (local < 0 || local >= kNumProperties)
        return Object::Ptr();
    const Entries *entries = valueOf<Entries>(object, this);
    if (!entries)
        return Object::Ptr();
    if (local == 0)
        return Inspector::self()->createPrimitive(static_cast<long long>(entries->size()));
    std::vector<Object::Ptr> keys;
    keys.reserve(entries->size());
    for (const auto &entry : *entries)
        keys.push_back(textObject(entry.first));
    return ArrayClass::wrapObject(keys);
}

void MapClass::deleteObjectData(void *data, const ObjectAttribute &) const
{
    delete static_cast<Entries *>(data);
}

Object::Ptr MapClass::invoke(int index, Object::Ptr object, const ObjectList &args,
                             const Method *method) const
{
    const int local = checkedMethodCall(this, index, kNumMethods, method, args);
    if (local < 0)
        return Object::Ptr();
    Entries *entries = valueOf<Entries>(object, this);
    if (!entries)
        return Object::Ptr();

    Inspector *insp = Inspector::self();
    const QString key = args[0]->toString();
    if (local == 0) {
        const auto it = entries->find(key);
        if (it == entries->end()) {
            insp->setError(QStringLiteral("Map key not found"));
            return Object::Ptr();
        }
        return it->second;
    }
    // First wins: a key that is present keeps its value (there is no replace).
    entries->insert(std::make_pair(key, args[1]));
    return insp->voidObject();
}

Object::Ptr MapClass::construct(int index, const ObjectList &, const Constructor *) const
{
    if (index != 0)
        return Object::Ptr();
    return wrapOwned(this, new Entries(), ObjectAttribute::Pointer);
}

const Class *MapClass::registeredClass()
{
    return globalClass(QStringLiteral("Vexil_Map"));
}

Argument MapClass::mapClassArg(const std::string &name)
{
    return Argument(QString::fromStdString(name), registeredClass());
}

Object::Ptr MapClass::wrapObject(const std::map<QString, Object::Ptr> &entries)
{
    const Class *cls = registeredClass();
    if (!cls)
        return Object::Ptr();
    return wrapOwned(cls, new Entries(entries), ObjectAttribute::Pointer);
}

std::map<QString, Object::Ptr> MapClass::unwrapObject(Object::Ptr map)
{
    const Entries *entries = localValue<MapClass, const Entries>(map);
    return entries ? *entries : Entries();
}

void *MapClass::unwrapInternal(Object::Ptr map)
{
    return map ? map->rawData() : nullptr;
}

Object::Ptr MapClass::createRemoteObject(const std::map<QString, Object::Ptr> &entries)
{
    return createRemote(registeredClass(), entries.empty(), QStringLiteral("insert"),
                        [&entries](const Object::Ptr &map, const Method *insert) {
                            for (const auto &entry : entries)
                                insert->invoke(map, ObjectList { textObject(entry.first), entry.second });
                        });
}

std::map<QString, Object::Ptr> MapClass::unwrapRemoteObject(Object::Ptr map)
{
    Entries result;
    const Class *cls = map ? map->objectClass() : nullptr;
    const Property *keysProperty = cls ? cls->property(QStringLiteral("keys")) : nullptr;
    if (!keysProperty)
        return result;
    const std::vector<Object::Ptr> keys = ArrayClass::unwrapRemoteObject(keysProperty->get(map));
    if (keys.empty())
        return result;
    const MethodList at = cls->methods(QStringLiteral("at"));
    if (at.empty() || !at.front())
        return result;
    for (const Object::Ptr &key : keys) {
        if (!key)
            continue;
        result[key->toString()] = at.front()->invoke(map, ObjectList { key });
    }
    return result;
}

} // namespace Vexil
