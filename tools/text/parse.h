// Reads the text form of an icode file.
#pragma once

#include "tools/unit/unit.h"

#include <string>
#include <string_view>

namespace icode {

// Makes a unit of a text. On failure gives false and a message "NAME:LINE:COLUMN: error: ...",
// where NAME is `file_name` and columns count bytes from 1; `unit` must not be used then.
bool parse_text(std::string_view text, const std::string& file_name, UNIT& unit,
                std::string& error);

} // namespace icode
