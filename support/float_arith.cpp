// Arithmetic on simul_fval: every result is computed with bits to spare and rounded once.
#include "support/float_words.h"

#include <algorithm>
#include <cstring>

namespace {

using U128 = unsigned __int128;

int special(const simul_fval& v, int sign, simul_fval* result) {
  *result = v;
  result->sign = sign;
  return 0;
}

// The first NaN of the operands, if there is one.
const simul_fval* nan_of(const simul_fval* a, const simul_fval* b) {
  return f_is_nan(a) ? a : f_is_nan(b) ? b : nullptr;
}

// The 96 bits of a mantissa as a whole number, and 128 bits as words.
U128 mantissa_of(const simul_fval* v) {
  U128 m = 0;
  for (uint16_t word : v->mant)
    m = m << 16 | word;
  return m;
}

void to_words(U128 bits, uint16_t* words) {
  for (int i = 0; i < F_WORK_WORDS; i++)
    words[i] = static_cast<uint16_t>(bits >> (112 - 16 * i));
}

// -1, 0, 1 by magnitude, of finite values.
int compare_magnitudes(const simul_fval* a, const simul_fval* b) {
  if (a->exp != b->exp) return a->exp < b->exp ? -1 : 1;
  for (int i = 0; i < F_MANT_WORDS; i++)
    if (a->mant[i] != b->mant[i]) return a->mant[i] < b->mant[i] ? -1 : 1;
  return 0;
}

constexpr int UNORDERED = 2;

int compare(const simul_fval* a, const simul_fval* b) {
  if (nan_of(a, b)) return UNORDERED;
  if (f_is_zero(a) && f_is_zero(b)) return 0;
  if (a->sign != b->sign) return a->sign ? -1 : 1;
  // Infinities have the largest exponent and zeros the smallest.
  const int order = compare_magnitudes(a, b);
  return a->sign ? -order : order;
}

// Sum of two finite values that aren't zero.
int add_finite(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  if (compare_magnitudes(a, b) < 0) std::swap(a, b);
  // A word in front takes the carry.
  constexpr int WORDS = 1 + F_WORK_WORDS;
  uint16_t x[WORDS] = {}, y[WORDS] = {};
  memcpy(x + 1, a->mant, sizeof a->mant);
  memcpy(y + 1, b->mant, sizeof b->mant);
  f_align_radix_pt(y, WORDS, static_cast<long>(a->exp) - b->exp);
  int carry = 0;
  for (int i = WORDS; i-- > 0;) {
    const int word = a->sign == b->sign ? x[i] + y[i] + carry : x[i] - y[i] + carry;
    x[i] = static_cast<uint16_t>(word);
    carry = word >> 16;
  }
  if (std::all_of(x, x + WORDS, [](uint16_t word) { return word == 0; })) {
    *result = pos_zero;
    return 0;
  }
  return f_round_words(x, WORDS, static_cast<long>(a->exp) + 16, a->sign, result);
}

} // namespace

int f_add(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  if (const simul_fval* nan = nan_of(a, b)) return special(*nan, nan->sign, result);
  if (f_is_inf(a) && f_is_inf(b) && a->sign != b->sign) return f_give_invalid(result);
  if (f_is_inf(a) || f_is_inf(b)) return special(pos_huge, (f_is_inf(a) ? a : b)->sign, result);
  if (f_is_zero(a) && f_is_zero(b)) return special(pos_zero, a->sign & b->sign, result);
  if (f_is_zero(a) || f_is_zero(b)) {
    const simul_fval* other = f_is_zero(a) ? b : a;
    return special(*other, other->sign, result);
  }
  return add_finite(a, b, result);
}

int f_sub(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  if (f_is_nan(b)) return f_add(a, b, result); // keeps the NaN's sign
  simul_fval minus_b;
  f_neg(b, &minus_b);
  return f_add(a, &minus_b, result);
}

int f_mul(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  const int sign = a->sign ^ b->sign;
  if (const simul_fval* nan = nan_of(a, b)) return special(*nan, nan->sign, result);
  if (f_is_inf(a) || f_is_inf(b))
    return f_is_zero(a) || f_is_zero(b) ? f_give_invalid(result) : special(pos_huge, sign, result);
  if (f_is_zero(a) || f_is_zero(b)) return special(pos_zero, sign, result);

  uint16_t product[2 * F_MANT_WORDS];
  uint64_t sum = 0;
  // Column by column from the right; column k takes the a[i] * b[j] with i + j = k.
  for (int k = 2 * F_MANT_WORDS - 2; k >= 0; k--) {
    for (int i = std::max(0, k - F_MANT_WORDS + 1); i <= std::min(k, F_MANT_WORDS - 1); i++)
      sum += static_cast<uint32_t>(a->mant[i]) * b->mant[k - i];
    product[k + 1] = static_cast<uint16_t>(sum);
    sum >>= 16;
  }
  product[0] = static_cast<uint16_t>(sum);
  return f_round_words(product, 2 * F_MANT_WORDS, static_cast<long>(a->exp) + b->exp, sign, result);
}

int f_div(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  const int sign = a->sign ^ b->sign;
  if (const simul_fval* nan = nan_of(a, b)) return special(*nan, nan->sign, result);
  if ((f_is_inf(a) && f_is_inf(b)) || (f_is_zero(a) && f_is_zero(b))) return f_give_invalid(result);
  if (f_is_inf(a)) return special(pos_huge, sign, result);
  if (f_is_inf(b) || f_is_zero(a)) return special(pos_zero, sign, result);
  if (f_is_zero(b)) return f_give_error(FP_OVERFLOW, pos_huge, sign, result);

  // Bit by bit: the first is the whole part of a quotient below 2.
  const U128 divisor = mantissa_of(b);
  U128 rest = mantissa_of(a), quotient = 0;
  for (int bit = 0; bit < 16 * F_WORK_WORDS; bit++) {
    quotient <<= 1;
    if (rest >= divisor) {
      rest -= divisor;
      quotient |= 1;
    }
    rest <<= 1;
  }
  uint16_t words[F_WORK_WORDS];
  to_words(quotient | (rest != 0), words);
  return f_round_words(words, F_WORK_WORDS, static_cast<long>(a->exp) - b->exp + 1, sign, result);
}

int f_sqrt(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a) || f_is_zero(a)) return special(*a, a->sign, result);
  if (a->sign) return f_give_invalid(result);
  if (f_is_inf(a)) return special(pos_huge, 0, result);
  // sqrt(0.m * 2^2k) = sqrt(0.m) * 2^k; two bits of the mantissa a step give one of the root.
  constexpr int ROOT_BITS = F_MANT_BITS + 8;
  const bool odd = a->exp & 1;
  const U128 mantissa = mantissa_of(a) << (odd ? 31 : 32);
  U128 root = 0, rest = 0;
  for (int bit = 0; bit < ROOT_BITS; bit++) {
    const int at = 126 - 2 * bit;
    rest = rest << 2 | (at >= 0 ? mantissa >> at & 3 : 0);
    const U128 step = root << 2 | 1;
    root <<= 1;
    if (rest >= step) {
      rest -= step;
      root |= 1;
    }
  }
  uint16_t words[F_WORK_WORDS];
  to_words(root << (128 - ROOT_BITS) | (rest != 0), words);
  return f_round_words(words, F_WORK_WORDS, (a->exp + odd) / 2, 0, result);
}

int f_fmod(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  if (const simul_fval* nan = nan_of(a, b)) return special(*nan, nan->sign, result);
  if (f_is_inf(a) || f_is_zero(b)) return f_give_invalid(result);
  if (f_is_zero(a) || f_is_inf(b) || compare_magnitudes(a, b) < 0)
    return special(*a, a->sign, result);
  const int sign = a->sign;
  const U128 divisor = mantissa_of(b);
  U128 rest = mantissa_of(a);
  for (int places = a->exp - b->exp;; places--) {
    if (rest >= divisor) rest -= divisor;
    if (places == 0) break;
    rest <<= 1;
  }
  uint16_t words[F_WORK_WORDS];
  to_words(rest << 32, words);
  return f_round_words(words, F_WORK_WORDS, b->exp, sign, result);
}

int f_frexp(const simul_fval* a, int* exp, simul_fval* result) {
  *result = *a;
  if (f_findexp(a, exp) == 0) result->exp = 0;
  return 0;
}

int f_findexp(const simul_fval* a, int* exp) {
  const bool has_one = !f_is_zero(a) && f_is_finite(a);
  *exp = has_one ? a->exp : 0;
  return has_one ? 0 : -1;
}

int f_ldexp(const simul_fval* a, int exp, simul_fval* result) {
  if (f_is_zero(a) || !f_is_finite(a)) return special(*a, a->sign, result);
  uint16_t words[F_MANT_WORDS];
  memcpy(words, a->mant, sizeof words);
  return f_round_words(words, F_MANT_WORDS, static_cast<long>(a->exp) + exp, a->sign, result);
}

int f_max(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  if (f_is_nan(a)) std::swap(a, b);
  const bool take_b = f_lt(a, b) || (f_eq(a, b) && a->sign);
  *result = take_b ? *b : *a;
  return 0;
}

int f_min(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  if (f_is_nan(a)) std::swap(a, b);
  const bool take_b = f_gt(a, b) || (f_eq(a, b) && b->sign);
  *result = take_b ? *b : *a;
  return 0;
}

int f_sgn(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a) || f_is_zero(a)) return special(*a, a->sign, result);
  return special(one, a->sign, result);
}

bool f_eq(const simul_fval* a, const simul_fval* b) {
  return compare(a, b) == 0;
}
bool f_ne(const simul_fval* a, const simul_fval* b) {
  return compare(a, b) != 0;
}
bool f_lt(const simul_fval* a, const simul_fval* b) {
  return compare(a, b) == -1;
}
bool f_le(const simul_fval* a, const simul_fval* b) {
  return compare(a, b) <= 0;
}
bool f_gt(const simul_fval* a, const simul_fval* b) {
  return compare(a, b) == 1;
}
bool f_ge(const simul_fval* a, const simul_fval* b) {
  const int order = compare(a, b);
  return order == 0 || order == 1;
}
