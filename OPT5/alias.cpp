// Alias marks: which locals a pointer may reach.
//
//   p = &x; *p = 1;  -->  x is marked, and so no longer only what its name says

#include "OPT5/alias.h"

#include "OPT5/funinfo.h"

void reset_alias_info() {
  FUNINFO* fi = currfuninfo;
  reset_alias_exceptions();
  const auto exposed = locals_with_address_taken(fi);
  for (SYMTAB* list : lists_of_locals(fi))
    for (SYMTAB* sym = list; sym; sym = sym->next)
      sym->set_is_aliased(exposed.count(sym) != 0);
  currfuninfo->aliases_are_marked = true;
}

void drop_alias_info() {
  currfuninfo->aliases_are_marked = false;
#ifdef VRX_CHECKS
  // The least safe answer, for whoever asks without building them anew.
  for (SYMTAB* list : lists_of_locals(currfuninfo))
    for (SYMTAB* sym = list; sym; sym = sym->next)
      sym->set_is_aliased(false);
#endif
}

const char* alias_fault() {
  const auto exposed = locals_with_address_taken(currfuninfo);
  for (const SYMTAB* list : lists_of_locals(currfuninfo))
    for (const SYMTAB* sym = list; sym; sym = sym->next)
      if (sym->is_aliased() != (exposed.count(sym) != 0))
        return sym->is_aliased() ? "a local is marked as reachable whose address nobody takes"
                                 : "a local whose address is taken isn't marked as reachable";
  return nullptr;
}
