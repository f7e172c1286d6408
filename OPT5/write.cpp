// The output step: a function's graph becomes records again, then the unit's symbols follow.
//
//   IF(c, (L1, L2)), with L2 next  -->  CBRANCH(c, L1)

#include "OPT5/write.h"
#include "OPT5/treewalk.h"

#include "DIAG/abort.h"
#include "OPT5/counters.h"
#include "OPT5/ddmain.h"
#include "OPT5/deadasg.h"
#include "OPT5/fileopt.h"
#include "OPT5/funinfo.h"
#include "OPT5/lateprep.h"
#include "OPT5/loop.h"
#include "OPT5/opt_client.h"
#include "OPT5/optables.h"
#include "OPT5/printtree.h"
#include "OPT5/profile.h"
#include "OPT5/settings.h"
#include "OPT5/simp1.h"
#include "OPT5/simpcfg.h"
#include "OPT5/streams.h"
#include "OPT5/target.h"
#include "OPT5/types.h"
#include "OPT5/verify.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

static COUNTER unused_locals("output", "unused locals dropped");
static COUNTER dropped_branches("output", "branches to the next block dropped");
static COUNTER inverted_conditions("output", "conditions inverted");
static COUNTER dropped_entries("output", "ends of clean-ups dropped");
static COUNTER hidden_symbols("output", "symbols that the linker may drop");

I_FILE* i_file;
I_FILE* o_file;

// ---------------------------------------------------------------------------------------------
// Records with their line in the debug log

static void log_control(const char* mnemonic, int tag, PSN* psn) {
  print_if_debug("%s\t%d\t%ld\t\t\t;%s\n", mnemonic, tag, psn ? static_cast<long>(psn->line) : 0L,
                 mnemonic);
}

static void log_symbol(const SYMTAB* sym) {
  if (!print_debug) return;
  static const char* const policies[] = {"DEFAULT_C", "ALWAYS", "EXTERNAL", "NEVER"};
  print_if_debug("%c   %-11.32s %2lu\t%4d   %2d  %#6x  %2u %-16s %13s", '#', sym->name, sym->size,
                 sym->value, sym->sym_class(), sym->cqual, sym->align, sym->type->str().c_str(),
                 sym->policy < 4 ? policies[sym->policy] : "?");
  print_if_debug("\t; (%d,%d)\n", static_cast<int>(sym->serial), sym->use_count);
}

static void log_mark_of_dependence(const NODE* mark) {
  const std::string type = mark->type->str();
  print_if_debug("%d\t%-28s\t   #%d\t; DDNODE    %s\n", mark->op, type.c_str(), mark->ddnode_id(),
                 tree_text(mark->left).c_str());
  if (compatible_types(mark->type, mark->left->type)) return;
  print_if_debug("[DDNODE type \"%s\"", type.c_str());
  print_if_debug(" but subtree \"%s\"]\n", mark->left->type->str().c_str());
}

static void log_tree(const NODE* tree) {
  if (!print_debug) return;
  print_if_debug("\t%s\n", tree_text(tree).c_str());
  walk_preorder(tree, [](const NODE* node) {
    if (node->op == DDNODE) log_mark_of_dependence(node);
    return true;
  });
}

static void write_comment(const char* text) {
  print_if_debug("\n%c%s\n\n", '/', text);
  o_file->if_write_comment(text);
}

void wrstcr(int tag, PSN* psn) {
  o_file->if_write_control(tag, psn);
}

void wrasmr(int code, const char* text, PSN* psn) {
  print_if_debug("%s\n", text);
  if (code == TAG_COMMENT)
    o_file->if_write_comment(text);
  else
    o_file->if_write_assembly(text, psn);
}

void wrbdlr(LBL* label) {
  print_if_debug("L%d:\n", label->number);
  o_file->if_write_label(static_cast<unsigned>(label->number));
}

// ---------------------------------------------------------------------------------------------
// Trees

// A symbol of file scope that the optimiser made joins the output's when something names it.
static void enter_if_new(SYMTAB* sym) {
  if (sym && sym->level == 0 && sym->index == -1) o_file->if_enter_global(sym);
}

static void check_before_writing(const NODE* tree) {
  walk_preorder(tree, [](const NODE* p) {
    if (p->op == NAME) enter_if_new(p->u.sym);
    if (p->op >= FIRST_MEMORY_OP || !if_node_info[p->op].name) {
      const char* name =
          p->op < OPCODE_COUNT && node_operator_name[p->op] ? node_operator_name[p->op] : "?";
      print_if_debug("\n\n   !!! Error in 'wrtree', opcode=%d %s !!!\n", p->op, name);
      fprintf(stderr, "\n\n   !!! Error in 'wrtree', opcode=%d %s !!!\n", p->op, name);
      abort_optimizer();
    }
    if (p->op == CALL || p->op == UCALL) {
      const FUNC_PARTS* parts = called_prototype(p);
      if (parts && !parts->is_variadic) {
        const size_t n_args = arg_list_count(p->right), n_params = parts->params.size();
        CHECK(n_args == n_params);
      }
    }
    if (computes_lane_by_lane(p)) CHECK(p->type->is_vector() && p->left->type->is_vector());
    return true;
  });
}

// Is anything left of a tree once its conversions are in? Of y = y nothing is, where y isn't
// volatile.
static bool finish_tree(NODE*& tree) {
  const bool assigns = tree->op == ASG;
  tree = insert_mandatory_casts(tree);
  return !assigns || tree->op == ASG;
}

void wrtree(NODE* tree) {
  check_before_writing(tree);
  log_tree(tree);
  o_file->if_write_expr_node(tree);
}

void wrexpr(LIST* stmt) {
  NODE* tree = stmt->tree;
  switch (tree->op) {
  case ASM:
    if (tree->node_flags[NF_COMMENT])
      write_comment(tree->text);
    else
      wrasmr(TAG_ASM, tree->text, stmt->psn);
    return;
  case PPRAGMA:
    print_if_debug("%c[Pragma] %d %d", '^', tree->pragma->kind,
                   static_cast<int>(tree->pragma->args.size()));
    for (const std::string& arg : tree->pragma->args)
      print_if_debug(" %s", arg.c_str());
    print_if_debug("\n");
    o_file->if_write_pragma(tree->pragma);
    return;
  default:
    if (!finish_tree(stmt->tree)) return;
    log_control("I_EX", TAG_EXPR, stmt->psn);
    o_file->if_write_expr(nullptr, stmt->psn);
    wrtree(stmt->tree);
  }
}

// ---------------------------------------------------------------------------------------------
// Blocks

// IF(c, (T, F)) --> CBRANCH(c, T), and BRANCH F unless F comes next; with T next, the inverse
static LIST* lower_IF(NODE* tree, const BBLK* next, PSN* psn) {
  NODE* pair = tree->right;
  NODE* if_true = pair->left;
  NODE* if_false = pair->right;
  pair->left = pair->right = nullptr;
  erase_node(pair);
  if (if_true->label->bb == next && if_false->label->bb != next) {
    std::swap(if_true, if_false);
    inverted_conditions.count();
    NODE* cond = tree->left;
    if (boolean_inv[cond->op] != ILLOP) {
      cond->op = boolean_inv[cond->op];
    } else if (cond->op == EXCLAIM) {
      tree->left = cond->left;
      tree->left->profile_count = cond->profile_count;
      cond->left = nullptr;
      erase_node(cond);
    } else {
      tree->left = mk_EXCLAIM(cond);
      std::swap(tree->left->profile_count, cond->profile_count);
    }
  }
  tree->op = CBRANCH;
  tree->right = if_true;
  if (if_false->label->bb == next) {
    erase_tree(if_false);
    return nullptr;
  }
  return mkelist(maketree(BRANCH, if_false, nullptr, tp->mk_void(), tree->ls), nullptr, psn);
}

// Control statements of memory become those of a file, for the present order of blocks.
static void lower_control_statements() {
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    LIST** place = &bb->statements;
    bool returned = false;
    for (; *place && (*place)->next; place = &(*place)->next)
      returned = (*place)->tree->op == RETURN;
    LIST* last = *place;
    if (!last) continue;
    NODE* tree = last->tree;
    if (tree->op == IF) {
      last->next = lower_IF(tree, bb->dflink, last->psn);
    } else if (tree->op == BRANCH && (returned || tree->left->label->bb == bb->dflink)) {
      *place = nullptr;
      erase_tree_list(last);
      dropped_branches.count();
    }
  }
}

static bool falls_through(const BBLK* bb) {
  const LIST* last = bb->last_statement();
  return !last || (last->tree->op != BRANCH && last->tree->op != RETURN &&
                   last->tree->op != URETURN && last->tree->op != SWITCH);
}

static void log_block(const BBLK* bb) {
  if (!print_debug) return;
  print_if_debug("\n++++(WRBBLOCKS): START NEXT BB, UON=%d, DFN=%d\n", bb->uon, bb->dfn);
  if (bb->label)
    print_if_debug("\tLABEL, INDEX=%d, REFCOUNT=%d, NAME=<NONE>\n", bb->label->number,
                   bb->label->refcount);
  print_if_debug("\tPREDECESSORS = ( ");
  for (const EDGE* e = bb->predecessors; e; e = e->rest)
    print_if_debug("%d ", e->first->dfn);
  print_if_debug(")\n\tSUCCESSORS =   ( ");
  for (const EDGE* e = bb->successors; e; e = e->rest)
    print_if_debug("%d ", e->first->dfn);
  print_if_debug(")\n\tLOOP DEPTH = %d\n", bb->loop ? bb->loop->level : 0);
}

// The statement in the form in which it goes out; more than one where it has to be split.
static void rewrite_for_output(LIST* s) {
  NODE* tree = s->tree;
  if (tree_is_EH_SWITCH(tree)) {
    tree->left = drop_wrapper(tree->left);
  } else if (is_magic_EH_MCALL_ASG(tree)) {
    NODE* args = drop_wrapper(tree->right);
    tree->right = args->right;
    args->right = nullptr;
    s->next = mkelist(tree, s->next, s->psn);
    s->tree = drop_wrapper(args);
  } else if (tree->op == CBRANCH) {
    tree->left = simp_for_control(simp_node(make_boolean(tree->left), nullptr));
    s->tree = revert_CBRANCH_with_builtin_expect(tree);
  }
}

void wrbblocks() {
  initialize_CFG_profiling_annotation(1, 1);
  lower_control_statements();
  renumber_bblocks();
  const BBLK* previous = nullptr;
  for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
    const bool referenced = bb->label && bb->label->refcount > 0;
    const bool reachable = !previous || referenced || falls_through(previous);
    if (reachable) {
      log_block(bb);
      if (referenced) wrbdlr(bb->label);
      for (LIST* s = bb->statements; s; s = s->next) {
        rewrite_for_output(s);
        wrexpr(s);
      }
      previous = bb;
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Exception tables

// Which entries of an exception table stay.
class KEPT_ENTRIES {
public:
  explicit KEPT_ENTRIES(const std::vector<EHT_ITEM>& table) : eht(table), kept(table.size()) {}
  bool operator[](size_t id) const { return kept[id]; }

  // An entry and those around it.
  void keep(unsigned id) {
    for (; id < eht.size() && !kept[id]; id = eht[id].region) {
      kept[id] = true;
      if (eht[id].kind != EHK_CATCH && eht[id].count < eht.size())
        highest_link = std::max(highest_link, eht[id].count);
    }
  }

  // What the code generator makes of an entry's link is its own business. It stays true, be it an
  // id or not, where the ids up to its value stay as they are.
  void keep_what_links_may_name() {
    for (unsigned id = 0; id <= highest_link; id++)
      keep(id);
  }

private:
  const std::vector<EHT_ITEM>& eht;
  std::vector<bool> kept;
  unsigned highest_link = 0;
};

// What a statement goes through on its way out, for a tree that stays one.
static void finish_cleanup(NODE*& tree) {
  LIST* cell = mkelist(tree, nullptr, nullptr);
  rewrite_for_output(cell);
  tree = cell->next ? mk_COMMAOP(cell->tree, cell->next->tree) : cell->tree;
  erase_tree_list_only(cell);
  if (finish_tree(tree)) {
    check_before_writing(tree);
  } else {
    erase_tree(tree);
    tree = nullptr;
  }
}

static void log_exception_table(const std::vector<EHT_ENTRY>& table) {
  if (!print_debug) return;
  print_if_debug("\n%c\tEHT\t%zu entries\n", '@', table.size());
  for (const EHT_ENTRY& entry : table) {
    print_if_debug("\t[%u]\tkind=%u, region=%u, count=%u\n", entry.id, entry.kind, entry.region,
                   entry.count);
    for (const I_CATCH_ENTRY& type : *entry.catches)
      print_if_debug("\t\tcatch \"%s\" %u %d\n", type.type_name.c_str(), type.number, type.flag);
    if (entry.cleanup) log_tree(static_cast<const NODE*>(entry.cleanup));
  }
}

// An end of a clean-up that no statement stands under goes; the others get dense ids.
static void write_exception_table(FUNINFO* fi) {
  std::vector<EHT_ITEM>& eht = fi->eht;
  if (eht.empty()) return;
  KEPT_ENTRIES kept(eht);
  auto each_call = [&](auto&& action) {
    auto calls_only = [&](NODE*& node) {
      if (node->op == CALL || node->op == UCALL) action(node);
    };
    visit_all_trees(fi, [&](NODE*& tree) { walk_postorder(tree, calls_only); });
  };
  each_call([&](NODE* call) { kept.keep(call->eh_entry); });
  for (unsigned i = 0; i < eht.size(); i++)
    if (eht[i].kind != EHK_CLEANUP_END) kept.keep(i);
  kept.keep_what_links_may_name();

  std::vector<unsigned> new_ids(eht.size());
  std::vector<EHT_ENTRY> out;
  for (unsigned i = 0; i < eht.size(); i++) {
    CHECK(kept[i] || eht[i].kind == EHK_CLEANUP_END);
    if (!kept[i]) {
      dropped_entries.count();
      continue;
    }
    if (eht[i].cleanup) finish_cleanup(eht[i].cleanup);
    new_ids[i] = static_cast<unsigned>(out.size());
    out.push_back(
        {new_ids[i], eht[i].kind, eht[i].region, eht[i].count, &eht[i].catches, eht[i].cleanup});
  }
  for (EHT_ENTRY& entry : out)
    if (entry.region < eht.size()) entry.region = new_ids[entry.region]; // the root's may be no id
  each_call([&](NODE* call) {
    if (call->eh_entry == 0 || call->eh_entry >= eht.size()) return;
    CHECK(new_ids[eht[call->eh_entry].id] != 0);
    call->eh_entry = new_ids[call->eh_entry];
  });
  log_exception_table(out);
  o_file->if_write_func_eht(out.data(), static_cast<unsigned>(out.size()));
}

// ---------------------------------------------------------------------------------------------
// Functions

void write_func_header() {
  FUNINFO* fi = currfuninfo;
  for (const std::string& comment : fi->header_comments)
    write_comment(comment.c_str());
  log_control("I_BF", TAG_BEGIN_FUNC, fi->begin_psn);
  log_symbol(fi->symbol);
  o_file->if_write_begin_func(fi->symbol, fi->begin_psn);
}

static void write_local(SYMTAB* sym) {
  revert_symbol_type(sym);
  o_file->if_enter_local(sym);
  log_symbol(sym);
  o_file->if_write_symbol(sym);
}

void write_func_body() {
  FUNINFO* fi = currfuninfo;
  std::vector<SYMTAB*> params;
  for (SYMTAB* sym = fi->symbols; sym; sym = sym->next)
    if (sym->level == PARAMETER_LEVEL && sym->in_interface) params.push_back(sym);
  std::sort(params.begin(), params.end(),
            [](const SYMTAB* a, const SYMTAB* b) { return a->serial < b->serial; });
  for (SYMTAB* sym : params)
    write_local(sym);
  log_control("I_EA", TAG_END_ARGS, fi->end_args_psn);
  o_file->if_write_end_args(fi->end_args_psn);

  for (SYMTAB* list : {fi->incoming, fi->reg_candidates, fi->inlined_params})
    for (SYMTAB* sym = list; sym; sym = sym->next) {
      CHECK(sym->level == OUTER_LEVEL);
      write_local(sym);
    }
  for (SYMTAB* sym = fi->symbols; sym; sym = sym->next)
    if (sym->level == OUTER_LEVEL) write_local(sym);
  log_control("I_EL", TAG_END_LOCALS, fi->end_locals_psn);
  wrstcr(TAG_END_LOCALS, fi->end_locals_psn);

  if (fi->is_leaf) {
    print_if_debug("\n%c\t'L':\t%s is a leaf function.\n", '@', fi->name.c_str());
    o_file->if_write_func_info('L');
  }
  finalize_ldspec_advice();
  write_exception_table(fi);
  wrbblocks();
  log_control("I_EF", TAG_END_FUNC, fi->end_psn);
  o_file->if_write_end_func(fi->end_psn);
}

using SYMBOL_SET = std::unordered_set<const SYMTAB*>;

static SYMBOL_SET symbols_named_in_EHT(const FUNINFO* fi) {
  SYMBOL_SET named;
  for (const EHT_ITEM& item : fi->eht)
    walk_preorder(item.cleanup, [&named](const NODE* node) {
      if (node->op == NAME) named.insert(node->u.sym);
      return true;
    });
  return named;
}

static bool sym_appears_in_EHT(const SYMTAB* sym, const SYMBOL_SET& named) {
  return named.count(sym) != 0;
}

// Locals of the general list that no statement names.
static void drop_unused_locals(FUNINFO* fi) {
  for (SYMTAB* sym = fi->symbols; sym; sym = sym->next)
    if (sym->level == OUTER_LEVEL) sym->set_bitnum(0);
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      walk_preorder(s->tree, [](const NODE* node) {
        if (node->op == NAME && node->u.sym && node->u.sym->level == OUTER_LEVEL)
          node->u.sym->inc_bitnum();
        return true;
      });
  const SYMBOL_SET named_in_EHT = symbols_named_in_EHT(fi);
  for (SYMTAB** place = &fi->symbols; *place;) {
    SYMTAB* sym = *place;
    if (sym->level == OUTER_LEVEL && sym->bitnum() == 0 && !sym_appears_in_EHT(sym, named_in_EHT)) {
      *place = sym->next;
      sym->next = nullptr;
      unused_locals.count();
    } else {
      place = &sym->next;
    }
  }
}

// MCALL(name, (args, state)) --> MCALL(name, args);  MCALL(name, state) --> UMCALL(name)
static void drop_implicit_state(NODE*& node) {
  if (node->op != MCALL) return;
  NODE* args = node->left;
  if (is_mcall_implicit_state(args)) {
    erase_tree(args);
    node->left = nullptr;
    node->op = UMCALL;
  } else if (args->op == COMMA && is_mcall_implicit_state(args->right)) {
    node->left = args->left;
    args->left = nullptr;
    erase_tree(args);
  }
}

void output_function() {
  FUNINFO* fi = currfuninfo;
  drop_unused_locals(fi);
  combine_asgs_to_memory();
  optimize_SWITCH_cases();
  init_reg_defs();
  allocate_regs();
  elim_dead_assigns(0, 0);
  if (!fi->has_property(FP_SUPPRESSED)) {
    write_func_header();
    fold_ANDBASGs();
    do_dd_analysis_for_be();
    simpcfg(true, false);
    rotate_loops();
    straighten_traces_in_cfg();
    disclose_vector_operations(false);
    disclose_floating_point_operations();
    unsimplify();
    disguise_vector_operations();
    visit_all_trees(fi, [](NODE*& tree) { walk_postorder(tree, drop_implicit_state); });
    finalize_dd_edges();
    disclose_vector_operations(false);
    write_func_body();
  }
  fi->symbol_maps.clear();
  erase_all();
  fi->clear_maps();
  currfuninfo = file_funinfo;
  currfunc = nullptr;
  restore_global_flags();
}

// ---------------------------------------------------------------------------------------------
// Global symbols

static constexpr unsigned KEEP_VISIBLE =
    FP_OUT_OF_ORDER | FP_MAIN | FP_ANONYMOUS | FP_INTERRUPT | FP_REFERENCED;

// What the front end says by a pragma that this tool doesn't know may be that something else uses
// the symbol, an interrupt vector for one.
static bool all_pragmas_are_known(const SYMTAB* sym) {
  static const char known[] = {'1', '3', '7', ':', 'E', 'G', 'J', 'K', 'N', 'Q', 'X', 23, 52, 59};
  for (const PRAGMA* p = sym->pragmas; p; p = p->next)
    if (std::find(std::begin(known), std::end(known), p->kind) == std::end(known)) return false;
  return true;
}

static void decide_linkage(SYMTAB* sym) {
  if (sym->type_changed)
    sym->sclass = sym->sclass == SC_EXTERN ? SC_EXTERN_TYPE_CHANGED : SC_TYPE_CHANGED;
  revert_symbol_type(sym);
  if (sym->wants_J_pragma) {
    auto* pragma = new PRAGMA;
    pragma->kind = 'J';
    pragma->next = sym->pragmas;
    sym->pragmas = pragma;
  }
  if (sym->sclass != SC_EXTERN && sym->sclass != SC_STATIC) return;
  const bool is_function = sym->type->is_func();
  const bool is_static = sym->sclass == SC_STATIC;
  const bool hidden_ok =
      is_function ? no_outside_callers || is_static : is_static && no_outside_writers;
  if (sym->policy == I_SYMTAB::ALWAYS || (sym->policy == I_SYMTAB::DEFAULT_C && !hidden_ok)) return;
  if (!all_pragmas_are_known(sym)) return;
  if (is_function) {
    FUNINFO* fi = find_FUNINFO(sym);
    if (!fi || !function_is_defined(fi) || fi->has_property(KEEP_VISIBLE)) return;
  } else if (sym->cqual & CQ_TOP) {
    return;
  }
  sym->policy = I_SYMTAB::NEVER;
  hidden_symbols.count();
}

static void log_pragma(const PRAGMA* p) {
  const char* arg = p->args.empty() ? "" : p->args[0].c_str();
  switch (p->kind) {
  case '1': print_if_debug("\t  Symbol pragma: SOURCE LANGUAGE = '%s'\n", arg); break;
  case '3': print_if_debug("\t  Symbol pragma: SYMBOL IS LOCAL STATIC OF %s()\n", arg); break;
  case '7': print_if_debug("\t  Symbol pragma: TRANSLATION UNIT ID #%s\n", arg); break;
  case ':': print_if_debug("\t  Symbol pragma: SYMBOL IS CLASS MEMBER\n"); break;
  case 'E': print_if_debug("\t  Symbol pragma: COMDAT GROUP %s\n", arg); break;
  case 'G':
    print_if_debug("\t  Symbol pragma: SYMBOL IS %s\n", strcmp(arg, "C") == 0 ? "CONSTRUCTOR"
                                                        : strcmp(arg, "D") == 0
                                                            ? "DESTRUCTOR"
                                                            : "CONSTRUCTOR/DESTRUCTOR");
    break;
  case 'K':
    print_if_debug("\t  Symbol pragma: EXCEPTION SPEC: (");
    for (const std::string& a : p->args)
      print_if_debug(" %s", a.c_str());
    print_if_debug(" )\n");
    break;
  case 'N': print_if_debug("\t  Symbol pragma: SYMBOL IS FUNCTION SYNONYM of %s\n", arg); break;
  case 'Q': print_if_debug("\t  Symbol pragma: FUNC_RET_BY_CCTOR\n"); break;
  case 'X': print_if_debug("\t  Symbol pragma: FUNCTION ALWAYS INLINE\n"); break;
  default:
    print_if_debug("\t  Symbol pragma #%d has %d arguments:", p->kind,
                   static_cast<int>(p->args.size()));
    for (const std::string& a : p->args)
      print_if_debug(" %s", a.c_str());
    print_if_debug("\n");
  }
}

void finish_global_symbols() {
  for (const std::string& comment : comments_between_functions) // after the last function
    write_comment(comment.c_str());
  comments_between_functions.clear();
  note_uses_of_definitions();
  for (SYMTAB* sym = global_symbols; sym; sym = sym->next)
    decide_linkage(sym);
  bool first = true;
  for (SYMTAB* sym = global_symbols; sym; sym = sym->next) {
    if (first)
      print_if_debug(
          "\n\fGlobal symbols\n\n-- variable -- size -- offset/class/scqual/aln/stype -- "
          "policy;\n");
    first = false;
    log_symbol(sym);
    if (!sym->init_list.empty()) {
      log_control("I_INIT", TAG_INIT, nullptr);
      o_file->if_write_init(sym);
      for (NODE*& tree : sym->init_list) {
        tree = insert_mandatory_casts(unsimplify_tree(tree));
        wrtree(tree);
      }
    }
    if (print_debug)
      for (const PRAGMA* p = sym->pragmas; p; p = p->next)
        log_pragma(p);
  }
}
