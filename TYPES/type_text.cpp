// Types as text, for messages and dumps.
#include "TYPES/type_pkg.h"

#include <cstdio>

namespace {

// A spelling is for a reader: past these bounds it breaks off with "...".
constexpr int MAX_LAYERS = 64, MAX_NESTING = 4;
constexpr size_t MAX_TEXT = 400;

const char* int_name(const TYPE* t) {
  static const char* const names[] = {
      "_Bool",     "signed char",       "unsigned char", "wchar_t",       "short", "unsigned short",
      "int",       "unsigned int",      "long",          "unsigned long", "long",  "unsigned long",
      "long long", "unsigned long long"};
  return t->ikind() <= TYPE::I_ULLONG ? names[t->ikind()] : "<integer>";
}

std::string qual_text(int quals) {
  std::string text;
  if (quals & TYPE::Q_CONST) text += "const ";
  if (quals & TYPE::Q_VOLATILE) text += "volatile ";
  if (quals & TYPE::Q_RESTRICT) text += "restrict ";
  return text;
}

std::string leaf_name(const TYPE* t) {
  auto tagged = [t](const char* tag) {
    return std::string(tag) + (*t->name ? t->name : "<unnamed>");
  };
  switch (t->kind) {
  case TYPE::K_VOID: return "void";
  case TYPE::K_INT: return int_name(t);
  case TYPE::K_FLOAT:
    return t->fkind() == TYPE::F_FLOAT    ? "float"
           : t->fkind() == TYPE::F_DOUBLE ? "double"
                                          : "long double";
  case TYPE::K_FIXED: return "_Fract";
  case TYPE::K_TYPEDEF: return t->name;
  case TYPE::K_ENUM: return tagged("enum ");
  case TYPE::K_CLASS: return tagged("class ");
  case TYPE::K_STRUCT: return tagged("struct ");
  case TYPE::K_UNION: return tagged("union ");
  case TYPE::K_UNKNOWN: return "<unknown>";
  default: return "...";
  }
}

// The declaration of `declarator` (which may be empty) with that type.
std::string spell(const TYPE* t, std::string declarator, int nesting) {
  std::string prefix;
  for (int layer = 0; layer < MAX_LAYERS && declarator.size() < MAX_TEXT; layer++) {
    switch (t->kind) {
    case TYPE::K_POINTER:
    case TYPE::K_REFERENCE:
    case TYPE::K_PTM: {
      std::string mark = t->kind == TYPE::K_POINTER ? "*" : "&";
      if (t->kind == TYPE::K_PTM) mark = std::string(t->extra->name) + "::*";
      declarator.insert(0, mark);
      if (t->base->kind == TYPE::K_ARRAY || t->base->kind == TYPE::K_FUNC)
        declarator.insert(0, "(").append(")");
      break;
    }
    case TYPE::K_QUALIFIED:
      // A qualifier of a pointer stands behind the asterisk.
      if (t->base->kind == TYPE::K_POINTER)
        declarator.insert(0, qual_text(t->qual_kind(false)));
      else
        prefix += qual_text(t->qual_kind(false));
      break;
    case TYPE::K_ARRAY: {
      const ARRAY_PARTS* parts = t->array_parts();
      declarator += parts->is_vector ? " __vector(" : "[";
      if (parts->complete) declarator += std::to_string(parts->count);
      declarator += parts->is_vector ? ")" : "]";
      break;
    }
    case TYPE::K_FUNC: {
      const FUNC_PARTS* parts = t->func_parts();
      std::string list;
      for (const TYPE_PARAM& p : parts->params) {
        if (!list.empty()) list += ", ";
        if (nesting >= MAX_NESTING || list.size() > MAX_TEXT) {
          list += "...";
          break;
        }
        list += spell(p.type, "", nesting + 1);
      }
      if (parts->is_variadic) list += list.empty() ? "..." : ", ...";
      if (list.empty() && parts->is_prototyped) list = "void";
      declarator += "(" + list + ")";
      break;
    }
    case TYPE::K_COMPLEX: prefix += "_Complex "; break;
    default: {
      std::string text = prefix + leaf_name(t);
      if (!declarator.empty() && declarator[0] != '[') text += ' ';
      text += declarator;
      while (text.back() == ' ')
        text.pop_back();
      return text;
    }
    }
    t = t->base;
  }
  return "... " + declarator;
}

} // namespace

std::string TYPE::str() const {
  return spell(this, "", 0);
}

void TYPE_PKG::dump_all() {
  walk_types(
      [](TYPE* t, void*) {
        printf("%6u  %-40s size %lu, align %u\n", t->uid, t->str().c_str(), t->size, t->align);
      },
      nullptr);
}

void TYPE_PKG::print_stats() {
  unsigned counts[TYPE::K_UNKNOWN + 1] = {};
  walk_types([](TYPE* t, void* arg) { static_cast<unsigned*>(arg)[t->kind]++; }, counts);
  static const char* const names[] = {
      "void",      "integer", "floating", "fixed point",       "complex",  "pointer", "reference",
      "qualified", "typedef", "array",    "pointer to member", "function", "enum",    "class",
      "struct",    "union",   "unknown"};
  for (int k = 0; k <= TYPE::K_UNKNOWN; k++)
    if (counts[k]) printf("%8u %s types\n", counts[k], names[k]);
  printf("%8zu bytes in types\n", tp_bytes_allocated());
}
