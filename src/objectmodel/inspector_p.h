// inspector_p.h: internals of the Inspector shared between its source files. Not installed.
#ifndef VEXIL_INSPECTOR_P_H
#define VEXIL_INSPECTOR_P_H

#include "inspector.h"

#include <list>

namespace Vexil {

/// The three handler lists, in insertion order.
class EventHandlerStore
{
public:
    std::list<EventAndReceiver> objectHandlers;
    std::list<EventAndReceiver> classHandlers;
    std::list<EventAndReceiver> globalHandlers;
};

EventHandlerStore *createEventHandlerStore();
void destroyEventHandlerStore(EventHandlerStore *store);

} // namespace Vexil

#endif // VEXIL_INSPECTOR_P_H
