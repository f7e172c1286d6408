// Trees by C's rules over the target's types: promotions, conversions, arithmetic, addresses.
// Nothing here knows the parser; types are computed from the operands' own, bottom up.
//
// All makers take ownership of their operands.
#pragma once

#include "OPT5/node.h"
#include "OPT5/symbol.h"

namespace cc {

constexpr unsigned UNIT_BITS = 16;

inline TYPE* int_type() {
  return tp->mk_plain_int();
}
inline TYPE* size_type() {
  return tp->basic[TYPE::I_ULONG];
}
inline TYPE* ptrdiff_type() {
  return tp->mk_ptrdiff();
}
inline TYPE* char_type() {
  return tp->mk_char();
}
TYPE* float_type(TYPE::FKIND kind);

// The type of a value read from an object of type t: no qualifiers, integers for enumerations.
TYPE* value_type(TYPE* t);
// t with more qualifiers; those of an array go to its elements.
TYPE* qualified(TYPE* t, int quals);
unsigned long size_in_units(const TYPE* t);
inline TYPE* pointee(const TYPE* pointer) {
  return pointer->underlying_type()->elem_type();
}
bool is_function_pointer(const TYPE* t);

NODE* icon(INT65 value, TYPE* type); // integer or pointer type
NODE* fcon(double value, TYPE* type);
NODE* name_node(SYMTAB* sym);
NODE* label_node(int number);
NODE* branch(int label);
NODE* zero_of(TYPE* type); // integer, floating or pointer type

// The value as an operand: array as pointer to its first element, function as its address.
NODE* decay(NODE* node);
NODE* promote(NODE* node);
// The variable argument's promotions: also float to double.
NODE* promote_argument(NODE* node);
// As by assignment to an object of that type. `op` is the operator for a conversion that needs one:
// SCONV for PCONV or SCONV as the types ask, or ACONV. Pointers that differ in qualifiers only are
// left alone.
NODE* convert(NODE* node, TYPE* to, int op = SCONV);
// As by a cast: the result has exactly that type.
NODE* cast(NODE* node, TYPE* to);
// An integer that is not zero if the value isn't.
NODE* truth(NODE* node);
NODE* negate(NODE* condition); // logically; of a truth value or scalar

TYPE* common_type(NODE*& left, NODE*& right); // promotes both and gives the type to compute in
NODE* arithmetic(int op, NODE* left, NODE* right);
NODE* shift(int op, NODE* left, NODE* right);
NODE* compare(int op, NODE* left, NODE* right); // op is a signed comparison
NODE* step(int op, NODE* pointer, NODE* index); // PLUS or MINUS of whole elements
NODE* pointer_difference(NODE* left, NODE* right);
NODE* element_units(TYPE* pointer, NODE* index); // the index in units, as a long

NODE* address_of(NODE* place);
NODE* object_at(NODE* pointer);                    // what it points to
NODE* member_of(NODE* aggregate, fkMDATA* member); // of a place, or of a value
NODE* member_at(NODE* pointer, fkMDATA* member);
bool is_place(const NODE* node);

// left = value; the operator and the conversion follow the place's type.
NODE* assign(NODE* place, NODE* value);

} // namespace cc
