// The compact form that functions are translated to once and executed from, and what surrounds it:
// functions, call sites, the statistics' regions.
//
// An instruction works on the registers of its function's frame: 64-bit cells with canonical
// values. The first registers are the parameters, then come the hidden argument pointer of a
// variadic function, the locals that need no memory, the virtual registers, and the temporaries.
#pragma once

#include "tools/run/memory.h"
#include "tools/run/operations.h"
#include "tools/run/types.h"

#include <array>
#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

namespace icode::run {

// Families of instructions. Within one, the members stand in the order given here, so a member's
// code is the family's plus an index.
//   by integer type (INT_KIND) and form (register, immediate)
#define FOR_EACH_INT_BINARY(X) X(ADD) X(SUB) X(MUL) X(DIV) X(MOD) X(SLL) X(SRL)
//   by form; canonical operands of one type give a canonical result
#define FOR_EACH_BITWISE(X) X(AND, &) X(OR, |) X(XOR, ^)
//   by integer type
#define FOR_EACH_INT_UNARY(X) X(NEG) X(NOT) X(ABS)
//   comparisons by form: name, type of the operands, operator
// clang-format off
#define FOR_EACH_COMPARISON(X)                                                                     \
  X(EQ, int64_t, ==) X(NE, int64_t, !=)                                                            \
  X(LT, int64_t, <) X(LE, int64_t, <=) X(GT, int64_t, >) X(GE, int64_t, >=)                        \
  X(ULT, uint64_t, <) X(ULE, uint64_t, <=) X(UGT, uint64_t, >) X(UGE, uint64_t, >=)
//   by width (32, 64)
#define FOR_EACH_FLOAT_BINARY(X) X(FADD, +) X(FSUB, -) X(FMUL, *) X(FDIV, /)
#define FOR_EACH_FLOAT_UNARY(X) X(FNEG) X(FABS) X(FSQRT)
//   by width; in the order of the operators FEQ to FUNO: name, condition on x and y
#define FOR_EACH_FLOAT_COMPARISON(X)                                                               \
  X(FCEQ, x == y) X(FCNE, x < y || x > y)                                                          \
  X(FCLE, x <= y) X(FCLT, x < y) X(FCGE, x >= y) X(FCGT, x > y)                                    \
  X(FCEQN, !(x < y || x > y)) X(FCNEN, !(x == y))                                                  \
  X(FCLEN, !(x > y)) X(FCLTN, !(x >= y)) X(FCGEN, !(x < y)) X(FCGTN, !(x <= y))                    \
  X(FCORD, !(x != x || y != y)) X(FCUNO, x != x || y != y)
// clang-format on

#define FOR_EACH_INT_KIND(X, name)                                                                 \
  X(name, S16) X(name, U16) X(name, S32) X(name, U32) X(name, S64) X(name, U64)
// Addressing: at the fixed address c; in the frame at c; at register b plus c; at registers b and c
// plus aux; in the frame at c plus register b. The first two are proven good by the translator.
#define FOR_EACH_MODE(X, name)                                                                     \
  X(name, FIXED) X(name, FRAME) X(name, BASE) X(name, INDEX) X(name, FRAMEX)
// Loads by type of value, stores by width.
#define FOR_EACH_LOAD(X) X(LOAD_S16) X(LOAD_U16) X(LOAD_S32) X(LOAD_U32) X(LOAD_64)
#define FOR_EACH_STORE(X) X(STORE_16) X(STORE_32) X(STORE_64)
#define FOR_EACH_OTHER(X)                                                                          \
  X(EXT_S16) /* a = b, wrapped to the type */                                                      \
  X(EXT_U16)                                                                                       \
  X(EXT_S32)                                                                                       \
  X(EXT_U32)                                                                                       \
  X(MOVE)          /* a = b */                                                                     \
  X(CONST)         /* a = the 64 bits of c:b */                                                    \
  X(LEA)           /* a = the frame's address + c */                                               \
  X(LEAX)          /* a = the frame's address + c + register b */                                  \
  X(CONVERT)       /* a = b converted as conversions[c] says */                                    \
  X(SATURATED_SLL) /* a = b << c in the integer type in aux, held at its bounds */                 \
  X(BITS_LOAD)     /* a = the bit-field c at address b */                                          \
  X(BITS_STORE)    /* the bit-field c at address b = a */                                          \
  X(BITS_WRAP)     /* a = b as the bit-field c would read */                                       \
  X(COPY)          /* c units from address b to address a */                                       \
  X(COPY_COUNT)    /* as many units as register c says, likewise */                                \
  X(JUMP)          /* to c */                                                                      \
  X(COUNT)         /* nothing but its steps */                                                     \
  X(STAT)          /* region, or site of the profile, c is executed */                             \
  X(SWITCH)        /* by table c on register a */                                                  \
  X(CALL)          /* call site c, arguments from register b on, result to a */                    \
  X(RETURN)        /* register a */                                                                \
  X(RETURN_NOTHING)                                                                                \
  X(RETURN_OBJECT) /* the c units at address b */                                                  \
  X(TRAP)          /* fault with message c */

// All instructions: INSTRUCTION_NAME(I_...) for each, with a definition of the place of use.
#define INS_KIND_FORM(name, kind)                                                                  \
  INSTRUCTION_NAME(I_##name##_##kind##_R) INSTRUCTION_NAME(I_##name##_##kind##_I)
#define INS_INT_BINARY(name) FOR_EACH_INT_KIND(INS_KIND_FORM, name)
#define INS_BITWISE(name, op) INSTRUCTION_NAME(I_##name##_R) INSTRUCTION_NAME(I_##name##_I)
#define INS_KIND(name, kind) INSTRUCTION_NAME(I_##name##_##kind)
#define INS_INT_UNARY(name) FOR_EACH_INT_KIND(INS_KIND, name)
#define INS_SET(name, type, op)                                                                    \
  INSTRUCTION_NAME(I_SET_##name##_R) INSTRUCTION_NAME(I_SET_##name##_I)
#define INS_BRANCH(name, type, op)                                                                 \
  INSTRUCTION_NAME(I_BR_##name##_R) INSTRUCTION_NAME(I_BR_##name##_I)
#define INS_WIDTH(name, op) INSTRUCTION_NAME(I_##name##_32) INSTRUCTION_NAME(I_##name##_64)
#define INS_WIDTH_UNARY(name) INS_WIDTH(name, )
#define INS_MODES(name) FOR_EACH_MODE(INS_KIND, name)
#define INS_OTHER(name) INSTRUCTION_NAME(I_##name)
#define ALL_INSTRUCTIONS                                                                           \
  FOR_EACH_INT_BINARY(INS_INT_BINARY)                                                              \
  FOR_EACH_BITWISE(INS_BITWISE)                                                                    \
  FOR_EACH_INT_UNARY(INS_INT_UNARY)                                                                \
  FOR_EACH_COMPARISON(INS_SET)                                                                     \
  FOR_EACH_COMPARISON(INS_BRANCH)                                                                  \
  FOR_EACH_FLOAT_BINARY(INS_WIDTH)                                                                 \
  FOR_EACH_FLOAT_UNARY(INS_WIDTH_UNARY)                                                            \
  FOR_EACH_FLOAT_COMPARISON(INS_WIDTH)                                                             \
  FOR_EACH_LOAD(INS_MODES)                                                                         \
  FOR_EACH_STORE(INS_MODES)                                                                        \
  FOR_EACH_OTHER(INS_OTHER)

enum INT_KIND : uint8_t { K_S16, K_U16, K_S32, K_U32, K_S64, K_U64 };
enum MODE : uint8_t { M_FIXED, M_FRAME, M_BASE, M_INDEX, M_FRAMEX };

enum INSTRUCTION : uint16_t {
#define INSTRUCTION_NAME(name) name,
  ALL_INSTRUCTIONS
#undef INSTRUCTION_NAME
};

// Branches (I_BR_*, I_JUMP, I_SWITCH, I_RETURN*, I_COUNT) take `aux` steps off the step limit. The
// target of an I_BR_* is c, its operands are a and b.
struct INS {
  uint16_t op = 0;
  uint16_t aux = 0;
  uint32_t a = 0, b = 0, c = 0;
};

// Bit-field in an instruction's word.
constexpr uint32_t pack_bits(unsigned shift, unsigned width, bool is_signed) {
  return shift | width << 8 | unsigned(is_signed) << 16;
}

// Integer type in an instruction's aux.
constexpr uint16_t pack_int(SCALAR s) {
  return uint16_t(s.bits | (s.is_signed ? 0x100 : 0));
}

struct CONVERSION {
  SCALAR from, to;
};

// Target positions of a SWITCH; case values are canonical in the selector's type.
struct SWITCH_TABLE {
  uint32_t otherwise = 0;
  int64_t first = 0;                                // of `dense`
  std::vector<uint32_t> dense;                      // by value, where the values lie close together
  std::vector<std::pair<int64_t, uint32_t>> sparse; // sorted; empty if dense is not
};

struct FUNCTION_CODE;

struct CALL_SITE {
  const FUNCTION_CODE* callee = nullptr; // null for a call through register `pointer`
  uint32_t pointer = 0;
  uint32_t signature = 0; // of the arguments
  std::vector<SHAPE> arguments;
  SHAPE result;
  uint32_t result_at = 0; // frame offset of the object that takes an aggregate result
};

// A source position from a code position on.
struct POSITION {
  uint32_t pc;
  UNIT_PSN psn;
};

struct FUNCTION_CODE {
  std::string name;
  uint32_t address = 0;
  int library = -1; // of a function without a body, its index in the library; -1 for none
  bool has_body = false;
  bool is_variadic = false;
  uint32_t signature = 0; // of the named parameters
  std::vector<SHAPE> params;
  SHAPE result;
  std::vector<INS> code;
  uint32_t registers = 0;
  // What the registers behind the parameters (and the argument pointer) hold at entry.
  std::vector<uint64_t> initial;
  std::vector<uint8_t> frame; // PERMISSION of each unit of the frame's memory
  std::vector<POSITION> positions;
  UNIT_PSN psn; // of its beginning
};

// Nodes that are always executed together. Kept for statistics only.
struct REGION {
  std::array<uint32_t, FIRST_MEMORY_OP> nodes{};
  OPERATION_COUNTS counts;
  uint32_t statements = 0, loads = 0, stores = 0;
};

// A whole unit, ready to run.
struct PROGRAM {
  explicit PROGRAM(const UNIT& u) : unit(u), shapes(u) {
    for (const TYPE_RECORD& type : u.types)
      if (type.code == TC_DOUBLE) double_bits = unsigned(type.size);
  }

  const UNIT& unit;
  SHAPES shapes;
  MEMORY memory;
  bool with_stats = false, with_profile = false; // not both
  unsigned double_bits = 32;                     // size of the unit's double
  uint64_t frame_units = 0;                      // of all functions together

  std::deque<FUNCTION_CODE> functions;                // with and without a body
  std::vector<FUNCTION_CODE*> by_address;             // address - FUNCTION_BEGIN
  std::vector<uint32_t> global_address;               // by index in unit.globals
  std::vector<FUNCTION_CODE*> global_function;        // by index; null for data
  std::unordered_map<std::string, uint32_t> external; // names of linkage to global index
  std::unordered_map<std::string, uint32_t> strings;  // contents to address

  std::vector<CALL_SITE> sites;
  std::vector<SWITCH_TABLE> switches;
  std::vector<CONVERSION> conversions;
  std::vector<std::string> messages;
  std::vector<REGION> regions;
  std::vector<uint64_t> region_counts; // executions of regions, or of the profile's sites
  std::vector<uint32_t> profile_sites; // nodes that are counted
  std::unordered_map<std::string, uint32_t> signatures;

  FUNCTION_CODE* function_at(uint64_t address) const {
    uint64_t i = address - FUNCTION_BEGIN;
    return i < by_address.size() ? by_address[i] : nullptr;
  }
};

// A number for a list of argument types; equal lists have the same.
uint32_t signature_of(PROGRAM& program, const std::vector<SHAPE>& types);
// The offset of a variadic function's argument of this type that would begin at `at` or later, and
// the place behind it, in units.
uint64_t argument_offset(uint64_t at, const SHAPE& type);
uint64_t argument_end(uint64_t offset, const SHAPE& type);

} // namespace icode::run
