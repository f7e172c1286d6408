// What the optimiser knows of each operator. Filled once at start-up, read-only afterwards.
#pragma once

#include "ifile/opcodes.h"

extern const char* node_operator_name[OPCODE_COUNT]; // null for unused codes
extern signed char number_of_operands[OPCODE_COUNT]; // -1: operands vary, or unused code
extern signed char side_effects[OPCODE_COUNT];       // SIDE_EFFECT
extern signed char precedence[OPCODE_COUNT];         // for printing; 99 leaves, 0 statements
extern bool op_OK_for_SP[OPCODE_COUNT];              // may stand in a software-pipelined loop
extern bool boolean_result[OPCODE_COUNT];
extern short boolean_inv[OPCODE_COUNT]; // logical inverse, or ILLOP
extern short commute_inv[OPCODE_COUNT]; // operator with exchanged operands, or ILLOP
extern short op_of_opASG[OPCODE_COUNT]; // plain operator of an assignment operator, or ILLOP
extern short opASG_of_op[OPCODE_COUNT]; // the reverse

// A floating comparison as the set of outcomes for which it is true.
enum MICRO_OP { MICRO_LT = 1, MICRO_EQ = 2, MICRO_GT = 4, MICRO_UNO = 8 };
extern unsigned char float_op_to_micro_ops[OPCODE_COUNT]; // 0 for other operators
extern short float_micro_ops_to_op[16];                   // ILLOP where there is none

void init_opcode_tables();

inline bool is_commutative(int op) {
  return commute_inv[op] == op;
}
