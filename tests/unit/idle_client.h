// A client of the file layer, and symbols, that do nothing else.
#pragma once

#include "OPT5/node.h"
#include "ifile/i_file.h"

#include <memory>
#include <string>
#include <vector>

// A symbol that is just its type, name and position.
struct IDLE_SYMBOL : I_SYMTAB {
  TYPE* type;
  std::string name;
  PSN* psn;
  unsigned level = 0;
  explicit IDLE_SYMBOL(TYPE* t, const char* n = "x", PSN* p = nullptr) : type(t), name(n), psn(p) {}
  const char* sym_name() const override { return name.c_str(); }
  unsigned long sym_size() const override { return 0; }
  unsigned long sym_value() const override { return 0; }
  int sym_class() const override { return 2; }
  int sym_cqual() const override { return 0; }
  TYPE* sym_type() const override { return type; }
  TYPE* sym_cpp_type() const override { return nullptr; }
  unsigned sym_align() const override { return 16; }
  PSN* sym_psn() const override { return psn; }
  PRAGMA* sym_pragma() const override { return nullptr; }
  int sym_prag_num() const override { return 0; }
  unsigned sym_location() const override { return 0; }
  unsigned sym_option_set() const override { return 0; }
  unsigned sym_level() const override { return level; }
  void set_level(unsigned l) override { level = l; }
  void set_location(unsigned) override {}
  bool is_aliased() const override { return false; }
  short bitnum() const override { return 0; }
  long depnum() const override { return 0; }
  bool is_under_ARGREF() const override { return false; }
  void set_is_aliased(bool) override {}
  void set_bitnum(short) override {}
  void inc_bitnum() override {}
  void set_depnum(long) override {}
  void inc_depnum() override {}
  void set_is_under_ARGREF(bool) override {}
  void set_init_list(std::list<BASE_NODE*>) override {}
};

// Keeps the symbols it is given.
struct IDLE_CLIENT : IF_CLIENT {
  std::vector<std::unique_ptr<IDLE_SYMBOL>> symbols;
  bool cl_magic(int, int) override { return true; }
  void cl_source(const char*) override {}
  I_SYMTAB* cl_symbol_create(char* name, TYPE* type, TYPE*, unsigned long, unsigned long,
                             unsigned long, int, int, PSN* psn, unsigned long, unsigned,
                             I_SYMTAB::RETENTION_POLICY) override {
    symbols.push_back(std::make_unique<IDLE_SYMBOL>(type, name, psn));
    return symbols.back().get();
  }
  void cl_pragma(I_SYMTAB*, PRAGMA*) override {}
  BASE_NODE* cl_new_node(int op, TYPE* type) override { return new_node(op, type); }
  void cl_symbol_def(I_SYMTAB*) override {}
  void cl_init(I_SYMTAB*) override {}
  void cl_merge_type_defs() override {}
  void cl_preprocess_statics() override {}
  void cl_begin_func(I_SYMTAB*, PSN*) override {}
  void cl_end_args(PSN*) override {}
  void cl_end_locals(PSN*) override {}
  void cl_begin_block(PSN*) override {}
  void cl_end_block(PSN*) override {}
  void cl_end_func(PSN*) override {}
  void cl_ir_end_func(PSN*) override {}
  void cl_expr(BASE_NODE*, PSN*) override {}
  void cl_label(unsigned) override {}
  void cl_inline_asm(char*, PSN*) override {}
  void cl_comment(char*) override {}
  void cl_func_info(int) override {}
  void cl_func_eht(EHT_ENTRY*, unsigned) override {}
  void cl_loop_def(unsigned, unsigned, unsigned long, unsigned long, unsigned long) override {}
  void cl_loop_header(unsigned, I_SYMTAB*, int) override {}
  void cl_dd_vector(int, int, int, DD_ENTRY*) override {}
  void cl_dd_edge(int, int, int) override {}
  void cl_mbank(int, int, int, int, int) override {}
};
