// Symbol and pragma records.

#include "ifile/i_file.h"

#include <cstdlib>
#include <cstring>

void I_FILE::if_enter_local(I_SYMTAB* sym) {
  sym->set_level(level);
  sym->index = static_cast<int>(locals.size());
  locals.push_back(sym);
}

void I_FILE::if_enter_global(I_SYMTAB* sym) {
  sym->set_level(0);
  sym->index = static_cast<int>(globals.size());
  globals.push_back(sym);
  // Positions of globals are written behind the table of file names. A reader has its table, and
  // one more name there would answer to a number that the file does not define.
  if (PSN* psn = sym->sym_psn(); psn && writing) i_enter_file_name(psn->file);
}

void I_FILE::if_copy_symbols(I_FILE* from) {
  for (I_SYMTAB* sym : from->globals)
    if_enter_global(sym);
}

I_SYMTAB* I_FILE::find_symref(unsigned ref_level, unsigned long index) {
  if (ref_level == NO_SYMBOL_LEVEL) return nullptr;
  const std::vector<I_SYMTAB*>& table = ref_level == 0 ? globals : locals;
  if (index >= table.size()) if_die(INVALID_RECORD);
  return table[index];
}

I_SYMTAB* I_FILE::if_read_sym() {
  std::string name = i_read_string();
  unsigned long size = i_read_uint();
  const unsigned long value = i_read_uint32();
  int sclass = i_read_s8();
  int cqual = i_read_s16();
  TYPE* type = i_read_typeref();
  TYPE* cpp_type = i_read_typeref();
  unsigned long align = i_read_uint32();
  if (size == 22) size = align = 32; // a pointer of an early tool
  int pragma_count = i_read_s8();
  const unsigned long location = i_read_uint32();
  unsigned option_set = i_read_uint32();
  PSN* psn = i_read_psn();
  unsigned policy = version >= -71 ? i_read_u8() : 0;
  if (policy > I_SYMTAB::NEVER || pragma_count < 0) if_die(INVALID_RECORD);
  end_record();

  I_SYMTAB* sym = client->cl_symbol_create(name.data(), type, cpp_type, size, align, value, sclass,
                                           cqual, psn, location, option_set,
                                           static_cast<I_SYMTAB::RETENTION_POLICY>(policy));
  if (level != 0)
    if_enter_local(sym);
  else
    if_enter_global(sym);

  for (; pragma_count; pragma_count--) {
    int tag, len;
    i_read_header(tag, len);
    if (tag != TAG_PRAGMA) if_die(INVALID_RECORD);
    client->cl_pragma(sym, if_read_pragma(sym));
    end_record();
  }
  return sym;
}

void I_FILE::if_read_symbol_def() {
  client->cl_symbol_def(if_read_sym());
}

PRAGMA* I_FILE::if_read_pragma(I_SYMTAB* sym) {
  unsigned long kind = i_read_uint();
  unsigned long count = i_read_uint();
  need(count); // an argument takes a byte at least
  if (kind > INT32_MAX) if_die(INVALID_RECORD);
  auto* pragma = new PRAGMA;
  pragma->kind = static_cast<int>(kind);
  for (; count; count--)
    pragma->args.emplace_back(i_read_string());
  if (sym) {
    if (kind == 23 || kind == 52)
      sym->policy = I_SYMTAB::ALWAYS;
    else if (kind == 59)
      sym->policy = I_SYMTAB::NEVER;
  }
  return pragma;
}

void I_FILE::if_write_symbol(I_SYMTAB* sym) {
  i_write_string(sym->sym_name());
  i_write_uint(sym->sym_size());
  i_write_uint(sym->sym_value());
  i_write_i8(sym->sym_class());
  i_write_i16(sym->sym_cqual());
  i_write_typeref(sym->sym_type());
  i_write_typeref(sym->sym_cpp_type());
  i_write_uint(sym->sym_align());
  i_write_i8(sym->sym_prag_num());
  i_write_uint(sym->sym_location());
  i_write_uint(sym->sym_option_set());
  i_write_psn(sym->sym_psn());
  i_write_i8(sym->policy);
  i_flush(TAG_SYMBOL);
  for (const PRAGMA* p = sym->sym_pragma(); p; p = p->next)
    if_write_pragma(p);
}

void I_FILE::if_write_pragma(const PRAGMA* pragma) {
  i_write_uint(pragma->kind);
  i_write_uint(pragma->args.size());
  for (const std::string& arg : pragma->args)
    i_write_string(arg.c_str());
  i_flush(TAG_PRAGMA);
}

void I_FILE::if_write_all_globals() {
  if (globals.empty()) return;
  globals_off = static_cast<uint32_t>(written);
  for (I_SYMTAB* sym : globals)
    if_write_symbol(sym);
  i_write_eof();
}
