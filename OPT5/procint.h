// Procedure integration (inlining): what reading and start-up need of it.
#pragma once

class FUNINFO;
class SYMTAB;
struct PSN;

// Blocks that a function may have to be copied into callers without being asked for.
extern int inline_blocks_limit;

void init_proc_integration();
// A function that only passes its arguments on is a synonym of its callee. Finds none yet.
void check_for_synonym_function_in_pass_1();
// May the function be copied into callers? Not known yet, so no.
void check_integrable_definition(FUNINFO* fi);
// Summaries for the inliner: calls and uses in the body.
void preprocess_fundef(FUNINFO* fi);
// The function that code at a position was copied from; null if none was.
SYMTAB* psn_search(const PSN* psn);
// Lists, when debugging, all positions that code was copied from, with their functions.
void dump_psnmap();
// Lists, when debugging, the functions that positions of inlined code belong to. Nothing is inlined
// yet, so there are none.
void dump_psnrefs();
