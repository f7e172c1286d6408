// The operators of expression trees. Codes below FIRST_MEMORY_OP can stand in an icode file; the
// others exist in memory only.
#pragma once

// clang-format off
// code, name, operand count in the file
#define FOR_EACH_FILE_OP(X)                                                                        \
  X(0, NOP, 0) X(1, LABEL, 0) X(2, NAME, 0) X(3, SCON, 0) X(4, ICON, 0) X(5, FCON, 0)              \
  X(6, PLUS, 2) X(7, PLUSASG, 2) X(8, MINUS, 2) X(9, MINUSASG, 2) X(10, UMINUS, 1)                 \
  X(11, MULT, 2) X(12, MULTASG, 2) X(13, UMULT, 1) X(14, ANDB, 2) X(15, ANDBASG, 2)                \
  X(16, UAND, 1) X(17, ORB, 2) X(18, ORBASG, 2) X(19, XORB, 2) X(20, XORBASG, 2)                   \
  X(21, QUEST, 2) X(22, COLON, 2) X(23, ANDAND, 2) X(24, OROR, 2) X(25, LCON, 0)                   \
  X(26, FIELD, 0) X(27, ABS, 1) X(36, RETURN, 2) X(40, SWITCH, 2) X(46, DEFAULT, 1)                \
  X(47, CASE, 2) X(56, COMMA, 2) X(57, PCOMMA, 2) X(58, ASG, 2) X(59, COMMAOP, 2) X(60, DIV, 2)    \
  X(61, DIVASG, 2) X(62, MOD, 2) X(63, MODASG, 2) X(64, SLL, 2) X(65, SLLASG, 2) X(66, SRL, 2)     \
  X(67, SRLASG, 2) X(68, STDOT, 2) X(69, STREF, 2) X(70, CALL, 2) X(72, UCALL, 1) X(74, LOOP_OP, 2) \
  X(75, ENDLOOP, 2) X(76, EXCLAIM, 1) X(77, NOTB, 1) X(78, PLUSPLUS, 2) X(79, MINMIN, 2)           \
  X(80, EQ, 2) X(81, NEQ, 2) X(82, LE, 2) X(83, LT, 2) X(84, GE, 2) X(85, GT, 2) X(86, ULE, 2)     \
  X(87, ULT, 2) X(88, UGE, 2) X(89, UGT, 2) X(96, STFIELD, 2) X(97, ARGREF, 1) X(98, STASG, 2)     \
  X(99, STARG, 1) X(103, ARASG, 2) X(104, SCONV, 1) X(105, PCONV, 1) X(106, PMCONV, 2)             \
  X(107, PVCONV, 2) X(108, ACONV, 1) X(109, CBRANCH, 2) X(110, EPVAL, 1) X(112, ENDINIT, 0)        \
  X(114, BRANCH, 1) X(115, SKIP, 1) X(118, URETURN, 1) X(119, DDNODE, 1) X(121, SQRT, 1)           \
  X(122, SQR, 1) X(123, NASSERT, 1) X(124, ASSERT, 1) X(125, MEMCPY, 1) X(127, TOIEEE, 1)          \
  X(128, FRIEEE, 1) X(129, ICALL, 1) X(130, UICALL, 0) X(131, RECIP, 1) X(132, MCALL, 1)           \
  X(133, UMCALL, 0) X(134, VPACK, 1) X(135, VPACKM, 1) X(136, VPACK1P, 2) X(138, VFIELD, 2)        \
  X(139, VRCONV, 1) X(140, COMPLEX, 2) X(141, REAL, 1) X(142, IMAG, 1) X(143, FEQ, 2)              \
  X(144, FNEQ, 2) X(145, FLE, 2) X(146, FLT, 2) X(147, FGE, 2) X(148, FGT, 2) X(149, FEQN, 2)      \
  X(150, FNEQN, 2) X(151, FLEN, 2) X(152, FLTN, 2) X(153, FGEN, 2) X(154, FGTN, 2) X(155, FORD, 2) \
  X(156, FUNO, 2) X(163, VREG, 0)

// code, name
#define FOR_EACH_MEMORY_OP(X)                                                                      \
  X(164, OUIALIGN) X(165, NONALIGN) X(166, SIMDHI) X(167, SIMDLO) X(168, PPRAGMA) X(169, VSCONV)   \
  X(170, EXPT) X(171, EXPRSTUB) X(172, CSE_DUPE) X(173, CSE_ORIG) X(174, ASM) X(175, IF)           \
  X(176, LABELDEF) X(177, INITLOOP) X(178, IDENTITY) X(179, ISP2CHAR) X(180, MIXVALUE)             \
  X(181, MIX_CONJ) X(182, MIX_DISJ) X(183, MIX_SET) X(184, BGNBLOCK) X(185, ENDBLOCK)              \
  X(186, SSA_PHI) X(187, SSA_USE) X(188, SSA_DEF) X(189, SSA_MU) X(190, SSA_CHI) X(191, DFG_DEF)   \
  X(192, DFG_VDEF) X(193, DFG_PHI) X(194, DFG_VPHI) X(195, DFG_RCUSE) X(196, DFG_VRCUSE)           \
  X(197, DFG_SSV) X(198, DFG_REDUCE) X(199, DFG_SQC) X(200, DFG_FETCH) X(201, DFG_STORE)           \
  X(202, DFG_VREF) X(203, DFG_EXTRACT) X(204, DFG_PACK) X(205, DFG_REPACK) X(206, DFG_TARGET)      \
  X(207, DFG_PARM) X(208, DFG_HASHPARM) X(209, DFG_UNPACK1) X(210, DFG_UNPACK2) X(211, DFG_S2V)    \
  X(212, DFG_V2S) X(213, DFG_MVE) X(214, DFG_HOIST) X(215, DFG_SINK) X(216, DFG_MAX)               \
  X(217, DFG_MIN) X(218, DFG_DONOTCSE) X(219, DFG_ILS) X(220, DFG_BUNDLE) X(221, DFG_SPLIT)
// clang-format on

enum OPCODE : int {
#define AS_ENUMERATOR(code, name, ...) name = code,
  FOR_EACH_FILE_OP(AS_ENUMERATOR) FOR_EACH_MEMORY_OP(AS_ENUMERATOR)
#undef AS_ENUMERATOR
      ILLOP = 224,
};

// The record LOOP of the loop tree owns the plain name, so the operator's enumerator is LOOP_OP;
// its printed name is "LOOP".

constexpr int FIRST_MEMORY_OP = 164;
constexpr int OPCODE_COUNT = 225;

// The left operand's new value is computed from its old one.
constexpr bool is_operator_assignment(int op) {
  switch (op) {
  case PLUSASG:
  case MINUSASG:
  case MULTASG:
  case DIVASG:
  case MODASG:
  case SLLASG:
  case SRLASG:
  case ANDBASG:
  case ORBASG:
  case XORBASG:
  case PLUSPLUS:
  case MINMIN: return true;
  default: return false;
  }
}

// Comparisons and logical operators: the value is 0 or 1.
constexpr bool is_truth_operator(int op) {
  return (op >= EQ && op <= UGT) || (op >= FEQ && op <= FUNO) || op == ANDAND || op == OROR ||
         op == EXCLAIM;
}
