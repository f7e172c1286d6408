// The declared options: one row each, with everything that is known of it.
#pragma once

#include <cstdint>
#include <string>

enum option_id : int {
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
  // Options that have a short form only.
  OPT_end_of_options,
  OPT_message_level,
  OPT_option_dump,
  OPT_option_trace,
  OPT_ignore_stored_options,
  OPTION_COUNT,
  // Pseudo ids.
  OPT_none = OPTION_COUNT // "no option": what a text means that names none
};

enum class_id : int {
  CLASS_all,
  // The next three head the groups of the help text; each option is in one of them.
  CLASS_target,
  CLASS_optimization,
  CLASS_information,
  CLASS_memory,
  CLASS_floating_point,
  CLASS_assumptions,
  CLASS_inlining,
  CLASS_loops,
  CLASS_goals,
  CLASS_switches,
  CLASS_queries,
  CLASS_COUNT
};

// Values of one-of items; unique across all lists, stored as the option's number.
enum option_item : long {
  ABI_COFFABI = 1,
  ABI_EABI,
  COPROC_0,
  COPROC_1,
  COPROC_2,
  DIAG_WRAP_OFF,
  DIAG_WRAP_ON,
  ENDIAN_BIG,
  ENDIAN_LITTLE,
  FLOAT_FPU32,
  FLOAT_FPU64,
  FLOAT_SOFTLIB,
  FP_MODE_RELAXED,
  FP_MODE_STRICT,
  FP_REASSOC_OFF,
  FP_REASSOC_ON,
  DATA_SUBSECTIONS_OFF,
  DATA_SUBSECTIONS_ON,
  FUNC_SUBSECTIONS_OFF,
  FUNC_SUBSECTIONS_ON,
  CODE_FAR,
  CODE_FLAT,
  CODE_LARGE,
  CODE_NEAR,
  CODE_SMALL,
  DATA_FAR,
  DATA_FAR_AGGREGATES,
  DATA_FLAT,
  DATA_HUGE,
  DATA_LARGE,
  DATA_NEAR,
  DATA_SMALL,
  LEVEL_0,
  LEVEL_1,
  LEVEL_2,
  LEVEL_3,
  LEVEL_4,
  LEVEL_OFF,
  SAT_REASSOC_OFF,
  SAT_REASSOC_ON,
  SECTION_SIZES_OFF,
  SECTION_SIZES_ON,
  GOAL_HIGH_RISK_PERFORMANCE,
  GOAL_HIGH_RISK_SIZE,
  GOAL_LOW_RISK_PERFORMANCE,
  GOAL_LOW_RISK_SIZE,
  GOAL_MEDIUM_RISK_PERFORMANCE,
  GOAL_MEDIUM_RISK_SIZE,
  VECTORIZE_OFF,
  VECTORIZE_ON
};

// An item of a one-of argument. The first character of the text is not part of it: "+" marks an
// item in use, "-" a deprecated one, which is accepted with a warning.
struct OPTION_ITEM {
  const char* text;
  long value;
};

enum ARG_TYPE {
  ARG_NONE,
  ARG_NUMBER,
  ARG_NUMBER_LIST,
  ARG_HEXNUM, // unsigned, shown in hexadecimal
  ARG_STRING,
  ARG_STRING_LIST, // stands directly behind the option's name, which ends in a colon
  ARG_ENUM,        // one of the items
  ARG_ONEOF_LIST
};

// What happens when options of several files are put together.
enum MERGE_POLICY {
  MERGE_EXACT,
  MERGE_EXACT_NOTSET,
  MERGE_OR,
  MERGE_AND,
  MERGE_MAX,
  MERGE_MIN,
  MERGE_NONE,
  MERGE_MAIN,
  MERGE_CUSTOM,
  MERGE_POLICY_COUNT
};

// Flags of an option.
enum : uint32_t {
  FLAG_PERSISTENT = 1,        // a conflict can't clear it
  FLAG_POWER_OF_2 = 2,        // its number must be one
  FLAG_COMMAND_LINE_ONLY = 4, // ignored in stored option sets
  FLAG_RETIRED = 8            // refused, with a message
};

// The tools of the toolchain that may know an option.
enum TOOL_TYPE : int {
  TOOL_SHELL,
  TOOL_PARSER,
  TOOL_OPTIMIZER,
  TOOL_CODEGEN,
  TOOL_ASSEMBLER,
  TOOL_LINKER,
  TOOL_ARCHIVER,
  TOOL_OBJECT, // the tools that read or change object files
  TOOL_TYPE_COUNT
};
constexpr unsigned FOR_TOOL(TOOL_TYPE t) {
  return 1u << t;
}
constexpr unsigned FOR_COMPILER = FOR_TOOL(TOOL_SHELL) | FOR_TOOL(TOOL_PARSER) |
                                  FOR_TOOL(TOOL_OPTIMIZER) | FOR_TOOL(TOOL_CODEGEN);
constexpr unsigned FOR_ALL_TOOLS = (1u << TOOL_TYPE_COUNT) - 1;

constexpr long ANY_NUMBER = 0x7FFFFFFF; // the upper end of a range that has none
constexpr long MUST_BE_GIVEN = -1;

struct OPTION_DEFINITION {
  option_id id;
  const char* enum_text; // the id's own name
  const char* name;      // long form, without dashes; null for an option without one
  const char* alternate; // letter or pair that stands behind one dash, or null
  const char* parameter; // word for the argument; null without one
  ARG_TYPE arg;
  long low, high;           // range of a number
  long without;             // number when the argument is left out, or MUST_BE_GIVEN
  const char* default_text; // what holds without the option; null if it is plainly off
  const OPTION_ITEM* items; // of a one-of argument, ended by a null text
  unsigned classes;         // bit k: member of class k
  uint32_t flags;
  unsigned tools;
  MERGE_POLICY policy;
  const char* help;
  const char* waits_for; // what gives it an effect; null: it has one
};
// One row an option, in the order of the ids, and a row of id OPT_none behind them.
extern const OPTION_DEFINITION option_definitions[OPTION_COUNT + 1];

extern const char* const class_names[CLASS_COUNT];
// Headings of the help text: classes CLASS_target to CLASS_information.
struct CLASS_DESCRIPTION {
  class_id id;
  const char* heading;
};
extern const CLASS_DESCRIPTION class_descriptions[3];

// A later option against an earlier one.
enum CONFLICT_ACTION { CONFLICT_CLEARS, CONFLICT_OVERRIDES, CONFLICT_IS_ERROR };
struct OPTION_CONFLICT {
  option_id later;
  long later_value; // 0: any
  option_id earlier;
  long earlier_value; // 0: any
  CONFLICT_ACTION action;
};
extern const OPTION_CONFLICT option_conflicts[];
extern const int OPTION_CONFLICT_COUNT;

// Is `option` a member of `group`?
bool isclass(option_id option, class_id group);
// "OPT_opt_level" and "--opt_level" (for an option without a long form the short one).
const char* enum_to_enumtxt(option_id option);
const char* enum_to_optiontxt(option_id option);
// The text of a list's item without its mark; null if the list has no such value.
const char* item_text(const OPTION_ITEM* items, long value);

// The number of a goal by its item value: 0, the smallest code, to 5, the fastest; -1 for other
// values.
int goal_number(long item);
// The items as "a,b,c", deprecated ones left out.
std::string item_list_text(const OPTION_DEFINITION& def, const char* between = ",");
