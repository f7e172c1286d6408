#ifndef _STDLIB_H
#define _STDLIB_H
#include <stddef.h>
#define EXIT_SUCCESS 0
#define EXIT_FAILURE 1
#define RAND_MAX 32767
void* malloc(size_t n);
void* calloc(size_t count, size_t n);
void* realloc(void* p, size_t n);
void free(void* p);
int abs(int x);
long labs(long x);
void exit(int status);
void abort(void);
void qsort(void* base, size_t count, size_t n, int (*compare)(const void*, const void*));
void* bsearch(const void* key, const void* base, size_t count, size_t n,
              int (*compare)(const void*, const void*));
int rand(void);
void srand(unsigned seed);
#endif
