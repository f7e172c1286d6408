// The data of a program: addresses of globals and functions, strings, initialisers.
#pragma once

#include "tools/run/code.h"

namespace icode::run {

// Gives every global object and function its address and fills the objects. False, with a message,
// for data that the memory has no room for or that an initialiser doesn't describe.
bool build_data(PROGRAM& program, std::string& error);

// The address of a read-only string: a unit a byte and a zero behind. 0 if there is no room.
uint32_t string_address(PROGRAM& program, const std::string& text);

// A function of that name without a body, made at the first question.
FUNCTION_CODE* external_function(PROGRAM& program, const std::string& name);

// The bit offset of a FIELD node's member and its record; null for an unknown member.
const TYPE_RECORD* field_member(const UNIT& unit, const NODE& field);

} // namespace icode::run
