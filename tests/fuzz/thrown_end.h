// How a failing run ends within a fuzzing target: by an exception in the place of the process's
// end. thrown_end.cpp stands for DIAG/abort.cpp.
#pragma once

struct THROWN_END {
  int status;
  bool is_internal; // a failed check, not a message about the input
};

// Whether an internal failure, which a damaged input may cause while it is read, is a fault now.
extern bool (*internal_failures_are_faults)();
