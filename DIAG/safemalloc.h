// Allocation that can't fail: without memory the run ends with a message and status 1.
#pragma once

#include <cstddef>

// As malloc, realloc and calloc; the result is never null, except for a size of 0.
void* safemalloc(size_t size);
void* saferealloc(void* old, size_t size);
void* safecalloc(size_t count, size_t size);
char* safestrdup(const char* text);

// Prints "ERROR: out of memory", calls the hook, and ends the process with status 1. From any
// thread; allocates nothing.
[[noreturn]] void out_of_memory();
// Makes a failing `new` end the same way. `hook`, which may be null, removes what a failed run must
// not leave.
void install_out_of_memory_handler(void (*hook)());
