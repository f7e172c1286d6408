// Lvalues: where they are, and how they are read and written.
#include "tools/run/translator.h"

namespace icode::run {

namespace {

constexpr uint64_t MAX_FRAME = 0x400000;   // units of one function's frame
constexpr uint64_t MAX_FRAMES = 0x4000000; // units of all functions' frames

SCALAR_VALUE offset_operand(uint32_t offset) {
  return SCALAR_VALUE::of_imm(uint64_t(int64_t(int32_t(offset))));
}

bool is_address_type(const SHAPE& s) {
  return s.cls == C_INT && s.scalar.bits == 32;
}

} // namespace

PLACE FUNCTION_TRANSLATOR::frame_object(uint64_t units, bool wide_aligned) {
  uint64_t at = out.frame.size();
  if (wide_aligned) at = (at + 1) & ~uint64_t(1);
  uint64_t end = at + units + GAP;
  if (end > MAX_FRAME) fail("locals that are larger than the stack");
  p.frame_units += end - out.frame.size();
  if (p.frame_units > MAX_FRAMES) fail("too many large locals");
  out.frame.resize(end, P_NONE);
  std::fill_n(out.frame.begin() + long(at), units, uint8_t(P_READ_WRITE));
  PLACE place;
  place.kind = PLACE::FRAME;
  place.offset = uint32_t(at);
  return place;
}

PLACE FUNCTION_TRANSLATOR::home_place(const NODE& x) {
  PLACE place;
  if (x.a == 0) {
    if (x.b >= p.global_address.size()) fail("a NAME of no symbol");
    place.offset = p.global_address[x.b];
    return place;
  }
  if (x.b >= homes.size()) fail("a NAME of no symbol");
  const SYMBOL& s = function.locals[x.b];
  const HOME& home = homes[x.b];
  bool has_home = home.is_static || home.place.kind != PLACE::FIXED;
  if (!has_home) fail("the local " + s.name + " of a type that has no values");
  return home.place;
}

PLACE FUNCTION_TRANSLATOR::moved(PLACE at, uint64_t units) const {
  at.offset += uint32_t(units);
  return at;
}

PLACE FUNCTION_TRANSLATOR::member_place(PLACE base, const NODE& field) {
  const TYPE_RECORD* member = field_member(unit, field);
  if (!member) fail("the access of an unknown member");
  if (base.kind == PLACE::REG || base.width) fail("a member of what is no object");
  int64_t bit = member->offset;
  auto unit_offset = uint32_t(bit >> 4);
  if (member->bit_size == 0) {
    if (bit & 15) fail("the member " + member->name + ", which begins within a unit");
    return moved(base, unit_offset);
  }
  const SHAPE& type = p.shapes[member->ref];
  if (type.cls != C_INT || member->bit_size > type.scalar.bits)
    fail("the bit-field " + member->name + ", which is wider than its type");
  base = moved(base, unit_offset);
  base.shift = uint8_t(bit & 15);
  base.width = uint8_t(member->bit_size);
  base.member = type.scalar;
  return base;
}

PLACE FUNCTION_TRANSLATOR::stable(PLACE at, bool wanted) {
  if (!wanted) return at;
  if (at.kind == PLACE::BASE) at.reg = snapshot(SCALAR_VALUE::of_reg(at.reg), true).reg;
  if (at.index != NO_REG) at.index = snapshot(SCALAR_VALUE::of_reg(at.index), true).reg;
  return at;
}

PLACE FUNCTION_TRANSLATOR::place_at(uint32_t n) {
  const NODE& x = node(n);
  const SHAPE& s = shape(n);
  switch (x.op) {
  case UAND:
  case ARGREF: {
    if (!is_address_type(s)) break;
    PLACE at = place(x.left);
    if (at.kind == PLACE::REG || at.width) fail(x, "of what has no address");
    return at;
  }
  case DDNODE:
  case EPVAL:
  case PCONV:
  case SCONV:
  case ACONV:
    if (is_address_type(s) && is_address_type(shape(x.left))) return place_at(x.left);
    break;
  case COMMAOP:
    if (!is_address_type(shape(x.right))) break;
    effects(x.left);
    return place_at(x.right);
  case PLUS:
  case MINUS: {
    if (!is_address_type(s) || !is_address_type(shape(x.left))) break;
    PLACE at = stable(place_at(x.left), facts[x.right] & WRITES_REG);
    SCALAR type = scalar(x.right);
    // Additions work modulo 2^32, so the distance needs no extension beyond its own.
    if (type.cls != C_INT) type = INT64;
    SCALAR_VALUE by = value_as(x.right, type);
    if (by.is_imm) return moved(at, x.op == PLUS ? by.imm : 0 - by.imm);
    if (x.op == MINUS) {
      SCALAR_VALUE a = arithmetic(MINUS, POINTER, address(at), by, NO_REG, top);
      at = {};
      at.kind = PLACE::BASE;
      at.reg = a.reg;
    } else if (at.index == NO_REG) {
      at.index = by.reg;
    } else {
      at.index = arithmetic(PLUS, POINTER, SCALAR_VALUE::of_reg(at.index), by, NO_REG, top).reg;
    }
    return at;
  }
  default: break;
  }
  SCALAR_VALUE v = value_as(n, POINTER);
  PLACE at;
  if (v.is_imm) {
    at.offset = uint32_t(v.imm);
  } else {
    at.kind = PLACE::BASE;
    at.reg = v.reg;
  }
  return at;
}

PLACE FUNCTION_TRANSLATOR::place(uint32_t n) {
  const NODE& x = node(n);
  switch (x.op) {
  case NAME: return home_place(x);
  case VREG: {
    auto it = vregs.find(x.a);
    if (it == vregs.end()) fail(x, "of no type");
    return it->second;
  }
  case UMULT: return place_at(x.left);
  case STDOT:
  case STFIELD: return member_place(place(x.left), node(x.right));
  case STREF: return member_place(place_at(x.left), node(x.right));
  case VFIELD: {
    if (node(x.right).op == COMMA) return field_lanes(n);
    const SHAPE& vector = shape(x.left);
    const NODE& k = node(x.right);
    if (vector.cls != C_VECTOR || k.op != ICON || k.a >= vector.lanes)
      fail(x, "without a vector and one of its lanes");
    return moved(place(x.left), k.a * (vector.scalar.bits / 16));
  }
  case REAL:
  case IMAG: {
    const SHAPE& whole = shape(x.left);
    if (whole.cls != C_COMPLEX) fail(x, "of what is not complex");
    return moved(place(x.left), x.op == IMAG ? whole.scalar.bits / 16 : 0);
  }
  case SCON: {
    PLACE at;
    at.offset = string_address(p, unit.strings[x.text]);
    return at;
  }
  case COMMAOP:
  case PCOMMA: effects(x.left); return place(x.right);
  case DDNODE:
  case EPVAL: return place(x.left);
  default: break;
  }
  if (!shape(n).in_memory()) fail(x, "where an lvalue is needed");
  return object_value(n);
}

SCALAR_VALUE FUNCTION_TRANSLATOR::address(const PLACE& at, uint32_t want) {
  if (at.kind == PLACE::REG || at.width) fail("the address of what has none");
  SCALAR_VALUE index = SCALAR_VALUE::of_reg(at.index);
  bool has_index = at.index != NO_REG;
  switch (at.kind) {
  case PLACE::FRAME: {
    uint32_t d = want != NO_REG ? want : alloc();
    if (has_index)
      emit(I_LEAX, d, at.index, at.offset);
    else
      emit(I_LEA, d, 0, at.offset);
    return SCALAR_VALUE::of_reg(d);
  }
  case PLACE::BASE: {
    SCALAR_VALUE base = SCALAR_VALUE::of_reg(at.reg);
    if (at.offset)
      base = arithmetic(PLUS, POINTER, base, offset_operand(at.offset), has_index ? NO_REG : want,
                        top);
    if (has_index) return arithmetic(PLUS, POINTER, base, index, want, top);
    return move_to(want, base);
  }
  default: // FIXED
    if (has_index) return arithmetic(PLUS, POINTER, index, offset_operand(at.offset), want, top);
    return move_to(want, SCALAR_VALUE::of_imm(at.offset));
  }
}

FUNCTION_TRANSLATOR::ACCESS FUNCTION_TRANSLATOR::access(const PLACE& at, unsigned units,
                                                        bool writes) {
  bool has_index = at.index != NO_REG;
  switch (at.kind) {
  case PLACE::FIXED: {
    if (has_index) return {M_BASE, at.index, at.offset};
    // Data neither moves nor changes its permission, so one look now is enough.
    bool good = writes ? p.memory.can_write(at.offset, units) : p.memory.can_read(at.offset, units);
    if (good) return {M_FIXED, 0, at.offset};
    break;
  }
  case PLACE::FRAME: {
    if (has_index) return {M_FRAMEX, at.index, at.offset};
    uint64_t last = uint64_t(at.offset) + units - 1;
    if (last < out.frame.size() && out.frame[at.offset] && out.frame[last])
      return {M_FRAME, 0, at.offset};
    break;
  }
  default: // BASE
    if (!has_index) return {M_BASE, at.reg, at.offset};
    if (at.offset <= UINT16_MAX) return {M_INDEX, at.reg, at.index, at.offset};
    break;
  }
  return {M_BASE, reg(address(at)), 0};
}

SCALAR_VALUE FUNCTION_TRANSLATOR::load(const PLACE& from, SCALAR type, uint32_t want,
                                       uint32_t save) {
  if (from.kind == PLACE::REG) {
    type.is_boolean = false; // reading never changes the bits
    if (from.held.cls != type.cls || from.held.bits != type.bits)
      fail("a register of another type");
    return converted(SCALAR_VALUE::of_reg(from.reg), from.held, type, want);
  }
  if (p.with_stats && region != NONE) ++p.regions[region].loads;
  if (from.width) {
    PLACE plain = from;
    plain.width = 0;
    uint32_t a = reg(address(plain));
    SCALAR member = from.member;
    bool is_free = converts_freely(member, type);
    uint32_t d = dest(is_free ? want : NO_REG, save);
    emit(I_BITS_LOAD, d, a, pack_bits(from.shift, from.width, member.is_signed));
    return converted(SCALAR_VALUE::of_reg(d), member, type, want);
  }
  unsigned family;
  if (type.bits == 64)
    family = I_LOAD_64_FIXED;
  else if (type.bits == 32)
    family = type.cls == C_INT && type.is_signed ? I_LOAD_S32_FIXED : I_LOAD_U32_FIXED;
  else
    family = type.is_signed ? I_LOAD_S16_FIXED : I_LOAD_U16_FIXED;
  ACCESS a = access(from, type.bits / 16, false);
  uint32_t d = dest(want, save);
  emit(family + a.mode, d, a.b, a.c, a.aux);
  return SCALAR_VALUE::of_reg(d);
}

void FUNCTION_TRANSLATOR::store(const PLACE& to, SCALAR type, SCALAR_VALUE v) {
  if (to.kind == PLACE::REG) {
    if (to.held.cls != type.cls || to.held.bits != type.bits) fail("a register of another type");
    type.is_boolean = false;
    converted(v, type, to.held, to.reg);
    return;
  }
  if (p.with_stats && region != NONE) ++p.regions[region].stores;
  uint32_t r = reg(v);
  if (to.width) {
    if (type.cls != C_INT) fail("a bit-field of another type");
    PLACE plain = to;
    plain.width = 0;
    emit(I_BITS_STORE, r, reg(address(plain)), pack_bits(to.shift, to.width, false));
    return;
  }
  unsigned family = type.bits == 64   ? I_STORE_64_FIXED
                    : type.bits == 32 ? I_STORE_32_FIXED
                                      : I_STORE_16_FIXED;
  ACCESS a = access(to, type.bits / 16, true);
  emit(family + a.mode, r, a.b, a.c, a.aux);
}

void FUNCTION_TRANSLATOR::copy(const PLACE& to, const PLACE& from, uint64_t units) {
  if (p.with_stats && region != NONE) {
    ++p.regions[region].loads;
    ++p.regions[region].stores;
  }
  uint32_t a = reg(address(to)), b = reg(address(from));
  emit(I_COPY, a, b, uint32_t(units));
}

} // namespace icode::run
