// What steps leave for one another: built before a step, dropped after it, judged in test builds.

#include "OPT5/properties.h"

#include "DIAG/abort.h"

#include "OPT5/alias.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/livevars.h"
#include "OPT5/loop.h"
#include "OPT5/verify.h"

constinit thread_local bool trees_are_normalized, function_is_in_SSA_form;

namespace {

bool has_graph() {
  return currfuninfo->bb_list != nullptr;
}
bool has_dominators() {
  const Dominator* dominators = currfuninfo->dominators;
  return dominators && !dominators->stale && dominators->built_bb_count == currfuninfo->bb_count;
}
bool has_loops() {
  return currfuninfo->loop_root != nullptr;
}
bool has_live_sets() {
  return lva_sym_count > 0;
}
bool has_aliases() {
  return currfuninfo->aliases_are_marked;
}
bool is_normalized() {
  return trees_are_normalized;
}
bool is_in_SSA_form() {
  return function_is_in_SSA_form;
}

void build_dominators() {
  compute_dominators(false);
}
void build_loops() {
  build_minimal_loop_hierarchy(false);
}
void build_live_sets() {
  find_live_variables(0, false);
}
const char* form_outlives_its_step() {
  return "trees are in a form that lives within a step only";
}

struct PROPERTY_ROW {
  PROPERTY property;
  bool (*is_claimed)();
  void (*build)();
  void (*drop)();
  const char* (*fault)(); // of what is claimed, or null if nothing is wrong
};

const PROPERTY_ROW rows[] = {
    // The graph is verified together with the trees.
    {GRAPH, has_graph, nullptr, nullptr, nullptr},
    {DOMINATORS, has_dominators, build_dominators, mark_dominators_stale, dominators_fault},
    {LOOPS, has_loops, build_loops, erase_loop_hierarchy, loops_fault},
    {LIVE_SETS, has_live_sets, build_live_sets, lva_cleanup, live_sets_fault},
    {ALIASES, has_aliases, reset_alias_info, drop_alias_info, alias_fault},
    {NORMAL_FORM, is_normalized, nullptr, nullptr, form_outlives_its_step},
    {SSA, is_in_SSA_form, nullptr, nullptr, form_outlives_its_step},
};

} // namespace

unsigned claimed_properties() {
  unsigned claimed = 0;
  for (const PROPERTY_ROW& row : rows)
    if (row.is_claimed()) claimed |= row.property;
  return claimed;
}

void assure_properties(unsigned needed) {
  for (const PROPERTY_ROW& row : rows) {
    if (!(needed & row.property) || row.is_claimed()) continue;
    if (row.build) row.build();
    // A function without statements has no graph; nothing else may be missing.
    CHECK(row.build || row.property == GRAPH);
  }
}

void drop_properties(unsigned lost) {
  for (const PROPERTY_ROW& row : rows)
    if ((lost & row.property) && row.drop && row.is_claimed()) row.drop();
}

void verify_properties(const char* step) {
  for (const PROPERTY_ROW& row : rows)
    if (row.fault && row.is_claimed())
      if (const char* fault = row.fault()) report_broken_function(step, nullptr, fault);
}
