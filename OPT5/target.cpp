// Built-in functions of the target, and vector operations hidden from passes that know none.

#include "OPT5/target.h"

#include "OPT5/counters.h"
#include "OPT5/treewalk.h"

#include <set>
#include <string>

static COUNTER marked_calls("built-ins", "calls marked as using hidden state");

// Built-ins whose descriptor says that they read or write hidden state.
static std::set<std::string> stateful_builtins;

void init_BIF_descriptors() {
  stateful_builtins = {"_set_flags", "_get_flags"};
}

bool builtin_has_state(const char* name) {
  return stateful_builtins.count(name) != 0;
}

void fix_BIF_types(NODE*&) {} // built-ins are generic in their operand types

void promote_ICALLs_with_state(FUNINFO* fi) {
  visit_all_trees(fi, [](NODE*& tree) {
    walk_postorder(tree, [](NODE*& node) {
      if ((node->op != ICALL && node->op != UICALL) || !builtin_has_state(node->u.callee)) return;
      node->op = node->op == ICALL ? MCALL : UMCALL;
      marked_calls.count();
    });
  });
}

// Passes see vector and floating operators as they are: there is nothing to hide yet.
void disguise_floating_point_operations() {}
void disclose_floating_point_operations() {}
void disguise_vector_operations() {}
void disclose_vector_operations(bool) {}

bool is_mcall_implicit_state(const NODE* tree) {
  return tree->op == NAME && tree->u.sym && tree->u.sym == mcall_implicit_state;
}
