// The output: a function's blocks become the record stream again.
#pragma once

#include "OPT5/node.h"
#include "ifile/i_file.h"

extern I_FILE* i_file;
extern I_FILE* o_file;

// The last step of every function: writes currfunc and frees its trees and blocks.
void output_function();
void write_func_header();
void write_func_body();
void wrbblocks();
void wrexpr(LIST* stmt);
void wrtree(NODE* tree);
void wrbdlr(LBL* label);
// An assembly line, code 47 for a comment.
void wrasmr(int code, const char* text, PSN* psn);
void wrstcr(int tag, PSN* psn);
// Global symbols' final linkage, and their initialisers. After all functions.
void finish_global_symbols();
