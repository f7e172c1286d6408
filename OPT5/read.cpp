// Pass 1's reading stage: what is done to each function when its last record has been read.
//
//   statements, newest first, in nested blocks  -->  a graph, and locals of one outermost block

#include "OPT5/fcp.h"
#include "OPT5/fileopt.h"
#include "OPT5/mvp.h"
#include "OPT5/opt_client.h"
#include "OPT5/procint.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/simp1.h"
#include "OPT5/simpcfg.h"
#include "OPT5/target.h"
#include "OPT5/treewalk.h"
#include "OPT5/verify.h"

// Statements were read newest first.
static void seq_trees() {
  LIST* done = nullptr;
  while (LIST* cell = currfuninfo->stmts) {
    currfuninfo->stmts = cell->next;
    cell->next = done;
    done = cell;
  }
  currfuninfo->stmts = done;
}

// Locals of inner blocks join the outermost one; register hints lose what the hint makes void.
static void reduce_local_storage(FUNINFO* fi) {
  for (SYMTAB* sym = fi->incoming; sym; sym = sym->next) {
    sym->level = std::min<unsigned>(sym->level, OUTER_LEVEL);
    if ((sym->sclass == SC_REGISTER || sym->sclass == SC_REGPARM_COPY) && sym->type->is_volatile())
      sym->type = tp->remove_known_qual(sym->type, TYPE::Q_VOLATILE);
  }
}

static void simplify_trees(FUNINFO* fi) {
  visit_all_trees(fi, [](NODE*& tree) {
    walk_postorder(tree, fix_BIF_types);
    tree = simp_tree(tree, nullptr);
  });
}

// A void function that builds its result through its first parameter keeps that pointer in a
// local which never changes and is never null.
static void mark_copy_constructor_result(FUNINFO* fi) {
  if (!fi->return_type->is_void() || !symbol_has_pragma(fi->symbol, PRAGMA_RETURNS_BY_CCTOR))
    return;
  LIST* first = fi->stmts; // newest first
  while (first && first->next)
    first = first->next;
  if (!first) return;
  NODE* asg = first->tree;
  while (asg->op == PCOMMA)
    asg = asg->left;
  if (asg->op != ASG || asg->left->op != NAME || asg->right->op != NAME) return;
  SYMTAB* local = asg->left->u.sym;
  SYMTAB* param = asg->right->u.sym;
  if (!local || !param || local->level != OUTER_LEVEL || param->level != PARAMETER_LEVEL ||
      param->index != 0)
    return;
  if (std::string(local->name) != param->name || !local->type->is_pointer()) return;
  if (!local->type->underlying_type()->elem_type()->is_csu()) return;
  if (!compatible_types(local->type, param->type)) return;
  for (SYMTAB* sym : {local, param})
    sym->type = tp->mk_qual(sym->type, TYPE::Q_CONST);
  asg->left->type = local->type;
  asg->right->type = param->type;
  fi->cctor_result = local;
  NODE* not_null = maketree(NEQ, mk_NAME(local, local->scope),
                            maketree(PCONV, mk_ICON(0, tp->mk_plain_int()), nullptr, local->type),
                            tp->mk_plain_int());
  NODE* promise = maketree(NASSERT, not_null, nullptr, tp->mk_void());
  // Behind the first statement is in front of it in the reversed list.
  LIST** place = &fi->stmts;
  while (*place != first)
    place = &(*place)->next;
  *place = mkelist(promise, first, first->psn);
}

void finish_reading_function(PSN* end_psn, unsigned open_scopes) {
  FUNINFO* fi = currfuninfo;
  for (; open_scopes; open_scopes--)
    fi->scope->close(end_psn, currfunc, 0);
  fi->end_psn = end_psn;
  fi->incoming = revsymtab(fi->incoming);
  reduce_local_storage(fi);
  fi->sym_counter = 1;
  for (SYMTAB* sym = fi->incoming; sym; sym = sym->next)
    if (sym->index >= fi->sym_counter) fi->sym_counter = sym->index + 1;
  sym_split(fi);
  if (fi->eht.empty())
    for (LIST* s = fi->stmts; s; s = s->next)
      walk_postorder(s->tree, [](NODE*& node) {
        if (node->op == CALL || node->op == UCALL) node->eh_entry = 0;
      });
  if (fi->builtins_have_state) promote_ICALLs_with_state(fi);
  disguise_floating_point_operations();
  simplify_trees(fi);
  check_for_synonym_function_in_pass_1();
  check_integrable_definition(fi);
  mark_copy_constructor_result(fi);
  seq_trees();
  buildcfg();
  simpcfg(false, false);
  fast_CP(4, 1);
  preprocess_fundef(fi);
  init_ipcp_for_fun();
  if (do_IP_MVP) init_IP_MVP_for_current_function();
  identify_fl_statics_safe_for_auto();
  convert_safe_fl_statics_to_auto(fi);
  verify_after("reading");
}
