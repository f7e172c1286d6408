// Conversions between simul_fval and the target's float and double.
#include "support/simul_fval.h"

namespace {

// One IEEE format. Values are 0.1xxx * 2^exp, so the smallest normal has the exponent min_exp and
// the biased exponent 1.
struct IEEE_FORMAT {
  int mant_bits; // with the hidden bit
  int min_exp;
  int special_biased_exp;
};

constexpr IEEE_FORMAT float_format = {24, -125, 255};
constexpr IEEE_FORMAT double_format = {53, -1021, 2047};

uint64_t encode(const IEEE_FORMAT& f, int biased_exp, uint64_t fraction) {
  return (static_cast<uint64_t>(biased_exp) << (f.mant_bits - 1)) | fraction;
}

// The bits without the sign; *status as ieee_cvt_stof returns it.
uint64_t round_to_format(const IEEE_FORMAT& f, const simul_fval& given, int* status) {
  *status = 0;
  if (f_is_zero(&given)) return 0;
  if (given.exp == F_SPECIAL_EXP) {
    const uint64_t quiet = uint64_t(1) << (f.mant_bits - 2);
    return encode(f, f.special_biased_exp, f_is_nan(&given) ? quiet : 0);
  }
  simul_fval v = given;
  f_left_justify(&v);

  const uint64_t top =
      uint64_t(v.mant[0]) << 48 | uint64_t(v.mant[1]) << 32 | uint64_t(v.mant[2]) << 16 | v.mant[3];
  const int dropped = 64 - f.mant_bits;
  uint64_t mant = top >> dropped;
  bool round = top >> (dropped - 1) & 1;
  bool sticky = (top & ((uint64_t(1) << (dropped - 1)) - 1)) || v.mant[4] || v.mant[5];
  int exp = v.exp;
  const bool denormal = exp < f.min_exp;
  while (exp < f.min_exp && mant) {
    sticky |= round;
    round = mant & 1;
    mant >>= 1;
    exp++;
  }

  if (round && (sticky || (mant & 1))) mant++;
  if (mant >> f.mant_bits) {
    mant >>= 1;
    exp++;
  }
  // A denormal has the smallest normal's exponent but the biased exponent 0. One that rounded up to
  // the smallest normal carries into the exponent field by itself.
  const int biased_exp = exp - f.min_exp + (denormal ? 0 : 1);
  if (biased_exp < 0 || !(mant || biased_exp)) { // nothing is left
    fp_error |= FP_UNDERFLOW;
    *status = 1;
    return 0;
  }
  if (biased_exp >= f.special_biased_exp) {
    fp_error |= FP_OVERFLOW;
    *status = 1;
    return encode(f, f.special_biased_exp, 0);
  }
  if (denormal) return mant;
  return encode(f, biased_exp, mant & ((uint64_t(1) << (f.mant_bits - 1)) - 1));
}

void expand(const IEEE_FORMAT& f, int sign, int biased_exp, uint64_t fraction, simul_fval* result) {
  *result = pos_zero;
  if (biased_exp == f.special_biased_exp) {
    *result = fraction ? a_nan : pos_huge;
  } else if (biased_exp || fraction) {
    uint64_t mant = fraction;
    if (biased_exp)
      mant |= uint64_t(1) << (f.mant_bits - 1);
    else
      biased_exp = 1;
    mant <<= 64 - f.mant_bits;
    for (int i = 0; i < 4; i++)
      result->mant[i] = static_cast<uint16_t>(mant >> (48 - 16 * i));
    result->exp = biased_exp - 1 + f.min_exp;
    f_left_justify(result);
  }
  result->sign = sign;
}

} // namespace

int ieee_cvt_stof(const simul_fval* v, trg_fval* result) {
  int status;
  const uint64_t bits = round_to_format(float_format, *v, &status);
  result->words[0] = static_cast<uint32_t>(bits) | (v->sign ? 0x80000000u : 0);
  result->words[1] = 0;
  return status;
}

int ieee_cvt_stod(const simul_fval* v, trg_fval* result) {
  int status;
  const uint64_t bits = round_to_format(double_format, *v, &status);
  result->words[0] = static_cast<uint32_t>(bits);
  result->words[1] = static_cast<uint32_t>(bits >> 32) | (v->sign ? 0x80000000u : 0);
  return status;
}

void get_ieee_flt_fmt(const trg_fval* v, int* sign, int* biased_exp, uint64_t* fraction) {
  *sign = static_cast<int>(v->words[0] >> 31);
  *biased_exp = v->words[0] >> 23 & 0xFF;
  *fraction = v->words[0] & 0x7FFFFF;
}

void get_ieee_dbl_fmt(const trg_fval* v, int* sign, int* biased_exp, uint64_t* fraction) {
  *sign = static_cast<int>(v->words[1] >> 31);
  *biased_exp = v->words[1] >> 20 & 0x7FF;
  *fraction = uint64_t(v->words[1] & 0xFFFFF) << 32 | v->words[0];
}

void ieee_cvt_ftos(const trg_fval* v, simul_fval* result) {
  int sign, biased_exp;
  uint64_t fraction;
  get_ieee_flt_fmt(v, &sign, &biased_exp, &fraction);
  expand(float_format, sign, biased_exp, fraction, result);
}

void ieee_cvt_dtos(const trg_fval* v, simul_fval* result) {
  int sign, biased_exp;
  uint64_t fraction;
  get_ieee_dbl_fmt(v, &sign, &biased_exp, &fraction);
  expand(double_format, sign, biased_exp, fraction, result);
}

int f_cvt_stot(const simul_fval* v, trg_fval* result, int is_double) {
  return is_double ? ieee_cvt_stod(v, result) : ieee_cvt_stof(v, result);
}

int f_cvt_ttos(const trg_fval* v, simul_fval* result, int is_double) {
  if (is_double)
    ieee_cvt_dtos(v, result);
  else
    ieee_cvt_ftos(v, result);
  return 0;
}

int f_cvf(const simul_fval* v, int is_double, simul_fval* result) {
  trg_fval raw;
  const int status = f_cvt_stot(v, &raw, is_double);
  f_cvt_ttos(&raw, result, is_double);
  return status;
}
