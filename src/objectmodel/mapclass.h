// mapclass.h: the built-in string-keyed map class "Vexil_Map".
#ifndef VEXIL_MAPCLASS_H
#define VEXIL_MAPCLASS_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT MapClass : public Class
{
public:
    MapClass();
    ~MapClass() override;
};

} // namespace Vexil

#endif // VEXIL_MAPCLASS_H
