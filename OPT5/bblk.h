// Basic blocks, edges and labels of the current function.
//
// Every block ends in its control statement: BRANCH, IF, SWITCH, URETURN; a RETURN with a value is
// followed by a BRANCH to the exit block. Blocks are chained in depth-first order by dflink, entry
// first, and numbered from 1 in that order.
#pragma once

#include "OPT5/node.h"
#include "OPT5/serial.h"
#include "support/bitvec.h"

#include <string>

class BBLK;
class FUNINFO;
class LOOP;
namespace LIR {
class function;
}

// A cell of a block list, with a branch probability where the list is one of edges.
struct EDGE {
  BBLK* first;
  double prob; // -1.0 is unknown
  EDGE* rest;
};

class BBLK : public serial_object<BBLK, FUNINFO> {
public:
  LIR::function* fn = nullptr; // null while the block is in tree form
  BBLK* dflink = nullptr;      // next in depth-first order
  BBLK* rdflink = nullptr;     // previous; the entry's is the last block
  BBLK* uon_link = nullptr;    // next in order of creation
  LIST* statements = nullptr;
  EDGE* predecessors = nullptr;
  EDGE* successors = nullptr;
  EDGE* dfs_cursor = nullptr;
  LBL* label = nullptr;
  LOOP* loop = nullptr;
  BITVEC *use_set = nullptr, *def_set = nullptr, *live_in = nullptr, *live_out = nullptr;
  PSN* first_psn = nullptr;
  PSN* last_psn = nullptr;
  double dFreqIn = -1.0, dFreqOut = -1.0; // execution frequency, -1.0 is unknown
  int uon = 0; // number in order of creation; -1 for a block made after the graph was built
  int dfn = 0; // depth-first number, 1 at the entry
  bool visited = false; // scratch of walks; clear when a walk starts
  int target_mark = -1; // scratch of edge building

  explicit BBLK(FUNINFO* fi);
  ~BBLK() override; // leaves its edges and statements to the function's memory
  bool is_in_LIR_form() const { return fn != nullptr; }
  std::string str() const;
  LIST* last_statement() const; // null for an empty block
};

// --- Building
void buildcfg();
void rebuildcfg();
BBLK* mkbblock(LIST* statements, BBLK* uon_next, FUNINFO* fi); // in the function's memory
LBL* mklabel(int number, LBL* chain, BBLK* bb);
LBL* find_label(int number); // ends the run if there is none
void renumber_bblocks();

// --- Blocks
BBLK* insert_new_bb(int dfn, BBLK* after, LIST* statements);
BBLK* insert_new_bb_with_branch(int dfn, BBLK* after, BBLK* target, PSN* psn);
void delink_old_bb(BBLK* bb);
void subst_bb_for_bb_in_bb(BBLK* new_bb, BBLK* old_bb, BBLK* in);
void subst_bb_for_bb_in_stmts(BBLK* new_bb, BBLK* old_bb, LIST* statements);
void remap_labelrefs(NODE* tree, BBLK* from, BBLK* to);
BBLK* split_cfg_edge(BBLK* from, BBLK* to);
bool bb_is_split_critical_edge(const BBLK* bb);
void split_critical_edges(bool all);
void fixup_edge_lists(BBLK* bb, NODE* old_branch);
EDGE* list_branch_targets(const NODE* branch, EDGE* list);
void insert_stmt_before_stmt_in_bb(NODE* stmt, NODE* before, BBLK* bb, PSN* psn);
void erase_bblock(BBLK* bb);

// --- Edge lists
EDGE* mkedge(BBLK* bb, EDGE* rest);                // always prepends, probability unknown
EDGE* add_edge(BBLK* bb, EDGE* list, double prob); // unless already there
EDGE* remove_edge(BBLK* bb, EDGE* list);
void erase_edge(EDGE* cell);
void erase_edge_list(EDGE* list);
EDGE* copy_edge_list(const EDGE* list);
EDGE* rev_edge_list(EDGE* list);
EDGE* edge_memberp(const BBLK* bb, EDGE* list);
bool BB_is_in_bb_list(const BBLK* bb); // of the current function
int edge_length(const EDGE* list);
EDGE* sort_edge_list(EDGE* list);      // by dfn, stable; for short lists
EDGE* fast_sort_edge_list(EDGE* list); // by dfn, duplicates removed; for long lists
