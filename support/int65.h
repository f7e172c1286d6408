// INT65: a signed integer one bit wider than the widest integer of the target, so that every signed
// and every unsigned 64-bit value has its own representation.
//
// Range: -2^64 .. 2^64-1. The operators wrap to that range (the exact result modulo 2^65, taken as
// signed). Dividing by zero is an internal error: callers test first. Two words, passed in
// registers.
#pragma once

#include <compare>
#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>

[[noreturn]] void int65_does_not_fit();

struct INT65 {
  int32_t high = 0; // 0 or -1: the value is high * 2^64 + low
  uint64_t low = 0;

  constexpr INT65() = default;
  template <std::integral T>
  constexpr INT65(T v) : high(v < T(0) ? -1 : 0), low(static_cast<uint64_t>(v)) {}
  // From the words, when `h` is known to be 0 or -1.
  static constexpr INT65 from_words(int32_t h, uint64_t l) {
    INT65 v;
    v.high = h;
    v.low = l;
    return v;
  }

  static constexpr INT65 min() { return from_words(-1, 0); }
  static constexpr INT65 max() { return from_words(0, ~uint64_t(0)); }

  constexpr bool is_zero() const { return high == 0 && low == 0; }
  constexpr bool is_negative() const { return high < 0; }

  // Signs order by `high`, and within one sign `low` grows with the value.
  constexpr auto operator<=>(const INT65&) const = default;

  // Is the value representable in T?
  template <std::integral T> constexpr bool fits_in() const {
    return *this >= INT65(std::numeric_limits<T>::min()) &&
           *this <= INT65(std::numeric_limits<T>::max());
  }
  // The value as a T. A value that doesn't fit is an internal error, never a truncation.
  template <std::integral T> constexpr explicit operator T() const {
    if constexpr (std::is_same_v<T, bool>) {
      return !is_zero();
    } else {
      if (!fits_in<T>()) int65_does_not_fit();
      return static_cast<T>(low);
    }
  }

  constexpr INT65 operator-() const;
  constexpr INT65 operator+() const { return *this; }
  constexpr INT65 operator~() const { return from_words(~high, ~low); }
  constexpr INT65& operator+=(INT65 b);
  constexpr INT65& operator-=(INT65 b);
  constexpr INT65& operator*=(INT65 b);
  INT65& operator/=(INT65 b);
  INT65& operator%=(INT65 b);
  constexpr INT65& operator&=(INT65 b);
  constexpr INT65& operator|=(INT65 b);
  constexpr INT65& operator^=(INT65 b);
  constexpr INT65& operator<<=(INT65 b);
  constexpr INT65& operator>>=(INT65 b);
  constexpr INT65& operator++() { return *this += 1; }
  constexpr INT65& operator--() { return *this -= 1; }
};

static_assert(sizeof(INT65) == 16 && std::is_trivially_copyable_v<INT65>);

// Bit 64 of a sum is the exclusive or of the operands' and the carry; in words of 0 or -1 that is
// one operation on the chain from sum to sum.
constexpr INT65 operator+(INT65 a, INT65 b) {
  uint64_t low = a.low + b.low;
  return INT65::from_words(a.high ^ (b.high ^ -static_cast<int32_t>(low < a.low)), low);
}

constexpr INT65 operator-(INT65 a, INT65 b) {
  uint64_t low = a.low - b.low;
  return INT65::from_words(a.high ^ (b.high ^ -static_cast<int32_t>(a.low < b.low)), low);
}

constexpr INT65 INT65::operator-() const {
  return INT65() - *this;
}

constexpr INT65 operator*(INT65 a, INT65 b) {
  unsigned __int128 product = static_cast<unsigned __int128>(a.low) * b.low;
  // -2^64 is 2^64 modulo 2^65: a negative operand adds the other one's lowest bit to bit 64.
  unsigned sign = static_cast<unsigned>(product >> 64) +
                  (a.high ? static_cast<unsigned>(b.low) : 0u) +
                  (b.high ? static_cast<unsigned>(a.low) : 0u);
  return INT65::from_words(sign & 1 ? -1 : 0, static_cast<uint64_t>(product));
}

// Truncates towards zero. -2^64 / -1 wraps to -2^64.
INT65 operator/(INT65 a, INT65 b);
// Has the sign of `a`.
INT65 operator%(INT65 a, INT65 b);

constexpr INT65 operator&(INT65 a, INT65 b) {
  return INT65::from_words(a.high & b.high, a.low & b.low);
}
constexpr INT65 operator|(INT65 a, INT65 b) {
  return INT65::from_words(a.high | b.high, a.low | b.low);
}
constexpr INT65 operator^(INT65 a, INT65 b) {
  return INT65::from_words(a.high ^ b.high, a.low ^ b.low);
}

// Shifts. A count of 65 or more, and a negative one (it counts as a huge unsigned number), shifts
// everything out. To the right the sign is repeated.
constexpr INT65 operator<<(INT65 a, INT65 count) {
  if (count.high || count.low > 64) return INT65();
  unsigned n = static_cast<unsigned>(count.low);
  if (n == 0) return a;
  bool sign = (a.low >> (64 - n)) & 1;
  return INT65::from_words(sign ? -1 : 0, n == 64 ? 0 : a.low << n);
}

constexpr INT65 operator>>(INT65 a, INT65 count) {
  uint64_t fill = a.high ? ~uint64_t(0) : 0;
  if (count.high || count.low > 63) return INT65::from_words(a.high, fill);
  unsigned n = static_cast<unsigned>(count.low);
  if (n == 0) return a;
  return INT65::from_words(a.high, a.low >> n | fill << (64 - n));
}

constexpr INT65& INT65::operator+=(INT65 b) {
  return *this = *this + b;
}
constexpr INT65& INT65::operator-=(INT65 b) {
  return *this = *this - b;
}
constexpr INT65& INT65::operator*=(INT65 b) {
  return *this = *this * b;
}
inline INT65& INT65::operator/=(INT65 b) {
  return *this = *this / b;
}
inline INT65& INT65::operator%=(INT65 b) {
  return *this = *this % b;
}
constexpr INT65& INT65::operator&=(INT65 b) {
  return *this = *this & b;
}
constexpr INT65& INT65::operator|=(INT65 b) {
  return *this = *this | b;
}
constexpr INT65& INT65::operator^=(INT65 b) {
  return *this = *this ^ b;
}
constexpr INT65& INT65::operator<<=(INT65 b) {
  return *this = *this << b;
}
constexpr INT65& INT65::operator>>=(INT65 b) {
  return *this = *this >> b;
}

// The functions below set *ovf to 1 when the result is not exact, and never clear it.

// Sum, wrapped.
INT65 long_add(INT65 a, INT65 b, int* ovf);
// Product of the magnitudes modulo 2^64, with the sign of the exact product. Flagged from a
// magnitude of 2^64 on.
INT65 long_multiply(INT65 a, INT65 b, int* ovf);
// a to the power of b, by long_multiply. A negative power truncates: 1, -1, or 0; that of zero is
// flagged and gives 0.
INT65 long_expt(INT65 a, INT65 b, int* ovf);
// The same for unsigned 64-bit numbers.
uint64_t ulong_expt(uint64_t a, uint64_t b, int* ovf);

// Greatest common divisor of the magnitudes, 0 for two zeros; 2^64 wraps.
INT65 long_gcd(INT65 a, INT65 b);
// Least common multiple of the magnitudes, 0 if either is zero; wraps.
INT65 long_lcm(INT65 a, INT65 b);
// Whole part of the square root; `a` must not be negative.
INT65 long_sqrt(INT65 a);
// The power of two at or above x: 1 for 0, and 0 if it doesn't fit.
unsigned clp2(unsigned x);

// Decimal text, with a leading '-' for a negative value.
std::string int65_text(INT65 v);
// Reads decimal text with an optional sign. False, and *v untouched, for anything else and for a
// value out of range.
bool int65_from_text(const char* text, INT65* v);
