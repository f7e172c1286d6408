#ifndef _MATH_H
#define _MATH_H
#define HUGE_VAL __builtin_huge_val()
#define HUGE_VALF __builtin_huge_valf()
#define INFINITY __builtin_inff()
#define NAN __builtin_nanf("")
#define M_E 2.718281828459045
#define M_LOG2E 1.4426950408889634
#define M_LN2 0.6931471805599453
#define M_LN10 2.302585092994046
#define M_PI 3.141592653589793
#define M_PI_2 1.5707963267948966
#define M_PI_4 0.7853981633974483
#define M_SQRT2 1.4142135623730951
#define FP_NAN 0
#define FP_INFINITE 1
#define FP_ZERO 2
#define FP_SUBNORMAL 3
#define FP_NORMAL 4
static inline int __isnan(long double x) {
  return x != x;
}
static inline int __isinf(long double x) {
  return x - x != x - x && x == x;
}
static inline int __isfinite(long double x) {
  return x - x == x - x;
}
#define isnan(x) __isnan(x)
#define isinf(x) __isinf(x)
#define isfinite(x) __isfinite(x)
#define isgreater(x, y) ((x) > (y))
#define isless(x, y) ((x) < (y))
#define isunordered(x, y) (isnan(x) || isnan(y))
#define signbit(x) (copysignl(1, x) < 0)
double sqrt(double x);
float sqrtf(float x);
long double sqrtl(long double x);
double cbrt(double x);
float cbrtf(float x);
long double cbrtl(long double x);
double fabs(double x);
float fabsf(float x);
long double fabsl(long double x);
double floor(double x);
float floorf(float x);
long double floorl(long double x);
double ceil(double x);
float ceilf(float x);
long double ceill(long double x);
double round(double x);
float roundf(float x);
long double roundl(long double x);
double trunc(double x);
float truncf(float x);
long double truncl(long double x);
double rint(double x);
float rintf(float x);
long double rintl(long double x);
double nearbyint(double x);
float nearbyintf(float x);
long double nearbyintl(long double x);
double sin(double x);
float sinf(float x);
long double sinl(long double x);
double cos(double x);
float cosf(float x);
long double cosl(long double x);
double tan(double x);
float tanf(float x);
long double tanl(long double x);
double asin(double x);
float asinf(float x);
long double asinl(long double x);
double acos(double x);
float acosf(float x);
long double acosl(long double x);
double atan(double x);
float atanf(float x);
long double atanl(long double x);
double sinh(double x);
float sinhf(float x);
long double sinhl(long double x);
double cosh(double x);
float coshf(float x);
long double coshl(long double x);
double tanh(double x);
float tanhf(float x);
long double tanhl(long double x);
double asinh(double x);
float asinhf(float x);
long double asinhl(long double x);
double acosh(double x);
float acoshf(float x);
long double acoshl(long double x);
double atanh(double x);
float atanhf(float x);
long double atanhl(long double x);
double exp(double x);
float expf(float x);
long double expl(long double x);
double exp2(double x);
float exp2f(float x);
long double exp2l(long double x);
double expm1(double x);
float expm1f(float x);
long double expm1l(long double x);
double log(double x);
float logf(float x);
long double logl(long double x);
double log2(double x);
float log2f(float x);
long double log2l(long double x);
double log10(double x);
float log10f(float x);
long double log10l(long double x);
double log1p(double x);
float log1pf(float x);
long double log1pl(long double x);
double fmod(double x, double y);
float fmodf(float x, float y);
long double fmodl(long double x, long double y);
double remainder(double x, double y);
float remainderf(float x, float y);
long double remainderl(long double x, long double y);
double pow(double x, double y);
float powf(float x, float y);
long double powl(long double x, long double y);
double atan2(double x, double y);
float atan2f(float x, float y);
long double atan2l(long double x, long double y);
double hypot(double x, double y);
float hypotf(float x, float y);
long double hypotl(long double x, long double y);
double fmin(double x, double y);
float fminf(float x, float y);
long double fminl(long double x, long double y);
double fmax(double x, double y);
float fmaxf(float x, float y);
long double fmaxl(long double x, long double y);
double fdim(double x, double y);
float fdimf(float x, float y);
long double fdiml(long double x, long double y);
double copysign(double x, double y);
float copysignf(float x, float y);
long double copysignl(long double x, long double y);
long lround(double x);
long lrint(double x);
long long llround(double x);
long long llrint(double x);
double ldexp(double x, int n);
double scalbn(double x, int n);
double frexp(double x, int* n);
double modf(double x, double* whole);
double fma(double x, double y, double z);
long lroundf(float x);
long lrintf(float x);
long long llroundf(float x);
long long llrintf(float x);
float ldexpf(float x, int n);
float scalbnf(float x, int n);
float frexpf(float x, int* n);
float modff(float x, float* whole);
float fmaf(float x, float y, float z);
long lroundl(long double x);
long lrintl(long double x);
long long llroundl(long double x);
long long llrintl(long double x);
long double ldexpl(long double x, int n);
long double scalbnl(long double x, int n);
long double frexpl(long double x, int* n);
long double modfl(long double x, long double* whole);
long double fmal(long double x, long double y, long double z);
#endif
