#include "support/int65.h"

#include "DIAG/abort.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

using U128 = unsigned __int128;

void int65_does_not_fit() {
  optassert("fits_in<T>()", __FILE__, __LINE__);
}

// Up to 2^64, so wider than `low`.
static U128 magnitude(INT65 v) {
  return v.is_negative() ? (U128(1) << 64) - v.low : U128(v.low);
}

// Bits 0 to 63 of a magnitude of at most 2^64 with a sign; a positive 2^64 wraps to -2^64.
static INT65 from_magnitude(U128 m, bool negative) {
  INT65 v = INT65::from_words(m >> 64 & 1 ? -1 : 0, static_cast<uint64_t>(m));
  return negative ? -v : v;
}

INT65 operator/(INT65 a, INT65 b) {
  CHECK(!b.is_zero());
  return from_magnitude(magnitude(a) / magnitude(b), a.is_negative() != b.is_negative());
}

INT65 operator%(INT65 a, INT65 b) {
  CHECK(!b.is_zero());
  return from_magnitude(magnitude(a) % magnitude(b), a.is_negative());
}

INT65 long_add(INT65 a, INT65 b, int* ovf) {
  INT65 sum = a + b;
  if (a.is_negative() == b.is_negative() && sum.is_negative() != a.is_negative()) *ovf = 1;
  return sum;
}

INT65 long_multiply(INT65 a, INT65 b, int* ovf) {
  const U128 ma = magnitude(a), mb = magnitude(b);
  const uint64_t product = static_cast<uint64_t>(ma * mb);
  // Dividing back finds every lost bit: a product that wrapped is smaller than the exact one.
  if ((ma != 0 && product / ma != mb) || (mb != 0 && product / mb != ma)) *ovf = 1;
  return from_magnitude(product, a.is_negative() != b.is_negative());
}

INT65 long_expt(INT65 a, INT65 b, int* ovf) {
  if (b.is_negative()) {
    if (a.is_zero()) *ovf = 1;
    if (a == 1) return 1;
    if (a == -1) return b.low & 1 ? -1 : 1;
    return 0;
  }
  INT65 result = 1;
  for (uint64_t n = b.low; n; n >>= 1) {
    if (n & 1) result = long_multiply(result, a, ovf);
    // The last square is not used, so its overflow doesn't count.
    if (n > 1) a = long_multiply(a, a, ovf);
  }
  return result;
}

uint64_t ulong_expt(uint64_t a, uint64_t b, int* ovf) {
  uint64_t result = 1;
  for (; b; b >>= 1) {
    if ((b & 1) && __builtin_mul_overflow(result, a, &result)) *ovf = 1;
    if (b > 1 && __builtin_mul_overflow(a, a, &a)) *ovf = 1;
  }
  return result;
}

// Of magnitudes, each 2^64 at most.
static U128 gcd_of(U128 x, U128 y) {
  while (y) {
    U128 rest = x % y;
    x = y;
    y = rest;
  }
  return x;
}

INT65 long_gcd(INT65 a, INT65 b) {
  return from_magnitude(gcd_of(magnitude(a), magnitude(b)), false);
}

INT65 long_lcm(INT65 a, INT65 b) {
  if (a.is_zero() || b.is_zero()) return 0;
  const U128 gcd = gcd_of(magnitude(a), magnitude(b));
  return from_magnitude(magnitude(a) / gcd, false) * from_magnitude(magnitude(b), false);
}

INT65 long_sqrt(INT65 a) {
  CHECK(!a.is_negative());
  // The host's root is off by one at most.
  U128 n = a.low;
  U128 root = static_cast<U128>(std::sqrt(static_cast<double>(a.low)));
  while (root * root > n)
    root--;
  while ((root + 1) * (root + 1) <= n)
    root++;
  return INT65(static_cast<uint64_t>(root));
}

unsigned clp2(unsigned x) {
  return x > 1u << 31 ? 0 : std::bit_ceil(x);
}

std::string int65_text(INT65 v) {
  std::string digits;
  U128 m = magnitude(v);
  do {
    digits += static_cast<char>('0' + static_cast<int>(m % 10));
    m /= 10;
  } while (m);
  if (v.is_negative()) digits += '-';
  std::reverse(digits.begin(), digits.end());
  return digits;
}

bool int65_from_text(const char* text, INT65* v) {
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') text++;
  if (!*text) return false;
  U128 m = 0;
  for (; *text; text++) {
    if (*text < '0' || *text > '9') return false;
    m = m * 10 + static_cast<unsigned>(*text - '0');
    if (m > U128(1) << 64) return false;
  }
  if (!negative && m >> 64) return false;
  *v = from_magnitude(m, negative);
  return true;
}
