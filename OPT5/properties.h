// What is known of a function beside its trees: analyses that one step leaves for a later one.
//
// The row of a step tells what the step needs and what it keeps. What it needs and the function
// lacks is built before its action; what it doesn't keep is dropped after it, so that nobody meets
// an answer about trees that are no longer there. Test builds compute anew what is left, and
// make of what is dropped an answer that shows.
#pragma once

enum PROPERTY : unsigned {
  GRAPH = 0x1,        // blocks, edges, labels and branches agree; blocks are in depth-first order
  DOMINATORS = 0x2,   // dominator and post-dominator trees
  LOOPS = 0x4,        // the tree of loops, and the loop of each block
  LIVE_SETS = 0x8,    // use, def, live-in and live-out of each block
  ALIASES = 0x10,     // the locals that pointers may reach are marked
  NORMAL_FORM = 0x20, // memory is a UMULT with a separate subscript
  SSA = 0x40,         // each version of a symbol has one definition
};

// Between two steps trees are plain and no function is in SSA form.
constexpr unsigned LIVES_BETWEEN_STEPS = GRAPH | DOMINATORS | LOOPS | LIVE_SETS | ALIASES;
constexpr unsigned LIVES_WITHIN_A_STEP = NORMAL_FORM | SSA;

// Set by whoever brings the current function's trees into that form, and cleared by whoever brings
// them back.
extern constinit thread_local bool trees_are_normalized, function_is_in_SSA_form;

// The properties that the current function claims to have.
unsigned claimed_properties();
// What of these the current function lacks is built.
void assure_properties(unsigned needed);
// What of these the current function has is no longer right.
void drop_properties(unsigned lost);
// Test builds: computes anew what the current function claims to have, between steps. A difference
// ends the run with a message that names the step, the function and what is wrong.
void verify_properties(const char* step);
