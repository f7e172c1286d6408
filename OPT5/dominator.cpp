// Dominator and post-dominator trees.
//
//   BB1 -> BB2, BB3;  BB2 -> BB4;  BB3 -> BB4  -->  BB1 dominates all, BB4 post-dominates all
//
// Immediate dominators are found by the semi-NCA algorithm (Georgiadis, "Linear-Time Algorithms for
// Dominators and Related Problems", 2005), a simpler and in practice faster form of Lengauer and
// Tarjan's ("A fast algorithm for finding dominators in a flowgraph", 1979). All walks keep a stack
// of their own, so that a chain of blocks may be of any length.

#include "OPT5/dominator.h"

#include "DIAG/abort.h"
#include "OPT5/funinfo.h"
#include "OPT5/livevars.h"
#include "OPT5/streams.h"

#include <algorithm>
#include <cstdio>

void mark_dominators_stale() {
  if (currfuninfo && currfuninfo->dominators) currfuninfo->dominators->stale = true;
}

void compute_dominators(bool with_lva) {
  Dominator*& dominators = currfuninfo->dominators;
  if (!dominators) dominators = new Dominator;
  dominators->rebuild();
  if (with_lva) find_live_variables(0, false);
}

// ---------------------------------------------------------------------------------------------
// Walks

// In `list` from here on: blocks in pre-order. Where `visited` is set a block has been met.
void Dominator::walk(BBLK* start, BLOCKS& list, EDGE* BBLK::*edges) {
  struct OPEN {
    const EDGE* next;
    int place; // in the list
  };
  std::vector<OPEN> open;
  const int start_place = static_cast<int>(list.size()) - 1;
  open.push_back({start->*edges, start_place});
  while (!open.empty()) {
    const EDGE* e = open.back().next;
    if (!e) {
      open.pop_back();
      continue;
    }
    open.back().next = e->rest;
    BBLK* bb = e->first;
    if (bb->visited) continue;
    bb->visited = true;
    walk_parent.push_back(open.back().place);
    list.push_back(bb);
    open.push_back({bb->*edges, static_cast<int>(list.size()) - 1});
  }
}

void Dominator::descend(BBLK* bb, BLOCKS& list) {
  walk(bb, list, &BBLK::successors);
}

void Dominator::ascend(BBLK* bb, BLOCKS& list) {
  walk(bb, list, &BBLK::predecessors);
}

void Dominator::traverse(const BLOCKS& roots, BLOCKS& list, EDGE* BBLK::*edges) {
  list.clear();
  walk_parent.clear();
  for (BBLK* root : roots) {
    if (root->visited) continue;
    root->visited = true;
    walk_parent.push_back(-1);
    list.push_back(root);
    walk(root, list, edges);
  }
  for (BBLK* bb : list)
    bb->visited = false;
}

void Dominator::df_traverse(const BLOCKS& roots, BLOCKS& list) {
  traverse(roots, list, &BBLK::successors);
}

void Dominator::rdf_traverse(const BLOCKS& roots, BLOCKS& list) {
  traverse(roots, list, &BBLK::predecessors);
}

void Dominator::generate_tree_walk(BBLK* bb, BLOCKS* walk, bool post) const {
  const std::vector<BLOCKS>& children = post ? postdom_children : dom_children;
  BLOCKS pending{bb};
  while (!pending.empty()) {
    BBLK* next = pending.back();
    pending.pop_back();
    walk->push_back(next);
    const BLOCKS& below = children[next->dfn];
    pending.insert(pending.end(), below.rbegin(), below.rend());
  }
}

// ---------------------------------------------------------------------------------------------
// Immediate dominators

int Dominator::intersect(int a, int b, const std::vector<int>& order) const {
  while (order[a] != order[b]) {
    int& lower = order[a] > order[b] ? a : b;
    lower = idom[lower];
  }
  return a;
}

int Dominator::post_intersect(int a, int b, const std::vector<int>& order) const {
  while (order[a] != order[b]) {
    int& lower = order[a] < order[b] ? a : b;
    lower = ipostdom[lower];
  }
  return a;
}

// What of `immediate` belongs to the blocks of `list`, a walk from `roots` which has just been
// done; `against` leads back. `top` is the virtual block above the roots.
void Dominator::find_immediate(const BLOCKS& list, EDGE* BBLK::*against, const BLOCKS& roots,
                               int top, std::vector<int>& immediate) {
  // Places in the list, from 1; 0 is the virtual block.
  const int count = static_cast<int>(list.size());
  std::vector<int> place_of(built_bb_count + 1), above(count + 1), semi(count + 1), best(count + 1),
      ancestor(count + 1, -1), dominator(count + 1);
  for (int k = 1; k <= count; k++) {
    place_of[list[k - 1]->dfn] = k;
    above[k] = walk_parent[k - 1] + 1;
    semi[k] = best[k] = k;
  }
  std::vector<bool> is_root(count + 1);
  for (const BBLK* root : roots)
    is_root[place_of[root->dfn]] = true;

  // The block of least semi-dominator on the linked way above k, k included.
  std::vector<int> way;
  auto least_above = [&](int k) {
    if (ancestor[k] < 0) return best[k];
    way.clear();
    for (int at = k; ancestor[ancestor[at]] >= 0; at = ancestor[at])
      way.push_back(at);
    for (size_t i = way.size(); i-- > 0;) {
      const int at = way[i], up = ancestor[at];
      if (semi[best[up]] < semi[best[at]]) best[at] = best[up];
      ancestor[at] = ancestor[up];
    }
    return best[k];
  };

  for (int k = count; k >= 1; k--) {
    int least = is_root[k] ? 0 : above[k];
    for (const EDGE* e = list[k - 1]->*against; e; e = e->rest)
      if (const int from = place_of[e->first->dfn]) // else nothing is known of it
        least = std::min(least, semi[least_above(from)]);
    semi[k] = least;
    ancestor[k] = above[k];
  }
  for (int k = 1; k <= count; k++) {
    int at = above[k];
    while (at > semi[k])
      at = dominator[at];
    dominator[k] = at;
    immediate[list[k - 1]->dfn] = at ? list[at - 1]->dfn : top;
  }
}

void Dominator::rebuild() {
  builder();
}

void Dominator::builder() {
  const FUNINFO* fi = currfuninfo;
  stale = false;
  renumber_bblocks();
  built_bb_count = fi->bb_count;
  const int exit = built_bb_count + 1;
  block_of_dfn.assign(exit, nullptr);
  idom.assign(exit, UNKNOWN);
  ipostdom.assign(exit, UNKNOWN);

  BLOCKS entries, exits, list, back_list;
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
    bb->visited = false;
    block_of_dfn[bb->dfn] = bb;
    if (!bb->successors) exits.push_back(bb);
    // A branch to the entry doesn't make it less of an entry.
    if (!bb->predecessors || bb == fi->bb_list) entries.push_back(bb);
  }

  df_traverse(entries, list);
  find_immediate(list, &BBLK::predecessors, entries, 0, idom);
  auto fill_children = [&](std::vector<BLOCKS>& children, const std::vector<int>& immediate) {
    children.resize(exit);
    for (BLOCKS& below : children)
      below.clear();
    for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      if (const int above = immediate[bb->dfn]; above != UNKNOWN && above != exit)
        children[above].push_back(bb);
  };
  fill_children(dom_children, idom);
  dom_walk.clear();
  if (fi->bb_list) generate_tree_walk(fi->bb_list, &dom_walk, false);

  // A function that never returns ends, so to speak, wherever it goes round again.
  BLOCKS ends = exits;
  if (exits.empty())
    for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      if (bb->successors && !bb->successors->rest && bb->successors->first->dfn <= bb->dfn)
        ends.push_back(bb);
  rdf_traverse(ends, back_list);
  find_immediate(back_list, &BBLK::successors, ends, exit, ipostdom);
  fill_children(postdom_children, ipostdom);
  postdom_walk.clear();
  for (BBLK* bb : exits)
    generate_tree_walk(bb, &postdom_walk, true);

#ifdef VRX_CHECKS
  constexpr int FEW_ENOUGH = 2000; // the check may need the square of it
  CHECK(built_bb_count > FEW_ENOUGH || immediate_dominators_are_stable(list, back_list));
#endif
  repair();
  number_tree(idom, 0, list, dom_span);
  number_tree(ipostdom, exit, back_list, postdom_span);
}

// Later passes see complete trees, whatever the graph.
void Dominator::repair() {
  const int exit = built_bb_count + 1;
  for (int dfn = 1; dfn < exit; dfn++) {
    if (idom[dfn] == UNKNOWN || (idom[dfn] == 0 && dfn != 1)) {
      print_if_debug("**** >>>> WARNING: BB%d doesn't have a dominator\n", dfn);
      idom[dfn] = 1;
    }
    if (ipostdom[dfn] == UNKNOWN) {
      print_if_debug("**** >>>> WARNING: BB%d doesn't have a postdominator\n", dfn);
      ipostdom[dfn] = exit;
    }
  }
}

// Places in a pre-order of the repaired tree: what is below a block stands right after it.
void Dominator::number_tree(const std::vector<int>& immediate, int top, const BLOCKS& list,
                            std::vector<SPAN>& spans) const {
  // Blocks above others come first; what the walk didn't reach is above nothing.
  std::vector<int> order;
  order.reserve(built_bb_count);
  std::vector<bool> is_listed(built_bb_count + 1);
  for (const BBLK* bb : list) {
    order.push_back(bb->dfn);
    is_listed[bb->dfn] = true;
  }
  for (int dfn = 1; dfn <= built_bb_count; dfn++)
    if (!is_listed[dfn]) order.push_back(dfn);

  std::vector<int> size(built_bb_count + 2, 1), next(built_bb_count + 2);
  for (size_t k = order.size(); k-- > 0;)
    size[immediate[order[k]]] += size[order[k]];
  spans.assign(built_bb_count + 1, {});
  next[top] = 1;
  for (const int dfn : order) {
    int& place = next[immediate[dfn]];
    spans[dfn] = {place, place + size[dfn] - 1};
    next[dfn] = place + 1;
    place += size[dfn];
  }
}

// ---------------------------------------------------------------------------------------------
// Queries

void Dominator::assure() {
  if (stale || built_bb_count != currfuninfo->bb_count) rebuild();
}

int Dominator::immediate_dominator(int dfn) {
  assure();
  return idom[dfn];
}

int Dominator::immediate_post_dominator(int dfn) {
  assure();
  return ipostdom[dfn];
}

bool Dominator::dominates(int a, int b) {
  assure();
  if (a == b) return true;
  if (a <= 0 || b <= 0 || a > built_bb_count || b > built_bb_count) return false;
  return dom_span[a].first <= dom_span[b].first && dom_span[b].first <= dom_span[a].last;
}

bool Dominator::post_dominates(int a, int b) {
  assure();
  if (a == b) return true;
  if (a <= 0 || b <= 0 || a > built_bb_count || b > built_bb_count) return false;
  return postdom_span[a].first <= postdom_span[b].first &&
         postdom_span[b].first <= postdom_span[a].last;
}

BBLK* Dominator::DFSblock(int dfn) {
  assure();
  if (dfn > 0 && dfn <= built_bb_count) return block_of_dfn[dfn];
  fprintf(stderr, " Error attempting to find BB with dfn=%d (currfuninfo->bb_count=%d)\n", dfn,
          currfuninfo->bb_count);
  return nullptr;
}

const Dominator::BLOCKS& Dominator::dominator_children(int dfn) {
  assure();
  return dom_children[dfn];
}

const Dominator::BLOCKS& Dominator::post_dominator_children(int dfn) {
  assure();
  return postdom_children[dfn];
}

void Dominator::print_IDOM() {
  assure();
  print_if_debug("\nIMMEDIATE DOMINATORS:\n");
  for (int dfn = 1; dfn <= built_bb_count; dfn++)
    print_if_debug("  IDOM(BB%d) = BB%d\n", dfn, idom[dfn]);
}

void Dominator::print_POSTDOM() {
  assure();
  print_if_debug("\nIMMEDIATE POST-DOMINATORS:\n");
  for (int dfn = 1; dfn <= built_bb_count; dfn++)
    print_if_debug("  IPOSTDOM(BB%d) = BB%d\n", dfn, ipostdom[dfn]);
}

// ---------------------------------------------------------------------------------------------
// Judges

#ifdef VRX_CHECKS
// By the data-flow equations (Cooper, Harvey and Kennedy, "A simple, fast dominance algorithm",
// 2001): what is above a block is what is above all its predecessors, as far as these are known.
bool Dominator::immediate_dominators_are_stable(const BLOCKS& list, const BLOCKS& back_list) const {
  const int exit = built_bb_count + 1;
  std::vector<int> order(exit + 1), post_order(exit + 1);
  post_order[exit] = order[exit] = exit;
  for (size_t k = 0; k < list.size(); k++)
    order[list[k]->dfn] = static_cast<int>(k) + 1;
  for (size_t k = 0; k < back_list.size(); k++)
    post_order[back_list[k]->dfn] = built_bb_count - static_cast<int>(k);
  for (const BBLK* bb : list) {
    int above = UNKNOWN;
    if (bb == currfuninfo->bb_list || !bb->predecessors) above = 0;
    for (const EDGE* e = bb->predecessors; e && above != 0; e = e->rest)
      if (const int from = e->first->dfn; idom[from] != UNKNOWN)
        above = above == UNKNOWN ? from : intersect(above, from, order);
    if (above != idom[bb->dfn]) return false;
  }
  for (const BBLK* bb : back_list) {
    if (ipostdom[bb->dfn] == exit) continue;
    int above = UNKNOWN;
    for (const EDGE* e = bb->successors; e; e = e->rest)
      if (const int to = e->first->dfn; ipostdom[to] != UNKNOWN)
        above = above == UNKNOWN ? to : post_intersect(above, to, post_order);
    if (above != ipostdom[bb->dfn]) return false;
  }
  return true;
}
#endif

const char* dominators_fault() {
  const Dominator* claimed = currfuninfo->dominators;
  for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    if (claimed->block_of_dfn[bb->dfn] != bb)
      return "blocks have other numbers than when dominators were found";
  Dominator fresh;
  fresh.rebuild();
  if (fresh.idom != claimed->idom) return "dominators are out of date";
  if (fresh.ipostdom != claimed->ipostdom) return "post-dominators are out of date";
  return nullptr;
}
