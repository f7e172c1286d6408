// Records of a function's body: control records, expression trees, loops, dependences, exception
// tables, load speculation; and initialisers.

#include "DIAG/abort.h"
#include "TYPES/type_pkg.h"
#include "ifile/i_file.h"
#include "support/small_stack.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

// Walkers of trees loop on the left operand and recurse on the right one, so a path's number of
// right steps is bounded here and the length of left spines is not.

static bool is_floating(const BASE_NODE* node) {
  return node && node->type && node->type->is_float();
}

// ---------------------------------------------------------------------------------------------
// Expression trees

BASE_NODE* I_FILE::read_node_payload(int op, TYPE* type) {
  if (op == EPVAL) if_die(INVALID_RECORD); // a wrapper, made by its own case
  BASE_NODE* node = client->cl_new_node(op, type);
  switch (op) {
  case LABEL: node->mk_label(static_cast<int>(i_read_uint32())); break;
  case NAME: {
    unsigned ref_level = i_read_uint32();
    node->mk_name(find_symref(ref_level, i_read_uint()));
    break;
  }
  case SCON: {
    unsigned long length = i_read_uint();
    need(length);
    node->mk_scon(i_read_string(static_cast<int>(length)), static_cast<unsigned>(length));
    break;
  }
  case ICON:
    node->mk_icon(type && type->is_signed() ? i_read_sint() : static_cast<long>(i_read_uint()));
    break;
  case FCON: node->mk_fcon(i_read_string()); break;
  case LCON: node->mk_lcon(i_read_string()); break;
  case FIELD: {
    int kind = i_read_s8();
    unsigned number = i_read_uint32();
    TYPE* csu = i_read_typeref();
    fkMDATA* member = csu ? find_mdataref(csu, number) : nullptr;
    if (!member) if_die(INVALID_RECORD);
    node->mk_field(kind, member, csu);
    break;
  }
  case SWITCH: node->mk_switch(static_cast<int>(i_read_uint32())); break;
  case CALL: {
    unsigned args = i_read_uint32();
    node->mk_call(args, i_read_uint32());
    break;
  }
  case UCALL: node->mk_ucall(i_read_uint32()); break;
  case SKIP: node->mk_skip(static_cast<int>(i_read_uint32())); break;
  case DDNODE: {
    int id = static_cast<int>(i_read_uint32());
    int locale = static_cast<int>(i_read_uint32());
    node->mk_ddnode(id, locale, static_cast<int>(i_read_u8()));
    break;
  }
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: node->mk_icall(i_read_string()); break;
  case VREG: node->mk_vreg(static_cast<int>(i_read_sint())); break;
  default: break;
  }
  return node;
}

namespace {
// A node whose operands are still being read.
struct OPEN_NODE {
  BASE_NODE* node;  // null for the wrapper EPVAL
  unsigned profile; // of EPVAL
  int wanted, got;
  int right_depth;
  BASE_NODE* value; // what EPVAL wraps
};
} // namespace

BASE_NODE* I_FILE::if_read_expr_node(bool with_header) {
  small_stack<OPEN_NODE> open;
  for (;;) {
    int tag = TAG_NODE, len;
    if (with_header) i_read_header(tag, len);
    with_header = true;
    if (tag != TAG_NODE) if_die(INVALID_RECORD);
    int op = static_cast<int>(i_read_u8());
    if (op >= FIRST_MEMORY_OP || !if_node_info[op].name) if_die(INVALID_RECORD);
    TYPE* type = i_read_typeref();
    int right_depth = open.empty() ? 0 : open.back().right_depth + (open.back().got == 1 ? 1 : 0);
    if (right_depth > MAX_RIGHT_DEPTH) if_die(NESTED_TOO_DEEPLY);

    OPEN_NODE next{nullptr, 0, if_node_info[op].operands, 0, right_depth, nullptr};
    if (op == EPVAL)
      next.profile = i_read_uint32();
    else
      next.node = read_node_payload(op, type);
    end_record();
    open.push_back(next);

    // Close what is complete.
    while (open.back().got == open.back().wanted) {
      OPEN_NODE done = open.back();
      open.pop_back();
      BASE_NODE* result = done.node;
      if (!result) {
        result = done.value;
        if (!result || result->op == ENDINIT) if_die(INVALID_RECORD); // it wraps one value
        result->set_edge_profile_value(done.profile);
      } else if (result->op >= EQ && result->op <= UGT &&
                 (is_floating(result->operand(0)) || is_floating(result->operand(1)))) {
        result->op = floating_comparison(result->op);
      }
      if (open.empty()) return result;
      OPEN_NODE& parent = open.back();
      if (parent.node)
        parent.node->set_operand(parent.got, result);
      else
        parent.value = result;
      parent.got++;
    }
  }
}

void I_FILE::if_read_expr_header() {
  PSN* psn = i_read_psn();
  end_record();
  client->cl_expr(if_read_expr_node(true), psn);
}

// Pre-order with an explicit stack: left spines may be long.
void I_FILE::if_write_expr_node(BASE_NODE* tree) {
  small_stack<BASE_NODE*> pending;
  pending.push_back(tree);
  while (!pending.empty()) {
    BASE_NODE* node = pending.back();
    pending.pop_back();
    unsigned profile = node->get_edge_profile_value();
    if (profile != 0xFFFFFFFFu) {
      i_write_i8(EPVAL);
      i_write_typeref(node->type);
      i_write_uint(profile);
      i_flush(TAG_NODE);
    }
    int op = node->op;
    const bool signed_type = node->type && node->type->is_signed();
    bool wide = false;
    if (op == ICON) {
      if (signed_type)
        wide = node->icon_svalue() != static_cast<int32_t>(node->icon_svalue());
      else
        wide = node->icon_uvalue() > 0xFFFFFFFFul;
      if (wide) op = LCON;
    }
    i_write_i8(op);
    i_write_typeref(node->type);
    switch (op) {
    case LABEL: i_write_uint(static_cast<unsigned>(node->label_id())); break;
    case NAME: {
      I_SYMTAB* sym = node->name_symbol();
      if (!sym) {
        i_write_uint(NO_SYMBOL_LEVEL);
        i_write_uint(0);
        break;
      }
      if (sym->index == -1) {
        std::string text =
            std::string(">> Symbol ") + sym->sym_name() + " is not in the symbol table";
        if_die(text.c_str());
      }
      i_write_uint(sym->sym_level());
      i_write_uint(static_cast<unsigned>(sym->index));
      break;
    }
    case SCON:
      i_write_uint(node->scon_length());
      i_write_string(node->scon_value(), static_cast<int>(node->scon_length()));
      break;
    case ICON:
      if (signed_type)
        i_write_sint(node->icon_svalue());
      else
        i_write_uint(node->icon_uvalue());
      break;
    case LCON: i_write_string(node->lcon_value()); break;
    case FCON: i_write_string(node->fcon_value()); break;
    case FIELD:
      i_write_i8(node->field_kind());
      i_write_uint(node->field_mval()->number);
      i_write_typeref(node->field_csu());
      break;
    case SWITCH: i_write_uint(static_cast<unsigned>(node->case_count())); break;
    case CALL:
      i_write_uint(node->call_num_args());
      i_write_uint(node->call_num_vargs());
      break;
    case UCALL: i_write_uint(node->eh_entry_id()); break;
    case SKIP: i_write_uint(static_cast<unsigned>(node->skip_count())); break;
    case DDNODE:
      i_write_uint(static_cast<unsigned>(node->ddnode_id()));
      i_write_uint(static_cast<unsigned>(node->ddnode_locale()));
      i_write_i8(node->ddnode_flags());
      break;
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: i_write_string(node->icall_name()); break;
    case VREG: i_write_sint(node->vreg_id()); break;
    default: break;
    }
    i_flush(TAG_NODE);
    for (int k = 1; k >= 0; k--)
      if (BASE_NODE* operand = node->operand(k)) pending.push_back(operand);
  }
}

void I_FILE::if_write_expr(BASE_NODE* tree, PSN* psn) {
  i_write_psn(psn);
  i_flush(TAG_EXPR);
  if (tree) if_write_expr_node(tree);
}

// ---------------------------------------------------------------------------------------------
// Initialisers

void I_FILE::if_read_init() {
  unsigned long index = i_read_uint();
  end_record();
  I_SYMTAB* sym = find_symref(0, index);
  std::list<BASE_NODE*> roots;
  do
    roots.push_back(if_read_expr_node(true));
  while (roots.back()->op != ENDINIT);
  sym->set_init_list(std::move(roots));
  client->cl_init(sym);
}

void I_FILE::if_write_init(I_SYMTAB* sym) {
  if (init_off == 0) {
    i_write_eof();
    init_off = static_cast<uint32_t>(written);
  }
  i_write_uint(static_cast<unsigned>(sym->index));
  i_flush(TAG_INIT);
}

// ---------------------------------------------------------------------------------------------
// The function stream

void I_FILE::if_read_begin_func() {
  if (level != 0) if_die(INVALID_RECORD);
  PSN* psn = i_read_psn();
  I_SYMTAB* func = find_symref(0, i_read_uint());
  level = 1;
  locals.clear();
  client->cl_begin_func(func, psn);
}

void I_FILE::if_read_end_func() {
  if (level != 2) if_die(INVALID_RECORD);
  level = 0;
  client->cl_end_func(i_read_psn());
}

void I_FILE::if_read_begin_block() {
  if (level < 2) if_die(INVALID_RECORD);
  if (level > MAX_RIGHT_DEPTH) if_die(NESTED_TOO_DEEPLY);
  level++;
  client->cl_begin_block(i_read_psn());
}

void I_FILE::if_read_end_block() {
  if (level <= 2) if_die(INVALID_RECORD);
  level--;
  client->cl_end_block(i_read_psn());
}

void I_FILE::if_read_end_args() {
  if (level != 1) if_die(INVALID_RECORD);
  level = 2;
  client->cl_end_args(i_read_psn());
}

void I_FILE::if_read_end_locals() {
  if (level < 2) if_die(INVALID_RECORD);
  client->cl_end_locals(i_read_psn());
}

void I_FILE::if_read_assembly() {
  std::string text = i_read_string();
  PSN* psn = i_read_psn();
  client->cl_inline_asm(text.data(), psn);
}

void I_FILE::if_read_comment() {
  client->cl_comment(i_read_string());
}

void I_FILE::if_read_label() {
  if (level < 2) if_die(INVALID_RECORD);
  client->cl_label(i_read_uint32());
}

void I_FILE::if_read_func_info() {
  client->cl_func_info(i_read_s8());
}

// Functions of a later stage of the toolchain are read over.
void I_FILE::if_read_ir_func() {
  if (level != 0) if_die(INVALID_RECORD);
  level = 1;
  locals.clear();
}

void I_FILE::if_read_ir_end_func() {
  if (level == 0) if_die(INVALID_RECORD);
  level = 0;
  client->cl_ir_end_func(i_read_psn());
}

bool I_FILE::if_read_record() {
  const unsigned long at = pos;
  int tag, len;
  i_read_header(tag, len);
  switch (tag) {
  case TAG_EOF: return false;
  case TAG_BEGIN_FUNC: if_read_begin_func(); break;
  case TAG_END_FUNC: if_read_end_func(); break;
  case TAG_BEGIN_BLOCK: if_read_begin_block(); break;
  case TAG_END_BLOCK: if_read_end_block(); break;
  case TAG_END_ARGS: if_read_end_args(); break;
  case TAG_END_LOCALS: if_read_end_locals(); break;
  case TAG_SYMBOL: if_read_symbol_def(); return true;
  case TAG_ASM: if_read_assembly(); break;
  case TAG_COMMENT: if_read_comment(); break;
  case TAG_LABEL: if_read_label(); break;
  case TAG_EXPR:
    if (level < 2) if_die(INVALID_RECORD);
    if_read_expr_header();
    return true;
  case TAG_PRAGMA: client->cl_pragma(nullptr, if_read_pragma(nullptr)); break;
  case TAG_FUNC_INFO: if_read_func_info(); break;
  case TAG_LOOP_DEF: if_read_loop(); break;
  case TAG_IN_LOOP: if_read_inloop(); break;
  case TAG_MBANK: if_read_mbank(); break;
  case TAG_DD_EDGE: if_read_dep_edge(); break;
  case TAG_DD_VECTOR: if_read_dep_vector(); break;
  case TAG_LDSPEC: if_read_ldspec(); break;
  case TAG_EHT: if_read_eht(); return true;
  case TAG_LIR: break; // skipped as a whole
  case TAG_IR_FUNC: if_read_ir_func(); break;
  case TAG_IR_END: if_read_ir_end_func(); break;
  case TAG_FILE_NAME:
    if_die("\nINTERNAL ERROR: File name in the function stream of I-code, aborting");
  default: printf("\n///ERROR @0x%lx\n\n", at); return true; // goes on right behind the header
  }
  end_record();
  return true;
}

void I_FILE::if_write_control(int tag, PSN* psn) {
  i_write_psn(psn);
  i_flush(tag);
}

void I_FILE::if_write_begin_func(I_SYMTAB* func, PSN* psn) {
  level = 1;
  locals.clear();
  i_write_psn(psn);
  i_write_uint(static_cast<unsigned>(func->index));
  i_flush(TAG_BEGIN_FUNC);
}

void I_FILE::if_write_end_args(PSN* psn) {
  level = 2;
  if_write_control(TAG_END_ARGS, psn);
}

void I_FILE::if_write_end_func(PSN* psn) {
  level = 0;
  if_write_control(TAG_END_FUNC, psn);
}

void I_FILE::if_write_begin_block(PSN* psn) {
  level++;
  if_write_control(TAG_BEGIN_BLOCK, psn);
}

void I_FILE::if_write_end_block(PSN* psn) {
  level--;
  if_write_control(TAG_END_BLOCK, psn);
}

void I_FILE::if_write_end_locals(PSN* psn) {
  if_write_control(TAG_END_LOCALS, psn);
}

void I_FILE::if_write_label(unsigned number) {
  i_write_uint(number);
  i_flush(TAG_LABEL);
}

void I_FILE::if_write_assembly(const char* text, PSN* psn) {
  i_write_string(text);
  i_write_psn(psn);
  i_flush(TAG_ASM);
}

void I_FILE::if_write_comment(const char* text) {
  i_write_string(text);
  i_flush(TAG_COMMENT);
}

void I_FILE::if_write_func_info(int info) {
  i_write_i8(info);
  i_flush(TAG_FUNC_INFO);
}

// ---------------------------------------------------------------------------------------------
// Loops, dependences, memory banks, load speculation

void I_FILE::if_read_loop() {
  unsigned id = i_read_uint32();
  unsigned parent = i_read_uint32();
  unsigned long min = i_read_uint();
  unsigned long max = i_read_uint();
  unsigned long multiple = i_read_uint();
  i_read_u16(); // the flags are the code generator's alone
  client->cl_loop_def(id, parent, min, max, multiple);
}

void I_FILE::if_write_loop(unsigned id, unsigned parent, unsigned long min, unsigned long max,
                           unsigned long multiple, unsigned flags) {
  i_write_uint(id);
  i_write_uint(parent);
  i_write_uint(min);
  i_write_uint(max);
  i_write_uint(multiple);
  i_write_i16(static_cast<int>(flags));
  i_flush(TAG_LOOP_DEF);
}

// A reference that is written as a signed number: -1, and its 32 bits, are the largest.
static unsigned checked_reference(long value) {
  if (value < -1 || value > static_cast<long>(UINT32_MAX)) if_die(INVALID_RECORD);
  return static_cast<unsigned>(value);
}

void I_FILE::if_read_inloop() {
  unsigned id = i_read_uint32();
  unsigned sym_level = checked_reference(i_read_wide_sint());
  unsigned index = checked_reference(i_read_wide_sint());
  I_SYMTAB* lcv = sym_level < NO_SYMBOL_LEVEL ? find_symref(sym_level, index) : nullptr;
  client->cl_loop_header(id, lcv, static_cast<int>(i_read_u8()));
}

void I_FILE::if_write_inloop(unsigned id, I_SYMTAB* lcv, int flag) {
  i_write_uint(id);
  i_write_sint(lcv ? static_cast<long>(lcv->sym_level()) : static_cast<long>(NO_SYMBOL_LEVEL));
  i_write_sint(lcv ? lcv->index : 0);
  i_write_i8(flag);
  i_flush(TAG_IN_LOOP);
}

void I_FILE::if_read_dep_vector() {
  int id = static_cast<int>(i_read_uint32());
  int kind = static_cast<int>(i_read_u8());
  int n = static_cast<int>(i_read_u8());
  DD_ENTRY entries[256];
  for (int k = 0; k < n; k++) {
    entries[k].kind = static_cast<unsigned char>(i_read_u8());
    entries[k].distance = static_cast<signed char>(i_read_s8());
  }
  client->cl_dd_vector(id, kind, n, entries);
}

void I_FILE::if_write_dep_vector(DD_ENTRY* entries, int id, int kind, int n) {
  i_write_uint(static_cast<unsigned>(id));
  i_write_i8(kind);
  i_write_i8(n);
  for (int k = 0; k < n; k++) {
    i_write_i8(entries[k].kind);
    i_write_i8(entries[k].distance);
  }
  i_flush(TAG_DD_VECTOR);
}

void I_FILE::if_read_dep_edge() {
  int from = static_cast<int>(i_read_uint32());
  int to = static_cast<int>(i_read_uint32());
  client->cl_dd_edge(from, to, static_cast<int>(i_read_uint32()));
}

void I_FILE::if_write_dep_edge(int from, int to, int kind) {
  for (int word : {from, to, kind})
    i_write_uint(static_cast<unsigned>(word));
  i_flush(TAG_DD_EDGE);
}

void I_FILE::if_read_mbank() {
  int words[5];
  for (int& word : words)
    word = static_cast<int>(i_read_uint32());
  client->cl_mbank(words[0], words[1], words[2], words[3], words[4]);
}

void I_FILE::if_write_mbank(int a, int b, int c, int d, int e) {
  for (int word : {a, b, c, d, e})
    i_write_uint(static_cast<unsigned>(word));
  i_flush(TAG_MBANK);
}

void I_FILE::if_read_ldspec() {
  // Advice for the code generator's loads; this tool makes it anew, so it is checked and dropped.
  i_read_uint();
  switch (i_read_u8()) {
  case 0:
    i_read_uint();
    i_read_sint();
    i_read_typeref();
    i_read_sint();
    i_read_uint();
    break;
  case 1:
    i_read_uint();
    i_read_uint();
    i_read_typeref();
    i_read_sint();
    i_read_uint();
    break;
  case 2: i_read_uint(); break;
  default: if_die(INVALID_RECORD);
  }
}

void I_FILE::if_write_ldspec_induct(unsigned id, unsigned a, long stride, TYPE* type, int sym,
                                    unsigned b) {
  i_write_uint(id);
  i_write_i8(0);
  i_write_uint(a);
  i_write_sint(stride);
  i_write_typeref(type);
  i_write_sint(sym);
  i_write_uint(b);
  i_flush(TAG_LDSPEC);
}

void I_FILE::if_write_ldspec_rand(unsigned id, unsigned a, unsigned b, TYPE* type, int sym,
                                  unsigned c) {
  i_write_uint(id);
  i_write_i8(1);
  i_write_uint(a);
  i_write_uint(b);
  i_write_typeref(type);
  i_write_sint(sym);
  i_write_uint(c);
  i_flush(TAG_LDSPEC);
}

void I_FILE::if_write_ldspec_region(unsigned id, unsigned label_id) {
  CHECK(label_id <= INT32_MAX);
  i_write_uint(id);
  i_write_i8(2);
  i_write_uint(label_id);
  i_flush(TAG_LDSPEC);
}

// ---------------------------------------------------------------------------------------------
// Exception tables

static const char INVALID_EHT[] = "\nINTERNAL ERROR: Invalid EHT record in I-code, aborting";

void I_FILE::if_read_eht_entry(EHT_ENTRY* entry) {
  int tag, len;
  i_read_header(tag, len);
  if (tag != TAG_EHT_ENTRY) if_die(INVALID_EHT);
  entry->id = i_read_uint32();
  entry->kind = i_read_uint32();
  entry->region = i_read_uint32();
  entry->count = i_read_uint32();
  end_record();
  if (entry->kind == EHK_CATCH) {
    i_read_header(tag, len);
    if (tag != TAG_CATCH) if_die(INVALID_EHT);
    need(entry->count);
    entry->catches = new std::vector<I_CATCH_ENTRY>;
    for (unsigned k = 0; k < entry->count; k++) {
      std::string name = i_read_string();
      unsigned number = i_read_uint32();
      entry->catches->push_back({name, number, i_read_bool()});
    }
    end_record();
  } else if (entry->kind == EHK_CLEANUP) {
    i_read_header(tag, len);
    if (tag != TAG_EXPR) if_die(INVALID_EHT);
    i_read_psn();
    end_record();
    // Without a tree the header stands alone.
    if (pos < file_size && bytes[pos] == TAG_NODE) entry->cleanup = if_read_expr_node(true);
  }
}

void I_FILE::if_read_eht() {
  unsigned long count = i_read_uint();
  end_record();
  need(count);
  std::vector<EHT_ENTRY> entries;
  for (; count; count--) {
    entries.push_back({});
    if_read_eht_entry(&entries.back());
  }
  client->cl_func_eht(entries.data(), static_cast<unsigned>(entries.size()));
}

void I_FILE::if_write_eht_hdr(unsigned count) {
  i_write_uint(count);
  i_flush(TAG_EHT);
}

void I_FILE::if_write_eht_entry(const EHT_ENTRY& entry) {
  for (unsigned word : {entry.id, entry.kind, entry.region, entry.count})
    i_write_uint(word);
  i_flush(TAG_EHT_ENTRY);
}

void I_FILE::if_write_eht_catch_entry(const std::vector<I_CATCH_ENTRY>& catches) {
  for (const I_CATCH_ENTRY& c : catches) {
    i_write_string(c.type_name.c_str());
    i_write_uint(c.number);
    i_write_bool(c.flag);
  }
  i_flush(TAG_CATCH);
}

void I_FILE::if_write_func_eht(EHT_ENTRY* entries, unsigned count) {
  if_write_eht_hdr(count);
  for (unsigned k = 0; k < count; k++) {
    if_write_eht_entry(entries[k]);
    if (entries[k].kind == EHK_CATCH)
      if_write_eht_catch_entry(*entries[k].catches);
    else if (entries[k].kind == EHK_CLEANUP)
      if_write_expr(entries[k].cleanup, nullptr);
  }
}
