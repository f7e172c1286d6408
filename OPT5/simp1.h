// The tree simplifier's entries, and what puts trees into the shape that control statements want.
#pragma once

#include "OPT5/node.h"

// Both take the tree and return its replacement; a null loop means that no context may be used.
NODE* simp_tree(NODE* tree, LOOP* loop);
NODE* simp_node(NODE* node, LOOP* loop);
// Clean-up of a statement as it was read.
NODE* expr_cleanup(NODE* tree);
// A condition whose value is only tested for zero, as a truth value.
NODE* make_boolean(NODE* cond);
// A condition in the shape a branch wants.
NODE* simp_for_control(NODE* cond);
// A branch on __builtin_expect(c, k) --> a branch on c. The hint is in the edge's probability.
NODE* revert_CBRANCH_with_builtin_expect(NODE* cbranch);
// SWITCH(MCALL["__eh_dispatch"](x), cases): dispatch of exceptions, whose value is hidden from the
// simplifier so that every case stays. Goes out as SWITCH(x, cases).
bool tree_is_EH_SWITCH(const NODE* tree);
// ASG(l, MCALL["__eh_call"]({call, x})): a call under an exception table, bound to the value that
// stands for it. Goes out as two statements: the call, and ASG(l, x).
bool is_magic_EH_MCALL_ASG(const NODE* tree);
// Erases a node with one operand and gives that.
NODE* drop_wrapper(NODE* node);
// In-memory operators become what a file can hold: of a tree, and of all statements.
NODE* unsimplify_tree(NODE* tree);
void unsimplify();
