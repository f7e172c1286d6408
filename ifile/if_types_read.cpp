// Reading the types section.
//
// A type's record comes before every use of its number, except that a class may be used from its
// short form on. So all derivations are finite chains, and only classes can close a cycle: a
// harmless one through pointers, or, in a damaged file, one by value, which check_types finds.
#include "ifile/i_file.h"
#include "ifile/tags.h"

#include "TYPES/type_pkg.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace {

constexpr unsigned long MAX_SIZE = 1ul << 40;  // bits
constexpr unsigned long MAX_ALIGN = 1ul << 31; // bits
constexpr unsigned long MAX_INT_SIZE = 64;     // bits
constexpr unsigned long OLD_POINTER_SIZE = 22; // stands for a 32-bit pointer
constexpr unsigned long POINTER_SIZE = 32;

bool can_have_list(const TYPE_INFO& owner, int kind) {
  if (kind == TL_PARAMS) return owner.unfinished || (owner.type && owner.type->is_csu());
  if (!owner.type) return false;
  return kind == TL_ENUMERATORS ? owner.type->kind == TYPE::K_ENUM : owner.type->is_csu();
}

int checked_access(unsigned access) {
  constexpr unsigned PRIVATE = 2;
  if (access > PRIVATE) if_die(INVALID_RECORD);
  return static_cast<int>(access);
}

TYPE::IKIND int_kind(int code) {
  switch (code) {
  case 8: return TYPE::I_LONG;
  case 9: return TYPE::I_ULONG;
  case TC_LLONG: return TYPE::I_LLONG;
  case TC_ULLONG: return TYPE::I_ULLONG;
  default: return static_cast<TYPE::IKIND>(code);
  }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// References

TYPE_INFO& I_FILE::find_type_info(unsigned long number) {
  constexpr unsigned long LOW_NUMBERS = 1 << 16;
  if (number < types_by_number.size() && types_by_number[number]) return *types_by_number[number];
  auto place = types.find(number);
  if (place == types.end()) tp_die("invalid forward reference");
  if (number < LOW_NUMBERS) {
    if (number >= types_by_number.size()) types_by_number.resize(number + 1);
    types_by_number[number] = &place->second;
  }
  return place->second;
}

TYPE* I_FILE::find_typeref(unsigned long number) {
  if (number == 0 || !tp) return nullptr;
  TYPE_INFO& info = find_type_info(number);
  if (info.unfinished) finish_func(info);
  return info.type;
}

TYPE* I_FILE::i_read_typeref() {
  return find_typeref(i_read_uint());
}

fkMDATA* I_FILE::find_mdataref(TYPE* csu, unsigned number) {
  if (!csu || !csu->is_csu()) return nullptr;
  const auto& members = csu->csu_parts()->member_by_number;
  auto place = members.find(number);
  return place == members.end() ? nullptr : place->second;
}

// The type that the next one is made of; `depth` becomes at least what that takes.
TYPE* I_FILE::read_target(unsigned& depth) {
  const unsigned long number = i_read_uint();
  TYPE* target = find_typeref(number);
  if (!target) if_die(INVALID_RECORD);
  depth = std::max(depth, find_type_info(number).depth + 1);
  return target;
}

void I_FILE::define_type(unsigned long number, TYPE* type, unsigned depth) {
  if (number == 0) if_die(INVALID_RECORD);
  if (depth > MAX_TYPE_DEPTH) if_die(NESTED_TOO_DEEPLY);
  TYPE_INFO& info = types[number];
  if (info.complete_def || info.type) tp_die("read type twice"); // a class's short form counts too
  info.type = type;
  info.depth = depth;
  info.complete_def = true;
}

// ---------------------------------------------------------------------------------------------
// Types

unsigned long I_FILE::read_type_size() {
  const unsigned long size = i_read_uint();
  if (size > MAX_SIZE) if_die(INVALID_RECORD);
  return size;
}

unsigned long I_FILE::read_scalar_size() {
  const unsigned long size = i_read_uint();
  if (size == 0 || size > MAX_INT_SIZE) if_die(INVALID_RECORD);
  return size;
}

unsigned I_FILE::read_type_align() {
  const unsigned long align = i_read_uint();
  if (align > MAX_ALIGN) if_die(INVALID_RECORD);
  return static_cast<unsigned>(align);
}

void I_FILE::if_read_type(int) {
  if (!tp) return;
  const unsigned long number = i_read_uint();
  const int code = static_cast<int>(i_read_u8());
  if (code == TC_LIST_HEADER) {
    tp_make_list(find_type_info(number));
  } else if (code == TC_LIST_TRAILER) {
    tp_end_list(find_type_info(number));
  } else if (list_of_element(code) >= 0) {
    tp_make_element(find_type_info(number), code);
  } else if (code == TC_FUNC) {
    tp_make_func(number);
  } else if (code == TC_CSU_SHORT || code == TC_CSU_LONG) {
    tp_make_csu(number, code == TC_CSU_LONG);
  } else {
    unsigned depth = 0;
    TYPE* type = tp_make_plain_type(code, depth);
    define_type(number, type, depth);
  }
}

TYPE* I_FILE::tp_make_int(int code) {
  const bool is_signed = i_read_bool();
  const unsigned long size = read_scalar_size();
  const unsigned align = read_type_align();
  const bool is_boolean = i_read_bool();
  const bool std_signed = i_read_bool();
  return tp->mk_int(int_kind(code), is_signed, size, align, is_boolean, std_signed);
}

TYPE* I_FILE::tp_make_float(int code) {
  const unsigned long size = read_type_size();
  const unsigned align = read_type_align();
  if (size == 0) if_die(INVALID_RECORD);
  return tp->mk_fltpt(static_cast<TYPE::FKIND>(code - TC_FLOAT), size, align);
}

TYPE* I_FILE::tp_make_fixed(unsigned& depth) {
  const int fraction = i_read_s8();
  i_read_u8(); // signedness: the underlying type's
  TYPE* under = read_target(depth);
  const unsigned long size = read_scalar_size();
  const unsigned align = read_type_align();
  if (!under->is_int()) if_die(INVALID_RECORD);
  return tp->mk_fxtpt(under, fraction, size, align);
}

TYPE* I_FILE::tp_make_complex(unsigned& depth) {
  const unsigned long size = read_type_size();
  const unsigned align = read_type_align();
  TYPE* part = read_target(depth);
  if (!part->is_int() && !part->is_float()) if_die(INVALID_RECORD);
  return tp->mk_complex(part, size, align);
}

TYPE* I_FILE::tp_make_typedef(unsigned& depth) {
  const char* name = intern_text(i_read_string());
  TYPE* target = read_target(depth);
  const unsigned long size = read_type_size();
  const unsigned align = read_type_align();
  const bool hidden = i_read_bool();
  const bool lowered = i_read_bool();
  PSN* psn = i_read_psn();
  TYPE* type = tp->mk_typedef(name, hidden, target, size, align, lowered);
  // A twin keeps the position of its first definition.
  if (!type->typedef_parts()->psn) type->typedef_parts()->psn = psn;
  return type;
}

TYPE* I_FILE::tp_make_addr(unsigned& depth) {
  TYPE* target = read_target(depth);
  unsigned long size = read_scalar_size();
  unsigned align = read_type_align();
  if (size == OLD_POINTER_SIZE) size = align = POINTER_SIZE;
  return tp->mk_ptr(target, size, align);
}

TYPE* I_FILE::tp_make_ref(unsigned& depth) {
  TYPE* target = read_target(depth);
  const unsigned long size = read_scalar_size();
  return tp->mk_ref(target, size, read_type_align());
}

TYPE* I_FILE::tp_make_qual(unsigned& depth) {
  TYPE* target = read_target(depth);
  const unsigned long quals = i_read_uint();
  const unsigned long size = read_type_size();
  const unsigned align = read_type_align();
  if (quals > 0xFF) if_die(INVALID_RECORD);
  return tp->mk_qual(target, static_cast<unsigned char>(quals), size, align);
}

TYPE* I_FILE::tp_make_array(unsigned& depth) {
  TYPE* elem = read_target(depth);
  const unsigned long count = i_read_uint();
  const unsigned long size = read_type_size();
  const unsigned align = read_type_align();
  const bool hidden = i_read_bool();
  const bool complete = i_read_bool();
  const bool is_vector = version >= -76 && i_read_bool();
  if (version == -75 || version == -74) i_read_bool();
  unsigned long natural_size;
  if (__builtin_mul_overflow(count, elem->size, &natural_size)) if_die(INVALID_RECORD);
  if (elem->is_void() || elem->is_func() || (is_vector && (count == 0 || elem->is_unknown())))
    if_die(INVALID_RECORD);
  if (is_vector) return tp->mk_vector(elem, hidden, count, size, align);
  return tp->mk_array(elem, count, size, align, hidden, complete);
}

TYPE* I_FILE::tp_make_ptm(unsigned& depth) {
  TYPE* target = read_target(depth);
  TYPE* cls = read_target(depth);
  const unsigned long size = read_type_size();
  return tp->mk_ptm(target, cls, size, read_type_align());
}

TYPE* I_FILE::tp_make_enum(unsigned& depth) {
  const char* name = intern_text(i_read_string());
  const unsigned long size = i_read_uint();
  if (size == 0) if_die("\nINTERNAL ERROR: Enumeration of size 0 in I-code, aborting");
  if (size > MAX_INT_SIZE) if_die(INVALID_RECORD);
  const unsigned align = read_type_align();
  TYPE* under = read_target(depth);
  if (!under->is_int()) if_die(INVALID_RECORD);
  TYPE* type = tp->mk_enum(name, under, size, align);
  type->enum_parts()->is_cpp = version >= -81 && i_read_bool();
  type->enum_parts()->psn = i_read_psn();
  return type;
}

// The types that one record describes wholly, or but for a list that changes nothing of their
// identity.
TYPE* I_FILE::tp_make_plain_type(int code, unsigned& depth) {
  switch (code) {
  case TC_VOID: return tp->mk_void();
  case TC_UNKNOWN: return tp->mk_unknown();
  case TC_FLOAT:
  case TC_DOUBLE:
  case TC_LDOUBLE: return tp_make_float(code);
  case TC_FIXED: return tp_make_fixed(depth);
  case TC_COMPLEX: return tp_make_complex(depth);
  case TC_TYPEDEF: return tp_make_typedef(depth);
  case TC_POINTER: return tp_make_addr(depth);
  case TC_REFERENCE: return tp_make_ref(depth);
  case TC_QUALIFIED: return tp_make_qual(depth);
  case TC_ARRAY: return tp_make_array(depth);
  case TC_PTM: return tp_make_ptm(depth);
  case TC_ENUM: return tp_make_enum(depth);
  default: break;
  }
  const bool is_int =
      (code >= TC_BOOL && code <= TC_ULONG) || code == TC_LLONG || code == TC_ULLONG;
  if (!is_int) if_die(INVALID_RECORD);
  return tp_make_int(code);
}

// A function type is shared by what its parameters are, so it can't be made before they are read.
void I_FILE::tp_make_func(unsigned long number) {
  unsigned depth = 0;
  TYPE* return_type = read_target(depth);
  auto parts = std::make_shared<FUNC_PARTS>();
  parts->is_prototyped = i_read_bool();
  parts->is_variadic = i_read_bool();
  parts->convention = static_cast<int>(i_read_u8());
  parts->hidden = i_read_bool();
  define_type(number, nullptr, depth);
  TYPE_INFO& info = types[number];
  info.unfinished = std::move(parts);
  info.return_type = return_type;
}

void I_FILE::finish_func(TYPE_INFO& info) {
  if (info.depth > MAX_TYPE_DEPTH) if_die(NESTED_TOO_DEEPLY);
  FUNC_PARTS& parts = *info.unfinished;
  info.type = tp->mk_func(info.return_type, parts.is_prototyped, parts.is_variadic,
                          parts.convention, parts.hidden, std::move(parts.params));
  info.unfinished.reset();
}

void I_FILE::tp_make_csu(unsigned long number, bool is_long) {
  const unsigned kind = i_read_u8();
  if (kind < TYPE::K_CLASS || kind > TYPE::K_UNION) if_die(INVALID_RECORD);
  const char* name = intern_text(i_read_string());
  if (number == 0) if_die(INVALID_RECORD);
  TYPE_INFO& info = types[number];
  // The long form may follow the short one.
  if (info.complete_def || (info.type && !is_long)) tp_die("read type twice");
  if (!info.type) info.type = tp->mk_csu(static_cast<TYPE::KIND>(kind), name);
  if (info.type->kind != static_cast<int>(kind) || info.type->name != name) if_die(INVALID_RECORD);
  info.complete_def = is_long;

  CSU_PARTS* parts = info.type->csu_parts();
  parts->complete = i_read_bool();
  parts->lowered = i_read_bool();
  info.type->size = read_type_size();
  info.type->align = read_type_align();
  if (is_long) {
    parts->has_long_form = true;
    parts->vtable_size = i_read_uint();
    constexpr int LISTS = 9, DATA_MEMBERS = 5;
    // The lists that follow say by themselves what they are.
    for (int list = 0; list < LISTS; list++) {
      const bool follows = i_read_bool();
      if (list == DATA_MEMBERS) parts->has_data |= follows;
    }
  } else {
    parts->has_data = i_read_bool();
  }
  if (version >= -84) parts->vector_like = i_read_bool();
  if (version >= -81) parts->is_cpp = i_read_bool();
  parts->psn = i_read_psn();
}

// ---------------------------------------------------------------------------------------------
// Lists

// Where something lies in a class. A number of more than 32 bits is not cut to them as others are:
// it would be another place.
static long checked_offset(long bits) {
  if (bits < INT32_MIN || bits > INT32_MAX) if_die(INVALID_RECORD);
  return bits;
}

// A header in the middle of its list, or ahead of a second stretch, changes nothing.
void I_FILE::tp_make_list(TYPE_INFO& owner) {
  const int kind = static_cast<int>(i_read_u8());
  if (kind >= TL_COUNT || !can_have_list(owner, kind)) if_die(INVALID_RECORD);
  owner.open_list = kind;
}

void I_FILE::tp_end_list(TYPE_INFO& owner) {
  if (owner.open_list != static_cast<int>(i_read_u8())) if_die(INVALID_RECORD);
  owner.open_list = -1;
}

void I_FILE::tp_make_mdata(TYPE* csu) {
  fkMDATA member;
  member.number = i_read_uint32();
  member.name = intern_text(i_read_string());
  member.type = i_read_typeref();
  member.access = checked_access(i_read_u8());
  member.bit_offset = checked_offset(i_read_wide_sint());
  if (version > -75) member.fixed_type_id = i_read_u8();
  unsigned long bit_size;
  if (version < -85) {
    member.flags[0] = i_read_bool();
    bit_size = i_read_uint();
    member.flags[1] = i_read_bool();
  } else {
    bit_size = i_read_uint();
    for (bool& flag : member.flags)
      flag = i_read_bool();
  }
  member.psn = i_read_psn();

  if (!member.type || member.bit_offset < 0 || bit_size > MAX_INT_SIZE ||
      find_mdataref(csu, member.number))
    if_die(INVALID_RECORD);
  member.bit_size = static_cast<unsigned>(bit_size);
  char fixed_name[32];
  if (member.fixed_type_id) {
    member.record_name = member.name;
    snprintf(fixed_name, sizeof fixed_name, FIXED_TYPE_NAME, member.fixed_type_id);
    member.name = fixed_name; // interned by add_member
  }
  tp->add_member(csu, member);
}

void I_FILE::tp_make_param(TYPE_INFO& owner) {
  TYPE_PARAM param;
  // A class stands on nothing, its forward references would not end; and its parameter may be a
  // type, which has none.
  const bool is_func = owner.unfinished != nullptr;
  param.type = is_func ? read_target(owner.depth) : i_read_typeref();
  if (is_func && !owner.unfinished) if_die(INVALID_RECORD); // it named itself, and so was finished
  i_read_bool();
  param.flags = i_read_uint32();
  param.name = intern_text(i_read_string());
  (is_func ? owner.unfinished->params : owner.type->csu_parts()->params).push_back(param);
}

void I_FILE::tp_make_etor(TYPE* enumeration) {
  TYPE_ENUMERATOR e;
  e.name = intern_text(i_read_string());
  // No decimal text helps a value of more than 32 bits here.
  e.value = enumeration->is_signed() ? i_read_wide_sint() : static_cast<long>(i_read_uint());
  e.psn = i_read_psn();
  enumeration->enum_parts()->enumerators.push_back(e);
}

void I_FILE::tp_make_bclass(CSU_PARTS* parts) {
  TYPE_BASE_CLASS b;
  b.type = i_read_typeref();
  b.offset = checked_offset(i_read_wide_sint());
  b.access = checked_access(i_read_u8());
  b.is_virtual = i_read_bool();
  if (!b.type || !b.type->is_csu()) if_die(INVALID_RECORD);
  parts->bases.push_back(b);
}

void I_FILE::tp_make_adecl(CSU_PARTS* parts) {
  TYPE_ACCESS_DECL d;
  d.word = i_read_uint32();
  d.access = checked_access(i_read_u8());
  parts->access_decls.push_back(d);
}

void I_FILE::tp_make_ffriend(CSU_PARTS* parts) {
  TYPE_FRIEND_FUNC f;
  f.name = intern_text(i_read_string());
  f.type = i_read_typeref();
  parts->friend_funcs.push_back(f);
}

void I_FILE::tp_make_sdata(CSU_PARTS* parts) {
  TYPE_STATIC_MEMBER m;
  m.name = intern_text(i_read_string());
  m.type = i_read_typeref();
  m.access = checked_access(i_read_u8());
  parts->static_members.push_back(m);
}

void I_FILE::tp_make_mfunc(CSU_PARTS* parts) {
  TYPE_MEMBER_FUNC f;
  f.name = intern_text(i_read_string());
  f.type = i_read_typeref();
  f.access = checked_access(i_read_u8());
  f.vtable_index = i_read_sint();
  for (bool& flag : f.flags)
    flag = i_read_bool();
  parts->member_funcs.push_back(f);
}

void I_FILE::tp_make_element(TYPE_INFO& owner, int code) {
  if (owner.open_list != list_of_element(code) || !can_have_list(owner, owner.open_list))
    if_die(INVALID_RECORD);
  if (code == TC_PARAM) return tp_make_param(owner);
  if (code == TC_ENUMERATOR) return tp_make_etor(owner.type);
  if (code == TC_MEMBER) return tp_make_mdata(owner.type);
  CSU_PARTS* parts = owner.type->csu_parts();
  switch (code) {
  case TC_BASE_CLASS: tp_make_bclass(parts); break;
  case TC_ACCESS_DECL: tp_make_adecl(parts); break;
  case TC_FRIEND_FUNC: tp_make_ffriend(parts); break;
  case TC_FRIEND_CLASS: parts->friend_classes.push_back(i_read_typeref()); break;
  case TC_NESTED_TYPE: parts->nested_types.push_back(i_read_typeref()); break;
  case TC_STATIC_MEMBER: tp_make_sdata(parts); break;
  case TC_MEMBER_FUNC: tp_make_mfunc(parts); break;
  default: if_die(INVALID_RECORD);
  }
}

// ---------------------------------------------------------------------------------------------
// The whole

namespace {

// What an object of type t contains by value: part i, or null behind the last.
TYPE* contained_part(const TYPE* t, size_t i) {
  switch (t->kind) {
  case TYPE::K_TYPEDEF:
  case TYPE::K_QUALIFIED:
  case TYPE::K_ARRAY: return i == 0 ? t->base : nullptr;
  case TYPE::K_CLASS:
  case TYPE::K_STRUCT:
  case TYPE::K_UNION: {
    const CSU_PARTS* parts = t->csu_parts();
    if (i < parts->members.size()) return parts->members[i]->type;
    i -= parts->members.size();
    return i < parts->bases.size() ? parts->bases[i].type : nullptr;
  }
  default: return nullptr;
  }
}

struct CONTAINMENT_STEP {
  TYPE* type;
  size_t next_part;
  unsigned height; // of the values within this one, so far
};

} // namespace

// Completes what is still open and refuses classes that contain themselves, or too many levels of
// others, by value: no walk of an object's contents need fear for its stack.
void I_FILE::check_types() {
  // A type's mark is 0 when not reached, 1 while on the walk's path, and its height + 2 afterwards.
  constexpr unsigned ON_PATH = 1, FIRST_HEIGHT = 2;
  std::vector<TYPE*> marked;
  std::vector<CONTAINMENT_STEP> path;
  auto enter = [&](TYPE* t) {
    t->file_marks = ON_PATH;
    marked.push_back(t);
    path.push_back({t, 0, 0});
  };
  for (auto& [number, info] : types) {
    if (info.unfinished) finish_func(info);
    if (info.type->file_marks == 0) enter(info.type);
    while (!path.empty()) {
      CONTAINMENT_STEP& step = path.back();
      TYPE* part = contained_part(step.type, step.next_part);
      if (!part) {
        step.type->file_marks = FIRST_HEIGHT + step.height;
        path.pop_back();
      } else if (part->file_marks == 0) {
        if (path.size() > MAX_TYPE_DEPTH) if_die(NESTED_TOO_DEEPLY);
        enter(part); // and come back for its height
      } else if (part->file_marks == ON_PATH) {
        if_die(INVALID_RECORD);
      } else {
        step.height = std::max(step.height, part->file_marks - FIRST_HEIGHT + 1);
        if (step.height > MAX_TYPE_DEPTH) if_die(NESTED_TOO_DEEPLY);
        step.next_part++;
      }
    }
  }
  for (TYPE* t : marked)
    t->file_marks = 0;
}
