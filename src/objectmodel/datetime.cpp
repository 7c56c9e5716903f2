#include "datetime.h"

namespace Vexil {

DateTime_class::DateTime_class(Namespace *ns)
    : Class("DateTime", ns, true)
{
}

DateTime_class::~DateTime_class() = default;

} // namespace Vexil
