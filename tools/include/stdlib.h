#ifndef _STDLIB_H
#define _STDLIB_H
#include <stddef.h>
#define EXIT_SUCCESS 0
#define EXIT_FAILURE 1
#define RAND_MAX 32767
#define MB_CUR_MAX 1
typedef struct {
  int quot, rem;
} div_t;
typedef struct {
  long quot, rem;
} ldiv_t;
typedef struct {
  long long quot, rem;
} lldiv_t;
void* malloc(size_t n);
void* calloc(size_t count, size_t n);
void* realloc(void* p, size_t n);
void free(void* p);
int abs(int x);
long labs(long x);
long long llabs(long long x);
div_t div(int x, int y);
ldiv_t ldiv(long x, long y);
lldiv_t lldiv(long long x, long long y);
int atoi(const char* s);
long atol(const char* s);
long long atoll(const char* s);
double atof(const char* s);
long strtol(const char* restrict s, char** restrict end, int base);
unsigned long strtoul(const char* restrict s, char** restrict end, int base);
long long strtoll(const char* restrict s, char** restrict end, int base);
unsigned long long strtoull(const char* restrict s, char** restrict end, int base);
double strtod(const char* restrict s, char** restrict end);
float strtof(const char* restrict s, char** restrict end);
long double strtold(const char* restrict s, char** restrict end);
_Noreturn void exit(int status);
_Noreturn void _Exit(int status);
_Noreturn void quick_exit(int status);
_Noreturn void abort(void);
int atexit(void (*f)(void));
char* getenv(const char* name);
int system(const char* command);
void qsort(void* base, size_t count, size_t n, int (*compare)(const void*, const void*));
void* bsearch(const void* key, const void* base, size_t count, size_t n,
              int (*compare)(const void*, const void*));
int rand(void);
void srand(unsigned seed);
#endif
