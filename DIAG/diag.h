// Texts that the user sees when a run ends badly.
#pragma once

// Writes, on standard error, what the user of a failing tool can do: the failure is a defect of the
// tool, and what to send to support. Never fails.
void print_support_message();
