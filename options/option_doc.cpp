#include "options/option_doc.h"

#include "options/option_obj.h"
#include "options/register_option.h"

#include <cstdio>
#include <cstring>

namespace {

const char* or_dash(const std::string& text) {
  return text.empty() ? "-" : text.c_str();
}

std::string in_code(const std::string& text) {
  if (text.empty()) return "";
  std::string out;
  for (char c : text)
    out += c == '|' ? std::string("\\|") : std::string(1, c); // a bar ends a cell
  return "`" + out + "`";
}

std::string effect(const char* waits_for) {
  return waits_for ? std::string("waits for ") + waits_for : "in effect";
}

const char* const policy_names[MERGE_POLICY_COUNT] = {
    "exact", "exact_notset", "or", "and", "max", "min", "none", "main", "custom"};

// Under which forms the user knows it, and what may stand behind it.
void print_forms() {
  printf("## The options, long and short\n\n");
  printf("| long | short | argument | values | default | what it does |\n"
         "|---|---|---|---|---|---|\n");
  for (const CLASS_DESCRIPTION& group : class_descriptions)
    for (const OPTION_DEFINITION& def : option_definitions) {
      if (!isclass(def.id, group.id)) continue;
      printf("| %s ", or_dash(in_code(def.name ? std::string("--") + def.name : "")));
      printf("| %s ", or_dash(in_code(def.alternate ? std::string("-") + def.alternate : "")));
      printf("| %s ", or_dash(in_code(option_argument_text(def, !def.name))));
      printf("| %s ", or_dash(option_range_text(def)));
      printf("| %s ", or_dash(def.default_text ? def.default_text : ""));
      printf("| %s |\n", def.help);
    }
}

void print_properties() {
  printf("\n## Classes, merging, effect\n\n"
         "The classes of an option; the policy by which it is merged across files; and whether it "
         "has an effect\n"
         "already or waits for the steps that will read it. All can be set and read.\n\n"
         "| option | classes | merging | effect |\n|---|---|---|---|\n");
  int waiting = 0;
  for (const OPTION_DEFINITION& def : option_definitions) {
    if (def.id == OPT_none) break;
    std::string classes;
    for (class_id group : option_obj::class_list_for_option(def.id))
      if (group != CLASS_all)
        classes += (classes.empty() ? "" : ", ") + std::string(class_names[group]);
    std::string policy = policy_names[def.policy];
    if (option_obj::merge_override(def.id)) policy += ", overridden";
    waiting += def.waits_for != nullptr;
    printf("| %s | %s | %s | %s |\n", in_code(enum_to_optiontxt(def.id)).c_str(), classes.c_str(),
           policy.c_str(), effect(def.waits_for).c_str());
  }
  printf("\n%d options, of which %d are in effect and %d wait.\n", OPTION_COUNT,
         OPTION_COUNT - waiting, waiting);
}

void print_conflicts() {
  printf("\n## Conflicts\n\nWhat a later option does to an earlier one. A value given on the "
         "command line wins over\n"
         "stored options without a message.\n\n| later | earlier | result |\n|---|---|---|\n");
  auto with_value = [](option_id id, long value) {
    std::string text = enum_to_optiontxt(id);
    if (value) text += std::string("=") + item_text(option_definitions[id].items, value);
    return in_code(text);
  };
  for (int k = 0; k < OPTION_CONFLICT_COUNT; k++) {
    const OPTION_CONFLICT& c = option_conflicts[k];
    const bool kept = option_definitions[c.earlier].flags & FLAG_PERSISTENT;
    printf("| %s | %s | %s |\n", with_value(c.later, c.later_value).c_str(),
           with_value(c.earlier, c.earlier_value).c_str(),
           c.action == CONFLICT_IS_ERROR    ? "error"
           : kept                           ? "warning: the earlier one is persistent and stays"
           : c.action == CONFLICT_OVERRIDES ? "cleared, with a warning"
                                            : "cleared, with a remark");
  }
}

void print_switch_table() {
  printf("\n## Switches\n\n"
         "Named integers for developers. `--debug:a=3,b` sets `debug:a` to 3 and `debug:b` to 1; a "
         "value may be\n"
         "decimal, 0x hexadecimal or 0 octal. Unknown names are ignored without a word.\n\n"
         "| switch | what it does | effect |\n|---|---|---|\n");
  int waiting = 0;
  for (int k = 0; k < SWITCH_COUNT; k++) {
    const SWITCH_DEFINITION& def = switch_definitions[k];
    waiting += def.waits_for != nullptr;
    printf("| `%s` | %s%s | %s |\n", def.name, def.help,
           def.is_own ? " (a switch of this tool's own, beside the compiler's set)" : "",
           effect(def.waits_for).c_str());
  }
  printf("\n%d switches, of which %d are in effect and %d wait.\n", SWITCH_COUNT,
         SWITCH_COUNT - waiting, waiting);
}

// " (`-d`, `-i`)"
std::string short_forms_with_optional_argument() {
  std::string text;
  for (const OPTION_DEFINITION& def : option_definitions)
    if (def.alternate && def.arg != ARG_NONE && def.without != MUST_BE_GIVEN)
      text += (text.empty() ? " (" : ", ") + in_code(std::string("-") + def.alternate);
  return text + ")";
}

} // namespace

void print_options_page() {
  printf("# Options of vrx-mid\n\n"
         "This page is printed by `build/bin/options-doc` from the tables of options and switches; "
         "a test compares\n"
         "the two. `vrx-mid --help` shows the same by group.\n\n"
         "A long option takes one dash or two, and its argument behind `=`; one that needs an "
         "argument also takes\n"
         "the next word. A short option takes its argument directly behind the letter, behind "
         "`=`, or as the next\n"
         "word. An argument that can be left out is never the next word%s. A pair\n"
         "goes before a letter, and a long option before both. Upper case in a long option is "
         "accepted with a\n"
         "warning. Numbers may be decimal, 0x hexadecimal, 0b binary or 0 octal. `--` ends the "
         "options.\n\n"
         "The input may hold option sets: set 0 is of the whole file, the others are of single "
         "functions. In those,\n"
         "switches and options on messages have no effect.\n\n",
         short_forms_with_optional_argument().c_str());
  print_forms();
  print_properties();
  print_conflicts();
  print_switch_table();
}

void print_switches() {
  for (int k = 0; k < SWITCH_COUNT; k++) {
    const SWITCH_DEFINITION& def = switch_definitions[k];
    printf(
        "%-56s  %s\n",
        (std::string(def.name) + "=" + std::to_string(int(*register_option::get_option(def.name))))
            .c_str(),
        def.help);
  }
}
