#ifndef _STDIO_H
#define _STDIO_H
#include <stddef.h>
#define EOF (-1)
int printf(const char* format, ...);
int sprintf(char* to, const char* format, ...);
int snprintf(char* to, size_t n, const char* format, ...);
int puts(const char* text);
int putchar(int c);
#endif
