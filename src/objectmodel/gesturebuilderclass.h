// gesturebuilderclass.h: the script class "GestureBuilder" for multi-touch gestures.
#ifndef VEXIL_GESTUREBUILDERCLASS_H
#define VEXIL_GESTUREBUILDERCLASS_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT GestureBuilderClass : public Class
{
public:
    explicit GestureBuilderClass(Namespace *ns);
    ~GestureBuilderClass() override;
};

} // namespace Vexil

#endif // VEXIL_GESTUREBUILDERCLASS_H
