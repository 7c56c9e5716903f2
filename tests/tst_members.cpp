#include "testsupport.h"
