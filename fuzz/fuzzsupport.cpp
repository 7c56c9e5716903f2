// fuzzsupport.cpp: one-time set-up shared by the fuzz targets.
#include "fuzzsupport.h"

#include "inspector.h"
#include "objectmap.h"

namespace VexilFuzz {

void initialize()
{
    Vexil::Inspector::self();
    // Names resolve through the current map; the targets that need one add their own entries. Kept
    // here, since a target that makes maps of its own leaves no current map behind.
    static Vexil::ObjectMap *map = nullptr;
    if (!map)
        map = new Vexil::ObjectMap(false);
}

} // namespace VexilFuzz
