// Prints docs/options.md from the tables of options and switches.

#include "options/option_doc.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
  const bool wants_help = argc == 2 && strcmp(argv[1], "--help") == 0;
  if (argc > 1 && !wants_help) {
    fprintf(stderr, "options-doc: expected no arguments; try --help\n");
    return 1;
  }
  if (wants_help)
    puts("usage: options-doc\n"
         "Prints the page of options and switches of vrx-mid, in Markdown.");
  else
    print_options_page();
  return fflush(stdout) == 0 ? 0 : 1;
}
