#include "tools/run/types.h"

#include <cstdlib>

namespace icode::run {

namespace {

bool is_scalar_size(uint64_t bits) {
  return bits == 16 || bits == 32 || bits == 64;
}

SCALAR scalar_of(const TYPE_INFO& type) {
  SCALAR s;
  s.bits = is_scalar_size(type.size) ? uint8_t(type.size) : 0;
  s.is_signed = type.is_signed;
  switch (type.kind) {
  case K_INTEGER:
  case K_ENUM:
    s.cls = C_INT;
    s.is_boolean = type.is_boolean;
    break;
  case K_POINTER:
  case K_REFERENCE:
  case K_PTM:
    s.cls = C_INT;
    s.is_signed = false;
    s.is_pointer = type.kind != K_PTM;
    if (s.is_pointer && s.bits != 32) s.bits = 0;
    break;
  case K_FLOAT:
    s.cls = C_FLOAT;
    if (s.bits == 16) s.bits = 0;
    break;
  default: break;
  }
  if (s.bits == 0) s.cls = C_BAD;
  return s;
}

// The largest object that fits the 32-bit address space with room to spare.
constexpr uint64_t MAX_UNITS = uint64_t(1) << 30;

SHAPE shape_of(const UNIT& unit, const TYPE_INFO& type) {
  SHAPE s;
  s.units = type.units();
  s.wide_aligned = type.align >= 32;
  if (s.units > MAX_UNITS) return s;
  switch (type.kind) {
  case K_VOID: s.cls = C_VOID; break;
  case K_FUNC: s.cls = C_FUNC; break;
  case K_CLASS:
  case K_STRUCT:
  case K_UNION:
  case K_ARRAY: s.cls = C_MEM; break;
  case K_VECTOR:
  case K_COMPLEX: {
    const TYPE_INFO* element = resolved_type(unit, type.element);
    s.lanes = type.kind == K_COMPLEX ? 2 : type.count;
    if (element) s.scalar = scalar_of(*element);
    bool of_scalars = s.scalar.cls != C_BAD;
    bool fits = of_scalars && s.lanes <= s.units / (s.scalar.bits / 16);
    if (fits && s.lanes > 0)
      s.cls = type.kind == K_COMPLEX ? C_COMPLEX : C_VECTOR;
    else if (type.kind == K_VECTOR && !of_scalars)
      s.cls = C_MEM;
    break;
  }
  case K_PTM:
  default:
    s.scalar = scalar_of(type);
    s.cls = s.scalar.cls;
    if (s.cls == C_BAD && type.kind == K_PTM) s.cls = C_MEM;
    break;
  }
  return s;
}

} // namespace

const SHAPE& SHAPES::operator[](uint32_t type) {
  auto [it, is_new] = known_.try_emplace(type);
  if (is_new)
    if (const TYPE_INFO* info = resolved_type(unit_, type)) it->second = shape_of(unit_, *info);
  return it->second;
}

int64_t float_to_int(double d, bool is_signed) {
  constexpr double TWO_63 = 9223372036854775808.0;
  if (d != d) return 0;
  if (d < -TWO_63) return INT64_MIN;
  if (d < TWO_63) return int64_t(d);
  if (is_signed) return INT64_MAX;
  return d < 2 * TWO_63 ? int64_t(uint64_t(d)) : -1;
}

bool converts_freely(SCALAR from, SCALAR to) {
  if (from.cls != to.cls) return false;
  if (from.cls == C_FLOAT) return from.bits == to.bits;
  if (to.is_boolean) return from.is_boolean;
  if (from.bits == to.bits) return from.is_signed == to.is_signed || to.bits == 64;
  return from.bits < to.bits && (!from.is_signed || to.is_signed || to.bits == 64);
}

uint64_t convert(uint64_t v, SCALAR from, SCALAR to) {
  if (converts_freely(from, to)) return v;
  if (to.is_boolean) return from.cls == C_FLOAT ? float_value(v, from) != 0 : v != 0;
  if (from.cls == C_FLOAT && to.cls == C_FLOAT) return float_bits(float_value(v, from), to);
  if (from.cls == C_FLOAT)
    return wrap(uint64_t(float_to_int(float_value(v, from), to.is_signed)), to);
  if (to.cls == C_INT) return wrap(v, to);
  // An integer is rounded once, to the target's own precision.
  if (from.is_signed)
    return to.bits == 32 ? from_float(float(int64_t(v))) : from_double(double(int64_t(v)));
  return to.bits == 32 ? from_float(float(v)) : from_double(double(v));
}

uint64_t parse_integer(std::string_view text) {
  bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  uint64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    value = value * 10 + uint64_t(c - '0');
  }
  return negative ? 0 - value : value;
}

bool parse_float(const std::string& text, SCALAR type, uint64_t& bits) {
  const char* begin = text.c_str();
  char* end = nullptr;
  bits = type.bits == 32 ? from_float(strtof(begin, &end)) : from_double(strtod(begin, &end));
  return end != begin && *end == '\0';
}

} // namespace icode::run
