// The one internal failure path, as the libraries see it. The driver installs the routine that
// ends a run (it removes the output and prints the banner); without one a message and status 1 do.
#pragma once

// End the run as an internal failure. `msg` may be null. Never returns.
[[noreturn]] void abort_optimizer();
[[noreturn]] void abort_optimizer(const char* msg);

// A failed internal check. The arguments are for a debugger; the user does not see them.
[[noreturn]] void optassert(const char* expr, const char* file, int line);

// One thread ends a failing run. The first that calls gets true, and false if it calls again (its
// end failed on the way); any other waits there until the process is gone. May be called from a
// signal handler.
bool claim_the_end();

// Let `handler` take over the end of a failing run. It must not return.
void set_abort_handler(void (*handler)(const char* msg));

#define CHECK(expr) ((expr) ? void(0) : optassert(#expr, __FILE__, __LINE__))
