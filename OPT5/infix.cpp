// Trees and functions as people read them.
//
//   ASG(UMULT(PLUS(p, i)), MULT(PLUS(a, b), 2))  -->  p[i] = (a + b) * 2

#include "OPT5/infix.h"

#include "OPT5/funinfo.h"
#include "OPT5/loop.h"
#include "OPT5/optables.h"
#include "OPT5/printtree.h"
#include "OPT5/streams.h"
#include "OPT5/typetext.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

const struct {
  int op;
  const char* sign;
} binary_signs[] = {
    {PLUS, " + "},     {MINUS, " - "},     {MULT, " * "},     {DIV, " / "},      {MOD, " % "},
    {ANDB, " & "},     {ORB, " | "},       {XORB, " ^ "},     {SLL, " << "},     {SRL, " >> "},
    {ANDAND, " && "},  {OROR, " || "},     {EQ, " == "},      {NEQ, " != "},     {LE, " <= "},
    {LT, " < "},       {GE, " >= "},       {GT, " > "},       {ULE, " <=u "},    {ULT, " <u "},
    {UGE, " >=u "},    {UGT, " >u "},      {ASG, " = "},      {STASG, " = "},    {ARASG, " = "},
    {PLUSASG, " += "}, {MINUSASG, " -= "}, {MULTASG, " *= "}, {DIVASG, " /= "},  {MODASG, " %= "},
    {ANDBASG, " &= "}, {ORBASG, " |= "},   {XORBASG, " ^= "}, {SLLASG, " <<= "}, {SRLASG, " >>= "},
    {COMMAOP, ", "},   {PCOMMA, ", "},     {COMMA, ", "},
};

const char* sign_of(int op) {
  for (const auto& row : binary_signs)
    if (row.op == op) return row.sign;
  return nullptr;
}

// Of what an item of text is made: bytes, or a tree that is put in brackets where it binds less
// than what stands around it.
struct ITEM {
  std::string text;
  const NODE* node = nullptr;
  int binding = 0;
};

constexpr int LOOSEST = 0, IN_LIST = 2, UNARY_BINDING = 14, POSTFIX_BINDING = 15, LEAF_BINDING = 99;

class WRITER {
public:
  std::string write(const NODE* tree) {
    // A stack instead of recursion: left spines have any length.
    pending.push_back({"", tree, LOOSEST});
    while (!pending.empty()) {
      const ITEM item = std::move(pending.back());
      pending.pop_back();
      if (!item.node) {
        out += item.text;
        continue;
      }
      items.clear();
      const int binding = take_apart(item.node);
      const bool needs_brackets = binding < item.binding;
      if (needs_brackets) pending.push_back({")"});
      while (!items.empty()) {
        pending.push_back(std::move(items.back()));
        items.pop_back();
      }
      if (needs_brackets) pending.push_back({"("});
    }
    return std::move(out);
  }

private:
  std::string out;
  std::vector<ITEM> pending, items; // the next one last; in order

  void put(std::string text) { items.push_back({std::move(text)}); }
  void put(const NODE* node, int binding) {
    if (node) items.push_back({"", node, binding});
  }

  static std::string target_of(const NODE* label) {
    if (label->op != LABEL) return "?";
    return label->label && label->label->bb ? label->label->bb->str()
                                            : "L" + std::to_string(label->label_id());
  }

  int unary(const char* sign, const NODE* operand) {
    put(sign);
    put(operand, UNARY_BINDING);
    return UNARY_BINDING;
  }

  void put_arguments(const NODE* args) {
    put("(");
    put(args, LOOSEST);
    put(")");
  }

  // The name of an operator for which C has no sign.
  int named(const NODE* node) {
    put(head_text(node, nullptr));
    if (!node->left && !node->right) return LEAF_BINDING;
    put("(");
    put(node->left, IN_LIST);
    if (node->left && node->right) put(", ");
    put(node->right, IN_LIST);
    put(")");
    return POSTFIX_BINDING;
  }

  int call(const NODE* node) {
    const NODE* callee = node->left;
    if (callee && callee->op == UAND && callee->left->op == NAME) callee = callee->left;
    if (callee && callee->op != NAME) {
      put("(*");
      put(callee, UNARY_BINDING);
      put(")");
    } else {
      put(callee, POSTFIX_BINDING);
    }
    put_arguments(node->right);
    return POSTFIX_BINDING;
  }

  int indirection(const NODE* node) {
    const NODE* pointer = node->left;
    const NODE* subscript = node->right; // of the normal form
    if (!subscript && pointer->op == PLUS && pointer->left->type->underlying_type()->is_pointer()) {
      subscript = pointer->right;
      pointer = pointer->left;
    }
    if (!subscript) return unary("*", pointer);
    put(pointer, POSTFIX_BINDING);
    put("[");
    put(subscript, LOOSEST);
    put("]");
    return POSTFIX_BINDING;
  }

  int step(const NODE* node, const char* sign) {
    put(node->left, POSTFIX_BINDING);
    const NODE* by = node->right;
    if (!by || (by->op == ICON && by->ival == 1)) {
      put(sign);
      return POSTFIX_BINDING;
    }
    put(sign);
    put("{");
    put(by, LOOSEST);
    put("}");
    return POSTFIX_BINDING;
  }

  int switch_over(const NODE* node) {
    put("switch (");
    put(node->left, LOOSEST);
    put(")");
    std::vector<const NODE*> cases;
    const NODE* at = node->right;
    for (; at && at->op == COMMA; at = at->left)
      cases.push_back(at->right);
    if (at) cases.push_back(at);
    for (size_t k = cases.size(); k-- > 0;) {
      const NODE* item = cases[k];
      if (item->op == CASE) {
        put(" ");
        put(item->left, IN_LIST);
        put(": " + target_of(item->right));
      } else if (item->op == DEFAULT && item->left) {
        put(" default: " + target_of(item->left));
      }
    }
    return LOOSEST;
  }

  // Puts the parts of a tree down in `items`. Gives how strongly it holds together.
  int take_apart(const NODE* node) {
    const int own = precedence[node->op];
    if (const char* sign = sign_of(node->op); sign && node->left && node->right) {
      const bool is_assignment = opcode_is_ASG(node->op);
      put(node->left, is_assignment ? own + 1 : own);
      put(sign);
      put(node->right, is_assignment ? own : own + 1);
      return own;
    }
    switch (node->op) {
    case UMINUS: return unary("-", node->left);
    case NOTB: return unary("~", node->left);
    case EXCLAIM: return unary("!", node->left);
    case UAND:
    case ARGREF: return unary("&", node->left);
    case UMULT: return indirection(node);
    case PLUSPLUS: return step(node, "++");
    case MINMIN: return step(node, "--");
    case SCONV:
    case PCONV: return unary(("(" + type_text(node->type) + ")").c_str(), node->left);
    case STDOT:
    case STFIELD:
    case STREF: {
      put(node->left, POSTFIX_BINDING);
      const std::string member = head_text(node->right, node);
      put(node->op == STREF ? "->" + member.substr(1) : member);
      return POSTFIX_BINDING;
    }
    case CALL:
    case UCALL: return call(node);
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL:
      put(node->u.callee);
      put_arguments(node->left);
      return POSTFIX_BINDING;
    case QUEST:
      put(node->left, own + 1);
      put(" ? ");
      put(node->right->left, own);
      put(" : ");
      put(node->right->right, own);
      return own;
    case IF:
      put("if (");
      put(node->left, LOOSEST);
      put(") goto " + target_of(node->right->left) + " else " + target_of(node->right->right));
      return LOOSEST;
    case CBRANCH:
      put("if (");
      put(node->left, LOOSEST);
      put(") goto " + target_of(node->right));
      return LOOSEST;
    case BRANCH: put("goto " + target_of(node->left)); return LOOSEST;
    case SWITCH: return switch_over(node);
    case URETURN: put("return"); return LOOSEST;
    case RETURN:
      put("return ");
      put(node->right, LOOSEST);
      return LOOSEST;
    default: return named(node);
    }
  }
};

class PRINTER {
public:
  explicit PRINTER(FILE* stream) : to(stream), fi(currfuninfo), names(currfuninfo) {}

  void print() {
    print_checked(to, "function %s%s, %d blocks\n", symbol_text(fi->symbol).c_str(),
                  position(fi->begin_psn).c_str(), fi->bb_count);
    for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink) {
      print_head(bb);
      for (const LIST* s = bb->statements; s; s = s->next)
        print_checked(to, "%*s%s%s\n", indent(bb) + 4, "", infix_text(s->tree).c_str(),
                      position(s->psn).c_str());
    }
  }

private:
  FILE* to;
  FUNINFO* fi;
  LOCAL_NAMES names;
  const char* last_file = nullptr; // interned

  static int indent(const BBLK* bb) {
    constexpr int MOST = 20; // nesting beyond is no longer shown by depth
    return bb->loop ? 2 * std::min<int>(bb->loop->level, MOST) : 0;
  }

  std::string position(const PSN* psn) {
    if (!psn || !psn->file) return "";
    std::string text = "  @";
    if (psn->file != last_file) text += std::string(psn->file) + ":";
    last_file = psn->file;
    return text + std::to_string(psn->line) + ":" + std::to_string(psn->column);
  }

  static std::string number(double value) {
    char text[40];
    snprintf(text, sizeof text, "%.4g", value);
    return text;
  }

  static std::string block_list(const EDGE* list, bool with_prob) {
    std::string text;
    for (; list; list = list->rest) {
      text += " " + list->first->str();
      if (with_prob && list->prob >= 0) text += "(" + number(list->prob) + ")";
    }
    return text.empty() ? " -" : text;
  }

  void print_head(const BBLK* bb) {
    std::string text = "  " + bb->str() + ":";
    if (bb->label && bb->label->refcount) text += " L" + std::to_string(bb->label->number);
    text +=
        " from" + block_list(bb->predecessors, false) + ", to" + block_list(bb->successors, true);
    if (bb->dFreqIn >= 0) text += ", " + number(bb->dFreqIn) + " times";
    if (const LOOP* loop = bb->loop; loop && loop->parent) {
      text += ", loop " + std::to_string(loop->uid) + " level " + std::to_string(loop->level);
      if (bb == loop->head) text += " head";
      if (bb == loop->tail) text += " tail";
    }
    print_checked(to, "%*s%s\n", indent(bb), "", text.c_str());
  }
};

} // namespace

std::string infix_text(const NODE* tree) {
  return WRITER().write(tree);
}

void print_infix(FILE* to) {
  PRINTER(to).print();
}
