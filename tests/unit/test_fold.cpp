#include "OPT5/printtree.h"
#include "ir_fixture.h"

#include "OPT5/fold.h"

#include <cmath>
#include <limits>

namespace {

class FoldTest : public IrTest {
protected:
  using T = TYPE;
  TYPE* basic(int k) { return tp->basic[k]; }
  TYPE* flt() { return tp->mk_fltpt(T::F_FLOAT); }
  TYPE* dbl() { return tp->mk_fltpt(T::F_LDOUBLE); } // the wide one: double is float's size

  NODE* constant(INT65 v, TYPE* type) { return mk_ICON(v, type); }
  NODE* number(const char* text, TYPE* type) {
    simul_fval v;
    EXPECT_EQ(f_atof(text, &v), 0);
    return mk_FCON(v, type);
  }
  // The folded tree's text; the tree is gone.
  std::string fold(NODE* tree) {
    tree = fold_constants(tree);
    const std::string text = tree_text(tree);
    erase_tree(tree);
    return text;
  }
  std::string fold(int op, NODE* a, NODE* b, TYPE* type) { return fold(maketree(op, a, b, type)); }
  std::string fold_ints(int op, INT65 a, INT65 b, TYPE* type) {
    return fold(op, constant(a, type), constant(b, type), type);
  }
  std::string compared(int op, const char* a, const char* b) {
    return fold(op, number(a, flt()), number(b, flt()), tp->mk_plain_int());
  }
};

} // namespace

TEST_F(FoldTest, IntegersWrapToTheirType) {
  TYPE *i = basic(T::I_INT), *u = basic(T::I_UINT), *ull = basic(T::I_ULLONG);
  EXPECT_EQ(fold_ints(PLUS, 32767, 1, i), "-32768");
  EXPECT_EQ(fold_ints(MULT, 300, 300, i), "24464");
  EXPECT_EQ(fold_ints(MULT, INT65::max(), INT65::max(), ull), "1:ullong");
  EXPECT_EQ(fold_ints(MINUS, 0, 1, u), "65535:uint");
  EXPECT_EQ(fold_ints(DIV, -7, 2, i), "-3");
  EXPECT_EQ(fold_ints(MOD, -7, 2, i), "-1");
  EXPECT_EQ(fold_ints(DIV, -32768, -1, i), "-32768");
  EXPECT_EQ(fold_ints(DIV, -7, 2, u), "32764:uint");
  EXPECT_EQ(fold_ints(EXPT, -2, 5, i), "-32");
  EXPECT_EQ(fold_ints(SLL, 1, 15, i), "-32768");
  EXPECT_EQ(fold_ints(SLL, 1, 16, i), "0");
  EXPECT_EQ(fold_ints(SRL, -5, 1, i), "-3");
  EXPECT_EQ(fold_ints(SRL, -5, -1, i), "-1"); // a huge count
  EXPECT_EQ(fold_ints(SRL, -5, 1, u), "32765:uint");
  EXPECT_EQ(fold(ABS, constant(-32768, i), nullptr, i), "-32768");
  EXPECT_EQ(fold(NOTB, constant(5, u), nullptr, u), "65530:uint");
  // The operands' bits are taken in the node's type.
  EXPECT_EQ(fold(DIV, constant(-1, i), constant(2, i), u), "32767:uint");
  EXPECT_EQ(fold(PLUS, constant(-1, i), constant(1, basic(T::I_ULONG)), basic(T::I_ULONG)),
            "0:ulong");
}

TEST_F(FoldTest, ComparisonsGoByTheOperatorsSign) {
  TYPE *i = basic(T::I_INT), *u = basic(T::I_UINT);
  EXPECT_EQ(fold(LT, constant(-1, u), constant(1, u), i), "1");
  EXPECT_EQ(fold(ULT, constant(-1, i), constant(1, i), i), "0");
  EXPECT_EQ(fold(EQ, constant(-1, i), constant(65535, u), i), "1");
  EXPECT_EQ(fold(GT, constant(40000, basic(T::I_LONG)), constant(-1, i), i), "1");
  EXPECT_EQ(fold(NEQ, number("1.5", flt()), constant(1, i), i), "1");
  EXPECT_EQ(compared(FLT, "1", "2"), "1");
  EXPECT_EQ(compared(FEQ, "-0", "0"), "1");
  // Each operator with a NaN: the plain ones false, the others true.
  for (int op : {FEQ, FNEQ, FLE, FLT, FGE, FGT, FORD, EQ, LT})
    EXPECT_EQ(compared(op, "nan", "1"), "0") << node_operator_name[op];
  for (int op : {FEQN, FNEQN, FLEN, FLTN, FGEN, FGTN, FUNO, NEQ})
    EXPECT_EQ(compared(op, "nan", "nan"), "1") << node_operator_name[op];
}

TEST_F(FoldTest, FloatsRoundAfterEachStep) {
  auto text = [](double v) {
    char s[64];
    snprintf(s, sizeof s, "%a", v);
    return std::string(s);
  };
  // (16777216 + 1) + 1 stays put in float, step by step.
  NODE* sum = maketree(PLUS, number("16777216", flt()), number("1", flt()), flt());
  EXPECT_EQ(fold(PLUS, sum, number("1", flt()), flt()), text(16777216.0));
  EXPECT_EQ(fold(DIV, number("1", flt()), number("3", flt()), flt()), text(1.0f / 3));
  EXPECT_EQ(fold(DIV, number("1", dbl()), number("3", dbl()), dbl()), text(1.0 / 3) + ":ldouble");
  EXPECT_EQ(fold(SQRT, number("2", dbl()), nullptr, dbl()), text(std::sqrt(2.0)) + ":ldouble");
  EXPECT_EQ(fold(UMINUS, number("0", flt()), nullptr, flt()), "-0x0p+0");
  // A double between two floats, just above halfway: one rounding, not two.
  EXPECT_EQ(fold(PLUS, number("1", dbl()), number("0x1.0000000000001p-53", dbl()), dbl()),
            text(1 + 0x1p-52) + ":ldouble");
}

TEST_F(FoldTest, Conversions) {
  TYPE *i = basic(T::I_INT), *u = basic(T::I_UINT), *b = basic(T::I_BOOL);
  EXPECT_EQ(fold(SCONV, constant(-1, i), nullptr, basic(T::I_ULONG)), "4294967295:ulong");
  EXPECT_EQ(fold(SCONV, constant(65536, basic(T::I_LONG)), nullptr, i), "0");
  EXPECT_EQ(fold(SCONV, constant(65536, basic(T::I_LONG)), nullptr, b), "1:bool");
  EXPECT_EQ(fold(SCONV, number("nan", flt()), nullptr, b), "1:bool");
  EXPECT_EQ(fold(SCONV, number("-1.9", flt()), nullptr, i), "-1");
  EXPECT_EQ(fold(SCONV, number("-1.9", flt()), nullptr, u), "65535:uint");
  EXPECT_EQ(fold(SCONV, number("0x1.8p63", dbl()), nullptr, basic(T::I_ULLONG)),
            "13835058055282163712:ullong");
  EXPECT_EQ(fold(SCONV, constant(16777217, basic(T::I_LONG)), nullptr, flt()), "0x1p+24");
  // What an operator implies is converted, and the conversion folded.
  EXPECT_EQ(fold(PLUS, constant(1, i), number("0.5", flt()), flt()), "0x1.8p+0");
}

TEST_F(FoldTest, WhatCannotBeComputedStays) {
  TYPE* i = basic(T::I_INT);
  EXPECT_EQ(fold_ints(DIV, 1, 0, i), "DIV(1, 0)");
  EXPECT_EQ(fold_ints(MOD, 1, 0, i), "MOD(1, 0)");
  fp_error = 0;
  EXPECT_EQ(fold(DIV, number("1", flt()), number("0", flt()), flt()).substr(0, 3), "DIV");
  EXPECT_EQ(fp_error, FP_OVERFLOW); // the caller can see why
  fp_error = 0;
  EXPECT_EQ(fold(MULT, number("1e38", flt()), number("10", flt()), flt()).substr(0, 4), "MULT");
  EXPECT_EQ(fold(MULT, number("1e-38", flt()), number("1e-38", flt()), flt()).substr(0, 4), "MULT");
  EXPECT_EQ(fold(MINUS, number("inf", flt()), number("inf", flt()), flt()).substr(0, 5), "MINUS");
  EXPECT_EQ(fold(SQRT, number("-1", flt()), nullptr, flt()).substr(0, 4), "SQRT");
  EXPECT_EQ(fold(SCONV, number("1e30", flt()), nullptr, i).substr(0, 5), "SCONV");
  EXPECT_EQ(fp_error, uint32_t{FP_OVERFLOW | FP_UNDERFLOW | FP_INVALID});
  // An old error doesn't keep a later tree from being folded.
  EXPECT_EQ(fold(PLUS, number("1", flt()), number("1", flt()), flt()), "0x1p+1");
  fp_error = 0;
  // An infinity that was there already is a value as any other.
  EXPECT_EQ(fold(PLUS, number("inf", flt()), number("1", flt()), flt()), "FCON[\"inf\"]");
  EXPECT_EQ(fold(COMMAOP, icon(1), icon(2), i), "COMMAOP(1, 2)");
}

TEST_F(FoldTest, MixedTreesKeepTheirOtherParts) {
  SYMTAB* x = variable("x");
  EXPECT_EQ(fold(op(PLUS, name(x), op(MULT, icon(2), icon(3)))), "PLUS(6, x)");
  EXPECT_EQ(fold(op(LT, name(x), icon(3))), "GT(3, x)");
  EXPECT_EQ(fold(op(MINUS, name(x), icon(3))), "MINUS(x, 3)");
  EXPECT_EQ(fold(op(ASG, name(x), op(PLUS, icon(2), icon(3)))), "ASG(x, 5)");
  EXPECT_EQ(fold(op(QUEST, op(LT, icon(1), icon(2)), op(COLON, icon(7), icon(8)))), "7");
  EXPECT_EQ(fold(op(QUEST, icon(0), op(COLON, icon(7), name(x)))), "QUEST(0, COLON(7, x))");
  // An arm of another type than the choice's is not its value.
  EXPECT_EQ(fold(maketree(QUEST, icon(1), op(COLON, icon(7), icon(8)), tp->mk_long())),
            "QUEST:long(1, COLON(7, 8))");
  EXPECT_EQ(fold(op(ANDAND, icon(2), op(EXCLAIM, icon(0)))), "1");
  // In the left one's type 5 would be "true", and equal.
  EXPECT_EQ(fold(op(EQ, name(x), constant(1, basic(T::I_BOOL)))), "EQ(x, 1:bool)");
  // A left spine of any length.
  NODE* spine = icon(0);
  for (int k = 0; k < 200000; k++)
    spine = op(PLUS, spine, icon(1));
  EXPECT_EQ(fold(spine), "3392"); // 200000 modulo 65536
}

TEST_F(FoldTest, VectorsOfCopiesFoldLaneByLane) {
  TYPE* i = basic(T::I_INT);
  TYPE* v = tp->mk_vector(i, false, 2, 32, 32);
  TYPE* w = tp->mk_vector(flt(), false, 2, 64, 64);
  auto copies = [](NODE* lane, TYPE* type) { return maketree(VPACKM, lane, nullptr, type); };
  EXPECT_EQ(fold(PLUS, copies(icon(32767), v), copies(icon(1), v), v), "VPACKM:int<2>(-32768)");
  EXPECT_EQ(fold(MULT, copies(icon(3), v), icon(5), v), "VPACKM:int<2>(15)");
  EXPECT_EQ(fold(UMINUS, copies(number("1", flt()), w), nullptr, w), "VPACKM:float<2>(-0x1p+0)");
  EXPECT_EQ(fold(VSCONV, copies(number("2.5", flt()), w), nullptr, v), "VPACKM:int<2>(2)");
  EXPECT_EQ(fold(DIV, copies(icon(3), v), copies(icon(0), v), v).substr(0, 3), "DIV");
  EXPECT_EQ(fold(EQ, copies(icon(3), v), copies(icon(3), v), v).substr(0, 2), "EQ");
}
