// Loop nests: what the output step asks of them, while no step restructures any.

#include "OPT5/ddmain.h"

#include "OPT5/funinfo.h"
#include "OPT5/simp1.h"
#include "OPT5/treewalk.h"

void do_dd_analysis_for_be() {}

// The file's own dependence records were dropped at reading, so marks of nodes mean nothing now.
void finalize_dd_edges() {
  visit_all_trees(currfuninfo, [](NODE*& tree) {
    walk_postorder(tree, [](NODE*& node) {
      if (node->op == DDNODE) node = drop_wrapper(node);
    });
  });
}

void finalize_ldspec_advice() {}
