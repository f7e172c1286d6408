#include "OPT5/scope.h"

#include "DIAG/abort.h"
#include "OPT5/funinfo.h"

LS* LS::init(PSN* psn, SYMTAB* func) {
  auto* root = new LS;
  root->opened = psn;
  root->open_scopes.push_back(root);
  root->open(psn, func, 0); // parameters
  root->open(psn, func, 0); // outermost block
  return root;
}

void LS::erase(LS* root) {
  std::vector<LS*> pending{root};
  while (!pending.empty()) {
    LS* scope = pending.back();
    pending.pop_back();
    if (!scope) continue;
    for (LS* child = scope->first_child; child; child = child->sibling)
      pending.push_back(child);
    delete scope;
  }
}

void LS::check_is_current_root() const {
  CHECK(currfuninfo && currfuninfo->scope == this);
}

LS* LS::level_0_scope() {
  check_is_current_root();
  return this;
}

LS* LS::level_1_scope() {
  check_is_current_root();
  return first_child;
}

LS* LS::level_2_scope() {
  check_is_current_root();
  return first_child ? first_child->first_child : nullptr;
}

void LS::open(PSN* psn, SYMTAB*, unsigned) {
  LS* outer = innermost_open();
  auto* scope = new LS;
  scope->parent = outer;
  scope->level = outer->level + 1;
  scope->opened = psn;
  (outer->last_child ? outer->last_child->sibling : outer->first_child) = scope;
  outer->last_child = scope;
  open_scopes.push_back(scope);
}

void LS::close(PSN* psn, SYMTAB*, unsigned) {
  if (open_scopes.empty()) return;
  open_scopes.back()->closed = psn;
  open_scopes.pop_back();
}

LS* LS::innermost_common_scope(LS* a, LS* b) {
  if (!a || !b) return nullptr;
  while (a->level > b->level)
    a = a->parent;
  while (b->level > a->level)
    b = b->parent;
  while (a != b)
    a = a->parent, b = b->parent;
  return a;
}

bool LS::encloses(const LS* inner) const {
  while (inner && inner->level > level)
    inner = inner->parent;
  return inner == this;
}

bool LS::is_strictly_contained_by(const LS* outer) const {
  return outer != this && outer->encloses(this);
}

bool LS::object_may_be_live_in_scope(const SYMTAB* sym) const {
  // A symbol without a scope, or declared around this one or within it, may hold a value here.
  return !sym->scope || sym->scope->encloses(this) || encloses(sym->scope);
}

void LS::add_symbol(SYMTAB* sym) {
  symbols.push_back(sym);
  sym->scope = this;
}

void LS::assign_scope_to_tree(NODE* tree) {
  if (!tree) return;
  walk_preorder(tree, [this](const NODE* node) {
    const_cast<NODE*>(node)->ls = this;
    return true;
  });
}

void LS::initialize_scopes_and_ptrs_from_tree(NODE* tree) {
  LS* inner = innermost_open();
  walk_preorder(tree, [inner](const NODE* node) {
    auto* place = const_cast<NODE*>(node);
    place->ls = node->op == NAME && node->u.sym && node->u.sym->scope ? node->u.sym->scope : inner;
    return true;
  });
}

void LS::print(bool with_symbols, FILE* to, int indent, bool recursive) const {
  fprintf(to, "%*sscope level %d", indent, "", level);
  if (opened) fprintf(to, ", lines %u to %u", opened->line, closed ? closed->line : 0);
  fprintf(to, "\n");
  if (with_symbols)
    for (const SYMTAB* sym : symbols)
      fprintf(to, "%*s  %s\n", indent, "", sym->name);
  if (recursive)
    for (const LS* child = first_child; child; child = child->sibling)
      child->print(with_symbols, to, indent + 2, recursive);
}

void LS::validate() const {
  std::vector<const LS*> pending{this};
  while (!pending.empty()) {
    const LS* scope = pending.back();
    pending.pop_back();
    for (const LS* child = scope->first_child; child; child = child->sibling) {
      CHECK(child->parent == scope && child->level == scope->level + 1);
      pending.push_back(child);
    }
    for (const SYMTAB* sym : scope->symbols)
      CHECK(sym->scope == scope);
  }
}
