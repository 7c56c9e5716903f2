// eventdata.h: recorded events, calls, comments and application starts with their arguments.
#ifndef VEXIL_EVENTDATA_H
#define VEXIL_EVENTDATA_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

} // namespace Vexil

#endif // VEXIL_EVENTDATA_H
