// What the converters between files and text share: the command line, files and exit statuses.
#pragma once

#include <string>

namespace icode {

// A program that makes one file of another.
struct CONVERTER {
  const char* name;      // of the program
  const char* help;      // printed by --help
  const char* extension; // of the output if -o gives none, with its dot
  // Makes the output of the input's bytes. On failure gives false and the complete message.
  bool (*convert)(const std::string& input, const std::string& input_name, std::string& output,
                  std::string& error);
};

// Runs a converter on the command line `IN [-o OUT]`; "-" is standard input or output. Gives the
// exit status: 0, or 1 after a message on standard error, in which case no output file is left.
int run_converter(const CONVERTER& converter, int argc, char** argv);

// First where exceptions are caught: a write that can't be done fails from now on, and raises no
// signal; memory that can't be had is an exception, which before main ends the program with a
// message and status 1.
void let_failures_be_handled();

// The whole of a file ("-" for standard input). False, with a message, on failure.
bool read_file(const std::string& name, std::string& bytes, std::string& error);
// Writes a file ("-" for standard output). False, with a message and without the file, on failure.
bool write_file(const std::string& name, const std::string& bytes, std::string& error);

} // namespace icode
