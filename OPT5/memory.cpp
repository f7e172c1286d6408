// The memory of trees, statements and edges: an arena a function.

#include "OPT5/memory.h"

#include "OPT5/funinfo.h"

static FUNCTION_MEMORY& unit_memory() {
  static FUNCTION_MEMORY memory;
  return memory;
}

FUNCTION_MEMORY& current_memory() {
  return currfuninfo && currfuninfo != file_funinfo ? currfuninfo->memory : unit_memory();
}

void erase_unit_memory() {
  unit_memory().reset();
}

// What is erased without a current function may be any function's: only its arena's reset takes it
// back.

void FUNCTION_MEMORY::free_node(NODE* node) {
  live_nodes--;
  if (this != &unit_memory()) nodes.free(node);
}

void FUNCTION_MEMORY::free_list(LIST* cell) {
  if (this != &unit_memory()) lists.free(cell);
}

void FUNCTION_MEMORY::free_edge(EDGE* cell) {
  if (this != &unit_memory()) edges.free(cell);
}

void FUNCTION_MEMORY::reset() {
  nodes.forget();
  lists.forget();
  edges.forget();
  pragmas.clear();
  live_nodes = 0;
  arena.reset();
}
