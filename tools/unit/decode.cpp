#include "tools/unit/records.h"

#include <algorithm>

namespace icode {

namespace {

UNIT_PSN get_psn(READER& r) {
  UNIT_PSN psn;
  psn.file = r.uint_32();
  if (!psn.file) return psn;
  psn.line = r.uint_32();
  psn.column = r.uint_32();
  return psn;
}

// Visitor that reads a record's fields.
template <class R> struct FIELD_READER {
  READER& r;
  R& to;
  bool value_is_signed = false;

  template <class F> void u8(const char*, F R::*f) { to.*f = r.u8(); }
  template <class F> void s8(const char*, F R::*f) { to.*f = r.s8(); }
  template <class F> void u16(const char*, F R::*f) { to.*f = r.u16(); }
  template <class F> void boolean(const char*, F R::*f) { to.*f = r.boolean(); }
  template <class F> void uint(const char*, F R::*f) { to.*f = r.uint(); }
  template <class F> void sint(const char*, F R::*f) { to.*f = r.sint(); }
  template <class F> void wide_sint(const char*, F R::*f) { to.*f = r.wide_sint(); }
  template <class F> void ref(const char*, F R::*f) { to.*f = r.uint_32(); }
  template <class F> void str(const char*, F R::*f) { to.*f = r.str(); }
  template <class F> void psn(F R::*f) { to.*f = get_psn(r); }
  template <class F> void value(const char*, F R::*f) {
    to.*f = value_is_signed ? uint64_t(r.wide_sint()) : r.uint();
  }
  template <class F> void lists(const char*, F R::*f) {
    for (size_t i = 0; i < LONG_FORM_LISTS.size(); i++)
      if (r.boolean()) to.*f = uint16_t(to.*f | 1 << i);
  }
};

// A record that is nothing but its fields: gives its index in its table.
template <class R, class FIELDS>
uint32_t get_record(READER& r, std::vector<R>& table, FIELDS fields) {
  R record;
  FIELD_READER<R> reader{r, record};
  fields(reader);
  return append(table, std::move(record));
}

void expect_tag(READER& r, uint8_t tag, const char* what) {
  size_t start = r.pos();
  uint8_t found = r.open_record();
  if (r.ok() && found != tag)
    r.fail_at(start, "expected " + std::string(what) + " (tag " + std::to_string(tag) +
                         "), found tag " + std::to_string(found));
}

std::vector<std::string> get_strings(READER& r) {
  std::vector<std::string> texts;
  for (uint64_t n = r.uint(); n > 0 && r.ok(); --n)
    texts.push_back(r.str());
  return texts;
}

// Keeps the bytes from `start` on if `encode` makes others of the record just read.
template <class F>
void keep_raw(READER& r, UNIT& unit, size_t start, uint32_t& raw, const F& encode) {
  if (!r.ok()) return;
  ENCODER e{unit, unit.version, true};
  encode(e);
  size_t end = r.pos();
  r.seek(start);
  std::string bytes = r.counted(end - start);
  if (e.out.bytes == bytes && e.error.empty()) return;
  raw = uint32_t(unit.raws.size());
  unit.raws.push_back(std::move(bytes));
}

PRAGMA_RECORD get_pragma(READER& r) {
  PRAGMA_RECORD p;
  expect_tag(r, TAG_PRAGMA, "a pragma");
  p.kind = r.uint();
  p.args = get_strings(r);
  r.close_record();
  return p;
}

// One node record. Gives its index.
uint32_t get_node(READER& r, UNIT& unit) {
  NODE n;
  expect_tag(r, TAG_NODE, "an expression node");
  size_t start = r.pos();
  n.op = r.u8();
  if (r.ok() && operand_count(n.op) == NO_OP)
    r.fail_at(start, "no operator has the code " + std::to_string(n.op));
  n.type = r.uint_32();
  switch (n.op) {
  case LABEL:
  case SWITCH:
  case UCALL:
  case EPVAL:
  case SKIP: n.a = r.uint(); break;
  case NAME:
  case CALL:
    n.a = r.uint();
    n.b = r.uint();
    break;
  case SCON: n.text = add_string(unit, r.counted(r.uint())); break;
  case ICON: n.a = is_signed_type(unit, n.type) ? uint64_t(int64_t(r.sint())) : r.uint(); break;
  case FCON:
  case LCON:
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: n.text = add_string(unit, r.str()); break;
  case FIELD:
    n.small = r.u8();
    n.a = r.uint();
    n.b = r.uint_32();
    break;
  case DDNODE:
    n.a = r.uint();
    n.b = r.uint();
    n.small = r.u8();
    break;
  case VREG: n.a = uint64_t(int64_t(r.sint())); break;
  default: break;
  }
  r.close_record();
  unit.nodes.push_back(n);
  return uint32_t(unit.nodes.size() - 1);
}

// A tree in prefix order. The stack holds the nodes that wait for an operand.
uint32_t get_tree(READER& r, UNIT& unit) {
  struct WAITING {
    uint32_t node;
    bool right;
  };
  uint32_t root = get_node(r, unit);
  std::vector<WAITING> waiting;
  auto expect_operands = [&](uint32_t node) {
    int operands = operand_count(unit.nodes[node].op);
    if (operands > 1) waiting.push_back({node, true});
    if (operands > 0) waiting.push_back({node, false});
  };
  expect_operands(root);
  while (!waiting.empty() && r.ok()) {
    WAITING w = waiting.back();
    waiting.pop_back();
    uint32_t node = get_node(r, unit);
    if (!r.ok()) break;
    (w.right ? unit.nodes[w.node].right : unit.nodes[w.node].left) = node;
    expect_operands(node);
  }
  return root;
}

EXCEPTION_TABLE get_exception_table(READER& r, UNIT& unit) {
  EXCEPTION_TABLE table;
  uint64_t count = r.uint();
  r.close_record();
  for (; count > 0 && r.ok(); --count) {
    EHT_RECORD e;
    expect_tag(r, TAG_EHT_ENTRY, "an exception table entry");
    e.id = r.uint();
    e.kind = r.uint();
    e.region = r.uint();
    e.link = r.uint();
    r.close_record();
    if (e.kind == EHT_CATCH) {
      expect_tag(r, TAG_CATCH, "a catch list");
      for (uint64_t n = e.link; n > 0 && r.ok(); --n) {
        CATCH_ENTRY c;
        c.type_name = r.str();
        c.number = r.uint();
        c.flag = r.boolean();
        e.catches.push_back(std::move(c));
      }
      r.close_record();
    } else if (e.kind == EHT_CLEANUP) {
      expect_tag(r, TAG_EXPR, "a cleanup's tree");
      get_psn(r);
      r.close_record();
      if (r.peek_tag() == TAG_NODE) e.tree = get_tree(r, unit);
    }
    table.push_back(std::move(e));
  }
  return table;
}

} // namespace

void begin_function(UNIT& unit, STREAM_STATE& state, FUNCTION&& function) {
  state.function = uint32_t(unit.functions.size());
  state.level = 1;
  function.begin = uint32_t(unit.items.size());
  unit.functions.push_back(std::move(function));
}

// What the records of the frame do to `state`; gives a message for one out of place.
const char* step_frame(UNIT& unit, STREAM_STATE& state, ITEM& item) {
  bool inside = state.function != NONE;
  switch (item.tag) {
  case TAG_BEGIN_FUNC:
  case TAG_IR_FUNC: return nullptr; // entered with their fields
  case TAG_END_FUNC:
  case TAG_IR_END:
    if (!inside || unit.functions[state.function].is_ir != (item.tag == TAG_IR_END))
      return "an end of function where none has begun";
    if (state.blocks) return "the function ends within a block";
    item.index = state.function;
    unit.functions[state.function].end = uint32_t(unit.items.size() + 1);
    state = {};
    return nullptr;
  case TAG_END_ARGS:
    if (!inside || state.level != 1) return "an end of arguments out of place";
    state.level = 2;
    return nullptr;
  case TAG_BEGIN_BLOCK:
    if (!inside) return "a block outside of functions";
    ++state.level;
    ++state.blocks;
    return nullptr;
  case TAG_END_BLOCK:
    if (state.blocks == 0) return "an end of block where none has begun";
    --state.level;
    --state.blocks;
    return nullptr;
  default: return nullptr;
  }
}

void decode_options(READER& r, UNIT& unit) {
  size_t start = r.pos();
  OPTION_SET set;
  expect_tag(r, TAG_OPTION_SET, "an option set");
  set.number = r.uint();
  set.options = get_strings(r);
  r.close_record();
  keep_raw(r, unit, start, set.raw, [&](ENCODER& e) { e.options(set); });
  unit.options.push_back(std::move(set));
}

void decode_type(READER& r, UNIT& unit) {
  size_t start = r.pos();
  TYPE_RECORD record;
  expect_tag(r, TAG_TYPE, "a type record");
  record.number = r.uint_32();
  if (r.ok() && record.number == 0) r.fail("a type of number 0");
  record.code = r.u8();
  if (r.ok() && !is_type_code(record.code))
    return r.fail("no type record has the code " + std::to_string(record.code));
  FIELD_READER<TYPE_RECORD> fields{r, record, is_signed_type(unit, record.number)};
  type_fields(fields, record.code, unit.version);
  r.close_record();
  if (!r.ok()) return;
  std::string error;
  if (!add_type_record(unit, std::move(record), error)) return r.fail_at(start, error);
  TYPE_RECORD& entered = unit.types.back();
  keep_raw(r, unit, start, entered.raw, [&](ENCODER& e) { e.type(entered); });
}

void decode_file(READER& r, UNIT& unit) {
  size_t start = r.pos();
  FILE_NAME file;
  expect_tag(r, TAG_FILE_NAME, "a file name");
  file.name = r.str();
  r.close_record();
  keep_raw(r, unit, start, file.raw, [&](ENCODER& e) { e.file(file); });
  unit.files.push_back(std::move(file));
}

void decode_symbol(READER& r, UNIT& unit, std::vector<SYMBOL>& symbols) {
  size_t start = r.pos();
  SYMBOL s;
  if (r.peek_tag() == TAG_PRAGMA) return r.fail("a pragma without a symbol among the globals");
  expect_tag(r, TAG_SYMBOL, "a symbol");
  s.name = r.str();
  s.size = r.uint();
  s.value = r.uint();
  s.storage = r.s8();
  s.qual = int16_t(r.u16());
  s.type = r.uint_32();
  s.source_type = r.uint_32();
  s.align = r.uint();
  int pragmas = r.s8();
  if (pragmas < 0) r.fail("a symbol with a negative number of pragmas");
  s.location = r.uint();
  s.option_set = r.uint();
  s.psn = get_psn(r);
  if (unit.version >= -71) s.retention = r.u8();
  r.close_record();
  for (; pragmas > 0 && r.ok(); --pragmas)
    s.pragmas.push_back(get_pragma(r));
  keep_raw(r, unit, start, s.raw, [&](ENCODER& e) { e.symbol(s); });
  symbols.push_back(std::move(s));
}

void decode_init(READER& r, UNIT& unit) {
  size_t start = r.pos();
  INIT init;
  expect_tag(r, TAG_INIT, "an initialiser");
  init.global = r.uint();
  r.close_record();
  bool ended = false;
  while (r.ok() && !ended) {
    uint32_t root = get_tree(r, unit);
    if (!r.ok()) break;
    init.roots.push_back(root);
    ended = unit.nodes[root].op == ENDINIT;
  }
  keep_raw(r, unit, start, init.raw, [&](ENCODER& e) { e.init(init); });
  unit.inits.push_back(std::move(init));
}

void decode_item(READER& r, UNIT& unit, STREAM_STATE& state) {
  size_t start = r.pos();
  ITEM item;
  item.tag = r.peek_tag();
  bool inside = state.function != NONE;
  if (item.tag == TAG_SYMBOL) {
    std::vector<SYMBOL>& to = inside ? unit.functions[state.function].locals : unit.globals;
    decode_symbol(r, unit, to);
    to.back().level = state.level;
    to.back().in_stream = !inside;
    item.index = uint32_t(to.size() - 1);
    unit.items.push_back(item);
    return;
  }
  if (item.tag == TAG_PRAGMA) {
    item.index = append(unit.pragmas, get_pragma(r));
    keep_raw(r, unit, start, item.raw, [&](ENCODER& e) { e.item(item); });
    unit.items.push_back(item);
    return;
  }
  r.open_record();
  switch (item.tag) {
  case TAG_BEGIN_FUNC: {
    if (inside) return r.fail_at(start, "a function begins within another");
    FUNCTION function;
    item.psn = get_psn(r);
    function.global = r.uint();
    begin_function(unit, state, std::move(function));
    item.index = state.function;
    break;
  }
  case TAG_IR_FUNC: {
    if (inside) return r.fail_at(start, "a function begins within another");
    FUNCTION function;
    function.is_ir = true;
    FIELD_READER<IR_BEGIN> fields{r, function.ir};
    ir_begin_fields(fields);
    item.psn = get_psn(r);
    begin_function(unit, state, std::move(function));
    item.index = state.function;
    break;
  }
  case TAG_END_FUNC:
  case TAG_IR_END:
  case TAG_BEGIN_BLOCK:
  case TAG_END_BLOCK:
  case TAG_END_ARGS:
  case TAG_END_LOCALS:
    item.psn = get_psn(r);
    if (const char* message = step_frame(unit, state, item)) r.fail_at(start, message);
    break;
  case TAG_EXPR:
    item.psn = get_psn(r);
    r.close_record();
    if (r.peek_tag() == TAG_NODE) item.index = get_tree(r, unit);
    break;
  case TAG_LABEL:
    item.index = r.uint_32();
    if (inside) unit.functions[state.function].labels.emplace(item.index, unit.items.size());
    break;
  case TAG_FUNC_INFO: item.index = uint32_t(int32_t(r.s8())); break;
  case TAG_ASM:
    item.index = add_string(unit, r.str());
    item.psn = get_psn(r);
    break;
  case TAG_COMMENT: item.index = add_string(unit, r.str()); break;
  case TAG_LIR: item.index = add_string(unit, r.rest()); break;
  case TAG_LOOP_DEF: item.index = get_record(r, unit.loops, [](auto& v) { loop_fields(v); }); break;
  case TAG_IN_LOOP:
    item.index = get_record(r, unit.loop_uses, [](auto& v) { loop_use_fields(v); });
    break;
  case TAG_MBANK: item.index = get_record(r, unit.banks, [](auto& v) { bank_fields(v); }); break;
  case TAG_DD_EDGE: item.index = get_record(r, unit.edges, [](auto& v) { edge_fields(v); }); break;
  case TAG_DD_VECTOR: {
    DEP_VECTOR vector;
    vector.id = r.uint();
    vector.kind = r.u8();
    for (int n = r.u8(); n > 0 && r.ok(); --n) {
      uint8_t kind = r.u8();
      vector.entries.push_back({kind, r.s8()});
    }
    item.index = append(unit.vectors, std::move(vector));
    break;
  }
  case TAG_LDSPEC: {
    LOAD_SPEC spec;
    spec.id = r.uint();
    spec.form = r.u8();
    if (r.ok() && spec.form > LDSPEC_REGION)
      return r.fail("load speculation has no form " + std::to_string(spec.form));
    FIELD_READER<LOAD_SPEC> fields{r, spec};
    speculation_fields(fields, spec.form);
    if (r.ok() && !is_region_label(spec.label)) r.fail("a region's label of more than 31 bits");
    item.index = append(unit.speculations, spec);
    break;
  }
  case TAG_EHT: item.index = append(unit.exception_tables, get_exception_table(r, unit)); break;
  case TAG_FILE_NAME: return r.fail_at(start, "a file name in the function stream");
  default:
    return r.fail_at(start, "a record of tag " + std::to_string(item.tag) +
                                " has no place in the function stream");
  }
  if (item.tag != TAG_EXPR && item.tag != TAG_EHT) r.close_record();
  keep_raw(r, unit, start, item.raw, [&](ENCODER& e) { e.item(item); });
  unit.items.push_back(item);
}

std::array<uint32_t, 5> decode_header(READER& r, UNIT& unit) {
  std::array<uint32_t, 5> offsets{};
  size_t start = r.pos();
  expect_tag(r, TAG_HEADER, "a header");
  size_t at = r.pos();
  if (r.str() != "!<icode>\n" && r.ok()) r.fail_at(at, "this is no icode file");
  at = r.pos();
  unit.version = int16_t(r.u16());
  if (r.ok() && (unit.version < OLDEST_VERSION || unit.version > NEWEST_VERSION))
    r.fail_at(at, "version " + std::to_string(unit.version) + " is not between " +
                      std::to_string(OLDEST_VERSION) + " and " + std::to_string(NEWEST_VERSION));
  at = r.pos();
  int cpu = r.u16();
  if (r.ok() && cpu != CPU_ID)
    r.fail_at(at, "the CPU id is " + std::to_string(cpu) + ", not " + std::to_string(CPU_ID));
  for (uint32_t& offset : offsets)
    offset = r.u32();
  unit.source = r.str();
  if (unit.version >= -83) unit.extra_word = r.u32();
  r.close_record();
  keep_raw(r, unit, start, unit.header_raw,
           [&](ENCODER& e) { e.out.bytes = encode_header(unit, unit.version, offsets); });
  return offsets;
}

namespace {

struct REGION {
  SECTION section;
  size_t begin, end;
};

// Describes the order of regions and the bytes between them; fails where regions overlap.
void find_layout(READER& r, UNIT& unit, std::vector<REGION> regions, size_t header_end,
                 size_t file_end) {
  std::stable_sort(regions.begin(), regions.end(),
                   [](const REGION& a, const REGION& b) { return a.begin < b.begin; });
  regions.push_back({SEC_TAIL, file_end, file_end});
  size_t at = header_end;
  for (const REGION& region : regions) {
    if (region.begin < at) return r.fail_at(region.begin, "two sections overlap");
    r.seek(at);
    unit.layout.push_back({region.section, r.counted(region.begin - at)});
    at = region.end;
  }
}

} // namespace

bool decode_unit(std::span<const uint8_t> bytes, UNIT& unit, std::string& error) {
  unit = {};
  READER r(bytes);
  std::array<uint32_t, 5> offsets = decode_header(r, unit);
  size_t header_end = r.pos();
  std::vector<REGION> regions;
  auto read_section = [&](SECTION section, size_t offset, const auto& decode) {
    if (!r.ok() || (offset == 0 && section != SEC_STREAM)) return;
    r.seek(offset);
    while (r.ok() && r.peek_tag() != TAG_EOF)
      decode();
    if (r.at_end()) r.fail("a section without its end mark");
    r.open_record(); // the end mark
    regions.push_back({section, offset, r.pos()});
  };
  STREAM_STATE stream;
  read_section(SEC_OPTIONS, offsets[0], [&] { decode_options(r, unit); });
  read_section(SEC_FILES, offsets[3], [&] { decode_file(r, unit); });
  read_section(SEC_TYPES, offsets[2], [&] { decode_type(r, unit); });
  read_section(SEC_GLOBALS, offsets[4], [&] { decode_symbol(r, unit, unit.globals); });
  read_section(SEC_INITS, offsets[1], [&] { decode_init(r, unit); });
  read_section(SEC_STREAM, header_end, [&] { decode_item(r, unit, stream); });
  if (r.ok() && stream.function != NONE) r.fail("the last function has no end");
  std::string usual;
  if (r.ok()) {
    if (!encode_unit(unit, unit.version, usual, error)) return false;
    if (usual.size() != bytes.size() ||
        !std::equal(usual.begin(), usual.end(), bytes.begin(),
                    [](char a, uint8_t b) { return uint8_t(a) == b; }))
      find_layout(r, unit, std::move(regions), header_end, bytes.size());
  }
  error = r.error();
  return r.ok();
}

} // namespace icode
