// Symbols and graphs: temporaries, lists, building, ordering, surgery.
#include "tests/unit/ir_fixture.h"

#include "OPT5/verify.h"

#include <random>

using Graph = IrTest;

TEST_F(Graph, TemporariesAreNumberedByFunction) {
  SYMTAB* first = sym_temp('C', -1, tp->mk_plain_int(), nullptr);
  SYMTAB* second = sym_temp('C', -1, tp->mk_plain_int(), nullptr);
  EXPECT_STREQ(first->name, "$O$C0");
  EXPECT_STREQ(second->name, "$O$C1");
  EXPECT_TRUE(is_optimizer_temp("$O$C12", 'C', 'D'));
  EXPECT_TRUE(is_optimizer_temp("$O$C", 'C', 'D'));
  EXPECT_FALSE(is_optimizer_temp("$O$C1x", 'C', 'D'));
  EXPECT_FALSE(is_optimizer_temp("$O$E1", 'C', 'D'));
  EXPECT_EQ(first->scope, currfuninfo->scope->level_2_scope());
  // Temporaries are written, whatever the qualifiers of what they stand for.
  TYPE* ints = tp->mk_array(tp->mk_plain_int(), 3);
  TYPE* consts = tp->mk_array(tp->mk_qual(tp->mk_plain_int(), TYPE::Q_CONST), 3);
  EXPECT_EQ(sym_temp('C', -1, consts, nullptr)->type, ints);
  EXPECT_EQ(sym_temp('C', -1, tp->mk_qual(ints, TYPE::Q_VOLATILE), nullptr)->type, ints);
}

TEST_F(Graph, SplittingKeepsTheOrderOfDeclaration) {
  SYMTAB* array = local("array", tp->mk_array(tp->mk_plain_int(), 3));
  SYMTAB* a = variable("a");
  SYMTAB* hint = variable("hint");
  SYMTAB* gone = variable("gone");
  hint->sclass = SC_REGISTER;
  gone->sclass = SC_LABEL;
  SYMTAB* param = local("param", tp->mk_plain_int(), 1);
  currfuninfo->incoming = revsymtab(currfuninfo->incoming);
  sym_split(currfuninfo);
  EXPECT_EQ(currfuninfo->reg_candidates, a);
  EXPECT_EQ(a->next, hint);
  EXPECT_EQ(hint->sclass, SC_AUTO);
  EXPECT_EQ(hint->next, nullptr);
  EXPECT_EQ(currfuninfo->symbols, array);
  EXPECT_EQ(array->next, param);
  EXPECT_EQ(param->next, nullptr);
}

TEST_F(Graph, SplittingKnowsItsStorageClasses) {
  SYMTAB* odd = variable("odd");
  for (const int sclass : {0, SC_RESULT + 1}) {
    odd->sclass = static_cast<unsigned char>(sclass);
    EXPECT_EXIT(sym_split(currfuninfo), ::testing::ExitedWithCode(1), "sclass");
  }
  odd->sclass = SC_AUTO;
}

TEST_F(Graph, GlobalsKeepMarksByFunction) {
  auto& global = *new GLOBAL_SYM; // owned by the table of all symbols
  global.name = strdup("g");
  global.cqual = CQ_NO_ADDRESS; // not aliased as long as nothing else is known
  FUNINFO other("other");
  global.set_is_aliased(true);
  global.inc_bitnum();
  currfuninfo = &other;
  EXPECT_FALSE(global.is_aliased());
  EXPECT_EQ(global.bitnum(), 0);
  currfuninfo = make_FUNINFO(func);
  EXPECT_TRUE(global.is_aliased());
  EXPECT_EQ(global.bitnum(), 1);
  reset_alias_exceptions();
  EXPECT_FALSE(global.is_aliased());
  currfuninfo = nullptr;
  EXPECT_EXIT((void)global.is_aliased(), ::testing::ExitedWithCode(1), "terminated abnormally");
  currfuninfo = make_FUNINFO(func);
}

TEST_F(Graph, AnEmptyBodyIsTheExit) {
  buildcfg();
  verify_function("building");
  EXPECT_EQ(currfuninfo->bb_count, 1);
  const BBLK* exit = currfuninfo->bb_list;
  EXPECT_EQ(exit->statements->tree->op, URETURN);
  EXPECT_EQ(exit->statements->next, nullptr);
  EXPECT_EQ(exit->successors, nullptr);
  EXPECT_EQ(exit->predecessors, nullptr);
}

TEST_F(Graph, UnreachableBlocksGo) {
  SYMTAB* x = variable("x");
  branch(1);
  stmt(mk_ASG(name(x), icon(1)));
  label(2);
  stmt(mk_ASG(name(x), icon(2)));
  label(1);
  stmt(mk_ASG(name(x), icon(3)));
  buildcfg();
  verify_function("building");
  int assignments = 0;
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (LIST* s = bb->statements; s; s = s->next)
      assignments += s->tree->op == ASG;
  EXPECT_EQ(assignments, 1);
}

TEST_F(Graph, EdgesAreSetsAndKeepTheirProbability) {
  BBLK *a = mkbblock(nullptr, nullptr, currfuninfo), *b = mkbblock(nullptr, nullptr, currfuninfo);
  a->dfn = 2;
  b->dfn = 1;
  EDGE* list = add_edge(a, nullptr, 0.25);
  EXPECT_EQ(add_edge(a, list, 0.75), list);
  EXPECT_EQ(list->prob, 0.25);
  list = mkedge(b, list);
  list = mkedge(a, list);
  EXPECT_EQ(edge_length(list), 3);
  list = fast_sort_edge_list(list);
  EXPECT_EQ(edge_length(list), 2);
  EXPECT_EQ(list->first, b);
  list = remove_edge(b, list);
  EXPECT_EQ(list->first, a);
  erase_edge_list(list);
  erase_bblock(a);
  erase_bblock(b);
}

TEST_F(Graph, CriticalEdgesAreSplit) {
  // A loop that is left in the middle: the exit has two predecessors.
  SYMTAB* x = variable("x");
  label(1);
  cbranch(name(x), 2);
  stmt(op(PLUSASG, name(x), icon(1)));
  cbranch(op(GT, name(x), icon(5)), 1);
  label(2);
  stmt(op(PLUSASG, name(x), icon(2)));
  buildcfg();
  const int before = currfuninfo->bb_count;
  split_critical_edges(true);
  verify_function("splitting");
  EXPECT_GT(currfuninfo->bb_count, before);
  int split = 0;
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    split += bb_is_split_critical_edge(bb);
    if (!bb->successors || !bb->successors->rest) continue;
    for (EDGE* e = bb->successors; e; e = e->rest)
      EXPECT_EQ(edge_length(e->first->predecessors), 1);
  }
  EXPECT_EQ(split, currfuninfo->bb_count - before);
  // A known probability stays with the edge's first half.
  BBLK* from = currfuninfo->bb_list;
  BBLK* to = from->successors->first;
  from->successors->prob = 0.25;
  BBLK* middle = split_cfg_edge(from, to);
  // A block in a chain is between blocks, too, and no split edge.
  EXPECT_FALSE(bb_is_split_critical_edge(split_cfg_edge(middle, to)));
  to = middle->successors->first;
  EXPECT_EQ(edge_memberp(middle, from->successors)->prob, 0.25);
  EXPECT_EQ(middle->successors->prob, -1.0);
  rebuildcfg();
  verify_function("rebuilding");
}

// Without loops, the edges that lead forwards are split, and those that lead back are not.
TEST_F(Graph, OnlyForwardCriticalEdgesAreSplit) {
  SYMTAB* x = variable("x");
  stmt(op(ASG, name(x), icon(1)));
  label(1);
  cbranch(name(x), 2);
  stmt(op(PLUSASG, name(x), icon(1)));
  cbranch(op(GT, name(x), icon(5)), 1);
  label(2);
  stmt(op(PLUSASG, name(x), icon(2)));
  buildcfg();
  split_critical_edges(false);
  verify_function("splitting");
  int back = 0, split = 0;
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    split += bb_is_split_critical_edge(bb);
    if (!bb->successors || !bb->successors->rest) continue;
    for (EDGE* e = bb->successors; e; e = e->rest)
      if (edge_length(e->first->predecessors) > 1) {
        EXPECT_GE(bb->dfn, e->first->dfn);
        back++;
      }
  }
  EXPECT_EQ(back, 1);
  EXPECT_EQ(split, 2);
}

// What two edges lead to, or what leads on in two ways, stands on no edge.
TEST_F(Graph, AJoinIsNoSplitEdge) {
  SYMTAB* x = variable("x");
  cbranch(op(LT, name(x), icon(1)), 3);
  cbranch(op(LT, name(x), icon(2)), 2);
  cbranch(op(LT, name(x), icon(3)), 2);
  stmt(op(ASG, name(x), icon(1)));
  branch(3);
  label(2);
  stmt(op(ASG, name(x), icon(2)));
  label(3);
  stmt(op(ASG, name(x), icon(3)));
  buildcfg();
  int joins = 0, split = 0;
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    joins += edge_length(bb->predecessors) > 1;
    split += bb_is_split_critical_edge(bb);
  }
  EXPECT_EQ(joins, 2);
  EXPECT_EQ(split, 1); // the block of the first assignment looks like one
}

TEST_F(Graph, EveryControlStatementEndsItsBlock) {
  SYMTAB* x = variable("x");
  auto leads_to = [&](int code, int number) {
    NODE* target = label_ref(number);
    if (code == BRANCH) return maketree(code, target, nullptr, tp->mk_void());
    if (code == CBRANCH) return maketree(code, name(x), target, tp->mk_void());
    NODE* by_default = maketree(DEFAULT, target, nullptr, tp->mk_void());
    return maketree(code, name(x), by_default, tp->mk_void());
  };
  int number = 1;
  for (int code : {BRANCH, CBRANCH, SWITCH, URETURN}) {
    stmt(code == URETURN ? maketree(code, nullptr, nullptr, tp->mk_void())
                         : leads_to(code, number));
    stmt(op(ASG, name(x), icon(100 + number)));
    label(number++);
    stmt(op(ASG, name(x), icon(200 + number)));
  }
  buildcfg();
  for (BBLK* bb = currfuninfo->uon_list; bb; bb = bb->uon_link)
    for (LIST* s = bb->statements; s && s->next; s = s->next)
      EXPECT_FALSE(s->tree->op == BRANCH || s->tree->op == CBRANCH || s->tree->op == SWITCH ||
                   s->tree->op == RETURN || s->tree->op == URETURN);
  // What a statement that is none of them refers to is no target.
  NODE* plain =
      maketree(NOP, mk_LABELREF_to_bb(currfuninfo->bb_list, nullptr), nullptr, tp->mk_void());
  EXPECT_EQ(list_branch_targets(plain, nullptr), nullptr);
  erase_tree(plain);
}

// The control statement of a block is changed, a statement inserted, and a block that nothing leads
// to any more taken out.
TEST_F(Graph, ABranchIsRedirected) {
  SYMTAB* x = variable("x");
  cbranch(name(x), 1);
  stmt(op(PLUSASG, name(x), icon(1)));
  branch(2);
  label(1);
  stmt(op(PLUSASG, name(x), icon(2)));
  label(2);
  stmt(op(PLUSASG, name(x), icon(3)));
  buildcfg();
  BBLK* entry = currfuninfo->bb_list;
  LIST* last = entry->last_statement();
  BBLK* left = last->tree->right->right->label->bb;
  BBLK* join = left->successors->first;
  edge_memberp(join, left->successors)->prob = 0.5;
  for (EDGE* e = entry->successors; e; e = e->rest)
    e->prob = e->first == left ? 0.25 : 0.75;

  NODE* old_branch = last->tree; // both ways lead to `kept` or to the join from now on
  BBLK* kept = old_branch->right->left->label->bb;
  last->tree = mk_IF(name(x), kept, join, nullptr);
  fixup_edge_lists(entry, old_branch);
  erase_tree(old_branch);
  EXPECT_EQ(edge_length(entry->successors), 2);
  EXPECT_EQ(edge_memberp(kept, entry->successors)->prob, 0.75);
  EXPECT_EQ(edge_memberp(join, entry->successors)->prob, -1.0);
  EXPECT_FALSE(left->predecessors);
  EXPECT_TRUE(edge_memberp(entry, join->predecessors));
  EXPECT_EQ(edge_length(kept->predecessors), 1);

  NODE* first = kept->statements->tree;
  insert_stmt_before_stmt_in_bb(op(ASG, name(x), icon(9)), first, kept, nullptr);
  EXPECT_EQ(kept->statements->next->tree, first);

  join->predecessors = remove_edge(left, join->predecessors);
  delink_old_bb(left);
  EXPECT_FALSE(BB_is_in_bb_list(left));
  erase_tree_list(left->statements);
  erase_bblock(left);
  renumber_bblocks();
  verify_function("taking out");

  // The entry, too, when its successor takes its place.
  BBLK* second = entry->dflink;
  delink_old_bb(entry);
  EXPECT_EQ(currfuninfo->bb_list, second);
  EXPECT_FALSE(second->rdflink->dflink); // the chain backward is closed at the new entry
  erase_tree_list(entry->statements);
  for (BBLK* bb : {kept, join})
    bb->predecessors = remove_edge(entry, bb->predecessors);
  erase_bblock(entry);
}

// Numbers of the source's labels mean nothing once blocks have theirs.
TEST_F(Graph, LabelsAreFoundByTheirBlocksNumber) {
  label(2);
  stmt(op(PLUSASG, name(variable("x")), icon(1)));
  label(7);
  cbranch(name(variable("y")), 7);
  buildcfg();
  BBLK* loop = currfuninfo->bb_list->dflink;
  EXPECT_EQ(loop->label->number, 1);
  EXPECT_EQ(find_label(1), loop->label);
  EXPECT_EXIT(find_label(7), ::testing::ExitedWithCode(1), "INDEX=7");
}

TEST_F(Graph, UnknownAndRepeatedLabelsEndTheRun) {
  branch(7);
  EXPECT_EXIT(buildcfg(), ::testing::ExitedWithCode(1), "ERROR IN 'find_label', INDEX=7");
  erase_tree_list(currfuninfo->stmts);
  currfuninfo->stmts = nullptr;
  label(1);
  label(1);
  EXPECT_EXIT(buildcfg(), ::testing::ExitedWithCode(1), "Label 1 is defined twice");
}

// Random branches: whatever the graph, blocks come in reverse post-order, edges and branches agree,
// and nothing is lost by building it again.
TEST_F(Graph, RandomGraphs) {
  std::mt19937 random(20261122);
  for (int round = 0; round < 300; round++) {
    SYMTAB* x = variable("x");
    const int labels = 1 + static_cast<int>(random() % 12);
    for (int k = 0; k < labels; k++) {
      label(k);
      stmt(op(PLUSASG, name(x), icon(k)));
      switch (random() % 5) {
      case 0: branch(static_cast<int>(random() % labels)); break;
      case 1: cbranch(op(LT, name(x), icon(k)), static_cast<int>(random() % labels)); break;
      case 2: stmt(maketree(RETURN, mk_NAME(func), name(x), tp->mk_void())); break;
      case 3: {
        NODE* cases = nullptr;
        for (int n = 0; n < 4; n++) {
          NODE* item = maketree(CASE, icon(n), label_ref(static_cast<int>(random() % labels)),
                                tp->mk_void());
          cases = cases ? maketree(COMMA, cases, item, tp->mk_void()) : item;
        }
        stmt(maketree(SWITCH, name(x), cases, tp->mk_void()));
        break;
      }
      default: break;
      }
    }
    buildcfg();
    verify_function("building");
    // In reverse post-order each block but the entry has a predecessor that stands before it.
    for (BBLK* bb = currfuninfo->bb_list->dflink; bb; bb = bb->dflink) {
      bool entered = false;
      for (EDGE* e = bb->predecessors; e; e = e->rest)
        entered |= e->first->dfn < bb->dfn;
      EXPECT_TRUE(entered) << "round " << round << " " << bb->str();
    }
    const int count = currfuninfo->bb_count;
    rebuildcfg();
    verify_function("rebuilding");
    EXPECT_EQ(currfuninfo->bb_count, count);
    erase_all();
    currfuninfo->scope = LS::init(nullptr, func);
  }
}

TEST_F(Graph, NewLocalsAreNamedAfterTheirOriginAndType) {
  SYMTAB* sum = local("sum", tp->mk_long());
  EXPECT_STREQ(clone_symbol(sum, 7)->name, "sum$007");
  const SYMTAB* again = clone_symbol(clone_symbol(sum, 7), 12);
  EXPECT_STREQ(again->name, "sum$012") << "numbers don't pile up";
  EXPECT_EQ(again->type, sum->type);
  EXPECT_STREQ(clone_symbol(local("$5", sum->type), 1)->name, "$5$001");

  TYPE* pair = tp->mk_vector(tp->mk_plain_int(), false, 2, 32, 32);
  EXPECT_STREQ(new_vt_sym_temp(pair, "v", 3)->name, "$Ov$003$s16x2");
  EXPECT_STREQ(new_vt_sym_temp(tp->mk_fltpt(TYPE::F_FLOAT), "v", 4)->name, "$Ov$004$f32");
  EXPECT_TRUE(is_operator_new_symbol(gen_operator_new_temp(tp->mk_ptr(sum->type))));
  EXPECT_FALSE(is_operator_new_symbol(sum));

  SYMTAB* count = variable("count");
  EXPECT_EQ(find_widened_symbol_entry(count), nullptr);
  const SYMTAB* wide = make_widened_symbol_entry(count, tp->mk_long());
  EXPECT_EQ(make_widened_symbol_entry(count, tp->mk_long()), wide);
  EXPECT_EQ(find_widened_symbol_entry(count), wide);
  EXPECT_EQ(find_shortened_symbol_entry(count), nullptr);
  const SYMTAB* narrow = make_shortened_symbol_entry(sum, tp->mk_plain_int());
  EXPECT_EQ(find_shortened_symbol_entry(sum), narrow);
  EXPECT_EQ(narrow->size, 16u);
}
