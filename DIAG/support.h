// What the user of a failing tool can do.
#pragma once

extern const char* tool_name; // this tool's long name, "C/C++ Optimizer"

// Writes, on standard error, that the failure is a defect of the tool, and what to send to support.
// The tool is told by tool_name. Never fails.
void print_support_message();
