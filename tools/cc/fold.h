// Values of constant expressions, computed on trees: so sizes, promotions and widths are the
// target's by construction.
#pragma once

#include "OPT5/node.h"

#include <optional>

namespace cc {

// A constant: a number, or an address given as an object and a distance in units.
struct CONSTANT {
  enum KIND { INTEGER, FLOATING, ADDRESS } kind = INTEGER;
  INT65 integer = 0; // of ADDRESS: the distance
  double floating = 0;
  const NODE* base = nullptr; // of ADDRESS: NAME or SCON in the tree that was evaluated
};

// The value of a tree, or nothing if it is no constant expression (or divides by zero).
std::optional<CONSTANT> evaluate(const NODE* tree);
// The value of a tree of integer type, if it is constant.
std::optional<INT65> evaluate_integer(const NODE* tree);
// A new tree for the constant as a value of that type: ICON, FCON, or an address as initialisers
// have them.
NODE* constant_tree(const CONSTANT& value, TYPE* type);

} // namespace cc
