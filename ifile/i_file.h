// The intermediate file, in either direction. The container (primitives, header, sections), type,
// symbol and statement records are in the if_*.cpp files of this folder.
//
// Robustness: lengths, counts and references are checked against the file before use; damaged input
// ends the run through if_die with a message and status 1 (if_open returns null for a bad header).
#pragma once

#include "ifile/base_node.h"
#include "ifile/if_client.h"
#include "ifile/tags.h"

#include <cstdint>
#include <cstdio>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class TYPE_PKG;
struct CSU_PARTS;
struct FUNC_PARTS;
struct TYPE_PARAM;

constexpr int ICODE_VERSION = -71;
constexpr int OLDEST_ICODE_VERSION = -86;
constexpr int ICODE_CPU_ID = 600;
constexpr unsigned NO_SYMBOL_LEVEL = 0xFFFFFFFFu;

struct OPTION_SET {
  unsigned number = 0;
  std::vector<std::string> strings;
};

// What the reader keeps for a type number.
struct TYPE_INFO {
  TYPE* type = nullptr;
  unsigned depth = 0;        // how many derivations it stands on; bounded against hostile input
  int open_list = -1;        // kind of the list being read, -1 for none
  bool complete_def = false; // defined, and not just by a class's short form
  // A function type whose parameters are being read; `type` is null until the first use of its
  // number.
  std::shared_ptr<FUNC_PARTS> unfinished;
  TYPE* return_type = nullptr;
};

// Operators that can stand in a file, indexed by code; name is null for unused codes.
struct IF_NODE_INFO {
  int code;
  const char* name;
  int operands;
};
extern IF_NODE_INFO if_node_info[FIRST_MEMORY_OP];
void if_node_table_init();
void if_enter_node(int code, const char* name, int operands);

// Ends the run: `message` on standard error, status 1.
[[noreturn]] void if_die(const char* message);
inline constexpr const char* INVALID_RECORD = "\nINTERNAL ERROR: Invalid I-code record, aborting";
// Walks are recursive here and there, so that nesting has bounds.
inline constexpr int MAX_RIGHT_DEPTH = 2000;     // right operands on the way to a node; open blocks
inline constexpr unsigned MAX_TYPE_DEPTH = 1000; // derivations, and values within values
inline constexpr const char* NESTED_TOO_DEEPLY =
    "\n>> Input is nested too deeply: blocks and right operands go 2000 deep, types 1000, aborting";

class I_FILE {
public:
  std::string source_name;
  FILE* fp = nullptr;
  long base = 0; // stream position of the icode's first byte; all offsets are relative to it
  bool writing = false;
  IF_CLIENT* client = nullptr;
  int version = ICODE_VERSION;
  uint32_t options_off = 0, init_off = 0, types_off = 0, files_off = 0, globals_off = 0;
  std::list<OPTION_SET*> option_sets; // owned
  TYPE_PKG* tp = nullptr;             // null: type references read as null
  std::map<unsigned long, TYPE_INFO> types;
  std::vector<TYPE_INFO*> types_by_number; // those of the low numbers, as far as looked up
  std::vector<const char*> file_names;     // interned; number k is entry k-1
  uint32_t extra_word = 0;
  unsigned level = 0; // 0 outside functions, 1 parameters, 2 outer block, higher inner blocks
  std::vector<I_SYMTAB*> locals, globals; // not owned

  // Reads the header and the options. Null for a bad header, with the stream left open.
  static I_FILE* if_open(FILE* fp, IF_CLIENT* client);
  // New file for writing. Writes a header with zero offsets.
  static I_FILE* if_create(FILE* fp, TYPE_PKG* tp, const char* source, uint32_t extra_word);
  I_FILE() = default; // a blank one, for the makers above
  ~I_FILE();
  I_FILE(const I_FILE&) = delete;
  I_FILE& operator=(const I_FILE&) = delete;
  void if_type_init(TYPE_PKG* pkg) { tp = pkg; }
  void if_read_file();
  // Reads one function's records from `offset` (0: from here) up to its end record.
  void if_read_func(unsigned long offset);
  void if_skip_func();
  unsigned long if_tell() const;
  void if_seek(unsigned long offset);
  void if_flush();
  // A writer writes its tables and the final header first, unless `abandon`. Frees the tables and
  // closes the stream. 1 on a stream failure, else 0. The object itself stays for its owner.
  int if_close(bool named_types_too, bool abandon);
  void if_copy_raw(unsigned long offset, unsigned long length, I_FILE* from);
  void if_copy_symbols(I_FILE* from); // enter the globals of `from`, under the same indices
  // Walks the records of the whole file. On one whose length is cut or reaches behind the file's
  // end it prints where it and the one before stand, and gives false.
  bool if_check_lengths();
  void if_enter_option_set(const OPTION_SET& set);
  void if_enter_option_set(unsigned number, unsigned count, char** strings);

  // Primitive readers. End of file reads as the byte -1.
  void i_read_header(int& tag, int& len); // len 0 for the section end tag
  unsigned i_read_u8();
  int i_read_s8();
  bool i_read_bool();
  unsigned i_read_u16();
  int i_read_s16();
  uint32_t i_read_u32();
  int32_t i_read_s32();
  unsigned long i_read_uint();
  // The same for a field that holds 32 bits: a level, an index, a label, an id, a count. A number
  // that needs more ends the run.
  uint32_t i_read_uint32();
  // Signed LEB128 of a field of 32 bits: what is above them is dropped.
  int32_t i_read_sint();
  long i_read_wide_sint(); // the same for the one kind of field of 64 bits, an enumerator's value
  // Text in a buffer that the next call overwrites. n >= 0: exactly n bytes; -1: up to a zero byte.
  char* i_read_string(int n = -1);
  void i_read_raw(char* bytes, int n);
  PSN* i_read_psn();
  TYPE* i_read_typeref();
  void i_read_skip(int n);

  // Primitive writers, into the record buffer.
  void i_write_i8(int v);
  void i_write_bool(bool v);
  void i_write_i16(int v);
  void i_write_i32(int v);
  void i_write_uint(unsigned long v);
  void i_write_sint(long v);
  void i_write_string(const char* text, int n = -1); // n >= 0: counted, without a terminator
  void i_write_raw(const char* bytes, int n);
  void i_write_psn(PSN* psn);
  void i_write_typeref(TYPE* type);
  void i_flush(int tag); // frame the buffer as a record and write it
  void i_write_eof();

  // Types.
  void if_read_type(int len);
  void if_read_types();
  TYPE* find_typeref(unsigned long number);
  fkMDATA* find_mdataref(TYPE* csu, unsigned number);
  void if_write_all_types(bool named);

  // Files, symbols, pragmas.
  // Gives the name's number. A writer looks for the name among those it has, a reader takes the
  // names as they come.
  unsigned i_enter_file_name(const char* name);
  I_SYMTAB* if_read_sym();
  void if_read_symbol_def();
  PRAGMA* if_read_pragma(I_SYMTAB* sym);
  void if_enter_local(I_SYMTAB* sym);
  void if_enter_global(I_SYMTAB* sym);
  I_SYMTAB* find_symref(unsigned level, unsigned long index);
  void if_write_symbol(I_SYMTAB* sym);
  void if_write_pragma(const PRAGMA* pragma);
  void if_write_all_globals();

  // Statements and expressions.
  bool if_read_record(); // false at the section's end
  BASE_NODE* if_read_expr_node(bool with_header);
  // Readers of one record each, behind its tag and length, up to the end of its fields; what
  // follows a record and belongs to it is read too.
  void if_read_begin_func();
  void if_read_end_func();
  void if_read_begin_block();
  void if_read_end_block();
  void if_read_end_args();
  void if_read_end_locals();
  void if_read_expr_header();
  void if_read_init();
  void if_read_label();
  void if_read_assembly();
  void if_read_comment();
  void if_read_func_info();
  void if_read_loop();
  void if_read_inloop();
  void if_read_dep_edge();
  void if_read_dep_vector();
  void if_read_mbank();
  void if_read_ldspec();
  void if_read_eht();
  void if_read_eht_entry(EHT_ENTRY* entry); // from the entry's header on; fills a cleared entry
  void if_read_ir_func();
  void if_read_ir_end_func();
  void if_write_expr(BASE_NODE* tree, PSN* psn); // tree may be null
  void if_write_expr_node(BASE_NODE* tree);
  void if_write_control(int tag, PSN* psn);
  void if_write_begin_func(I_SYMTAB* func, PSN* psn);
  void if_write_end_func(PSN* psn);
  void if_write_begin_block(PSN* psn);
  void if_write_end_block(PSN* psn);
  void if_write_end_args(PSN* psn);
  void if_write_end_locals(PSN* psn);
  void if_write_label(unsigned number);
  void if_write_assembly(const char* text, PSN* psn);
  void if_write_comment(const char* text);
  void if_write_func_info(int info);
  void if_write_init(I_SYMTAB* sym);
  void if_write_loop(unsigned id, unsigned parent, unsigned long min, unsigned long max,
                     unsigned long multiple, unsigned flags);
  void if_write_inloop(unsigned id, I_SYMTAB* lcv, int flag);
  void if_write_dep_vector(DD_ENTRY* entries, int id, int kind, int n);
  void if_write_dep_edge(int from, int to, int kind);
  void if_write_mbank(int a, int b, int c, int d, int e);
  void if_write_ldspec_induct(unsigned id, unsigned a, long stride, TYPE* type, int sym,
                              unsigned b);
  void if_write_ldspec_rand(unsigned id, unsigned a, unsigned b, TYPE* type, int sym, unsigned c);
  void if_write_ldspec_region(unsigned id, unsigned label_id);
  void if_write_func_eht(EHT_ENTRY* entries, unsigned count);
  void if_write_eht_hdr(unsigned count);
  void if_write_eht_entry(const EHT_ENTRY& entry);
  void if_write_eht_catch_entry(const std::vector<I_CATCH_ENTRY>& catches);

  // Bytes from here to the end of the file; what a length or count is checked against.
  unsigned long bytes_left() const { return pos < file_size ? file_size - pos : 0; }
  // Dies unless n bytes are left.
  void need(unsigned long n) const;

private:
  // Reading: the whole file is held in memory, so that positions are cheap and checks simple.
  std::vector<unsigned char> bytes;
  unsigned long pos = 0, file_size = 0;
  unsigned long record_end = 0; // where the payload of the record being read ends
  int eof_reads = 0;
  std::vector<char> text_buffer;

  // Finished records that wait to be written, up to record_start; behind it room for the tag and a
  // length of one byte, and the payload of the record being made, up to buf_next. The file's own
  // memory, as its exhaustion has a message of its own.
  unsigned char* buf = nullptr;
  unsigned long buf_size = 0, buf_next = 0, record_start = 0;
  unsigned long written = 0;                              // bytes written so far, from base
  int write_errno = 0;                                    // of the first write that failed
  std::unordered_map<const char*, unsigned> file_numbers; // by interned name
  std::vector<TYPE*> numbered_types; // types referred to; number k is entry k-1
  std::vector<char> type_is_written; // by the same index

  int get_byte();
  void put_bytes(const void* p, unsigned long n); // between records
  void begin_record();
  void write_out();
  void grow_buf(unsigned long n);
  void append(const char* p, unsigned long n);
  bool read_magic();
  bool if_read_source(unsigned long header_end);
  void write_header();
  void read_options();
  void read_section(uint32_t offset, bool (I_FILE::*read_one)(int tag, int len));
  bool read_file_name(int tag, int len);
  bool read_type_record(int tag, int len);
  bool read_global(int tag, int len);
  bool read_initialiser(int tag, int len);
  BASE_NODE* read_node_payload(int op, TYPE* type);
  void end_record();

  // if_types_read.cpp, if_types_write.cpp
  TYPE_INFO& find_type_info(unsigned long number);
  TYPE* read_target(unsigned& depth);
  unsigned long read_type_size();
  unsigned long read_scalar_size();
  unsigned read_type_align();
  // Each reads the fields of one form of type record and hands them to the type package. `depth`
  // becomes that of the type.
  TYPE* tp_make_plain_type(int code, unsigned& depth);
  TYPE* tp_make_int(int code);
  TYPE* tp_make_float(int code);
  TYPE* tp_make_fixed(unsigned& depth);
  TYPE* tp_make_complex(unsigned& depth);
  TYPE* tp_make_typedef(unsigned& depth);
  TYPE* tp_make_addr(unsigned& depth);
  TYPE* tp_make_ref(unsigned& depth);
  TYPE* tp_make_qual(unsigned& depth);
  TYPE* tp_make_array(unsigned& depth);
  TYPE* tp_make_ptm(unsigned& depth);
  TYPE* tp_make_enum(unsigned& depth);
  void tp_make_func(unsigned long number);
  void tp_make_csu(unsigned long number, bool is_long);
  void tp_make_list(TYPE_INFO& owner);
  void tp_end_list(TYPE_INFO& owner);
  // The elements of lists.
  void tp_make_element(TYPE_INFO& owner, int code);
  void tp_make_param(TYPE_INFO& owner);
  void tp_make_etor(TYPE* enumeration);
  void tp_make_mdata(TYPE* csu);
  void tp_make_bclass(CSU_PARTS* parts);
  void tp_make_adecl(CSU_PARTS* parts);
  void tp_make_ffriend(CSU_PARTS* parts);
  void tp_make_sdata(CSU_PARTS* parts);
  void tp_make_mfunc(CSU_PARTS* parts);
  void finish_func(TYPE_INFO& info);
  void check_types();
  void define_type(unsigned long number, TYPE* type, unsigned depth);
  unsigned long type_number(TYPE* type);
  void begin_type_record(TYPE* type, int code);
  void write_list_mark(TYPE* type, int code, int kind);
  void write_param_list(TYPE* type, const std::vector<TYPE_PARAM>& params);
  void write_type_record(TYPE* type);
  void write_csu_short(TYPE* csu);
  void write_csu_type_lists(TYPE* csu);
  void refer_to(TYPE* type);
  // Give numbers to what the section must hold: what the globals name, with `named` all types that
  // have a name, then what the numbered types are made of.
  void mark_types_of_globals();
  void mark_named_types(const std::vector<TYPE*>& all, bool named);
  void mark_refed_types();
  std::vector<TYPE*> write_all_csu_types(const std::vector<TYPE*>& all);
  void write_type_tree();
  void if_write_type(TYPE* type);
};
