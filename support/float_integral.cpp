// Whole parts of simul_fval, and conversions between it and integers.
#include "support/float_words.h"
#include "support/xi.h"

#include <bit>
#include <cstring>
#include <limits>

namespace {

// Drops the bits behind the point; were there any that are set?
bool truncate(const simul_fval* a, simul_fval* result) {
  *result = *a;
  if (f_is_zero(a) || !f_is_finite(a) || a->exp >= F_MANT_BITS) return false;
  if (a->exp <= 0) {
    *result = pos_zero;
    result->sign = a->sign;
    return true;
  }
  bool lost = false;
  for (int i = 0; i < F_MANT_WORDS; i++) {
    const int kept = a->exp - 16 * i;
    const uint32_t mask = kept >= 16 ? 0 : kept <= 0 ? 0xFFFF : 0xFFFFu >> kept;
    lost |= (result->mant[i] & mask) != 0;
    result->mant[i] &= static_cast<uint16_t>(~mask);
  }
  return lost;
}

// One further from zero, with the sign of `a`: its whole part may have become a zero.
int step_out(const simul_fval* a, simul_fval* whole) {
  simul_fval unit = one;
  unit.sign = a->sign;
  return f_add(whole, &unit, whole);
}

} // namespace

int f_int(const simul_fval* a, simul_fval* result) {
  truncate(a, result);
  return 0;
}

int f_trunc(const simul_fval* a, simul_fval* result) {
  return f_int(a, result);
}

int f_round(const simul_fval* a, simul_fval* result) {
  const simul_fval given = *a;
  simul_fval fraction;
  f_modf(&given, result, &fraction);
  // A fraction from 1/2 on has the exponent 0.
  if (f_is_finite(&given) && fraction.exp == 0) return step_out(&given, result);
  return 0;
}

int f_floor(const simul_fval* a, simul_fval* result) {
  const simul_fval given = *a;
  if (truncate(&given, result) && given.sign) return step_out(&given, result);
  return 0;
}

int f_ceil(const simul_fval* a, simul_fval* result) {
  const simul_fval given = *a;
  if (truncate(&given, result) && !given.sign) return step_out(&given, result);
  return 0;
}

int f_modf(const simul_fval* a, simul_fval* whole, simul_fval* fraction) {
  const simul_fval given = *a;
  truncate(&given, whole);
  if (f_is_nan(&given)) {
    *fraction = given;
  } else if (f_is_inf(&given)) {
    *fraction = pos_zero;
  } else {
    const simul_fval part = *whole;
    f_sub(&given, &part, fraction);
  }
  fraction->sign = given.sign;
  return 0;
}

int f_utof(uint64_t v, simul_fval* result) {
  *result = pos_zero;
  if (v == 0) return 0;
  const int leading_zeros = std::countl_zero(v);
  v <<= leading_zeros;
  for (int i = 0; i < 4; i++)
    result->mant[i] = static_cast<uint16_t>(v >> (48 - 16 * i));
  result->exp = 64 - leading_zeros;
  return 0;
}

int f_itof(int64_t v, simul_fval* result) {
  const uint64_t bits = static_cast<uint64_t>(v);
  f_utof(v < 0 ? 0 - bits : bits, result);
  result->sign = v < 0;
  return 0;
}

int f_i65tof(INT65 v, simul_fval* result) {
  f_utof((v.is_negative() ? -v : v).low, result);
  result->sign = v.is_negative();
  return 0;
}

int f_xtof(const unsigned char* v, simul_fval* result) {
  unsigned char bytes[XI_BYTES];
  const bool negative = v[0] & 0x80;
  // The magnitude of -2^127 is right without a sign.
  if (negative)
    XI_neg(v, bytes);
  else
    XI_asg(v, bytes);
  uint16_t words[XI_BYTES / 2];
  for (int i = 0; i < XI_BYTES / 2; i++)
    words[i] = static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);
  return f_round_words(words, XI_BYTES / 2, 8 * XI_BYTES, negative, result);
}

int f_ftox(const simul_fval* v, unsigned char* result) {
  memset(result, 0, XI_BYTES);
  if (f_is_zero(v) || v->exp <= 0) return 0;
  const bool is_min = v->sign && v->exp == 128 && v->mant[0] == 0x8000 && !v->mant[1] &&
                      !v->mant[2] && !v->mant[3] && !v->mant[4] && !v->mant[5];
  if (v->exp > 127 && !is_min) {
    fp_error |= FP_INVALID;
    if (f_is_nan(v)) return -1;
    result[0] = 0x80; // the least number; one below it wraps to the largest
    if (!v->sign) XI_notb(result, result);
    return -1;
  }
  for (int i = 0; i < F_MANT_WORDS; i++) {
    result[2 * i] = static_cast<unsigned char>(v->mant[i] >> 8);
    result[2 * i + 1] = static_cast<unsigned char>(v->mant[i]);
  }
  // The first shift must not repeat the mantissa's top bit as a sign.
  const unsigned places = static_cast<unsigned>(128 - v->exp);
  if (places) {
    XI_shr(result, 1, result);
    result[0] &= 0x7F;
    XI_shr(result, places - 1, result);
  }
  if (v->sign) XI_neg(result, result);
  return 0;
}

// By way of 128 bits, of which `narrow` takes what fits. Out of range: the nearest there is.
template <class INT, class WIDE>
static int to_integer(const simul_fval* v, INT* result,
                      int (*narrow)(const unsigned char*, WIDE*)) {
  unsigned char wide[XI_BYTES];
  WIDE value = 0;
  int status = f_ftox(v, wide);
  if (f_is_nan(v)) {
    *result = 0;
    return status;
  }
  if (narrow(wide, &value) != 0) {
    value = v->sign ? std::numeric_limits<INT>::min() : std::numeric_limits<INT>::max();
    fp_error |= FP_INVALID;
    status = -1;
  }
  *result = static_cast<INT>(value);
  return status;
}

int f_ftoi(const simul_fval* v, int64_t* result) {
  return to_integer(v, result, XI_xtolli);
}

int f_ftou(const simul_fval* v, uint64_t* result) {
  return to_integer(v, result, XI_xtollu);
}
