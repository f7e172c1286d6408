#ifndef _MATH_H
#define _MATH_H
#define HUGE_VAL __builtin_huge_val()
#define INFINITY __builtin_inff()
#define NAN __builtin_nanf("")
double sqrt(double x);
float sqrtf(float x);
double fabs(double x);
float fabsf(float x);
double floor(double x);
float floorf(float x);
double ceil(double x);
float ceilf(float x);
double sin(double x);
float sinf(float x);
double cos(double x);
float cosf(float x);
double tan(double x);
float tanf(float x);
double atan(double x);
float atanf(float x);
double exp(double x);
float expf(float x);
double log(double x);
float logf(float x);
double log10(double x);
float log10f(float x);
double fmod(double x, double y);
float fmodf(float x, float y);
double atan2(double x, double y);
float atan2f(float x, float y);
double pow(double x, double y);
float powf(float x, float y);
#endif
