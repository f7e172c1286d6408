#ifndef _STRING_H
#define _STRING_H
#include <stddef.h>
void* memcpy(void* restrict to, const void* restrict from, size_t n);
void* memmove(void* to, const void* from, size_t n);
void* memset(void* to, int c, size_t n);
int memcmp(const void* a, const void* b, size_t n);
void* memchr(const void* p, int c, size_t n);
size_t strlen(const char* s);
size_t strnlen(const char* s, size_t n);
int strcmp(const char* a, const char* b);
int strncmp(const char* a, const char* b, size_t n);
int strcoll(const char* a, const char* b);
size_t strxfrm(char* restrict to, const char* restrict from, size_t n);
int strcasecmp(const char* a, const char* b);
int strncasecmp(const char* a, const char* b, size_t n);
char* strcpy(char* restrict to, const char* restrict from);
char* strncpy(char* restrict to, const char* restrict from, size_t n);
char* strcat(char* restrict to, const char* restrict from);
char* strncat(char* restrict to, const char* restrict from, size_t n);
char* strchr(const char* s, int c);
char* strrchr(const char* s, int c);
char* strstr(const char* s, const char* part);
size_t strspn(const char* s, const char* set);
size_t strcspn(const char* s, const char* set);
char* strpbrk(const char* s, const char* set);
char* strtok(char* restrict s, const char* restrict separators);
char* strtok_r(char* restrict s, const char* restrict separators, char** restrict next);
char* strdup(const char* s);
char* strndup(const char* s, size_t n);
char* strerror(int number);
#endif
