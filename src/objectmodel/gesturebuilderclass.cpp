#include "gesturebuilderclass.h"

namespace Vexil {

GestureBuilderClass::GestureBuilderClass(Namespace *ns)
    : Class("GestureBuilder", ns, true)
{
}

GestureBuilderClass::~GestureBuilderClass() = default;

} // namespace Vexil
