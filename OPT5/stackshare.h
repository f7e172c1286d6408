// Locals of disjoint scopes share stack space: a tree of scopes is collected, and then laid out as
// a class of nested unions and structures whose members the locals become.
#pragma once

#include "OPT5/symbol.h"

#include <vector>

// A scope whose variables may share space with those of its siblings.
struct STACK_SHARING_SCOPE {
  int id;
  long size = -1; // bits, once laid out
  STACK_SHARING_SCOPE* parent = nullptr;
  STACK_SHARING_SCOPE* first_child = nullptr;
  STACK_SHARING_SCOPE* sibling = nullptr;
  std::vector<SYMTAB*> variables = {};
};

void init_stack_sharing(); // of the current function
void begin_stack_sharing_scope(int id);
void end_stack_sharing_scope();
void add_stack_sharing_variable(SYMTAB* sym);    // to the scope that is open
void delete_stack_sharing_variable(SYMTAB* sym); // from wherever it is
// Lays the scopes out and rewrites each shared variable as a member of one new local. A function
// with fewer than two variables in different scopes is left alone.
void build_stack_sharing_type();
void erase_stack_sharing(STACK_SHARING_SCOPE* root);
