// The small words of the optimiser that passes are made of: makers, copies, questions and lists.
#include "tests/unit/ir_fixture.h"

#include "OPT5/printtree.h"

#include <memory>

class Vocabulary : public IrTest {
protected:
  // f(x, ...) as a direct call of a function of the file.
  NODE* call(SYMTAB* callee, NODE* args) {
    return maketree(CALL, maketree(UAND, name(callee), nullptr, tp->mk_ptr(callee->type)), args,
                    tp->mk_plain_int());
  }
  SYMTAB* function(const char* text) {
    auto* sym = new SYMTAB;
    sym->name = strdup(text);
    sym->type = sym->otype = func->type;
    enter_global_symbol(sym);
    return sym;
  }
};

TEST_F(Vocabulary, Makers) {
  SYMTAB* x = variable("x");
  NODE* tree = mk_MINUS(mktree(NAME, nullptr, nullptr, x->type, x, 0),
                        mktree(ICON, nullptr, nullptr, x->type, nullptr, 7), x->type);
  EXPECT_EQ(tree_text(tree), "MINUS(x, 7)");
  erase_tree(tree);
  // A built-in without arguments has an operator of its own.
  for (NODE* args : {static_cast<NODE*>(nullptr), name(x)}) {
    NODE* builtin = mk_MCALL("_state", args, x->type);
    EXPECT_EQ(builtin->op, args ? MCALL : UMCALL);
    EXPECT_STREQ(builtin->u.callee, "_state");
    erase_tree(builtin);
  }
}

TEST_F(Vocabulary, LabelsCountTheirReferences) {
  SYMTAB* x = variable("x");
  cbranch(name(x), 1);
  stmt(op(ASG, name(x), icon(1)));
  label(1);
  stmt(op(ASG, name(x), icon(2)));
  buildcfg();
  BBLK* target = currfuninfo->bb_list->successors->first;
  const int before = target->label->refcount, number = target->label->number;
  NODE* two = mk_LABELREF(number, 2);
  EXPECT_EQ(two->label, target->label);
  EXPECT_EQ(target->label->refcount, before + 2);
  NODE* place = mk_LABELDEF(target->label);
  EXPECT_EQ(place->label_id(), number);
  EXPECT_EQ(target->label->refcount, before + 2); // a place is no reference
  NODE* branch = mk_BRANCH(target, nullptr);
  NODE* copy = copy_tree(branch, true);
  EXPECT_EQ(target->label->refcount, before + 4); // a copy refers to it, too
  erase_tree(copy);
  erase_tree(branch);
  EXPECT_EQ(target->label->refcount, before + 2);
  two->op = place->op = NOP;
  erase_tree(two);
  erase_tree(place);

  EXPECT_TRUE(sym_appears_in_bb(x, target));
  EXPECT_FALSE(sym_appears_in_bb(variable("other"), target));

  // Branches of statements that stand alone follow a block's replacement.
  BBLK* entry = currfuninfo->bb_list;
  BBLK* middle = split_cfg_edge(entry, target);
  LIST* alone = mkelist(mk_BRANCH(target, nullptr), nullptr, nullptr);
  subst_bb_for_bb_in_stmts(middle, target, alone);
  EXPECT_EQ(alone->tree->left->label->bb, middle);
  erase_tree_list(alone);
  // Equal blocks keep their order, and stay.
  EDGE* list = mkedge(target, mkedge(entry, mkedge(target, mkedge(middle, nullptr))));
  list->prob = 0.25;
  list = sort_edge_list(list);
  EXPECT_EQ(edge_length(list), 4);
  EXPECT_EQ(list->first, entry);
  EXPECT_EQ(list->rest->first, middle->dfn < target->dfn ? middle : target);
  const EDGE* first_target = edge_memberp(target, list);
  EXPECT_EQ(first_target->prob, 0.25);
  erase_edge_list(list);
}

TEST_F(Vocabulary, Copies) {
  SYMTAB* x = variable("x");
  NODE* sum = op(PLUS, name(x), icon(1));
  EXPECT_EQ(copy_node_if_changed(sum, sum->left, sum->right), sum);
  NODE* two = icon(2);
  NODE* other = copy_node_if_changed(sum, sum->left, two);
  EXPECT_NE(other, sum);
  EXPECT_EQ(tree_text(other), "PLUS(x, 2)");
  other->left = nullptr; // is sum's
  erase_tree(other);

  // Only the copy with the records keeps what dependence analysis found.
  sum->left->own_facts().dd_info = current_memory().arena.make<DD_INFO>();
  LIST* list = mkelist(sum, nullptr, nullptr);
  LIST* plain = copy_statements(list, true);
  LIST* with_records = copy_dd_statements(list, true);
  EXPECT_EQ(plain->tree->left->dd_info(), nullptr);
  ASSERT_NE(with_records->tree->left->dd_info(), nullptr);
  EXPECT_NE(with_records->tree->left->dd_info(), sum->left->dd_info());
  for (LIST* l : {list, plain, with_records})
    erase_tree_list(l);
}

TEST_F(Vocabulary, QuestionsAboutTrees) {
  SYMTAB *x = variable("x"), *y = variable("y");
  SYMTAB* callee = function("callee");
  NODE* inner = call(callee, name(x));
  NODE* tree = op(PLUS, call(callee, inner), icon(1));
  NODE* wanted = name(y);
  EXPECT_EQ(count_calls_in_tree(tree), 2);
  EXPECT_FALSE(tree_references_NAME(tree, wanted));
  wanted->u.sym = x;
  EXPECT_TRUE(tree_references_NAME(tree, wanted));
  EXPECT_TRUE(tree_is_strict_subtree_of_tree(inner, tree));
  EXPECT_FALSE(tree_is_strict_subtree_of_tree(tree, tree));
  EXPECT_FALSE(tree_is_strict_subtree_of_tree(wanted, tree));
  EXPECT_EQ(find_FUNINFO_for_call(inner), nullptr);
  FUNINFO* record = make_FUNINFO(callee);
  EXPECT_EQ(find_FUNINFO_for_call(inner), record);
  NODE* indirect =
      maketree(CALL, name(local("pf", tp->mk_ptr(func->type))), icon(1), tp->mk_plain_int());
  EXPECT_EQ(find_FUNINFO_for_call(indirect), nullptr);
  // Trees with effects are congruent only where that was asked for.
  NODE* again = copy_tree(tree, true);
  EXPECT_FALSE(trees_are_congruent(tree, again));
  EXPECT_TRUE(trees_are_congruent_se_ok(tree, again));
  for (NODE* t : {tree, wanted, indirect, again})
    erase_tree(t);
}

TEST_F(Vocabulary, Cells) {
  SYMTAB *a = variable("a"), *b = variable("b"), *c = variable("c");
  SYMLIST* list = mk_symlist(a, mk_symlist(b, mk_symlist(a, nullptr)));
  list = revsymlist(remove_sym_from_symlist(a, list)); // the first of them
  EXPECT_EQ(list->sym, a);
  EXPECT_EQ(list->next->sym, b);
  EXPECT_EQ(find_sym_in_symlist(b, list), list->next);
  EXPECT_EQ(find_sym_in_symlist(c, list), nullptr);
  free_symlist(list);

  NODE* value = icon(3);
  SYMALIST* values = revsymalist(mk_symalist(a, value, mk_symalist(b, nullptr, nullptr, 1), 2));
  EXPECT_EQ(values->sym, b);
  EXPECT_EQ(values->next->info, 2);
  EXPECT_EQ(values->next->tree, value);
  delete values->next;
  delete values;
  NODELIST nodes{value, nullptr};
  NODEPAIRLIST pairs{value, nullptr, nullptr};
  LIST* statement = mklist(value, nullptr);
  EXPECT_EQ(nl_left_child(&nodes), value);
  EXPECT_EQ(pair_left_child(&pairs), value);
  EXPECT_EQ(list_left_child(statement), value);
  erase_tree_list(statement);

  SYMTAB*& locals = currfuninfo->incoming; // c, b, a
  EXPECT_TRUE(symbol_in_list(b, locals));
  locals = unlink_symbol(b, locals);
  EXPECT_FALSE(symbol_in_list(b, locals));
  EXPECT_EQ(b->next, nullptr);
  locals = unlink_symbol(b, locals); // isn't there
  EXPECT_TRUE(symbol_in_list(a, locals) && symbol_in_list(c, locals));
  b->next = locals;
  locals = b;

  auto pragma = [](int kind, PRAGMA* next) {
    auto* made = new PRAGMA;
    made->kind = kind;
    made->next = next;
    return made;
  };
  a->pragmas = pragma('J', pragma('K', pragma('J', nullptr)));
  a->pragmas = remove_pragma('J', a->pragmas);
  EXPECT_FALSE(symbol_has_pragma(a, 'J'));
  EXPECT_TRUE(symbol_has_pragma(a, 'K'));
}

TEST_F(Vocabulary, InternedSymbolsAreOnes) {
  SYMTAB* x = variable("x");
  EXPECT_EQ(find_interned_symbol(x), nullptr);
  NODE* tree = op(PLUS, name(x), name(x));
  NODE* copy = copy_tree_0(tree, currfuninfo);
  SYMTAB* interned = copy->left->u.sym;
  EXPECT_EQ(copy->right->u.sym, interned);
  EXPECT_EQ(find_interned_symbol(interned), interned);
  static int visits;
  visits = 0;
  map_over_interned_symbols([](SYMTAB*) { visits++; });
  EXPECT_GE(visits, 1);
  NODE* plain = copy_tree_0(tree, nullptr);
  EXPECT_EQ(plain->left->u.sym, x);
  for (NODE* t : {tree, copy, plain})
    erase_tree(t);
  for (const char* text : {"$O$Lr12", "$O$L12", "x"}) {
    SYMTAB* sym = variable(text);
    EXPECT_EQ(is_LIR_temp(sym), strcmp(text, "$O$Lr12") == 0) << text;
    EXPECT_EQ(is_internal_symbol(sym), is_internal_name(text)) << text;
  }
}

TEST_F(Vocabulary, TypesOfOperators) {
  TYPE *i = tp->mk_plain_int(), *l = tp->mk_long(), *s = tp->mk_char();
  TYPE* p = tp->mk_ptr(l);
  const struct {
    int op;
    TYPE *a, *b, *result;
  } rows[] = {
      {PLUS, i, l, l},   {PLUS, p, i, p}, {MINUS, p, p, tp->mk_ptrdiff()}, {MINUS, p, i, p},
      {LT, l, l, i},     {ASG, s, l, s},  {SLL, s, l, promoted_type(s)},   {NOTB, l, nullptr, l},
      {COMMAOP, i, p, p}};
  for (const auto& row : rows)
    EXPECT_EQ(operator_type_for_operand_types(row.op, row.a, row.b), row.result) << row.op;
  EXPECT_EQ(get_complex_type(l)->elem_type(), l);
  // A name's type follows its symbol's, qualifiers too, but never to another size.
  SYMTAB* x = variable("x");
  NODE* node = name(x);
  x->type = tp->mk_qual(i, TYPE::Q_VOLATILE);
  fix_type_info(node);
  EXPECT_EQ(node->type, x->type);
  x->type = l;
  fix_type_info(node);
  EXPECT_TRUE(node->type->is_volatile());
  erase_tree(node);
}

TEST_F(Vocabulary, Members) {
  TYPE* csu = tp->mk_struct("s");
  auto member = [csu](const char* text, TYPE* type, long at, unsigned bits) {
    fkMDATA data;
    data.name = text;
    data.type = type;
    data.number = static_cast<unsigned>(csu->csu_parts()->members.size()) + 1;
    data.bit_offset = at;
    data.bit_size = bits;
    return tp->add_member(csu, data);
  };
  fkMDATA* plain = member("plain", tp->mk_plain_int(), 0, 0);
  fkMDATA* bits = member("bits", tp->mk_plain_int(), 16, 3);
  fkMDATA* uneven = member("uneven", tp->mk_long(), 48, 0);
  fkMDATA* even = member("even", tp->mk_long(), 96, 0);
  csu->size = 128;
  csu->align = 16;
  SYMTAB* x = local("x", csu);
  auto access = [&](fkMDATA* which) {
    NODE* field = alloc_node(FIELD, which->type);
    field->mk_field(0, which, csu);
    return maketree(STDOT, name(x), field, which->type);
  };
  const struct {
    fkMDATA* which;
    bool preserved, packed;
  } rows[] = {
      {plain, false, false}, {bits, true, true}, {uneven, false, true}, {even, false, false}};
  for (const auto& row : rows) {
    NODE* tree = access(row.which);
    EXPECT_EQ(tree_text(tree), std::string("STDOT(x, .") + row.which->name + ")");
    EXPECT_EQ(must_preserve_STDOT(tree), row.preserved) << row.which->name;
    EXPECT_EQ(tree_points_to_packed(tree), row.packed) << row.which->name;
    EXPECT_TRUE(is_field_member_of_type(tree->right, csu));
    EXPECT_FALSE(is_field_member_of_type(tree->right, tp->mk_struct("other")));
    erase_tree(tree);
  }
}

TEST_F(Vocabulary, WhatBelongsToAnOperatorsNodeIsCompared) {
  SYMTAB* x = variable("x");
  auto call_with = [&](unsigned eh_entry, unsigned vargs) {
    NODE* node = call(function("g"), icon(1));
    node->eh_entry = eh_entry;
    node->vargs = vargs;
    return node;
  };
  auto bare_call = [&](unsigned eh_entry) {
    NODE* place = maketree(UAND, name(func), nullptr, tp->mk_ptr(func->type));
    NODE* node = maketree(UCALL, place, nullptr, tp->mk_plain_int());
    node->eh_entry = eh_entry;
    return node;
  };
  auto mark = [&](int bits, int locale) {
    NODE* node = maketree(DDNODE, name(x), nullptr, x->type);
    node->ival = 1;
    node->dd_flags = bits;
    node->dd_locale = locale;
    return node;
  };
  const struct {
    NODE *a, *b;
    bool congruent;
  } rows[] = {{bare_call(1), bare_call(1), true},
              {bare_call(1), bare_call(2), false},
              {mark(1, 2), mark(1, 2), true},
              {mark(1, 2), mark(1, 3), false},
              {mark(1, 2), mark(2, 2), false}};
  for (const auto& row : rows) {
    EXPECT_EQ(trees_are_congruent_se_ok(row.a, row.b), row.congruent) << tree_text(row.b);
    erase_tree(row.a);
    erase_tree(row.b);
  }
  NODE* call_tree = call_with(1, 1);
  for (unsigned which = 0; which < 4; which++) {
    NODE* other = copy_tree(call_tree, false);
    if (which & 1) other->eh_entry = 2;
    if (which & 2) other->vargs = 0;
    EXPECT_EQ(trees_are_congruent_se_ok(call_tree, other), which == 0) << which;
    erase_tree(other);
  }
  erase_tree(call_tree);
}

TEST_F(Vocabulary, Names) {
  EXPECT_STREQ(skip_name_prefix("_main"), "main");
  EXPECT_STREQ(skip_name_prefix(".main"), "main");
  EXPECT_STREQ(skip_name_prefix("main"), "main");
  std::string calls;
  for (int code = 0; code < OPCODE_COUNT; code++)
    if (op_is_call(code)) calls += std::string(node_operator_name[code]) + " ";
  EXPECT_EQ(calls, "CALL UCALL ICALL UICALL MCALL UMCALL ");
  // The address of what changes by itself stays as it is.
  SYMTAB* port = local("port", tp->mk_qual(tp->mk_plain_int(), TYPE::Q_VOLATILE));
  auto address = [&](SYMTAB* sym) {
    return maketree(UAND, name(sym), nullptr, tp->mk_ptr(sym->type));
  };
  NODE *place = address(port), *again = address(port), *other = address(local("other", port->type));
  EXPECT_TRUE(trees_are_congruent(place, again));
  EXPECT_FALSE(trees_are_congruent(place, other));
  for (NODE* t : {place, again, other})
    erase_tree(t);
}

TEST_F(Vocabulary, ConstantsOfEachKind) {
  NODE* leaves[] = {icon(3), alloc_node(FCON, tp->mk_fltpt(TYPE::F_FLOAT)),
                    alloc_node(SCON, tp->mk_plain_int()), name(variable("x"))};
  for (NODE* leaf : leaves) {
    EXPECT_EQ(expr_is_constant(leaf), leaf->op != NAME) << leaf->op;
    erase_node(leaf);
  }
  NODE* sum = op(PLUS, icon(1), op(UMINUS, icon(2)));
  EXPECT_TRUE(expr_is_constant(sum));
  sum = op(PLUS, sum, op(ASG, name(variable("y")), icon(2)));
  EXPECT_FALSE(expr_is_constant(sum));
  erase_tree(sum);
}
