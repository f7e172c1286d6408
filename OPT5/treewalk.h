// Walks over trees. Any callable can visit; none is wrapped, as walks are what the optimiser does
// most.
#pragma once

#include "OPT5/node.h"
#include "support/small_stack.h"

// Calls visit on every node, an operator before its operands; a false result keeps it out of the
// operands. The visitor may change a node that is not constant, but not put another in its place.
template <class N, class VISIT> void walk_preorder(N* tree, VISIT&& visit) {
  if (!tree) return;
  small_stack<N*> rights; // still to be entered, those at the bottom of the left spine first
  for (N* node = tree;;) {
    if (visit(node)) {
      if (node->right) rights.push_back(node->right);
      if ((node = node->left)) continue;
    }
    if (rights.empty()) return;
    node = rights.back();
    rights.pop_back();
  }
}

// Calls visit on every node, operands before their operator, left before right. The visitor may
// change or replace the node by way of the reference, but not touch siblings.
template <class VISIT> void walk_postorder(NODE*& tree, VISIT&& visit) {
  if (!tree) return;
  // The left spine, root first; then upwards, each right side before its node. Half of all nodes
  // are leaves.
  small_stack<NODE**> spine;
  NODE** place = &tree;
  for (; (*place)->left; place = &(*place)->left)
    spine.push_back(place);
  for (;;) {
    if (NODE*& right = (*place)->right) {
      if (right->left || right->right)
        walk_postorder(right, visit);
      else
        visit(right);
    }
    visit(*place);
    if (spine.empty()) return;
    place = spine.back();
    spine.pop_back();
  }
}

template <class MATCH> bool tree_contains_matching_node(const NODE* tree, MATCH&& match) {
  bool found = false;
  walk_preorder(tree, [&](const NODE* node) {
    found = found || match(node);
    return !found;
  });
  return found;
}
