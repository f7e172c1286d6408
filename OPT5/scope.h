// The tree of lexical scopes of a function.
#pragma once

#include "OPT5/symbol.h"

#include <map>
#include <unordered_set>
#include <vector>

class LS {
public:
  LS* parent = nullptr;
  LS* first_child = nullptr;
  LS* last_child = nullptr;
  LS* sibling = nullptr;
  int level = 0;
  PSN* opened = nullptr;
  PSN* closed = nullptr;
  SYMTAB* func = nullptr; // the function in whose text it stands
  std::vector<SYMTAB*> symbols;

  // The root of a function's scopes, with its levels 1 (parameters) and 2 (outermost block) open.
  static LS* init(PSN* psn, SYMTAB* func);
  static void erase(LS* root);

  // Called on the current function's root: the scope of that level on the way to the outer block.
  LS* level_0_scope();
  LS* level_1_scope();
  LS* level_2_scope();

  // Called on the root: open a scope in the innermost open one, close the innermost open one.
  void open(PSN* psn, SYMTAB* func, unsigned flags);
  void close(PSN* psn, SYMTAB* func, unsigned flags);
  LS* innermost_open() { return open_scopes.empty() ? this : open_scopes.back(); }

  static LS* innermost_common_scope(LS* a, LS* b); // null if either is
  bool encloses(const LS* inner) const;            // also itself
  bool is_strictly_contained_by(const LS* outer) const;
  bool object_may_be_live_in_scope(const SYMTAB* sym) const;
  // A copy of this scope and of all within it, without symbols, not yet part of a tree. `copies`
  // takes each scope to its copy.
  LS* copy_scope_tree(std::map<const LS*, LS*>& copies) const;
  // This tree, which is a copy on its way into another function, goes `levels` deeper. With
  // `positions`, psn_search then knows its positions as of the function that it was copied from.
  void offset_scope(unsigned levels, int positions);
  // Makes `graft`, a tree of its own, the last scope within this one; all its levels grow by
  // `levels`, which must bring its root to the level below this scope's.
  void splice_scope(LS* graft, int levels);
  void add_symbol(SYMTAB* sym);
  void assign_scope_to_tree(NODE* tree);
  void initialize_scopes_and_ptrs_from_tree(NODE* tree);
  // Called on the current function's root: groups its pointers by what their values were made from
  // (see OPT5/restrict.h).
  void build_PTR_equivalence_groups();
  // A line for each scope, two columns deeper than the one around it.
  void print(bool with_symbols, FILE* to, int indent, bool recursive) const;
  // The whole tree: children name their parents and are one level deeper, the last child ends the
  // list of children, symbols name their scope. Ends the run if not.
  void validate() const;
  // What validate would end the run with; null if nothing is wrong.
  const char* fault() const;
  // Adds this scope and all within it.
  void collect(std::unordered_set<const LS*>& found) const;

private:
  std::vector<LS*> open_scopes; // of the root
  void check_is_current_root() const;
  LS* common_open(PSN* psn, SYMTAB* func); // what each opening does: a new last child
  void adopt(LS* child);
};
