// The two converters between files and text.
#pragma once

#include "tools/unit/tool_main.h"

namespace icode {

extern const CONVERTER assembler;    // icode-as: a text into an icode file
extern const CONVERTER disassembler; // icode-dis: an icode file into text

} // namespace icode
