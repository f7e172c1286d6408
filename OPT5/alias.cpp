#include "OPT5/alias.h"

#include "OPT5/funinfo.h"

static void mark_address_taken(const NODE* tree) {
  walk_preorder(tree, [](const NODE* node) {
    if (node->op != UAND && node->op != ARGREF) return true;
    const NODE* place = node->left;
    while (place->left && place->op != UMULT && place->op != STREF)
      place = place->left;
    if (place->op == NAME && place->u.sym) place->u.sym->set_is_aliased(true);
    return true;
  });
}

void reset_alias_info() {
  const FUNINFO* fi = currfuninfo;
  for (SYMTAB* sym = global_symbols; sym; sym = sym->next)
    sym->set_is_aliased(!(sym->cqual & CQ_NO_ADDRESS));
  for (SYMTAB* list : {fi->incoming, fi->inlined_params, fi->symbols, fi->reg_candidates})
    for (SYMTAB* sym = list; sym; sym = sym->next)
      sym->set_is_aliased(false);
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      mark_address_taken(s->tree);
  for (const EHT_ITEM& item : fi->eht)
    if (item.cleanup) mark_address_taken(item.cleanup);
}
