// How often a counted loop goes round: arithmetic on numbers, without trees.
#pragma once

#include <optional>

// Wide enough for every value of a target integer, and for sums and differences of two.
using WIDE = __int128;

// A test `i OP bound` that is made again after each `i += step`. All numbers are values of one
// integer type of `width` bits, at most 64, in which sums wrap round.
struct COUNTED_TEST {
  int op; // a comparison of integers; the unsigned ones compare the same bits without sign
  WIDE first, bound, step;
  unsigned width;
  bool is_signed;
};

struct TRIPS {
  WIDE count; // times that the test holds, at most 2 to the power of width
  WIDE last;  // the value of i for which it first fails
};

// Nothing where the test never fails, or where i wraps round and goes on.
std::optional<TRIPS> count_trips(const COUNTED_TEST& test);

// The value as the type holds it.
WIDE wrapped(WIDE value, unsigned width, bool is_signed);
