// Allocation that can't fail: without memory the run ends with a message and status 1.
#pragma once

#include <cstddef>

// As malloc, realloc and calloc; the result is never null, except for a size of 0.
void* safemalloc(size_t size);
void* saferealloc(void* old, size_t size);
void* safecalloc(size_t count, size_t size);
char* safestrdup(const char* text);

// Prints "ERROR: out of memory" and ends the failing run. From any thread; allocates nothing. A
// `new` that fails ends the same way.
[[noreturn]] void out_of_memory();
