// arrayclass.h: the built-in array class "Vexil_Array".
#ifndef VEXIL_ARRAYCLASS_H
#define VEXIL_ARRAYCLASS_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT ArrayClass : public Class
{
public:
    ArrayClass();
    ~ArrayClass() override;
};

} // namespace Vexil

#endif // VEXIL_ARRAYCLASS_H
