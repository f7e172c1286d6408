// Translation of a unit's functions to the form that is executed.
#pragma once

#include "tools/run/code.h"

namespace icode::run {

// Translates every function. A statement that cannot be executed becomes one that faults. False,
// with a message, for a unit that is too large or nested too deeply.
bool translate(PROGRAM& program, std::string& error);

} // namespace icode::run
