// Dominators and loops on graphs of 1,000, 10,000 and 100,000 blocks. The dominators are those of
// Boost's lengauer_tarjan_dominator_tree, which is timed on the same graphs.
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/loop.h"
#include "OPT5/optables.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/types.h"

#include <benchmark/benchmark.h>
#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/dominator_tree.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>

namespace {

// A function of nothing but branches, which is the current one while it lives.
class FUNCTION {
public:
  FUNCTION() {
    tp = TYPE_PKG::init_type_pkg();
    init_opcode_tables();
    init_symbols();
    auto* func = new SYMTAB;
    func->name = strdup("f");
    func->type = func->otype = tp->mk_func(tp->mk_plain_int(), true, false, 0, false, {});
    currfunc = func;
    currfuninfo = make_FUNINFO(func);
    currfuninfo->scope = LS::init(nullptr, func);
    put(mk_ICON(0, tp->mk_plain_int()));
  }
  ~FUNCTION() {
    for (BBLK* bb = currfuninfo->uon_list; bb; bb = bb->uon_link)
      erase_tree_list(bb->statements);
    erase_all();
    erase_all_FUNINFOs();
    erase_all_symbols();
    erase_type_caches();
    delete tp;
    tp = nullptr;
    TYPE_PKG::tp_count--;
    currfuninfo = nullptr;
  }
  FUNCTION(const FUNCTION&) = delete;
  FUNCTION& operator=(const FUNCTION&) = delete;

  void label(int number) {
    NODE* node = alloc_node(LABELDEF, tp->mk_void());
    node->ival = number;
    put(node);
  }
  void branch(int number) { put(maketree(BRANCH, reference(number), nullptr, tp->mk_void())); }
  void cbranch(int number) {
    put(maketree(CBRANCH, mk_ICON(1, tp->mk_plain_int()), reference(number), tp->mk_void()));
  }
  void switch_over(int first, int last) {
    NODE* cases = maketree(DEFAULT, reference(first), nullptr, tp->mk_void());
    for (int k = first + 1; k <= last; k++)
      cases = maketree(COMMA, cases,
                       maketree(CASE, mk_ICON(k, tp->mk_plain_int()), reference(k), tp->mk_void()),
                       tp->mk_void());
    put(maketree(SWITCH, mk_ICON(1, tp->mk_plain_int()), cases, tp->mk_void()));
  }

private:
  LIST* newest = nullptr;
  static NODE* reference(int number) {
    NODE* node = alloc_node(LABEL, tp->mk_void());
    node->ival = number;
    return node;
  }
  void put(NODE* tree) {
    LIST* cell = mkelist(tree, nullptr, nullptr);
    (newest ? newest->next : currfuninfo->stmts) = cell;
    newest = cell;
  }
};

// Each makes about n blocks, labelled from 1.
void make_chain(FUNCTION& f, int n) {
  for (int k = 1; k < n; k++) {
    f.branch(k);
    f.label(k);
  }
}

void make_diamonds(FUNCTION& f, int n) {
  for (int k = 1; k + 3 < n; k += 3) { // two arms and what joins them
    f.cbranch(k);
    f.branch(k + 1);
    f.label(k);
    f.label(k + 1);
  }
}

void make_nest(FUNCTION& f, int n) {
  const int depth = std::min(n / 2, 30000);
  for (int k = 1; k <= depth; k++)
    f.label(k), f.branch(depth + k), f.label(depth + k);
  for (int k = depth; k >= 1; k--)
    f.cbranch(k);
}

// Loops one after the other, each with a loop in it.
void make_loops(FUNCTION& f, int n) {
  for (int k = 1; k + 4 < n; k += 4) {
    f.label(k);
    f.branch(k + 1);
    f.label(k + 1);
    f.cbranch(k + 1);
    f.cbranch(k);
  }
}

void make_switch(FUNCTION& f, int n) {
  f.switch_over(1, n);
  for (int k = 1; k <= n; k++) {
    f.label(k);
    f.branch(n + 1);
  }
  f.label(n + 1);
}

void make_web(FUNCTION& f, int n) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> any(1, n);
  for (int k = 1; k <= n; k++) {
    f.label(k);
    f.cbranch(any(random));
  }
}

using SHAPE = void (*)(FUNCTION&, int);

void dominators(benchmark::State& state, SHAPE shape) {
  FUNCTION f;
  shape(f, static_cast<int>(state.range(0)));
  buildcfg();
  compute_dominators(false);
  for (auto _ : state)
    currfuninfo->dominators->rebuild();
  state.SetComplexityN(currfuninfo->bb_count);
}

using GRAPH = boost::adjacency_list<boost::vecS, boost::vecS, boost::bidirectionalS>;

// Dominators of the blocks' graph, and of the same against its edges from a virtual exit.
GRAPH graph_of_blocks(bool backward) {
  const size_t count = currfuninfo->bb_count;
  GRAPH graph(count + 2);
  for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    if (backward && !bb->successors) boost::add_edge(count + 1, bb->dfn, graph);
    for (const EDGE* e = bb->successors; e; e = e->rest)
      backward ? boost::add_edge(e->first->dfn, bb->dfn, graph)
               : boost::add_edge(bb->dfn, e->first->dfn, graph);
  }
  if (!backward) boost::add_edge(0, 1, graph);
  return graph;
}

std::vector<size_t> immediate_dominators(const GRAPH& graph, size_t root) {
  constexpr size_t none = static_cast<size_t>(-1);
  std::vector<size_t> above(boost::num_vertices(graph), none);
  boost::lengauer_tarjan_dominator_tree(
      graph, root,
      boost::make_iterator_property_map(above.begin(), boost::get(boost::vertex_index, graph)));
  return above;
}

void dominators_by_boost(benchmark::State& state, SHAPE shape) {
  FUNCTION f;
  shape(f, static_cast<int>(state.range(0)));
  buildcfg();
  const size_t exit_place = currfuninfo->bb_count + 1;
  const GRAPH forward = graph_of_blocks(false), backward = graph_of_blocks(true);
  std::vector<size_t> idom, ipostdom;
  for (auto _ : state) {
    idom = immediate_dominators(forward, 0);
    ipostdom = immediate_dominators(backward, exit_place);
  }
  compute_dominators(false);
  for (size_t k = 1; k < exit_place; k++) {
    const auto above = static_cast<size_t>(currfuninfo->dominators->idom[k]);
    const auto below = static_cast<size_t>(currfuninfo->dominators->ipostdom[k]);
    // What has no way to the exit has no post-dominator for Boost.
    if (above != idom[k] || (below != ipostdom[k] && below != exit_place)) {
      fprintf(stderr, "dominators of BB%zu differ\n", k);
      std::exit(1);
    }
  }
  state.SetComplexityN(currfuninfo->bb_count);
}

void loops(benchmark::State& state, SHAPE shape) {
  FUNCTION f;
  shape(f, static_cast<int>(state.range(0)));
  buildcfg();
  build_minimal_loop_hierarchy(false); // inserts its blocks
  for (auto _ : state)
    build_minimal_loop_hierarchy(false);
  state.SetComplexityN(currfuninfo->bb_count);
}

const struct {
  const char* name;
  SHAPE make;
} shapes[] = {{"chain", make_chain}, {"diamonds", make_diamonds}, {"nest", make_nest},
              {"loops", make_loops}, {"switch", make_switch},     {"web", make_web}};

const struct {
  const char* name;
  void (*run)(benchmark::State&, SHAPE);
} measures[] = {{"dominators", dominators}, {"boost", dominators_by_boost}, {"loops", loops}};

[[maybe_unused]] const bool are_registered = [] {
  for (const auto& shape : shapes)
    for (const auto& measure : measures)
      benchmark::RegisterBenchmark((std::string(measure.name) + "/" + shape.name).c_str(),
                                   measure.run, shape.make)
          ->RangeMultiplier(10)
          ->Range(1000, 100000)
          ->Complexity()
          ->Unit(benchmark::kMicrosecond);
  return true;
}();

} // namespace
