// Execution of a translated program.
#pragma once

#include "tools/run_code.h"

namespace icode::run {

// The program ends by itself.
struct ProgramExit {
  int64_t status;
};
// The program does what has no meaning; `Machine::at` tells where.
struct ProgramFault {
  std::string text;
};

// A function that waits for a call to return.
struct CallRecord {
  const FunctionCode* function;
  const Ins* pc; // behind the call
  uint64_t* registers;
  uint32_t frame;     // address of its frame's memory
  uint32_t stack_top; // that the callee began with
  uint32_t result;    // register
  const CallSite* site;
};

struct Machine {
  explicit Machine(Program& p); // throws std::bad_alloc

  Program& program;
  Memory& memory;
  int64_t steps_left = INT64_MAX;

  std::string output; // not written to standard output yet
  uint32_t random = 1;

  // Cells of all frames.
  Pages<uint64_t> registers;
  uint64_t* registers_end = nullptr;
  uint64_t* free_registers = nullptr; // behind the frame that called the library
  std::vector<CallRecord> calls;
  uint32_t stack_top; // first free address of the stack region
  int nesting = 0;    // of calls from the library

  // What is being executed, as of the last fault or call of the library.
  const FunctionCode* at_function = nullptr;
  const Ins* at_pc = nullptr; // behind the instruction
};

// Calls a function of the program with arguments of its parameters' types. Gives the result in
// canonical form. Throws ProgramExit and ProgramFault.
uint64_t run_function(Machine& m, const FunctionCode& f, const std::vector<uint64_t>& arguments);

// The place of a fault: "FUNCTION(), FILE:LINE".
std::string fault_position(const Machine& m);

// Writes what the program has put out so far to standard output.
void flush_output(Machine& m);

// Takes steps for work that the library does; faults when none are left.
void charge_steps(Machine& m, uint64_t steps);

[[noreturn]] void fault(const std::string& text);
// Faults for an access that Memory refuses.
[[noreturn]] void bad_access(const Memory& memory, uint32_t at, uint64_t units, bool writes);

} // namespace icode::run
