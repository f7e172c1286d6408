#include "options/option_table.h"

#include <initializer_list>
#include <iterator>
#include <vector>

namespace {

constexpr OPTION_ITEM OO_ABI_ITEMLIST[] = {{"+coffabi", ABI_COFFABI}, {"+eabi", ABI_EABI}, {}};
constexpr OPTION_ITEM OO_COPROC_SUPPORT_ITEMLIST[] = {
    {"+coproc0", COPROC_0}, {"+coproc1", COPROC_1}, {"+coproc2", COPROC_2}, {}};
constexpr OPTION_ITEM OO_DIAG_WRAP_ITEMLIST[] = {
    {"+on", DIAG_WRAP_ON}, {"+off", DIAG_WRAP_OFF}, {}};
constexpr OPTION_ITEM OO_ENDIAN_ITEMLIST[] = {{"+big", ENDIAN_BIG}, {"+little", ENDIAN_LITTLE}, {}};
constexpr OPTION_ITEM OO_FLOAT_SUPPORT_ITEMLIST[] = {
    {"+fpu32", FLOAT_FPU32}, {"+fpu64", FLOAT_FPU64}, {"+softlib", FLOAT_SOFTLIB}, {}};
constexpr OPTION_ITEM OO_FP_MODE_ITEMLIST[] = {
    {"+relaxed", FP_MODE_RELAXED}, {"+strict", FP_MODE_STRICT}, {}};
constexpr OPTION_ITEM OO_FP_REASSOC_ITEMLIST[] = {
    {"+on", FP_REASSOC_ON}, {"+off", FP_REASSOC_OFF}, {}};
constexpr OPTION_ITEM OO_GEN_DATA_SUBSECTIONS_ITEMLIST[] = {
    {"+on", DATA_SUBSECTIONS_ON}, {"+off", DATA_SUBSECTIONS_OFF}, {}};
constexpr OPTION_ITEM OO_GEN_FUNC_SUBSECTIONS_ITEMLIST[] = {
    {"+on", FUNC_SUBSECTIONS_ON}, {"+off", FUNC_SUBSECTIONS_OFF}, {}};
constexpr OPTION_ITEM OO_MEM_MODEL__CODE_ITEMLIST[] = {
    {"+flat", CODE_FLAT},   {"+near", CODE_NEAR},   {"+far", CODE_FAR},
    {"+small", CODE_SMALL}, {"+large", CODE_LARGE}, {}};
constexpr OPTION_ITEM OO_MEM_MODEL__DATA_ITEMLIST[] = {
    {"+flat", DATA_FLAT},   {"+near", DATA_NEAR},
    {"+far", DATA_FAR},     {"+far_aggregates", DATA_FAR_AGGREGATES},
    {"+small", DATA_SMALL}, {"+large", DATA_LARGE},
    {"+huge", DATA_HUGE},   {}};
constexpr OPTION_ITEM OO_OPT_LEVEL_ITEMLIST[] = {{"+off", LEVEL_OFF},
                                                 {"+0", LEVEL_0},
                                                 {"+1", LEVEL_1},
                                                 {"+2", LEVEL_2},
                                                 {"+3", LEVEL_3},
                                                 {"+4", LEVEL_4},
                                                 {}};
constexpr OPTION_ITEM OO_SAT_REASSOC_ITEMLIST[] = {
    {"+on", SAT_REASSOC_ON}, {"+off", SAT_REASSOC_OFF}, {}};
constexpr OPTION_ITEM OO_SECTION_SIZES_ITEMLIST[] = {
    {"+on", SECTION_SIZES_ON}, {"+off", SECTION_SIZES_OFF}, {}};
constexpr OPTION_ITEM OO_SIZE_SPEED_GOAL_ITEMLIST[] = {
    {"+high_risk_performance", GOAL_HIGH_RISK_PERFORMANCE},
    {"+medium_risk_performance", GOAL_MEDIUM_RISK_PERFORMANCE},
    {"+low_risk_performance", GOAL_LOW_RISK_PERFORMANCE},
    {"+low_risk_size", GOAL_LOW_RISK_SIZE},
    {"+medium_risk_size", GOAL_MEDIUM_RISK_SIZE},
    {"+high_risk_size", GOAL_HIGH_RISK_SIZE},
    {}};
constexpr OPTION_ITEM OO_VECTORIZE_ITEMLIST[] = {
    {"+on", VECTORIZE_ON}, {"+off", VECTORIZE_OFF}, {}};

constexpr unsigned member_of(std::initializer_list<class_id> groups) {
  unsigned bits = 1u << CLASS_all;
  for (class_id group : groups)
    bits |= 1u << group;
  return bits;
}

// The class that heads an option's group, and what else it belongs to.
constexpr unsigned TARGET = member_of({CLASS_target});
constexpr unsigned TARGET_MEMORY = member_of({CLASS_target, CLASS_memory});
constexpr unsigned TARGET_FLOAT = member_of({CLASS_target, CLASS_floating_point});
constexpr unsigned OPTIMIZE = member_of({CLASS_optimization});
constexpr unsigned OPTIMIZE_FLOAT = member_of({CLASS_optimization, CLASS_floating_point});
constexpr unsigned OPTIMIZE_PROMISE = member_of({CLASS_optimization, CLASS_assumptions});
constexpr unsigned OPTIMIZE_INLINING = member_of({CLASS_optimization, CLASS_inlining});
constexpr unsigned OPTIMIZE_LOOPS = member_of({CLASS_optimization, CLASS_loops});
constexpr unsigned OPTIMIZE_LOOP_PROMISE =
    member_of({CLASS_optimization, CLASS_loops, CLASS_assumptions});
constexpr unsigned OPTIMIZE_GOAL = member_of({CLASS_optimization, CLASS_goals});
constexpr unsigned INFORMATION = member_of({CLASS_information});
constexpr unsigned INFORM_SWITCHES = member_of({CLASS_information, CLASS_switches});
constexpr unsigned INFORM_QUERY = member_of({CLASS_information, CLASS_queries});

constexpr unsigned OPT_AND_CG =
    FOR_TOOL(TOOL_SHELL) | FOR_TOOL(TOOL_OPTIMIZER) | FOR_TOOL(TOOL_CODEGEN);
constexpr unsigned OPT_ONLY = FOR_TOOL(TOOL_SHELL) | FOR_TOOL(TOOL_OPTIMIZER);

// The columns of an argument, from its word to the items.
#define NO_ARGUMENT nullptr, ARG_NONE, 0, 0, 1
#define ONE_OF(word, list) word, ARG_ENUM, 0, 0, MUST_BE_GIVEN, nullptr, list
#define ONE_OF_DEFAULT(word, list, text) word, ARG_ENUM, 0, 0, MUST_BE_GIVEN, text, list
#define ROW(id, name, alternate, ...)                                                              \
  { OPT_##id, "OPT_" #id, name, alternate, __VA_ARGS__ }
// clang-format off
#define FLAG_ROW(id, name, alternate, classes, flags, tools, policy, help, waits)                  \
  ROW(id, name, alternate, NO_ARGUMENT, nullptr, nullptr, classes, flags, tools, policy, help, waits)

constexpr const char* ALIASES = "alias analysis (steps 52, 67)";
constexpr const char* INLINING = "automatic inlining (step 6)";
constexpr const char* UNROLLING = "unrolling (steps 43 to 54)";
constexpr const char* VECTORS = "vectorisation (steps 28, 60, 63)";
constexpr const char* LAYOUT = "the code generator, which reads the option sets of the input";
constexpr const char* LIBRARY = "knowledge of library functions (step 3)";

} // namespace

constexpr OPTION_DEFINITION option_definitions[OPTION_COUNT + 1] = {
  ROW(abi, "abi", nullptr,
      ONE_OF_DEFAULT("convention", OO_ABI_ITEMLIST, "eabi, but names may have prefixes as with coffabi"),
      TARGET, 0, FOR_ALL_TOOLS, MERGE_EXACT, "conventions of object files and calls", nullptr),
  FLAG_ROW(advice_performance, "advice:performance", nullptr, INFORMATION, 0, FOR_COMPILER, MERGE_OR,
      "give advice on performance", "the loop steps that have advice to give (step 56)"),
  FLAG_ROW(aliased_variables, "aliased_variables", "a", OPTIMIZE_PROMISE, 0, OPT_AND_CG, MERGE_OR,
      "assume that called functions keep addresses of local variables", ALIASES),
  ROW(auto_inline, "auto_inline", "i", "limit", ARG_NUMBER, 0, ANY_NUMBER, 1,
      "20 from level 2 on, else 0", nullptr, OPTIMIZE_INLINING, 0, OPT_ONLY, MERGE_MIN, "inline functions up to this size without being told", INLINING),
  ROW(aux_cmd_flag, "aux_cmd_flag", nullptr, "id", ARG_NUMBER_LIST, 0, 9, MUST_BE_GIVEN, nullptr, nullptr,
      OPTIMIZE, 0, OPT_ONLY, MERGE_OR,
      "flip an auxiliary flag: 0 no shifts as products, 1 no unroll-and-jam, 2 symbolic methods, 3 pointer "
      "parameters are disjoint, 4 loop steps are not 0, 5 unsigned subscripts do not wrap, 6 characters alias "
      "characters only, 9 no global motion of scalar memory references; 7 and 8 mean nothing",
      "the steps that read the flags (36, 47, 58)"),
  FLAG_ROW(big_endian, "big_endian", "e", TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT,
      "memory is big-endian, as with --endian=big", "steps that look into the bytes of a value (24)"),
  FLAG_ROW(byte_mode, "byte_mode", nullptr, TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT,
      "addresses count bytes", LAYOUT),
  ROW(call_assumptions, "call_assumptions", "p", "0-3", ARG_NUMBER, 0, 3, MUST_BE_GIVEN,
      "the unit is the whole program from level 3 on", nullptr, OPTIMIZE_PROMISE, 0, OPT_ONLY, MERGE_CUSTOM,
      "what code outside the unit does to it: 0 calls functions and writes variables, 1 writes variables only, "
      "2 neither, 3 calls functions only", nullptr),
  ROW(coproc_support, "coproc_support", nullptr, "coprocessor", ARG_ONEOF_LIST, 0, 0, MUST_BE_GIVEN, nullptr,
      OO_COPROC_SUPPORT_ITEMLIST, TARGET, 0, FOR_COMPILER, MERGE_CUSTOM,
      "a coprocessor that the device has; may be given several times", LAYOUT),
  ROW(debug, "debug:", nullptr, "options", ARG_STRING_LIST, 0, 0, MUST_BE_GIVEN, nullptr, nullptr,
      INFORM_SWITCHES, 0, OPT_ONLY, MERGE_OR,
      "set developers' switches: names with commas between them, each with =number behind it or 1; "
      "--debug:help lists them", nullptr),
  ROW(diag_wrap, "diag_wrap", nullptr, ONE_OF_DEFAULT("on|off", OO_DIAG_WRAP_ITEMLIST, "on"), INFORMATION, 0,
      FOR_ALL_TOOLS, MERGE_MAIN, "wrap long messages", nullptr),
  ROW(disable, "disable:", nullptr, "options", ARG_STRING_LIST, 0, 0, MUST_BE_GIVEN, nullptr, nullptr,
      INFORM_SWITCHES, 0, OPT_ONLY, MERGE_OR, "switch parts of the tool off", nullptr),
  FLAG_ROW(disable_inlining, "disable_inlining", nullptr, OPTIMIZE_INLINING, FLAG_PERSISTENT, OPT_ONLY, MERGE_OR,
      "never inline", INLINING),
  FLAG_ROW(dump_call_graph, "dump_call_graph", "dc", INFORMATION, 0, OPT_ONLY, MERGE_OR,
      "write the call graph", "dump_call_graph_debug (step 7)"),
  FLAG_ROW(dwim_loops, "dwim_loops", nullptr, OPTIMIZE_LOOP_PROMISE, 0, OPT_ONLY, MERGE_AND,
      "promise: loop counters do not wrap and are not stepped by 0", "loop analysis (steps 30 to 62)"),
  ROW(enable, "enable:", nullptr, "options", ARG_STRING_LIST, 0, 0, MUST_BE_GIVEN, nullptr, nullptr,
      INFORM_SWITCHES, 0, OPT_ONLY, MERGE_OR, "switch parts of the tool on", nullptr),
  ROW(endian, "endian", nullptr, ONE_OF_DEFAULT("order", OO_ENDIAN_ITEMLIST, "little"), TARGET_MEMORY, 0,
      FOR_ALL_TOOLS, MERGE_EXACT, "byte order of memory", "steps that look into the bytes of a value (24)"),
  FLAG_ROW(far_externs, "far_externs", "f", TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT_NOTSET,
      "external variables are far", LAYOUT),
  ROW(float_support, "float_support", nullptr, ONE_OF("unit", OO_FLOAT_SUPPORT_ITEMLIST), TARGET_FLOAT, 0,
      FOR_ALL_TOOLS, MERGE_EXACT_NOTSET, "floating-point hardware", nullptr),
  ROW(fp_mode, "fp_mode", nullptr, ONE_OF_DEFAULT("mode", OO_FP_MODE_ITEMLIST, "strict"), OPTIMIZE_FLOAT, 0,
      FOR_COMPILER, MERGE_MAX, "how exact floating-point results must be", "simplification of floating expressions"),
  ROW(fp_reassoc, "fp_reassoc", nullptr, ONE_OF_DEFAULT("on|off", OO_FP_REASSOC_ITEMLIST, "off"), OPTIMIZE_FLOAT, 0,
      FOR_COMPILER, MERGE_MIN, "allow floating-point sums in another order", "reduction_interleaving (step 57)"),
  ROW(gen_data_subsections, "gen_data_subsections", nullptr,
      ONE_OF_DEFAULT("on|off", OO_GEN_DATA_SUBSECTIONS_ITEMLIST, "off"), TARGET, 0, FOR_COMPILER, MERGE_MAIN,
      "a section for each variable", LAYOUT),
  ROW(gen_func_subsections, "gen_func_subsections", nullptr,
      ONE_OF_DEFAULT("on|off", OO_GEN_FUNC_SUBSECTIONS_ITEMLIST, "off"), TARGET, 0, FOR_COMPILER, MERGE_MAIN,
      "a section for each function", LAYOUT),
  ROW(gen_opt_info, "gen_opt_info", "n", "level", ARG_NUMBER, 0, 2, 1, "0", nullptr, INFORMATION, 0, OPT_ONLY,
      MERGE_MAX, "write the information file: 1 what was done, 2 with details", nullptr),
  ROW(global_register, "global_register", "g", "reg", ARG_STRING, 0, 0, MUST_BE_GIVEN, nullptr, nullptr, TARGET, 0,
      FOR_COMPILER, MERGE_CUSTOM, "a register that holds a global variable", LAYOUT),
  FLAG_ROW(help, "help", "h", INFORM_QUERY, FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_NONE,
      "describe the options", nullptr),
  ROW(inline_recursion_limit, "inline_recursion_limit", nullptr, "limit", ARG_NUMBER, 0, ANY_NUMBER, MUST_BE_GIVEN,
      nullptr, nullptr, OPTIMIZE_INLINING, 0, OPT_ONLY, MERGE_MIN, "how deep recursive calls are inlined", INLINING),
  ROW(interrupt_threshold, "interrupt_threshold", "di", "threshold", ARG_HEXNUM, 0, 0xFFFFFFFFL, 1, nullptr, nullptr,
      OPTIMIZE_LOOPS, 0, FOR_COMPILER, MERGE_MIN, "the longest time without interrupts, in cycles",
      "software-pipeline prediction (step 54)"),
  FLAG_ROW(keep_opt_ifile, "keep_opt_ifile", nullptr, INFORMATION, 0, FOR_COMPILER, MERGE_OR,
      "the shell keeps the output file", "the shell: this tool always leaves its output"),
  FLAG_ROW(kr_compatible, "kr_compatible", "k", OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_OR,
      "the source is old-style C", "type checks of calls in inlining (step 6)"),
  FLAG_ROW(large_memory_model, "large_memory_model", "m", TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT,
      "large memory model of code and data", LAYOUT),
  FLAG_ROW(list_passes, "list_passes", nullptr, INFORM_QUERY, FLAG_COMMAND_LINE_ONLY, OPT_ONLY, MERGE_NONE,
      "list the steps by number and name, on standard error", nullptr),
  ROW(max_unrolled_loop_size, "max_unrolled_loop_size", "du", "size", ARG_NUMBER, 0, ANY_NUMBER, MUST_BE_GIVEN, "195",
      nullptr, OPTIMIZE_LOOPS, 0, OPT_ONLY, MERGE_MIN, "the largest loop body after unrolling", UNROLLING),
  ROW(mem_model_code, "mem_model:code", nullptr, ONE_OF_DEFAULT("model", OO_MEM_MODEL__CODE_ITEMLIST, "flat"),
      TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT, "memory model of code", LAYOUT),
  ROW(mem_model_data, "mem_model:data", nullptr, ONE_OF_DEFAULT("model", OO_MEM_MODEL__DATA_ITEMLIST, "flat"),
      TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT, "memory model of data", LAYOUT),
  FLAG_ROW(no_bad_aliases, "no_bad_aliases", nullptr, OPTIMIZE_PROMISE, 0, OPT_ONLY, MERGE_AND,
      "promise: no object is reached in two ways that the types do not show; pointer parameters are disjoint", ALIASES),
  FLAG_ROW(non_reentrant, "non_reentrant", nullptr, OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_AND,
      "promise: no function is entered while it is running", "file-level analysis (step 3)"),
  FLAG_ROW(opt_for_cache, "opt_for_cache", "c", OPTIMIZE_GOAL, 0, OPT_AND_CG, MERGE_AND,
      "keep loops small enough for the program cache", UNROLLING),
  ROW(opt_for_space, "opt_for_space", "z", "level", ARG_NUMBER, 0, 3, 3, nullptr, nullptr, OPTIMIZE_GOAL, 0,
      FOR_COMPILER, MERGE_MIN, "prefer small code; 3 is goal 0, 0 is goal 3 of --opt_for_speed", nullptr),
  ROW(opt_for_speed, "opt_for_speed", nullptr, "0-5", ARG_NUMBER, 0, 5, 4, "4", nullptr, OPTIMIZE_GOAL, 0,
      FOR_COMPILER, MERGE_MIN, "prefer fast code: 0 is smallest, 5 is fastest", nullptr),
  ROW(opt_info_filename, "opt_info_filename", nullptr, "filename", ARG_STRING, 0, 0, MUST_BE_GIVEN,
      "the input's name with .nfo", nullptr, INFORMATION, 0, OPT_ONLY, MERGE_MAIN, "path of the information file",
      nullptr),
  ROW(opt_level, "opt_level", "o", ONE_OF_DEFAULT("level", OO_OPT_LEVEL_ITEMLIST, "1"), OPTIMIZE_GOAL, 0,
      FOR_COMPILER, MERGE_MIN, "how much to optimise: 0 nothing, 1 in a block, 2 in a function, 3 in the unit, "
      "4 in the program", nullptr),
  ROW(opt_passes, "opt_passes", "x", "string", ARG_STRING, 0, 0, MUST_BE_GIVEN, nullptr, nullptr, INFORM_SWITCHES, 0,
      OPT_ONLY, MERGE_MAIN, "run these steps in this order, by number; or \"random\"", nullptr),
  FLAG_ROW(optimizer_interlist, "optimizer_interlist", "s", INFORMATION, 0, FOR_COMPILER, MERGE_OR,
      "leave comments on the source in the output", nullptr),
  ROW(parallel, "parallel", "j", "parallelism", ARG_NUMBER, 0, ANY_NUMBER, 0, "0", nullptr, INFORM_SWITCHES, 0,
      OPT_ONLY, MERGE_MAIN, "work on this many functions at a time; below 2 on one", nullptr),
  FLAG_ROW(pass_args_in_regs, "pass_args_in_regs", "r", TARGET, 0, FOR_COMPILER, MERGE_EXACT,
      "arguments travel in registers", "calls in loops (step 30 and later)"),
  ROW(print_debug, "print_debug", "d", "level", ARG_NUMBER, 0, ANY_NUMBER, 1, "0", nullptr, INFORM_SWITCHES, 0, OPT_ONLY,
      MERGE_MAX, "write the debug file, the input's name with .odb", nullptr),
  FLAG_ROW(program_level_recompile, "program_level_recompile", nullptr, OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_AND,
      "the unit is compiled again with knowledge of the whole program", "file-level analysis (step 3)"),
  FLAG_ROW(remove_hooks_when_inlining, "remove_hooks_when_inlining", nullptr, OPTIMIZE_INLINING, 0, OPT_ONLY,
      MERGE_AND, "leave entry and exit hooks out of inlined code", INLINING),
  ROW(rpt_threshold, "rpt_threshold", nullptr, "0-256", ARG_NUMBER, 0, 256, MUST_BE_GIVEN, nullptr, nullptr,
      OPTIMIZE_LOOPS, 0, FOR_COMPILER, MERGE_MIN, "the longest count of a repeat instruction", LAYOUT),
  ROW(sat_reassoc, "sat_reassoc", nullptr, ONE_OF_DEFAULT("on|off", OO_SAT_REASSOC_ITEMLIST, "off"), OPTIMIZE_FLOAT, 0,
      FOR_COMPILER, MERGE_MIN, "allow saturating sums in another order", "reduction_interleaving (step 57)"),
  ROW(section_sizes, "section_sizes", nullptr, ONE_OF_DEFAULT("on|off", OO_SECTION_SIZES_ITEMLIST, "off"), INFORMATION,
      0, FOR_ALL_TOOLS, MERGE_MAIN, "report the sizes of sections", LAYOUT),
  ROW(silicon_version, "silicon_version", "v", "id", ARG_STRING, 0, 0, MUST_BE_GIVEN, "vrx200", nullptr, TARGET, 0,
      FOR_ALL_TOOLS, MERGE_EXACT, "the device: vrx200 or vrx100", nullptr),
  FLAG_ROW(single_inline, "single_inline", "ds", OPTIMIZE_INLINING, 0, OPT_ONLY, MERGE_AND,
      "inline functions that are called at one place only", INLINING),
  ROW(size_speed_goal, "size_speed_goal", nullptr,
      ONE_OF_DEFAULT("goal", OO_SIZE_SPEED_GOAL_ITEMLIST, "medium_risk_performance"), OPTIMIZE_GOAL, 0, FOR_COMPILER,
      MERGE_MIN, "balance of size and speed, and the risk to take for it", nullptr),
  FLAG_ROW(std_lib_func_defined, "std_lib_func_defined", "h1", OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_CUSTOM,
      "the unit defines library functions, and they do what the standard says", LIBRARY),
  FLAG_ROW(std_lib_func_not_defined, "std_lib_func_not_defined", "h2", OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_CUSTOM,
      "the unit only calls library functions (this is the default)", LIBRARY),
  FLAG_ROW(std_lib_func_redefined, "std_lib_func_redefined", "h0", OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_CUSTOM,
      "the unit has functions of its own under names of the library", LIBRARY),
  FLAG_ROW(toolversion, "toolversion", nullptr, INFORM_QUERY, FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_NONE,
      "print the version", nullptr),
  FLAG_ROW(unified_memory, "unified_memory", nullptr, TARGET_MEMORY, 0, FOR_COMPILER, MERGE_EXACT,
      "code and data share one memory", LAYOUT),
  FLAG_ROW(unsigned_ok_for_rptb, "unsigned_ok_for_rptb", "u", OPTIMIZE_LOOP_PROMISE, 0, FOR_COMPILER, MERGE_AND,
      "promise: counts of unsigned loops fit the repeat block", "rotation of loops (step 69)"),
  FLAG_ROW(usage, "usage", "?", INFORM_QUERY, FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_NONE,
      "list the options in short", nullptr),
  FLAG_ROW(use_const_for_alias_analysis, "use_const_for_alias_analysis", nullptr, OPTIMIZE_PROMISE, 0, OPT_ONLY,
      MERGE_AND, "promise: nothing is written through a pointer to const", ALIASES),
  FLAG_ROW(use_g2, "use_g2", nullptr, TARGET, 0, FOR_COMPILER, MERGE_EXACT_NOTSET,
      "second generation of code generation", LAYOUT),
  FLAG_ROW(use_g3, "use_g3", nullptr, TARGET, 0, FOR_COMPILER, MERGE_EXACT_NOTSET,
      "third generation of code generation", LAYOUT),
  FLAG_ROW(use_llvm, "use_llvm", nullptr, TARGET, 0, FOR_COMPILER, MERGE_EXACT_NOTSET,
      "the other code generator", LAYOUT),
  ROW(vectorize, "vectorize", nullptr, ONE_OF_DEFAULT("on|off", OO_VECTORIZE_ITEMLIST, "on"), OPTIMIZE_LOOPS, 0, OPT_ONLY,
      MERGE_MIN, "use vector instructions in loops", VECTORS),
  FLAG_ROW(volit_vars, "volit_vars", nullptr, OPTIMIZE_PROMISE, 0, FOR_COMPILER, MERGE_OR,
      "all memory but local variables is volatile; warns", ALIASES),

  FLAG_ROW(end_of_options, nullptr, "-", INFORMATION, FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_NONE,
      "what follows are file names, even with a dash", nullptr),
  ROW(message_level, nullptr, "t", "level", ARG_NUMBER, 0, 4, MUST_BE_GIVEN, "1", nullptr, INFORMATION,
      FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_MAIN,
      "which messages to print: 0 errors, 1 and warnings, 2 and remarks and advice, 3 and debug messages, "
      "4 all with their codes and origins", nullptr),
  FLAG_ROW(option_dump, nullptr, "#", INFORM_QUERY, FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_NONE,
      "print the options in force for the input, and end", nullptr),
  FLAG_ROW(option_trace, nullptr, "#v", INFORMATION, FLAG_COMMAND_LINE_ONLY, FOR_ALL_TOOLS, MERGE_NONE,
      "print each action on options; with -# their history too", nullptr),
  FLAG_ROW(ignore_stored_options, nullptr, "y", INFORMATION, FLAG_COMMAND_LINE_ONLY, OPT_ONLY, MERGE_NONE,
      "ignore the option sets stored in the input", nullptr),
  {OPT_none, "OPT_none", nullptr, nullptr, NO_ARGUMENT, nullptr, nullptr, 0, 0, 0, MERGE_NONE, nullptr, nullptr},
};
// clang-format on

static constexpr bool rows_are_in_order() {
  for (int k = 0; k <= OPTION_COUNT; k++)
    if (option_definitions[k].id != k) return false;
  return true;
}
static_assert(OPTION_COUNT == 73 && rows_are_in_order());

// The tree that finds long names by their prefixes has no place for a name inside another one.
static constexpr bool names_stand_apart() {
  for (const OPTION_DEFINITION& a : option_definitions)
    for (const OPTION_DEFINITION& b : option_definitions) {
      if (&a == &b || !a.name || !b.name) continue;
      const char *p = a.name, *q = b.name;
      while (*p && *p == *q)
        p++, q++;
      if (!*p) return false;
    }
  return true;
}
static_assert(names_stand_apart());

const char* const class_names[CLASS_COUNT] = {
    "all",         "target",   "optimization", "information", "memory",   "floating_point",
    "assumptions", "inlining", "loops",        "goals",       "switches", "queries",
};

const CLASS_DESCRIPTION class_descriptions[3] = {
    {CLASS_optimization, "Optimisation"},
    {CLASS_target, "Target and layout"},
    {CLASS_information, "Information, messages and debugging"},
};

const OPTION_CONFLICT option_conflicts[] = {
    {OPT_big_endian, 0, OPT_endian, ENDIAN_LITTLE, CONFLICT_OVERRIDES},
    {OPT_endian, ENDIAN_LITTLE, OPT_big_endian, 0, CONFLICT_OVERRIDES},
    {OPT_opt_for_space, 0, OPT_opt_for_speed, 0, CONFLICT_CLEARS},
    {OPT_opt_for_space, 0, OPT_size_speed_goal, 0, CONFLICT_CLEARS},
    {OPT_opt_for_speed, 0, OPT_opt_for_space, 0, CONFLICT_CLEARS},
    {OPT_opt_for_speed, 0, OPT_size_speed_goal, 0, CONFLICT_CLEARS},
    {OPT_size_speed_goal, 0, OPT_opt_for_space, 0, CONFLICT_CLEARS},
    {OPT_size_speed_goal, 0, OPT_opt_for_speed, 0, CONFLICT_CLEARS},
    {OPT_std_lib_func_defined, 0, OPT_std_lib_func_not_defined, 0, CONFLICT_CLEARS},
    {OPT_std_lib_func_defined, 0, OPT_std_lib_func_redefined, 0, CONFLICT_CLEARS},
    {OPT_std_lib_func_not_defined, 0, OPT_std_lib_func_defined, 0, CONFLICT_CLEARS},
    {OPT_std_lib_func_not_defined, 0, OPT_std_lib_func_redefined, 0, CONFLICT_CLEARS},
    {OPT_std_lib_func_redefined, 0, OPT_std_lib_func_defined, 0, CONFLICT_CLEARS},
    {OPT_std_lib_func_redefined, 0, OPT_std_lib_func_not_defined, 0, CONFLICT_CLEARS},
    {OPT_large_memory_model, 0, OPT_mem_model_data, 0, CONFLICT_CLEARS},
    {OPT_mem_model_data, 0, OPT_large_memory_model, 0, CONFLICT_CLEARS},
    {OPT_fp_mode, FP_MODE_STRICT, OPT_fp_reassoc, FP_REASSOC_ON, CONFLICT_CLEARS},
    {OPT_disable_inlining, 0, OPT_auto_inline, 0, CONFLICT_OVERRIDES},
    {OPT_disable_inlining, 0, OPT_single_inline, 0, CONFLICT_OVERRIDES},
    {OPT_auto_inline, 0, OPT_disable_inlining, 0, CONFLICT_CLEARS}, // it is persistent
    {OPT_single_inline, 0, OPT_disable_inlining, 0, CONFLICT_CLEARS},
    {OPT_use_g2, 0, OPT_use_g3, 0, CONFLICT_IS_ERROR},
    {OPT_use_g2, 0, OPT_use_llvm, 0, CONFLICT_IS_ERROR},
    {OPT_use_g3, 0, OPT_use_g2, 0, CONFLICT_IS_ERROR},
    {OPT_use_g3, 0, OPT_use_llvm, 0, CONFLICT_IS_ERROR},
    {OPT_use_llvm, 0, OPT_use_g2, 0, CONFLICT_IS_ERROR},
    {OPT_use_llvm, 0, OPT_use_g3, 0, CONFLICT_IS_ERROR},
};
const int OPTION_CONFLICT_COUNT = static_cast<int>(std::size(option_conflicts));

bool isclass(option_id option, class_id group) {
  // A byte for each pair, so that a test is one load.
  struct MEMBERSHIP {
    unsigned char is_member[OPTION_COUNT][CLASS_COUNT] = {};
    MEMBERSHIP() {
      for (int k = 0; k < OPTION_COUNT; k++)
        for (int c = 0; c < CLASS_COUNT; c++)
          is_member[k][c] = option_definitions[k].classes >> c & 1;
    }
  };
  static const MEMBERSHIP table;
  return option >= 0 && option < OPTION_COUNT && group >= 0 && group < CLASS_COUNT &&
         table.is_member[option][group];
}

const char* enum_to_enumtxt(option_id option) {
  return option >= 0 && option < OPTION_COUNT ? option_definitions[option].enum_text
                                              : option_definitions[OPT_none].enum_text;
}

const char* enum_to_optiontxt(option_id option) {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> all;
    for (const OPTION_DEFINITION& def : option_definitions)
      all.push_back(def.name        ? std::string("--") + def.name
                    : def.alternate ? std::string("-") + def.alternate
                                    : "");
    return all;
  }();
  return texts[option >= 0 && option < OPTION_COUNT ? option : OPT_none].c_str();
}

const char* item_text(const OPTION_ITEM* items, long value) {
  for (const OPTION_ITEM* item = items; item && item->text; item++)
    if (item->value == value) return item->text + 1;
  return nullptr;
}

std::string item_list_text(const OPTION_DEFINITION& def, const char* between) {
  std::string text;
  for (const OPTION_ITEM* item = def.items; item && item->text; item++)
    if (*item->text == '+') text += (text.empty() ? "" : between) + std::string(item->text + 1);
  return text;
}
