// Source positions. A position is shared by all that stand at one place; nobody frees one.
#pragma once

#include <utility>
#include <vector>

// file: interned name (see intern_text), null for "no file"; line and column count from 1.
struct PSN {
  const char* file;
  unsigned line;
  unsigned column;
};

// The one copy of `text` that lives to the end of the run; equal texts give equal pointers.
// Null gives null. Safe from any thread.
const char* intern_text(const char* text);

// The shared position of that file (already interned or not), line and column. Safe from any
// thread (psnmap_lock).
PSN* make_psn(const char* file, unsigned line, unsigned column);

// Code was copied from the function `owner`, in whose text the position stands, into another one.
// Safe from any thread (psnmap_lock), as is the question.
class I_SYMTAB;
void note_psn_owner(const PSN* psn, I_SYMTAB* owner);
I_SYMTAB* find_psn_owner(const PSN* psn); // null if nothing was copied from there
// All positions with an owner, in the order of file, line and column.
std::vector<std::pair<const PSN*, I_SYMTAB*>> psn_owners();
void forget_psn_owners(); // at the end of the run, with the symbols
