#include "tools/unit/command_line.h"

#include <cstdint>
#include <getopt.h>

namespace icode {

std::string refused_option(char* const* argv) {
  const std::string word = argv[optind - 1];
  const bool is_letter = optopt > 0 && optopt <= UINT8_MAX && !word.starts_with("--");
  // In the middle of a word of letters the word isn't passed yet.
  const bool is_passed = !is_letter || (word[0] == '-' && word.back() == char(optopt));
  return is_passed || !argv[optind] ? word : argv[optind];
}

} // namespace icode
