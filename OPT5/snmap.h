// What is known of a function's symbols in all of it: values, and what pointers point at.
#pragma once

#include "OPT5/symbol.h"

#include <cstdio>
#include <map>

struct sym_uid_less {
  bool operator()(const SYMTAB* a, const SYMTAB* b) const { return a->serial < b->serial; }
};

// Values of symbols, as trees of the current function's memory. A null symbol ends the run.
class SNMAP {
public:
  bool changed = false; // by set_value and remove; whoever asks clears it

  // A fresh copy of the symbol's value, the caller's; null if none is known.
  NODE* value(const SYMTAB* sym, bool keep_ls) const;
  // Keeps a copy of the tree, unless the symbol has a value already or the tree is null.
  void set_value(const SYMTAB* sym, const NODE* tree);
  // Forgets the symbol's value, and all values that name the symbol.
  void remove(const SYMTAB* sym);
  void clear();                     // erases the trees
  void forget() { values.clear(); } // for when the function's memory goes anyway
  size_t count() const { return values.size(); }
  void print(FILE* to) const;

private:
  std::map<const SYMTAB*, NODE*, sym_uid_less> values; // owns the trees
};

// The objects that pointers with a single value point at.
using SPMAP = std::map<const SYMTAB*, SYMTAB*, sym_uid_less>;
// Binds a pointer that isn't bound yet.
void SPMAP_set_pointee(SPMAP& map, const SYMTAB* pointer, SYMTAB* pointee);
SYMTAB* SPMAP_pointee(const SPMAP& map, const SYMTAB* pointer); // null if not known

// Both, of one function.
struct SYMBOL_MAPS {
  SNMAP values;
  SPMAP pointees;

  void clear();
  void forget();
};
