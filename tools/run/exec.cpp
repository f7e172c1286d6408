#include "tools/run/exec.h"
#include "tools/run/library.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

namespace icode::run {

namespace {

constexpr size_t REGISTERS = size_t(1) << 23; // cells of all frames together
constexpr size_t MAX_CALLS = 100000;
constexpr size_t FRAME_UNITS_A_STEP = 256;
constexpr int MAX_NESTING = 100; // of calls from the library, each of which takes native stack

} // namespace

MACHINE::MACHINE(PROGRAM& p)
    : program(p), memory(p.memory), registers(fresh_pages<uint64_t>(REGISTERS)),
      stack_top(p.memory.stack_begin) {
  free_registers = registers.get();
  registers_end = free_registers + REGISTERS;
}

void fault(const std::string& text) {
  throw PROGRAM_FAULT{text};
}

void bad_access(const MEMORY& memory, uint32_t at, uint64_t units, bool writes) {
  char address[16];
  snprintf(address, sizeof address, "0x%x", at);
  std::string what = writes ? "a write" : "a read";
  if (at == 0) fault(what + " through a null pointer");
  if (writes && memory.readable(at, units))
    fault("a write to read-only data at address " + std::string(address));
  fault(what + " of " + std::to_string(units) + (units == 1 ? " unit" : " units") +
        " outside of any object, at address " + address);
}

void flush_output(MACHINE& m) {
  const bool is_whole = fwrite(m.output.data(), 1, m.output.size(), stdout) == m.output.size();
  if (fflush(stdout) != 0 || !is_whole) m.output_errno = errno;
  m.output.clear();
}

void charge_steps(MACHINE& m, uint64_t steps) {
  if (uint64_t(m.steps_left) < steps) {
    m.steps_left = 0;
    fault("the step limit is reached");
  }
  m.steps_left -= int64_t(steps);
}

std::string fault_position(const MACHINE& m) {
  if (!m.at_function) return "start";
  const FUNCTION_CODE& f = *m.at_function;
  UNIT_PSN psn = f.psn;
  auto pc = uint32_t(m.at_pc - f.code.data()) - 1;
  auto behind = std::upper_bound(f.positions.begin(), f.positions.end(), pc,
                                 [](uint32_t at, const POSITION& p) { return at < p.pc; });
  if (behind != f.positions.begin()) psn = std::prev(behind)->psn;
  const UNIT& unit = m.program.unit;
  std::string file =
      psn.file && psn.file <= unit.files.size() ? unit.files[psn.file - 1].name : unit.source;
  return f.name + "(), " + file + ":" + std::to_string(psn.line);
}

namespace {

// Makes room on the stack and gives its address. Everything from the caller's stack_top on is taken
// away when the function returns.
uint32_t push_memory(MACHINE& m, uint64_t units) {
  uint32_t at = (m.stack_top + 1) & ~1u;
  if (units + GAP > m.memory.stack_end - std::min(at, m.memory.stack_end))
    fault("the stack has no room for the locals");
  m.stack_top = at + uint32_t(units) + GAP;
  return at;
}

void pop_memory(MACHINE& m, uint32_t top) {
  m.memory.permit(top, m.stack_top - top, P_NONE);
  m.stack_top = top;
}

// Lays out the registers and the memory of a frame whose arguments are in place. Gives the address
// of its memory.
uint32_t enter_function(MACHINE& m, const FUNCTION_CODE& f, uint64_t* registers) {
  if (f.registers > size_t(m.registers_end - registers)) fault("the calls are nested too deeply");
  if (!f.initial.empty()) {
    uint64_t* locals = registers + f.params.size() + f.is_variadic;
    memcpy(locals, f.initial.data(), f.initial.size() * sizeof(uint64_t));
  }
  if (f.frame.empty()) return 0;
  uint32_t at = push_memory(m, f.frame.size());
  std::fill_n(&m.memory.units[at], f.frame.size(), POISON);
  memcpy(&m.memory.shadow[at], f.frame.data(), f.frame.size());
  return at;
}

std::string count_text(size_t n) {
  return std::to_string(n) + (n == 1 ? " argument" : " arguments");
}

void store_argument(MACHINE& m, uint32_t at, const SHAPE& type, uint64_t value) {
  if (type.is_scalar()) return m.memory.store(at, type.scalar.bits, value);
  auto from = uint32_t(value);
  if (!m.memory.readable(from, type.units)) bad_access(m.memory, from, type.units, false);
  memmove(&m.memory.units[at], &m.memory.units[from], type.units * sizeof(uint16_t));
}

// Brings arguments of other types or numbers than the callee's parameters into form. Those of a
// variadic function are laid out in memory.
void adapt_arguments(MACHINE& m, const std::vector<SHAPE>& given, const FUNCTION_CODE& f,
                     uint64_t* registers) {
  size_t named = f.params.size();
  if (given.size() < named || (given.size() > named && !f.is_variadic))
    fault(f.name + "() takes " + count_text(named) + " and gets " + std::to_string(given.size()));
  for (size_t i = 0; i < named; i++) {
    const SHAPE &to = f.params[i], &from = given[i];
    if (to.is_scalar() && from.is_scalar())
      registers[i] = convert(registers[i], from.scalar, to.scalar);
    else if (to.cls != from.cls || to.units != from.units)
      fault("argument " + std::to_string(i + 1) + " of " + f.name + "() has another type");
  }
  if (!f.is_variadic) return;
  auto type_of = [&](size_t i) -> const SHAPE& { return i < named ? f.params[i] : given[i]; };
  uint64_t size = 0;
  for (size_t i = 0; i < given.size(); i++)
    size = argument_end(argument_offset(size, type_of(i)), type_of(i));
  uint32_t block = push_memory(m, size);
  m.memory.permit(block, size, P_READ_WRITE);
  std::fill_n(&m.memory.units[block], size, POISON);
  uint64_t at = 0;
  for (size_t i = 0; i < given.size(); i++) {
    at = argument_offset(at, type_of(i));
    store_argument(m, uint32_t(block + at), type_of(i), registers[i]);
    at = argument_end(at, type_of(i));
  }
  registers[named] = block;
}

uint32_t switch_target(const SWITCH_TABLE& table, int64_t selector) {
  if (!table.dense.empty()) {
    uint64_t i = uint64_t(selector) - uint64_t(table.first);
    return i < table.dense.size() ? table.dense[i] : table.otherwise;
  }
  auto it = std::lower_bound(table.sparse.begin(), table.sparse.end(), selector,
                             [](const auto& entry, int64_t v) { return entry.first < v; });
  return it != table.sparse.end() && it->first == selector ? it->second : table.otherwise;
}

// x << count, held at the type's bounds; a negative count shifts right.
uint64_t saturated_shift(int64_t x, int64_t count, uint16_t type) {
  unsigned width = type & 0xFF;
  bool is_signed = type & 0x100;
  if (count < 0) {
    unsigned n = count < -63 ? 63 : unsigned(-count);
    return is_signed ? uint64_t(x >> n) : uint64_t(x) >> n;
  }
  auto high = is_signed ? uint64_t(INT64_MAX) >> (64 - width) : UINT64_MAX >> (64 - width);
  uint64_t magnitude = is_signed && x < 0 ? 0 - uint64_t(x) : uint64_t(x);
  bool negative = is_signed && x < 0;
  uint64_t bound = negative ? high + 1 : high;
  bool fits = magnitude == 0 || (count < 64 && magnitude <= bound >> count);
  uint64_t shifted = magnitude == 0 ? 0 : fits ? magnitude << count : bound;
  return negative ? 0 - shifted : shifted;
}

void copy_units(MEMORY& memory, uint32_t to, uint32_t from, uint64_t units) {
  if (!memory.readable(from, units)) bad_access(memory, from, units, false);
  if (!memory.writable(to, units)) bad_access(memory, to, units, true);
  if (units) memmove(&memory.units[to], &memory.units[from], units * sizeof(uint16_t));
}

uint64_t poison_of(const SHAPE& type) {
  if (!type.is_scalar()) return POISON_64;
  return type.cls == C_FLOAT ? wrap(POISON_64, type.scalar.bits, false)
                             : wrap(POISON_64, type.scalar);
}

// Where execution begins or goes on.
struct START {
  const FUNCTION_CODE* function;
  const INS* pc;
  uint64_t* registers;
  uint32_t frame;
};

// Runs until the frame at depth `bottom` returns.
uint64_t run_from(MACHINE& m, const START& start, size_t bottom) {
  static const void* const labels[] = {
#define INSTRUCTION_NAME(name) &&L_##name,
      ALL_INSTRUCTIONS
#undef INSTRUCTION_NAME
  };
  PROGRAM& program = m.program;
  uint16_t* const units = m.memory.units.get();
  const uint8_t* const shadow = m.memory.shadow.get();
  int64_t steps = m.steps_left;
  const FUNCTION_CODE* f = start.function;
  uint64_t* r = start.registers;
  uint32_t frame = start.frame;
  const INS* pc = start.pc;
  const INS* ins;
  uint32_t at;
  uint64_t result;

#define NEXT                                                                                       \
  do {                                                                                             \
    ins = pc++;                                                                                    \
    goto* labels[ins->op];                                                                         \
  } while (0)
#define HERE (m.at_function = f, m.at_pc = pc)
#define FAULT(text)                                                                                \
  do {                                                                                             \
    HERE;                                                                                          \
    fault(text);                                                                                   \
  } while (0)
#define TAKE_STEPS                                                                                 \
  do {                                                                                             \
    steps -= ins->aux;                                                                             \
    if (__builtin_expect(steps < 0, 0)) FAULT("the step limit is reached");                        \
  } while (0)
#define REG_OPERAND(x) r[x]
#define IMM_OPERAND(x) uint64_t(int64_t(int32_t(x)))

#define W_S16(v) uint64_t(int64_t(int16_t(v)))
#define W_U16(v) uint64_t(uint16_t(v))
#define W_S32(v) uint64_t(int64_t(int32_t(v)))
#define W_U32(v) uint64_t(uint32_t(v))
#define W_S64(v) uint64_t(v)
#define W_U64(v) uint64_t(v)
  // Per type: wrap, width, whether signed.
#define WITH_KINDS(X, name)                                                                        \
  X(name, S16, W_S16, 16, true)                                                                    \
  X(name, U16, W_U16, 16, false)                                                                   \
  X(name, S32, W_S32, 32, true)                                                                    \
  X(name, U32, W_U32, 32, false)                                                                   \
  X(name, S64, W_S64, 64, true)                                                                    \
  X(name, U64, W_U64, 64, false)
#define DO_ADD(W, width, is_signed) W(x + y)
#define DO_SUB(W, width, is_signed) W(x - y)
#define DO_MUL(W, width, is_signed) W(x* y)
  // -1 apart, no quotient leaves its type.
#define DO_DIV(W, width, is_signed)                                                                \
  (!is_signed ? x / y : y == UINT64_MAX ? W(0 - x) : uint64_t(int64_t(x) / int64_t(y)))
#define DO_MOD(W, width, is_signed)                                                                \
  (!is_signed ? x % y : y == UINT64_MAX ? 0 : uint64_t(int64_t(x) % int64_t(y)))
#define DO_SLL(W, width, is_signed) (y >= width ? 0 : W(x << (y & 63)))
#define DO_SRL(W, width, is_signed)                                                                \
  (is_signed ? uint64_t(int64_t(x) >> (y < 63 ? y : 63)) : y >= width ? 0 : x >> (y & 63))
#define DIVISOR_ADD
#define DIVISOR_SUB
#define DIVISOR_MUL
#define DIVISOR_SLL
#define DIVISOR_SRL
#define DIVISOR_DIV                                                                                \
  if (y == 0) FAULT("division by zero");
#define DIVISOR_MOD DIVISOR_DIV
#define INT_BINARY_FORM(name, kind, form, OPERAND, W, width, is_signed)                            \
  L_I_##name##_##kind##_##form : {                                                                 \
    uint64_t x = r[ins->b], y = OPERAND(ins->c);                                                   \
    DIVISOR_##name r[ins->a] = DO_##name(W, width, is_signed);                                     \
    NEXT;                                                                                          \
  }
#define INT_BINARY_KIND(name, kind, W, width, is_signed)                                           \
  INT_BINARY_FORM(name, kind, R, REG_OPERAND, W, width, is_signed)                                 \
  INT_BINARY_FORM(name, kind, I, IMM_OPERAND, W, width, is_signed)
#define INT_BINARY(name) WITH_KINDS(INT_BINARY_KIND, name)
#define BITWISE(name, op)                                                                          \
  L_I_##name##_R : r[ins->a] = r[ins->b] op r[ins->c];                                             \
  NEXT;                                                                                            \
  L_I_##name##_I : r[ins->a] = r[ins->b] op IMM_OPERAND(ins->c);                                   \
  NEXT;
#define DO_NEG(is_signed) 0 - x
#define DO_NOT(is_signed) ~x
#define DO_ABS(is_signed) is_signed&& int64_t(x) < 0 ? 0 - x : x
#define INT_UNARY_KIND(name, kind, W, width, is_signed)                                            \
  L_I_##name##_##kind : {                                                                          \
    uint64_t x = r[ins->b];                                                                        \
    r[ins->a] = W((DO_##name(is_signed)));                                                         \
    NEXT;                                                                                          \
  }
#define INT_UNARY(name) WITH_KINDS(INT_UNARY_KIND, name)
#define SET(name, type, op)                                                                        \
  L_I_SET_##name##_R : r[ins->a] = type(r[ins->b]) op type(r[ins->c]);                             \
  NEXT;                                                                                            \
  L_I_SET_##name##_I : r[ins->a] = type(r[ins->b]) op type(IMM_OPERAND(ins->c));                   \
  NEXT;
#define BRANCH_ON(name, type, op)                                                                  \
  L_I_BR_##name##_R : TAKE_STEPS;                                                                  \
  if (type(r[ins->a]) op type(r[ins->b])) pc = f->code.data() + ins->c;                            \
  NEXT;                                                                                            \
  L_I_BR_##name##_I : TAKE_STEPS;                                                                  \
  if (type(r[ins->a]) op type(IMM_OPERAND(ins->b))) pc = f->code.data() + ins->c;                  \
  NEXT;
#define FLOAT_BINARY(name, op)                                                                     \
  L_I_##name##_32 : r[ins->a] = from_float(as_float(r[ins->b]) op as_float(r[ins->c]));            \
  NEXT;                                                                                            \
  L_I_##name##_64 : r[ins->a] = from_double(as_double(r[ins->b]) op as_double(r[ins->c]));         \
  NEXT;
  // Signs are bits, so that those of NaN and zero change too.
#define DO_FNEG(v, sign) ((v) ^ (sign))
#define DO_FABS(v, sign) ((v) & ~(sign))
#define FLOAT_SIGN(name)                                                                           \
  L_I_##name##_32 : r[ins->a] = DO_##name(r[ins->b], uint64_t(0x80000000));                        \
  NEXT;                                                                                            \
  L_I_##name##_64 : r[ins->a] = DO_##name(r[ins->b], uint64_t(1) << 63);                           \
  NEXT;
#define FLOAT_COMPARISON(name, condition)                                                          \
  L_I_##name##_32 : {                                                                              \
    float x = as_float(r[ins->b]), y = as_float(r[ins->c]);                                        \
    r[ins->a] = condition;                                                                         \
    NEXT;                                                                                          \
  }                                                                                                \
  L_I_##name##_64 : {                                                                              \
    double x = as_double(r[ins->b]), y = as_double(r[ins->c]);                                     \
    r[ins->a] = condition;                                                                         \
    NEXT;                                                                                          \
  }
#define CHECK(size, writes)                                                                        \
  if (__builtin_expect(                                                                            \
          at >= ARENA_UNITS || !(shadow[at] & shadow[at + size - 1] & (writes ? 2 : 1)), 0)) {     \
    HERE;                                                                                          \
    bad_access(m.memory, at, size, writes);                                                        \
  }
#define READ_16 units[at]
#define READ_32 (units[at] | uint32_t(units[at + 1]) << 16)
#define READ_64                                                                                    \
  (units[at] | uint64_t(units[at + 1]) << 16 | uint64_t(units[at + 2]) << 32 |                     \
   uint64_t(units[at + 3]) << 48)
#define ALL_MODES(name, size, writes, ACTION)                                                      \
  L_I_##name##_FIXED : at = ins->c;                                                                \
  ACTION;                                                                                          \
  NEXT;                                                                                            \
  L_I_##name##_FRAME : at = frame + ins->c;                                                        \
  ACTION;                                                                                          \
  NEXT;                                                                                            \
  L_I_##name##_BASE : at = uint32_t(r[ins->b] + ins->c);                                           \
  CHECK(size, writes) ACTION;                                                                      \
  NEXT;                                                                                            \
  L_I_##name##_INDEX : at = uint32_t(r[ins->b] + r[ins->c] + ins->aux);                            \
  CHECK(size, writes) ACTION;                                                                      \
  NEXT;                                                                                            \
  L_I_##name##_FRAMEX : at = uint32_t(frame + ins->c + r[ins->b]);                                 \
  CHECK(size, writes) ACTION;                                                                      \
  NEXT;

  NEXT;

  FOR_EACH_INT_BINARY(INT_BINARY)
  FOR_EACH_BITWISE(BITWISE)
  FOR_EACH_INT_UNARY(INT_UNARY)
  FOR_EACH_COMPARISON(SET)
  FOR_EACH_COMPARISON(BRANCH_ON)
  FOR_EACH_FLOAT_BINARY(FLOAT_BINARY)
  FLOAT_SIGN(FNEG)
  FLOAT_SIGN(FABS)
L_I_FSQRT_32:
  r[ins->a] = from_float(std::sqrt(as_float(r[ins->b])));
  NEXT;
L_I_FSQRT_64:
  r[ins->a] = from_double(std::sqrt(as_double(r[ins->b])));
  NEXT;
  FOR_EACH_FLOAT_COMPARISON(FLOAT_COMPARISON)

  ALL_MODES(LOAD_S16, 1, false, r[ins->a] = W_S16(READ_16))
  ALL_MODES(LOAD_U16, 1, false, r[ins->a] = READ_16)
  ALL_MODES(LOAD_S32, 2, false, r[ins->a] = W_S32(READ_32))
  ALL_MODES(LOAD_U32, 2, false, r[ins->a] = READ_32)
  ALL_MODES(LOAD_64, 4, false, r[ins->a] = READ_64)
  ALL_MODES(STORE_16, 1, true, units[at] = uint16_t(r[ins->a]))
  ALL_MODES(STORE_32, 2, true, m.memory.store(at, 32, r[ins->a]))
  ALL_MODES(STORE_64, 4, true, m.memory.store(at, 64, r[ins->a]))

L_I_EXT_S16:
  r[ins->a] = W_S16(r[ins->b]);
  NEXT;
L_I_EXT_U16:
  r[ins->a] = W_U16(r[ins->b]);
  NEXT;
L_I_EXT_S32:
  r[ins->a] = W_S32(r[ins->b]);
  NEXT;
L_I_EXT_U32:
  r[ins->a] = W_U32(r[ins->b]);
  NEXT;
L_I_MOVE:
  r[ins->a] = r[ins->b];
  NEXT;
L_I_CONST:
  r[ins->a] = uint64_t(ins->c) << 32 | ins->b;
  NEXT;
L_I_LEA:
  r[ins->a] = uint32_t(frame + ins->c);
  NEXT;
L_I_LEAX:
  r[ins->a] = uint32_t(frame + ins->c + r[ins->b]);
  NEXT;
L_I_CONVERT : {
  const CONVERSION& c = program.conversions[ins->c];
  r[ins->a] = convert(r[ins->b], c.from, c.to);
  NEXT;
}
L_I_SATURATED_SLL:
  r[ins->a] = saturated_shift(int64_t(r[ins->b]), int64_t(r[ins->c]), ins->aux);
  NEXT;
L_I_BITS_LOAD : {
  at = uint32_t(r[ins->b]);
  unsigned shift = ins->c & 0xFF, width = ins->c >> 8 & 0xFF;
  CHECK((shift + width + 15) / 16, false)
  r[ins->a] = wrap(m.memory.load_bits(at, shift, width), width, ins->c >> 16);
  NEXT;
}
L_I_BITS_STORE : {
  at = uint32_t(r[ins->b]);
  unsigned shift = ins->c & 0xFF, width = ins->c >> 8 & 0xFF;
  CHECK((shift + width + 15) / 16, true)
  m.memory.store_bits(at, shift, width, r[ins->a]);
  NEXT;
}
L_I_BITS_WRAP:
  r[ins->a] = wrap(r[ins->b], ins->c >> 8 & 0xFF, ins->c >> 16);
  NEXT;
L_I_COPY:
  HERE;
  if ((steps -= ins->c) < 0) fault("the step limit is reached");
  copy_units(m.memory, uint32_t(r[ins->a]), uint32_t(r[ins->b]), ins->c);
  NEXT;
L_I_COPY_COUNT:
  HERE;
  m.steps_left = steps;
  charge_steps(m, std::min<uint64_t>(r[ins->c], ARENA_UNITS));
  steps = m.steps_left;
  copy_units(m.memory, uint32_t(r[ins->a]), uint32_t(r[ins->b]), r[ins->c]);
  NEXT;
L_I_JUMP:
  TAKE_STEPS;
  pc = f->code.data() + ins->c;
  NEXT;
L_I_COUNT:
  TAKE_STEPS;
  NEXT;
L_I_STAT:
  ++program.region_counts[ins->c];
  NEXT;
L_I_SWITCH:
  TAKE_STEPS;
  pc = f->code.data() + switch_target(program.switches[ins->c], int64_t(r[ins->a]));
  NEXT;
L_I_TRAP:
  FAULT(program.messages[ins->c]);

L_I_CALL : {
  const CALL_SITE& site = program.sites[ins->c];
  const FUNCTION_CODE* callee = site.callee;
  HERE;
  if (!callee) {
    callee = program.function_at(r[site.pointer]);
    if (!callee) fault("a call through a pointer to no function");
  }
  uint64_t* arguments = r + ins->b;
  if (!callee->has_body) {
    if (callee->library < 0) fault("the unknown function " + callee->name + "() is called");
    m.steps_left = steps;
    m.free_registers = r + f->registers;
    m.current = {f, r, frame, m.calls.size()};
    m.at_frame = frame;
    m.result_register = ins->a;
    uint64_t v = call_library(m, *callee, site, arguments);
    if (site.result.is_scalar()) r[ins->a] = v;
    steps = m.steps_left;
    NEXT;
  }
  if (m.calls.size() >= MAX_CALLS) fault("the calls are nested too deeply");
  steps -= int64_t(callee->frame.size() / FRAME_UNITS_A_STEP);
  uint32_t stack_top = m.stack_top;
  if (callee->signature != site.signature || callee->is_variadic)
    adapt_arguments(m, site.arguments, *callee, arguments);
  m.calls.push_back({f, pc, r, frame, stack_top, ins->a, &site});
  frame = enter_function(m, *callee, arguments);
  f = callee;
  r = arguments;
  pc = f->code.data();
  NEXT;
}
L_I_RETURN_NOTHING:
  TAKE_STEPS;
  result = poison_of(f->result);
  goto leave;
L_I_RETURN_OBJECT:
  TAKE_STEPS;
  result = r[ins->b];
  goto leave;
L_I_RETURN:
  TAKE_STEPS;
  result = r[ins->a];
leave : {
  if (m.calls.size() == bottom) {
    m.steps_left = steps;
    return result;
  }
  CALL_RECORD& to = m.calls.back();
  const SHAPE &given = f->result, &wanted = to.site->result;
  if (wanted.is_scalar()) {
    bool same = given.cls == wanted.cls && given.scalar == wanted.scalar;
    to.registers[to.result] = same                ? result
                              : given.is_scalar() ? convert(result, given.scalar, wanted.scalar)
                                                  : poison_of(wanted);
  } else if (wanted.in_memory() && given.in_memory() && ins->op == I_RETURN_OBJECT) {
    HERE;
    if (given.units != wanted.units) fault(f->name + "() gives an object of another size");
    copy_units(m.memory, to.frame + to.site->result_at, uint32_t(result), given.units);
  }
  if (m.stack_top != to.stack_top) pop_memory(m, to.stack_top);
  f = to.function;
  pc = to.pc;
  r = to.registers;
  frame = to.frame;
  m.calls.pop_back();
  NEXT;
}
}

// The state that a jump back to a frame of this level leaves.
START resumed(MACHINE& m, const PROGRAM_JUMP& jump) {
  const JUMP_POINT& to = jump.to;
  m.calls.resize(to.depth);
  if (m.stack_top > to.stack_top) pop_memory(m, to.stack_top);
  m.nesting = to.nesting;
  m.outer_frames.resize(size_t(to.nesting));
  if (to.type.cls == C_INT)
    to.frame.registers[to.result] = convert(uint64_t(jump.value), INT64, to.type);
  return {to.frame.function, to.pc, to.frame.registers, to.frame.memory};
}

// Runs a function whose arguments are in `registers`.
uint64_t execute(MACHINE& m, const FUNCTION_CODE& f, uint64_t* registers) {
  const size_t bottom = m.calls.size();
  const int nesting = m.nesting;
  uint32_t frame = enter_function(m, f, registers);
  START start{&f, f.code.data(), registers, frame};
  for (;;) {
    try {
      return run_from(m, start, bottom);
    } catch (const PROGRAM_JUMP& jump) {
      if (jump.to.nesting != nesting) throw;
      start = resumed(m, jump);
    }
  }
}

} // namespace

uint64_t run_function(MACHINE& m, const FUNCTION_CODE& f, const std::vector<uint64_t>& arguments) {
  if (m.nesting >= MAX_NESTING) fault("calls from the library are nested too deeply");
  const FUNCTION_CODE* at_function = m.at_function;
  const INS* at_pc = m.at_pc;
  uint64_t* registers = m.free_registers;
  uint32_t stack_top = m.stack_top;
  if (size_t(m.registers_end - registers) < arguments.size() + 1)
    fault("the calls are nested too deeply");
  std::copy(arguments.begin(), arguments.end(), registers);
  if (f.is_variadic) adapt_arguments(m, f.params, f, registers);
  m.outer_frames.resize(size_t(m.nesting));
  m.outer_frames.push_back(m.current);
  ++m.nesting;
  uint32_t at_frame = m.at_frame, result_register = m.result_register;
  uint64_t result = execute(m, f, registers);
  --m.nesting;
  m.current = m.outer_frames.back();
  m.outer_frames.pop_back();
  m.at_frame = at_frame;
  m.result_register = result_register;
  pop_memory(m, stack_top);
  m.free_registers = registers;
  m.at_function = at_function;
  m.at_pc = at_pc;
  return result;
}

void run_exit_function(MACHINE& m, const FUNCTION_CODE& f) {
  m.calls.clear();
  m.nesting = 0;
  m.outer_frames.clear();
  m.free_registers = m.registers.get();
  m.current = {};
  if (!f.params.empty()) fault(f.name + "() takes parameters that it cannot be given");
  run_function(m, f, {});
}

} // namespace icode::run
