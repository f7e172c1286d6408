// Transcendental functions against the reference library's, with the largest error of each in units
// of the last place (ULP) of the target's float and double.
#include "tests/reference/real.h"

#include <cinttypes>

namespace {

// Evenly, or all sizes of number alike; or next to the multiples of pi/2, where what the reduction
// of the angle leaves is small and its error large beside it.
enum OPERANDS { ANYWHERE, NEXT_TO_QUARTERS };

struct FUNCTION {
  const char* name;
  TARGET_UNARY one;
  TARGET_BINARY two;
  REAL_UNARY exact_one;
  REAL_BINARY exact_two;
  double low, high; // range of the (first) operand
  double low2, high2;
  double allowed; // ULP; the correctly rounded result is 0.5 off at most
  OPERANDS operands = ANYWHERE;
};

FUNCTION unary(const char* name, TARGET_UNARY f, REAL_UNARY exact, double low, double high,
               double allowed = 0.51, OPERANDS operands = ANYWHERE) {
  return {name, f, nullptr, exact, nullptr, low, high, 0, 0, allowed, operands};
}
FUNCTION binary(const char* name, TARGET_BINARY f, REAL_BINARY exact, double low, double high,
                double low2, double high2, double allowed = 0.51) {
  return {name, nullptr, f, nullptr, exact, low, high, low2, high2, allowed, ANYWHERE};
}

// Where most of the angle's bits are taken off, what is left is short of bits, and more so in the
// few operands next to a multiple of pi/2.
constexpr double LARGE_ANGLES = 5000, NEAR_PI = 100000;

const FUNCTION functions[] = {
    unary("f_exp", f_exp, mpfr_exp, -89.4, 89.4),
    unary("f_log", f_log, mpfr_log, 0, 1e300),
    unary("f_log near 1", f_log, mpfr_log, 0.5, 2),
    unary("f_log10", f_log10, mpfr_log10, 0, 1e300),
    binary("f_pow", f_pow, mpfr_pow, 0, 100, -150, 150),
    binary("f_pow, bases near 1", f_pow, mpfr_pow, 0.999, 1.001, -300000, 300000),
    binary("f_pow, large exponents", f_pow, mpfr_pow, 1 - 1e-11, 1 + 1e-11, 1e10, 7e12),
    unary("f_sin", f_sin, mpfr_sin, -10, 10),
    unary("f_sin, large angles", f_sin, mpfr_sin, -2e8, 2e8, LARGE_ANGLES),
    unary("f_sin by k pi/2", f_sin, mpfr_sin, -10, 10, NEAR_PI, NEXT_TO_QUARTERS),
    unary("f_cos", f_cos, mpfr_cos, -10, 10),
    unary("f_cos, large angles", f_cos, mpfr_cos, -2e8, 2e8, LARGE_ANGLES),
    unary("f_cos by k pi/2", f_cos, mpfr_cos, -10, 10, NEAR_PI, NEXT_TO_QUARTERS),
    unary("f_tan", f_tan, mpfr_tan, -10, 10),
    unary("f_tan, large angles", f_tan, mpfr_tan, -2e8, 2e8, LARGE_ANGLES),
    unary("f_tan by k pi/2", f_tan, mpfr_tan, -10, 10, NEAR_PI, NEXT_TO_QUARTERS),
    unary("f_asin", f_asin, mpfr_asin, -1, 1),
    unary("f_acos", f_acos, mpfr_acos, -1, 1),
    unary("f_atan", f_atan, mpfr_atan, -100, 100),
    binary("f_atan2", f_atan2, mpfr_atan2, -100, 100, -100, 100),
    unary("f_sinh", f_sinh, mpfr_sinh, -89.4, 89.4),
    unary("f_cosh", f_cosh, mpfr_cosh, -89.4, 89.4),
    unary("f_tanh", f_tanh, mpfr_tanh, -8.6, 8.6),
    // Beyond its saturation the result is 1, which is exact for a float alone.
    unary("f_tanh, saturated", f_tanh, mpfr_tanh, 8.67, 19, 6e8),
};

double operand(double low, double high, OPERANDS operands, RANDOM& random) {
  const double even = low + (high - low) * (static_cast<double>(random() >> 11) * 0x1p-53);
  const double near = std::round(even / M_PI_2) * M_PI_2;
  double chosen = even;
  if (operands == NEXT_TO_QUARTERS)
    chosen = near + near * std::ldexp(1.0, -30 - static_cast<int>(random() % 30));
  else if (random() & 1)
    chosen = std::ldexp(even, -static_cast<int>(random() % 60));
  return chosen >= low && chosen <= high ? chosen : even;
}

template <class T> struct WORST {
  uint64_t count = 0;
  double ulp = 0;
  T at = 0, at2 = 0;
  void take(const simul_fval& result, const REAL& exact, T a, T b) {
    if (!std::isfinite(nearest<T>(exact))) return;
    count++;
    constexpr mpfr_exp_t LOWEST = std::numeric_limits<T>::min_exponent;
    const mpfr_exp_t exp = mpfr_zero_p(exact) ? LOWEST : std::max(mpfr_get_exp(exact), LOWEST);
    REAL error;
    mpfr_sub(error, REAL(on_host<T>(result)), exact, MPFR_RNDN);
    mpfr_mul_2si(error, error, mantissa_bits<T> - exp, MPFR_RNDN);
    const double units = std::fabs(mpfr_get_d(error, MPFR_RNDN));
    if (!(units <= ulp)) {
      ulp = std::isnan(units) ? HUGE_VAL : units;
      at = a;
      at2 = b;
    }
  }
};

template <class T> void measure(const FUNCTION& f, T a, T b, WORST<T>* worst) {
  const simul_fval x = simulated(a), y = simulated(b);
  simul_fval r;
  REAL exact;
  if (f.two) {
    f.two(&x, &y, &r);
    f.exact_two(exact, REAL(a), REAL(b), MPFR_RNDN);
  } else {
    f.one(&x, &r);
    f.exact_one(exact, REAL(a), MPFR_RNDN);
  }
  worst->take(r, exact, a, b);
}

} // namespace

uint64_t compare_functions(uint64_t count, RANDOM& random) {
  printf("%-24s %-34s %10s %10s %10s  worst double at\n", "function", "operands", "count",
         "float ULP", "double ULP");
  uint64_t bad = 0;
  for (const FUNCTION& f : functions) {
    WORST<double> of_double;
    WORST<float> of_float;
    for (uint64_t i = 0; i < count; i++) {
      const double a = operand(f.low, f.high, f.operands, random),
                   b = operand(f.low2, f.high2, ANYWHERE, random);
      measure(f, a, b, &of_double);
      const auto fa = static_cast<float>(a), fb = static_cast<float>(b);
      if (fa >= f.low && fa <= f.high) measure(f, fa, fb, &of_float);
    }
    char range[96], second[40] = "";
    if (f.two) snprintf(second, sizeof second, "; %g to %g", f.low2, f.high2);
    snprintf(range, sizeof range, "%g to %g%s", f.low, f.high, second);
    char float_ulp[32] = "-";
    if (of_float.count) snprintf(float_ulp, sizeof float_ulp, "%.4f", of_float.ulp);
    printf("%-24s %-34s %10" PRIu64 " %10s %10.4f  %a, %a\n", f.name, range, of_double.count,
           float_ulp, of_double.ulp, of_double.at, of_double.at2);
    if (of_double.ulp > f.allowed || of_float.ulp > 1) {
      printf("  %s: more than %g is not allowed\n", f.name, f.allowed);
      bad++;
    }
  }
  return bad;
}
