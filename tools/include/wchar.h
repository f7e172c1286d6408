#ifndef _WCHAR_H
#define _WCHAR_H
#include <stddef.h>
#define WCHAR_MIN 0u
#define WCHAR_MAX 65535u
#define WEOF 65535u
typedef unsigned int wint_t;
wchar_t* wmemcpy(wchar_t* restrict to, const wchar_t* restrict from, size_t n);
wchar_t* wmemmove(wchar_t* to, const wchar_t* from, size_t n);
wchar_t* wmemset(wchar_t* to, wchar_t c, size_t n);
int wmemcmp(const wchar_t* a, const wchar_t* b, size_t n);
wchar_t* wmemchr(const wchar_t* p, wchar_t c, size_t n);
size_t wcslen(const wchar_t* s);
int wcscmp(const wchar_t* a, const wchar_t* b);
int wcsncmp(const wchar_t* a, const wchar_t* b, size_t n);
wchar_t* wcscpy(wchar_t* restrict to, const wchar_t* restrict from);
wchar_t* wcsncpy(wchar_t* restrict to, const wchar_t* restrict from, size_t n);
wchar_t* wcscat(wchar_t* restrict to, const wchar_t* restrict from);
wchar_t* wcsncat(wchar_t* restrict to, const wchar_t* restrict from, size_t n);
wchar_t* wcschr(const wchar_t* s, wchar_t c);
wchar_t* wcsrchr(const wchar_t* s, wchar_t c);
wchar_t* wcsstr(const wchar_t* s, const wchar_t* part);
long wcstol(const wchar_t* restrict s, wchar_t** restrict end, int base);
unsigned long wcstoul(const wchar_t* restrict s, wchar_t** restrict end, int base);
#endif
