// Live-variable analysis.
#pragma once

// Symbols that the sets of blocks are sized for; 0 while no analysis has run in this thread.
extern constinit thread_local int lva_sym_count;
void lva_cleanup(); // drop the sets of all blocks of the current function
