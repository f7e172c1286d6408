// The step table. Somebody who reads only this file knows the road of a function.
//
// A step is a gate and an action. A gate that fails makes the step do nothing; it stays in the
// list.

#include "OPT5/passes.h"

#include "DIAG/abort.h"

#include "OPT5/alias.h"
#include "OPT5/deadasg.h"
#include "OPT5/driver.h"
#include "OPT5/fcp.h"
#include "OPT5/fileopt.h"
#include "OPT5/loop.h"
#include "OPT5/opt_client.h"
#include "OPT5/properties.h"
#include "OPT5/restrict.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/simpcfg.h"
#include "OPT5/stackshare.h"
#include "OPT5/streams.h"
#include "OPT5/target.h"
#include "OPT5/write.h"
#include "options/option_obj.h"
#include "options/register_option.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sstream>

serial_namespace<pass, pass_manager> global_pass_manager;
std::vector<pass*> normal_order;
std::vector<pass*> permuted_order;

pass::pass(const char* name, void (*callback)())
    : serial_object(global_pass_manager), step_name(name),
      signal_text("while running step '" + step_name + "'"), fn(callback) {}

namespace {

// ---------------------------------------------------------------------------------------------
// Gates

bool always() {
  return true;
}
// The action decides by itself.
bool own_gate() {
  return true;
}
bool level_1() {
  return opt_level() > 0;
}
bool level_2() {
  return opt_level() >= 2;
}
bool level_2_blocks() {
  return level_2() && currfuninfo->bb_count >= 2;
}
bool level_2_blocks_vrx200() {
  return level_2_blocks() && cpu_version == CPU_VRX200;
}
bool level_2_cd_ok() {
  return level_2() && currfuninfo->cd_ok;
}
bool level_2_fusion() {
  return level_2() && pass_enable_loop_fusion;
}
bool ip_mvp() {
  return do_IP_MVP;
}
bool stack_sharing_wanted() {
  // With a floating-point unit, and without optimisation, variables keep their places.
  const long fpu = file_options ? file_options->getnumarg(OPT_float_support, 0) : 0;
  return level_1() || (fpu != FLOAT_FPU32 && fpu != FLOAT_FPU64);
}

// ---------------------------------------------------------------------------------------------
// Actions

// A step that has nothing to do, now or ever: its name is part of the table.
void empty_on_purpose() {}
// A step that isn't there yet, behind the gate that it will have.
void to_be_built() {}

void pass_1_fcp_eda() {
  fast_CP(4, 0);
  elim_dead_assigns(0, 0);
}
void fast_CP_4_0() {
  fast_CP(4, 0);
}
void fast_CP_4_1() {
  fast_CP(4, 1);
}
void fast_CP_0_1() {
  fast_CP(0, 1);
}

void pass_2_header() {
  if (finfo) fflush(finfo); // what failed is noticed when it is closed
  if (!print_debug) return;
  flush_debug();
  print_checked(stdout, "%s Pass 2\n", isa_and_tool_name());
}

// Functions in the reverse order of the call graph's nodes; one that need not be emitted is left
// out.
void set_call_graph_order() {
  if (call_graph.empty()) set_up_and_build_call_graph();
  functions.clear();
  for (FUNINFO* fi : call_graph) {
    const unsigned properties = fi->properties();
    if (properties & FP_OUT_OF_ORDER) continue;
    if ((properties & FP_SUPPRESSED) && !(properties & FP_MUST_KEEP)) continue;
    functions.push_front(fi->symbol);
  }
}

void pass_2_inits() {
  if (print_debug && FDEBUG) {
    if (currfuninfo->scope)
      currfuninfo->scope->print(true, FDEBUG, 0, true);
    else
      print_if_debug("<<NULL SCOPE>>\n");
  }
  if (currfuninfo->scope) currfuninfo->scope->validate();
  if (print_debug && FDEBUG && pass_debug_dump_scope && currfuninfo->scope) {
    currfuninfo->scope->build_PTR_equivalence_groups();
    print_PTRs(FDEBUG);
  }
  disguise_vector_operations();
  disclose_vector_operations(false);
  disguise_vector_operations();
  sym_split(currfuninfo);
  simpcfg(false, false);
}

void disclose_vectors() {
  disclose_vector_operations(false);
}

void intraprocedural_MVP() {
  print_if_debug("~~~#MAIN#1 do_int_MVP=%d %s()\n", do_int_MVP, currfuninfo->name.c_str());
}

void value_propagation_for_SIMD() {
  simpcfg(false, false);
  rebuildcfg();
  simpcfg(false, false);
}

enum KIND { PASS, BARRIER };

// A row: a step's name, its kind, and its callback. The callback is written as
//
//   step<gate, action, what it needs, what it keeps>
//
// Behind a gate that is open, what the action needs is built if the function lacks it, and what it
// doesn't keep is dropped. An action that changes nothing needs the graph and keeps all.
struct STEP_ROW {
  const char* name;
  KIND kind;
  void (*fn)();
};

template <bool (*GATE)(), void (*ACTION)(), unsigned NEEDS = GRAPH,
          unsigned KEEPS = LIVES_BETWEEN_STEPS>
void step() {
  if (!GATE()) return;
  if (currfuninfo) assure_properties(NEEDS);
  ACTION();
  if (currfuninfo) drop_properties(LIVES_BETWEEN_STEPS & ~KEEPS);
}

// What is kept by an action that changes statements and no branch.
constexpr unsigned SHAPE = GRAPH | DOMINATORS | LOOPS;

// Steps 0 to 29.
const STEP_ROW early_steps[] = {
    {"pass 1 fcp/eda", PASS, step<level_2, pass_1_fcp_eda, GRAPH, GRAPH>},
    {"pass 1 fast_CP(4,0)", PASS, step<always, fast_CP_4_0, GRAPH, GRAPH>},
    {"value propagation for pass 1", PASS, step<level_2, to_be_built>},
    {"analyze globals", BARRIER, step<always, analyze_global_symbols>},
    {"detect_recursion", BARRIER, step<always, to_be_built>},
    {"do_interprocedural_propagation", BARRIER, step<always, to_be_built>},
    {"auto_inline_call_sites", BARRIER, step<always, to_be_built>},
    {"dump_call_graph_debug", BARRIER, step<always, dump_call_graph_debug>},
    {"collect_clustered_symbols", BARRIER, step<always, to_be_built>},
    {"pass 2 header", BARRIER, step<always, pass_2_header>},
    {"set call-graph order", BARRIER, step<always, set_call_graph_order>},
    {"pass 2 inits", PASS, step<always, pass_2_inits, GRAPH, GRAPH>},
    {"stack sharing", PASS,
     step<stack_sharing_wanted, build_stack_sharing_type, GRAPH | ALIASES, SHAPE>},
    {"CPS", PASS, step<own_gate, to_be_built>},
    {"early LIR", PASS, step<always, empty_on_purpose>},
    {"early fast_CP(4,1)", PASS, step<always, fast_CP_4_1, GRAPH, GRAPH>},
    {"MVP global assertions", PASS, step<ip_mvp, to_be_built>},
    {"intraprocedural MVP", PASS, step<level_2, intraprocedural_MVP>},
    {"value propagation for SIMD", PASS,
     step<level_2_cd_ok, value_propagation_for_SIMD, GRAPH, GRAPH>},
    {"explode auto structs", PASS, step<level_2, to_be_built>},
    {"non-DD clone SSA NASSERTs", PASS, step<level_2, to_be_built>},
    {"non-DD SSA CP", PASS, step<level_2, to_be_built>},
    {"non-DD SSA EDA", PASS, step<level_2, to_be_built>},
    {"SSA RP with benign loads", PASS, step<level_2, to_be_built>},
    {"expand bitfields", PASS, step<own_gate, to_be_built>},
    {"fast_CP(0,1)", PASS, step<always, fast_CP_0_1, GRAPH, GRAPH>},
    {"add profile loop annotations", PASS, step<own_gate, to_be_built>},
    {"Disclose Vectors 1", PASS, step<always, disclose_vectors, GRAPH, SHAPE | ALIASES>},
    {"CD vectorizations", PASS, step<own_gate, to_be_built>},
    {"Disguise Vectors 1", PASS, step<always, disguise_vector_operations, GRAPH, SHAPE | ALIASES>},
};

// Steps 30 to 62: the loop-nest block. Its frame decides whether a function has loops.
const STEP_ROW dd_steps[] = {
    {"forward_substitution", PASS, step<level_2, to_be_built>},
    {"SSA_hoist", PASS, step<level_2, to_be_built>},
    {"SSA_NASSERTs", PASS, step<level_2, to_be_built>},
    {"SSA_propagate", PASS, step<level_2, to_be_built>},
    {"SSA_deadasg", PASS, step<level_2, to_be_built>},
    {"SSA_reg_promote", PASS, step<level_2, to_be_built>},
    {"loop_assertions", PASS, step<level_2, to_be_built>},
    {"sink_unused_definitions", PASS, step<level_2, to_be_built>},
    {"undeltafy", PASS, step<level_2, to_be_built>},
    {"add_downcounters", PASS, step<level_2, to_be_built>},
    {"collapse_loops", PASS, step<level_2, to_be_built>},
    {"circular_addressing", PASS, step<level_2, to_be_built>},
    {"loop_if_interchange", PASS, step<level_2, to_be_built>},
    {"cd_unroll_by_request", PASS, step<level_2, to_be_built>},
    {"DMAC_conversion", PASS, step<level_2, to_be_built>},
    {"cd_unroll_completely_for_speed", PASS, step<level_2, to_be_built>},
    {"unroll_completely_for_SP", PASS, step<always, empty_on_purpose>},
    {"unroll_and_jam", PASS, step<level_2, to_be_built>},
    {"loop fusion", PASS, step<level_2_fusion, to_be_built>},
    {"runtime_alias_predication", PASS, step<always, empty_on_purpose>},
    {"peel_and_unroll", PASS, step<always, empty_on_purpose>},
    {"cd_unroll_for_speed", PASS, step<level_2, to_be_built>},
    {"PT_info", PASS, step<level_2, to_be_built>},
    {"explode_arrays", PASS, step<level_2, to_be_built>},
    {"unroll_for_SP", PASS, step<level_2, to_be_built>},
    {"simplify_useless_loop_clones", PASS, step<always, empty_on_purpose>},
    {"alias_advice", PASS, step<level_2, to_be_built>},
    {"reduction_interleaving", PASS, step<level_2, to_be_built>},
    {"value_propagation", PASS, step<level_2, to_be_built>},
    {"DIVs_by_ICONs", PASS, step<always, to_be_built>},
    {"SSA_propagate_vector", PASS, step<level_2, to_be_built>},
    {"SSA_deadasg", PASS, step<level_2, to_be_built>},
    {"SSA_reg_promote_with_simpcfg", PASS, step<level_2, to_be_built>},
};

// Steps 63 to 84.
const STEP_ROW late_steps[] = {
    {"CD ILP", PASS, step<own_gate, to_be_built>},
    {"late fast_CP(4,1)", PASS, step<always, fast_CP_4_1, GRAPH, GRAPH>},
    {"Disclose Vectors 2", PASS, step<always, disclose_vectors, GRAPH, SHAPE | ALIASES>},
    {"global CP", PASS, step<level_2_blocks, to_be_built>},
    {"late points-to", PASS, step<level_2_blocks, to_be_built>},
    {"global CSE", PASS, step<level_2_blocks, to_be_built>},
    {"Ulm200 rotate loops", PASS, step<level_2_blocks_vrx200, to_be_built>},
    {"late rename symbols", PASS, step<level_2_blocks, to_be_built>},
    {"merge symbols", PASS, step<level_2_blocks, to_be_built>},
    {"DD restructuring", PASS, step<level_2, empty_on_purpose>},
    {"expand cluster refs", PASS, step<always, empty_on_purpose>},
    {"Boolean vector conversion", PASS, step<always, empty_on_purpose>},
    {"CSU returning temp", PASS, step<own_gate, to_be_built>},
    {"superblocks", PASS, step<level_1, to_be_built>},
    {"subrange", PASS, step<level_1, to_be_built>},
    {"lcp", PASS, step<level_1, to_be_built>},
    {"sti-to-cinit", PASS, step<level_2, to_be_built>},
    {"lcse", PASS, step<level_1, to_be_built>},
    {"propagate increments", PASS, step<level_1, to_be_built>},
    {"Vector predicate optimization", PASS, step<always, empty_on_purpose>},
    {"Disguise Vectors 2", PASS, step<always, disguise_vector_operations, GRAPH, SHAPE | ALIASES>},
    {"late LIR", PASS, step<always, empty_on_purpose>},
};

template <size_t N> void append_steps(const STEP_ROW (&rows)[N], std::vector<pass*>& order) {
  for (const STEP_ROW& row : rows)
    order.push_back(row.kind == BARRIER ? new barrier_pass(row.name, row.fn)
                                        : new pass(row.name, row.fn));
}

// ---------------------------------------------------------------------------------------------
// The run order

// A permutation of 0 .. n-1, built inside out. Barriers move like all others, on purpose: the
// random order exists to shake out hidden dependencies among steps.
std::vector<int> random_order(int n) {
  srand(static_cast<unsigned>(time(nullptr) + clock()));
  std::vector<int> order(n);
  for (int i = 1; i < n; i++) {
    int j = static_cast<int>((i + 1) * (rand() * 0x1p-31));
    order[i] = order[j];
    order[j] = i;
  }
  return order;
}

std::vector<int> numbers_in(std::string text) {
  for (char& c : text)
    if (c == ',') c = ' ';
  std::vector<int> order;
  std::istringstream in(text);
  for (int k; in >> k;)
    order.push_back(k);
  return order;
}

void choose_run_order() {
  const char* text = file_options ? file_options->getstrarg(OPT_opt_passes, 0) : nullptr;
  const char* source = "command-line option";
  if (!text) {
    text = getenv("FORCED_OPT_PASSES");
    source = "environment variable";
  }
  if (!text) {
    print_if_debug("Pass list is normal order.\n");
    permuted_order = normal_order;
    return;
  }
  const bool random = strcmp(text, "random") == 0;
  const int n = static_cast<int>(normal_order.size());
  const std::vector<int> order = random ? random_order(n) : numbers_in(text);
  for (int k : order) {
    if (k < 0 || k >= n) {
      // Whoever forces an order answers for it, but not with a wild pointer.
      fprintf(stderr, "\n>>>> OPTIMIZER ERROR: no step %d in the pass list\n", k);
      end_failing_run();
    }
    permuted_order.push_back(normal_order[k]);
  }
  print_if_debug("Pass list, from %s, is%s: ", source, random ? " (random)" : "");
  for (int k : order)
    print_if_debug(" %d", k);
  if (order.empty()) print_if_debug("<empty>");
  print_if_debug("\n\n");
}

} // namespace

std::vector<pass*>& add_dd_normal_order_passes(std::vector<pass*>& order) {
  append_steps(dd_steps, order);
  return order;
}

void setup_passes(bool use_forced_order) {
  erase_all_passes();
  normal_order.clear();
  permuted_order.clear();
  append_steps(early_steps, normal_order);
  add_dd_normal_order_passes(normal_order);
  append_steps(late_steps, normal_order);
  if (use_forced_order)
    choose_run_order();
  else
    permuted_order = normal_order;
  if (pass_debug_list_passes && FDEBUG) list_passes(FDEBUG);
}

void list_passes(FILE* to) {
  for (const pass* p : permuted_order)
    print_checked(to, "%2d:  %s\n", static_cast<int>(p->serial()), p->name().c_str());
}

void erase_all_passes() {
  while (!global_pass_manager.objects.empty()) {
    delete global_pass_manager.objects.back();
    global_pass_manager.objects.pop_back();
  }
}

pass* make_output_pass() {
  return new pass("output function", output_function);
}
