#include "arrayclass.h"

namespace Vexil {

ArrayClass::ArrayClass()
    : Class("Vexil_Array", true)
{
}

ArrayClass::~ArrayClass() = default;

} // namespace Vexil
