// The mantissas of simul_fval under work: longer than they end up, as words, most significant
// first.
#pragma once

#include "support/simul_fval.h"

#include <cstdint>

// Exponents of finite values; the ends stay clear of the two special ones.
constexpr long F_MAX_EXP = 32766, F_MIN_EXP = -32766;
constexpr int F_MANT_BITS = 16 * F_MANT_WORDS;
constexpr int F_WORK_WORDS = F_MANT_WORDS + 2; // a mantissa with 32 bits behind it

// Shifts n words right by `places`, which lowers the radix point. Where a bit that is set falls
// off, the last bit stays set in its stead: the words then stand for a number next to them.
void f_align_radix_pt(uint16_t* words, int n, long places);

// Shifts n words left until the top bit is set and lowers *exp by as much. -1 if all are zero.
int f_normalize(uint16_t* words, int32_t* exp, int n);

// result = 0.words * 2^exp with that sign. The words needn't be normalised; all zero gives a zero.
//
// Rounds to nearest, ties to even, with one exception: a result that isn't exact never ends in 32
// zero bits; where it would, it is the neighbour on the exact value's side. So it lies on the same
// side of every number of at most 64 bits as the exact value, and a second rounding, to a target
// float or double or to an integer, gives what a single one would.
//
// Out of range it is an infinity with FP_OVERFLOW or a zero with FP_UNDERFLOW, and -1.
int f_round_words(const uint16_t* words, int n, long exp, int sign, simul_fval* result);

// Results that come with an error: give -1.
inline int f_give_error(uint32_t error, const simul_fval& value, int sign, simul_fval* result) {
  fp_error |= error;
  *result = value;
  result->sign = sign;
  return -1;
}
inline int f_give_invalid(simul_fval* result) {
  return f_give_error(FP_INVALID, a_nan, 0, result);
}
