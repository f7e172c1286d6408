// The declared options: reading them, what they hold, conflicts, history, export, merging.

#include "DIAG/diag_messages.h"
#include "options/option_obj.h"
#include "options/register_option.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <unistd.h>

namespace {

class OptionTest : public ::testing::Test {
protected:
  void SetUp() override {
    option_obj::next_arg = nullptr;
    out = tmpfile();
    DIAGNOSTIC::fp_m = out;
    DIAGNOSTIC::wrap_enabled_m = false;
    DIAGNOSTIC::remarks_m = true;
    DIAGNOSTIC::error_count_m = 0;
  }
  void TearDown() override {
    DIAGNOSTIC::fp_m = nullptr;
    fclose(out);
    DIAGNOSTIC::wrap_enabled_m = DIAGNOSTIC::warnings_m = true;
    DIAGNOSTIC::remarks_m = DIAGNOSTIC::advice_m = DIAGNOSTIC::debug_m = false;
    DIAGNOSTIC::display_code_m = DIAGNOSTIC::display_ipos_m = false;
    DIAGNOSTIC::error_count_m = 0;
    DIAGNOSTIC::forget_reported();
    register_option::reset_state();
    option_obj::tool = TOOL_OPTIMIZER;
    option_obj::clear_fileopts();
  }
  // What was reported since the last call.
  std::string messages() {
    fflush(out);
    rewind(out);
    std::string text(8192, 0);
    text.resize(fread(text.data(), 1, text.size(), out));
    fclose(out);
    out = tmpfile();
    DIAGNOSTIC::fp_m = out;
    DIAGNOSTIC::forget_reported();
    return text;
  }
  static void parse(option_obj& options, const std::vector<const char*>& texts) {
    for (const char* text : texts)
      options.process_option(text);
  }
  FILE* out = nullptr;
};

// An argument that an option accepts, as command-line text.
std::string sample(const OPTION_DEFINITION& def) {
  switch (def.arg) {
  case ARG_NONE: return "";
  case ARG_ENUM:
  case ARG_ONEOF_LIST: return def.items[0].text + 1;
  case ARG_STRING: return def.id == OPT_silicon_version ? "vrx100" : "text";
  case ARG_STRING_LIST: return "nosuch=3";
  default: return std::to_string(std::min(def.high, 2L));
  }
}

TEST_F(OptionTest, EveryFormOfEveryOptionIsSetAndRead) {
  std::set<std::string> short_forms;
  for (int k = 0; k < OPTION_COUNT; k++) {
    const OPTION_DEFINITION& def = option_definitions[k];
    const std::string argument = sample(def);
    std::vector<std::string> texts;
    if (def.name) {
      const std::string behind =
          def.arg == ARG_NONE || def.arg == ARG_STRING_LIST ? argument : "=" + argument;
      texts.push_back("-" + (def.name + behind)); // two dashes, and one
      texts.push_back(def.name + behind);
    }
    if (def.alternate) {
      texts.push_back(def.alternate + argument);
      EXPECT_TRUE(short_forms.insert(def.alternate).second) << def.alternate;
    }
    for (const std::string& text : texts) {
      option_obj options;
      options.process_option(text.c_str());
      EXPECT_EQ(options.set_count(def.id), 1) << text;
      EXPECT_TRUE(options.seen(def.id)) << text;
      EXPECT_EQ(options.getargcount(def.id), def.arg == ARG_NONE ? 0u : 1u) << text;
      if (def.arg != ARG_NONE) {
        EXPECT_EQ(options.getstrarg(def.id, 0), argument) << text;
      }
      // What is exported sets the same again.
      option_obj again;
      for (const std::string& exported : options.export_option_pairs())
        again.process_option(exported.c_str());
      EXPECT_EQ(again.set_count(def.id), 1) << text;
      EXPECT_EQ(again.getnumarg(def.id, 0), options.getnumarg(def.id, 0)) << text;
      EXPECT_EQ(options.export_option(def.id, 0), again.export_option(def.id, 0)) << text;
    }
  }
  EXPECT_EQ(messages(), "");
  const std::set<std::string> wanted = {
      "a", "c", "d", "e", "f", "g", "h", "i", "j",  "k",  "m",  "n",  "o",  "p",  "r",  "s", "t",
      "u", "v", "x", "y", "z", "-", "?", "#", "#v", "dc", "di", "ds", "du", "h0", "h1", "h2"};
  EXPECT_EQ(short_forms, wanted);
}

// The numbers are stored in files, so they never change.
TEST_F(OptionTest, ItemsHaveValuesOfTheirOwn) {
  static const char* const texts[] = {"abi=coffabi",
                                      "abi=eabi",
                                      "coproc_support=coproc0",
                                      "coproc_support=coproc1",
                                      "coproc_support=coproc2",
                                      "diag_wrap=off",
                                      "diag_wrap=on",
                                      "endian=big",
                                      "endian=little",
                                      "float_support=fpu32",
                                      "float_support=fpu64",
                                      "float_support=softlib",
                                      "fp_mode=relaxed",
                                      "fp_mode=strict",
                                      "fp_reassoc=off",
                                      "fp_reassoc=on",
                                      "gen_data_subsections=off",
                                      "gen_data_subsections=on",
                                      "gen_func_subsections=off",
                                      "gen_func_subsections=on",
                                      "mem_model:code=far",
                                      "mem_model:code=flat",
                                      "mem_model:code=large",
                                      "mem_model:code=near",
                                      "mem_model:code=small",
                                      "mem_model:data=far",
                                      "mem_model:data=far_aggregates",
                                      "mem_model:data=flat",
                                      "mem_model:data=huge",
                                      "mem_model:data=large",
                                      "mem_model:data=near",
                                      "mem_model:data=small",
                                      "opt_level=0",
                                      "opt_level=1",
                                      "opt_level=2",
                                      "opt_level=3",
                                      "opt_level=4",
                                      "opt_level=off",
                                      "sat_reassoc=off",
                                      "sat_reassoc=on",
                                      "section_sizes=off",
                                      "section_sizes=on",
                                      "size_speed_goal=high_risk_performance",
                                      "size_speed_goal=high_risk_size",
                                      "size_speed_goal=low_risk_performance",
                                      "size_speed_goal=low_risk_size",
                                      "size_speed_goal=medium_risk_performance",
                                      "size_speed_goal=medium_risk_size",
                                      "vectorize=off",
                                      "vectorize=on"};
  long value = 0;
  for (const std::string text : texts) {
    option_obj options;
    options.process_option(text.c_str());
    ASSERT_EQ(options.get_history().size(), 1u) << text;
    const option_id id = options.get_history()[0].id;
    EXPECT_EQ(enum_to_optiontxt(id), "--" + text.substr(0, text.find('=')));
    EXPECT_EQ(options.getnumarg(id, 0), ++value) << text;
  }
  EXPECT_NE(messages().find("Small memory model is no longer supported"), std::string::npos);
  int items = 0;
  for (const OPTION_DEFINITION& def : option_definitions)
    for (const OPTION_ITEM* item = def.items; item && item->text; item++)
      items++;
  EXPECT_EQ(items, value);
}

TEST_F(OptionTest, Radix) {
  int failed = 0;
  EXPECT_EQ(option_obj::strtol_by_radix("0x20", &failed), 32);
  EXPECT_EQ(option_obj::strtol_by_radix("-0b101", &failed), -5);
  EXPECT_EQ(option_obj::strtol_by_radix("017", &failed), 15);
  EXPECT_EQ(option_obj::strtol_by_radix("0", &failed), 0);
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(option_obj::strtoul_by_radix("0xFFFFFFFFFFFFFFFF", &failed), ~0ul);
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(option_obj::strtol_by_radix("+7", &failed), 7);
  EXPECT_EQ(failed, 0);
  for (const char* bad :
       {"", "-", "x", "0x", "0xg", "08", "0b2", "1 ", " 1", "--1", "+-1", "-+5", "++5", "0x-1",
        "0x0x10", "0X0X1", "0b0b1", "9223372036854775808", "99999999999999999999"}) {
    failed = 0;
    option_obj::strtol_by_radix(bad, &failed);
    EXPECT_EQ(failed, 1) << bad;
  }
  option_obj::strtoul_by_radix("-1", &failed);
  EXPECT_EQ(failed, 1);
}

TEST_F(OptionTest, BadArgumentsAreReportedAndNotSet) {
  struct CASE {
    const char* text;
    const char* message;
  };
  const CASE cases[] = {
      {"-opt_level", "error: option --opt_level is missing its parameter 'level'\n"},
      {"v", "error: option -v is missing its parameter 'id'\n"},
      {"-rpt_threshold=257",
       "error: argument to option --rpt_threshold (257) is out of range (must "
       "be a number from 0 to 256\n"},
      {"-auto_inline=x", "error: argument to option --auto_inline (x) is out of range (must be a "
                         "non-negative_number)\n"},
      {"di0x100000000", "error: argument to option -di (0x100000000) is out of range\n"},
      {"-endian=middle", "error: bad argument to option --endian: should be one of {big,little}\n"},
      {"", "error: option is invalid\n"},
      {"vvrx51",
       "error: Silicon version vrx51 is a legacy processor variant and is no longer "
       "supported. Please use Vrx9000 Code Generation Tools v7.4.x or earlier for support "
       "of this processor.\n"},
      {"vvrx300", "error: Silicon version vrx300 is not a supported or valid value\n"},
      {"i=", "error: argument to option -i () is out of range (must be a non-negative_number)\n"},
  };
  for (const CASE& c : cases) {
    option_obj options;
    DIAGNOSTIC::error_count_m = 0;
    options.process_option(c.text);
    EXPECT_EQ(messages(), c.message);
    EXPECT_EQ(DIAGNOSTIC::error_count_m, 1u);
    EXPECT_EQ(options.testclass(CLASS_all), 0) << c.text;
  }
  option_obj options;
  parse(options, {"ax", "-KR_compatible"});
  EXPECT_EQ(messages(), "warning: garbage following option -a ignored\n"
                        "warning: Case insensitivity of options has been deprecated; "
                        "--KR_compatible must be written as --kr_compatible in future releases\n");
  EXPECT_EQ(options.testclass(CLASS_all), 2);
}

// With one dash a long option in upper case isn't the letter that it begins with.
TEST_F(OptionTest, UpperCaseWithOneDash) {
  option_obj options;
  parse(options, {"auto_Inline=5", "opt_Level=2", "kr_Compatible", "dEBUG:skip_pass=3"});
  EXPECT_EQ(options.getnumarg(OPT_auto_inline, 0), 5);
  EXPECT_EQ(options.getnumarg(OPT_opt_level, 0), LEVEL_2);
  EXPECT_TRUE(options.isset(OPT_kr_compatible));
  EXPECT_EQ(pass_debug_skip_pass, 3);
  EXPECT_FALSE(options.isset(OPT_aliased_variables));
  const std::string text = messages();
  EXPECT_EQ(text.find("garbage"), std::string::npos);
  EXPECT_NE(text.find("; -auto_Inline must be written as -auto_inline in"), std::string::npos);
}

TEST_F(OptionTest, TraceOfNumbers) {
  option_obj options(true);
  ::testing::internal::CaptureStdout();
  parse(options, {"-rpt_threshold=0b11", "di0x1F"});
  const std::string text = ::testing::internal::GetCapturedStdout();
  for (const char* line :
       {"opt option debug: --rpt_threshold: about to parse '0b11' as signed, radix 2\n"
        "opt option debug: --rpt_threshold: check 0 <= 3 <= 256\n",
        "opt option debug: -di: about to parse '0x1F' as unsigned, radix 16\n"
        "opt option debug: -di: check 0x0 <= 0x1F <= 0xFFFFFFFF\n"})
    EXPECT_NE(text.find(line), std::string::npos) << text;
}

// Kinds of rows that this tool's table happens not to have.
TEST_F(OptionTest, PowersOfTwoDeprecatedItemsRetiredOptions) {
  option_obj options;
  OPTION_DEFINITION def = option_definitions[OPT_parallel];
  def.flags = FLAG_POWER_OF_2;
  long number = 0;
  EXPECT_TRUE(options.check_numerical_arg(def, "64", number));
  EXPECT_FALSE(options.check_numerical_arg(def, "65", number));
  EXPECT_FALSE(options.check_numerical_arg(def, "0", number));
  EXPECT_NE(messages().find("error: Argument of --parallel must be a power of 2"),
            std::string::npos);
  def.flags = FLAG_RETIRED;
  EXPECT_FALSE(options.check_validity(def));
  EXPECT_NE(messages().find("error: --parallel is no longer supported. Please use"),
            std::string::npos);
  static const OPTION_ITEM items[] = {{"+new", 1}, {"-old", 2}, {}};
  def.items = items;
  an_argument_t argument;
  ::testing::internal::CaptureStderr();
  EXPECT_TRUE(options.parse_oneof(def, "old", argument));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "WARNING: argument 'old' to option '--parallel' is deprecated and will be removed in a "
            "future release\n");
  EXPECT_EQ(argument.number, 2);
  ::testing::internal::CaptureStderr(); // said once
  EXPECT_TRUE(options.parse_oneof(def, "old", argument));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(options.parse_oneof(def, "+new", argument));
  EXPECT_NE(messages().find("should be one of {new}"), std::string::npos);
}

TEST_F(OptionTest, ValidityByToolAndPlace) {
  option_obj options;
  option_obj::tool = TOOL_LINKER;
  parse(options, {"-max_unrolled_loop_size=5", "-abi=eabi"});
  EXPECT_EQ(messages(), "error: Option --max_unrolled_loop_size is not valid for the linker\n");
  EXPECT_EQ(options.testclass(CLASS_all), 1);
  option_obj::tool = TOOL_OPTIMIZER;
  // Messages say in which set an option stands; each set has its own.
  option_obj sets[2];
  sets[0].file_name = "set 0";
  sets[1].file_name = "set 1";
  for (option_obj& set : sets) {
    set.is_stored_set = true;
    parse(set, {"-help", "ax", "h0", "h1"});
    EXPECT_FALSE(set.isset(OPT_help));
  }
  parse(sets[1], {"ay"}); // said already
  EXPECT_EQ(messages(),
            "set 0: warning: Option --help is not valid in a stored option set (ignored)\n"
            "set 0: warning: garbage following option -a ignored\n"
            "set 0: remark: option -h1 clears preceding option -h0\n"
            "set 1: warning: Option --help is not valid in a stored option set (ignored)\n"
            "set 1: warning: garbage following option -a ignored\n"
            "set 1: remark: option -h1 clears preceding option -h0\n");
}

TEST_F(OptionTest, OptionsOfOneFunctionAreItsOwn) {
  option_obj options;
  options.is_stored_set = options.is_function_set = true;
  parse(options, {"-diag_wrap=on", "-debug:skip_pass=5", "-advice:performance", "o2"});
  EXPECT_FALSE(DIAGNOSTIC::wrap_enabled_m);
  EXPECT_FALSE(DIAGNOSTIC::advice_m);
  EXPECT_EQ(pass_debug_skip_pass, 0);
  EXPECT_EQ(options.getnumarg(OPT_opt_level, 0), LEVEL_2);
}

// Advice that was asked for stays, whichever way the level of messages comes.
TEST_F(OptionTest, AdviceAndTheLevelOfMessages) {
  option_obj stored, command_line;
  parse(command_line, {"t1"});
  EXPECT_FALSE(DIAGNOSTIC::advice_m);
  parse(stored, {"-advice:performance"});
  stored.override_by(command_line);
  EXPECT_TRUE(DIAGNOSTIC::advice_m);
  EXPECT_FALSE(DIAGNOSTIC::remarks_m);
}

TEST_F(OptionTest, TheNextProcessArgument) {
  static std::vector<const char*> left;
  left = {"2", "x"};
  option_obj::next_arg = []() -> const char* {
    if (left.empty()) return nullptr;
    const char* text = left.front();
    left.erase(left.begin());
    return text;
  };
  option_obj options;
  const char* taken = nullptr;
  options.process_option("-opt_level", &taken);
  EXPECT_STREQ(taken, "2");
  options.process_option("i", &taken); // can do without
  EXPECT_EQ(taken, nullptr);
  EXPECT_EQ(options.getnumarg(OPT_opt_level, 0), LEVEL_2);
  EXPECT_EQ(options.getnumarg(OPT_auto_inline, 0), 1);
  options.process_option("x=", &taken); // an empty argument is one
  EXPECT_EQ(taken, nullptr);
  EXPECT_STREQ(options.getstrarg(OPT_opt_passes, 0), "");
  EXPECT_EQ(left.size(), 1u);
}

TEST_F(OptionTest, SetTwice) {
  option_obj options;
  parse(options, {"-opt_level=2", "o3", "-aux_cmd_flag=1", "-aux_cmd_flag=9"});
  EXPECT_EQ(options.set_count(OPT_opt_level), 2);
  EXPECT_EQ(options.getargcount(OPT_opt_level), 1u); // the newest
  EXPECT_EQ(options.getnumarg(OPT_opt_level, 0), LEVEL_3);
  EXPECT_EQ(options.getargcount(OPT_aux_cmd_flag), 2u); // a list
  EXPECT_EQ(options.getnumarg(OPT_aux_cmd_flag, 0), 9);
  EXPECT_EQ(options.getnumarg(OPT_aux_cmd_flag, 1), 1);
  EXPECT_EQ(options.getnumarg(OPT_aux_cmd_flag, 2), 0);
  EXPECT_EQ(options.get_history().size(), 4u);
  EXPECT_EQ(options.get_opt_txt(OPT_opt_level), "-o");
  const std::vector<std::string> all = {"-opt_level=2", "-opt_level=3", "-aux_cmd_flag=1",
                                        "-aux_cmd_flag=9"};
  EXPECT_EQ(options.export_option_pairs(), all);
  const std::vector<std::string> goals = {"--opt_level=3"};
  EXPECT_EQ(options.export_option_class(EXPORT_SET, CLASS_goals), goals);
  EXPECT_EQ(options.export_option_class(EXPORT_HISTORY, CLASS_goals).size(), 2u);
  EXPECT_EQ(options.export_option(OPT_aux_cmd_flag, 1), "--aux_cmd_flag=9");
  EXPECT_EQ(options.export_option(OPT_aux_cmd_flag, 2), "");
  options.clearopt(OPT_opt_level);
  EXPECT_FALSE(options.isset(OPT_opt_level));
  EXPECT_TRUE(options.seen(OPT_opt_level));
  EXPECT_EQ(options.export_option_class(EXPORT_SET, CLASS_goals).size(), 0u);
  const std::vector<std::string> given = {"--opt_level=2", "--opt_level=3"};
  EXPECT_EQ(options.export_option_class(EXPORT_SEEN, CLASS_goals), given);
  EXPECT_EQ(options.export_option_pairs().size(), 2u);
  EXPECT_EQ(options.get_history().size(), 4u);
  options.clear_history(OPT_opt_level);
  EXPECT_EQ(options.get_history().size(), 2u);
}

TEST_F(OptionTest, Conflicts) {
  option_obj options;
  parse(options, {"h0", "h1"});
  EXPECT_EQ(messages(), "remark: option -h1 clears preceding option -h0\n");
  EXPECT_FALSE(options.isset(OPT_std_lib_func_redefined));
  parse(options, {"-endian=big", "e", "-endian=little"});
  EXPECT_EQ(messages(), "warning: option --endian overrides preceding option -e\n");
  EXPECT_FALSE(options.isset(OPT_big_endian));
  parse(options, {"-use_g2", "-use_llvm"});
  EXPECT_EQ(messages(), "error: option --use_llvm conflicts with previous option --use_g2\n");
  parse(options, {"i7", "-disable_inlining", "i8"});
  EXPECT_EQ(messages(), "warning: option --disable_inlining overrides preceding option -i\n"
                        "warning: Attempt to clear PERSISTENT option --disable_inlining ignored\n");
  EXPECT_TRUE(options.isset(OPT_disable_inlining));
  EXPECT_EQ(options.getnumarg(OPT_auto_inline, 0), 8);
  options.clearopt(OPT_disable_inlining);
  options.clearopt(CLASS_inlining);
  EXPECT_EQ(messages(), "warning: Attempt to clear PERSISTENT option --disable_inlining ignored\n");
  EXPECT_TRUE(options.isset(OPT_disable_inlining));
  EXPECT_FALSE(options.isset(OPT_auto_inline));
  // What follows from another option has conflicts, too.
  options.setopt_internal(OPT_std_lib_func_not_defined);
  EXPECT_EQ(messages(), "remark: option --std_lib_func_not_defined clears preceding option -h1\n");
  EXPECT_FALSE(options.isset(OPT_std_lib_func_defined));
  // What was given, in order, comes out the same when it is given again.
  option_obj again;
  for (const std::string& text : options.export_option_class(EXPORT_SEEN, CLASS_assumptions))
    again.process_option(text.c_str() + 1);
  EXPECT_TRUE(again.isset(OPT_std_lib_func_defined));
  EXPECT_FALSE(again.isset(OPT_std_lib_func_redefined));
}

// A message that was switched off when it came first is printed when it comes again.
TEST_F(OptionTest, SwitchedOffMessagesComeLater) {
  DIAGNOSTIC::warnings_m = false;
  option_obj options;
  parse(options, {"ax", "t1", "ay"});
  EXPECT_EQ(messages(), "warning: garbage following option -a ignored\n");
}

TEST_F(OptionTest, TheGoalHasThreeSpellings) {
  option_obj options;
  parse(options, {"-opt_for_speed=5"});
  EXPECT_EQ(options.getnumarg(OPT_size_speed_goal, 0), GOAL_HIGH_RISK_PERFORMANCE);
  parse(options, {"z"});
  EXPECT_EQ(options.getnumarg(OPT_size_speed_goal, 0), GOAL_HIGH_RISK_SIZE);
  EXPECT_EQ(messages(), "remark: option -z clears preceding option --opt_for_speed\n");
  // What follows from an option isn't exported beside it.
  EXPECT_EQ(options.export_option_pairs(), std::vector<std::string>{"-opt_for_space"});
  parse(options, {"-size_speed_goal=low_risk_size"});
  EXPECT_FALSE(options.isset(OPT_opt_for_space));
  EXPECT_EQ(options.export_option_pairs(),
            std::vector<std::string>{"-size_speed_goal=low_risk_size"});
  options.setopt(OPT_opt_for_speed); // by the program, at its usual level
  EXPECT_EQ(options.getnumarg(OPT_size_speed_goal, 0), GOAL_MEDIUM_RISK_PERFORMANCE);
  options.setopt(OPT_opt_for_space, 9L);
  EXPECT_EQ(options.getnumarg(OPT_size_speed_goal, 0), GOAL_HIGH_RISK_SIZE);
}

TEST_F(OptionTest, TheCommandLineWinsInSilence) {
  option_obj command_line, stored;
  stored.is_stored_set = true;
  parse(stored, {"-opt_level=3", "-disable_inlining", "-use_g2", "-big_endian"});
  parse(command_line, {"-opt_level=1", "-auto_inline=4", "-use_g3", "-endian=little"});
  stored.override_by(command_line);
  EXPECT_EQ(messages(), "");
  EXPECT_EQ(stored.getnumarg(OPT_opt_level, 0), LEVEL_1);
  EXPECT_FALSE(stored.isset(OPT_disable_inlining));
  EXPECT_FALSE(stored.isset(OPT_use_g2));
  EXPECT_FALSE(stored.isset(OPT_big_endian));
  EXPECT_TRUE(stored.isset(OPT_use_g3));
}

TEST_F(OptionTest, Classes) {
  for (int k = 0; k < OPTION_COUNT; k++) {
    const auto id = static_cast<option_id>(k);
    EXPECT_TRUE(isclass(id, CLASS_all));
    // Exactly one heading of the help text.
    EXPECT_EQ(isclass(id, CLASS_target) + isclass(id, CLASS_optimization) +
                  isclass(id, CLASS_information),
              1)
        << enum_to_enumtxt(id);
  }
  option_obj options;
  options.setopt(CLASS_queries);
  EXPECT_EQ(options.testclass(CLASS_queries), 5);
  EXPECT_EQ(options.get_history().size(), 5u);
  options.clearclassmembers(CLASS_queries);
  EXPECT_EQ(options.testclass(CLASS_all), 0);
  EXPECT_EQ(options.seenclass(CLASS_all), 5);
  options.setclassmembers(CLASS_goals);
  EXPECT_TRUE(options.isset(OPT_opt_level));
  EXPECT_EQ(options.seenclass(CLASS_goals), 0);
  options.clearopt(CLASS_goals);
  EXPECT_EQ(options.testclass(CLASS_goals), 0);
  EXPECT_FALSE(isclass(OPT_none, CLASS_all));
  EXPECT_STREQ(enum_to_enumtxt(OPT_mem_model_data), "OPT_mem_model_data");
  EXPECT_STREQ(enum_to_optiontxt(OPT_mem_model_data), "--mem_model:data");
  EXPECT_STREQ(enum_to_optiontxt(OPT_ignore_stored_options), "-y");
}

TEST_F(OptionTest, SettingByTheProgram) {
  option_obj options;
  options.setopt(OPT_gen_opt_info, 2L);
  options.setopt(OPT_endian, "little");
  options.setopt(OPT_opt_level, static_cast<long>(LEVEL_4));
  EXPECT_STREQ(options.getstrarg(OPT_gen_opt_info, 0), "2");
  EXPECT_EQ(options.getnumarg(OPT_endian, 0), ENDIAN_LITTLE);
  EXPECT_STREQ(options.getstrarg(OPT_opt_level, 0), "4");
  options.setarg(OPT_gen_opt_info, 1L);
  options.setarg(OPT_opt_info_filename, "f");
  an_argument_t argument;
  EXPECT_TRUE(options.get_argument(OPT_gen_opt_info, &argument));
  EXPECT_EQ(argument.number, 1);
  EXPECT_FALSE(options.get_argument(OPT_parallel, &argument));
  EXPECT_EQ(options.set_count(OPT_opt_info_filename), 0); // an argument alone sets nothing
  options.setarg(OPT_opt_passes, 3L);
  EXPECT_EQ(messages(), "error: option object: bad parm_type [A1]\n");
  DIAGNOSTIC::fp_m = nullptr;
  EXPECT_EXIT(options.setarg(OPT_help, 1L), ::testing::ExitedWithCode(1),
              "unhandled clause in setarg\\(\\)");
  EXPECT_EXIT(options.setopt(OPT_help, "text"), ::testing::ExitedWithCode(1),
              "unhandled option handler");
  EXPECT_EXIT(options.setlistarg(OPT_opt_level, {}), ::testing::ExitedWithCode(1),
              "list handler for non-list option");
  EXPECT_EXIT(options.set_count(OPT_none), ::testing::ExitedWithCode(1),
              "corruption in option handler");
  DIAGNOSTIC::fp_m = out;
}

TEST_F(OptionTest, Dump) {
  option_obj options;
  options.file_name = "a.icode";
  parse(options, {"-opt_level=2", "di16", "-debug:a,b", "-aux_cmd_flag=3",
                  "-coproc_support=coproc1", "-opt_info_filename=f", "h0", "h1"});
  options.setopt(OPT_opt_passes);
  ::testing::internal::CaptureStdout();
  options.dump(1);
  const std::string text = ::testing::internal::GetCapturedStdout();
  for (const char* line :
       {"--opt_level                SEEN      ENABLED   ENUMERATED ARG: 2\n",
        "--interrupt_threshold      SEEN      ENABLED   HEXNUM ARG: 0x10\n",
        "--debug:                   SEEN      ENABLED   STRING LIST ARG: a,b\n",
        "--aux_cmd_flag             SEEN      ENABLED   NUMBER LIST ARG: 3\n",
        "--coproc_support           SEEN      ENABLED   ONEOF LIST ARG: coproc1\n",
        "--opt_info_filename        SEEN      ENABLED   STRING ARG: f\n",
        "--opt_passes               SEEN      ENABLED   STRING ARG: <arg not provided>\n",
        "--std_lib_func_redefined   SEEN      disabled  NO ARGS\n",
        "--parallel                 not seen  disabled  NUMBER ARG: <arg not provided>\n",
        "   7  --std_lib_func_redefined  (cleared)  from a.icode\n"})
    EXPECT_NE(text.find(line), std::string::npos) << line;
}

// ---------------------------------------------------------------------------------------------
// Merging

class MergeTest : public OptionTest {
protected:
  // Merges what a second file says into what a first one said.
  option_obj merged(const std::vector<const char*>& first, const std::vector<const char*>& second) {
    option_obj a, b;
    a.file_name = "a.obj";
    b.file_name = "b.obj";
    parse(a, first);
    parse(b, second);
    messages();
    a.merge_options(b);
    return a;
  }
};

TEST_F(MergeTest, Exact) {
  merged({"vvrx100"}, {"vvrx100"});
  EXPECT_EQ(messages(), "");
  merged({"vvrx100"}, {"v27"}); // one device, two names
  EXPECT_EQ(messages(), "");
  merged({"vvrx100"}, {"vvrx200"});
  EXPECT_EQ(
      messages(),
      "error: option --silicon_version=vrx200 is set in \"b.obj\", and is incompatible with the "
      "previously seen option --silicon_version=vrx100\n");
  merged({"vvrx100"}, {});
  EXPECT_EQ(messages(), "error: option -v was set in previous files, but not in \"b.obj\"\n");
  merged({}, {"-byte_mode"});
  EXPECT_EQ(messages(),
            "error: option --byte_mode is set in \"b.obj\", but not in previous files\n");
  // Either side may leave this one out.
  EXPECT_EQ(merged({"-float_support=fpu32"}, {}).getnumarg(OPT_float_support, 0), FLOAT_FPU32);
  EXPECT_EQ(merged({}, {"-float_support=fpu64"}).getnumarg(OPT_float_support, 0), FLOAT_FPU64);
  EXPECT_EQ(messages(), "");
  merged({"-float_support=fpu32"}, {"-float_support=fpu64"});
  EXPECT_NE(
      messages().find("is incompatible with the previously seen option --float_support=fpu32"),
      std::string::npos);
}

TEST_F(MergeTest, OrAndMinMaxMainNone) {
  EXPECT_TRUE(merged({"a"}, {}).isset(OPT_aliased_variables));
  EXPECT_TRUE(merged({}, {"a"}).isset(OPT_aliased_variables));
  EXPECT_TRUE(merged({"-no_bad_aliases"}, {"-no_bad_aliases"}).isset(OPT_no_bad_aliases));
  EXPECT_FALSE(merged({"-no_bad_aliases"}, {}).isset(OPT_no_bad_aliases));
  EXPECT_FALSE(merged({}, {"-no_bad_aliases"}).isset(OPT_no_bad_aliases));
  EXPECT_EQ(merged({"-rpt_threshold=9"}, {"-rpt_threshold=8"}).getnumarg(OPT_rpt_threshold, 0), 8);
  EXPECT_EQ(merged({}, {"-rpt_threshold=8"}).getnumarg(OPT_rpt_threshold, 0), 8);
  EXPECT_EQ(merged({"d2"}, {"d3"}).getnumarg(OPT_print_debug, 0), 3);
  EXPECT_EQ(merged({"d3"}, {"d2"}).getnumarg(OPT_print_debug, 0), 3);
  EXPECT_EQ(merged({"j2"}, {"j3"}).getnumarg(OPT_parallel, 0), 2);
  EXPECT_FALSE(merged({}, {"j3"}).isset(OPT_parallel));
  EXPECT_FALSE(merged({}, {"h"}).isset(OPT_help));
  EXPECT_EQ(messages(), "");
}

TEST_F(MergeTest, RanksAndLists) {
  // "off" has the largest number and means the least.
  EXPECT_EQ(merged({"o2"}, {"ooff"}).getnumarg(OPT_opt_level, 0), LEVEL_OFF);
  EXPECT_EQ(merged({"ooff"}, {"o2"}).getnumarg(OPT_opt_level, 0), LEVEL_OFF);
  EXPECT_EQ(merged({"o4"}, {"o2"}).getnumarg(OPT_opt_level, 0), LEVEL_2);
  const option_obj lists =
      merged({"-aux_cmd_flag=1", "-debug:x"}, {"-aux_cmd_flag=9", "-aux_cmd_flag=1"});
  EXPECT_EQ(lists.getargcount(OPT_aux_cmd_flag), 2u);
  EXPECT_EQ(lists.set_count(OPT_aux_cmd_flag), 2);
  EXPECT_EQ(lists.getargcount(OPT_debug), 1u);
  // The history holds what the arguments hold.
  const option_obj units = merged({"-coproc_support=coproc0", "-coproc_support=coproc1"},
                                  {"-coproc_support=coproc2", "-coproc_support=coproc1"});
  EXPECT_EQ(units.getargcount(OPT_coproc_support), 3u);
  const std::vector<std::string> all = {"-coproc_support=coproc0", "-coproc_support=coproc1",
                                        "-coproc_support=coproc2"};
  EXPECT_EQ(units.export_option_pairs(), all);
}

// The goal has three spellings; the file with the more careful goal decides on all of them.
TEST_F(MergeTest, Goals) {
  struct CASE {
    std::vector<const char*> first, second;
    long goal;
    const char* exported;
    const char* message;
  };
  const CASE cases[] = {
      {{"-opt_for_speed=2"}, {"-opt_for_speed=5"}, GOAL_LOW_RISK_SIZE, "-opt_for_speed=2", ""},
      {{"-opt_for_speed=5"}, {"-opt_for_speed=2"}, GOAL_LOW_RISK_SIZE, "-opt_for_speed=2", ""},
      {{"z3"}, {"z0"}, GOAL_HIGH_RISK_SIZE, "-opt_for_space=3", ""},
      {{"z0"}, {"z3"}, GOAL_HIGH_RISK_SIZE, "-opt_for_space=3", ""},
      {{}, {"z2"}, GOAL_MEDIUM_RISK_SIZE, "-opt_for_space=2", ""},
      {{"-opt_for_speed=0"},
       {"-size_speed_goal=high_risk_performance"},
       GOAL_HIGH_RISK_SIZE,
       "-opt_for_speed=0",
       ""},
      {{"-opt_for_speed=5"},
       {"-size_speed_goal=medium_risk_size"},
       GOAL_MEDIUM_RISK_SIZE,
       "-size_speed_goal=medium_risk_size",
       "remark: option --size_speed_goal clears preceding option --opt_for_speed\n"},
      {{"-size_speed_goal=high_risk_performance"},
       {"z1"},
       GOAL_LOW_RISK_SIZE,
       "-opt_for_space=1",
       "remark: option -z clears preceding option --size_speed_goal\n"},
  };
  for (const CASE& c : cases) {
    const option_obj goals = merged(c.first, c.second);
    EXPECT_EQ(messages(), c.message);
    EXPECT_EQ(goals.getnumarg(OPT_size_speed_goal, 0), c.goal) << c.exported;
    EXPECT_EQ(goals.export_option_pairs(), std::vector<std::string>{c.exported});
    const std::vector<std::string> now = {std::string("-") + c.exported};
    EXPECT_EQ(goals.export_option_class(EXPORT_SET, CLASS_goals), now);
  }
}

// In either order, the least knowledge of library functions holds.
TEST_F(MergeTest, LibraryFunctions) {
  static const option_id by_care[] = {OPT_std_lib_func_redefined, OPT_std_lib_func_defined,
                                      OPT_std_lib_func_not_defined};
  static const char* const texts[] = {"h0", "h1", "h2"};
  for (int a = 0; a < 3; a++)
    for (int b = 0; b < 3; b++) {
      const option_obj options = merged({texts[a]}, {texts[b]});
      for (int k = 0; k < 3; k++)
        EXPECT_EQ(options.isset(by_care[k]), k == std::min(a, b)) << a << b;
      EXPECT_EQ(messages(), b < a ? std::string("remark: option -") + texts[b] +
                                        " clears preceding option -" + texts[a] + "\n"
                                  : "");
    }
  EXPECT_TRUE(merged({}, {"h0"}).isset(OPT_std_lib_func_redefined));
  EXPECT_TRUE(merged({"h1"}, {}).isset(OPT_std_lib_func_defined));
}

TEST_F(MergeTest, CustomAndConflicts) {
  // Calls from outside in the one, writes in the other: both.
  EXPECT_EQ(merged({"p3"}, {"p1"}).getnumarg(OPT_call_assumptions, 0), 0);
  EXPECT_EQ(merged({"p2"}, {"p3"}).getnumarg(OPT_call_assumptions, 0), 3);
  EXPECT_EQ(messages(), "");
  merged({"gr1"}, {"gr2"});
  EXPECT_EQ(messages(),
            "error: option --global_register=r2 in file \"b.obj\" conflicts with previous "
            "option --global_register=r1\n");
  merged({"-use_g2"}, {"-use_g3"});
  EXPECT_EQ(messages(),
            "error: option --use_g3 in file \"b.obj\" conflicts with previous option --use_g2\n");
  const option_obj inlining = merged({"-disable_inlining"}, {"i4"});
  EXPECT_TRUE(inlining.isset(OPT_disable_inlining));
  EXPECT_NE(messages().find("PERSISTENT"), std::string::npos);
  EXPECT_TRUE(merged({"i4"}, {"-disable_inlining"}).isset(OPT_disable_inlining));
  EXPECT_EQ(messages(), "warning: option --disable_inlining overrides preceding option -i\n");
  EXPECT_FALSE(merged({"e"}, {"-endian=little"}).isset(OPT_big_endian));
  EXPECT_NE(messages().find("warning: option --endian overrides preceding option -e\n"),
            std::string::npos);
  const option_obj exact = merged({"-fp_reassoc=on"}, {"-fp_mode=strict"});
  EXPECT_EQ(messages(), "remark: option --fp_mode clears preceding option --fp_reassoc\n");
  EXPECT_FALSE(exact.isset(OPT_fp_reassoc));
  // The history says which file an option came from.
  const option_obj options = merged({"a"}, {"k"});
  ASSERT_EQ(options.get_history().size(), 2u);
  EXPECT_EQ(options.get_history()[0].file, "a.obj");
  EXPECT_EQ(options.get_history()[1].file, "b.obj");
}

// ---------------------------------------------------------------------------------------------
// Files for other tools; switches

TEST_F(OptionTest, FilesForOtherTools) {
  option_obj options;
  EXPECT_EQ(option_obj::tool_cmd_map.size(), 31u);
  EXPECT_EQ(option_obj::tool_of_command("vrx-back"), TOOL_CODEGEN);
  EXPECT_EQ(option_obj::tool_of_command("vrx-nosuch"), TOOL_TYPE_COUNT);
  EXPECT_TRUE(options.addfileopt("linker", "--start-group", ""));
  EXPECT_TRUE(options.addfileopt("linker", "rts.lib", "--library"));
  EXPECT_FALSE(options.addfileopt("linker", "--start-group", ""));
  EXPECT_TRUE(options.addfileopt("linker", "--end-group", ""));
  EXPECT_FALSE(options.addfileopt("linker", "--end-group", ""));
  EXPECT_FALSE(options.addfileopt("cook", "x", ""));
  EXPECT_TRUE(options.addfileopt("vrx-ar", "a.lib", "")); // a command
  EXPECT_EQ(option_obj::fileopts("archiver"), std::vector<std::string>{"a.lib"});
  EXPECT_FALSE(options.addfileopt("vrx-cook", "x", ""));
  EXPECT_EQ(messages(), "error: Cannot find tool type with command \"vrx-nosuch\". Is the command "
                        "defined in the tooldef?\n"
                        "error: Nested --start-group options are not permitted.\n"
                        "error: Unmatched --end-group option (missing --start-group).\n"
                        "error: No known tool \"cook\" when adding file to option list.\n"
                        "error: Cannot find tool type with command \"vrx-cook\". Is the command "
                        "defined in the tooldef?\n");
  const std::vector<std::string> files = {"--start-group", "--library", "rts.lib", "--end-group"};
  EXPECT_EQ(option_obj::fileopts("linker"), files);
}

TEST_F(OptionTest, Switches) {
  option_obj options;
  parse(options, {"-debug:max_unroll_size=200,dump_trees", "-debug:nosuchname,skip_pass=0x20",
                  "-enable:fusion", "-disable:threads=-1"});
  EXPECT_EQ(pass_debug_max_unroll_size, 200);
  EXPECT_EQ(pass_debug_dump_trees, 1);
  EXPECT_EQ(pass_debug_skip_pass, 32);
  EXPECT_EQ(pass_enable_loop_fusion, 1);
  EXPECT_EQ(pass_disable_threads, -1);
  EXPECT_EQ(messages(), "");
  // An item that would make the name too long is not appended, so it names nothing.
  parse(options, {("-debug:" + std::string(600, 'x') + ",abort").c_str()});
  EXPECT_EQ(pass_debug_abort, 1);
  // A whole name of 511 characters is the longest. In a process of its own: names stay registered.
  EXPECT_EXIT(
      {
        const std::string just(511 - 6, 'y');
        const std::string over = just + "y";
        static register_option longest(("debug:" + just).c_str());
        static register_option too_long(("debug:" + over).c_str());
        process_debug_option("debug", (just + "=3," + over + "=4").c_str());
        _exit(longest == 3 && too_long == 0 ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");

  const std::map<std::string, int> state = register_option::get_state();
  EXPECT_EQ(state.size(), 100u);
  register_option::reset_state();
  for (int k = 0; k < SWITCH_COUNT; k++) {
    const std::string name = switch_definitions[k].name;
    const size_t colon = name.find(':');
    process_debug_option(name.substr(0, colon).c_str(), (name.substr(colon + 1) + "=7").c_str());
    ASSERT_NE(register_option::get_option(name), nullptr) << name;
    EXPECT_EQ(*register_option::get_option(name), 7) << name;
  }
  register_option::set_state(state);
  EXPECT_EQ(pass_debug_max_unroll_size, 200);
  EXPECT_EQ(pass_debug_NLC, 0);
}

} // namespace
