// fold-program COUNT SEED: writes a program in the text form of icode. It compares random constant
// trees with what fold_constants makes of them, and counts the differences: executed by the
// interpreter, which has an arithmetic of its own, it judges the folding.
#include "OPT5/fold.h"
#include "OPT5/optables.h"
#include "TYPES/type_values.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

std::mt19937_64 engine;

uint64_t pick(uint64_t n) {
  return engine() % n;
}

template <class T> T one_of(const std::vector<T>& v) {
  return v[pick(v.size())];
}

struct NAMED_TYPE {
  const char* name;
  TYPE* type;
};
std::vector<NAMED_TYPE> int_types, float_types;
TYPE* bool_type;

std::string type_name(const TYPE* type) {
  for (const auto* list : {&int_types, &float_types})
    for (const NAMED_TYPE& t : *list)
      if (t.type == type) return t.name;
  return "bool";
}

std::string text_of(const NODE* tree) {
  const std::string type = ":" + type_name(tree->type);
  if (tree->op == ICON) return int65_text(tree->ival) + type;
  if (tree->op == FCON) return "FCON[\"" + f_hex_text(tree->u.fval) + "\"]" + type;
  std::string text = node_operator_name[tree->op];
  if (tree->op != COLON) text += type;
  text += "(" + text_of(tree->left);
  if (tree->right) text += ", " + text_of(tree->right);
  return text + ")";
}

NODE* random_int(TYPE* type) {
  const uint64_t bits = engine() >> pick(64);
  const INT65 value = pick(3) == 0 ? INT65(static_cast<int>(pick(7)) - 3) : INT65(bits);
  return mk_ICON(truncate_to_type(pick(2) ? -value : value, type), type);
}

NODE* random_float(TYPE* type) {
  simul_fval v;
  static const char* const special[] = {"0",        "-0",     "1",     "-1",           "3",
                                        "0.1",      "inf",    "-inf",  "nan",          "0x1p-149",
                                        "0x1p-126", "3.4e38", "1e-30", "0x1.fffffep60"};
  if (pick(3) == 0) {
    f_atof(special[pick(std::size(special))], &v);
  } else {
    f_itof(static_cast<int64_t>(engine()) >> pick(60), &v);
    f_ldexp(&v, static_cast<int>(pick(100)) - 60, &v);
  }
  return mk_FCON(v, type);
}

NODE* random_tree(TYPE* type, int depth);

NODE* random_comparison(TYPE* type, int depth) {
  if (pick(3) == 0) {
    const int op = FEQ + static_cast<int>(pick(FUNO - FEQ + 1));
    TYPE* sides = one_of(float_types).type;
    return maketree(op, random_tree(sides, depth), random_tree(sides, depth), type);
  }
  // Sides of any two types: the narrower one is converted.
  const int op = EQ + static_cast<int>(pick(UGT - EQ + 1));
  return maketree(op, random_tree(one_of(int_types).type, depth),
                  random_tree(one_of(int_types).type, depth), type);
}

NODE* random_tree(TYPE* type, int depth) {
  if (depth == 0 || pick(5) == 0) return type->is_float() ? random_float(type) : random_int(type);
  depth--;
  TYPE* other = pick(4) == 0 ? one_of(float_types).type : one_of(int_types).type;
  if (type->is_float()) {
    switch (pick(6)) {
    case 0: return maketree(SCONV, random_tree(other, depth), nullptr, type);
    case 1:
      return maketree(one_of<int>({UMINUS, ABS, SQR, SQRT, RECIP}), random_tree(type, depth),
                      nullptr, type);
    default:
      return maketree(one_of<int>({PLUS, MINUS, MULT, DIV}), random_tree(type, depth),
                      random_tree(pick(4) ? type : other, depth), type);
    }
  }
  switch (pick(9)) {
  case 0:
    if (pick(3) == 0) return maketree(SCONV, random_tree(bool_type, depth), nullptr, type);
    return maketree(SCONV, random_tree(other, depth), nullptr, type);
  case 1: return random_comparison(type, depth);
  case 2:
    return maketree(one_of<int>({ANDAND, OROR}), random_tree(other, depth),
                    random_tree(other, depth), type);
  case 3: return maketree(EXCLAIM, random_tree(other, depth), nullptr, type);
  case 4:
    return maketree(QUEST, random_tree(other, depth),
                    maketree(COLON, random_tree(type, depth), random_tree(type, depth), type),
                    type);
  case 5:
    if (type->is_bool()) return random_comparison(type, depth);
    return maketree(one_of<int>({UMINUS, NOTB, ABS, SQR}), random_tree(type, depth), nullptr, type);
  case 6:
    if (type->is_bool()) return random_comparison(type, depth);
    return maketree(one_of<int>({SLL, SRL}), random_tree(type, depth),
                    pick(3) ? mk_ICON(pick(70), one_of(int_types).type)
                            : random_tree(one_of(int_types).type, depth),
                    type);
  default:
    if (type->is_bool()) return random_comparison(type, depth);
    return maketree(one_of<int>({PLUS, MINUS, MULT, DIV, MOD, ANDB, ORB, XORB}),
                    random_tree(pick(4) ? type : one_of(int_types).type, depth),
                    random_tree(pick(4) ? type : one_of(int_types).type, depth), type);
  }
}

bool may_fault(const NODE* tree) {
  return tree_contains_op(tree, DIV) || tree_contains_op(tree, MOD) ||
         tree_contains_op(tree, RECIP);
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s COUNT SEED\n", argv[0]);
    return 1;
  }
  const int count = atoi(argv[1]);
  engine.seed(static_cast<uint64_t>(atoi(argv[2])));
  tp = TYPE_PKG::init_type_pkg();
  init_opcode_tables();
  bool_type = tp->basic[TYPE::I_BOOL];
  int_types = {{"int", tp->basic[TYPE::I_INT]},     {"uint", tp->basic[TYPE::I_UINT]},
               {"long", tp->basic[TYPE::I_LONG]},   {"ulong", tp->basic[TYPE::I_ULONG]},
               {"llong", tp->basic[TYPE::I_LLONG]}, {"ullong", tp->basic[TYPE::I_ULLONG]}};
  float_types = {{"float", tp->mk_fltpt(TYPE::F_FLOAT)},
                 {"ldouble", tp->mk_fltpt(TYPE::F_LDOUBLE)}};

  printf(
      "icode -71 \"fold.c\"\ntype fn.main = fn int ()\ntype fn.printf = fn int (schar*) variadic\n"
      "global main: fn.main\nextern printf: fn.printf\nfunc main @1:1 {\n  auto bad: int\n"
      "  ASG(bad, 0:int)\n");
  int folded = 0, compared = 0;
  for (int k = 1; k <= count; k++) {
    TYPE* type = pick(3) ? one_of(int_types).type : one_of(float_types).type;
    NODE* tree = random_tree(type, 4);
    const std::string before = text_of(tree);
    tree = fold_constants(tree);
    const bool is_constant = tree->op == ICON || tree->op == FCON;
    const std::string after = text_of(tree);
    folded += is_constant;
    // Where integers may be divided by zero, executing the tree would be a fault.
    if (is_constant || !may_fault(tree)) {
      compared++;
      const std::string same =
          type->is_float()
              ? "OROR:int(EQ:int(VRCONV:" + std::string(type->size > 32 ? "llong" : "long") + "(" +
                    before + "), VRCONV:" + (type->size > 32 ? "llong" : "long") + "(" + after +
                    ")), ANDAND:int(FUNO:int(" + before + ", " + before + "), FUNO:int(" + after +
                    ", " + after + ")))"
              : "EQ:int(" + before + ", " + after + ")";
      printf("  CBRANCH(%s, L%d)\n  ASG(bad, 1:int)\n"
             "  CALL[2,1]:int(UAND(printf), {\"tree %%d differs\\n\":schar*, %d:int})\nL%d:\n",
             same.c_str(), k, k, k);
    }
    erase_tree(tree);
  }
  printf("  CALL[3,2]:int(UAND(printf), {\"%%d compared, %%d folded\\n\":schar*, %d:int, %d:int})\n"
         "  RETURN(main, bad)\n}\n",
         compared, folded);
  delete tp;
  return 0;
}
