// Tail-recursive self-calls become branches to the function's head. Part of building the graph.
#pragma once

void remove_tail_recursion();
