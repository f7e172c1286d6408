// Types of expressions, and conversions of trees between them.
//
//   long + int  -->  long + (long)int;   x = x  -->  nothing;   x == x  -->  1

#include "OPT5/types.h"
#include "OPT5/treewalk.h"

#include "DIAG/abort.h"
#include "OPT5/counters.h"
#include "OPT5/fold.h"
#include "OPT5/optables.h"
#include "OPT5/simp1.h"
#include "OPT5/streams.h"
#include "OPT5/symbol.h"

TYPE* normalized_underlying_type(TYPE* t) {
  return (t->is_enum() ? t->enum_underlying() : t)->normalized_type();
}

TYPE* promoted_type(TYPE* t) {
  if (t->is_enum()) t = normalized_underlying_type(t);
  return t->is_int() ? tp->c_integral_promotions(t) : t->underlying_type();
}

TYPE* promoted_type(const NODE* tree) {
  const fkMDATA* field = tree->type->is_int_or_enum() ? bit_field_of(tree) : nullptr;
  TYPE* plain = tp->mk_plain_int();
  if (!field || field->bit_size > plain->size) return promoted_type(tree->type);
  return field->bit_size < plain->size || tree->type->is_signed() ? plain : tp->mk_plain_uint();
}

TYPE* combined_type_for_types(TYPE* a, TYPE* b) {
  if (a->is_pointer()) return a;
  if (b->is_pointer()) return b;
  if (a->is_enum()) a = a->enum_underlying();
  if (b->is_enum()) b = b->enum_underlying();
  const bool arithmetic = (a->is_int() || a->is_float()) && (b->is_int() || b->is_float());
  return arithmetic ? tp->c_usual_arith_conv(a, b) : a;
}

TYPE* combined_type(const NODE* a, const NODE* b) {
  auto type_of = [](const NODE* tree) {
    return bit_field_of(tree) ? promoted_type(tree) : tree->type;
  };
  return combined_type_for_types(type_of(a), type_of(b));
}

TYPE* next_wider_type(TYPE* t) {
  static const TYPE::IKIND kinds[][2] = {
      {TYPE::I_INT, TYPE::I_UINT}, {TYPE::I_LONG, TYPE::I_ULONG}, {TYPE::I_LLONG, TYPE::I_ULLONG}};
  for (const auto& [with_sign, without] : kinds) {
    TYPE* wider = tp->basic[t->is_signed() ? with_sign : without];
    if (wider->size >= 2 * t->size) return wider;
  }
  return nullptr;
}

TYPE* operator_type_for_operand_types(int op, TYPE* a, TYPE* b) {
  if (boolean_result[op]) return tp->mk_plain_int();
  if (opcode_is_ASG(op)) return a;
  switch (op) {
  case SLL:
  case SRL:
  case UMINUS:
  case NOTB:
  case ABS:
  case SQR:
  case SQRT:
  case RECIP: return a->is_vector() ? a : promoted_type(a);
  case MINUS:
    if (a->is_pointer() && b && b->is_pointer()) return tp->mk_ptrdiff();
    break;
  case COMMAOP: return b ? b : a;
  default: break;
  }
  if (!b) return a;
  if (a->is_vector()) return a;
  if (b->is_vector()) return b;
  return combined_type_for_types(a, b);
}

TYPE* get_complex_type(TYPE* part) {
  return tp->mk_complex(part);
}

TYPE* essential_type(TYPE* t) {
  TYPE* bare = t->underlying_type();
  if (!bare->is_array()) return bare;
  TYPE* elem = essential_type(bare->elem_type());
  return elem == bare->elem_type() ? bare : tp->replace_array_elem(bare, elem);
}

// ---------------------------------------------------------------------------------------------
// Values

static bool is_one_icon(const NODE* tree) {
  return tree->op == ICON && tree->ival == INT65(1);
}

// Is 1 a value of the type, or of the bit-field that the tree gives? Not of one signed bit.
static bool can_be_one(const NODE* tree) {
  if (!tree->type->is_int_or_enum()) return false;
  const fkMDATA* field = bit_field_of(tree);
  const unsigned long width = field ? field->bit_size : tree->type->size;
  return width > 1 || !tree->type->is_signed() || tree->type->is_bool();
}

bool returns_1_or_0(const NODE* tree) {
  for (;;) {
    if (!can_be_one(tree)) return false;
    if (boolean_result[tree->op]) return true;
    switch (tree->op) {
    case ICON: return tree->type->is_bool() || tree->ival == INT65(0) || is_one_icon(tree);
    case ANDB: return is_one_icon(tree->left) || is_one_icon(tree->right);
    case ASG:
    case COMMAOP: tree = tree->right; break;
    default: return false;
    }
  }
}

bool value_fits_in_type(const NODE* tree, TYPE* type, LOOP*) {
  if (!type->is_int_or_enum() || !tree->type->is_int_or_enum()) return false;
  const INT65 low = int_type_min(type), high = int_type_max(type);
  if (returns_1_or_0(tree) && INT65(1) <= high) return true;
  if (tree->op == ICON) return low <= tree->ival && tree->ival <= high;
  // A widening conversion keeps its operand's range.
  const NODE* source = tree->op == SCONV && tree->left->type->is_int_or_enum() &&
                               tree->left->type->size < tree->type->size &&
                               (tree->type->is_signed() || !tree->left->type->is_signed())
                           ? tree->left
                           : tree;
  return low <= int_type_min(source->type) && int_type_max(source->type) <= high;
}

// ---------------------------------------------------------------------------------------------
// Conversions

static bool is_arithmetic(const TYPE* t) {
  return t->is_int_or_enum() || t->is_float();
}

NODE* coerce_to_type(TYPE* type, NODE* tree, bool simplify) {
  if (compatible_types(type, tree->type)) return tree;
  if (tree->op == ICON && type->is_int_or_enum() && tree->type->is_int_or_enum()) {
    tree->ival = type->is_bool() ? INT65(tree->ival != INT65(0) ? 1 : 0)
                                 : truncate_to_type(tree->ival, type);
    tree->type = type;
    return tree;
  }
  if ((tree->op == ICON || tree->op == FCON) && is_arithmetic(type))
    return fold_constants(maketree(SCONV, tree, nullptr, type, tree->ls));
  const int op = type->is_vector()                                ? VSCONV
                 : type->is_pointer() || tree->type->is_pointer() ? PCONV
                                                                  : SCONV;
  NODE* conversion = maketree(op, tree, nullptr, type, tree->ls);
  return simplify ? simp_node(conversion, nullptr) : conversion;
}

namespace {

// Would using a value of type `from` as one of `to` change its bits?
bool needs_conversion(const TYPE* from, const TYPE* to) {
  if (!is_arithmetic(from) || !is_arithmetic(to)) return false;
  return from->is_float() != to->is_float() || from->size != to->size ||
         from->is_bool() != to->is_bool();
}

void convert(NODE*& kid, TYPE* type) {
  if (print_debug) {
    print_if_debug("+++GAR insert mandatory cast:\n");
    print_if_debug(" tree->type: %s  kid2->type: %s\n", type->str().c_str(),
                   kid->type->str().c_str());
  }
  kid = maketree(SCONV, kid, nullptr, type, kid->ls);
}

void agree(NODE*& kid, TYPE* type) {
  if (needs_conversion(kid->type, type)) convert(kid, type);
}

// Both sides of a comparison get the type in which it is made.
void agree_sides(NODE* tree) {
  NODE*& a = tree->left;
  NODE*& b = tree->right;
  if (!needs_conversion(a->type, b->type)) return;
  const bool to_left = a->type->is_float() != b->type->is_float() ? a->type->is_float()
                                                                  : a->type->size >= b->type->size;
  if (to_left)
    convert(b, a->type);
  else
    convert(a, b->type);
}

bool compares_as_integer(const TYPE* t) {
  return t->is_int_or_enum() || t->is_pointer();
}

COUNTER dropped_assignments("conversions", "assignments of a variable to itself");
COUNTER settled_comparisons("conversions", "comparisons of a tree with itself");

// x = x --> x;  x == x --> 1, x < x --> 0 for values that are equal to themselves
NODE* without_redundancy(NODE* tree) {
  const bool assignment = tree->op == ASG;
  // A NaN is not equal to itself, nor is a complex number with one; lanes have a truth value each.
  if (!assignment && (!is_integer_comparison(tree->op) || !compares_as_integer(tree->left->type)))
    return tree;
  if (tree_has_side_effects(tree->left) || !trees_are_congruent(tree->left, tree->right))
    return tree;
  print_if_debug(assignment ? "\n\tREDUNDANT ASSIGNMENT ELIMINATED:\n"
                            : "\n\tREDUNDANT RELATIONAL ELIMINATED:\n");
  (assignment ? dropped_assignments : settled_comparisons).count();
  if (assignment) {
    NODE* value = tree->left;
    tree->left = nullptr;
    erase_tree(tree);
    return value;
  }
  const int op = tree->op;
  const bool holds = op == EQ || op == LE || op == GE || op == ULE || op == UGE;
  NODE* truth = mk_ICON(holds ? 1 : 0, tree->type);
  erase_tree(tree);
  return truth;
}

void agree_operands(NODE*& tree) {
  using namespace operator_trait;
  if (has_trait(tree->op, BINARY | UNARY)) {
    agree(tree->left, tree->type);
    const bool shifts = tree->op == SLL || tree->op == SRL;
    if (has_trait(tree->op, BINARY) && !shifts) agree(tree->right, tree->type);
  }
  switch (tree->op) {
  case EXPT:
    agree(tree->left, tree->type);
    if (tree->type->is_float()) agree(tree->right, tree->type);
    break;
  case ASG:
    if (!tree->left->type->is_vector()) agree(tree->right, tree->left->type);
    break;
  case RETURN:
    if (const TYPE* func = tree->left->type; func->is_func())
      agree(tree->right, func->return_type());
    break;
  case QUEST:
    agree(tree->right->left, tree->type);
    agree(tree->right->right, tree->type);
    break;
  case UMULT:
    if (!tree->left->type->is_pointer()) optassert("IS_PTR(tree->left->type)", __FILE__, __LINE__);
    break;
  default:
    if (is_integer_comparison(tree->op) || is_floating_comparison(tree->op)) agree_sides(tree);
  }
  tree = without_redundancy(tree);
}

} // namespace

NODE* insert_mandatory_casts(NODE* tree) {
  walk_postorder(tree, agree_operands);
  return tree;
}

// The pointer that a sum moves: either side of a PLUS, as folding puts constants first. Null if the
// tree is none; a difference of pointers is a number.
static NODE** moved_pointer(NODE* sum) {
  if ((sum->op != PLUS && sum->op != MINUS) || !sum->type->is_pointer()) return nullptr;
  if (sum->left->type->is_pointer()) return &sum->left;
  return sum->op == PLUS && sum->right->type->is_pointer() ? &sum->right : nullptr;
}

NODE* push_down_pointer_cast(TYPE* type, NODE* tree) {
  if (!type->is_pointer()) optassert("IS_PTR(tree->left->type)", __FILE__, __LINE__);
  NODE** place = &tree;
  while (NODE** pointer = moved_pointer(*place)) {
    (*place)->type = type;
    place = pointer;
  }
  *place = coerce_to_type(type, *place, false);
  return tree;
}

NODE* remove_pushed_down_casts(NODE* tree) {
  NODE** place = &tree;
  while (NODE** pointer = moved_pointer(*place))
    place = pointer;
  NODE* cast = *place;
  if (cast == tree || cast->op != PCONV || !cast->left->type->is_pointer()) return tree;
  TYPE* wanted = tree->type;
  TYPE* inner = cast->left->type;
  *place = drop_wrapper(cast);
  for (NODE* sum = tree; sum != *place; sum = *moved_pointer(sum))
    sum->type = inner;
  return maketree(PCONV, tree, nullptr, wanted, tree->ls);
}

void fix_type_info(NODE* name) {
  if (name->op != NAME || !name->u.sym) return;
  const TYPE* declared = name->u.sym->type;
  if (compatible_types(name->type, declared) && name->type->size == declared->size)
    name->type = name->u.sym->type;
}

bool tree_points_to_packed(const NODE* tree) {
  // Members on uneven places only arise by way of a STDOT of a bit-field or a narrow alignment.
  return tree_contains_matching_node(tree, [](const NODE* node) {
    return (node->op == STDOT || node->op == STREF) &&
           (node->right->mval->is_bitfield() ||
            node->right->mval->bit_offset %
                    static_cast<long>(node->type->align ? node->type->align : 16) !=
                0);
  });
}

bool must_preserve_STDOT(const NODE* stdot) {
  const fkMDATA* member = stdot->right->mval;
  return member->is_bitfield() || stdot->type->is_volatile() || member->owner->is_union() ||
         stdot->left->type->is_union();
}
