// Clean-up of graphs: so far numbers and labels only.

#include "OPT5/simpcfg.h"

#include "OPT5/bblk.h"
#include "OPT5/funinfo.h"
#include "OPT5/streams.h"

void simpcfg(bool, bool) {
  print_if_debug("\n\n\t\t\t---------- ENTERING 'simpcfg' ----------\n");
  renumber_bblocks();
}

void optimize_SWITCH_cases() {
  print_if_debug("\n\n\t\t\t------ ENTERING 'optimize_SWITCH_cases' ----\n");
}

void straighten_traces_in_cfg() {}
void rotate_loops() {}
