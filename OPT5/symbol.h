// Symbols, and lists of them.
#pragma once

#include "OPT5/node.h"
#include "ifile/i_symtab.h"

#include <list>

// Lexical levels: of a symbol, of a scope.
enum LEVEL : unsigned {
  FILE_LEVEL = 0,
  PARAMETER_LEVEL = 1,
  OUTER_LEVEL = 2
}; // inner blocks: above

// Pragmas of symbols that passes ask for.
enum SYMBOL_PRAGMA {
  PRAGMA_COMDAT_GROUP = 'E',
  PRAGMA_SYNONYM = 'N', // of a function: names the one that it stands for
  PRAGMA_RETURNS_BY_CCTOR = 'Q',
};

enum STORAGE_CLASS {
  SC_AUTO = 1,
  SC_EXTERN = 2,
  SC_STATIC = 3,
  SC_REGISTER = 4,
  SC_EXTERN_DECL = 5,
  SC_LABEL = 6,
  SC_ARG = 9,
  SC_REGPARM = 17,
  SC_REGPARM_COPY = 22,
  SC_RESULT = 27,
  SC_TYPE_CHANGED = 108,
  SC_EXTERN_TYPE_CHANGED = 109
};

// Bits of the storage qualifier word.
enum CQUAL {
  CQ_NO_ADDRESS = 0x10,
  CQ_READ_ONLY = 0x80,
  CQ_KEPT_BITS = 0x19FF,
  CQ_ADDRESS_TAKEN = 0x2000,
  CQ_MUST_STAY = 0xC000,
  CQ_TOP = 0x8000
};

class SYMTAB : public I_SYMTAB {
public:
  char* name = nullptr;   // own copy
  unsigned long size = 0; // bits; equals the type's but for functions
  int value = 0;
  unsigned char sclass = 0, orig_class = 0;
  unsigned short cqual = 0;
  TYPE* type = nullptr;  // an enumeration is replaced by its integer, qualifiers kept
  TYPE* otype = nullptr; // as declared
  TYPE* cpp_type = nullptr;
  unsigned align = 0; // bits
  LS* scope = nullptr;
  PSN* psn = nullptr;
  PRAGMA* pragmas = nullptr;  // owned, new ones at the head
  std::list<NODE*> init_list; // owned
  unsigned level = 0;         // 0 global, 1 parameter, 2 outermost block, higher inner blocks
  unsigned location = 0;
  unsigned option_set = 0;
  SYMTAB* next = nullptr; // on the list that holds this symbol
  unsigned long serial;   // order of creation in the run

  bool mutable_ok = true;
  bool used = false;
  bool in_interface = false; // a parameter that callers pass
  bool type_changed = false;
  bool wants_J_pragma = false; // pragma "J" is added at the end of the run
  bool has_init = false;
  bool is_defined = false; // a function with a body in this unit
  int use_count = 0;

  SYMTAB();
  ~SYMTAB() override;
  SYMTAB(const SYMTAB&) = delete;
  SYMTAB& operator=(const SYMTAB&) = delete;

  const char* sym_name() const override { return name; }
  unsigned long sym_size() const override { return size; }
  unsigned long sym_value() const override { return static_cast<unsigned>(value); }
  int sym_class() const override { return static_cast<signed char>(sclass); }
  int sym_cqual() const override { return cqual; }
  TYPE* sym_type() const override { return type; }
  TYPE* sym_cpp_type() const override { return cpp_type; }
  unsigned sym_align() const override { return align; }
  PSN* sym_psn() const override { return psn; }
  PRAGMA* sym_pragma() const override { return pragmas; }
  int sym_prag_num() const override;
  unsigned sym_location() const override { return location; }
  unsigned sym_option_set() const override { return option_set; }
  unsigned sym_level() const override { return level; }
  void set_level(unsigned l) override { level = l; }
  void set_location(unsigned l) override { location = l; }
  bool is_aliased() const override { return alias_exception != aliased_by_default(); }
  short bitnum() const override { return bit_number; }
  long depnum() const override { return dep_number; }
  bool is_under_ARGREF() const override { return under_ARGREF; }
  void set_is_aliased(bool v) override;
  void set_bitnum(short v) override { bit_number = v; }
  void inc_bitnum() override { count_up(bit_number); }
  void set_depnum(long v) override { dep_number = v; }
  void inc_depnum() override { dep_number++; }
  void set_is_under_ARGREF(bool v) override { under_ARGREF = v; }
  void set_init_list(std::list<BASE_NODE*> roots) override;

  bool is_local() const { return level != FILE_LEVEL; }
  // What holds as long as nothing is known of a function: data of file scope may be reached by way
  // of pointers unless its address is never taken, a local may not.
  bool aliased_by_default() const { return level == FILE_LEVEL && !(cqual & CQ_NO_ADDRESS); }

private:
  bool alias_exception = false, under_ARGREF = false;
  short bit_number = 0;
  long dep_number = 0;
};

// A symbol of file scope in a threaded run: what differs from function to function is kept in the
// current FUNINFO.
class GLOBAL_SYM : public SYMTAB {
public:
  bool is_aliased() const override;
  short bitnum() const override;
  long depnum() const override;
  bool is_under_ARGREF() const override;
  void set_is_aliased(bool) override;
  void set_bitnum(short) override;
  void inc_bitnum() override;
  void set_depnum(long) override;
  void inc_depnum() override;
  void set_is_under_ARGREF(bool) override;

private:
  struct GLOBAL_MARKS marks() const;
  struct GLOBAL_MARKS& own_marks(); // made when there are none
};

// The symbols of file scope that the current function found to be aliased, or not, against the
// default return to it.
void reset_alias_exceptions();

struct SYMLIST {
  SYMTAB* sym;
  SYMLIST* next;
};
struct SYMALIST {
  SYMTAB* sym;
  NODE* tree;
  int info;
  SYMALIST* next;
};
struct SYMPAIRLIST {
  SYMTAB* first;
  SYMTAB* second;
  int info;
  SYMPAIRLIST* next;
};
SYMLIST* mk_symlist(SYMTAB*, SYMLIST* next);
SYMALIST* mk_symalist(SYMTAB*, NODE*, SYMALIST* next, int info);
SYMPAIRLIST* mk_symplist(SYMTAB*, SYMTAB*, SYMPAIRLIST* next, int info);
void free_symlist(SYMLIST*);
void free_symplist(SYMPAIRLIST*);
SYMTAB* revsymtab(SYMTAB* list); // in place, by `next`
SYMLIST* revsymlist(SYMLIST* list);
SYMALIST* revsymalist(SYMALIST* list);
// By the first of the pair.
const SYMPAIRLIST* find_sym_in_sympairlist(const SYMTAB*, const SYMPAIRLIST*);
SYMLIST* find_sym_in_symlist(const SYMTAB*, SYMLIST*);
SYMLIST* remove_sym_from_symlist(const SYMTAB*, SYMLIST*);
bool symbol_in_list(const SYMTAB* sym, const SYMTAB* list);
// Takes sym out of a `next` list; gives the new head.
SYMTAB* unlink_symbol(SYMTAB* sym, SYMTAB* list);
SYMTAB* find_symbol_by_name(const char* name, SYMTAB* list);

extern SYMTAB* global_symbols;       // symbols of file scope, in the order of reading, by `next`
extern SYMTAB* mcall_implicit_state; // "__MCALL_implicit_state__"
extern SYMTAB* flag_status_register; // "__flag_status_register__"

void init_symbols();
void erase_all_symbols(); // at the end of the run
// Puts a symbol of file scope on global_symbols and in the index by name, where a definition stands
// before a declaration.
void enter_global_symbol(SYMTAB* sym);
// The function's body is in this unit: its symbol is the definition of the name.
void note_function_body(SYMTAB* sym);
SYMTAB* find_global_symbol(const char* name);

// Sorts the locals of a function after reading or inlining: plain scalars to reg_candidates, all
// others to symbols. Labels are dropped.
void sym_split(FUNINFO* fi);
// A new local "$O$<kind><number>"; a negative number takes the function's next one. scope may be
// null for the outermost block.
SYMTAB* sym_temp(int kind, int number, TYPE* type, LS* scope);
// A local "<base>$<number>" of sym's type, where base is sym's name less a number that an earlier
// clone gave it. A negative number takes the function's next one.
SYMTAB* clone_symbol(SYMTAB* sym, int number);
// A local for a value of a vector type or a scalar: "$O<base>$<number>$<kind><width>", and for a
// vector "x<elements>"; the kind is f, s or u (float, signed, unsigned), the width is in bits.
SYMTAB* new_vt_sym_temp(TYPE* type, const char* base, int number);
// A local that holds the result of an `operator new` until its constructor has run.
SYMTAB* gen_operator_new_temp(TYPE* type);
bool is_operator_new_symbol(const SYMTAB* sym);
// Partners of a local that hold its value in a wider or a narrower type. At most one of each a
// symbol; find gives null if there is none, make gives the one there is.
SYMTAB* make_widened_symbol_entry(SYMTAB* sym, TYPE* wider);
SYMTAB* find_widened_symbol_entry(const SYMTAB* sym);
SYMTAB* make_shortened_symbol_entry(SYMTAB* sym, TYPE* narrower);
SYMTAB* find_shortened_symbol_entry(const SYMTAB* sym);
SYMTAB* sym_def(SYMTAB* sym);
// The definition among the globals that a declaration of the same name stands for; sym itself if
// none.
SYMTAB* get_sym_def_for_decl(SYMTAB* sym);
SYMTAB* intern_symbol(SYMTAB* sym, FUNINFO* fi);
SYMTAB* find_interned_symbol(SYMTAB* sym);
void map_over_interned_symbols(void (*visit)(SYMTAB*));
void interned_stats();
void revert_symbol_type(SYMTAB* sym);

const char* skip_name_prefix(const char* name);
bool name_has_prefix(const char* name);
bool is_internal_name(const char* name);
// "$O$", then c1 or c2, then only digits or nothing.
bool is_optimizer_temp(const char* name, char c1, char c2);
bool is_LIR_temp(const SYMTAB* sym);
bool is_internal_symbol(const SYMTAB* sym);

PRAGMA* symbol_has_pragma(const SYMTAB* sym, int kind); // null if not
PRAGMA* remove_pragma(int kind, PRAGMA* list);          // frees those of the kind; the new head
