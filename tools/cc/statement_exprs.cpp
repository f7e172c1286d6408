// Statement expressions. Declarations and expressions become operands of commas; for all else the
// statements go ahead of the full expression, where C leaves their order to the compiler.

#include "tools/cc/lower.h"

namespace cc {

namespace {

// Whether all of a block is declarations and expressions.
bool is_plain(const clang::CompoundStmt* block) {
  for (const clang::Stmt* s : block->body()) {
    if (auto* inner = llvm::dyn_cast<clang::CompoundStmt>(s)) {
      if (!is_plain(inner)) return false;
    } else if (!llvm::isa<clang::Expr>(s) && !llvm::isa<clang::DeclStmt>(s) &&
               !llvm::isa<clang::NullStmt>(s)) {
      return false;
    }
  }
  return true;
}

// Whether the whole of an expression is a call that passes over it, its operand being a type.
bool is_unevaluated(const clang::Stmt* s) {
  return llvm::isa<clang::UnaryExprOrTypeTraitExpr>(s) || llvm::isa<clang::OffsetOfExpr>(s);
}

} // namespace

NODE* LOWERING::statement_expression(const clang::StmtExpr* e) {
  if (const auto found = hoisted.find(e); found != hoisted.end()) {
    SYMTAB* sym = found->second;
    return sym ? name_node(sym) : alloc_node(NOP, tp->mk_void());
  }
  if (!fn) refuse(e->getExprLoc(), "statement expression outside of functions");
  const clang::CompoundStmt* block = e->getSubStmt();
  if (!is_plain(block))
    refuse(e->getExprLoc(),
           "control flow in a statement expression that is evaluated conditionally");
  NODE* all = nullptr;
  auto add = [&](NODE* tree) {
    if (tree) all = mk_COMMAOP(all, tree);
  };
  const clang::Stmt* last = block->body_empty() ? nullptr : block->body_back();
  auto statements = [&](const clang::CompoundStmt* inner, auto& self) -> void {
    for (const clang::Stmt* s : inner->body()) {
      if (s == last && !e->getType()->isVoidType()) break;
      if (auto* more = llvm::dyn_cast<clang::CompoundStmt>(s)) {
        self(more, self);
      } else if (auto* expression = llvm::dyn_cast<clang::Expr>(s)) {
        add(effect(expression));
      } else if (auto* list = llvm::dyn_cast<clang::DeclStmt>(s)) {
        const size_t from = fn->items.size();
        declarations(list);
        for (size_t k = from; k < fn->items.size(); k++) {
          if (fn->items[k].kind != ITEM::EXPRESSION)
            refuse(e->getExprLoc(), "control flow in a statement expression within another one");
          add(fn->items[k].tree);
        }
        fn->items.resize(from);
      }
    }
  };
  statements(block, statements);
  auto* result = llvm::dyn_cast_or_null<clang::Expr>(last);
  if (e->getType()->isVoidType() || !result) return all ? all : alloc_node(NOP, tp->mk_void());
  NODE* v = value(result);
  if (!all) return v;
  // An aggregate's place stands behind the commas.
  if (v->type->is_csu())
    return object_at(mk_COMMAOP(all, address_of(in_memory(v, e->getExprLoc()))));
  return mk_COMMAOP(all, v);
}

// Emits the statements and keeps the value.
void LOWERING::hoist(const clang::StmtExpr* e) {
  const clang::CompoundStmt* block = e->getSubStmt();
  const clang::Stmt* last = block->body_empty() ? nullptr : block->body_back();
  auto* result = llvm::dyn_cast_or_null<clang::Expr>(last);
  const bool has_value = result && !e->getType()->isVoidType();
  begin_block(block->getLBracLoc());
  for (const clang::Stmt* s : block->body())
    if (s != last || !has_value) statement(s);
  SYMTAB* sym = nullptr;
  if (has_value) {
    hoist_statements(result);
    NODE* v = value(result);
    // The value outlives the block's own variables.
    const size_t inner = fn->open_blocks.back();
    fn->open_blocks.pop_back();
    sym = temporary(v->type, e->getExprLoc());
    fn->open_blocks.push_back(inner);
    emit(assign(name_node(sym), v), psn_of(result->getBeginLoc()));
  }
  end_block(block->getRBracLoc());
  hoisted[e] = sym;
}

void LOWERING::hoist_statements(const clang::Stmt* s) {
  if (!s || is_unevaluated(s)) return;
  if (auto* e = llvm::dyn_cast<clang::StmtExpr>(s)) {
    if (!is_plain(e->getSubStmt())) hoist(e);
    return;
  }
  if (auto* selection = llvm::dyn_cast<clang::GenericSelectionExpr>(s))
    return hoist_statements(selection->getResultExpr());
  // Behind a sequence point only what comes first is sure to be evaluated, and first.
  if (auto* binary = llvm::dyn_cast<clang::BinaryOperator>(s);
      binary && (binary->isLogicalOp() || binary->getOpcode() == clang::BO_Comma))
    return hoist_statements(binary->getLHS());
  if (auto* choice = llvm::dyn_cast<clang::ConditionalOperator>(s))
    return hoist_statements(choice->getCond());
  if (auto* choice = llvm::dyn_cast<clang::BinaryConditionalOperator>(s))
    return hoist_statements(choice->getCommon());
  for (const clang::Stmt* operand : s->children())
    hoist_statements(operand);
}

} // namespace cc
