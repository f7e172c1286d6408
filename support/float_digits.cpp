// Digits of simul_fval, and texts made of them.
#include "support/float_words.h"

#include "support/big_number.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

namespace {

// More digits than any value has before its end, counted from the first one or from the point.
constexpr size_t MAX_CONVERSION_DIGITS = 40000;

// A positive value divided by the power of ten of its first digit: 1 <= numerator / denominator <
// 10, and the value is that * 10^power.
struct SCALED {
  BIG numerator, denominator;
  long power;
};

SCALED scale(const simul_fval* v) {
  SCALED s;
  import_bits(s.numerator, v->mant, v->mant + F_MANT_WORDS, 16);
  s.denominator = 1;
  // log10 2, at most one too low or too high.
  s.power = static_cast<long>(v->exp) * 30103 / 100000;
  // value = mantissa * 2^e, and 10^power is 5^power * 2^power.
  const long e = static_cast<long>(v->exp) - F_MANT_BITS - s.power;
  (s.power < 0 ? s.numerator : s.denominator) *= big_power(5, std::abs(s.power));
  (e < 0 ? s.denominator : s.numerator) <<= std::abs(e);
  while (s.numerator < s.denominator) {
    s.numerator *= 10;
    s.power--;
  }
  while (s.numerator >= 10 * s.denominator) {
    s.denominator *= 10;
    s.power++;
  }
  return s;
}

// Adds one to the last of decimal digits; true if that made "100..." of "99...", one digit longer.
bool count_up(std::string* digits) {
  size_t k = digits->size();
  while (k > 0 && (*digits)[k - 1] == '9')
    (*digits)[--k] = '0';
  if (k > 0) {
    (*digits)[k - 1]++;
    return false;
  }
  digits->insert(digits->begin(), '1');
  return true;
}

// `count` digits from the first one on, or from further left (then zeros aren't put out), when
// rounding falls left of the first digit.
void generate(const SCALED& s, long count, std::string* digits, bool* grew) {
  digits->clear();
  *grew = false;
  // In units of the last digit: whole ones, and a rest.
  BIG whole, rest = s.numerator, unit = s.denominator;
  if (count > 0) {
    const BIG scaled =
        s.numerator * big_power(10, std::min<long>(count, MAX_CONVERSION_DIGITS) - 1);
    divide_qr(scaled, s.denominator, whole, rest);
    *digits = whole.str();
  } else {
    unit *= 10;
  }
  if (count > static_cast<long>(MAX_CONVERSION_DIGITS)) {
    fprintf(stderr, "WARNING: Possible infinite loop in FP convers.\n");
    return;
  }
  if (count < 0) return;
  const bool last_is_odd = bit_test(whole, 0);
  const int order = BIG(2 * rest).compare(unit);
  if (order > 0 || (order == 0 && last_is_odd)) *grew = count_up(digits);
}

int no_digits(const simul_fval* v, int* decpt, int* sign, std::string* digits) {
  *decpt = 0;
  *sign = v->sign;
  digits->clear();
  return -1;
}

std::string exponent_text(char letter, long exponent, size_t least_digits) {
  std::string digits;
  f_utoa(static_cast<uint64_t>(std::abs(exponent)), &digits);
  if (digits.size() < least_digits) digits.insert(0, least_digits - digits.size(), '0');
  return std::string(1, letter) + (exponent < 0 ? '-' : '+') + digits;
}

// d.ddd, without the point if nothing follows it.
std::string with_point(const std::string& digits, size_t whole) {
  return digits.size() > whole ? digits.substr(0, whole) + "." + digits.substr(whole) : digits;
}

std::string scientific(const std::string& digits, int decpt) {
  return with_point(digits, 1) + exponent_text('e', decpt - 1L, 2);
}

// The digits put around the point, with zeros up to it.
std::string positional(std::string digits, int decpt) {
  if (decpt <= 0) {
    digits.insert(0, static_cast<size_t>(1 - decpt), '0');
    decpt = 1;
  }
  if (digits.size() < static_cast<size_t>(decpt)) digits.resize(static_cast<size_t>(decpt), '0');
  return with_point(digits, static_cast<size_t>(decpt));
}

void drop_trailing_zeros(std::string* digits) {
  while (digits->size() > 1 && digits->back() == '0')
    digits->pop_back();
}

bool show_special(const simul_fval* v, std::string* text) {
  if (f_is_nan(v))
    *text = "NaN";
  else if (f_is_inf(v))
    *text = v->sign ? "-Inf" : "Inf";
  else
    return false;
  return true;
}

} // namespace

int f_ecvt(const simul_fval* v, int count, int* decpt, int* sign, std::string* digits) {
  if (!f_is_finite(v)) return no_digits(v, decpt, sign, digits);
  *sign = v->sign;
  *decpt = 1;
  count = std::max(count, 1);
  if (f_is_zero(v)) {
    digits->assign(std::min<size_t>(static_cast<size_t>(count), MAX_CONVERSION_DIGITS), '0');
    return 0;
  }
  SCALED s = scale(v);
  bool grew;
  generate(s, count, digits, &grew);
  if (grew) digits->pop_back();
  *decpt = static_cast<int>(s.power) + 1 + grew;
  return 0;
}

int f_fcvt(const simul_fval* v, int count, int* decpt, int* sign, std::string* digits) {
  if (!f_is_finite(v)) return no_digits(v, decpt, sign, digits);
  *sign = v->sign;
  *decpt = 1;
  if (f_is_zero(v)) {
    digits->assign(
        std::min<size_t>(static_cast<size_t>(std::max(count, 0)) + 1, MAX_CONVERSION_DIGITS), '0');
    return 0;
  }
  SCALED s = scale(v);
  bool grew;
  generate(s, s.power + 1 + count, digits, &grew);
  *decpt = static_cast<int>(s.power) + 1 + grew;
  return 0;
}

int f_acvt(const simul_fval* v, int count, int* exp, int* sign, std::string* digits) {
  if (!f_is_finite(v)) return no_digits(v, exp, sign, digits);
  *sign = v->sign;
  *exp = 0;
  // The leading bit stands before the point; the 95 bits behind it make 24 digits.
  constexpr int ALL = F_MANT_BITS / 4;
  digits->assign(1 + ALL, '0');
  if (!f_is_zero(v)) {
    simul_fval normal = *v;
    f_left_justify(&normal);
    *exp = normal.exp - 1;
    uint16_t words[F_MANT_WORDS + 1] = {};
    memcpy(words, normal.mant, sizeof normal.mant);
    f_align_radix_pt(words, F_MANT_WORDS + 1, 3); // makes the first digit a 1
    std::string hex;
    for (uint16_t word : words)
      for (int shift = 12; shift >= 0; shift -= 4)
        hex += static_cast<char>(word >> shift & 15);
    const size_t kept = count < 0 ? ALL : std::min<size_t>(static_cast<size_t>(count), ALL);
    const char next = hex[kept + 1];
    const bool more = hex.find_first_not_of('\0', kept + 2) != std::string::npos;
    bool up = next > 8 || (next == 8 && (more || (hex[kept] & 1)));
    for (size_t k = kept + 1; up && k-- > 0;) {
      up = hex[k] == 15;
      hex[k] = static_cast<char>(up ? 0 : hex[k] + 1);
    }
    if (hex[0] == 2) { // 1.ff... rounded up
      hex[0] = 1;
      ++*exp;
    }
    for (size_t k = 0; k <= kept; k++)
      (*digits)[k] = "0123456789abcdef"[static_cast<unsigned char>(hex[k])];
  }
  if (count < 0)
    drop_trailing_zeros(digits);
  else
    digits->resize(std::min<size_t>(static_cast<size_t>(count), MAX_CONVERSION_DIGITS) + 1, '0');
  return 0;
}

int f_f2ascii(const simul_fval* v, char letter, int precision, std::string* text) {
  if (show_special(v, text)) return 0;
  std::string digits;
  int point, sign;
  if (letter == 'a') {
    f_acvt(v, precision, &point, &sign, &digits);
    *text = "0x" + with_point(digits, 1) + exponent_text('p', point, 1);
  } else {
    if (precision < 0) precision = 6;
    if (letter == 'f') {
      f_fcvt(v, precision, &point, &sign, &digits);
      // All places asked for, though nothing of the value reaches them.
      const size_t places = static_cast<size_t>(precision);
      std::string shown = positional(digits.empty() ? "0" : digits, digits.empty() ? 1 : point);
      const size_t dot = shown.find('.');
      const size_t behind = dot == std::string::npos ? 0 : shown.size() - dot - 1;
      if (behind < places) {
        if (dot == std::string::npos) shown += '.';
        shown.append(places - behind, '0');
      }
      *text = shown;
    } else if (letter == 'e') {
      f_ecvt(v, std::min<int>(precision, MAX_CONVERSION_DIGITS) + 1, &point, &sign, &digits);
      *text = scientific(digits, point);
    } else {
      precision = std::max(precision, 1);
      f_ecvt(v, precision, &point, &sign, &digits);
      drop_trailing_zeros(&digits);
      *text = point - 1 < -4 || point - 1 >= precision ? scientific(digits, point)
                                                       : positional(digits, point);
    }
  }
  if (sign) text->insert(0, "-");
  return 0;
}

// The next larger number of as many digits; a carry out of the first digit raises decpt.
static void next_digits(std::string* digits, int* decpt) {
  for (size_t k = digits->size(); k-- > 0;) {
    if ((*digits)[k] != '9') {
      (*digits)[k]++;
      return;
    }
    (*digits)[k] = '0';
  }
  (*digits)[0] = '1';
  ++*decpt;
}

int f_ftoa(const simul_fval* v, int is_double, std::string* text) {
  if (show_special(v, text)) return 0;
  trg_fval wanted, read;
  simul_fval held;
  const uint32_t errors = fp_error;
  f_cvt_stot(v, &wanted, is_double);
  f_cvt_ttos(&wanted, &held, is_double);
  if (!show_special(&held, text)) {
    // 9 digits tell all floats apart, and 17 all doubles.
    // Above a power of two the target's numbers lie twice as far apart as below it, so the next
    // larger text may read back where the nearest one doesn't.
    for (int attempt = 2; attempt < 2 * (is_double ? 18 : 10); attempt++) {
      std::string digits;
      int decpt, sign;
      f_ecvt(&held, attempt / 2, &decpt, &sign, &digits);
      if (attempt % 2) next_digits(&digits, &decpt);
      const bool plain = decpt > -4 && decpt <= 17;
      *text = plain ? positional(digits, decpt) : scientific(digits, decpt);
      if (text->find_first_of(".e") == std::string::npos) *text += ".0";
      if (sign) text->insert(0, "-");
      simul_fval again;
      f_atof(text->c_str(), &again);
      f_cvt_stot(&again, &read, is_double);
      if (memcmp(&read, &wanted, sizeof read) == 0) break;
    }
  }
  fp_error = errors;
  return 0;
}

int f_utoa(uint64_t v, std::string* text) {
  *text = std::to_string(v);
  return 0;
}

std::string f_hex_text(const simul_fval* v) {
  if (!f_is_finite(v)) return std::string(v->sign ? "-" : "") + (f_is_nan(v) ? "nan" : "inf");
  std::string text;
  f_f2ascii(v, 'a', -1, &text);
  return text;
}
