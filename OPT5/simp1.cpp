// The tree simplifier: so far what the output needs.
//
//   if (__builtin_expect(c, 1))  -->  if (c)
//   p[i] of memory               -->  *(p + i) of a file

#include "OPT5/simp1.h"

#include "OPT5/counters.h"
#include "OPT5/funinfo.h"
#include "OPT5/optables.h"
#include "OPT5/treewalk.h"

#include <cstring>

static COUNTER dropped_expectations("output", "__builtin_expect in a condition");

NODE* simp_node(NODE* node, LOOP*) {
  return node;
}

NODE* simp_tree(NODE* tree, LOOP* loop) {
  walk_postorder(tree, [loop](NODE*& node) { node = simp_node(node, loop); });
  return tree;
}

NODE* expr_cleanup(NODE* tree) {
  return tree;
}

// c --> c != 0 for a condition that a branch can't test as it is.
NODE* make_boolean(NODE* cond) {
  TYPE* type = cond->type;
  if (!type->is_float()) return cond;
  simul_fval zero = pos_zero;
  return maketree(FNEQN, cond, mk_FCON(zero, type), tp->mk_plain_int(), cond->ls);
}

NODE* simp_for_control(NODE* cond) {
  return cond;
}

NODE* revert_CBRANCH_with_builtin_expect(NODE* cbranch) {
  NODE* cond = cbranch->left;
  if (cond->op != ICALL || strcmp(cond->u.callee, "__builtin_expect") != 0) return cbranch;
  NODE* args = cond->left;
  if (args->op != COMMA || tree_has_side_effects(args->right)) return cbranch;
  dropped_expectations.count();
  cbranch->left = args->left;
  args->left = nullptr;
  erase_tree(cond);
  return cbranch;
}

bool tree_is_EH_SWITCH(const NODE* tree) {
  return tree->op == SWITCH && tree->left->op == MCALL &&
         strcmp(tree->left->u.callee, "__eh_dispatch") == 0;
}

bool is_magic_EH_MCALL_ASG(const NODE* tree) {
  if (tree->op != ASG || tree->right->op != MCALL) return false;
  const NODE* args = tree->right->left;
  return strcmp(tree->right->u.callee, "__eh_call") == 0 && args->op == COMMA &&
         op_is_call(args->left->op);
}

// --- Going out

NODE* drop_wrapper(NODE* node) {
  NODE* inner = node->left;
  node->left = nullptr;
  erase_node(node);
  return inner;
}

static void make_file_operator(NODE*& node) {
  switch (node->op) {
  case ISP2CHAR: node->op = PCONV; break;
  case VSCONV: node->op = SCONV; break;
  case IDENTITY:
  case OUIALIGN:
  case NONALIGN: node = drop_wrapper(node); break;
  case UMULT: // p[i] --> *(p + i)
    if (node->right) {
      node->left = maketree(PLUS, node->left, node->right, node->left->type, node->ls);
      node->right = nullptr;
    }
    break;
  default: break;
  }
}

NODE* unsimplify_tree(NODE* tree) {
  walk_postorder(tree, make_file_operator);
  return tree;
}

void unsimplify() {
  visit_all_trees(currfuninfo, [](NODE*& tree) { tree = unsimplify_tree(tree); });
}
