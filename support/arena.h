// Memory that is given back all at once: what a function's trees, statements and edges are made of.
//
// An arena takes blocks that grow with it from a store that all arenas share; a reset hands them
// back, and the next arena takes them. Objects in an arena have no destructors that matter.
#pragma once

#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

class ARENA {
public:
  ARENA() = default;
  ~ARENA() { reset(); }
  ARENA(const ARENA&) = delete;
  ARENA& operator=(const ARENA&) = delete;

  // `size` bytes, aligned for any pointer or number. Memory that can't be had ends the run.
  void* alloc(size_t size) {
    size = (size + 7) & ~size_t{7};
    if (size > static_cast<size_t>(end - at)) return alloc_from_new_block(size);
    void* place = at;
    at += size;
#ifdef __SANITIZE_ADDRESS__
    unpoison(place, size);
#endif
    return place;
  }
  template <class T, class... ARGS> T* make(ARGS&&... args) {
    static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 8);
    return new (alloc(sizeof(T))) T{std::forward<ARGS>(args)...};
  }
  // A copy of n bytes and a zero behind them.
  char* copy_bytes(const char* bytes, size_t n) {
    auto* copy = static_cast<char*>(alloc(n + 1));
    if (n) memcpy(copy, bytes, n);
    copy[n] = 0;
    return copy;
  }
  char* copy_text(const char* text) {
    return copy_bytes(text, strlen(text));
  }

  void reset(); // gives all memory back: nothing in the arena may be used any more
  // Gives back what the newest block has left, if no other block was made since. For arenas that
  // are many and have got most of what they will hold.
  void trim();
  size_t size() const {
    return total;
  } // bytes in blocks

private:
  struct BLOCK {
    BLOCK* next;
    size_t size; // bytes, this head included
  };
  char* at = nullptr;
  char* end = nullptr;
  BLOCK* blocks = nullptr;
  size_t total = 0;

  void* alloc_from_new_block(size_t size);
  static void unpoison(void* place, size_t size);
  static BLOCK* take_block(size_t size);
  static void give_block(BLOCK* block);
  friend class BLOCK_STORE;
};

// Cells of one size that are made and freed often, in an arena: freed ones are used again.
template <class T> class CELL_POOL {
public:
  // Raw memory of a cell.
  void* alloc(ARENA& arena) {
    if (!freed) return arena.alloc(sizeof(T));
    FREED* cell = freed;
    freed = cell->next;
    return cell;
  }
  void free(T* cell) { freed = new (cell) FREED{freed}; }
  void forget() { freed = nullptr; } // when the arena is reset

private:
  struct FREED {
    FREED* next;
  };
  static_assert(sizeof(T) >= sizeof(FREED) && alignof(T) <= 8);
  FREED* freed = nullptr;
};
