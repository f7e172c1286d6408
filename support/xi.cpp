#include "support/xi.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

__extension__ using S128 = __int128;
__extension__ using U128 = unsigned __int128;

constexpr unsigned BITS = 8 * XI_BYTES;

uint64_t swapped_on_little_endian(uint64_t v) {
  return std::endian::native == std::endian::little ? __builtin_bswap64(v) : v;
}

U128 get(const unsigned char* v) {
  uint64_t halves[2];
  memcpy(halves, v, XI_BYTES);
  return static_cast<U128>(swapped_on_little_endian(halves[0])) << 64 |
         swapped_on_little_endian(halves[1]);
}

S128 get_signed(const unsigned char* v) {
  return static_cast<S128>(get(v));
}

void put(U128 v, unsigned char* result) {
  const uint64_t halves[2] = {swapped_on_little_endian(static_cast<uint64_t>(v >> 64)),
                              swapped_on_little_endian(static_cast<uint64_t>(v))};
  memcpy(result, halves, XI_BYTES);
}

U128 magnitude(const unsigned char* v) {
  return get_signed(v) < 0 ? 0 - get(v) : get(v);
}

template <class T> int narrow(const unsigned char* v, T* result) {
  *result = static_cast<T>(get(v));
  return static_cast<S128>(*result) == get_signed(v) ? 0 : -1;
}

} // namespace

void XI_add(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  put(get(a) + get(b), result);
}

void XI_sub(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  put(get(a) - get(b), result);
}

void XI_neg(const unsigned char* a, unsigned char* result) {
  put(0 - get(a), result);
}

void XI_mpy(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  put(get(a) * get(b), result);
}

// By magnitudes, whose quotient wraps where the smallest number is divided by -1.
int XI_div(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  if (get(b) == 0) return -1;
  const U128 quotient = magnitude(a) / magnitude(b);
  put((get_signed(a) < 0) != (get_signed(b) < 0) ? 0 - quotient : quotient, result);
  return 0;
}

int XI_mod(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  if (get(b) == 0) return -1;
  const U128 rest = magnitude(a) % magnitude(b);
  put(get_signed(a) < 0 ? 0 - rest : rest, result);
  return 0;
}

void XI_and(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  put(get(a) & get(b), result);
}

void XI_or(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  put(get(a) | get(b), result);
}

void XI_xor(const unsigned char* a, const unsigned char* b, unsigned char* result) {
  put(get(a) ^ get(b), result);
}

void XI_notb(const unsigned char* a, unsigned char* result) {
  put(~get(a), result);
}

void XI_shl(const unsigned char* a, unsigned count, unsigned char* result) {
  put(count < BITS ? get(a) << count : 0, result);
}

void XI_shr(const unsigned char* a, unsigned count, unsigned char* result) {
  put(static_cast<U128>(get_signed(a) >> std::min(count, BITS - 1)), result);
}

void XI_asg(const unsigned char* a, unsigned char* result) {
  memmove(result, a, XI_BYTES);
}

int XI_size(const unsigned char* a) {
  // The sign bit and those that differ from it.
  const U128 v = get_signed(a) < 0 ? ~get(a) : get(a);
  const auto high = static_cast<uint64_t>(v >> 64), low = static_cast<uint64_t>(v);
  const int sign_bits = high ? std::countl_zero(high) : 64 + std::countl_zero(low);
  return XI_BYTES - (sign_bits - 1) / 8;
}

int XI_cmp(const unsigned char* a, const unsigned char* b) {
  return (get_signed(a) > get_signed(b)) - (get_signed(a) < get_signed(b));
}

bool XI_eq(const unsigned char* a, const unsigned char* b) {
  return get(a) == get(b);
}
bool XI_ne(const unsigned char* a, const unsigned char* b) {
  return get(a) != get(b);
}
bool XI_lt(const unsigned char* a, const unsigned char* b) {
  return get_signed(a) < get_signed(b);
}
bool XI_le(const unsigned char* a, const unsigned char* b) {
  return get_signed(a) <= get_signed(b);
}
bool XI_gt(const unsigned char* a, const unsigned char* b) {
  return get_signed(a) > get_signed(b);
}
bool XI_ge(const unsigned char* a, const unsigned char* b) {
  return get_signed(a) >= get_signed(b);
}

void XI_itox(int v, unsigned char* result) {
  put(static_cast<U128>(v), result);
}
void XI_utox(unsigned v, unsigned char* result) {
  put(v, result);
}
void XI_llitox(long long v, unsigned char* result) {
  put(static_cast<U128>(v), result);
}
void XI_llutox(unsigned long long v, unsigned char* result) {
  put(v, result);
}

int XI_xtoi(const unsigned char* v, int* result) {
  return narrow(v, result);
}
int XI_xtou(const unsigned char* v, unsigned* result) {
  return narrow(v, result);
}
int XI_xtolli(const unsigned char* v, long long* result) {
  return narrow(v, result);
}
int XI_xtollu(const unsigned char* v, unsigned long long* result) {
  return narrow(v, result);
}

void XI_dump(const unsigned char* v) {
  const U128 all = get(v);
  printf("0x%016llX%016llX", static_cast<unsigned long long>(all >> 64),
         static_cast<unsigned long long>(all));
}
