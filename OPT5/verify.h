// The verifier: shape rules of trees, of the statements of a function, and of its graph.
#pragma once

#include "OPT5/node.h"

#include <string>

// What is wrong with a tree (or with an initialiser's root), or null if it is sound: each operator
// has its operands, of the kind that it needs; lists and control operators stand where they may.
const char* verify_tree(const NODE* tree);
// The same for the root of a statement.
const char* verify_statement(const NODE* tree);
// Checks the current function: its trees, nothing shared or erased, labels, edges and branches
// agree, locals are on the function's lists. A fault ends the run with a message that names the
// step, the function and the statement.
void verify_function(const char* step);
// Ends the run with such a message. `tree` may be null.
[[noreturn]] void report_broken_function(const char* step, const NODE* tree,
                                         const std::string& fault);
// In test builds: verify_function, and what the current function claims to have (properties.h).
void verify_after(const char* step);
