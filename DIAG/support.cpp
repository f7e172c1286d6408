#include "DIAG/support.h"

#include <cstdio>
#include <cstring>

const char* tool_name = "C/C++ Optimizer";

void print_support_message() {
  fprintf(stderr,
          "\nThis is a serious problem: a defect in the %s. Customer support may be\n"
          "able to suggest a workaround, and upgrading to the latest release may help,\n"
          "since the defect may have been corrected there. When you report it, please send\n"
          "the whole error message and a complete test case with all command-line options.\n\n",
          tool_name);
  struct EXTRA {
    const char* tool;
    const char* text;
  };
  static const EXTRA extras[] = {
      {"C/C++ Parser", "Include the .pp file created by option --preproc_with_comment\n\n"},
      {"C/C++ Optimizer",
       "Include the input file of this tool, or the source file that it was made from\n\n"},
      {"C/C++ Codegen", "Include the .opt file that was this tool's input\n\n"},
      {"Linker",
       "Include all of the object files, libraries, and linker command files\nused to link the "
       "program.\n\n"},
  };
  for (const EXTRA& extra : extras)
    if (strcmp(extra.tool, tool_name) == 0) fputs(extra.text, stderr);
}
