// Test builds only: a fault on demand, to test how the tool ends.
#pragma once

// The environment's VRX_CRASH is STEP:WHAT or STEP:WHAT:FUNCTION. When that step begins (of that
// function, or of any), WHAT happens: a signal by its name without SIG ("SEGV"), "STACK" (an
// overflow), "CHECK" (a failed check), "THROW" (an exception) or "DIE" (an internal message).
void crash_if_asked(int step);
