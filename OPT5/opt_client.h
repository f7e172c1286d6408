// The receiver of what the file layer reads: symbols, functions, statements become the core IR.
#pragma once

#include "OPT5/funinfo.h"
#include "ifile/if_client.h"

IF_CLIENT* opt_client();

extern bool any_unions_in_program;
extern int unique_call_index; // highest call number

// Functions of the unit, in the present order of processing.
extern std::list<SYMTAB*> functions;
// Comments read since the last function's end.
extern std::vector<std::string> comments_between_functions;

// Pass 1's reading stage, at the end of each function's records. currfunc is set.
void finish_reading_function(PSN* end_psn, unsigned open_blocks);
