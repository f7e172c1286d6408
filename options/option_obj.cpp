#include "options/option_obj.h"

#include "DIAG/diag_messages.h"

#include <algorithm>
#include <cstdarg>

std::string option_obj::executable_name;
const char* (*option_obj::next_arg)();
TOOL_TYPE option_obj::tool = TOOL_OPTIMIZER;

static bool is_list(const OPTION_DEFINITION& def) {
  return def.arg == ARG_NUMBER_LIST || def.arg == ARG_STRING_LIST || def.arg == ARG_ONEOF_LIST;
}

option_obj::option_obj(bool trace) : debug(trace) {}

void option_obj::trace(const char* format, ...) const {
  if (!debug) return;
  printf("opt option debug: ");
  va_list args;
  va_start(args, format);
  vprintf(format, args);
  va_end(args);
  printf("\n");
}

void option_obj::report_corruption() {
  DIAG::optgen_corruption().report();
}

// ---------------------------------------------------------------------------------------------
// Setting

void option_obj::add_to_history(option_id id, const an_argument_t* argument, bool derived) {
  HISTORY_ENTRY entry{id, {}, false, derived, false, file_name};
  switch (definition(id).arg) {
  case ARG_NONE: break;
  case ARG_NUMBER:
  case ARG_NUMBER_LIST:
  case ARG_HEXNUM:
  case ARG_STRING:
  case ARG_STRING_LIST:
  case ARG_ENUM:
  case ARG_ONEOF_LIST:
    if (argument) {
      entry.argument = *argument;
      entry.has_argument = true;
    }
    break;
  default: DIAG::optgen_unhandled_clause_in_add_hist(static_cast<unsigned>(id)).report();
  }
  history.push_back(entry);
}

void option_obj::set_now(option_id id, const an_argument_t* argument, bool derived) {
  const OPTION_DEFINITION& def = definition(id);
  trace("set option %s%s%s", enum_to_optiontxt(id), argument ? " to " : "",
        argument ? argument->text.c_str() : "");
  if (argument) {
    if (!is_list(def)) arguments[id].clear();
    arguments[id].push_back(*argument);
  }
  state[id]++;
  is_derived[id] = derived;
  parsed_option(id);
  add_to_history(id, argument, derived);
  if (!merging) do_conflicts(id);
  derive_goal(id);
}

// The goals by their numbers: from the smallest code to the fastest.
static const long goal_of_speed[] = {GOAL_HIGH_RISK_SIZE,          GOAL_MEDIUM_RISK_SIZE,
                                     GOAL_LOW_RISK_SIZE,           GOAL_LOW_RISK_PERFORMANCE,
                                     GOAL_MEDIUM_RISK_PERFORMANCE, GOAL_HIGH_RISK_PERFORMANCE};

int goal_number(long item) {
  const auto* place = std::find(std::begin(goal_of_speed), std::end(goal_of_speed), item);
  return place == std::end(goal_of_speed) ? -1 : static_cast<int>(place - goal_of_speed);
}

// The goal has two older spellings.
void option_obj::derive_goal(option_id id) {
  if (id != OPT_opt_for_speed && id != OPT_opt_for_space) return;
  const OPTION_DEFINITION& def = definition(id);
  const long given = getargcount(id) ? getnumarg(id, 0) : def.without;
  const long number = std::clamp(given, def.low, def.high); // a program may say anything
  derived_from = id;
  setopt_internal(OPT_size_speed_goal,
                  goal_of_speed[id == OPT_opt_for_speed ? number : 3 - number]);
  derived_from = OPT_none;
}

// The text of a number as the command line would have it.
static an_argument_t argument_of_number(const OPTION_DEFINITION& def, long number) {
  an_argument_t argument;
  argument.number = number;
  if (const char* item = item_text(def.items, number))
    argument.text = item;
  else if (!def.items)
    argument.text = std::to_string(number);
  return argument;
}

void option_obj::setopt(option_id id) {
  set_now(id, nullptr, false);
}

void option_obj::setopt_internal(option_id id) {
  set_now(id, nullptr, true);
}

void option_obj::setopt_internal(option_id id, long number) {
  const an_argument_t argument = argument_of_number(definition(id), number);
  set_now(id, &argument, true);
}

void option_obj::setopt(option_id id, long number) {
  const an_argument_t argument = argument_of_number(definition(id), number);
  set_now(id, &argument, false);
}

void option_obj::setopt(option_id id, const char* text) {
  an_argument_t argument;
  if (parse_arg(definition(id), text, argument)) set_now(id, &argument, false);
}

void option_obj::setopt(class_id group) {
  for (const OPTION_DEFINITION& def : option_definitions)
    if (isclass(def.id, group) && def.without != MUST_BE_GIVEN) setopt(def.id);
}

void option_obj::setarg(option_id id, long number) {
  const OPTION_DEFINITION& def = definition(id);
  switch (def.arg) {
  case ARG_NUMBER:
  case ARG_HEXNUM:
  case ARG_ENUM: arguments[id].clear(); [[fallthrough]];
  case ARG_NUMBER_LIST:
  case ARG_ONEOF_LIST: arguments[id].push_back(argument_of_number(def, number)); break;
  case ARG_STRING:
  case ARG_STRING_LIST: DIAG::optgen_bad_parm_type().report(); break;
  default: DIAG::optgen_unhandled_clause_in_setarg(static_cast<unsigned>(id)).report();
  }
}

void option_obj::setarg(option_id id, const char* text) {
  const OPTION_DEFINITION& def = definition(id);
  switch (def.arg) {
  case ARG_STRING: arguments[id].clear(); [[fallthrough]];
  case ARG_STRING_LIST: arguments[id].push_back({text, 0}); break;
  case ARG_NUMBER:
  case ARG_NUMBER_LIST:
  case ARG_HEXNUM:
  case ARG_ENUM:
  case ARG_ONEOF_LIST: DIAG::optgen_bad_parm_type().report(); break;
  default: DIAG::optgen_unhandled_clause_in_setarg(static_cast<unsigned>(id)).report();
  }
}

void option_obj::setlistarg(option_id id, const std::vector<an_argument_t>& list) {
  if (!is_list(definition(id))) DIAG::optgen_list_handler(static_cast<unsigned>(id)).report();
  arguments[id] = list;
}

void option_obj::clearopt(option_id id) {
  if (isset(id) && definition(id).flags & FLAG_PERSISTENT) {
    report_once(DIAG::optgen_clear_persistent(get_opt_txt(id)));
    return;
  }
  clear_now(id);
}

void option_obj::clear_now(option_id id) {
  trace("clear option %s", enum_to_optiontxt(definition(id).id));
  state[id] = 0;
  is_derived[id] = false;
  arguments[id].clear();
  mark_cleared_in_history(id);
}

void option_obj::mark_cleared_in_history(option_id id) {
  for (HISTORY_ENTRY& entry : history)
    if (entry.id == id) entry.cleared = true;
}

void option_obj::clearopt(class_id group) {
  for (const OPTION_DEFINITION& def : option_definitions)
    if (isclass(def.id, group)) clearopt(def.id);
}

void option_obj::setclassmembers(class_id group) {
  for (const OPTION_DEFINITION& def : option_definitions)
    if (isclass(def.id, group)) state[def.id]++;
}

void option_obj::clearclassmembers(class_id group) {
  for (const OPTION_DEFINITION& def : option_definitions)
    if (isclass(def.id, group)) state[def.id] = 0;
}

void option_obj::clear_history(option_id id) {
  std::erase_if(history, [id](const HISTORY_ENTRY& entry) { return entry.id == id; });
}

void option_obj::register_option_form(option_id id, unsigned char form) {
  forms[definition(id).id] = form;
}

void option_obj::parsed_option(option_id id) {
  was_seen[definition(id).id]++;
}

// ---------------------------------------------------------------------------------------------
// Conflicts

// Is the option set, and to that value unless it is 0?
bool option_obj::has_value(option_id id, long value) const {
  return isset(id) && (value == 0 || getnumarg(id, 0) == value);
}

void option_obj::clear_for(const OPTION_CONFLICT& conflict) {
  const std::string later = get_opt_txt(conflict.later);
  const std::string earlier = get_opt_txt(conflict.earlier);
  const bool silent = overriding || is_derived[conflict.earlier];
  if (!overriding && option_definitions[conflict.earlier].flags & FLAG_PERSISTENT) {
    report_once(DIAG::optgen_clear_persistent(earlier));
    return;
  }
  clear_now(conflict.earlier);
  if (silent) return;
  if (conflict.action == CONFLICT_OVERRIDES)
    report_once(DIAG::optgen_override(later, earlier));
  else
    report_once(DIAG::optgen_clears(later, earlier));
}

void option_obj::do_conflicts(option_id id) {
  for (int k = 0; k < OPTION_CONFLICT_COUNT; k++) {
    const OPTION_CONFLICT& conflict = option_conflicts[k];
    if (conflict.later != id || !has_value(id, conflict.later_value) ||
        !has_value(conflict.earlier, conflict.earlier_value))
      continue;
    if (conflict.earlier == derived_from) continue; // it agrees with what follows from it
    if (conflict.action == CONFLICT_IS_ERROR && !overriding)
      report_once(DIAG::optgen_conflict(get_opt_txt(id), get_opt_txt(conflict.earlier)));
    else
      clear_for(conflict);
  }
}

// ---------------------------------------------------------------------------------------------
// Asking

bool option_obj::seen(option_id id) const {
  return was_seen[definition(id).id] > 0;
}

int option_obj::testclass(class_id group) const {
  int n = 0;
  for (const OPTION_DEFINITION& def : option_definitions)
    n += isclass(def.id, group) && isset(def.id);
  return n;
}

int option_obj::seenclass(class_id group) const {
  int n = 0;
  for (const OPTION_DEFINITION& def : option_definitions)
    n += isclass(def.id, group) && seen(def.id);
  return n;
}

std::vector<class_id> option_obj::class_list_for_option(option_id id) {
  std::vector<class_id> groups;
  for (int group = 0; group < CLASS_COUNT; group++)
    if (isclass(id, static_cast<class_id>(group))) groups.push_back(static_cast<class_id>(group));
  return groups;
}

const char* option_obj::getstrarg(option_id id, unsigned k) const {
  const unsigned n = getargcount(id);
  return k < n ? arguments[id][n - 1 - k].text.c_str() : nullptr;
}

bool option_obj::get_argument(option_id id, an_argument_t* argument) const {
  if (getargcount(id) == 0) return false;
  *argument = arguments[id].back();
  return true;
}

std::string option_obj::get_opt_txt(option_id id) const {
  const OPTION_DEFINITION& def = definition(id);
  if (def.alternate && (!def.name || forms[id] == FORM_SHORT))
    return std::string("-") + def.alternate;
  return std::string(forms[id] == FORM_LONG_ONE_DASH ? "-" : "--") + def.name;
}
