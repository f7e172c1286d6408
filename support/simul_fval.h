// Software floating point, wide enough to hold every target value exactly and to fold constants
// without the host's arithmetic.
//
// A finite value is 0.mant * 2^exp with a 96-bit mantissa: mant[0] is the most significant word
// and, in a value that is left-justified, has its top bit set. All results are left-justified, and
// operands are expected to be.
#pragma once

#include "support/int65.h"

#include <cstdint>
#include <mutex>
#include <string>

constexpr int F_MANT_WORDS = 6;
constexpr int F_PRECISE_MANT_WORDS = 8;
constexpr int F_SPECIAL_EXP = 32767; // infinity (mant[0] zero) or NaN (mant[0] not zero)
constexpr int F_ZERO_EXP = -32767;   // with mant[0] zero: a zero, which keeps its sign

struct simul_fval {
  uint16_t mant[F_MANT_WORDS];
  int32_t exp;
  int32_t sign; // 0 positive, 1 negative
};

// A constant with some more bits, for tables that are rounded once.
struct precise_sim_fval {
  uint16_t mant[F_PRECISE_MANT_WORDS];
  int32_t exp;
  int32_t sign;
};

// A target float (words[0] alone) or double (words[0] is the less significant).
struct trg_fval {
  uint32_t words[2];
};

extern const simul_fval pos_zero, neg_zero, a_nan, pos_huge, neg_infin, one, four;

// What went wrong in the operations of this thread; set by them, cleared by callers.
enum FP_ERROR : uint32_t { FP_INVALID = 1, FP_OVERFLOW = 4, FP_UNDERFLOW = 8 };
extern constinit thread_local uint32_t fp_error;

// Held while the constants that stand in the source as text are read and published.
extern std::mutex atof_lock;

inline bool f_is_zero(const simul_fval* v) {
  return v->exp == F_ZERO_EXP && v->mant[0] == 0;
}
inline bool f_is_nan(const simul_fval* v) {
  return v->exp == F_SPECIAL_EXP && v->mant[0] != 0;
}
inline bool f_is_inf(const simul_fval* v) {
  return v->exp == F_SPECIAL_EXP && v->mant[0] == 0;
}
inline bool f_is_finite(const simul_fval* v) {
  return v->exp != F_SPECIAL_EXP;
}

// Results go through the last pointer, which may be an operand. The value returned is 0, or -1 if
// the operation set a bit of fp_error. A NaN operand is the result (the first, of two), and no
// error.

// --- Arithmetic. Correct to the last of the 96 bits, and such that rounding the result to a target
// type gives the correctly rounded target result (float_words.h has how). An overflow gives an
// infinity with FP_OVERFLOW, an underflow a zero with FP_UNDERFLOW.

int f_neg(const simul_fval* a, simul_fval* result);
int f_abs(const simul_fval* a, simul_fval* result);
int f_add(const simul_fval* a, const simul_fval* b, simul_fval* result);
int f_sub(const simul_fval* a, const simul_fval* b, simul_fval* result);
int f_mul(const simul_fval* a, const simul_fval* b, simul_fval* result);
// A value divided by zero is an infinity, with FP_OVERFLOW; 0/0 is invalid.
int f_div(const simul_fval* a, const simul_fval* b, simul_fval* result);
int f_sqrt(const simul_fval* a, simul_fval* result);
// a - n * b for whole n, with the sign of a and below b in magnitude. Exact.
int f_fmod(const simul_fval* a, const simul_fval* b, simul_fval* result);
// Whole part and fraction, both with the sign of a. Exact.
int f_modf(const simul_fval* a, simul_fval* whole, simul_fval* fraction);
// a = result * 2^exp with 1/2 <= |result| < 1; zeros and specials come back with an exp of 0.
int f_frexp(const simul_fval* a, int* exp, simul_fval* result);
// The exp of f_frexp alone; -1, and *exp 0, for zeros and specials, without an error bit.
int f_findexp(const simul_fval* a, int* exp);
int f_ldexp(const simul_fval* a, int exp, simul_fval* result);
// The larger, the smaller; -0 is below +0. A number wins against a NaN.
int f_max(const simul_fval* a, const simul_fval* b, simul_fval* result);
int f_min(const simul_fval* a, const simul_fval* b, simul_fval* result);
// -1, 1, or the zero itself.
int f_sgn(const simul_fval* a, simul_fval* result);

// --- To whole values: the next one towards zero (f_int and f_trunc), the nearest with ties away
// from zero, the next one down, the next one up. Exact; zeros keep the sign.
int f_int(const simul_fval* a, simul_fval* result);
int f_trunc(const simul_fval* a, simul_fval* result);
int f_round(const simul_fval* a, simul_fval* result);
int f_floor(const simul_fval* a, simul_fval* result);
int f_ceil(const simul_fval* a, simul_fval* result);

// --- Comparison. The zeros are equal; with a NaN all are false but f_ne.
bool f_eq(const simul_fval* a, const simul_fval* b);
bool f_ne(const simul_fval* a, const simul_fval* b);
bool f_lt(const simul_fval* a, const simul_fval* b);
bool f_le(const simul_fval* a, const simul_fval* b);
bool f_gt(const simul_fval* a, const simul_fval* b);
bool f_ge(const simul_fval* a, const simul_fval* b);
// Equal representations: -0 is not +0, and a NaN is itself.
bool f_bit_eq(const simul_fval* a, const simul_fval* b);

// --- Integers
// Exact.
int f_itof(int64_t v, simul_fval* result);
int f_utof(uint64_t v, simul_fval* result);
int f_i65tof(INT65 v, simul_fval* result); // rounded for -2^64 only
// From an XI_* integer, rounded as the arithmetic.
int f_xtof(const unsigned char* v, simul_fval* result);
// Truncated towards zero. Out of range is FP_INVALID with the nearest end of the range; a NaN is
// FP_INVALID with 0.
int f_ftoi(const simul_fval* v, int64_t* result);
int f_ftou(const simul_fval* v, uint64_t* result);
int f_ftox(const simul_fval* v, unsigned char* result);

// Shifts a finite mantissa up to its top bit. A mantissa of zero in a value that isn't zero ends
// the run at once, without the common path for failures: this can be reached while that one prints.
void f_left_justify(simul_fval* v);

// Rounds n constants half up in magnitude (not to even, and not to the sticky rule of the
// arithmetic): the table's digits are the rule.
void f_rnd_prectbl(const precise_sim_fval* table, int n, simul_fval* result);

// --- Text
// Reads a decimal or hexadecimal floating constant, or "inf" or "nan", each with an optional sign,
// rounded as the arithmetic. Too large is infinity with FP_OVERFLOW, too small zero with
// FP_UNDERFLOW. A text that isn't wholly a number gives +0 and -1. Time grows linearly with the
// text beyond 24,000 digits.
int f_atof(const char* text, simul_fval* result);

// The exact value as "0x1.8p+3" (as many digits as it takes), "0x0p+0", "inf" or "nan" with a '-'
// for a negative one. f_atof reads it back to the same bits; a NaN comes back as a_nan with its
// sign.
std::string f_hex_text(const simul_fval* v);

// Digits of the exact value, rounded to nearest with ties to even: the value is 0.digits *
// 10^*decpt. f_ecvt gives `count` digits in all, f_fcvt as many as there are up to `count` places
// behind the point (none for a value that rounds to zero there). A zero gives a *decpt of 1 and
// zeros. Specials give no digits and -1. Beyond 40,000 digits a warning goes to standard error and
// the digits end.
int f_ecvt(const simul_fval* v, int count, int* decpt, int* sign, std::string* digits);
int f_fcvt(const simul_fval* v, int count, int* decpt, int* sign, std::string* digits);
// Hexadecimal digits: the value is d.ddd * 2^*exp, the first digit being 1 (0 for a zero). `count`
// digits behind the point, or for a negative count as many as it takes.
int f_acvt(const simul_fval* v, int count, int* exp, int* sign, std::string* digits);
// As printf's conversion of that letter, one of e f g a, with that precision (negative: 6, and for
// `a` as many as it takes), but "NaN", "Inf" and "-Inf" for the specials.
int f_f2ascii(const simul_fval* v, char letter, int precision, std::string* text);
// The shortest decimal text that reads back as the same target float or double, always with a point
// or an exponent.
int f_ftoa(const simul_fval* v, int is_double, std::string* text);
int f_utoa(uint64_t v, std::string* text);

// --- Transcendentals. docs/numbers.md states how exact each is and on which range. Outside its
// domain a function is FP_INVALID and a_nan. The constants are read from text on first use; any
// thread may be the first.
int f_exp(const simul_fval* a, simul_fval* result); // overflows beyond 89.41598624, see there
int f_log(const simul_fval* a, simul_fval* result); // of a zero: -infinity and FP_OVERFLOW
int f_log10(const simul_fval* a, simul_fval* result);
// C's special cases: anything to the 0 and 1 to anything are 1. A zero to a negative power is an
// infinity with FP_OVERFLOW.
int f_pow(const simul_fval* a, const simul_fval* b, simul_fval* result);
// Radians; FP_INVALID from a magnitude of 2^26 * pi on, where too little of the angle is left.
int f_sin(const simul_fval* a, simul_fval* result);
int f_cos(const simul_fval* a, simul_fval* result);
int f_tan(const simul_fval* a, simul_fval* result);
int f_asin(const simul_fval* a, simul_fval* result);
int f_acos(const simul_fval* a, simul_fval* result);
int f_atan(const simul_fval* a, simul_fval* result);
// The angle of the point (x, y), -pi to pi; zeros and infinities as in C.
int f_atan2(const simul_fval* y, const simul_fval* x, simul_fval* result);
int f_sinh(const simul_fval* a, simul_fval* result);
int f_cosh(const simul_fval* a, simul_fval* result);
// 1 from 8.664339757 on: right to one unit of the last place for a float, but not for a double.
int f_tanh(const simul_fval* a, simul_fval* result);

// --- To and from the target
// To the nearest target float, ties to even. 0, or 1 when the result is an infinity or a zero that
// the value is not (FP_OVERFLOW, FP_UNDERFLOW).
int ieee_cvt_stof(const simul_fval* v, trg_fval* result);
int ieee_cvt_stod(const simul_fval* v, trg_fval* result);
// From the target, exact.
void ieee_cvt_ftos(const trg_fval* v, simul_fval* result);
void ieee_cvt_dtos(const trg_fval* v, simul_fval* result);
// The same, for the type that is_double names.
int f_cvt_stot(const simul_fval* v, trg_fval* result, int is_double);
int f_cvt_ttos(const trg_fval* v, simul_fval* result, int is_double);
// To the target and back: the value that an object of that type would hold. Status as f_cvt_stot.
int f_cvf(const simul_fval* v, int is_double, simul_fval* result);

// Fields of a target value: sign, biased exponent, fraction without the hidden bit.
void get_ieee_flt_fmt(const trg_fval* v, int* sign, int* biased_exp, uint64_t* fraction);
void get_ieee_dbl_fmt(const trg_fval* v, int* sign, int* biased_exp, uint64_t* fraction);

// The nearest host double.
double f_ftoh(const simul_fval* v);

// Print on standard output: the representation; the value to 17 digits.
void f_dbg(const char* label, const simul_fval* v);
void f_print(const simul_fval* v);
