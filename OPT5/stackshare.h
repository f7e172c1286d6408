// Locals of disjoint blocks share stack space: a tree of scopes is collected while a function is
// read, and laid out later as a class of nested unions and structures whose members the locals
// become.
#pragma once

#include "OPT5/symbol.h"

#include <vector>

// A scope whose variables may share space with those of its siblings.
struct STACK_SHARING_SCOPE {
  int id;         // the level of its block; -1 for the function's outermost
  long size = -1; // bits, once laid out, with all scopes in it
  long align = 16;
  STACK_SHARING_SCOPE* parent = nullptr;
  STACK_SHARING_SCOPE* first_child = nullptr;
  STACK_SHARING_SCOPE* sibling = nullptr;
  std::vector<SYMTAB*> variables = {};
};

// Forgets the current function's scopes.
void init_stack_sharing();
void begin_stack_sharing_scope(int id);
void end_stack_sharing_scope();
// May a local live in an object together with others? It has to be an automatic array, structure,
// class or union of known size that nothing ties to a place of its own. Scalars may not, not even
// those whose address is taken: they may still end up in a register.
bool may_share_stack(const SYMTAB* sym);
void add_stack_sharing_variable(SYMTAB* sym); // to the scope that is open, if there is one
// Takes a variable out again: it keeps its own place.
void delete_stack_sharing_variable(SYMTAB* sym);
// Lays the scopes out and rewrites each shared variable as a member of one new local. That changes
// nothing where no stack is saved, and leaves those variables alone that lie beside no others, that
// nothing names or that are named outside of their block. The scopes are forgotten.
//
// What is shared is a place from the block's entry to its end. So no earlier step may carry a read
// of an inner block's variable over the end of the block by way of a pointer; where it carries one
// by name, the variable is left alone.
void build_stack_sharing_type();
// Did the two types come together in storage that locals of the current function share? Such
// objects may overlap though the program has no union of them.
bool types_share_stack(TYPE* a, TYPE* b);
void erase_stack_sharing(STACK_SHARING_SCOPE* root);
