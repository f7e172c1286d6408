// Names of types in the text form of icode, as icode-dis gives them: "int", "struct.node*",
// "const.int*", "int[4]". A type that has no such name to itself is "t" and its number in the
// input.
#pragma once

#include "TYPES/type_pkg.h"

#include <string>
#include <vector>

std::string type_text(TYPE* type);
// Only bare letters, digits, '_' and '$', with single dots inside, not beginning with a digit.
bool is_text_identifier(const std::string& name);
// Finds out, for dumps, which types of the input share a name. By number; null where a number is
// no type's.
void name_types_of_input(const std::vector<TYPE*>& by_number);
// Was the type made by the optimiser? Such a class is declared where it is dumped.
bool is_made_by_optimizer(const TYPE* type);
void forget_type_names();
