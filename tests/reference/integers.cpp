// INT65 and XI_* against the reference library's whole numbers of any size.
#include "tests/reference/reference.h"

#include "support/int65.h"

namespace {

const mpz_class WORD = mpz_class(1) << 64;

// The two's complement number in the low bits.
mpz_class wrapped(const mpz_class& v, unsigned bits) {
  const mpz_class range = mpz_class(1) << bits;
  mpz_class low;
  mpz_fdiv_r_2exp(low.get_mpz_t(), v.get_mpz_t(), bits);
  return low >= range / 2 ? mpz_class(low - range) : low;
}

// Does v fit into T?
template <class T> bool fits(const mpz_class& v) {
  constexpr unsigned BITS = 8 * sizeof(T);
  return std::is_signed_v<T> ? wrapped(v, BITS) == v : v >= 0 && v >> BITS == 0;
}

// Every width, both signs, and often next to a power of two.
mpz_class random_number(RANDOM& random, unsigned widest) {
  const unsigned width = static_cast<unsigned>(random() % widest) + 1;
  mpz_class v = (mpz_class(random()) << 64 | mpz_class(random())) >> (128 - width);
  if (random() % 4 == 0) v = (mpz_class(1) << (width - 1)) + mpz_class(random() % 3) - 1;
  return wrapped(random() & 1 ? mpz_class(-v) : v, widest);
}

std::string text_of(const mpz_class& x, const char* op, const mpz_class& y, const mpz_class& got) {
  return x.get_str() + " " + op + " " + y.get_str() + " gave " + got.get_str();
}

mpz_class wide(INT65 v) {
  return mpz_class(v.low) + v.high * WORD;
}

uint64_t compare_int65(uint64_t count, RANDOM& random) {
  ROW row("INT65");
  for (uint64_t i = 0; i < count; i++) {
    const mpz_class x = random_number(random, 65), y = random_number(random, 65);
    const mpz_class low_x = x & (WORD - 1), low_y = y & (WORD - 1);
    const INT65 a = INT65::from_words(x < 0 ? -1 : 0, low_x.get_ui());
    const INT65 b = INT65::from_words(y < 0 ? -1 : 0, low_y.get_ui());
    auto check = [&](const char* op, INT65 got, const mpz_class& want) {
      row.compare(wide(got) == wrapped(want, 65), [&] { return text_of(x, op, y, wide(got)); });
    };
    check("+", a + b, x + y);
    check("-", a - b, x - y);
    check("*", a * b, x * y);
    check("&", a & b, x & y);
    check("|", a | b, x | y);
    check("^", a ^ b, x ^ y);
    check("neg", -a, -x);
    if (y != 0) {
      check("/", a / b, x / y);
      check("%", a % b, x % y);
    }
    const int places = static_cast<int>(random() % 70);
    check("<<", a << places, x << places);
    check(">>", a >> places, x >> places);
    int ovf = 0;
    check("long_add", long_add(a, b, &ovf), x + y);
    check("its overflow", ovf, x + y != wrapped(x + y, 65));
    ovf = 0;
    const mpz_class magnitudes = abs(x * y), kept = magnitudes & (WORD - 1);
    check("long_multiply", long_multiply(a, b, &ovf), (x < 0) != (y < 0) ? mpz_class(-kept) : kept);
    const bool both_min = a == INT65::min() && b == INT65::min();
    check("its overflow", ovf, both_min || magnitudes >= WORD);
    check("<=>", (a < b) * 4 + (a == b) * 2 + (a > b), (x < y) * 4 + (x == y) * 2 + (x > y));
    check("fits_in<int64_t>", a.fits_in<int64_t>(), fits<int64_t>(x));
  }
  row.print();
  return row.mismatches;
}

uint64_t compare_xi(uint64_t count, RANDOM& random) {
  ROW row("XI_*");
  for (uint64_t i = 0; i < count; i++) {
    const mpz_class x = random_number(random, 128), y = random_number(random, 128);
    unsigned char a[XI_BYTES], b[XI_BYTES], r[XI_BYTES];
    to_xi(x, a);
    to_xi(y, b);
    auto check = [&](const char* op, const mpz_class& got, const mpz_class& want) {
      row.compare(got == wrapped(want, 128), [&] { return text_of(x, op, y, got); });
    };
    using BINARY = void (*)(const unsigned char*, const unsigned char*, unsigned char*);
    auto binary = [&](const char* op, BINARY f, const mpz_class& want) {
      f(a, b, r);
      check(op, from_xi(r), want);
    };
    binary("+", XI_add, x + y);
    binary("-", XI_sub, x - y);
    binary("*", XI_mpy, x * y);
    binary("&", XI_and, x & y);
    binary("|", XI_or, x | y);
    binary("^", XI_xor, x ^ y);
    XI_neg(a, r);
    check("neg", from_xi(r), -x);
    XI_notb(a, r);
    check("~", from_xi(r), ~x);
    const int status = XI_div(a, b, r);
    check("/ status", status, y != 0 ? 0 : -1);
    if (y != 0) {
      check("/", from_xi(r), x / y);
      XI_mod(a, b, r);
      check("%", from_xi(r), x % y);
    }
    const unsigned places = static_cast<unsigned>(random() % 140);
    XI_shl(a, places, r);
    check("<<", from_xi(r), x << places);
    XI_shr(a, places, r);
    check(">>", from_xi(r), x >> places);
    check("cmp", XI_cmp(a, b), (x > y) - (x < y));
    check("relations",
          XI_eq(a, b) | XI_ne(a, b) << 1 | XI_lt(a, b) << 2 | XI_le(a, b) << 3 | XI_gt(a, b) << 4 |
              XI_ge(a, b) << 5,
          (x == y) | (x != y) << 1 | (x < y) << 2 | (x <= y) << 3 | (x > y) << 4 | (x >= y) << 5);
    unsigned bytes = 1;
    while (wrapped(x, 8 * bytes) != x)
      bytes++;
    check("size", XI_size(a), bytes);

    int i32;
    unsigned u32;
    long long i64;
    unsigned long long u64;
    check("to int", XI_xtoi(a, &i32), fits<int>(x) - 1);
    check("to unsigned", XI_xtou(a, &u32), fits<unsigned>(x) - 1);
    check("to long long", XI_xtolli(a, &i64), fits<long long>(x) - 1);
    check("to unsigned long long", XI_xtollu(a, &u64), fits<unsigned long long>(x) - 1);
    XI_itox(i32, r);
    check("from int", from_xi(r), wrapped(x, 32));
    XI_utox(u32, r);
    check("from unsigned", from_xi(r), x & 0xFFFFFFFFu);
    XI_llitox(i64, r);
    check("from long long", from_xi(r), wrapped(x, 64));
    XI_llutox(u64, r);
    check("from unsigned long long", from_xi(r), x & (WORD - 1));
  }
  row.print();
  return row.mismatches;
}

} // namespace

void to_xi(const mpz_class& v, unsigned char* bytes) {
  for (int k = 0; k < XI_BYTES; k++) {
    const mpz_class byte = v >> (8 * (XI_BYTES - 1 - k)) & 0xFF;
    bytes[k] = static_cast<unsigned char>(byte.get_ui());
  }
}

mpz_class from_xi(const unsigned char* bytes) {
  mpz_class v;
  mpz_import(v.get_mpz_t(), XI_BYTES, 1, 1, 0, 0, bytes);
  return wrapped(v, 8 * XI_BYTES);
}

uint64_t compare_integers(uint64_t count, RANDOM& random) {
  return compare_int65(count, random) + compare_xi(count, random);
}
