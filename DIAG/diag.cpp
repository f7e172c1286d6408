#include "DIAG/diag.h"

#include "DIAG/abort.h"
#include "DIAG/diag_messages.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <unordered_map>

bool DIAGNOSTIC::wrap_enabled_m = true;
bool DIAGNOSTIC::warnings_m = true;
bool DIAGNOSTIC::display_code_m, DIAGNOSTIC::display_ipos_m, DIAGNOSTIC::wrap_headers_m,
    DIAGNOSTIC::verbose_m, DIAGNOSTIC::advice_m, DIAGNOSTIC::debug_m, DIAGNOSTIC::remarks_m,
    DIAGNOSTIC::debug_mode_m;
unsigned DIAGNOSTIC::max_errors_m = 100;
int DIAGNOSTIC::wrap_indent_m = 3;
int DIAGNOSTIC::diag_cols_m = 79;
int DIAGNOSTIC::indent_m;
FILE* DIAGNOSTIC::fp_m;
unsigned DIAGNOSTIC::error_count_m;
std::vector<bool> DIAGNOSTIC::debug_mode_stack_m;
std::vector<int> DIAGNOSTIC::indent_stack_m;

namespace {

// A copy of a message that report_once has printed, with its position, which outlives the original.
struct REPORTED_MESSAGE {
  DIAGNOSTIC* message;
  DIAG_SRCINFO_DATA data;
  DIAG_FILE_POSITION place{&data};

  explicit REPORTED_MESSAGE(const DIAGNOSTIC* original) : message(original->alloc()) {
    const DIAG_SRCINFO* src = original->get_src();
    if (!src) return;
    data = {src->file() ? src->file() : "", src->line(), src->column(), src->approx()};
    message->set_src(&place);
  }
  REPORTED_MESSAGE(const REPORTED_MESSAGE&) = delete;
  ~REPORTED_MESSAGE() { message->free_mem(); }
};

// By the hash of text and place, since there may be many.
std::unordered_multimap<size_t, REPORTED_MESSAGE>& reported_once() {
  static std::unordered_multimap<size_t, REPORTED_MESSAGE> reported;
  return reported;
}

} // namespace

bool DIAG_FILE_POSITION::is_equal(const DIAG_SRCINFO* other) const {
  return other && strcmp(file(), other->file() ? other->file() : "") == 0 &&
         line() == other->line() && column() == other->column() && approx() == other->approx();
}

DIAGNOSTIC::DIAGNOSTIC(int code, const char* file, unsigned line)
    : info(find_diag_info(code)), report_line(line), displayed_code(code) {
  CHECK(info);
  const char* slash = strrchr(file, '/'); // the same text wherever the tool was built
  report_file = slash ? slash + 1 : file;
}

void DIAGNOSTIC::report() {
  print_header();
  print("%s", text().c_str());
  dump_if_debugging();
  flush();
}

void DIAGNOSTIC::dump_if_debugging() {
  if (debug_mode_m && !suppress()) dump();
}

void DIAGNOSTIC::report_once() {
  if (suppress()) return; // it may be wanted later
  std::string where;
  if (src) where = (src->file() ? src->file() : "") + (":" + std::to_string(src->line()));
  const size_t key = std::hash<std::string>()(text() + where);
  const auto [first, last] = reported_once().equal_range(key);
  if (std::any_of(first, last, [this](const auto& seen) { return is_equal(seen.second.message); }))
    return;
  reported_once().emplace(key, this);
  report();
}

void DIAGNOSTIC::forget_reported() {
  reported_once().clear();
}

bool DIAGNOSTIC::is_equal(const DIAGNOSTIC* other) const {
  if (info != other->info || text() != other->text()) return false;
  return src && other->src ? src->is_equal(other->src) : src == other->src;
}

void DIAGNOSTIC::dump() {
  FILE* to = fp();
  fprintf(to, "\nCode : %d\n", displayed_code);
  fprintf(to, "std_msg : %s\n", info->std_msg);
  fprintf(to, "vrb_msg : %s\n", info->vrb_msg ? info->vrb_msg : "");
  fprintf(to, "File : %s\n", src && src->file() ? src->file() : "");
  fprintf(to, "Line : %d\n", src ? static_cast<int>(src->line()) : 0);
  fprintf(to, "Column: %d\n", src ? static_cast<int>(src->column()) : 0);
  column = 0;
}

// ---------------------------------------------------------------------------------------------
// Severity

bool DIAGNOSTIC::suppress() const {
  switch (info->severity) {
  case SEV_SUPPRESSED: return true;
  case SEV_ADVICE: return !advice_m;
  case SEV_DEBUG: return !debug_m;
  case SEV_REMARK: return !remarks_m;
  case SEV_WARNING: return !warnings_m;
  default: return false;
  }
}

const char* DIAGNOSTIC::sev_str() const {
  static const char* const words[] = {"(suppressed)", "(no error)", "advice", "debug",
                                      "remark",       "warning",    "error",  "fatal error"};
  return info->severity < std::size(words) ? words[info->severity] : "(unknown)";
}

bool DIAGNOSTIC::is_discretionary() const {
  if (info->is_internal || info->not_discretionary) return false;
  return info->severity < SEV_FATAL && info->severity != SEV_ADVICE;
}

bool DIAGNOSTIC::override_severity(uint32_t severity) {
  if (severity < info->severity && !is_discretionary()) return false;
  info->severity = severity;
  return true;
}

FILE* DIAGNOSTIC::fp() const {
  if (fp_m) return fp_m;
  return info->severity < SEV_WARNING ? stdout : stderr;
}

// ---------------------------------------------------------------------------------------------
// Printing

std::string DIAGNOSTIC::srcinfo_str(const DIAG_SRCINFO* src) {
  if (!src || !src->file() || !*src->file()) return "";
  std::string text = src->file();
  if (src->line()) text += ", line " + std::to_string(src->line());
  if (src->approx()) text += " (approximate)";
  return text;
}

int DIAGNOSTIC::print_header() {
  header_printed = true;
  if (suppress()) return 0;
  flush();
  if (fp() == stderr) fflush(stdout); // the two often share a terminal
  const bool kept = wrap_enabled_m;
  if (!wrap_headers_m) wrap_enabled_m = false;
  const unsigned before = printed;
  put(std::string(static_cast<size_t>(indent_m), ' ').c_str());
  if (display_ipos_m || info->is_internal) print("%s:%u:", report_file, report_line);
  const std::string place = srcinfo_str(src);
  if (!place.empty()) print("%s: ", place.c_str());
  if (display_code_m || info->is_internal)
    print("%s%s #%u%s: ", info->is_internal ? "internal " : "", sev_str(),
          static_cast<unsigned>(displayed_code), is_discretionary() ? "-D" : "");
  else
    print("%s: ", sev_str());
  wrap_enabled_m = kept;
  return static_cast<int>(printed - before);
}

char* DIAGNOSTIC::get_sp_buffer() {
  static char* buffer;
  static size_t room;
  if (sp_size <= room) return buffer;
  auto* grown = static_cast<char*>(realloc(buffer, sp_size));
  if (!grown) return nullptr;
  buffer = grown;
  room = sp_size;
  return buffer;
}

char* DIAGNOSTIC::sp_vprint(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  const int n = vsnprintf(nullptr, 0, format, args);
  sp_size = n < 0 ? 1 : static_cast<size_t>(n) + 1;
  char* buffer = get_sp_buffer();
  if (!buffer) {
    fputs("OUT OF MEMORY - APPLICATION ABORTED\n", stderr);
    end_failing_run();
  }
  *buffer = 0;
  vsnprintf(buffer, sp_size, format, again);
  va_end(again);
  return buffer;
}

char* DIAGNOSTIC::sp_print(const char* format, ...) {
  va_list args;
  va_start(args, format);
  char* buffer = sp_vprint(format, args);
  va_end(args);
  return buffer;
}

void DIAGNOSTIC::print(const char* format, ...) {
  if (suppress()) return;
  if (!header_printed) print_header();
  va_list args;
  va_start(args, format);
  const char* formatted = sp_vprint(format, args);
  va_end(args);
  put(formatted);
}

void DIAGNOSTIC::put(const char* text) {
  if (wrap_enabled_m)
    print_formatted(text);
  else
    put_raw(text, strlen(text));
}

void DIAGNOSTIC::put_raw(const char* text, size_t n) {
  fwrite(text, 1, n, fp());
  printed += static_cast<unsigned>(n);
  for (size_t k = 0; k < n; k++)
    column = text[k] == '\n' ? 0 : column + 1;
}

void DIAGNOSTIC::start_new_line() {
  const std::string line = "\n" + std::string(static_cast<size_t>(indent_m + wrap_indent_m), ' ');
  put_raw(line.c_str(), line.size());
}

size_t DIAGNOSTIC::last_printable_char(const char* text, size_t width) {
  for (size_t k = std::min(width, strlen(text));; k--) {
    if (text[k] == ' ' || text[k] == 0) return k;
    if (k == 0) return 0;
  }
}

void DIAGNOSTIC::print_formatted(const char* text) {
  const int diag_cols = diag_cols_m, indent = indent_m, wrap_indent = wrap_indent_m;
  CHECK(diag_cols > (indent + wrap_indent));
  const int fresh = indent + wrap_indent;
  while (*text) {
    const size_t line = strcspn(text, "\n"); // a line end in the text stays one
    const size_t width = static_cast<size_t>(std::max(diag_cols - column, 0));
    if (line <= width) {
      put_raw(text, line);
      text += line;
      if (*text == 0) break;
      text++;
      if (*text == 0 || *text == '\n')
        put_raw("\n", 1); // an empty line has no blanks
      else
        start_new_line();
      continue;
    }
    size_t n = last_printable_char(text, width);
    if (n == 0) {
      if (column > fresh) { // the word may fit on a line of its own
        start_new_line();
        while (*text == ' ')
          text++;
        continue;
      }
      n = width;
    }
    size_t shown = n; // no blanks at the end of a line
    while (shown > 0 && text[shown - 1] == ' ')
      shown--;
    put_raw(text, shown);
    text += n;
    start_new_line();
    while (*text == ' ')
      text++;
  }
}

// The source line, and a caret under the column.
void DIAGNOSTIC::show_annotated_source() {
  if (!src || !src->file() || src->line() == 0) return;
  FILE* source = fopen(src->file(), "r");
  if (!source) return;
  std::string line;
  unsigned number = 1;
  for (int c; number <= src->line() && (c = getc(source)) != EOF;) {
    if (c == '\n')
      number++;
    else if (number == src->line())
      line += static_cast<char>(c);
  }
  fclose(source);
  if (line.empty()) return;
  fprintf(fp(), "%s\n", line.c_str());
  if (src->column()) fprintf(fp(), "%-*s^\n", static_cast<int>(src->column()) - 1, "");
}

void DIAGNOSTIC::flush() {
  if (printed == flushed) return;
  if (column != 0) put_raw("\n", 1);
  flushed = printed;
  if (verbose_m) show_annotated_source();
  fflush(fp());
  if (info->severity >= SEV_ERROR && !suppress()) error_count_m++;
  if (info->severity >= SEV_FATAL) {
    if (info->is_internal) abort();
    end_failing_run();
  }
  if (error_count_m > max_errors_m) DIAG::max_errors(error_count_m).report();
}

// ---------------------------------------------------------------------------------------------
// Stacks of settings

void DIAGNOSTIC::push_debug_mode(bool on) {
  debug_mode_stack_m.push_back(debug_mode_m);
  debug_mode_m = on;
}

void DIAGNOSTIC::pop_debug_mode() {
  CHECK(!debug_mode_stack_m.empty());
  debug_mode_m = debug_mode_stack_m.back();
  debug_mode_stack_m.pop_back();
}

void DIAGNOSTIC::push_indent(int indent) {
  indent_stack_m.push_back(indent_m);
  indent_m = indent;
}

void DIAGNOSTIC::pop_indent() {
  CHECK(!indent_stack_m.empty());
  indent_m = indent_stack_m.back();
  indent_stack_m.pop_back();
}
