// f(a, b) { ... return f(x, y); }  -->  a = x; b = y; branch to the head
//
// Rests on these facts: the locals of one activation and of the next may share their storage (no
// local has its address taken), and the arguments match the parameters in number and type.

#include "OPT5/tailcall.h"

#include "DIAG/safemalloc.h"
#include "OPT5/bblk.h"
#include "OPT5/counters.h"
#include "OPT5/funinfo.h"
#include "OPT5/optables.h"
#include "OPT5/printtree.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"
#include "OPT5/types.h"

#include <algorithm>
#include <cstring>
#include <unordered_map>
#include <vector>

namespace {

COUNTER removed_calls("tail recursion", "self-calls that became branches");
COUNTER broken_cycles("tail recursion", "parameters saved because values read one another");

// Blocks that do nothing, from a call to the exit. More are in no program, and each call looks.
constexpr size_t LONGEST_WAY_OUT = 16;

// A self-call that is the last thing its block does.
struct TAIL_CALL {
  LIST* stmt;      // the RETURN of the call, or the call
  bool has_return; // stmt is a RETURN
  NODE* call;
};

struct PENDING {
  SYMTAB* target;
  NODE* value;
};

// Does anything but the argument prolog name a parameter that has a home? It would see the first
// activation's value.
bool names_any_of(const std::unordered_map<const SYMTAB*, SYMTAB*>& home_of, const FUNINFO* fi,
                  const LIST* prolog) {
  auto names_one = [&](const NODE* node) {
    return node->op == NAME && home_of.count(node->u.sym) != 0;
  };
  for (const BBLK* bb = fi->uon_list; bb; bb = bb->uon_link)
    for (const LIST* s = bb->statements; s; s = s->next)
      if (s != prolog && tree_contains_matching_node(s->tree, names_one)) return true;
  for (const EHT_ITEM& item : fi->eht)
    if (item.cleanup && tree_contains_matching_node(item.cleanup, names_one)) return true;
  return false;
}

// The homes of the parameters, in call order: the locals that the prolog copies them to, or the
// parameters themselves. False if the function's shape is not understood.
bool find_parameter_homes(const FUNINFO* fi, std::vector<SYMTAB*>& homes) {
  std::vector<SYMTAB*> params;
  for (SYMTAB* list : {fi->reg_candidates, fi->symbols, fi->incoming})
    for (SYMTAB* sym = list; sym; sym = sym->next)
      if (sym->level == PARAMETER_LEVEL) params.push_back(sym);
  std::sort(params.begin(), params.end(),
            [](const SYMTAB* a, const SYMTAB* b) { return a->serial < b->serial; });

  std::unordered_map<const SYMTAB*, SYMTAB*> home_of;
  const LIST* first = fi->bb_list->statements;
  if (first && tree_is_arg_prolog(first->tree)) {
    const NODE* chain = first->tree;
    for (; chain->op == PCOMMA; chain = chain->left)
      home_of[chain->right->right->u.sym] = chain->right->left->u.sym;
    home_of[chain->right->u.sym] = chain->left->u.sym;
  }
  for (SYMTAB* param : params) {
    auto place = home_of.find(param);
    if (place == home_of.end() && !home_of.empty()) return false; // received otherwise
    homes.push_back(place == home_of.end() ? param : place->second);
    if (homes.back()->type->is_volatile()) return false;
  }
  return home_of.empty() || !names_any_of(home_of, fi, first);
}

// A jump back to a setjmp() of one activation must find that activation's values.
bool may_be_jumped_into(const FUNINFO* fi) {
  auto names_setjmp = [](const NODE* node) {
    if (node->op != NAME || !node->u.sym || !node->u.sym->type->is_func()) return false;
    const char* name = node->u.sym->name;
    name += strspn(name, "_");
    return strcmp(name, "setjmp") == 0 || strcmp(name, "sigsetjmp") == 0;
  };
  for (const BBLK* bb = fi->uon_list; bb; bb = bb->uon_link)
    for (const LIST* s = bb->statements; s; s = s->next)
      if (tree_contains_matching_node(s->tree, names_setjmp)) return true;
  return false;
}

bool is_self_call(const NODE* call, const FUNINFO* fi) {
  return (call->op == CALL || call->op == UCALL) && call->left->op == UAND &&
         call->left->left->op == NAME && call->left->left->u.sym == fi->symbol &&
         call->eh_entry == 0 && call->vargs == 0;
}

// Is the end of the block, with no value, all that follows? A return from the middle and the end of
// the body are blocks of their own, which hold nothing but their branch.
bool leads_to_return(const BBLK* bb) {
  for (size_t steps = 0; bb->successors; steps++) {
    if (bb->successors->rest || steps > LONGEST_WAY_OUT) return false;
    bb = bb->successors->first;
    const LIST* first = bb->statements;
    if (!first) return false;
    if (first->tree->op == URETURN) return true;
    if (first->tree->op != BRANCH) return false;
  }
  return true;
}

bool find_tail_call(const BBLK* bb, const FUNINFO* fi, TAIL_CALL& found) {
  if (!leads_to_return(bb)) return false;
  LIST *last = nullptr, *before = nullptr;
  for (LIST* s = bb->statements; s; s = s->next)
    before = last, last = s;
  if (last && (last->tree->op == BRANCH || last->tree->op == URETURN)) last = before;
  if (!last) return false;
  found.stmt = last;
  found.has_return = last->tree->op == RETURN;
  found.call = found.has_return ? last->tree->right : last->tree;
  return is_self_call(found.call, fi);
}

// Does a value of the one type serve as one of the other? A symbol's type is normalised, an
// argument's is as it was written.
bool is_same_value_type(TYPE* a, TYPE* b) {
  return compatible_types(a, b) || normalized_underlying_type(a) == normalized_underlying_type(b);
}

bool arguments_match(NODE* call, const std::vector<SYMTAB*>& homes) {
  const std::vector<NODE*> args = arg_list_items(get_arguments_to_call(call));
  if (args.size() != homes.size()) return false;
  for (size_t k = 0; k < homes.size(); k++) {
    const NODE* arg = args[k];
    if (arg->op == ARGREF || !is_same_value_type(arg->type, homes[k]->type)) return false;
  }
  return true;
}

// The block that a tail call branches to: what stands after the argument prolog.
BBLK* head_after_prolog() {
  BBLK* entry = currfuninfo->bb_list;
  LIST* first = entry->statements;
  const bool prolog = first && tree_is_arg_prolog(first->tree);
  LIST* body = prolog ? first->next : first;
  BBLK* head = insert_new_bb(0, entry, body);
  head->loop = entry->loop;
  NODE* branch = mk_BRANCH(head, nullptr);
  LIST* cell = mkelist(branch, nullptr, nullptr);
  if (prolog)
    first->next = cell;
  else
    entry->statements = cell;
  head->successors = entry->successors;
  entry->successors = mkedge(head, nullptr);
  return head;
}

LIST* assignment(SYMTAB* target, NODE* value, PSN* psn) {
  return mkelist(mk_ASG(mk_NAME(target, target->scope), value), nullptr, psn);
}

// Orders the assignments so that none overwrites what a later one reads.
void order_assignments(std::vector<PENDING> pending, PSN* psn, std::vector<LIST*>& out) {
  // Which targets each value reads besides its own, and how many other values read each target.
  std::unordered_map<const SYMTAB*, int> index_of;
  for (size_t k = 0; k < pending.size(); k++)
    index_of[pending[k].target] = static_cast<int>(k);
  std::vector<int> readers(pending.size());
  std::vector<std::vector<int>> reads(pending.size());
  std::vector<size_t> seen_in(pending.size(), pending.size());
  for (size_t k = 0; k < pending.size(); k++)
    walk_preorder(pending[k].value, [&](const NODE* node) {
      auto place = node->op == NAME ? index_of.find(node->u.sym) : index_of.end();
      if (place == index_of.end()) return true;
      const int target = place->second;
      if (target == static_cast<int>(k) || seen_in[target] == k) return true;
      seen_in[target] = k;
      reads[k].push_back(target);
      readers[target]++;
      return true;
    });

  std::vector<int> ready;
  std::vector<bool> done(pending.size());
  for (size_t k = 0; k < pending.size(); k++)
    if (readers[k] == 0) ready.push_back(static_cast<int>(k));
  std::unordered_map<const SYMTAB*, SYMTAB*> old_value; // of targets that were in a cycle
  size_t next_in_cycle = 0;
  for (size_t left = pending.size(); left; left--) {
    if (ready.empty()) {
      // A cycle: the old value of one target moves to a temporary, for all values after its own.
      while (done[next_in_cycle])
        next_in_cycle++;
      SYMTAB* target = pending[next_in_cycle].target;
      broken_cycles.count();
      SYMTAB* old = sym_temp('T', -1, target->type, target->scope);
      out.push_back(assignment(old, mk_NAME(target, target->scope), psn));
      old_value[target] = old;
      ready.push_back(static_cast<int>(next_in_cycle));
    }
    int k = ready.back();
    ready.pop_back();
    done[k] = true;
    const auto [target, value] = pending[k];
    if (!old_value.empty())
      walk_preorder(value, [&, own = target](NODE* node) {
        if (node->op != NAME || node->u.sym == own) return true;
        const auto place = old_value.find(node->u.sym);
        if (place != old_value.end()) node->u.sym = place->second;
        return true;
      });
    out.push_back(assignment(target, value, psn));
    for (int read : reads[k])
      if (--readers[read] == 0 && !done[read]) ready.push_back(read);
  }
}

NODE* comment_statement(const std::string& text) {
  NODE* node = alloc_node(ASM, tp->mk_void());
  node->text = current_memory().arena.copy_text(text.c_str());
  node->node_flags[NF_COMMENT] = 1;
  return node;
}

void replace_call(BBLK* bb, const TAIL_CALL& found, const std::vector<SYMTAB*>& homes, BBLK* head) {
  PSN* psn = found.stmt->psn;
  std::vector<LIST*> out;
  if (flags.source_interlist) {
    std::string text = tree_text(found.stmt->tree);
    if (!found.has_return) text += "  return;";
    out.push_back(mkelist(comment_statement(text), nullptr, psn));
  }
  if (print_debug)
    print_if_debug("\n  ===> Tail recursive self-call removed at line %ld: %s\n\n",
                   psn ? static_cast<long>(psn->line) : 0L, tree_text(found.call).c_str());

  // Take the arguments out of the call; those with effects are evaluated first, in their order.
  const std::vector<NODE*> args = arg_list_items(get_arguments_to_call(found.call));
  std::vector<PENDING> pending;
  const bool effects = std::any_of(args.begin(), args.end(), tree_has_side_effects);
  for (size_t k = 0; k < homes.size(); k++) {
    NODE* arg = copy_tree(args[k], true);
    if (arg->op == STARG) {
      NODE* aggregate = arg->left;
      arg->left = nullptr;
      erase_node(arg);
      arg = aggregate;
    }
    if (effects) {
      SYMTAB* temp = sym_temp('T', -1, homes[k]->type, homes[k]->scope);
      out.push_back(assignment(temp, arg, psn));
      arg = mk_NAME(temp, temp->scope);
    }
    if (arg->op == NAME && arg->u.sym == homes[k])
      erase_tree(arg); // a = a
    else
      pending.push_back({homes[k], arg});
  }
  order_assignments(std::move(pending), psn, out);
  out.push_back(mkelist(comment_statement("***\t; tail recursive call occurs here"), nullptr, psn));
  out.push_back(mkelist(mk_BRANCH(head, nullptr), nullptr, psn));

  LIST** place = &bb->statements;
  while (*place != found.stmt)
    place = &(*place)->next;
  erase_tree_list(*place);
  *place = nullptr;
  for (LIST* cell : out) {
    *place = cell;
    place = &cell->next;
  }
  erase_edge_list(bb->successors);
  bb->successors = mkedge(head, nullptr);
}

} // namespace

void remove_tail_recursion() {
  FUNINFO* fi = currfuninfo;
  if (fi->no_tail_recursion) return;
  std::vector<std::pair<BBLK*, TAIL_CALL>> calls;
  for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link) {
    TAIL_CALL found;
    if (find_tail_call(bb, fi, found)) calls.emplace_back(bb, found);
  }
  if (calls.empty() || !locals_with_address_taken(fi).empty() || may_be_jumped_into(fi)) return;
  std::vector<SYMTAB*> homes;
  if (!find_parameter_homes(fi, homes)) return;
  BBLK* head = nullptr;
  for (auto& [bb, found] : calls) {
    if (!arguments_match(found.call, homes)) continue;
    if (!head) head = head_after_prolog();
    removed_calls.count();
    if (bb == fi->bb_list) bb = head; // its statements have moved
    replace_call(bb, found, homes, head);
  }
}
