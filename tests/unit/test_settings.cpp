// What options do to the settings of a run and of a function.

#include "OPT5/settings.h"

#include "DIAG/diag.h"
#include "OPT5/funinfo.h"
#include "TYPES/type_pkg.h"
#include "options/option_obj.h"

#include <gtest/gtest.h>

namespace {

class SettingsTest : public ::testing::Test {
protected:
  void SetUp() override {
    file_options = &sets[0];
    all_option_sets = {&sets[0], &sets[1], nullptr};
    reset_global_flags();
  }
  void TearDown() override {
    file_options = nullptr;
    all_option_sets.clear();
    currfunc = nullptr;
    erase_all_symbols();
    reset_global_flags();
    TYPE_PKG::abi = 2;
    TYPE_PKG::byte_mode = TYPE_PKG::flat_memory_model = TYPE_PKG::large_code_model = false;
  }
  void give(std::initializer_list<const char*> texts, int set = 0) {
    for (const char* text : texts)
      sets[set].process_option(text);
  }
  option_obj sets[2];
};

TEST_F(SettingsTest, LookUpsFollowTheCurrentFunction) {
  EXPECT_EQ(opt_level(), 1);
  EXPECT_EQ(size_speed_goal(), 4);
  EXPECT_EQ(auto_inline(), 0);
  auto* func = new SYMTAB;
  func->option_set = 1;
  give({"o2", "i7", "-opt_for_speed=0"});
  give({"ooff", "-size_speed_goal=medium_risk_size"}, 1);
  EXPECT_EQ(opt_level(), 2);
  EXPECT_EQ(size_speed_goal(), 0);
  EXPECT_EQ(auto_inline(), 7);
  currfunc = func;
  EXPECT_EQ(opt_level(), 0);
  EXPECT_EQ(size_speed_goal(), 1);
  EXPECT_EQ(auto_inline(), 7); // the function says nothing of it
  give({"i3"}, 1);
  EXPECT_EQ(auto_inline(), 3);
  DIAGNOSTIC::warnings_m = false;
  give({"-disable_inlining", "i4"}, 1); // it is persistent
  DIAGNOSTIC::warnings_m = true;
  EXPECT_EQ(auto_inline(), 0);
  func->option_set = 2; // a set that the file doesn't have
  EXPECT_EQ(opt_level(), 2);
  currfunc = nullptr;
}

TEST_F(SettingsTest, GoalsAndLevels) {
  static const char* const goals[] = {"high_risk_size",          "medium_risk_size",
                                      "low_risk_size",           "low_risk_performance",
                                      "medium_risk_performance", "high_risk_performance"};
  for (int k = 0; k < 6; k++) {
    give({(std::string("-size_speed_goal=") + goals[k]).c_str()});
    EXPECT_EQ(size_speed_goal(), k);
    give({("-opt_for_speed=" + std::to_string(k)).c_str()});
    EXPECT_EQ(size_speed_goal(), k);
  }
  static const int budgets[] = {0, 0, 20, 20, 20};
  for (int k = 0; k < 5; k++) {
    give({("o" + std::to_string(k)).c_str()});
    EXPECT_EQ(opt_level(), k);
    EXPECT_EQ(auto_inline(), budgets[k]);
  }
}

TEST_F(SettingsTest, Flags) {
  set_global_flags(&sets[0]);
  EXPECT_EQ(flags.cache_sys_funinfo, 2);
  EXPECT_EQ(flags.code_is_reentrant + flags.unsigned_index_wraps + flags.strict_fp, 3);
  EXPECT_EQ(chars_alias_other_types, 1);
  EXPECT_EQ(flags.program_mode, -1);
  EXPECT_EQ(flags.max_unrolled_loop_size, 195);

  give({"a",
        "ds",
        "dc",
        "-no_bad_aliases",
        "-dwim_loops",
        "f",
        "k",
        "e",
        "m",
        "r",
        "s",
        "u",
        "-volit_vars",
        "-use_const_for_alias_analysis",
        "-use_g2",
        "-non_reentrant",
        "-fp_mode=relaxed",
        "p3",
        "du50",
        "h0",
        "-abi=coffabi",
        "-byte_mode"});
  for (const char* id : {"0", "1", "2", "6", "9"})
    give({(std::string("-aux_cmd_flag=") + id).c_str()});
  set_global_flags(&sets[0]);
  for (int flag : {flags.alias_vars_option,
                   flags.inline_single,
                   flags.dump_ocg_in_GDL,
                   flags.dwim_aliases,
                   flags.dwim_loops,
                   flags.far_externs,
                   flags.kr_flag,
                   flags.memory_is_big_endian,
                   flags.memory_model,
                   flags.mini_mult,
                   flags.apply_symbolic_methods,
                   flags.pass_args_in_regs,
                   flags.source_interlist,
                   flags.unsigned_ok_for_RPTB,
                   flags.volit_vars,
                   flags.old_const_pointer_behavior,
                   flags.pointer_args_are_disjoint,
                   flags.loop_increments_are_not_zero,
                   flags.use_g2,
                   aux_cmd_flag[1],
                   aux_cmd_flag[9]})
    EXPECT_EQ(flag, 1);
  for (int flag : {flags.cache_sys_funinfo, flags.code_is_reentrant, flags.unsigned_index_wraps,
                   flags.strict_fp, chars_alias_other_types, caot_ref, aux_cmd_flag[8]})
    EXPECT_EQ(flag, 0);
  EXPECT_EQ(flags.program_mode, 3);
  EXPECT_EQ(flags.max_unrolled_loop_size, 50);
  EXPECT_EQ(TYPE_PKG::abi, 1);
  EXPECT_TRUE(TYPE_PKG::byte_mode);
  EXPECT_TRUE(TYPE_PKG::large_code_model);

  reset_global_flags();
  EXPECT_EQ(flags.mini_mult + aux_cmd_flag[1] + aux_cmd_flag[9], 0);
  EXPECT_EQ(chars_alias_other_types, 1);
}

// Each of these alone, where others would have the same effect.
TEST_F(SettingsTest, FlagsOneByOne) {
  auto with = [](const char* text) {
    option_obj options;
    options.process_option(text);
    reset_global_flags();
    set_global_flags(&options);
  };
  with("-aux_cmd_flag=3");
  EXPECT_EQ(flags.pointer_args_are_disjoint, 1);
  EXPECT_EQ(flags.loop_increments_are_not_zero, 0);
  EXPECT_EQ(flags.unsigned_index_wraps, 1);
  with("-aux_cmd_flag=4");
  EXPECT_EQ(flags.loop_increments_are_not_zero, 1);
  EXPECT_EQ(flags.pointer_args_are_disjoint, 0);
  with("-aux_cmd_flag=5");
  EXPECT_EQ(flags.unsigned_index_wraps, 0);
  with("-dwim_loops");
  EXPECT_EQ(flags.unsigned_index_wraps, 0);
  with("-endian=big");
  EXPECT_EQ(flags.memory_is_big_endian, 1);
  with("-endian=little");
  EXPECT_EQ(flags.memory_is_big_endian, 0);
  for (const char* text : {"-mem_model:code=large", "-mem_model:code=far"}) {
    with(text);
    EXPECT_TRUE(TYPE_PKG::large_code_model) << text;
    EXPECT_TRUE(TYPE_PKG::flat_memory_model)
        << text; // of data, which is flat unless told otherwise
  }
  with("-mem_model:code=near");
  EXPECT_FALSE(TYPE_PKG::large_code_model);
  for (const char* text : {"-mem_model:data=near", "-mem_model:data=huge", "-large_memory_model"}) {
    with(text);
    EXPECT_FALSE(TYPE_PKG::flat_memory_model) << text;
  }
  with("-mem_model:data=flat");
  EXPECT_TRUE(TYPE_PKG::flat_memory_model);
  EXPECT_EQ(flags.memory_model, 0);
  with("h1");
  EXPECT_EQ(flags.cache_sys_funinfo, 1);
  with("h2");
  EXPECT_EQ(flags.cache_sys_funinfo, 2);
}

TEST_F(SettingsTest, Device) {
  init_target();
  EXPECT_EQ(cpu_version, CPU_VRX200);
  give({"vvrx100"});
  init_target();
  EXPECT_EQ(cpu_version, CPU_VRX100);
  give({"v28"});
  init_target();
  EXPECT_EQ(cpu_version, CPU_VRX200);
  give({"v33"});
  ::testing::internal::CaptureStderr();
  init_target();
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "\n>>>> Warning: unrecognized option: '-v33'\n\n");
  EXPECT_EQ(cpu_version, CPU_VRX200);
}

} // namespace
