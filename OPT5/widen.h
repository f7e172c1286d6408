// Locals of the user in a wider type.
#pragma once

// Puts the wider partner of each local that has one (make_widened_symbol_entry) in its place, in
// all of the current function. Left alone are those whose place is more than a place for their
// value: not automatic, volatile, tied to a location, spoken of by a pragma, an exception table or
// an assertion, or used as an lvalue by anything but assignments.
void widen_user_variables();
