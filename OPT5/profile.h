// How often blocks run and edges are taken.
//
// The counts of a profile hang on the nodes of control statements (`profile_count`; EPVAL in a
// file): on the LABEL that a branch leads to, how often it did; on the condition of a branch, the
// selector of a switch, the value of a return or the function's first statement, how often it was
// evaluated. What counts leave open follows from them as far as it does.
#pragma once

#include <climits>
#include <cmath>

constexpr unsigned NO_COUNT = UINT_MAX; // of a node without a count

// Forgets all frequencies and probabilities, and sets what the profile tells: dFreqIn and dFreqOut
// of each block relative to the function's entry, `prob` of each edge, and the function's
// entry_count. Without a profile all stay unknown. With `renumber` blocks are numbered first.
void initialize_CFG_profiling_annotation(int renumber, int apply);

// Is it a frequency? Unknown is one, too.
inline bool IS_a_valid_dFreq(double freq) {
  return freq == -1.0 || (std::isfinite(freq) && freq >= 0.0);
}
