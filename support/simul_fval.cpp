#include "support/simul_fval.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

const simul_fval pos_zero = {{}, F_ZERO_EXP, 0};
const simul_fval neg_zero = {{}, F_ZERO_EXP, 1};
const simul_fval a_nan = {{0x8000}, F_SPECIAL_EXP, 0};
const simul_fval pos_huge = {{}, F_SPECIAL_EXP, 0};
const simul_fval neg_infin = {{}, F_SPECIAL_EXP, 1};
const simul_fval one = {{0x8000}, 1, 0};
const simul_fval four = {{0x8000}, 3, 0};

constinit thread_local uint32_t fp_error = 0;

int f_neg(const simul_fval* a, simul_fval* result) {
  *result = *a;
  result->sign ^= 1;
  return 0;
}

int f_abs(const simul_fval* a, simul_fval* result) {
  *result = *a;
  result->sign = 0;
  return 0;
}

bool f_eq(const simul_fval* a, const simul_fval* b) {
  if (f_is_nan(a) || f_is_nan(b)) return false;
  if (f_is_zero(a) && f_is_zero(b)) return true;
  return f_bit_eq(a, b);
}

bool f_bit_eq(const simul_fval* a, const simul_fval* b) {
  return memcmp(a->mant, b->mant, sizeof a->mant) == 0 && a->exp == b->exp && a->sign == b->sign;
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

void f_left_justify(simul_fval* v) {
  if (v->exp == F_SPECIAL_EXP || f_is_zero(v) || (v->mant[0] & 0x8000)) return;
  int first = 0;
  while (first < F_MANT_WORDS && v->mant[first] == 0)
    first++;
  if (first == F_MANT_WORDS) {
    fprintf(stderr, ">>>Internal Error: Illegal float representation!\n");
    exit(1);
  }
  const int bits = std::countl_zero(v->mant[first]);
  for (int i = 0; i < F_MANT_WORDS; i++) {
    const uint32_t high = first + i < F_MANT_WORDS ? v->mant[first + i] : 0;
    const uint32_t low = first + i + 1 < F_MANT_WORDS ? v->mant[first + i + 1] : 0;
    v->mant[i] = static_cast<uint16_t>((high << 16 | low) >> (16 - bits));
  }
  v->exp -= 16 * first + bits;
}

double f_ftoh(const simul_fval* v) {
  trg_fval raw;
  // Asking for the host's value is no operation of the target.
  const uint32_t errors = fp_error;
  ieee_cvt_stod(v, &raw);
  fp_error = errors;
  return std::bit_cast<double>(static_cast<uint64_t>(raw.words[1]) << 32 | raw.words[0]);
}

void f_dbg(const char* label, const simul_fval* v) {
  printf("%s mant:", label);
  for (uint16_t word : v->mant)
    printf(" %04x", word);
  printf(" exp:  %d, sign: %d\n", v->exp, v->sign);
}
