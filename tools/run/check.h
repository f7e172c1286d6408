// Whether a unit is well-formed: what must hold before any part of it has a meaning.
#pragma once

#include "tools/unit/unit.h"

#include <string>

namespace icode::run {

// The optimiser refuses what these refuse, and the other way round (docs/tools.md has the
// exceptions). False, with a message.
bool check_types(const UNIT& unit, std::string& error);
bool check_unit(const UNIT& unit, std::string& error);

} // namespace icode::run
