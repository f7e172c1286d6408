// The operators of expression trees. Codes below FIRST_MEMORY_OP can stand in an icode file; the
// others exist in memory only. What is known of each stands in ifile/operators.inc.
#pragma once

#include <array>

enum OPCODE : int {
#define OPERATOR(code, name, ...) name = code,
#include "ifile/operators.inc"
};

constexpr int FIRST_MEMORY_OP = 164;
constexpr int OPCODE_COUNT = 225;

// What an operand must be: the place that its operator gives to it. Roots of trees have places,
// too.
enum class OPERAND : unsigned char {
  NOTHING,    // there is none
  ANYTHING,   // what only one pass knows of
  VALUE,      // any value, aggregates too
  SCALAR,     // a value that is not an aggregate
  POINTER,    // a pointer value
  LVALUE,     // a place in memory or a register
  AS_HERE,    // an lvalue where the operator stands in the place of one, else any value
  AGGREGATE,  // a structure, union or class
  VECTOR,     // a vector value
  LIST_OF,    // one value or a COMMA list of values
  FIELD_REF,  // FIELD
  LABEL_REF,  // LABEL
  LABEL_PAIR, // COMMA of two LABELs
  CASES,      // CASE, DEFAULT or a COMMA list of them
  CONSTANT,   // ICON
  FUNC_NAME,  // NAME of a function
  COLON_PAIR, // COLON
  MEMCPY_ARGS,
  LANES,     // an ICON or a COMMA list of ICONs
  STATEMENT, // root of a statement
  INIT_ROOT, // root in an initialiser
};

// What the type of the node itself must be.
enum class RESULT : unsigned char {
  ANY,
  COMPUTABLE,  // a scalar, vector or complex number
  TRUTH_VALUE, // an integer, or a vector of them
  ADDRESS,     // a pointer
  OBJECT,      // neither void nor a function
  OF_LANES,    // a vector
};

// The type that the text form leaves out: what the node has if nothing is said.
enum class USUAL_TYPE : unsigned char {
  GIVEN, // none: it is always said
  VOID,
  INT,
  FLOAT,
  LLONG,
  OF_LEFT,    // the left operand's
  OF_RIGHT,   // the right operand's
  ELEMENT,    // what the left operand points to or consists of
  POINTER_TO, // a pointer to the left operand's
  OF_SYMBOL,
  OF_MEMBER,
  RETURNED, // by the function to which the left operand points
};

enum SIDE_EFFECT : signed char { SE_NONE = 0, SE_ASSIGNS = 1, SE_CONTROL = 2, SE_ANYTHING = -1 };

namespace operator_trait {
constexpr unsigned NONE = 0;
constexpr unsigned BINARY = 1 << 0;       // arithmetic of two operands in the node's type
constexpr unsigned UNARY = 1 << 1;        // arithmetic of one operand in the node's type
constexpr unsigned TRUTH = 1 << 2;        // the value is 0 or 1
constexpr unsigned UPDATES = 1 << 3;      // assigns a value computed from the old one
constexpr unsigned FOLDS = 1 << 4;        // of constants it gives a constant
constexpr unsigned PLACE = 1 << 5;        // stands for a place in memory or a register
constexpr unsigned READS = 1 << 6;        // may read memory, or a variable
constexpr unsigned WRITES = 1 << 7;       // may write memory, or a variable
constexpr unsigned STATEMENT = 1 << 8;    // never part of another tree
constexpr unsigned PART = 1 << 9;         // stands only in the place made for it
constexpr unsigned NO_PIPELINE = 1 << 10; // keeps its loop out of software pipelining
} // namespace operator_trait

struct OPERATOR_ROW {
  const char* name;     // as printed; null for a code that is no operator
  signed char operands; // in a file, for those of memory only there; -1 if their number varies
  OPERAND left, right;
  RESULT result;
  USUAL_TYPE usual_type;
  SIDE_EFFECT effect;
  signed char precedence; // for printing: 99 leaves, 0 statements
  short exchanged;        // the operator for exchanged operands, itself if it commutes; or ILLOP
  short inverse;          // the logical inverse, or ILLOP
  short plain;            // what an assignment operator computes, or ILLOP
  unsigned traits;
};

// By code. Any byte is an index.
inline constexpr std::array<OPERATOR_ROW, 256> operator_rows = [] {
  using namespace operator_trait;
  std::array<OPERATOR_ROW, 256> rows{};
  rows.fill({nullptr, -1, OPERAND::NOTHING, OPERAND::NOTHING, RESULT::ANY, USUAL_TYPE::GIVEN,
             SE_NONE, 0, ILLOP, ILLOP, ILLOP, NONE});
#define OPERATOR(code, name, operands, left, right, result, usual, effect, precedence, exchanged,  \
                 inverse, plain, traits)                                                           \
  rows[code] = {#name,          operands,          OPERAND::left, OPERAND::right,                  \
                RESULT::result, USUAL_TYPE::usual, SE_##effect,   precedence,                      \
                exchanged,      inverse,           plain,         traits};
#include "ifile/operators.inc"
  // The record LOOP of the loop tree owns the plain name, so the enumerator is another.
  rows[LOOP_OP].name = "LOOP";
  return rows;
}();

inline bool has_trait(int op, unsigned traits) {
  return operator_rows[op].traits & traits;
}
// The left operand's new value is computed from its old one.
inline bool is_operator_assignment(int op) {
  return has_trait(op, operator_trait::UPDATES);
}
// Comparisons and logical operators: the value is 0 or 1.
inline bool is_truth_operator(int op) {
  return has_trait(op, operator_trait::TRUTH);
}
inline bool is_integer_comparison(int op) {
  return op >= EQ && op <= UGT;
}
inline bool is_floating_comparison(int op) {
  return op >= FEQ && op <= FUNO;
}
// The front end knows the integer comparisons only; on floating operands they mean these. Any other
// operator is itself.
inline int floating_comparison(int op) {
  switch (op) {
  case EQ: return FEQ;
  case NEQ: return FNEQN; // true for an unordered pair, as C's != is
  case LE:
  case ULE: return FLE;
  case LT:
  case ULT: return FLT;
  case GE:
  case UGE: return FGE;
  case GT:
  case UGT: return FGT;
  default: return op;
  }
}
