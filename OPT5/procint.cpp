// Interprocedural propagation: the hooks of the reading stage, which collect nothing yet.

#include "OPT5/procint.h"

#include "OPT5/fileopt.h"
#include "OPT5/streams.h"
#include "support/psn.h"

int inline_blocks_limit = 700;

void init_proc_integration() {}
SYMTAB* psn_search(const PSN* psn) {
  return static_cast<SYMTAB*>(find_psn_owner(psn));
}

void dump_psnmap() {
  if (!print_debug) return;
  for (const auto& [psn, owner] : psn_owners())
    print_if_debug("%p:  PSN (%s,%ld,%ld)  -->  %s\n", static_cast<const void*>(psn),
                   psn->file ? psn->file : "", static_cast<long>(psn->line),
                   static_cast<long>(psn->column), owner ? owner->sym_name() : "?");
}

void dump_psnrefs() {}
void check_for_synonym_function_in_pass_1() {}
void check_integrable_definition(FUNINFO*) {}

void preprocess_fundef(FUNINFO* fi) {
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      scan_for_funinfo(s->tree, 0, fi, 0);
  for (const EHT_ITEM& item : fi->eht) {
    if (item.cleanup) scan_for_funinfo(item.cleanup, 0, fi, 0);
    for (const I_CATCH_ENTRY& type : item.catches)
      note_names_in_text(type.type_name.c_str());
  }
}
