// Options as text: for the next tool, and as tables for people.

#include "options/option_obj.h"

#include <cstdio>

std::string option_obj::render(option_id id, const an_argument_t* argument) const {
  const OPTION_DEFINITION& def = definition(id);
  const bool has_text = argument && !argument->text.empty();
  if (!def.name) return def.alternate + (has_text ? argument->text : "");
  std::string text = std::string("-") + def.name;
  if (def.arg == ARG_STRING_LIST) return text + (argument ? argument->text : "");
  // An empty text that was given differs from none: --opt_passes= runs no step.
  if (has_text || (argument && def.without == MUST_BE_GIVEN && def.arg == ARG_STRING))
    text += "=" + argument->text;
  return text;
}

std::string option_obj::render(const HISTORY_ENTRY& entry) const {
  return render(entry.id, entry.has_argument ? &entry.argument : nullptr);
}

std::string option_obj::export_option(option_id id, int k) const {
  const auto n = static_cast<int>(getargcount(id));
  if (!isset(id) || k < 0 || k >= std::max(n, 1)) return "";
  return "-" + render(id, n ? &arguments[id][static_cast<size_t>(k)] : nullptr);
}

std::vector<std::string> option_obj::export_option_pairs() const {
  std::vector<std::string> texts;
  for (const HISTORY_ENTRY& entry : history)
    if (!entry.cleared && !entry.derived) texts.push_back(render(entry));
  return texts;
}

std::vector<std::string> option_obj::export_option_class(export_option_list_type which,
                                                         class_id group) const {
  std::vector<std::string> texts;
  if (which != EXPORT_SET) { // in order, so that a later setting clears an earlier one again
    for (const HISTORY_ENTRY& entry : history)
      if (isclass(entry.id, group) && !entry.derived && (which == EXPORT_SEEN || !entry.cleared))
        texts.push_back("-" + render(entry));
    return texts;
  }
  for (const OPTION_DEFINITION& def : option_definitions) {
    if (!isclass(def.id, group) || is_derived[def.id] || !isset(def.id)) continue;
    const int n = std::max(static_cast<int>(getargcount(def.id)), 1);
    for (int k = 0; k < n; k++)
      texts.push_back(export_option(def.id, k));
  }
  return texts;
}

// ---------------------------------------------------------------------------------------------
// Tables

static const char* argument_label(ARG_TYPE type) {
  switch (type) {
  case ARG_NONE: return "NO ARGS";
  case ARG_NUMBER: return "NUMBER ARG:";
  case ARG_NUMBER_LIST: return "NUMBER LIST ARG:";
  case ARG_HEXNUM: return "HEXNUM ARG:";
  case ARG_STRING: return "STRING ARG:";
  case ARG_STRING_LIST: return "STRING LIST ARG:";
  case ARG_ENUM: return "ENUMERATED ARG:";
  case ARG_ONEOF_LIST: return "ONEOF LIST ARG:";
  default: return "<UNKNOWN TYPE!?!?>";
  }
}

static std::string argument_text(const OPTION_DEFINITION& def, const an_argument_t& argument) {
  char number[32];
  switch (def.arg) {
  case ARG_NUMBER:
  case ARG_NUMBER_LIST: return std::to_string(argument.number);
  case ARG_HEXNUM:
    snprintf(number, sizeof number, "0x%lX", static_cast<unsigned long>(argument.number));
    return number;
  default: return argument.text;
  }
}

void option_obj::print() const {
  for (const OPTION_DEFINITION& def : option_definitions) {
    if (def.id == OPT_none) break;
    printf("%-25s  ", enum_to_optiontxt(def.id));
    printf("%s", seen(def.id) ? "SEEN      " : "not seen  ");
    printf("%s", isset(def.id) ? "ENABLED   " : "disabled  ");
    printf("%s", argument_label(def.arg));
    if (def.arg != ARG_NONE) {
      const char* before = " ";
      for (const an_argument_t& argument : arguments[def.id]) {
        printf("%s%s", before, argument_text(def, argument).c_str());
        before = ", ";
      }
      if (arguments[def.id].empty()) printf(" <arg not provided>");
    }
    printf("\n");
  }
}

void option_obj::dump(int verbose) const {
  print();
  if (verbose) dump_history();
}

void option_obj::dump_history() const {
  printf("\nHistory:\n");
  int k = 0;
  for (const HISTORY_ENTRY& entry : history) {
    printf("%4d  -%s", ++k, render(entry).c_str());
    if (entry.derived) printf("  (follows from another option)");
    if (entry.cleared) printf("  (cleared)");
    printf("  from %s\n", entry.file.empty() ? "the command line" : entry.file.c_str());
  }
}
