// Floating constants to and from text.
//
// The value of a text is held as an exact fraction of big whole numbers and divided once, so that
// every text rounds correctly to the 96 bits of a simul_fval.
#include "support/simul_fval.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <vector>

namespace {

using BIG = std::vector<uint32_t>; // least significant first, no leading zero words; empty is zero

constexpr int MANT_BITS = 16 * F_MANT_WORDS;
// Exponents of finite values; the ends stay clear of the two special ones.
constexpr long MAX_EXP = 32766, MIN_EXP = -32766;
// No number halfway between two values has more digits than that: behind them, only whether
// something follows matters.
constexpr size_t MAX_DIGITS = 24000;
// Beyond, with up to MAX_DIGITS digits before it, a decimal exponent is out of range for certain.
constexpr long EXPONENT_CLAMP = 1000000000;

void multiply_add(BIG& v, uint32_t factor, uint32_t addend) {
  uint64_t carry = addend;
  for (uint32_t& word : v) {
    carry += static_cast<uint64_t>(word) * factor;
    word = static_cast<uint32_t>(carry);
    carry >>= 32;
  }
  if (carry) v.push_back(static_cast<uint32_t>(carry));
}

BIG number_of(const std::vector<char>& digits, uint32_t radix) {
  BIG v;
  // As many digits at a time as a word holds.
  uint32_t chunk = 0, factor = 1;
  for (char digit : digits) {
    chunk = chunk * radix + static_cast<uint32_t>(digit);
    factor *= radix;
    if (factor > UINT32_MAX / radix) {
      multiply_add(v, factor, chunk);
      chunk = 0;
      factor = 1;
    }
  }
  multiply_add(v, factor, chunk);
  return v;
}

void multiply_by_power_of_5(BIG& v, long power) {
  constexpr uint32_t FIVE_13 = 1220703125;
  for (; power >= 13; power -= 13)
    multiply_add(v, FIVE_13, 0);
  for (; power > 0; power--)
    multiply_add(v, 5, 0);
}

long bit_length(const BIG& v) {
  return v.empty() ? 0 : static_cast<long>(v.size()) * 32 - std::countl_zero(v.back());
}

void shift_left(BIG& v, long bits) {
  if (v.empty() || bits == 0) return;
  const unsigned part = bits % 32;
  if (part) {
    uint32_t carry = 0;
    for (uint32_t& word : v) {
      const uint32_t out = word >> (32 - part);
      word = word << part | carry;
      carry = out;
    }
    if (carry) v.push_back(carry);
  }
  v.insert(v.begin(), static_cast<size_t>(bits / 32), 0);
}

bool is_below(const BIG& a, const BIG& b) {
  if (a.size() != b.size()) return a.size() < b.size();
  return std::lexicographical_compare(a.rbegin(), a.rend(), b.rbegin(), b.rend());
}

void subtract(BIG& a, const BIG& b) {
  uint64_t borrow = 0;
  for (size_t i = 0; i < a.size(); i++) {
    const uint64_t difference = uint64_t(a[i]) - (i < b.size() ? b[i] : 0) - borrow;
    a[i] = static_cast<uint32_t>(difference);
    borrow = difference >> 63;
  }
  while (!a.empty() && a.back() == 0)
    a.pop_back();
}

void set_out_of_range(bool too_large, simul_fval* result) {
  fp_error |= too_large ? FP_OVERFLOW : FP_UNDERFLOW;
  *result = too_large ? pos_huge : pos_zero;
}

// result = numerator / denominator * 2^exp2, rounded to nearest even. Neither is zero.
void divide_and_round(BIG numerator, BIG denominator, long exp2, simul_fval* result) {
  // Bring the quotient into 1 <= q < 2.
  const long surplus = bit_length(numerator) - bit_length(denominator);
  if (surplus > 0)
    shift_left(denominator, surplus);
  else
    shift_left(numerator, -surplus);
  exp2 += surplus;
  if (is_below(numerator, denominator)) {
    shift_left(numerator, 1);
    exp2--;
  }
  *result = pos_zero;
  for (int bit = 0; bit < MANT_BITS; bit++) {
    if (!is_below(numerator, denominator)) {
      subtract(numerator, denominator);
      result->mant[bit / 16] |= 0x8000 >> (bit % 16);
    }
    shift_left(numerator, 1);
  }
  // The next quotient bit is the round bit, what is left then the sticky one.
  bool round_up = false;
  if (!is_below(numerator, denominator)) {
    subtract(numerator, denominator);
    round_up = !numerator.empty() || (result->mant[F_MANT_WORDS - 1] & 1);
  }
  long exp = exp2 + 1;
  for (int i = F_MANT_WORDS; round_up && i-- > 0;)
    round_up = ++result->mant[i] == 0;
  if (round_up) {
    result->mant[0] = 0x8000;
    exp++;
  }
  if (exp > MAX_EXP || exp < MIN_EXP)
    set_out_of_range(exp > 0, result);
  else
    result->exp = static_cast<int32_t>(exp);
}

int digit_value(char c, int radix) {
  int v = 99;
  if (c >= '0' && c <= '9') v = c - '0';
  if (c >= 'a' && c <= 'f') v = c - 'a' + 10;
  if (c >= 'A' && c <= 'F') v = c - 'A' + 10;
  return v < radix ? v : -1;
}

// A numeral split up: digits * radix^scale (radix^scale is 2^scale for a hexadecimal one).
struct NUMERAL {
  std::vector<char> digits; // values, without leading zeros
  long scale = 0;
};

// False if the text isn't wholly a numeral.
bool parse_numeral(const char* text, int radix, NUMERAL* n) {
  const int digit_scale = radix == 16 ? 4 : 1;
  bool any = false, in_fraction = false, lost = false;
  for (;; text++) {
    if (*text == '.' && !in_fraction) {
      in_fraction = true;
      continue;
    }
    const int v = digit_value(*text, radix);
    if (v < 0) break;
    any = true;
    if (n->digits.size() < MAX_DIGITS) {
      if (v || !n->digits.empty()) n->digits.push_back(static_cast<char>(v));
      if (in_fraction) n->scale -= digit_scale;
    } else {
      lost |= v != 0;
      if (!in_fraction) n->scale += digit_scale;
    }
  }
  if (!any) return false;
  if (lost) {
    n->digits.push_back(1);
    n->scale -= digit_scale;
  }
  if (strchr(radix == 16 ? "pP" : "eE", *text) && *text) {
    text++;
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') text++;
    if (digit_value(*text, 10) < 0) return false;
    long exponent = 0;
    for (; digit_value(*text, 10) >= 0; text++)
      exponent = std::min(exponent * 10 + digit_value(*text, 10), EXPONENT_CLAMP);
    n->scale += negative ? -exponent : exponent;
  }
  return *text == 0;
}

} // namespace

int f_atof(const char* text, simul_fval* result) {
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') text++;
  const bool is_hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  NUMERAL n;
  *result = pos_zero;
  if (strcasecmp(text, "inf") == 0 || strcasecmp(text, "infinity") == 0) {
    *result = pos_huge;
  } else if (strcasecmp(text, "nan") == 0) {
    *result = a_nan;
  } else if (!parse_numeral(is_hex ? text + 2 : text, is_hex ? 16 : 10, &n)) {
    return -1;
  } else if (!n.digits.empty()) {
    // Decide by the place of the leading digit before big numbers are built. A decimal digit is
    // worth at least 3.32 bits, so 10^9870 is above and 10^-9900 below the range.
    const long leading = n.scale + static_cast<long>(n.digits.size()) * (is_hex ? 4 : 1);
    const long top = is_hex ? MAX_EXP + 4 : 9870, bottom = is_hex ? MIN_EXP - 4 : -9900;
    if (leading > top || leading < bottom) {
      set_out_of_range(leading > 0, result);
    } else {
      BIG numerator = number_of(n.digits, is_hex ? 16 : 10), denominator{1};
      // 10^scale is 5^scale * 2^scale.
      if (!is_hex)
        multiply_by_power_of_5(n.scale < 0 ? denominator : numerator, std::labs(n.scale));
      divide_and_round(std::move(numerator), std::move(denominator), n.scale, result);
    }
  }
  result->sign = negative;
  return 0;
}

std::string f_hex_text(const simul_fval* v) {
  std::string text = v->sign ? "-" : "";
  if (f_is_nan(v)) return text + "nan";
  if (f_is_inf(v)) return text + "inf";
  if (f_is_zero(v)) return text + "0x0p+0";
  simul_fval normal = *v;
  f_left_justify(&normal);
  // The leading bit stands before the point; the 95 bits behind it make 24 digits.
  text += "0x1";
  std::string digits;
  for (int i = 0; i < MANT_BITS / 4; i++) {
    int digit = 0;
    for (int bit = 4 * i + 1; bit <= 4 * i + 4; bit++) {
      digit <<= 1;
      if (bit < MANT_BITS) digit |= normal.mant[bit / 16] >> (15 - bit % 16) & 1;
    }
    digits += "0123456789abcdef"[digit];
  }
  while (!digits.empty() && digits.back() == '0')
    digits.pop_back();
  if (!digits.empty()) text += "." + digits;
  const int exp = normal.exp - 1;
  text += exp < 0 ? "p-" : "p+";
  return text + std::to_string(exp < 0 ? -exp : exp);
}
