#include "OPT5/fcp.h"

void fast_CP(int, int) {}
