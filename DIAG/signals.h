// Faults and terminate requests.
#pragma once

// Routes faults and terminate requests to `handler`, which gets the signal's number. `callback` is
// what common_signal_end calls when it has printed its message; it must end the process.
void install_common_handlers(void (*handler)(int), void (*callback)());
// Prints what the signal means, with the tool's name, and calls the callback. Async-signal-safe up
// to there.
void common_signal_end(int signal);
extern const char* tool_name; // "C/C++ Optimizer"
