// Dominator and post-dominator trees of the current function, rebuilt at a query when stale.
#pragma once

class Dominator {
public:
  bool stale = true;
};

// Says that the graph of the current function changed.
void mark_dominators_stale();
