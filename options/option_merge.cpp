// Putting the options of several files together. "This" object holds what the files before had, and
// becomes the result; the other one is the next file's.

#include "DIAG/diag_messages.h"
#include "options/option_obj.h"

#include <algorithm>

const option_obj::merge_member option_obj::merge_policies[MERGE_POLICY_COUNT] = {
    &option_obj::merge_policy_exact,  &option_obj::merge_policy_exact_notset,
    &option_obj::merge_policy_or,     &option_obj::merge_policy_and,
    &option_obj::merge_policy_max,    &option_obj::merge_policy_min,
    &option_obj::merge_policy_none,   &option_obj::merge_policy_main,
    &option_obj::merge_policy_custom,
};

option_obj::merge_member option_obj::merge_override(option_id id) {
  switch (id) {
  case OPT_debug:
  case OPT_disable:
  case OPT_enable:
  case OPT_aux_cmd_flag: return &option_obj::merge_lists;
  case OPT_opt_level: return &option_obj::merge_by_rank;
  case OPT_opt_for_space:
  case OPT_opt_for_speed:
  case OPT_size_speed_goal: return &option_obj::merge_goal;
  case OPT_std_lib_func_defined:
  case OPT_std_lib_func_not_defined:
  case OPT_std_lib_func_redefined: return &option_obj::merge_std_lib;
  default: return nullptr;
  }
}

void option_obj::merge_options(option_obj& other) {
  merging = true;
  for (int k = 0; k < OPTION_COUNT; k++) {
    const auto id = static_cast<option_id>(k);
    if (isset(id)) do_merge_conflicts(id, other);
    const merge_member override_member = merge_override(id);
    if (override_member && (this->*override_member)(id, other)) continue;
    (this->*merge_policies[option_definitions[id].policy])(id, other);
  }
  merging = false;
}

std::string option_obj::text_with_argument(option_id id) const {
  const unsigned n = getargcount(id);
  return "-" + render(id, n ? &arguments[id][n - 1] : nullptr);
}

void option_obj::copy_option(option_id id, const option_obj& from) {
  state[id] = from.state[id];
  was_seen[id] = std::max(was_seen[id], from.was_seen[id]);
  forms[id] = from.forms[id];
  is_derived[id] = from.is_derived[id];
  arguments[id] = from.arguments[id];
  mark_cleared_in_history(id);
  for (const HISTORY_ENTRY& entry : from.history)
    if (entry.id == id) append_history(from, entry);
}

void option_obj::append_history(const option_obj& from, const HISTORY_ENTRY& entry) {
  history.push_back(entry);
  if (entry.file.empty()) history.back().file = from.file_name;
}

// The option is set here; does something that the other file sets go against it?
void option_obj::do_merge_conflicts(option_id id, option_obj& other) {
  for (int k = 0; k < OPTION_CONFLICT_COUNT; k++) {
    const OPTION_CONFLICT& conflict = option_conflicts[k];
    if (conflict.earlier != id || other.is_derived[conflict.later]) continue;
    if (!other.has_value(conflict.later, conflict.later_value)) continue;
    if (conflict.earlier_value && getnumarg(id, 0) != conflict.earlier_value) continue;
    // One override decides between spellings of one thing, by what they mean.
    const merge_member decides = merge_override(id);
    if (decides && decides == merge_override(conflict.later)) continue;
    if (conflict.action == CONFLICT_IS_ERROR) {
      DIAG::optgen_merge_conflict(other.get_opt_txt(conflict.later), other.file_name,
                                  get_opt_txt(id))
          .report();
      continue;
    }
    if (option_definitions[id].flags & FLAG_PERSISTENT) {
      DIAG::optgen_clear_persistent(get_opt_txt(id)).report();
      continue;
    }
    if (conflict.action == CONFLICT_OVERRIDES)
      DIAG::optgen_override(other.get_opt_txt(conflict.later), get_opt_txt(id)).report();
    else
      DIAG::optgen_clears(other.get_opt_txt(conflict.later), get_opt_txt(id)).report();
    clear_now(id);
  }
}

// ---------------------------------------------------------------------------------------------
// Policies

static bool equal_arguments(const option_obj& a, const option_obj& b, option_id id) {
  const unsigned n = a.getargcount(id);
  if (n != b.getargcount(id)) return false;
  for (unsigned k = 0; k < n; k++) {
    if (a.getnumarg(id, k) != b.getnumarg(id, k)) return false;
    // A number is what it is worth, however it was written.
    const ARG_TYPE type = option_definitions[id].arg;
    const bool is_text =
        type == ARG_STRING_LIST || (type == ARG_STRING && id != OPT_silicon_version);
    if (is_text && std::string(a.getstrarg(id, k)) != b.getstrarg(id, k)) return false;
  }
  return true;
}

bool option_obj::merge_policy_exact(option_id id, option_obj& other) {
  if (isset(id) && !other.isset(id)) {
    DIAG::optgen_exact_only_previous(get_opt_txt(id), other.file_name).report();
    return false;
  }
  if (!isset(id) && other.isset(id)) {
    DIAG::optgen_exact_only_this(other.get_opt_txt(id), other.file_name).report();
    return false;
  }
  return merge_policy_exact_notset(id, other);
}

bool option_obj::merge_policy_exact_notset(option_id id, option_obj& other) {
  if (!other.isset(id)) return true;
  if (!isset(id)) {
    copy_option(id, other);
    return true;
  }
  if (equal_arguments(*this, other, id)) return true;
  DIAG::optgen_exact_args_incompatible(other.text_with_argument(id), other.file_name,
                                       text_with_argument(id))
      .report();
  return false;
}

bool option_obj::merge_policy_or(option_id id, option_obj& other) {
  if (!isset(id) && other.isset(id)) copy_option(id, other);
  return true;
}

bool option_obj::merge_policy_and(option_id id, option_obj& other) {
  if (isset(id) && !other.isset(id)) clearopt(id);
  return true;
}

bool option_obj::merge_policy_max(option_id id, option_obj& other) {
  if (other.isset(id) && (!isset(id) || other.getnumarg(id, 0) > getnumarg(id, 0)))
    copy_option(id, other);
  return true;
}

bool option_obj::merge_policy_min(option_id id, option_obj& other) {
  if (other.isset(id) && (!isset(id) || other.getnumarg(id, 0) < getnumarg(id, 0)))
    copy_option(id, other);
  return true;
}

bool option_obj::merge_policy_none(option_id, option_obj&) {
  return true;
}

// This object's value stands, set or not: it is the main file's.
bool option_obj::merge_policy_main(option_id, option_obj&) {
  return true;
}

bool option_obj::merge_policy_custom(option_id id, option_obj& other) {
  if (!other.isset(id)) return true;
  switch (id) {
  case OPT_call_assumptions: {
    if (!isset(id)) break;
    // What any of the files must expect from outside, all must: calls, writes.
    static const int calls[] = {1, 0, 0, 1}, writes[] = {1, 1, 0, 0};
    static const long mode[2][2] = {{2, 1}, {3, 0}}; // by calls and writes
    const long a = getnumarg(id, 0), b = other.getnumarg(id, 0);
    setopt(id, mode[calls[a] | calls[b]][writes[a] | writes[b]]);
    return true;
  }
  case OPT_coproc_support: return merge_lists(id, other); // what one needs, the whole needs
  case OPT_global_register:
    if (!isset(id) || equal_arguments(*this, other, id)) break;
    DIAG::optgen_merge_conflict(other.text_with_argument(id), other.file_name,
                                text_with_argument(id))
        .report();
    return false;
  default: break;
  }
  if (!isset(id)) copy_option(id, other);
  return true;
}

// ---------------------------------------------------------------------------------------------
// Overrides

bool option_obj::merge_lists(option_id id, option_obj& other) {
  if (!other.isset(id)) return true;
  std::vector<an_argument_t> all = arguments[id];
  auto is_new = [&all](const an_argument_t& item) {
    return std::none_of(all.begin(), all.end(), [&item](const an_argument_t& has) {
      return has.text == item.text && has.number == item.number;
    });
  };
  // What stands here already isn't in force a second time.
  for (const HISTORY_ENTRY& entry : other.history)
    if (entry.id == id) {
      append_history(other, entry);
      if (entry.has_argument && !is_new(entry.argument)) history.back().cleared = true;
    }
  for (const an_argument_t& item : other.arguments[id])
    if (is_new(item)) all.push_back(item);
  const int added = static_cast<int>(all.size() - arguments[id].size());
  state[id] += std::max(added, isset(id) ? 0 : 1);
  was_seen[id] = std::max(was_seen[id], other.was_seen[id]);
  setlistarg(id, all);
  return true;
}

// "off" has the largest number of the levels and means the least. The more careful level wins.
bool option_obj::merge_by_rank(option_id id, option_obj& other) {
  auto rank = [](long number) { return number == LEVEL_OFF ? -1 : number - LEVEL_0; };
  if (other.isset(id) && (!isset(id) || rank(other.getnumarg(id, 0)) < rank(getnumarg(id, 0))))
    copy_option(id, other);
  return true;
}

// The option goes here because the other file's `winner` is the more careful one.
void option_obj::give_way(option_id id, const option_obj& other, option_id winner) {
  if (!isset(id)) return;
  if (!is_derived[id] && id != winner && other.isset(winner))
    DIAG::optgen_clears(other.get_opt_txt(winner), get_opt_txt(id)).report();
  clear_now(id);
}

// The goal and its older spellings come from one file, so that they agree: from the one with the
// more careful goal. The goal itself is the last of them in the order of merging.
bool option_obj::merge_goal(option_id id, option_obj& other) {
  auto rank = [](const option_obj& options) {
    const int goal = goal_number(options.getnumarg(OPT_size_speed_goal, 0));
    return goal < 0 ? 6 : goal; // no goal comes behind all
  };
  if (rank(*this) <= rank(other)) return true;
  for (const option_id spelling : {OPT_opt_for_space, OPT_opt_for_speed, OPT_size_speed_goal})
    if (other.isset(spelling) && !other.is_derived[spelling]) give_way(id, other, spelling);
  if (other.isset(id)) copy_option(id, other);
  return true;
}

// What the files say of library functions is one thing. The least of their knowledge holds: of
// functions that some file redefines, nothing is known in any.
bool option_obj::merge_std_lib(option_id id, option_obj& other) {
  for (const option_id careful :
       {OPT_std_lib_func_redefined, OPT_std_lib_func_defined, OPT_std_lib_func_not_defined}) {
    if (!isset(careful) && !other.isset(careful)) continue;
    if (id != careful)
      give_way(id, other, careful);
    else if (!isset(id))
      copy_option(id, other);
    break;
  }
  return true;
}
