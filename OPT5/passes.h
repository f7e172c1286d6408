// The steps of a compilation: a fixed table, and the list that is really run.
#pragma once

#include "OPT5/serial.h"
#include "OPT5/symbol.h"

#include <cstdio>
#include <map>
#include <string>
#include <vector>

class pass;
class pass_manager;
extern serial_namespace<pass, pass_manager> global_pass_manager;

// A step: runs once for each function, on the current one.
class pass : public serial_object<pass, pass_manager> {
public:
  pass(const char* name, void (*fn)());
  virtual bool is_barrier() const { return false; }
  const std::string& name() const { return step_name; }
  void run();

private:
  std::string step_name;
  std::string signal_text; // what a fault during the step says of it
  void (*fn)();
};

// A step that runs once for the whole unit, after every function has arrived at it.
class barrier_pass : public pass {
public:
  using pass::pass;
  bool is_barrier() const override { return true; }
};

extern std::vector<pass*> normal_order;   // every step in table order
extern std::vector<pass*> permuted_order; // what is run

// What is still to be run for a function: the rest of permuted_order, which all functions share,
// and after it the output step where it was appended.
class step_list {
public:
  bool empty() const { return size() == 0; }
  size_t size() const { return permuted_order.size() - next + (last != nullptr); }
  pass* front() const { return next < permuted_order.size() ? permuted_order[next] : last; }
  void pop_front();
  void append(pass* output) { last = output; } // one at most
  void remove_barriers();

private:
  size_t next = 0; // in permuted_order
  bool without_barriers = false;
  pass* last = nullptr;

  void skip_barriers();
};
extern std::map<SYMTAB*, step_list> steps_table; // by function
extern std::vector<SYMTAB*> unsuppressed_functions;
extern int max_threads; // 0 is serial

// Builds both orders. With use_forced_order the option or the environment may choose the second.
void setup_passes(bool use_forced_order);
std::vector<pass*>& add_dd_normal_order_passes(std::vector<pass*>& order);
void list_passes(FILE* to);
void erase_all_passes(); // at the end of the run
// A step object outside the table.
pass* make_output_pass();

// The function turns out to be needed although it was suppressed: it is scheduled again.
class FUNINFO;
void unsuppress_inline_function(FUNINFO* fi);

// Runs a function's list up to the next barrier.
void run_steps(SYMTAB* sym, step_list& steps);
// Fills the lists and runs them, in parallel where asked, up to and including the output steps.
void run_all_steps();
void choose_thread_count();
