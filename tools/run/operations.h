// What a machine would execute of a tree.
#pragma once

#include "tools/run/types.h"

namespace icode::run {

struct OPERATION_COUNTS {
  uint32_t operations = 0, branches = 0, calls = 0;
};

// Adds what the node itself is beside its operands, without the loads and stores of memory, which
// whoever finds the places counts. `parent` is NONE at the top of a tree. `gets_register` tells
// whether an assignment's place is a register.
void count_operation(const UNIT& unit, SHAPES& shapes, uint32_t node, uint32_t parent,
                     bool gets_register, OPERATION_COUNTS& counts);

} // namespace icode::run
