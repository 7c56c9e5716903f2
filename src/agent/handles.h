// handles.h: the agent's table of objects it handed out, and the mapping between model objects and wire values.
#ifndef VEXIL_AGENT_HANDLES_H
#define VEXIL_AGENT_HANDLES_H

#include "object.h"
#include "protocol.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QVariant>

#include <functional>
#include <unordered_map>

namespace Vexil {
namespace Agent {

/// Handles are serial numbers, never reused: a handle below the next serial that is no longer in the table
/// belonged to an object that died (stale); any other is unknown.
class HandleTable
{
public:
    /// Called with the handle of an object that was destroyed while it was in the table.
    std::function<void(quint64)> onInvalidated;

    quint64 handleFor(const Object::Ptr &object);
    /// The object of \p handle, or null with \p error set to StaleObject or NoSuchObject.
    Object::Ptr resolve(quint64 handle, Protocol::ErrorCode *error);
    void release(quint64 handle);
    int size() const { return int(m_entries.size()); }

private:
    struct Entry
    {
        Object::Ptr object;
        QPointer<QObject> qobject; // set for application objects, whose destruction we watch
    };
    void forget(quint64 handle);

    std::unordered_map<quint64, Entry> m_entries;
    // Context of the destruction watchers: they go with the table, never outliving it.
    QObject m_watcherContext;
    QHash<const Object *, quint64> m_byObject;
    quint64 m_next = 1;
};

/// Model object to wire value: value classes by value, everything else as an object reference.
QVariant toWire(const Object::Ptr &object, HandleTable *handles);
/// Wire value to model object; null with \p error set when an object reference does not resolve.
Object::Ptr fromWire(const QVariant &value, HandleTable *handles, Protocol::ErrorCode *error);

} // namespace Agent
} // namespace Vexil

#endif // VEXIL_AGENT_HANDLES_H
