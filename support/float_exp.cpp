// Exponentials, logarithms, powers and hyperbolic functions.
//
// The approximations and their coefficients are those of Cody and Waite, "Software Manual for the
// Elementary Functions" (1980), in the sets for the longest mantissas it has.
#include "support/float_expr.h"

namespace {

const F_TEXT half = "0.5";
const F_TEXT log2_e = "1.4426950408889634074";
// ln 2 in two parts, the first short enough that a whole multiple of it is exact.
const F_TEXT ln2_high = "0.693359375";
const F_TEXT ln2_low = "-2.121944400546905827679e-4";
const F_TEXT exp_limit = "89.41598624";

// Values that stand alone in a formula carry all 96 bits.
const precise_sim_fval log_constants[] = {
    {{0xB172, 0x17F7, 0xD1CF, 0x79AB, 0xC9E3, 0xB398, 0x03F2, 0xF6AF}, 0, 0},  // ln 2
    {{0xDE5B, 0xD8A9, 0x3728, 0x7195, 0x355B, 0xAAAF, 0xAD33, 0xDC32}, -1, 0}, // 1 / ln 10
};
enum LOG_CONSTANT { LN_2, LOG10_E };

F_NUM log_constant(LOG_CONSTANT which) {
  F_NUM r;
  f_rnd_prectbl(&log_constants[which], 1, &r.v);
  return r;
}

// e^x for any finite x that leaves the result in range.
F_NUM exp_of(const F_NUM& x) {
  static const F_TEXT p[] = {"0.25", "0.75753180159422776666e-2", "0.31555192765684646356e-4"};
  static const F_TEXT q[] = {"0.5", "0.56817302698551221787e-1", "0.63121894374398503557e-3",
                             "0.75104028399870046114e-6"};
  const int64_t n = f_nearest(x * log2_e);
  const F_NUM g = (x - f_num(n) * ln2_high) - f_num(n) * ln2_low;
  const F_NUM z = g * g;
  const F_NUM gp = g * f_poly(z, p);
  return f_scaled(half + gp / (f_poly(z, q) - gp), static_cast<int>(n) + 1);
}

// ln x = ln m + n * ln 2 with sqrt(1/2) <= m < sqrt 2.
struct LOG_PARTS {
  F_NUM log_of_m;
  int n;
};

// x is finite and above zero.
LOG_PARTS log_of(const F_NUM& x) {
  static const F_TEXT sqrt_half = "0.70710678118654752440";
  static const F_TEXT a[] = {"-0.64124943423745581147e2", "0.16383943563021534222e2",
                             "-0.78956112887491257267e0"};
  static const F_TEXT b[] = {"-0.76949932108494879777e3", "0.31203222091924532844e3",
                             "-0.35667977739034646171e2", "1"};
  LOG_PARTS parts;
  F_NUM m;
  f_frexp(&x.v, &parts.n, &m.v);
  if (m < sqrt_half) {
    parts.n--;
    m = m + m;
  }
  // s = (m - 1) / (m + 1), z = 2 s
  const F_NUM z = (m - f_num(1)) / (m * half + half);
  const F_NUM w = z * z;
  parts.log_of_m = z + z * (w * f_poly(w, a) / f_poly(w, b));
  return parts;
}

F_NUM log_sum(const LOG_PARTS& parts) {
  const F_NUM n = f_num(parts.n);
  return (n * ln2_low + parts.log_of_m) + n * ln2_high;
}

// What both logarithms give without a formula; true if that was it.
bool log_special(const simul_fval* a, simul_fval* result, int* status) {
  if (f_is_nan(a))
    *status = f_give(*a, result);
  else if (f_is_zero(a))
    *status = f_give_error(FP_OVERFLOW, neg_infin, 1, result);
  else if (a->sign)
    *status = f_give_invalid(result);
  else if (f_is_inf(a))
    *status = f_give(*a, result);
  else
    return false;
  return true;
}

bool is_whole(const simul_fval* v) {
  simul_fval whole;
  f_int(v, &whole);
  return f_eq(&whole, v);
}

bool is_odd(const simul_fval* v) {
  simul_fval halved;
  f_ldexp(v, -1, &halved);
  return is_whole(v) && !is_whole(&halved);
}

// x^n by squaring. Exact enough as long as n is far below 2^40: each step may add 2^-96.
F_NUM whole_power(F_NUM x, uint64_t n) {
  F_NUM power = one;
  for (; n; n >>= 1) {
    if (n & 1) power = power * x;
    if (n > 1) x = x * x;
  }
  return power;
}

// x^y for finite x > 0 and finite y; an infinity or a zero if it is out of range.
F_NUM power_of(const F_NUM& x, const F_NUM& y) {
  constexpr int WHOLE_BITS = 32;
  const LOG_PARTS parts = log_of(x);
  if (y.v.exp > WHOLE_BITS) {
    // Such a power is in range only of a number next to 1, whose logarithm is nearly exact.
    const F_NUM w = parts.n ? y * f_num(parts.n) : y * parts.log_of_m;
    const F_NUM limit = f_num(30000);
    if (w > limit) return f_scaled(one, 40000);
    if (-w > limit) return f_scaled(one, -40000);
    return exp_of(w);
  }
  // x^(n + f) = x^n * x^f, and x^f = 2^k * e^((f e - k) ln 2 + f ln m)
  F_NUM whole, f;
  f_modf(&y.v, &whole.v, &f.v);
  int64_t n = 0;
  f_ftoi(&whole.v, &n);
  F_NUM result = whole_power(x, static_cast<uint64_t>(n < 0 ? -n : n));
  if (n < 0) {
    result = f_is_zero(&result.v)  ? f_scaled(one, 40000)
             : f_is_inf(&result.v) ? f_scaled(one, -40000)
                                   : f_num(1) / result;
  }
  if (f_is_zero(&f.v)) return result;
  const F_NUM t = f * f_num(parts.n);
  const int64_t k = f_nearest(t);
  const F_NUM fraction = exp_of((t - f_num(k)) * log_constant(LN_2) + f * parts.log_of_m);
  return f_scaled(result * fraction, static_cast<int>(k));
}

// Powers with a zero, a one, or an infinity or NaN somewhere; true if that was it.
bool power_special(const simul_fval* a, const simul_fval* b, simul_fval* result, int* status) {
  if (f_is_zero(b) || f_eq(a, &one)) {
    *status = f_give(one, result);
    return true;
  }
  if (f_is_nan(a) || f_is_nan(b)) {
    *status = f_give(f_is_nan(a) ? *a : *b, result);
    return true;
  }
  simul_fval size;
  f_abs(a, &size);
  const bool minus = a->sign && f_is_finite(b) && is_odd(b);
  if (f_is_inf(b)) {
    const bool grows = f_gt(&size, &one) != (b->sign != 0);
    const bool is_one = f_eq(&size, &one);
    *status = f_give(is_one ? one : grows ? pos_huge : pos_zero, result);
    return true;
  }
  if (f_is_inf(a) || f_is_zero(a)) {
    const bool grows = f_is_inf(a) != (b->sign != 0);
    if (f_is_zero(a) && grows)
      *status = f_give_error(FP_OVERFLOW, pos_huge, minus, result);
    else
      *status = f_give(grows ? pos_huge : pos_zero, result);
    result->sign = minus;
    return true;
  }
  if (a->sign && !is_whole(b)) {
    *status = f_give_invalid(result);
    return true;
  }
  return false;
}

// (e^x + e^-x) / 2, or the difference.
F_NUM half_sum_of_exps(const F_NUM& x, bool difference) {
  const F_NUM e = exp_of(x), inverse = f_num(1) / e;
  return f_scaled(difference ? e - inverse : e + inverse, -1);
}

} // namespace

int f_exp(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a) || (f_is_inf(a) && !a->sign)) return f_give(*a, result);
  if (f_is_inf(a)) return f_give(pos_zero, result);
  if (f_magnitude(*a) > exp_limit) {
    return a->sign ? f_give_error(FP_UNDERFLOW, pos_zero, 0, result)
                   : f_give_error(FP_OVERFLOW, pos_huge, 0, result);
  }
  const F_ERRORS errors;
  return f_give(exp_of(*a), result);
}

int f_log(const simul_fval* a, simul_fval* result) {
  int status;
  if (log_special(a, result, &status)) return status;
  const F_ERRORS errors;
  return f_give(log_sum(log_of(*a)), result);
}

int f_log10(const simul_fval* a, simul_fval* result) {
  int status;
  if (log_special(a, result, &status)) return status;
  const F_ERRORS errors;
  return f_give(log_sum(log_of(*a)) * log_constant(LOG10_E), result);
}

int f_pow(const simul_fval* a, const simul_fval* b, simul_fval* result) {
  int status;
  if (power_special(a, b, result, &status)) return status;
  const bool minus = a->sign && is_odd(b);
  F_ERRORS errors;
  *result = power_of(f_magnitude(*a), *b).v;
  result->sign = minus;
  if (f_is_inf(result)) return errors.report(FP_OVERFLOW);
  return f_is_zero(result) ? errors.report(FP_UNDERFLOW) : 0;
}

int f_sinh(const simul_fval* a, simul_fval* result) {
  static const F_TEXT p[] = {"-0.35181283430177117881e6", "-0.11563521196851768270e5",
                             "-0.16375798202630751372e3", "-0.78966127417357099479e0"};
  static const F_TEXT q[] = {"-0.21108770058106271242e7", "0.36162723109421836460e5",
                             "-0.27773523119650701667e3", "1"};
  if (!f_is_finite(a) || f_is_zero(a) || f_is_tiny(a)) return f_give(*a, result);
  const int sign = a->sign;
  const F_NUM x = *a;
  if (f_magnitude(x) > exp_limit) return f_give_error(FP_OVERFLOW, pos_huge, sign, result);
  const F_ERRORS errors;
  if (f_magnitude(x) > f_num(1)) return f_give(half_sum_of_exps(x, true), result);
  const F_NUM g = x * x;
  return f_give(x + x * (g * f_poly(g, p) / f_poly(g, q)), result);
}

int f_cosh(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a)) return f_give(*a, result);
  const F_NUM x = f_magnitude(*a);
  if (f_is_inf(a)) return f_give(x, result);
  if (x > exp_limit) return f_give_error(FP_OVERFLOW, pos_huge, 0, result);
  const F_ERRORS errors;
  return f_give(half_sum_of_exps(x, false), result);
}

int f_tanh(const simul_fval* a, simul_fval* result) {
  static const F_TEXT saturation = "8.664339757";
  static const F_TEXT ln3_half = "0.54930614433405484570";
  static const F_TEXT p[] = {"-0.16134119023996228053e4", "-0.99225929672236083313e2",
                             "-0.96437492777225469787e0"};
  static const F_TEXT q[] = {"0.48402357071988688686e4", "0.22337720718962312926e4",
                             "0.11274474380534949335e3", "1"};
  if (f_is_nan(a) || f_is_zero(a) || f_is_tiny(a)) return f_give(*a, result);
  const int sign = a->sign;
  const F_NUM f = f_magnitude(*a);
  const F_ERRORS errors;
  F_NUM t = one;
  if (f < saturation) {
    const F_NUM g = f * f;
    t = f > ln3_half ? f_scaled(half - f_num(1) / (exp_of(f + f) + f_num(1)), 1)
                     : f + f * (g * f_poly(g, p) / f_poly(g, q));
  }
  f_give(t, result);
  result->sign = sign;
  return 0;
}
