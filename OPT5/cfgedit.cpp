// Surgery on blocks and edges.
//
//   BB1 -> BB2, split  -->  BB1 -> BB3 -> BB2

#include "DIAG/abort.h"
#include "OPT5/bblk.h"
#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/livevars.h"
#include "OPT5/loop.h"
#include "OPT5/memory.h"
#include "OPT5/restrict.h"
#include "OPT5/scope.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"

#include <algorithm>
#include <map>
#include <unordered_map>
#include <vector>

// ---------------------------------------------------------------------------------------------
// Edge lists

EDGE* mkedge(BBLK* bb, EDGE* rest) {
  mark_dominators_stale();
  return new (current_memory().edge_place()) EDGE{bb, -1.0, rest};
}

EDGE* edge_memberp(const BBLK* bb, EDGE* list) {
  while (list && list->first != bb)
    list = list->rest;
  return list;
}

EDGE* add_edge(BBLK* bb, EDGE* list, double prob) {
  if (edge_memberp(bb, list)) return list;
  EDGE* cell = mkedge(bb, list);
  cell->prob = prob;
  return cell;
}

EDGE* remove_edge(BBLK* bb, EDGE* list) {
  mark_dominators_stale();
  for (EDGE** place = &list; *place; place = &(*place)->rest) {
    if ((*place)->first != bb) continue;
    EDGE* cell = *place;
    *place = cell->rest;
    erase_edge(cell);
    break;
  }
  return list;
}

void erase_edge(EDGE* cell) {
  current_memory().free_edge(cell);
}

void erase_edge_list(EDGE* list) {
  mark_dominators_stale();
  while (list) {
    EDGE* rest = list->rest;
    current_memory().free_edge(list);
    list = rest;
  }
}

EDGE* copy_edge_list(const EDGE* list) {
  EDGE* head = nullptr;
  EDGE** tail = &head;
  for (; list; list = list->rest, tail = &(*tail)->rest)
    *tail = new (current_memory().edge_place()) EDGE{list->first, list->prob, nullptr};
  return head;
}

EDGE* rev_edge_list(EDGE* list) {
  EDGE* done = nullptr;
  while (list) {
    EDGE* rest = list->rest;
    list->rest = done;
    done = list;
    list = rest;
  }
  return done;
}

bool BB_is_in_bb_list(const BBLK* bb) {
  for (const BBLK* b = currfuninfo->bb_list; b; b = b->dflink)
    if (b == bb) return true;
  return false;
}

int edge_length(const EDGE* list) {
  int count = 0;
  for (; list; list = list->rest)
    count++;
  return count;
}

EDGE* sort_edge_list(EDGE* list) {
  EDGE* sorted = nullptr;
  while (list) {
    EDGE* cell = list;
    list = list->rest;
    EDGE** place = &sorted;
    while (*place && (*place)->first->dfn <= cell->first->dfn)
      place = &(*place)->rest;
    cell->rest = *place;
    *place = cell;
  }
  return sorted;
}

EDGE* fast_sort_edge_list(EDGE* list) {
  std::map<int, EDGE*, std::greater<int>> by_dfn;
  while (list) {
    EDGE* rest = list->rest;
    if (!by_dfn.emplace(list->first->dfn, list).second) erase_edge(list);
    list = rest;
  }
  EDGE* sorted = nullptr;
  for (auto [dfn, cell] : by_dfn) {
    cell->rest = sorted;
    sorted = cell;
  }
  return sorted;
}

// ---------------------------------------------------------------------------------------------
// Branches

// The targets of a control statement, in front of `list`.
EDGE* list_branch_targets(const NODE* branch, EDGE* list) {
  if (branch->op != BRANCH && branch->op != IF && branch->op != CBRANCH && branch->op != SWITCH)
    return list;
  // One list cell a block, however many cases lead there.
  const EDGE* known = list;
  walk_preorder(branch->op == BRANCH ? branch : branch->right, [&](const NODE* node) {
    if (node->op != LABEL || !node->label) return true;
    BBLK* bb = node->label->bb;
    if (bb->target_mark != -1) return true;
    bb->target_mark = 0;
    list = mkedge(bb, list);
    return true;
  });
  for (const EDGE* e = list; e != known; e = e->rest)
    e->first->target_mark = -1;
  return list;
}

void remap_labelrefs(NODE* tree, BBLK* from, BBLK* to) {
  walk_postorder(tree, [=](NODE*& node) {
    if (node->op != LABEL || !node->label || node->label->bb != from) return;
    NODE* ref = mk_LABELREF_to_bb(to, node->ls);
    ref->profile_count = node->profile_count;
    erase_node(node);
    node = ref;
  });
}

void subst_bb_for_bb_in_stmts(BBLK* new_bb, BBLK* old_bb, LIST* statements) {
  for (; statements; statements = statements->next)
    remap_labelrefs(statements->tree, old_bb, new_bb);
}

void subst_bb_for_bb_in_bb(BBLK* new_bb, BBLK* old_bb, BBLK* in) {
  if (LIST* last = in->last_statement()) remap_labelrefs(last->tree, old_bb, new_bb);
}

// Makes the edges out of bb those of its control statement, which replaced old_branch.
void fixup_edge_lists(BBLK* bb, NODE* old_branch) {
  EDGE* old_targets =
      old_branch ? list_branch_targets(old_branch, nullptr) : copy_edge_list(bb->successors);
  LIST* last = bb->last_statement();
  EDGE* targets = last ? rev_edge_list(list_branch_targets(last->tree, nullptr)) : nullptr;
  // Marks instead of a search in the other list for each target: a switch has many.
  constexpr int NEW = 0;
  for (const EDGE* e = targets; e; e = e->rest)
    e->first->target_mark = NEW;
  for (EDGE* e = old_targets; e; e = e->rest)
    if (e->first->target_mark != NEW)
      e->first->predecessors = remove_edge(bb, e->first->predecessors);
  for (const EDGE* e = targets; e; e = e->rest)
    e->first->target_mark = -1;
  std::unordered_map<const BBLK*, double> old_prob;
  for (const EDGE* e = bb->successors; e; e = e->rest)
    old_prob.emplace(e->first, e->prob);
  for (EDGE* e = targets; e; e = e->rest) {
    const auto old = old_prob.find(e->first);
    if (old != old_prob.end())
      e->prob = old->second;
    else
      e->first->predecessors = add_edge(bb, e->first->predecessors, -1.0);
  }
  erase_edge_list(old_targets);
  erase_edge_list(bb->successors);
  bb->successors = targets;
}

// ---------------------------------------------------------------------------------------------
// Blocks

BBLK* insert_new_bb(int dfn, BBLK* after, LIST* statements) {
  FUNINFO* fi = currfuninfo;
  BBLK* bb = mkbblock(statements, after->uon_link, fi);
  bb->uon = -1;
  bb->dfn = dfn;
  bb->dflink = after->dflink;
  after->dflink = bb;
  bb->rdflink = after;
  // The backward chain closes at the entry.
  (bb->dflink ? bb->dflink : fi->bb_list)->rdflink = bb;
  after->uon_link = bb;
  bb->label = mklabel(dfn, nullptr, bb);
  fi->bb_count++;
  clear_PT_vectors();
  mark_dominators_stale();
  return bb;
}

BBLK* insert_new_bb_with_branch(int dfn, BBLK* after, BBLK* target, PSN* psn) {
  return insert_new_bb(dfn, after, mkelist(mk_BRANCH(target, nullptr), nullptr, psn));
}

void delink_old_bb(BBLK* bb) {
  FUNINFO* fi = currfuninfo;
  if (bb == fi->bb_list)
    fi->bb_list = bb->dflink;
  else
    bb->rdflink->dflink = bb->dflink;
  if (BBLK* closes = bb->dflink ? bb->dflink : fi->bb_list) closes->rdflink = bb->rdflink;
  for (BBLK** place = &fi->uon_list; *place; place = &(*place)->uon_link)
    if (*place == bb) {
      *place = bb->uon_link;
      break;
    }
  fi->bb_count--;
  mark_dominators_stale();
}

static void replace_in_edges(EDGE* list, const BBLK* old_bb, BBLK* new_bb) {
  if (EDGE* cell = edge_memberp(old_bb, list)) cell->first = new_bb;
}

static void number_labels_by_dfn() {
  int dfn = 0;
  BBLK* previous = nullptr;
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    bb->dfn = ++dfn;
    bb->rdflink = previous;
    if (bb->label) bb->label->number = dfn;
    previous = bb;
  }
  currfuninfo->bb_list->rdflink = previous;
}

BBLK* split_cfg_edge(BBLK* from, BBLK* to) {
  PSN* psn = to->first_psn;
  BBLK* bb = insert_new_bb_with_branch(0, from, to, psn);
  replace_in_edges(from->successors, to, bb);
  replace_in_edges(to->predecessors, from, bb);
  bb->predecessors = mkedge(from, nullptr);
  bb->successors = mkedge(to, nullptr);
  subst_bb_for_bb_in_bb(bb, to, from);
  if (lva_sym_count >= 1 && to->live_in) {
    for (BITVEC** set : {&bb->use_set, &bb->def_set, &bb->live_in, &bb->live_out})
      *set = new BITVEC(lva_sym_count);
    *bb->live_in = *to->live_in;
    *bb->live_out = *to->live_in;
  }
  number_labels_by_dfn();
  return bb;
}

bool bb_is_split_critical_edge(const BBLK* bb) {
  auto has_one = [](const EDGE* list) { return list && !list->rest; };
  auto has_several = [](const EDGE* list) { return list && list->rest; };
  return has_one(bb->predecessors) && has_one(bb->successors) &&
         has_several(bb->predecessors->first->successors) &&
         has_several(bb->successors->first->predecessors);
}

void split_critical_edges(bool all) {
  FUNINFO* fi = currfuninfo;
  if (!fi->bb_list) return;
  std::vector<BBLK*> blocks;
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    blocks.push_back(bb);
  for (size_t k = blocks.size(); k-- > 0;) {
    BBLK* bb = blocks[k];
    if (!bb->successors || !bb->successors->rest) continue;
    std::vector<BBLK*> targets;
    for (EDGE* e = bb->successors; e; e = e->rest)
      targets.push_back(e->first);
    for (BBLK* to : targets) {
      if (!to->predecessors || !to->predecessors->rest) continue;
      LOOP* loop = bb->loop;
      bool wanted;
      if (all)
        wanted = true;
      else if (!loop)
        wanted = bb->dfn < to->dfn;
      else
        wanted = !(to->loop == loop && bb == loop->tail && to == loop->head);
      if (!wanted) continue;
      print_if_debug("Splitting critical edge between BB%d and BB%d\n", bb->dfn, to->dfn);
      BBLK* middle = split_cfg_edge(bb, to);
      LOOP* outer = to->loop && loop && to->loop->level < loop->level ? to->loop : loop;
      middle->loop = outer;
      if (outer) outer->contents = fast_sort_edge_list(mkedge(middle, outer->contents));
      if (to->loop && to->loop->preheader == bb) to->loop->preheader = middle;
    }
  }
}

void insert_stmt_before_stmt_in_bb(NODE* stmt, NODE* before, BBLK* bb, PSN* psn) {
  LIST** place = &bb->statements;
  while (*place && (*place)->tree != before)
    place = &(*place)->next;
  *place = mkelist(stmt, *place, psn);
}

void erase_bblock(BBLK* bb) {
  if (bb->label && bb->label->bb == bb) bb->label->bb = nullptr;
  erase_edge_list(bb->predecessors);
  erase_edge_list(bb->successors);
  bb->~BBLK(); // the place goes with the function's memory
}

BBLK::BBLK(FUNINFO* fi) : serial_object<BBLK, FUNINFO>(*fi) {}

BBLK::~BBLK() {
  for (BITVEC* set : {use_set, def_set, live_in, live_out})
    delete set;
}

std::string BBLK::str() const {
  return "BB" + std::to_string(dfn);
}

LIST* BBLK::last_statement() const {
  LIST* last = statements;
  while (last && last->next)
    last = last->next;
  return last;
}
