#include "support/float_words.h"

#include <algorithm>
#include <bit>

void f_align_radix_pt(uint16_t* words, int n, long places) {
  const int whole = static_cast<int>(std::min<long>(places / 16, n));
  const int part = places / 16 < n ? static_cast<int>(places % 16) : 0;
  uint32_t lost = 0;
  for (int i = n - whole; i < n; i++)
    lost |= words[i];
  if (part) lost |= words[n - whole - 1] & ((1u << part) - 1);
  for (int i = n - 1; i >= 0; i--) {
    const uint32_t low = i - whole >= 0 ? words[i - whole] : 0;
    const uint32_t high = i - whole - 1 >= 0 ? words[i - whole - 1] : 0;
    words[i] = static_cast<uint16_t>((high << 16 | low) >> part);
  }
  if (lost) words[n - 1] |= 1;
}

int f_normalize(uint16_t* words, int32_t* exp, int n) {
  int first = 0;
  while (first < n && words[first] == 0)
    first++;
  if (first == n) return -1;
  const int bits = std::countl_zero(words[first]);
  if (first == 0 && bits == 0) return 0;
  for (int i = 0; i < n; i++) {
    const uint32_t high = first + i < n ? words[first + i] : 0;
    const uint32_t low = first + i + 1 < n ? words[first + i + 1] : 0;
    words[i] = static_cast<uint16_t>((high << 16 | low) >> (16 - bits));
  }
  *exp -= 16 * first + bits;
  return 0;
}

int f_round_words(const uint16_t* words, int n, long exp, int sign, simul_fval* result) {
  uint16_t w[2 * F_MANT_WORDS];
  std::copy(words, words + n, w);
  int32_t shift = 0;
  *result = pos_zero;
  result->sign = sign;
  if (f_normalize(w, &shift, n) != 0) return 0;
  exp += shift;
  if (exp > F_MAX_EXP) {
    *result = pos_huge;
    result->sign = sign;
    fp_error |= FP_OVERFLOW;
    return -1;
  }
  if (exp < F_MIN_EXP) {
    fp_error |= FP_UNDERFLOW;
    return -1;
  }

  const bool round = n > F_MANT_WORDS && (w[F_MANT_WORDS] & 0x8000);
  bool sticky = n > F_MANT_WORDS && (w[F_MANT_WORDS] & 0x7FFF);
  for (int i = F_MANT_WORDS + 1; i < n; i++)
    sticky |= w[i] != 0;
  uint32_t low = static_cast<uint32_t>(w[4]) << 16 | w[5];
  if (round || sticky) {
    bool up = round && (sticky || (low & 1));
    if (low == 0) up = true;
    if (low == UINT32_MAX) up = false;
    // No carry leaves the low words: all ones stay.
    low += up;
  }
  std::copy(w, w + 4, result->mant);
  result->mant[4] = static_cast<uint16_t>(low >> 16);
  result->mant[5] = static_cast<uint16_t>(low);
  result->exp = static_cast<int32_t>(exp);
  return 0;
}
