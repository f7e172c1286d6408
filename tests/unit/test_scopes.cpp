// Scopes, what hangs on a function by its symbols, and what is told of functions.
#include "tests/unit/ir_fixture.h"

#include "OPT5/fileopt.h"
#include "OPT5/printtree.h"
#include "OPT5/procint.h"
#include "OPT5/restrict.h"
#include "OPT5/streams.h"
#include "OPT5/verify.h"
#include "OPT5/widen.h"

#include <string>

class Scopes : public IrTest {
protected:
  // What `print` writes to a file.
  template <class PRINT> static std::string printed(PRINT print) {
    char* text = nullptr;
    size_t length = 0;
    FILE* to = open_memstream(&text, &length);
    print(to);
    fclose(to);
    std::string result(text, length);
    free(text);
    return result;
  }
};

TEST_F(Scopes, Relations) {
  LS* root = currfuninfo->scope;
  EXPECT_EQ(root->level_0_scope(), root);
  LS* outer = root->level_2_scope();
  root->open(nullptr, func, 0);
  LS* first = root->innermost_open();
  root->open(nullptr, func, 0);
  LS* inner = root->innermost_open();
  root->close(nullptr, func, 0);
  root->close(nullptr, func, 0);
  root->open(nullptr, func, 0);
  LS* second = root->innermost_open();
  root->close(nullptr, func, 0);

  EXPECT_EQ(LS::innermost_common_scope(inner, second), outer);
  EXPECT_EQ(LS::innermost_common_scope(inner, first), first);
  EXPECT_EQ(LS::innermost_common_scope(nullptr, first), nullptr);
  LS* foreign = LS::init(nullptr, func);
  EXPECT_EQ(LS::innermost_common_scope(foreign, inner), nullptr);
  EXPECT_EXIT(foreign->level_2_scope(), ::testing::ExitedWithCode(1), "");
  LS::erase(foreign);
  EXPECT_TRUE(inner->is_strictly_contained_by(outer));
  EXPECT_FALSE(outer->is_strictly_contained_by(outer));
  EXPECT_FALSE(outer->is_strictly_contained_by(inner));
  // A symbol may hold a value in its scope, within it, and around it.
  SYMTAB* x = variable("x");
  x->scope = first;
  for (const LS* scope : {outer, first, inner})
    EXPECT_TRUE(scope->object_may_be_live_in_scope(x));
  EXPECT_FALSE(second->object_may_be_live_in_scope(x));
  NODE* tree = op(PLUS, name(x), icon(1));
  second->assign_scope_to_tree(tree);
  EXPECT_TRUE(tree->ls == second && tree->left->ls == second && tree->right->ls == second);
  erase_tree(tree);
}

TEST_F(Scopes, ATreeIsCopiedAndGraftedDeeper) {
  LS* root = currfuninfo->scope;
  SYMTAB* callee = local("callee", func->type);
  PSN *opened = make_psn("callee.c", 3, 1), *closed = make_psn("callee.c", 9, 1);
  LS* from = LS::init(opened, callee);
  from->open(opened, callee, 0);
  from->close(closed, callee, 0);
  from->open(opened, callee, 0); // two scopes side by side

  root->open(nullptr, func, 0);
  LS* inner = root->innermost_open();
  std::map<const LS*, LS*> copies;
  LS* copy = from->copy_scope_tree(copies);
  EXPECT_EQ(copies.size(), 5u);
  EXPECT_EQ(psn_search(opened), nullptr);
  copy->offset_scope(static_cast<unsigned>(inner->level), 1);
  EXPECT_EQ(psn_search(opened), callee);
  EXPECT_EQ(psn_search(closed), callee);
  inner->splice_scope(copy, 1);
  EXPECT_EXIT(inner->splice_scope(copy, 1), ::testing::ExitedWithCode(1), "");
  root->validate();
  EXPECT_EQ(copy->parent, inner);
  const LS* outer = from->first_child->first_child;
  EXPECT_EQ(copies[outer]->last_child, copies[outer->first_child->sibling]);
  EXPECT_EQ(copies[outer]->level, inner->level + 3);
  EXPECT_TRUE(inner->encloses(copies[outer->first_child]));
  EXPECT_EQ(from->level, 0) << "the original stays";

  variable("x"); // on no scope
  inner->add_symbol(variable("y"));
  EXPECT_EQ(printed([&](FILE* to) { inner->print(true, to, 1, true); }),
            " scope level 3\n"
            "   y\n"
            "   scope level 4, lines 3 to 0, of callee()\n"
            "     scope level 5, lines 3 to 0, of callee()\n"
            "       scope level 6, lines 3 to 0, of callee()\n"
            "         scope level 7, lines 3 to 9, of callee()\n"
            "         scope level 7, lines 3 to 0, of callee()\n");
  EXPECT_EQ(printed([&](FILE* to) { inner->print(false, to, 0, false); }), "scope level 3\n");
  LS::erase(from);
}

TEST_F(Scopes, BrokenOnesAreTold) {
  LS* root = currfuninfo->scope;
  LS* outer = root->level_2_scope();
  SYMTAB* x = variable("x");
  outer->add_symbol(x);
  stmt(op(ASG, name(x), icon(1)));
  buildcfg();
  verify_function("building");
  auto expect_fault = [](const char* told) {
    EXPECT_EXIT(verify_function("breaking"), ::testing::ExitedWithCode(1), told);
  };
  outer->level = 5;
  expect_fault("after breaking, function f.*a scope has a wrong level");
  EXPECT_EXIT(root->validate(), ::testing::ExitedWithCode(1), "a scope has a wrong level");
  outer->level = 2;
  outer->parent = root;
  expect_fault("doesn't name the scope around it");
  outer->parent = root->first_child;
  root->last_child = nullptr;
  expect_fault("isn't the end of its children");
  root->last_child = root->first_child;
  x->scope = root;
  expect_fault("a symbol of another one");
  x->scope = outer;

  // What another function owns.
  LS* foreign = LS::init(nullptr, func);
  SYMTAB* y = variable("y");
  y->scope = foreign;
  expect_fault("local of another function's scope: y");
  y->scope = nullptr;
  NODE* tree = currfuninfo->bb_list->statements->tree;
  tree->right->ls = foreign;
  expect_fault("scope of another function");
  tree->right->ls = outer;
  verify_function("mending");
  LS::erase(foreign);
}

// ---------------------------------------------------------------------------------------------
// Values of symbols

TEST_F(Scopes, ValuesOfSymbols) {
  SYMTAB *x = variable("x"), *y = variable("y"), *z = variable("z");
  SNMAP& map = currfuninfo->symbol_maps.values;
  NODE* sum = op(PLUS, name(y), icon(1));
  map.set_value(x, nullptr);
  EXPECT_FALSE(map.changed);
  map.set_value(x, sum);
  EXPECT_TRUE(map.changed);
  NODE* other = icon(7);
  map.set_value(x, other); // has one
  map.set_value(z, other);
  erase_tree(other);
  NODE* value = map.value(x, false);
  EXPECT_NE(value, sum);
  EXPECT_TRUE(trees_are_congruent(value, sum));
  erase_tree(value);
  erase_tree(sum);
  EXPECT_EQ(map.value(y, false), nullptr);
  EXPECT_EQ(printed([&](FILE* to) { map.print(to); }), "\tx = PLUS(y, 1)\n\tz = 7\n");
  map.changed = false;
  map.remove(y); // x's value names it
  EXPECT_TRUE(map.changed);
  EXPECT_EQ(map.count(), 1u);
  EXPECT_EQ(map.value(x, false), nullptr);
  EXPECT_EXIT(map.value(nullptr, false), ::testing::ExitedWithCode(1), "");
  EXPECT_EXIT(map.remove(nullptr), ::testing::ExitedWithCode(1), "");

  SPMAP& pointees = currfuninfo->symbol_maps.pointees;
  SPMAP_set_pointee(pointees, x, y);
  SPMAP_set_pointee(pointees, x, z); // is bound
  EXPECT_EQ(SPMAP_pointee(pointees, x), y);
  EXPECT_EQ(SPMAP_pointee(pointees, y), nullptr);
  currfuninfo->symbol_maps.clear(); // the fixture counts trees
  EXPECT_EQ(map.count(), 0u);
}

// ---------------------------------------------------------------------------------------------
// Wider locals

TEST_F(Scopes, LocalsGetTheirWiderPartners) {
  SYMTAB *i = variable("i"), *taken = variable("taken"), *stepped = variable("stepped"),
         *plain = variable("plain"), *port = local("port", tp->mk_qual(i->type, TYPE::Q_VOLATILE)),
         *temp = sym_temp('C', -1, i->type, nullptr), *n = local("n", i->type, 1);
  stmt(op(ASG, name(i), op(PLUS, name(i), name(plain))));
  stmt(op(PLUSASG, name(i), name(n)));
  stmt(op(ASG, name(plain), op(ASG, name(i), icon(3))));
  stmt(maketree(UAND, name(taken), nullptr, tp->mk_ptr(i->type)));
  stmt(op(PLUSPLUS, name(stepped), icon(1)));
  stmt(op(ASG, name(port), name(temp)));
  stmt(maketree(RETURN, name(func), name(i), tp->mk_void()));
  currfuninfo->return_type = i->type;
  sym_split(currfuninfo);
  buildcfg();
  for (SYMTAB* sym : {i, taken, stepped, port, temp, n})
    make_widened_symbol_entry(sym, tp->mk_long());
  const std::string wide = find_widened_symbol_entry(i)->name;
  sym_split(currfuninfo);
  widen_user_variables();
  widen_user_variables(); // nothing is left to do
  verify_function("widening");

  std::string text;
  for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      if (s->tree->op != BRANCH && s->tree->op != URETURN) text += tree_text(s->tree) + "\n";
  std::string wanted = "ASG(@, SCONV:long(PLUS(SCONV:int(@), plain)))\n"
                       "ASG(@, SCONV:long(PLUS(SCONV:int(@), n)))\n"
                       "ASG(plain, SCONV:int(ASG(@, 3:long)))\n"
                       "UAND(taken)\n"
                       "PLUSPLUS(stepped, 1)\n"
                       "ASG:int(port, $O$C0)\n"
                       "RETURN(f, SCONV:int(@))\n";
  for (size_t at; (at = wanted.find('@')) != std::string::npos;)
    wanted.replace(at, 1, wide);
  EXPECT_EQ(text, wanted);
  EXPECT_FALSE(symbol_in_list(i, currfuninfo->reg_candidates));
  EXPECT_TRUE(symbol_in_list(stepped, currfuninfo->reg_candidates));
}

// ---------------------------------------------------------------------------------------------
// Groups of pointers

TEST_F(Scopes, PointersAreGroupedByTheirOrigin) {
  TYPE* pointer = tp->mk_ptr(tp->mk_plain_int());
  TYPE* restricted = tp->mk_qual(pointer, TYPE::Q_RESTRICT);
  LS* root = currfuninfo->scope;
  auto in_scope = [&](const char* text, TYPE* type, unsigned level) {
    SYMTAB* sym = local(text, type, level);
    (level == 1 ? root->level_1_scope() : root->level_2_scope())->add_symbol(sym);
    return sym;
  };
  auto p = [&](const char* text) { return in_scope(text, pointer, 2); };
  SYMTAB *a = in_scope("a", restricted, 1), *b = in_scope("b", pointer, 1);
  SYMTAB *q = p("q"), *r = p("r"), *s = p("s"), *loaded = p("loaded"), *stored = p("stored"),
         *exposed = p("exposed"), *passed = p("passed"), *as_int = p("as_int"), *fresh = p("fresh");
  SYMTAB* table = local("table", tp->mk_ptr(pointer));
  SYMTAB* file_level = new SYMTAB;
  file_level->name = strdup("file_level");
  file_level->type = file_level->otype = pointer;
  SYMTAB* x = variable("x");
  auto value = [](SYMTAB* sym) { return mk_NAME(sym); };
  auto asg = [&](SYMTAB* to, NODE* tree) { stmt(maketree(ASG, value(to), tree, to->type)); };
  auto plus = [&](SYMTAB* sym) { return maketree(PLUS, value(sym), icon(1), pointer); };
  auto load = [&] { return maketree(UMULT, value(table), nullptr, pointer); };
  auto address = [&](SYMTAB* sym) {
    return maketree(UAND, value(sym), nullptr, tp->mk_ptr(sym->type));
  };
  asg(q, plus(a));
  asg(r, maketree(PCONV, plus(q), nullptr, pointer));
  asg(s, value(b));
  asg(x, maketree(UMULT, plus(s), nullptr, x->type)); // looking is no escape
  asg(loaded, load());
  stmt(maketree(ASG, load(), value(stored), pointer));
  asg(table, address(exposed));
  TYPE* takes = tp->mk_func(tp->mk_void(), true, false, 0, false, {{pointer, 0, nullptr}});
  stmt(maketree(CALL, address(local("g", takes)), value(passed), tp->mk_void()));
  asg(x, maketree(SCONV, plus(as_int), nullptr, x->type));
  asg(fresh, address(x));
  asg(file_level, value(fresh));
  buildcfg();
  root->build_PTR_equivalence_groups();

  const PTR* bottom = make_bottom_PTR_entry();
  auto entry = [](SYMTAB* sym) {
    PTR* found = find_PTR_entry(sym, nullptr);
    found->validate();
    return found;
  };
  for (SYMTAB* sym : {a, q, r})
    EXPECT_EQ(entry(sym)->root, entry(a)->root) << sym->name;
  for (SYMTAB* sym : {b, s})
    EXPECT_EQ(entry(sym)->root, entry(b)->root) << sym->name;
  EXPECT_NE(entry(a)->root, entry(b)->root);
  EXPECT_FALSE(entry(a)->root->is_bottom || entry(b)->root->is_bottom);
  for (SYMTAB* sym : {loaded, stored, exposed, passed, as_int, file_level, fresh})
    EXPECT_EQ(entry(sym)->root, bottom) << sym->name;
  for (SYMTAB* sym : {a, q, r, b, s, fresh})
    EXPECT_EQ(entry(sym)->is_restricted, sym == a || sym == q || sym == r) << sym->name;
  EXPECT_TRUE(entry(fresh)->is_reassigned);
  EXPECT_FALSE(entry(q)->is_reassigned);
  const std::string text = printed(print_PTRs);
  EXPECT_NE(text.find("#-|-:\t<LATTICE BOTTOM>\n"), std::string::npos);
  EXPECT_NE(text.find("|1:\ta restricted parameter\n  ROOT:  #"), std::string::npos) << text;

  // Building again starts anew.
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    for (LIST* l = bb->statements; l; l = l->next)
      if (l->tree->op == ASG && l->tree->left->op == NAME && l->tree->left->u.sym == s) {
        erase_tree(l->tree);
        l->tree = op(ASG, name(x), icon(0));
      }
  root->build_PTR_equivalence_groups();
  EXPECT_TRUE(entry(s)->is_a_root());
  EXPECT_NE(entry(s)->root, entry(b)->root);
}

TEST_F(Scopes, MembersThatArePointersAreGrouped) {
  TYPE* pointer = tp->mk_ptr(tp->mk_plain_int());
  TYPE* csu = tp->mk_struct("s");
  fkMDATA data;
  data.name = "m";
  data.type = pointer;
  data.number = 1;
  fkMDATA* member = tp->add_member(csu, data);
  csu->size = pointer->size;
  csu->align = 16;
  SYMTAB *a = local("a", csu), *copied = local("copied", csu), *p = local("p", pointer),
         *q = local("q", pointer);
  auto access = [&](SYMTAB* sym) {
    NODE* field = alloc_node(FIELD, pointer);
    field->mk_field(0, member, csu);
    return maketree(STDOT, name(sym), field, pointer);
  };
  stmt(maketree(ASG, access(a), name(p), pointer));
  stmt(maketree(ASG, name(q), access(copied), pointer));
  stmt(maketree(STASG, name(local("to", csu)), name(copied), csu));
  buildcfg();
  currfuninfo->scope->build_PTR_equivalence_groups();
  const PTR* of_a = find_PTR_entry(a, member);
  ASSERT_TRUE(of_a);
  EXPECT_EQ(of_a->root, find_PTR_entry(p, nullptr)->root);
  EXPECT_FALSE(of_a->root->is_bottom);
  EXPECT_TRUE(find_PTR_entry(q, nullptr)->root->is_bottom);
}
