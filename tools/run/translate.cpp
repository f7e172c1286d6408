#include "tools/run/translate.h"
#include "tools/run/translator.h"

#include <algorithm>

namespace icode::run {

namespace {

// Deeper trees would need more of the native stack than the program provides.
constexpr uint32_t MAX_TREE_DEPTH = 150000;
constexpr size_t MAX_CODE = size_t(1) << 23; // instructions in a unit
constexpr uint32_t MAX_REGISTERS = 1 << 20;  // of a function
constexpr uint16_t MAX_AUX = UINT16_MAX;

bool assigns(int op) {
  return op == ASG || op == STASG || op == ARASG || is_operator_assignment(op);
}

// The facts of all nodes. A file has operands behind their operator, so one backward pass sees
// operands first. False for a tree that is nested too deeply.
bool find_facts(const UNIT& unit, std::vector<uint8_t>& facts) {
  facts.assign(unit.nodes.size(), 0);
  std::vector<uint32_t> depth(unit.nodes.size(), 0);
  for (size_t i = unit.nodes.size(); i-- > 0;) {
    const NODE& n = unit.nodes[i];
    uint8_t f = 0;
    for (uint32_t operand : {n.left, n.right})
      if (operand != NONE) {
        f |= facts[operand];
        depth[i] = std::max(depth[i], depth[operand] + 1);
      }
    if (has_trait(n.op, operator_trait::WRITES)) f |= HAS_EFFECTS;
    if (assigns(n.op)) {
      int to = unit.nodes[n.left].op;
      if (to != UMULT && to != STREF) f |= WRITES_REG;
    }
    facts[i] = f;
    if (depth[i] > MAX_TREE_DEPTH) return false;
  }
  return true;
}

// Operators whose left operand, a local, must have an address. UAND and ARGREF ask for it; the
// others reach into it.
bool needs_address(int op) {
  switch (op) {
  case UAND:
  case ARGREF:
  case STDOT:
  case STFIELD:
  case VFIELD:
  case REAL:
  case IMAG: return true;
  default: return false;
  }
}

} // namespace

// --- Homes of locals ---

void FUNCTION_TRANSLATOR::note_use(uint32_t n, bool is_address) {
  const NODE& x = node(n);
  if (x.op == NAME && x.a != 0 && x.b < homes.size()) {
    const SHAPE& used = p.shapes[x.type];
    const SHAPE& declared = p.shapes[function.locals[x.b].type];
    if (is_address || !used.is_scalar() || !declared.is_scalar() || used.cls != declared.cls ||
        used.scalar.bits != declared.scalar.bits)
      homes[x.b].in_memory = true;
  }
  if (x.op == VREG) {
    const SHAPE& used = p.shapes[x.type];
    auto [it, is_new] = vregs.try_emplace(x.a);
    PLACE& at = it->second;
    if (is_new) {
      at.kind = PLACE::REG;
      at.held = used.scalar;
      at.held.is_boolean = false;
    }
    // For now `offset` counts the units that the register must hold if it lives in memory.
    at.offset = std::max(at.offset, uint32_t(used.units));
    if (is_address || !used.is_scalar() || used.scalar.bits != at.held.bits ||
        used.scalar.cls != at.held.cls)
      at.kind = PLACE::FRAME;
  }
}

void FUNCTION_TRANSLATOR::find_homes() {
  homes.assign(function.locals.size(), {});
  struct VISIT {
    uint32_t node;
    bool is_address;
  };
  std::vector<VISIT> stack;
  for (uint32_t i = function.begin; i < function.end; i++) {
    if (unit.items[i].tag != TAG_EXPR || unit.items[i].index == NONE) continue;
    stack.push_back({unit.items[i].index, false});
    while (!stack.empty()) {
      VISIT v = stack.back();
      stack.pop_back();
      note_use(v.node, v.is_address);
      const NODE& n = node(v.node);
      bool passes = v.is_address && (n.op == COMMAOP || n.op == DDNODE || n.op == EPVAL ||
                                     n.op == QUEST || n.op == COLON);
      if (n.left != NONE) stack.push_back({n.left, needs_address(n.op) || passes});
      if (n.right != NONE) stack.push_back({n.right, passes});
    }
  }

  // Parameters come first, whatever their place among the locals.
  std::vector<uint32_t> params;
  for (uint32_t i = 0; i < function.locals.size(); i++)
    if (function.locals[i].level == 1) params.push_back(i);
  for (uint32_t i : params)
    out.params.push_back(p.shapes[function.locals[i].type]);
  top = uint32_t(params.size());
  uint32_t argument_pointer = top;
  if (out.is_variadic) ++top;
  uint64_t argument_at = 0;
  for (uint32_t k = 0; k < params.size(); k++) {
    HOME& home = homes[params[k]];
    PLACE& at = home.place;
    const SHAPE& type = out.params[k];
    if (out.is_variadic) {
      at.kind = PLACE::BASE;
      at.reg = argument_pointer;
      argument_at = argument_offset(argument_at, type);
      at.offset = uint32_t(argument_at);
      argument_at = argument_end(argument_at, type);
    } else if (!home.in_memory && type.is_scalar()) {
      at.kind = PLACE::REG;
      at.reg = k;
      at.held = type.scalar;
      at.held.is_boolean = false;
    } else {
      at = frame_object(type.units, true);
    }
  }

  auto poison = [&](SCALAR type) {
    return type.cls == C_FLOAT ? wrap(POISON_64, type.bits, false) : wrap(POISON_64, type);
  };
  for (uint32_t i = 0; i < function.locals.size(); i++) {
    const SYMBOL& s = function.locals[i];
    HOME& home = homes[i];
    if (s.level == 1) continue;
    const SHAPE& type = p.shapes[s.type];
    uint64_t units = std::max((symbol_bits(s) + 15) / 16, type.units);
    if (s.storage == ST_STATIC || s.storage == ST_GLOBAL || s.storage == ST_EXTERN) {
      home.is_static = true;
      auto known = p.external.find(s.name);
      if (s.storage != ST_STATIC && known != p.external.end())
        home.place.offset = p.global_address[known->second];
      else if (type.cls == C_FUNC)
        home.place.offset = external_function(p, s.name)->address;
      else
        home.place.offset = p.memory.place_data(units, 2);
    } else if (!home.in_memory && type.is_scalar()) {
      home.place.kind = PLACE::REG;
      home.place.reg = top++;
      home.place.held = type.scalar;
      home.place.held.is_boolean = false;
      out.initial.push_back(poison(type.scalar));
    } else if (home.in_memory || type.in_memory()) {
      home.place = frame_object(units, true);
    }
  }
  std::vector<std::pair<uint64_t, PLACE*>> registers;
  for (auto& [number, at] : vregs)
    registers.emplace_back(number, &at);
  std::sort(registers.begin(), registers.end());
  for (auto& [number, at] : registers) {
    if (at->kind == PLACE::REG) {
      at->offset = 0;
      at->reg = top++;
      out.initial.push_back(poison(at->held));
    } else {
      *at = frame_object(at->offset, true);
    }
  }
  max_top = top;

  for (uint32_t k = 0; k < params.size() && !out.is_variadic; k++) {
    const PLACE& at = homes[params[k]].place;
    uint32_t save = top;
    PLACE incoming;
    incoming.kind = PLACE::BASE;
    incoming.reg = k;
    if (at.kind == PLACE::FRAME && out.params[k].is_scalar())
      store(at, out.params[k].scalar, SCALAR_VALUE::of_reg(k));
    else if (at.kind == PLACE::FRAME && out.params[k].in_memory())
      copy(at, incoming, out.params[k].units);
    top = save;
  }
}

// --- Steps and statistics ---

bool FUNCTION_TRANSLATOR::is_register(uint32_t n) const {
  const NODE& x = node(n);
  if (x.op == VREG) {
    auto known = vregs.find(x.a);
    return known != vregs.end() && known->second.kind == PLACE::REG;
  }
  return x.op == NAME && x.a != 0 && x.b < homes.size() && homes[x.b].place.kind == PLACE::REG;
}

// Counts the nodes that are executed whenever `root` is; what is behind a condition becomes a
// region of its own when it is translated.
void FUNCTION_TRANSLATOR::enter_region(uint32_t root, bool is_statement, uint32_t parent) {
  uint64_t count = 0;
  if (p.with_stats) {
    region = uint32_t(p.regions.size());
    p.regions.emplace_back();
    p.regions.back().statements = is_statement;
  }
  struct VISIT {
    uint32_t node, parent;
  };
  std::vector<VISIT> stack = {{root, parent}};
  while (!stack.empty()) {
    VISIT v = stack.back();
    const NODE& n = node(v.node);
    stack.pop_back();
    ++count;
    if (p.with_stats) {
      REGION& r = p.regions[region];
      ++r.nodes[n.op];
      bool gets_register = n.op == ASG && is_register(n.left);
      count_operation(unit, p.shapes, v.node, v.parent, gets_register, r.counts);
    }
    if (n.op == NASSERT || n.op == LOOP_OP || n.op == ENDLOOP) continue;
    bool conditional = n.op == ANDAND || n.op == OROR || n.op == COLON;
    if (n.left != NONE && n.op != COLON) stack.push_back({n.left, v.node});
    if (n.right != NONE && !conditional) stack.push_back({n.right, v.node});
  }
  pending_steps += count;
  if (p.with_stats) emit(I_STAT, 0, 0, region);
}

void FUNCTION_TRANSLATOR::flush_steps() {
  while (pending_steps > 0) {
    auto steps = std::min<uint64_t>(pending_steps, MAX_AUX);
    pending_steps -= steps;
    emit(I_COUNT, 0, 0, 0, unsigned(steps));
  }
}

// For an instruction that is about to be emitted and is always executed.
uint16_t FUNCTION_TRANSLATOR::take_steps() {
  if (pending_steps > MAX_AUX) flush_steps();
  auto steps = uint16_t(pending_steps);
  pending_steps = 0;
  return steps;
}

// --- Emission ---

SCALAR FUNCTION_TRANSLATOR::scalar(uint32_t n) const {
  const SHAPE& s = shape(n);
  if (!s.is_scalar()) fail(node(n), "with a type that is not scalar");
  return s.scalar;
}

void FUNCTION_TRANSLATOR::emit(unsigned op, uint32_t a, uint32_t b, uint32_t c, unsigned aux) {
  if (out.code.size() >= MAX_CODE) fail("a function that is too large");
  out.code.push_back({uint16_t(op), uint16_t(aux), a, b, c});
}

uint32_t FUNCTION_TRANSLATOR::alloc() {
  if (top >= MAX_REGISTERS) fail("an expression that needs too many registers");
  uint32_t r = top++;
  max_top = std::max(max_top, top);
  return r;
}

uint32_t FUNCTION_TRANSLATOR::dest(uint32_t want, uint32_t save) {
  top = save;
  return want != NO_REG ? want : alloc();
}

uint32_t FUNCTION_TRANSLATOR::reg(SCALAR_VALUE v) {
  if (!v.is_imm) return v.reg;
  uint32_t r = alloc();
  emit(I_CONST, r, uint32_t(v.imm), uint32_t(v.imm >> 32));
  return r;
}

SCALAR_VALUE FUNCTION_TRANSLATOR::move_to(uint32_t want, SCALAR_VALUE v) {
  if (want == NO_REG || (!v.is_imm && v.reg == want)) return v;
  if (v.is_imm)
    emit(I_CONST, want, uint32_t(v.imm), uint32_t(v.imm >> 32));
  else
    emit(I_MOVE, want, v.reg);
  return SCALAR_VALUE::of_reg(want);
}

void FUNCTION_TRANSLATOR::trap(const std::string& message) {
  emit(I_TRAP, 0, 0, uint32_t(p.messages.size()));
  p.messages.push_back(message);
}

uint32_t FUNCTION_TRANSLATOR::new_label() {
  label_at.push_back(NONE);
  return uint32_t(label_at.size() - 1);
}

// --- Statements ---

uint32_t FUNCTION_TRANSLATOR::user_label(uint32_t n) {
  const NODE& x = node(n);
  if (x.op != LABEL || x.a > UINT32_MAX || !function.labels.count(uint32_t(x.a)))
    fail("a branch to a label that is not defined");
  auto [it, is_new] = user_labels.try_emplace(uint32_t(x.a), 0);
  if (is_new) it->second = new_label();
  return it->second;
}

void FUNCTION_TRANSLATOR::count(uint32_t n) {
  if (!p.with_profile || n == NONE) return;
  emit(I_STAT, 0, 0, uint32_t(p.profile_sites.size()));
  p.profile_sites.push_back(n);
}

void FUNCTION_TRANSLATOR::jump_counted(uint32_t label_node) {
  count(label_node);
  jump(user_label(label_node));
}

void FUNCTION_TRANSLATOR::switch_statement(const NODE& n) {
  count(n.left);
  SCALAR type = scalar(n.left);
  if (type.cls != C_INT) fail(n, "on a value that is no integer");
  SWITCH_TABLE table;
  table.otherwise = NONE;
  std::vector<std::pair<int64_t, uint32_t>> cases;
  std::vector<std::pair<uint32_t, uint32_t>> ways; // with a profile: places that count, and go on
  auto way_to = [&](uint32_t label_node) {
    const uint32_t label = user_label(label_node);
    if (!p.with_profile) return label;
    ways.emplace_back(new_label(), label_node);
    return ways.back().first;
  };
  for (uint32_t item : list_items(n.right)) {
    const NODE& c = node(item);
    if (c.op == DEFAULT) {
      if (table.otherwise == NONE) table.otherwise = way_to(c.left);
      continue;
    }
    if (c.op != CASE || (node(c.left).op != ICON && node(c.left).op != LCON))
      fail(n, "with something that is no case");
    cases.emplace_back(int64_t(constant(node(c.left), type).imm), way_to(c.right));
  }
  uint32_t end = new_label();
  if (table.otherwise == NONE) table.otherwise = end;
  // The first of two cases of one value counts.
  std::stable_sort(cases.begin(), cases.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  cases.erase(std::unique(cases.begin(), cases.end(),
                          [](const auto& a, const auto& b) { return a.first == b.first; }),
              cases.end());
  constexpr uint64_t SPARSENESS = 4; // table places a case that are well spent
  uint64_t span = cases.empty() ? 0 : uint64_t(cases.back().first) - uint64_t(cases.front().first);
  if (!cases.empty() && span < SPARSENESS * cases.size()) {
    table.first = cases.front().first;
    table.dense.assign(span + 1, table.otherwise);
    for (auto& [v, label] : cases)
      table.dense[uint64_t(v) - uint64_t(table.first)] = label;
  } else {
    table.sparse = std::move(cases);
  }
  uint32_t selector = reg(value(n.left));
  emit(I_SWITCH, selector, 0, uint32_t(p.switches.size()), take_steps());
  p.switches.push_back(std::move(table));
  for (auto [place, label_node] : ways) {
    bind(place);
    jump_counted(label_node);
  }
  bind(end);
}

void FUNCTION_TRANSLATOR::statement_body(uint32_t root) {
  const NODE& n = node(root);
  switch (n.op) {
  case BRANCH: return jump_counted(n.left);
  case CBRANCH: {
    if (!p.with_profile) return branch_if(n.left, true, user_label(n.right));
    user_label(n.right); // or the statement is none
    count(n.left);
    const uint32_t next = new_label();
    branch_if(n.left, false, next);
    jump_counted(n.right);
    return bind(next);
  }
  case SWITCH: return switch_statement(n);
  case URETURN: count(n.left); return emit(I_RETURN_NOTHING, 0, 0, 0, take_steps());
  case RETURN:
    count(n.right);
    if (out.result.is_scalar()) {
      uint32_t r = reg(value_as(n.right, out.result.scalar));
      return emit(I_RETURN, r, 0, 0, take_steps());
    }
    if (out.result.in_memory()) {
      if (shape(n.right).units != out.result.units) fail(n, "of an object of another size");
      uint32_t r = reg(address(place(n.right)));
      return emit(I_RETURN_OBJECT, 0, r, uint32_t(out.result.units), take_steps());
    }
    effects(n.right);
    return emit(I_RETURN_NOTHING, 0, 0, 0, take_steps());
  default: return effects(root);
  }
}

void FUNCTION_TRANSLATOR::statement(uint32_t root) {
  size_t start = out.code.size();
  uint32_t save = top;
  enter_region(root, true);
  try {
    statement_body(root);
  } catch (const UNSUPPORTED& u) {
    out.code.resize(start);
    trap("cannot execute " + u.text);
  }
  top = save;
}

namespace {

bool is_branch(unsigned op) {
  return op >= I_BR_EQ_R && op <= I_BR_UGE_I;
}

} // namespace

void FUNCTION_TRANSLATOR::translate() {
  first_switch = p.switches.size();
  out.psn = unit.items[function.begin].psn;
  out.positions.push_back({0, out.psn});
  try {
    find_homes();
    out.signature = signature_of(p, out.params);
    bool is_first = true; // of all statements: it tells of calls
    for (uint32_t i = function.begin; i < function.end; i++) {
      const ITEM& item = unit.items[i];
      if (item.tag == TAG_LABEL) {
        flush_steps();
        auto [it, is_new] = user_labels.try_emplace(item.index, 0);
        if (is_new) it->second = new_label();
        if (label_at[it->second] == NONE) bind(it->second);
      } else if (item.tag == TAG_EXPR && item.index != NONE) {
        if (item.psn.file) out.positions.push_back({uint32_t(out.code.size()), item.psn});
        if (is_first) count(item.index);
        is_first = false;
        statement(item.index);
      }
    }
    if (p.with_stats) { // the return at a function's end is one, written or not
      p.regions.emplace_back().counts.operations = 1;
      emit(I_STAT, 0, 0, uint32_t(p.regions.size() - 1));
    }
    emit(I_RETURN_NOTHING, 0, 0, 0, take_steps());
  } catch (const UNSUPPORTED& u) { // what no statement can be blamed for
    out.code.clear();
    out.initial.clear();
    out.frame.clear();
    p.switches.resize(first_switch);
    max_top = std::max(max_top, uint32_t(out.params.size()) + 1);
    out.signature = signature_of(p, out.params);
    trap("cannot execute " + u.text);
  }
  out.registers = max_top;

  auto resolve = [&](uint32_t& label) {
    // A statement that was given up may leave a label without a place; nothing branches there.
    label = label < label_at.size() && label_at[label] != NONE ? label_at[label] : 0;
  };
  for (INS& ins : out.code)
    if (is_branch(ins.op) || ins.op == I_JUMP) resolve(ins.c);
  for (size_t i = first_switch; i < p.switches.size(); i++) {
    SWITCH_TABLE& table = p.switches[i];
    resolve(table.otherwise);
    for (uint32_t& label : table.dense)
      resolve(label);
    for (auto& [value, label] : table.sparse)
      resolve(label);
  }
}

bool translate(PROGRAM& p, std::string& error) {
  const UNIT& unit = p.unit;
  std::vector<uint8_t> facts;
  if (!find_facts(unit, facts)) {
    error = "an expression is nested more than " + std::to_string(MAX_TREE_DEPTH) + " levels deep";
    return false;
  }
  auto function_code = [&](const FUNCTION& f) -> FUNCTION_CODE* {
    return f.is_ir || f.global >= p.global_function.size() ? nullptr : p.global_function[f.global];
  };
  // Calls need to know of all functions first.
  for (const FUNCTION& f : unit.functions) {
    FUNCTION_CODE* code = function_code(f);
    if (!code) continue;
    if (code->has_body) {
      error = "the function " + code->name + " has two bodies";
      return false;
    }
    code->has_body = true;
    const TYPE_INFO* type = resolved_type(unit, unit.globals[f.global].type);
    if (type && type->kind == K_FUNC) {
      code->is_variadic = unit.types[type->record].variadic;
      code->result = p.shapes[type->element];
    }
  }
  size_t code_size = 0;
  for (const FUNCTION& f : unit.functions) {
    FUNCTION_CODE* code = function_code(f);
    if (!code) continue;
    FUNCTION_TRANSLATOR{p, unit, f, *code, facts}.translate();
    code_size += code->code.size();
    if (code_size > MAX_CODE) {
      error = "the program is too large";
      return false;
    }
  }
  return true;
}

} // namespace icode::run
