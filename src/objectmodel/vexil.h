// vexil.h: every public class of the object model library.
#ifndef VEXIL_H
#define VEXIL_H

#include "diagnostics.h"
#include "sharedptr.h"
#include "object.h"
#include "members.h"
#include "class.h"
#include "eventdata.h"
#include "inspectorinterface.h"
#include "inspector.h"
#include "delegate.h"
#include "objectname.h"
#include "objectmap.h"
#include "primitives.h"
#include "arrayclass.h"
#include "mapclass.h"
#include "datetime.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "globalobject.h"
#include "wrappercreator.h"
#include "gesturebuilderclass.h"
#include "touchbuilder.h"
#include "windowinteractiondelegate.h"

#endif // VEXIL_H
