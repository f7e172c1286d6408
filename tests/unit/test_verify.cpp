// The verifier: what it refuses, and that looking changes nothing.
#include "tests/unit/ir_fixture.h"

#include "OPT5/alias.h"
#include "OPT5/dominator.h"
#include "OPT5/livevars.h"
#include "OPT5/loop.h"
#include "OPT5/properties.h"
#include "OPT5/treewalk.h"
#include "OPT5/verify.h"

#include <string>

class Verifier : public IrTest {
protected:
  // if (x) x = 1; x = 2;
  void SetUp() override {
    IrTest::SetUp();
    x = variable("x");
    cbranch(name(x), 1);
    stmt(op(ASG, name(x), icon(1)));
    label(1);
    stmt(op(ASG, name(x), icon(2)));
    buildcfg();
    verify_function("building");
  }

  // What is told of the function as it is now; it ends the process, so in a child.
  void expect_fault(const char* text) {
    EXPECT_EXIT(verify_function("breaking"), ::testing::ExitedWithCode(1), text);
  }

  BBLK* entry() { return currfuninfo->bb_list; }
  SYMTAB* x = nullptr;
};

TEST_F(Verifier, NamesWhatIsBrokenInTheGraph) {
  BBLK* middle = entry()->dflink;
  EDGE* kept = middle->predecessors;
  middle->predecessors = nullptr;
  expect_fault("after breaking, function f.*edge without its reverse in BB1");
  middle->predecessors = mkedge(middle, kept);
  expect_fault("a predecessor does not lead here: BB2");
  middle->predecessors = kept;
  kept = entry()->successors;
  entry()->successors = kept->rest;
  expect_fault("branch without an edge in BB1");
  entry()->successors = mkedge(entry(), kept);
  expect_fault("edge without a branch in BB1");
  entry()->successors = mkedge(kept->first, kept);
  expect_fault("an edge twice");
  entry()->successors = kept;
  verify_function("mending");
}

TEST_F(Verifier, NamesWhatIsBrokenInTrees) {
  LIST* last = entry()->dflink->statements;
  NODE* kept = last->tree->right;
  last->tree->right = last->tree->left;
  expect_fault("shared node");
  last->tree->right = nullptr;
  expect_fault("wrong number of operands");
  last->tree->right = mk_NAME(new SYMTAB);
  last->tree->right->u.sym->name = strdup("stray");
  last->tree->right->u.sym->level = 2;
  last->tree->right->type = x->type;
  expect_fault("local not on the function's lists: stray");
  erase_tree(last->tree->right);
  last->tree->right = kept;
  verify_function("mending");
}

// A call must pass what the prototype wants, directly and through a pointer, in either form.
TEST_F(Verifier, CountsArguments) {
  TYPE* wants_two =
      tp->mk_func(tp->mk_plain_int(), true, false, 0, false,
                  {{tp->mk_plain_int(), 0, nullptr}, {tp->mk_plain_int(), 0, nullptr}});
  TYPE* wants_some =
      tp->mk_func(tp->mk_plain_int(), true, true, 0, false, {{tp->mk_plain_int(), 0, nullptr}});
  auto fault_of = [&](TYPE* type, int args, bool by_pointer) {
    SYMTAB* callee = local("callee", by_pointer ? tp->mk_ptr(type) : type);
    NODE* target =
        by_pointer ? name(callee) : maketree(UAND, name(callee), nullptr, tp->mk_ptr(type));
    NODE* list = nullptr;
    for (int k = 0; k < args; k++)
      list = list ? maketree(COMMA, list, icon(k), tp->mk_void()) : icon(k);
    NODE* call = maketree(args ? CALL : UCALL, target, list, tp->mk_plain_int());
    const char* fault = verify_statement(call);
    erase_tree(call);
    return std::string(fault ? fault : "");
  };
  for (bool by_pointer : {false, true}) {
    for (int args = 0; args <= 3; args++) {
      EXPECT_EQ(fault_of(wants_two, args, by_pointer), args == 2 ? "" : "wrong number of arguments")
          << args;
      EXPECT_EQ(fault_of(wants_some, args, by_pointer),
                args >= 1 ? "" : "wrong number of arguments")
          << args;
    }
  }
}

TEST_F(Verifier, LooksOnly) {
  auto state = [&] {
    std::string text = std::to_string(currfuninfo->memory.live_nodes) + " " +
                       std::to_string(currfuninfo->memory.arena.size());
    for (const BBLK* bb = entry(); bb; bb = bb->dflink)
      for (const LIST* s = bb->statements; s; s = s->next)
        walk_preorder(s->tree, [&](const NODE* node) {
          text += " " + std::to_string(node->op) + ":" + std::to_string(node->scan_marks[0]) + ":" +
                  std::to_string(node->scan_marks[1]);
          if (node->label && node->op == LABEL) text += "/" + std::to_string(node->label->refcount);
          return true;
        });
    return text;
  };
  currfuninfo->dominators = new Dominator;
  currfuninfo->dominators->stale = false;
  const std::string before = state();
  verify_function("looking");
  EXPECT_EQ(state(), before);
  EXPECT_FALSE(currfuninfo->dominators->stale);
}

// What a step leaves for others: built when it is needed, dropped when it isn't kept, and what is
// claimed wrongly is told.
TEST_F(Verifier, PropertiesAreBuiltDroppedAndJudged) {
  EXPECT_EQ(claimed_properties(), GRAPH);
  assure_properties(GRAPH | ALIASES);
  EXPECT_EQ(claimed_properties(), GRAPH | ALIASES);
  verify_properties("building");

  // An address is taken behind the marks' back.
  NODE* address = maketree(UAND, name(x), nullptr, tp->mk_ptr(x->type), nullptr);
  LIST*& statements = entry()->statements;
  statements = mkelist(address, statements, nullptr);
  EXPECT_EXIT(verify_properties("breaking"), ::testing::ExitedWithCode(1),
              "after breaking, function f.*a local whose address is taken");
  drop_properties(ALIASES);
  verify_properties("dropping");
  assure_properties(ALIASES);
  EXPECT_TRUE(x->is_aliased());
  drop_properties(LIVES_BETWEEN_STEPS & ~ALIASES); // the others only
  EXPECT_EQ(claimed_properties(), GRAPH | ALIASES);

  statements = mkelist(name(variable("z")), statements, nullptr);
  sym_split(currfuninfo);
  constexpr unsigned OTHERS = DOMINATORS | LOOPS | LIVE_SETS;
  assure_properties(OTHERS);
  assure_properties(DOMINATORS); // which the preheaders of loops made stale
  EXPECT_EQ(claimed_properties(), GRAPH | OTHERS | ALIASES);
  verify_properties("building");
  auto breaking = [](auto damage, const char* told) {
    EXPECT_EXIT((damage(), verify_properties("breaking")), ::testing::ExitedWithCode(1), told);
  };
  Dominator& dominators = *currfuninfo->dominators;
  breaking([&] { dominators.idom.back()++; }, "f.*dominators are out of date");
  breaking([&] { dominators.ipostdom[1] = 1; }, "f.*post-dominators are out of date");
  breaking([] { currfuninfo->loop_root->level = 3; },
           "f.*Loop 0 has incorrect level \\(3 --> 0\\)");
  breaking([&] { entry()->live_out->bv_set_all(); }, "f.*live sets are out of date");
  drop_properties(OTHERS);
  EXPECT_EQ(claimed_properties(), GRAPH | ALIASES);
  EXPECT_EQ(entry()->live_in, nullptr);
  EXPECT_EQ(entry()->loop, nullptr);

  for (bool* form : {&trees_are_normalized, &function_is_in_SSA_form}) {
    *form = true;
    EXPECT_EXIT(verify_properties("leaving"), ::testing::ExitedWithCode(1), "within a step only");
    *form = false;
  }
}
