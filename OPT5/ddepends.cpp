// The self-test of dependence vectors, which debug runs begin with.

#include "OPT5/ddepends.h"

void do_DVE_unit_testing() {}
