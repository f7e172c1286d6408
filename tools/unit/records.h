// The fields of records, each record described once for all its uses: decoding, encoding, printing
// and parsing call the same description with a visitor of their own.
//
// A visitor offers u8, s8, u16, boolean, uint, sint, ref, str, psn, each taking the field's name in
// the text form and a pointer to member; type records also need value (an enumerator's) and lists.
#pragma once

#include "tools/unit/bytes.h"
#include "tools/unit/unit.h"

namespace icode {

template <class V> void loop_fields(V& v) {
  v.uint("id", &LOOP_DEF::id);
  v.uint("parent", &LOOP_DEF::parent);
  v.uint("min", &LOOP_DEF::min_trips);
  v.uint("max", &LOOP_DEF::max_trips);
  v.uint("multiple", &LOOP_DEF::multiple);
  v.u16("flags", &LOOP_DEF::flags);
}

template <class V> void loop_use_fields(V& v) {
  v.uint("loop", &LOOP_USE::loop);
  v.sint("level", &LOOP_USE::level);
  v.sint("index", &LOOP_USE::index);
  v.u8("flag", &LOOP_USE::flag);
}

template <class V> void bank_fields(V& v) {
  v.uint("word1", &MEM_BANK::word1);
  v.uint("word2", &MEM_BANK::word2);
  v.uint("word3", &MEM_BANK::word3);
  v.uint("word4", &MEM_BANK::word4);
  v.uint("word5", &MEM_BANK::word5);
}

template <class V> void edge_fields(V& v) {
  v.uint("from", &DEP_EDGE::from);
  v.uint("to", &DEP_EDGE::to);
  v.uint("kind", &DEP_EDGE::kind);
}

// `form` is in the record before the fields that depend on it.
template <class V> void speculation_fields(V& v, uint8_t form) {
  if (form == LDSPEC_REGION) {
    v.uint("label", &LOAD_SPEC::label);
    return;
  }
  v.uint("first", &LOAD_SPEC::first);
  if (form == LDSPEC_INDUCTION)
    v.sint("stride", &LOAD_SPEC::stride);
  else
    v.uint("second", &LOAD_SPEC::second);
  v.ref("type", &LOAD_SPEC::type);
  v.sint("symbol", &LOAD_SPEC::symbol);
  v.uint("last", &LOAD_SPEC::last);
}

template <class V> void ir_begin_fields(V& v) {
  v.uint("word1", &IR_BEGIN::word1);
  v.uint("word2", &IR_BEGIN::word2);
  v.s8("kind", &IR_BEGIN::kind);
  v.uint("word3", &IR_BEGIN::word3);
}

// Whether `code` is one of a type record.
inline bool is_type_code(uint8_t code) {
  return code <= TC_CSU_LONG || (code >= TC_MEMBER && code <= TC_MEMBER_FUNC) ||
         code == TC_COMPLEX || (code >= TC_UNKNOWN && code <= TC_ULLONG) || code >= TC_LIST_HEADER;
}

template <class V> void csu_tail(V& v, int version) {
  using T = TYPE_RECORD;
  if (version >= -84) v.boolean("vector_like", &T::vector_like);
  if (version >= -81) v.boolean("cpp", &T::is_cpp);
  v.psn(&T::psn);
}

// What follows the type number and the code.
template <class V> void type_fields(V& v, uint8_t code, int version) {
  using T = TYPE_RECORD;
  switch (code) {
  case TC_VOID:
  case TC_UNKNOWN: break;
  case TC_FLOAT:
  case TC_DOUBLE:
  case TC_LDOUBLE:
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    break;
  case TC_FIXED:
    v.s8("fraction", &T::offset);
    v.u8("signed", &T::kind);
    v.ref("target", &T::ref);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    break;
  case TC_COMPLEX:
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.ref("target", &T::ref);
    break;
  case TC_TYPEDEF:
    v.str("name", &T::name);
    v.ref("target", &T::ref);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.boolean("hidden", &T::hidden);
    v.boolean("lowered", &T::lowered);
    v.psn(&T::psn);
    break;
  case TC_POINTER:
  case TC_REFERENCE:
    v.ref("target", &T::ref);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    break;
  case TC_QUALIFIED:
    v.ref("target", &T::ref);
    v.uint("bits", &T::count);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    break;
  case TC_ARRAY:
    v.ref("target", &T::ref);
    v.uint("count", &T::count);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.boolean("hidden", &T::hidden);
    v.boolean("complete", &T::complete);
    if (version >= -76) v.boolean("vector", &T::is_vector);
    if (version == -75 || version == -74) v.boolean("flag1", &T::flag1);
    break;
  case TC_PTM:
    v.ref("target", &T::ref);
    v.ref("class", &T::ref2);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    break;
  case TC_FUNC:
    v.ref("target", &T::ref);
    v.boolean("prototyped", &T::prototyped);
    v.boolean("variadic", &T::variadic);
    v.u8("convention", &T::kind);
    v.boolean("hidden", &T::hidden);
    break;
  case TC_ENUM:
    v.str("name", &T::name);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.ref("target", &T::ref);
    if (version >= -81) v.boolean("cpp", &T::is_cpp);
    v.psn(&T::psn);
    break;
  case TC_CSU_SHORT:
    v.u8("kind", &T::kind);
    v.str("name", &T::name);
    v.boolean("complete", &T::complete);
    v.boolean("lowered", &T::lowered);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.boolean("has_data", &T::has_data);
    csu_tail(v, version);
    break;
  case TC_CSU_LONG:
    v.u8("kind", &T::kind);
    v.str("name", &T::name);
    v.boolean("complete", &T::complete);
    v.boolean("lowered", &T::lowered);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.uint("vtable", &T::count);
    v.lists("lists", &T::lists);
    csu_tail(v, version);
    break;
  case TC_LIST_HEADER:
  case TC_LIST_TRAILER: v.s8("kind", &T::list); break;
  case TC_PARAM:
    v.ref("type", &T::ref);
    v.boolean("flag1", &T::flag1);
    v.uint("flags", &T::count);
    v.str("name", &T::name);
    break;
  case TC_ENUMERATOR:
    v.str("name", &T::name);
    v.value("value", &T::value);
    v.psn(&T::psn);
    break;
  case TC_MEMBER:
    v.uint("member", &T::count);
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    v.u8("access", &T::kind);
    v.wide_sint("at", &T::offset);
    if (version > -75) v.u8("fti", &T::fixed_type_id);
    if (version < -85) {
      v.boolean("flag1", &T::flag1);
      v.uint("bits", &T::bit_size);
      v.boolean("flag2", &T::flag2);
    } else {
      v.uint("bits", &T::bit_size);
      v.boolean("flag1", &T::flag1);
      v.boolean("flag2", &T::flag2);
      v.boolean("flag3", &T::flag3);
    }
    v.psn(&T::psn);
    break;
  case TC_BASE_CLASS:
    v.ref("type", &T::ref);
    v.wide_sint("at", &T::offset);
    v.u8("access", &T::kind);
    v.boolean("virtual", &T::flag1);
    break;
  case TC_ACCESS_DECL:
    v.uint("word", &T::count);
    v.u8("access", &T::kind);
    break;
  case TC_FRIEND_FUNC:
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    break;
  case TC_FRIEND_CLASS:
  case TC_NESTED_TYPE: v.ref("type", &T::ref); break;
  case TC_STATIC_MEMBER:
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    v.u8("access", &T::kind);
    break;
  case TC_MEMBER_FUNC:
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    v.u8("access", &T::kind);
    v.sint("at", &T::offset);
    v.boolean("flag1", &T::flag1);
    v.boolean("flag2", &T::flag2);
    v.boolean("flag3", &T::flag3);
    v.boolean("flag4", &T::flag4);
    break;
  default: // the integral kinds
    v.boolean("signed", &T::is_signed);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    v.boolean("boolean", &T::is_boolean);
    v.boolean("std_signed", &T::std_signed);
    break;
  }
}

// Adds to a vector of the unit; gives the new element's index.
template <class T> uint32_t append(std::vector<T>& to, T value) {
  to.push_back(std::move(value));
  return uint32_t(to.size() - 1);
}

// Where decoding of the function stream stands.
struct STREAM_STATE {
  uint32_t function = NONE; // the function being read
  uint32_t level = 0;       // of symbols that come next
  uint32_t blocks = 0;      // that are open in the function
};

// Enters a function that begins with the next item.
void begin_function(UNIT& unit, STREAM_STATE& state, FUNCTION&& function);
// What a record of the frame of functions and blocks, to be the next item, does to `state`. Gives a
// message for one out of place, else null.
const char* step_frame(UNIT& unit, STREAM_STATE& state, ITEM& item);

// One record with what belongs to it, from `r` to the end of `unit`'s vector of that section. They
// set `raw` where the fields would be encoded to other bytes; failures are left in `r`.
void decode_options(READER& r, UNIT& unit);
void decode_type(READER& r, UNIT& unit);
void decode_file(READER& r, UNIT& unit);
void decode_symbol(READER& r, UNIT& unit, std::vector<SYMBOL>& symbols);
void decode_init(READER& r, UNIT& unit);
void decode_item(READER& r, UNIT& unit, STREAM_STATE& state);

// The header record; gives the five section offsets in file order of the fields.
std::array<uint32_t, 5> decode_header(READER& r, UNIT& unit);
// The header with these offsets, from its fields.
std::string encode_header(const UNIT& unit, int version, const std::array<uint32_t, 5>& offsets);

// The same the other way round. `use_raw` says whether raw bytes stand for the fields. An encoder
// gives false, with a message, for what no file can hold.
struct ENCODER {
  const UNIT& unit;
  int version;
  bool use_raw;
  std::string error = {};
  WRITER out = {};
  WRITER payload = {}; // scratch

  void options(const OPTION_SET& set);
  void type(const TYPE_RECORD& record);
  void file(const FILE_NAME& file);
  void symbol(const SYMBOL& symbol);
  void init(const INIT& init);
  void item(const ITEM& item);

private:
  bool put_raw(uint32_t raw);
  void flush(uint8_t tag);
  void tree(uint32_t root);
  void node(const NODE& n);
  void pragma(const PRAGMA_RECORD& pragma);
  void exception_table(const EXCEPTION_TABLE& table);
  void fail(const std::string& message) {
    if (error.empty()) error = message;
  }
};

inline bool is_region_label(uint64_t label) {
  return label <= INT32_MAX;
}

} // namespace icode
