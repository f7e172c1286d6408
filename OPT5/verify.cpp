// The verifier: looks, changes nothing, and names the step after which something is broken.

#include "OPT5/verify.h"
#include "OPT5/treewalk.h"

#include "DIAG/abort.h"
#include "OPT5/funinfo.h"
#include "OPT5/optables.h"
#include "OPT5/printtree.h"
#include "OPT5/properties.h"
#include "OPT5/scope.h"

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

using enum OPERAND;

bool is_statement(int op) {
  return has_trait(op, operator_trait::STATEMENT);
}
bool is_part(int op) { // stands in its own place only
  return has_trait(op, operator_trait::PART | operator_trait::STATEMENT);
}

bool is_lvalue(const NODE* node) {
  while (node->op == VFIELD || node->op == REAL || node->op == IMAG || node->op == DDNODE)
    node = node->left;
  return has_trait(node->op, operator_trait::PLACE);
}

bool is_aggregate(const TYPE* type) {
  return type->is_csu();
}

bool is_computable(const TYPE* type) {
  return type->is_scalar() || type->is_vector() || type->is_complex();
}

const char* check_place(const NODE* node, OPERAND place) {
  const int op = node->op;
  switch (place) {
  case VALUE:
  case SCALAR:
    if (is_part(op)) return "operator in the place of a value";
    if (place == SCALAR && !is_computable(node->type)) return "operand is not a scalar";
    return nullptr;
  case POINTER:
    if (is_part(op)) return "operator in the place of a pointer";
    if (!node->type->is_pointer()) return "operand is not a pointer";
    while (node->op == DDNODE) // which the output leaves out
      node = node->left;
    return node->type->is_pointer() ? nullptr : "operand is not a pointer";
  case LVALUE: return is_lvalue(node) ? nullptr : "operand is not an lvalue";
  case AGGREGATE:
    if (is_part(op)) return "operator in the place of an aggregate";
    return is_aggregate(node->type) ? nullptr : "operand is not an aggregate";
  case VECTOR:
    if (is_part(op)) return "operator in the place of a vector";
    return node->type->is_vector() ? nullptr : "operand is not a vector";
  case LIST_OF:
    return op != COMMA && is_part(op) ? "operator in the place of an argument" : nullptr;
  case FIELD_REF: return op == FIELD ? nullptr : "FIELD expected";
  case LABEL_REF: return op == LABEL ? nullptr : "LABEL expected";
  case LABEL_PAIR: return op == COMMA ? nullptr : "two LABELs expected";
  case CASES: return op == COMMA || op == CASE || op == DEFAULT ? nullptr : "CASE expected";
  case CONSTANT: return op == ICON ? nullptr : "ICON expected";
  case FUNC_NAME: return op == NAME ? nullptr : "NAME of the function expected";
  case COLON_PAIR: return op == COLON ? nullptr : "COLON expected";
  case MEMCPY_ARGS:
    return op == COMMA && node->left && node->left->op == COMMA
               ? nullptr
               : "destination, source, length expected";
  case LANES: return op == ICON || op == COMMA ? nullptr : "lane numbers expected";
  case STATEMENT:
    return is_part(op) && !is_statement(op) ? "operator can't be a statement" : nullptr;
  case INIT_ROOT:
    return op != ENDINIT && op != SKIP && is_part(op) ? "operator can't be an initialiser"
                                                      : nullptr;
  case NOTHING:
  case ANYTHING:
  case AS_HERE: return nullptr;
  }
  return nullptr;
}

struct PLACES {
  OPERAND left, right;
};

// The places that an operator gives to its operands; `here` is its own.
PLACES operand_places(const NODE* node, OPERAND here) {
  const OPERATOR_ROW& row = operator_rows[node->op];
  if (row.left == AS_HERE) return {here == LVALUE ? LVALUE : VALUE, row.right};
  if (node->op == COMMA) {
    if (here == CASES) return {CASES, CASES};
    if (here == LABEL_PAIR) return {LABEL_REF, LABEL_REF};
    if (here == LANES) return {LANES, CONSTANT};
    if (here == MEMCPY_ARGS) return {LIST_OF, SCALAR};
  }
  return {row.left, row.right};
}

bool has_integer_constants(const TYPE* type) {
  return type->is_int_or_enum() || type->is_pointer() || type->is_float();
}

// A call passes as many arguments as the callee's prototype wants.
bool arguments_fit_prototype(const NODE* call) {
  const FUNC_PARTS* parts = called_prototype(call);
  if (!parts) return true;
  const size_t args = static_cast<size_t>(arg_list_count(call->right));
  return parts->is_variadic ? args >= parts->params.size() : args == parts->params.size();
}

const char* check_result(const NODE* node) {
  const TYPE* type = node->type;
  if (computes_lane_by_lane(node) && !node->left->type->is_vector())
    return "left operand is not a vector";
  const bool assigns = node->op == ASG || node->op == ARASG || is_operator_assignment(node->op);
  if (assigns && node->left->type->is_unknown()) return "assignment to an unknown type";
  switch (node->op) {
  case ICON: // of a floating type: the integer's value; of a vector: that of all lanes
    return has_integer_constants(type->is_vector() ? type->underlying_type()->elem_type() : type)
               ? nullptr
               : "ICON of that type";
  case NAME: // what a label is called is no variable
    return node->u.sym && node->u.sym->is_local() && node->u.sym->sclass == SC_LABEL
               ? "value of a label"
               : nullptr;
  case FCON: return type->is_float() && node->u.fval ? nullptr : "FCON of that type";
  case CALL:
  case UCALL: return arguments_fit_prototype(node) ? nullptr : "wrong number of arguments";
  case STASG: return is_aggregate(node->left->type) ? nullptr : "STASG to that type";
  case SWITCH: return node->left->type->is_int_or_enum() ? nullptr : "SWITCH on that type";
  default: break;
  }
  switch (operator_rows[node->op].result) {
  case RESULT::ANY: return nullptr;
  case RESULT::COMPUTABLE: return is_computable(type) ? nullptr : "computation in that type";
  case RESULT::TRUTH_VALUE:
    return type->is_int_or_enum() || type->is_vector() ? nullptr : "truth value of that type";
  case RESULT::ADDRESS: return type->is_pointer() ? nullptr : "address of that type";
  case RESULT::OBJECT: return type->is_void() || type->is_func() ? "memory of that type" : nullptr;
  case RESULT::OF_LANES: return type->is_vector() ? nullptr : "vector of that type";
  }
  return nullptr;
}

const char* check_tree(const NODE* tree, OPERAND place) {
  for (const NODE* node = tree;;) {
    if (!node->type) return "node without a type";
    if (node->op < 0 || node->op >= OPCODE_COUNT || !node_operator_name[node->op])
      return "unknown operator";
    if (node->op == ILLOP) return "erased node";
    if (const char* fault = check_place(node, place)) return fault;
    // Only the place of such an object has a meaning: its address may be taken.
    if (node->type->is_unknown() && place != LVALUE && place != FIELD_REF)
      return "value of an unknown type";
    const auto operands = number_of_operands[node->op]; // -1 for any number
    if (node->op == UMULT ? !node->left
                          : operands >= 0 && (operands >= 1) + (operands >= 2) !=
                                                 (node->left != nullptr) + (node->right != nullptr))
      return "wrong number of operands";
    if (!node->left && node->right) return "wrong operands";
    PLACES places = operand_places(node, place);
    if (node->right)
      if (const char* fault = check_tree(node->right, places.right)) return fault;
    if (!node->left) return check_result(node);
    if (!node->left->type) return "node without a type";
    if (const char* fault = check_result(node)) return fault;
    node = node->left;
    place = places.left;
  }
}

// ---------------------------------------------------------------------------------------------
// Functions

// Looks only: nothing of the function changes.
class FUNCTION_CHECK {
public:
  explicit FUNCTION_CHECK(const char* s) : step(s) {}

  void run() {
    const FUNINFO* fi = currfuninfo;
    collect_scopes();
    collect_locals();
    int dfn = 0;
    const BBLK* previous = nullptr;
    for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
      if (bb->dfn != ++dfn)
        report_broken_function(step, nullptr, bb->str() + " is out of depth-first order");
      if (previous && bb->rdflink != previous)
        report_broken_function(step, nullptr, bb->str() + " has a wrong rdflink");
      previous = bb;
      blocks.insert(bb);
    }
    if (dfn != fi->bb_count) report_broken_function(step, nullptr, "bb_count is wrong");
    if (fi->bb_list && fi->bb_list->rdflink != previous)
      report_broken_function(step, nullptr, "entry's rdflink is wrong");
    for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      check_block(bb);
    for (const EHT_ITEM& item : fi->eht)
      if (item.cleanup) check_statement(item.cleanup);
    check_edges();
    check_sharing();
  }

private:
  using ARC = std::pair<const BBLK*, const BBLK*>; // from, to
  const char* step;
  std::unordered_set<const SYMTAB*> locals;
  std::unordered_set<const LS*> scopes;
  std::unordered_set<const BBLK*> blocks;
  std::vector<const NODE*> nodes;               // all that were met
  std::vector<ARC> branches, leaving, arriving; // by control statements and by the lists of edges

  void collect_scopes() {
    const LS* root = currfuninfo->scope;
    if (!root) return;
    if (const char* fault = root->fault()) report_broken_function(step, nullptr, fault);
    root->collect(scopes);
  }

  bool is_foreign(const LS* scope) const { return scope && !scopes.count(scope); }

  void collect_locals() {
    const FUNINFO* fi = currfuninfo;
    for (const SYMTAB* list : lists_of_locals(fi))
      for (const SYMTAB* sym = list; sym; sym = sym->next) {
        if (!locals.insert(sym).second)
          report_broken_function(step, nullptr, std::string("local on two lists: ") + sym->name);
        if (is_foreign(sym->scope))
          report_broken_function(step, nullptr,
                                 std::string("local of another function's scope: ") + sym->name);
      }
  }

  void check_statement(const NODE* tree) {
    if (const char* fault = verify_statement(tree)) report_broken_function(step, tree, fault);
    walk_preorder(tree, [&](const NODE* node) {
      if (node->op == CSE_DUPE) return false;
      nodes.push_back(node);
      if (is_foreign(node->ls)) report_broken_function(step, tree, "scope of another function");
      if (node->op == NAME && node->u.sym && node->u.sym->is_local() && !locals.count(node->u.sym))
        report_broken_function(
            step, tree, std::string("local not on the function's lists: ") + node->u.sym->name);
      if (node->op == LABEL && (!node->label || !blocks.count(node->label->bb)))
        report_broken_function(step, tree, "label without a block");
      return true;
    });
  }

  void check_block(const BBLK* bb) {
    if (!bb->statements) report_broken_function(step, nullptr, bb->str() + " is empty");
    const LIST* last = nullptr;
    for (const LIST* s = bb->statements; s; s = s->next) {
      check_statement(s->tree);
      if (last && (last->tree->op == IF || last->tree->op == BRANCH || last->tree->op == SWITCH))
        report_broken_function(step, last->tree, "control statement in the middle of " + bb->str());
      last = s;
    }
    const NODE* control = last->tree;
    const bool leads_on = control->op == BRANCH || control->op == IF || control->op == SWITCH;
    if (!leads_on && control->op != URETURN)
      report_broken_function(step, control, bb->str() + " has no way out");
    if (leads_on)
      walk_preorder(control, [&](const NODE* node) {
        if (node->op == LABEL) branches.emplace_back(bb, node->label->bb);
        return true;
      });
    for (const EDGE* e = bb->successors; e; e = e->rest)
      leaving.emplace_back(bb, e->first);
    for (const EDGE* e = bb->predecessors; e; e = e->rest)
      arriving.emplace_back(e->first, bb);
  }

  // The first of `a` that `b` lacks.
  static const ARC* first_missing(const std::vector<ARC>& a, const std::vector<ARC>& b) {
    for (const ARC& arc : a)
      if (!std::binary_search(b.begin(), b.end(), arc)) return &arc;
    return nullptr;
  }

  void check_edges() {
    for (std::vector<ARC>* arcs : {&branches, &leaving, &arriving})
      std::sort(arcs->begin(), arcs->end());
    if (std::adjacent_find(leaving.begin(), leaving.end()) != leaving.end())
      report_broken_function(step, nullptr, "an edge twice");
    const struct {
      const std::vector<ARC>&has, &wants;
      const char* fault;
    } rules[] = {{leaving, branches, "edge without a branch in "},
                 {branches, leaving, "branch without an edge in "},
                 {leaving, arriving, "edge without its reverse in "},
                 {arriving, leaving, "a predecessor does not lead here: "}};
    for (const auto& rule : rules)
      if (const ARC* arc = first_missing(rule.has, rule.wants)) {
        const bool at_target = &rule.has == &arriving;
        const BBLK* bb = at_target ? arc->second : arc->first;
        const LIST* last = bb->last_statement();
        report_broken_function(step, last ? last->tree : nullptr, rule.fault + bb->str());
      }
  }

  void check_sharing() {
    std::sort(nodes.begin(), nodes.end());
    const auto twice = std::adjacent_find(nodes.begin(), nodes.end());
    if (twice != nodes.end()) report_broken_function(step, *twice, "shared node");
  }
};

} // namespace

const char* verify_tree(const NODE* tree) {
  return check_tree(tree, INIT_ROOT);
}
const char* verify_statement(const NODE* tree) {
  return check_tree(tree, STATEMENT);
}

void report_broken_function(const char* step, const NODE* tree, const std::string& fault) {
  fprintf(stderr, "\nVERIFY: after %s, function %s(): %s\n", step, currfunc ? currfunc->name : "?",
          fault.c_str());
  if (tree) fprintf(stderr, "  statement: %s\n", tree_text(tree).c_str());
  abort_optimizer("The verifier found a broken function");
}

void verify_function(const char* step) {
  if (currfuninfo && currfuninfo->bb_list) FUNCTION_CHECK(step).run();
}

#ifdef VRX_CHECKS
void verify_after(const char* step) {
  verify_function(step);
  verify_properties(step);
}
#else
void verify_after(const char*) {}
#endif
