#include "tools/cc/linkage.h"

#include "OPT5/optables.h"

namespace cc {

LINKAGE::LINKAGE(I_FILE* file, std::vector<std::string> file_options)
    : out(file), options(std::move(file_options)) {}

void LINKAGE::add(clang::ASTContext& context, const std::vector<LOOP_PRAGMA>& pragmas) {
  sources.push_back(std::make_unique<LOWERING>(context, *this, pragmas));
}

// Whether a definition stands for another one of its name or is a second one.
void LINKAGE::collect(LOWERING& source) {
  for (const clang::Decl* decl : source.context().getTranslationUnitDecl()->decls()) {
    auto* value = llvm::dyn_cast<clang::ValueDecl>(decl);
    if (!value || !value->hasLinkage() || !value->isExternallyVisible()) continue;
    DEFINITION found{&source, value, false};
    if (auto* function = llvm::dyn_cast<clang::FunctionDecl>(value)) {
      if (source.is_internal(function)) continue;
      external_names.insert(function->getName().str());
      if (!function->isThisDeclarationADefinition()) continue;
    } else if (auto* variable = llvm::dyn_cast<clang::VarDecl>(value)) {
      external_names.insert(variable->getName().str());
      const auto kind = variable->isThisDeclarationADefinition();
      if (kind == clang::VarDecl::DeclarationOnly) continue;
      found.is_tentative = kind == clang::VarDecl::TentativeDefinition;
    } else {
      continue;
    }
    DEFINITION& known = definitions[value->getName().str()];
    if (known.source == &source && !found.is_tentative) known.is_tentative = true; // the same one
    if (!known.source || (known.is_tentative && !found.is_tentative))
      known = found;
    else if (!found.is_tentative && !known.is_tentative)
      source.report_second_definition(value, known);
  }
}

std::string LINKAGE::static_name(const std::string& name) {
  if (is_of_several()) return unique_name(name);
  static_names.insert(name);
  return name;
}

std::string LINKAGE::unique_name(const std::string& name) {
  std::string unique = name;
  unsigned& suffix = last_suffixes.try_emplace(name, 1).first->second;
  while (external_names.count(unique) || !static_names.insert(unique).second)
    unique = name + "$" + std::to_string(++suffix);
  return unique;
}

void LINKAGE::finish_globals() {
  for (SYMTAB* sym : initialised)
    for (const NODE* root : sym->init_list)
      sources[0]->note_addresses(root);
  for (SYMTAB* sym : globals)
    if (sym->sclass == SC_STATIC && sym->type->is_scalar() && !address_taken.count(sym))
      sym->cqual |= CQ_NO_ADDRESS;
  for (SYMTAB* sym : initialised) {
    out->if_write_init(sym);
    for (NODE* root : sym->init_list)
      out->if_write_expr_node(root);
  }
}

bool LINKAGE::run() {
  init_opcode_tables();
  if (!options.empty()) out->if_enter_option_set(OPTION_SET{0, options});
  bool is_sound = true;
  for (auto& source : sources)
    collect(*source);
  for (auto& source : sources)
    source->run();
  for (auto& source : sources)
    is_sound &= !source->has_failed();
  if (is_sound) finish_globals();
  return is_sound;
}

bool types_agree(TYPE* a, TYPE* b) {
  a = value_type(a);
  b = value_type(b);
  if (a == b) return true;
  if (a->is_pointer() && b->is_pointer()) return types_agree(pointee(a), pointee(b));
  if (a->is_array() && b->is_array())
    return types_agree(a->elem_type(), b->elem_type()) &&
           (!a->is_complete() || !b->is_complete() ||
            a->array_parts()->count == b->array_parts()->count);
  if (a->is_csu() && b->is_csu())
    return a->kind == b->kind && std::string(a->csu_parts()->name) == b->csu_parts()->name &&
           (!a->is_complete() || !b->is_complete() || a->size == b->size);
  if (!a->is_func() || !b->is_func()) return false;
  const FUNC_PARTS *x = a->func_parts(), *y = b->func_parts();
  if (!types_agree(a->return_type(), b->return_type())) return false;
  if (!x->is_prototyped || !y->is_prototyped) return true;
  if (x->is_variadic != y->is_variadic || x->params.size() != y->params.size()) return false;
  for (size_t k = 0; k < x->params.size(); k++)
    if (!types_agree(x->params[k].type, y->params[k].type)) return false;
  return true;
}

} // namespace cc
