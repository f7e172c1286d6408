#include "support/xi.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

constexpr int SIGN_BIT = 0x80;

// Calls step(byte) for every byte, unrolled, from the most or the least significant on.
template <class STEP, size_t... K>
inline void each_byte_down(STEP step, std::index_sequence<K...>) {
  (step(static_cast<int>(K)), ...);
}
template <class STEP> inline void from_the_top(STEP step) {
  each_byte_down(step, std::make_index_sequence<XI_BYTES>());
}
template <class STEP> inline void from_the_bottom(STEP step) {
  each_byte_down([step](int k) mutable { step(XI_BYTES - 1 - k); },
                 std::make_index_sequence<XI_BYTES>());
}

bool is_negative(const unsigned char* v) {
  return v[0] & SIGN_BIT;
}

bool is_zero(const unsigned char* v) {
  unsigned char any = 0;
  from_the_top([&](int k) { any |= v[k]; });
  return any == 0;
}

// Are a's 128 bits, without a sign, below b's?
bool magnitude_is_below(const unsigned char* a, const unsigned char* b) {
  return memcmp(a, b, XI_BYTES) < 0;
}

void magnitude(const unsigned char* v, unsigned char* result) {
  if (is_negative(v))
    XI_neg(v, result);
  else
    XI_asg(v, result);
}

// Quotient and remainder of the magnitudes; b is not zero.
void divide(const unsigned char* a, const unsigned char* b, unsigned char* quotient,
            unsigned char* rest) {
  unsigned char divisor[XI_BYTES], dividend[XI_BYTES];
  magnitude(a, dividend);
  magnitude(b, divisor);
  memset(quotient, 0, XI_BYTES);
  memset(rest, 0, XI_BYTES);
  for (int bit = 0; bit < 8 * XI_BYTES; bit++) {
    // A divisor of 2^127 can't be doubled, but the rest below it can.
    XI_shl(rest, 1, rest);
    rest[XI_BYTES - 1] |= dividend[bit / 8] >> (7 - bit % 8) & 1;
    if (magnitude_is_below(rest, divisor)) continue;
    XI_sub(rest, divisor, rest);
    quotient[bit / 8] |= SIGN_BIT >> (bit % 8);
  }
}

void extend(unsigned long long v, bool negative, unsigned char* result) {
  memset(result, negative ? 0xFF : 0, XI_BYTES - 8);
  for (int k = 0; k < 8; k++)
    result[XI_BYTES - 1 - k] = static_cast<unsigned char>(v >> (8 * k));
}

unsigned long long low_bits(const unsigned char* v) {
  unsigned long long low = 0;
  for (int k = XI_BYTES - 8; k < XI_BYTES; k++)
    low = low << 8 | v[k];
  return low;
}

// Is v what its low bytes say as a number of that type?
bool fits(const unsigned char* v, int bytes, bool is_signed) {
  if (is_signed) return XI_size(v) <= bytes;
  for (int k = 0; k < XI_BYTES - bytes; k++)
    if (v[k]) return false;
  return true;
}

} // namespace

void XI_add(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  unsigned carry = 0;
  from_the_bottom([&](int k) {
    carry += a[k] + b[k];
    result[k] = static_cast<unsigned char>(carry);
    carry >>= 8;
  });
}

void XI_sub(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  unsigned borrow = 0;
  from_the_bottom([&](int k) {
    const unsigned difference = a[k] - b[k] - borrow;
    result[k] = static_cast<unsigned char>(difference);
    borrow = difference >> 8 & 1;
  });
}

void XI_neg(const unsigned char* a, unsigned char* result) {
  const unsigned char zero[XI_BYTES] = {};
  XI_sub(zero, a, result);
}

void XI_mpy(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  unsigned char product[XI_BYTES];
  unsigned sum = 0;
  // Column by column: byte k of the product is the sum of all a[i] * b[j] of that weight.
  from_the_bottom([&](int k) {
    for (int i = k, j = XI_BYTES - 1; i < XI_BYTES; i++, j--)
      sum += static_cast<unsigned>(a[i]) * b[j];
    product[k] = static_cast<unsigned char>(sum);
    sum >>= 8;
  });
  XI_asg(product, result);
}

int XI_div(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  if (is_zero(b)) return -1;
  unsigned char quotient[XI_BYTES], rest[XI_BYTES];
  divide(a, b, quotient, rest);
  if (is_negative(a) != is_negative(b)) XI_neg(quotient, quotient);
  XI_asg(quotient, result);
  return 0;
}

int XI_mod(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  if (is_zero(b)) return -1;
  unsigned char quotient[XI_BYTES], rest[XI_BYTES];
  divide(a, b, quotient, rest);
  if (is_negative(a)) XI_neg(rest, rest);
  XI_asg(rest, result);
  return 0;
}

void XI_and(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  from_the_top([&](int k) { result[k] = a[k] & b[k]; });
}

void XI_or(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  from_the_top([&](int k) { result[k] = a[k] | b[k]; });
}

void XI_xor(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  from_the_top([&](int k) { result[k] = a[k] ^ b[k]; });
}

void XI_notb(const unsigned char* a, unsigned char* result) {
  from_the_top([&](int k) { result[k] = static_cast<unsigned char>(~a[k]); });
}

void XI_shl(const unsigned char* a, unsigned count, unsigned char* result) {
  const int whole = count < 8 * XI_BYTES ? static_cast<int>(count / 8) : XI_BYTES;
  const unsigned part = count % 8;
  from_the_top([&](int k) {
    const unsigned high = k + whole < XI_BYTES ? a[k + whole] : 0;
    const unsigned low = k + whole + 1 < XI_BYTES ? a[k + whole + 1] : 0;
    result[k] = static_cast<unsigned char>((high << 8 | low) >> (8 - part));
  });
}

void XI_shr(const unsigned char* a, unsigned count, unsigned char* result) {
  const int whole = count < 8 * XI_BYTES ? static_cast<int>(count / 8) : XI_BYTES;
  const unsigned part = count % 8;
  const unsigned fill = is_negative(a) ? 0xFF : 0;
  from_the_bottom([&](int k) {
    const unsigned low = k - whole >= 0 ? a[k - whole] : fill;
    const unsigned high = k - whole - 1 >= 0 ? a[k - whole - 1] : fill;
    result[k] = static_cast<unsigned char>((high << 8 | low) >> part);
  });
}

void XI_asg(const unsigned char* a, unsigned char* result) {
  memmove(result, a, XI_BYTES);
}

int XI_size(const unsigned char* a) {
  const unsigned char fill = is_negative(a) ? 0xFF : 0;
  int k = 0;
  while (k < XI_BYTES - 1 && a[k] == fill && ((a[k + 1] ^ fill) & SIGN_BIT) == 0)
    k++;
  return XI_BYTES - k;
}

int XI_cmp(const unsigned char* a, const unsigned char* b) {
  if (is_negative(a) != is_negative(b)) return is_negative(a) ? -1 : 1;
  const int order = memcmp(a, b, XI_BYTES);
  return (order > 0) - (order < 0);
}

bool XI_eq(const unsigned char* a, const unsigned char* b) {
  return XI_cmp(a, b) == 0;
}
bool XI_ne(const unsigned char* a, const unsigned char* b) {
  return XI_cmp(a, b) != 0;
}
bool XI_lt(const unsigned char* a, const unsigned char* b) {
  return XI_cmp(a, b) < 0;
}
bool XI_le(const unsigned char* a, const unsigned char* b) {
  return XI_cmp(a, b) <= 0;
}
bool XI_gt(const unsigned char* a, const unsigned char* b) {
  return XI_cmp(a, b) > 0;
}
bool XI_ge(const unsigned char* a, const unsigned char* b) {
  return XI_cmp(a, b) >= 0;
}

void XI_itox(int v, unsigned char* result) {
  XI_llitox(v, result);
}
void XI_utox(unsigned v, unsigned char* result) {
  extend(v, false, result);
}
void XI_llitox(long long v, unsigned char* result) {
  extend(static_cast<unsigned long long>(v), v < 0, result);
}
void XI_llutox(unsigned long long v, unsigned char* result) {
  extend(v, false, result);
}

int XI_xtoi(const unsigned char* v, int* result) {
  *result = static_cast<int>(static_cast<unsigned>(low_bits(v)));
  return fits(v, 4, true) ? 0 : -1;
}
int XI_xtou(const unsigned char* v, unsigned* result) {
  *result = static_cast<unsigned>(low_bits(v));
  return fits(v, 4, false) ? 0 : -1;
}
int XI_xtolli(const unsigned char* v, long long* result) {
  *result = static_cast<long long>(low_bits(v));
  return fits(v, 8, true) ? 0 : -1;
}
int XI_xtollu(const unsigned char* v, unsigned long long* result) {
  *result = low_bits(v);
  return fits(v, 8, false) ? 0 : -1;
}

void XI_dump(const unsigned char* v) {
  printf("0x");
  from_the_top([v](int k) { printf("%02X", v[k]); });
}
