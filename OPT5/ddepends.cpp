#include "OPT5/ddepends.h"

void do_DVE_unit_testing() {}
