// The life of a run: options, files, reading, steps, output, report.
#pragma once

#include <mutex>

class SYMTAB;

extern char i_file_name[512];
extern char o_file_name[512];
// The function to name when a crash came from another thread; written under its lock.
extern SYMTAB* currfunc_at_abort;
extern std::mutex abort_lock;

// main's body. Never returns on failure.
int run_compilation(int argc, char** argv);
// Clears what a run leaves that ended in its middle, for programs in which that does not end the
// process. Another run may follow.
void abandon_run();
// Next process argument, or null when none is left.
const char* next_arg();
// Opens the input's name, less its extension, plus "." and `name` if any, plus ".odb", as this
// thread's FDEBUG. `mode` null is "w". With `fatal` a failure ends the run.
void open_debug_file(int fatal, const char* name, const char* mode);
const char* isa_and_tool_name();
