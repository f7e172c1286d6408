// Preloaded into a program, makes its Nth allocation fail (VRX_FAIL_ALLOC=N), counted from 1. When
// it does, a byte goes to the file descriptor VRX_FAIL_NOTE: without it the program made fewer.
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <unistd.h>

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* old, size_t size);
void* __libc_memalign(size_t align, size_t size);
}

static bool fails_now() {
  static long wanted = -1, made;
  static int note;
  if (wanted < 0) {
    const char* text = getenv("VRX_FAIL_ALLOC");
    wanted = text ? atol(text) : 0;
    text = getenv("VRX_FAIL_NOTE");
    note = text ? atoi(text) : -1;
  }
  if (__atomic_add_fetch(&made, 1, __ATOMIC_RELAXED) != wanted) return false;
  if (note >= 0 && write(note, "F", 1) < 0) _exit(99);
  errno = ENOMEM;
  return true;
}

extern "C" {
void* malloc(size_t size) {
  return fails_now() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
  return fails_now() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* old, size_t size) {
  return fails_now() ? nullptr : __libc_realloc(old, size);
}
void* memalign(size_t align, size_t size) {
  return fails_now() ? nullptr : __libc_memalign(align, size);
}
void* aligned_alloc(size_t align, size_t size) {
  return memalign(align, size);
}
int posix_memalign(void** place, size_t align, size_t size) {
  *place = memalign(align, size);
  return *place ? 0 : ENOMEM;
}
}
