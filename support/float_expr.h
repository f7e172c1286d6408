// For the approximations: formulas over simul_fval written as formulas, and constants kept as
// decimal text.
#pragma once

#include "support/float_words.h"

#include <atomic>

// A number in a formula.
struct F_NUM {
  simul_fval v;

  F_NUM() = default;
  F_NUM(const simul_fval& value) : v(value) {}
  F_NUM operator-() const {
    F_NUM r;
    f_neg(&v, &r.v);
    return r;
  }
};

inline F_NUM operator+(const F_NUM& a, const F_NUM& b) {
  F_NUM r;
  f_add(&a.v, &b.v, &r.v);
  return r;
}
inline F_NUM operator-(const F_NUM& a, const F_NUM& b) {
  F_NUM r;
  f_sub(&a.v, &b.v, &r.v);
  return r;
}
inline F_NUM operator*(const F_NUM& a, const F_NUM& b) {
  F_NUM r;
  f_mul(&a.v, &b.v, &r.v);
  return r;
}
inline F_NUM operator/(const F_NUM& a, const F_NUM& b) {
  F_NUM r;
  f_div(&a.v, &b.v, &r.v);
  return r;
}
inline bool operator<(const F_NUM& a, const F_NUM& b) {
  return f_lt(&a.v, &b.v);
}
inline bool operator>(const F_NUM& a, const F_NUM& b) {
  return f_gt(&a.v, &b.v);
}

inline F_NUM f_num(int64_t n) {
  F_NUM r;
  f_itof(n, &r.v);
  return r;
}
inline F_NUM f_magnitude(const F_NUM& a) {
  F_NUM r;
  f_abs(&a.v, &r.v);
  return r;
}
inline F_NUM f_scaled(const F_NUM& a, int exp) {
  F_NUM r;
  f_ldexp(&a.v, exp, &r.v);
  return r;
}
// The nearest whole number; the value's magnitude must be below 2^63.
inline int64_t f_nearest(const F_NUM& a) {
  F_NUM r;
  int64_t n = 0;
  f_round(&a.v, &r.v);
  f_ftoi(&r.v, &n);
  return n;
}

// A constant that stands in the source as text and is read on first use, by whichever thread gets
// there.
class F_TEXT {
public:
  constexpr F_TEXT(const char* decimal) : text(decimal) {}
  operator F_NUM() const { return value(); }
  const simul_fval& value() const;

private:
  const char* text;
  mutable std::atomic<bool> is_read{false};
  mutable simul_fval parsed{};
};

inline F_NUM operator*(const F_NUM& a, const F_TEXT& b) {
  return a * F_NUM(b);
}
inline F_NUM operator+(const F_NUM& a, const F_TEXT& b) {
  return a + F_NUM(b);
}
inline F_NUM operator-(const F_NUM& a, const F_TEXT& b) {
  return a - F_NUM(b);
}
inline bool operator<(const F_NUM& a, const F_TEXT& b) {
  return a < F_NUM(b);
}
inline bool operator>(const F_NUM& a, const F_TEXT& b) {
  return a > F_NUM(b);
}

// c[0] + c[1] x + ... + c[n-1] x^(n-1)
template <int N> F_NUM f_poly(const F_NUM& x, const F_TEXT (&c)[N]) {
  F_NUM sum = c[N - 1];
  for (int k = N - 2; k >= 0; k--)
    sum = sum * x + c[k];
  return sum;
}

// Intermediate results may leave the range without harm; the errors of this thread come back to
// what they were, and to those `report` adds.
class F_ERRORS {
public:
  F_ERRORS() : before(fp_error) {}
  ~F_ERRORS() { fp_error = before | reported; }
  F_ERRORS(const F_ERRORS&) = delete;
  F_ERRORS& operator=(const F_ERRORS&) = delete;
  int report(FP_ERROR error) {
    reported |= error;
    return -1;
  }

private:
  uint32_t before, reported = 0;
};

// Results that need no formula.
inline int f_give(const F_NUM& value, simul_fval* result) {
  *result = value.v;
  return 0;
}

// Is the value so small that x + c x^2 is x, to 96 bits?
inline bool f_is_tiny(const simul_fval* v) {
  return v->exp < -F_MANT_BITS;
}
