// A function to build trees and graphs in.
#pragma once

#include "OPT5/funinfo.h"
#include "OPT5/optables.h"
#include "OPT5/passes.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/types.h"

#include <gtest/gtest.h>

#include <cstring>

class IrTest : public ::testing::Test {
protected:
  void SetUp() override {
    tp = TYPE_PKG::init_type_pkg();
    init_opcode_tables();
    init_symbols();
    chars_alias_other_types = caot_ref = 1;
    func = new SYMTAB;
    func->name = strdup("f");
    func->type = func->otype = tp->mk_func(tp->mk_plain_int(), true, false, 0, false, {});
    currfunc = func;
    currfuninfo = make_FUNINFO(func);
    currfuninfo->scope = LS::init(nullptr, func);
  }

  void TearDown() override {
    erase_trees();
    EXPECT_EQ(currfuninfo->memory.live_nodes, 0) << "trees were lost";
    erase_all();
    erase_all_FUNINFOs();
    erase_all_symbols();
    erase_type_caches();
    delete tp;
    tp = nullptr;
    TYPE_PKG::tp_count--;
    currfunc = nullptr;
    currfuninfo = nullptr;
  }

  // Whatever hangs on the function.
  static void erase_trees() {
    FUNINFO* fi = currfuninfo;
    for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link) {
      erase_tree_list(bb->statements);
      bb->statements = nullptr;
    }
    erase_tree_list(fi->stmts);
    erase_tree_list(fi->global_assertions);
    erase_tree(fi->entry_tree);
    for (EHT_ITEM& item : fi->eht)
      erase_tree(item.cleanup);
  }

  SYMTAB* local(const char* name, TYPE* type, unsigned level = 2) {
    auto* sym = new SYMTAB;
    sym->name = strdup(name);
    sym->type = sym->otype = type;
    sym->size = type->size;
    sym->sclass = level == 1 ? SC_ARG : SC_AUTO;
    sym->level = level;
    sym->next = currfuninfo->incoming;
    currfuninfo->incoming = sym;
    return sym;
  }

  SYMTAB* variable(const char* name) { return local(name, tp->mk_plain_int()); }
  NODE* icon(long v) { return mk_ICON(v, tp->mk_plain_int()); }
  NODE* name(SYMTAB* sym) { return mk_NAME(sym); }
  NODE* op(int code, NODE* a, NODE* b = nullptr) {
    return maketree(code, a, b, tp->mk_plain_int());
  }

  // Statements are put down in order.
  void stmt(NODE* tree) {
    LIST* cell = mkelist(tree, nullptr, nullptr);
    (currfuninfo->stmts ? last_stmt->next : currfuninfo->stmts) = cell;
    last_stmt = cell;
  }
  void label(int number) {
    NODE* node = alloc_node(LABELDEF, tp->mk_void());
    node->ival = number;
    stmt(node);
  }
  NODE* label_ref(int number) {
    NODE* node = alloc_node(LABEL, tp->mk_void());
    node->ival = number;
    return node;
  }
  void branch(int number) { stmt(maketree(BRANCH, label_ref(number), nullptr, tp->mk_void())); }
  void cbranch(NODE* cond, int number) {
    stmt(maketree(CBRANCH, cond, label_ref(number), tp->mk_void()));
  }

  SYMTAB* func = nullptr;
  LIST* last_stmt = nullptr; // of the current function's list, unless that is empty
};
