// INT65 and XI_* against the compiler's 128-bit integers.
#include "tests/reference/reference.h"

#include "support/int65.h"
#include "support/xi.h"

namespace {

using I128 = __int128;
using U128 = unsigned __int128;

std::string hex(I128 v) {
  std::string s;
  for (int shift = 124; shift >= 0; shift -= 4)
    s += "0123456789abcdef"[static_cast<int>(static_cast<U128>(v) >> shift & 15)];
  return s;
}

I128 wide(INT65 v) {
  return (static_cast<I128>(v.high) << 64) + static_cast<I128>(v.low);
}

I128 wrapped(U128 v) {
  return static_cast<I128>(v << 63) >> 63;
}

// Every width, both signs, and often next to a power of two.
U128 random_bits(RANDOM& random, int widest) {
  const int width = static_cast<int>(random() % static_cast<unsigned>(widest)) + 1;
  U128 v = (static_cast<U128>(random()) << 64 | random()) >> (128 - width);
  if (random() % 4 == 0) v = (U128(1) << (width - 1)) + random() % 3 - 1;
  return random() & 1 ? 0 - v : v;
}

void to_bytes(U128 v, unsigned char* bytes) {
  for (int k = XI_BYTES; k-- > 0; v >>= 8)
    bytes[k] = static_cast<unsigned char>(v);
}

U128 from_bytes(const unsigned char* bytes) {
  U128 v = 0;
  for (int k = 0; k < XI_BYTES; k++)
    v = v << 8 | bytes[k];
  return v;
}

uint64_t compare_int65(uint64_t count, RANDOM& random) {
  ROW row("INT65");
  for (uint64_t i = 0; i < count; i++) {
    const I128 x = wrapped(random_bits(random, 65)), y = wrapped(random_bits(random, 65));
    const INT65 a = INT65::from_words(x < 0 ? -1 : 0, static_cast<uint64_t>(x));
    const INT65 b = INT65::from_words(y < 0 ? -1 : 0, static_cast<uint64_t>(y));
    auto check = [&](const char* op, INT65 got, U128 want) {
      row.compare(wide(got) == wrapped(want),
                  [&] { return hex(x) + " " + op + " " + hex(y) + " gave " + hex(wide(got)); });
    };
    const U128 ux = static_cast<U128>(x), uy = static_cast<U128>(y);
    check("+", a + b, ux + uy);
    check("-", a - b, ux - uy);
    check("*", a * b, ux * uy);
    check("&", a & b, ux & uy);
    check("|", a | b, ux | uy);
    check("^", a ^ b, ux ^ uy);
    check("neg", -a, 0 - ux);
    if (y) {
      check("/", a / b, static_cast<U128>(x / y));
      check("%", a % b, static_cast<U128>(x % y));
    }
    const int places = static_cast<int>(random() % 70);
    check("<<", a << places, places > 64 ? 0 : ux << places);
    check(">>", a >> places, static_cast<U128>(x >> places));
    int ovf = 0;
    check("long_add", long_add(a, b, &ovf), ux + uy);
    check("its overflow", ovf, x + y != wrapped(ux + uy));
    ovf = 0;
    const U128 magnitudes = (x < 0 ? 0 - ux : ux) * (y < 0 ? 0 - uy : uy);
    const U128 kept = static_cast<uint64_t>(magnitudes);
    check("long_multiply", long_multiply(a, b, &ovf), (x < 0) != (y < 0) ? 0 - kept : kept);
    const bool both_min = a == INT65::min() && b == INT65::min();
    check("its overflow", ovf, both_min || magnitudes >> 64 != 0);
    check("<=>", (a < b) * 4 + (a == b) * 2 + (a > b), (x < y) * 4 + (x == y) * 2 + (x > y));
    check("fits_in<int64_t>", a.fits_in<int64_t>(), x >= INT64_MIN && x <= INT64_MAX);
  }
  row.print();
  return row.mismatches;
}

uint64_t compare_xi(uint64_t count, RANDOM& random) {
  ROW row("XI_*");
  for (uint64_t i = 0; i < count; i++) {
    const U128 x = random_bits(random, 128), y = random_bits(random, 128);
    const I128 sx = static_cast<I128>(x), sy = static_cast<I128>(y);
    unsigned char a[XI_BYTES], b[XI_BYTES], r[XI_BYTES];
    to_bytes(x, a);
    to_bytes(y, b);
    auto check = [&](const char* op, U128 got, U128 want) {
      row.compare(got == want, [&] {
        return hex(sx) + " " + op + " " + hex(sy) + " gave " + hex(static_cast<I128>(got));
      });
    };
    using BINARY = void (*)(const unsigned char*, const unsigned char*, unsigned char*);
    auto binary = [&](const char* op, BINARY f, U128 want) {
      f(a, b, r);
      check(op, from_bytes(r), want);
    };
    binary("+", XI_add, x + y);
    binary("-", XI_sub, x - y);
    binary("*", XI_mpy, x * y);
    binary("&", XI_and, x & y);
    binary("|", XI_or, x | y);
    binary("^", XI_xor, x ^ y);
    XI_neg(a, r);
    check("neg", from_bytes(r), 0 - x);
    XI_notb(a, r);
    check("~", from_bytes(r), ~x);
    const bool wraps = x == U128(1) << 127 && sy == -1;
    const int status = XI_div(a, b, r);
    check("/ status", static_cast<U128>(status + 1), y != 0);
    if (y) {
      check("/", from_bytes(r), wraps ? x : static_cast<U128>(sx / sy));
      XI_mod(a, b, r);
      check("%", from_bytes(r), wraps ? 0 : static_cast<U128>(sx % sy));
    }
    const unsigned places = static_cast<unsigned>(random() % 140);
    XI_shl(a, places, r);
    check("<<", from_bytes(r), places > 127 ? 0 : x << places);
    XI_shr(a, places, r);
    check(">>", from_bytes(r), static_cast<U128>(sx >> (places > 127 ? 127 : places)));
    check("cmp", static_cast<U128>(XI_cmp(a, b) + 1), static_cast<U128>((sx > sy) - (sx < sy) + 1));
    check("relations",
          XI_eq(a, b) | XI_ne(a, b) << 1 | XI_lt(a, b) << 2 | XI_le(a, b) << 3 | XI_gt(a, b) << 4 |
              XI_ge(a, b) << 5,
          static_cast<U128>((x == y) | (x != y) << 1 | (sx < sy) << 2 | (sx <= sy) << 3 |
                            (sx > sy) << 4 | (sx >= sy) << 5));
    int bytes = 1;
    while (bytes < 16 && (sx >> (8 * bytes - 1)) != (sx < 0 ? -1 : 0))
      bytes++;
    check("size", static_cast<U128>(XI_size(a)), static_cast<U128>(bytes));

    int i32;
    unsigned u32;
    long long i64;
    unsigned long long u64;
    check("to int", static_cast<U128>(XI_xtoi(a, &i32) + 1), sx == static_cast<int>(sx));
    check("to unsigned", static_cast<U128>(XI_xtou(a, &u32) + 1), x == static_cast<unsigned>(x));
    check("to long long", static_cast<U128>(XI_xtolli(a, &i64) + 1),
          sx == static_cast<long long>(sx));
    check("to unsigned long long", static_cast<U128>(XI_xtollu(a, &u64) + 1),
          x == static_cast<unsigned long long>(x));
    XI_itox(i32, r);
    check("from int", from_bytes(r), static_cast<U128>(static_cast<I128>(static_cast<int>(sx))));
    XI_utox(u32, r);
    check("from unsigned", from_bytes(r), static_cast<unsigned>(x));
    XI_llitox(i64, r);
    check("from long long", from_bytes(r),
          static_cast<U128>(static_cast<I128>(static_cast<long long>(sx))));
    XI_llutox(u64, r);
    check("from unsigned long long", from_bytes(r), static_cast<unsigned long long>(x));
  }
  row.print();
  return row.mismatches;
}

} // namespace

uint64_t compare_integers(uint64_t count, RANDOM& random) {
  return compare_int65(count, random) + compare_xi(count, random);
}
