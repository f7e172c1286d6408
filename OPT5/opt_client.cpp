// The reader's client: records of a file become symbols, statement lists and functions.
//
//   begin, param a, auto x, x = a, end  -->  a FUNINFO with its symbols, scopes and statements

#include "OPT5/opt_client.h"

#include "DIAG/abort.h"
#include "DIAG/safemalloc.h"
#include "OPT5/fileopt.h"
#include "OPT5/passes.h"
#include "OPT5/printtree.h"
#include "OPT5/restrict.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/simp1.h"
#include "OPT5/stackshare.h"
#include "OPT5/streams.h"
#include "OPT5/target.h"
#include "OPT5/treewalk.h"
#include "OPT5/types.h"
#include "OPT5/typetext.h"
#include "OPT5/verify.h"
#include "OPT5/write.h"
#include "ifile/i_file.h"

#include <algorithm>
#include <cstring>

bool any_unions_in_program;
int unique_call_index;
std::list<SYMTAB*> functions;
std::vector<std::string> comments_between_functions;

namespace {

// A block that is open while reading.
struct OPEN_BLOCK {
  PSN* begin;
  std::vector<SYMTAB*> symbols; // declared in it
};

int lex; // current lexical level
std::string curr_file;
std::vector<OPEN_BLOCK> open_blocks;

void close_innermost_block() {
  for (SYMTAB* sym : open_blocks.back().symbols)
    find_or_make_PTR_entry(sym);
  open_blocks.pop_back();
}

std::vector<TYPE*> types_by_number() {
  std::vector<TYPE*> found;
  for (const auto& [number, info] : i_file->types) {
    // Numbers may be of any size; those of a file that a compiler wrote are dense.
    if (number >= 2 * i_file->types.size() + 2) break;
    if (number >= found.size()) found.resize(number + 1);
    found[number] = info.type;
  }
  return found;
}

// A tree that breaks the shape rules: the file is damaged, or its maker is.
[[noreturn]] void reject(const NODE* tree, const char* fault) {
  fprintf(stderr, ">> %s: %s\n", fault, tree_text(tree).substr(0, 200).c_str());
  if_die(INVALID_RECORD);
}

constexpr unsigned long UNIT_BITS = 16;

unsigned long units_of(const TYPE* type) {
  return type->storage_size() / UNIT_BITS;
}

// Whether what the trees of an initialiser fill, one behind the other, is within its object.
bool initialiser_fits(const SYMTAB* sym) {
  unsigned long room = (sym->size + UNIT_BITS - 1) / UNIT_BITS;
  auto take = [&room](unsigned long units) {
    if (units > room) return false;
    room -= units;
    return true;
  };
  for (const NODE* tree : sym->init_list) {
    for (; tree->op == SKIP; tree = tree->left)
      if (!take(static_cast<unsigned>(tree->skip_count()))) return false;
    if (tree->op == NOP || tree->op == ENDINIT) continue;
    const unsigned long units = tree->op == COMPLEX
                                    ? units_of(tree->left->type) + units_of(tree->right->type)
                                    : units_of(tree->type);
    if (!take(units)) return false;
  }
  return true;
}

class OPT_CLIENT : public IF_CLIENT {
public:
  bool cl_magic(int, int) override { return true; }
  void cl_source(const char*) override {}

  BASE_NODE* cl_new_node(int op, TYPE* type) override { return new_node(op, type); }

  void cl_merge_type_defs() override {
    lex = 0; // a run before this one may have ended within a function
    tp->walk_types(
        [](TYPE* type, void*) {
          if (type->kind == TYPE::K_UNION) any_unions_in_program = true;
        },
        nullptr);
    init_types();
    if (print_debug) name_types_of_input(types_by_number());
  }

  I_SYMTAB* cl_symbol_create(char* name, TYPE* type, TYPE* cpp_type, unsigned long size,
                             unsigned long align, unsigned long value, int sclass, int cqual,
                             PSN* psn, unsigned long location, unsigned option_set,
                             I_SYMTAB::RETENTION_POLICY policy) override {
    if (!type) type = tp->mk_void();
    // A function of a later stage is read over, and its locals are nobody's.
    const bool is_global = lex == 0 && i_file->level == 0;
    SYMTAB* sym = is_global ? new_shared_symbol() : new SYMTAB;
    sym->name = safestrdup(name);
    sym->otype = type;
    sym->cpp_type = cpp_type;
    sym->type = normalized_underlying_type(type);
    if (int quals = type->qual_kind(true))
      sym->type = tp->mk_qual(sym->type, static_cast<unsigned char>(quals));
    sym->size = size;
    sym->align = static_cast<unsigned>(align);
    if (!type->is_func() && !type->is_unknown() && size != type->size)
      optassert("otype->is_func() || size == otype->size()", __FILE__, __LINE__);
    sym->value = static_cast<int>(value);
    sym->sclass = sym->orig_class = static_cast<unsigned char>(sclass);
    sym->mutable_ok = sclass != SC_REGISTER && sclass != SC_REGPARM && sclass != SC_REGPARM_COPY;
    sym->psn = psn;
    sym->location = static_cast<unsigned>(location);
    sym->option_set = option_set;
    sym->policy = policy;
    sym->cqual = cqual & CQ_KEPT_BITS;
    if (is_global && !type->is_volatile() && opt_level() < 3) {
      sym->cqual |= CQ_MUST_STAY;
      if (!(sym->cqual & (CQ_NO_ADDRESS | CQ_READ_ONLY))) sym->cqual |= CQ_ADDRESS_TAKEN;
    }
    if (policy == I_SYMTAB::ALWAYS) sym->cqual |= CQ_MUST_STAY | CQ_ADDRESS_TAKEN;
    if (sclass == SC_RESULT) {
      sym->sclass = SC_ARG;
      if (currfunc) currfuninfo->set_properties(FP_MUST_KEEP | FP_TAKES_RESULT_PLACE);
    }
    if (is_global) {
      enter_global_symbol(sym);
    } else if (currfunc) {
      if (lex == 1) sym->in_interface = true;
      open_blocks.back().symbols.push_back(sym);
      sym->next = currfuninfo->incoming;
      currfuninfo->incoming = sym;
      LS* scope =
          lex == 1 ? currfuninfo->scope->level_1_scope() : currfuninfo->scope->innermost_open();
      scope->add_symbol(sym);
      if (lex > 2 && may_share_stack(sym)) add_stack_sharing_variable(sym);
    }
    return sym;
  }

  void cl_symbol_def(I_SYMTAB* sym) override { make_symbol_groupable(static_cast<SYMTAB*>(sym)); }

  void cl_pragma(I_SYMTAB* owner, PRAGMA* pragma) override {
    print_if_debug("%c[Pragma] %d %d\n", '^', pragma->kind, static_cast<int>(pragma->args.size()));
    if (owner) {
      // New pragmas go to the head; a file's order is the reverse of the reading order then, so
      // those of one symbol are appended here to be written as they were read.
      auto* sym = static_cast<SYMTAB*>(owner);
      if (pragma->kind == PRAGMA_SYNONYM) note_names_in_pragma(pragma);
      delete_stack_sharing_variable(sym); // it is spoken of by itself
      PRAGMA** tail = &sym->pragmas;
      while (*tail)
        tail = &(*tail)->next;
      *tail = pragma;
      return;
    }
    note_names_in_pragma(pragma);
    if (!currfunc) {
      o_file->if_write_pragma(pragma);
      delete pragma;
      return;
    }
    NODE* node = alloc_node(PPRAGMA, tp->mk_void());
    node->pragma = current_memory().own(pragma);
    add_statement(node, nullptr);
  }

  void cl_init(I_SYMTAB* owner) override {
    auto* sym = static_cast<SYMTAB*>(owner);
    if (sym->type->is_func()) if_die(INVALID_RECORD);
    for (NODE* tree : sym->init_list) {
      if (const char* fault = verify_tree(tree)) reject(tree, fault);
      scan_for_funinfo(tree, 1, file_funinfo, 0);
    }
    if (initialiser_fits(sym)) return;
    fprintf(stderr, ">> the initialiser of %s has more than the object has room for\n", sym->name);
    if_die(INVALID_RECORD);
  }

  void cl_preprocess_statics() override {
    // What built-ins may read and write unseen by the program, for alias analysis. Never part
    // of the output's symbols unless a tree refers to them.
    mcall_implicit_state = make_implicit_symbol("__MCALL_implicit_state__");
    flag_status_register = make_implicit_symbol("__flag_status_register__");
  }

  void cl_begin_func(I_SYMTAB* func, PSN* psn) override {
    auto* sym = static_cast<SYMTAB*>(func);
    if (!sym->type->is_func() || sym->is_defined) if_die(INVALID_RECORD);
    // Statics of one name are several functions; outside there is one of a name.
    const SYMTAB* other = find_global_symbol(sym->name);
    if (other && other->is_defined && other->sclass != SC_STATIC && sym->sclass != SC_STATIC)
      if_die(INVALID_RECORD);
    note_function_body(sym);
    currfunc = sym;
    currfuninfo = make_FUNINFO(sym);
    currfuninfo->symbol = sym;
    currfuninfo->return_type = sym->type->return_type();
    currfuninfo->no_tail_recursion = sym->type->func_parts()->is_variadic;
    currfuninfo->begin_psn = psn;
    curr_file = !psn ? "NO_PSN_FILE" : !psn->file ? "NO_FILE" : psn->file;
    currfuninfo->stmts = nullptr;
    init_stack_sharing();
    currfuninfo->incoming = currfuninfo->inlined_params = nullptr;
    currfuninfo->symbols = currfuninfo->reg_candidates = nullptr;
    currfuninfo->scope = LS::init(psn, sym);
    currfuninfo->header_comments.swap(comments_between_functions);
    lex = 1;
    open_blocks = {{psn, {}}}; // of the parameters and the outermost locals
  }

  void cl_end_args(PSN* psn) override {
    if (!currfunc) return;
    currfuninfo->end_args_psn = psn;
    lex = 2;
  }

  void cl_end_locals(PSN* psn) override {
    if (!currfunc) return;
    if (open_blocks.size() == 1) currfuninfo->end_locals_psn = psn;
  }

  void cl_begin_block(PSN* psn) override {
    require_function();
    lex++;
    open_blocks.push_back({psn, {}});
    currfuninfo->scope->open(psn, currfunc, 0);
    begin_stack_sharing_scope(lex);
  }

  void cl_end_block(PSN* psn) override {
    require_function();
    lex--;
    close_innermost_block();
    currfuninfo->scope->close(psn, currfunc, 0);
    end_stack_sharing_scope();
  }

  void cl_end_func(PSN* psn) override {
    require_function();
    functions.push_back(currfunc);
    while (!open_blocks.empty())
      close_innermost_block();
    lex = 0;
    finish_reading_function(psn, 3);
    currfuninfo->memory.arena.trim();
    currfunc = nullptr;
    currfuninfo = file_funinfo;
  }

  void cl_ir_end_func(PSN*) override {}

  void cl_expr(BASE_NODE* root, PSN* psn) override {
    require_function();
    auto* tree = static_cast<NODE*>(root);
    if (const char* fault = verify_statement(tree)) reject(tree, fault);
    note_calls(tree);
    tree = expr_cleanup(tree);
    currfuninfo->scope->initialize_scopes_and_ptrs_from_tree(tree);
    add_statement(tree, psn);
  }

  void cl_label(unsigned number) override {
    require_function();
    NODE* node = alloc_node(LABELDEF, tp->mk_void());
    node->ival = static_cast<int>(number);
    add_statement(node, nullptr);
  }

  void cl_inline_asm(char* text, PSN* psn) override {
    note_names_in_text(text);
    if (currfunc)
      add_statement(text_statement(text, false), psn);
    else
      wrasmr(TAG_ASM, text, psn);
  }

  // Between functions it belongs to the next one.
  void cl_comment(char* text) override {
    if (currfunc)
      add_statement(text_statement(text, true), nullptr);
    else
      comments_between_functions.push_back(text);
  }

  void cl_func_eht(EHT_ENTRY* entries, unsigned count) override {
    require_function();
    std::vector<EHT_ITEM>& eht = currfuninfo->eht;
    if (!eht.empty()) if_die("\nINTERNAL ERROR: Invalid EHT record in I-code, aborting");
    for (EHT_ENTRY* e = entries; e != entries + count; e++) {
      eht.push_back({e->id, e->kind, e->region, e->count, {}, static_cast<NODE*>(e->cleanup)});
      if (e->catches) eht.back().catches = std::move(*e->catches);
      delete e->catches;
      NODE*& cleanup = eht.back().cleanup;
      if (!cleanup) continue;
      if (const char* fault = verify_statement(cleanup)) reject(cleanup, fault);
      note_calls(cleanup);
      cleanup = expr_cleanup(cleanup);
      currfuninfo->scope->initialize_scopes_and_ptrs_from_tree(cleanup);
    }
    if (eht.empty()) return;
    std::stable_sort(eht.begin(), eht.end(),
                     [](const EHT_ITEM& a, const EHT_ITEM& b) { return a.id < b.id; });
    for (size_t i = 0; i < eht.size(); i++)
      CHECK(eht[i].id == i);
    CHECK(eht.back().id == (eht.size() - 1));
    CHECK(eht[EHT_ROOT_ID].kind == EHK_ROOT_NODE);
    CHECK(no_loops_in_table(eht));
  }

  // Made anew by this tool's own analyses.
  void cl_func_info(int) override {}
  void cl_loop_def(unsigned, unsigned, unsigned long, unsigned long, unsigned long) override {}
  void cl_loop_header(unsigned, I_SYMTAB*, int) override {}
  void cl_dd_vector(int, int, int, DD_ENTRY*) override {}
  void cl_dd_edge(int, int, int) override {}
  void cl_mbank(int, int, int, int, int) override {}

private:
  static constexpr unsigned EHT_ROOT_ID = 0;

  static void require_function() {
    if (!currfunc) if_die(INVALID_RECORD);
  }

  static void add_statement(NODE* tree, PSN* psn) {
    currfuninfo->stmts = mkelist(tree, currfuninfo->stmts, psn);
  }

  static void note_names_in_pragma(const PRAGMA* pragma) {
    for (const std::string& arg : pragma->args)
      note_names_in_text(arg.c_str());
  }

  static NODE* text_statement(const char* text, bool is_comment) {
    NODE* node = alloc_node(ASM, tp->mk_void());
    node->text = current_memory().arena.copy_text(text);
    node->node_flags[NF_COMMENT] = is_comment;
    return node;
  }

  static void note_calls(const NODE* tree) {
    walk_preorder(tree, [](const NODE* node) {
      switch (node->op) {
      case CALL:
      case UCALL:
        unique_call_index++;
        currfuninfo->is_leaf = false;
        break;
      case ICALL:
      case UICALL:
        if (builtin_has_state(node->u.callee)) currfuninfo->builtins_have_state = true;
        break;
      default: break;
      }
      return true;
    });
  }

  // What several functions may name.
  static SYMTAB* new_shared_symbol() { return max_threads > 0 ? new GLOBAL_SYM : new SYMTAB; }

  static SYMTAB* make_implicit_symbol(const char* name) {
    SYMTAB* sym = new_shared_symbol();
    sym->name = safestrdup(name);
    sym->type = sym->otype = sym->cpp_type = tp->mk_plain_int();
    sym->size = sym->type->size;
    sym->align = sym->type->align;
    sym->sclass = sym->orig_class = SC_EXTERN_DECL;
    return sym;
  }

  // Each entry's region word names the entry around it. Nothing of the table is around the root:
  // its word is the root itself, or no id.
  static bool no_loops_in_table(const std::vector<EHT_ITEM>& eht) {
    const unsigned outermost = eht[EHT_ROOT_ID].region;
    if (outermost != EHT_ROOT_ID && outermost < eht.size()) return false;
    std::vector<char> state(eht.size()); // 1 on the present path, 2 known to reach the root
    state[EHT_ROOT_ID] = 2;
    for (size_t start = 0; start < eht.size(); start++) {
      std::vector<size_t> path;
      size_t at = start;
      while (state[at] == 0) {
        state[at] = 1;
        path.push_back(at);
        if (eht[at].region >= eht.size()) return false;
        at = eht[at].region;
      }
      if (state[at] == 1) return false;
      for (size_t k : path)
        state[k] = 2;
    }
    return true;
  }
};

} // namespace

IF_CLIENT* opt_client() {
  static OPT_CLIENT client;
  return &client;
}
