// Trigonometric functions and their inverses.
//
// The approximations and their coefficients are those of Cody and Waite, "Software Manual for the
// Elementary Functions" (1980), in the sets for the longest mantissas it has.
#include "support/float_expr.h"

namespace {

const F_TEXT half = "0.5";
// 2^26 * pi. The reduction is exact to 2^-91 for each multiple of pi taken off.
const F_TEXT angle_limit = "210828714.1331565";

// Angles in all 96 bits.
enum ANGLE { NONE, SIXTH, HALF, THIRD, WHOLE };
const precise_sim_fval parts_of_pi[] = {
    {{}, F_ZERO_EXP, 0},
    {{0x860A, 0x91C1, 0x6B9B, 0x2C23, 0x2DD9, 0x9707, 0xAB3D, 0x688B}, 0, 0},
    {{0xC90F, 0xDAA2, 0x2168, 0xC234, 0xC4C6, 0x628B, 0x80DC, 0x1CD1}, 1, 0},
    {{0x860A, 0x91C1, 0x6B9B, 0x2C23, 0x2DD9, 0x9707, 0xAB3D, 0x688B}, 1, 0},
    {{0xC90F, 0xDAA2, 0x2168, 0xC234, 0xC4C6, 0x628B, 0x80DC, 0x1CD1}, 2, 0},
};

struct ANGLES {
  simul_fval angle[WHOLE + 1];
  ANGLES() { f_rnd_prectbl(parts_of_pi, WHOLE + 1, angle); }
};

F_NUM pi_part(ANGLE which) {
  static const ANGLES angles;
  return angles.angle[which];
}

bool angle_is_too_large(const simul_fval* a) {
  return f_is_inf(a) || f_magnitude(*a) > angle_limit;
}

// sin(f + n * pi) with the sign, for |f| up to pi/2: f = x - xn * pi, where xn is n or n - 1/2.
F_NUM sine(const F_NUM& x, const F_NUM& xn, int64_t n, bool negative) {
  static const F_TEXT pi_high = "3.1416015625";
  static const F_TEXT pi_low = "-8.908910206761537356617e-6";
  static const F_TEXT r[] = {"-0.16666666666666665052e+0",  "0.83333333333331650314e-2",
                             "-0.19841269841201840457e-3",  "0.27557319210152756119e-5",
                             "-0.25052106798274584544e-7",  "0.16058936490371589114e-9",
                             "-0.76429178068910467734e-12", "0.27204790957888846175e-14"};
  const F_NUM f = (x - xn * pi_high) - xn * pi_low;
  const F_NUM g = f * f;
  const F_NUM s = f + f * (g * f_poly(g, r));
  return negative != ((n & 1) != 0) ? -s : s;
}

const F_TEXT one_by_pi = "0.31830988618379067154";

// asin(x) - x for |x| <= 1/2, g = x^2
F_NUM asin_rest(const F_NUM& x, const F_NUM& g) {
  static const F_TEXT p[] = {"-0.27368494524164255994e+2", "0.57208227877891731407e+2",
                             "-0.39688862997504877339e+2", "0.10152522233806463645e+2",
                             "-0.69674573447350646411e+0"};
  static const F_TEXT q[] = {"-0.16421096714498560795e+3", "0.41714430248260412556e+3",
                             "-0.38186303361750149284e+3", "0.15095270841030604719e+3",
                             "-0.23823859153670238830e+2", "1"};
  return x * (g * f_poly(g, p) / f_poly(g, q));
}

// 2 asin(sqrt((1 - x) / 2)) = acos x for 1/2 <= x <= 1
F_NUM acos_near_one(const F_NUM& x) {
  const F_NUM g = (f_num(1) - x) * half;
  F_NUM y;
  f_sqrt(&g.v, &y.v);
  return f_scaled(y + asin_rest(y, g), 1);
}

// atan x for finite x >= 0
F_NUM atan_of(F_NUM f) {
  static const F_TEXT tan_15 = "0.26794919243112270647";
  static const F_TEXT sqrt3 = "1.73205080756887729352744634150587";
  static const F_TEXT sqrt3_less_1 = "0.73205080756887729352744634150587";
  static const F_TEXT p[] = {"-0.13688768894191926929e+2", "-0.20505855195861651981e+2",
                             "-0.84946240351320683534e+1", "-0.83758299368150059274e+0"};
  static const F_TEXT q[] = {"0.41066306682575781263e+2", "0.86157349597130242515e+2",
                             "0.59578436142597344465e+2", "0.15024001160028576121e+2", "1"};
  if (f_is_zero(&f.v) || f_is_tiny(&f.v)) return f;
  int n = NONE;
  if (f > f_num(1)) {
    f = f_num(1) / f;
    n = HALF;
  }
  if (f > tan_15) {
    f = (((f * sqrt3_less_1 - half) - half) + f) / (f + sqrt3);
    n++;
  }
  const F_NUM g = f * f;
  F_NUM a = f + f * (g * f_poly(g, p) / f_poly(g, q));
  if (n >= HALF) a = -a;
  return pi_part(static_cast<ANGLE>(n)) + a;
}

} // namespace

int f_sin(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a) || f_is_zero(a) || f_is_tiny(a)) return f_give(*a, result);
  if (angle_is_too_large(a)) return f_give_invalid(result);
  const F_ERRORS errors;
  const F_NUM x = f_magnitude(*a);
  const int64_t n = f_nearest(x * one_by_pi);
  return f_give(sine(x, f_num(n), n, a->sign), result);
}

int f_cos(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a)) return f_give(*a, result);
  if (angle_is_too_large(a)) return f_give_invalid(result);
  const F_ERRORS errors;
  // cos x = sin(x + pi/2)
  const F_NUM x = f_magnitude(*a);
  const int64_t n = f_nearest(x * one_by_pi + half);
  return f_give(sine(x, f_num(n) - half, n, false), result);
}

int f_tan(const simul_fval* a, simul_fval* result) {
  static const F_TEXT two_by_pi = "0.63661977236758134308";
  static const F_TEXT half_pi_high = "1.57080078125";
  static const F_TEXT half_pi_low = "-4.454455103380768678308e-6";
  static const F_TEXT p[] = {"1", "-0.13338350006421960681e+0", "0.34248878235890589960e-2",
                             "-0.17861707342254426711e-4"};
  static const F_TEXT q[] = {"1", "-0.46671683339755294240e+0", "0.25663832289440112864e-1",
                             "-0.31181531907010027307e-3", "0.49819433993786512270e-6"};
  if (f_is_nan(a) || f_is_zero(a) || f_is_tiny(a)) return f_give(*a, result);
  if (angle_is_too_large(a)) return f_give_invalid(result);
  const F_ERRORS errors;
  const F_NUM x = *a;
  const int64_t n = f_nearest(x * two_by_pi);
  const F_NUM f = (x - f_num(n) * half_pi_high) - f_num(n) * half_pi_low;
  const F_NUM g = f * f;
  const F_NUM numerator = f * f_poly(g, p), denominator = f_poly(g, q);
  return f_give(n & 1 ? -(denominator / numerator) : numerator / denominator, result);
}

int f_asin(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a) || f_is_zero(a) || f_is_tiny(a)) return f_give(*a, result);
  const F_NUM x = f_magnitude(*a);
  if (x > f_num(1)) return f_give_invalid(result);
  const F_ERRORS errors;
  const int sign = a->sign;
  f_give(x > half ? pi_part(HALF) - acos_near_one(x) : x + asin_rest(x, x * x), result);
  result->sign = sign;
  return 0;
}

int f_acos(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a)) return f_give(*a, result);
  const F_NUM x = *a, size = f_magnitude(x);
  if (size > f_num(1)) return f_give_invalid(result);
  const F_ERRORS errors;
  if (!(size > half)) return f_give(pi_part(HALF) - (x + asin_rest(x, x * x)), result);
  return f_give(a->sign ? pi_part(WHOLE) - acos_near_one(size) : acos_near_one(size), result);
}

int f_atan(const simul_fval* a, simul_fval* result) {
  if (f_is_nan(a)) return f_give(*a, result);
  const F_ERRORS errors;
  const int sign = a->sign;
  f_give(f_is_inf(a) ? pi_part(HALF) : atan_of(f_magnitude(*a)), result);
  result->sign = sign;
  return 0;
}

int f_atan2(const simul_fval* y, const simul_fval* x, simul_fval* result) {
  if (f_is_nan(x) || f_is_nan(y)) return f_give(f_is_nan(y) ? *y : *x, result);
  F_ERRORS errors;
  const int sign = y->sign;
  F_NUM angle;
  if (f_is_inf(x) && f_is_inf(y)) {
    angle = f_scaled(pi_part(HALF), -1);
  } else if (f_is_zero(y)) {
    angle = pos_zero;
  } else {
    // A quotient beyond the range is as good as an infinite one.
    const F_NUM quotient = f_magnitude(*y) / f_magnitude(*x);
    angle = f_is_inf(&quotient.v) ? pi_part(HALF) : atan_of(quotient);
  }
  const bool lost = f_is_zero(&angle.v) && !f_is_zero(y) && !f_is_inf(x) && !x->sign;
  f_give(x->sign ? pi_part(WHOLE) - angle : angle, result);
  result->sign = sign;
  return lost ? errors.report(FP_UNDERFLOW) : 0;
}
