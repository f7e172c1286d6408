// Pointer groups for alias analysis: which pointers of a function may have been made from each
// other.
#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <utility>
#include <vector>

class SYMTAB;
class LS;
class NODE;
struct fkMDATA;

// A pointer: a variable, or a member of one. Lives as long as the function's scopes.
struct PTR {
  unsigned number;       // in the function; 0 is the lattice's bottom
  SYMTAB* sym = nullptr; // null for the bottom
  const fkMDATA* member = nullptr;
  const LS* scope = nullptr;   // of the declaration, null for none or where it isn't known
  PTR* root = nullptr;         // of the group: the record of it with the lowest number
  bool is_bottom = false;      // any pointer: one in memory, one that is passed around
  bool is_restricted = false;  // restrict-qualified, or made from one that is within its scope
  bool is_disjointed = false;  // a parameter, and the options say that those don't overlap
  bool is_file_level = false;  // a variable of file scope
  bool is_a_parameter = false; // of the function
  bool is_reassigned = false;  // by something that is not another pointer and a distance

  bool is_a_root() const { return root == this; }
  void print(FILE* to) const;
  void validate() const; // ends the run if the group isn't one
};

class PTR_TABLE {
public:
  std::vector<std::unique_ptr<PTR>> all; // by number
  std::map<std::pair<const SYMTAB*, const fkMDATA*>, PTR*> by_place;
};

// The record of a pointer of the current function; null if it has none.
PTR* find_PTR_entry(const SYMTAB* sym, const fkMDATA* member);
// The record that is there, or a new one: a group of its own.
PTR* make_PTR_entry(SYMTAB* sym, const fkMDATA* member);
PTR* make_bottom_PTR_entry(); // one a function
// Sees to it that a variable of pointer type has its record; null for others.
PTR* find_or_make_PTR_entry(SYMTAB* sym);
// That of the variable or member that a tree names; the bottom for any other place. Null for what
// isn't a pointer.
PTR* find_or_make_PTR_entry(const NODE* place);
void print_PTRs(FILE* to); // the current function's
// Drops what is known of where pointers point, since the graph has changed. Nothing is kept yet.
void clear_PT_vectors();
// Lets a symbol join a restrict group. Without one it is grouped with all others.
void make_symbol_groupable(SYMTAB* sym);
