// globalobject.h: the class of global functions, properties, events and enums.
#ifndef VEXIL_GLOBALOBJECT_H
#define VEXIL_GLOBALOBJECT_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT GlobalClass : public Class
{
public:
    GlobalClass();
    ~GlobalClass() override;
};

} // namespace Vexil

#endif // VEXIL_GLOBALOBJECT_H
