#include "screenpoint.h"

namespace Vexil {

ScreenPointClass::ScreenPointClass(Namespace *ns)
    : Class("ScreenPoint", ns, true)
{
}

ScreenPointClass::~ScreenPointClass() = default;

} // namespace Vexil
