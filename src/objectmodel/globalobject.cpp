// globalobject.cpp: the class of global functions.
#include "globalobject.h"

namespace Vexil {

GlobalClass::GlobalClass()
    : Class("Vexil::Global", true)
{
    setNumMethods(0);
    setNumProperties(0);
    setNumEvents(0);
    setNumEnums(0);
}

GlobalClass::~GlobalClass() = default;

} // namespace Vexil
