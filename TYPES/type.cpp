// One type: life and queries.
#include "DIAG/abort.h"
#include "DIAG/support.h"
#include "TYPES/type_pkg.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

static std::atomic<size_t> bytes_allocated;

void* tp_alloc(size_t bytes) {
  void* p = calloc(1, bytes);
  if (!p) tp_die("Out of memory: tp_alloc()");
  bytes_allocated += bytes;
  return p;
}

void tp_free(void* p, size_t bytes) {
  if (!p) return;
  bytes_allocated -= bytes;
  free(p);
}

size_t tp_bytes_allocated() {
  return bytes_allocated;
}

void tp_die(const char* text) {
  fprintf(stderr, "TP>> internal error: %s\n", text);
  print_support_message();
  end_failing_run();
}

// ---------------------------------------------------------------------------------------------
// Life

// The compiler calls the matching delete when a constructor throws, which takes the count back.
void* TYPE::operator new(size_t bytes) {
  return tp_alloc(bytes);
}
void TYPE::operator delete(void* p) {
  tp_free(p, sizeof(TYPE));
}

TYPE::TYPE(KIND k) : kind(k), base(this) {
  switch (k) {
  case K_VOID:
  case K_INT:
  case K_FLOAT:
  case K_FIXED:
  case K_COMPLEX:
  case K_POINTER:
  case K_REFERENCE:
  case K_QUALIFIED:
  case K_PTM:
  case K_UNKNOWN: break;
  case K_TYPEDEF: subparts = new TYPEDEF_PARTS{}; break;
  case K_ARRAY: subparts = new ARRAY_PARTS{}; break;
  case K_FUNC: subparts = new FUNC_PARTS{}; break;
  case K_ENUM: subparts = new ENUM_PARTS{}; break;
  case K_CLASS:
  case K_STRUCT:
  case K_UNION: subparts = new CSU_PARTS{}; break;
  default: tp_die("Bad type kind:  TYPE::TYPE(KIND)");
  }
}

TYPE::~TYPE() {
  delete based_types;
  switch (kind) {
  case K_TYPEDEF: delete static_cast<TYPEDEF_PARTS*>(subparts); break;
  case K_ARRAY: delete static_cast<ARRAY_PARTS*>(subparts); break;
  case K_FUNC: delete static_cast<FUNC_PARTS*>(subparts); break;
  case K_ENUM: delete static_cast<ENUM_PARTS*>(subparts); break;
  case K_CLASS:
  case K_STRUCT:
  case K_UNION: {
    auto* parts = static_cast<CSU_PARTS*>(subparts);
    for (fkMDATA* member : parts->members)
      delete member;
    delete parts;
    break;
  }
  default: break;
  }
}

// ---------------------------------------------------------------------------------------------
// Parts

void* TYPE::getr(int k) const {
  if (k != kind || !subparts) tp_die("Bad kind:  TYPE::getr()");
  return subparts;
}

TYPEDEF_PARTS* TYPE::typedef_parts() const {
  return static_cast<TYPEDEF_PARTS*>(getr(K_TYPEDEF));
}

ARRAY_PARTS* TYPE::array_parts() const {
  return static_cast<ARRAY_PARTS*>(underlying_type()->getr(K_ARRAY));
}

FUNC_PARTS* TYPE::func_parts() const {
  return static_cast<FUNC_PARTS*>(underlying_type()->getr(K_FUNC));
}

ENUM_PARTS* TYPE::enum_parts() const {
  return static_cast<ENUM_PARTS*>(underlying_type()->getr(K_ENUM));
}

CSU_PARTS* TYPE::csu_parts() const {
  const TYPE* t = underlying_type();
  return static_cast<CSU_PARTS*>(t->getr(t->is_csu() ? t->kind : K_CLASS));
}

// ---------------------------------------------------------------------------------------------
// Layers

TYPE* TYPE::underlying_type() {
  TYPE* t = this;
  while (t->kind == K_QUALIFIED || t->kind == K_TYPEDEF) {
    if (!t->base || t->base == t) tp_die("Bad kind:  TYPE::underlying_type");
    t = t->base;
  }
  return t;
}

int TYPE::qual_kind(bool look_through) const {
  int quals = 0;
  for (const TYPE* t = this; t->kind == K_QUALIFIED || t->kind == K_TYPEDEF; t = t->base) {
    if (t->kind == K_QUALIFIED) quals |= t->flags >> QUAL_SHIFT & 0xFF;
    if (!look_through) break;
  }
  return quals;
}

TYPE* TYPE::type_qualified() {
  TYPE* t = underlying_type();
  const int quals = qual_kind(true);
  return quals ? pkg->mk_qual(t, static_cast<unsigned char>(quals)) : t;
}

TYPE* TYPE::elem_type() const {
  const TYPE* t = underlying_type();
  switch (t->kind) {
  case K_POINTER:
  case K_REFERENCE:
  case K_ARRAY:
  case K_COMPLEX:
    if (!t->base || t->base == t) tp_die("orphan type:  TYPE::elem_type()");
    return t->base;
  default: tp_die("Bad kind:  TYPE::elem_type()");
  }
}

TYPE* TYPE::return_type() const {
  const TYPE* t = underlying_type();
  if (t->kind != K_FUNC) tp_die("Bad kind:  TYPE::return_type()");
  return t->base;
}

TYPE* TYPE::enum_underlying() const {
  const TYPE* t = underlying_type();
  if (t->kind != K_ENUM) tp_die("Bad kind:  TYPE::enum_underlying()");
  return t->base->underlying_type();
}

// ---------------------------------------------------------------------------------------------
// Kinds and measures

bool TYPE::is_vector() const {
  const TYPE* t = underlying_type();
  return t->kind == K_ARRAY && static_cast<ARRAY_PARTS*>(t->subparts)->is_vector;
}

bool TYPE::is_bool() const {
  const TYPE* t = underlying_type();
  return t->kind == K_INT && (t->flags & BOOLEAN);
}

bool TYPE::is_signed() const {
  const TYPE* t = underlying_type();
  if (t->kind == K_ENUM) t = t->enum_underlying();
  if (t->kind == K_INT || t->kind == K_FIXED) return t->flags & SIGNED;
  return t->kind == K_FLOAT;
}

TYPE::IKIND TYPE::ikind() const {
  return static_cast<IKIND>(flags & KIND_MASK);
}
TYPE::FKIND TYPE::fkind() const {
  return static_cast<FKIND>(flags & KIND_MASK);
}
int TYPE::fraction() const {
  return static_cast<signed char>(flags >> FRACTION_SHIFT);
}

int TYPE::rank() const {
  const TYPE* t = underlying_type();
  if (t->kind == K_ENUM) t = t->enum_underlying();
  if (t->kind != K_INT) tp_die("Bad kind:  TYPE::rank()");
  switch (t->ikind()) {
  case I_BOOL: return 0;
  case I_SCHAR:
  case I_UCHAR: return 1;
  case I_SHORT:
  case I_USHORT: return 2;
  // A wide character has the rank of the integer that it is as wide as.
  case I_WCHAR: return t->size > pkg->basic[I_INT]->size ? 4 : 2;
  case I_INT:
  case I_UINT: return 3;
  case I_ALIAS_LONG:
  case I_ALIAS_ULONG:
  case I_LONG:
  case I_ULONG: return 4;
  case I_LLONG:
  case I_ULLONG: return 5;
  }
  tp_die("Bad kind:  TYPE::rank()");
}

int TYPE::ekind() const {
  constexpr int FIRST_FLOAT = 14, COMPLEX_KIND = 18, VOID_KIND = 28, NO_BASIC_KIND = 27;
  switch (kind) {
  case K_VOID: return VOID_KIND;
  case K_INT: return ikind();
  case K_FLOAT: return FIRST_FLOAT + fkind();
  case K_COMPLEX: return COMPLEX_KIND;
  default: return NO_BASIC_KIND;
  }
}

unsigned long TYPE::storage_size() const {
  constexpr unsigned long UNIT = 16;
  return (size + UNIT - 1) / UNIT * UNIT;
}

bool TYPE::is_complete() const {
  const TYPE* t = underlying_type();
  for (; t->kind == K_ARRAY; t = t->base->underlying_type())
    if (!static_cast<ARRAY_PARTS*>(t->subparts)->complete) return false;
  if (t->kind == K_VOID) return false;
  return !t->is_csu() || static_cast<CSU_PARTS*>(t->subparts)->complete;
}
