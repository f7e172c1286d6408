// File-level analysis: uses of functions and globals, the call graph.
#pragma once

#include "OPT5/funinfo.h"

// Notes what a tree of `user` (or of data) says of functions: that an address is taken, which
// built-ins are called. in_data is set for initialisers.
void scan_for_funinfo(const NODE* tree, int in_data, FUNINFO* user, int inlined);
void analyze_global_symbols();
void identify_fl_statics_safe_for_auto();
void convert_safe_fl_statics_to_auto(FUNINFO* fi);
void init_ipcp_for_fun();

// The call graph's nodes, callers before callees as far as is known. Empty until it is set up.
extern std::vector<FUNINFO*> call_graph;
void set_up_and_build_call_graph();
