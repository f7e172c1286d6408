// Target support: built-ins, and the hiding and showing of vector and floating-point operations
// around passes that are unaware of them.
#pragma once

#include "OPT5/funinfo.h"

void init_BIF_descriptors();
// Gives a call of a built-in the types of its descriptor.
void fix_BIF_types(NODE*& node);
// Does the built-in read or write hidden state, as its descriptor says?
bool builtin_has_state(const char* name);
// ICALLs of built-ins with hidden state become MCALLs.
void promote_ICALLs_with_state(FUNINFO* fi);
void disguise_floating_point_operations();
void disclose_floating_point_operations();
void disguise_vector_operations();
void disclose_vector_operations(bool late);
// Is this the symbol that stands for the hidden state of built-ins, as the last argument of one?
bool is_mcall_implicit_state(const NODE* tree);
