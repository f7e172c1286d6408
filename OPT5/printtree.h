// Trees and functions as text, in the form that icode-as reads.
#pragma once

#include "OPT5/node.h"

#include <cstdio>
#include <string>

// A tree. What exists in memory only is called by its operator's name, which icode-as doesn't know.
std::string tree_text(const NODE* tree);
// The current function: declarations of the classes that the optimiser made for it, then the
// function with a label for each block, by its depth-first number.
void print_function(FILE* to);
// The same to the debug file, as far as the debug options ask for it.
void prbbinfix();
