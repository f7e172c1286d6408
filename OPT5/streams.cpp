// The debug and the information stream.

#include "OPT5/streams.h"

#include "DIAG/abort.h"

#include <cstdarg>

thread_local FILE* fdebug;
thread_local FILE* finfo;
FILE* fdebug_ref;
int print_debug;
int write_opt_info;

static void write_checked(FILE* to, const char* format, va_list args) {
  if (vfprintf(to, format, args) < 0) optassert(format, __FILE__, __LINE__);
}

void print_checked(FILE* to, const char* format, ...) {
  va_list args;
  va_start(args, format);
  write_checked(to, format, args);
  va_end(args);
}

void print_if_debug(const char* format, ...) {
  if (!print_debug || !FDEBUG) return;
  va_list args;
  va_start(args, format);
  write_checked(FDEBUG, format, args);
  va_end(args);
}

void flush_debug() {
  if (FDEBUG && fflush(FDEBUG) != 0) optassert("fflush(FDEBUG)", __FILE__, __LINE__);
}

void print_info(const char* format, ...) {
  if (!write_opt_info || !finfo) return;
  va_list args;
  va_start(args, format);
  write_checked(finfo, format, args);
  va_end(args);
}
