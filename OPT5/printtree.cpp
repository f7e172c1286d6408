// Trees as text, in the prefix form that the assembler of icode reads.

#include "OPT5/bblk.h"
#include "OPT5/node.h"
#include "OPT5/optables.h"
#include "OPT5/symbol.h"

#include <cctype>

namespace {

void append_quoted(const char* bytes, unsigned length, std::string& out) {
  out += '"';
  for (unsigned k = 0; k < length; k++) {
    const unsigned char c = static_cast<unsigned char>(bytes[k]);
    if (c == '"' || c == '\\')
      (out += '\\') += static_cast<char>(c);
    else if (c == '\n')
      out += "\\n";
    else if (isprint(c))
      out += static_cast<char>(c);
    else {
      char escape[8];
      snprintf(escape, sizeof escape, "\\x%02x", c);
      out += escape;
    }
  }
  out += '"';
}

void append_leaf(const NODE* node, std::string& out) {
  switch (node->op) {
  case NAME: out += node->u.sym ? node->u.sym->name : "<none>"; break;
  case ICON:
    out +=
        node->ival.high < 0 ? std::to_string(node->icon_svalue()) : std::to_string(node->ival.low);
    break;
  case FCON: out += f_hex_text(node->u.fval); break;
  case SCON: append_quoted(node->text, node->scon_length(), out); break;
  case LABEL: (out += 'L') += std::to_string(node->label_id()); break;
  case FIELD: (out += '.') += node->mval ? node->mval->name : "?"; break;
  case ASM:
    out += node->node_flags[NF_COMMENT] ? "comment " : "asm ";
    out += node->text;
    break;
  default: out += node_operator_name[node->op] ? node_operator_name[node->op] : "?";
  }
}

bool type_is_obvious(const NODE* node) {
  switch (node->op) {
  case NAME: return node->u.sym && node->u.sym->type == node->type;
  case LABEL:
  case FIELD:
  case ASM:
  case PPRAGMA: return true;
  default: return node->type && node->type->is_void();
  }
}

struct PENDING_TEXT {
  const NODE* node; // to be printed, or null for `text`
  const char* text;
};

} // namespace

std::string tree_text(const NODE* tree) {
  std::string out;
  std::vector<PENDING_TEXT> pending{{tree, nullptr}};
  while (!pending.empty()) {
    const auto [node, text] = pending.back();
    pending.pop_back();
    if (!node) {
      out += text;
      continue;
    }
    append_leaf(node, out);
    if (node->op == ICALL || node->op == MCALL || node->op == UICALL || node->op == UMCALL)
      (out += '.') += node->u.callee;
    if (!type_is_obvious(node) && node->type) (out += ':') += node->type->str();
    if (!node->left && !node->right) continue;
    out += '(';
    pending.push_back({nullptr, ")"});
    if (node->right) {
      pending.push_back({node->right, nullptr});
      if (node->left) pending.push_back({nullptr, ", "});
    }
    if (node->left) pending.push_back({node->left, nullptr});
  }
  return out;
}
