// From a function's statement list to blocks in depth-first order, and back to that order after
// changes. Tail-recursive self-calls become branches on the way.
//
//   a; if (!c) goto L; b; L: d;  -->  BB1: a, IF(!c, (BB3, BB2))  BB2: b, BRANCH BB3  BB3: d, ...

#include "DIAG/abort.h"
#include "OPT5/bblk.h"
#include "OPT5/counters.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/memory.h"
#include "OPT5/profile.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/tailcall.h"
#include "OPT5/treewalk.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

static COUNTER unreachable_blocks("graph", "unreachable blocks dropped");

// Labels of the function whose graph is being built, by number.
static thread_local std::map<int, LBL*> label_mapping;

LBL* mklabel(int number, LBL* chain, BBLK* bb) {
  LBL*& newest = currfuninfo->newest_label;
  return newest =
             current_memory().arena.make<LBL>(number, static_cast<short>(0), bb, chain, newest);
}

LBL* find_label(int number) {
  // Only labels that something refers to are renumbered with the blocks: another may still have
  // the same number from before.
  LBL *oldest = nullptr, *newest_unreferenced = nullptr;
  for (LBL* label = currfuninfo->newest_label; label; label = label->older) {
    if (number < 0 || label->number != number || !label->bb || label->bb->label != label) continue;
    if (label->refcount)
      oldest = label;
    else if (!newest_unreferenced)
      newest_unreferenced = label;
  }
  if (oldest) return oldest;
  if (newest_unreferenced) return newest_unreferenced;
  fprintf(stderr, "\n!!! COMPILER (OPTIMIZER) ERROR IN 'find_label', INDEX=%d !!!\n", number);
  abort_optimizer();
}

BBLK* mkbblock(LIST* statements, BBLK* uon_next, FUNINFO* fi) {
  auto* bb = new (fi->memory.arena.alloc(sizeof(BBLK))) BBLK(fi);
  bb->statements = statements;
  bb->uon_link = uon_next;
  for (const LIST* s = statements; s; s = s->next) {
    if (!s->psn) continue;
    if (!bb->first_psn) bb->first_psn = s->psn;
    bb->last_psn = s->psn;
  }
  return bb;
}

// ---------------------------------------------------------------------------------------------
// Cutting the statement list

namespace {

bool ends_block(int op) {
  return op == RETURN || op == BRANCH || op == URETURN || op == CBRANCH || op == IF || op == SWITCH;
}

NODE* unresolved_label(int number) {
  NODE* node = alloc_node(LABEL, tp->mk_void());
  node->ival = number;
  return node;
}

// COMMA list of the switch's cases, the DEFAULT last. A missing default gets an unresolved label
// that the caller binds to what follows; it is returned.
NODE* normalize_switch(NODE* stmt) {
  std::vector<NODE*> items;
  NODE* list = stmt->right;
  while (list->op == COMMA) {
    NODE* comma = list;
    items.push_back(comma->right);
    list = comma->left;
    comma->left = comma->right = nullptr;
    erase_node(comma);
  }
  items.push_back(list);
  NODE* open_label = nullptr;
  NODE* by_default = nullptr;
  NODE* cases = nullptr;
  int count = 0;
  for (size_t k = items.size(); k-- > 0;) {
    NODE* item = items[k];
    if (item->op == DEFAULT) {
      if (by_default)
        erase_tree(item);
      else
        by_default = item;
      continue;
    }
    count++;
    cases = cases ? maketree(COMMA, cases, item, tp->mk_void()) : item;
  }
  if (!by_default) {
    open_label = unresolved_label(-1);
    by_default = maketree(DEFAULT, open_label, nullptr, tp->mk_void());
  }
  stmt->right = cases ? maketree(COMMA, cases, by_default, tp->mk_void()) : by_default;
  stmt->ival = count;
  return open_label;
}

class GRAPH_BUILDER {
public:
  explicit GRAPH_BUILDER(FUNINFO* record) : fi(record) {}

  void cut(LIST* list) {
    if (list->tree->op == URETURN && !list->next) { // nothing but the way out
      start_with_exit_block(list);
      first_block = exit_block;
      return;
    }
    start_with_exit_block(mkelist(return_statement(), nullptr, fi->end_psn));
    for (LIST* next; list; list = next) {
      next = list->next;
      list->next = nullptr;
      if (list->tree->op == LABELDEF) {
        define_label(list->tree);
        erase_tree_list(list);
        continue;
      }
      if (!current) open_block();
      append(list);
      if (ends_block(list->tree->op)) close_block(list);
    }
  }

  void resolve_labels() {
    for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link)
      for (LIST* s = bb->statements; s; s = s->next)
        walk_preorder(s->tree, [](NODE* ref) {
          if (ref->op != LABEL || ref->label) return true;
          auto place = label_mapping.find(ref->label_id());
          LBL* label = place != label_mapping.end() ? place->second : find_label(ref->label_id());
          ref->label = label->chain ? label->chain : label;
          count_up(ref->label->refcount);
          return true;
        });
  }

  void connect() {
    int uon = 0;
    for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link) {
      bb->uon = uon++;
      const NODE* control = bb->last_statement()->tree;
      bb->successors = rev_edge_list(list_branch_targets(control, nullptr));
    }
    fi->bb_count = uon;
  }

  BBLK* first_block = nullptr;

private:
  FUNINFO* fi;
  BBLK* exit_block = nullptr;
  BBLK* newest = nullptr;     // end of the chain in order of creation
  BBLK* current = nullptr;    // block being filled
  LIST* last = nullptr;       // its last statement
  std::vector<NODE*> waiting; // labels of what follows, still to be bound

  void add_to_chain(BBLK* bb) {
    (newest ? newest->uon_link : fi->uon_list) = bb;
    newest = bb;
  }

  NODE* return_statement() {
    LS* scope = fi->scope ? fi->scope->level_2_scope() : nullptr;
    return maketree(URETURN, mk_NAME(fi->symbol, scope), nullptr, tp->mk_void(), scope);
  }

  void start_with_exit_block(LIST* statement) {
    exit_block = mkbblock(statement, nullptr, fi);
    exit_block->label = mklabel(-1, nullptr, exit_block);
    fi->bb_list = exit_block;
    add_to_chain(exit_block);
  }

  void open_block() {
    current = mkbblock(nullptr, nullptr, fi);
    current->label = mklabel(-1, nullptr, current);
    last = nullptr;
    if (!first_block) first_block = current;
    add_to_chain(current);
    for (NODE* ref : waiting)
      bind(ref, current);
    waiting.clear();
  }

  static void bind(NODE* ref, BBLK* bb) {
    ref->label = bb->label;
    count_up(ref->label->refcount);
  }

  void append(LIST* cell) {
    (last ? last->next : current->statements) = cell;
    last = cell;
    if (!cell->psn) return;
    if (!current->first_psn) current->first_psn = cell->psn;
    current->last_psn = cell->psn;
  }

  void define_label(const NODE* def) {
    const int number = def->label_id();
    if (current && current->statements) fall_through();
    if (!current) open_block();
    LBL* label = mklabel(number, current->label, current);
    if (!label_mapping.emplace(number, label).second) {
      std::string text = "Label " + std::to_string(number) + " is defined twice";
      abort_optimizer(text.c_str());
    }
  }

  // The open block runs into the next one.
  void fall_through() {
    NODE* ref = unresolved_label(0);
    append(mkelist(maketree(BRANCH, ref, nullptr, tp->mk_void()), nullptr, nullptr));
    waiting.push_back(ref);
    current = nullptr;
  }

  void close_block(LIST* cell) {
    NODE* tree = cell->tree;
    switch (tree->op) {
    case RETURN: { // the value stays here; the way out is the exit block's
      NODE* ref = alloc_node(LABEL, tp->mk_void());
      bind(ref, exit_block);
      append(mkelist(maketree(BRANCH, ref, nullptr, tp->mk_void(), tree->ls), nullptr, cell->psn));
      break;
    }
    case URETURN: {
      NODE* ref = alloc_node(LABEL, tp->mk_void());
      bind(ref, exit_block);
      if (tree->left) ref->profile_count = tree->left->profile_count;
      cell->tree = maketree(BRANCH, ref, nullptr, tp->mk_void(), tree->ls);
      erase_tree(tree);
      break;
    }
    case CBRANCH: { // c, L  -->  IF(c, (L, next))
      NODE* next = unresolved_label(0);
      if (tree->left->profile_count != NO_COUNT && tree->right->profile_count != NO_COUNT &&
          count_calls_in_tree(tree->left) == 0)
        next->profile_count = tree->left->profile_count -
                              std::min(tree->left->profile_count, tree->right->profile_count);
      tree->op = IF;
      tree->right = maketree(COMMA, tree->right, next, tp->mk_void(), tree->ls);
      waiting.push_back(next);
      break;
    }
    case SWITCH:
      if (NODE* open_label = normalize_switch(tree)) waiting.push_back(open_label);
      break;
    default: break;
    }
    current = nullptr;
  }
};

// ---------------------------------------------------------------------------------------------
// Depth-first order

// First the successors with one successor, then those with several, in their old order; last those
// with none, reversed. The later a successor stands, the nearer it is numbered.
void reorder_successors(BBLK* bb) {
  EDGE *one = nullptr, *several = nullptr, *none = nullptr;
  EDGE **one_tail = &one, **several_tail = &several;
  for (EDGE *e = bb->successors, *rest; e; e = rest) {
    rest = e->rest;
    e->rest = nullptr;
    if (!e->first->successors) {
      e->rest = none;
      none = e;
    } else if (!e->first->successors->rest) {
      *one_tail = e;
      one_tail = &e->rest;
    } else {
      *several_tail = e;
      several_tail = &e->rest;
    }
  }
  *several_tail = none;
  *one_tail = several;
  bb->successors = one;
}

// Reverse post-order from the entry. While a block is open, dflink is its parent in the walk.
void order_depth_first(BBLK* entry) {
  FUNINFO* fi = currfuninfo;
  for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link) {
    reorder_successors(bb);
    bb->dfs_cursor = bb->successors;
    bb->dfn = 0;
  }
  int count = fi->bb_count;
  BBLK* chain = nullptr;
  BBLK* bb = entry;
  bb->dflink = nullptr;
  bb->dfn = 1;
  while (bb) {
    if (EDGE* e = bb->dfs_cursor) {
      bb->dfs_cursor = e->rest;
      if (e->first->dfn != 0) continue;
      e->first->dfn = 1;
      e->first->dflink = bb;
      bb = e->first;
      continue;
    }
    BBLK* parent = bb->dflink;
    bb->dfn = count--;
    bb->dflink = chain;
    chain = bb;
    bb = parent;
  }
  fi->bb_list = chain;
}

bool names_a_lost_label(const NODE* tree) {
  return tree_contains_matching_node(tree, [](const NODE* node) {
    return node->op == LABEL && (!node->label || !node->label->bb);
  });
}

// The marks of a repeat block name labels without leading there.
void drop_marks_of_lost_labels() {
  for (BBLK* bb = currfuninfo->uon_list; bb; bb = bb->uon_link)
    for (LIST** place = &bb->statements; *place;) {
      LIST* cell = *place;
      const bool is_mark = cell->tree->op == LOOP_OP || cell->tree->op == ENDLOOP;
      if (!is_mark || !names_a_lost_label(cell->tree)) {
        place = &cell->next;
        continue;
      }
      *place = cell->next;
      cell->next = nullptr;
      erase_tree_list(cell);
    }
}

void drop_unreached() {
  FUNINFO* fi = currfuninfo;
  int count = 0;
  BBLK* previous = nullptr;
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
    CHECK(!bb->visited);
    bb->visited = true;
    for (EDGE* e = bb->successors; e; e = e->rest)
      e->first->predecessors = mkedge(bb, e->first->predecessors);
    bb->dfn = ++count;
    bb->rdflink = previous;
    if (bb->label) bb->label->number = bb->dfn;
    previous = bb;
  }
  fi->bb_list->rdflink = previous;
  for (BBLK** place = &fi->uon_list; *place;) {
    BBLK* bb = *place;
    bb->visited = false;
    if (bb->dfn != 0) {
      place = &bb->uon_link;
      continue;
    }
    unreachable_blocks.count();
    print_if_debug("\nUNREACHABLE BASIC BLOCK: UON==%d\n", bb->uon);
    *place = bb->uon_link;
    erase_tree_list(bb->statements);
    bb->statements = nullptr;
    erase_bblock(bb);
  }
  fi->bb_count = count;
  drop_marks_of_lost_labels();
  mark_dominators_stale();
}

} // namespace

void buildcfg() {
  FUNINFO* fi = currfuninfo;
  label_mapping.clear();
  LIST* list = fi->stmts;
  fi->stmts = nullptr;
  LIST* last = list;
  while (last && last->next)
    last = last->next;
  if (!last ||
      (last->tree->op != RETURN && last->tree->op != BRANCH && last->tree->op != URETURN)) {
    LS* scope = fi->scope ? fi->scope->level_2_scope() : nullptr;
    NODE* done = maketree(URETURN, mk_NAME(fi->symbol, scope), nullptr, tp->mk_void(), scope);
    (last ? last->next : list) = mkelist(done, nullptr, fi->end_psn);
  }

  GRAPH_BUILDER builder(fi);
  builder.cut(list);
  builder.resolve_labels();
  builder.connect();
  label_mapping.clear();
  fi->bb_list = builder.first_block;
  if (opt_level() >= 2) remove_tail_recursion();
  order_depth_first(fi->bb_list);
  drop_unreached();

  const LIST* first = fi->bb_list->statements;
  if (!fi->bb_list->is_in_LIR_form() && first && tree_is_arg_prolog(first->tree))
    fi->entry_tree = copy_tree(first->tree, true);
  initialize_CFG_profiling_annotation(1, 1);
}

void rebuildcfg() {
  FUNINFO* fi = currfuninfo;
  fi->bb_count = 0;
  for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link) {
    erase_edge_list(bb->predecessors);
    bb->predecessors = nullptr;
    bb->dfn = 0;
    bb->visited = false;
    fi->bb_count++;
  }
  order_depth_first(fi->bb_list);
  drop_unreached();
}

void renumber_bblocks() {
  FUNINFO* fi = currfuninfo;
  if (!fi->bb_list) return;
  int dfn = 0, number = 0;
  BBLK* previous = nullptr;
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
    bb->dfn = ++dfn;
    bb->rdflink = previous;
    previous = bb;
    if (!bb->label) continue;
    if (bb->label->refcount) bb->label->number = ++number;
    if (LBL* chained = bb->label->chain; chained && chained->refcount) chained->number = ++number;
  }
  fi->bb_list->rdflink = previous;
  fi->bb_count = dfn;
}
