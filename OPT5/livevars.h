// Live-variable analysis.
#pragma once

class SYMTAB;

// Symbols that the sets of blocks are sized for; 0 while no analysis has run in this thread, or
// where no symbol is a candidate.
extern constinit thread_local int lva_sym_count;

// The place of a symbol in the sets of the last analysis of the current function; below zero if it
// isn't a candidate. Candidates are plain scalar locals and parameters that no pointer, clean-up or
// assembly text may reach, in functions without handlers.
int lva_index(const SYMTAB* sym);
// Gives each block of the current function its use, def, live-in and live-out sets. Locals must
// have been sorted by sym_split.
void find_live_variables(int mode, bool reset);
void lva_cleanup(); // drop the sets of all blocks of the current function
// What is wrong with the sets that the current function claims to have: null if nothing is.
const char* live_sets_fault();
