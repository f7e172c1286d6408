// The declared command line: the values that a run, a stored option set or an input file gives to
// the options of options/option_table.h. A value class; main thread only while options are being
// set, read-only afterwards.
#pragma once

#include "options/option_table.h"

#include <map>
#include <string>
#include <vector>

// One argument of an option.
struct an_argument_t {
  std::string text; // as given; empty if the number stands for a missing argument
  long number = 0;  // of a number or an item
};

// How an option was written.
enum OPTION_FORM : unsigned char { FORM_LONG, FORM_LONG_ONE_DASH, FORM_SHORT };

enum export_option_list_type {
  EXPORT_SET,     // the options that are set
  EXPORT_SEEN,    // every setting, even if cleared since, in the order of setting
  EXPORT_HISTORY, // every setting that is still in force, in the order of setting
};

struct HISTORY_ENTRY {
  option_id id;
  an_argument_t argument;
  bool has_argument;
  bool derived; // set by another option, not by itself
  bool cleared; // no longer in force
  std::string file;
};

class DIAGNOSTIC;

class option_obj {
public:
  static std::string executable_name;
  static const char* (*next_arg)(); // the next process argument, or null when none is left
  static TOOL_TYPE tool;            // the tool whose command line this is

  explicit option_obj(bool trace = false);

  // -------------------------------------------------------------------------------------------
  // Parsing. Bad options are reported as messages; errors are counted there, and the caller ends
  // the run when it is through.

  // One argument without its first dash. An option's argument stands behind "=" or, for a short
  // option, directly behind it; for one that needs an argument it may be the next process argument,
  // which `next`, if not null, receives.
  void process_option(const char* arg, const char** next = nullptr);
  // Takes over what `winner` has set. What is in force here and conflicts with it goes without a
  // message.
  void override_by(const option_obj& winner);

  // -------------------------------------------------------------------------------------------
  // Setting

  // Raise the set count, record it in the history and, except while merging, see to conflicts.
  void setopt(option_id id);
  void setopt(class_id group); // every member that can do without an argument
  void setopt(option_id id, long number);
  void setopt(option_id id, const char* text);
  void setopt_internal(option_id id); // it follows from another option, and isn't exported
  void setopt_internal(option_id id, long number);
  // Give an option an argument, without setting it.
  void setarg(option_id id, long number);
  void setarg(option_id id, const char* text);
  void setlistarg(option_id id, const std::vector<an_argument_t>& list);
  // A persistent option stays, with a warning.
  void clearopt(option_id id);
  void clearopt(class_id group);
  // The same for the states alone: no history, no conflicts.
  void setclassmembers(class_id group);
  void clearclassmembers(class_id group);
  void clear_history(option_id id);
  void register_option_form(option_id id, unsigned char form);
  void parsed_option(option_id id); // it was seen
  void do_conflicts(option_id id);

  // -------------------------------------------------------------------------------------------
  // Asking

  bool isset(option_id id) const { return set_count(id) > 0; }
  // How often it was set.
  int set_count(option_id id) const { return state[definition(id).id]; }
  bool seen(option_id id) const;
  int testclass(class_id group) const; // how many options of the class are set
  int seenclass(class_id group) const; // how many were seen
  static std::vector<class_id> class_list_for_option(option_id id);
  unsigned getargcount(option_id id) const {
    return static_cast<unsigned>(arguments[definition(id).id].size());
  }
  // Argument k, counted from the newest; 0 or null if there is none.
  long getnumarg(option_id id, unsigned k) const {
    const unsigned n = getargcount(id);
    return k < n ? arguments[id][n - 1 - k].number : 0;
  }
  const char* getstrarg(option_id id, unsigned k) const;
  bool get_argument(option_id id, an_argument_t* argument) const; // the newest; false without one
  std::string get_opt_txt(option_id id) const;                    // in the form that was used
  const std::vector<HISTORY_ENTRY>& get_history() const { return history; }

  // -------------------------------------------------------------------------------------------
  // Arguments. Each returns false after a message.

  bool parse_arg(const OPTION_DEFINITION& def, const char* text, an_argument_t& argument);
  bool parse_oneof(const OPTION_DEFINITION& def, const char* text, an_argument_t& argument);
  bool check_numerical_arg(const OPTION_DEFINITION& def, const char* text, long& number);
  // Is the option known to this tool and allowed here?
  bool check_validity(const OPTION_DEFINITION& def);
  // 16 for 0x, 2 for 0b, 8 for another leading 0, else 10; a sign may stand before.
  static int get_radix(const char* text);
  // The number, read in the radix of its prefix. *failed is set if `text` is no number or too big.
  static long strtol_by_radix(const char* text, int* failed);
  static unsigned long strtoul_by_radix(const char* text, int* failed);

  // -------------------------------------------------------------------------------------------
  // Output

  // Setting number k of an option (0: the oldest argument that is in force) as command-line text;
  // empty if there is none.
  std::string export_option(option_id id, int k) const;
  std::vector<std::string> export_option_class(export_option_list_type which, class_id group) const;
  // Every setting in force, in order, as texts for process_option.
  std::vector<std::string> export_option_pairs() const;
  void print() const;           // all options as a table, on standard output
  void dump(int verbose) const; // print(), with the history if verbose
  void dump_history() const;
  static void print_help();  // every option with its description
  static void print_usage(); // every option in short

  // -------------------------------------------------------------------------------------------
  // Merging. `file_name` names the file that an object belongs to.

  std::string file_name;
  bool is_stored_set = false;   // options from a file, where some make no sense
  bool is_function_set = false; // of single functions: switches and messages aren't touched
  void merge_options(option_obj& other);
  void do_merge_conflicts(option_id id, option_obj& other);
  // Each leaves this object's option as the merged one.
  bool merge_policy_exact(option_id id, option_obj& other);
  bool merge_policy_exact_notset(option_id id, option_obj& other);
  bool merge_policy_or(option_id id, option_obj& other);
  bool merge_policy_and(option_id id, option_obj& other);
  bool merge_policy_max(option_id id, option_obj& other);
  bool merge_policy_min(option_id id, option_obj& other);
  bool merge_policy_none(option_id id, option_obj& other);
  bool merge_policy_main(option_id id, option_obj& other);
  bool merge_policy_custom(option_id id, option_obj& other);
  using merge_member = bool (option_obj::*)(option_id, option_obj&);
  static const merge_member merge_policies[MERGE_POLICY_COUNT];
  // An override's true result ends the option.
  bool merge_lists(option_id id, option_obj& other);
  bool merge_by_rank(option_id id, option_obj& other);
  bool merge_goal(option_id id, option_obj& other);
  bool merge_std_lib(option_id id, option_obj& other);
  static merge_member merge_override(option_id id); // null: none

  // -------------------------------------------------------------------------------------------
  // Options for other tools

  // Adds a file, with the options that go with it, to a tool's list. The tool is given by its name
  // ("linker", "archiver") or its command ("vrx-link"). The files between "--start-group" and
  // "--end-group" are a group. False after a message.
  bool addfileopt(const std::string& tool, const std::string& file, const std::string& options);
  // What is on the tool's list, as command-line text.
  static std::vector<std::string> fileopts(const std::string& tool);
  static void clear_fileopts();
  // The type of the tool with this command; TOOL_TYPE_COUNT after a message.
  static TOOL_TYPE tool_of_command(const std::string& command);
  static const std::map<std::string, TOOL_TYPE> tool_cmd_map;

private:
  bool debug = false; // print each action
  int state[OPTION_COUNT] = {};
  int was_seen[OPTION_COUNT] = {};
  unsigned char forms[OPTION_COUNT] = {};
  bool is_derived[OPTION_COUNT] = {};                 // its state follows from another option
  std::vector<an_argument_t> arguments[OPTION_COUNT]; // newest last
  std::vector<HISTORY_ENTRY> history;
  bool merging = false;
  bool overriding = false;           // what is being set wins without a word
  option_id derived_from = OPT_none; // the option from which the one being set follows

  struct FILE_LIST {
    std::vector<std::string> files;
    bool group_is_open = false;
  };
  static std::map<std::string, FILE_LIST> tn_fileopt_map; // by the tool's name

  [[gnu::format(printf, 2, 3)]] void trace(const char* format, ...) const;
  static void report_corruption();
  static const OPTION_DEFINITION& definition(option_id id) {
    if (id < 0 || id >= OPTION_COUNT || option_definitions[id].id != id) report_corruption();
    return option_definitions[id];
  }
  bool process___dash___option(const char* text, unsigned char form, bool fold, const char** next);
  bool process_short_option(const char* text, const char** next);
  void take(const OPTION_DEFINITION& def, const char* argument, unsigned char form,
            const char** next);
  void report(DIAGNOSTIC&& message, bool once = false) const;
  void report_once(DIAGNOSTIC&& message) const;
  void warn_of_deprecated_item(const OPTION_DEFINITION& def, const char* text) const;
  bool check_silicon(const char* text, long& number);
  void deprecated_case(const char* written, const char* meant);
  void set_now(option_id id, const an_argument_t* argument, bool derived);
  void add_to_history(option_id id, const an_argument_t* argument, bool derived);
  void apply_at_once(option_id id);
  void derive_goal(option_id id);
  void clear_now(option_id id);
  void clear_for(const OPTION_CONFLICT& conflict);
  bool has_value(option_id id, long value) const;
  void mark_cleared_in_history(option_id id);
  std::string text_with_argument(option_id id) const;
  void copy_option(option_id id, const option_obj& from);
  void append_history(const option_obj& from, const HISTORY_ENTRY& entry);
  void give_way(option_id id, const option_obj& other, option_id winner);
  std::string render(option_id id, const an_argument_t* argument) const;
  std::string render(const HISTORY_ENTRY& entry) const;
};

// A dash has been cut off `text`; where does the option's name match? The long option whose name
// starts `text`, or null; `rest` gets what stands behind the name. With `fold` the case of letters
// doesn't matter.
const OPTION_DEFINITION* find_long_option(const char* text, bool fold, const char*& rest);
// The option of a pair or a letter at the start of `text`, or null.
const OPTION_DEFINITION* find_short_option(const char* text, const char*& rest);

// "a=3,b" under the prefix "debug" sets the switch "debug:a" to 3 and "debug:b" to 1. Values are
// read with base 0. Unknown names are ignored.
void process_debug_option(const char* prefix, const char* list);
