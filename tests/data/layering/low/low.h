// A lower folder reaching up: the layering check must refuse it.
#include "high.h"
