#include "DIAG/abort.h"

#include <atomic>
#include <cstdio>
#include <pthread.h>
#include <unistd.h>

static void (*abort_handler)(const char* msg);
static void (*failing_end_hook)(FAILING_END how);

void set_failing_end_hook(void (*hook)(FAILING_END how)) {
  failing_end_hook = hook;
}

void end_process(int status) {
  fflush(stdout);
  _exit(status);
}

void end_failing_run(FAILING_END how) {
  if (failing_end_hook) failing_end_hook(how);
  if (how == END_IN_SIGNAL) _exit(1);
  end_process(1);
}

void set_abort_handler(void (*handler)(const char* msg)) {
  abort_handler = handler;
}

bool claim_the_end() {
  static std::atomic<pthread_t> owner; // 0 is nobody
  pthread_t nobody{};
  if (owner.compare_exchange_strong(nobody, pthread_self())) return true;
  if (pthread_equal(nobody, pthread_self())) return false;
  for (;;)
    pause();
}

void abort_optimizer(const char* msg) {
  if (!claim_the_end()) _exit(1); // the end itself failed
  if (abort_handler) {
    abort_handler(msg);
  } else {
    fprintf(stderr, "\n>>>> Optimizer terminated abnormally\n");
    if (msg) fprintf(stderr, "\n>>>> %s.\n", msg);
  }
  end_failing_run();
}

void abort_optimizer() {
  abort_optimizer(nullptr);
}

void optassert(const char* expr, const char* file, int line) {
  // Kept in locals so that a debugger shows which check failed.
  [[maybe_unused]] const char* volatile failed_expr = expr;
  [[maybe_unused]] const char* volatile failed_file = file;
  [[maybe_unused]] volatile int failed_line = line;
#ifdef VRX_CHECKS
  fprintf(stderr, "%s:%d: check failed: %s\n", file, line, expr);
#endif
  abort_optimizer();
}
