// Dominators, loops and live variables of random graphs, held against their definitions.
#include "tests/unit/ir_fixture.h"

#include "OPT5/dominator.h"
#include "OPT5/infix.h"
#include "OPT5/livevars.h"
#include "OPT5/loop.h"
#include "OPT5/properties.h"
#include "OPT5/verify.h"

#include <climits>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <set>

namespace {

using BLOCK_SET = std::set<const BBLK*>;

// What can be reached over `edges` from the blocks of `from`, these included, past all but
// `barrier`.
BLOCK_SET reached(const std::vector<const BBLK*>& from, EDGE* BBLK::*edges,
                  const BBLK* barrier = nullptr) {
  BLOCK_SET found;
  std::vector<const BBLK*> pending;
  auto meet = [&](const BBLK* bb) {
    if (bb != barrier && found.insert(bb).second) pending.push_back(bb);
  };
  for (const BBLK* bb : from)
    meet(bb);
  while (!pending.empty()) {
    const BBLK* bb = pending.back();
    pending.pop_back();
    for (const EDGE* e = bb->*edges; e; e = e->rest)
      meet(e->first);
  }
  return found;
}

std::vector<BBLK*> blocks_in_order() {
  std::vector<BBLK*> blocks{nullptr}; // by dfn
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    blocks.push_back(bb);
  return blocks;
}

// Which blocks no way from `roots` to a block misses: [above][below], by dfn.
std::vector<std::vector<bool>> dominance(const std::vector<const BBLK*>& roots,
                                         EDGE* BBLK::*edges) {
  const std::vector<BBLK*> blocks = blocks_in_order();
  const BLOCK_SET all = reached(roots, edges);
  std::vector<std::vector<bool>> result(blocks.size(), std::vector<bool>(blocks.size()));
  for (size_t a = 1; a < blocks.size(); a++) {
    const BLOCK_SET others = reached(roots, edges, blocks[a]);
    for (size_t b = 1; b < blocks.size(); b++)
      result[a][b] = all.count(blocks[b]) && !others.count(blocks[b]);
  }
  return result;
}

// The strict dominator of b below all its others; `none` if there isn't one.
int nearest(const std::vector<std::vector<bool>>& dominates, size_t b, int none) {
  size_t best = 0;
  for (size_t a = 1; a < dominates.size(); a++)
    if (a != b && dominates[a][b] && (!best || dominates[best][a])) best = a;
  return best ? static_cast<int>(best) : none;
}

// An environment variable may ask for more cases, or for others.
long setting(const char* variable, long usual) {
  const char* text = getenv(variable);
  return text ? atol(text) : usual;
}

} // namespace

class Loops : public IrTest {
protected:
  std::mt19937 random;
  size_t roll(size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); }

  void make_nest(int depth);

  void drop_function() {
    lva_cleanup();
    erase_trees();
    EXPECT_EQ(currfuninfo->memory.live_nodes, 0);
    erase_all();
    currfuninfo->scope = LS::init(nullptr, func);
  }

  NODE* any_condition() { return op(LT, name(x), icon(static_cast<long>(roll(3)))); }

  // Any graph that a front end could write, and many that it wouldn't.
  void make_random_function(size_t blocks, bool entry_may_be_target) {
    if (!entry_may_be_target) stmt(mk_ASG(name(x), icon(0)));
    auto target = [&] { return label_ref(static_cast<int>(roll(blocks)) + 1); };
    auto near_target = [&](size_t k) { // as of structured code
      const size_t low = k > 2 ? k - 2 : 0, high = std::min(blocks, k + 3);
      return label_ref(static_cast<int>(low + roll(high - low)) + 1);
    };
    const bool is_near = roll(2);
    for (size_t k = 0; k < blocks; k++) {
      label(static_cast<int>(k) + 1);
      if (roll(2)) stmt(mk_ASG(name(roll(2) ? x : y), op(PLUS, name(roll(2) ? x : y), icon(1))));
      auto to = [&] { return is_near ? near_target(k) : target(); };
      switch (roll(8)) {
      case 0: stmt(maketree(RETURN, name(func), name(x), tp->mk_void())); break;
      case 1: stmt(maketree(BRANCH, to(), nullptr, tp->mk_void())); break;
      case 2: {
        NODE* cases = nullptr;
        for (size_t n = roll(4); n-- > 0;) {
          NODE* item = maketree(CASE, icon(static_cast<long>(n)), to(), tp->mk_void());
          cases = cases ? maketree(COMMA, cases, item, tp->mk_void()) : item;
        }
        NODE* last = maketree(DEFAULT, to(), nullptr, tp->mk_void());
        stmt(maketree(SWITCH, name(x), cases ? maketree(COMMA, cases, last, tp->mk_void()) : last,
                      tp->mk_void()));
        break;
      }
      case 3: break; // falls through
      default: stmt(maketree(CBRANCH, any_condition(), to(), tp->mk_void()));
      }
    }
    buildcfg();
  }

  void check_dominators() {
    compute_dominators(false);
    Dominator& found = *currfuninfo->dominators;
    const std::vector<BBLK*> blocks = blocks_in_order();
    const int exit = currfuninfo->bb_count + 1;
    std::vector<const BBLK*> ends, ways_round;
    for (size_t b = 1; b < blocks.size(); b++) {
      const EDGE* e = blocks[b]->successors;
      if (!e) ends.push_back(blocks[b]);
      if (e && !e->rest && e->first->dfn <= blocks[b]->dfn) ways_round.push_back(blocks[b]);
    }
    const auto dom = dominance({currfuninfo->bb_list}, &BBLK::successors);
    const auto post = dominance(ends.empty() ? ways_round : ends, &BBLK::predecessors);
    for (int b = 1; b < exit; b++) {
      ASSERT_EQ(found.immediate_dominator(b), nearest(dom, b, 0)) << "of BB" << b;
      ASSERT_EQ(found.immediate_post_dominator(b), nearest(post, b, exit)) << "of BB" << b;
      for (int a = 1; a < exit; a++) {
        ASSERT_EQ(found.dominates(a, b), dom[a][b]) << a << ", " << b;
        ASSERT_EQ(found.post_dominates(a, b), a == b || post[a][b]) << a << ", " << b;
      }
    }
    ASSERT_EQ(found.depth_first_doms().size(), blocks.size() - 1);
    std::set<const BBLK*> met;
    for (const BBLK* bb : found.depth_first_doms()) {
      ASSERT_TRUE(bb->dfn == 1 || met.count(blocks[found.immediate_dominator(bb)]));
      met.insert(bb);
    }
    ASSERT_STREQ(dominators_fault(), nullptr);
  }

  // The targets of each block that was there from the first, looking through those that weren't.
  static std::map<size_t, std::set<size_t>> original_edges() {
    std::map<size_t, std::set<size_t>> edges;
    for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
      if (bb->uon < 0) continue;
      for (const EDGE* e = bb->successors; e; e = e->rest) {
        const BBLK* to = e->first;
        while (to->uon < 0)
          to = to->successors->first;
        edges[bb->serial()].insert(to->serial());
      }
    }
    return edges;
  }

  // Of the graph as it stands: does some way round have no block that all ways to it pass?
  static bool is_irreducible() {
    const auto dom = dominance({currfuninfo->bb_list}, &BBLK::successors);
    for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
      for (const EDGE* e = bb->successors; e; e = e->rest)
        if (e->first->dfn <= bb->dfn && !dom[e->first->dfn][bb->dfn]) return true;
    return false;
  }

  static void collect(const LOOP* loop, BLOCK_SET& members) {
    for (const EDGE* e = loop->contents; e; e = e->rest)
      if (e->first->loop == loop)
        members.insert(e->first);
      else
        collect(e->first->loop, members);
  }

  // Is it what its definition says? Every loop is held against the blocks that reach its latch.
  static void check_loop(const LOOP* loop, std::set<const BBLK*>& headers) {
    ASSERT_TRUE(headers.insert(loop->head).second);
    std::vector<const BBLK*> latches;
    for (const EDGE* e = loop->head->predecessors; e; e = e->rest)
      if (e->first != loop->preheader) latches.push_back(e->first);
    ASSERT_EQ(latches, std::vector<const BBLK*>{loop->tail});
    BLOCK_SET body = reached(latches, &BBLK::predecessors, loop->head);
    body.insert(loop->head);
    BLOCK_SET members, exits, claimed;
    collect(loop, members);
    ASSERT_EQ(members, body);
    ASSERT_EQ(loop->tail->loop, loop);
    ASSERT_FALSE(body.count(loop->preheader));
    ASSERT_EQ(loop->preheader->loop, loop->parent);
    ASSERT_EQ(edge_length(loop->preheader->successors), 1);
    ASSERT_EQ(loop->preheader->successors->first, loop->head);
    bool is_improper = false;
    for (const BBLK* bb : body)
      for (const EDGE* e = bb->successors; e; e = e->rest)
        if (!body.count(e->first)) {
          exits.insert(e->first);
          is_improper |= bb != loop->tail;
        }
    for (const EDGE* e = loop->exitBBs; e; e = e->rest) {
      claimed.insert(e->first);
      for (const EDGE* from = e->first->predecessors; from; from = from->rest)
        ASSERT_TRUE(body.count(from->first));
    }
    ASSERT_EQ(claimed, exits);
    ASSERT_EQ(loop->has_improper_exit, is_improper);
    ASSERT_EQ(loop->level, loop->parent->level + 1);
    for (LOOP* inner : inner_loops(loop))
      check_loop(inner, headers);
  }

  void check_loops() {
    const auto edges = original_edges();
    const bool expect_none = currfuninfo->bb_list->predecessors != nullptr;
    const bool expect_irreducible = is_irreducible();
    build_minimal_loop_hierarchy(false);
    verify_function("loops");
    ASSERT_EQ(original_edges(), edges);
    const LOOP* root = currfuninfo->loop_root;
    if (expect_none) {
      ASSERT_EQ(root, nullptr);
      return;
    }
    ASSERT_EQ(root->irreducible, expect_irreducible);
    ASSERT_STREQ(loops_fault(), nullptr);
    ASSERT_EQ(root->uid, 0);
    ASSERT_EQ(root->level, 0);
    if (expect_irreducible) {
      ASSERT_EQ(currfuninfo->loops.size(), 1u);
      return;
    }
    std::set<const BBLK*> headers, targets;
    for (LOOP* loop : inner_loops(root))
      check_loop(loop, headers);
    for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
      for (const EDGE* e = bb->successors; e; e = e->rest)
        if (e->first->dfn <= bb->dfn) targets.insert(e->first);
    ASSERT_EQ(headers, targets);
  }

  // x is live where some way leads to a read of it past no assignment.
  void check_live_variables() {
    sym_split(currfuninfo);
    find_live_variables(0, false);
    if (lva_sym_count == 0) return;
    ASSERT_STREQ(live_sets_fault(), nullptr);
    for (SYMTAB* sym : {x, y}) {
      const int k = lva_index(sym);
      ASSERT_GE(k, 0);
      for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
        ASSERT_EQ(bb->live_in->bv_test(k), is_live(sym, bb)) << sym->name << " in BB" << bb->dfn;
    }
  }

  static bool is_live(const SYMTAB* sym, const BBLK* start) {
    BLOCK_SET met{start};
    std::vector<const BBLK*> pending{start};
    while (!pending.empty()) {
      const BBLK* bb = pending.back();
      pending.pop_back();
      bool is_written = false;
      for (const LIST* s = bb->statements; s && !is_written; s = s->next) {
        const bool writes = s->tree->op == ASG && s->tree->left->u.sym == sym;
        if (sym_appears_in_tree(sym, s->tree->op == ASG ? s->tree->right : s->tree)) return true;
        is_written = writes;
      }
      if (is_written) continue;
      for (const EDGE* e = bb->successors; e; e = e->rest)
        if (met.insert(e->first).second) pending.push_back(e->first);
    }
    return false;
  }

  SYMTAB *x = nullptr, *y = nullptr;
};

// Loops right in one another, `depth` of them, around nothing.
void Loops::make_nest(int depth) {
  stmt(icon(0));
  for (int k = 1; k <= depth; k++) {
    label(k);
    branch(depth + k);
    label(depth + k);
  }
  for (int k = depth; k >= 1; k--)
    cbranch(icon(1), k);
  buildcfg();
}

// while (x < 1) while (x < 2) x = x + 1;  -- the inner test is the way round of both loops
TEST_F(Loops, HaveALatchOfTheirOwn) {
  x = variable("x");
  stmt(icon(0));
  label(1);
  cbranch(op(LT, name(x), icon(1)), 3);
  label(2);
  cbranch(op(LT, name(x), icon(2)), 1);
  stmt(mk_ASG(name(x), op(PLUS, name(x), icon(1))));
  branch(2);
  label(3);
  buildcfg();
  build_minimal_loop_hierarchy(true);
  verify_function("loops");
  ASSERT_STREQ(loops_fault(), nullptr);
  const LOOP* root = currfuninfo->loop_root;
  EXPECT_FALSE(root->irreducible);
  ASSERT_EQ(inner_loops(root).size(), 1u);
  const LOOP* outer = inner_loops(root)[0];
  ASSERT_EQ(inner_loops(outer).size(), 1u);
  const LOOP* inner = inner_loops(outer)[0];
  EXPECT_EQ(outer->tail->loop, outer);
  EXPECT_TRUE(loop_is_innermost(inner));
  EXPECT_TRUE(loop_encloses(root, inner) && loop_encloses(outer, inner));
  EXPECT_FALSE(loop_encloses(inner, outer));
  EDGE* headers = build_list_of_innermost_loop_headers(currfuninfo->loop_root, nullptr);
  ASSERT_EQ(edge_length(headers), 1);
  EXPECT_EQ(headers->first, inner->head);
  erase_edge_list(headers);

  LOOP* copy = make_LOOP(nullptr, nullptr, -1, outer);
  EXPECT_EQ(copy->head, outer->head);
  EXPECT_EQ(copy->uid, outer->uid);
  EXPECT_NE(copy->contents, outer->contents);
  EXPECT_EQ(edge_length(copy->contents), edge_length(outer->contents));
  unbuild_loop_hierarchy();
  EXPECT_EQ(currfuninfo->bb_list->loop, nullptr);
  build_minimal_loop_hierarchy(true); // as often as you like
  EXPECT_STREQ(loops_fault(), nullptr);
}

TEST_F(Loops, AreNotBuiltWhereThereAreNone) {
  stmt(icon(0));
  buildcfg();
  build_minimal_loop_hierarchy(true);
  EXPECT_EQ(currfuninfo->loop_root, nullptr);
  build_minimal_loop_hierarchy(false);
  ASSERT_NE(currfuninfo->loop_root, nullptr);
  EXPECT_EQ(currfuninfo->bb_list->loop, currfuninfo->loop_root);
}

// Whatever is broken in the tree is told; what can be put right is.
TEST_F(Loops, AreHeldAgainstTheGraph) {
  make_nest(3);
  build_minimal_loop_hierarchy(true);
  LOOP* root = currfuninfo->loop_root;
  LOOP* outer = inner_loops(root)[0];
  LOOP* inner = inner_loops(outer)[0];
  BBLK* exit = outer->exitBBs->first;
  const LOOP kept_outer = *outer, kept_inner = *inner;
  auto fault_after = [&](const std::function<void()>& damage) {
    damage();
    const char* fault = loops_fault();
    const std::string text = fault ? fault : "";
    *outer = kept_outer;
    *inner = kept_inner;
    root->irreducible = false;
    for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
      bb->loop = nullptr;
    for (const auto& loop : currfuninfo->loops)
      for (const EDGE* e = loop->contents; e; e = e->rest)
        if (!e->first->loop || e->first->loop->level < loop->level) e->first->loop = loop.get();
    EXPECT_STREQ(loops_fault(), nullptr);
    return text.substr(0, text.find('\n'));
  };
  EXPECT_EQ(fault_after([&] { outer->level = 7; }),
            " ----- Loop 0 has inner loop 1 with wrong level");
  EXPECT_EQ(fault_after([&] { inner->parent = root; }),
            " +++++ Loop 1 inner loop 2 has wrong parent: 0");
  EXPECT_EQ(fault_after([&] { outer->parent = inner; }),
            " +++++ Loop 0 inner loop 1 has wrong parent: 2");
  EXPECT_EQ(fault_after([&] { outer->head = outer->tail; }),
            " +++++ " + outer->head->str() + " incorrectly thinks it's NOT in Loop 0");
  EXPECT_EQ(fault_after([&] { outer->tail = inner->tail; }),
            " +++++ Loop 1 tail is missing or invalid");
  EXPECT_EQ(fault_after([&] { outer->preheader = nullptr; }),
            " +++++ Loop 1 preheader is missing or invalid");
  EXPECT_EQ(fault_after([&] { outer->preheader = exit; }),
            " +++++ Loop 1 header has improper predecessors");
  EXPECT_EQ(fault_after([&] { exit->loop = nullptr; }), "a block is in no loop, not even the root");
  EXPECT_EQ(fault_after([&] { exit->loop = outer; }),
            " +++++ " + exit->str() + " incorrectly thinks it's NOT in Loop 0");
  EXPECT_EQ(fault_after([&] { outer->exitBBs = inner->contents; }),
            " +++++ Loop 1 has improper exit " + inner->contents->first->str());
  EXPECT_EQ(fault_after([&] { root->irreducible = true; }),
            " +++++ " + outer->head->str() + " in Loop1 should be in the irreducible loop0");

  outer->level = inner->level = 9;
  EXPECT_EQ(validate_loop(root, 1), 0);
  EXPECT_EQ(outer->level, 1);
  EXPECT_EQ(inner->level, 2);
}

// No walk needs a stack for each block, and none goes over all blocks for each.
TEST_F(Loops, OfLargeGraphs) {
  make_nest(32000);
  build_minimal_loop_hierarchy(true);
  EXPECT_EQ(currfuninfo->loops.size(), 32001u);
  EXPECT_TRUE(currfuninfo->dominators->dominates(1, currfuninfo->bb_count));
  drop_function();
  make_nest(SHRT_MAX + 1);
  EXPECT_EXIT(build_minimal_loop_hierarchy(true), ::testing::ExitedWithCode(1),
              "Too many nested loops:  32768\n");
}

TEST_F(Loops, OfRandomGraphs) {
  x = variable("x");
  y = variable("y");
#if defined(__SANITIZE_ADDRESS__)
  constexpr long usual_count = 10000;
#else
  constexpr long usual_count = 100000;
#endif
  const long first = setting("VRX_GRAPHS_SEED", 1), count = setting("VRX_GRAPHS", usual_count);
  for (long seed = first; seed < first + count && !HasFatalFailure(); seed++) {
    SCOPED_TRACE("VRX_GRAPHS=1 VRX_GRAPHS_SEED=" + std::to_string(seed));
    random.seed(static_cast<unsigned>(seed));
    make_random_function(1 + roll(12), roll(20) == 0);
    verify_function("building");
    check_live_variables();
    check_dominators();
    check_loops();
    check_dominators();
    if (currfuninfo->loop_root && roll(4) == 0) {
      split_critical_edges(roll(2));
      verify_function("splitting");
      check_dominators();
    }
    drop_function();
  }
}

// What is known of a block stands at its head, and its statements as deep as its loop.
TEST_F(Loops, AreShownWithTheirNesting) {
  x = variable("x");
  stmt(icon(0));
  label(1);
  stmt(icon(0));
  label(2);
  cbranch(op(LT, name(x), icon(1)), 2);
  cbranch(op(LT, name(x), icon(2)), 1);
  NODE* sum = name(x);
  for (int k = 0; k < 100000; k++)
    sum = op(PLUS, sum, icon(1));
  stmt(mk_ASG(name(x), sum));
  buildcfg();
  build_minimal_loop_hierarchy(true);
  BBLK* head = inner_loops(inner_loops(currfuninfo->loop_root)[0])[0]->head;
  head->dFreqIn = 12.5;
  head->successors->prob = 0.25;
  char* text = nullptr;
  size_t size = 0;
  FILE* to = open_memstream(&text, &size);
  print_infix(to);
  fclose(to);
  const std::string shown(text, size);
  free(text);
  const std::string at_head = head->str() + ": ";
  const size_t place = shown.find("\n      " + at_head);
  ASSERT_NE(place, std::string::npos) << shown.substr(0, 1000);
  const std::string line = shown.substr(place + 7, shown.find('\n', place + 1) - place - 7);
  EXPECT_NE(line.find("(0.25)"), std::string::npos) << line;
  EXPECT_NE(line.find(", 12.5 times, loop 2 level 2 head"), std::string::npos) << line;
  EXPECT_NE(shown.find("\n        if (x < 1) goto "), std::string::npos);
  EXPECT_NE(shown.find("\n    x = x + 1 + 1 + 1"), std::string::npos);
}
