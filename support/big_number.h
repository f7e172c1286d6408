// Whole numbers of any size, for exact conversions between floating values and text.
#pragma once

#include <cstdint>
#include <vector>

using BIG = std::vector<uint32_t>; // least significant first, no leading zero words; empty is zero

void big_multiply_add(BIG& v, uint32_t factor, uint32_t addend); // v = v * factor + addend
void big_multiply_by_power_of_5(BIG& v, long power);
long big_bit_length(const BIG& v);
void big_shift_left(BIG& v, long bits);
bool big_is_below(const BIG& a, const BIG& b);
void big_subtract(BIG& a, const BIG& b); // a -= b, which must not be above a
