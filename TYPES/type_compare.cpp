// Sameness of types.
#include "TYPES/type_pkg.h"

#include <cstring>
#include <set>

// What a node says by itself, without the types that it refers to.
static bool same_node(const TYPE* a, const TYPE* b) {
  if (a->kind != b->kind || a->flags != b->flags || a->size != b->size || a->align != b->align)
    return false;
  switch (a->kind) {
  case TYPE::K_TYPEDEF: {
    const TYPEDEF_PARTS *x = a->typedef_parts(), *y = b->typedef_parts();
    return strcmp(x->name, y->name) == 0 && x->hidden == y->hidden && x->lowered == y->lowered;
  }
  case TYPE::K_ARRAY: {
    const ARRAY_PARTS *x = a->array_parts(), *y = b->array_parts();
    return x->count == y->count && x->hidden == y->hidden && x->complete == y->complete &&
           x->is_vector == y->is_vector;
  }
  case TYPE::K_FUNC: {
    const FUNC_PARTS *x = a->func_parts(), *y = b->func_parts();
    if (x->is_prototyped != y->is_prototyped || x->is_variadic != y->is_variadic ||
        x->convention != y->convention || x->hidden != y->hidden ||
        x->params.size() != y->params.size())
      return false;
    for (size_t i = 0; i < x->params.size(); i++) {
      const TYPE_PARAM &p = x->params[i], &q = y->params[i];
      if (p.flags != q.flags || strcmp(p.name, q.name) != 0) return false;
    }
    return true;
  }
  default: return true;
  }
}

// Types of one package that are shared are the same only if they are one.
static bool are_both_shared(const TYPE* a, const TYPE* b) {
  return a->uid && b->uid && a->pkg == b->pkg && !a->frozen && !b->frozen;
}

bool exact_types(const TYPE* a, const TYPE* b) {
  // Down the chain of bases; only a function's parameters take a recursion, and it ends at the
  // first shared types.
  for (;; a = a->base, b = b->base) {
    if (a == b) return true;
    if (are_both_shared(a, b) || a->kind >= TYPE::K_ENUM || !same_node(a, b)) return false;
    if (a->kind == TYPE::K_PTM && !exact_types(a->extra, b->extra)) return false;
    if (a->kind == TYPE::K_FUNC) {
      const FUNC_PARTS *x = a->func_parts(), *y = b->func_parts();
      for (size_t i = 0; i < x->params.size(); i++)
        if (!exact_types(x->params[i].type, y->params[i].type)) return false;
    }
    if (a->base == a) return b->base == b;
    if (b->base == b) return false;
  }
}

bool compatible_types(const TYPE* a, const TYPE* b, bool relaxed) {
  using PAIR = std::pair<const TYPE*, const TYPE*>;
  // Pairs still to be compared; the set keeps a pair that many paths lead to from being compared
  // once a path.
  std::vector<PAIR> pending;
  std::set<PAIR> seen;
  for (;;) {
    a = a->underlying_type();
    b = b->underlying_type();
    if (relaxed && a->kind != b->kind) {
      if (a->kind == TYPE::K_ENUM) a = a->enum_underlying();
      if (b->kind == TYPE::K_ENUM) b = b->enum_underlying();
    }
    if (a != b && seen.insert({a, b}).second) {
      if (a->kind != b->kind) return false;
      switch (a->kind) {
      case TYPE::K_VOID: break;
      case TYPE::K_ENUM:
      case TYPE::K_CLASS:
      case TYPE::K_STRUCT:
      case TYPE::K_UNION:
      case TYPE::K_UNKNOWN: return false;
      case TYPE::K_INT:
      case TYPE::K_FLOAT:
        if (!same_node(a, b)) return false;
        break;
      case TYPE::K_ARRAY: {
        const ARRAY_PARTS *x = a->array_parts(), *y = b->array_parts();
        if (x->is_vector != y->is_vector || (x->complete && y->complete && x->count != y->count))
          return false;
        pending.push_back({a->base, b->base});
        break;
      }
      case TYPE::K_FUNC: {
        const FUNC_PARTS *x = a->func_parts(), *y = b->func_parts();
        pending.push_back({a->base, b->base});
        // Without a prototype nothing is known of the parameters.
        if (!x->is_prototyped || !y->is_prototyped) break;
        if (x->is_variadic != y->is_variadic || x->params.size() != y->params.size()) return false;
        for (size_t i = 0; i < x->params.size(); i++)
          pending.push_back({x->params[i].type, y->params[i].type});
        break;
      }
      case TYPE::K_PTM:
        pending.push_back({a->extra, b->extra});
        pending.push_back({a->base, b->base});
        break;
      default:
        if (a->flags != b->flags || a->size != b->size) return false;
        pending.push_back({a->base, b->base});
        break;
      }
    }
    if (pending.empty()) return true;
    a = pending.back().first;
    b = pending.back().second;
    pending.pop_back();
  }
}
