// Types of the text form. A type record is added behind the types that its line mentions, which are
// declared on the way where their names tell what they are: `int`, `struct.node*`, `const.int[4]`.
#include "tools/text/parser.h"

#include <algorithm>

namespace icode {

namespace {

constexpr size_t MAX_TYPE_NAME = 1000; // each part of a name costs a copy of it
constexpr size_t DATA_MEMBERS_BIT = 5; // in TYPE_RECORD::lists

struct QUALIFIER_WORD {
  std::string_view word;
  uint32_t bit;
};
constexpr QUALIFIER_WORD QUALIFIERS[] = {
    {"const", QUAL_CONST}, {"volatile", QUAL_VOLATILE}, {"restrict", QUAL_RESTRICT}};

// Takes one layer of derivation off a type's name; the record gets all but its target. False if the
// name shows none.
bool peel(std::string& name, TYPE_RECORD& layer) {
  layer = {};
  char last = name.back();
  if (last == '*' || last == '&') {
    layer.code = last == '*' ? TC_POINTER : TC_REFERENCE;
    name.pop_back();
    return !name.empty();
  }
  if (last == ']' || last == '>') {
    size_t open = name.rfind(last == ']' ? '[' : '<');
    if (open == std::string::npos || open == 0) return false;
    std::string count = name.substr(open + 1, name.size() - open - 2);
    if (!is_bare_integer(count) || count[0] == '-' || count.size() > 18) return false;
    layer.code = TC_ARRAY;
    layer.count = std::stoull(count);
    layer.is_vector = last == '>';
    name.erase(open);
    return true;
  }
  for (const QUALIFIER_WORD& q : QUALIFIERS) {
    layer.code = TC_QUALIFIED;
    layer.count = q.bit;
    std::string front = std::string(q.word) + ".", behind = "." + std::string(q.word);
    if (name.size() > behind.size() && name.ends_with(behind)) {
      name.erase(name.size() - behind.size());
      return true;
    }
    if (name.size() > front.size() && name.starts_with(front)) {
      name.erase(0, front.size());
      return true;
    }
  }
  return false;
}

uint32_t free_number(const PARSER& p) {
  uint32_t number = p.names.last_number + 1;
  while (find_type(p.unit, number) || number == 0)
    ++number;
  return number;
}

// Adds a type that the text uses without declaring it.
uint32_t declare_implied(PARSER& p, const TYPE_RECORD& layer, const std::string& name,
                         const LEXEME& at) {
  bool is_vector = layer.is_vector;
  TYPE_RECORD r = default_record(p.unit, layer);
  r.is_vector = is_vector;
  if (layer.code == TC_QUALIFIED) r.count = layer.count;
  r.number = free_number(p);
  p.add_record(r, at);
  declare_type(p.names, r, name);
  return r.number;
}

} // namespace

void PARSER::add_record(TYPE_RECORD record, const LEXEME& at) {
  if (record.code == TC_MEMBER)
    member_numbers.emplace(std::to_string(record.number) + "." + record.name, record.count);
  std::string error;
  if (!add_type_record(unit, std::move(record), error)) fail_at(at, error);
}

uint32_t PARSER::type_by_name(const std::string& name, const LEXEME& at) {
  if (name == "-") return 0;
  auto it = names.by_name.find(name);
  if (it != names.by_name.end()) return it->second;
  uint32_t number = number_in_type_name(name);
  if (number != NONE) return number;
  if (name.size() > MAX_TYPE_NAME) fail_at(at, "the name of this type is too long");
  // Down to a name that is known, then up again.
  struct LAYER {
    TYPE_RECORD record;
    std::string name;
  };
  std::vector<LAYER> layers;
  std::string rest = name;
  while ((it = names.by_name.find(rest)) == names.by_name.end()) {
    LAYER layer;
    layer.name = rest;
    if (form_by_word(rest, layer.record) && is_basic_code(layer.record.code)) {
      number = declare_implied(*this, layer.record, rest, at);
      break;
    }
    if ((number = number_in_type_name(rest)) != NONE) break;
    if (!peel(rest, layer.record)) fail_at(at, "expected a type, found the unknown name " + name);
    layers.push_back(std::move(layer));
  }
  if (it != names.by_name.end()) number = it->second;
  for (; !layers.empty(); layers.pop_back()) {
    layers.back().record.ref = number;
    number = declare_implied(*this, layers.back().record, layers.back().name, at);
  }
  return number;
}

uint32_t PARSER::basic_type(const char* name) {
  return type_by_name(name, token());
}

uint32_t PARSER::pointer_type(uint32_t target) {
  TYPE_RECORD pointer;
  pointer.code = TC_POINTER;
  pointer.ref = target;
  TYPE_RECORD shape = pointer;
  shape.number = free_number(*this);
  return declare_implied(*this, pointer, make_type_name(names, shape), token());
}

uint32_t PARSER::take_type() {
  LEXEME at = token();
  std::string name = lexer.take_type_name();
  if (name.empty()) fail_at(at, "expected a type");
  return type_by_name(name, at);
}

namespace {

TYPE_RECORD take_param(PARSER& p) {
  TYPE_RECORD r;
  r.code = TC_PARAM;
  r.ref = p.take_type();
  bool is_attribute = p.token().is_word("flags") || p.token().is_word("flag1");
  if (p.token().kind == T_QUOTED || (p.token().kind == T_IDENT && !is_attribute))
    r.name = p.take_name("a parameter's name");
  ATTRIBUTES attributes = p.take_attributes();
  FIELD_SETTER<TYPE_RECORD> fields{p, attributes, r};
  type_fields(fields, r.code, p.text_version());
  p.check_used(attributes);
  return r;
}

// A list of elements as records, the list marks included.
void add_list(PARSER& p, uint32_t number, int8_t kind, std::vector<TYPE_RECORD>& elements,
              size_t begin, size_t end, const LEXEME& at) {
  TYPE_RECORD mark;
  mark.number = number;
  mark.code = TC_LIST_HEADER;
  mark.list = kind;
  p.add_record(mark, at);
  for (size_t i = begin; i < end; i++) {
    elements[i].number = number;
    p.add_record(std::move(elements[i]), at);
  }
  mark.code = TC_LIST_TRAILER;
  p.add_record(mark, at);
}

// An element of a class: "name: type ...", or one of another list behind its word.
TYPE_RECORD take_element(PARSER& p, const TYPE_RECORD& owner, const TYPE_RECORD* before) {
  TYPE_RECORD r;
  std::string name;
  bool may_be_word = p.token().kind == T_IDENT;
  if (may_be_word && p.token().text == "param") {
    p.lexer.next();
    return take_param(p);
  }
  name = p.token().text;
  if (may_be_word && name == "static")
    p.lexer.next();
  else
    name = p.take_name("a member");
  if (p.take(':')) {
    r.code = TC_MEMBER;
    r.name = name;
  } else if (!may_be_word || !form_by_word(name, r) || r.code < TC_MEMBER ||
             r.code > TC_MEMBER_FUNC) {
    p.expected("':' and the member's type");
  } else if (r.code == TC_FRIEND_FUNC || r.code == TC_STATIC_MEMBER || r.code == TC_MEMBER_FUNC) {
    r.name = p.take_name("a name");
    p.expect(':', "behind the name");
  }
  if (r.code != TC_ACCESS_DECL) r.ref = p.take_type();
  if (r.code == TC_MEMBER) r.count = before ? before->count + 1 : 1;
  ATTRIBUTES attributes = p.take_attributes();
  FIELD_SETTER<TYPE_RECORD> fields{p, attributes, r};
  type_fields(fields, r.code, p.text_version());
  p.check_used(attributes);
  if (r.code == TC_MEMBER && !attributes.count("at"))
    r.offset = default_member_offset(p.unit, owner.kind == CLASS_KIND_UNION, before, r);
  return r;
}

// The members' extent, for a class without a size of its own.
void measure(const UNIT& unit, const std::vector<TYPE_RECORD>& elements, TYPE_RECORD& r) {
  r.align = 16;
  r.size = 0;
  for (const TYPE_RECORD& e : elements) {
    const TYPE_INFO* type = e.code == TC_MEMBER ? find_type(unit, e.ref) : nullptr;
    if (!type) continue;
    r.align = std::max(r.align, type->align);
    r.size = std::max(r.size, uint64_t(e.offset) + (e.bit_size ? e.bit_size : type->size));
  }
  r.size = (r.size + r.align - 1) / r.align * r.align;
}

// The elements in braces and the long form. `r` has the long form's fields but for its lists;
// `short_form` is the record to complete, or NONE.
void take_class_body(PARSER& p, TYPE_RECORD r, bool lists_given, uint32_t short_form,
                     bool size_wanted, const LEXEME& at) {
  std::vector<TYPE_RECORD> elements;
  size_t last_member = SIZE_MAX;
  uint16_t lists = 0;
  if (p.take('{')) {
    while (!p.take('}')) {
      const TYPE_RECORD* before = last_member == SIZE_MAX ? nullptr : &elements[last_member];
      TYPE_RECORD e = take_element(p, r, before);
      auto bit = std::find(LONG_FORM_LISTS.begin(), LONG_FORM_LISTS.end(), list_of_element(e.code));
      lists = uint16_t(lists | 1 << (bit - LONG_FORM_LISTS.begin()));
      if (e.code == TC_MEMBER) last_member = elements.size();
      elements.push_back(std::move(e));
      if (!p.take(',') && !p.token().is('}') && !p.token().starts_line)
        p.expected("',', '}' or the end of the line");
    }
  }
  if (!lists_given) r.lists = lists;
  if (size_wanted) {
    measure(p.unit, elements, r);
    TYPE_RECORD& s = p.unit.types[short_form];
    TYPE_INFO& info = p.unit.type_info[r.number];
    info.size = s.size = r.size;
    info.align = s.align = r.align;
  }
  if (short_form != NONE) p.unit.types[short_form].has_data = r.lists >> DATA_MEMBERS_BIT & 1;
  bool is_new = !find_type(p.unit, r.number);
  p.add_record(r, at);
  if (is_new) declare_type(p.names, r, "t" + std::to_string(r.number));
  for (size_t i = 0; i < elements.size();) {
    const auto kind = static_cast<int8_t>(list_of_element(elements[i].code));
    size_t end = i;
    while (end < elements.size() && list_of_element(elements[end].code) == kind)
      ++end;
    add_list(p, r.number, kind, elements, i, end, at);
    i = end;
  }
}

} // namespace

// type [NUMBER] NAME = FORM ...
void PARSER::parse_type() {
  if (take_word("raw")) {
    decode_raw("type record", [&](READER& r) { decode_type(r, unit); });
    const TYPE_RECORD& record = unit.types.back();
    if (record.code == TC_MEMBER)
      member_numbers.emplace(std::to_string(record.number) + "." + record.name, record.count);
    bool defines = find_type(unit, record.number) &&
                   unit.type_info[record.number].record == unit.types.size() - 1;
    if (defines && !names.by_number.count(record.number))
      declare_type(names, record, "t" + std::to_string(record.number));
    return;
  }
  uint64_t number = 0;
  if (token().kind == T_NUMBER) number = take_uint("a type number", NONE - 1);
  LEXEME at = token();
  std::string name = lexer.take_type_name();
  if (name.empty() || name == "-") fail_at(at, "expected the type's name");
  if (names.by_name.count(name)) fail_at(at, "the type " + name + " is declared already");
  if (number_in_type_name(name) != NONE)
    fail_at(at, "the name " + name + " stands for a type number");
  expect('=', "behind the type's name");
  TYPE_RECORD r;
  LEXEME word = token();
  if (word.kind != T_IDENT || !form_by_word(word.text, r) || !is_definition_code(r.code))
    expected("a form of type (int, ptr, struct, fn, ...)");
  lexer.next();
  uint64_t words = 0;
  switch (r.code) {
  case TC_PTM:
    r.ref = take_type();
    r.ref2 = take_type();
    break;
  case TC_ARRAY:
    r.ref = take_type();
    r.count = take_uint("the number of elements");
    break;
  case TC_QUALIFIED:
    r.ref = take_type();
    for (const QUALIFIER_WORD& q : QUALIFIERS)
      if (take_word(q.word)) words |= q.bit;
    break;
  case TC_POINTER:
  case TC_REFERENCE:
  case TC_COMPLEX:
  case TC_FIXED:
  case TC_TYPEDEF:
  case TC_FUNC:
  case TC_ENUM: r.ref = take_type(); break;
  default: break;
  }
  std::vector<TYPE_RECORD> elements;
  bool has_list = false;
  if (r.code == TC_FUNC && take('(')) {
    has_list = true;
    while (!take(')')) {
      if (!elements.empty()) expect(',', "between parameters");
      elements.push_back(take_param(*this));
    }
  }
  TYPE_RECORD d = default_record(unit, r);
  if (r.code == TC_QUALIFIED) d.count = words;
  d.name = default_type_text(r, name);
  bool is_named = r.code == TC_TYPEDEF || r.code == TC_ENUM || r.code == TC_CSU_SHORT;
  if (is_named && token().kind == T_STRING) d.name = take_string("a name");
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<TYPE_RECORD> fields{*this, attributes, d};
  type_fields(fields, r.code, text_version());
  check_used(attributes);
  if (r.code == TC_ENUM && take('{')) {
    has_list = true;
    int64_t next = 0;
    while (!take('}')) {
      TYPE_RECORD e;
      e.code = TC_ENUMERATOR;
      e.name = take_name("an enumerator");
      if (take('=')) next = take_sint("the enumerator's value");
      e.value = uint64_t(next);
      next = int64_t(e.value + 1);
      e.psn = take_psn();
      elements.push_back(std::move(e));
      if (!take(',') && !token().is('}') && !token().starts_line)
        expected("',', '}' or the end of the line");
    }
  }
  d.number = number ? uint32_t(number) : free_number(*this);
  add_record(d, at);
  declare_type(names, d, name);
  if (has_list)
    add_list(*this, d.number, r.code == TC_FUNC ? TL_PARAMS : TL_ENUMERATORS, elements, 0,
             elements.size(), at);
  if (r.code != TC_CSU_SHORT) return;
  auto record = uint32_t(unit.types.size() - 1);
  bool has_data_open = !attributes.count("has_data");
  if (!token().is('{')) {
    if (has_data_open) open_shorts[d.number] = record;
    return;
  }
  d.code = TC_CSU_LONG;
  d.count = 0;
  bool size_wanted = !attributes.count("size") && !attributes.count("align");
  bool completes = has_data_open || size_wanted;
  bool has_data = d.has_data;
  take_class_body(*this, d, false, completes ? record : NONE, size_wanted, at);
  if (!has_data_open) unit.types[record].has_data = has_data;
}

// define TYPE ["name"] ... { elements }
void PARSER::parse_define() {
  LEXEME at = token();
  uint32_t number = take_type();
  if (number == 0) fail_at(at, "expected a class");
  const TYPE_INFO* info = find_type(unit, number);
  if (info && unit.types[info->record].code != TC_CSU_SHORT)
    fail_at(at, "only a class declared before and not defined yet can be defined");
  TYPE_RECORD r;
  r.code = TC_CSU_LONG;
  r.kind = CLASS_KIND_CLASS;
  r = info ? unit.types[info->record] : default_record(unit, r);
  r.number = number;
  r.code = TC_CSU_LONG;
  r.count = 0;
  r.raw = 0;
  if (token().kind == T_STRING) r.name = take_string("a name");
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<TYPE_RECORD> fields{*this, attributes, r};
  type_fields(fields, r.code, text_version());
  check_used(attributes);
  auto short_form = open_shorts.find(number);
  take_class_body(*this, r, attributes.count("lists"),
                  short_form == open_shorts.end() ? NONE : short_form->second, false, at);
}

// record TYPE WORD field=value ...: one element or list mark by itself
void PARSER::parse_record() {
  LEXEME at = token();
  TYPE_RECORD r;
  r.number = take_type();
  if (r.number == 0) fail_at(at, "expected a type");
  TYPE_RECORD form;
  LEXEME word = token();
  if (word.kind != T_IDENT || !form_by_word(word.text, form) || is_definition_code(form.code))
    expected("an element (member, param, etor, ...), listbegin or listend");
  lexer.next();
  r.code = form.code;
  ATTRIBUTES attributes = take_attributes();
  FIELD_SETTER<TYPE_RECORD> fields{*this, attributes, r};
  type_fields(fields, r.code, text_version());
  check_used(attributes);
  add_record(r, at);
}

} // namespace icode
