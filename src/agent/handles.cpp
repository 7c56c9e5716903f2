// handles.cpp: handed-out objects, which travel by handle.
#include "handles.h"

#include "qtwrapper.h"

namespace Vexil {
namespace Agent {

quint64 HandleTable::handleFor(const Object::Ptr &object)
{
    const auto known = m_byObject.constFind(object.get());
    if (known != m_byObject.cend())
        return *known;
    const quint64 handle = m_next++;
    Entry entry;
    entry.object = object;
    entry.qobject = QtWrapper::qobjectOf(object);
    if (entry.qobject) {
        QObject::connect(entry.qobject.data(), &QObject::destroyed, &m_watcherContext,
                         [this, handle]() { forget(handle); });
    }
    m_entries.emplace(handle, std::move(entry));
    m_byObject.insert(object.get(), handle);
    return handle;
}

Object::Ptr HandleTable::resolve(quint64 handle, Protocol::ErrorCode *error)
{
    const auto it = m_entries.find(handle);
    if (it == m_entries.end()) {
        *error = handle != 0 && handle < m_next ? Protocol::StaleObject : Protocol::NoSuchObject;
        return Object::Ptr();
    }
    const Object::Ptr object = it->second.object;
    if (object->isInvalidated() || object->isNull()
        || (it->second.qobject.isNull() && QtWrapper::qobjectOf(object))) {
        forget(handle);
        *error = Protocol::StaleObject;
        return Object::Ptr();
    }
    return object;
}

void HandleTable::release(quint64 handle)
{
    const auto it = m_entries.find(handle);
    if (it == m_entries.end())
        return;
    m_byObject.remove(it->second.object.get());
    m_entries.erase(it);
}

void HandleTable::forget(quint64 handle)
{
    const auto it = m_entries.find(handle);
    if (it == m_entries.end())
        return;
    m_byObject.remove(it->second.object.get());
    m_entries.erase(it);
    if (onInvalidated)
        onInvalidated(handle);
}

bool HandleTable::referenceFor(const Object::Ptr &object, QVariant *value, QString *)
{
    Protocol::ObjectRef ref;
    ref.handle = handleFor(object);
    ref.className = object->objectClass() ? object->objectClass()->fullyQualifiedClassName() : QString();
    *value = QVariant::fromValue(ref);
    return true;
}

Object::Ptr HandleTable::objectFor(const Protocol::ObjectRef &ref, QString *error)
{
    const Object::Ptr object = resolve(ref.handle, &m_lastError);
    if (!object)
        *error = m_lastError == Protocol::StaleObject ? QStringLiteral("an argument's object was destroyed")
                                                      : QStringLiteral("an argument names no object");
    return object;
}

QVariant toWire(const Object::Ptr &object, HandleTable *handles)
{
    // Everything that is not a value becomes a handle, so nothing fails here.
    QVariant value;
    QString error;
    Protocol::toWire(object, *handles, &value, &error);
    return value;
}

Object::Ptr fromWire(const QVariant &value, HandleTable *handles, Protocol::ErrorCode *error)
{
    QString text;
    const Object::Ptr object = Protocol::fromWire(value, *handles, &text);
    if (!object)
        *error = handles->lastError();
    return object;
}

} // namespace Agent
} // namespace Vexil
