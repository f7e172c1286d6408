#include "DIAG/diag.h"

#include <cstdio>

static const char tool_name[] = "C/C++ Optimizer";

void print_support_message() {
  fprintf(stderr,
          "\nThis failure is a defect in the %s. Customer support may be able to\n"
          "suggest a workaround, and a later release of the tools may not have the\n"
          "defect. When you report it, please send the whole error message and a\n"
          "complete test case, together with all command-line options.\n\n",
          tool_name);
}
