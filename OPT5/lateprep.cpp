// The last rewrites before a function goes out.
//
//   x &= 12; x &= 10;  -->  x &= 8

#include "OPT5/lateprep.h"

#include "OPT5/counters.h"
#include "OPT5/funinfo.h"

#include <memory>
#include <unordered_set>

void combine_asgs_to_memory() {}
void init_reg_defs() {}
void allocate_regs() {}

namespace {

COUNTER joined_masks("output", "masks of neighbouring &= joined");

// The mask of x &= c for a constant c, else null.
NODE* constant_mask(const NODE* tree) {
  return tree->op == ANDBASG && tree->right->op == ICON ? tree->right : nullptr;
}

// Does finding a place (or else computing a value) read something that a store may change?
// `may_change` tells for a symbol.
template <class MAY_CHANGE>
bool reads_what_changes(const NODE* node, bool is_place, MAY_CHANGE may_change) {
  for (; node; node = node->left) {
    const bool right_counts = node->right && node->op != STDOT && node->op != STREF;
    if (right_counts && reads_what_changes(node->right, false, may_change)) return true;
    if (is_place) {
      switch (node->op) {
      case NAME: return false;
      case STDOT: break;
      case UMULT:
      case STREF: is_place = false; break;
      default: return true;
      }
      continue;
    }
    switch (node->op) {
    case NAME: return may_change(node->u.sym);
    case UAND:
    case ARGREF: is_place = true; break;
    case UMULT:
    case STDOT:
    case STREF:
    case STFIELD:
    case VREG: return true;
    default:
      if (op_is_call(node->op)) return true;
    }
  }
  return false;
}

} // namespace

// x &= a; x &= b  -->  x &= (a & b), for neighbours with constant masks of one type. The first
// store must not move the second one's place: no matter what it writes, nothing that the place is
// found by changes, as locals whose address nobody has.
void fold_ANDBASGs() {
  std::unique_ptr<std::unordered_set<const SYMTAB*>> exposed; // made when first asked for
  auto may_change = [&](const SYMTAB* sym) {
    if (!sym || !sym->is_local() || sym->type->is_volatile()) return true;
    if (!exposed)
      exposed = std::make_unique<std::unordered_set<const SYMTAB*>>(
          locals_with_address_taken(currfuninfo));
    return exposed->count(sym) != 0;
  };
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    for (LIST* s = bb->statements; s; s = s->next) {
      while (LIST* next = s->next) {
        NODE* mask = constant_mask(s->tree);
        const NODE* other = constant_mask(next->tree);
        if (!mask || !other || mask->type != other->type ||
            !trees_are_congruent(s->tree->left, next->tree->left) ||
            reads_what_changes(s->tree->left, true, may_change))
          break;
        joined_masks.count();
        mask->ival = mask->ival & other->ival;
        s->next = next->next;
        next->next = nullptr;
        erase_tree_list(next);
      }
    }
  }
}
