// Making, copying and erasing of nodes and lists.

#include "OPT5/node.h"

#include "DIAG/abort.h"
#include "OPT5/bblk.h"
#include "OPT5/funinfo.h"
#include "OPT5/memory.h"
#include "OPT5/optables.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/symbol.h"
#include "OPT5/treewalk.h"
#include "TYPES/type_values.h"
#include "ifile/i_file.h"

#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

static bool has_builtin_name(int op) {
  return op == ICALL || op == UICALL || op == MCALL || op == UMCALL;
}

static char* copy_text(const char* text) {
  return text ? current_memory().arena.copy_text(text) : nullptr;
}

static char* copy_bytes(const char* bytes, size_t n) {
  return current_memory().arena.copy_bytes(bytes, n);
}

static simul_fval* copy_fval(const simul_fval& value) {
  return current_memory().arena.make<simul_fval>(value);
}

#ifndef VRX_CHECKS
static_assert(sizeof(NODE) <= 128, "two cache lines hold a node");
#endif

NODE* alloc_node(int op, TYPE* type) {
  FUNCTION_MEMORY& memory = current_memory();
  NODE* node = new (memory.node_place()) NODE;
  node->op = op;
  node->type = type;
  node->orig_type = type;
  node->owner.set(&memory);
  return node;
}

// ---------------------------------------------------------------------------------------------
// The file layer's view

NODE* new_node(int op, TYPE* type) {
  if (!type) type = tp->mk_void();
  if (op == UCALL && currfuninfo) currfuninfo->only_simple_calls = false;
  if (op == SCONV && type->is_enum()) type = type->enum_underlying()->normalized_type();
  if (op == PCONV && chars_alias_other_types && type->base_kind() == TYPE::K_POINTER) {
    // Characters have the size of a plain int here; the operator keeps what alias analysis wants
    // to know of pointers converted from characters.
    TYPE* to = type->underlying_type()->elem_type()->underlying_type();
    bool to_char = to == tp->basic[TYPE::I_SCHAR] || to == tp->basic[TYPE::I_UCHAR];
    if (!to_char && tp->basic[TYPE::I_SCHAR]->size == tp->mk_plain_int()->size) op = ISP2CHAR;
  }
  return alloc_node(op, type);
}

I_SYMTAB* NODE::name_symbol() const {
  return u.sym;
}

unsigned long NODE::icon_uvalue() const {
  return static_cast<unsigned long>(ival);
}
long NODE::icon_svalue() const {
  return static_cast<long>(ival);
}

const char* NODE::lcon_value() const {
  thread_local char digits[32];
  if (type->is_signed())
    snprintf(digits, sizeof digits, "%ld", icon_svalue());
  else
    snprintf(digits, sizeof digits, "%lu", icon_uvalue());
  return digits;
}

const char* NODE::fcon_value() {
  if (!text) {
    simul_fval value = *u.fval;
    truncate_fval_to_target(&value, type);
    text = copy_text(f_hex_text(&value).c_str());
  }
  return text;
}

int NODE::label_id() const {
  return label ? label->number : static_cast<int>(static_cast<long>(ival));
}

unsigned NODE::call_num_args() const {
  return static_cast<unsigned>(arg_list_count(right));
}

void NODE::mk_name(I_SYMTAB* sym) {
  u.sym = static_cast<SYMTAB*>(sym);
}

void NODE::mk_field(int kind, fkMDATA* member, TYPE* csu) {
  ival = kind;
  mval = member;
  u.csu = csu;
}

// What a constant of the type holds of an integer: an integer type its width, a pointer its bits, a
// vector those of one lane, which is each lane's value. A floating constant is the integer's value,
// and keeps the 64 bits that a file has room for.
static constexpr int WIDEST_INTEGER = 64; // bits

static INT65 truncate_constant(INT65 value, TYPE* type) {
  if (type->is_int_or_enum()) {
    if (type->size > WIDEST_INTEGER) if_die(INVALID_RECORD);
    return truncate_to_type(value, type);
  }
  if (type->is_signed()) return (value << 1) >> 1;
  const TYPE* held = type->is_vector() ? type->underlying_type()->elem_type() : type;
  const bool has_width =
      (held->is_int_or_enum() || held->is_pointer()) && held->size <= WIDEST_INTEGER;
  return value & ((INT65(1) << (has_width ? static_cast<int>(held->size) : WIDEST_INTEGER)) - 1);
}

void NODE::mk_icon(long value) {
  const bool is_signed = type->is_signed();
  ival =
      truncate_constant(is_signed ? INT65(value) : INT65(static_cast<unsigned long>(value)), type);
}

void NODE::mk_lcon(const char* digits) {
  const bool negative = *digits == '-';
  unsigned long value = 0;
  for (const char* p = digits + negative; *p >= '0' && *p <= '9'; p++)
    value = value * 10 + (*p - '0');
  op = ICON;
  ival = truncate_constant(negative ? -INT65(value) : INT65(value), type);
}

void NODE::mk_fcon(const char* digits) {
  if (!type->is_float()) if_die(INVALID_RECORD);
  simul_fval value;
  {
    std::lock_guard<std::mutex> hold(atof_lock);
    f_atof(digits, &value);
  }
  truncate_fval_to_target(&value, type);
  u.fval = copy_fval(value);
}

void NODE::mk_scon(const char* bytes, unsigned length) {
  text = copy_bytes(bytes, length);
  ival = length;
}

void NODE::mk_ddnode(int id, int locale, int bits) {
  ival = id;
  dd_locale = locale;
  dd_flags = bits;
}

void NODE::mk_call(unsigned args, unsigned variable_args) {
  ival = args;
  vargs = variable_args;
}

void NODE::mk_icall(const char* name) {
  u.callee = copy_text(name);
}

// ---------------------------------------------------------------------------------------------
// Makers

NODE* maketree(int op, NODE* left, NODE* right, TYPE* type, LS* ls) {
  if (op == SCONV || op == PCONV || op == ACONV) type = type->type_qualified();
  NODE* node = alloc_node(op, type);
  node->left = left;
  node->right = right;
  node->ls = ls;
  return node;
}

NODE* mktree(int op, NODE* left, NODE* right, TYPE* type, SYMTAB* sym, INT65 ival) {
  NODE* node = maketree(op, left, right, type);
  if (sym)
    node->u.sym = sym;
  else
    node->ival = ival;
  return node;
}

NODE* mk_ASG(NODE* left, NODE* right) {
  TYPE* type = left->type;
  int op = ASG;
  if (type->is_vector() && type->underlying_type()->elem_type()->is_csu())
    op = ARASG;
  else if (type->is_csu())
    op = STASG;
  else if (type->is_array())
    op = ARASG;
  NODE* node = maketree(op, left, right, type, left->ls);
  if (op == STASG) node->mval = left->mval;
  return node;
}

NODE* mk_ICON(INT65 value, TYPE* type) {
  if (type->is_pointer())
    type = type->size > tp->mk_plain_uint()->size ? tp->basic[TYPE::I_ULONG] : tp->mk_plain_uint();
  if (!type->is_int_or_enum()) optassert("TYPE_IS_INT(type)", __FILE__, __LINE__);
  NODE* node = alloc_node(ICON, type);
  node->ival = truncate_to_type(value, type);
  return node;
}

NODE* mk_FCON(const simul_fval& value, TYPE* type) {
  NODE* node = alloc_node(FCON, type);
  node->u.fval = copy_fval(value);
  truncate_fval_to_target(node->u.fval, type);
  return node;
}

NODE* mk_constant_from_ival(INT65 value, TYPE* type) {
  TYPE* scalar = type->is_vector() ? type->underlying_type()->elem_type() : type;
  NODE* node;
  if (scalar->is_int_or_enum()) {
    node = mk_ICON(value, scalar);
  } else if (scalar->is_float()) {
    simul_fval fval;
    f_i65tof(value, &fval);
    node = mk_FCON(fval, scalar);
  } else {
    TYPE* wide_enough = wide_enough_int_type(value); // an address may need more than an int
    node = mk_ICON(value, wide_enough ? wide_enough : tp->basic[TYPE::I_LLONG]);
    node = maketree(scalar->is_pointer() ? PCONV : SCONV, node, nullptr, scalar);
  }
  return type->is_vector() ? maketree(VPACKM, node, nullptr, type) : node;
}

NODE* mk_NAME(SYMTAB* sym, LS* ls) {
  NODE* node = maketree(NAME, nullptr, nullptr, sym->type, ls);
  node->u.sym = sym;
  return node;
}

static NODE* mk_builtin_call(int with_args, int without, const char* name, NODE* args, TYPE* type) {
  NODE* node = maketree(args ? with_args : without, args, nullptr, type);
  node->mk_icall(name);
  return node;
}

NODE* mk_MCALL(const char* name, NODE* args, TYPE* type) {
  return mk_builtin_call(MCALL, UMCALL, name, args, type);
}

NODE* mk_ICALL(const char* name, NODE* args, TYPE* type) {
  return mk_builtin_call(ICALL, UICALL, name, args, type);
}

NODE* mk_COMMAOP(NODE* first, NODE* second) {
  return first ? maketree(COMMAOP, first, second, second->type, second->ls) : second;
}

NODE* mk_MINUS(NODE* a, NODE* b, TYPE* type) {
  return maketree(MINUS, a, b, type);
}

NODE* mk_EXCLAIM(NODE* x) {
  return maketree(EXCLAIM, x, nullptr, tp->mk_plain_int(), x->ls);
}

static void add_label_refs(LBL* label, unsigned refs) {
  for (; refs && !is_stuck(label->refcount); refs--)
    count_up(label->refcount);
}

NODE* mk_LABELREF(INT65 number, unsigned refs) {
  NODE* node = alloc_node(LABEL, tp->mk_void());
  node->ival = number;
  node->label = find_label(static_cast<int>(static_cast<long>(number)));
  add_label_refs(node->label, refs);
  return node;
}

NODE* mk_LABELREF_to_bb(BBLK* bb, LS* ls) {
  if (!bb->label) bb->label = mklabel(bb->dfn, nullptr, bb);
  NODE* node = alloc_node(LABEL, tp->mk_void());
  node->ls = ls;
  node->label = bb->label;
  node->ival = bb->label->number;
  add_label_refs(bb->label, 1);
  return node;
}

NODE* mk_BRANCH(BBLK* bb, LS* ls) {
  return maketree(BRANCH, mk_LABELREF_to_bb(bb, ls), nullptr, tp->mk_void(), ls);
}

NODE* mk_IF(NODE* cond, BBLK* if_true, BBLK* if_false, LS* ls) {
  NODE* targets = maketree(COMMA, mk_LABELREF_to_bb(if_true, ls), mk_LABELREF_to_bb(if_false, ls),
                           tp->mk_void(), ls);
  return maketree(IF, cond, targets, tp->mk_void(), ls);
}

NODE* mk_LABELDEF(LBL* label) {
  NODE* node = alloc_node(LABELDEF, tp->mk_void());
  node->label = label;
  node->ival = label->number;
  return node;
}

LIST* mklist(NODE* tree, LIST* next, int info0, int info1) {
  return new (current_memory().list_place())
      LIST{tree, nullptr, {static_cast<short>(info0), static_cast<short>(info1)}, next};
}

LIST* mkelist(NODE* tree, LIST* next, PSN* psn) {
  return new (current_memory().list_place()) LIST{tree, psn, {0, 0}, next};
}

// ---------------------------------------------------------------------------------------------
// Copying

NODE_FACTS& NODE::own_facts() {
  if (!facts) facts = current_memory().arena.make<NODE_FACTS>();
  return *facts;
}

static DD_INFO* copy_dd_info(const DD_INFO* info) {
  return current_memory().arena.make<DD_INFO>(copy_tree(info->tree, true));
}

static NODE* copy_node_body(const NODE* node, bool keep_ls) {
  NODE* copy = alloc_node(node->op, node->type);
  *copy = *node;
  copy->owner.set(&current_memory());
  copy->left = copy->right = nullptr;
  copy->facts = nullptr;
  if (!keep_ls) copy->ls = nullptr;
  if (node->op == FCON) {
    copy->u.fval = copy_fval(*node->u.fval);
    copy->text = nullptr; // the cached text is made again when asked for
  } else if (node->op == SCON) {
    copy->text = copy_bytes(node->text, node->scon_length());
  } else if (node->op == ASM) {
    copy->text = copy_text(node->text);
  }
  if (has_builtin_name(node->op)) copy->u.callee = copy_text(node->u.callee);
  if (node->op == PPRAGMA && node->pragma) {
    copy->pragma = current_memory().own(new PRAGMA(*node->pragma));
    copy->pragma->next = nullptr;
  }
  if (node->op == LABEL && node->label) add_label_refs(node->label, 1);
  return copy;
}

// A mark of dependence is no more than what it carries, so its copy has the record, too.
NODE* copy_dd_node(const NODE* node, bool keep_ls) {
  NODE* copy = copy_node_body(node, keep_ls);
  if (const DD_INFO* info = node->dd_info()) copy->own_facts().dd_info = copy_dd_info(info);
  return copy;
}

NODE* copy_node(const NODE* node, bool keep_ls) {
  return node->op == DDNODE ? copy_dd_node(node, keep_ls) : copy_node_body(node, keep_ls);
}

namespace {

// Copies trees. The copy of a CSE_DUPE owns no operands either: they are those of the CSE_ORIG's
// copy, if that is copied along, else of the same CSE_ORIG as before.
class TREE_COPIER {
public:
  explicit TREE_COPIER(bool keep) : keep_ls(keep) {}

  NODE* copy(const NODE* tree) {
    if (!tree) return nullptr;
    NODE* root = copy_node(tree, keep_ls);
    NODE* to = root;
    for (const NODE* from = tree;; from = from->left, to = to->left) {
      if (from->op == CSE_DUPE) {
        to->left = from->left;
        to->right = from->right;
        dupes.push_back(to);
        return root;
      }
      if (from->right) to->right = copy(from->right);
      if (from->left) to->left = copy_node(from->left, keep_ls);
      if (from->op == CSE_ORIG) {
        copy_of[from->left] = to->left;
        copy_of[from->right] = to->right;
      }
      if (!from->left) return root;
    }
  }

  void bind_dupes() {
    for (NODE* dupe : dupes)
      for (NODE** operand : {&dupe->left, &dupe->right})
        if (auto place = copy_of.find(*operand); place != copy_of.end()) *operand = place->second;
  }

private:
  const bool keep_ls;
  std::vector<NODE*> dupes;
  std::unordered_map<const NODE*, NODE*> copy_of; // operands of CSE_ORIGs
};

} // namespace

NODE* copy_tree(const NODE* tree, bool keep_ls) {
  TREE_COPIER copier(keep_ls);
  NODE* copy = copier.copy(tree);
  copier.bind_dupes();
  return copy;
}

NODE* copy_tree_0(const NODE* tree, FUNINFO* fi) {
  NODE* copy = copy_tree(tree, false);
  if (fi)
    walk_postorder(copy, [fi](NODE*& node) {
      if (node->op == NAME && node->u.sym) node->u.sym = intern_symbol(node->u.sym, fi);
    });
  return copy;
}

LIST* copy_statements(const LIST* list, bool keep_ls) {
  LIST* head = nullptr;
  LIST** tail = &head;
  TREE_COPIER copier(keep_ls); // a CSE_DUPE may stand after its CSE_ORIG's statement
  for (; list; list = list->next) {
    *tail = mklist(copier.copy(list->tree), nullptr, list->info[0], list->info[1]);
    (*tail)->psn = list->psn;
    tail = &(*tail)->next;
  }
  copier.bind_dupes();
  return head;
}

NODE* copy_tree_without_dupes(const NODE* tree) {
  NODE* root = nullptr;
  for (NODE** place = &root; tree; tree = tree->left) {
    while (tree->op == CSE_DUPE || tree->op == CSE_ORIG)
      tree = tree->right;
    *place = copy_node(tree, true);
    (*place)->right = copy_tree_without_dupes(tree->right);
    place = &(*place)->left;
  }
  return root;
}

static void copy_dd_records(const NODE* from, NODE* to) {
  for (; from && from->op != CSE_DUPE; from = from->left, to = to->left) {
    if (from->dd_info() && !to->dd_info()) to->own_facts().dd_info = copy_dd_info(from->dd_info());
    if (from->right) copy_dd_records(from->right, to->right);
  }
}

NODE* copy_dd_tree(const NODE* tree, bool keep_ls) {
  NODE* copy = copy_tree(tree, keep_ls);
  copy_dd_records(tree, copy);
  return copy;
}

LIST* copy_dd_statements(const LIST* list, bool keep_ls) {
  LIST* copy = copy_statements(list, keep_ls);
  for (LIST* to = copy; list; list = list->next, to = to->next)
    copy_dd_records(list->tree, to->tree);
  return copy;
}

LIST* copy_shared_statements(const LIST* list) {
  LIST* head = nullptr;
  LIST** tail = &head;
  for (; list; list = list->next, tail = &(*tail)->next) {
    *tail = mklist(list->tree, nullptr, list->info[0], list->info[1]);
    (*tail)->psn = list->psn;
  }
  return head;
}

NODE* copy_node_if_changed(NODE* node, NODE* left, NODE* right) {
  if (node->left == left && node->right == right) return node;
  NODE* copy = copy_node(node, true);
  copy->left = left;
  copy->right = right;
  return copy;
}

// ---------------------------------------------------------------------------------------------
// Erasing

// The sanitizer's own look at a node that was erased would come before the message.
[[gnu::no_sanitize("vptr")]] void erase_node(NODE* node) {
  if (node->op == ILLOP) {
    fprintf(stderr, "\n\n!!! COMPILER (OPTIMIZER) ERROR IN 'erase_node' %p !!!\n\n",
            static_cast<void*>(node));
    print_if_debug("\n\n!!! COMPILER (OPTIMIZER) ERROR IN 'erase_node' %p !!!\n\n",
                   static_cast<void*>(node));
    abort_optimizer();
  }
  CHECK(!currfuninfo || currfuninfo == file_funinfo || node->owner.is(&current_memory()));
  if (node->dd_info()) erase_tree(node->dd_info()->tree);
  if (node->op == LABEL && node->label && node->label->refcount > 0 &&
      !is_stuck(node->label->refcount))
    node->label->refcount--;
  node->op = ILLOP;
  node->left = node->right = nullptr;
  node->facts = nullptr;
  node->orig_type = nullptr;
  node->label = nullptr;
  current_memory().free_node(node);
}

void erase_tree(NODE* tree) {
  while (tree) {
    if (tree->op == CSE_DUPE) {
      // Its operands belong to the CSE_ORIG.
      erase_node(tree);
      return;
    }
    NODE* left = tree->left;
    NODE* right = tree->right;
    erase_node(tree);
    if (right) erase_tree(right);
    tree = left;
  }
}

void erase_tree_list(LIST* list) {
  for (LIST* cell = list; cell; cell = cell->next)
    erase_tree(cell->tree);
  erase_tree_list_only(list);
}

void erase_tree_list_to_entry(LIST* list, LIST* entry, int trees) {
  while (list && list != entry) {
    LIST* next = list->next;
    if (trees) erase_tree(list->tree);
    current_memory().free_list(list);
    list = next;
  }
}

void erase_tree_list_only(LIST* list) {
  while (list) {
    LIST* next = list->next;
    current_memory().free_list(list);
    list = next;
  }
}
