#include "tools/text/names.h"
#include "ifile/text_words.h"
#include "tools/text/lexer.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace icode {

namespace {

struct BASIC_TYPE {
  const char* word;
  uint8_t code;
  uint16_t size, align;
  bool is_signed;
};

constexpr BASIC_TYPE BASIC_TYPES[] = {
    {"bool", TC_BOOL, 16, 16, false},       {"schar", TC_SCHAR, 16, 16, true},
    {"uchar", TC_UCHAR, 16, 16, false},     {"wchar", TC_WCHAR, 16, 16, false},
    {"short", TC_SHORT, 16, 16, true},      {"ushort", TC_USHORT, 16, 16, false},
    {"int", TC_INT, 16, 16, true},          {"uint", TC_UINT, 16, 16, false},
    {"long", TC_LONG, 32, 32, true},        {"ulong", TC_ULONG, 32, 32, false},
    {"llong", TC_LLONG, 64, 32, true},      {"ullong", TC_ULLONG, 64, 32, false},
    {"float", TC_FLOAT, 32, 32, false},     {"double", TC_DOUBLE, 64, 32, false},
    {"ldouble", TC_LDOUBLE, 64, 32, false}, {"void", TC_VOID, 0, 0, false},
};

struct FORM_WORD {
  const char* word;
  uint8_t code;
};

constexpr FORM_WORD FORM_WORDS[] = {
    {"unknown", TC_UNKNOWN},
    {"fixed", TC_FIXED},
    {"typedef", TC_TYPEDEF},
    {"ptr", TC_POINTER},
    {"ref", TC_REFERENCE},
    {"qual", TC_QUALIFIED},
    {"array", TC_ARRAY},
    {"ptm", TC_PTM},
    {"fn", TC_FUNC},
    {"enum", TC_ENUM},
    {"complex", TC_COMPLEX},
    {"param", TC_PARAM},
    {"etor", TC_ENUMERATOR},
    {"member", TC_MEMBER},
    {"base", TC_BASE_CLASS},
    {"adecl", TC_ACCESS_DECL},
    {"friendfn", TC_FRIEND_FUNC},
    {"friend", TC_FRIEND_CLASS},
    {"nested", TC_NESTED_TYPE},
    {"static", TC_STATIC_MEMBER},
    {"method", TC_MEMBER_FUNC},
    {"listbegin", TC_LIST_HEADER},
    {"listend", TC_LIST_TRAILER},
};

const BASIC_TYPE* basic_type(uint8_t code) {
  for (const BASIC_TYPE& b : BASIC_TYPES)
    if (b.code == code) return &b;
  return nullptr;
}

const char* class_word(uint8_t kind) {
  return kind == CLASS_KIND_STRUCT ? "struct" : kind == CLASS_KIND_UNION ? "union" : "class";
}

std::string cleaned(std::string_view text) {
  std::string out;
  for (char c : text)
    out += isalnum(uint8_t(c)) || c == '_' || c == '$' ? c : '_';
  return out.empty() ? "anon" : out;
}

std::string qualifier_text(uint64_t bits) {
  std::string out;
  auto add = [&](const std::string& word) { out += (out.empty() ? "" : ".") + word; };
  if (bits & QUAL_CONST) add("const");
  if (bits & QUAL_VOLATILE) add("volatile");
  if (bits & QUAL_RESTRICT) add("restrict");
  if (uint64_t other = bits & ~uint64_t(QUAL_CONST | QUAL_VOLATILE | QUAL_RESTRICT); other || !bits)
    add("qual" + std::to_string(other));
  return out;
}

std::string wanted_type_name(const TYPE_NAMES& names, const TYPE_RECORD& r) {
  if (const BASIC_TYPE* basic = basic_type(r.code)) return basic->word;
  std::string target = type_name(names, r.ref);
  if (target == "-") target = "none";
  switch (r.code) {
  case TC_POINTER: return target + "*";
  case TC_REFERENCE: return target + "&";
  case TC_QUALIFIED:
    // A qualifier of something derived stands behind it: `int*.const`.
    return isalnum(uint8_t(target.back())) || target.back() == '_' || target.back() == '$'
               ? qualifier_text(r.count) + "." + target
               : target + "." + qualifier_text(r.count);
  case TC_ARRAY:
    return target + (r.is_vector ? "<" : "[") + std::to_string(r.count) + (r.is_vector ? ">" : "]");
  case TC_TYPEDEF: return cleaned(r.name);
  case TC_ENUM: return "enum." + cleaned(r.name);
  case TC_CSU_SHORT:
  case TC_CSU_LONG: return class_word(r.kind) + ("." + cleaned(r.name));
  default: return std::string(form_word(r)) + "." + target;
  }
}

// A name for people stops being one at some length; and a chain of derived types would add up.
constexpr size_t MAX_TYPE_NAME = 60;

} // namespace

void declare_type(TYPE_NAMES& names, const TYPE_RECORD& r, const std::string& name) {
  names.by_name.emplace(name, r.number);
  names.by_number.emplace(r.number, name);
  if (r.code == TC_POINTER) names.pointer_to.emplace(r.ref, r.number);
  names.last_number = r.number;
}

std::string make_type_name(const TYPE_NAMES& names, const TYPE_RECORD& r) {
  std::string name = wanted_type_name(names, r);
  if (name.size() > MAX_TYPE_NAME) name = form_word(r);
  bool taken = names.by_name.count(name) || number_in_type_name(name) != NONE ||
               isdigit(uint8_t(name[0])) ||
               (r.code == TC_TYPEDEF && std::any_of(std::begin(BASIC_TYPES), std::end(BASIC_TYPES),
                                                    [&](auto& b) { return name == b.word; }));
  // The type's number makes any name a free one, as long as no other name ends that way.
  if (taken)
    name = (isdigit(uint8_t(name[0])) ? "t." + name : name) + "." + std::to_string(r.number);
  while (names.by_name.count(name))
    name += ".x";
  return name;
}

std::string type_name(const TYPE_NAMES& names, uint32_t number) {
  if (number == 0) return "-";
  auto it = names.by_number.find(number);
  return it != names.by_number.end() ? it->second : "t" + std::to_string(number);
}

uint32_t number_in_type_name(std::string_view name) {
  if (name.size() < 2 || name.size() > 11 || name[0] != 't' || name[1] == '0') return NONE;
  uint64_t number = 0;
  for (char c : name.substr(1)) {
    if (!isdigit(uint8_t(c))) return NONE;
    number = number * 10 + uint64_t(c - '0');
  }
  return number <= UINT32_MAX ? uint32_t(number) : NONE;
}

const char* form_word(const TYPE_RECORD& r) {
  if (r.code == TC_CSU_SHORT || r.code == TC_CSU_LONG) return class_word(r.kind);
  if (const BASIC_TYPE* basic = basic_type(r.code)) return basic->word;
  for (const FORM_WORD& f : FORM_WORDS)
    if (f.code == r.code) return f.word;
  return nullptr;
}

bool form_by_word(std::string_view word, TYPE_RECORD& r) {
  for (uint8_t kind : {CLASS_KIND_CLASS, CLASS_KIND_STRUCT, CLASS_KIND_UNION})
    if (word == class_word(kind)) {
      r.code = TC_CSU_SHORT;
      r.kind = kind;
      return true;
    }
  for (const BASIC_TYPE& b : BASIC_TYPES)
    if (word == b.word) {
      r.code = b.code;
      return true;
    }
  for (const FORM_WORD& f : FORM_WORDS)
    if (word == f.word) {
      r.code = f.code;
      return true;
    }
  return false;
}

bool is_basic_code(uint8_t code) {
  return basic_type(code) != nullptr;
}

std::string default_type_text(const TYPE_RECORD& r, const std::string& type_name) {
  if (r.code == TC_TYPEDEF) return type_name;
  if (r.code != TC_ENUM && r.code != TC_CSU_SHORT) return {};
  std::string prefix = std::string(form_word(r)) + ".";
  return type_name.starts_with(prefix) ? type_name.substr(prefix.size()) : type_name;
}

TYPE_RECORD default_record(const UNIT& unit, const TYPE_RECORD& r) {
  TYPE_RECORD d;
  d.number = r.number;
  d.code = r.code;
  d.ref = r.ref;
  d.ref2 = r.ref2;
  const TYPE_INFO* target = find_type(unit, r.ref);
  d.size = target ? target->size : 0;
  d.align = target ? target->align : 0;
  if (const BASIC_TYPE* basic = basic_type(r.code)) {
    d.size = basic->size;
    d.align = basic->align;
    d.is_signed = d.std_signed = basic->is_signed;
    d.is_boolean = basic->code == TC_BOOL;
    return d;
  }
  switch (r.code) {
  case TC_POINTER:
  case TC_REFERENCE: d.size = d.align = 32; break;
  case TC_ARRAY:
    d.count = r.count;
    d.size *= r.count;
    d.complete = true;
    break;
  case TC_COMPLEX: d.size *= 2; break;
  case TC_FUNC:
    d.size = d.align = 0;
    d.prototyped = true;
    break;
  case TC_CSU_SHORT:
  case TC_CSU_LONG:
    d.kind = r.kind;
    d.size = 0;
    d.align = 16;
    d.complete = true;
    break;
  default: break;
  }
  return d;
}

int64_t default_member_offset(const UNIT& unit, bool is_union, const TYPE_RECORD* before,
                              const TYPE_RECORD& member) {
  if (is_union || !before) return 0;
  const TYPE_INFO* type = find_type(unit, before->ref);
  uint64_t width = before->bit_size ? before->bit_size : type ? type->size : 0;
  uint64_t end = uint64_t(before->offset) + width;
  const TYPE_INFO* own = find_type(unit, member.ref);
  uint64_t align = member.bit_size || !own ? 1 : std::max<uint64_t>(own->align, 1);
  return int64_t((end + align - 1) / align * align);
}

const char* storage_word(int storage) {
  for (const STORAGE_WORD& w : storage_words)
    if (w.storage == storage) return w.word;
  return nullptr;
}

int storage_by_word(std::string_view word) {
  for (const STORAGE_WORD& w : storage_words)
    if (word == w.word) return w.storage;
  return NO_STORAGE;
}

bool is_reserved_word(std::string_view word) {
  static const std::unordered_set<std::string_view> words(std::begin(reserved_words),
                                                          std::end(reserved_words));
  if (words.count(word) || storage_by_word(word) != NO_STORAGE) return true;
  if (op_by_name(std::string(word)) != NO_OP) return true;
  return word.size() > 1 && word[0] == 'L' &&
         std::all_of(word.begin() + 1, word.end(), [](char c) { return isdigit(uint8_t(c)); });
}

std::string show_name(std::string_view name) {
  if (is_identifier(name) && !is_reserved_word(name)) return std::string(name);
  return quote_text(name, '\'');
}

const char* default_basic_type(int op) {
  switch (operator_rows[op].usual_type) {
  case USUAL_TYPE::INT: return "int";
  case USUAL_TYPE::FLOAT: return "float";
  case USUAL_TYPE::LLONG: return "llong";
  case USUAL_TYPE::VOID: return "void";
  default: return nullptr;
  }
}

uint32_t default_node_type(const UNIT& unit, const TYPE_NAMES& names, const NODE& n,
                           const SYMBOL* symbol, uint32_t* wants_pointer_to) {
  if (const char* basic = default_basic_type(n.op)) {
    auto it = names.by_name.find(basic);
    return it == names.by_name.end() ? NONE : it->second;
  }
  uint32_t left = n.left == NONE ? 0 : unit.nodes[n.left].type;
  const TYPE_INFO* left_type = resolved_type(unit, left);
  switch (operator_rows[n.op].usual_type) {
  case USUAL_TYPE::OF_SYMBOL: return symbol ? symbol->type : NONE;
  case USUAL_TYPE::OF_MEMBER: {
    const TYPE_RECORD* member = find_member(unit, uint32_t(n.b), n.a);
    return member ? member->ref : NONE;
  }
  case USUAL_TYPE::OF_LEFT: return left;
  case USUAL_TYPE::OF_RIGHT: return unit.nodes[n.right].type;
  case USUAL_TYPE::ELEMENT: return left_type && left_type->element ? left_type->element : NONE;
  case USUAL_TYPE::POINTER_TO: {
    auto it = names.pointer_to.find(left);
    if (it != names.pointer_to.end()) return it->second;
    if (wants_pointer_to && left) *wants_pointer_to = left;
    return NONE;
  }
  case USUAL_TYPE::RETURNED: {
    const TYPE_INFO* function = left_type ? resolved_type(unit, left_type->element) : nullptr;
    return function && function->kind == K_FUNC ? function->element : NONE;
  }
  default: return NONE;
  }
}

uint32_t accessed_class(const UNIT& unit, const NODE& access) {
  if (access.op != STDOT && access.op != STREF && access.op != STFIELD) return NONE;
  const TYPE_INFO* type = resolved_type(unit, unit.nodes[access.left].type);
  if (access.op == STREF) type = type ? resolved_type(unit, type->element) : nullptr;
  return type ? type->number : NONE;
}

uint64_t count_arguments(const UNIT& unit, uint32_t list) {
  uint64_t count = 1;
  for (; unit.nodes[list].op == COMMA; list = unit.nodes[list].left)
    ++count;
  return count;
}

uint64_t count_cases(const UNIT& unit, uint32_t list) {
  uint64_t count = 0;
  for (; unit.nodes[list].op == COMMA; list = unit.nodes[list].left)
    count += unit.nodes[unit.nodes[list].right].op == CASE;
  return count + (unit.nodes[list].op == CASE);
}

bool fits_icon(bool is_signed, uint64_t value) {
  if (is_signed) return int64_t(value) == int32_t(value);
  return value <= UINT32_MAX;
}

bool is_wide_integer(std::string_view text, bool is_signed) {
  constexpr size_t SAFE_DIGITS = 18; // surely within 64 bits
  if (!is_bare_integer(text) || (text[0] == '-' && !is_signed)) return false;
  if (text.size() > SAFE_DIGITS) return true;
  return !fits_icon(is_signed, uint64_t(strtoll(std::string(text).c_str(), nullptr, 10)));
}

bool is_bare_integer(std::string_view text) {
  std::string_view digits = text.substr(text.starts_with('-'));
  return !digits.empty() && (digits[0] != '0' || text == "0") &&
         std::all_of(digits.begin(), digits.end(), [](char c) { return isdigit(uint8_t(c)); });
}

// decimal with a point or an exponent, or hexadecimal with an exponent
bool is_bare_float(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  bool hex = text.starts_with("0x");
  if (hex) text.remove_prefix(2);
  bool digit = false, point = false;
  size_t i = 0;
  for (; i < text.size(); i++) {
    char c = text[i];
    if (hex ? isxdigit(uint8_t(c)) : isdigit(uint8_t(c)))
      digit = true;
    else if (c == '.' && !point && i > 0)
      point = true;
    else
      break;
  }
  if (!digit) return false;
  if (i == text.size()) return point && !hex;
  if (text[i] != (hex ? 'p' : 'e')) return false;
  ++i;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
  return i < text.size() && std::all_of(text.begin() + long(i), text.end(),
                                        [](char c) { return isdigit(uint8_t(c)); });
}

} // namespace icode
