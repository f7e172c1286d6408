#include "TYPES/type_values.h"

#include "DIAG/abort.h"

static bool TYPE_IS_INT(TYPE* type) {
  return type->is_int_or_enum();
}

static int int_width(TYPE* type) {
  CHECK(TYPE_IS_INT(type));
  type = type->underlying_type();
  CHECK(type->size >= 1 && type->size <= 64);
  return static_cast<int>(type->size);
}

INT65 truncate_to_type(INT65 v, TYPE* type) {
  const int width = int_width(type);
  if (!type->is_signed()) return v & ((INT65(1) << width) - 1);
  return (v << (65 - width)) >> (65 - width);
}

int truncate_fval_to_target(simul_fval* v, TYPE* type) {
  TYPE* under = type->underlying_type();
  if (under->kind == TYPE::K_COMPLEX) under = under->elem_type()->underlying_type();
  CHECK(under->kind == TYPE::K_FLOAT);
  return f_cvf(v, under->size > 32, v);
}

INT65 int_type_max(TYPE* type) {
  const int width = int_width(type);
  if (type->is_bool()) return 1;
  return (INT65(1) << (type->is_signed() ? width - 1 : width)) - 1;
}

INT65 int_type_min(TYPE* type) {
  const int width = int_width(type);
  return type->is_signed() ? -(INT65(1) << (width - 1)) : INT65(0);
}

TYPE* wide_enough_int_type(INT65 value) {
  for (TYPE::IKIND k :
       {TYPE::I_INT, TYPE::I_UINT, TYPE::I_LONG, TYPE::I_ULONG, TYPE::I_LLONG, TYPE::I_ULLONG}) {
    TYPE* type = tp->basic[k];
    if (value >= int_type_min(type) && value <= int_type_max(type)) return type;
  }
  return nullptr;
}
