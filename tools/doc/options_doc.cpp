// Prints docs/options.md from the tables of options and switches.

#include "options/option_doc.h"

#include <cstdio>

int main() {
  print_options_page();
  return fflush(stdout) == 0 ? 0 : 1;
}
