#include "mapclass.h"

namespace Vexil {

MapClass::MapClass()
    : Class("Vexil_Map", true)
{
}

MapClass::~MapClass() = default;

} // namespace Vexil
