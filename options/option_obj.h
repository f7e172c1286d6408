// The declared command line: a table of options, and the values that one run or one option set
// gives them.
#pragma once

#include <string>
#include <vector>

enum option_id {
  OPT_abi,
  OPT_advice_performance,
  OPT_aliased_variables,
  OPT_auto_inline,
  OPT_aux_cmd_flag,
  OPT_big_endian,
  OPT_byte_mode,
  OPT_call_assumptions,
  OPT_coproc_support,
  OPT_debug,
  OPT_diag_wrap,
  OPT_disable,
  OPT_disable_inlining,
  OPT_dump_call_graph,
  OPT_dwim_loops,
  OPT_enable,
  OPT_endian,
  OPT_far_externs,
  OPT_float_support,
  OPT_fp_mode,
  OPT_fp_reassoc,
  OPT_gen_data_subsections,
  OPT_gen_func_subsections,
  OPT_gen_opt_info,
  OPT_global_register,
  OPT_help,
  OPT_ignore_stored_options,
  OPT_inline_recursion_limit,
  OPT_interrupt_threshold,
  OPT_keep_opt_ifile,
  OPT_kr_compatible,
  OPT_large_memory_model,
  OPT_list_passes,
  OPT_max_unrolled_loop_size,
  OPT_mem_model_code,
  OPT_mem_model_data,
  OPT_no_bad_aliases,
  OPT_non_reentrant,
  OPT_opt_for_cache,
  OPT_opt_for_space,
  OPT_opt_for_speed,
  OPT_opt_info_filename,
  OPT_opt_level,
  OPT_opt_passes,
  OPT_optimizer_interlist,
  OPT_option_dump,
  OPT_parallel,
  OPT_pass_args_in_regs,
  OPT_print_debug,
  OPT_program_level_recompile,
  OPT_remove_hooks_when_inlining,
  OPT_rpt_threshold,
  OPT_sat_reassoc,
  OPT_section_sizes,
  OPT_silicon_version,
  OPT_single_inline,
  OPT_size_speed_goal,
  OPT_std_lib_func_defined,
  OPT_std_lib_func_not_defined,
  OPT_std_lib_func_redefined,
  OPT_toolversion,
  OPT_unified_memory,
  OPT_unsigned_ok_for_rptb,
  OPT_usage,
  OPT_use_const_for_alias_analysis,
  OPT_use_g2,
  OPT_use_g3,
  OPT_use_llvm,
  OPT_vectorize,
  OPT_volit_vars,
  OPTION_COUNT
};

// Values of one-of items; unique across all lists, stored as the option's number.
enum option_item {
  ABI_COFFABI = 1,
  ABI_EABI = 2,
  LEVEL_0 = 33,
  LEVEL_1,
  LEVEL_2,
  LEVEL_3,
  LEVEL_4,
  LEVEL_OFF,
  GOAL_HIGH_RISK_PERFORMANCE = 43,
  GOAL_HIGH_RISK_SIZE,
  GOAL_LOW_RISK_PERFORMANCE,
  GOAL_LOW_RISK_SIZE,
  GOAL_MEDIUM_RISK_PERFORMANCE,
  GOAL_MEDIUM_RISK_SIZE
};

class option_obj {
public:
  static std::string executable_name;
  static const char* (*next_arg)(); // the next process argument, or null when none is left

  // One argument without its first dash. Arguments of options stand behind "=" or, for options that
  // need one, in the next process argument. A bad option is reported and ends the run.
  void process_option(const char* text);

  bool isset(option_id id) const { return !values[id].texts.empty(); }
  int set_count(option_id id) const { return static_cast<int>(values[id].texts.size()); }
  // Argument k of an option, counted from the newest; 0 or null if there is none.
  long getnumarg(option_id id, unsigned k) const;
  const char* getstrarg(option_id id, unsigned k) const;
  void setopt(option_id id, long number);
  void clearopt(option_id id);
  // The options in the order of setting, as texts that process_option takes.
  std::vector<std::string> export_option_pairs() const;
  void dump() const; // to standard output

  static void print_help();

private:
  struct VALUE {
    std::vector<std::string> texts; // one a setting, newest last
    std::vector<long> numbers;
  };
  VALUE values[OPTION_COUNT];
  std::vector<std::pair<option_id, size_t>> history;

  void set(option_id id, const std::string& text, long number);
};
