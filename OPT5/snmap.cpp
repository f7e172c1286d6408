// Maps from symbols to what is known of them.

#include "OPT5/snmap.h"

#include "DIAG/abort.h"
#include "OPT5/printtree.h"
#include "OPT5/streams.h"

static void require_symbol(const SYMTAB* sym) {
  if (!sym) abort_optimizer("A value was asked or told of no symbol");
}

NODE* SNMAP::value(const SYMTAB* sym, bool keep_ls) const {
  require_symbol(sym);
  const auto place = values.find(sym);
  return place == values.end() ? nullptr : copy_tree(place->second, keep_ls);
}

void SNMAP::set_value(const SYMTAB* sym, const NODE* tree) {
  require_symbol(sym);
  if (!tree || values.count(sym)) return;
  values[sym] = copy_tree(tree, true);
  changed = true;
}

void SNMAP::remove(const SYMTAB* sym) {
  require_symbol(sym);
  for (auto place = values.begin(); place != values.end();) {
    if (place->first != sym && !sym_appears_in_tree(sym, place->second)) {
      ++place;
      continue;
    }
    erase_tree(place->second);
    place = values.erase(place);
    changed = true;
  }
}

void SNMAP::clear() {
  for (auto& [sym, tree] : values)
    erase_tree(tree);
  values.clear();
}

void SNMAP::print(FILE* to) const {
  for (const auto& [sym, tree] : values)
    print_checked(to, "\t%s = %s\n", sym->name, tree_text(tree).c_str());
}

void SPMAP_set_pointee(SPMAP& map, const SYMTAB* pointer, SYMTAB* pointee) {
  map.try_emplace(pointer, pointee);
}

SYMTAB* SPMAP_pointee(const SPMAP& map, const SYMTAB* pointer) {
  const auto place = map.find(pointer);
  return place == map.end() ? nullptr : place->second;
}

void SYMBOL_MAPS::clear() {
  values.clear();
  pointees.clear();
}

void SYMBOL_MAPS::forget() {
  values.forget();
  pointees.clear();
}
