// The texts of --help and --usage: options in groups, wrapped to the terminal.

#include "options/option_doc.h"
#include "options/option_obj.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// Columns of the terminal behind standard output, or what the environment says, else 80.
size_t terminal_columns() {
  size_t columns = 80;
  winsize size{};
  if (const char* text = getenv("COLUMNS"))
    columns = strtoul(text, nullptr, 10);
  else if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col)
    columns = size.ws_col;
  return std::clamp<size_t>(columns, 40, 200);
}

// Prints words from column `at` on, on lines that begin with `indent` blanks.
void print_wrapped(const std::string& text, size_t at, size_t indent, size_t columns) {
  const char* blank = "";
  for (size_t from = 0; from < text.size();) {
    const size_t end = std::min(text.find(' ', from), text.size());
    const size_t length = end - from;
    if (at > indent && at + strlen(blank) + length > columns) {
      printf("\n%*s", static_cast<int>(indent), "");
      at = indent;
      blank = "";
    }
    at += strlen(blank) + length;
    printf("%s%.*s", blank, static_cast<int>(length), text.c_str() + from);
    blank = " ";
    from = end + 1;
  }
  putchar('\n');
}

template <typename PRINT> void for_each_group(PRINT print) {
  for (const CLASS_DESCRIPTION& group : class_descriptions) {
    printf("\n%s:\n", group.heading);
    for (const OPTION_DEFINITION& def : option_definitions)
      if (isclass(def.id, group.id)) print(def);
  }
}

} // namespace

std::string option_argument_text(const OPTION_DEFINITION& def, bool is_short) {
  if (def.arg == ARG_NONE) return "";
  const std::string word = std::string("<") + def.parameter + ">";
  const std::string argument = is_short || def.arg == ARG_STRING_LIST ? word : "=" + word;
  return def.without == MUST_BE_GIVEN ? argument : "[" + argument + "]";
}

std::string option_range_text(const OPTION_DEFINITION& def) {
  switch (def.arg) {
  case ARG_ENUM:
  case ARG_ONEOF_LIST: return item_list_text(def, ", ");
  case ARG_NUMBER:
  case ARG_NUMBER_LIST:
    return def.high == ANY_NUMBER ? std::to_string(def.low) + " or more"
                                  : std::to_string(def.low) + " to " + std::to_string(def.high);
  case ARG_HEXNUM: return "0 to 0xFFFFFFFF";
  default: return "";
  }
}

void option_obj::print_help() {
  constexpr size_t TEXT_COLUMN = 30;
  const size_t columns = terminal_columns();
  printf("Usage: %s [-options] input [output]\n", executable_name.c_str());
  printf("\n");
  print_wrapped("Optimises the intermediate file input. Without an output name it is the input's "
                "with the extension .opt. Long options take one dash or two; a number may be "
                "decimal, 0x hexadecimal, 0b binary or 0 octal.",
                0, 0, columns);
  for_each_group([columns](const OPTION_DEFINITION& def) {
    std::string left;
    if (def.name) left = std::string("--") + def.name + option_argument_text(def, false);
    if (def.alternate)
      left += (left.empty() ? "-" : ", -") + std::string(def.alternate) +
              (def.name ? "" : option_argument_text(def, true));
    std::string text = def.help;
    const std::string range = option_range_text(def);
    if (!range.empty()) text += " (" + range;
    if (def.default_text)
      text += (range.empty() ? " (" : "; ") + std::string("default ") + def.default_text;
    if (!range.empty() || def.default_text) text += ")";
    printf("  %s", left.c_str());
    size_t at = left.size() + 2;
    if (at + 1 > TEXT_COLUMN) {
      printf("\n");
      at = 0;
    }
    printf("%*s", static_cast<int>(TEXT_COLUMN - at), "");
    print_wrapped(text, TEXT_COLUMN, TEXT_COLUMN, columns);
  });
}

void option_obj::print_usage() {
  const size_t columns = terminal_columns();
  printf("Usage: %s [-options] input [output]\n", executable_name.c_str());
  for (const CLASS_DESCRIPTION& group : class_descriptions) {
    printf("\n%s:\n  ", group.heading);
    std::string text;
    for (const OPTION_DEFINITION& def : option_definitions) {
      if (!isclass(def.id, group.id)) continue;
      // An entry has no blanks, so that it stays on one line.
      std::string entry = def.name ? std::string("--") + def.name : "";
      if (def.alternate) entry += (entry.empty() ? "-" : "|-") + std::string(def.alternate);
      const std::string items = item_list_text(def, "|");
      if (def.items && items.size() > 60) // --help lists them
        entry += option_argument_text(def, false);
      else if (def.items)
        entry += "={" + items + "}";
      else if (def.arg == ARG_STRING || def.arg == ARG_STRING_LIST)
        entry += option_argument_text(def, !def.name);
      else if (def.arg != ARG_NONE) {
        std::string range = std::to_string(def.low) + "..";
        if (def.high != ANY_NUMBER) range += std::to_string(def.high);
        const std::string argument = (def.name ? "=" : "") + range;
        entry += def.without == MUST_BE_GIVEN ? argument : "[" + argument + "]";
      }
      if (def.default_text && !strchr(def.default_text, ' '))
        entry += std::string("(") + def.default_text + ")";
      text += (text.empty() ? "" : " ") + entry;
    }
    print_wrapped(text, 2, 2, columns);
  }
  printf("\n");
  print_wrapped("A value in parentheses is the default. --help says what the options do.", 0, 0,
                columns);
}
