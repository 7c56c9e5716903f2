// objectname_p.h: what the object map needs of names beyond the public interface.
#ifndef VEXIL_OBJECTNAME_P_H
#define VEXIL_OBJECTNAME_P_H

#include "objectname.h"

namespace Vexil {

/// For a multi-property \p name, a hash of its entries (keys, value texts, operators) that two names equal
/// by properties share, into \p hash; false for every other name. Names given as text are hashed as they
/// are read, without building their property map.
bool propertyHash(const ObjectName &name, uint *hash);

} // namespace Vexil

#endif // VEXIL_OBJECTNAME_P_H
