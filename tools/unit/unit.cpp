#include "tools/unit/unit.h"

#include <algorithm>

namespace icode {

namespace {

KIND kind_of(const TYPE_RECORD& r) {
  switch (r.code) {
  case TC_FLOAT:
  case TC_DOUBLE:
  case TC_LDOUBLE: return K_FLOAT;
  case TC_FIXED: return K_FIXED;
  case TC_TYPEDEF: return K_TYPEDEF;
  case TC_POINTER: return K_POINTER;
  case TC_REFERENCE: return K_REFERENCE;
  case TC_QUALIFIED: return K_QUALIFIED;
  case TC_ARRAY: return r.is_vector ? K_VECTOR : K_ARRAY;
  case TC_PTM: return K_PTM;
  case TC_FUNC: return K_FUNC;
  case TC_ENUM: return K_ENUM;
  case TC_CSU_SHORT:
  case TC_CSU_LONG:
    return r.kind == CLASS_KIND_UNION ? K_UNION : r.kind == CLASS_KIND_STRUCT ? K_STRUCT : K_CLASS;
  case TC_COMPLEX: return K_COMPLEX;
  case TC_VOID: return K_VOID;
  case TC_UNKNOWN: return K_UNKNOWN;
  default: return K_INTEGER;
  }
}

void enter_element(UNIT& unit, const TYPE_RECORD& r, uint32_t record) {
  TYPE_INFO& owner = unit.type_info[r.number];
  switch (r.code) {
  case TC_MEMBER:
    owner.members.push_back(record);
    if (r.count <= UINT32_MAX)
      unit.member_index.emplace(uint64_t(r.number) << 32 | r.count, record);
    break;
  case TC_BASE_CLASS: owner.bases.push_back(record); break;
  case TC_PARAM: owner.params.push_back(record); break;
  case TC_ENUMERATOR: owner.enumerators.push_back(record); break;
  default: break;
  }
}

} // namespace

bool is_element_code(uint8_t code) {
  return code == TC_PARAM || code == TC_ENUMERATOR || (code >= TC_MEMBER && code <= TC_MEMBER_FUNC);
}

bool is_definition_code(uint8_t code) {
  return code < TC_LIST_HEADER && !is_element_code(code);
}

bool add_type_record(UNIT& unit, TYPE_RECORD r, std::string& error) {
  auto record = uint32_t(unit.types.size());
  if (r.code == TC_ENUM && r.size == 0) {
    error = "an enumeration of size 0";
    return false;
  }
  if (!is_definition_code(r.code)) {
    // Whether an enumerator's value is signed is what its enumeration says.
    if (!find_type(unit, r.number)) {
      error = "an element of type " + std::to_string(r.number) + " ahead of its record";
      return false;
    }
    if (is_element_code(r.code)) enter_element(unit, r, record);
    unit.types.push_back(std::move(r));
    return true;
  }
  TYPE_INFO& info = unit.type_info[r.number];
  bool second_half =
      r.code == TC_CSU_LONG && info.record != NONE && unit.types[info.record].code == TC_CSU_SHORT;
  if (info.record != NONE && !second_half) {
    error = "type " + std::to_string(r.number) + " is defined twice";
    return false;
  }
  info.number = r.number;
  info.kind = kind_of(r);
  info.record = record;
  info.resolved = r.number;
  info.element = r.ref;
  info.size = r.size;
  info.align = r.align;
  info.count = r.code == TC_ARRAY ? r.count : 0;
  if (r.code == TC_POINTER && r.size == 22) info.size = info.align = 32;
  // A target that is not known yet can only be a class, which adds nothing here: so one look at the
  // target is enough, and a chain that bites its tail does no harm.
  const TYPE_INFO* target = r.ref == r.number ? nullptr : find_type(unit, r.ref);
  switch (info.kind) {
  case K_INTEGER:
    info.is_signed = r.is_signed;
    info.is_boolean = r.is_boolean;
    break;
  case K_FLOAT: info.is_signed = true; break;
  case K_FIXED: info.is_signed = r.kind != 0; break;
  case K_ENUM: info.is_signed = target && target->is_signed; break;
  case K_TYPEDEF:
  case K_QUALIFIED:
    info.resolved = target ? target->resolved : r.ref == r.number ? 0 : r.ref;
    info.is_signed = target && target->is_signed;
    info.is_boolean = target && target->is_boolean;
    info.qualifiers =
        (target ? target->qualifiers : 0) | (info.kind == K_QUALIFIED ? uint32_t(r.count) : 0);
    break;
  default: break;
  }
  unit.types.push_back(std::move(r));
  return true;
}

uint32_t add_string(UNIT& unit, std::string text) {
  unit.strings.push_back(std::move(text));
  return uint32_t(unit.strings.size() - 1);
}

const TYPE_INFO* find_type(const UNIT& unit, uint32_t number) {
  auto it = unit.type_info.find(number);
  return it == unit.type_info.end() || it->second.record == NONE ? nullptr : &it->second;
}

const TYPE_INFO* resolved_type(const UNIT& unit, uint32_t number) {
  const TYPE_INFO* info = find_type(unit, number);
  return !info || info->resolved == number ? info : find_type(unit, info->resolved);
}

bool is_signed_type(const UNIT& unit, uint32_t number) {
  const TYPE_INFO* info = find_type(unit, number);
  return info && info->is_signed;
}

const TYPE_RECORD* find_member(const UNIT& unit, uint32_t class_type, uint64_t member_number) {
  const TYPE_INFO* info = resolved_type(unit, class_type);
  if (!info || member_number > UINT32_MAX) return nullptr;
  auto it = unit.member_index.find(uint64_t(info->number) << 32 | member_number);
  return it == unit.member_index.end() ? nullptr : &unit.types[it->second];
}

const SYMBOL* find_symbol(const UNIT& unit, const FUNCTION* function, uint64_t level,
                          uint64_t index) {
  if (level == NONE) return nullptr;
  if (level == 0) return index < unit.globals.size() ? &unit.globals[index] : nullptr;
  return function && index < function->locals.size() ? &function->locals[index] : nullptr;
}

uint32_t find_label(const FUNCTION& function, uint32_t number) {
  auto it = function.labels.find(number);
  return it == function.labels.end() ? NONE : it->second;
}

uint64_t symbol_bits(const SYMBOL& symbol) {
  return symbol.size == 22 ? 32 : symbol.size;
}
uint64_t symbol_align(const SYMBOL& symbol) {
  return symbol.size == 22 ? 32 : symbol.align;
}

int operand_count(unsigned op) {
  return op_name(op) ? operator_rows[op].operands : NO_OP;
}
const char* op_name(unsigned op) {
  return op < FIRST_MEMORY_OP ? operator_rows[op].name : nullptr;
}

int op_by_name(const std::string& name) {
  static const auto by_name = [] {
    std::unordered_map<std::string, int> map;
    for (int op = 0; op < FIRST_MEMORY_OP; op++)
      if (const char* text = op_name(unsigned(op))) map.emplace(text, op);
    return map;
  }();
  auto it = by_name.find(name);
  return it == by_name.end() ? NO_OP : it->second;
}

} // namespace icode
