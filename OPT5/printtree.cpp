// Trees and whole functions as text, in the form that icode-as reads.

#include "OPT5/printtree.h"

#include "OPT5/funinfo.h"
#include "OPT5/infix.h"
#include "OPT5/optables.h"
#include "OPT5/scope.h"
#include "OPT5/settings.h"
#include "OPT5/streams.h"
#include "OPT5/typetext.h"
#include "ifile/if_client.h"
#include "ifile/text_words.h"
#include "options/register_option.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <unordered_map>
#include <unordered_set>

namespace {

// What the symbols of the function that is being printed are called, where their own names don't
// tell them apart.
thread_local const std::unordered_map<const SYMTAB*, std::string>* local_names;
// While a function is printed: of a class, the first member of each name.
thread_local std::unordered_map<const TYPE*, LOCAL_NAMES::MEMBERS_BY_NAME>* members_by_name;

void append_quoted(const char* bytes, size_t length, char quote, std::string& out) {
  out += quote;
  for (size_t k = 0; k < length; k++) {
    const auto c = static_cast<unsigned char>(bytes[k]);
    if (c == static_cast<unsigned char>(quote) || c == '\\')
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
  out += quote;
}

std::string in_quotes(const std::string& text, char quote = '"') {
  std::string out;
  append_quoted(text.data(), text.size(), quote, out);
  return out;
}

// Words with a meaning in the text form can't name a symbol without quotes.
bool is_reserved_word(const std::string& name) {
  static const std::unordered_set<std::string_view> words = [] {
    std::unordered_set<std::string_view> all(std::begin(reserved_words), std::end(reserved_words));
    for (const STORAGE_WORD& row : storage_words)
      all.insert(row.word);
    for (int op = 0; op < FIRST_MEMORY_OP; op++)
      if (operator_rows[op].name) all.insert(operator_rows[op].name);
    return all;
  }();
  if (words.count(name)) return true;
  return name.size() > 1 && name[0] == 'L' &&
         name.find_first_not_of("0123456789", 1) == std::string::npos;
}

std::string shown(const std::string& name) {
  return is_text_identifier(name) && !is_reserved_word(name) ? name : in_quotes(name, '\'');
}

} // namespace

std::string symbol_text(const SYMTAB* sym) {
  if (local_names)
    if (const auto place = local_names->find(sym); place != local_names->end())
      return shown(place->second);
  return shown(sym->name);
}

namespace {

const fkMDATA* first_member_of_name(const TYPE* owner, const std::string& name) {
  const auto& members = owner->csu_parts()->members;
  if (!members_by_name) {
    const auto first = std::find_if(members.begin(), members.end(),
                                    [&](const fkMDATA* m) { return name == m->name; });
    return first == members.end() ? nullptr : *first;
  }
  const auto [place, is_new] = members_by_name->try_emplace(owner);
  if (is_new)
    for (const fkMDATA* m : members)
      place->second.try_emplace(m->name, m);
  const auto found = place->second.find(name);
  return found == place->second.end() ? nullptr : found->second;
}

// A member by its name where that leads back to it.
std::string member_text(const NODE* node, const NODE* access) {
  const fkMDATA* member = node->mval;
  if (!member) return ".0";
  const TYPE* owner = node->u.csu ? node->u.csu->underlying_type() : nullptr;
  std::string text = "." + std::to_string(member->number);
  if (owner && owner->is_csu() && is_text_identifier(member->name) &&
      first_member_of_name(owner, member->name) == member)
    text = std::string(".") + member->name;
  TYPE* from = access ? access->left->type->underlying_type() : nullptr;
  if (access && access->op == STREF && from->is_pointer())
    from = from->elem_type()->underlying_type();
  if (from != owner) text += "@" + type_text(node->u.csu);
  if (node->field_kind()) text += "/" + std::to_string(node->field_kind());
  return text;
}

std::string icon_text(const NODE* node) {
  return node->type && node->type->is_signed() ? std::to_string(node->icon_svalue())
                                               : std::to_string(node->ival.low);
}

int count_items(const NODE* list, int op) {
  int count = 0;
  for (; list->op == COMMA; list = list->left)
    count += op == COMMA || list->right->op == op;
  return count + (op == COMMA || list->op == op);
}

} // namespace

std::string head_text(const NODE* node, const NODE* access) {
  std::string name = node_operator_name[node->op] ? node_operator_name[node->op] : "?";
  auto with = [&name](const std::string& payload) { return name + "[" + payload + "]"; };
  switch (node->op) {
  case NAME: return node->u.sym ? symbol_text(node->u.sym) : "NAME[0,0]";
  case ICON: return icon_text(node);
  case FCON: {
    const std::string text = f_hex_text(node->u.fval);
    return isdigit(static_cast<unsigned char>(text.back())) ? text : with(in_quotes(text));
  }
  case SCON: {
    std::string text;
    append_quoted(node->text, node->scon_length(), '"', text);
    return text;
  }
  case LABEL:
    return "L" +
           std::to_string(node->label && node->label->bb ? node->label->bb->dfn : node->label_id());
  case FIELD: return member_text(node, access);
  case ASM: return (node->node_flags[NF_COMMENT] ? "comment " : "asm ") + in_quotes(node->text);
  case PPRAGMA: {
    std::string text = "pragma " + std::to_string(node->pragma->kind);
    for (const std::string& arg : node->pragma->args)
      text += " " + in_quotes(arg);
    return text;
  }
  case ICALL:
  case UICALL:
  case MCALL:
  case UMCALL: return with(in_quotes(node->u.callee));
  case CALL:
    return node->vargs ? with(std::to_string(count_items(node->right, COMMA)) + "," +
                              std::to_string(node->vargs))
                       : name;
  case UCALL: return node->eh_entry ? with(std::to_string(node->eh_entry)) : name;
  case EPVAL: return node->profile_count != -1U ? with(std::to_string(node->profile_count)) : name;
  case SKIP: return node->skip_count() ? with(std::to_string(node->skip_count())) : name;
  case VREG: return with(std::to_string(node->vreg_id()));
  case SWITCH:
    return node->case_count() == count_items(node->right, CASE)
               ? name
               : with(std::to_string(node->case_count()));
  case DDNODE:
    return with(std::to_string(node->ddnode_id()) + "," + std::to_string(node->dd_locale) + "," +
                std::to_string(node->dd_flags));
  default: return name;
  }
}

namespace {

const TYPE* returned_type(const TYPE* callee) {
  const TYPE* func = callee->underlying_type();
  if (func->is_pointer()) func = func->elem_type()->underlying_type();
  return func->is_func() ? func->return_type() : nullptr;
}

// Is the type the one that a text leaves out?
bool type_is_usual(const NODE* node) {
  const TYPE* type = node->type;
  const NODE* left = node->left;
  switch (operator_rows[node->op].usual_type) {
  case USUAL_TYPE::VOID: return type->kind == TYPE::K_VOID;
  case USUAL_TYPE::INT: return type == tp->mk_plain_int();
  case USUAL_TYPE::FLOAT: return type == tp->mk_fltpt(TYPE::F_FLOAT);
  case USUAL_TYPE::LLONG: return type == tp->mk_int(TYPE::I_LLONG);
  case USUAL_TYPE::OF_LEFT: return left && left->type == type;
  case USUAL_TYPE::OF_RIGHT: return node->right && node->right->type == type;
  case USUAL_TYPE::OF_SYMBOL: return node->u.sym && node->u.sym->type == type;
  case USUAL_TYPE::OF_MEMBER: return node->mval && node->mval->type == type;
  case USUAL_TYPE::ELEMENT: {
    if (!left || node->right) return false;
    const TYPE* from = left->type->underlying_type();
    const bool has_elements = from->is_pointer() || from->is_vector() || from->is_complex();
    return has_elements && from->elem_type() == type;
  }
  case USUAL_TYPE::POINTER_TO:
    return left && type->kind == TYPE::K_POINTER && type->base == left->type;
  case USUAL_TYPE::RETURNED: return left && returned_type(left->type) == type;
  case USUAL_TYPE::GIVEN: return node->op >= FIRST_MEMORY_OP && type->is_void();
  }
  return false;
}

bool is_flat_list(const NODE* node) {
  return node->op == COMMA && node->type && node->type->is_void() && node->left && node->right;
}

struct PENDING_TEXT {
  const NODE* node;   // to be printed, or null for `text`
  const NODE* access; // whose right operand it is, or null
  const char* text;
};

} // namespace

std::string tree_text(const NODE* tree) {
  std::string out;
  std::vector<PENDING_TEXT> pending{{tree, nullptr, nullptr}};
  while (!pending.empty()) {
    const auto [node, access, text] = pending.back();
    pending.pop_back();
    if (!node) {
      out += text;
      continue;
    }
    if (is_flat_list(node)) { // leans to the left, its first item innermost
      out += '{';
      pending.push_back({nullptr, nullptr, "}"});
      const NODE* at = node;
      for (; is_flat_list(at); at = at->left) {
        pending.push_back({at->right, nullptr, nullptr});
        pending.push_back({nullptr, nullptr, ", "});
      }
      pending.push_back({at, nullptr, nullptr});
      continue;
    }
    out += head_text(node, access);
    if (node->type && !type_is_usual(node)) (out += ':') += type_text(node->type);
    if (!node->left && !node->right) continue;
    out += '(';
    pending.push_back({nullptr, nullptr, ")"});
    if (node->right) {
      pending.push_back({node->right, node, nullptr});
      if (node->left) pending.push_back({nullptr, nullptr, ", "});
    }
    if (node->left) pending.push_back({node->left, nullptr, nullptr});
  }
  return out;
}

// ---------------------------------------------------------------------------------------------
// Functions

LOCAL_NAMES::LOCAL_NAMES(const FUNINFO* fi) {
  for (const SYMTAB* list : lists_of_locals(fi))
    for (const SYMTAB* sym = list; sym; sym = sym->next)
      symbols.push_back(sym);
  auto rank = [](const SYMTAB* sym) {
    return sym->level == PARAMETER_LEVEL && sym->in_interface ? 0 : 1;
  };
  std::stable_sort(symbols.begin(), symbols.end(), [rank](const SYMTAB* a, const SYMTAB* b) {
    if (rank(a) != rank(b)) return rank(a) < rank(b);
    return rank(a) == 0 && a->serial < b->serial;
  });
  std::unordered_set<std::string> taken;
  for (size_t k = 0; k < symbols.size(); k++) {
    std::string name = symbols[k]->name;
    if (!taken.insert(name).second || find_global_symbol(name.c_str()))
      name += "." + std::to_string(k);
    while (name != symbols[k]->name && !taken.insert(name).second)
      name += ".x";
    names[symbols[k]] = name;
  }
  local_names = &names;
  members_by_name = &members;
}

LOCAL_NAMES::~LOCAL_NAMES() {
  local_names = nullptr;
  members_by_name = nullptr;
}

namespace {

std::string storage_text(int sclass) {
  for (const STORAGE_WORD& row : storage_words)
    if (row.storage == sclass) return row.word;
  return "symbol(" + std::to_string(sclass) + ")";
}

class FUNCTION_PRINTER {
public:
  explicit FUNCTION_PRINTER(FILE* stream) : to(stream), fi(currfuninfo), names(currfuninfo) {}

  void print() {
    for (const SYMTAB* sym : names.symbols)
      declare_type(sym->type);
    line("func " + symbol_text(fi->symbol) + position(fi->begin_psn) + " {");
    for (const SYMTAB* sym : names.symbols)
      line("  " + declaration(sym));
    print_exception_table();
    for (const BBLK* bb = fi->bb_list; bb; bb = bb->dflink)
      print_block(bb);
    line("}" + position(fi->end_psn));
  }

private:
  FILE* to;
  FUNINFO* fi;
  LOCAL_NAMES names;
  std::unordered_set<const TYPE*> declared;
  const char* last_file = nullptr; // interned

  void line(const std::string& text) { print_checked(to, "%s\n", text.c_str()); }

  // The file is named where it isn't that of the position before.
  std::string position(const PSN* psn) {
    if (!psn || !psn->file) return "";
    std::string text = " @";
    if (psn->file != last_file) text += in_quotes(psn->file) + ":";
    last_file = psn->file;
    return text + std::to_string(psn->line) + ":" + std::to_string(psn->column);
  }

  static std::string declaration(const SYMTAB* sym) {
    std::string text = storage_text(sym->sym_class()) + " " + symbol_text(sym);
    if (symbol_text(sym) != sym->name) text += " " + in_quotes(sym->name);
    text += ": " + type_text(sym->type);
    if (sym->size != sym->type->size) text += " size=" + std::to_string(sym->size);
    if (sym->align != sym->type->align) text += " align=" + std::to_string(sym->align);
    return text;
  }

  // Classes that the optimiser made stand in no table of the input.
  void declare_type(TYPE* type) {
    type = type->underlying_type();
    if (!type->is_csu() || !is_made_by_optimizer(type) || !declared.insert(type).second) return;
    const CSU_PARTS* parts = type->csu_parts();
    for (const fkMDATA* member : parts->members)
      declare_type(member->type);
    line("type " + type_text(type) + " = " + (type->is_union() ? "union " : "struct ") +
         in_quotes(type->name) + " size=" + std::to_string(type->size) +
         " align=" + std::to_string(type->align) + " {");
    for (const fkMDATA* member : parts->members)
      line("  " + shown(member->name) + ": " + type_text(member->type) + " member=" +
           std::to_string(member->number) + " at=" + std::to_string(member->bit_offset));
    line("}");
  }

  void print_exception_table() {
    if (fi->eht.empty()) return;
    line("  eht {");
    for (const EHT_ITEM& item : fi->eht) {
      std::string text = "    entry";
      if (item.kind == EHK_CLEANUP) text = "    cleanup";
      if (item.kind == EHK_CATCH) text = "    catch";
      text += " id=" + std::to_string(item.id);
      if (item.kind != EHK_CLEANUP && item.kind != EHK_CATCH)
        text += " kind=" + std::to_string(item.kind);
      if (item.region) text += " region=" + std::to_string(item.region);
      if (item.kind != EHK_CATCH && item.count) text += " link=" + std::to_string(item.count);
      if (item.cleanup) text += ": " + tree_text(item.cleanup);
      if (item.kind == EHK_CATCH) {
        text += " {";
        for (size_t k = 0; k < item.catches.size(); k++)
          text += (k ? ", " : "") + in_quotes(item.catches[k].type_name) + " " +
                  std::to_string(item.catches[k].number) + (item.catches[k].flag ? " flag" : "");
        text += "}";
      }
      line(text);
    }
    line("  }");
  }

  static std::string block_list(const EDGE* list) {
    std::string text;
    for (; list; list = list->rest)
      text += " L" + std::to_string(list->first->dfn);
    return text.empty() ? " -" : text;
  }

  void print_block(const BBLK* bb) {
    line("L" + std::to_string(bb->dfn) + ": # from" + block_list(bb->predecessors) + ", to" +
         block_list(bb->successors));
    for (const LIST* s = bb->statements; s; s = s->next) {
      const NODE* tree = s->tree;
      if (tree->op == IF) { // has two targets in memory only
        line("  CBRANCH(" + tree_text(tree->left) + ", " + tree_text(tree->right->left) + ")" +
             position(s->psn));
        line("  BRANCH(" + tree_text(tree->right->right) + ")");
      } else {
        const bool has_none =
            tree->op == PPRAGMA || (tree->op == ASM && tree->node_flags[NF_COMMENT]);
        line("  " + tree_text(tree) + (has_none ? "" : position(s->psn)));
      }
    }
  }
};

} // namespace

void print_function(FILE* to) {
  FUNCTION_PRINTER(to).print();
}

void prbbinfix() {
  if (!print_debug || (!pass_debug_dump_infix && !pass_debug_dump_trees && !pass_debug_dump_scope))
    return;
  print_if_debug("\n");
  if (pass_debug_dump_scope && currfuninfo->scope) currfuninfo->scope->print(true, FDEBUG, 0, true);
  if (pass_debug_dump_infix) print_infix(FDEBUG);
  if (pass_debug_dump_trees) print_function(FDEBUG);
}
