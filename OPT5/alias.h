// What pointers may reach.
#pragma once

// Forgets what was found out of the current function's pointers. Then any of them may reach each
// symbol of file scope but those whose address is never taken, and each local or parameter whose
// address, or that of a part, a statement or a clean-up takes: exactly those get the mark
// `is_aliased`.
void reset_alias_info();
// What was found is no longer right. Test builds give the least safe answers from then on.
void drop_alias_info();
// What is wrong with the marks, asked after reset_alias_info: null if nothing is.
const char* alias_fault();
