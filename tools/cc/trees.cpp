#include "tools/cc/trees.h"

#include "OPT5/optables.h"
#include "OPT5/types.h"
#include "TYPES/type_values.h"

#include <cstdio>

namespace cc {

TYPE* float_type(TYPE::FKIND kind) {
  return tp->mk_fltpt(kind);
}

TYPE* value_type(TYPE* t) {
  t = t->underlying_type();
  return t->kind == TYPE::K_ENUM ? t->enum_underlying()->underlying_type() : t;
}

TYPE* qualified(TYPE* t, int quals) {
  if (!quals) return t;
  if (t->is_array()) {
    TYPE* array = t->underlying_type();
    return tp->replace_array_elem(array, qualified(array->elem_type(), quals));
  }
  return tp->mk_qual(t, static_cast<unsigned char>(quals));
}

unsigned long size_in_units(const TYPE* t) {
  return t->storage_size() / UNIT_BITS;
}

bool is_function_pointer(const TYPE* t) {
  return t->is_pointer() && pointee(t)->is_func();
}

NODE* icon(INT65 value, TYPE* type) {
  type = value_type(type);
  if (!type->is_pointer()) return mk_ICON(value, type);
  NODE* node = alloc_node(ICON, type);
  node->ival = truncate_to_type(value, size_type());
  return node;
}

NODE* fcon(double value, TYPE* type) {
  char text[64];
  snprintf(text, sizeof text, "%a", value);
  NODE* node = alloc_node(FCON, value_type(type));
  node->mk_fcon(text);
  return node;
}

NODE* name_node(SYMTAB* sym) {
  return mk_NAME(sym);
}

NODE* label_node(int number) {
  NODE* node = alloc_node(LABEL, tp->mk_void());
  node->mk_label(number);
  return node;
}

NODE* branch(int label) {
  return maketree(BRANCH, label_node(label), nullptr, tp->mk_void());
}

NODE* zero_of(TYPE* type) {
  return type->is_float() ? fcon(0, type) : icon(0, type);
}

static NODE* retyped(NODE* node, TYPE* type) {
  node->type = node->orig_type = type;
  return node;
}

NODE* decay(NODE* node) {
  if (node->type->is_func())
    return node->op == NAME
               ? maketree(UAND, node, nullptr, tp->mk_ptr(node->type->underlying_type()))
               : node;
  if (!node->type->is_array()) return node;
  TYPE* to = tp->mk_ptr(node->type->underlying_type()->elem_type());
  if (node->op != UMULT) return maketree(UAND, node, nullptr, to);
  NODE* pointer = node->left;
  node->left = nullptr;
  erase_node(node);
  switch (pointer->op) {
  case PLUS:
  case MINUS:
  case UAND:
  case SCON:
  case PCONV: return retyped(pointer, to);
  default: return maketree(PCONV, pointer, nullptr, to);
  }
}

static NODE* scalar_conversion(int op, NODE* node, TYPE* to) {
  return maketree(op, node, nullptr, to);
}

NODE* promote(NODE* node) {
  node = decay(node);
  TYPE* type = value_type(node->type);
  if (!type->is_int()) return node;
  TYPE* to = bit_field_of(node) ? promoted_type(node) : tp->c_integral_promotions(type);
  return to == type ? node : convert(node, to);
}

NODE* promote_argument(NODE* node) {
  node = promote(node);
  TYPE* type = value_type(node->type);
  return type->is_float() && type->fkind() == TYPE::F_FLOAT
             ? convert(node, float_type(TYPE::F_DOUBLE))
             : node;
}

static NODE* convert_value(NODE* node, TYPE* to, int op, bool keep_compatible_pointers) {
  node = decay(node);
  if (to->is_void()) return node;
  to = value_type(to);
  TYPE* from = value_type(node->type);
  if (from == to || to->is_csu()) return node;
  if (to->is_vector()) return node;
  if (to->is_bool()) {
    if (boolean_result[node->op]) return scalar_conversion(op, node, to);
    return retyped(compare(NEQ, node, zero_of(from)), to);
  }
  if (node->op == ICON && (to->is_int() || (to->is_pointer() && !from->is_pointer()))) {
    node->ival = truncate_to_type(node->ival, to->is_int() ? to : size_type());
    return retyped(node, to);
  }
  if (to->is_pointer() || from->is_pointer()) {
    if (keep_compatible_pointers && to->is_pointer() && from->is_pointer() &&
        pointee(to)->underlying_type() == pointee(from)->underlying_type())
      return node;
    // A floating or narrower result of a pointer is taken from the address as an integer.
    return scalar_conversion(op == ACONV ? ACONV : PCONV, node, to);
  }
  return scalar_conversion(op, node, to);
}

NODE* convert(NODE* node, TYPE* to, int op) {
  return convert_value(node, to, op, true);
}
NODE* cast(NODE* node, TYPE* to) {
  // A bit-field cast to its own type is a value of that type, which no longer promotes by width.
  if (to->is_int() && value_type(to) == value_type(node->type) && bit_field_of(node))
    return scalar_conversion(SCONV, node, value_type(to));
  return convert_value(node, to, SCONV, false);
}

NODE* truth(NODE* node) {
  node = decay(node);
  TYPE* type = value_type(node->type);
  return type->is_int() ? node : compare(NEQ, node, zero_of(type));
}

NODE* negate(NODE* condition) {
  condition = truth(condition);
  if (condition->op == EXCLAIM) {
    NODE* inner = condition->left;
    condition->left = nullptr;
    erase_node(condition);
    return inner;
  }
  // The inverse of an ordering of floats is no ordering: both are false for a NaN.
  if (condition->op >= EQ && condition->op <= UGT && !condition->left->type->is_float()) {
    condition->op = boolean_inv[condition->op];
    return condition;
  }
  return mk_EXCLAIM(condition);
}

TYPE* common_type(NODE*& left, NODE*& right) {
  left = decay(left);
  right = decay(right);
  if (left->type->is_vector()) return value_type(left->type);
  if (right->type->is_vector()) return value_type(right->type);
  left = promote(left);
  right = promote(right);
  return tp->c_usual_arith_conv(value_type(left->type), value_type(right->type));
}

static NODE* operand_for(NODE* node, TYPE* type) {
  if (!type->is_vector() || node->type->is_vector()) return convert(node, type);
  return maketree(VPACKM, convert(node, type->elem_type()), nullptr, type);
}

NODE* arithmetic(int op, NODE* left, NODE* right) {
  TYPE* type = common_type(left, right);
  return maketree(op, operand_for(left, type), operand_for(right, type), type);
}

NODE* shift(int op, NODE* left, NODE* right) {
  left = promote(left);
  if (left->type->is_vector()) return arithmetic(op, left, right);
  right = promote(right);
  return maketree(op, left, right, value_type(left->type));
}

static int unsigned_comparison(int op) {
  switch (op) {
  case LE: return ULE;
  case LT: return ULT;
  case GE: return UGE;
  case GT: return UGT;
  default: return op;
  }
}

NODE* compare(int op, NODE* left, NODE* right) {
  left = decay(left);
  right = decay(right);
  if (left->type->is_pointer() || right->type->is_pointer()) {
    if (!left->type->is_pointer())
      left = cast(left, right->type);
    else
      right = convert(right, left->type);
    return maketree(unsigned_comparison(op), left, right, int_type());
  }
  TYPE* type = common_type(left, right);
  left = operand_for(left, type);
  right = operand_for(right, type);
  TYPE* lane = type->is_vector() ? value_type(type->elem_type()) : type;
  if (lane->is_int() && !lane->is_signed()) op = unsigned_comparison(op);
  if (!type->is_vector()) return maketree(op, left, right, int_type());
  // A true lane is all ones in the source language, 1 here.
  TYPE::IKIND kind = lane->size <= 16   ? TYPE::I_INT
                     : lane->size <= 32 ? TYPE::I_LONG
                                        : TYPE::I_LLONG;
  TYPE* mask = tp->replace_array_elem(type, tp->basic[kind]);
  return maketree(UMINUS, maketree(op, left, right, mask), nullptr, mask);
}

NODE* element_units(TYPE* pointer, NODE* index) {
  TYPE* elem = pointee(pointer);
  const unsigned long units = elem->is_void() ? 1 : size_in_units(elem);
  index = promote(index);
  TYPE* type = value_type(index->type);
  if (type->size < ptrdiff_type()->size || type->size > ptrdiff_type()->size) {
    index = convert(index, ptrdiff_type());
    type = ptrdiff_type();
  }
  if (index->op == ICON) {
    index->ival = truncate_to_type(index->ival * INT65(units), type);
    return index;
  }
  return units == 1 ? index : maketree(MULT, index, icon(units, type), type);
}

NODE* step(int op, NODE* pointer, NODE* index) {
  pointer = decay(pointer);
  TYPE* type = value_type(pointer->type);
  return maketree(op, pointer, element_units(type, index), type);
}

NODE* pointer_difference(NODE* left, NODE* right) {
  left = decay(left);
  right = decay(right);
  TYPE* elem = pointee(left->type);
  const unsigned long units = elem->is_void() ? 1 : size_in_units(elem);
  NODE* distance = maketree(MINUS, left, right, ptrdiff_type());
  if (units <= 1) return distance;
  return maketree(DIV, distance, icon(units, ptrdiff_type()), ptrdiff_type());
}

bool is_place(const NODE* node) {
  switch (node->op) {
  case NAME:
  case UMULT:
  case STDOT:
  case STREF: return true;
  case VFIELD: return is_place(node->left);
  default: return false;
  }
}

NODE* address_of(NODE* place) {
  TYPE* to = tp->mk_ptr(place->type);
  if (place->op != UMULT) return maketree(UAND, place, nullptr, to);
  NODE* pointer = place->left;
  place->left = nullptr;
  erase_node(place);
  return value_type(pointer->type) == to ? pointer : maketree(PCONV, pointer, nullptr, to);
}

NODE* object_at(NODE* pointer) {
  pointer = decay(pointer);
  TYPE* type = pointee(pointer->type);
  return type->is_func() ? pointer : maketree(UMULT, pointer, nullptr, type);
}

static NODE* field_node(fkMDATA* member) {
  NODE* field = alloc_node(FIELD, member->type);
  field->mk_field(0, member, member->owner);
  return field;
}

static NODE* member_access(int op, NODE* left, fkMDATA* member, int quals) {
  return maketree(op, left, field_node(member),
                  qualified(member->type, quals & (TYPE::Q_CONST | TYPE::Q_VOLATILE)));
}

NODE* member_of(NODE* aggregate, fkMDATA* member) {
  return member_access(is_place(aggregate) ? STDOT : STFIELD, aggregate, member,
                       aggregate->type->qual_kind(true));
}

NODE* member_at(NODE* pointer, fkMDATA* member) {
  return member_access(STREF, pointer, member, pointee(pointer->type)->qual_kind(true));
}

NODE* assign(NODE* place, NODE* value) {
  return mk_ASG(place, place->type->is_array() ? value : convert(value, place->type));
}

} // namespace cc
