// fold_constants: one visit for each operator, operands first. An operator is handled by the arm of
// its operands' kind: integers by INT65, floating values by the f_* family, vectors lane by lane.
//
//   2 + 3  -->  5;   x + 3  -->  3 + x;   1 ? a : b with literals  -->  a
#include "OPT5/fold.h"

#include "OPT5/counters.h"
#include "OPT5/optables.h"
#include "OPT5/treewalk.h"
#include "OPT5/types.h"

#include <utility>

namespace {

COUNTER folded_integers("fold", "integer operators");
COUNTER folded_floats("fold", "floating operators");
COUNTER folded_truths("fold", "truth values");
COUNTER folded_conversions("fold", "conversions");
COUNTER folded_choices("fold", "choices");
COUNTER folded_vectors("fold", "vector operators");
COUNTER moved_constants("fold", "constants moved to the left");

bool is_literal(const NODE* tree) {
  return tree->op == ICON || tree->op == FCON;
}

bool is_constant(const NODE* tree) {
  return is_literal(tree) || (tree->op == VPACKM && is_literal(tree->left));
}

NODE* replace(NODE* tree, NODE* constant) {
  constant->ls = tree->ls;
  erase_tree(tree);
  return constant;
}

// ---------------------------------------------------------------------------------------------
// Integers

// An ICON's value: a truth value is 0 or 1, whatever the constant's bits.
INT65 value_of(const NODE* icon) {
  return icon->type->is_bool() ? INT65(icon->ival.is_zero() ? 0 : 1) : icon->ival;
}

// The same as an operand of that integer type.
INT65 int_operand(const NODE* icon, TYPE* type) {
  return truncate_to_type(value_of(icon), type);
}

INT65 as_unsigned(INT65 v, const TYPE* type) {
  return v & ((INT65(1) << static_cast<int>(type->underlying_type()->size)) - 1);
}

INT65 as_signed(INT65 v, TYPE* type) {
  const int unused = 65 - static_cast<int>(type->underlying_type()->size);
  return (v << unused) >> unused;
}

// False if there is no result. A sum or a product that doesn't fit wraps on the target too, so its
// overflow is no reason to leave it.
bool compute_int(int op, INT65 a, INT65 b, INT65* result) {
  int ovf = 0;
  switch (op) {
  case PLUS: *result = long_add(a, b, &ovf); return true;
  case MINUS: *result = a - b; return true;
  case MULT: *result = long_multiply(a, b, &ovf); return true;
  case DIV:
  case MOD:
    if (b.is_zero()) return false;
    *result = op == DIV ? a / b : a % b;
    return true;
  case ANDB: *result = a & b; return true;
  case ORB: *result = a | b; return true;
  case XORB: *result = a ^ b; return true;
  case SLL: *result = a << b; return true;
  case SRL: *result = a >> b; return true;
  case EXPT: *result = long_expt(a, b, &ovf); return !(a.is_zero() && b.is_negative());
  case UMINUS: *result = -a; return true;
  case NOTB: *result = ~a; return true;
  case ABS: *result = a.is_negative() ? -a : a; return true;
  case SQR: *result = long_multiply(a, a, &ovf); return true;
  case RECIP:
    if (a.is_zero()) return false;
    *result = INT65(1) / a;
    return true;
  default: return false;
  }
}

// Of two integers of one type; -1 for an operator that is no comparison.
int compare_ints(int op, INT65 a, INT65 b, TYPE* type) {
  const bool is_unsigned = op >= ULE && op <= UGT;
  if (!type->is_bool()) { // truth values are 0 and 1 in any width
    a = is_unsigned ? as_unsigned(a, type) : as_signed(a, type);
    b = is_unsigned ? as_unsigned(b, type) : as_signed(b, type);
  }
  switch (op) {
  case EQ: return a == b;
  case NEQ: return a != b;
  case LE:
  case ULE: return a <= b;
  case LT:
  case ULT: return a < b;
  case GE:
  case UGE: return a >= b;
  case GT:
  case UGT: return a > b;
  default: return -1;
  }
}

// What fold_int and fold_float return when there is nothing to fold.
constexpr NODE* UNFOLDED = nullptr;

NODE* fold_int(const NODE* tree) {
  const NODE *left = tree->left, *right = tree->right;
  TYPE* type = tree->type;
  if (!type->is_int_or_enum() || !left->type->is_int_or_enum()) return UNFOLDED;
  if (right && !right->type->is_int_or_enum()) return UNFOLDED;
  if (boolean_result[tree->op]) {
    if (!right || left->type->size != right->type->size) return UNFOLDED;
    const int truth = compare_ints(tree->op, value_of(left), value_of(right), left->type);
    return truth < 0 ? UNFOLDED : mk_ICON(truth, type);
  }
  // A truth value isn't computed with: the low bit of a sum is not its truth.
  if (type->is_bool()) return UNFOLDED;
  const bool is_shift = tree->op == SLL || tree->op == SRL;
  INT65 b = 0;
  if (is_shift)
    b = as_unsigned(value_of(right), right->type);
  else if (right) // an exponent is a number of its own type
    b = int_operand(right, tree->op == EXPT ? right->type : type);
  INT65 result;
  return compute_int(tree->op, int_operand(left, type), b, &result) ? mk_ICON(result, type)
                                                                    : UNFOLDED;
}

// ---------------------------------------------------------------------------------------------
// Floating values

// An ICON of a floating type is the integer's value.
simul_fval float_operand(const NODE* constant) {
  simul_fval v;
  if (constant->op == FCON)
    v = *constant->u.fval;
  else
    f_i65tof(value_of(constant), &v);
  truncate_fval_to_target(&v, constant->type);
  return v;
}

// Integer comparisons of floating values are those that C's operators mean.
int float_comparison(int op) {
  switch (op) {
  case EQ: return FEQ;
  case NEQ: return FNEQN;
  case LE: return FLE;
  case LT: return FLT;
  case GE: return FGE;
  case GT: return FGT;
  default: return op;
  }
}

int outcome(const simul_fval& a, const simul_fval& b) {
  if (f_lt(&a, &b)) return MICRO_LT;
  if (f_eq(&a, &b)) return MICRO_EQ;
  return f_gt(&a, &b) ? MICRO_GT : MICRO_UNO;
}

bool compute_float(int op, const simul_fval& a, const simul_fval& b, simul_fval* result) {
  switch (op) {
  case PLUS: f_add(&a, &b, result); return true;
  case MINUS: f_sub(&a, &b, result); return true;
  case MULT: f_mul(&a, &b, result); return true;
  case DIV: f_div(&a, &b, result); return true;
  case EXPT: f_pow(&a, &b, result); return true;
  case UMINUS: f_neg(&a, result); return true;
  case ABS: f_abs(&a, result); return true;
  case SQR: f_mul(&a, &a, result); return true;
  case SQRT: f_sqrt(&a, result); return true;
  case RECIP: f_div(&one, &a, result); return true;
  default: return false;
  }
}

NODE* fold_float(const NODE* tree) {
  const NODE *left = tree->left, *right = tree->right;
  if (!left->type->is_float() || (right && !right->type->is_float())) return UNFOLDED;
  const simul_fval a = float_operand(left), b = right ? float_operand(right) : pos_zero;
  if (boolean_result[tree->op]) {
    const int micro_ops = float_op_to_micro_ops[float_comparison(tree->op)];
    if (!right || !micro_ops || !tree->type->is_int_or_enum()) return UNFOLDED;
    return mk_ICON((micro_ops & outcome(a, b)) != 0, tree->type);
  }
  if (!tree->type->is_float()) return UNFOLDED;
  simul_fval result;
  if (!compute_float(tree->op, a, b, &result)) return UNFOLDED;
  truncate_fval_to_target(&result, tree->type);
  return fp_error ? UNFOLDED : mk_FCON(result, tree->type);
}

// ---------------------------------------------------------------------------------------------
// Truth, choice, conversions

// The truth of a literal; -1 if it has none.
int truth_of(const NODE* literal) {
  if (literal->type->is_float()) {
    const simul_fval v = float_operand(literal);
    return f_ne(&v, &pos_zero);
  }
  return literal->type->is_int_or_enum() ? !int_operand(literal, literal->type).is_zero() : -1;
}

// !c, c && d, c || d
NODE* fold_truth(const NODE* tree) {
  const int a = truth_of(tree->left);
  const int b = tree->right ? truth_of(tree->right) : 0;
  if (a < 0 || b < 0 || !tree->type->is_int_or_enum()) return UNFOLDED;
  const bool truth = tree->op == EXCLAIM ? !a : tree->op == ANDAND ? a && b : a || b;
  return mk_ICON(truth, tree->type);
}

NODE* fold_conversion(const NODE* tree) {
  const NODE* from = tree->left;
  TYPE* type = tree->type;
  if (type->is_bool()) {
    const int truth = truth_of(from);
    return truth < 0 ? UNFOLDED : mk_ICON(truth, type);
  }
  if (type->is_int_or_enum() && from->type->is_int_or_enum())
    return mk_ICON(int_operand(from, from->type), type);
  simul_fval v;
  if (type->is_float() && from->type->is_int_or_enum()) {
    f_i65tof(int_operand(from, from->type), &v);
  } else if (from->type->is_float()) {
    v = float_operand(from);
  } else {
    return UNFOLDED;
  }
  if (type->is_float()) {
    truncate_fval_to_target(&v, type);
    return fp_error ? UNFOLDED : mk_FCON(v, type);
  }
  if (!type->is_int_or_enum()) return UNFOLDED;
  // By way of 64 bits with the sign, and for an unsigned type also without.
  int64_t with_sign;
  uint64_t without = 0;
  if (type->is_signed() || v.sign) {
    f_ftoi(&v, &with_sign);
    return fp_error ? UNFOLDED : mk_ICON(with_sign, type);
  }
  f_ftou(&v, &without);
  return fp_error ? UNFOLDED : mk_ICON(without, type);
}

NODE* counted(NODE* constant, COUNTER& counter) {
  if (constant) counter.count();
  return constant;
}

// The operator over scalar literals.
NODE* fold_scalar(const NODE* tree) {
  switch (tree->op) {
  case SCONV:
  case VSCONV: return counted(fold_conversion(tree), folded_conversions);
  case EXCLAIM:
  case ANDAND:
  case OROR: return counted(fold_truth(tree), folded_truths);
  default: break;
  }
  if (tree->type->is_float() || tree->left->type->is_float())
    return counted(fold_float(tree), folded_floats);
  return counted(fold_int(tree), folded_integers);
}

// c ? a : b, with literals
NODE* fold_choice(NODE* tree) {
  NODE* arms = tree->right;
  if (!is_literal(tree->left) || arms->op != COLON) return tree;
  const int truth = truth_of(tree->left);
  if (truth < 0) return tree;
  NODE*& chosen = truth ? arms->left : arms->right;
  if (!is_literal(chosen) || !compatible_types(chosen->type, tree->type)) return tree;
  NODE* constant = chosen;
  chosen = nullptr;
  folded_choices.count();
  return replace(tree, constant);
}

// ---------------------------------------------------------------------------------------------
// Vectors

TYPE* lane_type(TYPE* type) {
  return type->underlying_type()->elem_type()->underlying_type();
}

unsigned long lane_count(const TYPE* type) {
  return type->array_parts()->count;
}

// A literal for one lane of an operand of an operator on vectors of `lanes` lanes; null if the
// operand has no such form.
NODE* lane_literal(const NODE* operand, unsigned long lanes) {
  if (!operand->type->is_vector()) return copy_node(operand, true);
  const NODE* literal = operand->left;
  if (!literal) return nullptr;
  const TYPE* lane = lane_type(operand->type);
  const TYPE* given = literal->type->underlying_type();
  const bool same = lane->is_float() == given->is_float() && lane->size == given->size &&
                    lane->is_bool() == given->is_bool();
  if (lane_count(operand->type) != lanes || !same) return nullptr;
  NODE* copy = copy_node(literal, true);
  copy->type = lane_type(operand->type);
  return copy;
}

NODE* fold_one(NODE* tree);

// op(VPACKM(a), VPACKM(b))  -->  VPACKM(op(a, b))
NODE* fold_vector(NODE* tree) {
  TYPE* type = tree->type;
  // Comparisons of vectors have results of other shapes.
  if (!type->is_vector() || boolean_result[tree->op] || type->array_parts()->is_bool_vector)
    return tree;
  TYPE* lane = lane_type(type);
  if (!lane->is_int() && !lane->is_float()) return tree;
  NODE* a = lane_literal(tree->left, lane_count(type));
  NODE* b = tree->right ? lane_literal(tree->right, lane_count(type)) : nullptr;
  NODE* result = nullptr;
  if (a && (b || !tree->right)) {
    const int op = tree->op == VSCONV ? SCONV : tree->op;
    result = fold_one(maketree(op, a, b, lane));
    a = b = nullptr;
  }
  erase_tree(a);
  erase_tree(b);
  if (!result || !is_literal(result)) {
    erase_tree(result);
    return tree;
  }
  folded_vectors.count();
  return replace(tree, maketree(VPACKM, result, nullptr, type, tree->ls));
}

// ---------------------------------------------------------------------------------------------

// May the operands of a comparison change places? Of two types of one size it is made in the
// left one's, which for a truth value and a number matters.
bool sides_agree(const NODE* tree) {
  return !boolean_result[tree->op] || tree->left->type->is_bool() == tree->right->type->is_bool();
}

void put_constant_left(NODE* tree) {
  if (!tree->right || is_constant(tree->left) || !is_constant(tree->right)) return;
  if (commute_inv[tree->op] == ILLOP || !sides_agree(tree)) return;
  std::swap(tree->left, tree->right);
  tree->op = commute_inv[tree->op];
  moved_constants.count();
}

// One operator; its operands are folded.
NODE* fold_one(NODE* tree) {
  if (!tree->left) return tree;
  if (tree->op == QUEST) return fold_choice(tree);
  put_constant_left(tree);
  if (!has_trait(tree->op, operator_trait::FOLDS) || !is_constant(tree->left) ||
      (tree->right && !is_constant(tree->right)))
    return tree;
  if (tree->type->is_vector() || tree->left->type->is_vector() ||
      (tree->right && tree->right->type->is_vector()))
    return fold_vector(tree);

  LS* scope = tree->ls;
  tree = insert_mandatory_casts(tree);
  if (!tree->left) { // it compared a constant with itself
    tree->ls = scope;
    return tree;
  }
  for (NODE** kid : {&tree->left, &tree->right})
    if (*kid && (*kid)->op == SCONV) *kid = fold_one(*kid);
  if (!is_literal(tree->left) || (tree->right && !is_literal(tree->right))) return tree;

  const uint32_t errors_before = fp_error;
  fp_error = 0;
  NODE* constant = fold_scalar(tree);
  fp_error |= errors_before;
  return constant ? replace(tree, constant) : tree;
}

} // namespace

NODE* fold_constants(NODE* tree) {
  walk_postorder(tree, [](NODE*& node) { node = fold_one(node); });
  return tree;
}
