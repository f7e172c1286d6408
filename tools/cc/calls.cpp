// Calls, arguments, built-in functions.

#include "tools/cc/linkage.h"

#include "clang/AST/ExprCXX.h"
#include "clang/Basic/Builtins.h"

#include <cmath>

using clang::SourceLocation;

namespace cc {

NODE* LOWERING::argument(const clang::Expr* e, TYPE* parameter) {
  NODE* x = value(e);
  if (x->type->is_csu()) return maketree(STARG, x, nullptr, value_type(x->type));
  return parameter ? convert(x, parameter, ACONV) : promote_argument(x);
}

NODE* LOWERING::call(const clang::CallExpr* e) {
  if (const clang::FunctionDecl* callee = e->getDirectCallee(); callee && callee->getBuiltinID())
    return call_builtin(e, callee);
  return call_of(value(e->getCallee()), e);
}

// A call of an external function of that name with the type of another declaration.
NODE* LOWERING::call_named(const std::string& name, const clang::FunctionDecl* like,
                           const clang::CallExpr* e) {
  TYPE* type = type_of(like->getType(), e->getExprLoc());
  SYMTAB*& sym = unit.externals[name];
  if (!sym) {
    const auto defined = unit.definitions.find(name);
    if (defined != unit.definitions.end()) {
      sym = defined->second.source->symbol_of(defined->second.decl);
    } else {
      sym = new_symbol(name, type, SC_EXTERN_DECL, e->getExprLoc());
      enter_global(sym);
    }
  }
  return call_of(decay(name_node(sym)), e);
}

NODE* LOWERING::call_of(NODE* function, const clang::CallExpr* e) {
  if (!is_function_pointer(function->type))
    refuse(e->getExprLoc(), "call of this expression is not supported");
  const TYPE* type = pointee(function->type)->underlying_type();
  const FUNC_PARTS* parts = type->func_parts();
  TYPE* result = value_type(type->return_type());
  NODE* list = nullptr;
  unsigned count = 0, variable = 0;
  for (const clang::Expr* arg : e->arguments()) {
    const bool is_named = parts->is_prototyped && count < parts->params.size();
    NODE* x = argument(arg, is_named ? parts->params[count].type : nullptr);
    if (parts->is_prototyped && !is_named) variable++;
    count++;
    list = list ? maketree(COMMA, list, x, tp->mk_void()) : x;
  }
  if (!list) return maketree(UCALL, function, nullptr, result);
  NODE* tree = maketree(CALL, function, list, result);
  tree->mk_call(count, variable);
  return tree;
}

// Variable arguments lie behind the named ones in the caller's order, each at its type's alignment.
NODE* LOWERING::start_variable_arguments(const clang::CallExpr* e) {
  const SourceLocation at = e->getExprLoc();
  if (!fn || fn->params.empty() || !fn->type->func_parts()->is_variadic)
    refuse(at, "variable arguments are started outside of a variadic function");
  NODE* list = lower(e->getArg(0));
  SYMTAB* last = fn->params.back();
  TYPE* type = value_type(list->type);
  NODE* end = maketree(PCONV, address_of(name_node(last)), nullptr, type);
  end = maketree(PLUS, end, icon(size_in_units(last->type), ptrdiff_type()), type);
  return assign(list, end);
}

NODE* LOWERING::variable_argument(const clang::VAArgExpr* e) {
  const SourceLocation at = e->getExprLoc();
  TYPE* type = value_type(complete(type_of(e->getWrittenTypeInfo()), at));
  if (!type->is_csu()) {
    // Promotion changes the representation of float only where double is wider.
    NODE* sample = promote_argument(maketree(NAME, nullptr, nullptr, type));
    const bool same_size = value_type(sample->type)->size == type->size;
    erase_tree(sample);
    if (!same_size || type->is_array()) refuse(at, "no argument is passed as this type");
  }
  NODE* list = lower(e->getSubExpr());
  if (!is_place(list)) refuse(at, "list of arguments is no object");
  TYPE* list_type = value_type(list->type);
  NODE* setup = nullptr;
  if (type->align > UNIT_BITS) {
    const long units = type->align / UNIT_BITS;
    list = steady_place(list, setup, at);
    NODE* address = maketree(PCONV, copy_tree(list, true), nullptr, size_type());
    NODE* rounded = arithmetic(ANDB, arithmetic(PLUS, address, icon(units - 1, size_type())),
                               icon(INT65(-units), size_type()));
    NODE* aligned = assign(copy_tree(list, true), maketree(PCONV, rounded, nullptr, list_type));
    setup = mk_COMMAOP(setup, aligned);
  }
  NODE* here = maketree(PLUSPLUS, list, icon(size_in_units(type), ptrdiff_type()), list_type);
  NODE* pointer = maketree(PCONV, mk_COMMAOP(setup, here), nullptr, tp->mk_ptr(type));
  return object_at(pointer);
}

NODE* LOWERING::call_builtin(const clang::CallExpr* e, const clang::FunctionDecl* callee) {
  using clang::Builtin::ID;
  const SourceLocation at = e->getExprLoc();
  switch (callee->getBuiltinID()) {
  case clang::Builtin::BI__builtin_va_start: return start_variable_arguments(e);
  case clang::Builtin::BI__builtin_va_end: return effect(e->getArg(0));
  case clang::Builtin::BI__builtin_va_copy: {
    NODE* to = lower(e->getArg(0));
    return assign(to, value(e->getArg(1)));
  }
  case clang::Builtin::BI__builtin_assume:
    return maketree(NASSERT, truth(value(e->getArg(0))), nullptr, tp->mk_void());
  case clang::Builtin::BI__builtin_expect: {
    NODE* x = convert(value(e->getArg(0)), tp->mk_long());
    if (!e->getArg(1)->HasSideEffects(ctx)) return x;
    refuse(at, "expectation with side effects is not supported");
  }
  case clang::Builtin::BI__builtin_inf:
  case clang::Builtin::BI__builtin_inff:
  case clang::Builtin::BI__builtin_infl:
  case clang::Builtin::BI__builtin_huge_val:
  case clang::Builtin::BI__builtin_huge_valf:
  case clang::Builtin::BI__builtin_huge_vall:
    return fcon(INFINITY, type_of(callee->getReturnType(), at));
  case clang::Builtin::BI__builtin_nan:
  case clang::Builtin::BI__builtin_nanf:
  case clang::Builtin::BI__builtin_nanl: return fcon(NAN, type_of(callee->getReturnType(), at));
  case clang::Builtin::BI__builtin_constant_p: {
    NODE* x = value(e->getArg(0));
    const bool is_constant = evaluate(x).has_value();
    erase_tree(x);
    return icon(is_constant, int_type());
  }
  case clang::Builtin::BI__builtin_unreachable:
    return maketree(NASSERT, icon(0, int_type()), nullptr, tp->mk_void());
  default: break;
  }
  // A function of the library under its other name.
  static const std::set<std::string> LIBRARY = {
      "abs",     "labs",   "llabs",   "memcpy", "memmove", "memset",  "memcmp",   "memchr",
      "strlen",  "strcpy", "strncpy", "strcat", "strncat", "strcmp",  "strncmp",  "strchr",
      "strrchr", "strstr", "printf",  "puts",   "putchar", "sprintf", "snprintf", "fabs",
      "fabsf",   "sqrt",   "sqrtf",   "sin",    "cos",     "floor",   "ceil",     "pow",
      "exp",     "log",    "malloc",  "calloc", "free",    "exit",    "abort"};
  llvm::StringRef name = callee->getName();
  if (name.consume_front("__builtin_") && LIBRARY.count(name.str()))
    return call_named(name.str(), callee, e);
  refuse(at, "built-in function '" + callee->getName().str() + "' is not supported");
}

} // namespace cc
