#ifndef _STRING_H
#define _STRING_H
#include <stddef.h>
void* memcpy(void* restrict to, const void* restrict from, size_t n);
void* memmove(void* to, const void* from, size_t n);
void* memset(void* to, int c, size_t n);
int memcmp(const void* a, const void* b, size_t n);
size_t strlen(const char* s);
int strcmp(const char* a, const char* b);
int strncmp(const char* a, const char* b, size_t n);
char* strcpy(char* restrict to, const char* restrict from);
char* strncpy(char* restrict to, const char* restrict from, size_t n);
char* strcat(char* restrict to, const char* restrict from);
char* strchr(const char* s, int c);
#endif
