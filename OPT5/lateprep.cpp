#include "OPT5/lateprep.h"

#include "OPT5/funinfo.h"

void combine_asgs_to_memory() {}
void init_reg_defs() {}
void allocate_regs() {}

// x &= a; x &= b  -->  x &= (a & b), for neighbours with constant masks of one type
void fold_ANDBASGs() {
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    for (LIST* s = bb->statements; s; s = s->next) {
      while (LIST* next = s->next) {
        NODE* first = s->tree;
        NODE* second = next->tree;
        if (first->op != ANDBASG || second->op != ANDBASG || first->right->op != ICON ||
            second->right->op != ICON || first->right->type != second->right->type ||
            first->left->type->is_volatile() || !trees_are_congruent(first->left, second->left))
          break;
        first->right->ival = first->right->ival & second->right->ival;
        s->next = next->next;
        next->next = nullptr;
        erase_tree_list(next);
      }
    }
  }
}
