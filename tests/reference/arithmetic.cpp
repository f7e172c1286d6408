// Add, subtract, multiply, divide, square root, remainder and comparisons against the reference
// library: rounded to the target's types bit for bit, and in all bits of a simulated value.
#include "tests/reference/real.h"

namespace {

struct OPERATION {
  const char* name;
  TARGET_BINARY target;
  REAL_BINARY exact;
};
constexpr OPERATION OPERATIONS[] = {
    {"+", f_add, mpfr_add},
    {"-", f_sub, mpfr_sub},
    {"*", f_mul, mpfr_mul},
    {"/", f_div, mpfr_div},
    // Last: it takes a step for each bit of difference in size, and is tried less often.
    {"remainder", f_fmod, mpfr_fmod},
};

struct ROWS {
  std::vector<ROW> operations;
  ROW root, order;
  explicit ROWS(const std::string& type) : root(type + " square root"), order(type + " order") {
    for (const OPERATION& op : OPERATIONS)
      operations.emplace_back(type + " " + op.name);
  }
  uint64_t print() const {
    uint64_t bad = root.mismatches + order.mismatches;
    for (const ROW& row : operations) {
      row.print();
      bad += row.mismatches;
    }
    root.print();
    order.print();
    return bad;
  }
};

void compare_order(ROW& row, const simul_fval& x, const simul_fval& y) {
  const REAL a(x), b(y);
  const int got = f_eq(&x, &y) | f_ne(&x, &y) << 1 | f_lt(&x, &y) << 2 | f_le(&x, &y) << 3 |
                  f_gt(&x, &y) << 4 | f_ge(&x, &y) << 5;
  const int want = (mpfr_equal_p(a, b) != 0) | (mpfr_equal_p(a, b) == 0) << 1 |
                   (mpfr_less_p(a, b) != 0) << 2 | (mpfr_lessequal_p(a, b) != 0) << 3 |
                   (mpfr_greater_p(a, b) != 0) << 4 | (mpfr_greaterequal_p(a, b) != 0) << 5;
  row.compare(got == want, [&] { return shown(x) + ", " + shown(y); });
}

template <class T> void compare(ROWS& rows, T a, T b, bool with_remainder) {
  const simul_fval x = simulated(a), y = simulated(b);
  simul_fval r;
  for (size_t i = 0; i + !with_remainder < std::size(OPERATIONS); i++) {
    OPERATIONS[i].target(&x, &y, &r);
    const T got = on_host<T>(r), want = rounded<T>([&](mpfr_ptr exact) {
                                   return OPERATIONS[i].exact(exact, REAL(a), REAL(b), MPFR_RNDN);
                                 });
    rows.operations[i].compare(is_same(got, want), [&] {
      return shown(a) + ", " + shown(b) + " gave " + shown(got) + ", not " + shown(want);
    });
  }
  f_sqrt(&x, &r);
  const T root = rounded<T>([&](mpfr_ptr exact) { return mpfr_sqrt(exact, REAL(a), MPFR_RNDN); });
  rows.root.compare(is_same(on_host<T>(r), root), [&] { return shown(a); });
  compare_order(rows.order, x, y);
}

template <class T> uint64_t run(const std::string& type, uint64_t count, RANDOM& random) {
  ROWS rows(type);
  const std::vector<T> special = special_values<T>();
  for (T a : special)
    for (T b : special)
      compare(rows, a, b, true);
  for (uint64_t i = 0; i < count; i++) {
    const T a = random_value<T>(random);
    // Now and then a neighbour in size, where sums cancel and quotients are near 1.
    const T b = i % 4 ? random_value<T>(random) : a * (T(1) + std::ldexp(T(i), -40));
    compare(rows, a, b, i % 16 == 0);
  }
  return rows.print();
}

// Any mantissa, or one with few bits; near 1, so that operands meet.
simul_fval random_simulated(RANDOM& random) {
  simul_fval v = {};
  const size_t words = 1 + random() % F_MANT_WORDS;
  for (size_t k = 0; k < words; k++)
    v.mant[k] = static_cast<uint16_t>(random() % 8 ? random() : 0 - (random() & 1));
  v.mant[0] |= 0x8000;
  v.exp = static_cast<int32_t>(random() % 200) - 100;
  v.sign = static_cast<int32_t>(random() & 1);
  return v;
}

// result = what the arithmetic should make of a result that was rounded to nearest, in that
// direction: see f_round_words for the bits that an inexact one never ends in.
void keep_clear_of_short_results(REAL& result, int direction) {
  if (direction == 0 || mpfr_min_prec(result) > F_MANT_BITS - 32) return;
  if (direction > 0)
    mpfr_nextbelow(result);
  else
    mpfr_nextabove(result);
}

uint64_t run_simulated(uint64_t count, RANDOM& random) {
  ROWS rows("simulated");
  REAL want(F_MANT_BITS);
  for (uint64_t i = 0; i < count; i++) {
    const simul_fval x = random_simulated(random), y = random_simulated(random);
    const REAL a(x), b(y);
    simul_fval r;
    auto check = [&](ROW& row, int direction) {
      keep_clear_of_short_results(want, direction);
      row.compare(is_same(REAL(r), want),
                  [&] { return shown(x) + ", " + shown(y) + " gave " + shown(r); });
    };
    for (size_t op = 0; op < std::size(OPERATIONS); op++) {
      OPERATIONS[op].target(&x, &y, &r);
      check(rows.operations[op], OPERATIONS[op].exact(want, a, b, MPFR_RNDN));
    }
    simul_fval positive;
    f_abs(&x, &positive);
    f_sqrt(&positive, &r);
    check(rows.root, mpfr_sqrt(want, REAL(positive), MPFR_RNDN));
    compare_order(rows.order, x, y);
  }
  return rows.print();
}

} // namespace

uint64_t compare_arithmetic(uint64_t count, RANDOM& random) {
  return run<float>("float", count, random) + run<double>("double", count, random) +
         run_simulated(count, random);
}
