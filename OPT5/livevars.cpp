// Live variables: which values of locals are still read, at each end of each block.
//
//   BB1: x = f()  BB2: y = 1  BB3: return x + y  -->  x is live out of BB1 and BB2, y of BB2
//
// Backward data flow over bit vectors until nothing changes (Kildall, "A unified approach to global
// program optimization", 1973); only blocks with a successor that changed are looked at again.

#include "OPT5/livevars.h"

#include "OPT5/funinfo.h"
#include "OPT5/treewalk.h"

#include <climits>
#include <unordered_set>

thread_local int lva_sym_count;

int lva_index(const SYMTAB* sym) {
  return sym->is_local() ? sym->bitnum() : -1;
}

void lva_cleanup() {
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (BITVEC** set : {&bb->use_set, &bb->def_set, &bb->live_in, &bb->live_out}) {
      delete *set;
      *set = nullptr;
    }
  lva_sym_count = 0;
}

namespace {

// Values may reach a handler from any call.
bool has_handlers(const FUNINFO* fi) {
  for (const EHT_ITEM& item : fi->eht)
    if (!item.catches.empty()) return true;
  return false;
}

// What a clean-up or assembly text names is read where no statement says so.
std::unordered_set<const SYMTAB*> symbols_read_out_of_sight(const FUNINFO* fi) {
  auto found = locals_with_address_taken(fi);
  auto note_names = [&](const NODE* node) {
    if (node->op == NAME) found.insert(node->u.sym);
    return true;
  };
  for (const EHT_ITEM& item : fi->eht)
    walk_preorder(item.cleanup, note_names);
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      walk_preorder(s->tree, [&](const NODE* node) {
        if (node->op == ASM) walk_preorder(node, note_names);
        return true;
      });
  return found;
}

int number_candidates(const FUNINFO* fi) {
  const auto excluded = symbols_read_out_of_sight(fi);
  const bool none = has_handlers(fi);
  int count = 0;
  for (SYMTAB* list : lists_of_locals(fi))
    for (SYMTAB* sym = list; sym; sym = sym->next) {
      const bool is_candidate = list == fi->reg_candidates && sym->sclass == SC_AUTO &&
                                !sym->is_aliased() && !excluded.count(sym) && !none;
      sym->set_bitnum(is_candidate && count < SHRT_MAX ? static_cast<short>(count++) : short(-1));
    }
  return count;
}

// The symbol that a tree gives a new value as a whole, or null.
const SYMTAB* symbol_defined_by(const NODE* tree) {
  if (tree->op != ASG || tree->left->op != NAME) return nullptr;
  const SYMTAB* sym = tree->left->u.sym;
  return lva_index(sym) >= 0 && tree->left->type->size == sym->type->size ? sym : nullptr;
}

// Use and def of a tree that is evaluated in any case, and whose value nobody takes.
void note_effects(const NODE* tree, BITVEC& use, BITVEC& def) {
  const SYMTAB* defined = symbol_defined_by(tree);
  walk_preorder(defined ? tree->right : tree, [&](const NODE* node) {
    if (node->op == NAME) {
      const int k = lva_index(node->u.sym);
      if (k >= 0 && !def.bv_test(k)) use.bv_set(k);
    }
    if (node->op != ASG || node->left->op != NAME) return true;
    // Not read, but not written in any case either.
    walk_preorder(node->right, [&](const NODE* inner) {
      const int k = inner->op == NAME ? lva_index(inner->u.sym) : -1;
      if (k >= 0 && !def.bv_test(k)) use.bv_set(k);
      return true;
    });
    return false;
  });
  if (defined) def.bv_set(lva_index(defined));
}

void note_statement(const NODE* tree, BITVEC& use, BITVEC& def) {
  // The left spine of a chain of commas holds what comes first.
  std::vector<const NODE*> parts;
  for (; tree->op == COMMAOP || tree->op == PCOMMA; tree = tree->left)
    parts.push_back(tree->right);
  note_effects(tree, use, def);
  for (size_t k = parts.size(); k-- > 0;)
    note_effects(parts[k], use, def);
}

// live_in and live_out of bb from its successors. Has live_in changed?
bool flow(BBLK* bb, BITVEC& scratch) {
  bb->live_out->bv_clear_all();
  for (const EDGE* e = bb->successors; e; e = e->rest)
    bb->live_out->bv_merge3(bb->live_out, e->first->live_in);
  scratch.bv_diff(bb->live_out, bb->def_set);
  scratch.bv_merge3(&scratch, bb->use_set);
  return bb->live_in->bv_cmp_cpy(&scratch);
}

} // namespace

void find_live_variables(int, bool) {
  const FUNINFO* fi = currfuninfo;
  lva_cleanup();
  lva_sym_count = number_candidates(fi);
  if (lva_sym_count == 0) return;
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
    for (BITVEC** set : {&bb->use_set, &bb->def_set, &bb->live_in, &bb->live_out})
      *set = new BITVEC(lva_sym_count);
    for (const LIST* s = bb->statements; s; s = s->next)
      note_statement(s->tree, *bb->use_set, *bb->def_set);
    bb->visited = true; // still to be looked at
  }
  BITVEC scratch(lva_sym_count);
  for (bool has_changed = true; has_changed;) {
    has_changed = false;
    BBLK* bb = fi->bb_list->rdflink;
    for (;; bb = bb->rdflink) {
      if (bb->visited) {
        bb->visited = false;
        if (flow(bb, scratch))
          for (const EDGE* e = bb->predecessors; e; e = e->rest)
            has_changed |= e->first->visited = true;
      }
      if (bb == fi->bb_list) break;
    }
  }
}

const char* live_sets_fault() {
  const FUNINFO* fi = currfuninfo;
  std::vector<BITVEC> claimed;
  const int count = lva_sym_count;
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
    if (!bb->live_in || !bb->live_out) return "a block has no live sets";
    claimed.push_back(*bb->live_in);
    claimed.push_back(*bb->live_out);
  }
  find_live_variables(0, false);
  if (lva_sym_count != count) return "other symbols are candidates than when live sets were found";
  size_t k = 0;
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink, k += 2)
    if (!(*bb->live_in == claimed[k]) || !(*bb->live_out == claimed[k + 1]))
      return "live sets are out of date";
  return nullptr;
}
