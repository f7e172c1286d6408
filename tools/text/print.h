// The text form of an icode file.
#pragma once

#include "tools/unit/unit.h"

#include <string>

namespace icode {

// The text of a unit, from which parse_text makes the same unit again. Every unit that decode_unit
// accepts has one.
std::string print_unit(const UNIT& unit);

} // namespace icode
