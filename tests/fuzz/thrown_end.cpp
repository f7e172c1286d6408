#include "tests/fuzz/thrown_end.h"

#include "DIAG/abort.h"

#include <cstdio>
#include <cstdlib>

bool (*internal_failures_are_faults)();

void set_failing_end_hook(void (*)(FAILING_END)) {}
void set_abort_handler(void (*)(const char*)) {}

bool claim_the_end() {
  return true;
}

void end_process(int status) {
  throw THROWN_END{status, false};
}

void end_failing_run(FAILING_END) {
  throw THROWN_END{1, false};
}

void abort_optimizer(const char* msg) {
  if (internal_failures_are_faults && internal_failures_are_faults()) {
    fprintf(stderr, "internal failure: %s\n", msg ? msg : "a check");
    abort();
  }
  throw THROWN_END{1, true};
}

void abort_optimizer() {
  abort_optimizer(nullptr);
}

void optassert(const char* expr, const char* file, int line) {
  fprintf(stderr, "%s:%d: check failed: %s\n", file, line, expr);
  abort_optimizer(nullptr);
}
