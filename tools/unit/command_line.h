// What every program's command line has in common. In a file of its own: what a program does when
// memory is short is set by the file of its main.
#pragma once

#include <string>

namespace icode {

// The word of the command line that getopt_long() has just refused with '?'.
std::string refused_option(char* const* argv);

} // namespace icode
