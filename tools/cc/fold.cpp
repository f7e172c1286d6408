#include "tools/cc/fold.h"

#include "TYPES/type_values.h"
#include "tools/cc/trees.h"

#include <cmath>

namespace cc {

namespace {

using RESULT = std::optional<CONSTANT>;

RESULT integer(INT65 v, TYPE* type) {
  CONSTANT c;
  if (type->is_bool())
    c.integer = !v.is_zero();
  else
    c.integer = truncate_to_type(v, type->is_pointer() ? size_type() : type);
  return c;
}

RESULT floating(double v, TYPE* type) {
  CONSTANT c;
  c.kind = CONSTANT::FLOATING;
  c.floating = type->size == 32 ? static_cast<float>(v) : v;
  return c;
}

RESULT truth_value(bool v) {
  CONSTANT c;
  c.integer = v;
  return c;
}

double as_double(INT65 v) {
  return v.is_negative() ? static_cast<double>(static_cast<int64_t>(v.low))
                         : static_cast<double>(v.low);
}

// Truncates towards zero into 64 bits, saturating, as a conversion on the target does.
INT65 truncated(double v) {
  if (std::isnan(v)) return 0;
  if (v >= 0x1p63) return v >= 0x1p64 ? INT65(-1L) : INT65(static_cast<uint64_t>(v));
  if (v < -0x1p63) return INT65(INT64_MIN);
  return INT65(static_cast<int64_t>(v));
}

bool is_true(const CONSTANT& c) {
  if (c.kind == CONSTANT::ADDRESS) return true;
  return c.kind == CONSTANT::FLOATING ? c.floating != 0 : !c.integer.is_zero();
}

RESULT converted(const CONSTANT& c, TYPE* to) {
  to = value_type(to);
  if (to->is_vector() || to->is_csu() || to->is_void()) return {};
  if (to->is_bool()) return truth_value(is_true(c));
  if (c.kind == CONSTANT::ADDRESS) {
    if (to->is_float() || to->size < 32) return {};
    return c;
  }
  if (to->is_float())
    return floating(c.kind == CONSTANT::FLOATING                 ? c.floating
                    : to->size == 32 && !c.integer.is_negative() ? static_cast<float>(c.integer.low)
                    : to->size == 32 ? static_cast<float>(static_cast<int64_t>(c.integer.low))
                                     : as_double(c.integer),
                    to);
  return integer(c.kind == CONSTANT::FLOATING ? truncated(c.floating) : c.integer, to);
}

RESULT compared(int op, const CONSTANT& a, const CONSTANT& b) {
  if (a.kind == CONSTANT::FLOATING) {
    const double x = a.floating, y = b.floating;
    switch (op) {
    case EQ: return truth_value(x == y);
    case NEQ: return truth_value(x != y);
    case LE: return truth_value(x <= y);
    case LT: return truth_value(x < y);
    case GE: return truth_value(x >= y);
    default: return truth_value(x > y);
    }
  }
  if (a.kind == CONSTANT::ADDRESS || b.kind == CONSTANT::ADDRESS) {
    // An object's address differs from null; two objects are not compared here.
    const CONSTANT& other = a.kind == CONSTANT::ADDRESS ? b : a;
    if (other.kind == CONSTANT::ADDRESS || !other.integer.is_zero()) return {};
    if (op == EQ) return truth_value(false);
    if (op == NEQ) return truth_value(true);
    return {};
  }
  const INT65 x = a.integer, y = b.integer; // unsigned values are held as such
  switch (op) {
  case EQ: return truth_value(x == y);
  case NEQ: return truth_value(x != y);
  case LE:
  case ULE: return truth_value(x <= y);
  case LT:
  case ULT: return truth_value(x < y);
  case GE:
  case UGE: return truth_value(x >= y);
  default: return truth_value(x > y);
  }
}

RESULT shifted(int op, INT65 x, INT65 count, TYPE* type) {
  const unsigned long n = count.is_negative() || count.low > 64 ? 64 : count.low;
  if (op == SLL) return integer(n >= type->size ? INT65(0) : x << INT65(n), type);
  return integer(x >> INT65(n), type); // repeats the sign of a signed value; others have none
}

RESULT combined(int op, const CONSTANT& a, const CONSTANT& b, TYPE* type) {
  if (a.kind == CONSTANT::ADDRESS || b.kind == CONSTANT::ADDRESS) {
    CONSTANT c = a.kind == CONSTANT::ADDRESS ? a : b;
    const CONSTANT& other = a.kind == CONSTANT::ADDRESS ? b : a;
    if (other.kind == CONSTANT::INTEGER && type->size >= 32) {
      if (op == PLUS) {
        c.integer += other.integer;
        return c;
      }
      if (op == MINUS && a.kind == CONSTANT::ADDRESS) {
        c.integer -= other.integer;
        return c;
      }
    }
    const bool same_object = a.kind == b.kind && a.base->op == NAME && b.base->op == NAME &&
                             a.base->u.sym == b.base->u.sym;
    if (op == MINUS && same_object) return integer(a.integer - b.integer, type);
    return {};
  }
  if (type->is_float()) {
    const double x = a.floating, y = b.floating;
    switch (op) {
    case PLUS: return floating(x + y, type);
    case MINUS: return floating(x - y, type);
    case MULT: return floating(x * y, type);
    case DIV: return floating(x / y, type);
    default: return {};
    }
  }
  const INT65 x = a.integer, y = b.integer;
  switch (op) {
  case PLUS: return integer(x + y, type);
  case MINUS: return integer(x - y, type);
  case MULT: return integer(x * y, type);
  case DIV: return y.is_zero() ? RESULT() : integer(x / y, type);
  case MOD: return y.is_zero() ? RESULT() : integer(x % y, type);
  case ANDB: return integer(x & y, type);
  case ORB: return integer(x | y, type);
  case XORB: return integer(x ^ y, type);
  default: return {};
  }
}

// The address of a place.
RESULT address(const NODE* place) {
  switch (place->op) {
  case NAME: {
    CONSTANT c;
    const int sclass = place->u.sym->sclass;
    if (sclass == SC_AUTO || sclass == SC_REGISTER || sclass == SC_ARG) return {};
    c.kind = CONSTANT::ADDRESS;
    c.base = place;
    return c;
  }
  case UMULT: return evaluate(place->left);
  case STDOT:
  case STREF: {
    RESULT c = place->op == STDOT ? address(place->left) : evaluate(place->left);
    if (!c || place->right->mval->is_bitfield()) return {};
    c->integer += INT65(place->right->mval->bit_offset / static_cast<long>(UNIT_BITS));
    return c;
  }
  default: return {};
  }
}

} // namespace

RESULT evaluate(const NODE* tree) {
  TYPE* type = value_type(tree->type);
  switch (tree->op) {
  case ICON: {
    CONSTANT c;
    c.integer = tree->ival;
    return c;
  }
  case FCON: return floating(f_ftoh(tree->u.fval), type);
  case SCON: {
    CONSTANT c;
    c.kind = CONSTANT::ADDRESS;
    c.base = tree;
    return c;
  }
  case UAND: return address(tree->left);
  case SCONV:
  case PCONV:
  case ACONV: {
    RESULT c = evaluate(tree->left);
    return c ? converted(*c, type) : c;
  }
  case UMINUS:
  case NOTB: {
    if (type->is_vector()) return {};
    RESULT c = evaluate(tree->left);
    if (!c || c->kind == CONSTANT::ADDRESS) return {};
    if (c->kind == CONSTANT::FLOATING) return floating(-c->floating, type);
    return integer(tree->op == NOTB ? ~c->integer : -c->integer, type);
  }
  case EXCLAIM: {
    RESULT c = evaluate(tree->left);
    return c ? truth_value(!is_true(*c)) : c;
  }
  case ANDAND:
  case OROR: {
    RESULT a = evaluate(tree->left);
    if (!a) return {};
    if (is_true(*a) == (tree->op == OROR)) return truth_value(tree->op == OROR);
    RESULT b = evaluate(tree->right);
    return b ? truth_value(is_true(*b)) : b;
  }
  case QUEST: {
    RESULT c = evaluate(tree->left);
    if (!c) return {};
    return evaluate(is_true(*c) ? tree->right->left : tree->right->right);
  }
  case SLL:
  case SRL: {
    RESULT a = evaluate(tree->left), b = evaluate(tree->right);
    if (!a || !b || a->kind != CONSTANT::INTEGER || b->kind != CONSTANT::INTEGER) return {};
    return type->is_int() ? shifted(tree->op, a->integer, b->integer, type) : RESULT();
  }
  default: break;
  }
  const bool compares = is_integer_comparison(tree->op);
  if (type->is_vector() || !(compares || has_trait(tree->op, operator_trait::BINARY))) return {};
  RESULT a = evaluate(tree->left), b = evaluate(tree->right);
  if (!a || !b) return {};
  if (!compares) return combined(tree->op, *a, *b, type);
  RESULT result = compared(tree->op, *a, *b);
  return result ? converted(*result, type) : result;
}

std::optional<INT65> evaluate_integer(const NODE* tree) {
  if (!value_type(tree->type)->is_int()) return {};
  const RESULT c = evaluate(tree);
  if (!c || c->kind != CONSTANT::INTEGER) return {};
  return c->integer;
}

// Other qualifiers of what it points to are no matter for the stored address.
static NODE* cast_address(NODE* tree, TYPE* type) {
  TYPE* from = value_type(tree->type);
  if (from == type) return tree;
  const bool is_same =
      type->is_pointer() && pointee(from)->underlying_type() == pointee(type)->underlying_type();
  return is_same ? tree : maketree(PCONV, tree, nullptr, type);
}

NODE* constant_tree(const CONSTANT& value, TYPE* type) {
  type = value_type(type);
  if (value.kind == CONSTANT::FLOATING) return fcon(value.floating, type);
  if (value.kind == CONSTANT::INTEGER)
    return type->is_float() ? fcon(as_double(value.integer), type) : icon(value.integer, type);
  NODE* base = copy_tree(value.base, true);
  NODE* tree = base;
  if (base->op == NAME) tree = maketree(UAND, base, nullptr, tp->mk_ptr(base->type));
  if (!value.integer.is_zero())
    tree = maketree(PLUS, tree, icon(value.integer, ptrdiff_type()), value_type(tree->type));
  return cast_address(tree, type);
}

} // namespace cc
