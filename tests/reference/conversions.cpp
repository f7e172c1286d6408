// Conversions between float, double and integers, and whole parts, against the
// reference library's.
#include "tests/reference/real.h"

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
    T want = rounded<T>([&](mpfr_ptr r) { return mpfr_set_sj(r, signed_bits, MPFR_RNDN); });
    from_ints.compare(is_same(on_host<T>(v), want), [&] { return std::to_string(signed_bits); });
    f_utof(bits, &v);
    want = rounded<T>([&](mpfr_ptr r) { return mpfr_set_uj(r, bits, MPFR_RNDN); });
    from_ints.compare(is_same(on_host<T>(v), want), [&] { return std::to_string(bits); });
    // 128 bits, the lower half being the upper one's digits turned around.
    const mpz_class wide = ((mpz_class(signed_bits) << 64) + ~bits * 3) >> bits % 90;
    unsigned char x[XI_BYTES];
    to_xi(wide, x);
    f_xtof(x, &v);
    want = rounded<T>([&](mpfr_ptr r) { return mpfr_set_z(r, wide.get_mpz_t(), MPFR_RNDN); });
    from_ints.compare(is_same(on_host<T>(v), want), [&] { return "from " + wide.get_str(); });
  }

  // Out of range too: there the nearest end is wanted.
  void compare_to_ints(T a, const simul_fval& v, const REAL& exact) {
    int64_t i;
    uint64_t u;
    const int status_i = f_ftoi(&v, &i), status_u = f_ftou(&v, &u);
    to_ints.compare((status_i == 0) == mpfr_fits_intmax_p(exact, MPFR_RNDZ) &&
                        i == mpfr_get_sj(exact, MPFR_RNDZ),
                    [&] { return shown(a); });
    to_ints.compare((status_u == 0) == mpfr_fits_uintmax_p(exact, MPFR_RNDZ) &&
                        u == mpfr_get_uj(exact, MPFR_RNDZ),
                    [&] { return "unsigned, " + shown(a); });
    if (!std::isfinite(a)) return;
    mpz_class wide;
    mpfr_get_z(wide.get_mpz_t(), exact, MPFR_RNDZ);
    const mpz_class end = mpz_class(1) << 127;
    const bool fits = wide >= -end && wide < end;
    unsigned char x[XI_BYTES];
    const int status_x = f_ftox(&v, x);
    to_ints.compare((status_x == 0) == fits && (!fits || from_xi(x) == wide),
                    [&] { return "128 bits, " + shown(a); });
  }

  void compare(T a) {
    const simul_fval v = simulated(a);
    const REAL exact(a);
    compare_to_ints(a, v, exact);

    struct {
      TARGET_UNARY f;
      int (*want)(mpfr_ptr, mpfr_srcptr);
    } const rounders[] = {{f_trunc, mpfr_trunc},
                          {f_int, mpfr_trunc},
                          {f_round, mpfr_round},
                          {f_floor, mpfr_floor},
                          {f_ceil, mpfr_ceil}};
    simul_fval r;
    for (const auto& rounder : rounders) {
      rounder.f(&v, &r);
      const T want = rounded<T>([&](mpfr_ptr m) { return rounder.want(m, exact); });
      whole.compare(is_same(on_host<T>(r), want), [&] { return shown(a); });
    }

    REAL exact_whole, exact_part;
    mpfr_modf(exact_whole, exact_part, exact, MPFR_RNDN);
    simul_fval w, f;
    f_modf(&v, &w, &f);
    parts.compare(is_same(REAL(w), exact_whole) && is_same(REAL(f), exact_part),
                  [&] { return "modf, " + shown(a); });
    int exp = 0;
    mpfr_exp_t exact_exp = 0;
    mpfr_frexp(&exact_exp, exact_part, exact, MPFR_RNDN);
    f_frexp(&v, &exp, &f);
    parts.compare(is_same(REAL(f), exact_part) && (!std::isfinite(a) || exp == exact_exp),
                  [&] { return "frexp, " + shown(a); });
    const int places = static_cast<int>(std::bit_cast<BITS<T>>(a) % 300) - 150;
    f_ldexp(&v, places, &f);
    const T moved =
        rounded<T>([&](mpfr_ptr m) { return mpfr_mul_2si(m, exact, places, MPFR_RNDN); });
    parts.compare(is_same(on_host<T>(f), moved),
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
  ROW narrow("double to float"), widen("float and double to all bits");
  auto compare = [&](double d, float f) {
    const float want = rounded<float>([&](mpfr_ptr r) { return mpfr_set_d(r, d, MPFR_RNDN); });
    narrow.compare(is_same(on_host<float>(simulated(d)), want), [&] { return shown(d); });
    widen.compare(is_same(REAL(simulated(f)), REAL(f)) && is_same(REAL(simulated(d)), REAL(d)) &&
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
