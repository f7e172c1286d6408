#include "OPT5/settings.h"

#include "OPT5/funinfo.h"
#include "OPT5/streams.h"
#include "options/option_obj.h"

#include <cstring>

GLOBAL_FLAGS flags;
thread_local int chars_alias_other_types;
int caot_ref;
thread_local int no_outside_callers, no_outside_writers;
int cpu_version = CPU_VRX200;
bool do_IP_MVP, do_int_MVP;
std::list<OPTION_SET> icode_optionlist;
std::vector<option_obj*> all_option_sets;
option_obj* cmdline_options;
option_obj* file_options;

option_obj* current_options() {
  if (!currfunc) return file_options;
  const unsigned set = currfunc->option_set;
  return set < all_option_sets.size() && all_option_sets[set] ? all_option_sets[set] : file_options;
}

int opt_level() {
  const option_obj* options = current_options();
  if (!options || !options->isset(OPT_opt_level)) return 1;
  switch (options->getnumarg(OPT_opt_level, 0)) {
  case LEVEL_0: return 0;
  case LEVEL_1: return 1;
  case LEVEL_2: return 2;
  case LEVEL_3: return 3;
  case LEVEL_4: return 4;
  case LEVEL_OFF: return 0;
  default: return 1;
  }
}

int size_speed_goal() {
  const option_obj* options = current_options();
  if (!options || !options->isset(OPT_size_speed_goal)) return 4;
  switch (options->getnumarg(OPT_size_speed_goal, 0)) {
  case GOAL_HIGH_RISK_PERFORMANCE: return 5;
  case GOAL_HIGH_RISK_SIZE: return 0;
  case GOAL_LOW_RISK_PERFORMANCE: return 3;
  case GOAL_LOW_RISK_SIZE: return 2;
  case GOAL_MEDIUM_RISK_PERFORMANCE: return 4;
  case GOAL_MEDIUM_RISK_SIZE: return 1;
  default: return 4;
  }
}

int auto_inline() {
  const option_obj* options = current_options();
  return options ? static_cast<int>(options->getnumarg(OPT_auto_inline, 0)) : 0;
}

void reset_global_flags() {
  flags = {};
  flags.cache_sys_funinfo = 2;
  flags.code_is_reentrant = flags.unsigned_index_wraps = flags.strict_fp = 1;
  flags.program_mode = -1;
  flags.max_unrolled_loop_size = 195;
  chars_alias_other_types = caot_ref = 1;
}

void set_global_flags(option_obj* options) {
  auto given = [options](option_id id) { return options->isset(id); };
  flags.alias_vars_option |= given(OPT_aliased_variables);
  flags.inline_single |= given(OPT_single_inline);
  flags.dump_ocg_in_GDL |= given(OPT_dump_call_graph);
  flags.dwim_aliases |= given(OPT_no_bad_aliases);
  flags.dwim_loops |= given(OPT_dwim_loops);
  flags.far_externs |= given(OPT_far_externs);
  flags.kr_flag |= given(OPT_kr_compatible);
  flags.memory_is_big_endian |= given(OPT_big_endian) || options->getnumarg(OPT_endian, 0) == 8;
  flags.memory_model |= given(OPT_large_memory_model);
  flags.pass_args_in_regs |= given(OPT_pass_args_in_regs);
  flags.source_interlist |= given(OPT_optimizer_interlist);
  flags.unsigned_ok_for_RPTB |= given(OPT_unsigned_ok_for_rptb);
  flags.volit_vars |= given(OPT_volit_vars);
  flags.old_const_pointer_behavior |= given(OPT_use_const_for_alias_analysis);
  flags.use_g2 |= given(OPT_use_g2);
  if (given(OPT_non_reentrant)) flags.code_is_reentrant = 0;
  if (options->getnumarg(OPT_fp_mode, 0) == 13) flags.strict_fp = 0;
  if (given(OPT_call_assumptions))
    flags.program_mode = static_cast<int>(options->getnumarg(OPT_call_assumptions, 0));
  if (given(OPT_max_unrolled_loop_size))
    flags.max_unrolled_loop_size =
        static_cast<int>(options->getnumarg(OPT_max_unrolled_loop_size, 0));
  for (int k = 0; k < options->set_count(OPT_aux_cmd_flag); k++) {
    const long bit = options->getnumarg(OPT_aux_cmd_flag, k);
    if (bit < 64) flags.auxiliary[bit / 32] |= static_cast<int>(1u << (bit % 32));
  }
}

void restore_global_flags() {
  if (!print_debug) return;
  print_if_debug("[Restoring options");
  print_if_debug(" --> -o%d -i%d", opt_level(), auto_inline());
  print_if_debug(" --opt_for_speed=%d", size_speed_goal());
  print_if_debug("]\n");
}

void init_target() {
  cpu_version = CPU_VRX200;
  const char* name = file_options ? file_options->getstrarg(OPT_silicon_version, 0) : nullptr;
  if (!name || strcmp(name, "vrx200") == 0 || strcmp(name, "28") == 0) return;
  if (strcmp(name, "vrx100") == 0 || strcmp(name, "27") == 0) {
    cpu_version = CPU_VRX100;
    return;
  }
  fprintf(stderr, "\n>>>> Warning: unrecognized option: '-v%d'\n\n", atoi(name));
}
