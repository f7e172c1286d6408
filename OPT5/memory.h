// What the trees, statements and edges of a function are made of: one arena a function, which is
// reset when the function has been written. What is made while there is no current function, as
// trees of initialisers, belongs to the unit and lives to the end of the run.
//
// A tree must only be linked into the function in whose turn it was made; test builds check this
// when a node is erased.
#pragma once

#include "OPT5/bblk.h"
#include "OPT5/node.h"
#include "support/arena.h"

#include <memory>
#include <vector>

class FUNCTION_MEMORY {
public:
  ARENA arena;

  // Nodes made and not yet erased. A pass that loses trees shows here.
  long live_nodes = 0;

  void* node_place() {
    live_nodes++;
    return nodes.alloc(arena);
  }
  void* list_place() { return lists.alloc(arena); }
  void* edge_place() { return edges.alloc(arena); }
  void free_node(NODE* node);
  void free_list(LIST* cell);
  void free_edge(EDGE* cell);
  PRAGMA* own(PRAGMA* pragma) { return pragmas.emplace_back(pragma).get(); }
  void reset();

private:
  CELL_POOL<NODE> nodes;
  CELL_POOL<LIST> lists;
  CELL_POOL<EDGE> edges;
  std::vector<std::unique_ptr<PRAGMA>> pragmas; // of PPRAGMA nodes
};

// The current function's, else the unit's.
FUNCTION_MEMORY& current_memory();
// Ends the life of the unit's trees.
void erase_unit_memory();
