// Counts of what a program has executed.
#pragma once

#include "tools/run/code.h"

namespace icode::run {

// One JSON object on a line of its own: what a machine would execute (operations, and of these the
// loads, stores, branches and calls), statements, the number of the unit's nodes, and executed
// nodes by operator. Loads and stores are those of memory, for which a scalar local whose address
// is never taken and a virtual register do not count; the copy of an aggregate is one of each.
std::string stats_json(const PROGRAM& program);

} // namespace icode::run
