// Counts of what a program has executed.
#pragma once

#include "tools/run_code.h"

namespace icode::run {

// One JSON object, with a line end: total, statements, branches, calls, loads, stores, and the
// nodes by operator. Loads and stores are those of memory, for which a scalar local whose address
// is never taken and a virtual register do not count; the copy of an aggregate is one of each.
std::string stats_json(const Program& program);

} // namespace icode::run
