// Values under types: ranges, and what a value becomes in an object of a type.
#pragma once

#include "TYPES/type_pkg.h"
#include "support/int65.h"
#include "support/simul_fval.h"

// The value that an object of that integer or enumeration type holds after storing `v`: the low
// bits, extended by the type's sign. Another type, or one wider than 64 bits, is an internal error.
INT65 truncate_to_type(INT65 v, TYPE* type);

// Sends the value through the target form of its floating type and back, so that it has exactly the
// bits that the target's would. 1 if it became an infinity or a zero on the way, else 0.
int truncate_fval_to_target(simul_fval* v, TYPE* type);

// Range of an integer or enumeration type; a boolean's is 0 to 1.
INT65 int_type_max(TYPE* type);
INT65 int_type_min(TYPE* type);

// The smallest basic integer type that holds the value, signed before unsigned; null for a value
// below the range of all.
TYPE* wide_enough_int_type(INT65 value);
