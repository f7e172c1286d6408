#ifndef _STDIO_H
#define _STDIO_H
#include <stdarg.h>
#include <stddef.h>
#define EOF (-1)
#define BUFSIZ 256
#define FILENAME_MAX 64
#define FOPEN_MAX 3
#define SEEK_SET 0
#define SEEK_CUR 1
#define SEEK_END 2
#define _IOFBF 0
#define _IOLBF 1
#define _IONBF 2
typedef struct _FILE FILE;
extern FILE *stdin, *stdout, *stderr;
int printf(const char* restrict format, ...);
int sprintf(char* restrict to, const char* restrict format, ...);
int snprintf(char* restrict to, size_t n, const char* restrict format, ...);
int fprintf(FILE* restrict to, const char* restrict format, ...);
int vprintf(const char* restrict format, va_list arguments);
int vsprintf(char* restrict to, const char* restrict format, va_list arguments);
int vsnprintf(char* restrict to, size_t n, const char* restrict format, va_list arguments);
int vfprintf(FILE* restrict to, const char* restrict format, va_list arguments);
int scanf(const char* restrict format, ...);
int sscanf(const char* restrict from, const char* restrict format, ...);
int fscanf(FILE* restrict from, const char* restrict format, ...);
int vscanf(const char* restrict format, va_list arguments);
int vsscanf(const char* restrict from, const char* restrict format, va_list arguments);
int puts(const char* text);
int fputs(const char* restrict text, FILE* restrict to);
int putchar(int c);
int putc(int c, FILE* to);
int fputc(int c, FILE* to);
int getchar(void);
int getc(FILE* from);
int fgetc(FILE* from);
int ungetc(int c, FILE* from);
char* fgets(char* restrict to, int n, FILE* restrict from);
size_t fread(void* restrict to, size_t size, size_t n, FILE* restrict from);
size_t fwrite(const void* restrict from, size_t size, size_t n, FILE* restrict to);
int feof(FILE* f);
int ferror(FILE* f);
void clearerr(FILE* f);
int fflush(FILE* f);
void perror(const char* text);
/* There are no files: these fail. */
FILE* fopen(const char* restrict name, const char* restrict mode);
FILE* freopen(const char* restrict name, const char* restrict mode, FILE* restrict f);
FILE* tmpfile(void);
int fclose(FILE* f);
int fseek(FILE* f, long offset, int from);
long ftell(FILE* f);
int remove(const char* name);
int rename(const char* from, const char* to);
void setbuf(FILE* restrict f, char* restrict buffer);
int setvbuf(FILE* restrict f, char* restrict buffer, int mode, size_t n);
#endif
