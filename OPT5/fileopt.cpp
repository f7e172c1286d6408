// The unit as a whole: its call graph, and what is known of its symbols.
//
//   f calls g, h calls f  -->  the nodes h, f, g; what only a call names may lose its symbol

#include "OPT5/fileopt.h"

#include "OPT5/opt_client.h"
#include "OPT5/optables.h"
#include "OPT5/treewalk.h"

#include <cctype>
#include <string>
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
