// Trees and functions as text, in the form that icode-as reads.
#pragma once

#include "OPT5/node.h"

#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

// While it lives, locals of the current function that share a name are told apart in texts.
class LOCAL_NAMES {
public:
  using MEMBERS_BY_NAME = std::unordered_map<std::string, const fkMDATA*>;

  explicit LOCAL_NAMES(const FUNINFO* fi);
  ~LOCAL_NAMES();
  LOCAL_NAMES(const LOCAL_NAMES&) = delete;
  LOCAL_NAMES& operator=(const LOCAL_NAMES&) = delete;

  std::vector<const SYMTAB*> symbols; // of the function: parameters first, in order

private:
  std::unordered_map<const SYMTAB*, std::string> names;
  std::unordered_map<const TYPE*, MEMBERS_BY_NAME> members;
};

std::string symbol_text(const SYMTAB* sym);
// A node without its operands and type. `access` is the operator whose right operand it is, or
// null.
std::string head_text(const NODE* node, const NODE* access);

// A tree. What exists in memory only is called by its operator's name, which icode-as doesn't know.
std::string tree_text(const NODE* tree);
// The current function: declarations of the classes that the optimiser made for it, then the
// function with a label for each block, by its depth-first number.
void print_function(FILE* to);
// To the debug file the function's scopes, the function in infix, and as a tree, each if the debug
// options ask for it.
void prbbinfix();
