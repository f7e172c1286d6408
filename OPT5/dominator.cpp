// Dominator trees: so far only the mark that they are stale.

#include "OPT5/dominator.h"

#include "OPT5/funinfo.h"

void mark_dominators_stale() {
  if (currfuninfo && currfuninfo->dominators) currfuninfo->dominators->stale = true;
}
