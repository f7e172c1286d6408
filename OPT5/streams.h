// The debug and information streams. One of each a thread.
#pragma once

#include <cstdio>

extern constinit thread_local FILE* fdebug; // debug file; write through FDEBUG
extern constinit thread_local FILE* finfo;  // information file
extern FILE* fdebug_ref;                    // the main thread's fdebug, for workers
extern int print_debug;                     // debug level, 0 is off
extern int write_opt_info;                  // level of the information file, 0 is off

#define FDEBUG fdebug

// Print to FDEBUG when debugging. A failed write ends the run.
[[gnu::format(printf, 1, 2)]] void print_if_debug(const char* format, ...);
void flush_debug();
// Print to a stream that is in use. A failed write ends the run.
[[gnu::format(printf, 2, 3)]] void print_checked(FILE* to, const char* format, ...);
// Print to finfo when it is in use. A failed write ends the run.
[[gnu::format(printf, 1, 2)]] void print_info(const char* format, ...);
