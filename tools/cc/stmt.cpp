// Statements. Loops and conditions become labels and branches in the order of the source.

#include "tools/cc/lower.h"

#include "OPT5/printtree.h"
#include "OPT5/verify.h"
#include "TYPES/type_values.h"

#include "clang/AST/Attr.h"

#include <algorithm>

using clang::SourceLocation;

namespace cc {

namespace {
constexpr unsigned MAX_LOCAL_ALIGNMENT = 32;  // bits, of the stack
constexpr unsigned long MAX_CASE_VALUES = 64; // longer ranges are compared with instead

bool is_long(const CASE_RANGE& range) {
  return range.last - range.first >= INT65(MAX_CASE_VALUES);
}
} // namespace

void LOWERING::emit(NODE* tree, PSN* psn) {
  if (const char* fault = verify_statement(tree)) {
    const clang::SourceLocation at =
        sm.translateLineCol(sm.getMainFileID(), psn ? psn->line : 1, 1);
    refuse(at, std::string("internal error: ") + fault + ": " + tree_text(tree));
  }
  ITEM item{ITEM::EXPRESSION};
  item.tree = tree;
  item.psn = psn;
  fn->items.push_back(item);
}

void LOWERING::emit_label(int label) {
  ITEM item{ITEM::LABEL_RECORD};
  item.label = label;
  fn->items.push_back(item);
}

void LOWERING::place_label(const JUMPS& jumps) {
  if (jumps.label) emit_label(jumps.label);
}

int LOWERING::label_of(JUMPS& jumps) {
  if (!jumps.label) jumps.label = new_label();
  return jumps.label;
}

int LOWERING::label_of(const clang::LabelDecl* decl) {
  int& label = fn->labels[decl];
  if (!label) label = new_label();
  return label;
}

void LOWERING::emit_branch(int label, PSN* psn) {
  emit(branch(label), psn);
}

void LOWERING::branch_if(NODE* condition, int label, PSN* psn) {
  emit(maketree(CBRANCH, truth(condition), label_node(label), tp->mk_void()), psn);
}

void LOWERING::begin_block(SourceLocation at) {
  fn->blocks.emplace_back();
  fn->open_blocks.push_back(fn->blocks.size() - 1);
  ITEM item{ITEM::BLOCK_BEGIN};
  item.block = fn->open_blocks.back();
  item.psn = psn_of(at);
  fn->items.push_back(item);
}

void LOWERING::end_block(SourceLocation at) {
  ITEM item{ITEM::BLOCK_END};
  item.block = fn->open_blocks.back();
  item.psn = psn_of(at);
  fn->open_blocks.pop_back();
  fn->items.push_back(item);
}

// The pragmas between the statement before and this loop.
void LOWERING::loop_notes(SourceLocation loop) {
  for (; next_loop_pragma < loop_pragmas.size(); next_loop_pragma++) {
    const LOOP_PRAGMA& note = loop_pragmas[next_loop_pragma];
    if (!sm.isBeforeInTranslationUnit(note.at, loop)) return;
    ITEM item{ITEM::LOOP_NOTE};
    item.note = &note;
    fn->items.push_back(item);
  }
}

// A statement that is refused doesn't keep the following ones from being looked at.
void LOWERING::statement(const clang::Stmt* s) {
  const std::vector<size_t> open = fn->open_blocks;
  const size_t breaks = fn->breaks.size(), continues = fn->continues.size(),
               switches = fn->switches.size();
  try {
    lower_statement(s);
  } catch (const REFUSED&) {
    fn->open_blocks = open;
    fn->breaks.resize(breaks);
    fn->continues.resize(continues);
    fn->switches.resize(switches);
  }
}

static bool is_loop(const clang::Stmt* s) {
  return llvm::isa<clang::ForStmt>(s) || llvm::isa<clang::WhileStmt>(s) ||
         llvm::isa<clang::DoStmt>(s);
}

void LOWERING::lower_statement(const clang::Stmt* s) {
  // Pragmas ahead of anything but a loop have no effect.
  if (!is_loop(s) && !llvm::isa<clang::LabelStmt>(s) && !llvm::isa<clang::SwitchCase>(s))
    while (next_loop_pragma < loop_pragmas.size() &&
           sm.isBeforeInTranslationUnit(loop_pragmas[next_loop_pragma].at, s->getBeginLoc()))
      next_loop_pragma++;
  PSN* psn = psn_of(s->getBeginLoc());
  switch (s->getStmtClass()) {
  case clang::Stmt::NullStmtClass: return;
  case clang::Stmt::CompoundStmtClass: return compound(llvm::cast<clang::CompoundStmt>(s));
  case clang::Stmt::DeclStmtClass: return declarations(llvm::cast<clang::DeclStmt>(s));
  case clang::Stmt::IfStmtClass: return if_statement(llvm::cast<clang::IfStmt>(s));
  case clang::Stmt::WhileStmtClass: return while_statement(llvm::cast<clang::WhileStmt>(s));
  case clang::Stmt::DoStmtClass: return do_statement(llvm::cast<clang::DoStmt>(s));
  case clang::Stmt::ForStmtClass: return for_statement(llvm::cast<clang::ForStmt>(s));
  case clang::Stmt::SwitchStmtClass: return switch_statement(llvm::cast<clang::SwitchStmt>(s));
  case clang::Stmt::CaseStmtClass: return case_label(llvm::cast<clang::CaseStmt>(s));
  case clang::Stmt::DefaultStmtClass: return default_label(llvm::cast<clang::DefaultStmt>(s));
  case clang::Stmt::ReturnStmtClass: return return_statement(llvm::cast<clang::ReturnStmt>(s));
  case clang::Stmt::BreakStmtClass: return jump(fn->breaks, s);
  case clang::Stmt::ContinueStmtClass: return jump(fn->continues, s);
  case clang::Stmt::GotoStmtClass:
    return emit_branch(label_of(llvm::cast<clang::GotoStmt>(s)->getLabel()), psn);
  case clang::Stmt::LabelStmtClass: {
    auto* label = llvm::cast<clang::LabelStmt>(s);
    emit_label(label_of(label->getDecl()));
    return lower_statement(label->getSubStmt());
  }
  case clang::Stmt::AttributedStmtClass:
    return lower_statement(llvm::cast<clang::AttributedStmt>(s)->getSubStmt());
  case clang::Stmt::GCCAsmStmtClass:
  case clang::Stmt::MSAsmStmtClass: refuse(s->getBeginLoc(), "inline assembly is not supported");
  case clang::Stmt::IndirectGotoStmtClass:
    refuse(s->getBeginLoc(), "computed goto is not supported");
  default: break;
  }
  if (auto* e = llvm::dyn_cast<clang::Expr>(s)) return emit_for_effect(e, psn);
  refuse(s->getBeginLoc(),
         std::string("statement '") + s->getStmtClassName() + "' is not supported");
}

void LOWERING::emit_for_effect(const clang::Expr* e, PSN* psn) {
  const clang::Expr* plain = e->IgnoreParens();
  if (auto* cast = llvm::dyn_cast<clang::CastExpr>(plain);
      cast && cast->getCastKind() == clang::CK_ToVoid)
    plain = cast->getSubExpr()->IgnoreParens();
  // As a statement it is a block like any other.
  if (auto* block = llvm::dyn_cast<clang::StmtExpr>(plain)) return compound(block->getSubStmt());
  hoist_statements(e);
  if (NODE* tree = effect(e)) emit(tree, psn);
}

void LOWERING::compound(const clang::CompoundStmt* s) {
  begin_block(s->getLBracLoc());
  for (const clang::Stmt* inner : s->body())
    statement(inner);
  end_block(s->getRBracLoc());
}

void LOWERING::declarations(const clang::DeclStmt* s) {
  for (const clang::Decl* decl : s->decls()) {
    if (auto* variable = llvm::dyn_cast<clang::VarDecl>(decl)) {
      if (variable->isStaticLocal())
        static_local(variable);
      else if (variable->hasLocalStorage())
        local_variable(variable);
    } else if (!llvm::isa<clang::FunctionDecl>(decl)) {
      top_level(decl);
    }
  }
}

void LOWERING::local_variable(const clang::VarDecl* decl) {
  TYPE* type = complete(type_of_decl(decl), decl->getLocation());
  const int sclass = decl->getStorageClass() == clang::SC_Register ? SC_REGISTER : SC_AUTO;
  SYMTAB* sym = add_local(decl->getName().str(), type, sclass, decl->getLocation());
  symbols[decl->getCanonicalDecl()] = sym;
  attributes_of(decl, sym);
  if (sym->align > MAX_LOCAL_ALIGNMENT)
    refuse(decl->getLocation(), "alignment of a local variable to more than two units");
  if (!decl->getInit()) return;
  hoist_statements(decl->getInit());
  std::vector<NODE*> assignments;
  initialise(sym, decl->getInit(), assignments);
  for (NODE* tree : assignments)
    emit(tree, psn_of(decl->getLocation()));
}

void LOWERING::if_statement(const clang::IfStmt* s) {
  PSN* psn = psn_of(s->getIfLoc());
  const int otherwise = new_label();
  hoist_statements(s->getCond());
  branch_if(negate(value(s->getCond())), otherwise, psn);
  statement(s->getThen());
  if (!s->getElse()) return emit_label(otherwise);
  const int end = new_label();
  emit_branch(end, psn_of(s->getElseLoc()));
  emit_label(otherwise);
  statement(s->getElse());
  emit_label(end);
}

void LOWERING::jump(const std::vector<JUMPS*>& to, const clang::Stmt* s) {
  if (to.empty() || !to.back())
    refuse(s->getBeginLoc(), "a jump out of the head of a loop is not supported");
  emit_branch(label_of(*to.back()), psn_of(s->getBeginLoc()));
}

// Statements in the head of a loop. A break there is of this loop to some compilers, of the one
// around it to others.
template <class LOWER> void LOWERING::loop_head(LOWER lower) {
  fn->breaks.push_back(nullptr);
  fn->continues.push_back(nullptr);
  lower();
  fn->breaks.pop_back();
  fn->continues.pop_back();
}

void LOWERING::loop_body(const clang::Stmt* s, JUMPS& on_break, JUMPS& on_continue) {
  fn->breaks.push_back(&on_break);
  fn->continues.push_back(&on_continue);
  statement(s);
  fn->breaks.pop_back();
  fn->continues.pop_back();
}

void LOWERING::while_statement(const clang::WhileStmt* s) {
  JUMPS end{new_label()}, top{new_label()};
  PSN* psn = psn_of(s->getWhileLoc());
  loop_notes(s->getWhileLoc());
  emit_label(top.label);
  loop_head([&] { hoist_statements(s->getCond()); });
  branch_if(negate(value(s->getCond())), end.label, psn);
  loop_body(s->getBody(), end, top);
  emit_branch(top.label, psn);
  emit_label(end.label);
}

void LOWERING::do_statement(const clang::DoStmt* s) {
  JUMPS end{0}, next{0};
  const int top = new_label();
  loop_notes(s->getDoLoc());
  emit_label(top);
  loop_body(s->getBody(), end, next);
  place_label(next);
  loop_head([&] { hoist_statements(s->getCond()); });
  branch_if(value(s->getCond()), top, psn_of(s->getWhileLoc()));
  place_label(end);
}

void LOWERING::for_statement(const clang::ForStmt* s) {
  PSN* psn = psn_of(s->getForLoc());
  begin_block(s->getForLoc());
  if (auto* variables = llvm::dyn_cast_or_null<clang::DeclStmt>(s->getInit()))
    declarations(variables);
  else if (s->getInit())
    emit_for_effect(llvm::cast<clang::Expr>(s->getInit()), psn);
  loop_notes(s->getForLoc());
  JUMPS end{0}, next{0};
  const int top = new_label();
  emit_label(top);
  loop_head([&] { hoist_statements(s->getCond()); });
  if (s->getCond()) branch_if(negate(value(s->getCond())), label_of(end), psn);
  loop_body(s->getBody(), end, next);
  place_label(next);
  if (s->getInc())
    loop_head([&] { emit_for_effect(s->getInc(), psn_of(s->getInc()->getBeginLoc())); });
  emit_branch(top, psn);
  place_label(end);
  end_block(s->getEndLoc());
}

void LOWERING::switch_statement(const clang::SwitchStmt* s) {
  if (s->getInit() || s->getConditionVariable())
    refuse(s->getSwitchLoc(), "this switch is not supported");
  PSN* psn = psn_of(s->getSwitchLoc());
  hoist_statements(s->getCond());
  NODE* selector = promote(value(s->getCond()));
  SWITCH_STATE state{value_type(selector->type), {}, {}, 0};
  // The list of cases is known only when the body has been seen.
  NODE* tree = maketree(SWITCH, selector, nullptr, tp->mk_void());
  const size_t place = fn->items.size();
  ITEM item{ITEM::EXPRESSION};
  item.tree = tree;
  item.psn = psn;
  fn->items.push_back(item);
  JUMPS end{0};
  fn->switches.push_back(&state);
  fn->breaks.push_back(&end);
  statement(s->getBody());
  fn->breaks.pop_back();
  fn->switches.pop_back();
  NODE* list = nullptr;
  int count = 0;
  bool has_long = false;
  auto add = [&](NODE* entry) {
    list = list ? maketree(COMMA, list, entry, tp->mk_void()) : entry;
  };
  for (const CASE_RANGE& range : state.ranges) {
    has_long |= is_long(range);
    if (is_long(range)) continue;
    // The last value may be the type's greatest, so nothing is compared with a value behind it.
    const unsigned long values = (range.last - range.first).low + 1;
    for (unsigned long k = 0; k < values; k++, count++)
      add(maketree(CASE, icon(range.first + INT65(k), state.type), label_node(range.label),
                   tp->mk_void()));
  }
  int otherwise = state.default_label ? state.default_label : label_of(end);
  if (has_long) {
    const int tests = new_label();
    test_ranges(state, place, otherwise);
    ITEM label{ITEM::LABEL_RECORD};
    label.label = otherwise = tests;
    fn->items.insert(fn->items.begin() + static_cast<long>(place) + 1, label);
  }
  add(maketree(DEFAULT, label_node(otherwise), nullptr, tp->mk_void()));
  tree->right = list;
  tree->mk_switch(count);
  place_label(end);
}

// Puts comparisons with the long ranges behind the switch at `place`, whose selector goes to a
// temporary.
void LOWERING::test_ranges(const SWITCH_STATE& state, size_t place, int otherwise) {
  NODE* tree = fn->items[place].tree;
  PSN* psn = fn->items[place].psn;
  SYMTAB* selector = temporary(state.type, fn->decl->getLocation());
  tree->left = mk_COMMAOP(assign(name_node(selector), tree->left), name_node(selector));
  const size_t old_end = fn->items.size();
  for (const CASE_RANGE& range : state.ranges) {
    if (!is_long(range)) continue;
    NODE *above = nullptr, *below = nullptr;
    if (range.first > int_type_min(state.type))
      above = compare(GE, name_node(selector), icon(range.first, state.type));
    if (range.last < int_type_max(state.type))
      below = compare(LE, name_node(selector), icon(range.last, state.type));
    if (above && below)
      branch_if(maketree(ANDAND, above, below, int_type()), range.label, psn);
    else if (above || below)
      branch_if(above ? above : below, range.label, psn);
    else
      emit_branch(range.label, psn);
  }
  emit_branch(otherwise, psn);
  std::rotate(fn->items.begin() + static_cast<long>(place) + 1,
              fn->items.begin() + static_cast<long>(old_end), fn->items.end());
}

void LOWERING::case_label(const clang::CaseStmt* s) {
  SWITCH_STATE& state = *fn->switches.back();
  INT65 first = truncate_to_type(constant_of(s->getLHS()), state.type);
  INT65 last = first;
  if (s->getRHS()) last = truncate_to_type(constant_of(s->getRHS()), state.type);
  const int label = new_label();
  if (first <= last) { // a range the other way round is empty
    const auto next = state.taken.lower_bound(first);
    if (next != state.taken.end() && next->second <= last)
      refuse(s->getCaseLoc(),
             "duplicate case value '" + int65_text(std::max(first, next->second)) + "'");
    state.taken.emplace(last, first);
    state.ranges.push_back({first, last, label});
  }
  emit_label(label);
  lower_statement(s->getSubStmt());
}

void LOWERING::default_label(const clang::DefaultStmt* s) {
  SWITCH_STATE& state = *fn->switches.back();
  state.default_label = new_label();
  emit_label(state.default_label);
  lower_statement(s->getSubStmt());
}

void LOWERING::return_statement(const clang::ReturnStmt* s) {
  PSN* psn = psn_of(s->getReturnLoc());
  TYPE* result = fn->type->return_type();
  const clang::Expr* e = s->getRetValue();
  if (result->is_void() || !e) {
    if (e) emit_for_effect(e, psn);
    emit(maketree(URETURN, name_node(fn->symbol), nullptr, tp->mk_void()), psn);
    return;
  }
  hoist_statements(e);
  emit(maketree(RETURN, name_node(fn->symbol), convert(value(e), result), tp->mk_void()), psn);
}

} // namespace cc
