// The fuzzer's mutations: do they reach what lies deep in a file?
#include "tests/fuzz/mutations.h"
#include "tools/text/parse.h"
#include "tools/unit/unit.h"

#include <gtest/gtest.h>

using namespace icode;
using fuzz::BYTES;
using fuzz::RANDOM;

namespace {

BYTES sample() {
  UNIT unit;
  std::string error, bytes;
  EXPECT_TRUE(parse_text(R"(icode -71 "a.c"
options 1 "-O2"
file "a.c"
type struct.pair = struct { x: int, y: int[4] }
type fn.int = fn int (int)
global f: fn.int @1:1
global p: struct.pair
init p = { 1, 2, 3, 4, 5 }
func f @2:1 {
  param n: int
  auto i: int
  ASG(i, 1)
  SWITCH(n, {CASE(1, L1), DEFAULT(L2)})
L1:
  ASG(STDOT(p, .x), PLUS(i, n))
L2:
  RETURN(f, STDOT(p, .x))
}
)",
                         "test", unit, error))
      << error;
  EXPECT_TRUE(encode_unit(unit, bytes, error)) << error;
  return {bytes.begin(), bytes.end()};
}

// Stands for a reader with a fault deep within: it takes for granted that what a SWITCH looks at is
// an integer, and that its tree's type is one that is known.
bool meets_the_fault(const BYTES& bytes) {
  UNIT unit;
  std::string error;
  if (!decode_unit(bytes, unit, error)) return false;
  for (const NODE& node : unit.nodes) {
    if (node.op != SWITCH || node.left == NONE) continue;
    const TYPE_INFO* type = resolved_type(unit, unit.nodes[node.left].type);
    if (!type || type->kind != K_INTEGER) return true;
  }
  return false;
}

enum KIND { ANY_BYTES, PAYLOAD, RECORDS };

struct FIGURES {
  int decoded = 0, met = 0;
};

FIGURES figures_of(KIND kind) {
  FIGURES figures;
  const std::vector<BYTES> seeds = {sample()};
  for (uint64_t number = 0; number < 2000; number++) {
    RANDOM random(number);
    BYTES bytes = seeds[0];
    if (kind == RECORDS)
      fuzz::mutate_unit(bytes, random);
    else if (kind == PAYLOAD)
      fuzz::mutate_payload(bytes, seeds, random);
    else
      fuzz::mutate_bytes(bytes, seeds, random);
    UNIT unit;
    std::string error;
    figures.decoded += decode_unit(bytes, unit, error);
    figures.met += meets_the_fault(bytes);
  }
  return figures;
}

} // namespace

TEST(Mutations, ChangedRecordsReachAFaultDeepWithin) {
  ASSERT_FALSE(meets_the_fault(sample()));
  const FIGURES bytes = figures_of(ANY_BYTES), payload = figures_of(PAYLOAD),
                records = figures_of(RECORDS);
  // The decoder counts lengths, so of blind changes most end there.
  EXPECT_GT(payload.decoded, bytes.decoded);
  EXPECT_GT(records.decoded, 1700);
  EXPECT_GT(records.met, 10);
  EXPECT_GT(records.met, 2 * bytes.met);
}

TEST(Mutations, TheSameRandomMakesTheSameFile) {
  for (uint64_t number = 0; number < 50; number++) {
    BYTES one = sample(), two = sample();
    RANDOM first(number), second(number);
    ASSERT_EQ(fuzz::mutate_unit(one, first), fuzz::mutate_unit(two, second));
    EXPECT_EQ(one, two);
  }
}

TEST(Mutations, LengthsAndOffsetsFitBehindAChangedPayload) {
  const BYTES before = sample();
  int grown = 0;
  for (uint64_t number = 0; number < 200; number++) {
    BYTES bytes = before;
    RANDOM random(number);
    fuzz::mutate_payload(bytes, {before}, random,
                         [](BYTES& payload) { payload.insert(payload.end(), 200, 1); });
    if (bytes.size() < before.size() + 200) continue; // records were moved instead
    grown++;
    UNIT unit;
    std::string error;
    // The first complaint is about the grown record, and the sections are where the header says.
    if (decode_unit(bytes, unit, error)) continue;
    EXPECT_TRUE(error.find("bytes more than its fields") != error.npos ||
                error.find("section") == error.npos)
        << error;
  }
  EXPECT_GT(grown, 50);
}
