// Test builds only: graphs changed on demand, to test whether what they compute stays.
#pragma once

// With VRX_SURGERY in the environment, between any two steps: dominators, loops and live variables
// of the current function are built and judged, its critical edges are split, and its blocks put in
// order again. `step` is the one that was done.
void change_graph_if_asked(const char* step);
