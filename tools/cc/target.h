// The target as the parser sees it. Its `char` is 8 bits wide there, because the parser knows no
// other; every size that reaches the output comes from the type package instead.
#pragma once

#include "clang/Basic/TargetInfo.h"

namespace cc {

// double_bits: 32 or 64, by the object file conventions in force.
clang::TargetInfo* make_target(unsigned double_bits);

} // namespace cc
