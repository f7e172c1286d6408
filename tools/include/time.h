#ifndef _TIME_H
#define _TIME_H
#include <stddef.h>
typedef long time_t;
typedef unsigned long clock_t;
#define CLOCKS_PER_SEC 1000
time_t time(time_t* at);
clock_t clock(void);
double difftime(time_t later, time_t earlier);
#endif
