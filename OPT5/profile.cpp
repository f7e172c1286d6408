// From the counts of a profile to frequencies and probabilities.
//
//   IF(c: 100 times, (BB2: 90 times, BB3))  -->  probability 0.9 to BB2, 0.1 to BB3
//
// What enters a block over its edges begins it, what ends it leaves over its edges, and between the
// two only calls may lose any. Where that leaves one number open it is found, each once, so that
// all takes time in step with the edges (Ball and Larus, "Optimally profiling and tracing
// programs", 1994, section 3.1).

#include "OPT5/profile.h"

#include "OPT5/funinfo.h"

#include <algorithm>
#include <cstdint>
#include <unordered_map>

namespace {

constexpr int64_t UNKNOWN = -1;

int64_t count_of(const NODE* node) {
  return node && node->profile_count != NO_COUNT ? node->profile_count : UNKNOWN;
}

class SOLVER {
public:
  // False if nothing is told.
  bool read_counts() {
    for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
      place_of.emplace(bb, blocks.size());
      blocks.push_back({bb, true, {}, {}});
    }
    for (size_t k = 0; k < blocks.size(); k++)
      read_block(k);
    return has_profile;
  }

  void solve() {
    for (size_t k = 0; k < blocks.size(); k++)
      pending.push_back(k);
    while (!pending.empty()) {
      const size_t k = pending.back();
      pending.pop_back();
      solve_block(k);
    }
  }

  void annotate() {
    const BLOCK& first = blocks[0];
    if (first.in.count == UNKNOWN || first.in.unknown) return;
    const int64_t entries = std::max<int64_t>(0, first.in.count - first.in.sum);
    fi->entry_count = static_cast<unsigned>(std::min<int64_t>(entries, NO_COUNT - 1));
    std::vector<double> prob_from(blocks.size());
    for (const BLOCK& block : blocks) {
      BBLK* bb = block.bb;
      if (block.in.count != UNKNOWN) bb->dFreqIn = entries ? ratio(block.in.count, entries) : 0.0;
      if (block.out.count != UNKNOWN)
        bb->dFreqOut = entries ? ratio(block.out.count, entries) : 0.0;
      for (const size_t id : block.out.edges)
        links[id].edge->prob = probability(links[id]);
      for (const size_t id : block.in.edges)
        prob_from[links[id].from] = probability(links[id]);
      for (EDGE* e = bb->predecessors; e; e = e->rest)
        e->prob = prob_from[place_of[e->first]];
    }
  }

private:
  // Where a block begins, or ends, and the edges there.
  struct SIDE {
    int64_t count = UNKNOWN;
    std::vector<size_t> edges;
    size_t unknown = 0;
    int64_t sum = 0; // of what is known
  };
  struct BLOCK {
    BBLK* bb;
    bool is_left_as_often_as_entered; // no call in it that may not return
    SIDE in, out;
  };
  struct LINK {
    EDGE* edge;
    size_t from, to;
    int64_t count;
  };
  FUNINFO* fi = currfuninfo;
  std::vector<BLOCK> blocks;
  std::vector<LINK> links;
  std::unordered_map<const BBLK*, size_t> place_of;
  std::vector<size_t> pending;
  bool has_profile = false;

  static double ratio(int64_t a, int64_t b) {
    return static_cast<double>(a) / static_cast<double>(b);
  }

  // Where a block would have gone that never ran, nobody knows.
  double probability(const LINK& link) const {
    const int64_t from = blocks[link.from].out.count;
    return from <= 0 || link.count == UNKNOWN ? -1.0 : std::min(1.0, ratio(link.count, from));
  }

  // A block's counted branches to each of its targets; a target with an uncounted one is unknown.
  using COUNTS = std::unordered_map<const BBLK*, int64_t>;
  void add_label(COUNTS& counts, const NODE* label) {
    if (!label || label->op != LABEL || !label->label) return;
    const int64_t count = count_of(label);
    has_profile |= count != UNKNOWN;
    auto [place, is_new] = counts.emplace(label->label->bb, count);
    if (is_new) return;
    place->second = place->second == UNKNOWN || count == UNKNOWN ? UNKNOWN : place->second + count;
  }

  void read_block(size_t k) {
    const BBLK* bb = blocks[k].bb;
    BLOCK& block = blocks[k];
    COUNTS counts;
    bool has_called = false;
    if (k == 0 && bb->statements) block.in.count = count_of(bb->statements->tree);
    for (const LIST* s = bb->statements; s; s = s->next) {
      const NODE* tree = s->tree;
      const NODE* evaluated = tree->op == RETURN ? tree->right : nullptr;
      if (!s->next && (tree->op == IF || tree->op == SWITCH)) evaluated = tree->left;
      if (const int64_t count = count_of(evaluated); count != UNKNOWN) {
        has_profile = true;
        if (!has_called) block.in.count = count;
        if (count_calls_in_tree(evaluated) == 0) block.out.count = count;
      }
      has_called |= count_calls_in_tree(tree) != 0;
      if (s->next) continue;
      if (tree->op == BRANCH) add_label(counts, tree->left);
      if (tree->op == IF) {
        add_label(counts, tree->right->left);
        add_label(counts, tree->right->right);
      }
      if (tree->op == SWITCH)
        for (const NODE* at = tree->right; at; at = at->op == COMMA ? at->left : nullptr) {
          const NODE* item = at->op == COMMA ? at->right : at;
          add_label(counts, item->op == CASE ? item->right : item->left);
        }
    }
    block.is_left_as_often_as_entered = !has_called;
    has_profile |= block.in.count != UNKNOWN;
    for (EDGE* e = bb->successors; e; e = e->rest) {
      const auto found = counts.find(e->first);
      add_link(e, k, place_of[e->first], found == counts.end() ? UNKNOWN : found->second);
    }
  }

  void add_link(EDGE* edge, size_t from, size_t to, int64_t count) {
    const size_t id = links.size();
    links.push_back({edge, from, to, count});
    for (SIDE* side : {&blocks[from].out, &blocks[to].in}) {
      side->edges.push_back(id);
      if (count == UNKNOWN)
        side->unknown++;
      else
        side->sum += count;
    }
  }

  // One edge is open where the count is known: it has the rest.
  void solve_edge(const SIDE& side) {
    for (const size_t id : side.edges) {
      LINK& link = links[id];
      if (link.count != UNKNOWN) continue;
      link.count = std::max<int64_t>(0, side.count - side.sum);
      for (SIDE* end : {&blocks[link.from].out, &blocks[link.to].in}) {
        end->unknown--;
        end->sum += link.count;
      }
      pending.push_back(link.from);
      pending.push_back(link.to);
      return;
    }
  }

  void solve_block(size_t k) {
    BLOCK& block = blocks[k];
    const bool is_entry = k == 0; // which is entered from outside, too
    for (SIDE* side : {&block.in, &block.out})
      if (side->count == UNKNOWN && side->unknown == 0 && !side->edges.empty() &&
          !(is_entry && side == &block.in))
        side->count = side->sum;
    if (block.is_left_as_often_as_entered) {
      if (block.in.count == UNKNOWN) block.in.count = block.out.count;
      if (block.out.count == UNKNOWN) block.out.count = block.in.count;
    }
    if (block.out.count != UNKNOWN && block.out.unknown == 1) solve_edge(block.out);
    if (block.in.count != UNKNOWN && block.in.unknown == 1 && !is_entry) solve_edge(block.in);
  }
};

} // namespace

void initialize_CFG_profiling_annotation(int renumber, int) {
  FUNINFO* fi = currfuninfo;
  if (renumber) renumber_bblocks();
  fi->entry_count = NO_COUNT;
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
    bb->dFreqIn = bb->dFreqOut = -1.0;
    for (EDGE* list : {bb->predecessors, bb->successors})
      for (EDGE* e = list; e; e = e->rest)
        e->prob = -1.0;
  }
  SOLVER solver;
  if (!fi->bb_list || !solver.read_counts()) return;
  solver.solve();
  solver.annotate();
}
