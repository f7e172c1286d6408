// Copy propagation.
#pragma once

// The flow-insensitive form. mode 4 substitutes constants and copies that hold everywhere, 0 only
// what is free; `late` also runs the clean-up after it. Proves nothing yet, so changes nothing.
void fast_CP(int mode, int late);
