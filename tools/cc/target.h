// The target as the parser sees it. Its `char` is 8 bits wide there, because the parser knows no
// other; every size that reaches the output comes from the type package instead.
#pragma once

#include "clang/Basic/TargetInfo.h"

namespace cc {

// has_short_double: a double has 32 bits instead of 64, by the object file conventions in force.
clang::TargetInfo* make_target(bool has_short_double);

} // namespace cc
