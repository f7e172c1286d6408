#include "OPT5/stackshare.h"

#include "OPT5/funinfo.h"
#include "OPT5/scope.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>

static std::mutex mdata_lock; // member data that is added to the type package

void erase_stack_sharing(STACK_SHARING_SCOPE* root) {
  if (!root) return;
  for (STACK_SHARING_SCOPE *child = root->first_child, *next; child; child = next) {
    next = child->sibling;
    erase_stack_sharing(child);
  }
  delete root;
}

void init_stack_sharing() {
  erase_stack_sharing(currfuninfo->sharing_root);
  currfuninfo->sharing_root = currfuninfo->sharing_open = nullptr;
}

void begin_stack_sharing_scope(int id) {
  FUNINFO* fi = currfuninfo;
  auto* scope = new STACK_SHARING_SCOPE{id};
  scope->parent = fi->sharing_open;
  if (scope->parent) {
    scope->sibling = scope->parent->first_child;
    scope->parent->first_child = scope;
  } else {
    // Scopes side by side at the top share too.
    if (!fi->sharing_root) fi->sharing_root = new STACK_SHARING_SCOPE{-1};
    scope->parent = fi->sharing_root;
    scope->sibling = fi->sharing_root->first_child;
    fi->sharing_root->first_child = scope;
  }
  fi->sharing_open = scope;
}

void end_stack_sharing_scope() {
  STACK_SHARING_SCOPE*& open = currfuninfo->sharing_open;
  if (open) open = open->parent == currfuninfo->sharing_root ? nullptr : open->parent;
}

void add_stack_sharing_variable(SYMTAB* sym) {
  if (currfuninfo->sharing_open) currfuninfo->sharing_open->variables.push_back(sym);
}

static void delete_from(STACK_SHARING_SCOPE* scope, SYMTAB* sym) {
  std::erase(scope->variables, sym);
  for (STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling)
    delete_from(child, sym);
}

void delete_stack_sharing_variable(SYMTAB* sym) {
  if (currfuninfo->sharing_root) delete_from(currfuninfo->sharing_root, sym);
}

namespace {

// Where a shared variable lies: the members to step through from the object.
using MEMBER_PATH = std::vector<fkMDATA*>;

class LAYOUT {
public:
  std::unordered_map<const SYMTAB*, MEMBER_PATH> paths;

  // A structure of the scope's variables, followed by a union of its children's structures.
  TYPE* of_scope(STACK_SHARING_SCOPE* scope) {
    TYPE* type = new_class(TYPE::K_STRUCT);
    for (SYMTAB* sym : scope->variables)
      paths[sym] = {append(type, sym->name, sym->type, sym->align)};
    if (scope->first_child) {
      TYPE* choice = new_class(TYPE::K_UNION);
      for (STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling) {
        TYPE* inner = of_scope(child);
        if (inner->size == 0) continue;
        fkMDATA* member = append(choice, "scope", inner, inner->align);
        prefix(child, member);
      }
      if (choice->size) {
        fkMDATA* member = append(type, "scopes", choice, choice->align);
        for (STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling)
          prefix(child, member);
      }
    }
    scope->size = static_cast<long>(type->size);
    return type;
  }

private:
  static TYPE* new_class(TYPE::KIND kind) {
    TYPE* type = tp->mk_csu(kind, "$O$share");
    type->csu_parts()->complete = type->csu_parts()->has_data = true;
    type->align = 16;
    return type;
  }

  static fkMDATA* append(TYPE* csu, const char* name, TYPE* type, unsigned align) {
    const unsigned long unit = std::max({align, type->align, 16u});
    fkMDATA member;
    member.name = intern_text(name);
    member.type = type;
    member.number = static_cast<unsigned>(csu->csu_parts()->members.size()) + 1;
    if (!csu->is_union())
      member.bit_offset = static_cast<long>((csu->size + unit - 1) / unit * unit);
    csu->align = std::max<unsigned>(csu->align, static_cast<unsigned>(unit));
    const unsigned long end = static_cast<unsigned long>(member.bit_offset) + type->storage_size();
    csu->size = std::max(csu->size, end);
    csu->size = (csu->size + csu->align - 1) / csu->align * csu->align;
    return tp->add_member(csu, member);
  }

  // Puts a member in front of the paths of all variables of a scope and of those in it.
  void prefix(const STACK_SHARING_SCOPE* scope, fkMDATA* member) {
    for (const SYMTAB* sym : scope->variables)
      paths[sym].insert(paths[sym].begin(), member);
    for (const STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling)
      prefix(child, member);
  }
};

NODE* member_access(SYMTAB* object, const MEMBER_PATH& path, LS* ls) {
  NODE* place = mk_NAME(object, ls);
  for (fkMDATA* member : path) {
    NODE* field = alloc_node(FIELD, member->type);
    field->mk_field(0, member, member->owner);
    place = maketree(STDOT, place, field, member->type, ls);
  }
  return place;
}

// Is there space to share: variables in at least two scopes of which neither holds the other?
bool worth_sharing(const STACK_SHARING_SCOPE* scope) {
  int with_variables = 0;
  for (const STACK_SHARING_SCOPE* child = scope->first_child; child; child = child->sibling) {
    if (worth_sharing(child)) return true;
    const STACK_SHARING_SCOPE* inner = child;
    while (inner->variables.empty() && inner->first_child)
      inner = inner->first_child;
    with_variables += !inner->variables.empty();
  }
  return with_variables >= 2;
}

} // namespace

void build_stack_sharing_type() {
  FUNINFO* fi = currfuninfo;
  if (!fi->sharing_root || !worth_sharing(fi->sharing_root)) return;
  LAYOUT layout;
  TYPE* type;
  {
    std::lock_guard<std::mutex> hold(mdata_lock);
    type = layout.of_scope(fi->sharing_root);
  }
  SYMTAB* object = sym_temp('S', -1, type, nullptr);
  for (BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (LIST* s = bb->statements; s; s = s->next)
      walk_postorder(s->tree, [&](NODE*& node) {
        if (node->op != NAME) return;
        auto place = layout.paths.find(node->u.sym);
        if (place == layout.paths.end()) return;
        NODE* access = member_access(object, place->second, node->ls);
        access->type = node->type;
        erase_node(node);
        node = access;
      });
  // The variables themselves are gone from the function.
  for (SYMTAB** list : {&fi->symbols, &fi->reg_candidates, &fi->incoming, &fi->inlined_params})
    for (SYMTAB** place = list; *place;) {
      SYMTAB* sym = *place;
      if (!layout.paths.count(sym)) {
        place = &sym->next;
        continue;
      }
      *place = sym->next;
      sym->next = nullptr;
    }
  init_stack_sharing();
}
