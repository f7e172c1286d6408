// The optimiser's questions about types, and conversions of trees.
#pragma once

#include "OPT5/node.h"
#include "TYPES/type_values.h"

void init_types();
void type_cache_stats();

// The type that an operand of type t has in an expression: integers below int become int (or
// unsigned int if int can't hold them all), an enumeration its integer.
TYPE* promoted_type(TYPE* t);
// The type in which a binary operator computes on the two.
TYPE* combined_type(const NODE* a, const NODE* b);
TYPE* combined_type_for_types(TYPE* a, TYPE* b);
// The tree as a value of `type`: itself where the types are compatible, a constant converted at once,
// else a conversion node.
NODE* coerce_to_type(TYPE* type, NODE* tree, bool simplify);
// Inserts the conversions that the operators imply, so that every node's operands agree with it.
NODE* insert_mandatory_casts(NODE* tree);
