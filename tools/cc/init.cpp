// Initialisers: contents of static objects, assignments to automatic ones, compound literals.

#include "tools/cc/linkage.h"

#include "TYPES/type_values.h"

#include "clang/AST/ExprCXX.h"

#include <algorithm>

using clang::SourceLocation;

namespace cc {

namespace {

constexpr size_t MAX_SINGLE_ASSIGNMENTS = 16; // more are copied from a constant object

struct STEP {
  fkMDATA* field;      // null for an element
  unsigned long index; // of an element
};

// A part of an object that is given a value by one expression.
struct LEAF {
  unsigned long at; // bits
  TYPE* type;
  const fkMDATA* bit_field;
  std::vector<STEP> path;
  const clang::Expr* value;
};

const clang::Expr* plain(const clang::Expr* e) {
  for (;;) {
    const clang::Expr* inner = e->IgnoreParenImpCasts();
    if (auto* constant = llvm::dyn_cast<clang::ConstantExpr>(inner)) inner = constant->getSubExpr();
    if (inner == e) return e;
    e = inner;
  }
}

// The place within the object `sym` that a path leads to.
NODE* place_at(SYMTAB* sym, const std::vector<STEP>& path) {
  NODE* place = name_node(sym);
  for (const STEP& s : path) {
    if (s.field)
      place = member_of(place, s.field);
    else
      place = object_at(step(PLUS, decay(place), icon(INT65(s.index), ptrdiff_type())));
  }
  return place;
}

// What an object of static storage holds: trees and units of bit-fields by their place in units.
class CONTENTS {
public:
  void add(const LEAF& leaf, NODE* tree) { trees[leaf.at / UNIT_BITS] = tree; }

  // The characters of a string, each in one element; those behind the array's end are dropped.
  void add_string(const LEAF& leaf, const clang::StringLiteral* text) {
    const TYPE* array = leaf.type->underlying_type();
    const unsigned long count =
        std::min<unsigned long>(array->array_parts()->count, text->getLength());
    if (text->getCharByteWidth() == 1) {
      NODE* node = alloc_node(SCON, leaf.type->underlying_type());
      node->mk_scon(text->getBytes().data(), static_cast<unsigned>(count));
      return add(leaf, node);
    }
    TYPE* elem = array->elem_type();
    for (unsigned long k = 0; k < count; k++)
      trees[(leaf.at + k * elem->size) / UNIT_BITS] =
          icon(text->getCodeUnit(static_cast<unsigned>(k)), elem);
  }

  void add_bits(const LEAF& leaf, INT65 value) {
    const unsigned width = leaf.bit_field->bit_size;
    for (unsigned k = 0; k < width; k++) {
      const unsigned long bit = leaf.at + k;
      const bool is_set = !((value >> INT65(k)) & INT65(1)).is_zero();
      bits[bit / UNIT_BITS] |= static_cast<unsigned>(is_set) << bit % UNIT_BITS;
    }
  }

  // The roots for an object of that size.
  std::list<BASE_NODE*> roots(unsigned long units) {
    for (const auto& [at, word] : bits)
      trees[at] = icon(word, tp->mk_plain_uint());
    std::list<BASE_NODE*> list;
    unsigned long next = 0;
    for (const auto& [at, tree] : trees) {
      list.push_back(at == next ? tree : skip(at - next, tree));
      next = at + size_in_units(tree->type);
    }
    if (list.empty()) list.push_back(skip(units, alloc_node(NOP, tp->mk_void())));
    list.push_back(alloc_node(ENDINIT, tp->mk_void()));
    return list;
  }

private:
  std::map<unsigned long, NODE*> trees;
  std::map<unsigned long, unsigned> bits;

  static NODE* skip(unsigned long units, NODE* tree) {
    NODE* node = maketree(SKIP, tree, nullptr, tree->type);
    node->mk_skip(static_cast<int>(units));
    return node;
  }
};

} // namespace

// Splits an initialiser into leaves.
class INIT_WALK {
public:
  INIT_WALK(LOWERING& l, bool is_static_object) : low(l), is_static(is_static_object) {}
  std::vector<LEAF> leaves;
  bool leaves_zeros = false;      // some part is given no value of its own
  unsigned long flexible_end = 0; // bits, of a flexible array member with an initialiser

  void walk(TYPE* type, unsigned long at, const clang::Expr* e) { walk(type, at, nullptr, e); }

private:
  LOWERING& low;
  const bool is_static;
  std::vector<STEP> path;

  void walk(TYPE* type, unsigned long at, const fkMDATA* bit_field, const clang::Expr* e) {
    if (!e || llvm::isa<clang::ImplicitValueInitExpr>(e)) {
      leaves_zeros = true;
      return;
    }
    if (llvm::isa<clang::DesignatedInitUpdateExpr>(e))
      low.refuse(e->getExprLoc(), "designator into a part that has a value already");
    const clang::Expr* inner = plain(e);
    auto* list = llvm::dyn_cast<clang::InitListExpr>(inner);
    if (list && !list->isSemanticForm() && list->getSemanticForm()) list = list->getSemanticForm();
    if (is_static && (type->is_csu() || type->is_array()))
      if (auto* literal = llvm::dyn_cast<clang::CompoundLiteralExpr>(inner))
        return walk(type, at, nullptr, literal->getInitializer());
    if (list) {
      low.check_designators(list);
      if (list->isTransparent()) return walk(type, at, bit_field, list->getInit(0));
      if (type->is_array()) return walk_array(type, at, list);
      if (type->is_csu()) return walk_record(at, list);
      if (type->is_vector() && is_static) return walk_vector(type, at, list);
      if (!type->is_vector()) {
        if (list->getNumInits()) return walk(type, at, bit_field, list->getInit(0));
        leaves_zeros = true;
        return;
      }
    }
    if (type->is_array() && llvm::isa<clang::StringLiteral>(inner)) leaves_zeros = true;
    leaves.push_back({at, type, bit_field, path, inner});
  }

  void walk_array(TYPE* type, unsigned long at, const clang::InitListExpr* list) {
    if (list->isStringLiteralInit()) return walk(type, at, nullptr, list->getInit(0));
    const TYPE* array = type->underlying_type();
    const unsigned long count = array->array_parts()->count;
    TYPE* elem = array->elem_type();
    if (list->getNumInits() > count)
      low.refuse(list->getExprLoc(), "excess elements in the initialiser");
    if (list->getNumInits() < count) leaves_zeros = true;
    if (const clang::Expr* filler = list->getArrayFiller();
        filler && list->getNumInits() < count && !llvm::isa<clang::ImplicitValueInitExpr>(filler) &&
        !llvm::isa<clang::InitListExpr>(filler))
      low.refuse(list->getExprLoc(), "initialiser of this kind is not supported");
    for (unsigned k = 0; k < list->getNumInits(); k++) {
      path.push_back({nullptr, k});
      walk(elem, at + k * elem->size, nullptr, list->getInit(k));
      path.pop_back();
    }
  }

  void walk_member(unsigned long at, const clang::FieldDecl* field, const clang::Expr* e) {
    fkMDATA* m = low.member(field);
    path.push_back({m, 0});
    walk(m->type, at + static_cast<unsigned long>(m->bit_offset), m->is_bitfield() ? m : nullptr,
         e);
    path.pop_back();
  }

  // A flexible array member has as many elements as its initialiser.
  void walk_flexible(unsigned long at, const clang::FieldDecl* field, const clang::Expr* e) {
    if (!e || llvm::isa<clang::ImplicitValueInitExpr>(e)) return;
    if (!is_static) low.refuse(e->getExprLoc(), "initialiser of a flexible array member");
    fkMDATA* m = low.member(field);
    const clang::Expr* inner = plain(e);
    if (auto* list = llvm::dyn_cast<clang::InitListExpr>(inner);
        list && list->isStringLiteralInit())
      inner = plain(list->getInit(0));
    unsigned long count = 0;
    if (auto* list = llvm::dyn_cast<clang::InitListExpr>(inner))
      count = list->getNumInits();
    else if (auto* text = llvm::dyn_cast<clang::StringLiteral>(inner))
      count = text->getLength() + 1;
    else
      low.refuse(e->getExprLoc(), "initialiser of an array is not a constant");
    if (!count) return;
    TYPE* type = tp->mk_array(m->type->elem_type(), count);
    const unsigned long from = at + static_cast<unsigned long>(m->bit_offset);
    flexible_end = from + type->size;
    walk(type, from, nullptr, inner);
  }

  void walk_record(unsigned long at, const clang::InitListExpr* list) {
    const clang::RecordDecl* record =
        list->getType()->castAs<clang::RecordType>()->getDecl()->getDefinition();
    if (record->isUnion()) {
      leaves_zeros = true; // the first member may be narrower than the others
      if (const clang::FieldDecl* field = list->getInitializedFieldInUnion();
          field && list->getNumInits())
        walk_member(at, field, list->getInit(0));
      return;
    }
    unsigned k = 0;
    for (const clang::FieldDecl* field : record->fields()) {
      if (field->isUnnamedBitfield()) continue;
      if (k >= list->getNumInits()) {
        leaves_zeros = true;
        return;
      }
      if (field->getType()->isIncompleteArrayType()) {
        walk_flexible(at, field, list->getInit(k++));
        continue;
      }
      walk_member(at, field, list->getInit(k++));
    }
  }

  void walk_vector(TYPE* type, unsigned long at, const clang::InitListExpr* list) {
    TYPE* lane = value_type(type)->elem_type();
    if (list->getNumInits() > value_type(type)->array_parts()->count)
      low.refuse(list->getExprLoc(), "excess elements in the initialiser");
    for (unsigned k = 0; k < list->getNumInits(); k++)
      walk(lane, at + k * lane->size, nullptr, list->getInit(k));
  }
};

// Positions that the parser computed from its own sizes must be the target's.
void LOWERING::check_designators(const clang::InitListExpr* list) {
  const clang::InitListExpr* written = list->isSemanticForm() ? list->getSyntacticForm() : list;
  if (!written) return;
  for (const clang::Expr* init : written->inits()) {
    auto* designated = llvm::dyn_cast_or_null<clang::DesignatedInitExpr>(init);
    if (!designated) continue;
    for (const clang::DesignatedInitExpr::Designator& d : designated->designators()) {
      if (d.isFieldDesignator()) continue;
      std::vector<const clang::Expr*> bounds;
      if (d.isArrayRangeDesignator()) {
        // Each element of the range evaluates the value again.
        if (designated->getInit()->HasSideEffects(ctx))
          refuse(designated->getExprLoc(), "value with side effects for a range of elements");
        bounds = {designated->getArrayRangeStart(d), designated->getArrayRangeEnd(d)};
      } else {
        bounds = {designated->getArrayIndex(d)};
      }
      for (const clang::Expr* index : bounds)
        if (constant_of(index) != INT65(index->EvaluateKnownConstInt(ctx).getExtValue()))
          refuse(index->getExprLoc(), "designator depends on the width of 'char'");
    }
  }
}

// ---------------------------------------------------------------------------------------------

void LOWERING::static_initialiser(SYMTAB* sym, const clang::Expr* init) {
  INIT_WALK walk(*this, true);
  walk.walk(sym->otype, 0, init);
  CONTENTS contents;
  for (const LEAF& leaf : walk.leaves) {
    const SourceLocation at = leaf.value->getExprLoc();
    if (leaf.type->is_array()) {
      auto* text = llvm::dyn_cast<clang::StringLiteral>(leaf.value);
      if (!text) refuse(at, "initialiser of an array is not a constant");
      contents.add_string(leaf, text);
      continue;
    }
    NODE* tree = convert(value(leaf.value), leaf.type);
    const std::optional<CONSTANT> c = evaluate(tree);
    if (!c || leaf.type->is_csu() || leaf.type->is_vector())
      refuse(at, "initialiser is not a constant");
    if (!leaf.bit_field)
      contents.add(leaf, constant_tree(*c, leaf.type));
    else if (c->kind == CONSTANT::INTEGER)
      contents.add_bits(leaf, c->integer);
    else
      refuse(at, "initialiser of a bit-field is not a number");
    erase_tree(tree);
  }
  if (walk.flexible_end > sym->size) make_room(sym, walk.flexible_end);
  sym->set_init_list(contents.roots(size_in_units(sym->type)));
  unit.initialised.push_back(sym);
}

// An object with an initialised flexible array member is a structure of the declared one and of
// room behind it; what the source calls by its name is the first.
void LOWERING::make_room(SYMTAB* sym, unsigned long end) {
  TYPE* declared = sym->otype;
  TYPE* whole = tp->mk_struct((std::string(sym->name) + "$flexible").c_str());
  whole->csu_parts()->psn = sym->psn;
  whole->csu_parts()->has_long_form = whole->csu_parts()->complete = true;
  const unsigned long units = (end - declared->size + UNIT_BITS - 1) / UNIT_BITS;
  fkMDATA first, room;
  first.name = "declared";
  first.type = declared;
  first.number = 1;
  first.bit_offset = 0;
  room.name = "room";
  room.type = tp->mk_array(tp->mk_plain_uint(), units);
  room.number = 2;
  room.bit_offset = static_cast<long>(declared->size);
  unit.flexible[sym] = tp->add_member(whole, first);
  tp->add_member(whole, room);
  whole->align = declared->align;
  whole->size =
      (declared->size + units * UNIT_BITS + whole->align - 1) / whole->align * whole->align;
  sym->type = sym->otype = sym->cpp_type = whole;
  sym->size = whole->size;
}

SYMTAB* LOWERING::wide_string(const clang::StringLiteral* e) {
  TYPE* elem =
      value_type(type_of(ctx.getAsArrayType(e->getType())->getElementType(), e->getExprLoc()));
  const std::string key = std::to_string(elem->size) + e->getBytes().str();
  SYMTAB*& sym = wide_strings[key];
  if (sym) return sym;
  TYPE* type = tp->mk_array(elem, e->getLength() + 1);
  sym = static_object("$wide", type, e->getBeginLoc());
  sym->cqual |= CQ_READ_ONLY;
  CONTENTS contents;
  contents.add_string({0, type, nullptr, {}, e}, e);
  sym->set_init_list(contents.roots(size_in_units(type)));
  unit.initialised.push_back(sym);
  return sym;
}

void LOWERING::initialise(SYMTAB* sym, const clang::Expr* init, std::vector<NODE*>& assignments) {
  TYPE* type = sym->type;
  if (!type->is_array() && !type->is_csu()) {
    assignments.push_back(assign(name_node(sym), value(init)));
    return;
  }
  INIT_WALK walk(*this, false);
  walk.walk(type, 0, init);
  const bool copies_constant = walk.leaves_zeros || walk.leaves.size() > MAX_SINGLE_ASSIGNMENTS;
  CONTENTS contents;
  for (const LEAF& leaf : walk.leaves) {
    const SourceLocation at = leaf.value->getExprLoc();
    if (leaf.type->is_array()) {
      auto* text = llvm::dyn_cast<clang::StringLiteral>(leaf.value);
      if (!text) refuse(at, "initialiser of an array is not supported");
      contents.add_string(leaf, text);
      continue;
    }
    NODE* place = place_at(sym, leaf.path);
    NODE* store = assign(place, value(leaf.value));
    const bool is_simple = !leaf.type->is_csu() && !leaf.type->is_vector();
    const std::optional<CONSTANT> c =
        copies_constant && is_simple ? evaluate(store->right) : std::nullopt;
    if (!c || (leaf.bit_field && c->kind != CONSTANT::INTEGER)) {
      assignments.push_back(store);
      continue;
    }
    if (leaf.bit_field)
      contents.add_bits(leaf, c->integer);
    else
      contents.add(leaf, constant_tree(*c, leaf.type));
    erase_tree(store);
  }
  if (!copies_constant) return;
  SYMTAB* image = static_object(std::string("$init$") + fn->symbol->name, type->underlying_type(),
                                init->getBeginLoc());
  image->cqual |= CQ_READ_ONLY;
  image->set_init_list(contents.roots(size_in_units(type)));
  unit.initialised.push_back(image);
  assignments.insert(assignments.begin(), assign(name_node(sym), name_node(image)));
}

NODE* LOWERING::compound_literal(const clang::CompoundLiteralExpr* e) {
  TYPE* type = type_of(e->getTypeSourceInfo());
  if (type->is_array() && !type->is_complete())
    if (const auto* array = ctx.getAsConstantArrayType(e->getType()))
      type = tp->mk_array(type->elem_type(), array->getSize().getZExtValue());
  complete(type, e->getExprLoc());
  if (type->is_vector()) return lower(e->getInitializer());
  if (!fn || e->isFileScope()) {
    SYMTAB* sym = static_object("$literal", type, e->getExprLoc());
    static_initialiser(sym, e->getInitializer());
    return name_node(sym);
  }
  SYMTAB* sym =
      add_local("$literal" + std::to_string(fn->next_temp++), type, SC_AUTO, e->getExprLoc());
  std::vector<NODE*> assignments;
  initialise(sym, e->getInitializer(), assignments);
  NODE* all = nullptr;
  for (NODE* tree : assignments)
    all = mk_COMMAOP(all, tree);
  return object_at(mk_COMMAOP(all, address_of(name_node(sym))));
}

NODE* LOWERING::vector_list(const clang::InitListExpr* list, TYPE* type) {
  TYPE* lane = type->elem_type();
  const unsigned long count = type->array_parts()->count;
  if (list->getNumInits() == 1 && list->getInit(0)->getType()->isVectorType())
    return lower(list->getInit(0));
  NODE* lanes = nullptr;
  for (unsigned long k = 0; k < count; k++) {
    NODE* x =
        k < list->getNumInits() ? value(list->getInit(static_cast<unsigned>(k))) : zero_of(lane);
    if (x->type->is_vector() || list->getNumInits() > count)
      refuse(list->getExprLoc(), "vectors among the elements of a vector are not supported");
    x = convert(x, lane);
    lanes = lanes ? maketree(COMMA, lanes, x, tp->mk_void()) : x;
  }
  return maketree(VPACK, lanes, nullptr, type);
}

} // namespace cc
