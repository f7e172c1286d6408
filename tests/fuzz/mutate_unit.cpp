// Structural mutation: what comes out decodes, and damages meaning instead of lengths.
#include "tests/fuzz/mutations.h"

#include "tools/unit/unit.h"

#include <algorithm>
#include <string>

namespace fuzz {

using namespace icode;

namespace {

constexpr size_t LARGEST_COPY = 200; // nodes of a subtree

struct MUTATOR {
  UNIT& unit;
  RANDOM& random;

  // --- Values

  template <class T> T* any(std::vector<T>& of) {
    return of.empty() ? nullptr : &of[random.below(of.size())];
  }

  uint64_t number(uint64_t old) {
    static const uint64_t telling[] = {0,          1,
                                       2,          3,
                                       8,          15,
                                       16,         17,
                                       31,         32,
                                       33,         48,
                                       63,         64,
                                       65,         127,
                                       128,        255,
                                       256,        32767,
                                       32768,      65535,
                                       ~0u,        ~0u,
                                       1u << 31,   (1u << 31) - 1,
                                       1ull << 32, 1ull << 40,
                                       1ull << 63, ~0ull,
                                       ~0ull >> 1};
    switch (random.below(8)) {
    case 0: return old + 1;
    case 1: return old - 1;
    case 2: return old * 2;
    case 3: return old / 2;
    case 4: return old ^ 1ull << random.below(64);
    case 5: return random.below(20);
    default: return telling[random.below(sizeof telling / sizeof *telling)];
    }
  }
  template <class T> void change(T& field) {
    field = static_cast<T>(number(static_cast<uint64_t>(field)));
  }
  void change(bool& field) { field = !field; }

  void change(std::string& text) {
    if (text.empty() || random.one_in(4))
      text.insert(random.below(text.size() + 1), 1, "0123.e-%x"[random.below(9)]);
    else if (random.below(2))
      text.erase(random.below(text.size()), 1);
    else
      text[random.below(text.size())] = static_cast<char>(1 + random.below(255));
  }

  uint32_t some_type() {
    if (unit.types.empty() || random.one_in(30)) return static_cast<uint32_t>(random.below(40));
    return any(unit.types)->number;
  }

  void change(UNIT_PSN& psn) {
    psn.file = static_cast<uint32_t>(random.below(unit.files.size() + 2));
    change(psn.line);
  }

  // Out, twice, or changed over with another one.
  template <class T> void rearrange(std::vector<T>& list) {
    if (list.empty()) return;
    const size_t at = random.below(list.size()), to = random.below(list.size());
    auto place = [&](size_t k) { return list.begin() + static_cast<long>(k); };
    switch (random.below(4)) {
    case 0: list.erase(place(at)); break;
    case 1: {
      T copy = list[at];
      list.insert(place(to), std::move(copy));
      break;
    }
    case 2: std::swap(list[at], list[to]); break;
    default:
      if (at + 1 < list.size()) std::swap(list[at], list[at + 1]);
      break;
    }
  }

  // --- Types

  void mutate_type() {
    if (unit.types.empty()) return;
    if (random.one_in(6)) return rearrange(unit.types);
    TYPE_RECORD& type = *any(unit.types);
    switch (random.below(14)) {
    case 0:
    case 1:
    case 2: type.ref = some_type(); break;
    case 3: type.ref2 = some_type(); break;
    case 4: change(type.size); break;
    case 5: change(type.align); break;
    case 6: change(type.count); break;
    case 7: change(type.offset); break;
    case 8: change(type.bit_size); break;
    case 9: change(random.below(2) ? type.kind : type.fixed_type_id); break;
    case 10: { // another type's form with this one's number
      const uint32_t own = type.number;
      type = *any(unit.types);
      type.number = own;
      break;
    }
    case 11:
      type.code = random.below(2) ? any(unit.types)->code
                                  : static_cast<uint8_t>(random.below(TC_ULLONG + 1));
      break;
    case 12: {
      bool* const flags[] = {&type.is_signed, &type.is_boolean, &type.complete,  &type.is_vector,
                             &type.hidden,    &type.prototyped, &type.variadic,  &type.has_data,
                             &type.lowered,   &type.flag1,      &type.std_signed};
      change(*flags[random.below(sizeof flags / sizeof *flags)]);
      break;
    }
    default:
      switch (random.below(6)) {
      case 0: change(type.list); break;
      case 1: change(type.name); break;
      case 2: change(type.value); break;
      case 3: change(type.lists); break;
      case 4: change(type.psn); break;
      default: type.number = some_type(); break;
      }
    }
  }

  // --- Symbols

  std::vector<SYMBOL>* some_symbols() {
    if (unit.functions.empty() || random.below(2)) return &unit.globals;
    return &any(unit.functions)->locals;
  }

  void mutate_symbol() {
    std::vector<SYMBOL>* list = some_symbols();
    if (list->empty()) return;
    if (list == &unit.globals && random.one_in(8)) { // of locals the items are what counts
      if (std::none_of(list->begin(), list->end(), [](const SYMBOL& s) { return s.in_stream; }))
        rearrange(*list);
      return;
    }
    SYMBOL& symbol = *any(*list);
    switch (random.below(12)) {
    case 0:
    case 1:
    case 2: // mostly with the size that belongs to it
      symbol.type = some_type();
      if (const TYPE_INFO* info = find_type(unit, symbol.type); info && !random.one_in(5)) {
        symbol.size = info->size;
        symbol.align = info->align;
      }
      break;
    case 3: symbol.source_type = some_type(); break;
    case 4: change(symbol.size); break;
    case 5: change(symbol.align); break;
    case 6: symbol.storage = static_cast<int8_t>(random.below(30)); break;
    case 7: symbol.qual = static_cast<int16_t>(symbol.qual ^ 1 << random.below(16)); break;
    case 8: symbol.name = any(*list)->name; break;
    case 9: change(random.below(2) ? symbol.value : symbol.location); break;
    case 10:
      change(symbol.option_set);
      if (random.below(2)) change(symbol.retention);
      break;
    default:
      if (random.below(2))
        symbol.pragmas.push_back({number(random.below(64)), {symbol.name}});
      else if (!symbol.pragmas.empty())
        symbol.pragmas.pop_back();
    }
  }

  // --- Trees

  // A copy of its own, so that no node ever has two owners and no tree contains itself.
  uint32_t copy_tree(uint32_t root) {
    struct TODO {
      uint32_t from, to;
      bool right;
    };
    const auto base = static_cast<uint32_t>(unit.nodes.size());
    std::vector<TODO> todo = {{root, NONE, false}};
    while (!todo.empty()) {
      const TODO next = todo.back();
      todo.pop_back();
      if (next.from >= base || unit.nodes.size() - base > LARGEST_COPY) {
        unit.nodes.resize(base);
        return NONE;
      }
      const NODE node = unit.nodes[next.from];
      const auto at = static_cast<uint32_t>(unit.nodes.size());
      unit.nodes.push_back(node);
      if (next.to != NONE) (next.right ? unit.nodes[next.to].right : unit.nodes[next.to].left) = at;
      const int operands = operand_count(node.op);
      if (operands > 1) todo.push_back({node.right, at, true});
      if (operands > 0) todo.push_back({node.left, at, false});
    }
    return base;
  }

  uint8_t some_operator(int operands) {
    for (int tries = 0; tries < 1000; tries++) {
      const size_t op = random.below(FIRST_MEMORY_OP);
      if (operand_count(static_cast<unsigned>(op)) == operands) return static_cast<uint8_t>(op);
    }
    return NOP;
  }

  // Operands are made or let go as the operator wants them.
  void set_operator(uint32_t at, uint8_t op) {
    unit.nodes[at].op = op;
    const int operands = operand_count(op);
    if (operands > 0 && unit.nodes[at].left == NONE) unit.nodes[at].left = small_tree();
    if (operands > 1 && unit.nodes[at].right == NONE) unit.nodes[at].right = small_tree();
  }

  uint32_t small_tree() {
    NODE node;
    node.op = random.below(2) ? ICON : NAME;
    node.type = some_type();
    if (node.op == ICON)
      node.a = random.below(4);
    else if (random.below(2) && !unit.globals.empty())
      node.b = random.below(unit.globals.size());
    else
      node.a = 2;
    unit.nodes.push_back(node);
    return static_cast<uint32_t>(unit.nodes.size() - 1);
  }

  void mutate_node() {
    if (unit.nodes.empty()) return;
    const auto at = static_cast<uint32_t>(random.below(unit.nodes.size()));
    const int operands = operand_count(unit.nodes[at].op);
    switch (random.below(11)) {
    case 0:
    case 1: unit.nodes[at].op = some_operator(operands); break;
    case 2: set_operator(at, some_operator(static_cast<int>(random.below(3)))); break;
    case 3:
    case 4: unit.nodes[at].type = some_type(); break;
    case 5: // another node's, which fits more often than just any
      unit.nodes[at].type = any(unit.nodes)->type;
      break;
    case 6: std::swap(unit.nodes[at].left, unit.nodes[at].right); break;
    case 7: {
      const auto from = static_cast<uint32_t>(random.below(unit.nodes.size()));
      const uint32_t copy = copy_tree(from);
      if (copy == NONE) break;
      const NODE node = unit.nodes[copy]; // in this one's place
      unit.nodes[at] = node;
      break;
    }
    case 8: { // around it
      const NODE inner = unit.nodes[at];
      const auto below = static_cast<uint32_t>(unit.nodes.size());
      unit.nodes.push_back(inner);
      NODE outer;
      outer.type = random.below(2) ? inner.type : some_type();
      outer.left = below;
      unit.nodes[at] = outer;
      set_operator(at, some_operator(1 + static_cast<int>(random.below(2))));
      break;
    }
    case 9: mutate_payload_of(unit.nodes[at]); break;
    default: { // an operand in its place
      const uint32_t operand = unit.nodes[at].left;
      if (operands > 0 && operand < unit.nodes.size()) {
        const NODE inner = unit.nodes[operand];
        unit.nodes[at] = inner;
      }
    }
    }
  }

  void mutate_payload_of(NODE& node) {
    switch (node.op) {
    case SCON:
    case FCON:
    case LCON:
    case ICALL:
    case UICALL:
      if (node.text < unit.strings.size()) {
        std::string text = unit.strings[node.text];
        change(text);
        node.text = add_string(unit, text);
      }
      break;
    case NAME:
      if (random.below(2)) node.b = random.below(8);
      node.a = random.one_in(4) ? number(node.a) : random.below(3);
      break;
    case FIELD:
      if (random.below(2)) node.a = random.below(6);
      if (random.below(2)) node.b = some_type();
      break;
    default: change(random.below(2) ? node.a : node.b);
    }
  }

  // --- The function stream

  void mutate_item() {
    std::vector<ITEM>& items = unit.items;
    if (items.empty()) return;
    const size_t at = random.below(items.size());
    switch (random.below(7)) {
    case 0: items.erase(items.begin() + static_cast<long>(at)); break;
    case 1: {
      const ITEM copy = items[random.below(items.size())];
      items.insert(items.begin() + static_cast<long>(at), copy);
      break;
    }
    case 2: std::swap(items[at], items[random.below(items.size())]); break;
    case 3:
      if (at + 1 < items.size()) std::swap(items[at], items[at + 1]);
      break;
    case 4: items.insert(items.begin() + static_cast<long>(at), new_item()); break;
    case 5: change(items[at].psn); break;
    default:
      if (items[at].tag == TAG_LABEL || items[at].tag == TAG_FUNC_INFO)
        items[at].index = static_cast<uint32_t>(random.below(12));
      else
        mutate_table();
    }
  }

  ITEM new_item() {
    ITEM item;
    auto add = [&](auto& table) {
      table.push_back({});
      item.index = static_cast<uint32_t>(table.size() - 1);
    };
    static const uint8_t tags[] = {
        TAG_BEGIN_BLOCK, TAG_END_BLOCK, TAG_END_ARGS, TAG_END_LOCALS, TAG_LABEL,  TAG_FUNC_INFO,
        TAG_ASM,         TAG_COMMENT,   TAG_LIR,      TAG_EXPR,       TAG_PRAGMA, TAG_LOOP_DEF,
        TAG_IN_LOOP,     TAG_MBANK,     TAG_DD_EDGE,  TAG_DD_VECTOR,  TAG_LDSPEC, TAG_EHT};
    item.tag = tags[random.below(sizeof tags)];
    switch (item.tag) {
    case TAG_LABEL:
    case TAG_FUNC_INFO: item.index = static_cast<uint32_t>(random.below(12)); break;
    case TAG_ASM:
    case TAG_COMMENT:
    case TAG_LIR: item.index = add_string(unit, "text main x"); break;
    case TAG_EXPR:
      item.index = unit.nodes.empty() || random.one_in(4)
                       ? NONE
                       : copy_tree(static_cast<uint32_t>(random.below(unit.nodes.size())));
      break;
    case TAG_PRAGMA:
      add(unit.pragmas);
      unit.pragmas.back() = {random.below(100), {"main", "x"}};
      break;
    case TAG_LOOP_DEF: add(unit.loops); break;
    case TAG_IN_LOOP: add(unit.loop_uses); break;
    case TAG_MBANK: add(unit.banks); break;
    case TAG_DD_EDGE: add(unit.edges); break;
    case TAG_DD_VECTOR: add(unit.vectors); break;
    case TAG_LDSPEC: add(unit.speculations); break;
    case TAG_EHT:
      add(unit.exception_tables);
      unit.exception_tables.back().resize(random.below(3));
      break;
    default: break;
    }
    return item;
  }

  void mutate_table() {
    switch (random.below(8)) {
    case 0:
      if (LOOP_DEF* loop = any(unit.loops)) {
        uint64_t* const words[] = {&loop->id, &loop->parent, &loop->min_trips, &loop->max_trips,
                                   &loop->multiple};
        change(*words[random.below(5)]);
      }
      break;
    case 1:
      if (LOOP_USE* use = any(unit.loop_uses)) {
        change(use->loop);
        change(random.below(2) ? use->level : use->index);
      }
      break;
    case 2:
      if (DEP_EDGE* edge = any(unit.edges)) change(random.below(2) ? edge->from : edge->to);
      break;
    case 3:
      if (DEP_VECTOR* vector = any(unit.vectors)) {
        change(vector->id);
        vector->entries.resize(random.below(4));
      }
      break;
    case 4:
      if (LOAD_SPEC* spec = any(unit.speculations)) {
        spec->form = static_cast<uint8_t>(random.below(3));
        spec->type = some_type();
        change(random.below(2) ? spec->symbol : spec->stride);
        change(spec->label);
      }
      break;
    case 5:
      if (EXCEPTION_TABLE* table = any(unit.exception_tables)) {
        if (random.below(2)) rearrange(*table);
        if (EHT_RECORD* entry = any(*table)) {
          uint64_t* const words[] = {&entry->id, &entry->kind, &entry->region, &entry->link};
          change(*words[random.below(4)]);
        }
      }
      break;
    case 6:
      if (MEM_BANK* bank = any(unit.banks)) change(bank->word1);
      break;
    default:
      if (PRAGMA_RECORD* pragma = any(unit.pragmas)) {
        change(pragma->kind);
        pragma->args.resize(random.below(4), "main");
      }
    }
  }

  // --- The rest

  void mutate_init() {
    if (unit.inits.empty()) return;
    INIT& init = *any(unit.inits);
    switch (random.below(4)) {
    case 0: init.global = random.below(unit.globals.size() + 1); break;
    case 1: rearrange(unit.inits); break;
    default: rearrange(init.roots); break;
    }
  }

  void mutate_rest() {
    switch (random.below(6)) {
    case 0:
      unit.version =
          OLDEST_VERSION + static_cast<int>(random.below(1 + NEWEST_VERSION - OLDEST_VERSION));
      break;
    case 1: rearrange(unit.files); break;
    case 2: rearrange(unit.options); break;
    case 3:
      if (OPTION_SET* set = any(unit.options)) {
        if (std::string* option = random.below(2) ? any(set->options) : nullptr)
          change(*option);
        else
          change(set->number);
      }
      break;
    case 4: unit.options.push_back({unit.options.size(), {"-opt_level", "3"}, 0}); break;
    default:
      if (FUNCTION* function = any(unit.functions))
        function->global = random.below(unit.globals.size() + 1);
    }
  }

  // A symbol's record that came out of its function has no symbol there.
  void drop_dangling_symbols() {
    uint32_t function = NONE;
    std::erase_if(unit.items, [&](const ITEM& item) {
      if (item.tag == TAG_BEGIN_FUNC || item.tag == TAG_IR_FUNC) function = item.index;
      if (item.tag == TAG_END_FUNC || item.tag == TAG_IR_END) function = NONE;
      return item.tag == TAG_SYMBOL &&
             item.index >=
                 (function == NONE ? unit.globals.size() : unit.functions[function].locals.size());
    });
  }

  void mutate() {
    switch (random.below(16)) {
    case 0:
    case 1:
    case 2:
    case 3: return mutate_type();
    case 4:
    case 5: return mutate_symbol();
    case 6: return mutate_init();
    case 7:
    case 8:
    case 9: return mutate_item();
    case 10: return mutate_rest();
    default: return mutate_node();
    }
  }
};

// The fields alone say what is written.
void drop_kept_bytes(UNIT& unit) {
  unit.layout.clear();
  unit.header_raw = 0;
  auto drop = [](auto& list) {
    for (auto& record : list)
      record.raw = 0;
  };
  drop(unit.options);
  drop(unit.types);
  drop(unit.files);
  drop(unit.globals);
  drop(unit.inits);
  drop(unit.items);
  for (FUNCTION& function : unit.functions)
    drop(function.locals);
}

} // namespace

bool mutate_unit(BYTES& bytes, RANDOM& random) {
  UNIT unit;
  std::string error, made;
  if (!decode_unit(bytes, unit, error)) return false;
  drop_kept_bytes(unit);
  if (unit.strings.empty()) add_string(unit, "1"); // what a new operator's text is
  for (int tries = 0; tries < 10; tries++) {
    UNIT mutant = unit;
    MUTATOR mutator{mutant, random};
    for (size_t n = random.below(2) ? 1 : 1 + random.below(4); n; n--)
      mutator.mutate();
    mutator.drop_dangling_symbols();
    // Some come to what no file can hold, an operator without its operand for one.
    if (!encode_unit(mutant, mutant.version, made, error)) continue;
    bytes.assign(made.begin(), made.end());
    return true;
  }
  return false;
}

} // namespace fuzz
