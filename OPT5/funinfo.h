// All that is known of one function.
#pragma once

#include "OPT5/bblk.h"
#include "OPT5/memory.h"
#include "OPT5/snmap.h"
#include "OPT5/symbol.h"
#include "ifile/if_client.h"
#include "support/bitvec.h"

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class LS;
class Dominator;
struct PTENV;
struct STACK_SHARING_SCOPE;
class PTR_TABLE;

// One entry of an exception table.
struct EHT_ITEM {
  unsigned id;
  unsigned kind; // EHT_ENTRY_KIND
  unsigned region, count;
  std::vector<I_CATCH_ENTRY> catches;
  NODE* cleanup; // may be null
};

enum FUNC_PROPERTY : unsigned {
  FP_MUST_KEEP = 0x2,       // kept though it could be suppressed
  FP_ON_UNSUPPRESSED = 0x4, // is or has been on unsuppressed_functions
  FP_NO_RETURN = 0x8,
  FP_TAKES_RESULT_PLACE = 0x40020, // has a parameter for the place of its result
  FP_SUPPRESSED = 0x40,            // no body is written
  FP_REFERENCED = 0x200,           // its address is known to more than the calls of it
  FP_OUT_OF_ORDER = 0x800,         // left out of the call-graph order
  FP_ANONYMOUS = 0x1000,
  FP_INTERRUPT = 0x2000,
  FP_MAIN = 0x40000000
};

// What one function knows of a symbol of file scope.
struct GLOBAL_MARKS {
  bool aliased, under_ARGREF = false;
  short bitnum = 0;
  long depnum = 0;
};

class FUNINFO : public serial_namespace<BBLK, FUNINFO> {
public:
  FUNCTION_MEMORY memory;
  SYMTAB* symbol = nullptr;
  std::string name; // without a language prefix
  TYPE* return_type = nullptr;
  PSN* begin_psn = nullptr;
  PSN* end_args_psn = nullptr;
  PSN* end_locals_psn = nullptr;
  PSN* end_psn = nullptr;
  std::vector<EHT_ITEM> eht;
  LIST* stmts = nullptr;    // while reading: newest first
  BBLK* bb_list = nullptr;  // entry block
  BBLK* uon_list = nullptr; // blocks in order of creation
  int bb_count = 0;
  LBL* newest_label = nullptr; // of the chain of all
  NODE* entry_tree = nullptr;  // copy of the argument prolog
  LIST* global_assertions = nullptr;
  LS* scope = nullptr;
  Dominator* dominators = nullptr;
  LOOP* loop_root = nullptr;                // null while no tree of loops has been built
  std::vector<std::unique_ptr<LOOP>> loops; // all records, in order of making

  // The four lists of local symbols.
  SYMTAB* incoming = nullptr;       // read or made since the last sym_split
  SYMTAB* inlined_params = nullptr; // parameters of inlined calls since the last sym_split
  SYMTAB* symbols = nullptr;        // general
  SYMTAB* reg_candidates = nullptr; // scalar and not volatile

  SYMPAIRLIST* widened = nullptr;   // locals and their partners in a wider type, owned
  SYMPAIRLIST* shortened = nullptr; // and in a narrower type, owned

  std::unique_ptr<PTR_TABLE> pointers; // null while there are none
  SYMBOL_MAPS symbol_maps;             // cleared when the function is written

  STACK_SHARING_SCOPE* sharing_root = nullptr; // owned
  STACK_SHARING_SCOPE* sharing_open = nullptr;
  TYPE* sharing_type = nullptr; // of the object that locals share, if any

  unsigned time = 0;          // microseconds spent in steps
  unsigned entry_count = -1u; // calls that a profile tells of; all ones if there is none
  bool cd_ok = true;          // no built-in of the body forbids data-flow transformations
  bool only_simple_calls = true;
  bool no_tail_recursion = false;
  bool is_leaf = true;              // no calls
  bool aliases_are_marked = false;  // by reset_alias_info, and nothing has changed since
  bool builtins_have_state = false; // built-ins of the body read or write hidden state
  SYMTAB* cctor_result = nullptr;   // local that points to the result of a copy constructor
  int temp_counter = 0;
  int sym_counter = 0;
  unsigned long serial_counter = 0;

  // What GLOBAL_SYM keeps here: only of symbols whose marks differ from those of a new one.
  std::unordered_map<const SYMTAB*, GLOBAL_MARKS> global_marks;

  std::vector<std::string> info_texts;      // deferred text of the information file
  std::vector<std::string> header_comments; // comments read ahead of the first statement

  explicit FUNINFO(const char* name);
  void clear_maps(); // what only the steps need
  ~FUNINFO();

  unsigned properties() const;
  bool has_property(unsigned bits) const { return properties() & bits; }
  void set_properties(unsigned bits);
  void clear_properties(unsigned bits);

private:
  mutable std::mutex lock;
  unsigned property_word = 0;
};

extern constinit thread_local SYMTAB* currfunc;
extern constinit thread_local FUNINFO* currfuninfo;
extern FUNINFO* file_funinfo; // the pseudo record " ? "

// The record of a function, made when there is none. One a symbol, to the end of the run.
FUNINFO* make_FUNINFO(SYMTAB* sym);
FUNINFO* make_FUNINFO(const char* name);
FUNINFO* find_FUNINFO(const SYMTAB* sym);
FUNINFO* find_FUNINFO(const char* name);
FUNINFO* find_FUNINFO_for_call(const NODE* call); // null for an indirect call
bool function_is_defined(const FUNINFO* fi);
void init_FUNINFO_flags(FUNINFO* fi, int level);
void erase_all_FUNINFOs();

// A list of functions, each with a number of calls.
struct FUNLIST {
  FUNINFO* fi;
  int ncalls;
  FUNLIST* next;
};
FUNLIST* mkFUNLIST(FUNINFO* fi, FUNLIST* next); // of no call
void free_FUNLIST(FUNLIST* list);

inline std::array<SYMTAB*, 4> lists_of_locals(const FUNINFO* fi) {
  return {fi->incoming, fi->inlined_params, fi->symbols, fi->reg_candidates};
}

// The locals and parameters whose address, or that of a part, a statement or a clean-up tree takes.
std::unordered_set<const SYMTAB*> locals_with_address_taken(const FUNINFO* fi);

// Calls visit(NODE*&) on each tree of a function: statements, be they still a list or in blocks,
// then clean-up trees.
template <class VISIT> void visit_all_trees(FUNINFO* fi, VISIT&& visit) {
  for (LIST* s = fi->stmts; s; s = s->next)
    visit(s->tree);
  for (BBLK* bb = fi->uon_list; bb; bb = bb->uon_link)
    for (LIST* s = bb->statements; s; s = s->next)
      visit(s->tree);
  for (EHT_ITEM& item : fi->eht)
    if (item.cleanup) visit(item.cleanup);
}

// Frees the current function's blocks, trees, labels and scopes.
void erase_all();
