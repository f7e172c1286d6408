// Test builds fail on demand: in which step, and how, the environment says.

#ifdef VRX_CHECKS
#include "OPT5/crash_trigger.h"

#include "DIAG/abort.h"
#include "DIAG/user_msg_api.h"
#include "OPT5/funinfo.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

// Ends for an impossible depth only, so that no compiler sees through it.
[[gnu::noinline]] static int overflow_stack(int depth) {
  volatile char frame[4096];
  if (depth < 0) return 0;
  frame[depth % 4096] = static_cast<char>(depth);
  return overflow_stack(depth + 1) + frame[depth % 4096];
}

static int signal_of(const std::string& name) {
  static const struct {
    const char* name;
    int signal;
  } signals[] = {{"ILL", SIGILL},   {"ABRT", SIGABRT}, {"FPE", SIGFPE},   {"SEGV", SIGSEGV},
                 {"TERM", SIGTERM}, {"INT", SIGINT},   {"HUP", SIGHUP},   {"TRAP", SIGTRAP},
                 {"BUS", SIGBUS},   {"SYS", SIGSYS},   {"XCPU", SIGXCPU}, {"XFSZ", SIGXFSZ}};
  for (const auto& row : signals)
    if (name == row.name) return row.signal;
  return 0;
}

void crash_if_asked(int step) {
  const char* text = getenv("VRX_CRASH");
  if (!text) return;
  char* rest = nullptr;
  if (strtol(text, &rest, 10) != step || *rest != ':') return;
  std::string what = rest + 1;
  if (const size_t colon = what.find(':'); colon != std::string::npos) {
    if (!currfunc || what.substr(colon + 1) != currfunc->name) return;
    what.resize(colon);
  }
  if (const int signal = signal_of(what)) raise(signal);
  if (what == "STACK") overflow_stack(step);
  CHECK(what != "CHECK");
  if (what == "THROW") throw std::runtime_error("thrown by request");
  if (what == "DIE") get_umsg_obj().die("crash_trigger", "died by request in step %d", step);
}
#endif
