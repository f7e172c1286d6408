// Folding of constant trees by the target's arithmetic.
#pragma once

#include "OPT5/node.h"

// The tree with every operator over constants replaced by the constant that the target would
// compute, bottom-up. Constants are ICON, FCON, and VPACKM of these (the same in all lanes).
//
// What can't be computed stays: division by zero, and floating operations that set fp_error; the
// bits then remain set for the caller. Where only the right operand of an operator is constant, the
// operands are exchanged. Takes the tree and gives its replacement.
NODE* fold_constants(NODE* tree);
