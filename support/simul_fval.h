// Software floating point, wide enough to hold every target value exactly and to fold constants
// without the host's arithmetic.
//
// A finite value is 0.mant * 2^exp with a 96-bit mantissa: mant[0] is the most significant word
// and, in a value that is left-justified, has its top bit set. All results are left-justified.
#pragma once

#include <cstdint>
#include <string>

constexpr int F_MANT_WORDS = 6;
constexpr int F_SPECIAL_EXP = 32767; // infinity (mant[0] zero) or NaN (mant[0] not zero)
constexpr int F_ZERO_EXP = -32767;   // with mant[0] zero: a zero, which keeps its sign

struct simul_fval {
  uint16_t mant[F_MANT_WORDS];
  int32_t exp;
  int32_t sign; // 0 positive, 1 negative
};

// A target float (words[0] alone) or double (words[0] is the less significant).
struct trg_fval {
  uint32_t words[2];
};

extern const simul_fval pos_zero, neg_zero, a_nan, pos_huge, neg_infin, one, four;

// What went wrong in the operations of this thread; set by them, cleared by callers.
enum FP_ERROR : uint32_t { FP_INVALID = 1, FP_OVERFLOW = 4, FP_UNDERFLOW = 8 };
extern constinit thread_local uint32_t fp_error;

inline bool f_is_zero(const simul_fval* v) {
  return v->exp == F_ZERO_EXP && v->mant[0] == 0;
}
inline bool f_is_nan(const simul_fval* v) {
  return v->exp == F_SPECIAL_EXP && v->mant[0] != 0;
}
inline bool f_is_inf(const simul_fval* v) {
  return v->exp == F_SPECIAL_EXP && v->mant[0] == 0;
}

// Results go through the last pointer, which may be an operand. The value returned is 0, or a
// negative status.

int f_neg(const simul_fval* a, simul_fval* result);
int f_abs(const simul_fval* a, simul_fval* result);
// Equal values; the zeros are equal, a NaN equals nothing.
bool f_eq(const simul_fval* a, const simul_fval* b);
// Equal representations: -0 is not +0, and a NaN is itself.
bool f_bit_eq(const simul_fval* a, const simul_fval* b);

// Exact.
int f_itof(int64_t v, simul_fval* result);
int f_utof(uint64_t v, simul_fval* result);

// Shifts a finite mantissa up to its top bit. A mantissa of zero in a value that isn't zero ends
// the run at once, without the common path for failures: this can be reached while that one prints.
void f_left_justify(simul_fval* v);

// Reads a decimal or hexadecimal floating constant, or "inf" or "nan", each with an optional sign,
// rounded to nearest even. Too large is infinity with FP_OVERFLOW, too small zero with
// FP_UNDERFLOW. A text that isn't wholly a number gives +0 and -1. Time grows linearly with the
// text beyond 24,000 digits.
int f_atof(const char* text, simul_fval* result);

// The exact value as "0x1.8p+3" (as many digits as it takes), "0x0p+0", "inf" or "nan" with a '-'
// for a negative one. f_atof reads it back to the same bits; a NaN comes back as a_nan with its
// sign.
std::string f_hex_text(const simul_fval* v);

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

// Fields of a target value: sign, biased exponent, fraction without the hidden bit.
void get_ieee_flt_fmt(const trg_fval* v, int* sign, int* biased_exp, uint64_t* fraction);
void get_ieee_dbl_fmt(const trg_fval* v, int* sign, int* biased_exp, uint64_t* fraction);

// The nearest host double.
double f_ftoh(const simul_fval* v);

// Prints the representation on standard output.
void f_dbg(const char* label, const simul_fval* v);
