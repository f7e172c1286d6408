// Test builds change graphs on demand, with all that inserts blocks.

#ifdef VRX_CHECKS
#include "OPT5/surgery_trigger.h"

#include "OPT5/funinfo.h"
#include "OPT5/loop.h"
#include "OPT5/properties.h"
#include "OPT5/verify.h"

#include <cstdlib>
#include <string>

void change_graph_if_asked(const char* step) {
  static const bool is_asked = getenv("VRX_SURGERY") != nullptr;
  if (!is_asked || !currfuninfo || !currfuninfo->bb_list) return;
  const std::string doing = std::string(step) + " and building loops";
  const unsigned kept = claimed_properties();
  sym_split(currfuninfo);
  build_minimal_loop_hierarchy(false);
  assure_properties(DOMINATORS | LIVE_SETS);
  verify_after(doing.c_str());
  split_critical_edges(true);
  erase_loop_hierarchy();
  rebuildcfg();
  drop_properties(LIVES_BETWEEN_STEPS & ~kept);
  verify_function((std::string(step) + " and splitting edges").c_str());
}
#endif
