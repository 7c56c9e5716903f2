// vexil.h: every public class of the object model library.
#ifndef VEXIL_H
#define VEXIL_H

#include "object.h"
#include "eventdata.h"
#include "interface.h"
#include "inspector.h"
#include "delegate.h"
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
