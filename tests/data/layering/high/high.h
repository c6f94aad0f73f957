// A higher folder including a lower one is allowed.
#include "low.h"
