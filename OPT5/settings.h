// Settings of the run: option sets, flags, and the lookups that depend on the current function.
#pragma once

#include "ifile/i_file.h"

#include <list>

class option_obj;
class TYPE;

// Flags, with the defaults that reset_global_flags gives them. Written before any thread starts.
struct GLOBAL_FLAGS {
  int alias_vars_option, inline_single, dump_ocg_in_GDL, dwim_aliases, dwim_loops, far_externs,
      kr_flag, memory_is_big_endian, memory_model, mini_mult, apply_symbolic_methods,
      pass_args_in_regs, source_interlist, unsigned_ok_for_RPTB, volit_vars,
      old_const_pointer_behavior, pointer_args_are_disjoint, loop_increments_are_not_zero, use_g2;
  int cache_sys_funinfo;
  int code_is_reentrant, unsigned_index_wraps, strict_fp;
  int program_mode;
  int max_unrolled_loop_size;
};
extern GLOBAL_FLAGS flags;
// Set by --aux_cmd_flag. Word 1 switches unroll-and-jam off, word 9 the global motion of scalar
// memory references; the others set flags above.
constexpr int AUX_CMD_FLAGS = 10;
extern int aux_cmd_flag[AUX_CMD_FLAGS];

// Copied into every thread; the process-wide value is caot_ref.
extern constinit thread_local int chars_alias_other_types;
extern int caot_ref;
extern constinit thread_local int no_outside_callers, no_outside_writers;

extern int cpu_version; // 28 is vrx200, 27 vrx100
constexpr int CPU_VRX200 = 28;
constexpr int CPU_VRX100 = 27;

extern bool do_IP_MVP, do_int_MVP;

extern std::list<OPTION_SET> icode_optionlist;
extern std::vector<option_obj*> all_option_sets; // by option set number; null where none
extern option_obj* cmdline_options;
extern option_obj* file_options;

// Level 0 to 4 of the current function, or of the file without one.
int opt_level();
// Goal 0 (size) to 5 (speed) of the current function, or of the file without one.
int size_speed_goal();
// The size budget of automatic inlining: what the current function's options say, else the file's,
// else what follows from the optimisation level, if one is given.
int auto_inline();
// The options in force for the current function, or for the file.
option_obj* current_options();

void reset_global_flags();
void set_global_flags(option_obj* options);
void restore_global_flags();
void init_target();
