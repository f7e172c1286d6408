// Whole numbers of any size, for exact conversions between floating values and text.
#pragma once

#include <boost/multiprecision/cpp_int.hpp>

// Those of most doubles need no memory of their own.
using BIG = boost::multiprecision::number<boost::multiprecision::cpp_int_backend<512>>;

// Of a number that isn't zero.
inline long big_bit_length(const BIG& v) {
  return static_cast<long>(msb(v)) + 1;
}

inline BIG big_power(unsigned base, long exponent) {
  return pow(BIG(base), static_cast<unsigned>(exponent));
}
