// Reading command-line text: recognising the option, its argument, and what it does at once.

#include "DIAG/diag_messages.h"
#include "options/option_obj.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

void option_obj::process_option(const char* arg, const char** next) {
  if (next) *next = nullptr;
  trace("process '-%s'", arg);
  if (*arg == 0) {
    report(DIAG::optgen_invalid_option());
    return;
  }
  const bool two_dashes = arg[0] == '-' && arg[1];
  const char* text = two_dashes ? arg + 1 : arg;
  const unsigned char form = two_dashes ? FORM_LONG : FORM_LONG_ONE_DASH;
  if (process___dash___option(text, form, false, next)) return;
  // A long option in upper case is none of the letters that it begins with.
  if (process___dash___option(text, form, true, next)) return;
  if (!two_dashes && process_short_option(text, next)) return;
  report(DIAG::invalid_option("-" + std::string(arg)));
}

bool option_obj::process___dash___option(const char* text, unsigned char form, bool fold,
                                         const char** next) {
  const char* rest = nullptr;
  const OPTION_DEFINITION* def = find_long_option(text, fold, rest);
  if (!def) return false;
  if (fold) {
    const std::string dashes = form == FORM_LONG ? "--" : "-";
    const std::string written(text, static_cast<size_t>(rest - text));
    deprecated_case((dashes + written).c_str(), (dashes + def->name).c_str());
  }
  const char* argument = nullptr;
  if (def->arg == ARG_STRING_LIST)
    argument = *rest ? rest : nullptr;
  else if (*rest)
    argument = rest + 1;
  take(*def, argument, form, next);
  return true;
}

bool option_obj::process_short_option(const char* text, const char** next) {
  const char* rest = nullptr;
  const OPTION_DEFINITION* def = find_short_option(text, rest);
  if (!def) return false;
  const char* argument = *rest ? rest : nullptr;
  if (def->arg != ARG_NONE && *rest == '=') argument = rest + 1; // which may be empty
  take(*def, argument, FORM_SHORT, next);
  return true;
}

void option_obj::deprecated_case(const char* written, const char* meant) {
  report_once(DIAG::optgen_deprecated_case(written, meant));
}

bool option_obj::check_validity(const OPTION_DEFINITION& def) {
  const std::string text = get_opt_txt(def.id);
  if (def.flags & FLAG_RETIRED) {
    report_once(DIAG::optgen_retired(text));
    return false;
  }
  if (!(def.tools & FOR_TOOL(tool))) {
    static const char* const names[TOOL_TYPE_COUNT] = {
        "the compiler shell", "the parser", "the optimizer", "the code generator",
        "the assembler",      "the linker", "the archiver",  "the object file tools"};
    report_once(DIAG::optgen_not_valid(text, "for", names[tool]));
    return false;
  }
  if (is_stored_set && def.flags & FLAG_COMMAND_LINE_ONLY) {
    report_once(DIAG::optgen_not_valid_ignored(text, "in", "a stored option set"));
    return false;
  }
  return true;
}

void option_obj::take(const OPTION_DEFINITION& def, const char* argument, unsigned char form,
                      const char** next) {
  const option_id id = def.id;
  register_option_form(id, form);
  if (!check_validity(def)) return;
  if (def.arg == ARG_NONE) {
    if (argument)
      report_once(
          DIAG::optgen_garbage(form == FORM_SHORT ? def.alternate : get_opt_txt(id).substr(1)));
    setopt(id);
    apply_at_once(id);
    return;
  }
  if (!argument && def.without == MUST_BE_GIVEN && def.arg != ARG_STRING_LIST && next_arg) {
    argument = next_arg();
    if (next) *next = argument;
  }
  if (!argument && def.without == MUST_BE_GIVEN) {
    report(DIAG::optgen_missing_param(get_opt_txt(id), def.parameter));
    return;
  }
  an_argument_t parsed;
  if (argument) {
    if (!parse_arg(def, argument, parsed)) return;
  } else {
    parsed.number = def.without;
  }
  set_now(id, &parsed, false);
  apply_at_once(id);
}

// What can't wait until all options are known. The options of a single function change nothing that
// others see.
void option_obj::apply_at_once(option_id id) {
  if (id == OPT_option_trace) debug = true;
  if (is_function_set) return;
  const long number = getnumarg(id, 0);
  switch (id) {
  case OPT_debug: process_debug_option("debug", getstrarg(id, 0)); break;
  case OPT_disable: process_debug_option("disable", getstrarg(id, 0)); break;
  case OPT_enable: process_debug_option("enable", getstrarg(id, 0)); break;
  case OPT_diag_wrap: DIAGNOSTIC::wrap_enabled_m = number == DIAG_WRAP_ON; break;
  case OPT_advice_performance: DIAGNOSTIC::advice_m = true; break;
  case OPT_message_level:
    DIAGNOSTIC::warnings_m = number >= 1;
    DIAGNOSTIC::remarks_m = number >= 2;
    DIAGNOSTIC::advice_m = number >= 2 || isset(OPT_advice_performance);
    DIAGNOSTIC::debug_m = number >= 3;
    DIAGNOSTIC::display_code_m = DIAGNOSTIC::display_ipos_m = number >= 4;
    break;
  default: break;
  }
}

void option_obj::override_by(const option_obj& winner) {
  const bool kept = overriding, was_stored = is_stored_set;
  const std::string file = file_name;
  overriding = true;
  is_stored_set = false;
  file_name = winner.file_name;
  for (const std::string& text : winner.export_option_pairs())
    process_option(text.c_str());
  overriding = kept;
  is_stored_set = was_stored;
  file_name = file;
}

// A message about an option that is stored in the input says where it stands.
void option_obj::report(DIAGNOSTIC&& message, bool once) const {
  DIAG_SRCINFO_DATA data{file_name, 0, 0, false};
  DIAG_FILE_POSITION place(&data);
  if (is_stored_set) message.set_src(&place);
  if (once)
    message.report_once();
  else
    message.report();
}

void option_obj::report_once(DIAGNOSTIC&& message) const {
  report(std::move(message), true);
}

// ---------------------------------------------------------------------------------------------
// Arguments

int option_obj::get_radix(const char* text) {
  if (*text == '-' || *text == '+') text++;
  if (text[0] != '0' || text[1] == 0) return 10;
  switch (tolower(static_cast<unsigned char>(text[1]))) {
  case 'x': return 16;
  case 'b': return 2;
  default: return 8;
  }
}

// The digits behind the prefix of the radix; `negative` says if a minus stood before it.
static const char* digits_of(const char* text, int radix, bool& negative) {
  negative = *text == '-';
  if (*text == '-' || *text == '+') text++;
  return radix == 16 || radix == 2 ? text + 2 : text;
}

unsigned long option_obj::strtoul_by_radix(const char* text, int* failed) {
  const int radix = get_radix(text);
  bool negative = false;
  const char* digits = digits_of(text, radix, negative);
  char* end = nullptr;
  errno = 0;
  const unsigned long value = strtoul(digits, &end, radix);
  // What the library would skip is no digit here: blanks, a sign, a second prefix.
  const bool only_digits = strspn(digits, "0123456789ABCDEFabcdef") == strlen(digits);
  const bool second_prefix = radix == 2 && digits[0] == '0' && (digits[1] | 0x20) == 'b';
  *failed = negative || *digits == 0 || !only_digits || second_prefix || *end || errno != 0;
  return value;
}

long option_obj::strtol_by_radix(const char* text, int* failed) {
  const bool negative = *text == '-';
  const unsigned long size = strtoul_by_radix(negative ? text + 1 : text, failed);
  constexpr unsigned long limit = 0x7FFFFFFFFFFFFFFFul;
  if ((negative && (text[1] == '-' || text[1] == '+')) || size > limit) *failed = 1;
  if (*failed) return 0;
  return negative ? -static_cast<long>(size) : static_cast<long>(size);
}

bool option_obj::check_numerical_arg(const OPTION_DEFINITION& def, const char* text, long& number) {
  const std::string option = get_opt_txt(def.id);
  int failed = 0;
  bool in_range = false;
  if (def.arg == ARG_HEXNUM) {
    trace("%s: about to parse '%s' as unsigned, radix %d", option.c_str(), text, get_radix(text));
    const unsigned long value = strtoul_by_radix(text, &failed);
    const auto low = static_cast<unsigned long>(def.low);
    const auto high = static_cast<unsigned long>(def.high);
    trace("%s: check 0x%lX <= 0x%lX <= 0x%lX", option.c_str(), low, value, high);
    in_range = low <= value && value <= high;
    number = static_cast<long>(value);
  } else {
    trace("%s: about to parse '%s' as signed, radix %d", option.c_str(), text, get_radix(text));
    number = strtol_by_radix(text, &failed);
    trace("%s: check %ld <= %ld <= %ld", option.c_str(), def.low, number, def.high);
    in_range = def.low <= number && number <= def.high;
  }
  if (failed || !in_range) {
    if (def.arg == ARG_HEXNUM || def.low < 0)
      report(DIAG::optgen_out_of_range(option, text));
    else if (def.high == ANY_NUMBER)
      report(DIAG::optgen_not_non_negative(option, text));
    else
      report(DIAG::optgen_not_in_range(option, text, static_cast<unsigned>(def.low),
                                       static_cast<unsigned>(def.high)));
    return false;
  }
  if (def.flags & FLAG_POWER_OF_2 && (number <= 0 || (number & (number - 1)) != 0)) {
    report(DIAG::optgen_not_power_of_2(option));
    return false;
  }
  return true;
}

// Once for each item: the command line is read again for each stored set.
void option_obj::warn_of_deprecated_item(const OPTION_DEFINITION& def, const char* text) const {
  static std::set<std::pair<option_id, std::string>> warned;
  if (!DIAGNOSTIC::warnings_m || !warned.emplace(def.id, text).second) return;
  fprintf(stderr,
          "WARNING: argument '%s' to option '%s' is deprecated and will be removed in a future "
          "release\n",
          text, get_opt_txt(def.id).c_str());
}

bool option_obj::parse_oneof(const OPTION_DEFINITION& def, const char* text,
                             an_argument_t& argument) {
  const std::string option = get_opt_txt(def.id);
  for (const OPTION_ITEM* item = def.items; item->text; item++) {
    if (strcmp(item->text + 1, text) != 0) continue;
    if (*item->text == '-') warn_of_deprecated_item(def, text);
    if (item->value == CODE_SMALL || item->value == DATA_SMALL)
      report_once(DIAG::optgen_small_model());
    argument = {text, item->value};
    return true;
  }
  report(DIAG::optgen_not_one_of(option, item_list_text(def)));
  return false;
}

// A device by its name, or by its number, which whoever targets the device judges.
bool option_obj::check_silicon(const char* text, long& number) {
  if (strcmp(text, "vrx200") == 0) {
    number = 28;
    return true;
  }
  if (strcmp(text, "vrx100") == 0) {
    number = 27;
    return true;
  }
  int failed = 0;
  number = option_obj::strtol_by_radix(text, &failed);
  if (!failed) return true;
  const bool named = strncmp(text, "vrx", 3) == 0;
  const long version = named ? option_obj::strtol_by_radix(text + 3, &failed) : 0;
  if (named && !failed && version > 0 && version < 100)
    report(DIAG::optgen_legacy_silicon(text));
  else
    report(DIAG::optgen_bad_silicon(text));
  return false;
}

bool option_obj::parse_arg(const OPTION_DEFINITION& def, const char* text,
                           an_argument_t& argument) {
  argument = {text, 0};
  switch (def.arg) {
  case ARG_NUMBER:
  case ARG_NUMBER_LIST:
  case ARG_HEXNUM: return check_numerical_arg(def, text, argument.number);
  case ARG_ENUM:
  case ARG_ONEOF_LIST: return parse_oneof(def, text, argument);
  case ARG_STRING: return def.id != OPT_silicon_version || check_silicon(text, argument.number);
  case ARG_STRING_LIST: return true;
  default: report(DIAG::optgen_unhandled_handler(static_cast<unsigned>(def.arg))); return false;
  }
}
