#include "support/simul_fval.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace {

simul_fval parse(const std::string& text) {
  simul_fval v;
  EXPECT_EQ(f_atof(text.c_str(), &v), 0) << text;
  return v;
}

uint32_t float_bits(const simul_fval& v) {
  trg_fval raw;
  f_cvt_stot(&v, &raw, false);
  return raw.words[0];
}

uint64_t double_bits(const simul_fval& v) {
  trg_fval raw;
  f_cvt_stot(&v, &raw, true);
  return uint64_t(raw.words[1]) << 32 | raw.words[0];
}

void expect_same_as_host(const std::string& text) {
  const simul_fval v = parse(text);
  ASSERT_EQ(float_bits(v), std::bit_cast<uint32_t>(strtof(text.c_str(), nullptr))) << text;
  ASSERT_EQ(double_bits(v), std::bit_cast<uint64_t>(strtod(text.c_str(), nullptr))) << text;
  const simul_fval again = parse(f_hex_text(&v));
  ASSERT_TRUE(f_bit_eq(&v, &again)) << text << " " << f_hex_text(&v);
}

std::string digits(std::mt19937_64& random, uint64_t n, const char* alphabet, unsigned radix) {
  std::string s;
  for (; n; n--)
    s += alphabet[random() % radix];
  return s;
}

} // namespace

TEST(SimulFval, TextsReadAsTheHostReadsThem) {
  for (const char* text : {"0",
                           "-0.0",
                           "1",
                           "-1.5",
                           ".5",
                           "5.",
                           "0.1",
                           "1e10",
                           "1E-10",
                           "3.4028235e38",
                           "3.4028236e38",
                           "1.7976931348623157e308",
                           "1.7976931348623159e308",
                           "2.2250738585072014e-308",
                           "2.2250738585072011e-308",
                           "4.9406564584124654e-324",
                           "2.4703282292062327e-324",
                           "2.4703282292062329e-324",
                           "1.17549435e-38",
                           "1.17549429e-38",
                           "1.40129846e-45",
                           "7.0064923e-46",
                           "7.0064924e-46",
                           "1e-400",
                           "-1e400",
                           "16777217",
                           "16777219",
                           "9007199254740993",
                           "inf",
                           "-inf",
                           "0x1p0",
                           "0x.8p1",
                           "0x1.8p+3",
                           "0x1.000001p0",
                           "0x1.0000010000000001p0",
                           "0x1.fffffep127",
                           "0x1.ffffffp127",
                           "0x1p-149",
                           "0x1p-150",
                           "0x1.8p-150",
                           "0x1p-1074",
                           "0x1.8p-1075",
                           "0x0.0000000000001p-1022",
                           "0x10000000000000000",
                           "0X1.FFFFFFFFFFFFFP+1023",
                           "0xAbC.DeFP-12"})
    expect_same_as_host(text);

  std::mt19937_64 random(99);
  for (int i = 0; i < 20000; i++) {
    std::string text = random() & 1 ? "-" : "";
    if (i % 2) {
      text += digits(random, 1 + random() % 20, "0123456789", 10) + "." +
              digits(random, random() % 20, "0123456789", 10) + "e" +
              std::to_string(static_cast<int>(random() % 700) - 350);
    } else {
      text += "0x" + digits(random, 1 + random() % 12, "0123456789abcdef", 16) + "." +
              digits(random, random() % 10, "0123456789abcdef", 16) + "p" +
              std::to_string(static_cast<int>(random() % 2300) - 1150);
    }
    expect_same_as_host(text);
    // Every target value and its text.
    const double d = std::bit_cast<double>(random());
    if (std::isnan(d)) continue;
    char exact[64];
    snprintf(exact, sizeof exact, "%a", d);
    expect_same_as_host(exact);
  }
}

TEST(SimulFval, RoundsTextsAt96Bits) {
  auto same = [](const char* a, const char* b) {
    const simul_fval x = parse(a), y = parse(b);
    EXPECT_TRUE(f_bit_eq(&x, &y)) << a << " " << b;
  };
  // 2^96 + 3 and 2^96 + 5: ties to even.
  same("79228162514264337593543950339", "0x1000000000000000000000004");
  same("79228162514264337593543950341", "0x1000000000000000000000004");
  same("79228162514264337593543950341.0000000000000000001", "0x1000000000000000000000006");
  same("0x1000000000000000000000003.00000000000000000001", "0x1000000000000000000000004");
  // 2^96 + 1 must not look like 2^96, nor what is just below 2^100 like that.
  same("79228162514264337593543950337", "0x1000000000000000000000002");
  same("0xffffffffffffffffffffffff8", "0xffffffffffffffffffffffff0");
}

TEST(SimulFval, ExtremeTextsAreQuickAndClamped) {
  fp_error = 0;
  EXPECT_EQ(f_hex_text(&pos_huge), "inf");
  simul_fval v = parse("1e99999999999999999999");
  EXPECT_TRUE(f_bit_eq(&v, &pos_huge));
  EXPECT_EQ(fp_error, FP_OVERFLOW);
  fp_error = 0;
  v = parse("-0x1p-99999999999999999999");
  EXPECT_TRUE(f_bit_eq(&v, &neg_zero));
  EXPECT_EQ(fp_error, FP_UNDERFLOW);
  v = parse("0e99999999999999999999");
  EXPECT_TRUE(f_bit_eq(&v, &pos_zero));
  // A million digits and the exponent that undoes them.
  const std::string zeros(1000000, '0');
  v = parse("1" + zeros + "e-1000000");
  EXPECT_TRUE(f_bit_eq(&v, &one));
  v = parse("0." + zeros + "4e1000001");
  EXPECT_TRUE(f_bit_eq(&v, &four));
  // Behind 24,000 digits one more still decides a tie.
  v = parse("79228162514264337593543950337." + std::string(50000, '0') + "1");
  EXPECT_EQ(f_hex_text(&v), "0x1.000000000000000000000002p+96");

  for (const char* text :
       {"", "-", ".", "e5", "1e", "1e+", "0x", "0xp1", "1.0f", "1 ", "infx", "--1"})
    EXPECT_EQ(f_atof(text, &v), -1) << text;
}

TEST(SimulFval, SpecialValues) {
  simul_fval v = parse("-nan");
  EXPECT_TRUE(f_is_nan(&v));
  EXPECT_EQ(f_hex_text(&v), "-nan");
  EXPECT_FALSE(f_eq(&v, &v));
  EXPECT_TRUE(f_bit_eq(&v, &v));
  EXPECT_EQ(float_bits(v), 0xFFC00000u);
  EXPECT_EQ(double_bits(a_nan), 0x7FF8000000000000u);
  trg_fval raw = {{0x7F800001, 0}};
  f_cvt_ttos(&raw, &v, false);
  EXPECT_TRUE(f_bit_eq(&v, &a_nan));
  EXPECT_TRUE(f_eq(&pos_zero, &neg_zero));
  EXPECT_FALSE(f_bit_eq(&pos_zero, &neg_zero));
  f_neg(&pos_zero, &v);
  EXPECT_TRUE(f_bit_eq(&v, &neg_zero));
  f_abs(&neg_infin, &v);
  EXPECT_TRUE(f_bit_eq(&v, &pos_huge));
}

TEST(SimulFval, ToTargetReportsWhatIsLost) {
  trg_fval raw;
  auto to_float = [&](const char* text) {
    const simul_fval v = parse(text);
    fp_error = 0;
    return ieee_cvt_stof(&v, &raw);
  };
  EXPECT_EQ(to_float("-0x1p-1074"), 1);
  EXPECT_EQ(raw.words[0], 0x80000000u);
  EXPECT_EQ(fp_error, FP_UNDERFLOW);
  EXPECT_EQ(to_float("-1e39"), 1);
  EXPECT_EQ(raw.words[0], 0xFF800000u);
  EXPECT_EQ(fp_error, FP_OVERFLOW);
  // Rounding up across the border of the denormals gives the smallest normal.
  EXPECT_EQ(to_float("0x0.ffffffp-126"), 0);
  EXPECT_EQ(raw.words[0], 0x00800000u);
  EXPECT_EQ(fp_error, 0u);
}

TEST(SimulFval, IntegersAreExact) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 2000; i++) {
    const uint64_t u = i ? random() >> random() % 64 : 0;
    const int64_t s = static_cast<int64_t>(random()) >> random() % 64;
    simul_fval v, w;
    f_utof(u, &v);
    w = parse(std::to_string(u));
    EXPECT_TRUE(f_bit_eq(&v, &w)) << u;
    f_itof(s, &v);
    w = parse(std::to_string(s));
    EXPECT_TRUE(f_bit_eq(&v, &w)) << s;
    EXPECT_EQ(f_ftoh(&v), static_cast<double>(s));
  }
  simul_fval min;
  f_itof(INT64_MIN, &min);
  EXPECT_EQ(f_hex_text(&min), "-0x1p+63");
}

TEST(SimulFval, LeftJustify) {
  simul_fval v = {{0, 0, 1, 0, 0, 3}, 40, 0};
  f_left_justify(&v);
  EXPECT_EQ(v.mant[0], 0x8000);
  EXPECT_EQ(v.exp, 40 - 47);
  EXPECT_EQ(v.mant[2], 0x0001); // the 3 of the last word, 47 places up
  EXPECT_EQ(v.mant[3], 0x8000);
  simul_fval impossible = {{}, 5, 0};
  EXPECT_EXIT(f_left_justify(&impossible), testing::ExitedWithCode(1),
              "Illegal float representation");
}

TEST(SimulFval, AValueThatIsLostUnderflows) {
  // Half of the smallest denormal is a tie with zero, and goes there like all below it.
  for (const char* text : {"0x1p-150", "-0x1p-150", "0x1p-151", "0x1p-400"}) {
    simul_fval v;
    trg_fval target;
    f_atof(text, &v);
    fp_error = 0;
    EXPECT_EQ(f_cvt_stot(&v, &target, 0), 1) << text;
    EXPECT_EQ(fp_error, 8u) << text;
  }
  fp_error = 0;
}
