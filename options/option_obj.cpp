#include "options/option_obj.h"

#include "options/register_option.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

std::string option_obj::executable_name;
const char* (*option_obj::next_arg)();

namespace {

enum ARG_KIND { NO_ARG, NUMBER, TEXT, ONE_OF, SWITCH_LIST };

struct ITEM {
  const char* text;
  long value;
};

const ITEM OO_ABI_ITEMLIST[] = {{"coffabi", 1}, {"eabi", 2}, {}};
const ITEM OO_COPROC_SUPPORT_ITEMLIST[] = {{"coproc0", 3}, {"coproc1", 4}, {"coproc2", 5}, {}};
const ITEM OO_DIAG_WRAP_ITEMLIST[] = {{"on", 7}, {"off", 6}, {}};
const ITEM OO_ENDIAN_ITEMLIST[] = {{"big", 8}, {"little", 9}, {}};
const ITEM OO_FLOAT_SUPPORT_ITEMLIST[] = {{"fpu32", 10}, {"fpu64", 11}, {"softlib", 12}, {}};
const ITEM OO_FP_MODE_ITEMLIST[] = {{"relaxed", 13}, {"strict", 14}, {}};
const ITEM OO_FP_REASSOC_ITEMLIST[] = {{"on", 16}, {"off", 15}, {}};
const ITEM OO_GEN_DATA_SUBSECTIONS_ITEMLIST[] = {{"on", 18}, {"off", 17}, {}};
const ITEM OO_GEN_FUNC_SUBSECTIONS_ITEMLIST[] = {{"on", 20}, {"off", 19}, {}};
const ITEM OO_MEM_MODEL__CODE_ITEMLIST[] = {{"flat", 22},  {"near", 24},  {"far", 21},
                                            {"small", 25}, {"large", 23}, {}};
const ITEM OO_MEM_MODEL__DATA_ITEMLIST[] = {
    {"flat", 28},  {"near", 31},  {"far", 26},  {"far_aggregates", 27},
    {"small", 32}, {"large", 30}, {"huge", 29}, {}};
const ITEM OO_OPT_LEVEL_ITEMLIST[] = {{"off", 38}, {"0", 33}, {"1", 34}, {"2", 35},
                                      {"3", 36},   {"4", 37}, {}};
const ITEM OO_SAT_REASSOC_ITEMLIST[] = {{"on", 40}, {"off", 39}, {}};
const ITEM OO_SECTION_SIZES_ITEMLIST[] = {{"on", 42}, {"off", 41}, {}};
const ITEM OO_SIZE_SPEED_GOAL_ITEMLIST[] = {{"high_risk_performance", 43},
                                            {"medium_risk_performance", 47},
                                            {"low_risk_performance", 45},
                                            {"low_risk_size", 46},
                                            {"medium_risk_size", 48},
                                            {"high_risk_size", 44},
                                            {}};
const ITEM OO_VECTORIZE_ITEMLIST[] = {{"on", 50}, {"off", 49}, {}};

struct OPTION_DEFINITION {
  option_id id;
  const char* name;
  ARG_KIND kind;
  const char* parameter; // its word in the help; null without one
  long low, high;        // range of a number
  long without;          // number when the argument is left out; -1: it must be given
  const ITEM* items;
  const char* help;
};

constexpr long ANY = 0x7FFFFFFF;

const OPTION_DEFINITION option_definitions[] = {
    {OPT_abi, "abi", ONE_OF, "abi", 0, 0, -1, OO_ABI_ITEMLIST, "object file conventions"},
    {OPT_advice_performance, "advice:performance", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "performance advice in the information file"},
    {OPT_aliased_variables, "aliased_variables", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "assume that called functions keep addresses of locals"},
    {OPT_auto_inline, "auto_inline", NUMBER, "size", 0, ANY, 1, nullptr,
     "size limit of automatic inlining"},
    {OPT_aux_cmd_flag, "aux_cmd_flag", NUMBER, "id", 0, ANY, -1, nullptr, "set an auxiliary flag"},
    {OPT_big_endian, "big_endian", NO_ARG, nullptr, 0, 0, 1, nullptr, "big-endian memory"},
    {OPT_byte_mode, "byte_mode", NO_ARG, nullptr, 0, 0, 1, nullptr, "byte-addressed memory"},
    {OPT_call_assumptions, "call_assumptions", NUMBER, "0-3", 0, 3, -1, nullptr,
     "what code outside this unit does: 0 calls and writes, 1 writes, 2 neither, 3 calls"},
    {OPT_coproc_support, "coproc_support", ONE_OF, "coprocessor", 0, 0, -1,
     OO_COPROC_SUPPORT_ITEMLIST, "coprocessor of the device"},
    {OPT_debug, "debug:", SWITCH_LIST, "options", 0, 0, -1, nullptr,
     "set developers' debug switches"},
    {OPT_diag_wrap, "diag_wrap", ONE_OF, "on|off", 0, 0, -1, OO_DIAG_WRAP_ITEMLIST,
     "wrap messages"},
    {OPT_disable, "disable:", SWITCH_LIST, "options", 0, 0, -1, nullptr,
     "switch parts of the tool off"},
    {OPT_disable_inlining, "disable_inlining", NO_ARG, nullptr, 0, 0, 1, nullptr, "never inline"},
    {OPT_dump_call_graph, "dump_call_graph", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "write the call graph"},
    {OPT_dwim_loops, "dwim_loops", NO_ARG, nullptr, 0, 0, 1, nullptr, "assume well-behaved loops"},
    {OPT_enable, "enable:", SWITCH_LIST, "options", 0, 0, -1, nullptr,
     "switch parts of the tool on"},
    {OPT_endian, "endian", ONE_OF, "big|little", 0, 0, -1, OO_ENDIAN_ITEMLIST, "byte order"},
    {OPT_far_externs, "far_externs", NO_ARG, nullptr, 0, 0, 1, nullptr, "externals are far"},
    {OPT_float_support, "float_support", ONE_OF, "fpu", 0, 0, -1, OO_FLOAT_SUPPORT_ITEMLIST,
     "floating-point hardware"},
    {OPT_fp_mode, "fp_mode", ONE_OF, "mode", 0, 0, -1, OO_FP_MODE_ITEMLIST, "floating-point rules"},
    {OPT_fp_reassoc, "fp_reassoc", ONE_OF, "on|off", 0, 0, -1, OO_FP_REASSOC_ITEMLIST,
     "reassociate floating-point sums"},
    {OPT_gen_data_subsections, "gen_data_subsections", ONE_OF, "on|off", 0, 0, -1,
     OO_GEN_DATA_SUBSECTIONS_ITEMLIST, "a section for each object"},
    {OPT_gen_func_subsections, "gen_func_subsections", ONE_OF, "on|off", 0, 0, -1,
     OO_GEN_FUNC_SUBSECTIONS_ITEMLIST, "a section for each function"},
    {OPT_gen_opt_info, "gen_opt_info", NUMBER, "level", 0, 2, 1, nullptr,
     "write the information file"},
    {OPT_global_register, "global_register", TEXT, "reg", 0, 0, -1, nullptr,
     "register with a global variable"},
    {OPT_help, "help", NO_ARG, nullptr, 0, 0, 1, nullptr, "print this text"},
    {OPT_ignore_stored_options, "ignore_stored_options", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "ignore options stored in the input"},
    {OPT_inline_recursion_limit, "inline_recursion_limit", NUMBER, "limit", 0, ANY, -1, nullptr,
     "depth to which recursion is inlined"},
    {OPT_interrupt_threshold, "interrupt_threshold", NUMBER, "threshold", 0, ANY, 1, nullptr,
     "longest stretch without interrupts"},
    {OPT_keep_opt_ifile, "keep_opt_ifile", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "keep the output for the shell"},
    {OPT_kr_compatible, "kr_compatible", NO_ARG, nullptr, 0, 0, 1, nullptr, "input is old-style C"},
    {OPT_large_memory_model, "large_memory_model", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "large memory model"},
    {OPT_list_passes, "list_passes", NO_ARG, nullptr, 0, 0, 1, nullptr, "print the step table"},
    {OPT_max_unrolled_loop_size, "max_unrolled_loop_size", NUMBER, "size", 0, ANY, -1, nullptr,
     "largest loop body after unrolling"},
    {OPT_mem_model_code, "mem_model:code", ONE_OF, "model", 0, 0, -1, OO_MEM_MODEL__CODE_ITEMLIST,
     "memory model of code"},
    {OPT_mem_model_data, "mem_model:data", ONE_OF, "model", 0, 0, -1, OO_MEM_MODEL__DATA_ITEMLIST,
     "memory model of data"},
    {OPT_no_bad_aliases, "no_bad_aliases", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "no object is accessed under two types"},
    {OPT_non_reentrant, "non_reentrant", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "code is not reentered"},
    {OPT_opt_for_cache, "opt_for_cache", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "optimise for the cache"},
    {OPT_opt_for_space, "opt_for_space", NUMBER, "level", 0, 3, 3, nullptr, "prefer small code"},
    {OPT_opt_for_speed, "opt_for_speed", NUMBER, "0-5", 0, 5, 4, nullptr, "prefer fast code"},
    {OPT_opt_info_filename, "opt_info_filename", TEXT, "filename", 0, 0, -1, nullptr,
     "path of the information file"},
    {OPT_opt_level, "opt_level", ONE_OF, "level", 0, 0, -1, OO_OPT_LEVEL_ITEMLIST,
     "optimisation level"},
    {OPT_opt_passes, "opt_passes", TEXT, "string", 0, 0, -1, nullptr,
     "run these steps, in this order; or \"random\""},
    {OPT_optimizer_interlist, "optimizer_interlist", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "comments on what was done in the output"},
    {OPT_option_dump, "option_dump", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "print the options in force"},
    {OPT_parallel, "parallel", NUMBER, "parallelism", 0, ANY, 0, nullptr, "number of threads"},
    {OPT_pass_args_in_regs, "pass_args_in_regs", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "arguments travel in registers"},
    {OPT_print_debug, "print_debug", NUMBER, "level", 0, ANY, 1, nullptr, "write the debug file"},
    {OPT_program_level_recompile, "program_level_recompile", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "part of a whole-program build"},
    {OPT_remove_hooks_when_inlining, "remove_hooks_when_inlining", NO_ARG, nullptr, 0, 0, 1,
     nullptr, "no entry and exit hooks in inlined code"},
    {OPT_rpt_threshold, "rpt_threshold", NUMBER, "0-256", 0, 256, -1, nullptr,
     "limit of repeat instructions"},
    {OPT_sat_reassoc, "sat_reassoc", ONE_OF, "on|off", 0, 0, -1, OO_SAT_REASSOC_ITEMLIST,
     "reassociate saturating sums"},
    {OPT_section_sizes, "section_sizes", ONE_OF, "on|off", 0, 0, -1, OO_SECTION_SIZES_ITEMLIST,
     "report section sizes"},
    {OPT_silicon_version, "silicon_version", TEXT, "id", 0, 0, -1, nullptr,
     "device: vrx200 or vrx100"},
    {OPT_single_inline, "single_inline", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "inline functions with one call site"},
    {OPT_size_speed_goal, "size_speed_goal", ONE_OF, "goal", 0, 0, -1, OO_SIZE_SPEED_GOAL_ITEMLIST,
     "balance of size and speed"},
    {OPT_std_lib_func_defined, "std_lib_func_defined", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "the library's functions are as the standard says"},
    {OPT_std_lib_func_not_defined, "std_lib_func_not_defined", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "no library function is known"},
    {OPT_std_lib_func_redefined, "std_lib_func_redefined", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "library functions are defined otherwise"},
    {OPT_toolversion, "toolversion", NO_ARG, nullptr, 0, 0, 1, nullptr, "print the version"},
    {OPT_unified_memory, "unified_memory", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "code and data share memory"},
    {OPT_unsigned_ok_for_rptb, "unsigned_ok_for_rptb", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "unsigned counters may repeat blocks"},
    {OPT_usage, "usage", NO_ARG, nullptr, 0, 0, 1, nullptr, "print this text"},
    {OPT_use_const_for_alias_analysis, "use_const_for_alias_analysis", NO_ARG, nullptr, 0, 0, 1,
     nullptr, "pointers to const are never written through"},
    {OPT_use_g2, "use_g2", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "second generation of code generation"},
    {OPT_use_g3, "use_g3", NO_ARG, nullptr, 0, 0, 1, nullptr,
     "third generation of code generation"},
    {OPT_use_llvm, "use_llvm", NO_ARG, nullptr, 0, 0, 1, nullptr, "accepted for the shell's sake"},
    {OPT_vectorize, "vectorize", ONE_OF, "on|off", 0, 0, -1, OO_VECTORIZE_ITEMLIST,
     "vectorise loops"},
    {OPT_volit_vars, "volit_vars", NO_ARG, nullptr, 0, 0, 1, nullptr, "all memory is volatile"},
};
static_assert(sizeof option_definitions / sizeof option_definitions[0] == OPTION_COUNT);

[[noreturn]] void option_error(const char* format, const char* a, const char* b) {
  fprintf(stderr, "error: ");
  fprintf(stderr, format, a, b);
  fprintf(stderr, "\n");
  exit(1);
}

// The option whose name starts `text` and ends there, at "=", or (for switch lists) at its colon.
const OPTION_DEFINITION* find_option(const char* text, const char*& argument) {
  for (const OPTION_DEFINITION& def : option_definitions) {
    const size_t n = strlen(def.name);
    if (strncmp(text, def.name, n) != 0) continue;
    if (def.kind == SWITCH_LIST) {
      argument = text + n;
      return &def;
    }
    if (text[n] != 0 && text[n] != '=') continue;
    argument = text[n] ? text + n + 1 : nullptr;
    return &def;
  }
  return nullptr;
}

long parse_number(const OPTION_DEFINITION& def, const char* text) {
  char* end;
  long value = strtol(text, &end, 0);
  if (end == text || *end || value < def.low || value > def.high)
    option_error("argument to option --%s (%s) is out of range", def.name, text);
  return value;
}

long parse_oneof(const OPTION_DEFINITION& def, const char* text) {
  std::string all;
  for (const ITEM* item = def.items; item->text; item++) {
    if (strcmp(item->text, text) == 0) return item->value;
    all += (all.empty() ? "" : ",") + std::string(item->text);
  }
  option_error("bad argument to option --%s: should be one of {%s}", def.name, all.c_str());
}

} // namespace

void option_obj::set(option_id id, const std::string& text, long number) {
  values[id].texts.push_back(text);
  values[id].numbers.push_back(number);
  history.emplace_back(id, values[id].texts.size() - 1);
}

void option_obj::process_option(const char* text) {
  const char* whole = text;
  if (*text == '-') text++;
  std::string spelled;
  if (text[0] == 'o' && text[1] >= '0' && text[1] <= '4' && !text[2]) { // -o2
    spelled = std::string("opt_level=") + text[1];
    text = spelled.c_str();
  }
  const char* argument = nullptr;
  const OPTION_DEFINITION* def = find_option(text, argument);
  if (!def) option_error("invalid option:  -%s%s", whole, "");
  if (def->kind != NO_ARG && !argument && def->without < 0 && next_arg) argument = next_arg();
  if (def->kind == NO_ARG && argument)
    option_error("garbage following option --%s: %s", def->name, argument);
  if (def->kind != NO_ARG && !argument && def->without < 0)
    option_error("option --%s is missing its parameter '%s'", def->name, def->parameter);

  long number = def->without;
  if (argument) {
    if (def->kind == NUMBER) number = parse_number(*def, argument);
    if (def->kind == ONE_OF) number = parse_oneof(*def, argument);
    if (def->kind == SWITCH_LIST)
      process_debug_option(std::string(def->name, strlen(def->name) - 1).c_str(), argument);
  }
  set(def->id, argument ? argument : "", number);
  // The goal has two older spellings.
  static const long goal_of_speed[] = {44, 48, 46, 45, 47, 43};
  if (def->id == OPT_opt_for_speed) setopt(OPT_size_speed_goal, goal_of_speed[number]);
  if (def->id == OPT_opt_for_space) setopt(OPT_size_speed_goal, goal_of_speed[3 - number]);
}

long option_obj::getnumarg(option_id id, unsigned k) const {
  const std::vector<long>& numbers = values[id].numbers;
  return k < numbers.size() ? numbers[numbers.size() - 1 - k] : 0;
}

const char* option_obj::getstrarg(option_id id, unsigned k) const {
  const std::vector<std::string>& texts = values[id].texts;
  return k < texts.size() ? texts[texts.size() - 1 - k].c_str() : nullptr;
}

void option_obj::setopt(option_id id, long number) {
  std::string text;
  const OPTION_DEFINITION& def = option_definitions[id];
  if (def.kind == ONE_OF) {
    for (const ITEM* item = def.items; item->text; item++)
      if (item->value == number) text = item->text;
  } else if (def.kind == NUMBER) {
    text = std::to_string(number);
  }
  set(id, text, number);
}

void option_obj::clearopt(option_id id) {
  values[id] = {};
}

std::vector<std::string> option_obj::export_option_pairs() const {
  std::vector<std::string> out;
  for (auto [id, k] : history) {
    if (k >= values[id].texts.size()) continue; // cleared since
    const OPTION_DEFINITION& def = option_definitions[id];
    std::string text = std::string("-") + def.name;
    if (def.kind == SWITCH_LIST)
      text += values[id].texts[k];
    else if (def.kind != NO_ARG && !values[id].texts[k].empty())
      text += "=" + values[id].texts[k];
    out.push_back(text);
  }
  return out;
}

void option_obj::dump() const {
  for (const OPTION_DEFINITION& def : option_definitions) {
    printf("%-25s  %s", def.name, isset(def.id) ? "ENABLED   " : "disabled  ");
    if (isset(def.id) && def.kind != NO_ARG) printf("%s", getstrarg(def.id, 0));
    printf("\n");
  }
}

void option_obj::print_help() {
  printf("Usage: %s [-options] input [output]\n\nOptions:\n", executable_name.c_str());
  for (const OPTION_DEFINITION& def : option_definitions) {
    std::string left = std::string("--") + def.name;
    if (def.parameter)
      left += (def.kind == SWITCH_LIST ? "" : "=") + std::string("<") + def.parameter + ">";
    printf("  %-34s %s\n", left.c_str(), def.help);
  }
}
