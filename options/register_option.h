// Named integer switches for developers: global objects that any pass reads as an int. The user
// sets them by --debug:, --enable: and --disable:. Set before threads start, read-only afterwards.
#pragma once

#include <map>
#include <string>

class register_option {
public:
  // Enters the object under its name, so that the command line finds it.
  explicit register_option(const char* name);
  operator int() const { return value; }
  register_option& operator=(int v) {
    value = v;
    return *this;
  }
  static register_option* get_option(const std::string& name); // null for an unknown name
  static std::map<std::string, int> get_state();
  static void set_state(const std::map<std::string, int>& state);
  static void reset_state();
  void dump() const {} // a switch has nothing to say beyond its value

private:
  int value = 0;
};

// What is known of a switch.
struct SWITCH_DEFINITION {
  const char* name; // "debug:help"
  const char* help;
  const char* waits_for; // what gives it an effect; null: it has one
  bool is_own;           // for working on this tool, beside the compiler's set of switches
};
constexpr int SWITCH_COUNT = 0
#define SWITCH(prefix, tail, name, help, waits_for) +1
#include "options/switches.inc"
#undef SWITCH
    ;
extern const SWITCH_DEFINITION switch_definitions[SWITCH_COUNT];

// pass_debug_help, pass_disable_threads, pass_enable_time_stats and so on; the tail is the switch's
// name, but for pass_enable_loop_fusion, which is "enable:fusion".
#define SWITCH(prefix, tail, name, help, waits_for) extern register_option pass_##prefix##_##tail;
#include "options/switches.inc"
#undef SWITCH
