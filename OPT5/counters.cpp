// Counters of what passes and rewrites did, and how they are printed.

#include "OPT5/counters.h"

#include "OPT5/streams.h"

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <utility>

// Filled before main, in no particular order.
static constinit COUNTER* all_counters = nullptr;

COUNTER::COUNTER(const char* p, const char* w) : pass(p), what(w), next(all_counters) {
  all_counters = this;
}

void print_counters(FILE* to) {
  std::map<std::pair<std::string, std::string>, long> sorted;
  for (const COUNTER* c = all_counters; c; c = c->next)
    sorted[{c->pass, c->what}] += c->value;
  print_checked(to, "\nWhat the passes did:\n");
  for (const auto& [name, value] : sorted)
    if (value) print_checked(to, "%8ld  %s: %s\n", value, name.first.c_str(), name.second.c_str());
}

void print_counters_as_json(FILE* to) {
  nlohmann::json totals; // its keys are in order
  for (const COUNTER* c = all_counters; c; c = c->next)
    totals[c->pass][c->what] = c->value.load();
  print_checked(to, "%s\n", totals.dump().c_str());
}

void reset_counters() {
  for (COUNTER* c = all_counters; c; c = c->next)
    c->value = 0;
}
