// Expression trees and statement lists.
//
// One class serves all operators. A tree owns its operands; subtrees are never shared, except under
// CSE_DUPE. Trees may have left spines of any length, so walkers loop on `left` and recurse on
// `right` (whose depth the reader bounds).
#pragma once

#include "TYPES/type_pkg.h"
#include "ifile/base_node.h"
#include "ifile/i_symtab.h"
#include "support/int65.h"
#include "support/simul_fval.h"

#include <climits>
#include <string>
#include <vector>

class SYMTAB;
class LS;
class FUNINFO;
class BBLK;
class LOOP;
struct PTENV;
struct DD_INFO;
struct NODE_FACTS;
struct LBL;

// Places in NODE::node_flags.
enum NODE_FLAG { NF_COMMENT }; // of ASM: a comment record

// The memory that a node was made in, in test builds: they check that no other takes it back.
struct NODE_OWNER {
#ifdef VRX_CHECKS
  const void* memory = nullptr;
  void set(const void* made_in) {
    memory = made_in;
  }
  bool is(const void* asking) const {
    return memory == asking;
  }
#else
  void set(const void*) {}
  bool is(const void*) const {
    return true;
  }
#endif
};

class NODE : public BASE_NODE {
public:
  // `op` and `type` stand in BASE_NODE. ILLOP marks an erased node.
  unsigned profile_count = -1u; // edge profile value; all ones for none
  NODE* left = nullptr;
  NODE* right = nullptr;
  // ICON: value. LABEL, LABELDEF: number. SKIP, SWITCH: count. SCON: length. VREG: register.
  // Calls: argument count.
  INT65 ival = 0;
  union {
    SYMTAB* sym;      // NAME
    simul_fval* fval; // FCON
    char* callee;     // ICALL, UICALL, MCALL, UMCALL: name of the built-in
    TYPE* csu;        // FIELD: class of the member
    void* word;
  } u = {nullptr};
  unsigned scan_marks[2] = {}; // of scans
  LS* ls = nullptr;            // scope of the statement or name
  TYPE* orig_type = nullptr;   // type before conversions
  union {
    LBL* label = nullptr; // LABEL, LABELDEF
    char* text;           // SCON: bytes; ASM: text; FCON: cached text, null until asked for
    PRAGMA* pragma;       // PPRAGMA
    fkMDATA* mval;        // FIELD; STASG: the member assigned to, or null
  };
  NODE_FACTS* facts = nullptr; // what few nodes have, null for none
  unsigned char node_flags[14] = {};
  union {
    unsigned eh_entry = 0; // exception table entry of a call
    int dd_locale;         // DDNODE
  };
  union {
    unsigned vargs = 0; // CALL: arguments after the named parameters
    int dd_flags;       // DDNODE
  };
  [[no_unique_address]] NODE_OWNER owner;

  BASE_NODE* operand(int k) const override { return k == 0 ? left : right; }
  void set_operand(int k, BASE_NODE* node) override {
    (k == 0 ? left : right) = static_cast<NODE*>(node);
  }

  I_SYMTAB* name_symbol() const override;
  int field_kind() const override { return static_cast<int>(static_cast<long>(ival)); }
  fkMDATA* field_mval() const override { return mval; }
  TYPE* field_csu() const override { return u.csu; }
  unsigned long icon_uvalue() const override;
  long icon_svalue() const override;
  const char* lcon_value() const override;
  const char* fcon_value() override;
  const char* scon_value() const override { return text; }
  unsigned scon_length() const override { return static_cast<unsigned>(ival.low); }
  int label_id() const override;
  int vreg_id() const override { return static_cast<int>(static_cast<long>(ival)); }
  int skip_count() const override { return static_cast<int>(static_cast<long>(ival)); }
  int case_count() const override { return static_cast<int>(static_cast<long>(ival)); }
  int ddnode_id() const override { return static_cast<int>(static_cast<long>(ival)); }
  int ddnode_locale() const override { return dd_locale; }
  int ddnode_flags() const override { return dd_flags; }
  unsigned call_num_args() const override;
  unsigned call_num_vargs() const override { return vargs; }
  const char* icall_name() const override { return u.callee; }
  unsigned eh_entry_id() const override { return eh_entry; }
  unsigned get_edge_profile_value() const override { return profile_count; }
  void set_edge_profile_value(unsigned value) override { profile_count = value; }

  void mk_name(I_SYMTAB* sym) override;
  void mk_field(int kind, fkMDATA* member, TYPE* csu) override;
  void mk_icon(long value) override;
  void mk_lcon(const char* text) override;
  void mk_fcon(const char* text) override;
  void mk_scon(const char* text, unsigned length) override;
  void mk_label(int number) override { ival = number; }
  void mk_vreg(int number) override { ival = number; }
  void mk_skip(int count) override { ival = count; }
  void mk_switch(int cases) override { ival = cases; }
  void mk_ddnode(int id, int locale, int flags) override;
  void mk_call(unsigned args, unsigned vargs) override;
  void mk_ucall(unsigned entry) override { eh_entry = entry; }
  void mk_icall(const char* name) override;

  double frequency() const; // estimated frequency; -1 for none
  DD_INFO* dd_info() const; // null for none
  PTENV* ptenv() const;     // points-to environment; null for none
  NODE_FACTS& own_facts();  // made when there are none

  bool is(int wanted) const { return op == wanted; }
};

// What analyses hang on a node, in the function's memory. Copies of the node have none.
struct NODE_FACTS {
  void* scratch[2] = {}; // of loop and alias analyses
  double frequency = -1.0;
  DD_INFO* dd_info = nullptr;
  PTENV* ptenv = nullptr;
};
inline double NODE::frequency() const {
  return facts ? facts->frequency : -1.0;
}
inline DD_INFO* NODE::dd_info() const {
  return facts ? facts->dd_info : nullptr;
}
inline PTENV* NODE::ptenv() const {
  return facts ? facts->ptenv : nullptr;
}

// Dependence information on a memory reference. Owns its subtree.
struct DD_INFO {
  NODE* tree = nullptr;
};

// A cell of a statement list, or of any list of trees.
struct LIST {
  NODE* tree;
  PSN* psn;
  short info[2];
  LIST* next;
};

// Plain singly linked lists of trees and of lists.
struct NODELIST {
  NODE* node;
  NODELIST* next;
};
struct NODEPAIRLIST {
  NODE* first;
  NODE* second;
  NODEPAIRLIST* next;
};
struct LLIST {
  LIST* list;
  LLIST* next;
};
inline NODE* nl_left_child(const NODELIST* cell) {
  return cell->node;
}
inline NODE* pair_left_child(const NODEPAIRLIST* cell) {
  return cell->first;
}
inline NODE* list_left_child(const LIST* cell) {
  return cell->tree;
}

// Counts of references stick at the largest value, from where they are only known to be many.
inline bool is_stuck(short number) {
  return number == SHRT_MAX;
}
inline void count_up(short& number) {
  if (!is_stuck(number)) number++;
}

// A label and its block. Owned by the function.
struct LBL {
  int number;
  short refcount; // references from branches; sticks at the largest value
  BBLK* bb;
  LBL* chain; // the label that stands for this one after blocks were joined, or null
  LBL* older; // label of the function that was made before this one
};

// --- Making. All take ownership of their operands and give a new tree to the caller.
NODE* alloc_node(int op, TYPE* type);
// A node of a file, for the reader: PCONV may become ISP2CHAR, and a UCALL is noted in the current
// function.
NODE* new_node(int op, TYPE* type);
NODE* maketree(int op, NODE* left, NODE* right, TYPE* type, LS* ls = nullptr);
NODE* mktree(int op, NODE* left, NODE* right, TYPE* type, SYMTAB* sym, INT65 ival);
// The assignment operator follows the target's type: ASG, STASG or ARASG.
NODE* mk_ASG(NODE* left, NODE* right);
// The type must be integral or a pointer, which stands for the unsigned integer of its size. The
// value is truncated to the type.
NODE* mk_ICON(INT65 value, TYPE* type);
NODE* mk_constant_from_ival(INT65 value, TYPE* type);
NODE* mk_FCON(const simul_fval& value, TYPE* type);
NODE* mk_NAME(SYMTAB* sym, LS* ls = nullptr);
NODE* mk_MCALL(const char* name, NODE* args, TYPE* type);
NODE* mk_ICALL(const char* name, NODE* args, TYPE* type);
NODE* mk_COMMAOP(NODE* first, NODE* second); // null first gives second
NODE* mk_MINUS(NODE* a, NODE* b, TYPE* type);
NODE* mk_EXCLAIM(NODE* x);
NODE* mk_LABELREF(INT65 number, unsigned refs);
NODE* mk_LABELREF_to_bb(BBLK* bb, LS* ls); // counts a reference
NODE* mk_BRANCH(BBLK* bb, LS* ls);
NODE* mk_IF(NODE* cond, BBLK* if_true, BBLK* if_false, LS* ls);
NODE* mk_LABELDEF(LBL* label);
LIST* mklist(NODE* tree, LIST* next, int info0 = 0, int info1 = 0);
LIST* mkelist(NODE* tree, LIST* next, PSN* psn);

// --- Copying. A copy drops dependence and points-to records, and the scope unless keep_ls.
NODE* copy_node(const NODE* node, bool keep_ls); // operands of the copy are null
// The same for a DDNODE, which keeps its dependence record; copy_node calls it.
NODE* copy_dd_node(const NODE* node, bool keep_ls);
NODE* copy_tree(const NODE* tree, bool keep_ls);
// Deep copy for inlining: symbols go through intern_symbol when fi is given.
NODE* copy_tree_0(const NODE* tree, FUNINFO* fi);
LIST* copy_statements(const LIST* list, bool keep_ls);
// As copy_tree, but the operands of a CSE_DUPE, which belong to another tree, become the copy's
// own: the CSE wrappers are looked through.
NODE* copy_tree_without_dupes(const NODE* tree);
// As copy_tree and copy_statements, with the dependence records.
NODE* copy_dd_tree(const NODE* tree, bool keep_ls);
LIST* copy_dd_statements(const LIST* list, bool keep_ls);
// New cells for the same trees, which stay the property of the first list.
LIST* copy_shared_statements(const LIST* list);
// `node` itself if its operands are left and right already, else a copy of it with those.
NODE* copy_node_if_changed(NODE* node, NODE* left, NODE* right);

// --- Erasing. Erasing a node twice ends the run.
void erase_node(NODE* node);
void erase_tree(NODE* tree);           // null is fine
void erase_tree_list(LIST* list);      // cells and trees
void erase_tree_list_only(LIST* list); // cells
// The cells (and with `trees` the trees) from `list` up to `entry`, which stays.
void erase_tree_list_to_entry(LIST* list, LIST* entry, int trees);

// --- Comparing
// Do both compute the same value? Without se_ok, trees with side effects never do (but a tree is
// congruent with itself).
bool trees_are_congruent(const NODE* a, const NODE* b, bool se_ok = false);
bool trees_are_congruent_se_ok(const NODE* a, const NODE* b);
// Are two conditions true together (opposite 0), or is each true when the other is false (1)?
bool bools_are_congruent(const NODE* a, const NODE* b, int opposite);
bool tree_lists_are_congruent(const LIST* a, const LIST* b);

// --- Asking
bool opcode_is_ASG(int op); // any operator that assigns to its left operand
bool tree_has_side_effects(const NODE* tree);
bool expr_is_constant(const NODE* tree);           // a literal, or operators over literals
bool expr_is_globally_evaluable(const NODE* tree); // constant, or an address known to the linker
bool tree_references_NAME(const NODE* tree, const NODE* name);
bool sym_appears_in_tree(const SYMTAB* sym, const NODE* tree);
bool sym_appears_in_list(const SYMTAB* sym, const LIST* list);
bool sym_appears_in_bb(const SYMTAB* sym, const BBLK* bb);
bool tree_contains_op(const NODE* tree, int op);
bool tree_is_subtree_of_tree(const NODE* part, const NODE* tree); // by identity
bool tree_is_strict_subtree_of_tree(const NODE* part, const NODE* tree);
int count_nodes_in_tree(const NODE* tree);
int count_calls_in_tree(const NODE* tree);
bool op_is_call(int op);
// The bit-field that a tree reads, or whose new value an assignment gives; null for anything else.
const fkMDATA* bit_field_of(const NODE* node);
// Is it a binary operator, or its assignment form, that makes a vector from lanes of its operands?
bool computes_lane_by_lane(const NODE* node);
// The first statement of a function that copies its parameters: a PCOMMA chain of assignments of
// parameters to locals.
bool tree_is_arg_prolog(const NODE* tree);
// Arguments are one tree or a left-leaning COMMA list. Lookup counts from 0; null if out of range.
int arg_list_count(const NODE* args);
NODE* arg_list_lookup(NODE* args, int k);
std::vector<NODE*> arg_list_items(NODE* args); // all of them, first to last; for loops over them
SYMTAB* get_callee_for_call(const NODE* call); // symbol of a direct call, else null
// What the callee, by its symbol or by the pointer's type, expects; null without a prototype.
const FUNC_PARTS* called_prototype(const NODE* call);
NODE* get_arguments_to_call(NODE* call);

// --- Changing
void subst_sym_for_sym_in_tree(SYMTAB* to, SYMTAB* from, NODE* tree);
// Every symbol that is the first of a pair becomes the second.
struct SYMPAIRLIST;
void subst_sym_pairs_in_tree(const SYMPAIRLIST* pairs, NODE* tree);
// Replaces every subtree congruent with `lvalue` by a copy of `value`.
NODE* subst_tree_for_lvalue_in_tree(const NODE* value, const NODE* lvalue, NODE* tree);
// x = x op y  -->  x op= y
NODE* ASG_to_opASG(NODE* asg);
// x op= y  -->  x = x op y, unless x may not be duplicated
NODE* opASG_to_ASG(NODE* asg);
// Keeps what has effects; null if nothing has. The tree is consumed.
NODE* peel_for_effect(NODE* tree);
