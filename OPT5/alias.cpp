#include "OPT5/alias.h"

#include "OPT5/funinfo.h"

void reset_alias_info() {
  const FUNINFO* fi = currfuninfo;
  reset_alias_exceptions();
  const auto exposed = locals_with_address_taken(fi);
  for (SYMTAB* list : {fi->incoming, fi->inlined_params, fi->symbols, fi->reg_candidates})
    for (SYMTAB* sym = list; sym; sym = sym->next)
      sym->set_is_aliased(exposed.count(sym) != 0);
}
