// A symbol as the file layer sees it, and the pragmas that go with symbols.
#pragma once

#include "support/psn.h"

#include <list>
#include <string>
#include <vector>

class TYPE;
class BASE_NODE;

// A pragma of a symbol, or one that stands alone between statements.
struct PRAGMA {
  int kind = 0;
  std::vector<std::string> args;
  PRAGMA* next = nullptr;
};

class I_SYMTAB {
public:
  enum RETENTION_POLICY : unsigned char { DEFAULT_C, ALWAYS, EXTERNAL, NEVER };

  int index = -1; // place in the `globals` or `locals` vector of the file layer; -1 until entered
  RETENTION_POLICY policy = DEFAULT_C;

  virtual const char* sym_name() const = 0;
  virtual unsigned long sym_size() const = 0; // bits
  virtual unsigned long sym_value() const = 0;
  virtual int sym_class() const = 0;
  virtual int sym_cqual() const = 0;
  virtual TYPE* sym_type() const = 0;
  virtual TYPE* sym_cpp_type() const = 0;
  virtual unsigned sym_align() const = 0; // bits
  virtual PSN* sym_psn() const = 0;
  virtual PRAGMA* sym_pragma() const = 0; // head of the list, in file order
  virtual int sym_prag_num() const = 0;
  virtual unsigned sym_location() const = 0;
  virtual unsigned sym_option_set() const = 0;
  virtual unsigned sym_level() const = 0;
  virtual void set_level(unsigned level) = 0;
  virtual void set_location(unsigned location) = 0;
  virtual bool is_aliased() const = 0;
  virtual short bitnum() const = 0;
  virtual long depnum() const = 0;
  virtual bool is_under_ARGREF() const = 0;
  virtual void set_is_aliased(bool) = 0;
  virtual void set_bitnum(short) = 0;
  virtual void inc_bitnum() = 0;
  virtual void set_depnum(long) = 0;
  virtual void inc_depnum() = 0;
  virtual void set_is_under_ARGREF(bool) = 0;
  // The initialiser roots up to and including ENDINIT; the symbol takes ownership.
  virtual void set_init_list(std::list<BASE_NODE*> roots) = 0;

  virtual ~I_SYMTAB() = default;
};
