// A tree node as the file layer sees it. The optimiser's NODE and the C front end's trees derive
// from it; the reader has its client make nodes.
#pragma once

#include "ifile/opcodes.h"

class TYPE;
class I_SYMTAB;
struct fkMDATA;

class BASE_NODE {
public:
  TYPE* type = nullptr;
  int op = NOP;

  // Operand k (0 left, 1 right), null if absent.
  virtual BASE_NODE* operand(int k) const = 0;
  virtual void set_operand(int k, BASE_NODE* node) = 0;

  virtual I_SYMTAB* name_symbol() const = 0;
  virtual int field_kind() const = 0;
  virtual fkMDATA* field_mval() const = 0;
  virtual TYPE* field_csu() const = 0;
  virtual unsigned long icon_uvalue() const = 0;
  virtual long icon_svalue() const = 0;
  virtual const char* lcon_value() const = 0; // decimal text, valid to the next call on this thread
  virtual const char* fcon_value() = 0;       // hexadecimal float text, owned by the node
  virtual const char* scon_value() const = 0;
  virtual unsigned scon_length() const = 0;
  virtual int label_id() const = 0;
  virtual int vreg_id() const = 0;
  virtual int skip_count() const = 0;
  virtual int case_count() const = 0;
  virtual int ddnode_id() const = 0;
  virtual int ddnode_locale() const = 0;
  virtual int ddnode_flags() const = 0;
  virtual unsigned call_num_args() const = 0;
  virtual unsigned call_num_vargs() const = 0;
  virtual const char* icall_name() const = 0;
  virtual unsigned eh_entry_id() const = 0;
  virtual unsigned get_edge_profile_value() const = 0; // 0xFFFFFFFF for none
  virtual void set_edge_profile_value(unsigned value) = 0;

  virtual void mk_name(I_SYMTAB* sym) = 0;
  virtual void mk_field(int kind, fkMDATA* member, TYPE* csu) = 0;
  virtual void mk_icon(long value) = 0;
  virtual void mk_lcon(const char* text) = 0;
  virtual void mk_fcon(const char* text) = 0;
  virtual void mk_scon(const char* text, unsigned length) = 0;
  virtual void mk_label(int number) = 0;
  virtual void mk_vreg(int number) = 0;
  virtual void mk_skip(int count) = 0;
  virtual void mk_switch(int cases) = 0;
  virtual void mk_ddnode(int id, int locale, int flags) = 0;
  virtual void mk_call(unsigned args, unsigned vargs) = 0;
  virtual void mk_ucall(unsigned eh_entry) = 0;
  virtual void mk_icall(const char* name) = 0;

  virtual ~BASE_NODE() = default;
};
