// The fields of records, each record described once for all its uses: decoding, encoding, printing
// and parsing call the same description with a visitor of their own.
//
// A visitor offers u8, s8, u16, boolean, uint, sint, ref, str, psn, each taking the field's name in
// the text form and a pointer to member; type records also need value (an enumerator's) and lists.
#pragma once

#include "tools/icode_bytes.h"
#include "tools/icode_unit.h"

namespace icode {

template <class V> void loop_fields(V& v) {
  v.uint("id", &LoopDef::id);
  v.uint("parent", &LoopDef::parent);
  v.uint("min", &LoopDef::min_trips);
  v.uint("max", &LoopDef::max_trips);
  v.uint("multiple", &LoopDef::multiple);
  v.u16("flags", &LoopDef::flags);
}

template <class V> void loop_use_fields(V& v) {
  v.uint("loop", &LoopUse::loop);
  v.sint("level", &LoopUse::level);
  v.sint("index", &LoopUse::index);
  v.u8("flag", &LoopUse::flag);
}

template <class V> void bank_fields(V& v) {
  v.uint("word1", &MemBank::word1);
  v.uint("word2", &MemBank::word2);
  v.uint("word3", &MemBank::word3);
  v.uint("word4", &MemBank::word4);
  v.uint("word5", &MemBank::word5);
}

template <class V> void edge_fields(V& v) {
  v.uint("from", &DepEdge::from);
  v.uint("to", &DepEdge::to);
  v.uint("kind", &DepEdge::kind);
}

// `form` is in the record before the fields that depend on it.
template <class V> void speculation_fields(V& v, uint8_t form) {
  if (form == LDSPEC_REGION) {
    v.uint("label", &LoadSpec::label);
    return;
  }
  v.uint("first", &LoadSpec::first);
  if (form == LDSPEC_INDUCTION)
    v.sint("stride", &LoadSpec::stride);
  else
    v.uint("second", &LoadSpec::second);
  v.ref("type", &LoadSpec::type);
  v.sint("symbol", &LoadSpec::symbol);
  v.uint("last", &LoadSpec::last);
}

template <class V> void ir_begin_fields(V& v) {
  v.uint("word1", &IrBegin::word1);
  v.uint("word2", &IrBegin::word2);
  v.s8("kind", &IrBegin::kind);
  v.uint("word3", &IrBegin::word3);
}

// Whether `code` is one of a type record.
inline bool is_type_code(uint8_t code) {
  return code <= TC_CSU_LONG || (code >= TC_MDATA && code <= TC_MFUNC) || code == TC_COMPLEX ||
         (code >= TC_UNKNOWN && code <= TC_ULLONG) || code >= TC_LIST_BEGIN;
}

template <class V> void csu_tail(V& v, int version) {
  using T = TypeRecord;
  if (version >= -84) v.boolean("vector_like", &T::vector_like);
  if (version >= -81) v.boolean("cpp", &T::is_cpp);
  v.psn(&T::psn);
}

// What follows the type number and the code.
template <class V> void type_fields(V& v, uint8_t code, int version) {
  using T = TypeRecord;
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
  case TC_PTR:
  case TC_REF:
    v.ref("target", &T::ref);
    v.uint("size", &T::size);
    v.uint("align", &T::align);
    break;
  case TC_QUAL:
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
  case TC_LIST_BEGIN:
  case TC_LIST_END: v.s8("kind", &T::list); break;
  case TC_PARAM:
    v.ref("type", &T::ref);
    v.boolean("flag1", &T::flag1);
    v.uint("flags", &T::count);
    v.str("name", &T::name);
    break;
  case TC_ETOR:
    v.str("name", &T::name);
    v.value("value", &T::value);
    v.psn(&T::psn);
    break;
  case TC_MDATA:
    v.uint("member", &T::count);
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    v.u8("access", &T::kind);
    v.sint("at", &T::offset);
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
  case TC_BCLASS:
    v.ref("type", &T::ref);
    v.sint("at", &T::offset);
    v.u8("access", &T::kind);
    v.boolean("virtual", &T::flag1);
    break;
  case TC_ADECL:
    v.uint("word", &T::count);
    v.u8("access", &T::kind);
    break;
  case TC_FFRIEND:
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    break;
  case TC_CFRIEND:
  case TC_NTYPE: v.ref("type", &T::ref); break;
  case TC_SDATA:
    v.str("name", &T::name);
    v.ref("type", &T::ref);
    v.u8("access", &T::kind);
    break;
  case TC_MFUNC:
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
struct StreamState {
  uint32_t function = NONE; // the function being read
  uint32_t level = 0;       // of symbols that come next
  uint32_t blocks = 0;      // that are open in the function
};

// Enters a function that begins with the next item.
void begin_function(Unit& unit, StreamState& state, Function&& function);
// What a record of the frame of functions and blocks, to be the next item, does to `state`. Gives a
// message for one out of place, else null.
const char* step_frame(Unit& unit, StreamState& state, Item& item);

// One record with what belongs to it, from `r` to the end of `unit`'s vector of that section. They
// set `raw` where the fields would be encoded to other bytes; failures are left in `r`.
void decode_options(Reader& r, Unit& unit);
void decode_type(Reader& r, Unit& unit);
void decode_file(Reader& r, Unit& unit);
void decode_symbol(Reader& r, Unit& unit, std::vector<Symbol>& symbols);
void decode_init(Reader& r, Unit& unit);
void decode_item(Reader& r, Unit& unit, StreamState& state);

// The header record; gives the five section offsets in file order of the fields.
std::array<uint32_t, 5> decode_header(Reader& r, Unit& unit);
// The header with these offsets, from its fields.
std::string encode_header(const Unit& unit, int version, const std::array<uint32_t, 5>& offsets);

// The same the other way round. `use_raw` says whether raw bytes stand for the fields. An encoder
// gives false, with a message, for what no file can hold.
struct Encoder {
  const Unit& unit;
  int version;
  bool use_raw;
  std::string error = {};
  Writer out = {};
  Writer payload = {}; // scratch

  void options(const OptionSet& set);
  void type(const TypeRecord& record);
  void file(const FileName& file);
  void symbol(const Symbol& symbol);
  void init(const Init& init);
  void item(const Item& item);

private:
  bool put_raw(uint32_t raw);
  void flush(uint8_t tag);
  void tree(uint32_t root);
  void node(const Node& n);
  void pragma(const Pragma& pragma);
  void exception_table(const ExceptionTable& table);
  void fail(const std::string& message) {
    if (error.empty()) error = message;
  }
};

inline bool is_region_label(uint64_t label) {
  return label <= INT32_MAX;
}

} // namespace icode
