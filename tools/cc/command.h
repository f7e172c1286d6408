// The command icode-cc.
#pragma once

#include <string>
#include <vector>

namespace cc {

extern const char* const HELP;

struct COMMAND {
  std::vector<std::string> parser;  // options for the parser, in its own form
  std::vector<std::string> options; // of the optimiser, for the file
  std::vector<std::string> inputs;
  std::string output; // empty for standard output, which only -E knows
  bool preprocess = false;
  bool no_warnings = false;
  bool help = false;
};

// False, with a message, for a bad command line.
bool read_command(int argc, char** argv, COMMAND& command, std::string& fault);

// Runs the command. Gives its exit status, 1 after a message for whatever went wrong; no output is
// left then.
int run_compiler(int argc, char** argv);

} // namespace cc
