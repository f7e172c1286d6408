#include "support/xi.h"

#include <gtest/gtest.h>

#include <cstring>

// That results are right is compared at length with a library by number-reference.
TEST(Xi, EndsOfTheRange) {
  unsigned char min[XI_BYTES] = {0x80}, minus_one[XI_BYTES], r[XI_BYTES], zero[XI_BYTES] = {};
  XI_itox(-1, minus_one);
  EXPECT_EQ(XI_size(minus_one), 1);
  EXPECT_EQ(XI_size(min), 16);
  XI_neg(min, r); // wraps
  EXPECT_TRUE(XI_eq(r, min));
  EXPECT_EQ(XI_div(min, minus_one, r), 0);
  EXPECT_TRUE(XI_eq(r, min));
  XI_asg(minus_one, r);
  EXPECT_EQ(XI_div(min, zero, r), -1);
  EXPECT_EQ(XI_mod(min, zero, r), -1);
  EXPECT_TRUE(XI_eq(r, minus_one)); // untouched
  EXPECT_TRUE(XI_lt(min, minus_one) && XI_lt(minus_one, zero));
  XI_shr(min, 1000, r);
  EXPECT_TRUE(XI_eq(r, minus_one));
  XI_shl(minus_one, 128, r);
  EXPECT_TRUE(XI_eq(r, zero));
}

TEST(Xi, ResultsMayBeOperands) {
  unsigned char a[XI_BYTES], b[XI_BYTES];
  long long value = 0;
  XI_llitox(-1000000007, a);
  XI_asg(a, b);
  XI_mpy(a, b, a);
  EXPECT_EQ(XI_xtolli(a, &value), 0);
  EXPECT_EQ(value, 1000000014000000049);
  XI_div(a, b, a);
  EXPECT_TRUE(XI_eq(a, b));
  XI_shl(a, 13, a);
  XI_shr(a, 13, a);
  EXPECT_TRUE(XI_eq(a, b));
  XI_sub(a, b, b);
  EXPECT_EQ(XI_xtolli(b, &value), 0);
  EXPECT_EQ(value, 0);
}

TEST(Xi, Dump) {
  unsigned char a[XI_BYTES];
  XI_utox(0xABCD1234u, a);
  testing::internal::CaptureStdout();
  XI_dump(a);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "0x000000000000000000000000ABCD1234");
}
