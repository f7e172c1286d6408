#include "DIAG/signals.h"

#include "DIAG/abort.h"

#include "DIAG/support.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <pthread.h>
#include <unistd.h>

// The sanitizer has a stack for signals, and reports faults better.
#if defined(__SANITIZE_ADDRESS__)
#define HAS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define HAS_SANITIZER
#endif
#endif

static void (*end_callback)();
static thread_local const char* signal_note;

namespace {

constexpr unsigned SECONDS_TO_END = 20;

const char* fault_text(int signal) {
  switch (signal) {
  case SIGILL: return "executed an illegal instruction";
  case SIGABRT: return "had an internal inconsistency and aborted";
  case SIGFPE: return "received a floating point exception";
  case SIGSEGV: return "experienced a segmentation fault";
  case SIGTRAP: return "received a TRAP signal";
  case SIGBUS: return "experienced a bus alignment fault";
  case SIGSYS: return "experienced a bad system call";
  case SIGXCPU: return "exceeded the CPU time limit";
  case SIGXFSZ: return "exceeded the file size limit";
  default: return "experienced a fatal internal fault";
  }
}

// Of the one thread that ends the run by a signal.
enum END_STAGE { NOT_BEGUN, BEGUN, TELLING };
volatile sig_atomic_t end_stage = NOT_BEGUN;

void end_at_once(int) {
  _exit(1);
}

} // namespace

void sigstrnappend(char* buffer, size_t size, const char* format, ...) {
  size_t used = strnlen(buffer, size);
  if (used >= size) return;
  auto put = [&](char c) {
    if (used + 1 < size) buffer[used++] = c;
  };
  va_list args;
  va_start(args, format);
  for (const char* p = format; *p; p++) {
    if (*p != '%' || p[1] == 0) {
      put(*p);
      continue;
    }
    switch (*++p) {
    case 's': {
      const char* text = va_arg(args, const char*);
      if (reinterpret_cast<uintptr_t>(text) < 100001) break;
      while (*text)
        put(*text++);
      break;
    }
    case 'd': {
      const int n = va_arg(args, int);
      unsigned rest = n < 0 ? 0u - static_cast<unsigned>(n) : static_cast<unsigned>(n);
      char digits[16];
      int count = 0;
      do {
        digits[count++] = static_cast<char>('0' + rest % 10);
      } while (rest /= 10);
      if (n < 0) put('-');
      while (count)
        put(digits[--count]);
      break;
    }
    default: put(*p);
    }
  }
  va_end(args);
  buffer[used] = 0;
}

void try_gen_corefile(int) {}

void set_signal_note(const char* note) {
  signal_note = note;
}

void begin_signal_end() {
  // A fault while the end is on its way ends it.
  if (!claim_the_end()) _exit(1);
  end_stage = BEGUN;
  // The end of the run may wait for a lock that the interrupted code holds; then this ends it.
  struct sigaction last {};
  last.sa_handler = end_at_once;
  sigaction(SIGALRM, &last, nullptr);
  alarm(SECONDS_TO_END);
  ::signal(SIGXFSZ, SIG_IGN); // the limit holds for what the message is written to, too
}

void common_signal_end(int signal) {
  if (end_stage != BEGUN) begin_signal_end();
  end_stage = TELLING;

  static char text[2048];
  text[0] = 0;
  if (signal == SIGTERM || signal == SIGHUP)
    sigstrnappend(text, sizeof text, "[%s received a terminate signal]\n", tool_name);
  else if (signal == SIGINT)
    sigstrnappend(text, sizeof text, "[%s forced exit]\n", tool_name);
  else {
    sigstrnappend(text, sizeof text, "\nINTERNAL ERROR: %s %s\n", tool_name, fault_text(signal));
    if (signal_note) sigstrnappend(text, sizeof text, "                  %s\n", signal_note);
    try_gen_corefile(signal);
  }
  if (write(STDERR_FILENO, text, strlen(text)) < 0) {
    // Nobody listens; the status still tells.
  }
  if (end_callback) end_callback();
  end_failing_run(END_IN_SIGNAL);
}

void give_thread_a_signal_stack() {
#if !defined(HAS_SANITIZER)
  static thread_local char signal_stack[65536];
  stack_t stack{};
  stack.ss_sp = signal_stack;
  stack.ss_size = sizeof signal_stack;
  sigaltstack(&stack, nullptr);
#endif
}

void install_common_handlers(void (*handler)(int), void (*callback)()) {
  end_callback = callback;
  give_thread_a_signal_stack();
  struct sigaction action {};
  action.sa_handler = handler;
  // A fault in the handler must arrive, so that the process can end.
  action.sa_flags = SA_ONSTACK | SA_NODEFER;
  static const int signals[] = {SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGTERM, SIGINT,
                                SIGHUP, SIGTRAP, SIGBUS, SIGSYS,  SIGXCPU, SIGXFSZ};
  for (int signal : signals) {
#if defined(HAS_SANITIZER)
    if (signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL ||
        signal == SIGABRT)
      continue;
#endif
    sigaction(signal, &action, nullptr);
  }
  // A closed pipe is a failed write, which ends the run with a message and without an output.
  signal(SIGPIPE, SIG_IGN);
}
