#include "tools/text/print.h"
#include "tools/text/lexer.h"
#include "tools/text/names.h"
#include "tools/unit/records.h"

#include <algorithm>
#include <cstdio>

namespace icode {

namespace {

using std::to_string;

std::string hex_bytes(const std::string& bytes) {
  std::string out = "\"";
  for (char c : bytes) {
    out += "0123456789abcdef"[uint8_t(c) >> 4];
    out += "0123456789abcdef"[uint8_t(c) & 15];
  }
  return out + '"';
}

std::string hex_number(uint64_t value) {
  char text[24];
  snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

constexpr uint8_t element_code_of_list[TL_COUNT] = {
    TC_PARAM,        TC_ENUMERATOR,  TC_BASE_CLASS, TC_ACCESS_DECL,   TC_FRIEND_FUNC,
    TC_FRIEND_CLASS, TC_NESTED_TYPE, TC_MEMBER,     TC_STATIC_MEMBER, TC_MEMBER_FUNC};

struct PRINTER {
  const UNIT& unit;
  std::string out = {};
  // The types printed so far: what the parser will know when it comes to this place.
  UNIT seen = {};
  TYPE_NAMES names = {};
  std::unordered_map<std::string, uint32_t> file_numbers = {}; // name to its first number
  uint32_t current_file = 0;
  std::vector<std::string> global_names = {}, local_names = {};
  std::unordered_set<std::string> taken_globals = {}, taken_locals = {};
  size_t known_globals = 0; // those that a NAME may refer to by name
  const FUNCTION* function = nullptr;
  size_t depth = 0;
  std::vector<bool> open_scopes = {}; // of each block: whether its end of locals is implied

  // --- Small things ---

  void line(const std::string& text) {
    constexpr size_t MAX_DEPTH = 20; // deeper nesting than anybody can read costs no more room
    out.append(2 * std::min(depth, MAX_DEPTH), ' ');
    out += text;
    out += '\n';
  }

  std::string psn(const UNIT_PSN& p) {
    if (!p.file) return {};
    std::string text = " @";
    if (p.file != current_file) {
      const std::string* name =
          p.file <= unit.files.size() ? &unit.files[p.file - 1].name : nullptr;
      if (name && file_numbers.at(*name) == p.file)
        text += quote_text(*name, '"') + ":";
      else
        text += to_string(p.file) + ":";
      current_file = p.file;
    }
    return text + to_string(p.line) + ":" + to_string(p.column);
  }

  std::string raw(uint32_t index) { return "raw " + hex_bytes(unit.raws[index]); }
  std::string type(uint32_t number) { return type_name(names, number); }

  // --- Fields by name ---

  template <class R> struct FIELD_PRINTER {
    PRINTER& p;
    const R& r;
    R defaults = {};
    std::vector<std::string_view> elsewhere = {}; // fields that show in another way
    std::string text = {};

    bool shows(std::string_view name, bool differs) {
      return differs && std::find(elsewhere.begin(), elsewhere.end(), name) == elsewhere.end();
    }
    template <class F> void number(const char* name, F R::*f) {
      if (shows(name, r.*f != defaults.*f)) text += " " + (name + ("=" + to_string(r.*f)));
    }
    template <class F> void u8(const char* name, F R::*f) { number(name, f); }
    template <class F> void s8(const char* name, F R::*f) { number(name, f); }
    template <class F> void u16(const char* name, F R::*f) { number(name, f); }
    template <class F> void uint(const char* name, F R::*f) { number(name, f); }
    template <class F> void sint(const char* name, F R::*f) { number(name, f); }
    template <class F> void wide_sint(const char* name, F R::*f) { number(name, f); }
    template <class F> void value(const char* name, F R::*f) {
      if (shows(name, r.*f != defaults.*f)) text += " " + (name + ("=" + to_string(int64_t(r.*f))));
    }
    template <class F> void boolean(const char* name, F R::*f) {
      if (shows(name, r.*f != defaults.*f)) text += " " + (name + std::string(r.*f ? "" : "=0"));
    }
    template <class F> void ref(const char* name, F R::*f) {
      if (shows(name, r.*f != defaults.*f)) text += " " + (name + ("=" + p.type(r.*f)));
    }
    template <class F> void str(const char* name, F R::*f) {
      if (shows(name, r.*f != defaults.*f)) text += " " + (name + ("=" + quote_text(r.*f, '"')));
    }
    template <class F> void lists(const char* name, F R::*f) {
      if (shows(name, r.*f != defaults.*f)) text += " " + (name + ("=" + hex_number(r.*f)));
    }
    template <class F> void psn(F R::*f) {
      if (r.*f == defaults.*f) return;
      text += (r.*f).file ? p.psn(r.*f) : " @-";
    }
  };

  std::string type_attributes(const TYPE_RECORD& r, const TYPE_RECORD& defaults,
                              std::vector<std::string_view> elsewhere) {
    FIELD_PRINTER<TYPE_RECORD> fields{*this, r, defaults, std::move(elsewhere)};
    type_fields(fields, r.code, unit.version);
    return fields.text;
  }

  // --- Types ---

  void see(const TYPE_RECORD& r) {
    std::string ignored; // the unit has gone through the same checks
    add_type_record(seen, r, ignored);
  }

  bool same_owner(size_t i, const TYPE_RECORD& owner, uint8_t code) {
    return i < unit.types.size() && unit.types[i].number == owner.number &&
           unit.types[i].raw == 0 && unit.types[i].code == code;
  }

  // The end of the list of `kind` that begins at record `i`; `i` itself if there is no such list
  // of the plain form begin, elements, end.
  size_t list_end(size_t i, const TYPE_RECORD& owner, int8_t kind) {
    if (!same_owner(i, owner, TC_LIST_HEADER) || unit.types[i].list != kind) return i;
    size_t j = i + 1;
    while (same_owner(j, owner, element_code_of_list[size_t(kind)]))
      ++j;
    return same_owner(j, owner, TC_LIST_TRAILER) && unit.types[j].list == kind ? j + 1 : i;
  }

  // "type NAME =", with the number where it isn't the next one.
  std::string definition(const TYPE_RECORD& r, const std::string& name) {
    std::string number = r.number == names.last_number + 1 ? "" : to_string(r.number) + " ";
    return "type " + number + name + " = " + form_word(r);
  }

  void define(const TYPE_RECORD& r, const std::string& name) {
    see(r);
    declare_type(names, r, name);
  }

  std::string param(const TYPE_RECORD& r) {
    std::string text = type(r.ref);
    if (!r.name.empty()) {
      bool clashes = r.name == "flags" || r.name == "flag1";
      text += " " + (clashes ? quote_text(r.name, '\'') : show_name(r.name));
    }
    return text + type_attributes(r, {}, {"type", "name"});
  }

  // Prints the definition at record `i` with its lists; gives the record behind.
  size_t print_definition(size_t i) {
    const TYPE_RECORD& r = unit.types[i];
    std::string name = make_type_name(names, r);
    std::string text = definition(r, name);
    TYPE_RECORD defaults = default_record(seen, r);
    defaults.name = default_type_text(r, name);
    TYPE_RECORD by_word;
    form_by_word(form_word(r), by_word);
    defaults.kind = by_word.kind;
    std::string title = r.name == defaults.name ? "" : " " + quote_text(r.name, '"');
    size_t end = i + 1;
    switch (r.code) {
    case TC_QUALIFIED:
      text += " " + type(r.ref);
      if (r.count & QUAL_CONST) text += " const";
      if (r.count & QUAL_VOLATILE) text += " volatile";
      if (r.count & QUAL_RESTRICT) text += " restrict";
      defaults.count = r.count & (QUAL_CONST | QUAL_VOLATILE | QUAL_RESTRICT);
      break;
    case TC_ARRAY: text += " " + type(r.ref) + " " + to_string(r.count); break;
    case TC_PTM: text += " " + type(r.ref) + " " + type(r.ref2); break;
    case TC_POINTER:
    case TC_REFERENCE:
    case TC_COMPLEX:
    case TC_FIXED: text += " " + type(r.ref); break;
    case TC_TYPEDEF: text += " " + type(r.ref) + title; break;
    case TC_FUNC: {
      text += " " + type(r.ref);
      end = list_end(i + 1, r, TL_PARAMS);
      if (end == i + 1) break;
      text += " (";
      for (size_t j = i + 2; j + 1 < end; j++)
        text += (j > i + 2 ? ", " : "") + param(unit.types[j]);
      text += ")";
      break;
    }
    case TC_ENUM: text += " " + type(r.ref) + title; break;
    case TC_CSU_SHORT: {
      text += title;
      defaults.has_data = has_data_by_definition(r.number);
      text += type_attributes(r, defaults, {"name"});
      define(r, name);
      if (same_owner(i + 1, r, TC_CSU_LONG)) return print_class(i + 1, text);
      line(text);
      return i + 1;
    }
    default: break;
    }
    text += type_attributes(r, defaults, {"name", "target", "class"});
    if (r.code == TC_ENUM && (end = list_end(i + 1, r, TL_ENUMERATORS)) != i + 1) {
      line(text + " {");
      ++depth;
      for (size_t j = i + 2; j + 1 < end; j++) {
        const TYPE_RECORD& e = unit.types[j];
        line(show_name(e.name) + " = " + to_string(int64_t(e.value)) + psn(e.psn));
      }
      --depth;
      text = "}";
    }
    line(text);
    define(r, name);
    for (size_t j = i + 1; j < end; j++)
      see(unit.types[j]);
    return end;
  }

  std::unordered_map<uint32_t, bool> long_form_data = {}; // what has_data_by_definition gives
  bool has_data_by_definition(uint32_t number) {
    auto it = long_form_data.find(number);
    return it != long_form_data.end() && it->second;
  }

  std::string element(const TYPE_RECORD& r, const TYPE_RECORD& owner, const TYPE_RECORD* before) {
    TYPE_RECORD defaults;
    switch (r.code) {
    case TC_PARAM: return "param " + param(r);
    case TC_BASE_CLASS:
    case TC_FRIEND_CLASS:
    case TC_NESTED_TYPE:
      return form_word(r) + (" " + type(r.ref)) + type_attributes(r, defaults, {"type"});
    case TC_ACCESS_DECL: return form_word(r) + type_attributes(r, defaults, {});
    case TC_MEMBER:
      defaults.count = before ? before->count + 1 : 1;
      defaults.offset = default_member_offset(seen, owner.kind == CLASS_KIND_UNION, before, r);
      return show_name(r.name) + ": " + type(r.ref) +
             type_attributes(r, defaults, {"type", "name"});
    default:
      return form_word(r) + (" " + show_name(r.name)) + ": " + type(r.ref) +
             type_attributes(r, defaults, {"type", "name"});
    }
  }

  // Prints the long form at record `i` with the lists that follow it. `text` is the beginning of
  // the line: the short form, or nothing.
  size_t print_class(size_t i, std::string text) {
    const TYPE_RECORD& r = unit.types[i];
    const TYPE_INFO* info = find_type(seen, r.number);
    TYPE_RECORD unknown;
    unknown.code = TC_CSU_LONG;
    unknown.kind = CLASS_KIND_CLASS;
    TYPE_RECORD defaults = info ? seen.types[info->record] : default_record(seen, unknown);
    bool one_line = !text.empty();
    bool is_defined = info != nullptr;
    size_t end = i + 1;
    uint16_t lists = 0;
    for (size_t k = 0, last = LONG_FORM_LISTS.size(); k < LONG_FORM_LISTS.size(); k++) {
      size_t next = k == last ? end : list_end(end, r, LONG_FORM_LISTS[k]);
      if (next <= end + 2) continue; // none, or one without elements
      lists = uint16_t(lists | 1 << k);
      end = next;
      last = k;
      k = size_t(-1); // lists may come in any order
    }
    defaults.code = TC_CSU_LONG;
    defaults.count = 0;
    defaults.lists = lists;
    std::string attributes = type_attributes(r, defaults, {"name"});
    std::string title = r.name == defaults.name ? "" : " " + quote_text(r.name, '"');
    if (one_line && (!attributes.empty() || !title.empty() || end == i + 1)) {
      line(text);
      one_line = false;
    }
    if (!one_line) text = "define " + type(r.number) + title + attributes;
    if (end == i + 1) {
      line(text);
    } else {
      line(text + " {");
      ++depth;
      const TYPE_RECORD* before = nullptr;
      for (size_t j = i + 1; j < end; j++) {
        const TYPE_RECORD& e = unit.types[j];
        if (e.code >= TC_LIST_HEADER) continue;
        line(element(e, r, before));
        if (e.code == TC_MEMBER) before = &e;
      }
      --depth;
      line("}");
    }
    if (is_defined)
      see(r);
    else
      define(r, type(r.number));
    for (size_t j = i + 1; j < end; j++)
      see(unit.types[j]);
    return end;
  }

  void print_types() {
    for (const TYPE_RECORD& r : unit.types)
      if (r.code == TC_CSU_LONG && r.raw == 0) {
        constexpr size_t data_bit = 5;
        long_form_data[r.number] = r.lists >> data_bit & 1;
      }
    for (size_t i = 0; i < unit.types.size();) {
      const TYPE_RECORD& r = unit.types[i];
      const char* word = form_word(r);
      bool defines = is_definition_code(r.code);
      if (r.raw) {
        line("type " + raw(r.raw));
        bool is_new = defines && !find_type(seen, r.number);
        if (is_new)
          define(r, "t" + to_string(r.number));
        else
          see(r);
        ++i;
      } else if (r.code == TC_CSU_LONG) {
        i = print_class(i, {});
      } else if (defines) {
        i = print_definition(i);
      } else {
        line("record " + type(r.number) + " " + word + type_attributes(r, {}, {}));
        see(r);
        ++i;
      }
    }
  }

  // --- Symbols ---

  std::string free_name(const std::string& name, std::unordered_set<std::string>& taken,
                        const std::unordered_set<std::string>* others, size_t index) {
    std::string result = name;
    bool taken_before = !taken.insert(result).second || (others && others->count(result));
    if (!taken_before) return result;
    // The symbol's index makes it unique, unless a symbol is really called so.
    result += "." + to_string(index);
    while (!taken.insert(result).second || (others && others->count(result)))
      result += ".x";
    return result;
  }

  std::string pragma(const PRAGMA_RECORD& p) {
    std::string text = to_string(p.kind);
    for (const std::string& arg : p.args)
      text += " " + quote_text(arg, '"');
    return text;
  }

  std::string symbol(const SYMBOL& s, const std::string& name) {
    if (s.raw) return "symbol raw " + show_name(name) + " " + hex_bytes(unit.raws[s.raw]);
    const char* word = storage_word(s.storage);
    std::string text = word ? word : "symbol(" + to_string(s.storage) + ")";
    text += " " + show_name(name);
    if (name != s.name) text += " " + quote_text(s.name, '"');
    text += ": " + type(s.type);
    const TYPE_INFO* info = find_type(unit, s.type);
    if (s.size != (info ? info->size : 0)) text += " size=" + to_string(s.size);
    if (s.align != (info ? info->align : 0)) text += " align=" + to_string(s.align);
    if (s.value) text += " value=" + to_string(s.value);
    if (s.qual) text += " qual=" + hex_number(uint16_t(s.qual));
    if (s.source_type != s.type) text += " ctype=" + type(s.source_type);
    if (s.location) text += " loc=" + to_string(s.location);
    if (s.option_set) text += " opt=" + to_string(s.option_set);
    if (s.retention) text += " keep=" + to_string(s.retention);
    for (const PRAGMA_RECORD& p : s.pragmas)
      text += " pragma(" + pragma(p) + ")";
    return text + psn(s.psn);
  }

  std::string global_name(uint64_t index) {
    return index < known_globals ? show_name(global_names[index]) : "[" + to_string(index) + "]";
  }

  // The name of a symbol that has been printed; null for one that has not.
  const std::string* known_name(uint64_t level, uint64_t index) {
    if (level == 0) return index < known_globals ? &global_names[index] : nullptr;
    return level != NONE && index < local_names.size() ? &local_names[index] : nullptr;
  }

  // --- Trees ---

  // What is still to be printed: a node, or text behind one.
  struct TASK {
    uint32_t node;
    uint32_t access; // the member access whose right operand the node is, or NONE
    const char* text;
  };

  bool has_default_type(const NODE& n, const SYMBOL* symbol) {
    uint32_t usual = default_node_type(unit, names, n, symbol);
    return usual != NONE && usual == n.type;
  }

  bool is_list(uint32_t node) {
    const NODE& n = unit.nodes[node];
    return n.op == COMMA && has_default_type(n, nullptr);
  }

  // A member, by name where the name leads back to it.
  std::string member(const NODE& n, uint32_t access) {
    const TYPE_RECORD* record = find_member(unit, uint32_t(n.b), n.a);
    const TYPE_INFO* owner = resolved_type(unit, uint32_t(n.b));
    std::string text = ".";
    auto named = record ? member_by_name.find(member_key(owner->number, record->name))
                        : member_by_name.end();
    if (named != member_by_name.end() && named->second == n.a)
      text += is_identifier(record->name) ? record->name : quote_text(record->name, '\'');
    else
      text += to_string(n.a);
    uint32_t usual = access == NONE ? NONE : accessed_class(unit, unit.nodes[access]);
    if (usual != n.b) text += "@" + type(uint32_t(n.b));
    if (n.small) text += "/" + to_string(n.small);
    return text;
  }

  std::unordered_map<std::string, uint64_t> member_by_name = {};
  static std::string member_key(uint32_t owner, const std::string& name) {
    return to_string(owner) + "." + name;
  }

  void index_members() {
    for (const auto& [number, info] : unit.type_info)
      for (uint32_t record : info.members)
        member_by_name.emplace(member_key(number, unit.types[record].name),
                               unit.types[record].count);
  }

  // A node without its operands and type.
  std::string head(const NODE& n, uint32_t access, const SYMBOL*& symbol) {
    std::string name = op_name(n.op);
    switch (n.op) {
    case LABEL: return "L" + to_string(n.a);
    case NAME: {
      const std::string* known = known_name(n.a, n.b);
      if (!known) return name + "[" + to_string(n.a) + "," + to_string(n.b) + "]";
      symbol = find_symbol(unit, function, n.a, n.b);
      return show_name(*known) + (n.a != symbol->level ? "^" + to_string(n.a) : "");
    }
    case SCON: return quote_text(unit.strings[n.text], '"');
    case ICON: {
      bool is_signed = is_signed_type(unit, n.type);
      std::string value = is_signed ? to_string(int64_t(n.a)) : to_string(n.a);
      return fits_icon(is_signed, n.a) ? value : name + "[" + value + "]";
    }
    case FCON: {
      const std::string& text = unit.strings[n.text];
      return is_bare_float(text) ? text : name + "[" + quote_text(text, '"') + "]";
    }
    case LCON: {
      const std::string& text = unit.strings[n.text];
      bool is_signed = has_default_type(n, nullptr) || is_signed_type(unit, n.type);
      if (is_wide_integer(text, is_signed)) return text;
      return name + "[" + quote_text(text, '"') + "]";
    }
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: return name + "[" + quote_text(unit.strings[n.text], '"') + "]";
    case FIELD: return member(n, access);
    case SWITCH:
      return n.a == count_cases(unit, n.right) ? name : name + "[" + to_string(n.a) + "]";
    case CALL:
      if (n.a == count_arguments(unit, n.right) && n.b == 0) return name;
      return name + "[" + to_string(n.a) + "," + to_string(n.b) + "]";
    case UCALL:
    case EPVAL:
    case SKIP: return n.a ? name + "[" + to_string(n.a) + "]" : name;
    case VREG: return name + "[" + to_string(int64_t(n.a)) + "]";
    case DDNODE:
      return name + "[" + to_string(n.a) + "," + to_string(n.b) + "," + to_string(n.small) + "]";
    default: return name;
    }
  }

  std::string tree(uint32_t root) {
    std::string text;
    std::vector<TASK> todo = {{root, NONE, nullptr}};
    while (!todo.empty()) {
      TASK task = todo.back();
      todo.pop_back();
      if (task.text) {
        text += task.text;
        continue;
      }
      const NODE& n = unit.nodes[task.node];
      if (is_list(task.node)) {
        // A left-leaning list, first item innermost, shows flat.
        text += "{";
        todo.push_back({NONE, NONE, "}"});
        uint32_t at = task.node;
        for (; is_list(at); at = unit.nodes[at].left) {
          todo.push_back({unit.nodes[at].right, NONE, nullptr});
          todo.push_back({NONE, NONE, ", "});
        }
        todo.push_back({at, NONE, nullptr});
        continue;
      }
      const SYMBOL* symbol = nullptr;
      text += head(n, task.access, symbol);
      if (!has_default_type(n, symbol)) text += ":" + type(n.type);
      int operands = operand_count(n.op);
      if (operands == 0) continue;
      text += "(";
      todo.push_back({NONE, NONE, ")"});
      if (operands > 1) {
        todo.push_back({n.right, task.node, nullptr});
        todo.push_back({NONE, NONE, ", "});
      }
      todo.push_back({n.left, NONE, nullptr});
    }
    return text;
  }

  void print_init(const INIT& init) {
    if (init.raw) return line("init " + raw(init.raw));
    line("init " + global_name(init.global) + " = {");
    ++depth;
    std::string row;
    for (size_t i = 0; i < init.roots.size(); i++) {
      const NODE& n = unit.nodes[init.roots[i]];
      bool is_last = i + 1 == init.roots.size();
      if (is_last && n.op == ENDINIT && has_default_type(n, nullptr)) break;
      std::string item = tree(init.roots[i]);
      if (!row.empty() && row.size() + item.size() + 6 > TEXT_WIDTH) {
        line(row + ",");
        row.clear();
      }
      row += (row.empty() ? "" : ", ") + item;
    }
    if (!row.empty()) line(row);
    --depth;
    line("}");
  }

  // --- The function stream ---

  template <class R, class F>
  std::string simple(const char* word, const R& record, const F& fields) {
    FIELD_PRINTER<R> printer{*this, record};
    fields(printer);
    return word + printer.text;
  }

  bool is_plain(size_t i, uint8_t tag) {
    return i < unit.items.size() && unit.items[i].tag == tag && unit.items[i].raw == 0;
  }
  bool is_symbol(size_t i) { return i < unit.items.size() && unit.items[i].tag == TAG_SYMBOL; }

  // Whether the end of arguments and the end of locals stand where the parser would put them:
  // behind the parameters, and behind the other symbols; a second end of locals would be taken for
  // the one that is left out.
  bool has_usual_marks(size_t begin) {
    auto plain_symbol = [&](size_t i) {
      bool is_plain_symbol = is_symbol(i) && !function->locals[unit.items[i].index].raw;
      return is_plain_symbol ? &function->locals[unit.items[i].index] : nullptr;
    };
    auto is_param = [&](size_t i) {
      const SYMBOL* s = plain_symbol(i);
      return s && (s->storage == ST_PARAM || s->storage == ST_REGPARAM);
    };
    size_t i = begin + 1;
    if (unit.items[begin].tag != TAG_BEGIN_BLOCK) {
      while (is_param(i))
        ++i;
      if (!is_plain(i, TAG_END_ARGS) || is_param(i + 1)) return false;
      ++i;
    }
    while (plain_symbol(i))
      ++i;
    return is_plain(i, TAG_END_LOCALS) && !is_symbol(i + 1) && !is_plain(i + 1, TAG_END_LOCALS);
  }

  // The beginning of a function or block: " exact" if its marks are all written, raw bytes,
  // position.
  std::string opening(size_t i) {
    const ITEM& item = unit.items[i];
    bool usual = has_usual_marks(i);
    open_scopes.push_back(usual);
    return std::string(usual ? "" : " exact") + (item.raw ? " " + raw(item.raw) : psn(item.psn)) +
           " {";
  }

  void close(const ITEM& item) {
    open_scopes.pop_back();
    --depth;
    line("}" + (item.raw ? " " + raw(item.raw) : psn(item.psn)));
  }

  // A mark is left out where it is implied. One is implied once in a scope, and the scope's own
  // comes first, so the first that comes is it.
  void mark(const ITEM& item, const char* word) {
    bool implied = open_scopes.back();
    if (item.tag == TAG_END_LOCALS) open_scopes.back() = false;
    if (!implied || item.psn.file) line(word + psn(item.psn));
  }

  void print_exception_table(const EXCEPTION_TABLE& table) {
    line("eht {");
    ++depth;
    for (const EHT_RECORD& e : table) {
      std::string text = e.kind == EHT_CLEANUP ? "cleanup"
                         : e.kind == EHT_CATCH ? "catch"
                                               : "entry";
      text += " id=" + to_string(e.id);
      if (e.kind != EHT_CLEANUP && e.kind != EHT_CATCH) text += " kind=" + to_string(e.kind);
      if (e.region) text += " region=" + to_string(e.region);
      if (e.kind != EHT_CATCH && e.link) text += " link=" + to_string(e.link);
      if (e.kind == EHT_CLEANUP && e.tree != NONE) text += ": " + tree(e.tree);
      if (e.kind == EHT_CATCH) {
        text += " {";
        for (size_t i = 0; i < e.catches.size(); i++)
          text += (i ? ", " : "") + quote_text(e.catches[i].type_name, '"') + " " +
                  to_string(e.catches[i].number) + (e.catches[i].flag ? " flag" : "");
        text += "}";
      }
      line(text);
    }
    --depth;
    line("}");
  }

  void print_vector(const DEP_VECTOR& v) {
    std::string text = "vector id=" + to_string(v.id) + " kind=" + to_string(v.kind) + " {";
    for (size_t i = 0; i < v.entries.size(); i++)
      text +=
          (i ? ", " : "") + to_string(v.entries[i].kind) + ":" + to_string(v.entries[i].distance);
    line(text + "}");
  }

  void print_item(size_t i) {
    const ITEM& item = unit.items[i];
    switch (item.tag) {
    case TAG_BEGIN_FUNC:
    case TAG_IR_FUNC: {
      function = &unit.functions[item.index];
      taken_locals.clear();
      std::string text;
      if (item.tag == TAG_BEGIN_FUNC)
        text = item.raw ? "func" : "func " + global_name(function->global);
      else if (item.raw)
        text = "irfunc";
      else
        text = simple("irfunc", function->ir, [](auto& v) { ir_begin_fields(v); });
      line(text + opening(i));
      ++depth;
      return;
    }
    case TAG_END_FUNC:
    case TAG_IR_END:
      close(item);
      function = nullptr;
      local_names.clear();
      return;
    case TAG_BEGIN_BLOCK: {
      line("block" + opening(i));
      ++depth;
      return;
    }
    case TAG_END_BLOCK: return close(item);
    case TAG_SYMBOL:
      if (function) {
        local_names.push_back(free_name(function->locals[item.index].name, taken_locals,
                                        &taken_globals, local_names.size()));
        return line(symbol(function->locals[item.index], local_names.back()));
      }
      known_globals = item.index + 1;
      return line("here " + symbol(unit.globals[item.index], global_names[item.index]));
    default: break;
    }
    if (item.raw) return line(raw(item.raw));
    switch (item.tag) {
    case TAG_END_ARGS: return mark(item, "endargs");
    case TAG_END_LOCALS:
      if (open_scopes.empty()) return line("endlocals" + psn(item.psn));
      return mark(item, "endlocals");
    case TAG_EXPR: return line((item.index == NONE ? "empty" : tree(item.index)) + psn(item.psn));
    case TAG_LABEL: {
      size_t outside = std::min<size_t>(depth, 1);
      depth -= outside;
      line("L" + to_string(item.index) + ":");
      depth += outside;
      return;
    }
    case TAG_FUNC_INFO: return line("info " + to_string(int32_t(item.index)));
    case TAG_ASM: return line("asm " + quote_text(unit.strings[item.index], '"') + psn(item.psn));
    case TAG_COMMENT: return line("comment " + quote_text(unit.strings[item.index], '"'));
    case TAG_LIR: return line("ir " + hex_bytes(unit.strings[item.index]));
    case TAG_PRAGMA: return line("pragma " + pragma(unit.pragmas[item.index]));
    case TAG_LOOP_DEF:
      return line(simple("loop", unit.loops[item.index], [](auto& v) { loop_fields(v); }));
    case TAG_IN_LOOP: {
      const LOOP_USE& use = unit.loop_uses[item.index];
      const std::string* name = known_name(uint32_t(use.level), uint64_t(use.index));
      const SYMBOL* s =
          name ? find_symbol(unit, function, uint32_t(use.level), uint64_t(use.index)) : nullptr;
      if (!s || s->level != use.level)
        return line(simple("inloop", use, [](auto& v) { loop_use_fields(v); }));
      LOOP_USE rest = use;
      rest.level = LOOP_USE{}.level;
      rest.index = LOOP_USE{}.index;
      return line(simple("inloop", rest, [](auto& v) { loop_use_fields(v); }) + " of " +
                  show_name(*name));
    }
    case TAG_MBANK:
      return line(simple("mbank", unit.banks[item.index], [](auto& v) { bank_fields(v); }));
    case TAG_DD_EDGE:
      return line(simple("edge", unit.edges[item.index], [](auto& v) { edge_fields(v); }));
    case TAG_DD_VECTOR: return print_vector(unit.vectors[item.index]);
    case TAG_LDSPEC: {
      const LOAD_SPEC& s = unit.speculations[item.index];
      constexpr const char* forms[] = {"induction", "random", "region"};
      std::string text = "spec " + std::string(forms[s.form]) + " id=" + to_string(s.id);
      return line(simple(text.c_str(), s, [&](auto& v) { speculation_fields(v, s.form); }));
    }
    case TAG_EHT: return print_exception_table(unit.exception_tables[item.index]);
    default: return;
    }
  }

  // --- The whole ---

  void print_header() {
    std::string text = "icode " + to_string(unit.version) + " " + quote_text(unit.source, '"');
    if (unit.extra_word) text += " extra=" + hex_number(unit.extra_word);
    line(text);
    if (unit.header_raw) line("header " + raw(unit.header_raw));
    if (unit.layout.empty()) return;
    constexpr const char* sections[SECTION_COUNT] = {"stream", "inits",   "options", "types",
                                                     "files",  "globals", "end"};
    text = "layout";
    for (const LAYOUT_PART& part : unit.layout) {
      if (!part.gap.empty()) text += " " + hex_bytes(part.gap);
      text += std::string(" ") + sections[part.section];
    }
    line(text);
  }

  void print() {
    print_header();
    for (const OPTION_SET& set : unit.options) {
      std::string text = "options " + (set.raw ? raw(set.raw) : to_string(set.number));
      if (!set.raw)
        for (const std::string& option : set.options)
          text += " " + quote_text(option, '"');
      line(text);
    }
    for (size_t i = 0; i < unit.files.size(); i++) {
      const FILE_NAME& file = unit.files[i];
      line("file " + (file.raw ? raw(file.raw) : quote_text(file.name, '"')));
      file_numbers.emplace(file.name, uint32_t(i + 1));
    }
    current_file = unit.files.empty() ? 0 : 1;
    out += '\n';
    print_types();
    index_members();
    out += '\n';
    for (size_t i = 0; i < unit.globals.size(); i++)
      global_names.push_back(free_name(unit.globals[i].name, taken_globals, nullptr, i));
    for (size_t i = 0; i < unit.globals.size() && !unit.globals[i].in_stream; i++) {
      line(symbol(unit.globals[i], global_names[i]));
      known_globals = i + 1;
    }
    for (const INIT& init : unit.inits)
      print_init(init);
    for (size_t i = 0; i < unit.items.size(); i++) {
      if (unit.items[i].tag == TAG_BEGIN_FUNC || unit.items[i].tag == TAG_IR_FUNC) out += '\n';
      print_item(i);
    }
  }
};

} // namespace

std::string print_unit(const UNIT& unit) {
  PRINTER printer{unit};
  printer.seen.version = unit.version;
  printer.print();
  return std::move(printer.out);
}

} // namespace icode
