#include "support/bitvec.h"

#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>

namespace {

std::set<unsigned> members(const BITVEC& v) {
  std::set<unsigned> s;
  for (int i = v.bv_next(0); i >= 0; i = v.bv_next(i + 1))
    s.insert(i);
  return s;
}

std::string printed(BITVEC& v) {
  testing::internal::CaptureStdout();
  v.bv_print();
  return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(BitVec, AgreesWithSets) {
  std::mt19937 random(7);
  for (unsigned size : {1u, 31u, 32u, 33u, 63u, 64u, 65u, 200u, 1000u}) {
    BITVEC a(size), b(size), r(size);
    std::set<unsigned> sa, sb;
    for (unsigned i = 0; i < size; i++) {
      if (random() & 1) a.bv_set(i), sa.insert(i);
      if (random() & 1) b.bv_set(i), sb.insert(i);
    }
    std::set<unsigned> both, either, only;
    for (unsigned i = 0; i < size; i++) {
      if (sa.count(i) && sb.count(i)) both.insert(i);
      if (sa.count(i) || sb.count(i)) either.insert(i);
      if (sa.count(i) && !sb.count(i)) only.insert(i);
    }
    r.bv_and3(&a, &b);
    EXPECT_EQ(members(r), both);
    EXPECT_EQ(r.bv_count(), both.size());
    EXPECT_EQ(a.bv_intersects(b), !both.empty());
    EXPECT_TRUE(a.bv_contains(r));
    r.bv_diff(&a, &b);
    EXPECT_EQ(members(r), only);
    EXPECT_EQ(b.bv_contains(a), only.empty());
    r = a;
    r.bv_merge3(&r, &b); // the result may be an operand
    EXPECT_EQ(members(r), either);
    EXPECT_TRUE(a.bv_cmp_cpy(&r) == (sa != either));
    EXPECT_FALSE(a.bv_cmp_cpy(&r));

    const auto first = static_cast<unsigned>(random() % size),
               last = static_cast<unsigned>(first + random() % (size - first));
    BITVEC all(size), none(size);
    all.bv_set_all();
    EXPECT_EQ(members(all).size(), size);
    none.bv_copy_seg(&all, first, last);
    EXPECT_EQ(none.bv_count(), last - first + 1);
    EXPECT_TRUE(none.bv_test(first) && none.bv_test(last));
    // The segment is replaced, and nothing else.
    std::set<unsigned> patched;
    for (unsigned k = 0; k < size; k++)
      if (a.bv_test(k) && (k < first || k > last))
        patched.insert(k);
      else if (b.bv_test(k) && k >= first && k <= last)
        patched.insert(k);
    r = a;
    r.bv_copy_seg(&b, first, last);
    EXPECT_EQ(members(r), patched);
  }
}

TEST(BitVec, ResizedMembersAreAbsent) {
  BITVEC v(100);
  v.bv_set_all();
  v.bv_resize(37);
  EXPECT_EQ(v.bv_count(), 37u);
  v.bv_set_all();
  v.bv_resize(64); // within the allocation, behind a filled last word
  EXPECT_EQ(v.bv_count(), 37u);
  v.bv_resize(100);
  EXPECT_EQ(v.bv_count(), 37u);
  v.bv_resize(1000);
  EXPECT_EQ(v.bv_count(), 37u);
  EXPECT_FALSE(v.bv_test(5000));
  v.bv_resize(0);
  EXPECT_TRUE(v.bv_is_empty());

  BITVEC small(10), large(70), result(10);
  small.bv_set(9);
  large.bv_set(69);
  testing::internal::CaptureStderr();
  result.bv_merge3(&small, &large);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Vector size mismatch:merge\n");
  EXPECT_EQ(members(result), (std::set<unsigned>{9, 69}));
}

TEST(BitVec, PrintsRanges) {
  BITVEC v(130);
  EXPECT_EQ(printed(v), "");
  for (unsigned i : {0u, 1u, 2u, 5u, 64u, 65u, 129u})
    v.bv_set(i);
  EXPECT_EQ(printed(v), "0-2, 5, 64-65, 129");
}

TEST(BitVec, PrintsItsMembersAsRanges) {
  BITVEC v(40);
  for (unsigned k : {1u, 3u, 4u, 5u, 39u})
    v.bv_set(k);
  testing::internal::CaptureStdout();
  v.bv_dump();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n\nBITVEC INFORMATION   Number of elements = 40\n   Set elements: 1, 3-5, 39");
}
