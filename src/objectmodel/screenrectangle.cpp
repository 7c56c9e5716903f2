#include "screenrectangle.h"

namespace Vexil {

ScreenRectangle_class::ScreenRectangle_class(Namespace *ns)
    : Class("ScreenRectangle", ns, true)
{
}

ScreenRectangle_class::~ScreenRectangle_class() = default;

} // namespace Vexil
