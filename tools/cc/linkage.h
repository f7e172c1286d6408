// The unit that several sources make together: what their lowerings share.
#pragma once

#include "tools/cc/lower.h"

#include <memory>

namespace cc {

class LINKAGE {
public:
  LINKAGE(I_FILE* file, std::vector<std::string> file_options);

  void add(clang::ASTContext& context, const std::vector<LOOP_PRAGMA>& pragmas);
  // Lowers all sources into the file, without closing it. False if anything was refused.
  bool run();
  bool is_of_several() const { return sources.size() > 1; }

  I_FILE* const out;
  std::vector<std::string> options;            // of option set 0
  std::map<std::string, unsigned> option_sets; // by the text of the attribute
  std::set<std::string> static_names;
  std::set<const SYMTAB*> address_taken;
  std::vector<SYMTAB*> globals;
  std::vector<SYMTAB*> initialised; // globals with initialisers, in order

  // Names of linkage: where they are defined, and their symbols as far as there are any.
  struct DEFINITION {
    LOWERING* source = nullptr;
    const clang::ValueDecl* decl = nullptr;
    bool is_tentative = false;
  };
  std::map<std::string, DEFINITION> definitions;
  std::map<std::string, SYMTAB*> externals;
  std::set<std::string> external_names;

  // A structure that several sources define alike is one type. By its text, with the members of
  // its fields in order, null for those without one.
  struct LAYOUT {
    TYPE* type = nullptr;
    std::vector<fkMDATA*> members;
  };
  std::map<std::string, LAYOUT> layouts;

  // Of objects with more room than their declared type has, the member of that type.
  std::map<const SYMTAB*, fkMDATA*> flexible;

  // The name of a symbol of internal linkage, changed where another source uses it too.
  std::string static_name(const std::string& name);
  // A name like the given one that no other static or external symbol has.
  std::string unique_name(const std::string& name);

private:
  std::vector<std::unique_ptr<LOWERING>> sources;
  std::unordered_map<std::string, unsigned> last_suffixes; // by the name without one
  void collect(LOWERING& source);
  void finish_globals();
};

// Whether declarations with these types may be of one object or function.
bool types_agree(TYPE* a, TYPE* b);

} // namespace cc
