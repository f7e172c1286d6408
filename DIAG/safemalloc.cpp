#include "DIAG/safemalloc.h"

#include "DIAG/abort.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <unistd.h>

void out_of_memory() {
  static const char text[] = "ERROR: out of memory\n";
  if (write(STDERR_FILENO, text, sizeof text - 1) < 0) {
    // The status still tells.
  }
  end_failing_run(END_IN_SIGNAL);
}

// From the first: what static objects allocate before main may fail too, those of shared libraries
// included, which are made ahead of the program's own.
static void install_before_main() {
  std::set_new_handler(out_of_memory);
}
[[gnu::section(".preinit_array"),
  gnu::used]] static void (*const first_of_all)() = install_before_main;

static void* checked(void* p, size_t size) {
  if (!p && size) out_of_memory();
  return p;
}

void* safemalloc(size_t size) {
  return checked(malloc(size), size);
}

void* saferealloc(void* old, size_t size) {
  return checked(realloc(old, size), size);
}

void* safecalloc(size_t count, size_t size) {
  return checked(calloc(count, size), count && size ? 1 : 0);
}

char* safestrdup(const char* text) {
  const size_t size = strlen(text) + 1;
  return static_cast<char*>(memcpy(safemalloc(size), text, size));
}
