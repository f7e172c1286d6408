// Messages in free text, for code that has no message class of its own.
#pragma once

#include <cstdarg>

class DIAG_SRCINFO;

// Formats into memory from safemalloc; the caller frees it.
[[gnu::format(printf, 1, 0)]] char* make_msg_str(const char* format, va_list args);

class USER_MSG {
public:
  [[gnu::format(printf, 2, 3)]] void debug(const char* format, ...);
  [[gnu::format(printf, 2, 3)]] void remark(const char* format, ...);
  [[gnu::format(printf, 2, 3)]] void advice(const char* format, ...);
  [[gnu::format(printf, 3, 4)]] void advice(DIAG_SRCINFO* src, const char* format, ...);
  // `number` is the message's own number, shown where codes are shown. Errors instead of warnings
  // are issued after emit_warnings_as_errors(true).
  [[gnu::format(printf, 3, 4)]] void warning(unsigned number, const char* format, ...);
  [[gnu::format(printf, 4, 5)]] void warning(DIAG_SRCINFO* src, unsigned number, const char* format,
                                             ...);
  [[gnu::format(printf, 2, 3)]] void error(const char* format, ...);
  [[gnu::format(printf, 3, 4)]] void error(DIAG_SRCINFO* src, const char* format, ...);
  [[gnu::format(printf, 2, 3)]] void apperror(const char* format, ...);
  // The next three end the run with status 1; die is for faults of the tool, and aborts.
  [[gnu::format(printf, 2, 3)]] void fatal(const char* format, ...);
  [[gnu::format(printf, 3, 4)]] void fatal(DIAG_SRCINFO* src, const char* format, ...);
  [[gnu::format(printf, 3, 4)]] void die(const char* module, const char* format, ...);

  unsigned get_error_count() const;
  bool emit_warnings_as_errors() const { return warnings_are_errors; }
  void emit_warnings_as_errors(bool on) { warnings_are_errors = on; }

private:
  bool warnings_are_errors = false;

  void issue_warning(DIAG_SRCINFO* src, unsigned number, const char* format, va_list args);
};

USER_MSG& get_umsg_obj();
