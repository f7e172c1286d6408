#include "tools/run/memory.h"

#include <cstring>
#include <new>
#include <sys/mman.h>

namespace icode::run {

namespace {

constexpr uint32_t TAIL = 16; // a scalar that begins at the arena's last unit stays inside

constexpr uint64_t even(uint64_t n) {
  return (n + 1) & ~uint64_t(1);
}

} // namespace

void* map_pages(size_t bytes) {
  void* p = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (p == MAP_FAILED) throw std::bad_alloc();
  return p;
}

void PAGES_DELETER::operator()(void* p) const {
  munmap(p, bytes);
}

MEMORY::MEMORY()
    : units(fresh_pages<uint16_t>(ARENA_UNITS + TAIL)),
      shadow(fresh_pages<uint8_t>(ARENA_UNITS + TAIL)) {}

uint32_t MEMORY::place_data(uint64_t size, uint64_t alignment) {
  uint64_t at = (data_end + alignment - 1) & ~(alignment - 1);
  // Half of the arena at most, so that a stack and a heap find room behind.
  if (size > ARENA_UNITS / 2 || at + size + GAP > ARENA_UNITS / 2) return 0;
  data_end = uint32_t(at + size + GAP);
  permit(uint32_t(at), size, P_READ_WRITE);
  return uint32_t(at);
}

void MEMORY::seal_data() {
  stack_begin = uint32_t(even(data_end));
  stack_end = stack_begin + STACK_UNITS;
  heap_top = stack_end + GAP;
}

void MEMORY::permit(uint32_t at, uint64_t size, PERMISSION permission) {
  memset(&shadow[at], permission, size);
}

bool MEMORY::readable(uint32_t at, uint64_t size) const {
  if (size == 0) return true;
  if (at >= ARENA_UNITS || size > ARENA_UNITS - at) return false;
  return !memchr(&shadow[at], P_NONE, size);
}

bool MEMORY::writable(uint32_t at, uint64_t size) const {
  if (size == 0) return true;
  return readable(at, size) && !memchr(&shadow[at], P_READ, size);
}

uint64_t MEMORY::load_bits(uint32_t at, unsigned shift, unsigned width) const {
  uint64_t v = 0;
  unsigned done = 0;
  for (; done < width; at++) {
    v |= uint64_t(units[at]) >> shift << done;
    done += 16 - shift;
    shift = 0;
  }
  return width >= 64 ? v : v & ((uint64_t(1) << width) - 1);
}

void MEMORY::store_bits(uint32_t at, unsigned shift, unsigned width, uint64_t v) {
  for (; width > 0; at++) {
    unsigned part = 16 - shift < width ? 16 - shift : width;
    unsigned mask = ((1u << part) - 1) << shift;
    units[at] = uint16_t((units[at] & ~mask) | ((uint32_t(v & 0xFFFF) << shift) & mask));
    v >>= part;
    width -= part;
    shift = 0;
  }
}

uint32_t MEMORY::allocate(uint64_t size) {
  if (size > ARENA_UNITS) return 0;
  uint64_t room = even(size ? size : 1) + GAP;
  uint32_t at;
  if (room <= ARENA_UNITS - heap_top) {
    at = heap_top;
    heap_top += uint32_t(room);
  } else {
    auto reused = free_blocks_.lower_bound(uint32_t(size));
    if (reused == free_blocks_.end()) return 0;
    at = reused->second;
    free_blocks_.erase(reused);
  }
  blocks_[at] = uint32_t(size);
  std::fill_n(&units[at], size, POISON);
  permit(at, size, P_READ_WRITE);
  return at;
}

bool MEMORY::release(uint32_t at) {
  auto block = blocks_.find(at);
  if (block == blocks_.end()) return false;
  permit(at, block->second, P_NONE);
  free_blocks_.emplace(block->second, at);
  blocks_.erase(block);
  return true;
}

uint64_t MEMORY::block_size(uint32_t at) const {
  auto block = blocks_.find(at);
  return block == blocks_.end() ? 0 : block->second;
}

} // namespace icode::run
