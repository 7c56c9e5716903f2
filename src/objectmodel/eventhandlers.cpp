// eventhandlers.cpp: script handlers installed per object, per class or globally, and their lookup.
#include "inspector.h"
#include "inspector_p.h"

#include <algorithm>

namespace Vexil {

EventHandlerStore *createEventHandlerStore()
{
    return new EventHandlerStore();
}

void destroyEventHandlerStore(EventHandlerStore *store)
{
    delete store;
}

EventAndReceiver::EventAndReceiver()
    : kind(GlobalHandler)
    , cls(nullptr)
{
}

EventAndReceiver::EventAndReceiver(Kind k, Object::Ptr r, const Class *c, const QString &cn, const QString &e,
                                   const QString &h)
    : kind(k)
    , receiver(r)
    , cls(c)
    , className(cn)
    , event(e)
    , handler(h)
{
}

bool EventAndReceiver::matches(const EventAndReceiver &probe) const
{
    switch (kind) {
    case ObjectHandler:
        if (!probe.receiver || probe.receiver->isNull() || !receiver || receiver->isNull())
            return false;
        return probe.receiver->sameAs(receiver) && event == probe.event;
    case ClassHandler:
        if (!cls) {
            // Resolved on first use and kept: the class may be registered after the handler.
            cls = Inspector::self()->type(className);
            if (!cls)
                return false;
        }
        if (!probe.cls || probe.cls->inheritanceDepth(cls) < 0)
            return false;
        return event == probe.event;
    case GlobalHandler:
        return event == probe.event;
    }
    return false;
}

namespace {

struct HasObjectEventHandler
{
    Object::Ptr object;
    QString event;
    QString handler;
    bool operator()(const EventAndReceiver &r) const
    {
        const bool same = r.receiver == object || (r.receiver && object && r.receiver->sameAs(object));
        return same && r.event == event && r.handler == handler;
    }
};

struct HasClassEventHandler
{
    QString className;
    QString event;
    QString handler;
    bool operator()(const EventAndReceiver &r) const
    {
        return r.className == className && r.event == event && r.handler == handler;
    }
};

struct HasGlobalEventHandler
{
    QString event;
    QString handler;
    bool operator()(const EventAndReceiver &r) const { return r.event == event && r.handler == handler; }
};

bool hasEvent(const std::list<EventAndReceiver> &list, const QString &event)
{
    return std::any_of(list.begin(), list.end(), [&](const EventAndReceiver &r) { return r.event == event; });
}

QString firstMatch(const std::list<EventAndReceiver> &list, const EventAndReceiver &probe)
{
    for (const EventAndReceiver &r : list) {
        if (r.matches(probe))
            return r.handler;
    }
    return QString();
}

} // namespace

bool Inspector::installObjectEventHandler(Object::Ptr object, const QString &event, const QString &handler)
{
    if (m_impl)
        return m_impl->installObjectEventHandler(object, event, handler);
    m_handlers->objectHandlers.push_back(
        EventAndReceiver(EventAndReceiver::ObjectHandler, object, nullptr, QString(), event, handler));
    m_eventHandlerNames.insert(event, true);
    return true;
}

bool Inspector::uninstallObjectEventHandler(Object::Ptr object, const QString &event, const QString &handler)
{
    if (m_impl)
        return m_impl->uninstallObjectEventHandler(object, event, handler);
    m_handlers->objectHandlers.remove_if(HasObjectEventHandler { object, event, handler });
    // Only this kind's list is consulted: handlers of the other kinds for the same event do not count.
    if (!hasEvent(m_handlers->objectHandlers, event))
        m_eventHandlerNames.insert(event, false);
    return true;
}

bool Inspector::installClassEventHandler(const QString &className, const QString &event,
                                         const QString &handler)
{
    if (m_impl)
        return m_impl->installClassEventHandler(className, event, handler);
    m_handlers->classHandlers.push_back(
        EventAndReceiver(EventAndReceiver::ClassHandler, Object::Ptr(), nullptr, className, event, handler));
    m_eventHandlerNames.insert(event, true);
    return true;
}

bool Inspector::uninstallClassEventHandler(const QString &className, const QString &event,
                                           const QString &handler)
{
    if (m_impl)
        return m_impl->uninstallClassEventHandler(className, event, handler);
    m_handlers->classHandlers.remove_if(HasClassEventHandler { className, event, handler });
    if (!hasEvent(m_handlers->classHandlers, event))
        m_eventHandlerNames.insert(event, false);
    return true;
}

bool Inspector::installGlobalEventHandler(const QString &event, const QString &handler)
{
    if (m_impl)
        return m_impl->installGlobalEventHandler(event, handler);
    m_handlers->globalHandlers.push_back(
        EventAndReceiver(EventAndReceiver::GlobalHandler, Object::Ptr(), nullptr, QString(), event, handler));
    m_eventHandlerNames.insert(event, true);
    return true;
}

bool Inspector::uninstallGlobalEventHandler(const QString &event, const QString &handler)
{
    if (m_impl)
        return m_impl->uninstallGlobalEventHandler(event, handler);
    m_handlers->globalHandlers.remove_if(HasGlobalEventHandler { event, handler });
    if (!hasEvent(m_handlers->globalHandlers, event))
        m_eventHandlerNames.insert(event, false);
    return true;
}

QString Inspector::eventHandler(Object::Ptr object, const QString &event) const
{
    const EventAndReceiver probe(EventAndReceiver::ObjectHandler, object, nullptr, QString(), event,
                                 QString());
    return firstMatch(m_handlers->objectHandlers, probe);
}

QString Inspector::eventHandler(const Class *cls, const QString &event) const
{
    const EventAndReceiver probe(EventAndReceiver::ClassHandler, Object::Ptr(), cls, QString(), event,
                                 QString());
    return firstMatch(m_handlers->classHandlers, probe);
}

QString Inspector::eventHandler(const QString &event) const
{
    const EventAndReceiver probe(EventAndReceiver::GlobalHandler, Object::Ptr(), nullptr, QString(), event,
                                 QString());
    return firstMatch(m_handlers->globalHandlers, probe);
}

void Inspector::clearEventHandlers()
{
    m_handlers->objectHandlers.clear();
    m_handlers->classHandlers.clear();
    m_handlers->globalHandlers.clear();
    m_eventHandlerNames.clear();
}

} // namespace Vexil
