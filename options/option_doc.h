// Descriptions of options and switches, made from their tables.
#pragma once

#include "options/option_table.h"

#include <string>

// "=<level>" or "[=<level>]" as it stands behind an option's name; "" without an argument. A short
// form has no "=".
std::string option_argument_text(const OPTION_DEFINITION& def, bool is_short);
// What the argument may be: "0 to 5", "on, off"; "" for free text.
std::string option_range_text(const OPTION_DEFINITION& def);

// Prints the page docs/options.md on standard output.
void print_options_page();
// Prints every switch with its value and what it does, a line each, on standard output.
void print_switches();
