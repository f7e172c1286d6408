// The types of a well-formed unit. A record stands ahead of every use of its number, but a class
// may be used from its short form on: so only classes can close a circle.
#include "tools/run/check.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace icode::run {

namespace {

constexpr uint64_t MAX_SIZE = uint64_t(1) << 40;  // bits
constexpr uint64_t MAX_ALIGN = uint64_t(1) << 31; // bits
constexpr uint64_t MAX_SCALAR = 64;               // bits
constexpr uint32_t MAX_DEPTH = 1000;              // derivations, and values within values
constexpr uint8_t MAX_ACCESS = 2;

bool is_class(uint8_t code) {
  return code == TC_CSU_SHORT || code == TC_CSU_LONG;
}

struct TYPE_CHECKER {
  struct STATE {
    uint8_t code = TC_UNKNOWN;
    uint32_t depth = 0;
    int open_list = -1;
    bool is_used = false; // a function's parameters stand ahead of its first use
    std::unordered_set<uint64_t> members = {};
  };

  const UNIT& unit;
  std::unordered_map<uint32_t, STATE> defined = {};
  std::string error = {};

  bool fail(const TYPE_RECORD& r, const char* text) {
    if (error.empty()) error = "type " + std::to_string(r.number) + ": " + text;
    return false;
  }

  KIND kind(uint32_t number) const {
    const TYPE_INFO* info = resolved_type(unit, number);
    return info ? info->kind : K_UNKNOWN;
  }

  // A reference, which may be to no type.
  bool refers(const TYPE_RECORD& r, uint32_t to) {
    if (to == 0) return true;
    auto known = defined.find(to);
    if (known == defined.end()) return fail(r, "names a type ahead of its record");
    known->second.is_used = true;
    return true;
  }

  bool stands_on(const TYPE_RECORD& r, uint32_t to, uint32_t& depth) {
    if (!refers(r, to)) return false;
    if (to == 0) return fail(r, "is made of no type");
    depth = std::max(depth, defined[to].depth + 1);
    return depth <= MAX_DEPTH || fail(r, "is nested too deeply");
  }

  bool scalar_size(const TYPE_RECORD& r) {
    return (r.size > 0 && r.size <= MAX_SCALAR) || fail(r, "has no scalar's size");
  }

  bool array(const TYPE_RECORD& r) {
    const TYPE_INFO* element = find_type(unit, r.ref);
    const KIND of = kind(r.ref);
    uint64_t natural = 0;
    if (!element || of == K_VOID || of == K_FUNC ||
        __builtin_mul_overflow(r.count, element->size, &natural))
      return fail(r, "is no possible array");
    return !r.is_vector || (r.count != 0 && of != K_UNKNOWN) || fail(r, "is no possible vector");
  }

  bool definition(const TYPE_RECORD& r) {
    uint32_t depth = 0;
    const bool is_derived = r.code >= TC_FIXED && r.code <= TC_FUNC;
    if ((is_derived || r.code == TC_ENUM || r.code == TC_COMPLEX) && !stands_on(r, r.ref, depth))
      return false;
    if (r.code != TC_FUNC && (r.size > MAX_SIZE || r.align > MAX_ALIGN))
      return fail(r, "is too large");
    const KIND of = kind(r.ref);
    bool good = true;
    switch (r.code) {
    case TC_VOID:
    case TC_UNKNOWN:
    case TC_TYPEDEF:
    case TC_FUNC: break;
    case TC_FLOAT:
    case TC_DOUBLE:
    case TC_LDOUBLE: good = r.size != 0 || fail(r, "has no size"); break;
    case TC_FIXED:
    case TC_ENUM: good = scalar_size(r) && (of == K_INTEGER || fail(r, "is of no integer")); break;
    case TC_COMPLEX:
      good = of == K_INTEGER || of == K_FLOAT || fail(r, "has parts of that type");
      break;
    case TC_POINTER:
    case TC_REFERENCE: good = scalar_size(r); break;
    case TC_QUALIFIED: good = r.count <= 0xFF || fail(r, "has unknown qualifiers"); break;
    case TC_ARRAY: good = array(r); break;
    case TC_PTM: good = stands_on(r, r.ref2, depth); break;
    case TC_CSU_SHORT:
    case TC_CSU_LONG: return class_record(r);
    default: good = scalar_size(r); break; // integers
    }
    if (!good) return false;
    if (!defined.try_emplace(r.number, STATE{r.code, depth}).second)
      return fail(r, "is defined twice");
    return true;
  }

  bool class_record(const TYPE_RECORD& r) {
    if (r.kind < CLASS_KIND_CLASS || r.kind > CLASS_KIND_UNION) return fail(r, "is no class");
    auto [it, is_new] = defined.try_emplace(r.number, STATE{r.code});
    if (is_new) {
      first_forms[r.number] = &r;
      return true;
    }
    // The long form may follow the short one.
    if (it->second.code != TC_CSU_SHORT || r.code != TC_CSU_LONG)
      return fail(r, "is defined twice");
    const TYPE_RECORD& first = *first_forms[r.number];
    if (first.kind != r.kind || first.name != r.name) return fail(r, "has two forms that differ");
    it->second.code = r.code;
    return true;
  }
  std::unordered_map<uint32_t, const TYPE_RECORD*> first_forms = {};

  bool can_have_list(const STATE& owner, int list) {
    if (list == TL_PARAMS) return (owner.code == TC_FUNC && !owner.is_used) || is_class(owner.code);
    return list == TL_ENUMERATORS ? owner.code == TC_ENUM : is_class(owner.code);
  }

  bool member(const TYPE_RECORD& r, STATE& owner) {
    if (r.ref == 0 || r.offset < 0 || r.bit_size > MAX_SCALAR || r.count > UINT32_MAX ||
        !owner.members.insert(r.count).second)
      return fail(r, "has an impossible member");
    return true;
  }

  bool element(const TYPE_RECORD& r) {
    auto known = defined.find(r.number);
    if (known == defined.end()) return fail(r, "has an element ahead of its record");
    STATE& owner = known->second;
    if (r.code == TC_LIST_HEADER) {
      if (r.list < 0 || r.list >= TL_COUNT || !can_have_list(owner, r.list))
        return fail(r, "cannot have that list");
      owner.open_list = r.list;
      return true;
    }
    if (r.code == TC_LIST_TRAILER) {
      if (owner.open_list != r.list) return fail(r, "ends another list than the open one");
      owner.open_list = -1;
      return true;
    }
    const int list = list_of_element(r.code);
    if (list < 0 || owner.open_list != list || !can_have_list(owner, list))
      return fail(r, "has an element outside of its list");
    if (r.code == TC_PARAM && owner.code == TC_FUNC && r.ref == r.number)
      return fail(r, "has itself as a parameter");
    if (r.code == TC_PARAM && owner.code == TC_FUNC)
      return stands_on(r, r.ref, owner.depth) && (r.count <= UINT32_MAX || fail(r, "flags"));
    const bool has_type = r.code != TC_ENUMERATOR && r.code != TC_ACCESS_DECL;
    if (has_type && !refers(r, r.ref)) return false;
    const bool has_access = r.code == TC_MEMBER || r.code == TC_BASE_CLASS ||
                            r.code == TC_ACCESS_DECL || r.code == TC_STATIC_MEMBER ||
                            r.code == TC_MEMBER_FUNC;
    if ((r.code == TC_MEMBER || r.code == TC_BASE_CLASS) &&
        (r.offset < INT32_MIN || r.offset > INT32_MAX))
      return fail(r, "has an element out of reach");
    if (has_access && r.kind > MAX_ACCESS) return fail(r, "has an element of unknown access");
    if ((r.code == TC_ACCESS_DECL || r.code == TC_PARAM) && r.count > UINT32_MAX)
      return fail(r, "has an impossible element");
    if (r.code == TC_BASE_CLASS && kind(r.ref) < K_CLASS)
      return fail(r, "has a base that is no class");
    return r.code != TC_MEMBER || member(r, owner);
  }

  // --- Values within values

  // Part i of an object of that type, 0 behind the last.
  uint32_t part(const TYPE_INFO& type, size_t i) const {
    if (type.kind == K_TYPEDEF || type.kind == K_QUALIFIED || type.kind == K_ARRAY ||
        type.kind == K_VECTOR)
      return i == 0 ? type.element : 0;
    if (type.kind < K_CLASS) return 0;
    if (i < type.members.size()) return unit.types[type.members[i]].ref;
    i -= type.members.size();
    return i < type.bases.size() ? unit.types[type.bases[i]].ref : 0;
  }

  bool contents() {
    struct STEP {
      const TYPE_INFO* type;
      size_t next_part;
      uint32_t height;
    };
    constexpr uint32_t ON_PATH = UINT32_MAX;
    std::unordered_map<const TYPE_INFO*, uint32_t> heights;
    for (const TYPE_RECORD& r : unit.types) {
      const TYPE_INFO* start = find_type(unit, r.number);
      if (!start || heights.count(start)) continue;
      std::vector<STEP> path = {{start, 0, 0}};
      heights[start] = ON_PATH;
      while (!path.empty()) {
        STEP& step = path.back();
        const TYPE_INFO* within = find_type(unit, part(*step.type, step.next_part));
        if (!within) {
          heights[step.type] = step.height;
          path.pop_back();
          continue;
        }
        auto known = heights.find(within);
        if (known == heights.end()) {
          if (path.size() > MAX_DEPTH) return fail(r, "is nested too deeply");
          heights[within] = ON_PATH;
          path.push_back({within, 0, 0});
          continue;
        }
        if (known->second == ON_PATH) return fail(r, "contains itself");
        step.height = std::max(step.height, known->second + 1);
        if (step.height > MAX_DEPTH) return fail(r, "is nested too deeply");
        step.next_part++;
      }
    }
    return true;
  }

  bool check() {
    for (const TYPE_RECORD& r : unit.types)
      if (!(is_definition_code(r.code) ? definition(r) : element(r))) return false;
    return contents();
  }
};

} // namespace

bool check_types(const UNIT& unit, std::string& error) {
  TYPE_CHECKER checker{unit};
  const bool good = checker.check();
  error = checker.error;
  return good;
}

} // namespace icode::run
