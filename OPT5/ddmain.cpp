#include "OPT5/ddmain.h"

#include "OPT5/funinfo.h"
#include "OPT5/treewalk.h"

void do_dd_analysis_for_be() {}

// The file's own dependence records were dropped at reading, so marks of nodes mean nothing now.
void finalize_dd_edges() {
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (LIST* s = bb->statements; s; s = s->next)
      walk_postorder(s->tree, [](NODE*& node) {
        if (node->op != DDNODE) return;
        NODE* inner = node->left;
        node->left = nullptr;
        erase_node(node);
        node = inner;
      });
}

void finalize_ldspec_advice() {}
