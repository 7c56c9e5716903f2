// datetime.h: the date/time value class in namespace "UiTypes".
#ifndef VEXIL_DATETIME_H
#define VEXIL_DATETIME_H

#include "object.h"
#include "vexil_export.h"

namespace Vexil {

class VEXIL_EXPORT DateTime_class : public Class
{
public:
    explicit DateTime_class(Namespace *ns);
    ~DateTime_class() override;
};

} // namespace Vexil

#endif // VEXIL_DATETIME_H
