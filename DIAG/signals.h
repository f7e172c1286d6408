// Faults and terminate requests.
#pragma once

#include <cstddef>

// Routes twelve signals - faults, resource limits and terminate requests - to `handler`, which gets
// the signal's number. `callback` is what common_signal_end calls when it has printed its message;
// it should end the process. Writing to a closed pipe becomes a failed write. Call it once, on the
// main thread.
void install_common_handlers(void (*handler)(int), void (*callback)());
// Gives the calling thread a stack for its handlers, so that a stack overflow can be told too. A
// worker calls it once, before its work; install_common_handlers does it for the main thread.
void give_thread_a_signal_stack();
// What a handler does first: makes this thread the one that ends the run, sets a time limit to the
// end, and lets the limit of file sizes raise no further signal.
void begin_signal_end();
// Begins the end unless the handler has. Prints what the signal means, with the tool's name, calls
// the callback and ends the process with status 1. Async-signal-safe up to the callback. A second
// fault on the way ends the process at once.
[[noreturn]] void common_signal_end(int signal);
// A word on what this thread is doing, for the message of a fault; null for nothing. The text must
// live until the next call.
void set_signal_note(const char* note);

// Appends to the text in `buffer` of `size` bytes, without allocating; safe in a handler. Knows %s,
// %d and %%. A string argument below address 100001 counts as none, on purpose: it guards against a
// small integer in a pointer's place.
void sigstrnappend(char* buffer, size_t size, const char* format, ...);

// Where a tool would be made to leave a core file; this one doesn't.
void try_gen_corefile(int signal);
