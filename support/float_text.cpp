// Floating constants from text.
//
// The value of a text is held as an exact fraction of big whole numbers and divided once, so that
// every text is rounded once.
#include "support/simul_fval.h"

#include "support/big_number.h"
#include "support/float_words.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace {

// No number halfway between two values has more digits than that: behind them, only whether
// something follows matters.
constexpr size_t MAX_DIGITS = 24000;
// Beyond, with up to MAX_DIGITS digits before it, a decimal exponent is out of range for certain.
constexpr long EXPONENT_CLAMP = 1000000000;

void set_out_of_range(bool too_large, simul_fval* result) {
  fp_error |= too_large ? FP_OVERFLOW : FP_UNDERFLOW;
  *result = too_large ? pos_huge : pos_zero;
}

// result = numerator / denominator * 2^exp2, rounded. Neither is zero.
void divide_and_round(BIG numerator, BIG denominator, long exp2, simul_fval* result) {
  // A quotient of as many bits as the words hold, or one less; what is left shows in the last one.
  constexpr long BITS = 16 * F_WORK_WORDS;
  const long places = BITS - 1 - (big_bit_length(numerator) - big_bit_length(denominator));
  (places < 0 ? denominator : numerator) <<= std::labs(places);
  BIG quotient, rest;
  divide_qr(numerator, denominator, quotient, rest);
  if (rest != 0) quotient |= 1;
  uint16_t words[F_WORK_WORDS];
  export_bits(quotient, words, 16);
  f_round_words(words, F_WORK_WORDS, exp2 - places + BITS, 0, result);
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
  std::string digits; // without leading zeros
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
      if (v || !n->digits.empty()) n->digits += *text;
      if (in_fraction) n->scale -= digit_scale;
    } else {
      lost |= v != 0;
      if (!in_fraction) n->scale += digit_scale;
    }
  }
  if (!any) return false;
  if (lost) {
    n->digits += '1';
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
    const long top = is_hex ? F_MAX_EXP + 4 : 9870, bottom = is_hex ? F_MIN_EXP - 4 : -9900;
    if (leading > top || leading < bottom) {
      set_out_of_range(leading > 0, result);
    } else {
      BIG numerator((is_hex ? "0x" : "") + n.digits), denominator = 1;
      // 10^scale is 5^scale * 2^scale.
      if (!is_hex) (n.scale < 0 ? denominator : numerator) *= big_power(5, std::labs(n.scale));
      divide_and_round(std::move(numerator), std::move(denominator), n.scale, result);
    }
  }
  result->sign = negative;
  return 0;
}
