#include "support/arena.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// Arenas of many sizes, trimmed, filled further and reset in turn: no two share a byte, and the
// texts stay what they were.
TEST(Arena, TrimmedArenasShareNothing) {
  struct Filled {
    ARENA arena;
    std::vector<std::pair<char*, std::string>> texts;
    void add(size_t size, char fill) {
      std::string text(size, fill);
      char* copy = arena.copy_bytes(text.data(), size);
      texts.emplace_back(copy, std::move(text));
    }
    bool is_whole() const {
      for (const auto& [copy, text] : texts)
        if (text != copy) return false;
      return true;
    }
  };
  std::vector<std::unique_ptr<Filled>> all;
  unsigned seed = 1;
  auto random = [&seed](unsigned n) { return (seed = seed * 1103515245 + 12345) / 65536 % n; };
  for (int round = 0; round < 2000; round++) {
    if (all.size() < 20) all.push_back(std::make_unique<Filled>());
    Filled& one = *all[random(static_cast<unsigned>(all.size()))];
    const auto fill = static_cast<char>('a' + random(26));
    for (unsigned k = random(40); k > 0; k--)
      one.add(random(random(8) ? 200 : 9000), fill);
    if (random(2)) one.arena.trim();
    if (random(12) == 0) {
      EXPECT_TRUE(one.is_whole());
      one.arena.reset();
      one.texts.clear();
    }
  }
  for (const auto& one : all)
    EXPECT_TRUE(one->is_whole());
}

TEST(Arena, TrimGivesTheRestBack) {
  ARENA first;
  first.alloc(1 << 20); // whatever was there, what follows is cut from a fresh place
  std::vector<std::unique_ptr<ARENA>> small;
  size_t total = 0;
  for (int k = 0; k < 5000; k++) { // more than other tests have left behind
    small.push_back(std::make_unique<ARENA>());
    small.back()->alloc(600);
    small.back()->trim();
    total += small.back()->size();
  }
  EXPECT_LT(total, 5000u * 1000);
}

} // namespace
