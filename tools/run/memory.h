// The target's memory: 16-bit units in one arena, with a permission byte beside each.
//
// Objects are kept apart by gaps without permission that are wider than any scalar, so an access is
// good if its first and its last unit are. Three regions: data (globals, strings), the stack of
// frames, the heap. Address 0 belongs to none.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

namespace icode::run {

enum PERMISSION : uint8_t { P_NONE = 0, P_READ = 1, P_READ_WRITE = 3 };

// All in 16-bit units.
constexpr uint32_t GAP = 8;
constexpr uint32_t DATA_BEGIN = 0x1000;
constexpr uint32_t STACK_UNITS = 0x800000;
constexpr uint32_t ARENA_UNITS = 0x5000000;        // 160 MiB of contents, 80 MiB of permissions
constexpr uint32_t FUNCTION_BEGIN = 0xF0000000;    // addresses of functions, outside the arena
constexpr uint16_t POISON = 0xA5A5;                // each unit of an uninitialised local
constexpr uint64_t POISON_64 = 0xA5A5A5A5A5A5A5A5; // the same, of four units

// Zeroed memory straight from the system: pages come into being as they are touched, and nothing is
// spent on those that never are.
struct PAGES_DELETER {
  size_t bytes;
  void operator()(void* p) const;
};
template <class T> using PAGES = std::unique_ptr<T[], PAGES_DELETER>;
void* map_pages(size_t bytes); // throws std::bad_alloc
template <class T> PAGES<T> fresh_pages(size_t count) {
  const size_t bytes = count * sizeof(T);
  return PAGES<T>(static_cast<T*>(map_pages(bytes)), PAGES_DELETER{bytes});
}

struct MEMORY {
  MEMORY(); // throws std::bad_alloc

  // The units themselves and their PERMISSION bytes.
  PAGES<uint16_t> units;
  PAGES<uint8_t> shadow;

  uint32_t data_end = DATA_BEGIN; // of what place_data has given out
  uint32_t stack_begin = 0, stack_end = 0;
  uint32_t heap_top = 0;

  // A new zero-filled object in the data region, to be called before seal_data. Gives 0 if there is
  // no room.
  uint32_t place_data(uint64_t size, uint64_t alignment); // a power of two, in units
  // Ends the data region and makes room for the others behind it.
  void seal_data();
  void permit(uint32_t at, uint64_t size, PERMISSION permission);

  // Whether all of [at, at + size) is in objects with that permission.
  bool readable(uint32_t at, uint64_t size) const;
  bool writable(uint32_t at, uint64_t size) const;
  // The same for up to GAP units, fast.
  bool can_read(uint32_t at, uint32_t size) const {
    return at < ARENA_UNITS && (shadow[at] & shadow[at + size - 1]) != 0;
  }
  bool can_write(uint32_t at, uint32_t size) const {
    return at < ARENA_UNITS && (shadow[at] & shadow[at + size - 1] & 2) != 0;
  }

  // Scalars of 16, 32 or 64 bits at a checked address.
  uint64_t load(uint32_t at, unsigned bits) const {
    const uint16_t* p = &units[at];
    uint64_t v = p[0];
    if (bits >= 32) v |= uint64_t(p[1]) << 16;
    if (bits == 64) v |= uint64_t(p[2]) << 32 | uint64_t(p[3]) << 48;
    return v;
  }
  void store(uint32_t at, unsigned bits, uint64_t v) {
    uint16_t* p = &units[at];
    p[0] = uint16_t(v);
    if (bits >= 32) p[1] = uint16_t(v >> 16);
    if (bits < 64) return;
    p[2] = uint16_t(v >> 32);
    p[3] = uint16_t(v >> 48);
  }
  // Bit-fields: `width` bits from bit `shift` (0 to 15) of the unit at `at`, checked before.
  uint64_t load_bits(uint32_t at, unsigned shift, unsigned width) const;
  void store_bits(uint32_t at, unsigned shift, unsigned width, uint64_t v);

  // The C heap. Freed blocks are handed out again only when the region is used up, so that stale
  // pointers are found. allocate gives 0 when nothing is left, release false for no block's
  // address.
  uint32_t allocate(uint64_t size);
  bool release(uint32_t at);
  uint64_t block_size(uint32_t at) const; // 0 for no block's address

private:
  std::unordered_map<uint32_t, uint32_t> blocks_; // address to size
  std::multimap<uint32_t, uint32_t> free_blocks_; // size to address
};

} // namespace icode::run
