// The tables of operators that passes index, made of the rows of ifile/operators.inc.

#include "OPT5/optables.h"

#include "DIAG/abort.h"
#include "OPT5/streams.h"
#include "ifile/i_file.h"

#include <cstdio>
#include <cstring>

const char* node_operator_name[OPCODE_COUNT];
signed char number_of_operands[OPCODE_COUNT];
signed char side_effects[OPCODE_COUNT];
signed char precedence[OPCODE_COUNT];
bool op_OK_for_SP[OPCODE_COUNT];
bool boolean_result[OPCODE_COUNT];
short boolean_inv[OPCODE_COUNT];
short commute_inv[OPCODE_COUNT];
short op_of_opASG[OPCODE_COUNT];
short opASG_of_op[OPCODE_COUNT];
unsigned char float_op_to_micro_ops[OPCODE_COUNT];
short float_micro_ops_to_op[16];

namespace {

struct MICRO_ROW {
  short op;
  unsigned char micro;
};
const MICRO_ROW micro_rows[] = {
    {FEQ, MICRO_EQ},
    {FNEQ, MICRO_LT | MICRO_GT},
    {FLE, MICRO_LT | MICRO_EQ},
    {FLT, MICRO_LT},
    {FGE, MICRO_GT | MICRO_EQ},
    {FGT, MICRO_GT},
    {FEQN, MICRO_EQ | MICRO_UNO},
    {FNEQN, MICRO_LT | MICRO_GT | MICRO_UNO},
    {FLEN, MICRO_LT | MICRO_EQ | MICRO_UNO},
    {FLTN, MICRO_LT | MICRO_UNO},
    {FGEN, MICRO_GT | MICRO_EQ | MICRO_UNO},
    {FGTN, MICRO_GT | MICRO_UNO},
    {FORD, MICRO_LT | MICRO_EQ | MICRO_GT},
    {FUNO, MICRO_UNO},
};

// The file layer has its own idea of the operators that a file can hold; the two must be one.
void check_against_file_layer() {
  if_node_table_init();
  print_if_debug(" *** VALIDATING OPCODE TABLES\n");
  for (int op = 0; op < FIRST_MEMORY_OP; op++) {
    if (op == EPVAL) continue; // a wrapper that never stays in memory
    const char* file_name = if_node_info[op].name;
    const char* name = node_operator_name[op];
    bool same = !file_name == !name && (!name || strcmp(name, file_name) == 0) &&
                (!name || op == UMULT || number_of_operands[op] == if_node_info[op].operands);
    if (!same) {
      fprintf(stderr, "INTERNAL ERROR: if_node_info[] mismatch\n");
      abort_optimizer();
    }
  }
  print_if_debug(" *** OPCODE TABLES ARE OK\n\n");
}

void check_micro_ops() {
  for (int op = FEQ; op <= FUNO; op++) {
    if (float_micro_ops_to_op[float_op_to_micro_ops[op]] != op) {
      fprintf(stderr, "float_micro_ops_to_op is not the reverse of float_op_to_micro_ops at %s\n",
              node_operator_name[op]);
      abort_optimizer();
    }
  }
}

} // namespace

void init_opcode_tables() {
  for (int op = 0; op < OPCODE_COUNT; op++) {
    const OPERATOR_ROW& row = operator_rows[op];
    node_operator_name[op] = op == EPVAL ? nullptr : row.name; // a wrapper of files only
    // In memory UMULT may have a subscript.
    number_of_operands[op] = op == UMULT || op == EPVAL ? -1 : row.operands;
    side_effects[op] = row.effect;
    precedence[op] = row.precedence;
    op_OK_for_SP[op] = !has_trait(op, operator_trait::NO_PIPELINE);
    boolean_result[op] = is_truth_operator(op);
    boolean_inv[op] = row.inverse;
    commute_inv[op] = row.exchanged;
    op_of_opASG[op] = row.plain;
    opASG_of_op[op] = ILLOP;
  }
  for (short asg = 0; asg < OPCODE_COUNT; asg++)
    if (op_of_opASG[asg] != ILLOP) opASG_of_op[op_of_opASG[asg]] = asg;
  for (short& op : float_micro_ops_to_op)
    op = ILLOP;
  for (auto [op, micro] : micro_rows) {
    float_op_to_micro_ops[op] = micro;
    float_micro_ops_to_op[micro] = op;
  }
  check_against_file_layer();
  check_micro_ops();
}
