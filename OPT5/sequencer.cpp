// Running the step lists: function by function, in parallel between barriers, output last.
//
//   f: 0 1 2 | 3 | 11 ...   g: 0 1 2 | 3 | 11 ...  -->  f 0 1 2, g 0 1 2, 3 once, f 11 ..., g 11
//   ...

#include "OPT5/passes.h"

#include "DIAG/abort.h"
#include "DIAG/signals.h"
#ifdef VRX_CHECKS
#include "OPT5/crash_trigger.h"
#endif
#include "OPT5/driver.h"
#include "OPT5/fileopt.h"
#include "OPT5/funinfo.h"
#include "OPT5/mdparser.h"
#include "OPT5/opt_client.h"
#include "OPT5/printtree.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/surgery_trigger.h"
#include "OPT5/verify.h"
#include "options/option_obj.h"
#include "options/register_option.h"

#include <algorithm>
#include <ctime>
#include <exception>
#include <future>
#include <mutex>
#include <thread>
#include <unordered_set>

std::map<SYMTAB*, step_list> steps_table;
std::vector<SYMTAB*> unsuppressed_functions;
int max_threads;

static std::list<SYMTAB*> functions_queue;
static std::mutex functions_queue_lock;
static std::mutex unsuppression_lock;

void choose_thread_count() {
  const int hardware = static_cast<int>(std::thread::hardware_concurrency());
  const int wanted = static_cast<int>(file_options->getnumarg(OPT_parallel, 0));
  if (pass_debug_nthreads > 0 && !pass_disable_threads)
    max_threads = std::min<int>(pass_debug_nthreads, hardware);
  else if (pass_disable_threads)
    max_threads = 0;
  else if (file_options->isset(OPT_parallel) && wanted >= 2)
    max_threads = std::min(wanted, hardware);
  else
    max_threads = 0;
}

// ---------------------------------------------------------------------------------------------
// Step lists

void step_list::pop_front() {
  if (next < permuted_order.size())
    next++;
  else
    last = nullptr;
  if (without_barriers) skip_barriers();
}

void step_list::remove_barriers() {
  without_barriers = true;
  skip_barriers();
}

void step_list::skip_barriers() {
  while (next < permuted_order.size() && permuted_order[next]->is_barrier())
    next++;
}

// ---------------------------------------------------------------------------------------------
// One step

static void banner(const char* before, const char* what, const pass* p) {
  if (!FDEBUG) return;
  print_if_debug("%s\t\t\t---------- %s step %d '%s' ----------\n", before, what,
                 static_cast<int>(p->serial()), p->name().c_str());
  flush_debug();
}

static void print_graph() {
  if (FDEBUG && currfuninfo && currfuninfo->bb_list) prbbinfix();
}

void pass::run() {
  if (pass_debug_skip_pass > 0 && static_cast<size_t>(pass_debug_skip_pass) == serial()) {
    banner("\n\n", "SKIPPING", this);
    return;
  }
  banner("\n\n", "ENTERING", this);
  print_graph();
  const bool timed = print_debug || pass_enable_time_stats;
  const clock_t start = timed ? clock() : 0;
  set_signal_note(signal_text.c_str());
#ifdef VRX_CHECKS
  crash_if_asked(static_cast<int>(serial()));
#endif
  fn();
  set_signal_note(nullptr);
  if (timed) {
    const clock_t used = clock() - start;
    print_if_debug("(%.1f sec for pass.)\n",
                   static_cast<double>(static_cast<float>(used) / static_cast<float>(1000000)));
    flush_debug();
    if (currfuninfo) currfuninfo->time += static_cast<unsigned>(used);
  }
  banner("\n\n\n", "EXITING", this);
  print_graph();
  if (currfunc) verify_after(name().c_str());
#ifdef VRX_CHECKS
  change_graph_if_asked(name().c_str());
#endif
}

// ---------------------------------------------------------------------------------------------
// One function

namespace {

// While alive, this thread's debug output goes to the function's own file.
class SPLIT_DEBUG_FILE {
public:
  explicit SPLIT_DEBUG_FILE(const char* name) {
    if (!pass_debug_split_odb || !print_debug) return;
    kept = FDEBUG;
    split = true;
    open_debug_file(0, name, "a");
  }
  ~SPLIT_DEBUG_FILE() {
    if (!split) return;
    const bool own = FDEBUG && FDEBUG != kept && FDEBUG != stderr;
    if (own && fclose(FDEBUG) != 0) optassert("fclose(FDEBUG)", __FILE__, __LINE__);
    FDEBUG = kept;
  }
  SPLIT_DEBUG_FILE(const SPLIT_DEBUG_FILE&) = delete;
  SPLIT_DEBUG_FILE& operator=(const SPLIT_DEBUG_FILE&) = delete;

private:
  FILE* kept = nullptr;
  bool split = false;
};

void dump_function_header() {
  print_if_debug("\n\n======== %s ========\n\n", currfuninfo->name.c_str());
}

} // namespace

void run_steps(SYMTAB* sym, step_list& steps) {
  if (steps.empty() || steps.front()->is_barrier()) return;
  currfuninfo = make_FUNINFO(sym);
  currfunc = sym;
  SPLIT_DEBUG_FILE own_file(sym->name);
  if (currfuninfo->symbol != currfunc)
    currfuninfo->symbol = get_sym_def_for_decl(currfuninfo->symbol);
  CHECK(currfunc == currfuninfo->symbol);
  dump_function_header();
  if (write_opt_info && finfo) print_info("\n%s\n", std::string(78, '=').c_str());
  dump_FUNINFO(currfuninfo, nullptr);
  if (currfuninfo->has_property(FP_ON_UNSUPPRESSED) && print_debug && opt_level() >= 3)
    print_if_debug("\n!!! %s() (%s) must be unsuppressed !!!\n\n", sym->name,
                   sym->type->str().c_str());
  step_list& passes = steps;
  while (!passes.empty() && !passes.front()->is_barrier()) {
    passes.front()->run();
    passes.pop_front();
  }
  CHECK(passes.empty() || passes.front()->is_barrier());
}

// ---------------------------------------------------------------------------------------------
// All functions

static void run_queued_function(SYMTAB* sym) {
  FILE* kept = finfo;
  finfo = write_opt_info ? tmpfile() : nullptr;
  if (write_opt_info && !finfo) abort_optimizer("Cannot make a temporary file");
  run_steps(sym, steps_table.find(sym)->second);
  if (finfo) {
    if (fflush(finfo) != 0) optassert("fflush(finfo)", __FILE__, __LINE__);
    const long length = ftell(finfo);
    if (length >= 1) {
      std::string text(static_cast<size_t>(length), 0);
      rewind(finfo);
      text.resize(fread(text.data(), 1, text.size(), finfo));
      make_FUNINFO(sym)->info_texts.push_back(text);
    }
    fclose(finfo);
  }
  finfo = kept;
}

// What a worker takes over from the thread that starts it, as it is at that moment.
struct FILE_MODES {
  int closed_to_callers = no_outside_callers, closed_to_writers = no_outside_writers;
};

// The first failure of a worker. The run ends with it, and names its function.
static std::exception_ptr first_failure; // under abort_lock

static bool note_failure(SYMTAB* sym) {
  const std::lock_guard<std::mutex> hold(abort_lock);
  if (first_failure) return false;
  first_failure = std::current_exception();
  currfunc_at_abort = sym;
  return true;
}

// The body of each parallel thread: takes functions from the queue until it is empty.
static void worker(FILE_MODES modes) {
  give_thread_a_signal_stack();
  chars_alias_other_types = caot_ref;
  no_outside_callers = modes.closed_to_callers;
  no_outside_writers = modes.closed_to_writers;
  FDEBUG = fdebug_ref;
  for (;;) {
    SYMTAB* sym;
    {
      std::lock_guard<std::mutex> hold(functions_queue_lock);
      if (functions_queue.empty()) return;
      sym = functions_queue.front();
      functions_queue.pop_front();
    }
    try {
      run_queued_function(sym);
    } catch (...) {
      if (note_failure(sym)) throw;
      return; // the run ends with the other one
    }
  }
}

static bool all_wait_at_a_barrier() {
  return std::all_of(functions.begin(), functions.end(), [](SYMTAB* sym) {
    const step_list& steps = steps_table[sym];
    return !steps.empty() && steps.front()->is_barrier();
  });
}

static void run_to_barrier() {
  if (max_threads == 0 || functions.size() < 2) {
    for (SYMTAB* sym : functions)
      run_steps(sym, steps_table[sym]);
    return;
  }
  if (all_wait_at_a_barrier()) return;
  functions_queue = functions;
  std::vector<std::future<void>> tasks;
  const size_t count = std::min(functions.size(), static_cast<size_t>(max_threads));
  first_failure = nullptr;
  for (size_t k = 0; k < count; k++)
    tasks.push_back(std::async(std::launch::async, worker, FILE_MODES{}));
  for (std::future<void>& task : tasks)
    task.get();
}

static void take_in_unsuppressed_functions() {
  for (size_t k = 0; k < unsuppressed_functions.size(); k++)
    run_steps(unsuppressed_functions[k], steps_table[unsuppressed_functions[k]]);
  if (unsuppressed_functions.empty()) return;
  const std::unordered_set<SYMTAB*> present(functions.begin(), functions.end());
  for (SYMTAB* sym : unsuppressed_functions) // of which none is in twice
    if (!present.count(sym)) functions.push_back(sym);
  unsuppressed_functions.clear();
}

static pass* take_barrier() {
  pass* barrier = nullptr;
  for (SYMTAB* sym : functions) {
    step_list& passes = steps_table[sym];
    if (passes.empty()) continue;
    CHECK(passes.front()->is_barrier());
    if (!barrier) barrier = passes.front();
    pass* barrier_pass = barrier;
    CHECK(barrier_pass == passes.front());
    passes.pop_front();
  }
  return barrier;
}

static void write_deferred_texts(FUNINFO* fi) {
  for (const std::string& text : fi->info_texts)
    if (finfo && fputs(text.c_str(), finfo) < 0)
      optassert("fputs(text, finfo)", __FILE__, __LINE__);
  fi->info_texts.clear();
}

void run_all_steps() {
  pass* output = make_output_pass();
  for (SYMTAB* sym : functions) {
    step_list& list = steps_table[sym];
    CHECK(steps_table[sym].size() == permuted_order.size());
    if (max_threads == 0) list.append(output);
    if (pass_debug_split_odb && print_debug) {
      FILE* kept = FDEBUG;
      open_debug_file(0, sym->name, "w");
      if (FDEBUG != kept && FDEBUG && FDEBUG != stderr) fclose(FDEBUG);
      FDEBUG = kept;
    }
  }
  matcher_init();
  for (;;) {
    const bool work_left = std::any_of(functions.begin(), functions.end(),
                                       [](SYMTAB* sym) { return !steps_table[sym].empty(); });
    if (!work_left) break;
    run_to_barrier();
    take_in_unsuppressed_functions();
    currfunc = nullptr;
    currfuninfo = nullptr;
    if (pass* barrier = take_barrier()) barrier->run();
    CHECK(unsuppressed_functions.empty());
  }

  if (max_threads == 0) return;
  for (SYMTAB* sym : functions) {
    write_deferred_texts(make_FUNINFO(sym));
    step_list& rest = steps_table[sym]; // at its end by now
    rest.append(output);
    run_steps(sym, rest);
  }
  for (size_t k = 0; k < unsuppressed_functions.size(); k++) { // may grow meanwhile
    step_list& list = steps_table[unsuppressed_functions[k]];
    list.append(output);
    list.remove_barriers();
    run_steps(unsuppressed_functions[k], list);
  }
}

void unsuppress_inline_function(FUNINFO* fi) {
  if (!fi || !function_is_defined(fi)) return;
  if (fi->has_property(FP_OUT_OF_ORDER) || fi == currfuninfo) return;
  std::lock_guard<std::mutex> hold(unsuppression_lock); // of two callers the second finds it done
  if (!fi->has_property(FP_SUPPRESSED) || fi->has_property(FP_MUST_KEEP)) return;
  const SYMTAB* sym = fi->symbol;
  const bool needs_no_body = sym->sclass == SC_EXTERN_DECL || sym->sclass == SC_EXTERN;
  if (needs_no_body && !no_outside_callers && !symbol_has_pragma(sym, PRAGMA_COMDAT_GROUP)) return;
  fi->set_properties(FP_MUST_KEEP);
  print_info("\nInlineable function %s() was marked for suppression,", fi->name.c_str());
  print_info("\nbut it cannot be because of a problematic use in %s().\n\n",
             currfuninfo ? currfuninfo->name.c_str() : " ? ");
  fi->clear_properties(FP_SUPPRESSED);
  if (fi->has_property(FP_ON_UNSUPPRESSED)) return;
  fi->set_properties(FP_ON_UNSUPPRESSED);
  unsuppressed_functions.push_back(fi->symbol);
}
