// How a run that fails ends. Whatever notices the failure, a message, an internal check, a signal
// or an allocation, the program's hook goes first and takes the output away, and the process ends
// with status 1 in the middle of things: nothing is taken apart.
#pragma once

// How much a hook may do: in a signal handler, or with no memory left, only what is safe there.
enum FAILING_END { END_IN_ORDER, END_IN_SIGNAL };

// What goes first. Null for nothing.
void set_failing_end_hook(void (*hook)(FAILING_END how));
// The hook, then the end. What was printed goes out unless the end is END_IN_SIGNAL's.
[[noreturn]] void end_failing_run(FAILING_END how = END_IN_ORDER);
// The end of the process in the middle of things, for good or bad.
[[noreturn]] void end_process(int status);

// End the run as an internal failure. `msg` may be null. Never returns.
[[noreturn]] void abort_optimizer();
[[noreturn]] void abort_optimizer(const char* msg);

// A failed internal check. The arguments are for a debugger; the user does not see them.
[[noreturn]] void optassert(const char* expr, const char* file, int line);

// One thread ends a failing run. The first that calls gets true, and false if it calls again (its
// end failed on the way); any other waits there until the process is gone. May be called from a
// signal handler.
bool claim_the_end();

// Let `handler` tell of internal failures; the run ends when it returns. Without one, a line does.
void set_abort_handler(void (*handler)(const char* msg));

#define CHECK(expr) ((expr) ? void(0) : optassert(#expr, __FILE__, __LINE__))
