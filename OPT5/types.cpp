#include "OPT5/types.h"

#include "OPT5/streams.h"

void init_types() {}
void type_cache_stats() {}

TYPE* promoted_type(TYPE* t) {
  if (t->is_enum()) t = t->enum_underlying();
  return t->is_int() ? tp->c_integral_promotions(t) : t->type_qualified()->underlying_type();
}

TYPE* combined_type_for_types(TYPE* a, TYPE* b) {
  if (a->is_pointer()) return a;
  if (b->is_pointer()) return b;
  if (a->is_enum()) a = a->enum_underlying();
  if (b->is_enum()) b = b->enum_underlying();
  return tp->c_usual_arith_conv(a, b);
}

TYPE* combined_type(const NODE* a, const NODE* b) { return combined_type_for_types(a->type, b->type); }

NODE* coerce_to_type(TYPE* type, NODE* tree, bool) {
  if (compatible_types(type, tree->type)) return tree;
  if (tree->op == ICON && type->is_int_or_enum() && !type->is_bool()) {
    tree->ival = truncate_to_type(tree->ival, type);
    tree->type = type;
    return tree;
  }
  const int op = type->is_vector() ? VSCONV : type->is_pointer() || tree->type->is_pointer() ? PCONV : SCONV;
  return maketree(op, tree, nullptr, type, tree->ls);
}

NODE* insert_mandatory_casts(NODE* tree) { return tree; }
