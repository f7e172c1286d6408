// The tree of lexical scopes.

#include "OPT5/scope.h"

#include "DIAG/abort.h"
#include "OPT5/funinfo.h"
#include "OPT5/memory.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"
#include "support/psn.h"

// In the memory of the current function.
static LS* new_scope() {
  return new (current_memory().arena.alloc(sizeof(LS))) LS;
}

LS* LS::init(PSN* psn, SYMTAB* func) {
  auto* root = new_scope();
  root->opened = psn;
  root->func = func;
  root->open_scopes.push_back(root);
  root->open(psn, func, 0); // parameters
  root->open(psn, func, 0); // outermost block
  return root;
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

void LS::adopt(LS* child) {
  child->parent = this;
  (last_child ? last_child->sibling : first_child) = child;
  last_child = child;
}

LS* LS::common_open(PSN* psn, SYMTAB* function) {
  auto* scope = new_scope();
  scope->func = function;
  scope->level = level + 1;
  scope->opened = psn;
  adopt(scope);
  return scope;
}

void LS::open(PSN* psn, SYMTAB* function, unsigned) {
  open_scopes.push_back(innermost_open()->common_open(psn, function));
}

void LS::close(PSN* psn, SYMTAB*, unsigned) {
  if (open_scopes.empty()) return;
  open_scopes.back()->closed = psn;
  open_scopes.pop_back();
}

LS* LS::innermost_common_scope(LS* a, LS* b) {
  // Two trees have no common scope: at the top of one the walk ends.
  while (a && b && a != b) {
    LS*& deeper = a->level >= b->level ? a : b;
    deeper = deeper->parent;
  }
  return a == b ? a : nullptr;
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

template <class SCOPE, class VISIT> static void for_each_scope(SCOPE* root, VISIT visit) {
  std::vector<SCOPE*> pending{root};
  while (!pending.empty()) {
    SCOPE* scope = pending.back();
    pending.pop_back();
    for (LS* child = scope->first_child; child; child = child->sibling)
      pending.push_back(child);
    visit(scope);
  }
}

void LS::erase(LS* root) {
  if (root) for_each_scope(root, [](LS* scope) { scope->~LS(); });
}

LS* LS::copy_scope_tree(std::map<const LS*, LS*>& copies) const {
  // Outer scopes come before inner ones, and a scope's children in order, so each copy finds its
  // parent's copy and the order of siblings stays.
  std::vector<const LS*> order{this};
  for (size_t k = 0; k < order.size(); k++)
    for (const LS* child = order[k]->first_child; child; child = child->sibling)
      order.push_back(child);
  for (const LS* scope : order) {
    auto* copy = new_scope();
    copy->level = scope->level;
    copy->opened = scope->opened;
    copy->closed = scope->closed;
    copy->func = scope->func;
    copies[scope] = copy;
    if (scope != this) copies[scope->parent]->adopt(copy);
  }
  return copies[this];
}

void LS::offset_scope(unsigned levels, int positions) {
  CHECK(!parent);
  for_each_scope(this, [levels, positions](LS* scope) {
    scope->level += static_cast<int>(levels);
    if (!positions) return;
    for (const PSN* psn : {scope->opened, scope->closed})
      if (psn) note_psn_owner(psn, scope->func);
  });
}

void LS::splice_scope(LS* graft, int levels) {
  CHECK(!graft->parent && graft->level + levels == level + 1);
  for_each_scope(graft, [levels](LS* scope) { scope->level += levels; });
  adopt(graft);
}

void LS::add_symbol(SYMTAB* sym) {
  symbols.push_back(sym);
  sym->scope = this;
}

void LS::assign_scope_to_tree(NODE* tree) {
  walk_preorder(tree, [this](NODE* node) {
    node->ls = this;
    return true;
  });
}

void LS::initialize_scopes_and_ptrs_from_tree(NODE* tree) {
  LS* inner = innermost_open();
  walk_preorder(tree, [inner](NODE* node) {
    node->ls = node->op == NAME && node->u.sym && node->u.sym->scope ? node->u.sym->scope : inner;
    return true;
  });
}

void LS::print(bool with_symbols, FILE* to, int indent, bool recursive) const {
  // Without recursion: blocks may be nested as deep as a file likes.
  const int own_level = level;
  const SYMTAB* own_func = func;
  for (const LS* scope = this; scope;) {
    const int width = indent + 2 * (scope->level - own_level);
    print_checked(to, "%*sscope level %d", width, "", scope->level);
    if (scope->opened)
      print_checked(to, ", lines %u to %u", scope->opened->line,
                    scope->closed ? scope->closed->line : 0);
    if (scope->func && scope->func != own_func) print_checked(to, ", of %s()", scope->func->name);
    print_checked(to, "\n");
    if (with_symbols)
      for (const SYMTAB* sym : scope->symbols)
        print_checked(to, "%*s  %s\n", width, "", sym->name);
    if (!recursive) return;
    if (scope->first_child) {
      scope = scope->first_child;
      continue;
    }
    while (scope != this && !scope->sibling)
      scope = scope->parent;
    scope = scope == this ? nullptr : scope->sibling;
  }
}

const char* LS::fault() const {
  const char* found = nullptr;
  for_each_scope(this, [&found](const LS* scope) {
    const LS* last = nullptr;
    for (const LS* child = scope->first_child; child; last = child, child = child->sibling) {
      if (child->parent != scope) found = "a scope doesn't name the scope around it";
      if (child->level != scope->level + 1) found = "a scope has a wrong level";
    }
    if (last != scope->last_child) found = "a scope's last child isn't the end of its children";
    for (const SYMTAB* sym : scope->symbols)
      if (sym->scope != scope) found = "a scope holds a symbol of another one";
  });
  return found;
}

void LS::validate() const {
  if (const char* text = fault()) abort_optimizer(text);
}

void LS::collect(std::unordered_set<const LS*>& found) const {
  for_each_scope(this, [&found](const LS* scope) { found.insert(scope); });
}
