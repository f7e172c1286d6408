// Finding an option by its text: a tree of characters for the long names, walked in one pass, and a
// search for pairs before letters.

#include "options/option_obj.h"

#include <cctype>
#include <cstring>
#include <memory>

namespace {

// The names that share a prefix. A prefix of one name only keeps the rest of it as a tail.
struct PREFIX {
  std::map<char, std::unique_ptr<PREFIX>> next;
  const OPTION_DEFINITION* only = nullptr; // the one option from here on
  const char* tail = nullptr;              // what is left of its name
};

void insert(PREFIX& at, const OPTION_DEFINITION* def, const char* rest) {
  if (!at.only && at.next.empty()) {
    at.only = def;
    at.tail = rest;
    return;
  }
  if (at.only) { // push the one that was alone here a character down
    const OPTION_DEFINITION* other = at.only;
    const char* other_tail = at.tail;
    at.only = nullptr;
    auto& child = at.next[*other_tail];
    child = std::make_unique<PREFIX>();
    insert(*child, other, other_tail + 1);
  }
  auto& child = at.next[*rest];
  if (!child) child = std::make_unique<PREFIX>();
  insert(*child, def, rest + 1);
}

const PREFIX& name_tree() {
  static const PREFIX root = [] {
    PREFIX tree;
    for (const OPTION_DEFINITION& def : option_definitions)
      if (def.name) insert(tree, &def, def.name);
    return tree;
  }();
  return root;
}

char folded(char c, bool fold) {
  return fold ? static_cast<char>(tolower(static_cast<unsigned char>(c))) : c;
}

} // namespace

const OPTION_DEFINITION* find_long_option(const char* text, bool fold, const char*& rest) {
  const PREFIX* at = &name_tree();
  while (!at->only) {
    auto place = at->next.find(folded(*text, fold));
    if (place == at->next.end()) return nullptr;
    text++;
    at = place->second.get();
  }
  for (const char* tail = at->tail; *tail; tail++, text++)
    if (folded(*text, fold) != *tail) return nullptr;
  // A switch list follows its colon; other names end here or at "=".
  if (at->only->arg != ARG_STRING_LIST && *text != 0 && *text != '=') return nullptr;
  rest = text;
  return at->only;
}

const OPTION_DEFINITION* find_short_option(const char* text, const char*& rest) {
  for (const size_t length : {2, 1}) {
    if (strlen(text) < length) continue;
    for (const OPTION_DEFINITION& def : option_definitions) {
      if (!def.alternate || strlen(def.alternate) != length ||
          strncmp(def.alternate, text, length) != 0)
        continue;
      rest = text + length;
      return &def;
    }
  }
  return nullptr;
}
