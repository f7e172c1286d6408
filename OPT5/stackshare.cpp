// Aggregates of blocks that never live together share memory.
//
//   { int a[8]; ... } { int b[8]; ... }  -->  union { int a[8]; int b[8]; } s; { ... } { ... }

#include "OPT5/stackshare.h"

#include "DIAG/abort.h"
#include "OPT5/counters.h"
#include "OPT5/funinfo.h"
#include "OPT5/scope.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"
#include "OPT5/types.h"

#include <algorithm>
#include <bit>
#include <mutex>
#include <string>
#include <unordered_map>

static COUNTER shared_bits("stack sharing", "bits of stack saved");

static std::mutex mdata_lock; // member data that is added to the type package

// Scopes from this depth on belong to the one around them: an access names two members a level,
// and nobody nests that many blocks with arrays.
static constexpr int DEEPEST_SCOPE = 16;
// Objects beyond are no stack's, and sums of their sizes would not fit in a number.
static constexpr unsigned long LARGEST_OBJECT = 1UL << 40; // bits
static constexpr long LARGEST_OFFSET = INT32_MAX;          // of a member, in bits
static constexpr unsigned LARGEST_ALIGN = 1U << 20;        // bits

// ---------------------------------------------------------------------------------------------
// Collecting

// All scopes of a tree, outer ones before those in them.
static std::vector<STACK_SHARING_SCOPE*> scopes_of(STACK_SHARING_SCOPE* root) {
  std::vector<STACK_SHARING_SCOPE*> order;
  if (root) order.push_back(root);
  for (size_t k = 0; k < order.size(); k++)
    for (STACK_SHARING_SCOPE* child = order[k]->first_child; child; child = child->sibling)
      order.push_back(child);
  return order;
}

void erase_stack_sharing(STACK_SHARING_SCOPE* root) {
  for (STACK_SHARING_SCOPE* scope : scopes_of(root))
    delete scope;
}

void init_stack_sharing() {
  erase_stack_sharing(currfuninfo->sharing_root);
  currfuninfo->sharing_root = currfuninfo->sharing_open = nullptr;
}

void begin_stack_sharing_scope(int id) {
  FUNINFO* fi = currfuninfo;
  if (!fi->sharing_root) fi->sharing_root = fi->sharing_open = new STACK_SHARING_SCOPE{-1};
  auto* scope = new STACK_SHARING_SCOPE{id};
  scope->parent = fi->sharing_open;
  scope->sibling = scope->parent->first_child;
  scope->parent->first_child = scope;
  fi->sharing_open = scope;
}

void end_stack_sharing_scope() {
  STACK_SHARING_SCOPE*& open = currfuninfo->sharing_open;
  if (open && open->parent) open = open->parent;
}

bool may_share_stack(const SYMTAB* sym) {
  if (sym->sclass != SC_AUTO || sym->location || sym->value || (sym->cqual & CQ_MUST_STAY))
    return false;
  TYPE* type = sym->type;
  if (!type->is_array() && (!type->is_csu() || type->is_vector())) return false;
  const unsigned align = std::max(sym->align, type->align);
  if (sym->size == 0 || sym->size > LARGEST_OBJECT || align > LARGEST_ALIGN ||
      (align && !std::has_single_bit(align)))
    return false;
  return !type_may_contain_volatile(type);
}

void add_stack_sharing_variable(SYMTAB* sym) {
  STACK_SHARING_SCOPE* open = currfuninfo->sharing_open;
  if (open && open->parent) open->variables.push_back(sym);
}

void delete_stack_sharing_variable(SYMTAB* sym) {
  if (STACK_SHARING_SCOPE* open = currfuninfo->sharing_open)
    if (std::erase(open->variables, sym)) return;
  for (STACK_SHARING_SCOPE* scope : scopes_of(currfuninfo->sharing_root))
    if (std::erase(scope->variables, sym)) return;
}

// ---------------------------------------------------------------------------------------------
// Choosing

namespace {

// Where the variables of the scopes are named.
class USES {
public:
  explicit USES(const std::vector<STACK_SHARING_SCOPE*>& scopes) {
    for (const STACK_SHARING_SCOPE* scope : scopes)
      for (const SYMTAB* sym : scope->variables)
        uses[sym] = NOWHERE;
  }

  void scan(const FUNINFO* fi) {
    for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      for (const LIST* s = bb->statements; s; s = s->next)
        note(s->tree, [s](const SYMTAB* sym) {
          return sym->scope && s->tree->ls && sym->scope->encloses(s->tree->ls);
        });
    // A clean-up runs while its object lives.
    for (const EHT_ITEM& item : fi->eht)
      note(item.cleanup, [](const SYMTAB*) { return true; });
    // These speak of the whole function.
    auto nowhere = [](const SYMTAB*) { return false; };
    note(fi->entry_tree, nowhere);
    for (const LIST* s = fi->global_assertions; s; s = s->next)
      note(s->tree, nowhere);
  }

  bool only_in_its_block(const SYMTAB* sym) const { return uses.at(sym) == IN_BLOCK; }

private:
  enum PLACE { NOWHERE, IN_BLOCK, OUTSIDE };
  std::unordered_map<const SYMTAB*, PLACE> uses;

  template <class INSIDE> void note(const NODE* tree, INSIDE is_inside) {
    if (!tree) return;
    walk_preorder(tree, [&](const NODE* node) {
      if (node->op != NAME) return true;
      auto use = uses.find(node->u.sym);
      // What takes it for a function, or nothing, cannot take a member for it.
      const bool is_object = !node->type->is_void() && !node->type->is_func();
      if (use != uses.end() && use->second != OUTSIDE)
        use->second = is_object && is_inside(use->first) ? IN_BLOCK : OUTSIDE;
      return true;
    });
  }
};

// Lets the variables of a scope live in the one around it.
void join_parent(STACK_SHARING_SCOPE* scope) {
  std::vector<SYMTAB*>& outer = scope->parent->variables;
  if (outer.size() < scope->variables.size()) outer.swap(scope->variables);
  outer.insert(outer.end(), scope->variables.begin(), scope->variables.end());
  scope->variables.clear();
}

// Reduces the tree to the scopes that matter. Empty ones go. One without a sibling lives together
// with the scope around it. The others get the order of the source. `scopes` lists outer ones
// first.
void reduce(const std::vector<STACK_SHARING_SCOPE*>& scopes) {
  std::unordered_map<const STACK_SHARING_SCOPE*, int> depth;
  for (const STACK_SHARING_SCOPE* scope : scopes)
    depth[scope] = scope->parent ? depth[scope->parent] + 1 : 0;
  for (size_t k = scopes.size(); k-- > 0;) {
    STACK_SHARING_SCOPE* scope = scopes[k];
    STACK_SHARING_SCOPE* kept = nullptr;
    for (STACK_SHARING_SCOPE *child = scope->first_child, *next; child; child = next) {
      next = child->sibling;
      if (depth[child] > DEEPEST_SCOPE) join_parent(child);
      if (child->variables.empty() && !child->first_child) {
        delete child;
        continue;
      }
      child->sibling = kept;
      kept = child;
    }
    scope->first_child = kept;
    if (!kept || kept->sibling) continue;
    join_parent(kept);
    scope->first_child = kept->first_child;
    for (STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling)
      child->parent = scope;
    delete kept;
  }
}

// ---------------------------------------------------------------------------------------------
// Laying out

long round_up(long bits, long align) {
  return (bits + align - 1) / align * align;
}

long alignment_of(const SYMTAB* sym) {
  return std::max({sym->align, sym->type->align, 16u});
}

// Size and alignment of a scope: its variables one after the other, then room for the largest of
// the scopes in it, which are known already.
void measure(STACK_SHARING_SCOPE* scope) {
  long end = 0, inner_size = 0, inner_align = 16;
  for (const SYMTAB* sym : scope->variables) {
    end = round_up(end, alignment_of(sym)) + static_cast<long>(sym->type->storage_size());
    scope->align = std::max(scope->align, alignment_of(sym));
  }
  for (const STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling) {
    inner_size = std::max(inner_size, child->size);
    inner_align = std::max(inner_align, child->align);
  }
  scope->align = std::max(scope->align, inner_align);
  end = round_up(end, inner_align) + round_up(inner_size, inner_align);
  scope->size = round_up(end, scope->align);
}

// The classes, and where a variable lies in them.
class LAYOUT {
public:
  // One member of the union for each scope in `scope`: its only variable, or a structure.
  TYPE* union_in(const STACK_SHARING_SCOPE* scope) {
    TYPE* choice = new_class(TYPE::K_UNION);
    for (const STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling) {
      if (child->variables.empty())
        append_class(choice, union_in(child));
      else if (child->variables.size() == 1 && !child->first_child)
        append_variable(choice, child->variables[0]);
      else
        append_class(choice, structure_of(child));
    }
    return finished(choice);
  }

  bool holds(const SYMTAB* sym) const { return variables.count(sym) != 0; }

  // The variable as a member of the object. The type is that of the name that it replaces.
  NODE* access(SYMTAB* object, const NODE* name) const {
    std::vector<fkMDATA*> path{variables.at(name->u.sym)};
    while (path.back()->owner != object->type)
      path.push_back(classes.at(path.back()->owner));
    NODE* place = mk_NAME(object, name->ls);
    for (; !path.empty(); path.pop_back()) {
      fkMDATA* member = path.back();
      NODE* field = alloc_node(FIELD, member->type);
      field->mk_field(0, member, member->owner);
      field->ls = name->ls;
      place = maketree(STDOT, place, field, member->type, name->ls);
    }
    place->type = name->type;
    return place;
  }

private:
  std::unordered_map<const SYMTAB*, fkMDATA*> variables;
  std::unordered_map<const TYPE*, fkMDATA*> classes; // members that hold them
  std::unordered_map<std::string, int> member_names; // of all classes, and how often wanted
  int class_count = 0;

  // Its variables, and after them a union of the scopes in it.
  TYPE* structure_of(const STACK_SHARING_SCOPE* scope) {
    TYPE* type = new_class(TYPE::K_STRUCT);
    for (const SYMTAB* sym : scope->variables)
      append_variable(type, sym);
    if (scope->first_child) append_class(type, union_in(scope));
    return finished(type);
  }

  static TYPE* finished(TYPE* csu) {
    csu->size = static_cast<unsigned long>(round_up(static_cast<long>(csu->size), csu->align));
    return csu;
  }

  // The name tells functions apart: the file's types are sorted by it, and functions may be worked
  // on in any order.
  TYPE* new_class(TYPE::KIND kind) {
    const std::string name =
        "$O$share$" + std::to_string(currfunc->index) + "$" + std::to_string(class_count++);
    TYPE* type = tp->mk_csu(kind, name.c_str());
    type->csu_parts()->complete = true;
    type->align = 16;
    return type;
  }

  void append_variable(TYPE* csu, const SYMTAB* sym) {
    variables[sym] = append(csu, sym->name, sym->type, alignment_of(sym));
  }

  void append_class(TYPE* csu, TYPE* part) {
    classes[part] = append(csu, "$O$scope", part, part->align);
  }

  std::string unique_name(const std::string& name) {
    int& count = member_names[name];
    if (count++ == 0) return name;
    std::string numbered = name + "$" + std::to_string(count);
    while (!member_names.try_emplace(numbered, 1).second)
      numbered = name + "$" + std::to_string(++count);
    return numbered;
  }

  fkMDATA* append(TYPE* csu, const char* name, TYPE* type, long align) {
    const std::string unique = unique_name(name);
    fkMDATA member;
    member.name = unique.c_str(); // the package keeps its own
    member.type = type;
    member.number = static_cast<unsigned>(csu->csu_parts()->members.size()) + 1;
    if (!csu->is_union()) member.bit_offset = round_up(static_cast<long>(csu->size), align);
    csu->align = std::max<unsigned>(csu->align, static_cast<unsigned>(align));
    const long end = member.bit_offset + static_cast<long>(type->storage_size());
    csu->size = std::max(csu->size, static_cast<unsigned long>(end));
    return tp->add_member(csu, member);
  }
};

} // namespace

// The variables themselves are gone from the function.
static void unlink_shared(FUNINFO* fi, const LAYOUT& layout) {
  for (SYMTAB** list : {&fi->symbols, &fi->incoming})
    for (SYMTAB** place = list; *place;) {
      SYMTAB* sym = *place;
      if (!layout.holds(sym)) {
        place = &sym->next;
        continue;
      }
      *place = sym->next;
      sym->next = nullptr;
    }
}

void build_stack_sharing_type() {
  FUNINFO* fi = currfuninfo;
  STACK_SHARING_SCOPE* root = fi->sharing_root;
  if (!root) return;
  std::vector<STACK_SHARING_SCOPE*> scopes = scopes_of(root);
  USES uses(scopes);
  uses.scan(fi);
  for (STACK_SHARING_SCOPE* scope : scopes)
    std::erase_if(scope->variables,
                  [&uses](const SYMTAB* sym) { return !uses.only_in_its_block(sym); });
  reduce(scopes);
  // What lives together with all scopes needs no object.
  root->variables.clear();
  long unshared = 0;
  scopes = scopes_of(root);
  for (size_t k = scopes.size(); k-- > 0;) {
    measure(scopes[k]);
    for (const SYMTAB* sym : scopes[k]->variables)
      unshared += static_cast<long>(sym->size);
  }
  if (root->size < unshared && root->size <= LARGEST_OFFSET) {
    LAYOUT layout;
    TYPE* type;
    {
      std::lock_guard<std::mutex> hold(mdata_lock);
      type = layout.union_in(root);
    }
    CHECK(type->size == static_cast<unsigned long>(root->size));
    SYMTAB* object = sym_temp('S', -1, type, nullptr);
    auto rewrite = [&](NODE*& node) {
      if (node->op != NAME || !layout.holds(node->u.sym)) return;
      NODE* access = layout.access(object, node);
      erase_node(node);
      node = access;
    };
    for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      for (LIST* s = bb->statements; s; s = s->next)
        walk_postorder(s->tree, rewrite);
    for (EHT_ITEM& item : fi->eht)
      if (item.cleanup) walk_postorder(item.cleanup, rewrite);
    unlink_shared(fi, layout);
    fi->sharing_type = type;
    shared_bits.count(unshared - root->size);
    print_if_debug("\nStack sharing in %s(): %ld bits of locals in %lu\n", fi->name.c_str(),
                   unshared, type->size);
  }
  init_stack_sharing();
}

bool types_share_stack(TYPE* a, TYPE* b) {
  TYPE* shared = currfuninfo ? currfuninfo->sharing_type : nullptr;
  return shared && is_type_component_of_type(a, shared) && is_type_component_of_type(b, shared);
}
