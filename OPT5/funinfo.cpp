// Records of functions: one a symbol, found by symbol or by name.

#include "OPT5/funinfo.h"

#include "OPT5/dominator.h"
#include "OPT5/loop.h"
#include "OPT5/restrict.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/stackshare.h"
#include "OPT5/streams.h"
#include "OPT5/treewalk.h"

#include <cstring>
#include <unordered_map>

thread_local SYMTAB* currfunc;
thread_local FUNINFO* currfuninfo;
FUNINFO* file_funinfo;

namespace {
std::mutex funinfo_lock;
std::unordered_map<const SYMTAB*, FUNINFO*> by_symbol;
std::unordered_map<std::string, FUNINFO*> by_name;
std::vector<FUNINFO*> all_records; // owns them
} // namespace

FUNINFO::FUNINFO(const char* text) : name(text) {}

// The trees and all else of the function's memory go in one go.
static void erase_body(FUNINFO* fi) {
  for (BBLK* bb = fi->uon_list; bb;) {
    BBLK* next = bb->uon_link;
    bb->~BBLK();
    bb = next;
  }
  fi->bb_list = fi->uon_list = nullptr;
  fi->bb_count = 0;
  fi->stmts = fi->global_assertions = nullptr;
  fi->entry_tree = nullptr;
  fi->symbol_maps.forget();
  fi->pointers.reset();
  fi->newest_label = nullptr;
  fi->eht.clear();
  LS::erase(fi->scope);
  fi->scope = nullptr;
  delete fi->dominators;
  fi->dominators = nullptr;
  fi->loops.clear();
  fi->loop_root = nullptr;
  fi->memory.reset();
}

void FUNINFO::clear_maps() {
  global_marks = {};
  info_texts = {};
  header_comments = {};
  eht = {};
  objects = {}; // of its blocks, which are gone
  free_symplist(widened);
  free_symplist(shortened);
  widened = shortened = nullptr;
}

FUNINFO::~FUNINFO() {
  erase_body(this); // one that was never written
  erase_stack_sharing(sharing_root);
  free_symplist(widened);
  free_symplist(shortened);
}

unsigned FUNINFO::properties() const {
  std::lock_guard<std::mutex> hold(lock);
  return property_word;
}

void FUNINFO::set_properties(unsigned bits) {
  std::lock_guard<std::mutex> hold(lock);
  property_word |= bits;
}

void FUNINFO::clear_properties(unsigned bits) {
  std::lock_guard<std::mutex> hold(lock);
  property_word &= ~bits;
}

static FUNINFO* new_record(const char* name) {
  auto* fi = new FUNINFO(name);
  all_records.push_back(fi);
  by_name.emplace(name, fi);
  return fi;
}

FUNINFO* make_FUNINFO(SYMTAB* sym) {
  std::lock_guard<std::mutex> hold(funinfo_lock);
  FUNINFO*& fi = by_symbol[sym];
  if (!fi) {
    // Statics of one name are functions of their own.
    auto* record = new FUNINFO(skip_name_prefix(sym->name));
    all_records.push_back(record);
    by_name.emplace(record->name, record);
    record->symbol = sym;
    fi = record;
    init_FUNINFO_flags(fi, 0);
  }
  return fi;
}

FUNINFO* make_FUNINFO(const char* name) {
  std::lock_guard<std::mutex> hold(funinfo_lock);
  auto place = by_name.find(name);
  return place != by_name.end() ? place->second : new_record(name);
}

FUNINFO* find_FUNINFO(const SYMTAB* sym) {
  std::lock_guard<std::mutex> hold(funinfo_lock);
  auto place = by_symbol.find(sym);
  return place == by_symbol.end() ? nullptr : place->second;
}

FUNINFO* find_FUNINFO(const char* name) {
  std::lock_guard<std::mutex> hold(funinfo_lock);
  auto place = by_name.find(name);
  return place == by_name.end() ? nullptr : place->second;
}

FUNINFO* find_FUNINFO_for_call(const NODE* call) {
  SYMTAB* callee = get_callee_for_call(call);
  return callee ? find_FUNINFO(callee) : nullptr;
}

bool function_is_defined(const FUNINFO* fi) {
  return fi->symbol && fi->symbol->is_defined;
}

void init_FUNINFO_flags(FUNINFO* fi, int) {
  static const char* const no_return[] = {"exit", "abort", "longjmp", "__cxa_throw",
                                          "__cxa_rethrow"};
  for (const char* name : no_return)
    if (fi->name == name) fi->set_properties(FP_NO_RETURN);
  if (fi->name == "main") fi->set_properties(FP_MAIN);
}

FUNLIST* mkFUNLIST(FUNINFO* fi, FUNLIST* next) {
  return new FUNLIST{fi, 0, next};
}

void free_FUNLIST(FUNLIST* list) {
  while (list) {
    FUNLIST* next = list->next;
    delete list;
    list = next;
  }
}

void erase_all_FUNINFOs() {
  currfunc = nullptr;
  currfuninfo = file_funinfo = nullptr;
  for (FUNINFO* fi : all_records)
    delete fi;
  all_records.clear();
  by_symbol.clear();
  by_name.clear();
}

static void note_address_taken(const NODE* tree, std::unordered_set<const SYMTAB*>& found) {
  walk_preorder(tree, [&found](const NODE* node) {
    if (node->op != UAND && node->op != ARGREF) return true;
    const NODE* place = node->left;
    while (place->op == STDOT || place->op == VFIELD || place->op == REAL || place->op == IMAG ||
           place->op == DDNODE)
      place = place->left;
    if (place->op == NAME && place->u.sym && place->u.sym->is_local()) found.insert(place->u.sym);
    return true;
  });
}

std::unordered_set<const SYMTAB*> locals_with_address_taken(const FUNINFO* fi) {
  std::unordered_set<const SYMTAB*> found;
  for (const BBLK* bb = fi->uon_list; bb; bb = bb->uon_link)
    for (const LIST* s = bb->statements; s; s = s->next)
      note_address_taken(s->tree, found);
  for (const EHT_ITEM& item : fi->eht)
    if (item.cleanup) note_address_taken(item.cleanup, found);
  return found;
}

void erase_all() {
  erase_body(currfuninfo);
}
