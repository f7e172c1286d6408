// Writing the types section.
//
// A type gets its number when something refers to it. Before anything of the section is written,
// all that the numbered types refer to are numbered too; then classes stand first, in short form,
// so that every other reference can go to a record that is already there.
#include "ifile/i_file.h"
#include "ifile/tags.h"

#include "TYPES/type_pkg.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

// Record codes of the basic types, by TYPE::ekind().
constexpr unsigned char code_of_ekind[29] = {
    0,          1,          2,          3,          4,          5,          6,
    7,          TC_UNKNOWN, TC_UNKNOWN, // to unsigned int; the aliases of long
    8,          9,          TC_LLONG,   TC_ULLONG,  TC_FLOAT,   TC_DOUBLE,  TC_LDOUBLE,
    TC_UNKNOWN, TC_COMPLEX, TC_UNKNOWN, TC_UNKNOWN, TC_UNKNOWN, TC_UNKNOWN, TC_UNKNOWN,
    TC_UNKNOWN, TC_UNKNOWN, TC_UNKNOWN, TC_UNKNOWN, TC_VOID};

// The types whose records must stand before that of `t`, which is no class.
template <class VISIT> void for_each_basis(const TYPE* t, VISIT visit) {
  if (t->base != t) visit(t->base);
  if (t->extra) visit(t->extra);
  if (t->kind == TYPE::K_FUNC)
    for (const TYPE_PARAM& p : t->func_parts()->params)
      visit(p.type);
}

// The types that the lists of a class refer to, in the order in which they are written.
template <class VISIT> void for_each_list_type(const TYPE* csu, VISIT visit_type) {
  auto visit = [&](TYPE* t) {
    if (t) visit_type(t);
  };
  const CSU_PARTS* parts = csu->csu_parts();
  for (const auto& b : parts->bases)
    visit(b.type);
  for (const auto& f : parts->friend_funcs)
    visit(f.type);
  for (TYPE* t : parts->friend_classes)
    visit(t);
  for (TYPE* t : parts->nested_types)
    visit(t);
  for (const fkMDATA* m : parts->members)
    visit(m->type);
  for (const auto& m : parts->static_members)
    visit(m.type);
  for (const auto& f : parts->member_funcs)
    visit(f.type);
  for (const auto& p : parts->params)
    visit(p.type);
}

bool is_class(const TYPE* t) {
  return t->kind >= TYPE::K_CLASS && t->kind <= TYPE::K_UNION;
}

// Is `t` a class that is more than declared?
bool has_lists(const TYPE* t) {
  if (!is_class(t)) return false;
  const CSU_PARTS* parts = t->csu_parts();
  return parts->has_long_form || !parts->members.empty();
}

bool has_name(const TYPE* t) {
  return *t->name != 0;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Numbers

// The number stored in a type may be left from another file: it counts only if this file's table
// agrees.
unsigned long I_FILE::type_number(TYPE* type) {
  unsigned n = type->file_number;
  if (n == 0 || n > numbered_types.size() || numbered_types[n - 1] != type) {
    numbered_types.push_back(type);
    n = type->file_number = static_cast<unsigned>(numbered_types.size());
  }
  return n;
}

void I_FILE::i_write_typeref(TYPE* type) {
  i_write_uint(type ? type_number(type) : 0);
}

// ---------------------------------------------------------------------------------------------
// Records

void I_FILE::begin_type_record(TYPE* type, int code) {
  i_write_typeref(type);
  i_write_i8(code);
}

void I_FILE::write_list_mark(TYPE* type, int code, int kind) {
  begin_type_record(type, code);
  i_write_i8(kind);
  i_flush(TAG_TYPE);
}

void I_FILE::write_param_list(TYPE* type, const std::vector<TYPE_PARAM>& params) {
  write_list_mark(type, TC_LIST_HEADER, TL_PARAMS);
  for (const TYPE_PARAM& p : params) {
    begin_type_record(type, TC_PARAM);
    i_write_typeref(p.type);
    i_write_bool(false);
    i_write_uint(p.flags);
    i_write_string(p.name);
    i_flush(TAG_TYPE);
  }
  write_list_mark(type, TC_LIST_TRAILER, TL_PARAMS);
}

void I_FILE::write_csu_short(TYPE* csu) {
  const CSU_PARTS* parts = csu->csu_parts();
  begin_type_record(csu, TC_CSU_SHORT);
  i_write_i8(csu->kind);
  i_write_string(parts->name);
  i_write_bool(parts->complete);
  i_write_bool(parts->lowered);
  i_write_uint(csu->size);
  i_write_uint(csu->align);
  i_write_bool(parts->has_data);
  i_write_bool(parts->vector_like);
  i_write_bool(parts->is_cpp);
  i_write_psn(parts->psn);
  i_flush(TAG_TYPE);
}

void I_FILE::write_csu_type_lists(TYPE* csu) {
  if (!has_lists(csu)) return;
  const CSU_PARTS* parts = csu->csu_parts();
  for_each_list_type(csu, [this](TYPE* t) { if_write_type(t); });

  begin_type_record(csu, TC_CSU_LONG);
  i_write_i8(csu->kind);
  i_write_string(parts->name);
  i_write_bool(parts->complete);
  i_write_bool(parts->lowered);
  i_write_uint(csu->size);
  i_write_uint(csu->align);
  i_write_uint(parts->vtable_size);
  i_write_bool(!parts->bases.empty());
  i_write_bool(!parts->access_decls.empty());
  i_write_bool(!parts->friend_funcs.empty());
  i_write_bool(!parts->friend_classes.empty());
  i_write_bool(!parts->nested_types.empty());
  i_write_bool(!parts->members.empty());
  i_write_bool(!parts->static_members.empty());
  i_write_bool(!parts->member_funcs.empty());
  i_write_bool(!parts->params.empty());
  i_write_bool(parts->vector_like);
  i_write_bool(parts->is_cpp);
  i_write_psn(parts->psn);
  i_flush(TAG_TYPE);

  auto write_list = [&](int kind, int code, const auto& elements, auto write_fields) {
    if (elements.empty()) return;
    write_list_mark(csu, TC_LIST_HEADER, kind);
    for (const auto& element : elements) {
      begin_type_record(csu, code);
      write_fields(element);
      i_flush(TAG_TYPE);
    }
    write_list_mark(csu, TC_LIST_TRAILER, kind);
  };
  write_list(TL_BASES, TC_BASE_CLASS, parts->bases, [this](const TYPE_BASE_CLASS& b) {
    i_write_typeref(b.type);
    i_write_sint(b.offset);
    i_write_i8(b.access);
    i_write_bool(b.is_virtual);
  });
  write_list(TL_ACCESS_DECLS, TC_ACCESS_DECL, parts->access_decls,
             [this](const TYPE_ACCESS_DECL& d) {
               i_write_uint(0);
               i_write_i8(d.access);
             });
  write_list(TL_FRIEND_FUNCS, TC_FRIEND_FUNC, parts->friend_funcs,
             [this](const TYPE_FRIEND_FUNC& f) {
               i_write_string(f.name);
               i_write_typeref(f.type);
             });
  write_list(TL_FRIEND_CLASSES, TC_FRIEND_CLASS, parts->friend_classes,
             [this](TYPE* t) { i_write_typeref(t); });
  write_list(TL_NESTED_TYPES, TC_NESTED_TYPE, parts->nested_types,
             [this](TYPE* t) { i_write_typeref(t); });
  write_list(TL_MEMBERS, TC_MEMBER, parts->members, [this](const fkMDATA* m) {
    i_write_uint(m->number);
    // A reader makes the name of one with an id anew.
    i_write_string(m->fixed_type_id ? m->record_name : m->name);
    i_write_typeref(m->type);
    i_write_i8(m->access);
    i_write_sint(m->bit_offset);
    i_write_i8(static_cast<int>(m->fixed_type_id));
    i_write_uint(m->bit_size);
    for (bool flag : m->flags)
      i_write_bool(flag);
    i_write_psn(m->psn);
  });
  write_list(TL_STATIC_MEMBERS, TC_STATIC_MEMBER, parts->static_members,
             [this](const TYPE_STATIC_MEMBER& m) {
               i_write_string(m.name);
               i_write_typeref(m.type);
               i_write_i8(m.access);
             });
  write_list(TL_MEMBER_FUNCS, TC_MEMBER_FUNC, parts->member_funcs,
             [this](const TYPE_MEMBER_FUNC& f) {
               i_write_string(f.name);
               i_write_typeref(f.type);
               i_write_i8(f.access);
               i_write_sint(f.vtable_index);
               for (bool flag : f.flags)
                 i_write_bool(flag);
             });
  if (!parts->params.empty()) write_param_list(csu, parts->params);
}

// One type that is no class, with its lists.
void I_FILE::write_type_record(TYPE* t) {
  auto write_layout = [&] {
    i_write_uint(t->size);
    i_write_uint(t->align);
  };
  switch (t->kind) {
  case TYPE::K_VOID:
  case TYPE::K_UNKNOWN: begin_type_record(t, code_of_ekind[t->ekind()]); break;
  case TYPE::K_INT:
    begin_type_record(t, code_of_ekind[t->ekind()]);
    i_write_bool(t->flags & TYPE::SIGNED);
    write_layout();
    i_write_bool(t->flags & TYPE::BOOLEAN);
    i_write_bool(t->flags & TYPE::STD_SIGNED);
    break;
  case TYPE::K_FLOAT:
    begin_type_record(t, code_of_ekind[t->ekind()]);
    write_layout();
    break;
  case TYPE::K_COMPLEX:
    begin_type_record(t, code_of_ekind[t->ekind()]);
    write_layout();
    i_write_typeref(t->base);
    break;
  case TYPE::K_FIXED:
    begin_type_record(t, TC_FIXED);
    i_write_i8(t->fraction());
    i_write_i8(t->is_signed());
    i_write_typeref(t->base);
    write_layout();
    break;
  case TYPE::K_POINTER:
  case TYPE::K_REFERENCE:
    begin_type_record(t, t->kind == TYPE::K_POINTER ? TC_POINTER : TC_REFERENCE);
    i_write_typeref(t->base);
    write_layout();
    break;
  case TYPE::K_QUALIFIED:
    begin_type_record(t, TC_QUALIFIED);
    i_write_typeref(t->base);
    i_write_uint(static_cast<unsigned long>(t->qual_kind(false)));
    write_layout();
    break;
  case TYPE::K_TYPEDEF: {
    const TYPEDEF_PARTS* parts = t->typedef_parts();
    begin_type_record(t, TC_TYPEDEF);
    i_write_string(parts->name);
    i_write_typeref(t->base);
    write_layout();
    i_write_bool(parts->hidden);
    i_write_bool(parts->lowered);
    i_write_psn(parts->psn);
    break;
  }
  case TYPE::K_ARRAY: {
    const ARRAY_PARTS* parts = t->array_parts();
    begin_type_record(t, TC_ARRAY);
    i_write_typeref(t->base);
    i_write_uint(parts->count);
    write_layout();
    i_write_bool(parts->hidden);
    i_write_bool(parts->complete);
    i_write_bool(parts->is_vector);
    break;
  }
  case TYPE::K_PTM:
    begin_type_record(t, TC_PTM);
    i_write_typeref(t->base);
    i_write_typeref(t->extra);
    write_layout();
    break;
  case TYPE::K_FUNC: {
    const FUNC_PARTS* parts = t->func_parts();
    begin_type_record(t, TC_FUNC);
    i_write_typeref(t->base);
    i_write_bool(parts->is_prototyped);
    i_write_bool(parts->is_variadic);
    i_write_i8(parts->convention);
    i_write_bool(parts->hidden);
    i_flush(TAG_TYPE);
    write_param_list(t, parts->params);
    return;
  }
  case TYPE::K_ENUM: {
    const ENUM_PARTS* parts = t->enum_parts();
    begin_type_record(t, TC_ENUM);
    i_write_string(parts->name);
    write_layout();
    i_write_typeref(t->base);
    i_write_bool(parts->is_cpp);
    i_write_psn(parts->psn);
    i_flush(TAG_TYPE);
    write_list_mark(t, TC_LIST_HEADER, TL_ENUMERATORS);
    for (const TYPE_ENUMERATOR& e : parts->enumerators) {
      begin_type_record(t, TC_ENUMERATOR);
      i_write_string(e.name);
      if (t->is_signed())
        i_write_sint(e.value);
      else
        i_write_uint(static_cast<unsigned long>(e.value));
      i_write_psn(e.psn);
      i_flush(TAG_TYPE);
    }
    write_list_mark(t, TC_LIST_TRAILER, TL_ENUMERATORS);
    return;
  }
  default: tp_die("Bad kind:  TYPE::get()");
  }
  i_flush(TAG_TYPE);
}

// ---------------------------------------------------------------------------------------------
// The section

// Writes what `type` stands on, then itself; nothing that is written already. Classes count as
// written: their short forms are.
void I_FILE::if_write_type(TYPE* type) {
  struct STEP {
    TYPE* type;
    bool bases_are_written;
  };
  std::vector<STEP> pending{{type, false}};
  while (!pending.empty()) {
    const STEP step = pending.back();
    pending.pop_back();
    char& is_written = type_is_written[type_number(step.type) - 1];
    if (is_written) continue;
    if (step.bases_are_written) {
      is_written = true;
      write_type_record(step.type);
      continue;
    }
    pending.push_back({step.type, true});
    const size_t first = pending.size();
    for_each_basis(step.type, [&](TYPE* t) { pending.push_back({t, false}); });
    std::reverse(pending.begin() + static_cast<long>(first), pending.end());
  }
}

void I_FILE::refer_to(TYPE* type) {
  if (type) type_number(type);
}

void I_FILE::mark_types_of_globals() {
  for (const I_SYMTAB* sym : globals) {
    refer_to(sym->sym_type());
    refer_to(sym->sym_cpp_type());
  }
}

void I_FILE::mark_named_types(const std::vector<TYPE*>& all, bool named) {
  if (!named) return;
  for (TYPE* t : all)
    if (has_name(t)) refer_to(t);
}

void I_FILE::mark_refed_types() {
  auto refer = [this](TYPE* t) { refer_to(t); };
  // The table grows on the way.
  for (size_t i = 0; i < numbered_types.size(); i++) {
    for_each_basis(numbered_types[i], refer);
    if (has_lists(numbered_types[i])) for_each_list_type(numbered_types[i], refer);
  }
}

// The short forms of all classes that are referred to, which it gives back.
std::vector<TYPE*> I_FILE::write_all_csu_types(const std::vector<TYPE*>& all) {
  std::vector<TYPE*> classes;
  for (TYPE* t : all) {
    const unsigned n = t->file_number;
    const bool is_numbered = n && n <= numbered_types.size() && numbered_types[n - 1] == t;
    if (is_class(t) && is_numbered) classes.push_back(t);
  }
  for (TYPE* csu : classes) {
    type_is_written[csu->file_number - 1] = true;
    write_csu_short(csu);
  }
  return classes;
}

void I_FILE::write_type_tree() {
  for (TYPE* t : numbered_types)
    if_write_type(t);
}

void I_FILE::if_write_all_types(bool named) {
  std::vector<TYPE*> all;
  if (tp)
    tp->walk_types([](TYPE* t, void* arg) { static_cast<std::vector<TYPE*>*>(arg)->push_back(t); },
                   &all);
  mark_types_of_globals();
  mark_named_types(all, named);
  mark_refed_types();
  if (numbered_types.empty()) return;

  types_off = static_cast<uint32_t>(if_tell());
  type_is_written.assign(numbered_types.size(), false);
  for (TYPE* csu : write_all_csu_types(all))
    write_csu_type_lists(csu);
  write_type_tree();
  i_write_eof();
}
