// Values that are no scalars: aggregates, vectors, complex numbers. An operation on lanes becomes
// one operation for each lane; its result is an object in the frame.
#include "tools/run/translator.h"

namespace icode::run {

namespace {

constexpr uint64_t MAX_LANES = 1024;

constexpr unsigned RE = 0, IM = 1; // lanes of a complex number

} // namespace

FUNCTION_TRANSLATOR::LANE_SOURCE FUNCTION_TRANSLATOR::lane_source(uint32_t n, bool copied) {
  LANE_SOURCE s;
  s.shape = shape(n);
  s.is_scalar = s.shape.is_scalar();
  if (s.is_scalar) {
    s.value = snapshot(value(n), copied);
  } else if (s.shape.has_lanes()) {
    s.place = place(n);
    if (copied) {
      PLACE own = frame_object(s.shape.units, true);
      copy(own, s.place, s.shape.units);
      s.place = own;
    }
  } else {
    fail(node(n), "where a vector or a complex number is needed");
  }
  return s;
}

// Lane k. A scalar stands for all lanes of a vector.
SCALAR_VALUE FUNCTION_TRANSLATOR::lane(const LANE_SOURCE& from, uint64_t k) {
  if (from.is_scalar) return from.value;
  SCALAR type = from.shape.scalar;
  return load(moved(from.place, k * (type.bits / 16)), type, NO_REG, top);
}

SCALAR_VALUE FUNCTION_TRANSLATOR::lane_as(const LANE_SOURCE& from, uint64_t k, SCALAR type) {
  return converted(lane(from, k), lane_type(from), type);
}

void FUNCTION_TRANSLATOR::check_lanes(const SHAPE& type, const LANE_SOURCE& from) {
  if (type.lanes > MAX_LANES) fail("a vector of too many lanes");
  if (!from.is_scalar && from.shape.lanes != type.lanes)
    fail("vectors of different numbers of lanes");
}

PLACE FUNCTION_TRANSLATOR::converted_lanes(const SHAPE& type, const LANE_SOURCE& from) {
  check_lanes(type, from);
  PLACE to = frame_object(type.units, true);
  for (uint64_t k = 0; k < type.lanes; k++) {
    uint32_t save = top;
    bool no_imaginary = type.cls == C_COMPLEX && from.is_scalar && k == IM;
    SCALAR_VALUE v = no_imaginary ? SCALAR_VALUE::of_imm(0) : lane_as(from, k, type.scalar);
    store(moved(to, k * (type.scalar.bits / 16)), type.scalar, v);
    top = save;
  }
  return to;
}

PLACE FUNCTION_TRANSLATOR::lane_operation(int op, const SHAPE& type, const LANE_SOURCE& left,
                                          const LANE_SOURCE* right) {
  check_lanes(type, left);
  if (right) check_lanes(type, *right);
  PLACE to = frame_object(type.units, true);
  bool is_shift = op == SLL || op == SRL;
  for (uint64_t k = 0; k < type.lanes; k++) {
    uint32_t save = top;
    SCALAR_VALUE v;
    if (is_comparison(op)) {
      SCALAR_VALUE l = lane(left, k), r = lane(*right, k);
      v = comparison(op, lane_type(left), lane_type(*right), l, r, NO_REG, top);
      v = converted(v, INT16, type.scalar);
    } else if (right) {
      SCALAR_VALUE l = lane_as(left, k, type.scalar);
      if (is_shift && lane_type(*right).cls != C_INT) fail("a shift by a float");
      SCALAR_VALUE r = is_shift ? lane(*right, k) : lane_as(*right, k, type.scalar);
      v = arithmetic(op, type.scalar, l, r, NO_REG, top);
    } else {
      v = unary(op, type.scalar, lane_as(left, k, type.scalar), NO_REG, top);
    }
    store(moved(to, k * (type.scalar.bits / 16)), type.scalar, v);
    top = save;
  }
  return to;
}

PLACE FUNCTION_TRANSLATOR::complex_operation(int op, const SHAPE& type, const LANE_SOURCE& left,
                                             const LANE_SOURCE* right) {
  SCALAR part = type.scalar;
  auto get = [&](const LANE_SOURCE& from, unsigned k) {
    if (from.is_scalar && k == IM) return SCALAR_VALUE::of_imm(0);
    return lane_as(from, k, part);
  };
  auto calc = [&](int o, SCALAR_VALUE l, SCALAR_VALUE r) {
    return arithmetic(o, part, l, r, NO_REG, top);
  };
  PLACE to = frame_object(type.units, true);
  SCALAR_VALUE a = get(left, RE), b = get(left, IM), re, im;
  if (!right) {
    if (op != UMINUS) fail(std::string(op_name(unsigned(op))) + " of a complex number");
    re = unary(op, part, a, NO_REG, top);
    im = unary(op, part, b, NO_REG, top);
  } else {
    SCALAR_VALUE c = get(*right, RE), d = get(*right, IM);
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
      SCALAR_VALUE norm = calc(PLUS, calc(MULT, c, c), calc(MULT, d, d));
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
SCALAR_VALUE FUNCTION_TRANSLATOR::complex_equal(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  bool equal = x.op == EQ || x.op == FEQ;
  if (!equal && x.op != NEQ && x.op != FNEQN) fail(x, "of complex numbers");
  uint32_t save = top;
  LANE_SOURCE l = lane_source(x.left, facts[x.right] & (HAS_EFFECTS | WRITES_REG));
  LANE_SOURCE r = lane_source(x.right, false);
  auto part = [&](unsigned k) {
    SCALAR_VALUE a = l.is_scalar && k == IM ? SCALAR_VALUE::of_imm(0) : lane(l, k);
    SCALAR_VALUE b = r.is_scalar && k == IM ? SCALAR_VALUE::of_imm(0) : lane(r, k);
    return comparison(x.op, lane_type(l), lane_type(r), a, b, NO_REG, top);
  };
  SCALAR_VALUE re = part(RE), im = part(IM);
  return arithmetic(equal ? ANDB : ORB, INT16, re, im, want, save);
}

PLACE FUNCTION_TRANSLATOR::packed(uint32_t n) {
  const NODE& x = node(n);
  const SHAPE& type = shape(n);
  if (type.cls != C_VECTOR || type.lanes > MAX_LANES) fail(x, "of such a type");
  std::vector<uint32_t> items;
  if (x.op == VPACK1P)
    items = {x.left, x.right};
  else
    items = list_items(x.left);
  if (x.op == VPACKM) {
    LANE_SOURCE all = lane_source(x.left, false);
    if (!all.is_scalar) fail(x, "of what is no scalar");
    return converted_lanes(type, all);
  }
  PLACE to = frame_object(type.units, true);
  uint64_t k = 0;
  for (uint32_t item : items) {
    uint32_t save = top;
    LANE_SOURCE from = lane_source(item, false);
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
PLACE FUNCTION_TRANSLATOR::field_lanes(uint32_t n) {
  const NODE& x = node(n);
  const SHAPE& type = shape(n);
  LANE_SOURCE from = lane_source(x.left, false);
  std::vector<uint32_t> items = list_items(x.right);
  if (type.cls != C_VECTOR || from.is_scalar || items.size() != type.lanes)
    fail(x, "of another number of lanes than its type has");
  PLACE to = frame_object(type.units, true);
  for (uint64_t k = 0; k < items.size(); k++) {
    const NODE& index = node(items[k]);
    if (index.op != ICON || index.a >= from.shape.lanes) fail(x, "of a lane that is not there");
    uint32_t save = top;
    store(moved(to, k * (type.scalar.bits / 16)), type.scalar, lane_as(from, index.a, type.scalar));
    top = save;
  }
  return to;
}

// The operand of a VRCONV as an object.
PLACE FUNCTION_TRANSLATOR::bits_as_object(uint32_t n) {
  const NODE& x = node(n);
  const SHAPE& from = shape(x.left);
  if (from.units != shape(n).units) fail(x, "between different sizes");
  if (from.in_memory()) return place(x.left);
  SCALAR type = scalar(x.left);
  PLACE own = frame_object(from.units, true);
  store(own, type, value(x.left));
  return own;
}

PLACE FUNCTION_TRANSLATOR::object_choice(uint32_t n) {
  const NODE& x = node(n);
  const NODE& arms = node(x.right);
  if (arms.op != COLON) fail(x, "without a COLON");
  PLACE at;
  at.kind = PLACE::BASE;
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

PLACE FUNCTION_TRANSLATOR::object_assignment(uint32_t n) {
  const NODE& x = node(n);
  const SHAPE& type = shape(x.left);
  bool is_plain = x.op == ASG || x.op == STASG || x.op == ARASG;
  uint32_t right_facts = facts[x.right];
  if (type.cls == C_MEM) {
    if (!is_plain) fail(x, "of an aggregate");
    PLACE to = stable(place(x.left), right_facts & WRITES_REG);
    if (shape(x.right).cls != C_MEM || shape(x.right).units != type.units)
      fail(x, "between objects of different sizes");
    copy(to, place(x.right), type.units);
    return to;
  }
  const NODE& left = node(x.left);
  if (left.op == VFIELD && node(left.right).op == COMMA) {
    if (!is_plain) fail(x, "of a list of lanes");
    PLACE vector = stable(place(left.left), right_facts & WRITES_REG);
    const SHAPE& whole = shape(left.left);
    LANE_SOURCE from = lane_source(x.right, true);
    check_lanes(type, from);
    std::vector<uint32_t> items = list_items(left.right);
    if (whole.cls != C_VECTOR || items.size() != type.lanes) fail(x, "of no such lanes");
    for (uint64_t k = 0; k < items.size(); k++) {
      const NODE& index = node(items[k]);
      if (index.op != ICON || index.a >= whole.lanes) fail(x, "of a lane that is not there");
      store(moved(vector, index.a * (whole.scalar.bits / 16)), whole.scalar,
            lane_as(from, k, whole.scalar));
    }
    return from.is_scalar ? converted_lanes(type, from) : from.place;
  }
  PLACE to = stable(place(x.left), right_facts & WRITES_REG);
  PLACE result;
  if (is_plain) {
    LANE_SOURCE from = lane_source(x.right, false);
    bool same = !from.is_scalar && from.shape.cls == type.cls && from.shape.units == type.units &&
                from.shape.scalar == type.scalar && from.shape.lanes == type.lanes;
    result = same ? from.place : converted_lanes(type, from);
  } else {
    LANE_SOURCE old;
    old.shape = type;
    old.place = to;
    if (right_facts & HAS_EFFECTS) {
      old.place = frame_object(type.units, true);
      copy(old.place, to, type.units);
    }
    LANE_SOURCE by = lane_source(x.right, false);
    int op = operator_rows[x.op].plain;
    result = type.cls == C_COMPLEX ? complex_operation(op, type, old, &by)
                                   : lane_operation(op, type, old, &by);
  }
  copy(to, result, type.units);
  return to;
}

PLACE FUNCTION_TRANSLATOR::object_value(uint32_t n) {
  const NODE& x = node(n);
  const SHAPE& type = shape(n);
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
    PLACE to = frame_object(type.units, true);
    bool right_writes = facts[x.right] & WRITES_REG;
    SCALAR_VALUE re = snapshot(value_as(x.left, type.scalar), right_writes);
    SCALAR_VALUE im = value_as(x.right, type.scalar);
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
    PLACE to = frame_object(type.units, true);
    for (uint64_t k = 0; k < type.lanes; k++)
      store(moved(to, k * (type.scalar.bits / 16)), type.scalar, constant(x, type.scalar));
    return to;
  }
  case SCONV:
  case ACONV: return converted_lanes(type, lane_source(x.left, false));
  default: break;
  }
  if (has_trait(x.op, operator_trait::UNARY)) {
    LANE_SOURCE from = lane_source(x.left, false);
    return type.cls == C_COMPLEX ? complex_operation(x.op, type, from, nullptr)
                                 : lane_operation(x.op, type, from, nullptr);
  }
  const bool compares = is_comparison(x.op) && type.cls == C_VECTOR;
  if (!compares && !has_trait(x.op, operator_trait::BINARY)) fail(x, "where an object is needed");
  LANE_SOURCE left = lane_source(x.left, facts[x.right] & (HAS_EFFECTS | WRITES_REG));
  LANE_SOURCE right = lane_source(x.right, false);
  return type.cls == C_COMPLEX ? complex_operation(x.op, type, left, &right)
                               : lane_operation(x.op, type, left, &right);
}

} // namespace icode::run
