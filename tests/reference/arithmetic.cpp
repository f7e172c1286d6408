// Add, subtract, multiply, divide, square root, remainder and comparisons, rounded to the target's
// types, against the host's IEEE arithmetic, bit for bit.
#include "tests/reference/host_float.h"

namespace {

template <class T> struct ARITHMETIC {
  ROW add, sub, mul, div, root, rest, order;
  explicit ARITHMETIC(const std::string& type)
      : add(type + " +"), sub(type + " -"), mul(type + " *"), div(type + " /"),
        root(type + " square root"), rest(type + " remainder"), order(type + " comparisons") {}

  void binary(ROW& row, int (*f)(const simul_fval*, const simul_fval*, simul_fval*), T a, T b,
              T want) {
    const simul_fval x = simulated(a), y = simulated(b);
    simul_fval r;
    f(&x, &y, &r);
    const T got = on_host<T>(r);
    row.compare(is_same(got, want), [&] {
      return shown(a) + ", " + shown(b) + " gave " + shown(got) + ", not " + shown(want);
    });
  }

  void compare(T a, T b) {
    binary(add, f_add, a, b, a + b);
    binary(sub, f_sub, a, b, a - b);
    binary(mul, f_mul, a, b, a * b);
    binary(div, f_div, a, b, a / b);
    const simul_fval x = simulated(a), y = simulated(b);
    simul_fval r;
    f_sqrt(&x, &r);
    root.compare(is_same(on_host<T>(r), std::sqrt(a)), [&] { return shown(a); });
    const int got = f_eq(&x, &y) | f_ne(&x, &y) << 1 | f_lt(&x, &y) << 2 | f_le(&x, &y) << 3 |
                    f_gt(&x, &y) << 4 | f_ge(&x, &y) << 5;
    const int want =
        (a == b) | (a != b) << 1 | (a < b) << 2 | (a <= b) << 3 | (a > b) << 4 | (a >= b) << 5;
    order.compare(got == want, [&] { return shown(a) + ", " + shown(b); });
  }

  uint64_t run(uint64_t count, RANDOM& random) {
    const std::vector<T> special = special_values<T>();
    for (T a : special) {
      for (T b : special) {
        compare(a, b);
        binary(rest, f_fmod, a, b, std::fmod(a, b));
      }
    }
    for (uint64_t i = 0; i < count; i++) {
      const T a = random_value<T>(random);
      // Now and then a neighbour in size, where sums cancel and quotients are near 1.
      const T b = i % 4 ? random_value<T>(random) : a * (T(1) + std::ldexp(T(i), -40));
      compare(a, b);
      // The remainder takes a step for each bit of difference in size.
      if (i % 16 == 0) binary(rest, f_fmod, a, b, std::fmod(a, b));
    }
    uint64_t bad = 0;
    for (const ROW* row : {&add, &sub, &mul, &div, &root, &rest, &order}) {
      row->print();
      bad += row->mismatches;
    }
    return bad;
  }
};

} // namespace

uint64_t compare_arithmetic(uint64_t count, RANDOM& random) {
  return ARITHMETIC<float>("float").run(count, random) +
         ARITHMETIC<double>("double").run(count, random);
}
