// Symbols, trees and the function stream of a well-formed unit.
#include "tools/run/check.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_set>
#include <vector>

namespace icode::run {

namespace {

using enum OPERAND;

constexpr uint32_t MAX_RIGHT_DEPTH = 2000; // right operands on the way to a node; open blocks
constexpr uint32_t OUTERMOST = 2;          // level of a function's outermost block
constexpr uint8_t MAX_RETENTION = 3;

bool is_word(uint64_t value) {
  return value <= UINT32_MAX;
}

bool is_part(int op) { // stands in its own place only
  return has_trait(op, operator_trait::PART | operator_trait::STATEMENT);
}

// Integer constants of either form.
bool is_integer_constant(int op) {
  return op == ICON || op == LCON;
}

// Operators that an assignment operator is made of.
bool has_assignment_form(int op) {
  static const auto has_form = [] {
    std::array<bool, 256> table{};
    for (const OPERATOR_ROW& row : operator_rows)
      if (row.name && row.plain != ILLOP) table[size_t(row.plain)] = true;
    return table;
  }();
  return has_form[size_t(op)];
}

struct UNIT_CHECKER {
  const UNIT& unit;
  std::string error = {};
  const FUNCTION* function = nullptr; // the one being read
  uint32_t globals = 0, locals = 0;   // known so far
  std::unordered_set<uint32_t> labels = {};
  std::vector<uint32_t> wanted_labels = {};

  bool fail(const std::string& text) {
    if (error.empty()) error = text;
    return false;
  }
  const NODE& node(uint32_t n) const { return unit.nodes[n]; }

  // --- Types of nodes

  KIND kind(uint32_t type) const {
    const TYPE_INFO* info = resolved_type(unit, type);
    return info ? info->kind : K_VOID;
  }
  static bool is_integer(KIND k) { return k == K_INTEGER || k == K_ENUM; }
  static bool is_pointer(KIND k) { return k == K_POINTER || k == K_REFERENCE; }
  static bool is_computable(KIND k) {
    return is_integer(k) || is_pointer(k) || k == K_FLOAT || k == K_FIXED || k == K_VECTOR ||
           k == K_COMPLEX;
  }
  static bool is_aggregate(KIND k) { return k >= K_CLASS; }

  bool known_type(uint32_t type) { return type == 0 || find_type(unit, type) != nullptr; }

  // --- Operands

  // What a profile value wraps stands in its place.
  uint32_t unwrapped(uint32_t n) const {
    while (node(n).op == EPVAL)
      n = node(n).left;
    return n;
  }

  bool is_lvalue(uint32_t n) const {
    for (;; n = node(n).left) {
      n = unwrapped(n);
      const int op = node(n).op;
      if (op != VFIELD && op != REAL && op != IMAG && op != DDNODE)
        return has_trait(op, operator_trait::PLACE);
    }
  }

  const char* check_place(uint32_t n, OPERAND place) const {
    const NODE& x = node(n);
    const KIND k = kind(x.type);
    switch (place) {
    case VALUE: return is_part(x.op) ? "an operator in the place of a value" : nullptr;
    case SCALAR:
      if (is_part(x.op)) return "an operator in the place of a value";
      return is_computable(k) ? nullptr : "an operand that is not a scalar";
    case POINTER:
      if (is_part(x.op) || !is_pointer(k)) return "an operand that is not a pointer";
      while (node(n).op == DDNODE) // no operator of its own
        n = unwrapped(node(n).left);
      return is_pointer(kind(node(n).type)) ? nullptr : "an operand that is not a pointer";
    case LVALUE: return is_lvalue(n) ? nullptr : "an operand that is not an lvalue";
    case AGGREGATE:
      return !is_part(x.op) && is_aggregate(k) ? nullptr : "an operand that is not an aggregate";
    case VECTOR:
      return !is_part(x.op) && k == K_VECTOR ? nullptr : "an operand that is not a vector";
    case LIST_OF:
      return x.op != COMMA && is_part(x.op) ? "an operator in the place of an argument" : nullptr;
    case FIELD_REF: return x.op == FIELD ? nullptr : "no FIELD where one belongs";
    case LABEL_REF: return x.op == LABEL ? nullptr : "no LABEL where one belongs";
    case LABEL_PAIR: return x.op == COMMA ? nullptr : "no LABELs where two belong";
    case CASES:
      return x.op == COMMA || x.op == CASE || x.op == DEFAULT ? nullptr
                                                              : "no CASE where one belongs";
    case CONSTANT:
      return is_integer_constant(x.op) ? nullptr : "no integer constant where one belongs";
    case FUNC_NAME: return x.op == NAME ? nullptr : "no NAME where a function's belongs";
    case COLON_PAIR: return x.op == COLON ? nullptr : "no COLON where one belongs";
    case MEMCPY_ARGS:
      return x.op == COMMA && node(unwrapped(x.left)).op == COMMA
                 ? nullptr
                 : "no destination, source and length";
    case LANES: return is_integer_constant(x.op) || x.op == COMMA ? nullptr : "no numbers of lanes";
    case STATEMENT:
      return is_part(x.op) && !has_trait(x.op, operator_trait::STATEMENT)
                 ? "an operator that is no statement"
                 : nullptr;
    case INIT_ROOT:
      return x.op != ENDINIT && x.op != SKIP && is_part(x.op) ? "an operator that is no initialiser"
                                                              : nullptr;
    default: return nullptr;
    }
  }

  struct PLACES {
    OPERAND left, right;
  };
  static PLACES operand_places(int op, OPERAND here) {
    const OPERATOR_ROW& row = operator_rows[size_t(op)];
    if (row.left == AS_HERE) return {here == LVALUE ? LVALUE : VALUE, row.right};
    if (op == COMMA) {
      if (here == CASES) return {CASES, CASES};
      if (here == LABEL_PAIR) return {LABEL_REF, LABEL_REF};
      if (here == LANES) return {LANES, CONSTANT};
      if (here == MEMCPY_ARGS) return {LIST_OF, SCALAR};
    }
    return {row.left, row.right};
  }

  // --- References of nodes

  const SYMBOL* symbol_of(const NODE& name) const {
    return find_symbol(unit, name.a == 0 ? nullptr : function, name.a, name.b);
  }

  const char* check_references(const NODE& x) {
    switch (x.op) {
    case NAME:
      if (!is_word(x.a)) return "a symbol of an impossible level";
      if (x.a == NONE) return nullptr;
      if (x.b >= (x.a == 0 ? globals : locals)) return "a symbol ahead of its record";
      return x.a != 0 && symbol_of(x)->storage == ST_LABEL ? "the value of a label" : nullptr;
    case FIELD: {
      const TYPE_INFO* info = resolved_type(unit, uint32_t(x.b));
      return info && info->kind >= K_CLASS && find_member(unit, uint32_t(x.b), x.a)
                 ? nullptr
                 : "a member that its class lacks";
    }
    case LABEL:
      if (!is_word(x.a)) return "a label's number of more than 32 bits";
      wanted_labels.push_back(uint32_t(x.a));
      return nullptr;
    case CALL:
    case DDNODE: return is_word(x.a) && is_word(x.b) ? nullptr : "a number of more than 32 bits";
    case SWITCH:
    case UCALL:
    case SKIP:
    case EPVAL: return is_word(x.a) ? nullptr : "a number of more than 32 bits";
    default: return nullptr;
    }
  }

  // --- Results

  size_t argument_count(const NODE& call) const {
    if (call.op != CALL) return 0;
    size_t count = 1;
    for (uint32_t n = unwrapped(call.right); node(n).op == COMMA; n = unwrapped(node(n).left))
      count++;
    return count;
  }

  // The function type that is called, if it says how many arguments it takes.
  const TYPE_INFO* called_prototype(const NODE& call) const {
    uint32_t n = unwrapped(call.left);
    const TYPE_INFO* pointer = resolved_type(unit, node(n).type);
    while (node(n).op == PCONV)
      n = unwrapped(node(n).left);
    const TYPE_INFO* type = nullptr;
    if (node(n).op == UAND)
      if (const NODE& name = node(unwrapped(node(n).left)); name.op == NAME)
        if (const SYMBOL* symbol = symbol_of(name)) type = resolved_type(unit, symbol->type);
    if (!type || type->kind != K_FUNC)
      type = pointer && is_pointer(pointer->kind) ? resolved_type(unit, pointer->element) : nullptr;
    const bool counts = type && type->kind == K_FUNC && unit.types[type->record].prototyped;
    return counts ? type : nullptr;
  }

  bool has_integer_constants(uint32_t type) const {
    const TYPE_INFO* info = resolved_type(unit, type);
    if (info && info->kind == K_VECTOR) info = resolved_type(unit, info->element);
    return info && (is_integer(info->kind) || is_pointer(info->kind) || info->kind == K_FLOAT);
  }

  const char* check_result(const NODE& x) const {
    const KIND k = kind(x.type);
    const KIND left = x.left == NONE ? K_VOID : kind(node(unwrapped(x.left)).type);
    const bool updates = is_operator_assignment(x.op);
    if (k == K_VECTOR && (updates || has_assignment_form(x.op)) && left != K_VECTOR)
      return "a left operand that is not a vector";
    if ((x.op == ASG || x.op == ARASG || updates) && left == K_UNKNOWN)
      return "an assignment to an unknown type";
    switch (x.op) {
    case ICON:
    case LCON: return has_integer_constants(x.type) ? nullptr : "an integer constant of that type";
    case FCON: return k == K_FLOAT ? nullptr : "an FCON of that type";
    case CALL:
    case UCALL:
      if (const TYPE_INFO* type = called_prototype(x)) {
        const size_t given = argument_count(x), expected = type->params.size();
        const bool fits = unit.types[type->record].variadic ? given >= expected : given == expected;
        if (!fits) return "a wrong number of arguments";
      }
      break;
    case STASG: return is_aggregate(left) ? nullptr : "an STASG to that type";
    case SWITCH: return is_integer(left) ? nullptr : "a SWITCH on that type";
    default: break;
    }
    switch (operator_rows[x.op].result) {
    case RESULT::ANY: return nullptr;
    case RESULT::COMPUTABLE: return is_computable(k) ? nullptr : "a computation in that type";
    case RESULT::TRUTH_VALUE:
      return is_integer(k) || k == K_VECTOR ? nullptr : "a truth value of that type";
    case RESULT::ADDRESS: return is_pointer(k) ? nullptr : "an address of that type";
    case RESULT::OBJECT: return k == K_VOID || k == K_FUNC ? "memory of that type" : nullptr;
    case RESULT::OF_LANES: return k == K_VECTOR ? nullptr : "a vector of that type";
    }
    return nullptr;
  }

  // --- Trees

  bool tree(uint32_t root, OPERAND place) {
    struct VISIT {
      uint32_t node;
      OPERAND place;
      uint32_t right_depth;
    };
    std::vector<VISIT> todo = {{root, place, 0}};
    while (!todo.empty()) {
      VISIT v = todo.back();
      todo.pop_back();
      const NODE& x = node(v.node);
      if (!known_type(x.type)) return fail("a tree names a type that has no record");
      const char* fault = check_references(x);
      if (!fault && v.right_depth > MAX_RIGHT_DEPTH) fault = "right operands nested too deeply";
      if (x.op == EPVAL) {
        if (!fault && node(x.left).op == ENDINIT) fault = "a profile of no value";
        if (fault) return fail(std::string("a tree has ") + fault);
        todo.push_back({x.left, v.place, v.right_depth});
        continue;
      }
      if (!fault) fault = check_place(v.node, v.place);
      if (!fault && kind(x.type) == K_UNKNOWN && v.place != LVALUE && v.place != FIELD_REF)
        fault = "a value of an unknown type";
      if (!fault) fault = check_result(x);
      if (fault) return fail(std::string("a tree has ") + fault + ", at " + op_name(x.op));
      const PLACES places = operand_places(x.op, v.place);
      if (x.right != NONE && operand_count(x.op) > 1)
        todo.push_back({x.right, places.right, v.right_depth + 1});
      if (x.left != NONE && operand_count(x.op) > 0)
        todo.push_back({x.left, places.left, v.right_depth});
    }
    return true;
  }

  // --- Symbols

  bool pragma(const PRAGMA_RECORD& p) {
    return p.kind <= INT32_MAX || fail("a pragma of an impossible kind");
  }

  bool symbol(const SYMBOL& s) {
    if (!known_type(s.type) || !known_type(s.source_type))
      return fail(s.name + " is of a type that has no record");
    const TYPE_INFO* type = find_type(unit, s.type);
    const KIND k = kind(s.type);
    if (k != K_FUNC && k != K_UNKNOWN && symbol_bits(s) != (type ? type->size : 0))
      return fail(s.name + " has not the size of its type");
    if (!is_word(s.value) || !is_word(s.align) || !is_word(s.location) || !is_word(s.option_set) ||
        s.retention > MAX_RETENTION)
      return fail(s.name + " has an impossible field");
    return std::all_of(s.pragmas.begin(), s.pragmas.end(), [&](auto& p) { return pragma(p); });
  }

  bool init(const INIT& init) {
    if (init.global >= globals) return fail("an initialiser of no symbol");
    if (kind(unit.globals[init.global].type) == K_FUNC) return fail("an initialiser of a function");
    return std::all_of(init.roots.begin(), init.roots.end(),
                       [&](uint32_t root) { return tree(root, INIT_ROOT); });
  }

  // --- The function stream

  std::unordered_set<uint64_t> bodies = {};
  uint32_t level = 0;
  bool has_table = false;

  bool begin(const FUNCTION& f) {
    if (level != 0) return fail("a function within a function");
    function = &f;
    level = 1;
    locals = 0;
    has_table = false;
    labels.clear();
    wanted_labels.clear();
    if (f.is_ir) return true;
    if (f.global >= globals || kind(unit.globals[f.global].type) != K_FUNC)
      return fail("a body of what is no function");
    return bodies.insert(f.global).second ||
           fail("the function " + unit.globals[f.global].name + " has two bodies");
  }

  bool end() {
    if (!function->is_ir && level != OUTERMOST) return fail("a function that ends within a block");
    for (uint32_t label : wanted_labels)
      if (!labels.count(label)) return fail("a branch to a label that is not defined");
    for (const SYMBOL& s : function->locals)
      if (!function->is_ir && (s.storage <= 0 || s.storage > ST_RESULT))
        return fail(s.name + " is of no storage class");
    function = nullptr;
    level = 0;
    return true;
  }

  bool exception_table(const EXCEPTION_TABLE& table) {
    if (has_table) return fail("two exception tables of one function");
    has_table = !table.empty();
    // By id, which counts from 0; entry 0 is around all others.
    std::vector<const EHT_RECORD*> by_id(table.size(), nullptr);
    for (const EHT_RECORD& e : table) {
      if (e.id >= table.size() || by_id[e.id] || !is_word(e.kind) || !is_word(e.region) ||
          !is_word(e.link))
        return fail("an impossible exception table");
      by_id[e.id] = &e;
      for (const CATCH_ENTRY& c : e.catches)
        if (!is_word(c.number)) return fail("an impossible exception table");
      if (e.kind == EHT_CLEANUP && e.tree != NONE && !tree(e.tree, STATEMENT)) return false;
    }
    if (table.empty()) return true;
    const uint64_t outermost = by_id[0]->region;
    if (by_id[0]->kind != 0 || (outermost != 0 && outermost < table.size()))
      return fail("an exception table without a root");
    for (size_t start = 1; start < table.size(); start++) {
      size_t at = start;
      for (size_t steps = 0; at != 0; steps++) {
        if (steps > table.size() || by_id[at]->region >= table.size())
          return fail("an exception table with a circle");
        at = by_id[at]->region;
      }
    }
    return true;
  }

  bool loop_use(const LOOP_USE& use) {
    if (use.level < -1 || use.index < -1) return fail("a loop with an impossible variable");
    if (use.level == -1) return is_word(use.loop) || fail("an impossible loop");
    const uint64_t count = use.level == 0 ? globals : locals;
    return (is_word(use.loop) && uint64_t(use.index) < count) ||
           fail("a loop with an impossible variable");
  }

  bool item(const ITEM& item) {
    const bool has_body = function && !function->is_ir;
    switch (item.tag) {
    case TAG_BEGIN_FUNC:
    case TAG_IR_FUNC: return begin(unit.functions[item.index]);
    case TAG_END_FUNC:
    case TAG_IR_END: return end();
    case TAG_END_ARGS: level = OUTERMOST; return true;
    case TAG_BEGIN_BLOCK:
      if (!has_body || level < OUTERMOST || level > MAX_RIGHT_DEPTH)
        return fail("a block where none may be");
      ++level;
      return true;
    case TAG_END_BLOCK: --level; return true;
    case TAG_END_LOCALS: return level >= OUTERMOST || fail("an end of locals out of place");
    case TAG_SYMBOL:
      return function ? symbol(function->locals[locals++]) : symbol(unit.globals[globals++]);
    case TAG_LABEL:
      if (!has_body || level < OUTERMOST) return fail("a label outside of a function's body");
      return labels.insert(item.index).second || fail("a label that is defined twice");
    case TAG_EXPR:
      if (!has_body || level < OUTERMOST) return fail("a statement outside of a function's body");
      return item.index != NONE ? tree(item.index, STATEMENT) : fail("a statement without a tree");
    case TAG_PRAGMA: return pragma(unit.pragmas[item.index]);
    case TAG_LOOP_DEF:
      return (is_word(unit.loops[item.index].id) && is_word(unit.loops[item.index].parent)) ||
             fail("an impossible loop");
    case TAG_IN_LOOP: return loop_use(unit.loop_uses[item.index]);
    case TAG_DD_EDGE: {
      const DEP_EDGE& edge = unit.edges[item.index];
      return (is_word(edge.from) && is_word(edge.to) && is_word(edge.kind)) ||
             fail("an impossible dependence");
    }
    case TAG_DD_VECTOR:
      return is_word(unit.vectors[item.index].id) || fail("an impossible dependence");
    case TAG_MBANK: {
      const MEM_BANK& b = unit.banks[item.index];
      for (uint64_t word : {b.word1, b.word2, b.word3, b.word4, b.word5})
        if (!is_word(word)) return fail("an impossible memory bank");
      return true;
    }
    case TAG_LDSPEC: {
      const LOAD_SPEC& spec = unit.speculations[item.index];
      return spec.form == LDSPEC_REGION || known_type(spec.type) ||
             fail("a speculation of a type that has no record");
    }
    case TAG_EHT:
      if (!has_body) return fail("an exception table outside of functions");
      return exception_table(unit.exception_tables[item.index]);
    default: return true;
    }
  }

  bool options() {
    std::unordered_set<uint64_t> numbers;
    for (const OPTION_SET& set : unit.options)
      if (set.number >= unit.options.size() || !numbers.insert(set.number).second)
        return fail("the option sets are not numbered one after the other");
    return true;
  }

  bool check() {
    if (!options()) return false;
    for (const SYMBOL& s : unit.globals) {
      if (s.in_stream) continue;
      if (!symbol(s)) return false;
      globals++;
    }
    for (const INIT& i : unit.inits)
      if (!init(i)) return false;
    return std::all_of(unit.items.begin(), unit.items.end(), [&](auto& i) { return item(i); });
  }
};

} // namespace

bool check_unit(const UNIT& unit, std::string& error) {
  if (!check_types(unit, error)) return false;
  UNIT_CHECKER checker{unit};
  const bool good = checker.check();
  error = checker.error;
  return good;
}

} // namespace icode::run
