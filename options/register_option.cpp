#include "options/register_option.h"

#include "DIAG/safemalloc.h"
#include "options/option_obj.h"

#include <cstdlib>
#include <cstring>

static std::map<std::string, register_option*>& registry() {
  static std::map<std::string, register_option*> map;
  return map;
}

register_option::register_option(const char* name) {
  registry()[name] = this;
}

register_option* register_option::get_option(const std::string& name) {
  auto place = registry().find(name);
  return place == registry().end() ? nullptr : place->second;
}

std::map<std::string, int> register_option::get_state() {
  std::map<std::string, int> state;
  for (auto& [name, option] : registry())
    state[name] = option->value;
  return state;
}

void register_option::set_state(const std::map<std::string, int>& state) {
  for (auto& [name, value] : state)
    if (register_option* option = get_option(name)) option->value = value;
}

void register_option::reset_state() {
  for (auto& [name, option] : registry())
    option->value = 0;
}

void process_debug_option(const char* prefix, const char* list) {
  constexpr size_t MAX_KEY = 512;
  char* copy = safestrdup(list);
  char* rest = copy;
  while (char* item = strsep(&rest, ",")) {
    int value = 1;
    if (char* equals = strchr(item, '=')) {
      *equals = 0;
      value = static_cast<int>(strtol(equals + 1, nullptr, 0));
    }
    std::string key = std::string(prefix) + ":";
    if (key.size() + strlen(item) < MAX_KEY) key += item;
    if (register_option* option = register_option::get_option(key)) *option = value;
  }
  free(copy);
}

#define SWITCH(prefix, tail, name, help, waits_for) register_option pass_##prefix##_##tail(name);
#include "options/switches.inc"
#undef SWITCH

const SWITCH_DEFINITION switch_definitions[SWITCH_COUNT] = {
#define SWITCH(prefix, tail, name, help, waits_for) {name, help, waits_for, false},
#define OWN_SWITCH(prefix, tail, name, help, waits_for) {name, help, waits_for, true},
#include "options/switches.inc"
#undef SWITCH
};
