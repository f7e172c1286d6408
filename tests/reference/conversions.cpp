// Conversions between float, double and integers, and whole parts, against the host's.
#include "tests/reference/host_float.h"

namespace {

template <class T> struct CONVERSIONS {
  ROW from_ints, to_ints, whole, parts;
  explicit CONVERSIONS(const std::string& type)
      : from_ints(type + " from integers"), to_ints(type + " to integers"),
        whole(type + " to whole values"), parts(type + " frexp, ldexp, modf") {}

  void compare_ints(uint64_t bits) {
    const auto signed_bits = static_cast<int64_t>(bits);
    simul_fval v;
    f_itof(signed_bits, &v);
    from_ints.compare(is_same(on_host<T>(v), static_cast<T>(signed_bits)),
                      [&] { return std::to_string(signed_bits); });
    f_utof(bits, &v);
    from_ints.compare(is_same(on_host<T>(v), static_cast<T>(bits)),
                      [&] { return std::to_string(bits); });
    // 128 bits, the lower half being the upper one's digits turned around.
    __extension__ using I128 = __int128;
    __extension__ using U128 = unsigned __int128;
    const I128 wide = static_cast<I128>(static_cast<U128>(bits) << 64 | ~bits * 3) >> (bits % 90);
    unsigned char x[16];
    for (int k = 0; k < 16; k++)
      x[k] = static_cast<unsigned char>(static_cast<U128>(wide) >> (8 * (15 - k)));
    f_xtof(x, &v);
    from_ints.compare(is_same(on_host<T>(v), static_cast<T>(wide)),
                      [&] { return "128 bits from " + std::to_string(bits); });
  }

  void compare(T a) {
    const simul_fval v = simulated(a);
    int64_t i;
    uint64_t u;
    const bool fits_i = a >= T(INT64_MIN) && a < -T(INT64_MIN);
    const bool fits_u = a > T(-1) && a < -2 * T(INT64_MIN);
    const int status_i = f_ftoi(&v, &i), status_u = f_ftou(&v, &u);
    to_ints.compare((status_i == 0) == fits_i && (!fits_i || i == static_cast<int64_t>(a)),
                    [&] { return shown(a); });
    to_ints.compare((status_u == 0) == fits_u && (!fits_u || u == static_cast<uint64_t>(a)),
                    [&] { return "unsigned, " + shown(a); });

    using UNARY = int (*)(const simul_fval*, simul_fval*);
    struct {
      UNARY f;
      T want;
    } const rounders[] = {{f_trunc, std::trunc(a)},
                          {f_int, std::trunc(a)},
                          {f_round, std::round(a)},
                          {f_floor, std::floor(a)},
                          {f_ceil, std::ceil(a)}};
    for (const auto& rounder : rounders) {
      simul_fval r;
      rounder.f(&v, &r);
      whole.compare(is_same(on_host<T>(r), rounder.want), [&] { return shown(a); });
    }

    T host_whole;
    const T host_fraction = std::modf(a, &host_whole);
    simul_fval w, f;
    f_modf(&v, &w, &f);
    parts.compare(is_same(on_host<T>(w), host_whole) && is_same(on_host<T>(f), host_fraction),
                  [&] { return "modf, " + shown(a); });
    int exp = 0, host_exp = 0;
    const T host_mantissa = std::frexp(a, &host_exp);
    f_frexp(&v, &exp, &f);
    parts.compare(is_same(on_host<T>(f), host_mantissa) && (!std::isfinite(a) || exp == host_exp),
                  [&] { return "frexp, " + shown(a); });
    const int places = static_cast<int>(std::bit_cast<BITS<T>>(a) % 300) - 150;
    f_ldexp(&v, places, &f);
    parts.compare(is_same(on_host<T>(f), std::ldexp(a, places)),
                  [&] { return "ldexp, " + shown(a) + " by " + std::to_string(places); });
  }

  uint64_t run(uint64_t count, RANDOM& random) {
    for (T a : special_values<T>())
      compare(a);
    for (int shift = 0; shift < 64; shift++)
      for (uint64_t delta : {0ul, 1ul, ~0ul})
        compare_ints((uint64_t(1) << shift) + delta);
    for (uint64_t i = 0; i < count; i++) {
      compare(random_value<T>(random));
      compare_ints(random() >> random() % 64);
    }
    uint64_t bad = 0;
    for (const ROW* row : {&from_ints, &to_ints, &whole, &parts}) {
      row->print();
      bad += row->mismatches;
    }
    return bad;
  }
};

} // namespace

uint64_t compare_conversions(uint64_t count, RANDOM& random) {
  ROW narrow("double to float"), widen("float to double and back");
  auto compare = [&](double d, float f) {
    narrow.compare(is_same(on_host<float>(simulated(d)), static_cast<float>(d)),
                   [&] { return shown(d); });
    widen.compare(is_same(on_host<double>(simulated(f)), static_cast<double>(f)) &&
                      is_same(on_host<float>(simulated(f)), f),
                  [&] { return shown(f); });
  };
  for (double d : special_values<double>())
    compare(d, static_cast<float>(d));
  // Around every float's borders of rounding.
  for (float f : special_values<float>())
    for (int step : {-1, 0, 1})
      compare(
          std::bit_cast<double>(std::bit_cast<uint64_t>((double(f) + std::nextafter(f, 0.f)) / 2) +
                                static_cast<uint64_t>(step)),
          f);
  for (uint64_t i = 0; i < count; i++) {
    double d = random_value<double>(random);
    if ((i & 1) && std::isnormal(d))
      d = std::ldexp(d, -static_cast<int>(std::ilogb(d) + random() % 310 - 150));
    compare(d, random_value<float>(random));
  }
  narrow.print();
  widen.print();
  return narrow.mismatches + widen.mismatches + CONVERSIONS<float>("float").run(count, random) +
         CONVERSIONS<double>("double").run(count, random);
}
