// File-level analysis: uses of functions and globals, the call graph.
#pragma once

#include "OPT5/funinfo.h"

// Notes what a tree of `user` (or of data) says of functions and of data: that it names them, that
// a function's address is used for more than a call, which built-ins are called. in_data is set for
// initialisers.
void scan_for_funinfo(const NODE* tree, int in_data, FUNINFO* user, int inlined);
// Assembly, pragmas and exception tables name symbols without a tree. Every word of the text
// counts, with and without a language prefix.
void note_names_in_text(const char* text);
// Says of each definition among the globals what is known of its uses, those of its declarations
// and by name included: the property FP_REFERENCED of a function, CQ_TOP of data.
void note_uses_of_definitions();
void analyze_global_symbols();
void identify_fl_statics_safe_for_auto();
void convert_safe_fl_statics_to_auto(FUNINFO* fi);
void init_ipcp_for_fun();

// The call graph's nodes, callers before callees as far as is known. Empty until it is set up.
extern std::vector<FUNINFO*> call_graph;
void set_up_and_build_call_graph();
// What each of the given function's direct calls leads to, by the order of first calls. The
// caller's.
FUNLIST* list_callees(const FUNINFO* fi);
// Writes, when debugging, the properties of a function: by their names alone without a list, and
// together with all else that is known of it where `all` is the unit's list of functions,
// from the function's own cell on, with the number of calls that lead to each. The information file
// gets the long form, too.
void dump_FUNINFO(const FUNINFO* fi, const FUNLIST* all);
// That for all functions, by name.
void dump_call_graph_debug();
void forget_file_analysis(); // at the end of the run
