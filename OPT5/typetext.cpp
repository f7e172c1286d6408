// Names of types in the text form of icode.

#include "OPT5/typetext.h"

#include <cctype>
#include <unordered_map>
#include <unordered_set>

namespace {

// A name for people stops being one at some length; and a chain of derived types would add up.
constexpr size_t LONGEST_NAME = 60;

// The input's types by number, when debugging, and those of them whose name another one has.
std::unordered_map<const TYPE*, unsigned> input_numbers;
std::unordered_set<const TYPE*> nameless;
bool input_is_known;

bool is_word_character(char c) {
  return isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}

std::string cleaned(const char* text) {
  std::string out;
  for (; *text; text++)
    out += is_word_character(*text) ? *text : '_';
  return out.empty() ? "anon" : out;
}

std::string qualifier_words(int quals) {
  std::string out;
  auto add = [&out](const std::string& word) { out += (out.empty() ? "" : ".") + word; };
  if (quals & TYPE::Q_CONST) add("const");
  if (quals & TYPE::Q_VOLATILE) add("volatile");
  if (quals & TYPE::Q_RESTRICT) add("restrict");
  const int other = quals & ~(TYPE::Q_CONST | TYPE::Q_VOLATILE | TYPE::Q_RESTRICT);
  if (other || !quals) add("qual" + std::to_string(other));
  return out;
}

const char* integer_word(const TYPE* type) {
  static const char* const words[] = {"bool",   "schar", "uchar", "wchar", "short",
                                      "ushort", "int",   "uint",  "long",  "ulong",
                                      "long",   "ulong", "llong", "ullong"};
  return type->ikind() <= TYPE::I_ULLONG ? words[type->ikind()] : "int";
}

// The name that a type gets if no other has it.
std::string wanted_name(TYPE* type) {
  switch (type->kind) {
  case TYPE::K_VOID: return "void";
  case TYPE::K_INT: return integer_word(type);
  case TYPE::K_FLOAT:
    return type->fkind() == TYPE::F_FLOAT    ? "float"
           : type->fkind() == TYPE::F_DOUBLE ? "double"
                                             : "ldouble";
  case TYPE::K_POINTER: return type_text(type->base) + "*";
  case TYPE::K_REFERENCE: return type_text(type->base) + "&";
  case TYPE::K_QUALIFIED: {
    // A qualifier of something derived stands after it: `int*.const`.
    const std::string base = type_text(type->base), words = qualifier_words(type->qual_kind(false));
    return is_word_character(base.back()) ? words + "." + base : base + "." + words;
  }
  case TYPE::K_ARRAY: {
    const ARRAY_PARTS* parts = type->array_parts();
    const std::string count = std::to_string(parts->complete ? parts->count : 0);
    return type_text(type->base) + (parts->is_vector ? "<" + count + ">" : "[" + count + "]");
  }
  case TYPE::K_TYPEDEF: return cleaned(type->name);
  case TYPE::K_ENUM: return "enum." + cleaned(type->name);
  case TYPE::K_CLASS: return "class." + cleaned(type->name);
  case TYPE::K_STRUCT: return "struct." + cleaned(type->name);
  case TYPE::K_UNION: return "union." + cleaned(type->name);
  case TYPE::K_FUNC: return "fn." + type_text(type->base);
  case TYPE::K_COMPLEX: return "complex." + type_text(type->base);
  case TYPE::K_FIXED: return "fixed." + type_text(type->base);
  case TYPE::K_PTM: return "ptm." + type_text(type->base);
  case TYPE::K_UNKNOWN: return "unknown.none";
  }
  return "unknown.none";
}

// Names that mean something else in a text: those of basic types, and numbers of types.
bool is_taken_by_language(const TYPE* type, const std::string& name) {
  static const std::unordered_set<std::string> basic = {
      "bool", "schar", "uchar", "wchar",  "short", "ushort", "int",     "uint",
      "long", "ulong", "llong", "ullong", "float", "double", "ldouble", "void"};
  if (type->kind == TYPE::K_TYPEDEF && basic.count(name)) return true;
  return isdigit(static_cast<unsigned char>(name[0])) ||
         (name[0] == 't' && name.size() > 1 &&
          name.find_first_not_of("0123456789", 1) == std::string::npos);
}

} // namespace

std::string type_text(TYPE* type) {
  if (!type) return "-";
  if (nameless.count(type)) return "t" + std::to_string(input_numbers.find(type)->second);
  return wanted_name(type);
}

bool is_text_identifier(const std::string& name) {
  if (name.empty() || isdigit(static_cast<unsigned char>(name[0])) || name.back() == '.')
    return false;
  char before = '.';
  for (const char c : name) {
    if (c == '.' ? before == '.' : !is_word_character(c)) return false;
    before = c;
  }
  return true;
}

void name_types_of_input(const std::vector<TYPE*>& by_number) {
  forget_type_names();
  input_is_known = true;
  std::unordered_set<std::string> names;
  auto give_name = [&](unsigned number, TYPE* type) {
    if (!type || !input_numbers.emplace(type, number).second) return;
    const std::string name = wanted_name(type);
    if (name.size() > LONGEST_NAME || is_taken_by_language(type, name) ||
        !names.insert(name).second)
      nameless.insert(type);
  };
  // Those with names of their own first: the others are made of their names.
  for (const bool is_derived : {false, true})
    for (unsigned number = 0; number < by_number.size(); number++) {
      TYPE* type = by_number[number];
      const bool has_own_name =
          type && (type->kind == TYPE::K_ENUM || type->kind == TYPE::K_CLASS ||
                   type->kind == TYPE::K_STRUCT || type->kind == TYPE::K_UNION ||
                   type->kind == TYPE::K_TYPEDEF || type->base == type);
      if (has_own_name != is_derived) give_name(number, type);
    }
}

bool is_made_by_optimizer(const TYPE* type) {
  return input_is_known && !input_numbers.count(type);
}

void forget_type_names() {
  input_numbers.clear();
  nameless.clear();
  input_is_known = false;
}
