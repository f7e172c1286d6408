// Values that are no scalars: aggregates, vectors, complex numbers. An operation on lanes becomes
// one operation for each lane; its result is an object in the frame.
#include "tools/run_translator.h"

namespace icode::run {

namespace {

constexpr uint64_t MAX_LANES = 1024;

constexpr unsigned RE = 0, IM = 1; // lanes of a complex number

} // namespace

FunctionTranslator::LaneSource FunctionTranslator::lane_source(uint32_t n, bool copied) {
  LaneSource s;
  s.shape = shape(n);
  s.is_scalar = s.shape.is_scalar();
  if (s.is_scalar) {
    s.value = snapshot(value(n), copied);
  } else if (s.shape.has_lanes()) {
    s.place = place(n);
    if (copied) {
      Place own = frame_object(s.shape.units, true);
      copy(own, s.place, s.shape.units);
      s.place = own;
    }
  } else {
    fail(node(n), "where a vector or a complex number is needed");
  }
  return s;
}

// Lane k. A scalar stands for all lanes of a vector.
Operand FunctionTranslator::lane(const LaneSource& from, uint64_t k) {
  if (from.is_scalar) return from.value;
  Scalar type = from.shape.scalar;
  return load(moved(from.place, k * (type.bits / 16)), type, NO_REG, top);
}

Operand FunctionTranslator::lane_as(const LaneSource& from, uint64_t k, Scalar type) {
  return converted(lane(from, k), lane_type(from), type);
}

void FunctionTranslator::check_lanes(const Shape& type, const LaneSource& from) {
  if (type.lanes > MAX_LANES) fail("a vector of too many lanes");
  if (!from.is_scalar && from.shape.lanes != type.lanes)
    fail("vectors of different numbers of lanes");
}

Place FunctionTranslator::converted_lanes(const Shape& type, const LaneSource& from) {
  check_lanes(type, from);
  Place to = frame_object(type.units, true);
  for (uint64_t k = 0; k < type.lanes; ++k) {
    uint32_t save = top;
    bool no_imaginary = type.cls == C_COMPLEX && from.is_scalar && k == IM;
    Operand v = no_imaginary ? Operand::of_imm(0) : lane_as(from, k, type.scalar);
    store(moved(to, k * (type.scalar.bits / 16)), type.scalar, v);
    top = save;
  }
  return to;
}

Place FunctionTranslator::lane_operation(int op, const Shape& type, const LaneSource& left,
                                         const LaneSource* right) {
  check_lanes(type, left);
  if (right) check_lanes(type, *right);
  Place to = frame_object(type.units, true);
  bool is_shift = op == SLL || op == SRL;
  for (uint64_t k = 0; k < type.lanes; ++k) {
    uint32_t save = top;
    Operand v;
    if (is_comparison(op)) {
      Operand l = lane(left, k), r = lane(*right, k);
      v = comparison(op, lane_type(left), lane_type(*right), l, r, NO_REG, top);
      v = converted(v, INT16, type.scalar);
    } else if (right) {
      Operand l = lane_as(left, k, type.scalar);
      if (is_shift && lane_type(*right).cls != C_INT) fail("a shift by a float");
      Operand r = is_shift ? lane(*right, k) : lane_as(*right, k, type.scalar);
      v = arithmetic(op, type.scalar, l, r, NO_REG, top);
    } else {
      v = unary(op, type.scalar, lane_as(left, k, type.scalar), NO_REG, top);
    }
    store(moved(to, k * (type.scalar.bits / 16)), type.scalar, v);
    top = save;
  }
  return to;
}

Place FunctionTranslator::complex_operation(int op, const Shape& type, const LaneSource& left,
                                            const LaneSource* right) {
  Scalar part = type.scalar;
  auto get = [&](const LaneSource& from, unsigned k) {
    if (from.is_scalar && k == IM) return Operand::of_imm(0);
    return lane_as(from, k, part);
  };
  auto calc = [&](int o, Operand l, Operand r) { return arithmetic(o, part, l, r, NO_REG, top); };
  Place to = frame_object(type.units, true);
  Operand a = get(left, RE), b = get(left, IM), re, im;
  if (!right) {
    if (op != UMINUS) fail(std::string(op_name(unsigned(op))) + " of a complex number");
    re = unary(op, part, a, NO_REG, top);
    im = unary(op, part, b, NO_REG, top);
  } else {
    Operand c = get(*right, RE), d = get(*right, IM);
    switch (op) {
    case PLUS:
    case MINUS:
      re = calc(op, a, c);
      im = calc(op, b, d);
      break;
    case MULT:
      re = calc(MINUS, calc(MULT, a, c), calc(MULT, b, d));
      im = calc(PLUS, calc(MULT, a, d), calc(MULT, b, c));
      break;
    case DIV: {
      Operand norm = calc(PLUS, calc(MULT, c, c), calc(MULT, d, d));
      re = calc(DIV, calc(PLUS, calc(MULT, a, c), calc(MULT, b, d)), norm);
      im = calc(DIV, calc(MINUS, calc(MULT, b, c), calc(MULT, a, d)), norm);
      break;
    }
    default: fail(std::string(op_name(unsigned(op))) + " of complex numbers");
    }
  }
  store(to, part, re);
  store(moved(to, part.bits / 16), part, im);
  return to;
}

// EQ and NEQ where an operand is complex.
Operand FunctionTranslator::complex_equal(uint32_t n, uint32_t want) {
  const Node& x = node(n);
  bool equal = x.op == EQ || x.op == FEQ;
  if (!equal && x.op != NEQ && x.op != FNEQN) fail(x, "of complex numbers");
  uint32_t save = top;
  LaneSource l = lane_source(x.left, facts[x.right] & (HAS_EFFECTS | WRITES_REG));
  LaneSource r = lane_source(x.right, false);
  auto part = [&](unsigned k) {
    Operand a = l.is_scalar && k == IM ? Operand::of_imm(0) : lane(l, k);
    Operand b = r.is_scalar && k == IM ? Operand::of_imm(0) : lane(r, k);
    return comparison(x.op, lane_type(l), lane_type(r), a, b, NO_REG, top);
  };
  Operand re = part(RE), im = part(IM);
  return arithmetic(equal ? ANDB : ORB, INT16, re, im, want, save);
}

Place FunctionTranslator::packed(uint32_t n) {
  const Node& x = node(n);
  const Shape& type = shape(n);
  if (type.cls != C_VECTOR || type.lanes > MAX_LANES) fail(x, "of such a type");
  std::vector<uint32_t> items;
  if (x.op == VPACK1P)
    items = {x.left, x.right};
  else
    items = list_items(x.left);
  if (x.op == VPACKM) {
    LaneSource all = lane_source(x.left, false);
    if (!all.is_scalar) fail(x, "of what is no scalar");
    return converted_lanes(type, all);
  }
  Place to = frame_object(type.units, true);
  uint64_t k = 0;
  for (uint32_t item : items) {
    uint32_t save = top;
    LaneSource from = lane_source(item, false);
    uint64_t count = from.is_scalar ? 1 : from.shape.lanes;
    if (k + count > type.lanes) fail(x, "of more lanes than its type has");
    for (uint64_t i = 0; i < count; ++i, ++k) {
      uint32_t lane_save = top;
      store(moved(to, k * (type.scalar.bits / 16)), type.scalar, lane_as(from, i, type.scalar));
      top = lane_save;
    }
    top = save;
  }
  if (k != type.lanes) fail(x, "of fewer lanes than its type has");
  return to;
}

// VFIELD with a list: a vector of the lanes listed.
Place FunctionTranslator::field_lanes(uint32_t n) {
  const Node& x = node(n);
  const Shape& type = shape(n);
  LaneSource from = lane_source(x.left, false);
  std::vector<uint32_t> items = list_items(x.right);
  if (type.cls != C_VECTOR || from.is_scalar || items.size() != type.lanes)
    fail(x, "of another number of lanes than its type has");
  Place to = frame_object(type.units, true);
  for (uint64_t k = 0; k < items.size(); ++k) {
    const Node& index = node(items[k]);
    if (index.op != ICON || index.a >= from.shape.lanes) fail(x, "of a lane that is not there");
    uint32_t save = top;
    store(moved(to, k * (type.scalar.bits / 16)), type.scalar, lane_as(from, index.a, type.scalar));
    top = save;
  }
  return to;
}

// The operand of a VRCONV as an object.
Place FunctionTranslator::bits_as_object(uint32_t n) {
  const Node& x = node(n);
  const Shape& from = shape(x.left);
  if (from.units != shape(n).units) fail(x, "between different sizes");
  if (from.in_memory()) return place(x.left);
  Scalar type = scalar(x.left);
  Place own = frame_object(from.units, true);
  store(own, type, value(x.left));
  return own;
}

Place FunctionTranslator::object_choice(uint32_t n) {
  const Node& x = node(n);
  const Node& arms = node(x.right);
  if (arms.op != COLON) fail(x, "without a COLON");
  Place at;
  at.kind = Place::BASE;
  at.reg = alloc();
  uint32_t save = top;
  uint32_t no = new_label(), end = new_label();
  branch_if(x.left, false, no);
  uint32_t outer = region;
  auto arm = [&](uint32_t a) {
    if (shape(a).units != shape(n).units) fail(x, "between objects of different sizes");
    enter_region(a, false);
    address(place(a), at.reg);
    top = save;
  };
  arm(arms.left);
  jump(end);
  bind(no);
  arm(arms.right);
  flush_steps();
  bind(end);
  region = outer;
  return at;
}

Place FunctionTranslator::object_assignment(uint32_t n) {
  const Node& x = node(n);
  const Shape& type = shape(x.left);
  bool is_plain = x.op == ASG || x.op == STASG || x.op == ARASG;
  uint32_t right_facts = facts[x.right];
  if (type.cls == C_MEM) {
    if (!is_plain) fail(x, "of an aggregate");
    Place to = stable(place(x.left), right_facts & WRITES_REG);
    if (shape(x.right).cls != C_MEM || shape(x.right).units != type.units)
      fail(x, "between objects of different sizes");
    copy(to, place(x.right), type.units);
    return to;
  }
  const Node& left = node(x.left);
  if (left.op == VFIELD && node(left.right).op == COMMA) {
    if (!is_plain) fail(x, "of a list of lanes");
    Place vector = stable(place(left.left), right_facts & WRITES_REG);
    const Shape& whole = shape(left.left);
    LaneSource from = lane_source(x.right, true);
    check_lanes(type, from);
    std::vector<uint32_t> items = list_items(left.right);
    if (whole.cls != C_VECTOR || items.size() != type.lanes) fail(x, "of no such lanes");
    for (uint64_t k = 0; k < items.size(); ++k) {
      const Node& index = node(items[k]);
      if (index.op != ICON || index.a >= whole.lanes) fail(x, "of a lane that is not there");
      store(moved(vector, index.a * (whole.scalar.bits / 16)), whole.scalar,
            lane_as(from, k, whole.scalar));
    }
    return from.is_scalar ? converted_lanes(type, from) : from.place;
  }
  Place to = stable(place(x.left), right_facts & WRITES_REG);
  Place result;
  if (is_plain) {
    LaneSource from = lane_source(x.right, false);
    bool same = !from.is_scalar && from.shape.cls == type.cls && from.shape.units == type.units &&
                from.shape.scalar == type.scalar && from.shape.lanes == type.lanes;
    result = same ? from.place : converted_lanes(type, from);
  } else {
    LaneSource old;
    old.shape = type;
    old.place = to;
    if (right_facts & HAS_EFFECTS) {
      old.place = frame_object(type.units, true);
      copy(old.place, to, type.units);
    }
    LaneSource by = lane_source(x.right, false);
    int op = operator_rows[x.op].plain;
    result = type.cls == C_COMPLEX ? complex_operation(op, type, old, &by)
                                   : lane_operation(op, type, old, &by);
  }
  copy(to, result, type.units);
  return to;
}

Place FunctionTranslator::object_value(uint32_t n) {
  const Node& x = node(n);
  const Shape& type = shape(n);
  switch (x.op) {
  case ASG:
  case STASG:
  case ARASG:
  case PLUSASG:
  case MINUSASG:
  case MULTASG:
  case DIVASG:
  case MODASG:
  case SLLASG:
  case SRLASG:
  case ANDBASG:
  case ORBASG:
  case XORBASG:
    if (!shape(x.left).in_memory()) fail(x, "of a scalar as an aggregate");
    return object_assignment(n);
  case QUEST: return object_choice(n);
  case CALL:
  case UCALL: return call(n, NO_REG).place;
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: return built_in(n, NO_REG).place;
  case STARG:
  case TOIEEE:
  case FRIEEE: return place(x.left);
  case VRCONV: return bits_as_object(n);
  case VPACK:
  case VPACKM:
  case VPACK1P: return packed(n);
  case COMPLEX: {
    if (type.cls != C_COMPLEX) fail(x, "of such a type");
    Place to = frame_object(type.units, true);
    bool right_writes = facts[x.right] & WRITES_REG;
    Operand re = snapshot(value_as(x.left, type.scalar), right_writes);
    Operand im = value_as(x.right, type.scalar);
    store(to, type.scalar, re);
    store(moved(to, type.scalar.bits / 16), type.scalar, im);
    return to;
  }
  default: break;
  }
  if (!type.has_lanes()) fail(x, "where an object is needed");
  switch (x.op) {
  case ICON:
  case LCON: {
    if (type.cls != C_VECTOR || type.lanes > MAX_LANES) fail(x, "of such a type");
    Place to = frame_object(type.units, true);
    for (uint64_t k = 0; k < type.lanes; ++k)
      store(moved(to, k * (type.scalar.bits / 16)), type.scalar, constant(x, type.scalar));
    return to;
  }
  case SCONV:
  case ACONV: return converted_lanes(type, lane_source(x.left, false));
  default: break;
  }
  if (has_trait(x.op, operator_trait::UNARY)) {
    LaneSource from = lane_source(x.left, false);
    return type.cls == C_COMPLEX ? complex_operation(x.op, type, from, nullptr)
                                 : lane_operation(x.op, type, from, nullptr);
  }
  const bool compares = is_comparison(x.op) && type.cls == C_VECTOR;
  if (!compares && !has_trait(x.op, operator_trait::BINARY)) fail(x, "where an object is needed");
  LaneSource left = lane_source(x.left, facts[x.right] & (HAS_EFFECTS | WRITES_REG));
  LaneSource right = lane_source(x.right, false);
  return type.cls == C_COMPLEX ? complex_operation(x.op, type, left, &right)
                               : lane_operation(x.op, type, left, &right);
}

} // namespace icode::run
