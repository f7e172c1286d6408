#include "support/arena.h"

#include "DIAG/safemalloc.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <mutex>
#include <sys/mman.h>

// Under AddressSanitizer only what was asked for may be touched.
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) ((void)(address), (void)(size))
#endif

namespace {
constexpr size_t SMALLEST = 1 << 8, LARGEST = 1 << 16; // bytes of a shared block
constexpr size_t FIRST = 1 << 11;                      // of an arena's first block
constexpr size_t REGION = 1 << 21;                     // what is asked of the system at a time
constexpr size_t CLASSES = std::bit_width(LARGEST) - std::bit_width(SMALLEST) + 1;

size_t class_of(size_t size) {
  return std::min<size_t>(std::bit_width(size) - std::bit_width(SMALLEST), CLASSES - 1);
}
} // namespace

// Blocks of the sizes in between, each a power of two or what a trim left of one. They are cut from
// large regions, which the system may back by large pages, and are never given back before the
// process ends.
class BLOCK_STORE {
public:
  ARENA::BLOCK* take(size_t size) {
    const std::lock_guard<std::mutex> hold(lock);
    const size_t k = class_of(size);
    if (ARENA::BLOCK* block = freed[k]) {
      freed[k] = block->next;
      return block;
    }
    if (size > room) {
      // What is left is smaller than the block wanted: it becomes blocks of smaller sizes.
      while (room >= SMALLEST) {
        const size_t part = std::bit_floor(std::min(room, LARGEST));
        give_locked(new (cut(part)) ARENA::BLOCK{nullptr, part});
      }
      at = static_cast<char*>(aligned_alloc(REGION, REGION)); // for good
      if (!at) out_of_memory();
#ifdef MADV_HUGEPAGE
      madvise(at, REGION, MADV_HUGEPAGE); // a wish: without it all is the same but slower
#endif
      room = REGION;
    }
    return new (cut(size)) ARENA::BLOCK{nullptr, size};
  }

  void give(ARENA::BLOCK* block) {
    const std::lock_guard<std::mutex> hold(lock);
    give_locked(block);
  }

  // Takes back what was cut last, from `from` to `to`. False if something was cut since.
  bool take_back(char* from, const char* to) {
    const std::lock_guard<std::mutex> hold(lock);
    if (to != at) return false;
    room += static_cast<size_t>(to - from);
    at = from;
    return true;
  }

private:
  std::mutex lock;
  ARENA::BLOCK* freed[CLASSES] = {};
  char* at = nullptr;
  size_t room = 0;

  char* cut(size_t size) {
    char* place = at;
    at += size;
    room -= size;
    return place;
  }

  void give_locked(ARENA::BLOCK* block) {
    const size_t k = class_of(block->size);
    block->next = freed[k];
    freed[k] = block;
  }
};

static BLOCK_STORE& store() {
  static auto* blocks = new BLOCK_STORE; // outlives the arenas of static objects
  return *blocks;
}

void ARENA::unpoison([[maybe_unused]] void* place, [[maybe_unused]] size_t size) {
#ifdef __SANITIZE_ADDRESS__
  ASAN_UNPOISON_MEMORY_REGION(place, size);
#endif
}

ARENA::BLOCK* ARENA::take_block(size_t size) {
  if (size <= LARGEST) return store().take(size);
  return new (safemalloc(size)) BLOCK{nullptr, size};
}

void ARENA::give_block(BLOCK* block) {
  if (block->size <= LARGEST) {
    store().give(block);
  } else {
    unpoison(block, block->size);
    free(block);
  }
}

void* ARENA::alloc_from_new_block(size_t size) {
  // A quarter of what there is, so that little is left over, in small arenas too.
  size_t wanted = std::bit_floor(std::clamp(total / 4, FIRST, LARGEST));
  if (wanted < size + sizeof(BLOCK))
    wanted = size + sizeof(BLOCK) <= LARGEST ? std::bit_ceil(size + sizeof(BLOCK))
                                             : size + sizeof(BLOCK);
  BLOCK* block = take_block(wanted);
  ASAN_POISON_MEMORY_REGION(block + 1, wanted - sizeof(BLOCK));
  block->next = blocks;
  blocks = block;
  total += wanted;
  char* first = reinterpret_cast<char*>(block + 1);
  unpoison(first, size);
  // The larger rest of the two stays in use.
  if (wanted - sizeof(BLOCK) - size < static_cast<size_t>(end - at)) return first;
  at = first + size;
  end = reinterpret_cast<char*>(block) + wanted;
  return first;
}

void ARENA::trim() {
  if (!blocks || blocks->size > LARGEST || end != reinterpret_cast<char*>(blocks) + blocks->size)
    return;
  char* rest = std::max(at, reinterpret_cast<char*>(blocks) + SMALLEST);
  const auto size = static_cast<size_t>(end - rest);
  if (rest >= end || !store().take_back(rest, end)) return;
  unpoison(rest, size);
  blocks->size -= size;
  total -= size;
  end = rest;
}

void ARENA::reset() {
  while (blocks) {
    BLOCK* next = blocks->next;
    ASAN_POISON_MEMORY_REGION(blocks + 1, blocks->size - sizeof(BLOCK));
    give_block(blocks);
    blocks = next;
  }
  at = end = nullptr;
  total = 0;
}
