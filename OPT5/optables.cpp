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

struct OP_ROW {
  short code;
  const char* name;
  signed char operands; // in memory
};

// In memory UMULT may have a subscript, so its operands vary; so do those of operators that live
// inside one analysis.
const OP_ROW op_rows[] = {
#define FILE_ROW(code, name, operands) {code, #name, operands},
    FOR_EACH_FILE_OP(FILE_ROW)
#undef FILE_ROW
        {OUIALIGN, "OUIALIGN", 1},
    {NONALIGN, "NONALIGN", 1},
    {SIMDHI, "SIMDHI", 1},
    {SIMDLO, "SIMDLO", 1},
    {PPRAGMA, "PPRAGMA", 0},
    {VSCONV, "VSCONV", 1},
    {EXPT, "EXPT", 2},
    {EXPRSTUB, "EXPRSTUB", 0},
    {CSE_DUPE, "CSE_DUPE", 2},
    {CSE_ORIG, "CSE_ORIG", 2},
    {ASM, "ASM", 0},
    {IF, "IF", 2},
    {LABELDEF, "LABELDEF", 0},
    {INITLOOP, "INITLOOP", 2},
    {IDENTITY, "IDENTITY", 1},
    {ISP2CHAR, "ISP2CHAR", 1},
    {MIXVALUE, "MIXVALUE", 0},
    {MIX_CONJ, "MIX_CONJ", 2},
    {MIX_DISJ, "MIX_DISJ", 2},
    {MIX_SET, "MIX_SET", 2},
    {BGNBLOCK, "BGNBLOCK", 0},
    {ENDBLOCK, "ENDBLOCK", 0},
    {SSA_PHI, "SSA_PHI", 2},
    {SSA_USE, "SSA_USE", 1},
    {SSA_DEF, "SSA_DEF", 2},
    {SSA_MU, "SSA_MU", 1},
    {SSA_CHI, "SSA_CHI", 2},
    {ILLOP, "ILLOP", -1},
};

// The operators of data-flow graphs; their operands vary.
const OP_ROW dfg_rows[] = {
#define MEMORY_ROW(code, name) {code, #name, -1},
    FOR_EACH_MEMORY_OP(MEMORY_ROW)
#undef MEMORY_ROW
};

const int assigning_ops[] = {PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG,
                             ASG,     DIVASG,   MODASG,  SLLASG,  SRLASG, PLUSPLUS,
                             MINMIN,  STASG,    SSA_PHI, SSA_DEF, SSA_CHI};
const int control_ops[] = {RETURN, SWITCH, CBRANCH, BRANCH, URETURN, IF, LABELDEF};
const int anything_ops[] = {NOP,      PCOMMA,  COMMAOP,  CALL,     UCALL,      LOOP_OP,   ENDLOOP,
                            ARASG,    DDNODE,  NASSERT,  ASSERT,   MEMCPY,     MCALL,     UMCALL,
                            VREG,     PPRAGMA, ASM,      INITLOOP, BGNBLOCK,   ENDBLOCK,  DFG_DEF,
                            DFG_VDEF, DFG_PHI, DFG_VPHI, DFG_SSV,  DFG_REDUCE, DFG_STORE, ILLOP};
const int not_pipelined_ops[] = {ANDAND,   OROR,     RETURN,   SWITCH, DEFAULT, CASE,     DIV,
                                 DIVASG,   MOD,      MODASG,   CALL,   UCALL,   ENDINIT,  SKIP,
                                 URETURN,  ASSERT,   SIMDHI,   SIMDLO, EXPT,    EXPRSTUB, ASM,
                                 LABELDEF, BGNBLOCK, ENDBLOCK, FGE,    FGT,     FEQN,     FNEQN,
                                 FLEN,     FLTN,     FGEN,     FGTN};
const int truth_ops[] = {ANDAND, OROR, EXCLAIM, EQ,   NEQ,  LE,   LT,   GE,   GT,
                         ULE,    ULT,  UGE,     UGT,  FEQ,  FNEQ, FLE,  FLT,  FGE,
                         FGT,    FEQN, FNEQN,   FLEN, FLTN, FGEN, FGTN, FORD, FUNO};

const int inverse_pairs[][2] = {{EQ, NEQ},   {LE, GT},     {LT, GE},     {ULE, UGT},
                                {ULT, UGE},  {FORD, FUNO}, {FEQ, FNEQN}, {FNEQ, FEQN},
                                {FLE, FGTN}, {FLT, FGEN},  {FGE, FLTN},  {FGT, FLEN}};
const int symmetric_ops[] = {PLUS, MULT,  ANDB, ORB,  XORB,     EQ,       NEQ,     FEQ,    FNEQ,
                             FEQN, FNEQN, FORD, FUNO, MIX_CONJ, MIX_DISJ, DFG_MAX, DFG_MIN};
const int exchanged_pairs[][2] = {{LE, GE},   {LT, GT},   {ULE, UGE},   {ULT, UGT},
                                  {FLE, FGE}, {FLT, FGT}, {FLEN, FGEN}, {FLTN, FGTN}};
const int asg_pairs[][2] = {{PLUSASG, PLUS}, {MINUSASG, MINUS}, {MULTASG, MULT}, {ANDBASG, ANDB},
                            {ORBASG, ORB},   {XORBASG, XORB},   {DIVASG, DIV},   {MODASG, MOD},
                            {SLLASG, SLL},   {SRLASG, SRL}};

struct PRECEDENCE_ROW {
  int level;
  int ops[16]; // ended by -1
};
const PRECEDENCE_ROW precedence_rows[] = {
    {99, {NAME, ICON, FCON, LCON, SCON, LABEL, FIELD, VREG, NOP, EXPRSTUB, MIXVALUE, -1}},
    {88, {EXPT, -1}},
    {15,
     {STDOT, STREF, STFIELD, CALL, UCALL, ICALL, UICALL, MCALL, UMCALL, PLUSPLUS, MINMIN, VFIELD,
      -1}},
    {14,
     {UMINUS, UMULT, UAND, EXCLAIM, NOTB, SCONV, PCONV, ACONV, VSCONV, ISP2CHAR, ABS, SQRT, SQR,
      RECIP, ARGREF, -1}},
    {13, {MULT, DIV, MOD, -1}},
    {12, {PLUS, MINUS, -1}},
    {11, {SLL, SRL, -1}},
    {10, {LE, LT, GE, GT, ULE, ULT, UGE, UGT, FLE, FLT, FGE, FGT, FLEN, FLTN, FGEN, -1}},
    {10, {FGTN, FORD, FUNO, -1}},
    {9, {EQ, NEQ, FEQ, FNEQ, FEQN, FNEQN, -1}},
    {8, {ANDB, -1}},
    {7, {XORB, -1}},
    {6, {ORB, -1}},
    {5, {ANDAND, -1}},
    {4, {OROR, -1}},
    {3, {QUEST, COLON, -1}},
    {2,
     {ASG, STASG, ARASG, PLUSASG, MINUSASG, MULTASG, ANDBASG, ORBASG, XORBASG, DIVASG, MODASG,
      SLLASG, SRLASG, -1}},
    {1, {COMMA, PCOMMA, COMMAOP, -1}},
};

struct MICRO_ROW {
  int op;
  int micro;
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

void enter(const OP_ROW& row) {
  node_operator_name[row.code] = row.code == LOOP_OP ? "LOOP" : row.name;
  number_of_operands[row.code] = row.code == UMULT ? -1 : row.operands;
}

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
    node_operator_name[op] = nullptr;
    number_of_operands[op] = -1;
    op_OK_for_SP[op] = true;
    boolean_inv[op] = commute_inv[op] = op_of_opASG[op] = opASG_of_op[op] = ILLOP;
  }
  for (const OP_ROW& row : dfg_rows)
    enter(row);
  for (const OP_ROW& row : op_rows)
    if (row.code != EPVAL) enter(row);

  for (int op : assigning_ops)
    side_effects[op] = SE_ASSIGNS;
  for (int op : control_ops)
    side_effects[op] = SE_CONTROL;
  for (int op : anything_ops)
    side_effects[op] = SE_ANYTHING;
  for (int op : not_pipelined_ops)
    op_OK_for_SP[op] = false;
  for (int op = SSA_PHI; op <= DFG_SPLIT; op++)
    op_OK_for_SP[op] = false;
  for (int op : truth_ops)
    boolean_result[op] = true;
  for (auto [a, b] : inverse_pairs)
    boolean_inv[a] = b, boolean_inv[b] = a;
  for (int op : symmetric_ops)
    commute_inv[op] = op;
  for (auto [a, b] : exchanged_pairs)
    commute_inv[a] = b, commute_inv[b] = a;
  for (auto [asg, op] : asg_pairs)
    op_of_opASG[asg] = op, opASG_of_op[op] = asg;
  for (const PRECEDENCE_ROW& row : precedence_rows)
    for (int k = 0; row.ops[k] >= 0; k++)
      precedence[row.ops[k]] = row.level;
  for (short& op : float_micro_ops_to_op)
    op = ILLOP;
  for (auto [op, micro] : micro_rows) {
    float_op_to_micro_ops[op] = micro;
    float_micro_ops_to_op[micro] = op;
  }
  check_against_file_layer();
  check_micro_ops();
}
