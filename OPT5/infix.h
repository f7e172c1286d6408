// Trees and functions as people read them: infix, with the words of C where it has one.
#pragma once

#include "OPT5/node.h"

#include <cstdio>
#include <string>

std::string infix_text(const NODE* tree);
// The current function: each block with its neighbours, how likely the ways to them are, how often
// it runs and which loop it is in, as far as that is known; then its statements, each with its
// position (line:column, after the file where that isn't the one before).
void print_infix(FILE* to);
