// Dead assignments. Nothing is proved dead yet, so nothing goes:
//
//   x = 1; x = 2;  -->  the same

#include "OPT5/deadasg.h"

void elim_dead_assigns(int, int) {}
