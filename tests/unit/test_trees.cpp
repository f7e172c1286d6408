// Trees: tables, making, copying, comparing, erasing.
#include "OPT5/printtree.h"
#include "tests/unit/ir_fixture.h"

#include "ifile/i_file.h"

#include <thread>

class Trees : public IrTest {
protected:
  // An access to a bit-field of a new structure.
  NODE* field(TYPE* type, unsigned width) {
    TYPE* record = tp->mk_struct("bits");
    record->csu_parts()->complete = true;
    fkMDATA member;
    member.name = "m";
    member.number = 1;
    member.type = type;
    member.bit_size = width;
    NODE* node = alloc_node(FIELD, type);
    node->mk_field(0, tp->add_member(record, member), record);
    return maketree(STDOT, mk_NAME(local("object", record)), node, type);
  }
};

TEST_F(Trees, TablesAreEachOthersReverse) {
  int named = 0;
  for (int code = 0; code < OPCODE_COUNT; code++) {
    named += node_operator_name[code] != nullptr;
    if (boolean_inv[code] != ILLOP) {
      EXPECT_EQ(boolean_inv[boolean_inv[code]], code) << code;
    }
    if (commute_inv[code] != ILLOP) {
      EXPECT_EQ(commute_inv[commute_inv[code]], code) << code;
    }
    if (op_of_opASG[code] != ILLOP) {
      EXPECT_EQ(opASG_of_op[op_of_opASG[code]], code) << code;
      EXPECT_EQ(side_effects[code], SE_ASSIGNS) << code;
    }
  }
  EXPECT_EQ(named, 115 + 55 + 1 + 3); // EPVAL never stays in memory
  // The inverse of a floating comparison is true for exactly the other outcomes.
  for (int code = FEQ; code <= FUNO; code++)
    EXPECT_EQ(float_op_to_micro_ops[code] ^ float_op_to_micro_ops[boolean_inv[code]], 15) << code;
}

TEST_F(Trees, ConstantsTakeTheirType) {
  NODE* pointer = mk_ICON(-1, tp->mk_ptr(tp->mk_plain_int()));
  EXPECT_TRUE(pointer->type->is_int());
  EXPECT_FALSE(pointer->type->is_signed());
  EXPECT_EQ(pointer->icon_uvalue(), 0xFFFFFFFFu);
  NODE* cut = mk_ICON(0x12345, tp->mk_plain_int());
  EXPECT_EQ(cut->icon_svalue(), 0x2345);
  NODE* wide = alloc_node(LCON, tp->basic[TYPE::I_ULLONG]);
  wide->mk_lcon("18446744073709551615");
  EXPECT_EQ(wide->op, ICON);
  EXPECT_EQ(wide->icon_uvalue(), ~0ul);
  NODE* zero = alloc_node(LCON, tp->mk_long());
  zero->mk_lcon("-0");
  EXPECT_EQ(zero->icon_svalue(), 0);
  NODE* empty = alloc_node(LCON, tp->mk_long());
  empty->mk_lcon("");
  EXPECT_EQ(empty->icon_svalue(), 0);
  for (NODE* node : {pointer, cut, wide, zero, empty})
    erase_tree(node);
}

// For any type: an address needs more bits than an int has, and a vector has the value in all
// lanes.
TEST_F(Trees, ConstantsOfAnyType) {
  auto text = [](INT65 value, TYPE* type) {
    NODE* tree = mk_constant_from_ival(value, type);
    EXPECT_EQ(tree->type, type);
    const std::string result = tree_text(tree);
    erase_tree(tree);
    return result;
  };
  EXPECT_EQ(text(70000, tp->mk_plain_int()), "4464");
  EXPECT_EQ(text(-3, tp->mk_fltpt(TYPE::F_FLOAT)).substr(0, 8), "-0x1.8p+");
  TYPE* address = tp->mk_ptr(tp->mk_plain_int());
  EXPECT_EQ(text(5, address), "PCONV:int*(5)");
  EXPECT_EQ(text(70000, address), "PCONV:int*(70000:long)");
  EXPECT_EQ(text(9, tp->mk_vector(tp->mk_plain_int(), false, 4, 64, 64)), "VPACKM:int<4>(9)");
}

TEST_F(Trees, CopiesAreTheirOwn) {
  NODE* original = alloc_node(FCON, tp->mk_fltpt(TYPE::F_FLOAT));
  original->mk_fcon("1.5");
  EXPECT_STREQ(original->fcon_value(), "0x1.8p+0");
  NODE* copy = copy_tree(original, true);
  f_atof("2.0", copy->u.fval);
  EXPECT_STREQ(original->fcon_value(), "0x1.8p+0");
  EXPECT_STREQ(copy->fcon_value(), "0x1p+1");
  NODE* call = mk_ICALL("_abs", icon(3), tp->mk_plain_int());
  NODE* call_copy = copy_tree(call, false);
  EXPECT_NE(call->u.callee, call_copy->u.callee);
  for (NODE* node : {original, copy, call, call_copy})
    erase_tree(node);
}

// A CSE_DUPE owns nothing, nor does its copy.
TEST_F(Trees, CopiesOfSharedExpressions) {
  SYMTAB *x = variable("x"), *y = variable("y");
  auto original = [&] { return op(CSE_ORIG, nullptr, op(PLUS, name(x), name(y))); };
  auto dupe_of = [&](NODE* orig) { return op(CSE_DUPE, nullptr, orig->right); };
  // The copy of both shares within itself.
  NODE* orig = original();
  NODE* tree = op(MULT, orig, op(MINUS, dupe_of(orig), icon(1)));
  NODE* copy = copy_tree(tree, true);
  EXPECT_NE(copy->left->right, orig->right);
  EXPECT_EQ(copy->right->left->right, copy->left->right);
  erase_tree(tree);
  EXPECT_EQ(copy->right->left->right->op, PLUS);
  NODE* plain = copy_tree_without_dupes(copy);
  erase_tree(copy);
  EXPECT_EQ(tree_text(plain), "MULT(PLUS(x, y), MINUS(PLUS(x, y), 1))");
  erase_tree(plain);
  // The copy of one alone shares with the same original; also over statements.
  LIST* second = mklist(dupe_of(orig = original()), nullptr);
  LIST* both = mklist(orig, second);
  copy = copy_dd_tree(second->tree, true);
  EXPECT_EQ(copy->right, orig->right);
  erase_tree(copy);
  LIST* copies = copy_statements(both, true);
  erase_tree_list(both);
  EXPECT_EQ(copies->next->tree->right, copies->tree->right);
  erase_tree_list(copies);
}

TEST_F(Trees, MarksOfDependenceKeepTheirRecord) {
  NODE* mark = op(DDNODE, name(variable("x")));
  mark->mk_ddnode(3, 1, 2);
  mark->own_facts().dd_info = current_memory().arena.make<DD_INFO>(icon(7));
  NODE* copy = copy_tree(mark, true);
  EXPECT_EQ(copy->ddnode_id(), 3);
  ASSERT_TRUE(copy->dd_info());
  EXPECT_NE(copy->dd_info()->tree, mark->dd_info()->tree);
  erase_tree(mark);
  EXPECT_EQ(copy->dd_info()->tree->icon_svalue(), 7);
  NODE* again = copy_dd_tree(copy, true);
  erase_tree(copy);
  erase_tree(again);
}

TEST_F(Trees, LongSpinesNeedNoStack) {
  SYMTAB* x = variable("x");
  NODE* sum = name(x);
  for (int k = 0; k < 300000; k++)
    sum = op(PLUS, sum, icon(k & 7));
  NODE* copy = copy_tree(sum, true);
  EXPECT_EQ(count_nodes_in_tree(copy), 600001);
  EXPECT_TRUE(trees_are_congruent(sum, copy));
  EXPECT_TRUE(sym_appears_in_tree(x, copy));
  EXPECT_FALSE(tree_has_side_effects(copy));
  erase_tree(sum);
  erase_tree(copy);
}

TEST_F(Trees, Congruence) {
  SYMTAB *x = variable("x"), *y = variable("y");
  auto same = [](NODE* a, NODE* b, bool se_ok = false) {
    const bool answer = trees_are_congruent(a, b, se_ok);
    erase_tree(a);
    erase_tree(b);
    return answer;
  };
  EXPECT_TRUE(same(op(PLUS, name(x), name(y)), op(PLUS, name(y), name(x))));
  EXPECT_FALSE(same(op(MINUS, name(x), name(y)), op(MINUS, name(y), name(x))));
  EXPECT_TRUE(same(op(LT, name(x), name(y)), op(GT, name(y), name(x))));
  EXPECT_FALSE(same(op(LT, name(x), name(y)), op(ULT, name(x), name(y))));
  EXPECT_FALSE(same(icon(1), mk_ICON(1, tp->mk_long())));
  // Pointers of one size are alike, a pointer and an integer of its size are not.
  TYPE* const pointer = tp->mk_ptr(tp->mk_plain_int());
  EXPECT_TRUE(same(mk_ICON(1, pointer), mk_ICON(1, tp->mk_ptr(tp->mk_long()))));
  EXPECT_FALSE(same(mk_ICON(1, pointer), mk_ICON(1, tp->mk_long())));
  EXPECT_FALSE(same(mk_ICON(1, tp->mk_long()), mk_ICON(1, pointer)));
  auto call = [&] {
    return maketree(UCALL, maketree(UAND, mk_NAME(func), nullptr, tp->mk_ptr(func->type)), nullptr,
                    tp->mk_plain_int());
  };
  EXPECT_FALSE(same(call(), call()));
  EXPECT_TRUE(same(call(), call(), true));
  // What an operator says besides its operands counts.
  auto under_entry = [&](unsigned entry) {
    NODE* tree = call();
    tree->eh_entry = entry;
    return tree;
  };
  EXPECT_FALSE(same(under_entry(1), under_entry(2), true));
  auto numbered = [&](int code, int number) {
    NODE* tree = alloc_node(code, tp->mk_void());
    tree->ival = number;
    if (code == SKIP || code == DDNODE) tree->left = icon(5);
    return tree;
  };
  for (int code : {LABEL, LABELDEF, SKIP, DDNODE}) {
    EXPECT_TRUE(same(numbered(code, 4), numbered(code, 4), true)) << code;
    EXPECT_FALSE(same(numbered(code, 4), numbered(code, 6), true)) << code;
  }
  NODE* once = call();
  EXPECT_TRUE(trees_are_congruent(once, once));
  EXPECT_FALSE(trees_are_congruent(once, nullptr));
  EXPECT_FALSE(trees_are_congruent(nullptr, once));
  EXPECT_TRUE(trees_are_congruent(nullptr, nullptr));
  erase_tree(once);
  TYPE* volatile_int = tp->mk_qual(tp->mk_plain_int(), TYPE::Q_VOLATILE);
  auto load = [&](TYPE* type) {
    return maketree(UMULT, mk_NAME(local("p", tp->mk_ptr(type))), nullptr, type);
  };
  NODE* p = load(volatile_int);
  NODE* q = copy_tree(p, true);
  EXPECT_FALSE(same(p, q));
  SYMTAB* port = local("port", volatile_int);
  EXPECT_FALSE(same(name(port), name(port)));
  EXPECT_TRUE(same(name(port), name(port), true));
}

TEST_F(Trees, ConditionsAndTheirOpposites) {
  SYMTAB *x = variable("x"), *y = variable("y");
  auto relate = [](NODE* a, NODE* b) {
    const int answer = bools_are_congruent(a, b, 0) + 2 * bools_are_congruent(a, b, 1);
    erase_tree(a);
    erase_tree(b);
    return answer;
  };
  constexpr int NEITHER = 0, SAME = 1, OPPOSITE = 2;
  EXPECT_EQ(relate(op(LT, name(x), name(y)), op(GT, name(y), name(x))), SAME);
  EXPECT_EQ(relate(op(LT, name(x), name(y)), op(GE, name(x), name(y))), OPPOSITE);
  EXPECT_EQ(relate(op(LT, name(x), name(y)), op(LE, name(y), name(x))), OPPOSITE);
  EXPECT_EQ(relate(op(LT, name(x), name(y)), op(GE, name(y), name(x))), NEITHER);
  EXPECT_EQ(relate(op(LT, name(x), name(y)), op(GE, name(x), name(x))), NEITHER);
  EXPECT_EQ(relate(op(LT, name(x), name(y)), op(LE, name(y), name(y))), NEITHER);
  EXPECT_EQ(relate(mk_EXCLAIM(name(x)), name(x)), OPPOSITE);
  EXPECT_EQ(relate(mk_EXCLAIM(mk_EXCLAIM(name(x))), name(x)), SAME);
  EXPECT_EQ(relate(mk_EXCLAIM(op(EQ, name(x), name(y))), op(NEQ, name(y), name(x))), SAME);
  // A comparison that is true for no NaN has an opposite that is true for each.
  SYMTAB* d = local("d", tp->mk_fltpt(TYPE::F_DOUBLE));
  EXPECT_EQ(relate(op(FLT, name(d), name(d)), op(FGEN, name(d), name(d))), OPPOSITE);
  EXPECT_EQ(relate(op(FLT, name(d), name(d)), op(FGE, name(d), name(d))), NEITHER);
}

TEST_F(Trees, SubstitutionInAllPlaces) {
  SYMTAB *x = variable("x"), *y = variable("y"), *z = variable("z");
  NODE* sum = op(PLUS, op(MULT, name(x), name(y)), op(MULT, name(y), name(x)));
  SYMPAIRLIST* pairs = mk_symplist(x, y, mk_symplist(y, x, nullptr, 0), 0); // all at once
  subst_sym_pairs_in_tree(pairs, sum);
  free_symplist(pairs);
  EXPECT_EQ(tree_text(sum), "PLUS(MULT(y, x), MULT(x, y))");
  subst_sym_for_sym_in_tree(z, x, sum);
  EXPECT_TRUE(sym_appears_in_tree(z, sum));
  EXPECT_FALSE(sym_appears_in_tree(x, sum));
  // A value that holds what it stands for is not entered again.
  NODE *product = op(MULT, name(z), name(y)), *value = op(MINUS, copy_tree(product, true), icon(1));
  sum = subst_tree_for_lvalue_in_tree(value, product, sum);
  EXPECT_EQ(tree_text(sum), "PLUS(MINUS(MULT(z, y), 1), MINUS(MULT(z, y), 1))");
  NODE* other = op(MULT, name(y), name(y)); // the same operator of something else
  other = subst_tree_for_lvalue_in_tree(value, product, other);
  EXPECT_EQ(tree_text(other), "MULT(y, y)");
  erase_tree(other);
  for (NODE* tree : {sum, product, value})
    erase_tree(tree);
}

TEST_F(Trees, ListsOfStatements) {
  SYMTAB* x = variable("x");
  LIST* list = nullptr;
  for (int k = 3; k > 0; k--)
    list = mkelist(op(ASG, name(x), icon(k)), list, nullptr);
  list->info[0] = 4;
  list->info[1] = 5;
  LIST* copy = copy_statements(list, true);
  EXPECT_TRUE(tree_lists_are_congruent(list, copy));
  LIST* shared = copy_shared_statements(list);
  EXPECT_EQ(shared->next->tree, list->next->tree);
  for (const LIST* made : {copy, shared}) {
    EXPECT_EQ(made->info[0], 4);
    EXPECT_EQ(made->info[1], 5);
  }
  erase_tree_list_only(shared);
  copy->next->tree->right->ival = 7;
  EXPECT_FALSE(tree_lists_are_congruent(list, copy));
  EXPECT_FALSE(tree_lists_are_congruent(list, list->next)); // one is shorter
  LIST* rest = list->next->next;
  erase_tree_list_to_entry(list, rest, 1);
  EXPECT_EQ(rest->tree->right->ival, INT65(3));
  erase_tree_list(rest);
  erase_tree_list(copy);
}

TEST_F(Trees, AssignmentForms) {
  SYMTAB *x = variable("x"), *y = variable("y");
  // x = y + x --> x += y --> x = x + y
  NODE* asg = ASG_to_opASG(mk_ASG(name(x), op(PLUS, name(y), name(x))));
  EXPECT_EQ(tree_text(asg), "PLUSASG(x, y)");
  asg = opASG_to_ASG(asg);
  EXPECT_EQ(tree_text(asg), "ASG(x, PLUS(x, y))");
  erase_tree(asg);
  // y - x is another value.
  asg = ASG_to_opASG(mk_ASG(name(x), op(MINUS, name(y), name(x))));
  EXPECT_EQ(asg->op, ASG);
  erase_tree(asg);
  // *p++ may not be evaluated twice.
  SYMTAB* p = local("p", tp->mk_ptr(tp->mk_plain_int()));
  NODE* step = maketree(PLUSPLUS, mk_NAME(p), icon(1), p->type);
  asg = op(PLUSASG, op(UMULT, step), icon(2));
  EXPECT_EQ(opASG_to_ASG(asg)->op, PLUSASG);
  erase_tree(asg);
  // A volatile object is read and written once in both forms; what finds it isn't read twice.
  TYPE* volatile_int = tp->mk_qual(tp->mk_plain_int(), TYPE::Q_VOLATILE);
  SYMTAB* port = local("port", volatile_int);
  asg = opASG_to_ASG(maketree(PLUSASG, name(port), icon(2), volatile_int));
  EXPECT_EQ(asg->op, ASG);
  erase_tree(asg);
  SYMTAB* moving = local("moving", tp->mk_qual(p->type, TYPE::Q_VOLATILE));
  asg = opASG_to_ASG(op(PLUSASG, op(UMULT, mk_NAME(moving)), icon(2)));
  EXPECT_EQ(asg->op, PLUSASG);
  erase_tree(asg);
  // A count becomes an int where its value stays.
  asg = opASG_to_ASG(op(SLLASG, name(x), mk_ICON(3, tp->mk_long())));
  EXPECT_EQ(tree_text(asg), "ASG(x, SLL(x, 3))");
  erase_tree(asg);
  asg = opASG_to_ASG(op(SLLASG, name(x), mk_ICON(65536, tp->mk_long())));
  EXPECT_EQ(tree_text(asg), "ASG(x, SLL(x, 65536:long))");
  erase_tree(asg);
  asg = opASG_to_ASG(op(SLLASG, name(x), name(local("k", tp->mk_plain_uint()))));
  EXPECT_EQ(tree_text(asg), "ASG(x, SLL(x, SCONV:int(k)))");
  erase_tree(asg);
  // A narrow target computes in the common type.
  SYMTAB* wide = local("wide", tp->mk_long());
  asg = opASG_to_ASG(op(PLUSASG, name(x), mk_NAME(wide)));
  EXPECT_EQ(tree_text(asg), "ASG(x, SCONV:int(PLUS(SCONV:long(x), wide)))");
  erase_tree(asg);
}

// A bit-field computes in int if that holds its values, whatever type it was declared with.
TEST_F(Trees, BitFieldsPromoteByTheirWidth) {
  SYMTAB* x = variable("x");
  TYPE *plain = tp->mk_plain_int(), *natural = tp->mk_plain_uint(), *wide = tp->mk_long();
  TYPE* wide_natural = tp->basic[TYPE::I_ULONG];
  auto promoted = [](NODE* tree) {
    TYPE* type = promoted_type(tree);
    erase_tree(tree);
    return type;
  };
  EXPECT_EQ(promoted(field(natural, 5)), plain);
  EXPECT_EQ(promoted(field(natural, 16)), natural);
  EXPECT_EQ(promoted(field(wide_natural, 16)), natural);
  EXPECT_EQ(promoted(field(wide, 16)), plain);
  EXPECT_EQ(promoted(field(wide, 17)), wide);
  EXPECT_EQ(promoted(mk_ASG(field(natural, 5), mk_ICON(1, natural))), plain);
  EXPECT_EQ(promoted(maketree(COMMAOP, icon(1), field(natural, 5), natural)), plain);
  EXPECT_EQ(promoted(maketree(COMMAOP, field(natural, 5), mk_ICON(1, natural), natural)), natural);
  EXPECT_EQ(promoted_type(tp->mk_int(TYPE::I_UINT, false, 5, 16, false, false)), plain);

  // u5 /= -2 is a division of ints, as is x /= u5.
  NODE* asg = opASG_to_ASG(maketree(DIVASG, field(natural, 5), icon(-2), natural));
  EXPECT_EQ(asg->right->left->type, plain);
  EXPECT_EQ(tree_text(asg->right->left->right), "-2");
  erase_tree(asg);
  asg = opASG_to_ASG(op(DIVASG, name(x), field(natural, 5)));
  EXPECT_EQ(asg->right->type, plain);
  erase_tree(asg);
  // u5 = u5 / k computes in another type than u5 /= k.
  NODE* place = field(natural, 5);
  asg = ASG_to_opASG(
      mk_ASG(place, maketree(DIV, copy_tree(place, true), mk_ICON(3, natural), natural)));
  EXPECT_EQ(asg->op, DIVASG); // both unsigned
  erase_tree(asg);
  place = field(natural, 5);
  asg = ASG_to_opASG(mk_ASG(place, maketree(DIV, copy_tree(place, true), icon(-2), natural)));
  EXPECT_EQ(asg->op, ASG);
  erase_tree(asg);
}

TEST_F(Trees, PeelingKeepsEffects) {
  SYMTAB *x = variable("x"), *y = variable("y");
  EXPECT_EQ(peel_for_effect(op(PLUS, name(x), icon(1))), nullptr);
  NODE* tree = peel_for_effect(
      op(PLUS, mk_ASG(name(x), icon(1)), op(MULT, name(y), mk_ASG(name(y), icon(2)))));
  EXPECT_EQ(tree_text(tree), "COMMAOP(ASG(x, 1), ASG(y, 2))");
  erase_tree(tree);
  // The right side is conditional, so the operator stays.
  tree = peel_for_effect(op(ANDAND, name(x), mk_ASG(name(y), icon(2))));
  EXPECT_EQ(tree->op, ANDAND);
  erase_tree(tree);
}

TEST_F(Trees, ConstantsAreConvertedAtOnce) {
  TYPE* single = tp->mk_fltpt(TYPE::F_FLOAT);
  auto converted = [](TYPE* type, NODE* tree) {
    tree = coerce_to_type(type, tree, false);
    const std::string text = tree_text(tree);
    erase_tree(tree);
    return text;
  };
  EXPECT_EQ(converted(tp->mk_long(), icon(-1)), "-1:long");
  EXPECT_EQ(converted(single, icon(-3)), "-0x1.8p+1");
  simul_fval value;
  f_itof(-7, &value);
  EXPECT_EQ(converted(tp->mk_plain_int(), mk_FCON(value, single)), "-7");
  EXPECT_EQ(converted(single, name(variable("x"))), "SCONV:float(x)");
}

TEST_F(Trees, TheFileLayersOperatorsAreCompared) {
  EXPECT_EXIT((if_enter_node(PLUS, "PLUS", 1), init_opcode_tables()), ::testing::ExitedWithCode(1),
              "INTERNAL ERROR: if_node_info\\[\\] mismatch");
}

// A definition stands for its name, wherever the declaration is.
TEST_F(Trees, DeclarationsLeadToTheDefinition) {
  auto global = [](const char* text, int sclass) {
    auto* sym = new SYMTAB;
    sym->name = strdup(text);
    sym->type = sym->otype = tp->mk_plain_int();
    sym->sclass = static_cast<unsigned char>(sclass);
    enter_global_symbol(sym);
    return sym;
  };
  SYMTAB* declared = global("g", SC_EXTERN_DECL);
  SYMTAB* defined = global("g", SC_EXTERN);
  SYMTAB* again = global("g", SC_EXTERN_DECL);
  EXPECT_EQ(get_sym_def_for_decl(declared), defined);
  EXPECT_EQ(get_sym_def_for_decl(again), defined);
  SYMTAB* lonely = global("h", SC_EXTERN_DECL);
  EXPECT_EQ(get_sym_def_for_decl(lonely), lonely);
  // Statics of one name, two local to functions say, are definitions of their own.
  SYMTAB *first = global("s", SC_STATIC), *second = global("s", SC_STATIC);
  EXPECT_EQ(get_sym_def_for_decl(first), first);
  EXPECT_EQ(get_sym_def_for_decl(second), second);
  SYMTAB *visible = global("s", SC_EXTERN), *wanted = global("s", SC_EXTERN_DECL);
  EXPECT_EQ(get_sym_def_for_decl(wanted), visible);
  EXPECT_EQ(get_sym_def_for_decl(second), second);
  note_function_body(second);
  EXPECT_EQ(get_sym_def_for_decl(wanted), visible);
  note_function_body(visible);
  EXPECT_EQ(get_sym_def_for_decl(visible), visible);
  // Of two alike the one with the body.
  global("f", SC_EXTERN);
  SYMTAB *with_body = global("f", SC_EXTERN), *user = global("f", SC_EXTERN_DECL);
  note_function_body(with_body);
  EXPECT_EQ(get_sym_def_for_decl(user), with_body);
}

TEST_F(Trees, ErasingTwiceIsReported) {
  NODE* node = icon(1);
  erase_node(node);
  EXPECT_EXIT(erase_node(node), ::testing::ExitedWithCode(1), "ERROR IN 'erase_node'");
}

// Nodes of one function are used again by it, and never by another: not after they were erased, nor
// by way of a thread of its own. What has been given back as a whole serves the next function.
TEST_F(Trees, MemoryStaysWithItsFunction) {
  NODE* first = icon(7);
  erase_tree(first);
  NODE* again = icon(8);
  EXPECT_EQ(again, first);
  std::thread([&] {
    FUNINFO other("other");
    currfuninfo = &other;
    NODE* node = icon(9);
    EXPECT_NE(node, again);
    erase_tree(node);
    EXPECT_EQ(other.memory.live_nodes, 0);
    const std::string text(100000, 'x'); // more than any shared block
    SYMTAB* sym = func;
    for (int k = 0; k < 1000; k++)
      currfuninfo->stmts = mkelist(mk_NAME(sym), currfuninfo->stmts, nullptr);
    node = alloc_node(SCON, tp->mk_void());
    node->mk_scon(text.data(), static_cast<unsigned>(text.size()));
    EXPECT_EQ(node->text, text);
    currfuninfo = nullptr;
  }).join();
  EXPECT_EQ(again->icon_svalue(), 8);
  FUNINFO next("next");
  FUNINFO* kept = currfuninfo;
  currfuninfo = &next;
  NODE* foreign = again;
#ifdef VRX_CHECKS
  EXPECT_EXIT(erase_node(foreign), ::testing::ExitedWithCode(1), "owner");
#endif
  currfuninfo = kept;
  erase_tree(foreign);
}

TEST_F(Trees, ArgumentsAndComma) {
  EXPECT_EQ(arg_list_count(nullptr), 0);
  NODE* args = op(COMMA, op(COMMA, icon(1), icon(2)), icon(3));
  EXPECT_EQ(arg_list_count(args), 3);
  for (int k = 0; k < 3; k++)
    EXPECT_EQ(arg_list_lookup(args, k)->icon_svalue(), k + 1);
  EXPECT_EQ(arg_list_lookup(args, 3), nullptr);
  EXPECT_EQ(arg_list_lookup(args, -1), nullptr);
  erase_tree(args);
  NODE* x = icon(1);
  EXPECT_EQ(mk_COMMAOP(nullptr, x), x);
  erase_tree(x);
}

TEST_F(Trees, MandatoryCasts) {
  SYMTAB* x = variable("x");
  SYMTAB* wide = local("wide", tp->mk_long());
  SYMTAB* real = local("real", tp->mk_fltpt(TYPE::F_FLOAT));
  auto cast = [](NODE* tree) {
    tree = insert_mandatory_casts(tree);
    std::string text = tree_text(tree);
    erase_tree(tree);
    return text;
  };
  EXPECT_EQ(cast(maketree(PLUS, name(x), mk_NAME(wide), tp->mk_long())),
            "PLUS(SCONV:long(x), wide)");
  EXPECT_EQ(cast(op(LT, name(x), mk_NAME(real))), "LT(SCONV:float(x), real)");
  EXPECT_EQ(cast(op(ULE, name(x), name(x))), "1");
  EXPECT_EQ(cast(op(FLE, mk_NAME(real), mk_NAME(real))), "FLE(real, real)"); // false for a NaN
  EXPECT_EQ(cast(mk_ASG(name(x), name(x))), "x");
}

TEST_F(Trees, TruthValuesAreAskedByTheirValue) {
  TYPE *plain = tp->mk_plain_int(), *truth = tp->basic[TYPE::I_BOOL];
  TYPE* ints = tp->mk_vector(plain, false, 2, 32, 32);
  TYPE* one_signed_bit = tp->mk_int(TYPE::I_INT, true, 1, 16, false, true);
  auto truth_value = [](NODE* tree) {
    const bool answer = returns_1_or_0(tree);
    erase_tree(tree);
    return answer;
  };
  auto fits = [](NODE* tree, TYPE* type) {
    const bool answer = value_fits_in_type(tree, type, nullptr);
    erase_tree(tree);
    return answer;
  };
  SYMTAB *x = variable("x"), *v = local("v", ints);
  auto less = [&] { return op(LT, name(x), icon(3)); };
  EXPECT_TRUE(truth_value(less()));
  EXPECT_TRUE(truth_value(op(ANDB, name(x), icon(1))));
  EXPECT_TRUE(truth_value(op(ANDB, icon(1), name(x))));
  EXPECT_FALSE(truth_value(op(ANDB, icon(3), name(x))));
  EXPECT_FALSE(truth_value(maketree(ANDB, mk_NAME(v), icon(1), ints)));
  EXPECT_FALSE(truth_value(maketree(LT, mk_NAME(v), mk_NAME(v), ints)));
  EXPECT_TRUE(truth_value(mk_ICON(2, truth))); // is true, which is 1
  EXPECT_TRUE(truth_value(mk_ASG(name(x), less())));
  EXPECT_FALSE(truth_value(mk_ASG(field(plain, 1), less())));
  EXPECT_TRUE(truth_value(mk_ASG(field(plain, 2), less())));
  EXPECT_TRUE(truth_value(mk_ASG(field(tp->mk_plain_uint(), 1), less())));
  EXPECT_FALSE(truth_value(op(COMMAOP, icon(5), mk_ASG(field(plain, 1), less()))));
  EXPECT_FALSE(truth_value(mk_ASG(mk_NAME(local("r", tp->mk_fltpt(TYPE::F_FLOAT))), icon(1))));

  EXPECT_TRUE(fits(less(), tp->mk_plain_uint()));
  EXPECT_FALSE(fits(less(), one_signed_bit));
  EXPECT_FALSE(fits(mk_ASG(field(plain, 1), less()), tp->mk_plain_uint()));
  EXPECT_TRUE(fits(mk_ASG(field(plain, 1), less()), plain));
  // Widening keeps the range, but not that of a sign in a type without one.
  EXPECT_TRUE(fits(maketree(SCONV, name(x), nullptr, tp->mk_long()), plain));
  EXPECT_FALSE(fits(maketree(SCONV, name(x), nullptr, tp->basic[TYPE::I_ULONG]), tp->mk_long()));
}

// Folding puts the constant of a sum first.
TEST_F(Trees, PointerSumsWithTheConstantOnEitherSide) {
  TYPE *ints = tp->mk_ptr(tp->mk_plain_int()), *longs = tp->mk_ptr(tp->mk_long());
  TYPE* number = tp->mk_long();
  SYMTAB *p = local("p", ints), *q = local("q", ints);
  auto sum = [&](NODE* a, NODE* b) { return maketree(PLUS, a, b, ints); };
  auto pushed = [&](NODE* tree) {
    tree = push_down_pointer_cast(longs, tree);
    std::string text = tree_text(tree);
    tree = remove_pushed_down_casts(tree);
    text += " <- " + tree_text(tree);
    erase_tree(tree);
    return text;
  };
  EXPECT_EQ(pushed(sum(name(p), icon(4))), "PLUS(PCONV:long*(p), 4) <- PCONV:long*(PLUS(p, 4))");
  EXPECT_EQ(pushed(sum(icon(4), name(p))),
            "PLUS:long*(4, PCONV:long*(p)) <- PCONV:long*(PLUS:int*(4, p))");
  EXPECT_EQ(pushed(sum(sum(icon(4), name(p)), icon(2))),
            "PLUS(PLUS:long*(4, PCONV:long*(p)), 2) <- PCONV:long*(PLUS(PLUS:int*(4, p), 2))");
  // A difference is a number, which the cast is applied to.
  const std::string difference = "PCONV:long*(MINUS:long(p, q))";
  EXPECT_EQ(pushed(maketree(MINUS, name(p), name(q), number)), difference + " <- " + difference);

  auto* object = new SYMTAB;
  object->name = strdup("object");
  object->type = object->otype = tp->mk_plain_int();
  auto known = [](NODE* tree) {
    const bool answer = expr_is_globally_evaluable(tree);
    erase_tree(tree);
    return answer;
  };
  auto address = [&] { return maketree(UAND, mk_NAME(object), nullptr, ints); };
  EXPECT_TRUE(known(sum(address(), icon(4))));
  EXPECT_TRUE(known(sum(icon(4), sum(address(), icon(4)))));
  EXPECT_FALSE(known(sum(icon(4), name(p))));
  EXPECT_FALSE(known(maketree(MINUS, icon(4), address(), ints)));
  EXPECT_FALSE(known(maketree(MINUS, address(), address(), number)));
}

// struct { int a; volatile int v; mutable int m; int f: 4; struct { int x; mutable int y; } in[2];
// }
TEST_F(Trees, WhatNobodyChanges) {
  TYPE* plain = tp->mk_plain_int();
  auto add = [](TYPE* record, const char* name, TYPE* type, long at, unsigned bits, bool changes) {
    fkMDATA member;
    member.name = name;
    member.number = static_cast<unsigned>(record->csu_parts()->members.size()) + 1;
    member.type = type;
    member.bit_offset = at;
    member.bit_size = bits;
    member.flags[1] = changes;
    return tp->add_member(record, member);
  };
  TYPE* inner = tp->mk_struct("inner");
  inner->csu_parts()->complete = true;
  inner->size = 32;
  add(inner, "x", plain, 0, 0, false);
  add(inner, "y", plain, 16, 0, true);
  TYPE* outer = tp->mk_struct("outer");
  outer->csu_parts()->complete = true;
  outer->size = 128;
  fkMDATA* a = add(outer, "a", plain, 0, 0, false);
  add(outer, "v", tp->mk_qual(plain, TYPE::Q_VOLATILE), 16, 0, false);
  fkMDATA* m = add(outer, "m", plain, 32, 0, true);
  add(outer, "f", plain, 48, 4, false);
  add(outer, "in", tp->mk_array(inner, 2), 64, 0, false);
  TYPE* constant = tp->mk_qual(outer, TYPE::Q_CONST);
  auto stays = [&](int first, int bits) {
    return bits_of_var_are_immutable(constant, first, bits, true);
  };
  EXPECT_TRUE(stays(0, 16));
  EXPECT_FALSE(stays(16, 16));
  for (bool& flag : m->flags) { // any of them may say that it changes
    m->flags[0] = m->flags[1] = m->flags[2] = false;
    flag = true;
    EXPECT_FALSE(stays(32, 16));
  }
  EXPECT_TRUE(stays(48, 4));
  EXPECT_FALSE(stays(40, 12));
  EXPECT_TRUE(stays(96, 16));
  EXPECT_FALSE(stays(112, 16));
  EXPECT_FALSE(stays(96, 32));
  EXPECT_FALSE(stays(0, 128));
  EXPECT_FALSE(bits_of_var_are_immutable(constant, 0, 16, false));
  EXPECT_FALSE(bits_of_var_are_immutable(outer, 0, 16, true));
  TYPE* with_const = tp->mk_struct("with_const");
  with_const->csu_parts()->complete = true;
  with_const->size = 32;
  add(with_const, "c", tp->mk_qual(plain, TYPE::Q_CONST), 0, 0, false);
  add(with_const, "d", plain, 16, 0, false);
  EXPECT_TRUE(bits_of_var_are_immutable(with_const, 0, 16, true));
  EXPECT_FALSE(bits_of_var_are_immutable(with_const, 0, 32, true));
  // The object of a base lies within, wherever that is.
  TYPE* heir = tp->mk_struct("heir");
  heir->csu_parts()->complete = true;
  heir->size = 64;
  heir->csu_parts()->bases.push_back({with_const, 16, 0, false});
  add(heir, "last", plain, 48, 0, false);
  TYPE* fixed_heir = tp->mk_qual(heir, TYPE::Q_CONST);
  EXPECT_TRUE(bits_of_var_are_immutable(fixed_heir, 0, 64, true));
  EXPECT_TRUE(bits_of_var_are_immutable(fixed_heir, 48, 16, true)); // all of it behind the base
  with_const->csu_parts()->members[1]->flags[1] = true;             // its d changes
  EXPECT_FALSE(bits_of_var_are_immutable(fixed_heir, 32, 16, true));
  EXPECT_FALSE(bits_of_var_are_immutable(fixed_heir, 0, 64, true));
  EXPECT_TRUE(bits_of_var_are_immutable(fixed_heir, 16, 16, true));
  EXPECT_TRUE(bits_of_var_are_immutable(fixed_heir, 48, 16, true));
  heir->csu_parts()->bases.back().is_virtual = true; // it may lie anywhere
  EXPECT_FALSE(bits_of_var_are_immutable(fixed_heir, 48, 16, true));

  SYMTAB* object = local("object", constant);
  auto member = [&](fkMDATA* which) {
    NODE* node = alloc_node(FIELD, which->type);
    node->mk_field(0, which, outer);
    return maketree(STDOT, mk_NAME(object), node, which->type);
  };
  NODE *fixed = member(a), *changing = member(m);
  EXPECT_TRUE(lvalue_is_immutable(fixed));
  EXPECT_FALSE(lvalue_is_immutable(changing));
  EXPECT_FALSE(symbol_is_immutable(object));
  EXPECT_TRUE(symbol_is_immutable(local("k", tp->mk_qual(plain, TYPE::Q_CONST))));
  erase_tree(fixed);
  erase_tree(changing);
  // A member of a member lies behind both offsets.
  TYPE* whole = tp->mk_struct("whole");
  whole->csu_parts()->complete = true;
  whole->size = 144;
  fkMDATA* part = add(whole, "part", outer, 16, 0, false);
  add(whole, "head", plain, 0, 0, false);
  SYMTAB* nest = local("nest", tp->mk_qual(whole, TYPE::Q_CONST));
  for (fkMDATA* which : {a, m}) {
    NODE *upper = alloc_node(FIELD, outer), *lower = alloc_node(FIELD, which->type);
    upper->mk_field(0, part, whole);
    lower->mk_field(0, which, outer);
    NODE* inside = maketree(STDOT, mk_NAME(nest), upper, outer);
    NODE* tree = maketree(STDOT, inside, lower, which->type);
    EXPECT_EQ(lvalue_is_immutable(tree), which == a);
    erase_tree(tree);
  }
}

TEST_F(Trees, TypeQuestions) {
  EXPECT_EQ(promoted_type(tp->basic[TYPE::I_SCHAR])->normalized_type(),
            tp->mk_plain_int()->normalized_type());
  EXPECT_EQ(next_wider_type(tp->mk_plain_uint()), tp->basic[TYPE::I_ULONG]);
  EXPECT_EQ(next_wider_type(tp->basic[TYPE::I_LLONG]), nullptr);
  TYPE* inner = tp->mk_struct("inner");
  inner->csu_parts()->complete = true;
  TYPE* outer = tp->mk_struct("outer");
  outer->csu_parts()->complete = true;
  fkMDATA member;
  member.name = "v";
  member.type = tp->mk_qual(tp->mk_long(), TYPE::Q_VOLATILE);
  tp->add_member(inner, member);
  member.name = "i";
  member.type = tp->mk_array(inner, 3);
  tp->add_member(outer, member);
  EXPECT_TRUE(is_type_component_of_type(tp->mk_long(), outer));
  EXPECT_TRUE(type_is_contained_in_type(inner, outer));
  EXPECT_FALSE(type_is_contained_in_type(outer, inner));
  EXPECT_TRUE(type_may_contain_volatile(outer));
  EXPECT_TRUE(type_may_contain_volatile(tp->mk_struct("unknown"))); // its members come later
  TYPE* derived = tp->mk_struct("derived");
  derived->csu_parts()->complete = true;
  EXPECT_FALSE(type_may_contain_volatile(derived));
  TYPE* heir = tp->mk_struct("heir");
  heir->csu_parts()->complete = true;
  heir->csu_parts()->bases.emplace_back();
  heir->csu_parts()->bases.back().type = inner;
  EXPECT_TRUE(type_may_contain_volatile(heir));
  EXPECT_TRUE(type_is_contained_in_type(inner, heir)); // a base is a part, too
  EXPECT_TRUE(is_type_component_of_type(tp->mk_long(), heir));
  EXPECT_TRUE(type_may_alias_type(tp->mk_long(), outer));
  EXPECT_FALSE(type_may_alias_type(tp->mk_fltpt(TYPE::F_FLOAT), outer));
  // Two types alias by a union that holds both, once the file's types are known.
  TYPE* either = tp->mk_union("either");
  either->csu_parts()->complete = true;
  member.type = tp->mk_fltpt(TYPE::F_FLOAT);
  tp->add_member(either, member);
  member.type = tp->mk_ptr(tp->mk_long());
  tp->add_member(either, member);
  init_types();
  EXPECT_TRUE(types_contained_in_union(tp->mk_fltpt(TYPE::F_FLOAT), tp->mk_ptr(tp->mk_long())));
  EXPECT_FALSE(types_contained_in_union(tp->mk_long(), outer)); // which is no union
  // Nothing is known of what an object of unknown kind holds.
  TYPE* dark = tp->mk_struct("dark");
  dark->csu_parts()->complete = true;
  member.type = tp->mk_unknown();
  tp->add_member(dark, member);
  EXPECT_TRUE(type_may_alias_type(tp->mk_fltpt(TYPE::F_FLOAT), dark));
  EXPECT_TRUE(type_may_alias_type(tp->mk_unknown(), outer));
}
