// Dominator and post-dominator trees of the current function, rebuilt at a query when stale.
//
// Blocks stand for themselves or for their depth-first number. 0 is a virtual entry above every
// block without predecessors, bb_count + 1 a virtual exit below every block without successors.
#pragma once

#include "OPT5/bblk.h"

#include <vector>

class Dominator {
public:
  using BLOCKS = std::vector<BBLK*>;
  static constexpr int UNKNOWN = -556; // what idom and ipostdom hold while nothing is known

  std::vector<int> idom;     // by dfn; 0 for the entry
  std::vector<int> ipostdom; // by dfn; bb_count + 1 for a block that ends the function
  // By dfn, in dflink order. A block that nothing is known of, and which idom therefore says to be
  // the entry's, is nobody's child.
  std::vector<BLOCKS> dom_children, postdom_children;
  int built_bb_count = 0;
  bool stale = true;
  BLOCKS block_of_dfn;

  Dominator() = default;
  // Builds both trees anew, which numbers the blocks in dflink order. Time and memory grow in step
  // with blocks and edges, but for a factor of the logarithm.
  void rebuild();

  // --- Queries. A stale tree is rebuilt first.
  int immediate_dominator(int dfn);
  int immediate_dominator(const BBLK* bb) { return immediate_dominator((assure(), bb->dfn)); }
  int immediate_post_dominator(int dfn);
  int immediate_post_dominator(const BBLK* bb) {
    return immediate_post_dominator((assure(), bb->dfn));
  }
  // Does every way from the entry to b pass through a? A block dominates itself.
  bool dominates(int a, int b);
  // Does every way from b to the exit pass through a?
  bool post_dominates(int a, int b);
  BBLK* DFSblock(int dfn); // null, with a message, if there is none
  const BLOCKS& dominator_children(int dfn);
  const BLOCKS& dominator_children(const BBLK* bb) {
    return dominator_children((assure(), bb->dfn));
  }
  const BLOCKS& post_dominator_children(int dfn);
  const BLOCKS& post_dominator_children(const BBLK* bb) {
    return post_dominator_children((assure(), bb->dfn));
  }
  // The trees in pre-order: from the entry, and from each block without successors.
  const BLOCKS& depth_first_doms() { return assure(), dom_walk; }
  const BLOCKS& depth_first_postdoms() { return assure(), postdom_walk; }

  void print_IDOM(); // on the debug stream
  void print_POSTDOM();

  // --- The work
  void builder();
  // Appends what can be reached from bb over edges not yet walked, in pre-order, and marks it
  // `visited`; bb itself is the caller's. `ascend` does the same against the edges.
  void descend(BBLK* bb, BLOCKS& list);
  void ascend(BBLK* bb, BLOCKS& list);
  // The same from each of `roots`, these included; leaves `visited` clear.
  void df_traverse(const BLOCKS& roots, BLOCKS& list);
  void rdf_traverse(const BLOCKS& roots, BLOCKS& list);
  // The nearest block (or virtual one) above both in the tree; `order` numbers each block higher
  // than its immediate dominator, or lower than its immediate post-dominator.
  int intersect(int a, int b, const std::vector<int>& order) const;
  int post_intersect(int a, int b, const std::vector<int>& order) const;
  // Appends the tree from bb in pre-order.
  void generate_tree_walk(BBLK* bb, BLOCKS* walk, bool post) const;

private:
  // A block's place in a pre-order of its tree, and the last place below it.
  struct SPAN {
    int first = 0, last = 0;
  };
  BLOCKS dom_walk, postdom_walk;
  std::vector<SPAN> dom_span, postdom_span;
  std::vector<int> walk_parent; // during a walk: by place in the list, the place it was met from

  void assure();
  void walk(BBLK* bb, BLOCKS& list, EDGE* BBLK::*edges);
  void traverse(const BLOCKS& roots, BLOCKS& list, EDGE* BBLK::*edges);
  void find_immediate(const BLOCKS& list, EDGE* BBLK::*against, const BLOCKS& roots, int top,
                      std::vector<int>& immediate);
  void number_tree(const std::vector<int>& immediate, int top, const BLOCKS& list,
                   std::vector<SPAN>& spans) const;
  void repair();
#ifdef VRX_CHECKS
  bool immediate_dominators_are_stable(const BLOCKS& list, const BLOCKS& back_list) const;
#endif
};

// Says that the graph of the current function changed.
void mark_dominators_stale();
// Makes or rebuilds the current function's trees, and with `with_lva` its live variables.
void compute_dominators(bool with_lva);
// What is wrong with the trees that the current function claims to have: null if nothing is.
const char* dominators_fault();
