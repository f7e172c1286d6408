// What the interpreter knows of a type, and conversions of values.
//
// A scalar value is held in 64 bits in canonical form: an integer or pointer sign- or zero-extended
// from its width by its signedness, a float as the bits of binary32 (zero-extended) or binary64.
// A value of any other type is held as the address of an object that has it.
#pragma once

#include "tools/unit/unit.h"

#include <bit>
#include <string_view>
#include <unordered_map>

namespace icode::run {

enum CLASS : uint8_t {
  C_BAD, // a type that no value can have here
  C_VOID,
  C_INT, // integers, enumerations, pointers, references
  C_FLOAT,
  C_FUNC,
  C_MEM,    // structures, unions, classes, arrays
  C_VECTOR, // of scalars
  C_COMPLEX,
};

struct SCALAR {
  CLASS cls = C_BAD; // C_INT or C_FLOAT
  uint8_t bits = 0;  // 16, 32 or 64
  bool is_signed = false, is_boolean = false, is_pointer = false;
  bool operator==(const SCALAR&) const = default;
};

struct SHAPE {
  CLASS cls = C_BAD;
  SCALAR scalar;             // of the value, the lane of a vector, or the part of a complex
  uint64_t units = 0;        // size in addressable units
  uint64_t lanes = 0;        // of a vector; 2 for a complex
  bool wide_aligned = false; // begins at an even address

  bool is_scalar() const { return cls == C_INT || cls == C_FLOAT; }
  bool in_memory() const { return cls >= C_MEM; }
  bool has_lanes() const { return cls >= C_VECTOR; }
};

constexpr SCALAR INT16{C_INT, 16, true, false, false};
constexpr SCALAR UINT16{C_INT, 16, false, false, false};
constexpr SCALAR INT64{C_INT, 64, true, false, false};
constexpr SCALAR POINTER{C_INT, 32, false, false, true};
constexpr SCALAR DOUBLE{C_FLOAT, 64, true, false, false};

// Shapes of a unit's types by number, worked out at the first question.
class SHAPES {
public:
  explicit SHAPES(const UNIT& unit) : unit_(unit) {}
  const SHAPE& operator[](uint32_t type);

private:
  const UNIT& unit_;
  std::unordered_map<uint32_t, SHAPE> known_;
};

// The canonical form of the low bits of `bits` in an integer type.
inline uint64_t wrap(uint64_t bits, unsigned width, bool is_signed) {
  if (width >= 64) return bits;
  if (!is_signed) return bits & ((uint64_t(1) << width) - 1);
  unsigned room = 64 - width;
  return uint64_t(int64_t(bits << room) >> room);
}
inline uint64_t wrap(uint64_t bits, SCALAR s) {
  return wrap(bits, s.bits, s.is_signed);
}

inline float as_float(uint64_t v) {
  return std::bit_cast<float>(uint32_t(v));
}
inline double as_double(uint64_t v) {
  return std::bit_cast<double>(v);
}
inline uint64_t from_float(float f) {
  return std::bit_cast<uint32_t>(f);
}
inline uint64_t from_double(double d) {
  return std::bit_cast<uint64_t>(d);
}

// A float of either width, as a double (exact), and back (rounded to nearest).
inline double float_value(uint64_t v, SCALAR s) {
  return s.bits == 32 ? double(as_float(v)) : as_double(v);
}
inline uint64_t float_bits(double d, SCALAR s) {
  return s.bits == 32 ? from_float(float(d)) : from_double(d);
}

// Towards zero into 64 bits. Values from 2^63 on keep their bits for an unsigned target; outside of
// that the nearest bound, and 0 for NaN.
int64_t float_to_int(double d, bool is_signed);

// Whether every canonical value of `from` is the canonical form of the same value in `to`.
bool converts_freely(SCALAR from, SCALAR to);
uint64_t convert(uint64_t v, SCALAR from, SCALAR to);

// Constants as text. An integer is taken modulo 2^64.
uint64_t parse_integer(std::string_view text);
// Decimal, hexadecimal, inf or nan with an optional sign; false for anything else.
bool parse_float(const std::string& text, SCALAR type, uint64_t& bits);

} // namespace icode::run
