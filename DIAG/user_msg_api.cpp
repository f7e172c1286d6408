#include "DIAG/user_msg_api.h"

#include "DIAG/diag_messages.h"
#include "DIAG/safemalloc.h"

#include <cstdlib>

char* make_msg_str(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  const int n = vsnprintf(nullptr, 0, format, args);
  const size_t size = n < 0 ? 1 : static_cast<size_t>(n) + 1;
  auto* text = static_cast<char*>(safemalloc(size));
  *text = 0;
  vsnprintf(text, size, format, again);
  va_end(again);
  return text;
}

USER_MSG& get_umsg_obj() {
  static USER_MSG messages;
  return messages;
}

template <typename MESSAGE>
static void issue(DIAG_SRCINFO* src, unsigned number, const char* format, va_list args) {
  char* text = make_msg_str(format, args);
  MESSAGE message(text, number);
  free(text);
  message.set_src(src);
  message.report();
}

#define ISSUE(MESSAGE, src)                                                                        \
  va_list args;                                                                                    \
  va_start(args, format);                                                                          \
  issue<DIAG::MESSAGE>(src, 0, format, args);                                                      \
  va_end(args)

void USER_MSG::debug(const char* format, ...) {
  ISSUE(gdebug, nullptr);
}
void USER_MSG::remark(const char* format, ...) {
  ISSUE(gremark, nullptr);
}
void USER_MSG::advice(const char* format, ...) {
  ISSUE(gadvice, nullptr);
}
void USER_MSG::advice(DIAG_SRCINFO* src, const char* format, ...) {
  ISSUE(gadvice, src);
}
void USER_MSG::error(const char* format, ...) {
  ISSUE(gerror, nullptr);
}
void USER_MSG::error(DIAG_SRCINFO* src, const char* format, ...) {
  ISSUE(gerror, src);
}
void USER_MSG::apperror(const char* format, ...) {
  ISSUE(gapperror, nullptr);
}
void USER_MSG::fatal(const char* format, ...) {
  ISSUE(gfatal, nullptr);
}
void USER_MSG::fatal(DIAG_SRCINFO* src, const char* format, ...) {
  ISSUE(gfatal, src);
}

void USER_MSG::issue_warning(DIAG_SRCINFO* src, unsigned number, const char* format, va_list args) {
  if (warnings_are_errors)
    issue<DIAG::gerror>(src, number, format, args);
  else
    issue<DIAG::gwarning>(src, number, format, args);
}

void USER_MSG::warning(unsigned number, const char* format, ...) {
  va_list args;
  va_start(args, format);
  issue_warning(nullptr, number, format, args);
  va_end(args);
}

void USER_MSG::warning(DIAG_SRCINFO* src, unsigned number, const char* format, ...) {
  va_list args;
  va_start(args, format);
  issue_warning(src, number, format, args);
  va_end(args);
}

// The format becomes "module: format", with the percent signs of the module's name doubled.
void USER_MSG::die(const char* module, const char* format, ...) {
  std::string name;
  for (const char* p = module; *p; p++)
    name.append(*p == '%' ? 2 : 1, *p);
  const size_t size = name.size() + std::char_traits<char>::length(format) + 3;
  std::string whole(size, 0);
  snprintf(whole.data(), size, "%s: %s", name.c_str(), format);
  va_list args;
  va_start(args, format);
  issue<DIAG::gdie>(nullptr, 0, whole.c_str(), args);
  va_end(args);
}

unsigned USER_MSG::get_error_count() const {
  return DIAGNOSTIC::error_count_m;
}
