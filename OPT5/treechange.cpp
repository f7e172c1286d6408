// Congruence of trees, and rewrites of whole trees.
//
//   x = x + 1  -->  x += 1, and back

#include "OPT5/node.h"
#include "OPT5/optables.h"
#include "OPT5/symbol.h"
#include "OPT5/treewalk.h"
#include "OPT5/types.h"

#include <cstring>
#include <vector>

// ---------------------------------------------------------------------------------------------
// Congruence

namespace {

bool equiv_mtypes(const TYPE* a, const TYPE* b) {
  if (a == b) return true;
  TYPE* x = const_cast<TYPE*>(a)->normalized_type();
  TYPE* y = const_cast<TYPE*>(b)->normalized_type();
  if (x == y) return true;
  return x->is_pointer() && y->is_pointer() && x->size == y->size;
}

const NODE* look_through_wrappers(const NODE* node) {
  for (;;) {
    switch (node->op) {
    case CSE_DUPE:
    case CSE_ORIG: node = node->right; break;
    case OUIALIGN:
    case NONALIGN:
    case IDENTITY: node = node->left; break;
    default: return node;
    }
  }
}

bool reads_volatile(const NODE* node) {
  switch (node->op) {
  case NAME:
  case UMULT:
  case STDOT:
  case STREF:
  case STFIELD: return node->type->is_volatile();
  default: return false;
  }
}

// A parameter (level 1) and its local copy of the same name (level 2), neither ever changed.
bool are_parameter_and_copy(const NODE* a, const NODE* b) {
  auto strip = [](const NODE* node) {
    bool conversion = node->op == SCONV || node->op == PCONV || node->op == ISP2CHAR;
    return conversion && node->left->op == NAME ? node->left : node;
  };
  if (a->op == b->op || (a->op != NAME && b->op != NAME)) return false;
  a = strip(a);
  b = strip(b);
  if (a->op != NAME || b->op != NAME || !a->u.sym || !b->u.sym) return false;
  const SYMTAB* x = a->u.sym;
  const SYMTAB* y = b->u.sym;
  const unsigned outer = std::min(x->level, y->level), inner = std::max(x->level, y->level);
  if (outer != PARAMETER_LEVEL || inner != OUTER_LEVEL) return false;
  return x->type->is_const() && y->type->is_const() && strcmp(x->name, y->name) == 0 &&
         equiv_mtypes(x->type, y->type); // else the copy may have lost bits
}

// The base of a STDOT chain; adds the members' offsets to `bits`.
const NODE* stdot_base(const NODE* node, long& bits) {
  for (; node->op == STDOT; node = node->left)
    bits += node->right->mval->bit_offset;
  return node;
}

// What operators say besides their operands, for those where that makes a difference.
bool payloads_agree(const NODE* a, const NODE* b) {
  switch (a->op) {
  case CALL: return a->eh_entry == b->eh_entry && a->vargs == b->vargs;
  case UCALL: return a->eh_entry == b->eh_entry;
  case SKIP: return a->ival == b->ival;
  case DDNODE:
    return a->ival == b->ival && a->dd_locale == b->dd_locale && a->dd_flags == b->dd_flags;
  default: return true;
  }
}

} // namespace

bool trees_are_congruent(const NODE* a, const NODE* b, bool se_ok) {
  for (;;) {
    if (!a || !b) return a == b;
    if (a == b) return a->op != MIXVALUE || reinterpret_cast<size_t>(a->u.word) > 1;
    a = look_through_wrappers(a);
    b = look_through_wrappers(b);
    if (!se_ok && (side_effects[a->op] != SE_NONE || side_effects[b->op] != SE_NONE)) return false;
    const bool same_name = a->op == NAME && b->op == NAME && a->u.sym == b->u.sym;
    if (same_name ? !compatible_types(a->type, b->type) && !equiv_mtypes(a->type, b->type)
                  : !equiv_mtypes(a->type, b->type))
      return false;

    if (commute_inv[b->op] == a->op && a->op != ILLOP &&
        trees_are_congruent(a->left, b->right, se_ok) &&
        trees_are_congruent(a->right, b->left, se_ok))
      return true;
    if (a->op != b->op) return are_parameter_and_copy(a, b);

    // Two reads of a volatile object may give two values.
    if (!se_ok && (reads_volatile(a) || reads_volatile(b))) return false;
    switch (a->op) {
    case NAME: return a->u.sym == b->u.sym;
    case LABEL:
    case LABELDEF:
      return a->label && b->label ? a->label == b->label : a->label_id() == b->label_id();
    case SCON:
      return a->scon_length() == b->scon_length() &&
             memcmp(a->text, b->text, a->scon_length()) == 0;
    case ICON:
    case VREG: return a->ival == b->ival;
    case FCON: return f_bit_eq(a->u.fval, b->u.fval);
    case FIELD: return a->mval == b->mval;
    case UMULT:
      if (!trees_are_congruent(a->right, b->right, se_ok)) return false;
      break;
    case UAND: {
      long a_bits = 0, b_bits = 0;
      const NODE* a_base = stdot_base(a->left, a_bits);
      const NODE* b_base = stdot_base(b->left, b_bits);
      if (a_bits != b_bits) return false;
      a = a_base;
      b = b_base;
      // Only the place counts, not what is read there.
      if (a->op == NAME && b->op == NAME) return a->u.sym == b->u.sym;
      continue;
    }
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL:
      if (strcmp(a->u.callee, b->u.callee) != 0) return false;
      break;
    case PPRAGMA:
    case ASM: return false;
    case MIXVALUE:
    case EXPRSTUB: return false; // each stands for something of its own
    default:
      if (!payloads_agree(a, b)) return false;
      if (!trees_are_congruent(a->right, b->right, se_ok)) return false;
    }
    if (!a->left && !b->left) return true;
    a = a->left;
    b = b->left;
  }
}

bool trees_are_congruent_se_ok(const NODE* a, const NODE* b) {
  return trees_are_congruent(a, b, true);
}

bool bools_are_congruent(const NODE* a, const NODE* b, int opposite) {
  // !x is the opposite of x.
  while (a->op == EXCLAIM)
    a = a->left, opposite ^= 1;
  while (b->op == EXCLAIM)
    b = b->left, opposite ^= 1;
  if (!opposite) return trees_are_congruent(a, b);
  if (side_effects[a->op] != SE_NONE || boolean_inv[a->op] == ILLOP) return false;
  const int inverse = boolean_inv[a->op];
  if (inverse == b->op && trees_are_congruent(a->left, b->left) &&
      trees_are_congruent(a->right, b->right))
    return true;
  return commute_inv[inverse] == b->op && trees_are_congruent(a->left, b->right) &&
         trees_are_congruent(a->right, b->left);
}

bool tree_lists_are_congruent(const LIST* a, const LIST* b) {
  for (; a && b; a = a->next, b = b->next)
    if (!trees_are_congruent(a->tree, b->tree, true)) return false;
  return !a && !b;
}

// ---------------------------------------------------------------------------------------------
// Substitution

void subst_sym_for_sym_in_tree(SYMTAB* to, SYMTAB* from, NODE* tree) {
  walk_postorder(tree, [=](NODE*& node) {
    if (node->op == NAME && node->u.sym == from) node->u.sym = to;
  });
}

void subst_sym_pairs_in_tree(const SYMPAIRLIST* pairs, NODE* tree) {
  walk_postorder(tree, [pairs](NODE*& node) {
    if (node->op != NAME) return;
    if (const SYMPAIRLIST* pair = find_sym_in_sympairlist(node->u.sym, pairs))
      node->u.sym = pair->second;
  });
}

NODE* subst_tree_for_lvalue_in_tree(const NODE* value, const NODE* lvalue, NODE* tree) {
  walk_postorder(tree, [=](NODE*& node) {
    if (node->op != lvalue->op || !trees_are_congruent(node, lvalue)) return;
    NODE* copy = copy_tree(value, true);
    erase_tree(node);
    node = copy;
  });
  return tree;
}

// ---------------------------------------------------------------------------------------------
// Assignment operators

// x = y op z  -->  x op= z,  with x congruent to y
NODE* ASG_to_opASG(NODE* asg) {
  if (asg->op != ASG || !asg->right->right) return asg;
  NODE* value = asg->right;
  const int op_asg = opASG_of_op[value->op];
  if (op_asg == ILLOP) return asg;
  if (is_commutative(value->op) && trees_are_congruent(asg->left, value->right))
    std::swap(value->left, value->right);
  if (!trees_are_congruent(asg->left, value->left)) return asg;
  // The operator-assignment computes in the usual common type; a value computed in another one
  // would be another value.
  TYPE* common = value->op == SLL || value->op == SRL ? promoted_type(asg->left)
                                                      : combined_type(asg->left, value->right);
  if (!asg->left->type->is_pointer() && !compatible_types(common, value->type)) return asg;
  asg->op = op_asg;
  asg->right = value->right;
  erase_tree(value->left);
  value->left = value->right = nullptr;
  erase_node(value);
  return asg;
}

// Finding a place twice may neither do nor read more than finding it once. That the object itself
// is volatile doesn't matter: x op= y reads and writes it once, too.
static bool place_can_be_found_twice(const NODE* place) {
  for (;;) {
    switch (place->op) {
    case NAME:
    case VREG: return true;
    case STDOT:
    case VFIELD:
    case REAL:
    case IMAG: place = place->left; break;
    case STREF: return !tree_has_side_effects(place->left);
    case UMULT:
      return !tree_has_side_effects(place->left) &&
             !(place->right && tree_has_side_effects(place->right));
    default: return false;
    }
  }
}

// A shift's count as an int, which wider types than int keep: their values may not fit.
static NODE* as_shift_count(NODE* count, TYPE* shifted) {
  if (count->op == ICON)
    return value_fits_in_type(count, shifted, nullptr) ? coerce_to_type(shifted, count, false)
                                                       : count;
  TYPE* plain_int = tp->mk_plain_int();
  const bool fits = count->type->is_int_or_enum() && count->type->size <= plain_int->size;
  return fits ? coerce_to_type(plain_int, count, false) : count;
}

// x op= y  -->  x = x op y
NODE* opASG_to_ASG(NODE* asg) {
  const int op = op_of_opASG[asg->op];
  if (op == ILLOP || asg->left->op == DDNODE) return asg;
  if (!place_can_be_found_twice(asg->left)) return asg;
  NODE* target = copy_tree(asg->left, true);
  TYPE* type = target->type;
  const bool integers = type->is_int_or_enum() && asg->right->type->is_int_or_enum();
  if (!type->is_pointer() && !type->is_vector() &&
      !(type->is_float() && asg->right->type->is_float())) {
    if (op == SRL || op == SLL)
      type = promoted_type(target);
    else
      type = combined_type(target, asg->right);
  } else if (type->is_float()) {
    type = combined_type(target, asg->right);
  }
  if (!compatible_types(type, target->type)) target = maketree(SCONV, target, nullptr, type);
  NODE* operand = asg->right;
  if (op == SLL || op == SRL) {
    if (!type->is_vector()) operand = as_shift_count(operand, type);
  } else if (!type->is_pointer() && !type->is_vector() && !compatible_types(type, operand->type))
    operand = coerce_to_type(type, operand, integers);
  NODE* value = maketree(op, target, operand, type);
  if (!compatible_types(type, asg->left->type))
    value = maketree(SCONV, value, nullptr, asg->left->type);
  asg->op = ASG;
  asg->right = value;
  return asg;
}

// ---------------------------------------------------------------------------------------------
// Peeling

// Operators without an effect of their own whose operands are always evaluated.
static bool only_combines_its_operands(const NODE* node) {
  switch (node->op) {
  case COMMAOP:
  case PCOMMA:
  case PLUS:
  case MINUS:
  case MULT:
  case ANDB:
  case ORB:
  case XORB:
  case SLL:
  case SRL:
  case UMINUS:
  case NOTB:
  case SCONV:
  case PCONV:
  case EXCLAIM:
  case EQ:
  case NEQ:
  case LE:
  case LT:
  case GE:
  case GT:
  case ULE:
  case ULT:
  case UGE:
  case UGT: return true;
  default: return false;
  }
}

// a + f(b) * *volatile_c  -->  f(b), *volatile_c
NODE* peel_for_effect(NODE* tree) {
  NODE* peeled = nullptr;
  std::vector<NODE*> pending{tree}; // the next one to look at is the last
  while (!pending.empty()) {
    NODE* node = pending.back();
    pending.pop_back();
    if (!node) continue;
    if (only_combines_its_operands(node)) {
      pending.push_back(node->right);
      pending.push_back(node->left);
      node->left = node->right = nullptr;
      erase_node(node);
    } else if (!tree_has_side_effects(node)) {
      erase_tree(node);
    } else {
      peeled = peeled ? mk_COMMAOP(peeled, node) : node;
    }
  }
  return peeled;
}
