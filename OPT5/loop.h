// A loop record in the tree of loops of a function; the root has uid 0.
#pragma once

#include "OPT5/bblk.h"

class LOOP {
public:
  LOOP* parent = nullptr; // null at the root only
  BBLK* head = nullptr;
  BBLK* tail = nullptr;      // the single latch; null on the root
  BBLK* preheader = nullptr; // the block that enters from outside
  EDGE* contents = nullptr;  // blocks of the loop, and heads of the loops in it, by dfn
  short uid = 0;
  short level = 42; // nesting depth, root 0; 42 is "not yet assigned"
};
