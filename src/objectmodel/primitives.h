// primitives.h: the nine primitive value classes and the wrap/unwrap helpers.
#ifndef VEXIL_PRIMITIVES_H
#define VEXIL_PRIMITIVES_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

/// Creates the nine primitive classes in their fixed order (short, int, long, bool, char, double, int64,
/// void, undefined); the Inspector calls it first, which makes them classes 0 to 8.
VEXIL_EXPORT void vexil_register_primitives();

} // namespace Vexil

#endif // VEXIL_PRIMITIVES_H
