#include "tools/text/parse.h"
#include "tools/text/parser.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>

namespace icode {

// --- Tokens ---

bool PARSER::take(char c) {
  if (!token().is(c)) return false;
  lexer.next();
  return true;
}

bool PARSER::take_word(std::string_view word) {
  if (!token().is_word(word)) return false;
  lexer.next();
  return true;
}

void PARSER::expected(const std::string& what) const {
  const LEXEME& t = token();
  std::string found = t.kind == T_END      ? "the end of the text"
                      : t.kind == T_STRING ? "a text"
                                           : "'" + t.text + "'";
  fail("expected " + what + ", found " + found);
}

void PARSER::expect(char c, const char* where) {
  if (!take(c)) expected(std::string("'") + c + "' " + where);
}

LEXEME PARSER::take_kind(TOKEN kind, const char* what) {
  if (token().kind != kind) expected(what);
  LEXEME t = token();
  lexer.next();
  return t;
}

std::string PARSER::take_name(const char* what) {
  return take_kind(token().kind == T_QUOTED ? T_QUOTED : T_IDENT, what).text;
}

std::string PARSER::take_bytes() {
  LEXEME t = take_kind(T_STRING, "bytes as hexadecimal digits in double quotes");
  std::string bytes;
  bool ok = t.text.size() % 2 == 0;
  for (size_t i = 0; ok && i < t.text.size(); i += 2) {
    ok = isxdigit(uint8_t(t.text[i])) && isxdigit(uint8_t(t.text[i + 1]));
    bytes += char(strtoul(t.text.substr(i, 2).c_str(), nullptr, 16));
  }
  if (!ok) fail_at(t, "expected pairs of hexadecimal digits");
  return bytes;
}

uint64_t PARSER::to_uint(const LEXEME& number, const char* what, uint64_t max) const {
  if (number.kind != T_NUMBER) fail_at(number, std::string("expected ") + what);
  char* end;
  errno = 0;
  int base = number.text.starts_with("0x") ? 16 : 10;
  uint64_t value = strtoull(number.text.c_str(), &end, base);
  if (*end) fail_at(number, std::string("expected ") + what + ", found " + number.text);
  if (number.text[0] == '-' || errno == ERANGE || value > max)
    fail_at(number, std::string("expected ") + what + " from 0 to " + std::to_string(max) +
                        ", found " + number.text);
  return value;
}

int64_t PARSER::to_sint(const LEXEME& number, const char* what) const {
  if (number.kind != T_NUMBER) fail_at(number, std::string("expected ") + what);
  char* end;
  errno = 0;
  int base = number.text.find("0x") != std::string::npos ? 16 : 10;
  int64_t value = strtoll(number.text.c_str(), &end, base);
  if (*end || errno == ERANGE)
    fail_at(number, std::string("expected ") + what + ", found " + number.text);
  return value;
}

uint64_t PARSER::take_uint(const char* what, uint64_t max) {
  uint64_t value = to_uint(token(), what, max);
  lexer.next();
  return value;
}

int64_t PARSER::take_sint(const char* what) {
  int64_t value = to_sint(token(), what);
  lexer.next();
  return value;
}

void PARSER::end_line() {
  if (!token().starts_line && !token().is('}')) expected("the end of the line");
}

// @line:column, @file:line:column with a number or a text for the file, or @- for no position
UNIT_PSN PARSER::take_psn(const UNIT_PSN& usual) {
  if (!take('@')) return usual;
  if (take('-')) return {};
  UNIT_PSN psn;
  if (token().kind == T_STRING) {
    std::string name = take_string("a file name");
    auto [it, is_new] = file_numbers.emplace(name, uint32_t(unit.files.size() + 1));
    if (is_new) unit.files.push_back({name, 0});
    current_file = it->second;
    expect(':', "behind the file name");
    psn.line = uint32_t(take_uint("a line", UINT32_MAX));
  } else {
    psn.line = uint32_t(take_uint("a line", UINT32_MAX));
  }
  expect(':', "between line and column");
  psn.column = uint32_t(take_uint("a column", UINT32_MAX));
  if (take(':')) {
    current_file = psn.line;
    psn.line = psn.column;
    psn.column = uint32_t(take_uint("a column", UINT32_MAX));
  }
  if (current_file == 0) {
    // The first position names no file, and there is none: it must be the source itself.
    if (unit.files.empty()) {
      file_numbers.emplace(unit.source, 1);
      unit.files.push_back({unit.source, 0});
    }
    current_file = 1;
  }
  psn.file = current_file;
  return psn;
}

ATTRIBUTES PARSER::take_attributes() {
  constexpr std::string_view ends[] = {"pragma", "of", "exact", "raw"};
  constexpr std::string_view types[] = {"type", "target", "class", "ctype"};
  auto is_one_of = [&](const auto& words) {
    return std::find(std::begin(words), std::end(words), token().text) != std::end(words);
  };
  ATTRIBUTES attributes;
  while (token().kind == T_IDENT && !token().starts_line && !is_one_of(ends)) {
    ATTRIBUTE a;
    a.name = token();
    bool is_type = is_one_of(types);
    lexer.next();
    if (take('=')) {
      a.has_value = true;
      a.value = token();
      if (is_type) {
        a.type = lexer.take_type_name();
        if (a.type.empty()) expected("a type");
      } else if (token().kind == T_NUMBER || token().kind == T_STRING) {
        lexer.next();
      } else {
        expected("a number or a text");
      }
    }
    if (!attributes.emplace(a.name.text, a).second)
      fail_at(a.name, a.name.text + " is given twice");
  }
  return attributes;
}

void PARSER::check_used(const ATTRIBUTES& attributes) const {
  for (const auto& [name, a] : attributes)
    if (!a.used) fail_at(a.name, "expected no " + name + " here");
}

uint32_t PARSER::keep_raw(std::string bytes) {
  unit.raws.push_back(std::move(bytes));
  return uint32_t(unit.raws.size() - 1);
}

// --- Header, options, file names ---

void PARSER::parse_header() {
  if (!take_word("icode")) expected("'icode', the version and the source file's name");
  LEXEME at = token();
  int64_t version = take_sint("a version");
  if (version < OLDEST_VERSION || version > NEWEST_VERSION)
    fail_at(at, "expected a version from " + std::to_string(OLDEST_VERSION) + " to " +
                    std::to_string(NEWEST_VERSION));
  unit.version = int(version);
  unit.source = take_string("the source file's name in double quotes");
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<UNIT> fields{*this, attributes, unit};
  fields.number("extra", &UNIT::extra_word, UINT32_MAX);
  check_used(attributes);
  end_line();
}

void PARSER::parse_layout() {
  constexpr std::string_view sections[SECTION_COUNT] = {"stream", "inits",   "options", "types",
                                                        "files",  "globals", "end"};
  while (!token().starts_line) {
    LAYOUT_PART part;
    if (token().kind == T_STRING) part.gap = take_bytes();
    auto it = std::find(std::begin(sections), std::end(sections), token().text);
    if (token().kind != T_IDENT || it == std::end(sections)) expected("a section");
    lexer.next();
    part.section = SECTION(it - std::begin(sections));
    unit.layout.push_back(std::move(part));
  }
}

void PARSER::parse_options() {
  if (take_word("raw"))
    return decode_raw("option set", [&](READER& r) { decode_options(r, unit); });
  OPTION_SET set;
  set.number = take_uint("the number of the option set");
  while (token().kind == T_STRING && !token().starts_line)
    set.options.push_back(take_string("an option"));
  unit.options.push_back(std::move(set));
}

void PARSER::parse_file() {
  if (take_word("raw"))
    decode_raw("file name", [&](READER& r) { decode_file(r, unit); });
  else
    unit.files.push_back({take_string("a file name in double quotes"), 0});
  file_numbers.emplace(unit.files.back().name, uint32_t(unit.files.size()));
  current_file = 1;
}

// --- Symbols ---

bool LOCAL_NAMES::declare(const std::string& name, uint32_t index) {
  KNOWN& known = names[name];
  if (!known.open.empty() && known.open.back().depth == scopes.size()) return false;
  known.open.push_back({scopes.size(), index});
  scopes.back().push_back(&known);
  return true;
}

void LOCAL_NAMES::close_scope() {
  for (KNOWN* known : scopes.back()) {
    known->ended = known->open.back().index;
    known->open.pop_back();
  }
  scopes.pop_back();
}

void LOCAL_NAMES::clear() {
  scopes.clear();
  names.clear();
}

const uint32_t* LOCAL_NAMES::find(const std::string& name) const {
  const auto it = names.find(name);
  if (it == names.end()) return nullptr;
  const KNOWN& known = it->second;
  if (!known.open.empty()) return &known.open.back().index;
  return known.ended == UINT32_MAX ? nullptr : &known.ended;
}

void PARSER::enter_symbol(const std::string& name, uint32_t index, const LEXEME& at) {
  const bool is_new = local_names.in_function() ? local_names.declare(name, index)
                                                : global_names.emplace(name, index).second;
  if (!is_new) fail_at(at, "the symbol " + name + " is declared already");
}

bool PARSER::find_name(const std::string& name, uint32_t& level, uint32_t& index) const {
  if (const uint32_t* local = local_names.find(name)) {
    index = *local;
    level = unit.functions[state.function].locals[index].level;
    return true;
  }
  auto it = global_names.find(name);
  if (it == global_names.end()) return false;
  level = 0;
  index = it->second;
  return true;
}

// WORD NAME ["text"]: TYPE attributes pragma(...) @position. False if no symbol begins here.
bool PARSER::parse_symbol(bool in_stream) {
  if (token().kind != T_IDENT) return false;
  bool is_local = state.function != NONE;
  int storage = storage_by_word(token().text);
  bool by_number = token().text == "symbol";
  if (storage == NO_STORAGE && !by_number) return false;
  lexer.next();
  std::vector<SYMBOL>& symbols = is_local ? unit.functions[state.function].locals : unit.globals;
  if (!is_local && !in_stream && !symbols.empty() && symbols.back().in_stream)
    fail("expected this symbol before those of the function stream");
  SYMBOL s;
  LEXEME at;
  if (by_number && take_word("raw")) {
    imply_marks(false, true);
    at = token();
    std::string name = take_name("the symbol's name");
    decode_raw("symbol", [&](READER& r) { decode_symbol(r, unit, symbols); });
    enter_symbol(name, uint32_t(symbols.size() - 1), at);
  } else {
    if (by_number) {
      expect('(', "before the storage class");
      at = token();
      int64_t number = take_sint("a storage class");
      if (number < INT8_MIN || number > INT8_MAX) fail_at(at, "expected a storage class of 8 bits");
      storage = int(number);
      expect(')', "behind the storage class");
    }
    imply_marks(storage == ST_PARAM || storage == ST_REGPARAM, true);
    at = token();
    std::string name = take_name("the symbol's name");
    s.storage = int8_t(storage);
    s.name = token().kind == T_STRING ? take_string("a name") : name;
    expect(':', "before the symbol's type");
    s.type = s.source_type = take_type();
    if (const TYPE_INFO* info = find_type(unit, s.type)) {
      s.size = info->size;
      s.align = info->align;
    }
    ATTRIBUTES attributes = take_attributes();
    FIELD_SETTER<SYMBOL> fields{*this, attributes, s};
    fields.uint("size", &SYMBOL::size);
    fields.uint("align", &SYMBOL::align);
    fields.uint("value", &SYMBOL::value);
    fields.u16("qual", &SYMBOL::qual);
    fields.ref("ctype", &SYMBOL::source_type);
    fields.uint("loc", &SYMBOL::location);
    fields.uint("opt", &SYMBOL::option_set);
    fields.u8("keep", &SYMBOL::retention);
    check_used(attributes);
    // One on a line of its own is an item of the function.
    while (!token().starts_line && take_word("pragma")) {
      PRAGMA_RECORD p;
      expect('(', "before the pragma's kind");
      p.kind = take_uint("the pragma's kind");
      while (!take(')'))
        p.args.push_back(take_string("an argument in double quotes or ')'"));
      s.pragmas.push_back(std::move(p));
    }
    s.psn = take_psn();
    symbols.push_back(std::move(s));
    enter_symbol(name, uint32_t(symbols.size() - 1), at);
  }
  symbols.back().level = state.level;
  symbols.back().in_stream = in_stream && !is_local;
  if (in_stream) {
    ITEM item;
    item.tag = TAG_SYMBOL;
    item.index = uint32_t(symbols.size() - 1);
    unit.items.push_back(item);
  }
  return true;
}

// A global by name, or [index].
uint64_t PARSER::take_global() {
  if (take('[')) {
    uint64_t index = take_uint("the index of a global symbol");
    expect(']', "behind the index");
    return index;
  }
  LEXEME at = token();
  auto it = global_names.find(take_name("a global symbol"));
  if (it == global_names.end())
    fail_at(at, "expected a global symbol, found the unknown name " + at.text);
  return it->second;
}

void PARSER::parse_init() {
  if (take_word("raw")) return decode_raw("initialiser", [&](READER& r) { decode_init(r, unit); });
  INIT init;
  init.global = take_global();
  expect('=', "behind the symbol");
  expect('{', "before the initialiser");
  bool ended = false;
  while (!take('}')) {
    if (ended) fail("expected '}' behind ENDINIT");
    if (!init.roots.empty()) expect(',', "between values");
    init.roots.push_back(parse_tree());
    ended = unit.nodes[init.roots.back()].op == ENDINIT;
  }
  if (!ended) {
    NODE end;
    end.op = ENDINIT;
    end.type = basic_type("void");
    unit.nodes.push_back(end);
    init.roots.push_back(uint32_t(unit.nodes.size() - 1));
  }
  unit.inits.push_back(std::move(init));
}

// --- The function stream ---

// The marks that end arguments and locals are left out of the text where they have no position:
// they go in front of the first record that can't come before them.
void PARSER::imply_marks(bool is_param, bool is_symbol) {
  if (open.empty()) return;
  ITEM mark;
  if (open.back().wants_end_args && !is_param) {
    mark.tag = TAG_END_ARGS;
    open.back().wants_end_args = false;
    add_item(mark);
  }
  if (open.back().wants_end_locals && !is_symbol) {
    mark.tag = TAG_END_LOCALS;
    open.back().wants_end_locals = false;
    unit.items.push_back(mark);
  }
}

// Adds an item of the frame of functions and blocks.
void PARSER::add_item(ITEM item) {
  if (const char* message = step_frame(unit, state, item)) fail(message);
  if (item.tag == TAG_END_ARGS || item.tag == TAG_BEGIN_BLOCK) local_names.open_scope();
  unit.items.push_back(item);
}

void PARSER::parse_raw_item() {
  decode_raw("record of the function stream", [&](READER& r) { decode_item(r, unit, state); });
}

// func NAME [exact] [raw BYTES | @position] {, and irfunc with its words
void PARSER::parse_function(bool is_ir) {
  if (state.function != NONE) fail("expected the end of the function before");
  FUNCTION function;
  function.is_ir = is_ir;
  if (is_ir) {
    ATTRIBUTES attributes = take_attributes();
    FIELD_SETTER<IR_BEGIN> fields{*this, attributes, function.ir};
    ir_begin_fields(fields);
    check_used(attributes);
  } else if (!token().is_word("exact") && !token().is_word("raw")) {
    function.global = take_global();
  }
  bool implied = !take_word("exact");
  if (take_word("raw")) {
    LEXEME at = token();
    parse_raw_item();
    if (unit.items.back().tag != (is_ir ? TAG_IR_FUNC : TAG_BEGIN_FUNC))
      fail_at(at, "expected the bytes of a record that begins a function");
  } else {
    ITEM item;
    item.tag = is_ir ? TAG_IR_FUNC : TAG_BEGIN_FUNC;
    item.psn = take_psn();
    begin_function(unit, state, std::move(function));
    item.index = state.function;
    unit.items.push_back(item);
  }
  expect('{', "before the function's body");
  open.push_back({implied, implied, true});
  local_names.open_scope();
}

// } [raw BYTES | @position]
void PARSER::close_scope() {
  if (open.empty()) fail("expected no '}' here");
  imply_marks(false, false);
  lexer.next();
  bool is_function = open.back().is_function;
  uint8_t tag = !is_function                           ? TAG_END_BLOCK
                : unit.functions[state.function].is_ir ? TAG_IR_END
                                                       : TAG_END_FUNC;
  open.pop_back();
  if (!token().starts_line && take_word("raw")) {
    LEXEME at = token();
    parse_raw_item();
    if (unit.items.back().tag != tag)
      fail_at(at, "expected the bytes of the record that ends this");
  } else {
    ITEM item;
    item.tag = tag;
    item.psn = take_psn();
    add_item(item);
  }
  if (is_function)
    local_names.clear();
  else
    local_names.close_scope();
}

void PARSER::parse_exception_table() {
  EXCEPTION_TABLE table;
  expect('{', "before the entries");
  while (!take('}')) {
    EHT_RECORD e;
    std::string word = take_kind(T_IDENT, "cleanup, catch, entry or '}'").text;
    e.kind = word == "cleanup" ? EHT_CLEANUP : word == "catch" ? EHT_CATCH : 0;
    ATTRIBUTES attributes = take_attributes();
    FIELD_SETTER<EHT_RECORD> fields{*this, attributes, e};
    fields.uint("id", &EHT_RECORD::id);
    fields.uint("region", &EHT_RECORD::region);
    if (e.kind != EHT_CATCH) fields.uint("link", &EHT_RECORD::link);
    if (e.kind == 0) fields.uint("kind", &EHT_RECORD::kind);
    check_used(attributes);
    if (word == "cleanup" && take(':')) e.tree = parse_tree();
    if (word == "catch") {
      expect('{', "before the catch list");
      while (!take('}')) {
        if (!e.catches.empty()) expect(',', "between the types caught");
        CATCH_ENTRY c;
        c.type_name = take_string("a type's name in double quotes");
        c.number = take_uint("a number");
        c.flag = take_word("flag");
        e.catches.push_back(std::move(c));
      }
      e.link = e.catches.size();
    }
    end_line();
    table.push_back(std::move(e));
  }
  unit.exception_tables.push_back(std::move(table));
}

void PARSER::parse_vector() {
  DEP_VECTOR v;
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<DEP_VECTOR> fields{*this, attributes, v};
  fields.uint("id", &DEP_VECTOR::id);
  fields.u8("kind", &DEP_VECTOR::kind);
  check_used(attributes);
  expect('{', "before the entries");
  while (!take('}')) {
    if (!v.entries.empty()) expect(',', "between entries");
    DEP_ENTRY e;
    e.kind = uint8_t(take_uint("an entry's kind", UINT8_MAX));
    expect(':', "before the distance");
    LEXEME at = token();
    int64_t distance = take_sint("a distance");
    if (distance < INT8_MIN || distance > INT8_MAX) fail_at(at, "expected a distance of 8 bits");
    e.distance = int8_t(distance);
    v.entries.push_back(e);
  }
  unit.vectors.push_back(std::move(v));
}

void PARSER::parse_speculation() {
  LOAD_SPEC s;
  LEXEME form = take_kind(T_IDENT, "induction, random or region");
  if (form.text == "induction")
    s.form = LDSPEC_INDUCTION;
  else if (form.text == "random")
    s.form = LDSPEC_RANDOM;
  else if (form.text != "region")
    fail_at(form, "expected induction, random or region");
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<LOAD_SPEC> fields{*this, attributes, s};
  fields.uint("id", &LOAD_SPEC::id);
  speculation_fields(fields, s.form);
  check_used(attributes);
  if (!is_region_label(s.label)) fail_at(form, "expected a label of 31 bits at most");
  unit.speculations.push_back(s);
}

void PARSER::parse_loop_use() {
  LOOP_USE use;
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<LOOP_USE> fields{*this, attributes, use};
  loop_use_fields(fields);
  check_used(attributes);
  if (take_word("of")) {
    LEXEME at = token();
    uint32_t level, index;
    if (!find_name(take_name("a symbol"), level, index))
      fail_at(at, "expected a symbol, found the unknown name " + at.text);
    use.level = level;
    use.index = index;
  }
  unit.loop_uses.push_back(use);
}

namespace {

bool is_label_name(const LEXEME& t) {
  return t.kind == T_IDENT && t.text[0] == 'L' && is_reserved_word(t.text) &&
         op_by_name(t.text) == NO_OP;
}

template <class R, class F> R take_fields(PARSER& p, const F& fields_of) {
  R record;
  ATTRIBUTES attributes = p.take_attributes();
  FIELD_SETTER<R> fields{p, attributes, record};
  fields_of(fields);
  p.check_used(attributes);
  return record;
}

} // namespace

// One statement or record of the stream, or the end of a function or block.
void PARSER::parse_item() {
  if (token().is('}')) return close_scope();
  if (take_word("func")) return parse_function(false);
  if (take_word("irfunc")) return parse_function(true);
  if (state.function != NONE && parse_symbol(true)) return;
  ITEM item;
  if (token().is_word("endargs")) {
    if (open.empty()) fail("expected no endargs outside of a function");
    lexer.next();
    open.back().wants_end_args = false;
    item.tag = TAG_END_ARGS;
    item.psn = take_psn();
    return add_item(item);
  }
  if (token().is_word("endlocals")) {
    imply_marks(false, true);
    lexer.next();
    if (!open.empty()) open.back().wants_end_locals = false;
    item.tag = TAG_END_LOCALS;
    item.psn = take_psn();
    unit.items.push_back(item);
    return;
  }
  imply_marks(false, false);
  if (take_word("raw")) {
    LEXEME at = token();
    parse_raw_item();
    switch (unit.items.back().tag) {
    case TAG_BEGIN_FUNC:
    case TAG_IR_FUNC:
    case TAG_END_FUNC:
    case TAG_IR_END:
    case TAG_BEGIN_BLOCK:
    case TAG_END_BLOCK:
    case TAG_SYMBOL:
      fail_at(at, "expected the bytes of this record behind func, irfunc, block, '}' or symbol");
    case TAG_END_ARGS: local_names.open_scope(); break;
    default: break;
    }
    return;
  }
  if (take_word("block")) {
    bool implied = !take_word("exact");
    if (state.function == NONE) fail("expected no block outside of a function");
    if (take_word("raw")) {
      LEXEME at = token();
      parse_raw_item();
      if (unit.items.back().tag != TAG_BEGIN_BLOCK)
        fail_at(at, "expected the bytes of a record that begins a block");
      local_names.open_scope();
    } else {
      item.tag = TAG_BEGIN_BLOCK;
      item.psn = take_psn();
      add_item(item);
    }
    expect('{', "before the block's body");
    open.push_back({false, implied, false});
    return;
  }
  if (is_label_name(token())) {
    LEXER ahead = lexer;
    ahead.next();
    if (ahead.current().is(':')) {
      ahead.next();
      if (ahead.current().starts_line || ahead.current().is('}')) {
        item.tag = TAG_LABEL;
        errno = 0;
        uint64_t number = strtoull(token().text.c_str() + 1, nullptr, 10);
        if (errno || number > UINT32_MAX) fail("expected a label of 32 bits at most");
        item.index = uint32_t(number);
        if (state.function != NONE)
          unit.functions[state.function].labels.emplace(item.index, unit.items.size());
        lexer = ahead;
        unit.items.push_back(item);
        return;
      }
    }
  }
  if (take_word("empty")) {
    item.tag = TAG_EXPR;
    item.psn = take_psn();
  } else if (take_word("asm")) {
    item.tag = TAG_ASM;
    item.index = add_string(unit, take_string("the text in double quotes"));
    item.psn = take_psn();
  } else if (take_word("comment")) {
    item.tag = TAG_COMMENT;
    item.index = add_string(unit, take_string("the text in double quotes"));
  } else if (take_word("info")) {
    item.tag = TAG_FUNC_INFO;
    LEXEME at = token();
    int64_t info = take_sint("a number");
    if (info < INT8_MIN || info > INT8_MAX) fail_at(at, "expected a number of 8 bits");
    item.index = uint32_t(int32_t(info));
  } else if (take_word("ir")) {
    item.tag = TAG_LIR;
    item.index = add_string(unit, take_bytes());
  } else if (take_word("pragma")) {
    item.tag = TAG_PRAGMA;
    PRAGMA_RECORD p;
    p.kind = take_uint("the pragma's kind");
    while (token().kind == T_STRING && !token().starts_line)
      p.args.push_back(take_string("an argument"));
    item.index = append(unit.pragmas, std::move(p));
  } else if (take_word("loop")) {
    item.tag = TAG_LOOP_DEF;
    item.index = append(unit.loops, take_fields<LOOP_DEF>(*this, [](auto& v) { loop_fields(v); }));
  } else if (take_word("inloop")) {
    item.tag = TAG_IN_LOOP;
    parse_loop_use();
    item.index = uint32_t(unit.loop_uses.size() - 1);
  } else if (take_word("mbank")) {
    item.tag = TAG_MBANK;
    item.index = append(unit.banks, take_fields<MEM_BANK>(*this, [](auto& v) { bank_fields(v); }));
  } else if (take_word("edge")) {
    item.tag = TAG_DD_EDGE;
    item.index = append(unit.edges, take_fields<DEP_EDGE>(*this, [](auto& v) { edge_fields(v); }));
  } else if (take_word("vector")) {
    item.tag = TAG_DD_VECTOR;
    parse_vector();
    item.index = uint32_t(unit.vectors.size() - 1);
  } else if (take_word("spec")) {
    item.tag = TAG_LDSPEC;
    parse_speculation();
    item.index = uint32_t(unit.speculations.size() - 1);
  } else if (take_word("eht")) {
    item.tag = TAG_EHT;
    parse_exception_table();
    item.index = uint32_t(unit.exception_tables.size() - 1);
  } else {
    if (token().kind == T_IDENT && is_reserved_word(token().text) &&
        op_by_name(token().text) == NO_OP && !is_label_name(token()))
      expected("a statement");
    item.tag = TAG_EXPR;
    item.index = parse_tree();
    item.psn = take_psn();
  }
  unit.items.push_back(item);
}

void PARSER::parse_unit() {
  parse_header();
  while (token().kind != T_END) {
    if (state.function != NONE) {
      parse_item();
    } else if (take_word("header")) {
      if (!take_word("raw")) expected("'raw'");
      UNIT header;
      decode_raw("header", [&](READER& r) { decode_header(r, header); });
      if (header.header_raw) unit.header_raw = keep_raw(header.raws[header.header_raw]);
    } else if (take_word("layout")) {
      parse_layout();
    } else if (take_word("options")) {
      parse_options();
    } else if (take_word("file")) {
      parse_file();
    } else if (take_word("type")) {
      parse_type();
    } else if (take_word("define")) {
      parse_define();
    } else if (take_word("record")) {
      parse_record();
    } else if (take_word("init")) {
      parse_init();
    } else if (take_word("here")) {
      if (!parse_symbol(true)) expected("a symbol");
    } else if (!parse_symbol(false)) {
      parse_item();
    }
    end_line();
  }
  if (state.function != NONE) expected("'}' at the end of the function");
}

bool parse_text(std::string_view text, const std::string& file_name, UNIT& unit,
                std::string& error) {
  unit = {};
  try {
    PARSER parser{LEXER(text), unit};
    parser.parse_unit();
    return true;
  } catch (const TEXT_ERROR& e) {
    error = file_name + ":" + std::to_string(e.line) + ":" + std::to_string(e.column) +
            ": error: " + e.message;
    return false;
  }
}

} // namespace icode
