// mapclass.cpp: the built-in map class, its shared member descriptors and the map helpers.
#include "mapclass.h"

#include "arrayclass.h"
#include "inspector.h"

#include <array>
#include <memory>

namespace Vexil {

namespace {

const int kNumMethods = 2;
const int kNumProperties = 2;

// Descriptors are made once per process and shared by every call. They are kept per owning class all the
// same: a descriptor points at its owner, and an Inspector built anew after the first one is gone must not
// hand out descriptors of a deleted class.
template <class T, int N>
class DescriptorCache
{
public:
    template <class Make>
    T *get(const Class *owner, int slot, Make make)
    {
        std::unique_ptr<T> &p = m_byOwner[owner][size_t(slot)];
        if (!p)
            p.reset(make());
        return p.get();
    }

private:
    std::map<const Class *, std::array<std::unique_ptr<T>, N>> m_byOwner;
};

typedef std::map<QString, Object::Ptr> Entries;

// The entries of a map object of \p cls; null for a null pointer, a null object or another class's object.
Entries *entriesOf(const Object::Ptr &object, const Class *cls)
{
    if (!object || !object->isA(cls))
        return nullptr;
    return static_cast<Entries *>(object->rawData());
}

// Any map class will do for the static helpers: each of them stores the same map.
Entries *localEntries(const Object::Ptr &map)
{
    if (!map || !dynamic_cast<const MapClass *>(map->objectClass()))
        return nullptr;
    return static_cast<Entries *>(map->rawData());
}

Object::Ptr wrapEntries(const Class *cls, Entries *entries)
{
    Object::Ptr object = cls->wrap(entries, ObjectAttribute(ObjectAttribute::Pointer, 0));
    if (!object) {
        delete entries;
        return object;
    }
    object->ownsData = true;
    return object;
}

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
    if (index != 0)
        return nullptr;
    static DescriptorCache<Constructor, 1> cache;
    return cache.get(this, 0, [this] { return new Constructor(this, Signature(), 0); });
}

Method *MapClass::createMethod(int index) const
{
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return nullptr;
    static DescriptorCache<Method, kNumMethods> cache;
    return cache.get(this, local, [this, local, index]() -> Method * {
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
    const int local = index - superClassOffset(PropertyOffset);
    if (local < 0 || local >= kNumProperties)
        return nullptr;
    static DescriptorCache<Property, kNumProperties> cache;
    return cache.get(this, local, [this, local, index] {
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
    const Entries *entries = entriesOf(object, this);
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
    const int local = index - superClassOffset(MethodOffset);
    if (local < 0 || local >= kNumMethods)
        return Object::Ptr();
    if (!method)
        method = this->method(index);
    // Overload resolution has matched the signature already; a direct call with a short list must not crash.
    if (!method || !verifyMethodArgumentCount(QString::fromLatin1(name()), method, args))
        return Object::Ptr();
    for (const Object::Ptr &arg : args) {
        if (!arg)
            return Object::Ptr();
    }
    Entries *entries = entriesOf(object, this);
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
    return wrapEntries(this, new Entries());
}

const Class *MapClass::registeredClass()
{
    // Never create the Inspector from here: this is asked while it is being torn down as well.
    Inspector *insp = Inspector::insp;
    Namespace *ns = insp ? insp->globalNamespace() : nullptr;
    return ns ? ns->getClass(QStringLiteral("Vexil_Map")) : nullptr;
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
    return wrapEntries(cls, new Entries(entries));
}

std::map<QString, Object::Ptr> MapClass::unwrapObject(Object::Ptr map)
{
    const Entries *entries = localEntries(map);
    return entries ? *entries : Entries();
}

void *MapClass::unwrapInternal(Object::Ptr map)
{
    return map ? map->rawData() : nullptr;
}

Object::Ptr MapClass::createRemoteObject(const std::map<QString, Object::Ptr> &entries)
{
    const Class *cls = registeredClass();
    const Constructor *ctor = cls ? cls->constructor(0) : nullptr;
    if (!ctor)
        return Object::Ptr();
    Object::Ptr map = ctor->construct(ObjectList());
    if (!map || entries.empty())
        return map;
    const Class *mapClass = map->objectClass() ? map->objectClass() : cls;
    const MethodList insert = mapClass->methods(QStringLiteral("insert"));
    if (insert.empty() || !insert.front())
        return map;
    for (const auto &entry : entries)
        insert.front()->invoke(map, ObjectList { textObject(entry.first), entry.second });
    return map;
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
