#include "tools/unit/records.h"

#include <algorithm>

namespace icode {

namespace {

void put_psn(WRITER& w, const UNIT_PSN& psn) {
  w.uint(psn.file);
  if (!psn.file) return;
  w.uint(psn.line);
  w.uint(psn.column);
}

// Visitor that writes a record's fields.
template <class R> struct FIELD_WRITER {
  WRITER& w;
  const R& r;
  bool value_is_signed = false;

  template <class F> void u8(const char*, F R::*f) { w.u8(uint8_t(r.*f)); }
  template <class F> void s8(const char*, F R::*f) { w.u8(uint8_t(r.*f)); }
  template <class F> void u16(const char*, F R::*f) { w.u16(r.*f); }
  template <class F> void boolean(const char*, F R::*f) { w.boolean(r.*f); }
  template <class F> void uint(const char*, F R::*f) { w.uint(r.*f); }
  template <class F> void sint(const char*, F R::*f) { w.sint(r.*f); }
  template <class F> void wide_sint(const char*, F R::*f) { w.sint(r.*f); }
  template <class F> void ref(const char*, F R::*f) { w.uint(r.*f); }
  template <class F> void str(const char*, F R::*f) { w.str(r.*f); }
  template <class F> void psn(F R::*f) { put_psn(w, r.*f); }
  template <class F> void value(const char*, F R::*f) {
    if (value_is_signed)
      w.sint(int64_t(r.*f));
    else
      w.uint(r.*f);
  }
  template <class F> void lists(const char*, F R::*f) {
    for (size_t i = 0; i < LONG_FORM_LISTS.size(); i++)
      w.boolean(r.*f >> i & 1);
  }
};

// A record that is nothing but its fields.
template <class R, class FIELDS> void put_record(WRITER& w, const R& record, FIELDS fields) {
  FIELD_WRITER<R> writer{w, record};
  fields(writer);
}

} // namespace

bool ENCODER::put_raw(uint32_t raw) {
  if (!use_raw || raw == 0) return false;
  out.raw(unit.raws[raw]);
  return true;
}

void ENCODER::flush(uint8_t tag) {
  out.record(tag, payload);
  payload.bytes.clear();
}

void ENCODER::options(const OPTION_SET& set) {
  if (put_raw(set.raw)) return;
  payload.uint(set.number);
  payload.uint(set.options.size());
  for (const std::string& option : set.options)
    payload.str(option);
  flush(TAG_OPTION_SET);
}

void ENCODER::type(const TYPE_RECORD& record) {
  if (put_raw(record.raw)) return;
  payload.uint(record.number);
  payload.u8(record.code);
  FIELD_WRITER<TYPE_RECORD> fields{payload, record, is_signed_type(unit, record.number)};
  type_fields(fields, record.code, version);
  flush(TAG_TYPE);
}

void ENCODER::file(const FILE_NAME& file) {
  if (put_raw(file.raw)) return;
  payload.str(file.name);
  flush(TAG_FILE_NAME);
}

void ENCODER::pragma(const PRAGMA_RECORD& pragma) {
  payload.uint(pragma.kind);
  payload.uint(pragma.args.size());
  for (const std::string& arg : pragma.args)
    payload.str(arg);
  flush(TAG_PRAGMA);
}

void ENCODER::symbol(const SYMBOL& s) {
  if (put_raw(s.raw)) return;
  if (s.pragmas.size() > 127) return fail("symbol " + s.name + " has more than 127 pragmas");
  payload.str(s.name);
  payload.uint(s.size);
  payload.uint(s.value);
  payload.u8(uint8_t(s.storage));
  payload.u16(uint16_t(s.qual));
  payload.uint(s.type);
  payload.uint(s.source_type);
  payload.uint(s.align);
  payload.u8(s.pragmas.size());
  payload.uint(s.location);
  payload.uint(s.option_set);
  put_psn(payload, s.psn);
  if (version >= -71) payload.u8(s.retention);
  flush(TAG_SYMBOL);
  for (const PRAGMA_RECORD& p : s.pragmas)
    pragma(p);
}

void ENCODER::node(const NODE& n) {
  payload.u8(n.op);
  payload.uint(n.type);
  switch (n.op) {
  case LABEL:
  case SWITCH:
  case UCALL:
  case EPVAL:
  case SKIP: payload.uint(n.a); break;
  case NAME:
  case CALL:
    payload.uint(n.a);
    payload.uint(n.b);
    break;
  case SCON:
    payload.uint(unit.strings[n.text].size());
    payload.raw(unit.strings[n.text]);
    break;
  case ICON:
    if (is_signed_type(unit, n.type))
      payload.sint(int64_t(n.a));
    else
      payload.uint(n.a);
    break;
  case FCON:
  case LCON:
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: payload.str(unit.strings[n.text]); break;
  case FIELD:
    payload.u8(n.small);
    payload.uint(n.a);
    payload.uint(n.b);
    break;
  case DDNODE:
    payload.uint(n.a);
    payload.uint(n.b);
    payload.u8(n.small);
    break;
  case VREG: payload.sint(int64_t(n.a)); break;
  default: break;
  }
  flush(TAG_NODE);
}

void ENCODER::tree(uint32_t root) {
  std::vector<uint32_t> todo = {root};
  while (!todo.empty()) {
    uint32_t at = todo.back();
    todo.pop_back();
    if (at >= unit.nodes.size()) return fail("an operator lacks an operand");
    const NODE& n = unit.nodes[at];
    int operands = operand_count(n.op);
    if (operands == NO_OP)
      return fail("operator " + std::to_string(n.op) + " has no place in a file");
    node(n);
    if (operands > 1) todo.push_back(n.right);
    if (operands > 0) todo.push_back(n.left);
  }
}

void ENCODER::init(const INIT& init) {
  if (put_raw(init.raw)) return;
  payload.uint(init.global);
  flush(TAG_INIT);
  for (uint32_t root : init.roots)
    tree(root);
}

void ENCODER::exception_table(const EXCEPTION_TABLE& table) {
  payload.uint(table.size());
  flush(TAG_EHT);
  for (const EHT_RECORD& e : table) {
    payload.uint(e.id);
    payload.uint(e.kind);
    payload.uint(e.region);
    payload.uint(e.kind == EHT_CATCH ? e.catches.size() : e.link);
    flush(TAG_EHT_ENTRY);
    if (e.kind == EHT_CATCH) {
      for (const CATCH_ENTRY& c : e.catches) {
        payload.str(c.type_name);
        payload.uint(c.number);
        payload.boolean(c.flag);
      }
      flush(TAG_CATCH);
    } else if (e.kind == EHT_CLEANUP) {
      put_psn(payload, {});
      flush(TAG_EXPR);
      if (e.tree != NONE) tree(e.tree);
    }
  }
}

void ENCODER::item(const ITEM& item) {
  if (put_raw(item.raw)) return;
  switch (item.tag) {
  case TAG_BEGIN_FUNC:
    put_psn(payload, item.psn);
    payload.uint(unit.functions[item.index].global);
    break;
  case TAG_IR_FUNC: {
    FIELD_WRITER<IR_BEGIN> fields{payload, unit.functions[item.index].ir};
    ir_begin_fields(fields);
    put_psn(payload, item.psn);
    break;
  }
  case TAG_EXPR:
    put_psn(payload, item.psn);
    flush(item.tag);
    if (item.index != NONE) tree(item.index);
    return;
  case TAG_LABEL: payload.uint(item.index); break;
  case TAG_FUNC_INFO: payload.u8(uint8_t(item.index)); break;
  case TAG_ASM:
    payload.str(unit.strings[item.index]);
    put_psn(payload, item.psn);
    break;
  case TAG_COMMENT: payload.str(unit.strings[item.index]); break;
  case TAG_LIR: payload.raw(unit.strings[item.index]); break;
  case TAG_PRAGMA: return pragma(unit.pragmas[item.index]);
  case TAG_LOOP_DEF:
    put_record(payload, unit.loops[item.index], [](auto& v) { loop_fields(v); });
    break;
  case TAG_IN_LOOP:
    put_record(payload, unit.loop_uses[item.index], [](auto& v) { loop_use_fields(v); });
    break;
  case TAG_MBANK:
    put_record(payload, unit.banks[item.index], [](auto& v) { bank_fields(v); });
    break;
  case TAG_DD_EDGE:
    put_record(payload, unit.edges[item.index], [](auto& v) { edge_fields(v); });
    break;
  case TAG_DD_VECTOR: {
    const DEP_VECTOR& v = unit.vectors[item.index];
    if (v.entries.size() > 255) return fail("a dependence vector has more than 255 entries");
    payload.uint(v.id);
    payload.u8(v.kind);
    payload.u8(v.entries.size());
    for (const DEP_ENTRY& e : v.entries) {
      payload.u8(e.kind);
      payload.u8(uint8_t(e.distance));
    }
    break;
  }
  case TAG_LDSPEC: {
    const LOAD_SPEC& s = unit.speculations[item.index];
    payload.uint(s.id);
    payload.u8(s.form);
    FIELD_WRITER<LOAD_SPEC> fields{payload, s};
    speculation_fields(fields, s.form);
    break;
  }
  case TAG_EHT: return exception_table(unit.exception_tables[item.index]);
  default: // the frame of functions and blocks
    put_psn(payload, item.psn);
    break;
  }
  flush(item.tag);
}

std::string encode_header(const UNIT& unit, int version, const std::array<uint32_t, 5>& offsets) {
  WRITER payload, out;
  payload.str("!<icode>\n");
  payload.u16(uint16_t(version));
  payload.u16(CPU_ID);
  for (uint32_t offset : offsets)
    payload.u32(offset);
  payload.str(unit.source);
  if (version >= -83) payload.u32(unit.extra_word);
  out.record(TAG_HEADER, payload);
  return out.bytes;
}

namespace {

constexpr size_t OFFSETS_BEHIND_MAGIC = 10 + 2 + 2; // the magic text, the version, the CPU id

// Appends a section's records; its closing tag is the caller's.
void put_section(ENCODER& e, SECTION section) {
  const UNIT& unit = e.unit;
  uint32_t function = NONE;
  switch (section) {
  case SEC_STREAM:
    for (const ITEM& item : unit.items) {
      if (item.tag == TAG_BEGIN_FUNC || item.tag == TAG_IR_FUNC) function = item.index;
      if (item.tag == TAG_SYMBOL)
        e.symbol(function == NONE ? unit.globals[item.index]
                                  : unit.functions[function].locals[item.index]);
      else
        e.item(item);
      if (item.tag == TAG_END_FUNC || item.tag == TAG_IR_END) function = NONE;
    }
    break;
  case SEC_INITS:
    for (const INIT& init : unit.inits)
      e.init(init);
    break;
  case SEC_OPTIONS:
    for (const OPTION_SET& set : unit.options)
      e.options(set);
    break;
  case SEC_TYPES:
    for (const TYPE_RECORD& record : unit.types)
      e.type(record);
    break;
  case SEC_FILES:
    for (const FILE_NAME& file : unit.files)
      e.file(file);
    break;
  case SEC_GLOBALS:
    for (const SYMBOL& symbol : unit.globals)
      if (!symbol.in_stream) e.symbol(symbol);
    break;
  default: break;
  }
}

bool is_empty(const UNIT& unit, SECTION section) {
  switch (section) {
  case SEC_STREAM: return false; // its end mark is always there
  case SEC_INITS: return unit.inits.empty();
  case SEC_OPTIONS: return unit.options.empty();
  case SEC_TYPES: return unit.types.empty();
  case SEC_FILES: return unit.files.empty();
  case SEC_GLOBALS:
    return std::all_of(unit.globals.begin(), unit.globals.end(),
                       [](const SYMBOL& s) { return s.in_stream; });
  default: return true;
  }
}

} // namespace

bool encode_unit(const UNIT& unit, int version, std::string& bytes, std::string& error) {
  bool exact = version == unit.version;
  ENCODER e{unit, version, exact};
  std::array<uint32_t, 5> offsets{};
  std::string header = encode_header(unit, version, offsets);
  if (exact && unit.header_raw) header = unit.raws[unit.header_raw];
  e.out.bytes = header;
  std::vector<LAYOUT_PART> parts;
  if (exact) parts = unit.layout;
  if (parts.empty())
    for (SECTION s : {SEC_STREAM, SEC_INITS, SEC_OPTIONS, SEC_TYPES, SEC_FILES, SEC_GLOBALS})
      if (!is_empty(unit, s)) parts.push_back({s, {}});
  for (const LAYOUT_PART& part : parts) {
    e.out.raw(part.gap);
    if (part.section == SEC_TAIL) continue;
    size_t start = e.out.bytes.size();
    if (start > UINT32_MAX) {
      error = "the file is longer than its offsets can say";
      return false;
    }
    // The header names the sections in an order of its own.
    switch (part.section) {
    case SEC_OPTIONS: offsets[0] = uint32_t(start); break;
    case SEC_INITS: offsets[1] = uint32_t(start); break;
    case SEC_TYPES: offsets[2] = uint32_t(start); break;
    case SEC_FILES: offsets[3] = uint32_t(start); break;
    case SEC_GLOBALS: offsets[4] = uint32_t(start); break;
    default: break;
    }
    put_section(e, part.section);
    e.out.u8(TAG_EOF);
  }
  if (unit.source.find('\0') != unit.source.npos) e.out.cut_text = unit.source.c_str();
  if (e.out.cut_text && e.error.empty())
    e.error = "a zero behind \"" + *e.out.cut_text + "\" would end the text there";
  if (!e.error.empty()) {
    error = e.error;
    return false;
  }
  // The offsets stand in the header's middle, and the header may be one with an unusual length
  // field.
  std::string fields = encode_header(unit, version, offsets);
  size_t from = fields.find('!') + OFFSETS_BEHIND_MAGIC,
         to = header.find('!') + OFFSETS_BEHIND_MAGIC;
  e.out.bytes.replace(to, 4 * offsets.size(), fields, from, 4 * offsets.size());
  bytes = std::move(e.out.bytes);
  return true;
}

} // namespace icode
