// The lowering of a parsed unit to icode.
//
// Types of expressions are computed bottom up on the target's types: of the parser's tree only
// names, operators, declarations and types as written count. Its implicit conversions are passed
// over, since they follow from widths that the target doesn't have.
//
// A construct that is refused is reported where it stands and throws REFUSED, which ends the
// statement or declaration; no exception crosses the parser's frames.
#pragma once

#include "clang/AST/ASTContext.h"
#include "clang/AST/Decl.h"
#include "clang/AST/DeclCXX.h"
#include "clang/AST/Expr.h"
#include "clang/AST/Stmt.h"
#include "clang/AST/TypeLoc.h"
#include "clang/Basic/SourceManager.h"

#include "ifile/i_file.h"
#include "tools/cc/fold.h"
#include "tools/cc/trees.h"

#include <deque>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace cc {

struct REFUSED {};

// `#pragma UNROLL(n)` or `#pragma MUST_ITERATE(min, max, multiple)`, ahead of a loop.
struct LOOP_PRAGMA {
  clang::SourceLocation at;
  int kind; // PRAGMA_UNROLL, PRAGMA_MUST_ITERATE
  std::vector<std::string> args;
};

// Kinds of pragma records.
constexpr int PRAGMA_STATIC_LOCAL = '3', PRAGMA_ALWAYS_INLINE = 'X', PRAGMA_UNROLL = 'U',
              PRAGMA_MUST_ITERATE = 'M';

// A place in a function's record list. Kept until the function's end, because the symbols of a
// block stand before its statements and some of them turn up late.
struct ITEM {
  enum KIND { EXPRESSION, LABEL_RECORD, BLOCK_BEGIN, BLOCK_END, LOOP_NOTE } kind;
  NODE* tree = nullptr;
  PSN* psn = nullptr;
  int label = 0;
  size_t block = 0; // of BLOCK_BEGIN: index in FUNCTION::blocks
  const LOOP_PRAGMA* note = nullptr;
};

struct JUMPS {
  int label; // 0 until it is needed
};

// The values of one `case`; a single one is a range of its own.
struct CASE_RANGE {
  INT65 first, last;
  int label;
};

struct SWITCH_STATE {
  TYPE* type;
  std::vector<CASE_RANGE> ranges; // in the order of the source
  std::map<INT65, INT65> taken;   // last value to first, of all ranges
  int default_label = 0;
};

struct FUNCTION {
  const clang::FunctionDecl* decl;
  SYMTAB* symbol;
  TYPE* type;
  std::vector<SYMTAB*> params;
  std::deque<std::vector<SYMTAB*>> blocks; // symbols by block; 0 is the outermost
  std::vector<size_t> open_blocks;
  std::vector<ITEM> items;
  std::unordered_map<const clang::LabelDecl*, int> labels;
  std::vector<JUMPS*> breaks, continues; // innermost last
  std::vector<SWITCH_STATE*> switches;
  int next_label = 1;
  int next_temp = 1;
};

class LINKAGE;

class LOWERING {
public:
  LOWERING(clang::ASTContext& context, LINKAGE& unit, const std::vector<LOOP_PRAGMA>& loop_pragmas);

  // Lowers one source of the unit into its file.
  void run();
  bool has_failed() const { return failed; }
  clang::ASTContext& context() { return ctx; }
  // Whether a function is this source's own.
  static bool is_internal(const clang::FunctionDecl* decl);
  void note_addresses(const NODE* tree);
  // The symbol that a declaration stands for.
  SYMTAB* symbol_of(const clang::ValueDecl* decl);
  template <class DEFINITION>
  void report_second_definition(const clang::ValueDecl* decl, const DEFINITION& first) {
    error(decl->getLocation(), "'" + decl->getName().str() + "' is defined again; first at " +
                                   first.source->place_text(first.decl->getLocation()));
  }

private:
  clang::ASTContext& ctx;
  clang::SourceManager& sm;
  LINKAGE& unit;
  I_FILE* out;
  std::vector<LOOP_PRAGMA> loop_pragmas;
  size_t next_loop_pragma = 0;
  FUNCTION* fn = nullptr;
  unsigned next_static = 1;

  std::unordered_map<const clang::Decl*, SYMTAB*> symbols; // by canonical declaration
  std::unordered_set<const clang::VarDecl*> met_variables; // canonical, of file scope
  std::unordered_map<const clang::ParmVarDecl*, SYMTAB*> incoming;
  std::unordered_map<const clang::Decl*, TYPE*> declared_types; // typedefs, records, enumerations
  std::unordered_map<const clang::FieldDecl*, fkMDATA*> members;
  std::unordered_map<TYPE*, const clang::RecordDecl*> later_layouts;
  std::unordered_map<TYPE*, std::string> layout_keys; // of structures that others may define too
  int layouts_in_progress = 0;
  struct ENUM_VALUE {
    INT65 value;
    TYPE* type;
  };
  std::unordered_map<const clang::EnumConstantDecl*, ENUM_VALUE> enum_values;
  std::unordered_map<std::string, SYMTAB*> wide_strings;       // by contents
  std::unordered_map<const clang::StmtExpr*, SYMTAB*> hoisted; // values of statement expressions

  // --- Reports
  [[noreturn]] void refuse(clang::SourceLocation at, const std::string& text);
  void error(clang::SourceLocation at, const std::string& text);
  bool failed = false;
  PSN* psn_of(clang::SourceLocation at);

  // --- Types (cc_types.cpp)
  TYPE* type_of(clang::TypeLoc loc);
  TYPE* type_of(clang::QualType type, clang::SourceLocation at);
  TYPE* type_of(const clang::TypeSourceInfo* info) { return type_of(info->getTypeLoc()); }
  TYPE* type_of_decl(const clang::DeclaratorDecl* decl);
  TYPE* type_of_typedef(const clang::TypedefNameDecl* decl);
  TYPE* basic_type(const clang::BuiltinType* type, clang::SourceLocation at);
  TYPE* record_type(const clang::RecordDecl* decl);
  TYPE* enum_type(const clang::EnumDecl* decl);
  TYPE* function_type(clang::FunctionTypeLoc loc);
  TYPE* vector_type(TYPE* elem, unsigned count, clang::SourceLocation at);
  TYPE* parameter_type(const clang::ParmVarDecl* decl);
  TYPE* array_type(TYPE* elem, const clang::Expr* bound, clang::SourceLocation at);
  TYPE* array_type(TYPE* elem, unsigned long count, clang::SourceLocation at);
  void lay_out(const clang::RecordDecl* decl, TYPE* record);
  void lay_out_now(TYPE* record);
  void finish_layouts();
  // Bits that the declaration's attributes ask for, 0 for none.
  unsigned wanted_alignment(const clang::Decl* decl);
  std::string layout_key(const clang::RecordDecl* decl);
  const ENUM_VALUE& value_of(const clang::EnumConstantDecl* decl);
  // Members from `record` to the field, through unnamed structures.
  fkMDATA* member(const clang::FieldDecl* decl);
  INT65 constant_of(const clang::Expr* e);              // refuses what is not an integer constant
  TYPE* complete(TYPE* type, clang::SourceLocation at); // refuses an incomplete type

  // --- Symbols and declarations (cc_decl.cpp)
  SYMTAB* new_symbol(const std::string& name, TYPE* type, int sclass, clang::SourceLocation at);
  void enter_global(SYMTAB* sym);
  SYMTAB* shared_symbol(const clang::NamedDecl* decl, TYPE* type);
  std::string place_text(clang::SourceLocation at);
  SYMTAB* global_variable(const clang::VarDecl* decl);
  SYMTAB* static_local(const clang::VarDecl* decl);
  SYMTAB* function_symbol(const clang::FunctionDecl* decl);
  SYMTAB* add_local(const std::string& name, TYPE* type, int sclass, clang::SourceLocation at);
  SYMTAB* temporary(TYPE* type, clang::SourceLocation at);
  SYMTAB* static_object(const std::string& prefix, TYPE* type, clang::SourceLocation at);
  void add_pragma(SYMTAB* sym, int kind, std::vector<std::string> args);
  unsigned option_set_of(const clang::FunctionDecl* decl);
  void attributes_of(const clang::Decl* decl, SYMTAB* sym);
  void top_level(const clang::Decl* decl);
  void lower_function(const clang::FunctionDecl* decl);
  void write_function(PSN* begin, PSN* end);
  void write_locals(const std::vector<SYMTAB*>& locals);
  void check_static_assert(const clang::StaticAssertDecl* decl);

  // --- Statements (cc_stmt.cpp)
  void statement(const clang::Stmt* s);
  void lower_statement(const clang::Stmt* s);
  void compound(const clang::CompoundStmt* s);
  void declarations(const clang::DeclStmt* s);
  void local_variable(const clang::VarDecl* decl);
  void if_statement(const clang::IfStmt* s);
  void while_statement(const clang::WhileStmt* s);
  void do_statement(const clang::DoStmt* s);
  void for_statement(const clang::ForStmt* s);
  void switch_statement(const clang::SwitchStmt* s);
  void test_ranges(const SWITCH_STATE& state, size_t place, int otherwise);
  void case_label(const clang::CaseStmt* s);
  void default_label(const clang::DefaultStmt* s);
  void return_statement(const clang::ReturnStmt* s);
  void jump(const std::vector<JUMPS*>& to, const clang::Stmt* s);
  template <class LOWER> void loop_head(LOWER lower);
  void loop_body(const clang::Stmt* s, JUMPS& on_break, JUMPS& on_continue);
  void begin_block(clang::SourceLocation at);
  void end_block(clang::SourceLocation at);
  void emit(NODE* tree, PSN* psn);
  void emit_label(int label);
  void place_label(const JUMPS& jumps);
  void emit_branch(int label, PSN* psn);
  void branch_if(NODE* condition, int label, PSN* psn);
  void emit_for_effect(const clang::Expr* e, PSN* psn);
  int new_label() { return fn->next_label++; }
  int label_of(JUMPS& jumps);
  int label_of(const clang::LabelDecl* decl);
  void loop_notes(clang::SourceLocation loop);

  // --- Expressions (cc_expr.cpp, cc_calls.cpp)
  // An expression as it stands: perhaps a place, an array or a function.
  NODE* lower(const clang::Expr* e);
  NODE* value(const clang::Expr* e) { return decay(lower(e)); }
  NODE* effect(const clang::Expr* e); // the value doesn't matter
  TYPE* type_of_expression(const clang::Expr* e);
  NODE* string_literal(const clang::StringLiteral* e);
  NODE* generic_selection(const clang::GenericSelectionExpr* e);
  // Statement expressions (cc_statement_exprs.cpp)
  NODE* statement_expression(const clang::StmtExpr* e);
  // Puts the statements of statement expressions that no tree can hold ahead of the expression.
  void hoist_statements(const clang::Stmt* full_expression);
  void hoist(const clang::StmtExpr* e);
  NODE* declaration_reference(const clang::DeclRefExpr* e);
  NODE* member_expression(const clang::MemberExpr* e);
  NODE* subscript(const clang::ArraySubscriptExpr* e);
  NODE* unary(const clang::UnaryOperator* e);
  NODE* increment(const clang::UnaryOperator* e);
  NODE* binary(const clang::BinaryOperator* e);
  NODE* additive(int op, NODE* left, NODE* right, clang::SourceLocation at);
  NODE* logical(int op, const clang::BinaryOperator* e);
  NODE* compound_assignment(const clang::CompoundAssignOperator* e);
  NODE* apply(int op, NODE* left, NODE* right, clang::SourceLocation at);
  NODE* conditional(const clang::ConditionalOperator* e);
  NODE* first_or(const clang::BinaryConditionalOperator* e); // a ?: b
  NODE* choice(NODE* condition, NODE* a, NODE* b, bool a_is_null, bool b_is_null);
  NODE* explicit_cast(const clang::CStyleCastExpr* e);
  NODE* size_or_alignment(const clang::UnaryExprOrTypeTraitExpr* e);
  NODE* offset_of(const clang::OffsetOfExpr* e);
  NODE* vector_element(const clang::ExtVectorElementExpr* e);
  NODE* in_memory(NODE* aggregate, clang::SourceLocation at); // a place with that value
  // Makes a place that may be named twice: `setup` gets what must be evaluated first, or stays
  // null.
  NODE* steady_place(NODE* place, NODE*& setup, clang::SourceLocation at);
  NODE* call(const clang::CallExpr* e);
  NODE* call_of(NODE* function, const clang::CallExpr* e);
  NODE* call_named(const std::string& name, const clang::FunctionDecl* like,
                   const clang::CallExpr* e);
  NODE* call_builtin(const clang::CallExpr* e, const clang::FunctionDecl* callee);
  NODE* argument(const clang::Expr* e, TYPE* parameter);
  NODE* variable_argument(const clang::VAArgExpr* e);
  NODE* start_variable_arguments(const clang::CallExpr* e);
  bool is_null_constant(const clang::Expr* e);

  // --- Initialisers (cc_init.cpp)
  // Assignments that give a local of that place its initial value, in order.
  void initialise(SYMTAB* sym, const clang::Expr* init, std::vector<NODE*>& assignments);
  void static_initialiser(SYMTAB* sym, const clang::Expr* init);
  void make_room(SYMTAB* sym, unsigned long end);
  SYMTAB* wide_string(const clang::StringLiteral* e);
  NODE* compound_literal(const clang::CompoundLiteralExpr* e);
  NODE* vector_list(const clang::InitListExpr* list, TYPE* type);
  void check_designators(const clang::InitListExpr* list);
  friend class INIT_WALK;
};

} // namespace cc
