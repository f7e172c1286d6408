// The tree of loops of the current function.
//
// Its root, of uid 0, holds what is in no loop; every block knows its innermost loop. Loops are
// natural loops: one header, which dominates all of the loop, one latch, one preheader. Where the
// graph has a loop that is none, the function has the root alone.
#pragma once

#include "OPT5/bblk.h"

#include <vector>

enum LOOP_FLAG : unsigned {
  LF_CONSERVATIVE_CLONE = 0x1,
  LF_AGGRESSIVE_CLONE = 0x2,
  LF_FAVORED_CLONE = 0x4,
  LF_DEPRECATED_CLONE = 0x8
};

class LOOP {
public:
  LOOP* parent = nullptr; // null at the root only
  BBLK* head = nullptr;
  BBLK* tail = nullptr;      // the single latch; null on the root
  BBLK* preheader = nullptr; // the block that enters from outside; null on the root
  // Blocks whose innermost loop this is, and the heads of the loops right in it. By dfn. Owned.
  EDGE* contents = nullptr;
  EDGE* exitBBs = nullptr;        // blocks outside that only blocks of the loop lead to. Owned.
  PRAGMA* pragmas = nullptr;      // of the root: the function's
  int uid = 0;                    // in pre-order
  short level = 42;               // nesting depth, root 0; 42 is "not yet assigned"
  unsigned flags = 0;             // LOOP_FLAG
  bool has_improper_exit = false; // some exit isn't from the tail
  bool irreducible = false;   // root: a loop of the function is none, and so all blocks are here
  LOOP* reflection = nullptr; // the clone's partner
};

// --- Building. The functions insert blocks, and so change the graph.
// Builds the tree of loops, and nothing else; dominators are found on the way. Nothing is built for
// a function whose entry is branched to, nor, with `only_if_any`, for one without loops.
void build_minimal_loop_hierarchy(bool only_if_any);
// The tree is no longer wanted: no block has a loop.
void unbuild_loop_hierarchy();
void erase_loop_hierarchy();
// A record of the current function. With copy_from, a copy of that one with lists of its own, in
// which a null head or tail and a negative uid stand for copy_from's.
LOOP* make_LOOP(BBLK* head, BBLK* tail, int uid, const LOOP* copy_from);

// --- Steps of the building, called on the root
void add_exit_blocks(LOOP* root);
void assign_loop_levels(LOOP* root, int level); // a level that doesn't fit ends the run
void assign_loop_numbers(LOOP* root, int number);

// --- Asking
bool loop_is_innermost(const LOOP* loop);
// Is `inner` the same loop, or one in it at any depth? Levels must have been assigned.
bool loop_encloses(const LOOP* outer, const LOOP* inner);
std::vector<LOOP*> inner_loops(const LOOP* loop); // right in it, by the dfn of their heads
// The heads of all innermost loops in a loop (or its own), in front of `list`.
EDGE* build_list_of_innermost_loop_headers(LOOP* loop, EDGE* list);

// --- Checking and showing
// Compares the tree below `loop` with the graph, and with `correct` puts right what can be. Each
// fault is told on the debug stream. Gives the number of those that stay.
int validate_loop(LOOP* loop, int correct);
void dump_loop_hierarchy(const LOOP* loop);
// What is wrong with the tree that the current function claims to have: null if nothing is.
const char* loops_fault();
