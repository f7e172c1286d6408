// Named integer switches for developers: global objects that any pass reads as an int. The user
// sets them by --debug:, --enable: and --disable:. Set before threads start, read-only afterwards.
#pragma once

#include <map>
#include <string>

class register_option {
public:
  explicit register_option(const char* name);
  operator int() const { return value; }
  register_option& operator=(int v) {
    value = v;
    return *this;
  }
  static register_option* get_option(const std::string& name); // null for an unknown name
  static std::map<std::string, int> get_state();
  static void set_state(const std::map<std::string, int>& state);
  static void reset_state();

private:
  int value = 0;
};

// "a=3,b" under the prefix "debug" sets "debug:a" to 3 and "debug:b" to 1. Values are read with
// base 0. Unknown names are ignored.
void process_debug_option(const char* prefix, const char* list);

// The switches: prefix, name of the object's tail, name in the option.
#define FOR_EACH_SWITCH(X)                                                                                               \
  X(debug, NLC)                                                                                                          \
  X(debug, SIMD)                                                                                                         \
  X(debug, abort) X(debug, aggressive_vec) X(debug, cfg_folding) X(debug, conservative_vec) X(                           \
      debug, dump_full_types) X(debug, dump_infix) X(debug, dump_infix_regs) X(debug,                                    \
                                                                               dump_infix_types)                         \
      X(debug, dump_minimal) X(debug, dump_otypes) X(debug, dump_psn) X(debug, dump_scope) X(                            \
          debug, dump_serial) X(debug, dump_sym_addr) X(debug, dump_tree_hint)                                           \
          X(debug, dump_trees) X(debug, dumprules) X(debug, help) X(debug, inline_benefit_call) X(                       \
              debug, inline_benefit_fold) X(debug, inline_benefit_pressure) X(debug,                                     \
                                                                              inline_commentary)                         \
              X(debug, inline_n) X(debug, inline_pressure_limit) X(debug, inline_restrict) X(                            \
                  debug, inline_small_limit) X(debug, inline_static_limit) X(debug, lir_compare)                         \
                  X(debug, lir_no_sym_prefix) X(debug, lir_revert_dump_dag) X(                                           \
                      debug, lir_serial_compact) X(debug, lir_show)                                                      \
                      X(debug, lir_time) X(debug, list_passes) X(debug, max_unroll_size) X(                              \
                          debug, mdebug) X(debug,                                                                        \
                                           nfa_by_cost) X(debug, noinstrument)                                           \
                          X(debug, nthreads) X(debug, optimizer_estimates) X(debug, parsemd) X(                          \
                              debug, parser) X(debug,                                                                    \
                                               skip_pass) X(debug, split_odb)                                            \
                              X(debug, synrules) X(disable, cps) X(disable, downcounters) X(disable, fcprevsymtab) X(    \
                                  disable,                                                                               \
                                  ilp) X(disable,                                                                        \
                                         inline_folding) X(disable, inline_profiled)                                     \
                                  X(disable, inline_tiny_leaves) X(disable, inline_waves) X(                             \
                                      disable,                                                                           \
                                      lir) X(disable,                                                                    \
                                             lir_early) X(disable, lir_early_default)                                    \
                                      X(disable, lir_late) X(disable, lir_late_default) X(                               \
                                          disable, lir_revert_clean) X(disable, lir_ssa_coalesce)                        \
                                          X(disable, lir_ssa_remove_copies) X(disable, lir_vn_simp) X(                   \
                                              disable,                                                                   \
                                              loop_coalescing) X(disable,                                                \
                                                                 newinline) X(disable, simple_rotation)                  \
                                              X(disable, ssa_vpred) X(disable, superblock_opt) X(                        \
                                                  disable,                                                               \
                                                  switch_hoisting) X(disable, tail_duplication)                          \
                                                  X(disable, target_expansion) X(disable, threads) X(                    \
                                                      disable,                                                           \
                                                      trace_straighten) X(disable, vectorpred)                           \
                                                      X(disable, vecvec) X(disable, vn) X(                               \
                                                          enable,                                                        \
                                                          groupall) X(enable, interference_graph_phi_node_instantiation) \
                                                          X(enable, lir_early) X(enable, lir_early_cse) X(               \
                                                              enable,                                                    \
                                                              lir_early_dead_elim) X(enable,                             \
                                                                                     lir_early_fwp)                      \
                                                              X(enable, lir_early_null) X(                               \
                                                                  enable,                                                \
                                                                  lir_early_ssa) X(enable,                               \
                                                                                   lir_late) X(enable,                   \
                                                                                               lir_late_cse)             \
                                                                  X(enable, lir_late_dead_elim) X(                       \
                                                                      enable,                                            \
                                                                      lir_late_fwp)                                      \
                                                                      X(enable, lir_late_null) X(                        \
                                                                          enable,                                        \
                                                                          lir_late_ssa)                                  \
                                                                          X(enable, lir_revert_simp) X(                  \
                                                                              enable,                                    \
                                                                              lir_ssa_no_move_across_live_range)         \
                                                                              X(enable,                                  \
                                                                                lir_ssa_remove_useless_phis)             \
                                                                                  X(enable,                              \
                                                                                    lir_vn_loads)                        \
                                                                                      X(enable,                          \
                                                                                        naive_phi_node_instantiation)    \
                                                                                          X(enable,                      \
                                                                                            static_profiling)            \
                                                                                              X(enable,                  \
                                                                                                time_stats)

#define DECLARE_SWITCH(prefix, name) extern register_option pass_##prefix##_##name;
FOR_EACH_SWITCH(DECLARE_SWITCH)
#undef DECLARE_SWITCH
extern register_option pass_enable_loop_fusion; // "enable:fusion"
