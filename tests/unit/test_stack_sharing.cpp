// Stack sharing: what a text test can't see or would take too many lines for.
#include "tests/unit/ir_fixture.h"

#include "OPT5/alias.h"
#include "OPT5/stackshare.h"
#include "OPT5/treewalk.h"
#include "OPT5/verify.h"

// Blocks as the reader sees them, with variables that a statement names.
class StackSharing : public IrTest {
protected:
  void begin_block() {
    currfuninfo->scope->open(nullptr, func, 0);
    begin_stack_sharing_scope(0);
  }
  void end_block() {
    currfuninfo->scope->close(nullptr, func, 0);
    end_stack_sharing_scope();
  }
  SYMTAB* block_variable(const char* name, TYPE* type, unsigned align = 0) {
    SYMTAB* sym = local(name, type);
    sym->align = align;
    currfuninfo->scope->innermost_open()->add_symbol(sym);
    if (may_share_stack(sym)) add_stack_sharing_variable(sym);
    NODE* tree = maketree(UAND, mk_NAME(sym), nullptr, tp->mk_ptr(type));
    currfuninfo->scope->initialize_scopes_and_ptrs_from_tree(tree);
    stmt(tree);
    return sym;
  }
  // The object, or null.
  const SYMTAB* share() {
    buildcfg();
    build_stack_sharing_type();
    verify_function("stack sharing");
    EXPECT_FALSE(currfuninfo->sharing_root);
    return find_symbol_by_name("$O$S0", currfuninfo->incoming);
  }
  const LIST* statements() { return currfuninfo->bb_list->statements; }
  static long members_named(const NODE* tree) {
    long count = 0;
    walk_preorder(tree, [&count](const NODE* node) {
      count += node->op == STDOT;
      return true;
    });
    return count;
  }
};

TEST_F(StackSharing, OverlappingTypesMayAliasInThatFunctionOnly) {
  TYPE* integer = tp->mk_long();
  TYPE* real = tp->mk_fltpt(TYPE::F_FLOAT);
  EXPECT_FALSE(type_may_alias_type(integer, real));
  for (TYPE* element : {integer, real}) {
    begin_block();
    block_variable("v", tp->mk_array(element, 3));
    end_block();
  }
  ASSERT_TRUE(share());
  EXPECT_TRUE(type_may_alias_type(integer, real));
  EXPECT_FALSE(type_may_alias_type(integer, tp->basic[TYPE::I_LLONG]));
  currfuninfo = make_FUNINFO("another");
  EXPECT_FALSE(type_may_alias_type(integer, real));
  currfuninfo = find_FUNINFO(func);
}

TEST_F(StackSharing, AVariableKeepsItsAlignment) {
  TYPE* ints = tp->mk_array(tp->mk_plain_int(), 3);
  begin_block();
  block_variable("a", ints);
  block_variable("b", ints, 128);
  end_block();
  begin_block();
  TYPE* more = tp->mk_array(tp->mk_plain_int(), 10);
  block_variable("c", more);
  block_variable("wild", more, 48); // of no use as an alignment: stays alone
  block_variable("d", more);
  end_block();
  const SYMTAB* object = share();
  ASSERT_TRUE(object);
  EXPECT_EQ(object->align, 128u);
  EXPECT_EQ(object->size, 384u);
  const NODE* b = statements()->next->tree->left;
  ASSERT_EQ(b->op, STDOT);
  EXPECT_EQ(b->right->mval->bit_offset, 128);
  EXPECT_EQ(b->left->right->mval->bit_offset, 0);
  EXPECT_TRUE(find_symbol_by_name("wild", currfuninfo->incoming));
  EXPECT_FALSE(find_symbol_by_name("b", currfuninfo->incoming));
}

TEST_F(StackSharing, NothingIsBuiltWhereAlignmentEatsTheGain) {
  begin_block();
  block_variable("a", tp->mk_array(tp->mk_plain_int(), 1));
  end_block();
  begin_block();
  block_variable("b", tp->mk_array(tp->mk_plain_int(), 1), 32);
  end_block();
  EXPECT_FALSE(share());
}

TEST_F(StackSharing, NothingIsBuiltWhereOffsetsWouldNotFitInAFile) {
  for (const char* name : {"a", "b"}) {
    begin_block();
    block_variable(name, tp->mk_array(tp->mk_plain_int(), 1 << 27));
    end_block();
  }
  EXPECT_FALSE(share());
}

TEST_F(StackSharing, DeepNestingEndsInOneStructure) {
  const int depth = 2000;
  TYPE* ints = tp->mk_array(tp->mk_plain_int(), 2);
  for (int k = 0; k < depth; k++) {
    begin_block();
    block_variable("before", ints);
    end_block();
    begin_block();
    block_variable("around", ints);
  }
  for (int k = 0; k < depth; k++)
    end_block();
  const SYMTAB* object = share();
  ASSERT_TRUE(object);
  EXPECT_LT(object->size, 32ul * 2 * depth);
  EXPECT_GE(object->size, 32ul * depth);
  int seen = 0;
  for (const LIST* s = statements(); s->tree->op == UAND; s = s->next, seen++)
    EXPECT_LE(members_named(s->tree), 40);
  EXPECT_EQ(seen, 2 * depth);
}

TEST_F(StackSharing, OnlySymbolsWithAKnownAddressMayBeReached) {
  SYMTAB* taken = local("taken", tp->mk_array(tp->mk_plain_int(), 2));
  SYMTAB* destroyed = local("destroyed", taken->type);
  SYMTAB* plain = variable("plain");
  plain->set_is_aliased(true);
  stmt(mk_ASG(name(plain), icon(1)));
  stmt(maketree(UAND, mk_NAME(taken), nullptr, tp->mk_ptr(taken->type)));
  NODE* cleanup = maketree(UAND, mk_NAME(destroyed), nullptr, tp->mk_ptr(taken->type));
  currfuninfo->eht.push_back({0, 0, 0, 0, {}, cleanup});
  buildcfg();
  reset_alias_info();
  EXPECT_TRUE(taken->is_aliased());
  EXPECT_TRUE(destroyed->is_aliased());
  EXPECT_FALSE(plain->is_aliased());
}
