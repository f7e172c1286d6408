// Statuses, special operands and ranges of the floating operations. That results are right is
// compared at length with the host by number-reference.
#include "support/simul_fval.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

simul_fval num(const char* text) {
  simul_fval v;
  EXPECT_EQ(f_atof(text, &v), 0) << text;
  return v;
}

using UNARY = int (*)(const simul_fval*, simul_fval*);
using BINARY = int (*)(const simul_fval*, const simul_fval*, simul_fval*);

// "value", and behind it the errors and the status if they aren't 0.
std::string outcome(int status, const simul_fval& v) {
  std::string text = f_hex_text(&v);
  if (fp_error || status)
    text += " error " + std::to_string(fp_error) + " status " + std::to_string(status);
  return text;
}
std::string apply(UNARY f, const char* a) {
  simul_fval v = num(a);
  fp_error = 0;
  const int status = f(&v, &v); // the result may be the operand
  return outcome(status, v);
}
std::string apply(BINARY f, const char* a, const char* b) {
  simul_fval x = num(a);
  const simul_fval y = num(b);
  fp_error = 0;
  const int status = f(&x, &y, &x);
  return outcome(status, x);
}

const char* const INVALID = "nan error 1 status -1";
const char* const INFINITE = "inf error 4 status -1";
const char* const LOST = "0x0p+0 error 8 status -1";

} // namespace

TEST(FloatOps, SpecialOperands) {
  EXPECT_EQ(apply(f_add, "inf", "-inf"), INVALID);
  EXPECT_EQ(apply(f_sub, "inf", "inf"), INVALID);
  EXPECT_EQ(apply(f_add, "inf", "-1"), "inf");
  EXPECT_EQ(apply(f_add, "-0", "-0"), "-0x0p+0");
  EXPECT_EQ(apply(f_add, "-0", "0"), "0x0p+0");
  EXPECT_EQ(apply(f_sub, "1", "1"), "0x0p+0");
  EXPECT_EQ(apply(f_sub, "-0", "0"), "-0x0p+0");
  EXPECT_EQ(apply(f_add, "-nan", "inf"), "-nan"); // the operand, and no error
  EXPECT_EQ(apply(f_sub, "1", "-nan"), "-nan");
  EXPECT_EQ(apply(f_mul, "0", "-inf"), INVALID);
  EXPECT_EQ(apply(f_mul, "-0", "5"), "-0x0p+0");
  EXPECT_EQ(apply(f_div, "0", "0"), INVALID);
  EXPECT_EQ(apply(f_div, "1", "-0"), "-inf error 4 status -1");
  EXPECT_EQ(apply(f_div, "inf", "0"), "inf");
  EXPECT_EQ(apply(f_div, "-1", "inf"), "-0x0p+0");
  EXPECT_EQ(apply(f_sqrt, "-1"), INVALID);
  EXPECT_EQ(apply(f_sqrt, "-0"), "-0x0p+0");
  EXPECT_EQ(apply(f_fmod, "1", "0"), INVALID);
  EXPECT_EQ(apply(f_fmod, "-5.5", "inf"), "-0x1.6p+2");
  EXPECT_EQ(apply(f_fmod, "-6", "3"), "-0x0p+0");
  EXPECT_EQ(apply(f_max, "-0", "0"), "0x0p+0");
  EXPECT_EQ(apply(f_min, "0", "-0"), "-0x0p+0");
  EXPECT_EQ(apply(f_max, "nan", "-3"), "-0x1.8p+1");
  EXPECT_EQ(apply(f_min, "-3", "nan"), "-0x1.8p+1");
  EXPECT_EQ(apply(f_max, "-3", "2"), "0x1p+1");
  EXPECT_EQ(apply(f_min, "2", "-3"), "-0x1.8p+1");
  EXPECT_EQ(apply(f_sgn, "7"), "0x1p+0");
  EXPECT_EQ(apply(f_sgn, "-1e-300"), "-0x1p+0");
  EXPECT_EQ(apply(f_sgn, "-0"), "-0x0p+0");
}

TEST(FloatOps, RangeEndsInInfinityAndZero) {
  EXPECT_EQ(apply(f_mul, "0x1p20000", "0x1p20000"), INFINITE);
  EXPECT_EQ(apply(f_mul, "0x1p-20000", "0x1p-20000"), LOST);
  EXPECT_EQ(apply(f_div, "0x1p20000", "0x1p-20000"), INFINITE);
  EXPECT_EQ(apply(f_add, "0x1p32765", "0x1p32765"), INFINITE);
  EXPECT_EQ(apply(f_sub, "0x1.8p-32767", "0x1p-32767"), LOST);
  EXPECT_EQ(apply(f_sqrt, "0x1p-32766"), "0x1p-16383");
  simul_fval v = num("-3");
  fp_error = 0;
  EXPECT_EQ(f_ldexp(&v, 40000, &v), -1);
  EXPECT_EQ(outcome(0, v), "-inf error 4 status 0");
}

// An exact value just beside a number of few bits must not round onto it: rounding to the target
// from there would be off.
TEST(FloatOps, InexactResultsNeverLookExact) {
  EXPECT_EQ(apply(f_add, "1", "0x1p-200"), "0x1.000000000000000000000002p+0");
  EXPECT_EQ(apply(f_sub, "1", "0x1p-200"), "0x1.fffffffffffffffffffffffep-1");
  EXPECT_EQ(apply(f_sub, "-1", "0x1p-200"), "-0x1.000000000000000000000002p+0");
  // Elsewhere it is to nearest, ties to even.
  EXPECT_EQ(apply(f_add, "0x1.000000000000000000000002p0", "0x1p-96"),
            "0x1.000000000000000000000004p+0");
  EXPECT_EQ(apply(f_add, "0x1.000000000000000000000004p0", "0x1p-96"),
            "0x1.000000000000000000000004p+0");
  EXPECT_EQ(apply(f_div, "2", "3"), "0x1.555555555555555555555556p-1");
}

TEST(FloatOps, TransferOfWholeNumbers) {
  fp_error = 0;
  int64_t i = 5;
  uint64_t u = 5;
  unsigned char x[16];
  const simul_fval huge = num("-1e30"), nan = num("nan"), minus_half = num("-0.5");
  EXPECT_EQ(f_ftoi(&huge, &i), -1);
  EXPECT_EQ(i, INT64_MIN);
  EXPECT_EQ(f_ftou(&huge, &u), -1);
  EXPECT_EQ(u, 0u);
  EXPECT_EQ(f_ftoi(&nan, &i), -1);
  EXPECT_EQ(i, 0);
  EXPECT_EQ(fp_error, FP_INVALID);
  EXPECT_EQ(f_ftou(&minus_half, &u), 0);
  EXPECT_EQ(u, 0u);
  // The least 128-bit integer goes both ways; one more bit doesn't.
  simul_fval v = num("-0x1p127"), back;
  EXPECT_EQ(f_ftox(&v, x), 0);
  f_xtof(x, &back);
  EXPECT_TRUE(f_bit_eq(&v, &back));
  v = num("0x1p127");
  EXPECT_EQ(f_ftox(&v, x), -1);
  EXPECT_EQ(x[0], 0x7F);
  EXPECT_EQ(x[15], 0xFF);
  int exp = 1;
  EXPECT_EQ(f_findexp(&pos_zero, &exp), -1);
  EXPECT_EQ(exp, 0);
  EXPECT_EQ(f_findexp(&four, &exp), 0);
  EXPECT_EQ(exp, 3);
}

TEST(FloatOps, TablesRoundHalfUp) {
  const precise_sim_fval table[] = {
      {{0x8000, 0, 0, 0, 0, 1, 0x7FFF, 0xFFFF}, 1, 0},
      {{0x8000, 0, 0, 0, 0, 2, 0x8000, 0}, 1, 1}, // a tie that "to even" would leave
      {{0x8000, 0, 0, 0xFFFF, 0xFFFF, 0xFFFF, 0x8000, 0}, 1, 0},
      {{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0x8000, 0}, 7, 0},
  };
  simul_fval r[4];
  f_rnd_prectbl(table, 4, r);
  EXPECT_EQ(f_hex_text(&r[0]), "0x1.000000000000000000000002p+0");
  EXPECT_EQ(f_hex_text(&r[1]), "-0x1.000000000000000000000006p+0");
  EXPECT_EQ(f_hex_text(&r[2]), "0x1.000000000002p+0");
  EXPECT_EQ(f_hex_text(&r[3]), "0x1p+7");
}

TEST(FloatOps, DomainsOfTheFunctions) {
  for (UNARY f : {f_sin, f_cos, f_tan}) {
    EXPECT_EQ(apply(f, "inf"), INVALID);
    EXPECT_EQ(apply(f, "210828715"), INVALID);
    EXPECT_EQ(apply(f, "210828714").find("error"), std::string::npos);
  }
  EXPECT_EQ(apply(f_asin, "-1.0000001"), INVALID);
  EXPECT_EQ(apply(f_acos, "2"), INVALID);
  EXPECT_EQ(apply(f_acos, "1"), "0x0p+0");
  EXPECT_EQ(apply(f_log, "-1"), INVALID);
  EXPECT_EQ(apply(f_log, "0"), "-inf error 4 status -1");
  EXPECT_EQ(apply(f_log10, "inf"), "inf");
  EXPECT_EQ(apply(f_exp, "89.42"), INFINITE);
  EXPECT_EQ(apply(f_exp, "-89.42"), LOST);
  EXPECT_EQ(apply(f_exp, "-inf"), "0x0p+0");
  EXPECT_EQ(apply(f_exp, "0"), "0x1p+0");
  EXPECT_EQ(apply(f_sinh, "-89.42"), "-inf error 4 status -1");
  EXPECT_EQ(apply(f_cosh, "89.42"), INFINITE);
  EXPECT_EQ(apply(f_cosh, "-inf"), "inf");
  EXPECT_EQ(apply(f_tanh, "-8.664339758"), "-0x1p+0");
  EXPECT_EQ(apply(f_tanh, "-inf"), "-0x1p+0");
  // A number so small that the function is the identity, far below the target's range.
  for (UNARY f : {f_sin, f_tan, f_asin, f_atan, f_sinh, f_tanh}) {
    EXPECT_EQ(apply(f, "-0x1p-20000"), "-0x1p-20000");
    EXPECT_EQ(apply(f, "-0"), "-0x0p+0");
    EXPECT_EQ(apply(f, "-nan"), "-nan");
  }
}

TEST(FloatOps, PowersAndAnglesOfSpecialOperands) {
  const struct {
    BINARY f;
    const char *a, *b, *want;
  } cases[] = {
      {f_pow, "nan", "0", "0x1p+0"},
      {f_pow, "1", "nan", "0x1p+0"},
      {f_pow, "-2", "3", "-0x1p+3"},
      {f_pow, "-2", "-2", "0x1p-2"},
      {f_pow, "-2", "0.5", INVALID},
      {f_pow, "-0", "-3", "-inf error 4 status -1"},
      {f_pow, "0", "-0.5", INFINITE},
      {f_pow, "-0", "3", "-0x0p+0"},
      {f_pow, "-0", "4", "0x0p+0"},
      {f_pow, "-inf", "3", "-inf"},
      {f_pow, "-inf", "-3", "-0x0p+0"},
      {f_pow, "0.5", "inf", "0x0p+0"},
      {f_pow, "-0.5", "-inf", "inf"},
      {f_pow, "-1", "inf", "0x1p+0"},
      {f_pow, "2", "32000", "0x1p+32000"},
      {f_pow, "2", "-32000", "0x1p-32000"},
      {f_pow, "2", "40000", INFINITE},
      {f_pow, "-2", "40001", "-inf error 4 status -1"},
      {f_pow, "2", "-40000", LOST},
      {f_pow, "3", "1e30", INFINITE},
      {f_pow, "0.3", "1e30", LOST},
      {f_pow, "0x1p-30000", "-1e4", INFINITE},
      {f_atan2, "0", "1", "0x0p+0"},
      {f_atan2, "-0", "1", "-0x0p+0"},
      {f_atan2, "-0", "-0", "-0x1.921fb54442d18469898cc518p+1"},
      {f_atan2, "1", "0", "0x1.921fb54442d18469898cc518p+0"},
      {f_atan2, "-inf", "inf", "-0x1.921fb54442d18469898cc518p-1"},
      {f_atan2, "1", "-inf", "0x1.921fb54442d18469898cc518p+1"},
      {f_atan2, "0x1p-20000", "0x1p20000", LOST},
      {f_atan2, "0x1p20000", "-0x1p-20000", "0x1.921fb54442d18469898cc518p+0"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(apply(c.f, c.a, c.b), c.want) << c.a << ", " << c.b;
}

// Four threads ask for constants that nobody has read. True if all see the same, right values.
static bool four_threads_agree() {
  const simul_fval x = num("0.7");
  simul_fval want[4];
  std::vector<std::thread> threads;
  for (simul_fval& r : want) {
    threads.emplace_back([&x, &r] {
      simul_fval s, t;
      f_sin(&x, &s);
      f_exp(&x, &t);
      f_add(&s, &t, &r);
      f_log(&x, &t);
      f_add(&r, &t, &r);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  for (const simul_fval& r : want)
    if (!f_bit_eq(&r, &want[0])) return false;
  const double sum = 0.644217687237691 + 2.0137527074704766 - 0.35667494393873245;
  return std::abs(f_ftoh(&want[0]) - sum) < 1e-15;
}

TEST(FloatOpsDeathTest, ConstantsAreReadOnceByWhoeverComesFirst) {
  // In a process of its own: in this one other tests may have read them.
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(_exit(four_threads_agree() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST(FloatOps, DigitsOfAllKinds) {
  std::string digits;
  int point, sign;
  simul_fval v = num("-1234.5");
  EXPECT_EQ(f_ecvt(&v, 4, &point, &sign, &digits), 0);
  EXPECT_EQ(digits + " " + std::to_string(point) + " " + std::to_string(sign), "1234 4 1");
  v = num("9.996");
  f_fcvt(&v, 2, &point, &sign, &digits);
  EXPECT_EQ(digits + " " + std::to_string(point), "1000 2");
  f_fcvt(&v, -1, &point, &sign, &digits);
  EXPECT_EQ(digits + " " + std::to_string(point), "1 2");
  v = num("0.004");
  f_fcvt(&v, 2, &point, &sign, &digits);
  EXPECT_EQ(digits, "");
  v = num("0x1.ffp3");
  f_acvt(&v, 1, &point, &sign, &digits);
  EXPECT_EQ(digits + " " + std::to_string(point), "10 4");
  v = num("inf");
  EXPECT_EQ(f_ecvt(&v, 4, &point, &sign, &digits), -1);

  // Beyond any value's digits the conversion gives up.
  v = num("0.1");
  testing::internal::CaptureStderr();
  f_ecvt(&v, 1000000, &point, &sign, &digits);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "WARNING: Possible infinite loop in FP convers.\n");
  EXPECT_EQ(digits.size(), 40000u);

  std::string text;
  const struct {
    const char *value, *shown, *shown_float;
  } shortest[] = {{"0.1", "0.1", "0.1"},
                  {"1", "1.0", "1.0"},
                  {"-0", "-0.0", "-0.0"},
                  {"1e22", "1e+22", "1e+22"},
                  {"123456789", "123456789.0", "123456790.0"},
                  {"5e-324", "5e-324", "0.0"},
                  {"1e300", "1e+300", "Inf"},
                  {"nan", "NaN", "NaN"}};
  for (const auto& s : shortest) {
    v = num(s.value);
    f_ftoa(&v, true, &text);
    EXPECT_EQ(text, s.shown);
    f_ftoa(&v, false, &text);
    EXPECT_EQ(text, s.shown_float);
  }
}

TEST(FloatOps, Printing) {
  testing::internal::CaptureStdout();
  f_dbg("pi/2", &one);
  for (const char* text : {"0.1", "-inf", "nan", "1e5000"}) {
    const simul_fval v = num(text);
    f_print(&v);
    printf(" ");
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "pi/2 mant: 8000 0000 0000 0000 0000 0000 exp:  1, sign: 0\n"
            "0.1 -Inf NaN 1e+5000 ");
}
