// Scalar expressions.
#include "tools/run/translator.h"

#include <utility>

namespace icode::run {

namespace {

INT_KIND int_kind(SCALAR s) {
  int size = s.bits == 16 ? 0 : s.bits == 32 ? 1 : 2;
  return INT_KIND(2 * size + (s.is_signed ? 0 : 1));
}

bool fits_imm(uint64_t v) {
  return int64_t(v) == int32_t(v);
}

// Instruction family of an integer comparison, by its place among EQ, NE, LT, LE, GT, GE, ULT, ...
int int_comparison(int op) {
  switch (op) {
  case EQ: return 0;
  case NEQ: return 1;
  case LT: return 2;
  case LE: return 3;
  case GT: return 4;
  case GE: return 5;
  case ULT: return 6;
  case ULE: return 7;
  case UGT: return 8;
  default: return 9; // UGE
  }
}

int negated(int op) {
  constexpr int to[][2] = {{EQ, NEQ}, {LT, GE}, {LE, GT}, {ULT, UGE}, {ULE, UGT}};
  for (auto [a, b] : to) {
    if (op == a) return b;
    if (op == b) return a;
  }
  return op;
}

// y op x for x op y
int mirrored(int op) {
  constexpr int to[][2] = {{LT, GT}, {LE, GE}, {ULT, UGT}, {ULE, UGE}};
  for (auto [a, b] : to) {
    if (op == a) return b;
    if (op == b) return a;
  }
  return op;
}

int signless(int op) {
  constexpr int to[][2] = {{LT, ULT}, {LE, ULE}, {GT, UGT}, {GE, UGE}};
  for (auto [a, b] : to)
    if (op == a) return b;
  return op;
}

bool is_unsigned_comparison(int op) {
  return op >= ULE && op <= UGT;
}

} // namespace

bool is_comparison(int op) {
  return is_integer_comparison(op) || is_floating_comparison(op);
}

// --- Pieces that work on operands ---

SCALAR_VALUE FUNCTION_TRANSLATOR::snapshot(SCALAR_VALUE v, bool wanted) {
  if (v.is_imm || !wanted) return v;
  uint32_t r = alloc();
  emit(I_MOVE, r, v.reg);
  return SCALAR_VALUE::of_reg(r);
}

SCALAR_VALUE FUNCTION_TRANSLATOR::converted(SCALAR_VALUE v, SCALAR from, SCALAR to, uint32_t want) {
  if (converts_freely(from, to)) return move_to(want, v);
  if (v.is_imm) return move_to(want, SCALAR_VALUE::of_imm(convert(v.imm, from, to)));
  uint32_t r = want != NO_REG ? want : alloc();
  if (from.cls == C_INT && to.cls == C_INT && to.is_boolean) {
    emit(I_SET_NE_I, r, v.reg, 0);
  } else if (from.cls == C_INT && to.cls == C_INT) {
    emit(unsigned(I_EXT_S16) + int_kind(to), r, v.reg);
  } else {
    emit(I_CONVERT, r, v.reg, uint32_t(p.conversions.size()));
    p.conversions.push_back({from, to});
  }
  return SCALAR_VALUE::of_reg(r);
}

SCALAR_VALUE FUNCTION_TRANSLATOR::arithmetic(int op, SCALAR type, SCALAR_VALUE l, SCALAR_VALUE r,
                                             uint32_t want, uint32_t save) {
  unsigned family;
  if (type.cls == C_FLOAT) {
    switch (op) {
    case PLUS: family = I_FADD_32; break;
    case MINUS: family = I_FSUB_32; break;
    case MULT: family = I_FMUL_32; break;
    case DIV: family = I_FDIV_32; break;
    default: fail(std::string(op_name(unsigned(op))) + " of floats");
    }
    uint32_t a = reg(l), b = reg(r);
    uint32_t d = dest(want, save);
    emit(family + (type.bits == 64), d, a, b);
    return SCALAR_VALUE::of_reg(d);
  }
  unsigned kind = 2 * int_kind(type);
  switch (op) {
  case PLUS: family = I_ADD_S16_R + kind; break;
  case MINUS: family = I_SUB_S16_R + kind; break;
  case MULT: family = I_MUL_S16_R + kind; break;
  case DIV: family = I_DIV_S16_R + kind; break;
  case MOD: family = I_MOD_S16_R + kind; break;
  case SLL: family = I_SLL_S16_R + kind; break;
  case SRL: family = I_SRL_S16_R + kind; break;
  case ANDB: family = I_AND_R; break;
  case ORB: family = I_OR_R; break;
  case XORB: family = I_XOR_R; break;
  default: fail(std::string(op_name(unsigned(op))) + " of integers");
  }
  bool commutes = op == PLUS || op == MULT || op == ANDB || op == ORB || op == XORB;
  if (commutes && l.is_imm) std::swap(l, r);
  uint32_t a = reg(l);
  bool immediate = r.is_imm && fits_imm(r.imm);
  uint32_t b = immediate ? uint32_t(r.imm) : reg(r);
  uint32_t d = dest(want, save);
  emit(family + immediate, d, a, b);
  return SCALAR_VALUE::of_reg(d);
}

SCALAR_VALUE FUNCTION_TRANSLATOR::unary(int op, SCALAR type, SCALAR_VALUE v, uint32_t want,
                                        uint32_t save) {
  bool is_float = type.cls == C_FLOAT;
  switch (op) {
  case SQR: return arithmetic(MULT, type, v, v, want, save);
  case RECIP: {
    uint64_t one = is_float ? float_bits(1, type) : 1;
    return arithmetic(DIV, type, SCALAR_VALUE::of_imm(one), v, want, save);
  }
  default: break;
  }
  if ((op == NOTB && is_float) || (op == SQRT && !is_float))
    fail(std::string(op_name(unsigned(op))) + " of such a type");
  unsigned by_width = type.bits == 64, by_kind = int_kind(type), code;
  switch (op) {
  case UMINUS: code = is_float ? I_FNEG_32 + by_width : I_NEG_S16 + by_kind; break;
  case ABS: code = is_float ? I_FABS_32 + by_width : I_ABS_S16 + by_kind; break;
  case NOTB: code = I_NOT_S16 + by_kind; break;
  default: code = I_FSQRT_32 + by_width; break; // SQRT
  }
  uint32_t a = reg(v);
  uint32_t d = dest(want, save);
  emit(code, d, a);
  return SCALAR_VALUE::of_reg(d);
}

SCALAR FUNCTION_TRANSLATOR::common_type(SCALAR a, SCALAR b) const {
  if (a.cls == C_FLOAT && b.cls == C_FLOAT) return a.bits >= b.bits ? a : b;
  if (a.cls == C_FLOAT) return a;
  if (b.cls == C_FLOAT) return b;
  a.is_boolean = b.is_boolean = false;
  if (a.bits != b.bits) return a.bits > b.bits ? a : b;
  return a.is_signed ? b : a;
}

namespace {

// What a comparison computes in, and the operator for it.
std::pair<int, SCALAR> comparison_type(int op, SCALAR left, SCALAR right) {
  if (left.cls == C_FLOAT || right.cls == C_FLOAT || op >= FEQ) {
    SCALAR type = left.cls != C_FLOAT    ? right
                  : right.cls != C_FLOAT ? left
                                         : (left.bits >= right.bits ? left : right);
    return {floating_comparison(op), type};
  }
  SCALAR type = left.bits >= right.bits ? left : right;
  if (left.is_pointer || right.is_pointer) op = signless(op);
  if (op != EQ && op != NEQ) type.is_signed = !is_unsigned_comparison(op);
  type.is_boolean = false;
  return {op, type};
}

} // namespace

SCALAR_VALUE FUNCTION_TRANSLATOR::comparison(int op, SCALAR left, SCALAR right, SCALAR_VALUE l,
                                             SCALAR_VALUE r, uint32_t want, uint32_t save) {
  auto [plain, type] = comparison_type(op, left, right);
  l = converted(l, left, type);
  r = converted(r, right, type);
  if (plain >= FEQ) {
    if (type.cls != C_FLOAT) fail("a floating comparison of integers");
    uint32_t a = reg(l), b = reg(r);
    uint32_t d = dest(want, save);
    emit(unsigned(I_FCEQ_32 + 2 * (plain - FEQ) + (type.bits == 64)), d, a, b);
    return SCALAR_VALUE::of_reg(d);
  }
  if (l.is_imm) {
    std::swap(l, r);
    plain = mirrored(plain);
  }
  uint32_t a = reg(l);
  bool immediate = r.is_imm && fits_imm(r.imm);
  uint32_t b = immediate ? uint32_t(r.imm) : reg(r);
  uint32_t d = dest(want, save);
  emit(unsigned(I_SET_EQ_R + 2 * int_comparison(plain) + immediate), d, a, b);
  return SCALAR_VALUE::of_reg(d);
}

void FUNCTION_TRANSLATOR::branch_compare(int op, SCALAR left, SCALAR right, SCALAR_VALUE l,
                                         SCALAR_VALUE r, bool when, uint32_t label) {
  auto [plain, type] = comparison_type(op, left, right);
  if (plain >= FEQ) {
    uint32_t c = reg(comparison(op, left, right, l, r, NO_REG, top));
    uint16_t steps = take_steps();
    return emit(when ? I_BR_NE_I : I_BR_EQ_I, c, 0, label, steps);
  }
  l = converted(l, left, type);
  r = converted(r, right, type);
  if (l.is_imm) {
    std::swap(l, r);
    plain = mirrored(plain);
  }
  if (!when) plain = negated(plain);
  uint32_t a = reg(l);
  bool immediate = r.is_imm && fits_imm(r.imm);
  uint32_t b = immediate ? uint32_t(r.imm) : reg(r);
  uint16_t steps = take_steps();
  emit(unsigned(I_BR_EQ_R + 2 * int_comparison(plain) + immediate), a, b, label, steps);
}

// --- Nodes ---

SCALAR_VALUE FUNCTION_TRANSLATOR::constant(const NODE& n, SCALAR type) {
  switch (n.op) {
  case ICON: {
    // The record's 64 bits are read by the signedness of the constant's own type.
    const SHAPE& own = p.shapes[n.type];
    SCALAR from = INT64;
    if (own.cls == C_INT) from.is_signed = own.scalar.is_signed;
    uint64_t v = own.cls == C_INT ? wrap(n.a, own.scalar) : n.a;
    return SCALAR_VALUE::of_imm(convert(v, from, type));
  }
  case LCON: return SCALAR_VALUE::of_imm(convert(parse_integer(unit.strings[n.text]), INT64, type));
  default: { // FCON
    const SHAPE& own = p.shapes[n.type];
    SCALAR from = own.cls == C_FLOAT ? own.scalar : DOUBLE;
    uint64_t bits;
    if (!parse_float(unit.strings[n.text], from, bits)) fail("an FCON that is no number");
    return SCALAR_VALUE::of_imm(convert(bits, from, type));
  }
  }
}

SCALAR_VALUE FUNCTION_TRANSLATOR::value_as(uint32_t n, SCALAR type, uint32_t want) {
  const SHAPE& s = shape(n);
  uint32_t save = top;
  if (s.is_scalar()) {
    if (converts_freely(s.scalar, type)) return value(n, want);
    SCALAR_VALUE v = value(n);
    return converted(v, s.scalar, type, v.is_imm ? want : dest(want, save));
  }
  if (s.cls == C_COMPLEX) {
    SCALAR_VALUE re = load(place(n), s.scalar, NO_REG, save);
    return converted(re, s.scalar, type, want);
  }
  if (s.cls == C_FUNC || node(n).op == SCON)
    return converted(address(place(n)), POINTER, type, want);
  fail(node(n), "whose value is no scalar, where one is needed");
}

SCALAR_VALUE FUNCTION_TRANSLATOR::binary(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  SCALAR type = scalar(n);
  uint32_t save = top;
  bool is_shift = x.op == SLL || x.op == SRL;
  SCALAR_VALUE l = value_as(x.left, type);
  l = snapshot(l, facts[x.right] & WRITES_REG);
  SCALAR right = is_shift ? scalar(x.right) : type;
  if (right.cls != C_INT && is_shift) fail(x, "by a float");
  SCALAR_VALUE r = value_as(x.right, right);
  return arithmetic(x.op, type, l, r, want, save);
}

// EXCLAIM, ANDAND, OROR and comparisons, as a value of the node's type.
SCALAR_VALUE FUNCTION_TRANSLATOR::truth(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  SCALAR type = scalar(n);
  SCALAR bit = INT16;
  bool direct = converts_freely(bit, type) || type.cls == C_INT;
  uint32_t save = top;
  if (is_comparison(x.op)) {
    if (shape(x.left).cls == C_COMPLEX || shape(x.right).cls == C_COMPLEX)
      return converted(complex_equal(n, NO_REG), bit, type, want);
    SCALAR ls = shape(x.left).cls == C_FUNC ? POINTER : scalar(x.left);
    SCALAR rs = shape(x.right).cls == C_FUNC ? POINTER : scalar(x.right);
    SCALAR_VALUE l = snapshot(value_as(x.left, ls), facts[x.right] & WRITES_REG);
    SCALAR_VALUE r = value_as(x.right, rs);
    SCALAR_VALUE v = comparison(x.op, ls, rs, l, r, direct ? want : NO_REG, save);
    return direct ? v : converted(v, bit, type, want);
  }
  uint32_t d = dest(want, save);
  uint32_t no = new_label(), end = new_label();
  branch_if(n, false, no);
  emit(I_CONST, d, uint32_t(convert(1, bit, type)), uint32_t(convert(1, bit, type) >> 32));
  jump(end);
  bind(no);
  emit(I_CONST, d, 0, 0);
  bind(end);
  return SCALAR_VALUE::of_reg(d);
}

SCALAR_VALUE FUNCTION_TRANSLATOR::choice(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  const NODE& arms = node(x.right);
  if (arms.op != COLON) fail(x, "without a COLON");
  SCALAR type = scalar(n);
  uint32_t d = dest(want, top);
  uint32_t save = top;
  uint32_t no = new_label(), end = new_label();
  branch_if(x.left, false, no);
  top = save;
  uint32_t outer = region;
  enter_region(arms.left, false);
  move_to(d, value_as(arms.left, type, d));
  jump(end);
  bind(no);
  top = save;
  enter_region(arms.right, false);
  move_to(d, value_as(arms.right, type, d));
  flush_steps();
  bind(end);
  top = save;
  region = outer;
  return SCALAR_VALUE::of_reg(d);
}

// PMCONV, PVCONV: p + k units, but null stays null.
SCALAR_VALUE FUNCTION_TRANSLATOR::class_pointer(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  uint32_t d = dest(want, top);
  uint32_t save = top;
  SCALAR_VALUE l = snapshot(value_as(x.left, POINTER), facts[x.right] & WRITES_REG);
  uint32_t pointer = reg(l);
  SCALAR_VALUE k = value_as(x.right, POINTER);
  uint32_t null = new_label(), end = new_label();
  emit(I_BR_EQ_I, pointer, 0, null, take_steps());
  arithmetic(PLUS, POINTER, SCALAR_VALUE::of_reg(pointer), k, d, save);
  jump(end);
  bind(null);
  emit(I_CONST, d, 0, 0);
  bind(end);
  top = save;
  return converted(SCALAR_VALUE::of_reg(d), POINTER, scalar(n), want);
}

void FUNCTION_TRANSLATOR::branch_if(uint32_t n, bool when, uint32_t label) {
  const NODE& x = node(n);
  uint32_t save = top;
  switch (x.op) {
  case EXCLAIM: return branch_if(x.left, !when, label);
  case COMMAOP:
  case PCOMMA: effects(x.left); return branch_if(x.right, when, label);
  case ANDAND:
  case OROR: {
    // The left side decides alone if it is false (ANDAND), true (OROR).
    bool deciding = x.op == OROR;
    uint32_t skip = when == deciding ? label : new_label();
    branch_if(x.left, deciding, skip);
    uint32_t outer = region;
    enter_region(x.right, false, n);
    branch_if(x.right, when, label);
    region = outer;
    if (skip != label) bind(skip);
    return;
  }
  default: break;
  }
  if (is_comparison(x.op) && !shape(x.left).has_lanes() && !shape(x.right).has_lanes()) {
    SCALAR ls = shape(x.left).cls == C_FUNC ? POINTER : scalar(x.left);
    SCALAR rs = shape(x.right).cls == C_FUNC ? POINTER : scalar(x.right);
    SCALAR_VALUE l = snapshot(value_as(x.left, ls), facts[x.right] & WRITES_REG);
    SCALAR_VALUE r = value_as(x.right, rs);
    branch_compare(x.op, ls, rs, l, r, when, label);
    top = save;
    return;
  }
  SCALAR type = shape(n).cls == C_FUNC ? POINTER : scalar(n);
  SCALAR_VALUE v = value_as(n, type);
  if (type.cls == C_FLOAT) // NaN is not zero
    branch_compare(FNEQN, type, type, v, SCALAR_VALUE::of_imm(0), when, label);
  else
    branch_compare(NEQ, type, type, v, SCALAR_VALUE::of_imm(0), when, label);
  top = save;
}

// The temporaries from `save` on are free again, unless the value is itself one of them.
SCALAR_VALUE FUNCTION_TRANSLATOR::kept(SCALAR_VALUE value, uint32_t save, uint32_t want) {
  if (value.is_imm || value.reg < save || value.reg == want) top = save;
  return value;
}

// --- Assignments ---

// What an assignment gives: the value stored, as the place would read, in the node's type. `v` is
// canonical in `type`.
SCALAR_VALUE FUNCTION_TRANSLATOR::stored_value(const PLACE& to, SCALAR type, SCALAR_VALUE v,
                                               uint32_t n, uint32_t want) {
  if (to.width) {
    uint32_t r = reg(v);
    uint32_t d = alloc();
    emit(I_BITS_WRAP, d, r, pack_bits(0, to.width, to.member.is_signed));
    v = converted(SCALAR_VALUE::of_reg(d), to.member, type);
  }
  const SHAPE& s = shape(n);
  return s.is_scalar() ? converted(v, type, s.scalar, want) : v;
}

SCALAR_VALUE FUNCTION_TRANSLATOR::assignment(uint32_t n, uint32_t want, bool needed) {
  const NODE& x = node(n);
  const SHAPE& left = shape(x.left);
  if (left.in_memory()) {
    object_assignment(n);
    return {};
  }
  SCALAR type = scalar(x.left);
  uint32_t save = top;
  PLACE to = stable(place(x.left), facts[x.right] & WRITES_REG);
  bool direct = to.kind == PLACE::REG && converts_freely(type, to.held);
  SCALAR_VALUE v = value_as(x.right, type, direct ? to.reg : NO_REG);
  store(to, type, v);
  if (!needed) {
    top = save;
    return v;
  }
  SCALAR_VALUE result = stored_value(to, type, v, n, want);
  return kept(result, save, want);
}

// A bit-field of 16 bits or less is promoted by its width, whatever type it was declared with.
static SCALAR promoted_by_width(SCALAR type, unsigned width) {
  if (type.cls != C_INT || width == 0 || width > 16) return type;
  return width < 16 || type.is_signed ? INT16 : UINT16;
}

// Of the bit-field that a tree reads, or whose new value an assignment gives; 0 for anything else.
unsigned FUNCTION_TRANSLATOR::bit_field_width(uint32_t n) const {
  for (;;) {
    const NODE& x = node(n);
    switch (x.op) {
    case STDOT:
    case STREF:
    case STFIELD: {
      const TYPE_RECORD* member = field_member(unit, node(x.right));
      return member ? unsigned(member->bit_size) : 0;
    }
    case COMMAOP: n = x.right; break;
    case ASG:
    case PLUSASG:
    case MINUSASG:
    case MULTASG:
    case DIVASG:
    case MODASG:
    case SLLASG:
    case SRLASG:
    case ANDBASG:
    case ORBASG:
    case XORBASG: n = x.left; break;
    default: return 0;
    }
  }
}

SCALAR_VALUE FUNCTION_TRANSLATOR::operation_assignment(uint32_t n, uint32_t want, bool needed) {
  const NODE& x = node(n);
  if (shape(x.left).in_memory()) {
    object_assignment(n);
    return {};
  }
  int op = operator_rows[x.op].plain;
  SCALAR type = scalar(x.left);
  uint32_t save = top;
  bool right_writes = facts[x.right] & WRITES_REG;
  PLACE to = stable(place(x.left), right_writes);
  bool is_shift = op == SLL || op == SRL;
  SCALAR promoted = promoted_by_width(type, to.width);
  promoted.is_boolean = false;
  SCALAR right = promoted_by_width(scalar(x.right), bit_field_width(x.right));
  SCALAR common = is_shift || type.is_pointer ? promoted : common_type(promoted, right);
  if (right.cls != C_INT && is_shift) fail(x, "by a float");
  SCALAR_VALUE l = snapshot(load(to, type, NO_REG, top), right_writes);
  SCALAR_VALUE old = converted(l, type, common);
  SCALAR_VALUE by = value_as(x.right, is_shift ? scalar(x.right) : common);
  bool direct =
      to.kind == PLACE::REG && converts_freely(common, type) && converts_freely(type, to.held);
  SCALAR_VALUE v = arithmetic(op, common, old, by, direct ? to.reg : NO_REG, top);
  v = converted(v, common, type);
  store(to, type, v);
  if (!needed) {
    top = save;
    return v;
  }
  SCALAR_VALUE result = stored_value(to, type, v, n, want);
  return kept(result, save, want);
}

// PLUSPLUS, MINMIN: the value is the old one.
SCALAR_VALUE FUNCTION_TRANSLATOR::step_assignment(uint32_t n, uint32_t want, bool needed) {
  const NODE& x = node(n);
  SCALAR type = scalar(x.left);
  uint32_t save = top;
  bool right_writes = facts[x.right] & WRITES_REG;
  PLACE to = stable(place(x.left), right_writes);
  SCALAR_VALUE old = load(to, type, NO_REG, top);
  old = snapshot(old, (needed && to.kind == PLACE::REG) || right_writes);
  SCALAR computed = type;
  computed.is_boolean = false;
  SCALAR_VALUE by = value_as(x.right, computed);
  bool direct = to.kind == PLACE::REG && !type.is_boolean && converts_freely(type, to.held);
  SCALAR_VALUE v =
      arithmetic(x.op == PLUSPLUS ? PLUS : MINUS, computed, old, by, direct ? to.reg : NO_REG, top);
  v = converted(v, computed, type);
  store(to, type, v);
  if (!needed) {
    top = save;
    return old;
  }
  const SHAPE& s = shape(n);
  SCALAR_VALUE result = s.is_scalar() ? converted(old, type, s.scalar, want) : old;
  return kept(result, save, want);
}

// --- Any node ---

void FUNCTION_TRANSLATOR::check_assertion(uint32_t n) {
  uint32_t good = new_label();
  branch_if(node(n).left, true, good);
  trap("an ASSERT is false");
  bind(good);
}

void FUNCTION_TRANSLATOR::effects(uint32_t n) {
  const NODE& x = node(n);
  uint32_t save = top;
  switch (x.op) {
  case NOP:
  case NASSERT:
  case LOOP_OP:
  case ENDLOOP:
  case LABEL:
  case FIELD:
  case ENDINIT: return;
  case ASSERT: check_assertion(n); break;
  case ASG:
  case STASG:
  case ARASG: assignment(n, NO_REG, false); break;
  case PLUSASG:
  case MINUSASG:
  case MULTASG:
  case DIVASG:
  case MODASG:
  case SLLASG:
  case SRLASG:
  case ANDBASG:
  case ORBASG:
  case XORBASG: operation_assignment(n, NO_REG, false); break;
  case PLUSPLUS:
  case MINMIN: step_assignment(n, NO_REG, false); break;
  case CALL:
  case UCALL: call(n, NO_REG); break;
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: built_in(n, NO_REG); break;
  case MEMCPY: move_units(n); break;
  case COMMAOP:
  case PCOMMA:
  case COMMA:
    effects(x.left);
    effects(x.right);
    break;
  case DDNODE:
  case EPVAL: effects(x.left); break;
  case QUEST: {
    const NODE& arms = node(x.right);
    if (arms.op != COLON) fail(x, "without a COLON");
    uint32_t no = new_label(), end = new_label();
    branch_if(x.left, false, no);
    uint32_t outer = region;
    enter_region(arms.left, false);
    effects(arms.left);
    jump(end);
    bind(no);
    enter_region(arms.right, false);
    effects(arms.right);
    flush_steps();
    bind(end);
    region = outer;
    break;
  }
  default: {
    const SHAPE& s = shape(n);
    if (s.is_scalar())
      value(n);
    else if (s.in_memory() || s.cls == C_FUNC)
      place(n);
    else if (s.cls == C_VOID && (x.op == SCONV || x.op == ACONV || x.op == PCONV))
      effects(x.left);
    else
      fail(x, "with a type that has no values");
  }
  }
  top = save;
}

SCALAR_VALUE FUNCTION_TRANSLATOR::value(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  if (has_trait(x.op, operator_trait::BINARY)) return binary(n, want);
  if (has_trait(x.op, operator_trait::UNARY)) {
    uint32_t save = top;
    SCALAR type = scalar(n);
    SCALAR_VALUE v = value_as(x.left, type);
    return unary(x.op, type, v, want, save);
  }
  switch (x.op) {
  case ICON:
  case LCON:
  case FCON: return move_to(want, constant(x, scalar(n)));
  case NAME:
  case VREG:
  case UMULT:
  case STDOT:
  case STREF:
  case STFIELD: {
    uint32_t save = top;
    return load(place(n), scalar(n), want, save);
  }
  case VFIELD: {
    uint32_t save = top;
    return load(place(n), scalar(n), want, save);
  }
  case REAL:
  case IMAG: {
    uint32_t save = top;
    const SHAPE& s = shape(x.left);
    if (s.cls == C_COMPLEX) return load(place(n), scalar(n), want, save);
    if (x.op == REAL) return value_as(x.left, scalar(n), want);
    effects(x.left);
    return move_to(want, SCALAR_VALUE::of_imm(0));
  }
  case UAND:
  case ARGREF:
  case SCON: {
    uint32_t save = top;
    PLACE at = place(x.op == SCON ? n : x.left);
    SCALAR type = scalar(n);
    SCALAR_VALUE v = converted(address(at), POINTER, type);
    if (v.is_imm || v.reg < save) return move_to(want, v);
    top = save;
    uint32_t d = want != NO_REG ? want : alloc();
    return move_to(d, v);
  }
  case SCONV:
  case PCONV:
  case ACONV: return value_as(x.left, scalar(n), want);
  case VRCONV: {
    SCALAR to = scalar(n);
    const SHAPE& from = shape(x.left);
    uint32_t save = top;
    if (from.in_memory()) return load(bits_as_object(n), to, want, save);
    if (!from.is_scalar() || from.scalar.bits != to.bits) fail(x, "between different sizes");
    SCALAR_VALUE v = value(x.left);
    // Both are now integers of one width, as far as the canonical form goes.
    SCALAR a = from.scalar, b = to;
    if (a.cls == C_FLOAT) a.is_signed = false;
    if (b.cls == C_FLOAT) b.is_signed = false;
    a.cls = b.cls = C_INT;
    a.is_boolean = b.is_boolean = false;
    return converted(v, a, b, want);
  }
  case DDNODE:
  case EPVAL:
  case TOIEEE:
  case FRIEEE: return value_as(x.left, scalar(n), want);
  case COMMAOP:
  case PCOMMA: effects(x.left); return value_as(x.right, scalar(n), want);
  case QUEST: return choice(n, want);
  case PMCONV:
  case PVCONV: return class_pointer(n, want);
  case ASG:
  case STASG:
  case ARASG: return assignment(n, want, true);
  case PLUSASG:
  case MINUSASG:
  case MULTASG:
  case DIVASG:
  case MODASG:
  case SLLASG:
  case SRLASG:
  case ANDBASG:
  case ORBASG:
  case XORBASG: return operation_assignment(n, want, true);
  case PLUSPLUS:
  case MINMIN: return step_assignment(n, want, true);
  case MEMCPY: return converted(move_units(n), POINTER, scalar(n), want);
  case CALL:
  case UCALL: return move_to(want, call(n, want).value);
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: return move_to(want, built_in(n, want).value);
  case EXCLAIM:
  case ANDAND:
  case OROR: return truth(n, want);
  default:
    if (is_comparison(x.op)) return truth(n, want);
    fail(x, "where a value is needed");
  }
}

} // namespace icode::run
