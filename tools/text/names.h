// What the printer and the parser of the text form must agree on: the words of the language, the
// names of types, and the values that a text may leave out.
//
// Both sides build the tables here in the same order while they go through the types, so each sees
// the same state at the same place and leaves out, or fills in, the same values.
#pragma once

#include "tools/unit/unit.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace icode {

// Names of the types declared so far.
struct TYPE_NAMES {
  std::unordered_map<std::string, uint32_t> by_name;
  std::unordered_map<uint32_t, std::string> by_number;
  std::unordered_map<uint32_t, uint32_t> pointer_to; // target to the first pointer type
  uint32_t last_number = 0;                          // of the type declared last
};

// Enters a type under a name that is free.
void declare_type(TYPE_NAMES& names, const TYPE_RECORD& record, const std::string& name);
// A free and telling name for the type that `record` defines.
std::string make_type_name(const TYPE_NAMES& names, const TYPE_RECORD& record);
// The name by which a text may refer to a type: the declared one, "-" for 0, "t<number>" otherwise.
std::string type_name(const TYPE_NAMES& names, uint32_t number);
// The number in a name of the form "t<number>", NONE if it isn't one.
uint32_t number_in_type_name(std::string_view name);

// Words of record forms: "int", "ptr", "fn", ... of a definition; "param", "member", ... of an
// element. Null for a code without a word.
const char* form_word(const TYPE_RECORD& record);
// Sets the code, and the class kind, for the word of a definition or element. False if it is none.
bool form_by_word(std::string_view word, TYPE_RECORD& record);
// Whether the code is that of a type made of nothing else: the numbers and void.
bool is_basic_code(uint8_t code);
// The name that a definition has if the text gives none.
std::string default_type_text(const TYPE_RECORD& record, const std::string& type_name);
// What a record of this code, target, element count and class kind has in its other fields if the
// text gives nothing.
TYPE_RECORD default_record(const UNIT& unit, const TYPE_RECORD& record);
// The bit offset of a member that the text gives none, behind `before` (null for the first).
int64_t default_member_offset(const UNIT& unit, bool is_union, const TYPE_RECORD* before,
                              const TYPE_RECORD& member);

// Words of storage classes; null for one without.
const char* storage_word(int storage);
int storage_by_word(std::string_view word); // NO_STORAGE if it is none
constexpr int NO_STORAGE = 1000;
// Words with a meaning in the text form, which can't name a symbol without quotes.
bool is_reserved_word(std::string_view word);
// A name as the text shows it: bare, or between single quotes.
std::string show_name(std::string_view name);

// The type of a node that the text gives none; NONE if it must be given. Operands are in place.
// `symbol` is that of a NAME, or null. Where the default is a pointer type that doesn't exist,
// *wants_pointer_to is set to its target.
uint32_t default_node_type(const UNIT& unit, const TYPE_NAMES& names, const NODE& node,
                           const SYMBOL* symbol, uint32_t* wants_pointer_to = nullptr);
// The name of the basic type that default_node_type falls back on; null if it doesn't.
const char* default_basic_type(int op);
// The class in which the right operand of a member access looks for its member; NONE if the
// operator is no such access.
uint32_t accessed_class(const UNIT& unit, const NODE& access);
// Payloads that the text may leave out.
uint64_t count_arguments(const UNIT& unit, uint32_t list); // of a list of COMMA
uint64_t count_cases(const UNIT& unit, uint32_t list);     // CASE only

// Whether an ICON shows as a bare number, and whether a bare number of a type so signed is an LCON:
// it is if it needs more than 32 bits.
bool fits_icon(bool is_signed, uint64_t value);
bool is_wide_integer(std::string_view text, bool is_signed);
// Whether the text of an FCON shows bare.
bool is_bare_float(std::string_view text);
bool is_bare_integer(std::string_view text); // canonical decimal

// The longest line that the printer makes where it may choose.
constexpr size_t TEXT_WIDTH = 100;

} // namespace icode
