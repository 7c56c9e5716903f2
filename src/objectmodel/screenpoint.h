// screenpoint.h: the screen point value class in namespace "UiTypes".
#ifndef VEXIL_SCREENPOINT_H
#define VEXIL_SCREENPOINT_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT ScreenPointClass : public Class
{
public:
    explicit ScreenPointClass(Namespace *ns);
    ~ScreenPointClass() override;
};

} // namespace Vexil

#endif // VEXIL_SCREENPOINT_H
