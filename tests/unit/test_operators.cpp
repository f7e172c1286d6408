// The one table of operators, held against lists that were written out by hand: a cell that slips
// by a column or a row shows here.
#include "ifile/opcodes.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

std::set<std::string> words(const char* text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

std::set<std::string> names_of(auto&& match) {
  std::set<std::string> names;
  for (int op = 0; op < OPCODE_COUNT; op++)
    if (operator_rows[op].name && match(op)) names.insert(operator_rows[op].name);
  return names;
}

std::set<std::string> with_trait(unsigned trait) {
  return names_of([trait](int op) { return has_trait(op, trait); });
}

TEST(Operators, CountsAreThoseOfFiles) {
  auto with_operands = [](int count) {
    return names_of(
        [count](int op) { return op < FIRST_MEMORY_OP && operator_rows[op].operands == count; });
  };
  EXPECT_EQ(with_operands(0),
            words("NOP LABEL NAME SCON ICON FCON LCON FIELD ENDINIT UICALL UMCALL VREG"));
  EXPECT_EQ(with_operands(1), words("UMINUS UMULT UAND ABS DEFAULT UCALL EXCLAIM NOTB ARGREF STARG "
                                    "SCONV PCONV ACONV EPVAL BRANCH "
                                    "SKIP URETURN DDNODE SQRT SQR NASSERT ASSERT MEMCPY TOIEEE "
                                    "FRIEEE ICALL RECIP MCALL VPACK "
                                    "VPACKM VRCONV REAL IMAG"));
  EXPECT_EQ(with_operands(2).size(), 71u);
}

TEST(Operators, PlacesFitTheCounts) {
  for (int op = 0; op < OPCODE_COUNT; op++) {
    const OPERATOR_ROW& row = operator_rows[op];
    if (!row.name || row.operands < 0) continue;
    EXPECT_EQ(row.left != OPERAND::NOTHING, row.operands >= 1) << row.name;
    EXPECT_EQ(row.right != OPERAND::NOTHING, row.operands >= 2 || op == UMULT) << row.name;
  }
}

TEST(Operators, Effects) {
  auto with_effect = [](SIDE_EFFECT effect) {
    return names_of([effect](int op) { return operator_rows[op].effect == effect; });
  };
  EXPECT_EQ(with_effect(SE_ASSIGNS), words("PLUSASG MINUSASG MULTASG ANDBASG ORBASG XORBASG ASG "
                                           "DIVASG MODASG SLLASG SRLASG PLUSPLUS "
                                           "MINMIN STASG SSA_PHI SSA_DEF SSA_CHI"));
  EXPECT_EQ(with_effect(SE_CONTROL), words("RETURN SWITCH CBRANCH BRANCH URETURN IF LABELDEF"));
  EXPECT_EQ(
      with_effect(SE_ANYTHING),
      words("NOP PCOMMA COMMAOP CALL UCALL LOOP ENDLOOP ARASG DDNODE NASSERT ASSERT MEMCPY MCALL "
            "UMCALL "
            "VREG PPRAGMA ASM INITLOOP BGNBLOCK ENDBLOCK DFG_DEF DFG_VDEF DFG_PHI DFG_VPHI DFG_SSV "
            "DFG_REDUCE DFG_STORE ILLOP"));
}

TEST(Operators, Families) {
  using namespace operator_trait;
  EXPECT_EQ(with_trait(BINARY), words("PLUS MINUS MULT DIV MOD ANDB ORB XORB SLL SRL"));
  EXPECT_EQ(with_trait(UNARY), words("UMINUS NOTB ABS SQR SQRT RECIP"));
  EXPECT_EQ(with_trait(UPDATES),
            words("PLUSASG MINUSASG MULTASG DIVASG MODASG SLLASG SRLASG ANDBASG ORBASG "
                  "XORBASG PLUSPLUS MINMIN"));
  EXPECT_EQ(with_trait(TRUTH),
            words("ANDAND OROR EXCLAIM EQ NEQ LE LT GE GT ULE ULT UGE UGT FEQ FNEQ FLE FLT "
                  "FGE FGT FEQN FNEQN FLEN FLTN FGEN FGTN FORD FUNO"));
  EXPECT_EQ(with_trait(PLACE), words("NAME UMULT STDOT STREF VREG"));
  EXPECT_EQ(with_trait(READS),
            words("NAME PLUSASG MINUSASG MULTASG UMULT ANDBASG ORBASG XORBASG DIVASG MODASG SLLASG "
                  "SRLASG STDOT STREF CALL UCALL PLUSPLUS MINMIN STFIELD STASG ARASG MEMCPY MCALL "
                  "UMCALL ASM DFG_FETCH ILLOP"));
  // Whatever writes has an effect, and what has one in a file writes, branches or marks.
  for (int op = 0; op < OPCODE_COUNT; op++) {
    const OPERATOR_ROW& row = operator_rows[op];
    if (!row.name) continue;
    EXPECT_FALSE(has_trait(op, WRITES) && row.effect == SE_NONE) << row.name;
    EXPECT_FALSE(has_trait(op, UPDATES) && !has_trait(op, READS)) << row.name;
  }
}

// a op b is b exchanged a, and the inverse of the inverse is the operator itself.
TEST(Operators, ExchangesAndInverses) {
  for (int op = 0; op < OPCODE_COUNT; op++) {
    const OPERATOR_ROW& row = operator_rows[op];
    if (row.exchanged != ILLOP) {
      EXPECT_EQ(operator_rows[row.exchanged].exchanged, op) << row.name;
    }
    if (row.inverse != ILLOP) {
      EXPECT_EQ(operator_rows[row.inverse].inverse, op) << row.name;
    }
    if (row.plain != ILLOP) {
      EXPECT_EQ(std::string(operator_rows[row.plain].name) + "ASG", row.name);
    }
  }
  EXPECT_EQ(names_of([](int op) { return op != ILLOP && operator_rows[op].exchanged == op; }),
            words("PLUS MULT ANDB ORB XORB EQ NEQ FEQ FNEQ FEQN FNEQN FORD FUNO MIX_CONJ MIX_DISJ "
                  "DFG_MAX DFG_MIN"));
}

} // namespace
