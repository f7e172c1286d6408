// Trip counts, held against loops that are really gone round.
#include "OPT5/tripcount.h"
#include "ifile/opcodes.h"

#include <gtest/gtest.h>

#include <random>

namespace {

constexpr int comparisons[] = {EQ, NEQ, LT, LE, GT, GE, ULT, ULE, UGT, UGE};

bool holds(int op, WIDE i, WIDE bound, unsigned width) {
  const WIDE ui = wrapped(i, width, false), ubound = wrapped(bound, width, false);
  switch (op) {
  case EQ: return i == bound;
  case NEQ: return i != bound;
  case LT: return i < bound;
  case LE: return i <= bound;
  case GT: return i > bound;
  case GE: return i >= bound;
  case ULT: return ui < ubound;
  case ULE: return ui <= ubound;
  case UGT: return ui > ubound;
  default: return ui >= ubound;
  }
}

// Gone round at most `most` times; count is -1 if that isn't enough. `has_wrapped` says whether i
// left its type's range before the test that failed.
struct RUN {
  long count = 0;
  WIDE last = 0;
  bool wraps_early = false;
};
RUN go_round(const COUNTED_TEST& t, long most) {
  RUN run;
  WIDE i = t.first;
  bool has_wrapped = false;
  for (; holds(t.op, i, t.bound, t.width); run.count++) {
    run.wraps_early |= has_wrapped;
    if (run.count == most) return {-1, 0, run.wraps_early};
    const WIDE next = wrapped(i + t.step, t.width, t.is_signed);
    has_wrapped |= next != i + t.step;
    i = next;
  }
  run.last = i;
  return run;
}

} // namespace

// All values and steps of five bits.
TEST(TripCount, IsExactOrUnknown) {
  constexpr unsigned width = 5;
  constexpr int values = 1 << width;
  long known = 0, unknown = 0;
  for (const bool is_signed : {false, true})
    for (const int op : comparisons)
      for (int first = 0; first < values; first++)
        for (int bound = 0; bound < values; bound++)
          for (int step = -values / 2; step < values / 2; step++) {
            const COUNTED_TEST t{op,
                                 wrapped(first, width, is_signed),
                                 wrapped(bound, width, is_signed),
                                 step,
                                 width,
                                 is_signed};
            const auto found = count_trips(t);
            const RUN run = go_round(t, 2 * values);
            const bool is_right =
                found ? run.count == found->count && run.last == found->last
                      : run.count < 0 || run.wraps_early || (t.is_signed && op >= ULE && op <= UGT);
            if (!is_right)
              FAIL() << "op " << op << (is_signed ? " signed " : " unsigned ") << int(t.first)
                     << " to " << int(t.bound) << " by " << step << ": " << run.count << " times, "
                     << (found ? long(found->count) : -1) << " found";
            (found ? known : unknown)++;
          }
  EXPECT_GT(known, unknown);
}

// Near the ends of the widths that programs use.
TEST(TripCount, OfWideTypes) {
  std::mt19937_64 random(1);
  long known = 0;
  for (int k = 0; k < 200000; k++) {
    const unsigned width = k % 3 == 0 ? 16 : k % 3 == 1 ? 32 : 64;
    const bool is_signed = random() % 2;
    const WIDE half = WIDE(1) << (width - 1);
    const WIDE corners[] = {0, half, -half, 2 * half - 1};
    auto near_corner = [&] {
      return wrapped(corners[random() % 4] + static_cast<long>(random() % 200) - 100, width,
                     is_signed);
    };
    const COUNTED_TEST t{comparisons[random() % 10],
                         near_corner(),
                         near_corner(),
                         random() % 4 ? static_cast<long>(random() % 21) - 10
                                      : wrapped(static_cast<long>(random()), width, is_signed),
                         width,
                         is_signed};
    const auto found = count_trips(t);
    constexpr long most = 1000;
    const RUN run = go_round(t, most);
    if (!found) {
      EXPECT_TRUE(run.count < 0 || run.wraps_early || is_signed);
    } else if (run.count >= 0) {
      known++;
      ASSERT_EQ(long(found->count), run.count);
      ASSERT_TRUE(found->last == run.last);
    } else {
      ASSERT_GT(found->count, most);
      ASSERT_FALSE(holds(t.op, found->last, t.bound, width));
    }
  }
  EXPECT_GT(known, 50000);
}
