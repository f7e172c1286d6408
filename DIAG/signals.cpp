#include "DIAG/signals.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

const char* tool_name = "C/C++ Optimizer";

static void (*end_callback)();

static const char* fault_text(int signal) {
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

void common_signal_end(int signal) {
  static char text[2048]; // built without allocating
  if (signal == SIGTERM || signal == SIGHUP)
    snprintf(text, sizeof text, "[%s received a terminate signal]\n", tool_name);
  else if (signal == SIGINT)
    snprintf(text, sizeof text, "[%s forced exit]\n", tool_name);
  else
    snprintf(text, sizeof text, "\nINTERNAL ERROR: %s %s\n", tool_name, fault_text(signal));
  ssize_t ignored = write(STDERR_FILENO, text, strlen(text));
  (void)ignored;
  if (end_callback) end_callback();
  _exit(1);
}

void install_common_handlers(void (*handler)(int), void (*callback)()) {
  end_callback = callback;
  // A stack of its own, so that a fault of the stack can be told too.
  static char signal_stack[65536];
  stack_t stack{};
  stack.ss_sp = signal_stack;
  stack.ss_size = sizeof signal_stack;
  sigaltstack(&stack, nullptr);
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = SA_ONSTACK;
  static const int signals[] = {SIGILL, SIGABRT, SIGFPE, SIGSEGV, SIGTERM, SIGINT,
                                SIGHUP, SIGTRAP, SIGBUS, SIGSYS,  SIGXCPU, SIGXFSZ};
  for (int signal : signals) {
#if defined(__SANITIZE_ADDRESS__)
    // The sanitizer reports faults better.
    if (signal == SIGSEGV || signal == SIGBUS || signal == SIGFPE || signal == SIGILL ||
        signal == SIGABRT)
      continue;
#endif
    sigaction(signal, &action, nullptr);
  }
}
