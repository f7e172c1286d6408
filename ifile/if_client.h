// What a user of the reader supplies. Called in file order.
#pragma once

#include "ifile/i_symtab.h"

class BASE_NODE;
class TYPE;

enum EHT_ENTRY_KIND { EHK_ROOT_NODE = 0, EHK_CLEANUP = 1, EHK_CATCH = 2, EHK_CLEANUP_END = 3 };

struct I_CATCH_ENTRY {
  std::string type_name;
  unsigned number;
  bool flag;
};

// One entry of a function's exception table. The receiver takes what the pointers refer to.
struct EHT_ENTRY {
  unsigned id;
  unsigned kind; // EHT_ENTRY_KIND
  unsigned region;
  unsigned count; // of catches, or a link
  std::vector<I_CATCH_ENTRY>* catches;
  BASE_NODE* cleanup; // may be null
};

// One element of a dependence vector.
struct DD_ENTRY {
  unsigned char kind;
  signed char distance;
};

class IF_CLIENT {
public:
  virtual bool cl_magic(int version, int cpu) = 0;
  virtual void cl_source(const char* name) = 0;
  virtual I_SYMTAB* cl_symbol_create(char* name, TYPE* type, TYPE* cpp_type, unsigned long size,
                                     unsigned long align, unsigned long value, int sclass,
                                     int cqual, PSN* psn, unsigned long location,
                                     unsigned option_set, I_SYMTAB::RETENTION_POLICY policy) = 0;
  // The client takes the pragma. sym is null for one that stands alone.
  virtual void cl_pragma(I_SYMTAB* sym, PRAGMA* pragma) = 0;
  virtual void cl_symbol_def(I_SYMTAB* sym) = 0;
  virtual void cl_init(I_SYMTAB* sym) = 0; // the symbol's initialiser has been read
  // Makes an empty node, of which the reader sets payload and operands. It may be of another
  // operator than asked for.
  virtual BASE_NODE* cl_new_node(int op, TYPE* type) = 0;
  virtual void cl_merge_type_defs() = 0;
  virtual void cl_preprocess_statics() = 0;
  virtual void cl_begin_func(I_SYMTAB* func, PSN* psn) = 0;
  virtual void cl_end_args(PSN* psn) = 0;
  virtual void cl_end_locals(PSN* psn) = 0;
  virtual void cl_begin_block(PSN* psn) = 0;
  virtual void cl_end_block(PSN* psn) = 0;
  virtual void cl_end_func(PSN* psn) = 0;
  virtual void cl_ir_end_func(PSN* psn) = 0;
  virtual void cl_expr(BASE_NODE* root, PSN* psn) = 0;
  virtual void cl_label(unsigned number) = 0;
  virtual void cl_inline_asm(char* text, PSN* psn) = 0;
  virtual void cl_comment(char* text) = 0;
  virtual void cl_func_info(int info) = 0;
  virtual void cl_func_eht(EHT_ENTRY* entries, unsigned count) = 0;
  virtual void cl_loop_def(unsigned id, unsigned parent, unsigned long min, unsigned long max,
                           unsigned long multiple) = 0;
  virtual void cl_loop_header(unsigned id, I_SYMTAB* lcv, int flag) = 0;
  virtual void cl_dd_vector(int id, int kind, int n, DD_ENTRY* entries) = 0;
  virtual void cl_dd_edge(int from, int to, int kind) = 0;
  virtual void cl_mbank(int a, int b, int c, int d, int e) = 0;
  virtual ~IF_CLIENT() = default;
};
