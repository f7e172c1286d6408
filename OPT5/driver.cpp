// The life of a run: options, files, reading, steps, output, report.
//
//   in.icode  -->  in.opt, in.odb (debug text), in.nfo (information text)

#include "OPT5/driver.h"
#include "OPT5/counters.h"

#include "DIAG/abort.h"
#include "DIAG/diag.h"
#include "DIAG/safemalloc.h"
#include "DIAG/signals.h"
#include "DIAG/support.h"
#include "OPT5/ddepends.h"
#include "OPT5/fileopt.h"
#include "OPT5/funinfo.h"
#include "OPT5/mdparser.h"
#include "OPT5/opt_client.h"
#include "OPT5/optables.h"
#include "OPT5/passes.h"
#include "OPT5/procint.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/target.h"
#include "OPT5/types.h"
#include "OPT5/typetext.h"
#include "OPT5/write.h"
#include "options/option_doc.h"
#include "options/option_obj.h"
#include "options/register_option.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

char i_file_name[512];
char o_file_name[512];
SYMTAB* currfunc_at_abort;
std::mutex abort_lock;

namespace {

int arg_count;
char** args;
int next_arg_index;
bool output_is_open;             // the output file exists and must go if the run fails
char real_output_name[PATH_MAX]; // where links lead to
bool command_line_is_written;
std::string debug_file_path, info_file_path;

constexpr const char* VERSION_TEXT = VRX_VERSION;

// The path less its extension.
std::string fn_delext(const char* path) {
  std::string text = path;
  const size_t slash = text.rfind('/');
  const size_t dot = text.rfind('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash + 1) && dot > 0)
    text.resize(dot);
  return text;
}

void print_toolversion(FILE* to) {
  fprintf(to, "%s v%s\n", isa_and_tool_name(), VERSION_TEXT);
}

// What was traced so far tells why a run ended.
void flush_traces() {
  if (FDEBUG) fflush(FDEBUG);
  if (finfo) fflush(finfo);
}

[[noreturn]] void fail(const char* format, const char* a, const char* b) {
  fprintf(stderr, format, a, b);
  end_failing_run();
}

// A failed run leaves no output; what was there before as a device is not ours to remove.
void remove_output() {
  struct stat info;
  if (output_is_open && stat(real_output_name, &info) == 0 && S_ISREG(info.st_mode))
    unlink(real_output_name);
}

void take_back_output(FAILING_END how) {
  remove_output();
  if (how == END_IN_ORDER) flush_traces();
}

// ---------------------------------------------------------------------------------------------
// The end of a failing run

// Streams are not closed: other threads may be using them, and the process ends anyway.
void tell_of_failure(const char* msg) {
  remove_output(); // first: whatever follows may fail
  if (print_debug && FDEBUG) {
    fprintf(FDEBUG, "\n>>>> Optimizer terminated abnormally.\n");
    if (msg) fprintf(FDEBUG, "\n>>>> %s.\n", msg);
  }
  fprintf(stderr, "\n>>>> Optimizer terminated abnormally\n");
  // A fault of this thread may have come while it held the lock.
  const std::unique_lock<std::mutex> hold(abort_lock, std::try_to_lock);
  if (currfunc_at_abort) {
    currfunc = currfunc_at_abort;
    currfuninfo = find_FUNINFO(currfunc);
  }
  if (currfunc) {
    fprintf(stderr, ">>>>    in function %s()\n", currfunc->name);
    if (currfuninfo && currfuninfo->begin_psn && currfuninfo->begin_psn->file)
      fprintf(stderr, ">>>>    in file \"%s\"\n", currfuninfo->begin_psn->file);
  }
  if (msg) fprintf(stderr, "\n>>>> %s.\n", msg);
  print_support_message();
  if (pass_debug_abort) {
    signal(SIGABRT, SIG_DFL); // for a core file; the end was told
    flush_traces();           // abort() doesn't
    abort();
  }
}

void end_after_signal() {
  tell_of_failure(nullptr);
  end_failing_run();
}

// What was traced so far must be on disk, and this thread writes no more of it. The stream itself
// isn't taken apart: other threads may be using it, and freeing memory in a handler may never
// return. The end of the process closes the file.
void debug_signal_handler(int signal) {
  begin_signal_end();
  remove_output(); // first: whatever follows may fail
  if (FDEBUG) {
    fflush(FDEBUG);
    FDEBUG = nullptr;
  }
  common_signal_end(signal);
}

// ---------------------------------------------------------------------------------------------
// Opening

void copy_path(char (&to)[512], const char* from) {
  if (strlen(from) >= sizeof to) fail("\n>>>> OPTIMIZER ERROR: path is too long: %s%s\n", from, "");
  strcpy(to, from);
}

// Bad options were reported one by one; here they end the run.
void end_if_errors() {
  if (DIAGNOSTIC::error_count_m) end_failing_run();
}

int walk_arguments() {
  int names = 0;
  for (next_arg_index = 1; next_arg_index < arg_count;) {
    const char* arg = args[next_arg_index++];
    if (arg[0] == '-' && !cmdline_options->isset(OPT_end_of_options)) {
      cmdline_options->process_option(arg + 1);
      continue;
    }
    switch (names++) {
    case 0: copy_path(i_file_name, arg); break;
    case 1: copy_path(o_file_name, arg); break;
    case 2: break;
    default:
      fprintf(stderr, "\n>>>> OPTIMIZER ERROR: Unexpected options: %s %s %s\n", i_file_name,
              o_file_name, arg);
    }
  }
  end_if_errors();
  return names;
}

// What was printed on standard output must have arrived; a failed run leaves no output.
void check_standard_output() {
  errno = 0;
  if (fflush(stdout) == 0 && !ferror(stdout)) return;
  fprintf(stderr, "\n>> Cannot Write Standard Output, %s, Aborting\n",
          strerror(errno ? errno : EIO));
  end_failing_run();
}

[[noreturn]] void end_answered() {
  check_standard_output();
  flush_traces();
  end_process(0);
}

void answer_questions(int names) {
  if (cmdline_options->isset(OPT_list_passes)) {
    setup_passes(false);
    list_passes(stderr);
    erase_all_passes();
    end_answered();
  }
  if (cmdline_options->isset(OPT_toolversion)) {
    print_toolversion(stdout);
    end_answered();
  }
  if (cmdline_options->isset(OPT_help)) {
    option_obj::print_help();
    end_answered();
  }
  if (cmdline_options->isset(OPT_usage)) {
    option_obj::print_usage();
    end_answered();
  }
  if (pass_debug_help && names == 0) { // with an input the list is printed on the way
    print_switches();
    end_answered();
  }
}

// One option_obj a stored set; the command line wins over what is stored.
void build_option_sets() {
  for (OPTION_SET* set : i_file->option_sets)
    icode_optionlist.push_back(*set);
  if (icode_optionlist.empty()) {
    all_option_sets.push_back(new option_obj(*cmdline_options));
  } else {
    all_option_sets.resize(icode_optionlist.size());
    for (const OPTION_SET& set : icode_optionlist) {
      if (set.number >= all_option_sets.size() || all_option_sets[set.number])
        if_die(INVALID_RECORD);
      auto* options = new option_obj(cmdline_options->isset(OPT_option_trace));
      all_option_sets[set.number] = options;
      options->is_stored_set = true;
      options->is_function_set = set.number != 0;
      options->file_name = "option set " + std::to_string(set.number) + " of " + i_file_name;
      option_obj::next_arg = nullptr;
      if (!cmdline_options->isset(OPT_ignore_stored_options))
        for (const std::string& text : set.strings)
          if (!text.empty()) options->process_option(text.c_str() + 1);
      options->override_by(*cmdline_options);
    }
  }
  file_options = all_option_sets[0];
  end_if_errors();
}

bool is_size_goal() {
  const int goal = goal_number(file_options->getnumarg(OPT_size_speed_goal, 0));
  return goal >= 0 && goal <= 3;
}

// A run that failed would leave neither output nor input.
void refuse_to_overwrite_input(const char* path) {
  struct stat input, file;
  if (stat(i_file_name, &input) == 0 && stat(path, &file) == 0 && S_ISREG(file.st_mode) &&
      input.st_dev == file.st_dev && input.st_ino == file.st_ino)
    fail("\n>> The input would be overwritten by %s, Aborting\n%s", path, "");
}

void open_info_file() {
  const bool debugging = file_options->isset(OPT_print_debug);
  const long level = file_options->getnumarg(OPT_opt_level, 0);
  const bool wanted = file_options->getnumarg(OPT_gen_opt_info, 0) > 0 &&
                      (level == LEVEL_3 || level == LEVEL_4 || debugging);
  if (!wanted) {
    if (!debugging) file_options->clearopt(OPT_gen_opt_info);
    return;
  }
  const char* given = file_options->getstrarg(OPT_opt_info_filename, 0);
  const std::string path = given ? given : fn_delext(i_file_name) + ".nfo";
  info_file_path = path;
  refuse_to_overwrite_input(path.c_str());
  finfo = fopen(path.c_str(), "w");
  if (!finfo)
    fail("\n>> Cannot Open Info File, %s : %s, Aborting\n", strerror(errno), path.c_str());
  write_opt_info = static_cast<int>(file_options->getnumarg(OPT_gen_opt_info, 0));
  print_toolversion(finfo);
}

void open_output() {
  refuse_to_overwrite_input(o_file_name);
  FILE* fp = fopen(o_file_name, "wb");
  if (!fp)
    fail("\n>> Cannot Open Output icode File, %s : %s, Aborting\n", strerror(errno), o_file_name);
  if (!realpath(o_file_name, real_output_name)) strcpy(real_output_name, o_file_name);
  output_is_open = true;
  o_file = I_FILE::if_create(fp, tp, i_file->source_name.c_str(), i_file->extra_word);
  for (const OPTION_SET* set : i_file->option_sets)
    o_file->if_enter_option_set(*set);
}

void emit_cmd_line_text() {
  if (command_line_is_written) return;
  command_line_is_written = true;
  std::string text = ";\t";
  for (int k = 0; k < arg_count; k++)
    text += std::string(args[k]) + " ";
  wrasmr(TAG_COMMENT, text.c_str(), nullptr);
  for (const OPTION_SET& set : icode_optionlist) {
    print_if_debug("Option set %d%s:\n", set.number,
                   set.number == 0 ? " (file-level options)" : "");
    for (const std::string& s : set.strings)
      print_if_debug("\t%s\n", s.c_str());
  }
}

void open_files(int argc, char** argv) {
  set_failing_end_hook(take_back_output);
  set_abort_handler(tell_of_failure);
  install_common_handlers(debug_signal_handler, end_after_signal);
  cmdline_options = new option_obj;
  option_obj::executable_name = argv[0];
  option_obj::next_arg = next_arg;
  arg_count = argc;
  args = argv;
  const int names = walk_arguments();
  answer_questions(names);
  if (names == 0) fail("Usage: %s [-options] filename\n%s", argv[0], "");

  FILE* in = fopen(i_file_name, "rb");
  if (!in)
    fail("\n>> Cannot Open Input icode File, %s : %s, Aborting\n", strerror(errno), i_file_name);
  i_file = I_FILE::if_open(in, opt_client());
  if (!i_file) fail("\n>> Error when opening input icode file : %s, Aborting\n%s", i_file_name, "");
  build_option_sets();
  if (file_options->isset(OPT_option_dump)) {
    file_options->dump(cmdline_options->isset(OPT_option_trace));
    end_answered();
  }
  reset_global_flags();
  set_global_flags(file_options);
  if (pass_debug_help) print_switches();

  tp = TYPE_PKG::init_type_pkg();
  i_file->if_type_init(tp);
  if (file_options->isset(OPT_print_debug) && file_options->getnumarg(OPT_gen_opt_info, 0) == 0)
    file_options->setopt(OPT_gen_opt_info, 1);
  if (is_size_goal()) fprintf(stderr, "\n\t*** Optimizing code size, not speed ***\n\n");
  if (names == 1) {
    const std::string path = fn_delext(i_file_name) + ".opt";
    copy_path(o_file_name, path.c_str());
  }
  if (names > 2) fail("\n>>>> OPTIMIZER ERROR: Garbage on command line\n\n%s%s", "", "");
  open_info_file();
  if (file_options->isset(OPT_print_debug)) {
    open_debug_file(1, nullptr, nullptr);
    fdebug_ref = FDEBUG;
    print_debug = static_cast<int>(file_options->getnumarg(OPT_print_debug, 0));
  }
  init_proc_integration();
  open_output();
  if (flags.volit_vars) {
    const char* warning = "\n>>>> Warning: All non-auto lvalues are considered VOLATILE.\n\n";
    print_if_debug("%s", warning);
    fputs(warning, stderr);
  }
  emit_cmd_line_text();
}

void init_fileopts() {
  static const int callers[] = {0, 1, 1, 0};
  static const int writers[] = {0, 0, 1, 1};
  if (opt_level() >= 3) {
    const int mode = flags.program_mode;
    const bool known = mode >= 0 && mode <= 3;
    no_outside_callers = known ? callers[mode] : 1; // by default the unit is the whole program
    no_outside_writers = known ? writers[mode] : 1;
  } else {
    flags.program_mode = 0;
    no_outside_callers = no_outside_writers = 0;
  }
  file_funinfo = make_FUNINFO(" ? ");
  currfuninfo = file_funinfo;
  inline_blocks_limit = 0;
}

// ---------------------------------------------------------------------------------------------
// Closing

// A write that failed leaves no output, whichever file it was.
[[noreturn]] void fail_to_write(const char* what, const char* path) {
  fprintf(stderr, "\n>> Cannot Write %s, %s : %s, Aborting\n", what, strerror(errno ? errno : EIO),
          path);
  end_failing_run();
}

void close_text_file(FILE*& fp, const char* what, const char* path) {
  errno = 0;
  const bool failed = fflush(fp) != 0 || ferror(fp);
  if (fclose(fp) != 0 || failed) fail_to_write(what, path);
  fp = nullptr;
}

void close_files() {
  errno = 0;
  if (o_file && o_file->if_close(true, false) != 0) fail_to_write("Output icode File", o_file_name);
  i_file->if_close(false, true);
  delete i_file;
  delete o_file;
  i_file = o_file = nullptr;
  if (print_debug && FDEBUG) {
    print_if_debug("\n== END OF DEBUG OUTPUT==\n");
    close_text_file(FDEBUG, "Debug File", debug_file_path.c_str());
  }
  if (write_opt_info && finfo) {
    print_info("\n== END OF INFO OUTPUT==\n");
    close_text_file(finfo, "Info File", info_file_path.c_str());
  }
  check_standard_output();
}

void time_report(clock_t start) {
  FILE* to = print_debug ? FDEBUG : stderr;
  const double total = static_cast<double>(clock() - start) / 1e6;
  print_checked(to, "\nTime for whole compilation unit:  %.2f secs\n", total);
  std::vector<FUNINFO*> timed;
  double in_functions = 0;
  for (SYMTAB* sym : functions) {
    FUNINFO* fi = make_FUNINFO(sym);
    in_functions += fi->time / 1e6;
    if (fi->time > 0) timed.push_back(fi);
  }
  if (total - in_functions > 0)
    print_checked(to, "Non-function time:  %.2f secs\n", total - in_functions);
  print_checked(to, "\n");
  std::stable_sort(timed.begin(), timed.end(),
                   [](const FUNINFO* a, const FUNINFO* b) { return a->time > b->time; });
  for (const FUNINFO* fi : timed)
    print_checked(to, "%s:  %.2f secs\n", fi->name.c_str(), fi->time / 1e6);
}

// Leaves nothing behind, so that another run can follow in the same process.
void release_everything() {
  reset_counters();
  erase_all_passes();
  steps_table.clear();
  functions.clear();
  icode_optionlist.clear();
  comments_between_functions.clear();
  unsuppressed_functions.clear();
  currfunc_at_abort = nullptr;
  unique_call_index = 0;
  any_unions_in_program = false;
  command_line_is_written = false;
  erase_all_FUNINFOs();
  erase_all_symbols();
  erase_type_caches();
  forget_type_names();
  forget_file_analysis();
  for (option_obj* options : all_option_sets)
    delete options;
  all_option_sets.clear();
  delete cmdline_options;
  cmdline_options = file_options = nullptr;
  if (TYPE_PKG::tp_count > 0 && --TYPE_PKG::tp_count == 0) {
    delete tp; // with the tree of all its types
    tp = nullptr;
  }
}

} // namespace

const char* next_arg() {
  return next_arg_index < arg_count ? args[next_arg_index++] : nullptr;
}

const char* isa_and_tool_name() {
  return "Ulm200 C/C++ Optimizer";
}

void open_debug_file(int fatal, const char* name, const char* mode) {
  if (!name && FDEBUG) return;
  std::string path = fn_delext(i_file_name);
  if (name) path += std::string(".") + name;
  path.resize(std::min<size_t>(path.size(), 250));
  path += ".odb";
  if (FDEBUG) print_if_debug(">>>> SWITCHING LOG TO %s\n", path.c_str());
  refuse_to_overwrite_input(path.c_str());
  if (FILE* fp = fopen(path.c_str(), mode ? mode : "w")) {
    FDEBUG = fp;
    if (!name) debug_file_path = path;
    return;
  }
  fprintf(stderr, "\n>> Cannot Open Debug File, %s : %s, Aborting\n", strerror(errno),
          path.c_str());
  if (fatal) end_failing_run();
  if (!FDEBUG) FDEBUG = stderr;
}

void abandon_run() {
  delete i_file;
  delete o_file;
  i_file = o_file = nullptr;
  output_is_open = false;
  release_everything();
  DIAGNOSTIC::error_count_m = 0;
}

int run_compilation(int argc, char** argv) {
  open_files(argc, argv);
  init_opcode_tables();
  init_target();
  TYPE_PKG::cpu_version = cpu_version;
  tp->update_basic_types();
  tp->normalize_basic_types();
  init_symbols();
  init_fileopts();
  init_BIF_descriptors();
  setup_passes(true);
  if (pass_debug_parser) {
    parse_md_file(false);
    close_files();
    return 0;
  }
  const bool timed = print_debug || pass_enable_time_stats;
  const clock_t start = timed ? clock() : 0;
  if (print_debug) do_DVE_unit_testing();
  choose_thread_count();
  i_file->if_read_file();
  o_file->if_copy_symbols(i_file);
  if (functions.empty()) {
    analyze_global_symbols();
  } else {
    run_all_steps();
    dump_psnmap();
    dump_psnrefs();
  }
  currfunc = nullptr;
  currfuninfo = file_funinfo;
  finish_global_symbols();
  interned_stats();
  type_cache_stats();
  if (timed) time_report(start);
  if (pass_enable_counters == 1) print_counters(print_debug ? FDEBUG : stderr);
  if (pass_enable_counters == 2) print_counters_as_json(stderr);
  close_files();
  release_everything();
  output_is_open = false; // from here on nothing can fail
  return 0;
}
