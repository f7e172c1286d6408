#include "tests/reference/reference.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

void ROW::print() const {
  printf("%-34s %12" PRIu64 " compared %8" PRIu64 " mismatches\n", name.c_str(), compared,
         mismatches);
}

void ROW::show_mismatch(const std::string& text) const {
  printf("  %s: %s\n", name.c_str(), text.c_str());
}

// number-reference [--count N] [--seed S]: random operands for each comparison, besides all pairs
// of special ones. Status 1 if anything differs.
int main(int argc, char** argv) {
  uint64_t count = 10000000, seed = 1;
  for (int i = 1; i < argc; i++) {
    uint64_t* value = strcmp(argv[i], "--count") == 0  ? &count
                      : strcmp(argv[i], "--seed") == 0 ? &seed
                                                       : nullptr;
    if (!value || i + 1 == argc) {
      fprintf(stderr, "usage: %s [--count N] [--seed S]\n", argv[0]);
      return 1;
    }
    *value = strtoull(argv[++i], nullptr, 10);
  }
  RANDOM random(seed);
  uint64_t bad = compare_integers(count, random);
  bad += compare_arithmetic(count, random);
  bad += compare_conversions(count, random);
  bad += compare_texts(count / 10, random);
  bad += compare_functions(count / 10, random);
  printf(bad ? "FAILED: %" PRIu64 " mismatches\n" : "All agree.\n", bad);
  return bad != 0;
}
