// screenrectangle.h: the screen rectangle value class in namespace "UiTypes".
#ifndef VEXIL_SCREENRECTANGLE_H
#define VEXIL_SCREENRECTANGLE_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT ScreenRectangle_class : public Class
{
public:
    explicit ScreenRectangle_class(Namespace *ns);
    ~ScreenRectangle_class() override;
};

} // namespace Vexil

#endif // VEXIL_SCREENRECTANGLE_H
