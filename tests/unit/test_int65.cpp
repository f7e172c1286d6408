#include "support/int65.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using I128 = __int128;
using U128 = unsigned __int128;

I128 wide(INT65 v) {
  return (static_cast<I128>(v.high) << 64) + static_cast<I128>(v.low);
}

I128 wrapped(I128 v) {
  const U128 low = static_cast<U128>(v) & ((U128(1) << 65) - 1);
  return low >> 64 ? static_cast<I128>(low) - (I128(1) << 65) : static_cast<I128>(low);
}

// Values near all the borders, and random ones of every width.
std::vector<INT65> samples() {
  std::vector<INT65> v = {INT65::min(), INT65::max(), INT65::min() + 1, INT65::max() - 1};
  for (int shift = 0; shift <= 64; shift++)
    for (int delta = -1; delta <= 1; delta++) {
      v.push_back((INT65(1) << shift) + delta);
      v.push_back(-(INT65(1) << shift) + delta);
    }
  std::mt19937_64 random(20240501);
  for (int i = 0; i < 100; i++)
    v.push_back(INT65::from_words(random() & 1 ? -1 : 0, random()) >>
                static_cast<int>(random() % 65));
  return v;
}

} // namespace

TEST(Int65, AgreesWithWiderArithmetic) {
  const std::vector<INT65> all = samples();
  for (INT65 a : all) {
    EXPECT_EQ(wide(-a), wrapped(-wide(a)));
    EXPECT_EQ(wide(~a), ~wide(a));
    for (INT65 b : all) {
      const I128 x = wide(a), y = wide(b);
      ASSERT_EQ(wide(a + b), wrapped(x + y));
      ASSERT_EQ(wide(a - b), wrapped(x - y));
      // The product modulo 2^65 needs no more than the low words of the product modulo 2^128.
      ASSERT_EQ(wide(a * b),
                wrapped(static_cast<I128>(static_cast<U128>(x) * static_cast<U128>(y))));
      ASSERT_EQ(wide(a & b), x & y);
      ASSERT_EQ(wide(a | b), x | y);
      ASSERT_EQ(wide(a ^ b), x ^ y);
      ASSERT_EQ(a < b, x < y);
      ASSERT_EQ(a == b, x == y);
      if (y != 0) {
        ASSERT_EQ(wide(a / b), wrapped(x / y));
        ASSERT_EQ(wide(a % b), x % y);
      }
      int ovf = 0;
      ASSERT_EQ(wide(long_add(a, b, &ovf)), wrapped(x + y));
      ASSERT_EQ(ovf, wrapped(x + y) != x + y);

      ovf = 0;
      const U128 product = static_cast<U128>(x < 0 ? -x : x) * static_cast<U128>(y < 0 ? -y : y);
      const bool both_are_huge = a == INT65::min() && b == INT65::min(); // 2^128 wraps to 0
      const I128 low = static_cast<I128>(static_cast<uint64_t>(product));
      ASSERT_EQ(wide(long_multiply(a, b, &ovf)), (x < 0) != (y < 0) ? -low : low);
      ASSERT_EQ(ovf, both_are_huge || product >> 64 != 0);
    }
    for (int n = 0; n <= 70; n++) {
      ASSERT_EQ(wide(a << n),
                n > 64 ? 0 : wrapped(static_cast<I128>(static_cast<U128>(wide(a)) << n)));
      ASSERT_EQ(wide(a >> n), wide(a) >> n);
    }
    EXPECT_EQ(wide(a << -1), 0);
    INT65 back;
    ASSERT_TRUE(int65_from_text(int65_text(a).c_str(), &back));
    EXPECT_EQ(back, a);
  }
}

TEST(Int65, NarrowsOnlyWhatFits) {
  EXPECT_NE(INT65(~0ul), INT65(-1));
  EXPECT_GT(INT65(~0ul), INT65(-1));
  EXPECT_EQ(static_cast<unsigned long>(INT65(~0ul)), ~0ul);
  EXPECT_EQ(static_cast<long>(INT65(INT64_MIN)), INT64_MIN);
  EXPECT_FALSE(INT65(~0ul).fits_in<long>());
  EXPECT_FALSE(INT65(-1).fits_in<unsigned long>());
  EXPECT_TRUE(INT65(-128).fits_in<signed char>());
  EXPECT_FALSE(INT65(128).fits_in<signed char>());
  EXPECT_TRUE(static_cast<bool>(INT65::min()));
  EXPECT_EXIT((void)static_cast<int>(INT65(1) << 31), testing::ExitedWithCode(1), "");
  EXPECT_EXIT((void)(INT65(1) / INT65(0)), testing::ExitedWithCode(1), "");
}

TEST(Int65, TextOutOfRangeIsRefused) {
  INT65 v = 7;
  for (const char* text : {"", "-", "1x", "18446744073709551616", "-18446744073709551617", " 1",
                           "99999999999999999999999999999999999999999999999999"})
    EXPECT_FALSE(int65_from_text(text, &v)) << text;
  EXPECT_EQ(v, 7);
  EXPECT_TRUE(int65_from_text("+18446744073709551615", &v));
  EXPECT_EQ(v, INT65::max());
}

TEST(Int65, Powers) {
  int ovf = 0;
  EXPECT_EQ(long_expt(-3, 3, &ovf), -27);
  EXPECT_EQ(long_expt(2, 63, &ovf), INT65(1) << 63);
  EXPECT_EQ(long_expt(-1, INT65::max(), &ovf), -1);
  EXPECT_EQ(long_expt(-1, -3, &ovf), -1);
  EXPECT_EQ(long_expt(5, -1, &ovf), 0);
  EXPECT_EQ(ulong_expt(3, 40, &ovf), 12157665459056928801u);
  EXPECT_EQ(ovf, 0);
  EXPECT_EQ(long_expt(2, 64, &ovf), 0);
  EXPECT_EQ(ovf, 1);
  ovf = 0;
  ulong_expt(3, 41, &ovf);
  EXPECT_EQ(ovf, 1);
  ovf = 0;
  long_expt(0, -1, &ovf);
  EXPECT_EQ(ovf, 1);
}

TEST(Int65, NumberTheory) {
  EXPECT_EQ(long_gcd(-12, 18), 6);
  EXPECT_EQ(long_gcd(0, -5), 5);
  EXPECT_EQ(long_gcd(0, 0), 0);
  EXPECT_EQ(long_lcm(-4, 6), 12);
  EXPECT_EQ(long_lcm(0, 6), 0);
  // Magnitudes of 2^64: the exact multiple 3 * 2^64 wraps.
  EXPECT_EQ(long_gcd(INT65::min(), 3), 1);
  EXPECT_EQ(long_lcm(INT65::min(), 3), INT65::min());
  EXPECT_EQ(long_lcm(INT65::min(), INT65::min()), INT65::min());
  for (uint64_t root : {0ul, 1ul, 3ul, 94906265ul, 94906267ul, 4294967295ul}) {
    EXPECT_EQ(long_sqrt(INT65(root) * INT65(root)), root);
    EXPECT_EQ(long_sqrt(INT65(root) * INT65(root) + 2 * INT65(root)), root);
  }
  EXPECT_EQ(long_sqrt(INT65::max()), 4294967295u);
  EXPECT_EQ(clp2(0), 1u);
  EXPECT_EQ(clp2(5), 8u);
  EXPECT_EQ(clp2(1u << 31), 1u << 31);
  EXPECT_EQ(clp2((1u << 31) + 1), 0u);
}
