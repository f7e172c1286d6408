// The unit as a whole: its call graph, and what is known of its symbols.
//
//   f calls g, h calls f  -->  the nodes h, f, g; what only a call names may lose its symbol

#include "OPT5/fileopt.h"

#include "OPT5/opt_client.h"
#include "OPT5/optables.h"
#include "OPT5/scope.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"

#include <algorithm>
#include <cctype>
#include <string>
#include <unordered_map>
#include <unordered_set>

std::vector<FUNINFO*> call_graph;
static std::unordered_set<std::string> words_of_texts;

static void note_use(SYMTAB* sym) {
  if (sym->type->is_func())
    make_FUNINFO(sym)->set_properties(FP_REFERENCED);
  else
    sym->cqual |= CQ_TOP;
}

// The name that an operator uses without taking the address: the callee of a direct call, the
// function that a return leaves.
static const NODE* plain_use_of_function(const NODE* node) {
  if (node->op == RETURN || node->op == URETURN) return node->left;
  if (!get_callee_for_call(node)) return nullptr;
  const NODE* name = node->left;
  while (name->op != NAME)
    name = name->left;
  return name;
}

void scan_for_funinfo(const NODE* tree, int, FUNINFO* user, int) {
  const NODE* plain_use = nullptr; // stands further down the same left spine
  walk_preorder(tree, [&](const NODE* node) {
    if (const NODE* name = plain_use_of_function(node)) plain_use = name;
    if (node->op == NAME && node->u.sym && node->u.sym->level == 0) {
      node->u.sym->use_count++;
      if (node != plain_use) note_use(node->u.sym);
    }
    if ((node->op == MCALL || node->op == UMCALL) && user) user->cd_ok = false;
    return true;
  });
}

// The next word at or after `text`; `text` moves past it. Empty at the end.
static std::string next_word(const char*& text) {
  auto belongs_to_word = [](unsigned char c) { return isalnum(c) || c == '_' || c == '$'; };
  while (*text && !belongs_to_word(*text))
    text++;
  const char* begin = text;
  while (belongs_to_word(*text))
    text++;
  return std::string(begin, text);
}

void note_names_in_text(const char* text) {
  for (std::string word = next_word(text); !word.empty(); word = next_word(text))
    words_of_texts.insert(std::move(word));
}

static bool is_named_in_a_text(const SYMTAB* sym) {
  if (words_of_texts.empty()) return false;
  const char* name = sym->name;
  const char* bare = skip_name_prefix(sym->name);
  const std::string word = next_word(name); // of a name of several words the first must do
  return words_of_texts.count(word) || words_of_texts.count("_" + word) ||
         words_of_texts.count(next_word(bare));
}

void note_uses_of_definitions() {
  for (SYMTAB* sym = global_symbols; sym; sym = sym->next) {
    if (is_named_in_a_text(sym)) note_use(sym);
    SYMTAB* definition = get_sym_def_for_decl(sym);
    if (definition == sym) continue;
    const FUNINFO* record = find_FUNINFO(sym);
    const bool is_used = sym->type->is_func() ? record && record->has_property(FP_REFERENCED)
                                              : (sym->cqual & CQ_TOP) != 0;
    if (is_used) note_use(definition);
  }
}

void forget_file_analysis() {
  call_graph.clear();
  words_of_texts.clear();
}

// Every symbol keeps its linkage: nothing is known of its users outside.
void analyze_global_symbols() {}

// A static of a function is safe only when all its uses are known to be dead on entry; none is.
void identify_fl_statics_safe_for_auto() {}
void convert_safe_fl_statics_to_auto(FUNINFO*) {}

void init_ipcp_for_fun() {}

// Without call edges the order of reading is as good as any. Functions are taken from the graph in
// reverse, so the nodes stand in reverse order.
void set_up_and_build_call_graph() {
  call_graph.clear();
  for (SYMTAB* sym : functions)
    call_graph.push_back(make_FUNINFO(sym));
  std::vector<FUNINFO*>(call_graph.rbegin(), call_graph.rend()).swap(call_graph);
}

// ---------------------------------------------------------------------------------------------
// What is known of functions, as text

FUNLIST* list_callees(const FUNINFO* fi) {
  FUNLIST *first = nullptr, **tail = &first;
  std::unordered_map<const FUNINFO*, FUNLIST*> cells;
  auto note = [&](const NODE* tree) {
    walk_preorder(tree, [&](const NODE* node) {
      SYMTAB* callee = op_is_call(node->op) ? get_callee_for_call(node) : nullptr;
      if (!callee) return true;
      FUNINFO* record = make_FUNINFO(get_sym_def_for_decl(callee));
      FUNLIST*& cell = cells[record];
      if (!cell) {
        cell = *tail = mkFUNLIST(record, nullptr);
        tail = &cell->next;
      }
      cell->ncalls++;
      return true;
    });
  };
  for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
    for (const LIST* s = bb->statements; s; s = s->next)
      note(s->tree);
  for (const EHT_ITEM& item : fi->eht)
    if (item.cleanup) note(item.cleanup);
  return first;
}

static const char* const property_names[32] = {"FUN_calls_anonymous",
                                               "FUN_cannot_suppress",
                                               "FUN_is_unsuppressed",
                                               "FUN_never_returns",
                                               "FUN_calls_OUTSIDE",
                                               "FUN_cannot_inline",
                                               "FUN_is_suppressed",
                                               "FUN_no_global_asg",
                                               "FUN_no_global_use",
                                               "FUN_is_referenced",
                                               "FUN_calls_SYSTEM",
                                               "FUN_is_processed",
                                               "FUN_is_anonymous",
                                               "FUN_is_interrupt",
                                               "FUN_follows_call",
                                               "FUN_value_needed",
                                               "FUN_no_byref_asg",
                                               "FUN_is_pure_fun",
                                               "FUN_cannot_beta",
                                               "FUN_no_RPT_loop",
                                               nullptr,
                                               "FUN_is_inlined",
                                               "FUN_no_ind_asg",
                                               "FUN_no_ind_use",
                                               "FUN_is_cg_root",
                                               nullptr,
                                               "FUN_is_called",
                                               "FUN_is_extern",
                                               "FUN_is_SYSTEM",
                                               "FUN_has_1_BB",
                                               "FUN_is_main",
                                               "FUN_is_cpp"};

// Inner blocks with symbols of their own: how many, and how many of them lie in each other.
static std::pair<unsigned, unsigned> non_trivial_scopes(const LS* root) {
  unsigned count = 0, deepest = 0;
  std::vector<std::pair<const LS*, unsigned>> pending{{root, 0}};
  while (!pending.empty()) {
    auto [scope, depth] = pending.back();
    pending.pop_back();
    if (scope->level > static_cast<int>(OUTER_LEVEL) && !scope->symbols.empty()) {
      count++;
      deepest = std::max(deepest, ++depth);
    }
    for (const LS* child = scope->first_child; child; child = child->sibling)
      pending.emplace_back(child, depth);
  }
  return {count, deepest};
}

static void dump_properties(FILE* to, unsigned properties) {
  for (int bit = 0; bit < 32; bit++)
    if ((properties >> bit & 1) && property_names[bit])
      print_checked(to, "\t%s\n", property_names[bit]);
}

static void dump_in_full(FILE* to, const FUNINFO* fi, const FUNLIST* all) {
  print_checked(to, "\n%s() ", fi->name.c_str());
  while (all && all->fi != fi)
    all = all->next;
  print_checked(to, " is called from %d sites in this file.\n", all ? all->ncalls : 0);
  if (fi->entry_count != -1u)
    print_checked(to, "    It has been profiled.    Entry count: %u\n", fi->entry_count);
  if (fi->scope) {
    const auto [scopes, depth] = non_trivial_scopes(fi->scope);
    print_checked(to, "    It has %u non-trivial scope blocks nested %u deep.\n", scopes, depth);
  }
  print_checked(to, "    It calls these functions:\n");
  FUNLIST* callees = list_callees(fi);
  for (const FUNLIST* cell = callees; cell; cell = cell->next)
    print_checked(to, "\t%s() (%d times)\n", cell->fi->name.c_str(), cell->ncalls);
  if (!callees) print_checked(to, "\t<NONE>\n");
  free_FUNLIST(callees);
  if (fi->symbol && fi->symbol->type->is_func()) {
    const FUNC_PARTS* parts = fi->symbol->type->func_parts();
    if (!parts->params.empty() || !parts->is_prototyped)
      print_checked(to, "    It has these parameter types:\n");
    int number = 0;
    for (const auto& param : parts->params)
      print_checked(to, "\t#%d: %s\n", ++number, param.type->str().c_str());
    if (!parts->is_prototyped) print_checked(to, "\t<UNKNOWN>\n");
  }
  bool any = false;
  for (const SYMTAB* list : lists_of_locals(fi))
    for (const SYMTAB* sym = list; sym; sym = sym->next) {
      if (sym->sclass != SC_STATIC) continue;
      if (!any) print_checked(to, "    It has these function-local static variables:\n");
      any = true;
      print_checked(to, "\t%s\n", sym->name);
    }
  print_checked(to, "    It has these properties: 0x%08lx\n",
                static_cast<unsigned long>(fi->properties()));
  dump_properties(to, fi->properties());
}

void dump_FUNINFO(const FUNINFO* fi, const FUNLIST* all) {
  if (!all) {
    if (!print_debug || !FDEBUG) return;
    print_if_debug("\n%s() has these properties: 0x%08lx\n", fi->name.c_str(),
                   static_cast<unsigned long>(fi->properties()));
    dump_properties(FDEBUG, fi->properties());
    return;
  }
  if (print_debug && FDEBUG) dump_in_full(FDEBUG, fi, all);
  if (write_opt_info && finfo) dump_in_full(finfo, fi, all);
}

void dump_call_graph_debug() {
  if (!(print_debug && FDEBUG) && !(write_opt_info && finfo)) return;
  std::vector<FUNINFO*> records;
  for (SYMTAB* sym : functions)
    records.push_back(make_FUNINFO(sym));
  std::stable_sort(records.begin(), records.end(),
                   [](const FUNINFO* a, const FUNINFO* b) { return a->name > b->name; });
  FUNLIST* all = nullptr;
  std::unordered_map<const FUNINFO*, FUNLIST*> cells;
  for (FUNINFO* fi : records)
    all = cells[fi] = mkFUNLIST(fi, all);
  for (const FUNINFO* fi : records) {
    FUNLIST* callees = list_callees(fi);
    for (const FUNLIST* cell = callees; cell; cell = cell->next)
      if (const auto known = cells.find(cell->fi); known != cells.end())
        known->second->ncalls += cell->ncalls;
    free_FUNLIST(callees);
  }
  for (const FUNLIST* cell = all; cell; cell = cell->next)
    dump_FUNINFO(cell->fi, cell);
  free_FUNLIST(all);
}
