// Calls of functions and built-ins.
#include "tools/run/translator.h"

#include <algorithm>

namespace icode::run {

std::vector<uint32_t> FUNCTION_TRANSLATOR::list_items(uint32_t list) const {
  std::vector<uint32_t> items;
  for (; list != NONE && node(list).op == COMMA; list = node(list).left)
    items.push_back(node(list).right);
  if (list != NONE) items.push_back(list);
  std::reverse(items.begin(), items.end());
  return items;
}

FUNCTION_TRANSLATOR::RESULT FUNCTION_TRANSLATOR::call(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  uint32_t save = top;
  CALL_SITE site;
  std::vector<uint32_t> arguments;
  if (x.op == CALL) arguments = list_items(x.right);
  // The facts of argument i and all behind it together.
  std::vector<uint8_t> facts_from(arguments.size() + 1, 0);
  for (size_t i = arguments.size(); i-- > 0;)
    facts_from[i] = facts_from[i + 1] | facts[arguments[i]];

  PLACE callee = shape(x.left).cls == C_FUNC ? place(x.left) : place_at(x.left);
  if (callee.kind == PLACE::FIXED && callee.index == NO_REG) {
    site.callee = p.function_at(callee.offset);
    if (!site.callee) site.pointer = reg(SCALAR_VALUE::of_imm(callee.offset));
  } else {
    site.pointer = reg(snapshot(address(callee), facts_from[0] & WRITES_REG));
  }

  uint32_t base = top;
  for (uint32_t i = 0; i < arguments.size(); i++) {
    uint32_t into = alloc();
    uint32_t a = arguments[i];
    SHAPE type = shape(a);
    if (type.in_memory() || node(a).op == STARG) {
      if (node(a).op == STARG) {
        a = node(a).left;
        type = shape(a);
      }
      if (!type.in_memory()) fail(node(a), "of no aggregate");
      PLACE from = place(a);
      // The callee copies it, but a later argument may change it first.
      if (facts_from[i + 1]) {
        PLACE own = frame_object(type.units, true);
        copy(own, from, type.units);
        from = own;
      }
      address(from, into);
    } else if (type.cls == C_FUNC) {
      type.cls = C_INT;
      type.scalar = POINTER;
      value_as(a, POINTER, into);
    } else {
      value_as(a, scalar(a), into);
    }
    site.arguments.push_back(type);
    top = into + 1;
  }

  site.result = shape(n);
  site.signature = signature_of(p, site.arguments);
  RESULT result;
  uint32_t to = base;
  if (site.result.is_scalar()) {
    to = dest(want, save);
    result.value = SCALAR_VALUE::of_reg(to);
  } else if (site.result.in_memory()) {
    result.place = frame_object(site.result.units, true);
    site.result_at = result.place.offset;
  }
  emit(I_CALL, to, base, uint32_t(p.sites.size()));
  max_top = std::max(max_top, base + 1);
  p.sites.push_back(std::move(site));
  return result;
}

namespace {

enum BUILT_IN { B_UNKNOWN, B_NEVER, B_ABS, B_MIN, B_MAX, B_SHIFT, B_EXPECT };

struct BUILT_IN_ROW {
  std::string_view name;
  BUILT_IN kind;
  size_t arguments;
};

constexpr BUILT_IN_ROW BUILT_INS[] = {
    {"_never_executed", B_NEVER, 0},
    {"_abs", B_ABS, 1},
    {"_labs", B_ABS, 1},
    {"_llabs", B_ABS, 1},
    {"_fabs", B_ABS, 1},
    {"_fabsf", B_ABS, 1},
    {"_min", B_MIN, 2},
    {"_lmin", B_MIN, 2},
    {"_llmin", B_MIN, 2},
    {"_fmin", B_MIN, 2},
    {"_fminf", B_MIN, 2},
    {"_max", B_MAX, 2},
    {"_lmax", B_MAX, 2},
    {"_llmax", B_MAX, 2},
    {"_fmax", B_MAX, 2},
    {"_fmaxf", B_MAX, 2},
    {"_sshl", B_SHIFT, 2},
    {"__builtin_expect", B_EXPECT, 2},
};

} // namespace

FUNCTION_TRANSLATOR::RESULT FUNCTION_TRANSLATOR::built_in(uint32_t n, uint32_t want) {
  const NODE& x = node(n);
  const std::string& name = unit.strings[x.text];
  uint32_t save = top;
  BUILT_IN_ROW found{name, B_UNKNOWN, 0};
  for (const BUILT_IN_ROW& b : BUILT_INS)
    if (b.name == name) found = b;
  std::vector<uint32_t> arguments;
  if (x.op == ICALL || x.op == MCALL) arguments = list_items(x.left);
  const SHAPE& type = shape(n);
  if (found.kind == B_UNKNOWN || found.kind == B_NEVER) {
    trap(found.kind == B_NEVER ? "_never_executed is reached"
                               : "the unknown built-in " + name + " is called");
    RESULT nothing;
    if (type.in_memory()) nothing.place = frame_object(type.units, true);
    return nothing;
  }
  if (arguments.size() != found.arguments || !type.is_scalar())
    fail("the built-in " + name + " with such arguments");
  SCALAR s = type.scalar;
  SCALAR_VALUE first = value_as(arguments[0], s);
  if (found.kind == B_ABS) return {unary(ABS, s, first, want, save), {}};
  first = snapshot(first, facts[arguments[1]] & WRITES_REG);
  switch (found.kind) {
  case B_EXPECT: effects(arguments[1]); return {move_to(want, first), {}};
  case B_SHIFT: {
    SCALAR by = scalar(arguments[1]);
    if (s.cls != C_INT || by.cls != C_INT) fail("the built-in " + name + " of floats");
    uint32_t a = reg(first), b = reg(value_as(arguments[1], by));
    uint32_t d = dest(want, save);
    emit(I_SATURATED_SLL, d, a, b, pack_int(s));
    return {SCALAR_VALUE::of_reg(d), {}};
  }
  default: { // B_MIN, B_MAX: the first, unless the second is smaller or larger
    uint32_t a = reg(first), b = reg(value_as(arguments[1], s));
    uint32_t d = alloc();
    uint32_t end = new_label();
    emit(I_MOVE, d, a);
    int op = found.kind == B_MIN ? (s.is_signed ? LT : ULT) : (s.is_signed ? GT : UGT);
    branch_compare(op, s, s, SCALAR_VALUE::of_reg(b), SCALAR_VALUE::of_reg(a), false, end);
    emit(I_MOVE, d, b);
    bind(end);
    return {move_to(want, SCALAR_VALUE::of_reg(d)), {}};
  }
  }
}

SCALAR_VALUE FUNCTION_TRANSLATOR::move_units(uint32_t n) {
  const NODE& x = node(n);
  std::vector<uint32_t> items = list_items(x.left);
  if (items.size() != 3) fail(x, "without its three operands");
  SCALAR count_type = scalar(items[2]);
  if (count_type.cls != C_INT) fail(x, "of a count that is no integer");
  uint8_t behind = facts[items[1]] | facts[items[2]];
  uint32_t to = reg(snapshot(value_as(items[0], POINTER), behind & WRITES_REG));
  uint32_t from = reg(snapshot(value_as(items[1], POINTER), facts[items[2]] & WRITES_REG));
  uint32_t count = reg(value_as(items[2], count_type));
  if (p.with_stats) {
    ++p.regions[region].loads;
    ++p.regions[region].stores;
  }
  emit(I_COPY_COUNT, to, from, count);
  return SCALAR_VALUE::of_reg(to);
}

} // namespace icode::run
