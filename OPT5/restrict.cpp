// Groups of pointers.
//
//   p = q + 1; r = s;  -->  {p, q}, {r, s}
//
// A pointer whose value goes where it can't be followed joins the bottom's group: into memory, to a
// callee, into an integer. So does one that gets its value from there, one whose address is taken,
// and one of file scope.

#include "OPT5/restrict.h"

#include "DIAG/abort.h"
#include "OPT5/funinfo.h"
#include "OPT5/optables.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"

#include <unordered_set>

// ---------------------------------------------------------------------------------------------
// Records

PTR* find_PTR_entry(const SYMTAB* sym, const fkMDATA* member) {
  if (!currfuninfo->pointers) return nullptr;
  const auto& places = currfuninfo->pointers->by_place;
  const auto place = places.find({sym, member});
  return place == places.end() ? nullptr : place->second;
}

PTR* make_bottom_PTR_entry() {
  std::unique_ptr<PTR_TABLE>& table = currfuninfo->pointers;
  if (!table) table = std::make_unique<PTR_TABLE>();
  if (table->all.empty()) {
    PTR* bottom = table->all.emplace_back(std::make_unique<PTR>()).get();
    bottom->number = 0;
    bottom->is_bottom = true;
    bottom->root = bottom;
  }
  return table->all[0].get();
}

PTR* make_PTR_entry(SYMTAB* sym, const fkMDATA* member) {
  if (PTR* known = find_PTR_entry(sym, member)) return known;
  make_bottom_PTR_entry(); // has the lowest number
  PTR_TABLE& table = *currfuninfo->pointers;
  PTR* made = table.all.emplace_back(std::make_unique<PTR>()).get();
  table.by_place[{sym, member}] = made;
  made->number = static_cast<unsigned>(table.all.size()) - 1;
  made->sym = sym;
  made->member = member;
  made->scope = sym->scope;
  made->root = made;
  made->is_file_level = !sym->is_local();
  made->is_a_parameter = sym->level == PARAMETER_LEVEL;
  return made;
}

PTR* find_or_make_PTR_entry(SYMTAB* sym) {
  return sym->type->is_pointer() ? make_PTR_entry(sym, nullptr) : nullptr;
}

PTR* find_or_make_PTR_entry(const NODE* place) {
  if (!place->type->is_pointer()) return nullptr;
  if (place->op == NAME && place->u.sym && place->u.sym->type->is_pointer())
    return make_PTR_entry(place->u.sym, nullptr);
  if (place->op == STDOT && place->left->op == NAME && place->left->u.sym && place->right->mval &&
      !place->left->u.sym->type->is_union())
    return make_PTR_entry(place->left->u.sym, place->right->mval);
  return make_bottom_PTR_entry();
}

void PTR::print(FILE* to) const {
  if (is_bottom) {
    print_checked(to, "#-|-:\t<LATTICE BOTTOM>\n");
    return;
  }
  print_checked(to, "#%u|%u:\t%s%s%s", number, scope ? static_cast<unsigned>(scope->level) : 0,
                sym->name, member ? "." : "", member ? member->name : "");
  const struct {
    bool holds;
    const char* text;
  } marks[] = {{is_restricted, "restricted"},
               {is_disjointed, "disjointed"},
               {is_file_level, "file-level"},
               {is_a_parameter, "parameter"},
               {is_reassigned, "reassigned"}};
  for (const auto& mark : marks)
    if (mark.holds) print_checked(to, " %s", mark.text);
  print_checked(to, "\n  ROOT:  #%d ", static_cast<int>(root->number));
  print_checked(to, "%s\n", is_a_root() ? "(self)" : "");
}

void PTR::validate() const {
  CHECK(root && root->root == root && root->number <= number);
  CHECK(is_bottom == (sym == nullptr));
}

// ---------------------------------------------------------------------------------------------
// Groups

static PTR* root_of(PTR* ptr) {
  while (ptr->root != ptr)
    ptr = ptr->root = ptr->root->root;
  return ptr;
}

// The group whose root has the lower number takes the other in.
static void unite(PTR* a, PTR* b) {
  a = root_of(a);
  b = root_of(b);
  (a->number < b->number ? b : a)->root = a->number < b->number ? a : b;
}

// The variable or member that the value of a tree was made from by adding distances.
static const NODE* base_of_value(const NODE* tree) {
  for (;;) {
    const bool is_copy = tree->op == PCONV || tree->op == DDNODE;
    const bool is_sum = (tree->op == PLUS || tree->op == MINUS) && tree->left->type->is_pointer();
    if ((!is_copy && !is_sum) || !tree->left->type->is_pointer()) return tree;
    tree = tree->left;
  }
}

static bool is_known_place(const NODE* tree) {
  return tree->type->is_pointer() && (tree->op == NAME || tree->op == STDOT) &&
         !find_or_make_PTR_entry(tree)->is_bottom;
}

static void assign(const NODE* target, const NODE* value) {
  PTR* to = find_or_make_PTR_entry(target);
  if (!to) return;
  const NODE* base = base_of_value(value);
  if (base != target && is_known_place(base)) {
    PTR* from = find_or_make_PTR_entry(base);
    unite(to, from);
    if (from->is_restricted && from->scope && to->scope && from->scope->encloses(to->scope))
      to->is_restricted = true;
    return;
  }
  to->is_reassigned = true;
  // A new object's address makes nobody's pointer; all else may be any.
  const bool is_address = base->op == UAND || base->op == SCON || base->op == ICON;
  if (!is_address && !is_known_place(base)) unite(to, make_bottom_PTR_entry());
}

// The operator uses the pointer to find a place, or to compare, and hands it to nobody.
static bool keeps_to_itself(int op) {
  return op == UMULT || op == STREF || boolean_result[op];
}

using SYMBOLS = std::unordered_set<const SYMTAB*>;

// `whole` collects the classes whose members are reached without their names.
static void note_tree(const NODE* tree, SYMBOLS& whole) {
  walk_preorder(tree, [&whole](const NODE* node) {
    PTR* bottom = make_bottom_PTR_entry();
    const bool takes_address = node->op == UAND || node->op == ARGREF;
    if (node->op == ASG) assign(node->left, node->right);
    if (takes_address) {
      const NODE* place = node->left;
      if (is_known_place(place)) unite(find_or_make_PTR_entry(place), bottom);
      while (place->op == STDOT)
        place = place->left;
      if (place->op == NAME) whole.insert(place->u.sym);
    }
    for (const NODE* operand : {node->left, node->right}) {
      if (!operand) continue;
      if (operand->op == NAME && operand->u.sym && !operand->type->is_pointer()) {
        // A pointer that is read as something else, a class that is copied or passed.
        if (PTR* known = find_or_make_PTR_entry(operand->u.sym)) unite(known, bottom);
        if (node->op != STDOT) whole.insert(operand->u.sym);
      }
      const NODE* base = base_of_value(operand);
      if (takes_address || !is_known_place(base)) continue;
      const bool adds =
          node->op == PLUSASG || node->op == MINUSASG || node->op == PLUSPLUS || node->op == MINMIN;
      const bool is_target = operand == node->left && (node->op == ASG || adds);
      const bool is_source =
          operand == node->right && node->op == ASG && is_known_place(node->left);
      const bool moves_on = operand == node->left && base_of_value(node) == base;
      if (!is_target && !is_source && !moves_on && !keeps_to_itself(node->op))
        unite(find_or_make_PTR_entry(base), bottom);
    }
    return true;
  });
}

void LS::build_PTR_equivalence_groups() {
  check_is_current_root();
  FUNINFO* fi = currfuninfo;
  PTR* bottom = make_bottom_PTR_entry();
  const auto is_qualified = [](const PTR* ptr) {
    const TYPE* type = ptr->member ? ptr->member->type : ptr->sym ? ptr->sym->type : nullptr;
    return type && (type->qual_kind(true) & TYPE::Q_RESTRICT) && ptr->scope;
  };
  // Records for all, so that each is known whichever way it is met.
  SYMBOLS whole;
  visit_all_trees(fi, [](const NODE* tree) {
    walk_preorder(tree, [](const NODE* node) {
      if (node->op == NAME || node->op == STDOT) find_or_make_PTR_entry(node);
      return true;
    });
  });
  std::vector<std::unique_ptr<PTR>>& all = fi->pointers->all;
  for (const auto& ptr : all) {
    ptr->root = ptr.get();
    ptr->is_reassigned = false;
    ptr->is_restricted = is_qualified(ptr.get());
    ptr->is_disjointed = ptr->is_a_parameter && flags.pointer_args_are_disjoint;
  }
  visit_all_trees(fi, [&whole](const NODE* tree) { note_tree(tree, whole); });
  for (const auto& ptr : all)
    if (ptr->is_file_level || (ptr->member && whole.count(ptr->sym))) unite(ptr.get(), bottom);
  for (const auto& ptr : all) {
    ptr->root = root_of(ptr.get());
    if (ptr->root == bottom && !is_qualified(ptr.get())) ptr->is_restricted = false;
  }
}

void print_PTRs(FILE* to) {
  if (!currfuninfo->pointers) return;
  for (const auto& ptr : currfuninfo->pointers->all)
    ptr->print(to);
}

// ---------------------------------------------------------------------------------------------
// What isn't built yet

void clear_PT_vectors() {}
void make_symbol_groupable(SYMTAB*) {}
