// Live variables: so far only the end of the sets of blocks.

#include "OPT5/livevars.h"

#include "OPT5/funinfo.h"

thread_local int lva_sym_count;

void lva_cleanup() {
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (BITVEC** set : {&bb->use_set, &bb->def_set, &bb->live_in, &bb->live_out}) {
      delete *set;
      *set = nullptr;
    }
  lva_sym_count = 0;
}
