// Counters of what passes and rewrites did, by name; printed at the end of a run with
// --enable:counters.
#pragma once

#include "options/register_option.h"

#include <atomic>
#include <cstdio>

// A counter is a static object beside the rewrite that moves it. Any thread may count.
class COUNTER {
public:
  // Both texts live to the end of the run: the pass, or the file family, and what it counts.
  COUNTER(const char* pass, const char* what);

  void count(long n = 1) {
    if (pass_enable_counters) value.fetch_add(n, std::memory_order_relaxed);
  }

private:
  const char* pass;
  const char* what;
  COUNTER* next; // in the list of all
  std::atomic<long> value{0};

  friend void print_counters(FILE* to);
  friend void print_counters_as_json(FILE* to);
  friend void reset_counters();
};

// One line a counter, by pass and name: "    12  fold: integer operators". Those that are zero are
// left out.
void print_counters(FILE* to);
// All of them, those that are zero included, as one object of objects: {"fold": {"...": 12}}.
void print_counters_as_json(FILE* to);
void reset_counters(); // for another run in the same process
