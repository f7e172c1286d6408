// The parser's state and its parts: ict_parse.cpp has the whole and the function stream,
// ict_parse_types.cpp the types, ict_parse_trees.cpp the trees.
#pragma once

#include "tools/text/lexer.h"
#include "tools/text/names.h"
#include "tools/unit/records.h"

#include <map>

namespace icode {

// NAME=VALUE items and flags behind a record's main parts, by name.
struct ATTRIBUTE {
  LEXEME name;
  LEXEME value;
  bool has_value = false;
  std::string type; // the value of an attribute that is a type
  bool used = false;
};
using ATTRIBUTES = std::map<std::string, ATTRIBUTE>;

// Names of a function's symbols by scope. Found are the innermost declaration in an open scope,
// else that of the scope that ended last: code that was moved out of a block may still use its
// names.
class LOCAL_NAMES {
public:
  bool in_function() const { return !scopes.empty(); }
  void open_scope() { scopes.emplace_back(); }
  void close_scope();
  void clear();
  bool declare(const std::string& name, uint32_t index); // false: the scope has that name
  const uint32_t* find(const std::string& name) const;

private:
  struct DECLARATION {
    size_t depth;
    uint32_t index;
  };
  struct KNOWN {
    std::vector<DECLARATION> open; // innermost last
    uint32_t ended = UINT32_MAX;
  };
  std::unordered_map<std::string, KNOWN> names = {};
  std::vector<std::vector<KNOWN*>> scopes = {}; // what each open one declares
};

// What a function or block still waits for: marks that the text may leave out.
struct OPEN_SCOPE {
  bool wants_end_args = false;
  bool wants_end_locals = false;
  bool is_function = false;
};

struct PARSER {
  LEXER lexer;
  UNIT& unit;
  TYPE_NAMES names = {};
  uint32_t current_file = 0;
  std::unordered_map<std::string, uint32_t> file_numbers = {};
  std::unordered_map<std::string, uint32_t> global_names = {};
  LOCAL_NAMES local_names = {};
  std::vector<OPEN_SCOPE> open = {};
  STREAM_STATE state = {};
  // Short forms whose mark "has data members" waits for the class's definition.
  std::unordered_map<uint32_t, uint32_t> open_shorts = {};
  std::unordered_map<std::string, uint64_t> member_numbers = {}; // by class number and name

  // --- Tokens (ict_parse.cpp) ---
  const LEXEME& token() const { return lexer.current(); }
  bool take(char c);
  bool take_word(std::string_view word);
  void expect(char c, const char* where);
  LEXEME take_kind(TOKEN kind, const char* what);
  std::string take_string(const char* what) { return take_kind(T_STRING, what).text; }
  std::string take_name(const char* what); // bare or in single quotes
  std::string take_bytes();                // a string of hexadecimal digits
  uint64_t take_uint(const char* what, uint64_t max = UINT64_MAX);
  int64_t take_sint(const char* what);
  uint64_t to_uint(const LEXEME& number, const char* what, uint64_t max = UINT64_MAX) const;
  int64_t to_sint(const LEXEME& number, const char* what) const;
  [[noreturn]] void fail(const std::string& message) const { lexer.fail(message); }
  [[noreturn]] void fail_at(const LEXEME& at, const std::string& message) const {
    throw TEXT_ERROR{at.line, at.column, message};
  }
  [[noreturn]] void expected(const std::string& what) const;
  void end_line(); // fails unless the next token begins a line or closes a brace
  UNIT_PSN take_psn(const UNIT_PSN& usual = {});
  ATTRIBUTES take_attributes();
  void check_used(const ATTRIBUTES& attributes) const;
  // Runs a decoder over the bytes of a raw record, which the text gives next.
  template <class F> void decode_raw(const char* what, const F& decode) {
    LEXEME at = token();
    std::string bytes = take_bytes();
    READER r({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    decode(r);
    if (r.ok() && !r.at_end()) r.fail("bytes left over");
    if (!r.ok()) fail_at(at, std::string("these bytes are no ") + what + ": " + r.error());
  }
  uint32_t keep_raw(std::string bytes);
  // The version whose fields a text may give: all there are, also those that the unit's version
  // drops. Two versions have a field that no other has.
  int text_version() const {
    constexpr int WITH_SPARE_BOOL = -74;
    bool has_spare_bool = unit.version == WITH_SPARE_BOOL || unit.version == WITH_SPARE_BOOL - 1;
    return has_spare_bool ? WITH_SPARE_BOOL : NEWEST_VERSION;
  }

  // --- Types (ict_parse_types.cpp) ---
  uint32_t take_type();
  uint32_t type_by_name(const std::string& name, const LEXEME& at);
  uint32_t basic_type(const char* name);
  uint32_t pointer_type(uint32_t target);
  void parse_type();
  void parse_define();
  void parse_record();
  void add_record(TYPE_RECORD record, const LEXEME& at);

  // --- Trees (ict_parse_trees.cpp) ---
  uint32_t parse_tree();

  // --- Sections and the function stream (ict_parse.cpp) ---
  void parse_unit();
  void parse_header();
  void parse_layout();
  void parse_options();
  void parse_file();
  bool parse_symbol(bool in_stream);
  void parse_init();
  void parse_item();
  void parse_function(bool is_ir);
  void close_scope();
  void imply_marks(bool is_param, bool is_symbol);
  void add_item(ITEM item);
  void parse_raw_item();
  void parse_exception_table();
  void parse_vector();
  void parse_speculation();
  void parse_loop_use();
  void enter_symbol(const std::string& name, uint32_t index, const LEXEME& at);
  // The level and index that a name stands for. False for an unknown one.
  bool find_name(const std::string& name, uint32_t& level, uint32_t& index) const;
  uint64_t take_global();
};

// Visitor that sets fields from attributes; what isn't given stays.
template <class R> struct FIELD_SETTER {
  PARSER& p;
  ATTRIBUTES& attributes;
  R& r;
  bool psn_given = false;

  ATTRIBUTE* find(const char* name) {
    auto it = attributes.find(name);
    if (it == attributes.end()) return nullptr;
    it->second.used = true;
    return &it->second;
  }
  const LEXEME& value(const ATTRIBUTE& a) {
    if (!a.has_value) p.fail_at(a.name, "expected = and a value behind " + a.name.text);
    return a.value;
  }
  template <class F> void number(const char* name, F R::*f, uint64_t max) {
    if (ATTRIBUTE* a = find(name)) r.*f = F(p.to_uint(value(*a), "a number", max));
  }
  template <class F> void u8(const char* name, F R::*f) { number(name, f, UINT8_MAX); }
  template <class F> void u16(const char* name, F R::*f) { number(name, f, UINT16_MAX); }
  template <class F> void uint(const char* name, F R::*f) { number(name, f, UINT64_MAX); }
  template <class F> void lists(const char* name, F R::*f) { number(name, f, 0x1ff); }
  template <class F> void sint(const char* name, F R::*f) {
    if (ATTRIBUTE* a = find(name)) r.*f = F(p.to_sint(value(*a), "a number"));
  }
  template <class F> void wide_sint(const char* name, F R::*f) { sint(name, f); }
  template <class F> void s8(const char* name, F R::*f) {
    ATTRIBUTE* a = find(name);
    if (!a) return;
    int64_t v = p.to_sint(value(*a), "a number");
    if (v < INT8_MIN || v > INT8_MAX) p.fail_at(a->value, "expected a number of 8 bits");
    r.*f = F(v);
  }
  template <class F> void value(const char* name, F R::*f) { sint(name, f); }
  template <class F> void boolean(const char* name, F R::*f) {
    if (ATTRIBUTE* a = find(name)) r.*f = !a->has_value || p.to_uint(a->value, "0 or 1", 1) != 0;
  }
  template <class F> void ref(const char* name, F R::*f) {
    ATTRIBUTE* a = find(name);
    if (!a) return;
    value(*a);
    r.*f = p.type_by_name(a->type, a->value);
  }
  template <class F> void str(const char* name, F R::*f) {
    ATTRIBUTE* a = find(name);
    if (!a) return;
    if (value(*a).kind != T_STRING) p.fail_at(a->value, "expected a text in double quotes");
    r.*f = a->value.text;
  }
  template <class F> void psn(F R::*f) { r.*f = p.take_psn(r.*f); }
};

} // namespace icode
