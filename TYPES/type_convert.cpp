// Types made from types: sign, promotions, conversions, qualifiers.
#include "TYPES/type_pkg.h"

#include <utility>

// The integer type of the other signedness, as a kind. Wide characters have no partner of their
// own.
static TYPE::IKIND with_sign(const TYPE* t, bool to_signed) {
  switch (t->ikind()) {
  case TYPE::I_SCHAR:
  case TYPE::I_UCHAR: return to_signed ? TYPE::I_SCHAR : TYPE::I_UCHAR;
  case TYPE::I_BOOL:
  case TYPE::I_WCHAR:
    if (t->size > t->pkg->basic[TYPE::I_INT]->size) return to_signed ? TYPE::I_LONG : TYPE::I_ULONG;
    [[fallthrough]];
  case TYPE::I_SHORT:
  case TYPE::I_USHORT: return to_signed ? TYPE::I_SHORT : TYPE::I_USHORT;
  case TYPE::I_INT:
  case TYPE::I_UINT: return to_signed ? TYPE::I_INT : TYPE::I_UINT;
  case TYPE::I_ALIAS_LONG:
  case TYPE::I_ALIAS_ULONG:
  case TYPE::I_LONG:
  case TYPE::I_ULONG: return to_signed ? TYPE::I_LONG : TYPE::I_ULONG;
  case TYPE::I_LLONG:
  case TYPE::I_ULLONG: return to_signed ? TYPE::I_LLONG : TYPE::I_ULLONG;
  }
  return t->ikind();
}

TYPE* TYPE_PKG::change_sign(TYPE* t, bool to_signed, const char* complaint) {
  std::vector<TYPE*> layers;
  for (; t->kind == TYPE::K_TYPEDEF || t->kind == TYPE::K_QUALIFIED; t = t->base)
    layers.push_back(t);
  if (t->kind != TYPE::K_INT) tp_die(complaint);
  const bool is_changed = bool(t->flags & TYPE::SIGNED) != to_signed;
  TYPE* result = t;
  if (is_changed)
    result = mk_int(with_sign(t, to_signed), to_signed, t->size, t->align, false, to_signed);
  for (; !layers.empty(); layers.pop_back()) {
    TYPE* layer = layers.back();
    if (!is_changed) return layers.front();
    if (layer->kind == TYPE::K_QUALIFIED) {
      result = mk_qual(result, static_cast<unsigned char>(layer->qual_kind(false)), layer->size,
                       layer->align);
    } else {
      const TYPEDEF_PARTS* parts = layer->typedef_parts();
      result =
          mk_typedef(parts->name, parts->hidden, result, layer->size, layer->align, parts->lowered);
    }
  }
  return result;
}

TYPE* TYPE_PKG::mk_signed(TYPE* t) {
  return change_sign(t, true, "Bad kind: TYPE_PKG::mk_signed()");
}

TYPE* TYPE_PKG::mk_unsigned(TYPE* t) {
  return change_sign(t, false, "Bad kind: TYPE_PKG::mk_unsigned()");
}

TYPE* TYPE_PKG::mk_boolean_int(TYPE* t) {
  t = t->underlying_type();
  if (t->kind != TYPE::K_INT) tp_die("Bad kind: TYPE_PKG::mk_boolean_int()");
  return mk_int(t->ikind(), t->flags & TYPE::SIGNED, t->size, t->align, true,
                t->flags & TYPE::STD_SIGNED);
}

TYPE* TYPE_PKG::mk_ptm_int(TYPE* t) {
  if (t->base_kind() != TYPE::K_PTM) tp_die("Bad kind: TYPE_PKG::mk_ptm_int()");
  TYPE* offset = int_representative(t->size, true);
  return offset ? offset : mk_ptrdiff();
}

TYPE* TYPE_PKG::remove_known_qual(TYPE* t, unsigned char qual) {
  const int quals = t->qual_kind(true);
  if (!(quals & qual)) return t;
  return mk_qual(t->underlying_type(), static_cast<unsigned char>(quals & ~qual));
}

TYPE* TYPE_PKG::replace_array_elem(TYPE* array, TYPE* elem) {
  TYPE* old = array->underlying_type();
  ARRAY_PARTS parts = *old->array_parts();
  if (parts.is_vector)
    return mk_vector(elem, parts.hidden, parts.count, parts.count * elem->size, old->align);
  return mk_array(elem, parts.count, parts.count * elem->size, elem->align, parts.hidden,
                  parts.complete);
}

TYPE* TYPE_PKG::c_integral_promotions(TYPE* t) {
  t = t->underlying_type();
  if (t->kind == TYPE::K_ENUM) t = t->enum_underlying();
  TYPE* plain = mk_plain_int();
  if (t->kind != TYPE::K_INT) return t;
  if (t->rank() >= plain->rank() && t->size >= plain->size) return t;
  // All values of an unsigned type fit in int only if it is narrower; those of a boolean always do.
  const bool fits = t->is_signed() ? t->size <= plain->size : t->size < plain->size || t->is_bool();
  return fits ? plain : mk_plain_uint();
}

TYPE* TYPE_PKG::c_usual_arith_conv(TYPE* a, TYPE* b) {
  a = c_integral_promotions(a);
  b = c_integral_promotions(b);
  if (a == b) return a;
  if (a->kind == TYPE::K_COMPLEX || b->kind == TYPE::K_COMPLEX) {
    TYPE* x = a->kind == TYPE::K_COMPLEX ? a->elem_type() : a;
    TYPE* y = b->kind == TYPE::K_COMPLEX ? b->elem_type() : b;
    return mk_complex(c_usual_arith_conv(x, y));
  }
  if (a->kind == TYPE::K_FLOAT && b->kind == TYPE::K_FLOAT) return a->fkind() < b->fkind() ? b : a;
  for (TYPE::KIND wider : {TYPE::K_FLOAT, TYPE::K_FIXED}) {
    if (a->kind == wider) return a;
    if (b->kind == wider) return b;
  }
  if (a->kind != TYPE::K_INT || b->kind != TYPE::K_INT)
    tp_die("Bad kind: TYPE_PKG::c_usual_arith_conv()");
  if (a->is_signed() == b->is_signed()) return a->rank() < b->rank() ? b : a;
  if (a->is_signed()) std::swap(a, b); // now a is the unsigned one
  if (a->rank() >= b->rank()) return a;
  return b->size > a->size ? b : mk_unsigned(b);
}
