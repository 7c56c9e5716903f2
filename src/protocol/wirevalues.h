// wirevalues.h: model objects as wire values and back. Both ends of a connection map values the same way;
// each says only what its objects that are not values become (a handle in the agent, a remote object in the
// runner).
#ifndef VEXIL_PROTOCOL_WIREVALUES_H
#define VEXIL_PROTOCOL_WIREVALUES_H

#include "object.h"
#include "protocol.h"

namespace Vexil {
namespace Protocol {

/// The objects of one end that travel by reference.
class ObjectCodec
{
public:
    virtual ~ObjectCodec() = default;
    /// True for objects this end sends by reference whatever else they look like (a runner's remote objects
    /// are null objects locally).
    virtual bool isReference(const Object::Ptr &) const { return false; }
    /// The reference for \p object; false with \p error when it cannot travel.
    virtual bool referenceFor(const Object::Ptr &object, QVariant *value, QString *error) = 0;
    /// The object \p ref names; null with \p error when it names none.
    virtual Object::Ptr objectFor(const ObjectRef &ref, QString *error) = 0;
};

/// The value classes by value (primitives, arrays, maps, points, rectangles, dates), other objects through
/// \p codec; a null pointer and null objects are none. False with \p error when something cannot travel.
bool toWire(const Object::Ptr &object, ObjectCodec &codec, QVariant *value, QString *error);
/// The model object of \p value: integers as int when they fit, else int64; null with \p error when an
/// object reference names nothing.
Object::Ptr fromWire(const QVariant &value, ObjectCodec &codec, QString *error);

} // namespace Protocol
} // namespace Vexil

#endif // VEXIL_PROTOCOL_WIREVALUES_H
