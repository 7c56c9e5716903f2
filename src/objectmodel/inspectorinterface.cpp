// inspectorinterface.cpp: the parts of the Inspector's interface that every implementation shares.
#include "inspectorinterface.h"

#include "delegate.h"
#include "inspector.h"

#include <algorithm>

namespace Vexil {

InspectorInterface::InspectorInterface()
    : silentLookups(false)
    , m_sendEventDelegates(nullptr)
    , m_eventNotifyDelegate(nullptr)
{
}

InspectorInterface::~InspectorInterface()
{
    delete m_sendEventDelegates;
}

void InspectorInterface::sendEvent(const Event *event, Object::Ptr object, const ObjectList &args) const
{
    if (!m_sendEventDelegates)
        return;
    for (const SendEventDelegate *d : *m_sendEventDelegates) {
        if (d->sendEvent(event, object, args))
            return;
    }
}

void InspectorInterface::recordEvent(const EventData &eventData) const
{
    if (m_eventNotifyDelegate)
        m_eventNotifyDelegate->notifyEvent(eventData);
}

void InspectorInterface::addSendEventDelegate(SendEventDelegate *d)
{
    if (!m_sendEventDelegates)
        m_sendEventDelegates = new std::vector<SendEventDelegate *>();
    m_sendEventDelegates->push_back(d);
}

void InspectorInterface::removeSendEventDelegate(SendEventDelegate *d)
{
    if (!m_sendEventDelegates)
        return;
    m_sendEventDelegates->erase(std::remove(m_sendEventDelegates->begin(), m_sendEventDelegates->end(), d),
                                m_sendEventDelegates->end());
}

const Enum *InspectorInterface::enumerator(const QString &name) const
{
    const int p = name.lastIndexOf(QStringLiteral("::"));
    if (p > 0) {
        const Class *cls = type(name.left(p));
        return cls ? cls->enumerator(name.mid(p + 2)) : nullptr;
    }
    const Class *global = Inspector::self()->globalClass();
    return global ? global->enumerator(name) : nullptr;
}

} // namespace Vexil
