// The machine description, of which the target has none.

#include "OPT5/mdparser.h"

#include "options/register_option.h"

void parse_md_file(bool) {}

void matcher_init() {
  static bool done;
  if (done) return;
  done = true;
  if (pass_debug_parsemd) parse_md_file(true);
}
