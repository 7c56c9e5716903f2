// interface.h: kept for code that includes it by this name; InspectorInterface is in inspectorinterface.h.
#include "inspectorinterface.h"
