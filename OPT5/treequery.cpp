// Questions about trees, and the walkers that answer them.

#include "OPT5/bblk.h"
#include "OPT5/node.h"
#include "OPT5/optables.h"
#include "OPT5/symbol.h"
#include "OPT5/treewalk.h"

#include <cstring>

bool opcode_is_ASG(int op) {
  return op == ASG || op == STASG || op == ARASG || op == PLUSPLUS || op == MINMIN ||
         op_of_opASG[op] != ILLOP;
}

bool op_is_call(int op) {
  return op == CALL || op == UCALL || op == ICALL || op == UICALL || op == MCALL || op == UMCALL;
}

bool computes_lane_by_lane(const NODE* node) {
  if (!node->type->is_vector()) return false;
  return is_operator_assignment(node->op) || opASG_of_op[node->op] != ILLOP;
}

bool tree_has_side_effects(const NODE* tree) {
  return tree_contains_matching_node(tree, [](const NODE* node) {
    switch (node->op) {
    // Not themselves effects: the sequence operators and transparent markers.
    case COMMAOP:
    case PCOMMA:
    case DDNODE:
    case NOP: return false;
    case NAME:
    case UMULT:
    case STDOT:
    case STREF: return node->type->is_volatile(); // reading it is an effect
    default: return side_effects[node->op] != SE_NONE;
    }
  });
}

bool expr_is_constant(const NODE* tree) {
  return !tree_contains_matching_node(tree, [](const NODE* node) {
    if (node->op == ICON || node->op == FCON || node->op == SCON) return false;
    return has_trait(node->op, operator_trait::READS) || side_effects[node->op] != SE_NONE ||
           op_is_call(node->op) || (!node->left && !node->right);
  });
}

bool expr_is_globally_evaluable(const NODE* tree) {
  for (;;) {
    switch (tree->op) {
    case PLUS:
    case MINUS:
      if (!tree->type->is_pointer()) return expr_is_constant(tree);
      if (!expr_is_constant(tree->right)) { // the constant of a sum may be on either side
        if (tree->op == MINUS || !expr_is_constant(tree->left)) return false;
        tree = tree->right;
        continue;
      }
      [[fallthrough]];
    case PCONV:
    case ISP2CHAR: tree = tree->left; continue;
    case UAND: {
      const NODE* place = tree->left;
      while (place->op == STDOT)
        place = place->left;
      return place->op == NAME && place->u.sym && place->u.sym->level == 0;
    }
    default: return expr_is_constant(tree);
    }
  }
}

const fkMDATA* bit_field_of(const NODE* node) {
  switch (node->op) {
  case STDOT:
  case STREF:
  case STFIELD: return node->right->mval->is_bitfield() ? node->right->mval : nullptr;
  case ASG: return bit_field_of(node->left);
  case COMMAOP: return bit_field_of(node->right);
  default: return is_operator_assignment(node->op) ? bit_field_of(node->left) : nullptr;
  }
}

bool sym_appears_in_tree(const SYMTAB* sym, const NODE* tree) {
  return tree_contains_matching_node(
      tree, [sym](const NODE* node) { return node->op == NAME && node->u.sym == sym; });
}

bool tree_references_NAME(const NODE* tree, const NODE* name) {
  return sym_appears_in_tree(name->u.sym, tree);
}

bool sym_appears_in_list(const SYMTAB* sym, const LIST* list) {
  for (; list; list = list->next)
    if (sym_appears_in_tree(sym, list->tree)) return true;
  return false;
}

bool sym_appears_in_bb(const SYMTAB* sym, const BBLK* bb) {
  return sym_appears_in_list(sym, bb->statements);
}

bool tree_contains_op(const NODE* tree, int op) {
  return tree_contains_matching_node(tree, [op](const NODE* node) { return node->op == op; });
}

bool tree_is_subtree_of_tree(const NODE* part, const NODE* tree) {
  return tree_contains_matching_node(tree, [part](const NODE* node) { return node == part; });
}

bool tree_is_strict_subtree_of_tree(const NODE* part, const NODE* tree) {
  return part != tree && tree_is_subtree_of_tree(part, tree);
}

int count_nodes_in_tree(const NODE* tree) {
  int count = 0;
  walk_preorder(tree, [&](const NODE*) { return ++count, true; });
  return count;
}

int count_calls_in_tree(const NODE* tree) {
  int count = 0;
  walk_preorder(tree, [&](const NODE* node) {
    count += node->op == CALL || node->op == UCALL;
    return true;
  });
  return count;
}

bool tree_is_arg_prolog(const NODE* tree) {
  auto is_copy_of_parameter = [](const NODE* node) {
    return (node->op == ASG || node->op == STASG) && node->left && node->right &&
           node->left->op == NAME && node->right->op == NAME && node->left->u.sym &&
           node->right->u.sym && node->left->u.sym->level >= OUTER_LEVEL &&
           node->right->u.sym->level == PARAMETER_LEVEL &&
           strcmp(node->left->u.sym->name, node->right->u.sym->name) == 0;
  };
  for (; tree->op == PCOMMA; tree = tree->left)
    if (!is_copy_of_parameter(tree->right)) return false;
  return is_copy_of_parameter(tree);
}

int arg_list_count(const NODE* args) {
  if (!args) return 0;
  int count = 1;
  for (; args->op == COMMA; args = args->left)
    count++;
  return count;
}

NODE* arg_list_lookup(NODE* args, int k) {
  int steps = arg_list_count(args) - 1 - k;
  if (k < 0 || steps < 0) return nullptr;
  for (; steps; steps--)
    args = args->left;
  return args->op == COMMA ? args->right : args;
}

std::vector<NODE*> arg_list_items(NODE* args) {
  std::vector<NODE*> items(static_cast<size_t>(arg_list_count(args)));
  for (size_t k = items.size(); k-- > 0; args = args->left)
    items[k] = k ? args->right : args;
  return items;
}

SYMTAB* get_callee_for_call(const NODE* call) {
  if ((call->op != CALL && call->op != UCALL) || !call->left) return nullptr;
  const NODE* callee = call->left;
  while ((callee->op == PCONV || callee->op == ISP2CHAR) && callee->left)
    callee = callee->left;
  if (callee->op != UAND || callee->left->op != NAME) return nullptr;
  SYMTAB* sym = callee->left->u.sym;
  return sym && sym->type->is_func() ? sym : nullptr;
}

const FUNC_PARTS* called_prototype(const NODE* call) {
  const SYMTAB* callee = get_callee_for_call(call);
  const TYPE* type = callee                           ? callee->type
                     : call->left->type->is_pointer() ? call->left->type->elem_type()
                                                      : nullptr;
  const FUNC_PARTS* parts = type && type->is_func() ? type->func_parts() : nullptr;
  return parts && parts->is_prototyped ? parts : nullptr;
}

NODE* get_arguments_to_call(NODE* call) {
  switch (call->op) {
  case CALL: return call->right;
  case ICALL:
  case MCALL: return call->left;
  default: return nullptr;
  }
}
