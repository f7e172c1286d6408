// Interprocedural propagation: the hooks of the reading stage, which collect nothing yet.

#include "OPT5/procint.h"

#include "OPT5/fileopt.h"

int inline_blocks_limit = 700;

void init_proc_integration() {}
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
