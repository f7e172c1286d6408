// From the graph to the tree of loops.
//
//   BB1 -> BB2;  BB2 -> BB3, BB4;  BB3 -> BB2  -->  a loop of BB2 and BB3: head BB2, tail BB3,
//                                                  preheader BB1, exit BB4
//
// First every header gets one latch, then each header's natural loop is walked backward from the
// latch (Aho, Sethi and Ullman, "Compilers", 1986, section 10.4), inner loops before outer ones.
// What is walked once as a loop is passed in one step later, so that the walks grow in step with
// the edges, whatever the nesting.

#include "OPT5/loop.h"

#include "DIAG/abort.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/memory.h"
#include "OPT5/scope.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <unordered_map>
#include <unordered_set>

namespace {

// Cells of loops aren't edges: dominators stay as they are.
EDGE* mk_member(BBLK* bb, EDGE* rest) {
  return new (current_memory().edge_place()) EDGE{bb, -1.0, rest};
}

void erase_members(EDGE* list) {
  while (list) {
    EDGE* rest = list->rest;
    current_memory().free_edge(list);
    list = rest;
  }
}

void join_loop(BBLK* bb, LOOP* loop) {
  bb->loop = loop;
  loop->contents = mk_member(bb, loop->contents);
}

bool has_one(const EDGE* list) {
  return list && !list->rest;
}

} // namespace

LOOP* make_LOOP(BBLK* head, BBLK* tail, int uid, const LOOP* copy_from) {
  auto& loops = currfuninfo->loops;
  LOOP* loop = loops.emplace_back(copy_from ? new LOOP(*copy_from) : new LOOP).get();
  if (copy_from) {
    loop->contents = copy_edge_list(copy_from->contents);
    loop->exitBBs = copy_edge_list(copy_from->exitBBs);
  }
  if (head || !copy_from) loop->head = head;
  if (tail || !copy_from) loop->tail = tail;
  if (uid >= 0 || !copy_from) loop->uid = uid;
  return loop;
}

void erase_loop_hierarchy() {
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    bb->loop = nullptr;
  for (const auto& loop : currfuninfo->loops) {
    erase_members(loop->contents);
    erase_members(loop->exitBBs);
  }
  currfuninfo->loops.clear();
  currfuninfo->loop_root = nullptr;
}

void unbuild_loop_hierarchy() {
  erase_loop_hierarchy();
}

// ---------------------------------------------------------------------------------------------
// Asking

bool loop_encloses(const LOOP* outer, const LOOP* inner) {
  while (inner && inner->level > outer->level)
    inner = inner->parent;
  return inner == outer;
}

bool loop_is_innermost(const LOOP* loop) {
  for (const EDGE* e = loop->contents; e; e = e->rest)
    if (e->first->loop != loop) return false;
  return true;
}

std::vector<LOOP*> inner_loops(const LOOP* loop) {
  std::vector<LOOP*> inner;
  for (const EDGE* e = loop->contents; e; e = e->rest)
    if (e->first->loop != loop) inner.push_back(e->first->loop);
  std::sort(inner.begin(), inner.end(),
            [](const LOOP* a, const LOOP* b) { return a->head->dfn < b->head->dfn; });
  return inner;
}

// The loops of a tree, each before those in it, otherwise by the dfn of their heads.
static std::vector<LOOP*> loops_in_preorder(LOOP* root) {
  std::vector<LOOP*> order, pending{root};
  while (!pending.empty()) {
    LOOP* loop = pending.back();
    pending.pop_back();
    order.push_back(loop);
    const std::vector<LOOP*> inner = inner_loops(loop);
    pending.insert(pending.end(), inner.rbegin(), inner.rend());
  }
  return order;
}

EDGE* build_list_of_innermost_loop_headers(LOOP* loop, EDGE* list) {
  for (const LOOP* each : loops_in_preorder(loop))
    if (loop_is_innermost(each)) list = mk_member(each->head, list);
  return list;
}

// ---------------------------------------------------------------------------------------------
// Branches that lead elsewhere

namespace {

// Branches are rewritten once a block, however many of its targets change.
class REDIRECTIONS {
public:
  void note(BBLK* from, BBLK* old_target, BBLK* new_target) {
    auto [place, is_new] = place_of.emplace(from, blocks.size());
    if (is_new) blocks.push_back({from, {}});
    blocks[place->second].second.emplace(old_target, new_target);
  }
  // Edges out of the blocks, and the branches that they stand for.
  void apply() {
    for (const auto& block : blocks) {
      BBLK* from = block.first;
      const TARGETS& targets = block.second;
      for (EDGE* e = from->successors; e; e = e->rest)
        if (auto found = targets.find(e->first); found != targets.end()) e->first = found->second;
      NODE*& branch = from->last_statement()->tree;
      walk_postorder(branch, [&](NODE*& node) {
        if (node->op != LABEL || !node->label) return;
        auto found = targets.find(node->label->bb);
        if (found == targets.end()) return;
        NODE* ref = mk_LABELREF_to_bb(found->second, node->ls);
        ref->profile_count = node->profile_count;
        erase_node(node);
        node = ref;
      });
    }
    blocks.clear();
    place_of.clear();
  }

private:
  using TARGETS = std::unordered_map<BBLK*, BBLK*>;
  std::vector<std::pair<BBLK*, TARGETS>> blocks;
  std::unordered_map<BBLK*, size_t> place_of;
};

// A block that leads to `target`, behind `after`.
BBLK* insert_way_to(BBLK* target, BBLK* after, int dfn) {
  BBLK* bb = insert_new_bb_with_branch(dfn, after, target, target->first_psn);
  bb->successors = mkedge(target, nullptr);
  return bb;
}

// Of a block's predecessors those that `moves` says become predecessors of `middle`, which leads
// to the block.
template <class MOVES>
void take_over(BBLK* bb, BBLK* middle, REDIRECTIONS& redirections, MOVES moves) {
  EDGE *stay = nullptr, *go = nullptr;
  EDGE **stay_tail = &stay, **go_tail = &go;
  for (EDGE *e = bb->predecessors, *rest; e; e = rest) {
    rest = e->rest;
    e->rest = nullptr;
    const bool is_moved = moves(e->first);
    if (is_moved) redirections.note(e->first, bb, middle);
    EDGE**& tail = is_moved ? go_tail : stay_tail;
    *tail = e;
    tail = &e->rest;
  }
  middle->predecessors = go;
  bb->predecessors = mkedge(middle, stay);
}

BBLK* split_edge(BBLK* from, BBLK* to) {
  BBLK* middle = insert_way_to(to, from, from->dfn);
  REDIRECTIONS redirections;
  take_over(to, middle, redirections, [=](const BBLK* bb) { return bb == from; });
  redirections.apply();
  return middle;
}

// ---------------------------------------------------------------------------------------------
// One latch a header

bool is_back_edge(const BBLK* from, const BBLK* to) {
  return to->dfn <= from->dfn;
}

bool has_back_edges() {
  for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (const EDGE* e = bb->successors; e; e = e->rest)
      if (is_back_edge(bb, e->first)) return true;
  return false;
}

// Gives a header with several latches a block behind which there is one.
bool merge_latches(BBLK* header) {
  int latches = 0, others = 0;
  BBLK* last = nullptr;
  for (const EDGE* e = header->predecessors; e; e = e->rest) {
    if (!is_back_edge(e->first, header)) {
      others++;
      continue;
    }
    latches++;
    if (!last || e->first->dfn > last->dfn) last = e->first;
  }
  if (latches < 2) return false;
  REDIRECTIONS redirections;
  auto is_latch = [=](const BBLK* bb) { return is_back_edge(bb, header); };
  if (latches == 2 && others > 0) { // and one way in
    BBLK* before = header->rdflink;
    BBLK* way_in = insert_way_to(header, before, before->dfn);
    take_over(header, way_in, redirections, [&](const BBLK* bb) { return !is_latch(bb); });
  }
  BBLK* latch = insert_way_to(header, last, last->dfn);
  take_over(header, latch, redirections, is_latch);
  redirections.apply();
  return true;
}

// A block that goes back either way would be the latch of two loops.
bool split_double_latch(BBLK* bb) {
  const EDGE* e = bb->successors;
  if (!e || !e->rest || e->rest->rest || e->first == e->rest->first) return false;
  if (!is_back_edge(bb, e->first) || !is_back_edge(bb, e->rest->first)) return false;
  const int op = bb->last_statement()->tree->op;
  if (op != CBRANCH && op != IF) return false;
  split_edge(bb, e->first->dfn < e->rest->first->dfn ? e->first : e->rest->first);
  return true;
}

// False where there are no loops to be built.
bool normalize_headers(bool only_if_any) {
  BBLK* entry = currfuninfo->bb_list;
  if (!entry || entry->predecessors) return false;
  renumber_bblocks();
  erase_loop_hierarchy();
  if (only_if_any && !has_back_edges()) return false;
  std::vector<BBLK*> blocks;
  for (BBLK* bb = entry; bb; bb = bb->dflink)
    blocks.push_back(bb);
  bool has_inserted = false;
  for (BBLK* bb : blocks) {
    has_inserted |= merge_latches(bb);
    has_inserted |= split_double_latch(bb);
  }
  if (has_inserted) renumber_bblocks();
  return true;
}

// ---------------------------------------------------------------------------------------------
// The tree

class TREE_BUILDER {
public:
  // False if some loop is none: no block then has a loop.
  bool find_loops() {
    Dominator& dominators = *fi->dominators;
    for (BBLK* bb = fi->bb_list->rdflink;; bb = bb->rdflink) {
      BBLK* latch = nullptr;
      for (const EDGE* e = bb->predecessors; e; e = e->rest) {
        if (!is_back_edge(e->first, bb)) continue;
        if (latch || bb->loop || !dominators.dominates(bb->dfn, e->first->dfn)) return false;
        latch = e->first;
      }
      if (latch && !walk_loop(bb, latch)) return false;
      if (bb == fi->bb_list) break;
    }
    for (LOOP* loop : loops_with_shared_tail) {
      BBLK* latch = split_edge(loop->tail, loop->head);
      join_loop(latch, loop);
      loop->tail = latch;
    }
    return true;
  }

  void make_root(bool irreducible) {
    LOOP* root = make_LOOP(fi->bb_list, nullptr, static_cast<int>(fi->loops.size()) + 1, nullptr);
    fi->loop_root = root;
    root->pragmas = fi->symbol->pragmas;
    root->irreducible = irreducible;
    for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      if (!bb->loop) join_loop(bb, root);
    for (const auto& loop : fi->loops)
      if (loop.get() != root && !loop->parent) {
        loop->parent = root;
        root->contents = mk_member(loop->head, root->contents);
      }
  }

  void add_preheaders() {
    for (const auto& loop : fi->loops) // inner ones were made first
      if (loop->parent) add_preheader(loop.get());
    redirections.apply();
  }

private:
  FUNINFO* fi = currfuninfo;
  std::vector<int> above; // by uid: a loop that encloses it, or itself; for outermost()
  std::vector<LOOP*> loops_with_shared_tail;
  REDIRECTIONS redirections;

  // Of the loops found so far that enclose it.
  LOOP* outermost(const LOOP* loop) {
    int uid = loop->uid;
    while (above[uid] != uid)
      uid = above[uid] = above[above[uid]];
    return fi->loops[uid].get();
  }

  // False if the loop can be entered elsewhere.
  bool walk_loop(BBLK* header, BBLK* latch) {
    const int uid = static_cast<int>(fi->loops.size());
    LOOP* loop = make_LOOP(header, latch, uid, nullptr);
    above.push_back(uid);
    join_loop(header, loop);
    if (latch->loop && latch != header) loops_with_shared_tail.push_back(loop);
    std::vector<BBLK*> pending{latch};
    while (!pending.empty()) {
      BBLK* bb = pending.back();
      pending.pop_back();
      if (!bb->loop) {
        if (!fi->dominators->dominates(header->dfn, bb->dfn)) return false;
        join_loop(bb, loop);
      } else {
        LOOP* inner = outermost(bb->loop);
        if (inner == loop) continue;
        inner->parent = loop;
        above[inner->uid] = uid;
        bb = inner->head;
        loop->contents = mk_member(bb, loop->contents);
      }
      for (const EDGE* e = bb->predecessors; e; e = e->rest)
        pending.push_back(e->first);
    }
    return true;
  }

  void add_preheader(LOOP* loop) {
    BBLK* head = loop->head;
    BBLK* entering = nullptr;
    LS* scope = nullptr;
    int ways_in = 0;
    for (const EDGE* e = head->predecessors; e; e = e->rest) {
      if (e->first == loop->tail) continue;
      LS* its_scope = e->first->last_statement()->tree->ls;
      scope = ways_in ? LS::innermost_common_scope(scope, its_scope) : its_scope;
      entering = e->first;
      ways_in++;
    }
    if (ways_in == 1 && entering->loop == loop->parent && has_one(entering->successors)) {
      loop->preheader = entering;
      return;
    }
    print_if_debug("\t\tAdding preheader for loop #%d with header BB%d.\n", loop->uid, head->dfn);
    BBLK* before = head->rdflink;
    BBLK* bb = insert_way_to(head, before, before->dfn);
    if (scope) scope->assign_scope_to_tree(bb->statements->tree);
    take_over(head, bb, redirections, [=](const BBLK* from) { return from != loop->tail; });
    join_loop(bb, loop->parent);
    loop->preheader = bb;
  }
};

// ---------------------------------------------------------------------------------------------
// Exits

class EXIT_FINDER {
public:
  explicit EXIT_FINDER(LOOP* root) : order(loops_in_preorder(root)) {
    // Each loop's stretch in the order holds the loops in it.
    for (size_t k = order.size(); k-- > 0;) {
      SPAN& span = spans[order[k]];
      span.first = k;
      span.last = std::max(span.last, k);
      if (order[k]->parent) {
        size_t& last = spans[order[k]->parent].last;
        last = std::max(last, spans[order[k]].last);
      }
    }
  }

  void run() {
    for (size_t k = order.size(); k-- > 0;)
      find_exits(order[k]);
    redirections.apply();
    rebuild_predecessors();
  }

private:
  struct SPAN {
    size_t first = 0, last = 0;
  };
  struct EXIT {
    BBLK* target;
    std::vector<std::pair<BBLK*, EDGE*>> ways; // from blocks right in the loop
  };
  std::vector<LOOP*> order;
  std::unordered_map<const LOOP*, SPAN> spans;
  std::unordered_map<const BBLK*, size_t> ways_in; // predecessors, of those that were asked for
  std::vector<BBLK*> moved;                        // blocks of which predecessors changed
  std::unordered_set<const BBLK*> is_moved;
  REDIRECTIONS redirections;

  bool is_inside(const BBLK* bb, const LOOP* loop) {
    const SPAN& span = spans[loop];
    const size_t place = spans[bb->loop].first;
    return span.first <= place && place <= span.last;
  }

  size_t& count_ways_in(BBLK* bb) {
    auto [place, is_new] = ways_in.emplace(bb, 0);
    if (is_new) place->second = edge_length(bb->predecessors);
    return place->second;
  }

  void note_moved(BBLK* bb) {
    if (is_moved.insert(bb).second) moved.push_back(bb);
  }

  void find_exits(LOOP* loop) {
    erase_members(loop->exitBBs);
    loop->exitBBs = nullptr;
    loop->has_improper_exit = false;
    std::vector<EXIT> exits;
    std::unordered_map<const BBLK*, size_t> place_of;
    for (const EDGE* member = loop->contents; member; member = member->rest) {
      BBLK* bb = member->first;
      if (bb->loop != loop) { // what leaves an inner loop may leave this one too
        for (const EDGE* e = bb->loop->exitBBs; e; e = e->rest)
          if (!is_inside(e->first, loop)) add_exit(loop, e->first, false);
        continue;
      }
      for (EDGE* e = bb->successors; e; e = e->rest) {
        if (is_inside(e->first, loop)) continue;
        auto [place, is_new] = place_of.emplace(e->first, exits.size());
        if (is_new) exits.push_back({e->first, {}});
        exits[place->second].ways.emplace_back(bb, e);
      }
    }
    for (EXIT& exit : exits) {
      BBLK* bb = exit.ways.size() < count_ways_in(exit.target) ? insert_exit(exit) : exit.target;
      bool is_from_tail = true;
      for (auto [from, edge] : exit.ways)
        is_from_tail &= from == loop->tail;
      add_exit(loop, bb, is_from_tail);
    }
  }

  static void add_exit(LOOP* loop, BBLK* bb, bool is_from_tail) {
    loop->exitBBs = mk_member(bb, loop->exitBBs);
    loop->has_improper_exit |= !is_from_tail;
  }

  BBLK* insert_exit(const EXIT& exit) {
    BBLK* before = exit.target->rdflink;
    BBLK* bb = insert_way_to(exit.target, before, before->dfn);
    join_loop(bb, exit.target->loop);
    for (auto [from, edge] : exit.ways) {
      redirections.note(from, exit.target, bb);
      edge->first = bb;
    }
    count_ways_in(exit.target) += 1 - exit.ways.size();
    ways_in[bb] = exit.ways.size();
    note_moved(exit.target);
    note_moved(bb);
    return bb;
  }

  void rebuild_predecessors() {
    for (BBLK* bb : moved) {
      erase_edge_list(bb->predecessors);
      bb->predecessors = nullptr;
    }
    for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
      for (const EDGE* e = bb->successors; e; e = e->rest)
        if (is_moved.count(e->first)) {
          e->first->predecessors = mkedge(bb, e->first->predecessors);
          e->first->predecessors->prob = e->prob;
        }
  }
};

void build_tree() {
  TREE_BUILDER builder;
  const bool is_reducible = builder.find_loops();
  if (!is_reducible) erase_loop_hierarchy();
  builder.make_root(!is_reducible);
  if (is_reducible) builder.add_preheaders();
  LOOP* root = currfuninfo->loop_root;
  add_exit_blocks(root);
  assign_loop_levels(root, 0);
  assign_loop_numbers(root, 0);
  renumber_bblocks();
  for (const auto& loop : currfuninfo->loops) {
    loop->contents = fast_sort_edge_list(loop->contents);
    loop->exitBBs = fast_sort_edge_list(loop->exitBBs);
  }
}

} // namespace

void add_exit_blocks(LOOP* root) {
  EXIT_FINDER(root).run();
}

void assign_loop_levels(LOOP* root, int level) {
  const LOOP* above = root->parent;
  for (LOOP* loop : loops_in_preorder(root)) {
    const int own = loop->parent == above ? level : loop->parent->level + 1;
    if (own > SHRT_MAX) {
      fprintf(stderr, "Too many nested loops:  %d\n", own);
      abort_optimizer();
    }
    loop->level = static_cast<short>(own);
  }
}

void assign_loop_numbers(LOOP* root, int number) {
  for (LOOP* loop : loops_in_preorder(root))
    loop->uid = number++;
}

void build_minimal_loop_hierarchy(bool only_if_any) {
  if (!normalize_headers(only_if_any)) return;
  compute_dominators(false);
  build_tree();
}
