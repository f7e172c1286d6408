// Relations between types: containment, aliasing, volatility, immutability. The first three are
// remembered, each answer under its own lock.

#include "OPT5/settings.h"
#include "OPT5/stackshare.h"
#include "OPT5/streams.h"
#include "OPT5/symbol.h"
#include "OPT5/types.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>
#include <unordered_set>

namespace {

std::mutex cm_lock;  // components
std::mutex vtm_lock; // volatility
std::mutex alias_lock;
std::unordered_map<const TYPE*, std::unordered_set<const TYPE*>> components; // of a whole, by value
std::unordered_map<const TYPE*, bool> volatility;
std::map<std::pair<const TYPE*, const TYPE*>, bool> aliasing;
std::vector<const TYPE*> unions;

// What objects of the type are made of, itself included. Class types hold no type by value in a
// cycle.
const std::unordered_set<const TYPE*>& components_of(TYPE* whole) {
  auto [place, is_new] = components.try_emplace(whole);
  if (!is_new) return place->second;
  std::unordered_set<const TYPE*> found;
  std::vector<TYPE*> pending{whole};
  while (!pending.empty()) {
    TYPE* type = pending.back()->underlying_type();
    pending.pop_back();
    if (!found.insert(type->normalized_type()).second) continue;
    if (type->kind == TYPE::K_ARRAY || type->kind == TYPE::K_COMPLEX)
      pending.push_back(type->elem_type());
    if (!type->is_csu()) continue;
    for (const fkMDATA* member : type->csu_parts()->members)
      if (member->type) pending.push_back(member->type);
    for (const TYPE_BASE_CLASS& base : type->csu_parts()->bases)
      if (base.type) pending.push_back(base.type);
  }
  return components[whole] = std::move(found);
}

} // namespace

// Closures are made when first asked for; the log shows them all, from the parts' side.
void init_types() {
  std::lock_guard<std::mutex> hold(cm_lock);
  std::vector<TYPE*> classes;
  tp->walk_types(
      [](TYPE* type, void* to) {
        if (type->kind == TYPE::K_UNION) unions.push_back(type);
        if (type->is_csu() && type->kind != TYPE::K_QUALIFIED && type->kind != TYPE::K_TYPEDEF)
          static_cast<std::vector<TYPE*>*>(to)->push_back(type);
      },
      &classes);
  if (!print_debug) return;
  struct BY_UID { // the order in which types were made
    bool operator()(const TYPE* a, const TYPE* b) const { return a->uid < b->uid; }
  };
  std::map<const TYPE*, std::set<const TYPE*, BY_UID>, BY_UID> holders;
  for (TYPE* whole : classes)
    for (const TYPE* part : components_of(whole))
      holders[part].insert(whole);
  for (const auto& [part, wholes] : holders) {
    print_if_debug("Type %s is contained in the types:\n", part->str().c_str());
    for (const TYPE* whole : wholes)
      print_if_debug("  %s\n", whole->str().c_str());
  }
}

void erase_type_caches() {
  components.clear();
  volatility.clear();
  aliasing.clear();
  unions.clear();
}

void type_cache_stats() {
  print_if_debug("\n%zu in is_type_component_of_type() cache.\n", components.size());
  print_if_debug("%zu in type_may_contain_volatile() cache.\n", volatility.size());
  print_if_debug("%zu in type_may_alias_type() cache.\n", aliasing.size());
  print_if_debug("(type_could_be_an_array() we don't have yet.)\n");
}

bool is_type_component_of_type(TYPE* part, TYPE* whole) {
  std::lock_guard<std::mutex> hold(cm_lock);
  return components_of(whole).count(part->normalized_type()) != 0;
}

bool type_is_contained_in_type(TYPE* part, TYPE* whole) {
  return part->normalized_type() != whole->normalized_type() &&
         is_type_component_of_type(part, whole);
}

bool is_field_member_of_type(const NODE* field, TYPE* type) {
  return field->mval && field->mval->owner == type->underlying_type();
}

bool types_contained_in_union(TYPE* a, TYPE* b) {
  std::lock_guard<std::mutex> hold(cm_lock);
  for (const TYPE* holder : unions) {
    const auto& parts = components_of(const_cast<TYPE*>(holder));
    if (parts.count(a->normalized_type()) && parts.count(b->normalized_type())) return true;
  }
  return false;
}

// An object of unknown kind may hold anything.
static bool may_hold_unknown(TYPE* whole) {
  std::lock_guard<std::mutex> hold(cm_lock);
  const std::unordered_set<const TYPE*>& parts = components_of(whole);
  return std::any_of(parts.begin(), parts.end(), [](const TYPE* t) { return t->is_unknown(); });
}

static bool compute_aliasing(TYPE* a, TYPE* b) {
  if (a == b || a->is_void() || b->is_void()) return true;
  // Characters may alias anything; here they have the size of a plain int, which then may too.
  auto is_character = [](const TYPE* t) {
    return t == tp->basic[TYPE::I_SCHAR] || t == tp->basic[TYPE::I_UCHAR] ||
           (chars_alias_other_types && t->is_int() && t->size == tp->basic[TYPE::I_SCHAR]->size);
  };
  if (is_character(a) || is_character(b)) return true;
  if (a->is_int() && b->is_int() && a->size == b->size)
    return true; // signed and unsigned of one width
  if (a->is_pointer() && b->is_pointer()) return true;
  if (may_hold_unknown(a) || may_hold_unknown(b)) return true;
  return is_type_component_of_type(a, b) || is_type_component_of_type(b, a) ||
         types_contained_in_union(a, b);
}

bool type_may_alias_type(TYPE* a, TYPE* b) {
  TYPE* x = essential_type(a)->normalized_type();
  TYPE* y = essential_type(b)->normalized_type();
  if (types_share_stack(x, y)) return true; // in this function only
  if (y->uid < x->uid) std::swap(x, y);     // the question is symmetric
  {
    std::lock_guard<std::mutex> hold(alias_lock);
    auto place = aliasing.find({x, y});
    if (place != aliasing.end()) return place->second;
  }
  const bool answer = compute_aliasing(x, y);
  std::lock_guard<std::mutex> hold(alias_lock);
  return aliasing[{x, y}] = answer;
}

bool type_may_contain_volatile(TYPE* t) {
  std::lock_guard<std::mutex> hold(vtm_lock);
  auto [place, is_new] = volatility.try_emplace(t, false);
  if (!is_new) return place->second;
  std::unordered_set<const TYPE*> seen;
  std::vector<TYPE*> pending{t};
  bool found = false;
  while (!pending.empty() && !found) {
    TYPE* type = pending.back();
    pending.pop_back();
    if (!seen.insert(type).second) continue;
    found = type->is_volatile();
    TYPE* bare = type->underlying_type();
    if (bare->kind == TYPE::K_ARRAY) pending.push_back(bare->elem_type());
    if (!bare->is_csu()) continue;
    if (!bare->csu_parts()->complete) found = true; // nobody knows
    for (const TYPE_BASE_CLASS& base : bare->csu_parts()->bases)
      if (base.type) pending.push_back(base.type);
    for (const fkMDATA* member : bare->csu_parts()->members)
      if (member->type) pending.push_back(member->type);
  }
  return volatility[t] = found;
}

// Which flag of a record says `mutable` is the front end's business.
static bool may_be_mutable(const fkMDATA* member) {
  return member->flags[0] || member->flags[1] || member->flags[2];
}

static bool bits_are_immutable(TYPE* type, long first, long bits, bool is_const);

// The part of the range that lies in an object of `type` at bit `at`; true if there is none.
static bool part_is_immutable(TYPE* type, long at, long size, long first, long bits,
                              bool is_const) {
  const long begin = std::max(first, at), end = std::min(first + bits, at + size);
  return begin >= end || bits_are_immutable(type, begin - at, end - begin, is_const);
}

static bool class_bits_are_immutable(const TYPE* csu, long first, long bits, bool is_const) {
  const CSU_PARTS* parts = csu->csu_parts();
  if (!parts->complete) return false;
  bool is_within_member = false;
  for (const TYPE_BASE_CLASS& base : parts->bases) {
    // Where the object of a virtual base lies depends on the whole.
    const bool known = base.type && !base.is_virtual;
    if (!known || !part_is_immutable(base.type, base.offset, static_cast<long>(base.type->size),
                                     first, bits, is_const))
      return false;
  }
  for (const fkMDATA* member : parts->members) {
    const long at = member->bit_offset;
    const long size =
        member->is_bitfield() ? member->bit_size : static_cast<long>(member->type->size);
    if (first + bits <= at || at + size <= first) continue;
    if (may_be_mutable(member) || !part_is_immutable(member->type, at, size, first, bits, is_const))
      return false;
    is_within_member |= at <= first && first + bits <= at + size;
  }
  // An object that isn't constant may be overwritten as a whole, gaps included; so may a union's
  // other members.
  return is_const || (is_within_member && !csu->is_union());
}

static bool bits_are_immutable(TYPE* type, long first, long bits, bool is_const) {
  if (type->is_volatile() || type->is_unknown()) return false;
  is_const |= type->is_const();
  TYPE* bare = type->underlying_type();
  if (bare->is_csu()) return class_bits_are_immutable(bare, first, bits, is_const);
  if (bare->kind != TYPE::K_ARRAY) return is_const;
  TYPE* element = bare->elem_type();
  const long size = static_cast<long>(element->size);
  if (size == 0) return false;
  const bool is_within_one = first / size == (first + bits - 1) / size;
  return is_within_one ? bits_are_immutable(element, first % size, bits, is_const)
                       : bits_are_immutable(element, 0, size, is_const);
}

bool bits_of_var_are_immutable(TYPE* type, int first_bit, int bits, bool initialised) {
  return initialised && bits_are_immutable(type, first_bit, bits, false);
}

// Is the object as a whole declared constant?
static bool is_declared_const(const TYPE* type) {
  return type->is_const() || (type->is_array() && type->underlying_type()->elem_type()->is_const());
}

bool symbol_is_immutable(const SYMTAB* sym) {
  return is_declared_const(sym->type) &&
         bits_are_immutable(sym->type, 0, static_cast<long>(sym->type->size), false);
}

bool lvalue_is_immutable(const NODE* lvalue) {
  const fkMDATA* field = bit_field_of(lvalue);
  const long bits = field ? field->bit_size : static_cast<long>(lvalue->type->size);
  long first = 0;
  const NODE* place = lvalue;
  for (; place->op == STDOT; place = place->left) {
    if (place->type->is_volatile()) return false;
    first += place->right->mval->bit_offset;
  }
  return place->op == NAME && place->u.sym && is_declared_const(place->u.sym->type) &&
         bits_are_immutable(place->u.sym->type, first, bits, false);
}
