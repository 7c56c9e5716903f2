// object_p.h: internal data of classes, shared by the object units and the tests. Not installed.
#ifndef VEXIL_OBJECT_P_H
#define VEXIL_OBJECT_P_H

#include "object.h"

#include <QByteArray>
#include <QMap>
#include <QString>

#include <vector>

namespace Vexil {

class Delegate;
class DelegateFactory;
class StaticPropertyDelegate;

/// Changes whenever a delegate lookup along a class chain may answer differently (a delegate registered, a
/// factory made or destroyed, a superclass set); the per-class lookup caches compare against it.
unsigned int delegateLookupGeneration();
void invalidateDelegateLookups();

// Small class and object tests shared by the member, invocation and conversion units.
namespace Internal {

// The primitive index (0 to 8) of \p c, or -1 for any other class.
int primitiveIndex(const Class *c);
bool isVoidClass(const Class *c);
inline bool isPointer(const Object::Ptr &object)
{
    return (object->objectAttribute().flags & ObjectAttribute::Pointer) != 0;
}

} // namespace Internal

class ClassPrivate
{
public:
    static ClassPrivate *get(const Class *c) { return c->d; }

    enum { NumCachedDelegateTypes = 11 };

    const Class *superClass = Class::uninitialized;
    std::vector<Constructor *> constructors;
    std::vector<Method *> methods;
    std::vector<Property *> properties;
    std::vector<Event *> events;
    std::vector<Enum *> enums;
    QMap<QString, const Class *> interfaces;
    const StaticPropertyDelegate *propertyDelegate = nullptr;
    // Properties made from the property delegate's declarations, created on first access.
    std::vector<Property *> *delegateProperties = nullptr;
    bool propertyDelegateLooked = false;
    bool spare = false;
    int numDelegateProperties = -1;
    int classId = -1;
    int declaredMethods = -1;
    int declaredConstructors = -1;
    int declaredProperties = -1;
    int declaredEvents = -1;
    int declaredEnums = -1;
    QByteArray name;
    Namespace *nameSpace = nullptr;

    // DelegateFactory::delegate(const Class*, type) answers per type, valid for the factory and generation
    // they were found under: objects are made in great numbers during searches and each looks up its delegates.
    const DelegateFactory *delegateCacheFactory = nullptr;
    unsigned int delegateCacheGeneration[NumCachedDelegateTypes] = {};
    const Delegate *delegateCache[NumCachedDelegateTypes] = {};
};

} // namespace Vexil

#endif // VEXIL_OBJECT_P_H
