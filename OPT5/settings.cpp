// The settings of the current function and of the unit, from their option sets.

#include "OPT5/settings.h"

#include "OPT5/funinfo.h"
#include "OPT5/streams.h"
#include "TYPES/type_pkg.h"
#include "options/option_obj.h"

#include <algorithm>

GLOBAL_FLAGS flags;
int aux_cmd_flag[AUX_CMD_FLAGS];
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
  const int goal = goal_number(options->getnumarg(OPT_size_speed_goal, 0));
  return goal < 0 ? 4 : goal;
}

int auto_inline() {
  constexpr int default_o3_auto_inline = 20, default_o2_auto_inline = 20;
  const option_obj* options = current_options();
  for (const option_obj* from : {options, static_cast<const option_obj*>(file_options)}) {
    if (from && from->isset(OPT_disable_inlining)) return 0;
    if (from && from->isset(OPT_auto_inline))
      return static_cast<int>(from->getnumarg(OPT_auto_inline, 0));
  }
  if (!options || !options->isset(OPT_opt_level)) return 0;
  if (opt_level() >= 3) return default_o3_auto_inline;
  return opt_level() == 2 ? default_o2_auto_inline : 0;
}

void reset_global_flags() {
  flags = {};
  std::fill(std::begin(aux_cmd_flag), std::end(aux_cmd_flag), 0);
  flags.cache_sys_funinfo = 2;
  flags.code_is_reentrant = flags.unsigned_index_wraps = flags.strict_fp = 1;
  flags.program_mode = -1;
  flags.max_unrolled_loop_size = 195;
  chars_alias_other_types = caot_ref = 1;
}

static bool is_large_data(const option_obj* options) {
  const long model = options->getnumarg(OPT_mem_model_data, 0);
  return model == DATA_FAR || model == DATA_LARGE || model == DATA_HUGE;
}

static void set_aux_cmd_flag(long id) {
  aux_cmd_flag[id] = 1;
  switch (id) {
  case 0: flags.mini_mult = 1; break;
  case 2: flags.apply_symbolic_methods = 1; break;
  case 3: flags.pointer_args_are_disjoint = 1; break;
  case 4: flags.loop_increments_are_not_zero = 1; break;
  case 5: flags.unsigned_index_wraps = 0; break;
  case 6: chars_alias_other_types = caot_ref = 0; break;
  default: break; // a pass reads the word itself
  }
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
  flags.memory_is_big_endian |=
      given(OPT_big_endian) || options->getnumarg(OPT_endian, 0) == ENDIAN_BIG;
  flags.memory_model |= given(OPT_large_memory_model) || is_large_data(options);
  flags.pass_args_in_regs |= given(OPT_pass_args_in_regs);
  flags.source_interlist |= given(OPT_optimizer_interlist);
  flags.unsigned_ok_for_RPTB |= given(OPT_unsigned_ok_for_rptb);
  flags.volit_vars |= given(OPT_volit_vars);
  flags.old_const_pointer_behavior |= given(OPT_use_const_for_alias_analysis);
  flags.use_g2 |= given(OPT_use_g2);
  if (given(OPT_non_reentrant)) flags.code_is_reentrant = 0;
  if (options->getnumarg(OPT_fp_mode, 0) == FP_MODE_RELAXED) flags.strict_fp = 0;
  // No bad aliases: two pointer parameters don't meet either. Well-behaved loops move on.
  flags.pointer_args_are_disjoint |= given(OPT_no_bad_aliases);
  flags.loop_increments_are_not_zero |= given(OPT_dwim_loops);
  if (given(OPT_dwim_loops)) flags.unsigned_index_wraps = 0;
  if (given(OPT_std_lib_func_redefined)) flags.cache_sys_funinfo = 0;
  if (given(OPT_std_lib_func_defined)) flags.cache_sys_funinfo = 1;
  if (given(OPT_std_lib_func_not_defined)) flags.cache_sys_funinfo = 2;
  if (given(OPT_call_assumptions))
    flags.program_mode = static_cast<int>(options->getnumarg(OPT_call_assumptions, 0));
  if (given(OPT_max_unrolled_loop_size))
    flags.max_unrolled_loop_size =
        static_cast<int>(options->getnumarg(OPT_max_unrolled_loop_size, 0));
  for (unsigned k = 0; k < options->getargcount(OPT_aux_cmd_flag); k++)
    set_aux_cmd_flag(options->getnumarg(OPT_aux_cmd_flag, k));
  // The types of the unit are laid out for the device that the options describe.
  if (given(OPT_abi)) TYPE_PKG::abi = static_cast<int>(options->getnumarg(OPT_abi, 0));
  TYPE_PKG::byte_mode = given(OPT_byte_mode);
  const bool data_is_flat = options->getnumarg(OPT_mem_model_data, 0) == DATA_FLAT;
  TYPE_PKG::flat_memory_model =
      data_is_flat || (!given(OPT_mem_model_data) && !given(OPT_large_memory_model));
  TYPE_PKG::large_code_model = given(OPT_large_memory_model) ||
                               options->getnumarg(OPT_mem_model_code, 0) == CODE_LARGE ||
                               options->getnumarg(OPT_mem_model_code, 0) == CODE_FAR;
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
  if (!file_options || !file_options->isset(OPT_silicon_version)) return;
  const long number = file_options->getnumarg(OPT_silicon_version, 0);
  if (number == CPU_VRX100)
    cpu_version = CPU_VRX100;
  else if (number != CPU_VRX200)
    fprintf(stderr, "\n>>>> Warning: unrecognized option: '-v%d'\n\n", static_cast<int>(number));
}
