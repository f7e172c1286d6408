#include "OPT5/fileopt.h"

#include "OPT5/opt_client.h"
#include "OPT5/optables.h"
#include "OPT5/treewalk.h"

std::vector<FUNINFO*> call_graph;

void scan_for_funinfo(const NODE* tree, int, FUNINFO* user, int) {
  walk_preorder(tree, [user](const NODE* node) {
    if (node->op == NAME && node->u.sym && node->u.sym->level == 0) node->u.sym->use_count++;
    if ((node->op == MCALL || node->op == UMCALL) && user) user->cd_ok = false;
    return true;
  });
}

// Every symbol keeps its linkage: nothing is known of its users outside.
void analyze_global_symbols() {}

// A static of a function is safe only when all its uses are known to be dead on entry; none is.
void identify_fl_statics_safe_for_auto() {}
void convert_safe_fl_statics_to_auto(FUNINFO*) {}

void init_ipcp_for_fun() {}

// Without call edges the order of reading is as good as any. Functions are taken from the graph in
// reverse, so the nodes stand in reverse order.
void set_up_and_build_call_graph() {
  call_graph.clear();
  for (SYMTAB* sym : functions)
    call_graph.push_back(make_FUNINFO(sym));
  std::vector<FUNINFO*>(call_graph.rbegin(), call_graph.rend()).swap(call_graph);
}
