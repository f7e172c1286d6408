// Locals of the user get a wider type.
//
//   int i; ... i = i + 1;  -->  long w; ... w = (long)((int)w + 1);

#include "OPT5/widen.h"

#include "OPT5/funinfo.h"
#include "OPT5/optables.h"
#include "OPT5/treewalk.h"
#include "OPT5/types.h"

#include <unordered_map>
#include <unordered_set>

namespace {

using PARTNERS = std::unordered_map<const SYMTAB*, SYMTAB*>;

bool is_plain_integer(const TYPE* type) {
  return type->is_int_or_enum() && !type->is_volatile();
}

bool may_be_widened(const SYMTAB* sym, const SYMTAB* wide) {
  return sym->sclass == SC_AUTO && sym->level != PARAMETER_LEVEL && !is_internal_symbol(sym) &&
         !sym->location && !sym->value && !sym->pragmas && !(sym->cqual & CQ_MUST_STAY) &&
         is_plain_integer(sym->type) && is_plain_integer(wide->type);
}

// The partners of the locals that the function still has.
PARTNERS candidates(const FUNINFO* fi) {
  std::unordered_set<const SYMTAB*> locals;
  for (const SYMTAB* list : lists_of_locals(fi))
    for (const SYMTAB* sym = list; sym; sym = sym->next)
      locals.insert(sym);
  PARTNERS partners;
  for (const SYMPAIRLIST* pair = fi->widened; pair; pair = pair->next)
    if (locals.count(pair->first) && may_be_widened(pair->first, pair->second))
      partners.emplace(pair->first, pair->second);
  return partners;
}

bool is_assignment(int op) {
  return op == ASG || op_of_opASG[op] != ILLOP;
}

bool names(const NODE* node, const PARTNERS& partners) {
  return node && node->op == NAME && partners.count(node->u.sym) != 0;
}

void drop_all_named(const NODE* tree, PARTNERS& partners) {
  if (!tree) return;
  walk_preorder(tree, [&partners](const NODE* node) {
    if (node->op == NAME) partners.erase(node->u.sym);
    return true;
  });
}

// Takes those out that a tree uses for more than their value.
void drop_used_as_places(const NODE* tree, PARTNERS& partners) {
  walk_preorder(tree, [&partners](const NODE* node) {
    if (node->op == NAME) {
      if (names(node, partners) && !compatible_types(node->type, node->u.sym->type))
        partners.erase(node->u.sym);
      return true;
    }
    const OPERAND place = operator_rows[node->op].left;
    const bool is_value = place == OPERAND::VALUE || place == OPERAND::SCALAR ||
                          place == OPERAND::LIST_OF || place == OPERAND::STATEMENT;
    if (names(node->left, partners) && !is_value && !is_assignment(node->op))
      partners.erase(node->left->u.sym);
    return true;
  });
}

void put_partners(NODE*& node, const PARTNERS& partners) {
  if (node->op == NAME) {
    const auto pair = partners.find(node->u.sym);
    if (pair == partners.end()) return;
    TYPE* narrow = node->type;
    LS* scope = node->ls;
    node->u.sym = pair->second;
    node->type = pair->second->type;
    node = maketree(SCONV, node, nullptr, narrow, scope);
  } else if (node->op == ASG && node->left->op == SCONV && node->left->left->op == NAME) {
    // The left side is what the first branch made of a name.
    NODE* conversion = node->left;
    TYPE* narrow = conversion->type;
    node->left = conversion->left;
    erase_node(conversion);
    TYPE* wide = node->left->type;
    node->right = coerce_to_type(wide, coerce_to_type(narrow, node->right, true), false);
    node->type = wide;
    node = maketree(SCONV, node, nullptr, narrow, node->ls);
  }
}

} // namespace

void widen_user_variables() {
  FUNINFO* fi = currfuninfo;
  if (!fi->widened) return;
  PARTNERS partners = candidates(fi);
  drop_all_named(fi->entry_tree, partners);
  for (const LIST* s = fi->global_assertions; s; s = s->next)
    drop_all_named(s->tree, partners);
  for (const EHT_ITEM& item : fi->eht)
    drop_all_named(item.cleanup, partners);
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      drop_used_as_places(s->tree, partners);
  if (partners.empty()) return;

  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (LIST* s = bb->statements; s; s = s->next) {
      walk_postorder(s->tree, [&partners](NODE*& node) {
        // x op= e  -->  x = x op e
        if (op_of_opASG[node->op] != ILLOP && names(node->left, partners))
          node = opASG_to_ASG(node);
      });
      walk_postorder(s->tree, [&partners](NODE*& node) { put_partners(node, partners); });
      if (s->tree->op == SCONV && s->tree->left->op == ASG) { // nobody wants the value
        NODE* conversion = s->tree;
        s->tree = conversion->left;
        erase_node(conversion);
      }
    }
  for (SYMTAB** list : {&fi->incoming, &fi->symbols, &fi->reg_candidates})
    for (SYMTAB** place = list; *place;) {
      SYMTAB* sym = *place;
      if (!partners.count(sym)) {
        place = &sym->next;
        continue;
      }
      *place = sym->next;
      sym->next = nullptr;
    }
}
