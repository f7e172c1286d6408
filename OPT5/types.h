// The optimiser's questions about types, and conversions of trees.
#pragma once

#include "OPT5/node.h"
#include "TYPES/type_values.h"

// Fills the relation "is a component of" for the types of the unit.
void init_types();
void erase_type_caches();
void type_cache_stats();

// --- Types of expressions
TYPE* normalized_underlying_type(TYPE* t); // an enumeration gives its integer
// The type that an operand of type t has in an expression: integers below int become int (or
// unsigned int if int can't hold them all), an enumeration its integer.
TYPE* promoted_type(TYPE* t);
TYPE* promoted_type(
    const NODE* tree); // a bit-field by its width, whatever type it was declared with
// The type in which a binary operator computes on the two: a pointer's if there is one, else C's
// usual arithmetic conversions.
TYPE* combined_type(const NODE* a, const NODE* b);
TYPE* combined_type_for_types(TYPE* a, TYPE* b);
TYPE* next_wider_type(
    TYPE* t); // basic integer of twice the width and the same sign; null at the top
// Result type of an operator for operands of those types; b is null for a unary one.
TYPE* operator_type_for_operand_types(int op, TYPE* a, TYPE* b);
TYPE* get_complex_type(TYPE* part);
TYPE* essential_type(TYPE* t); // without qualifiers and typedefs, elements of arrays too

// --- Values
// Is the tree an integer that is certain to be 1 or 0? An assignment's value is what its left side
// holds then: -1 for a field of one signed bit. A vector is no integer, though its lanes may be 1
// or 0.
bool returns_1_or_0(const NODE* tree);
// Is the tree's value certain to be representable in the integer type?
bool value_fits_in_type(const NODE* tree, TYPE* type, LOOP* loop);

// --- Conversions of trees. All take the tree and give its replacement.
// The tree as a value of `type`: itself where the types are compatible, a constant converted at
// once, else a conversion node, simplified if asked for.
NODE* coerce_to_type(TYPE* type, NODE* tree, bool simplify);
// Inserts the conversions that the operators imply, so that every node's operands agree with it.
// Assignments of a variable to itself and comparisons of a value with itself go.
NODE* insert_mandatory_casts(NODE* tree);
// PCONV(p + i) --> PCONV(p) + i: a pointer cast moves to the pointer that it is applied to, and
// back.
NODE* push_down_pointer_cast(TYPE* type, NODE* tree);
NODE* remove_pushed_down_casts(NODE* tree);
// Makes a NAME's type agree with its symbol's, qualifiers included.
void fix_type_info(NODE* name);

// --- Relations of types
bool is_type_component_of_type(TYPE* part, TYPE* whole); // at any depth, or the same
bool type_is_contained_in_type(TYPE* part, TYPE* whole); // strictly
bool is_field_member_of_type(const NODE* field, TYPE* type);
bool types_contained_in_union(TYPE* a, TYPE* b); // does some union hold both?
bool type_may_alias_type(TYPE* a, TYPE* b);      // may an object be accessed as both?
bool type_may_contain_volatile(TYPE* t);
bool must_preserve_STDOT(const NODE* stdot); // is the member access needed for aliasing or layout?
bool tree_points_to_packed(const NODE* tree);
bool bits_of_var_are_immutable(TYPE* type, int first_bit, int bits, bool initialised);
bool symbol_is_immutable(const SYMTAB* sym);
bool lvalue_is_immutable(const NODE* lvalue);
