// Execution of a translated program.
#pragma once

#include "tools/run/code.h"

#include <unordered_map>

namespace icode::run {

// The program ends by itself.
struct PROGRAM_EXIT {
  int64_t status;
  bool runs_exit_functions;
};
// The program does what has no meaning; `Machine::at` tells where.
struct PROGRAM_FAULT {
  std::string text;
};

// A function that waits for a call to return.
struct CALL_RECORD {
  const FUNCTION_CODE* function;
  const INS* pc; // behind the call
  uint64_t* registers;
  uint32_t frame;     // address of its frame's memory
  uint32_t stack_top; // that the callee began with
  uint32_t result;    // register
  const CALL_SITE* site;
};

// A function that is being executed, or waits for the library.
struct ACTIVE_FRAME {
  const FUNCTION_CODE* function = nullptr;
  uint64_t* registers = nullptr;
  uint32_t memory = 0; // address
  size_t depth = 0;    // calls below it
  bool operator==(const ACTIVE_FRAME&) const = default;
};

// Where a setjmp() goes on when it returns again.
struct JUMP_POINT {
  uint32_t number = 0;
  ACTIVE_FRAME frame;
  const INS* pc = nullptr;
  uint32_t result = 0; // register
  SCALAR type;         // of the result; C_BAD if it isn't wanted
  uint32_t stack_top = 0;
  size_t depth = 0;
  int nesting = 0;
};
// A longjmp() is on its way.
struct PROGRAM_JUMP {
  JUMP_POINT to;
  int64_t value;
};

struct MACHINE {
  explicit MACHINE(PROGRAM& p); // throws std::bad_alloc

  PROGRAM& program;
  MEMORY& memory;
  int64_t steps_left = INT64_MAX;

  std::string output;        // not written to standard output yet
  int output_errno = 0;      // why some of it could not be written
  std::vector<int> put_back; // characters of the standard input that were read ahead, next last
  bool input_ended = false;
  uint32_t random = 1;
  uint32_t token_at = 0;   // where strtok goes on
  uint32_t error_text = 0; // of strerror
  std::vector<const FUNCTION_CODE*> exit_functions;
  std::unordered_map<uint32_t, JUMP_POINT> jumps; // by address of the jmp_buf
  uint32_t last_jump = 0;

  // Cells of all frames.
  PAGES<uint64_t> registers;
  uint64_t* registers_end = nullptr;
  uint64_t* free_registers = nullptr; // behind the frame that called the library
  std::vector<CALL_RECORD> calls;
  uint32_t stack_top; // first free address of the stack region
  int nesting = 0;    // of calls from the library

  // What is being executed, as of the last fault or call of the library.
  const FUNCTION_CODE* at_function = nullptr;
  const INS* at_pc = nullptr; // behind the instruction

  // As of the last call of the library:
  ACTIVE_FRAME current;
  uint32_t result_register = 0;
  uint32_t at_frame = 0;                  // the address of the caller's memory
  std::vector<ACTIVE_FRAME> outer_frames; // that wait for the library, by nesting
};

// Calls a function of the program with arguments of its parameters' types. Gives the result in
// canonical form. Throws PROGRAM_EXIT and PROGRAM_FAULT.
uint64_t run_function(MACHINE& m, const FUNCTION_CODE& f, const std::vector<uint64_t>& arguments);

// Calls a function that atexit() was given, on a machine where nothing else is executed any more.
void run_exit_function(MACHINE& m, const FUNCTION_CODE& f);

// The place of a fault: "FUNCTION(), FILE:LINE".
std::string fault_position(const MACHINE& m);

// Writes what the program has put out so far to standard output.
void flush_output(MACHINE& m);

// Takes steps for work that the library does; faults when none are left.
void charge_steps(MACHINE& m, uint64_t steps);

[[noreturn]] void fault(const std::string& text);
// Faults for an access that Memory refuses.
[[noreturn]] void bad_access(const MEMORY& memory, uint32_t at, uint64_t units, bool writes);

} // namespace icode::run
