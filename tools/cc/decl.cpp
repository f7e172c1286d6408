// Symbols, functions, and the unit as a whole.

#include "tools/cc/linkage.h"

#include "OPT5/treewalk.h"
#include "OPT5/verify.h"

#include "clang/AST/Attr.h"
#include "clang/Basic/Diagnostic.h"

#include <algorithm>
#include <cstring>

using clang::SourceLocation;

namespace cc {

LOWERING::LOWERING(clang::ASTContext& context, LINKAGE& whole,
                   const std::vector<LOOP_PRAGMA>& notes)
    : ctx(context), sm(context.getSourceManager()), unit(whole), out(whole.out),
      loop_pragmas(notes) {}

// ---------------------------------------------------------------------------------------------
// Reports

void LOWERING::error(SourceLocation at, const std::string& text) {
  clang::DiagnosticsEngine& diags = ctx.getDiagnostics();
  diags.Report(sm.getExpansionLoc(at), diags.getCustomDiagID(clang::DiagnosticsEngine::Error, "%0"))
      << text;
  failed = true;
}

void LOWERING::refuse(SourceLocation at, const std::string& text) {
  error(at, text);
  throw REFUSED();
}

PSN* LOWERING::psn_of(SourceLocation at) {
  const clang::PresumedLoc place = sm.getPresumedLoc(sm.getExpansionLoc(at));
  return place.isValid() ? make_psn(place.getFilename(), place.getLine(), place.getColumn())
                         : nullptr;
}

// ---------------------------------------------------------------------------------------------
// Symbols

SYMTAB* LOWERING::new_symbol(const std::string& name, TYPE* type, int sclass, SourceLocation at) {
  auto* sym = new SYMTAB;
  sym->name = strdup(name.c_str());
  sym->cpp_type = sym->otype = type;
  sym->type = type->is_enum() ? qualified(value_type(type), type->qual_kind(true)) : type;
  sym->size = type->size;
  sym->align = type->align;
  sym->sclass = sym->orig_class = static_cast<unsigned char>(sclass);
  const TYPE* element = type;
  while (element->is_array())
    element = element->underlying_type()->elem_type();
  sym->cqual =
      static_cast<unsigned short>(element->qual_kind(true) & (TYPE::Q_CONST | TYPE::Q_VOLATILE));
  sym->psn = psn_of(at);
  return sym;
}

void LOWERING::enter_global(SYMTAB* sym) {
  out->if_enter_global(sym);
  unit.globals.push_back(sym);
}

void LOWERING::add_pragma(SYMTAB* sym, int kind, std::vector<std::string> args) {
  sym->pragmas = new PRAGMA{kind, std::move(args), sym->pragmas};
}

static std::vector<std::string> words(llvm::StringRef text) {
  llvm::SmallVector<llvm::StringRef, 8> parts;
  text.split(parts, ' ', -1, false);
  return {parts.begin(), parts.end()};
}

unsigned LOWERING::option_set_of(const clang::FunctionDecl* decl) {
  std::string text;
  for (const clang::FunctionDecl* d : decl->redecls())
    for (const auto* attr : d->specific_attrs<clang::AnnotateAttr>()) {
      llvm::StringRef note = attr->getAnnotation();
      if (note.consume_front("options:")) text += " " + note.str();
    }
  if (text.empty()) return 0;
  auto [place, is_new] =
      unit.option_sets.emplace(text, static_cast<unsigned>(unit.option_sets.size() + 1));
  if (is_new) {
    if (unit.option_sets.size() == 1 && unit.options.empty())
      out->if_enter_option_set(OPTION_SET{0, {}});
    OPTION_SET set{place->second, unit.options};
    for (std::string& word : words(text))
      set.strings.push_back(std::move(word));
    out->if_enter_option_set(set);
  }
  return place->second;
}

void LOWERING::attributes_of(const clang::Decl* decl, SYMTAB* sym) {
  for (const clang::Decl* d : decl->redecls())
    for (const clang::Attr* attr : d->attrs()) {
      switch (attr->getKind()) {
      case clang::attr::Used: sym->policy = I_SYMTAB::ALWAYS; break;
      case clang::attr::Aligned: sym->align = std::max(sym->align, wanted_alignment(d)); break;
      case clang::attr::Alias:
      case clang::attr::AsmLabel:
      case clang::attr::Cleanup:
      case clang::attr::Constructor:
      case clang::attr::Destructor:
      case clang::attr::IFunc:
        refuse(d->getLocation(),
               std::string("attribute '") + attr->getSpelling() + "' is not supported");
      default: break;
      }
    }
}

bool LOWERING::is_internal(const clang::FunctionDecl* decl) {
  const clang::FunctionDecl* definition = decl->getDefinition();
  return decl->getStorageClass() == clang::SC_Static ||
         decl->getCanonicalDecl()->getStorageClass() == clang::SC_Static ||
         // An inline definition is this unit's own.
         (definition && definition->isInlined() &&
          !definition->isInlineDefinitionExternallyVisible());
}

std::string LOWERING::place_text(SourceLocation at) {
  const PSN* psn = psn_of(at);
  return psn ? std::string(psn->file) + ":" + std::to_string(psn->line) : "an unknown place";
}

// The symbol of a name of linkage if another source has it or is to define it.
SYMTAB* LOWERING::shared_symbol(const clang::NamedDecl* decl, TYPE* type) {
  const std::string name = decl->getName().str();
  SYMTAB* sym = nullptr;
  const auto defined = unit.definitions.find(name);
  if (defined != unit.definitions.end() && defined->second.source != this)
    sym = defined->second.source->symbol_of(defined->second.decl);
  else if (const auto known = unit.externals.find(name); known != unit.externals.end())
    sym = known->second;
  TYPE* known_type = sym ? sym->otype : nullptr;
  if (const auto larger = unit.flexible.find(sym); larger != unit.flexible.end())
    known_type = larger->second->type;
  if (sym && !types_agree(known_type, type))
    refuse(decl->getLocation(),
           "'" + name + "' has another type at " +
               (sym->psn ? std::string(sym->psn->file) + ":" + std::to_string(sym->psn->line)
                         : "another place"));
  return sym;
}

SYMTAB* LOWERING::function_symbol(const clang::FunctionDecl* decl) {
  SYMTAB*& known = symbols[decl->getCanonicalDecl()];
  if (known) return known;
  const clang::FunctionDecl* definition = decl->getDefinition();
  const clang::FunctionDecl* best = definition ? definition : decl;
  if (!best->hasWrittenPrototype())
    for (const clang::FunctionDecl* d : decl->redecls())
      if (d->hasWrittenPrototype()) best = d;
  const bool is_static = is_internal(decl);
  const int sclass = is_static ? SC_STATIC : definition ? SC_EXTERN : SC_EXTERN_DECL;
  TYPE* type = type_of_decl(best);
  if (!is_static)
    if (SYMTAB* shared = shared_symbol(decl, type)) return known = shared;
  const std::string name = decl->getName().str();
  SYMTAB* sym =
      new_symbol(is_static ? unit.static_name(name) : name, type, sclass, best->getLocation());
  known = sym;
  if (!is_static) unit.externals[name] = sym;
  attributes_of(decl, sym);
  if (definition) {
    bool is_inline = definition->isInlined();
    for (const clang::FunctionDecl* d : decl->redecls())
      is_inline |= d->hasAttr<clang::AlwaysInlineAttr>() || d->isInlineSpecified();
    if (is_inline) add_pragma(sym, PRAGMA_ALWAYS_INLINE, {"always inline"});
    sym->option_set = option_set_of(decl);
  }
  enter_global(sym);
  return sym;
}

SYMTAB* LOWERING::global_variable(const clang::VarDecl* decl) {
  decl = decl->getCanonicalDecl();
  if (auto known = symbols.find(decl); known != symbols.end()) return known->second;
  const clang::VarDecl* best = decl->getDefinition();
  if (!best) best = const_cast<clang::VarDecl*>(decl)->getActingDefinition();
  const bool is_defined = best != nullptr;
  if (!best) best = decl->getMostRecentDecl();
  TYPE* type = type_of_decl(best);
  // Another declaration may know the number of elements.
  for (const clang::VarDecl* d : decl->redecls())
    if (type->is_array() && !type->is_complete()) type = type_of_decl(d);
  if (is_defined && type->is_array() && !type->is_complete())
    type = tp->mk_array(type->elem_type(), 1); // a tentative definition's one element
  if (is_defined) complete(type, best->getLocation());
  const int sclass =
      best->getStorageClass() == clang::SC_Static || decl->getStorageClass() == clang::SC_Static
          ? SC_STATIC
      : is_defined ? SC_EXTERN
                   : SC_EXTERN_DECL;
  const std::string name = decl->getName().str();
  if (sclass != SC_STATIC)
    if (SYMTAB* shared = shared_symbol(decl, type)) return symbols[decl] = shared;
  SYMTAB* sym = new_symbol(sclass == SC_STATIC ? unit.static_name(name) : name, type, sclass,
                           best->getLocation());
  symbols[decl] = sym;
  if (sclass != SC_STATIC) unit.externals[name] = sym;
  if (is_defined && (sym->cqual & TYPE::Q_CONST) && !(sym->cqual & TYPE::Q_VOLATILE))
    sym->cqual |= CQ_READ_ONLY;
  attributes_of(decl, sym);
  enter_global(sym);
  if (const clang::Expr* init = is_defined ? best->getInit() : nullptr)
    static_initialiser(sym, init);
  return sym;
}

SYMTAB* LOWERING::static_object(const std::string& name, TYPE* type, SourceLocation at) {
  SYMTAB* sym = new_symbol(unit.unique_name(name), type, SC_STATIC, at);
  enter_global(sym);
  return sym;
}

SYMTAB* LOWERING::static_local(const clang::VarDecl* decl) {
  TYPE* type = complete(type_of_decl(decl), decl->getLocation());
  SYMTAB* sym =
      static_object(decl->getName().str() + "$" + fn->symbol->name, type, decl->getLocation());
  symbols[decl->getCanonicalDecl()] = sym;
  add_pragma(sym, PRAGMA_STATIC_LOCAL, {fn->symbol->name});
  if ((sym->cqual & TYPE::Q_CONST) && !(sym->cqual & TYPE::Q_VOLATILE)) sym->cqual |= CQ_READ_ONLY;
  attributes_of(decl, sym);
  if (decl->getInit()) static_initialiser(sym, decl->getInit());
  return sym;
}

SYMTAB* LOWERING::symbol_of(const clang::ValueDecl* decl) {
  if (auto* function = llvm::dyn_cast<clang::FunctionDecl>(decl)) return function_symbol(function);
  auto known = symbols.find(decl->getCanonicalDecl());
  if (known != symbols.end()) return known->second;
  auto* variable = llvm::cast<clang::VarDecl>(decl);
  if (!variable->hasGlobalStorage()) {
    if (failed) throw REFUSED(); // its declaration was reported
    refuse(decl->getLocation(), "'" + decl->getName().str() + "' has no storage here");
  }
  return global_variable(variable);
}

SYMTAB* LOWERING::add_local(const std::string& name, TYPE* type, int sclass, SourceLocation at) {
  SYMTAB* sym = new_symbol(name, type, sclass, at);
  fn->blocks[fn->open_blocks.back()].push_back(sym);
  return sym;
}

SYMTAB* LOWERING::temporary(TYPE* type, SourceLocation at) {
  if (!fn) refuse(at, "this expression is not supported outside of functions");
  return add_local("$t" + std::to_string(fn->next_temp++), value_type(type), SC_AUTO, at);
}

// ---------------------------------------------------------------------------------------------
// Functions

void LOWERING::lower_function(const clang::FunctionDecl* decl) {
  FUNCTION function;
  function.decl = decl;
  function.symbol = function_symbol(decl);
  function.type = function.symbol->type;
  fn = &function;
  fn->blocks.emplace_back();
  fn->open_blocks.push_back(0);
  PSN* begin = psn_of(decl->getLocation());
  NODE* prolog = nullptr;
  const bool has_prototype = decl->hasPrototype();
  for (const clang::ParmVarDecl* param : decl->parameters()) {
    TYPE* type = complete(parameter_type(param), param->getLocation());
    std::string name = param->getName().str();
    if (name.empty()) name = "$p" + std::to_string(fn->params.size());
    if (!has_prototype && !type->is_csu()) {
      // Callers without a prototype pass promoted values.
      NODE* sample = promote_argument(maketree(NAME, nullptr, nullptr, type));
      const bool same_size = value_type(sample->type)->size == value_type(type)->size;
      erase_tree(sample);
      if (!same_size) refuse(param->getLocation(), "parameter of this type without a prototype");
    }
    TYPE* passed = qualified(value_type(type), type->qual_kind(true) & TYPE::Q_RESTRICT);
    SYMTAB* in = new_symbol(name, passed, SC_ARG, param->getLocation());
    SYMTAB* home = add_local(name, type,
                             param->getStorageClass() == clang::SC_Register ? SC_REGISTER : SC_AUTO,
                             param->getLocation());
    fn->params.push_back(in);
    symbols[param] = home;
    incoming[param] = in;
    NODE* copy = mk_ASG(name_node(home), name_node(in));
    prolog = prolog ? maketree(PCOMMA, prolog, copy, copy->type) : copy;
  }
  if (prolog) emit(prolog, begin);
  next_loop_pragma = 0;
  while (next_loop_pragma < loop_pragmas.size() &&
         sm.isBeforeInTranslationUnit(loop_pragmas[next_loop_pragma].at, decl->getBeginLoc()))
    next_loop_pragma++;
  const auto* body = llvm::cast<clang::CompoundStmt>(decl->getBody());
  for (const clang::Stmt* s : body->body())
    statement(s);
  const clang::QualType result = decl->getReturnType();
  const bool ends_open = body->body_empty() || !llvm::isa<clang::ReturnStmt>(body->body_back());
  if (decl->isMain() && result->isIntegerType() && ends_open) { // falling off its end gives 0
    NODE* zero = convert(icon(0, int_type()), fn->type->return_type());
    emit(maketree(RETURN, name_node(fn->symbol), zero, tp->mk_void()), psn_of(body->getRBracLoc()));
  }
  write_function(begin, psn_of(body->getRBracLoc()));
  fn = nullptr;
}

void LOWERING::note_addresses(const NODE* tree) {
  walk_preorder(tree, [this](const NODE* node) {
    if (node->op != UAND && node->op != ARGREF) return true;
    const NODE* place = node->left;
    while (place->op == STDOT || place->op == VFIELD)
      place = place->left;
    if (place->op == NAME) unit.address_taken.insert(place->u.sym);
    return true;
  });
}

void LOWERING::write_locals(const std::vector<SYMTAB*>& locals) {
  for (SYMTAB* sym : locals) {
    if (sym->type->is_scalar() && !unit.address_taken.count(sym)) sym->cqual |= CQ_NO_ADDRESS;
    out->if_enter_local(sym);
    out->if_write_symbol(sym);
  }
}

void LOWERING::write_function(PSN* begin, PSN* end) {
  if (!failed) {
    for (const ITEM& item : fn->items)
      if (item.tree) note_addresses(item.tree);
    out->if_write_begin_func(fn->symbol, begin);
    write_locals(fn->params);
    out->if_write_end_args(begin);
    write_locals(fn->blocks[0]);
    out->if_write_end_locals(begin);
    for (const ITEM& item : fn->items) {
      const bool is_real_block = fn->blocks[item.block].size() != 0;
      switch (item.kind) {
      case ITEM::EXPRESSION: out->if_write_expr(item.tree, item.psn); break;
      case ITEM::LABEL_RECORD: out->if_write_label(static_cast<unsigned>(item.label)); break;
      case ITEM::BLOCK_BEGIN:
        if (!is_real_block) break; // a block without names is no scope
        out->if_write_begin_block(item.psn);
        write_locals(fn->blocks[item.block]);
        out->if_write_end_locals(item.psn);
        break;
      case ITEM::BLOCK_END:
        if (is_real_block) out->if_write_end_block(item.psn);
        break;
      case ITEM::LOOP_NOTE: {
        const PRAGMA pragma{item.note->kind, item.note->args, nullptr};
        out->if_write_pragma(&pragma);
        break;
      }
      }
    }
    out->if_write_end_func(end);
  }
  for (const ITEM& item : fn->items)
    erase_tree(item.tree);
}

// ---------------------------------------------------------------------------------------------
// The unit

void LOWERING::check_static_assert(const clang::StaticAssertDecl* decl) {
  if (!constant_of(decl->getAssertExpr()).is_zero()) return;
  std::string text = "static assertion failed";
  if (decl->getMessage()) text += " \"" + decl->getMessage()->getString().str() + "\"";
  refuse(decl->getAssertExpr()->getExprLoc(), text);
}

void LOWERING::top_level(const clang::Decl* decl) {
  if (auto* function = llvm::dyn_cast<clang::FunctionDecl>(decl)) {
    if (function->isThisDeclarationADefinition()) lower_function(function);
  } else if (auto* variable = llvm::dyn_cast<clang::VarDecl>(decl)) {
    const clang::VarDecl* canonical = variable->getCanonicalDecl();
    if (!met_variables.insert(canonical).second) return; // to look for a definition visits all
    if (canonical->getDefinition() || const_cast<clang::VarDecl*>(canonical)->getActingDefinition())
      global_variable(variable);
  } else if (auto* assertion = llvm::dyn_cast<clang::StaticAssertDecl>(decl)) {
    check_static_assert(assertion);
  } else if (auto* record = llvm::dyn_cast<clang::RecordDecl>(decl)) {
    record_type(record);
  } else if (auto* enumeration = llvm::dyn_cast<clang::EnumDecl>(decl)) {
    enum_type(enumeration);
  } else if (auto* name = llvm::dyn_cast<clang::TypedefNameDecl>(decl)) {
    if (!name->isImplicit()) type_of_typedef(name);
  } else if (llvm::isa<clang::FileScopeAsmDecl>(decl)) {
    refuse(decl->getLocation(), "inline assembly is not supported");
  }
}

void LOWERING::run() {
  for (const clang::Decl* decl : ctx.getTranslationUnitDecl()->decls()) {
    try {
      top_level(decl);
    } catch (const REFUSED&) {
      if (fn)
        for (const ITEM& item : fn->items)
          erase_tree(item.tree);
      fn = nullptr;
    }
  }
}

} // namespace cc
