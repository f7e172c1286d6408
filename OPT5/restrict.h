// Pointer groups for alias analysis.
#pragma once

class SYMTAB;

// Sees to it that a pointer symbol has its alias entry. Without one a pointer may alias anything.
void find_or_make_PTR_entry(SYMTAB* sym);
// Drops what is known of where pointers point, since the graph has changed. Nothing is kept yet.
void clear_PT_vectors();
// Lets a symbol join a restrict group. Without one it is grouped with all others.
void make_symbol_groupable(SYMTAB* sym);
