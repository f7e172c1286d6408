// The reference library's numbers, as wide as one asks for, the target's values among them, and
// operands that are worth trying. Host floats and doubles only carry the bits of target values.
#pragma once

#include "tests/reference/reference.h"

#include "support/float_words.h"

// Functions instead of macros: those need a plain mpfr_t.
#define MPFR_USE_NO_MACRO
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <concepts>
#include <cstdio>
#include <limits>
#include <type_traits>
#include <vector>

template <class T> using BITS = std::conditional_t<sizeof(T) == sizeof(double), uint64_t, uint32_t>;

template <class T> constexpr int is_double = sizeof(T) == sizeof(double);
template <class T> constexpr int mantissa_bits = std::numeric_limits<T>::digits;

// Enough for every value of the target and for errors of approximations.
constexpr mpfr_prec_t REAL_BITS = 128;

class REAL {
public:
  explicit REAL(mpfr_prec_t bits = REAL_BITS) { mpfr_init2(v, bits); }
  // These hold a target value, exactly.
  template <std::floating_point T> explicit REAL(T d) : REAL(mantissa_bits<T>) {
    mpfr_set_d(v, d, MPFR_RNDN);
  }
  explicit REAL(const simul_fval& s) : REAL(F_MANT_BITS) {
    if (f_is_nan(&s)) return;
    if (f_is_inf(&s)) {
      mpfr_set_inf(v, s.sign ? -1 : 1);
      return;
    }
    mpz_t mantissa;
    mpz_init(mantissa);
    mpz_import(mantissa, F_MANT_WORDS, 1, sizeof s.mant[0], 0, 0, s.mant);
    mpfr_set_z_2exp(v, mantissa, s.exp - F_MANT_BITS, MPFR_RNDN);
    mpz_clear(mantissa);
    mpfr_setsign(v, v, s.sign, MPFR_RNDN);
  }
  REAL(const REAL&) = delete;
  REAL& operator=(const REAL&) = delete;
  ~REAL() { mpfr_clear(v); }
  operator mpfr_ptr() { return v; }
  operator mpfr_srcptr() const { return v; }

private:
  mpfr_t v;
};

// To nearest, ties to even.
template <class T> T nearest(const REAL& v) {
  if constexpr (is_double<T>)
    return mpfr_get_d(v, MPFR_RNDN);
  else
    return mpfr_get_flt(v, MPFR_RNDN);
}

// What the machine would hold: f(result) computes one operation of the reference library, in the
// width and the range of T, denormals included.
template <class T, class F> T rounded(F f) {
  using LIMITS = std::numeric_limits<T>;
  const mpfr_exp_t emin = mpfr_get_emin(), emax = mpfr_get_emax();
  mpfr_set_emin(LIMITS::min_exponent - LIMITS::digits + 1);
  mpfr_set_emax(LIMITS::max_exponent);
  REAL r(LIMITS::digits);
  const int direction = f(static_cast<mpfr_ptr>(r));
  mpfr_subnormalize(r, direction, MPFR_RNDN);
  const T result = nearest<T>(r);
  mpfr_set_emin(emin);
  mpfr_set_emax(emax);
  return result;
}

using REAL_UNARY = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using REAL_BINARY = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
using TARGET_UNARY = int (*)(const simul_fval*, simul_fval*);
using TARGET_BINARY = int (*)(const simul_fval*, const simul_fval*, simul_fval*);

template <class T> simul_fval simulated(T host) {
  const auto bits = static_cast<uint64_t>(std::bit_cast<BITS<T>>(host));
  const trg_fval raw = {{static_cast<uint32_t>(bits), static_cast<uint32_t>(bits >> 32)}};
  simul_fval v;
  f_cvt_ttos(&raw, &v, is_double<T>);
  return v;
}

template <class T> T on_host(const simul_fval& v) {
  trg_fval raw;
  f_cvt_stot(&v, &raw, is_double<T>);
  return std::bit_cast<T>(
      static_cast<BITS<T>>(static_cast<uint64_t>(raw.words[1]) << 32 | raw.words[0]));
}

// The same bits; NaNs are the same whatever their payload and sign.
template <class T> bool is_same(T a, T b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return std::bit_cast<BITS<T>>(a) == std::bit_cast<BITS<T>>(b);
}
inline bool is_same(const REAL& a, const REAL& b) {
  if (mpfr_nan_p(a) || mpfr_nan_p(b)) return mpfr_nan_p(a) && mpfr_nan_p(b);
  return mpfr_equal_p(a, b) && mpfr_signbit(a) == mpfr_signbit(b);
}

template <class T> std::string shown(T v) {
  char text[64];
  snprintf(text, sizeof text, "%a", static_cast<double>(v));
  return text;
}
inline std::string shown(const simul_fval& v) {
  return f_hex_text(&v);
}

// All that is special about a format, with both signs: ends of the denormals and the normals,
// powers of two whose sums and products end in ties, and neighbours of each.
template <class T> std::vector<T> special_values() {
  using LIMITS = std::numeric_limits<T>;
  constexpr int M = mantissa_bits<T>;
  std::vector<T> some = {0,
                         LIMITS::infinity(),
                         LIMITS::quiet_NaN(),
                         LIMITS::denorm_min(),
                         LIMITS::min(),
                         LIMITS::max(),
                         T(1),
                         T(3),
                         T(0.1),
                         T(1) / T(3),
                         LIMITS::min() / 2,
                         LIMITS::max() / 2,
                         std::sqrt(LIMITS::min()),
                         std::sqrt(LIMITS::max())};
  for (int exp : {-M - 2, -M - 1, -M, -M + 1, -M / 2, -1, 1, M / 2, M - 1, M, M + 1, 62, 63, 64})
    some.push_back(std::ldexp(T(1), exp));
  for (int exp : {LIMITS::min_exponent - M, LIMITS::min_exponent - M / 2, LIMITS::max_exponent - M})
    some.push_back(std::ldexp(T(1), exp));
  std::vector<T> all;
  for (T v : some) {
    for (T w : {v, std::nextafter(v, T(0)), std::nextafter(v, LIMITS::infinity())}) {
      all.push_back(w);
      all.push_back(-w);
    }
  }
  return all;
}

// Any bits, or numbers near 1, near the denormals, near overflow, and with few bits set.
template <class T> T random_value(RANDOM& random) {
  using LIMITS = std::numeric_limits<T>;
  const uint64_t bits = random();
  const unsigned kind = random() % 8;
  if (kind < 3) return std::bit_cast<T>(static_cast<BITS<T>>(bits));
  const int places = static_cast<int>(random() % mantissa_bits<T>);
  BITS<T> fraction = static_cast<BITS<T>>(bits) & ((BITS<T>(1) << (mantissa_bits<T> - 1)) - 1);
  if (kind & 1) fraction &= ~BITS<T>(0) << places;
  if (kind == 4) fraction = BITS<T>(1) << places >> 1;
  T v = std::bit_cast<T>(static_cast<BITS<T>>(std::bit_cast<BITS<T>>(T(1)) | fraction));
  if (bits >> 63) v = -v;
  const int spread = static_cast<int>(random() % 256);
  switch (kind) {
  case 3:
  case 4: return std::ldexp(v, spread - 128);
  case 5: return std::ldexp(v, LIMITS::min_exponent - mantissa_bits<T> + spread % 80);
  case 6: return std::ldexp(v, LIMITS::max_exponent - spread % 80);
  default: return std::ldexp(v, spread % 4 - 2);
  }
}
