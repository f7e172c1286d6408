#include "tools/run/operations.h"

namespace icode::run {

namespace {

bool is_constant(int op) {
  return op == ICON || op == LCON;
}

// Whether a conversion has to touch the value: its width or its class changes.
bool changes_value(const SHAPE& from, const SHAPE& to) {
  if (!from.is_scalar() || !to.is_scalar()) return from.units != to.units;
  if (to.scalar.is_boolean && !from.scalar.is_boolean) return true;
  return from.cls != to.cls || from.scalar.bits != to.scalar.bits;
}

// Whether an instruction computes the value, so that it may as well compute it into the register
// that it is assigned to. All that is left is a move.
bool is_computed(const UNIT& unit, SHAPES& shapes, uint32_t n) {
  for (;;) {
    const NODE& x = unit.nodes[n];
    switch (x.op) {
    case COMMAOP:
    case PCOMMA: n = x.right; break;
    case DDNODE:
    case EPVAL: n = x.left; break;
    case SCONV:
    case PCONV:
    case ACONV:
    case VRCONV:
      if (changes_value(shapes[unit.nodes[x.left].type], shapes[x.type])) return true;
      n = x.left;
      break;
    case NAME:
    case VREG:
    case ICON:
    case LCON:
    case FCON:
    case SCON:
    case UAND:
    case ASG:
    case PLUSASG:
    case MINUSASG: return false;
    default: return true;
    }
  }
}

// A machine branches if a condition is false as well as if it is true.
bool is_condition(const UNIT& unit, uint32_t n, uint32_t parent) {
  if (parent == NONE) return false;
  const NODE& p = unit.nodes[parent];
  switch (p.op) {
  case CBRANCH:
  case QUEST: return p.left == n;
  case EXCLAIM:
  case ANDAND:
  case OROR: return true;
  default: return false;
  }
}

} // namespace

void count_operation(const UNIT& unit, SHAPES& shapes, uint32_t n, uint32_t parent,
                     bool gets_register, OPERATION_COUNTS& counts) {
  const NODE& x = unit.nodes[n];
  switch (x.op) {
  // Operands, places, lists, and marks for the compiler.
  case NOP:
  case LABEL:
  case NAME:
  case VREG:
  case SCON:
  case ICON:
  case FCON:
  case LCON:
  case FIELD:
  case UMULT:
  case UAND:
  case ARGREF:
  case STDOT:
  case STREF:
  case STFIELD:
  case VFIELD:
  case REAL:
  case IMAG:
  case COMPLEX:
  case COLON:
  case COMMA:
  case COMMAOP:
  case PCOMMA:
  case CASE:
  case DEFAULT:
  case STARG:
  case DDNODE:
  case EPVAL:
  case NASSERT:
  case LOOP_OP:
  case ENDLOOP:
  case ENDINIT:
  case SKIP:
  case TOIEEE:
  case FRIEEE: return;
  // The copy of an object is a load and a store, as is an assignment in memory.
  case STASG:
  case ARASG:
  case MEMCPY: return;
  case ASG:
    if (gets_register && !is_computed(unit, shapes, x.right)) ++counts.operations;
    return;
  case PLUS:
  case MINUS:
    // An offset belongs to the address of the access.
    if (parent != NONE && (unit.nodes[parent].op == UMULT || unit.nodes[parent].op == STREF) &&
        is_constant(unit.nodes[x.right].op))
      return;
    break;
  case SCONV:
  case PCONV:
  case ACONV:
  case VRCONV:
    if (!changes_value(shapes[unit.nodes[x.left].type], shapes[x.type])) return;
    break;
  case EXCLAIM:
    if (is_condition(unit, n, parent)) return;
    break;
  case BRANCH:
  case CBRANCH:
  case SWITCH:
  case ANDAND:
  case OROR:
  case QUEST: ++counts.branches; break;
  case CALL:
  case UCALL: ++counts.calls; break;
  default: break;
  }
  ++counts.operations;
}

} // namespace icode::run
