// Expressions: places, operators, assignments, conversions.

#include "tools/cc/linkage.h"

#include "OPT5/optables.h"

#include "clang/AST/ExprCXX.h"

using clang::SourceLocation;

namespace cc {

namespace {

int operator_of(clang::BinaryOperatorKind kind) {
  switch (kind) {
  case clang::BO_Mul:
  case clang::BO_MulAssign: return MULT;
  case clang::BO_Div:
  case clang::BO_DivAssign: return DIV;
  case clang::BO_Rem:
  case clang::BO_RemAssign: return MOD;
  case clang::BO_Add:
  case clang::BO_AddAssign: return PLUS;
  case clang::BO_Sub:
  case clang::BO_SubAssign: return MINUS;
  case clang::BO_Shl:
  case clang::BO_ShlAssign: return SLL;
  case clang::BO_Shr:
  case clang::BO_ShrAssign: return SRL;
  case clang::BO_And:
  case clang::BO_AndAssign: return ANDB;
  case clang::BO_Xor:
  case clang::BO_XorAssign: return XORB;
  case clang::BO_Or:
  case clang::BO_OrAssign: return ORB;
  case clang::BO_EQ: return EQ;
  case clang::BO_NE: return NEQ;
  case clang::BO_LT: return LT;
  case clang::BO_LE: return LE;
  case clang::BO_GT: return GT;
  case clang::BO_GE: return GE;
  default: return ILLOP;
  }
}

// A place that can be evaluated again without effect or change of meaning.
bool is_fixed_place(const NODE* place) {
  while (place->op == STDOT || place->op == VFIELD)
    place = place->left;
  return place->op == NAME;
}

} // namespace

TYPE* LOWERING::type_of_expression(const clang::Expr* e) {
  NODE* tree = lower(e);
  TYPE* type = tree->type;
  erase_tree(tree);
  return type;
}

NODE* LOWERING::effect(const clang::Expr* e) {
  e = e->IgnoreParens();
  if (auto* c = llvm::dyn_cast<clang::CastExpr>(e); c && c->getCastKind() == clang::CK_ToVoid)
    return effect(c->getSubExpr());
  return lower(e);
}

NODE* LOWERING::lower(const clang::Expr* e) {
  switch (e->getStmtClass()) {
  case clang::Stmt::ParenExprClass: return lower(llvm::cast<clang::ParenExpr>(e)->getSubExpr());
  case clang::Stmt::ConstantExprClass:
    return lower(llvm::cast<clang::ConstantExpr>(e)->getSubExpr());
  case clang::Stmt::ExprWithCleanupsClass:
    return lower(llvm::cast<clang::ExprWithCleanups>(e)->getSubExpr());
  case clang::Stmt::ImplicitCastExprClass:
    return lower(llvm::cast<clang::ImplicitCastExpr>(e)->getSubExpr());
  case clang::Stmt::CStyleCastExprClass: return explicit_cast(llvm::cast<clang::CStyleCastExpr>(e));
  case clang::Stmt::DeclRefExprClass:
    return declaration_reference(llvm::cast<clang::DeclRefExpr>(e));
  case clang::Stmt::IntegerLiteralClass: {
    auto* literal = llvm::cast<clang::IntegerLiteral>(e);
    return icon(literal->getValue().getZExtValue(), type_of(literal->getType(), e->getExprLoc()));
  }
  case clang::Stmt::CharacterLiteralClass: {
    auto* literal = llvm::cast<clang::CharacterLiteral>(e);
    if (literal->getKind() != clang::CharacterLiteral::Ascii)
      return icon(literal->getValue(), type_of(literal->getType(), e->getExprLoc()));
    return icon(literal->getValue(), int_type());
  }
  case clang::Stmt::FloatingLiteralClass: {
    llvm::APFloat v = llvm::cast<clang::FloatingLiteral>(e)->getValue();
    bool is_inexact = false;
    v.convert(llvm::APFloat::IEEEdouble(), llvm::APFloat::rmNearestTiesToEven, &is_inexact);
    return fcon(v.convertToDouble(), type_of(e->getType(), e->getExprLoc()));
  }
  case clang::Stmt::StringLiteralClass: return string_literal(llvm::cast<clang::StringLiteral>(e));
  case clang::Stmt::PredefinedExprClass:
    return string_literal(llvm::cast<clang::PredefinedExpr>(e)->getFunctionName());
  case clang::Stmt::MemberExprClass: return member_expression(llvm::cast<clang::MemberExpr>(e));
  case clang::Stmt::ArraySubscriptExprClass:
    return subscript(llvm::cast<clang::ArraySubscriptExpr>(e));
  case clang::Stmt::ExtVectorElementExprClass:
    return vector_element(llvm::cast<clang::ExtVectorElementExpr>(e));
  case clang::Stmt::UnaryOperatorClass: return unary(llvm::cast<clang::UnaryOperator>(e));
  case clang::Stmt::CompoundAssignOperatorClass:
    return compound_assignment(llvm::cast<clang::CompoundAssignOperator>(e));
  case clang::Stmt::BinaryOperatorClass: return binary(llvm::cast<clang::BinaryOperator>(e));
  case clang::Stmt::ConditionalOperatorClass:
    return conditional(llvm::cast<clang::ConditionalOperator>(e));
  case clang::Stmt::BinaryConditionalOperatorClass:
    return first_or(llvm::cast<clang::BinaryConditionalOperator>(e));
  case clang::Stmt::UnaryExprOrTypeTraitExprClass:
    return size_or_alignment(llvm::cast<clang::UnaryExprOrTypeTraitExpr>(e));
  case clang::Stmt::OffsetOfExprClass: return offset_of(llvm::cast<clang::OffsetOfExpr>(e));
  case clang::Stmt::CallExprClass: return call(llvm::cast<clang::CallExpr>(e));
  case clang::Stmt::VAArgExprClass: return variable_argument(llvm::cast<clang::VAArgExpr>(e));
  case clang::Stmt::CompoundLiteralExprClass:
    return compound_literal(llvm::cast<clang::CompoundLiteralExpr>(e));
  case clang::Stmt::InitListExprClass: {
    auto* list = llvm::cast<clang::InitListExpr>(e);
    if (list->getType()->isVectorType())
      return vector_list(list, value_type(type_of(list->getType(), e->getExprLoc())));
    if (list->getNumInits() == 1) return lower(list->getInit(0));
    break;
  }
  case clang::Stmt::ImplicitValueInitExprClass:
    return zero_of(value_type(type_of(e->getType(), e->getExprLoc())));
  case clang::Stmt::GenericSelectionExprClass:
    return generic_selection(llvm::cast<clang::GenericSelectionExpr>(e));
  case clang::Stmt::StmtExprClass: return statement_expression(llvm::cast<clang::StmtExpr>(e));
  case clang::Stmt::ChooseExprClass:
    return lower(llvm::cast<clang::ChooseExpr>(e)->getChosenSubExpr());
  case clang::Stmt::AddrLabelExprClass:
    refuse(e->getExprLoc(), "addresses of labels are not supported");
  case clang::Stmt::ImaginaryLiteralClass:
    refuse(e->getExprLoc(), "complex numbers are not supported");
  default: break;
  }
  refuse(e->getExprLoc(),
         std::string("expression '") + e->getStmtClassName() + "' is not supported");
}

// The parser chooses by its own widths: where they differ, the type that the target has decides.
NODE* LOWERING::generic_selection(const clang::GenericSelectionExpr* e) {
  const clang::Expr* control = e->getControllingExpr();
  NODE* tree = value(control);
  TYPE* ours = value_type(tree->type);
  erase_tree(tree);
  if (!ours->is_int() || ours == value_type(type_of(control->getType(), e->getExprLoc())))
    return lower(e->getResultExpr());
  const clang::Expr* otherwise = nullptr;
  for (const auto association : e->associations()) {
    const clang::TypeSourceInfo* type = association.getTypeSourceInfo();
    if (!type)
      otherwise = association.getAssociationExpr();
    else if (type_of(type)->underlying_type() == ours)
      return lower(association.getAssociationExpr());
  }
  if (!otherwise) refuse(e->getExprLoc(), "selection by a type that it doesn't list on the target");
  return lower(otherwise);
}

// ---------------------------------------------------------------------------------------------
// Places

NODE* LOWERING::string_literal(const clang::StringLiteral* e) {
  if (!e->isAscii() && !e->isUTF8()) return name_node(wide_string(e));
  const llvm::StringRef bytes = e->getBytes();
  NODE* text = alloc_node(SCON, tp->mk_ptr(char_type()));
  text->mk_scon(bytes.data(), static_cast<unsigned>(bytes.size()));
  return maketree(UMULT, text, nullptr, tp->mk_array(char_type(), bytes.size() + 1));
}

NODE* LOWERING::declaration_reference(const clang::DeclRefExpr* e) {
  const clang::ValueDecl* decl = e->getDecl();
  if (auto* constant = llvm::dyn_cast<clang::EnumConstantDecl>(decl)) {
    const ENUM_VALUE& v = value_of(constant);
    return icon(v.value, v.type);
  }
  if (!llvm::isa<clang::VarDecl>(decl) && !llvm::isa<clang::FunctionDecl>(decl))
    refuse(e->getExprLoc(), "reference to '" + decl->getName().str() + "' is not supported");
  SYMTAB* sym = symbol_of(decl);
  const auto larger = unit.flexible.find(sym);
  return larger == unit.flexible.end() ? name_node(sym) : member_of(name_node(sym), larger->second);
}

NODE* LOWERING::in_memory(NODE* aggregate, SourceLocation at) {
  if (is_place(aggregate)) return aggregate;
  SYMTAB* temp = temporary(aggregate->type, at);
  NODE* store = assign(name_node(temp), aggregate);
  // The place of the copy, behind the copying.
  NODE* address = mk_COMMAOP(store, address_of(name_node(temp)));
  return object_at(address);
}

NODE* LOWERING::member_expression(const clang::MemberExpr* e) {
  auto* field = llvm::dyn_cast<clang::FieldDecl>(e->getMemberDecl());
  if (!field) refuse(e->getExprLoc(), "this member is not supported");
  fkMDATA* m = member(field);
  if (e->isArrow()) return member_at(value(e->getBase()), m);
  NODE* aggregate = lower(e->getBase());
  if (!is_place(aggregate) && m->type->is_array())
    aggregate = in_memory(aggregate, e->getExprLoc());
  return member_of(aggregate, m);
}

NODE* LOWERING::subscript(const clang::ArraySubscriptExpr* e) {
  NODE* base = lower(e->getBase());
  if (base->type->is_vector()) {
    TYPE* lane = qualified(value_type(base->type)->elem_type(), base->type->qual_kind(true));
    NODE* index = promote(value(e->getIdx()));
    if (index->op == ICON) {
      if (index->ival.is_negative() || index->ival >= INT65(base->type->array_parts()->count))
        refuse(e->getExprLoc(), "vector has no such element");
      return maketree(VFIELD, base, index, lane);
    }
    NODE* address = address_of(in_memory(base, e->getExprLoc()));
    return object_at(step(PLUS, maketree(PCONV, address, nullptr, tp->mk_ptr(lane)), index));
  }
  NODE* index = value(e->getIdx());
  return object_at(step(PLUS, decay(base), index));
}

NODE* LOWERING::vector_element(const clang::ExtVectorElementExpr* e) {
  llvm::SmallVector<uint32_t, 16> lanes;
  e->getEncodedElementAccess(lanes);
  NODE* base = e->isArrow() ? object_at(value(e->getBase())) : lower(e->getBase());
  TYPE* vector = value_type(base->type);
  TYPE* lane = vector->elem_type();
  NODE* list = nullptr;
  for (uint32_t k : lanes) {
    NODE* number = icon(k, int_type());
    list = list ? maketree(COMMA, list, number, tp->mk_void()) : number;
  }
  TYPE* type = lane;
  if (lanes.size() > 1)
    type = vector_type(lane, static_cast<unsigned>(lanes.size()), e->getExprLoc());
  return maketree(VFIELD, base, list, qualified(type, base->type->qual_kind(true)));
}

NODE* LOWERING::steady_place(NODE* place, NODE*& setup, SourceLocation at) {
  if (is_fixed_place(place)) return place;
  if (place->op == STDOT || place->op == VFIELD) {
    place->left = steady_place(place->left, setup, at);
    return place;
  }
  // UMULT or STREF: the pointer goes to a temporary.
  TYPE* type = value_type(place->left->type);
  SYMTAB* temp = temporary(type, at);
  setup = mk_COMMAOP(setup, assign(name_node(temp), place->left));
  place->left = name_node(temp);
  return place;
}

// ---------------------------------------------------------------------------------------------
// Operators

bool LOWERING::is_null_constant(const clang::Expr* e) {
  return e->isNullPointerConstant(ctx, clang::Expr::NPC_ValueDependentIsNull) !=
         clang::Expr::NPCK_NotNull;
}

NODE* LOWERING::unary(const clang::UnaryOperator* e) {
  const clang::Expr* sub = e->getSubExpr();
  const SourceLocation at = e->getExprLoc();
  switch (e->getOpcode()) {
  case clang::UO_Extension: return lower(sub);
  case clang::UO_AddrOf: {
    NODE* place = lower(sub);
    if (place->type->is_func() || is_function_pointer(place->type)) {
      // A function's designator and its address are one.
      if (sub->getType()->isFunctionType()) return decay(place);
    }
    if (!is_place(place)) refuse(at, "address of a value");
    if (place->op == VFIELD) refuse(at, "address of a vector element");
    return address_of(place);
  }
  case clang::UO_Deref: {
    NODE* pointer = value(sub);
    if (pointee(pointer->type)->is_void()) refuse(at, "object of type void");
    return object_at(pointer);
  }
  case clang::UO_Plus: return promote(value(sub));
  case clang::UO_Minus:
  case clang::UO_Not: {
    NODE* x = promote(value(sub));
    if (e->getOpcode() == clang::UO_Minus && x->op == ICON) {
      NODE* negative = maketree(UMINUS, x, nullptr, value_type(x->type));
      NODE* folded = icon(*evaluate_integer(negative), negative->type);
      erase_tree(negative);
      return folded;
    }
    return maketree(e->getOpcode() == clang::UO_Minus ? UMINUS : NOTB, x, nullptr,
                    value_type(x->type));
  }
  case clang::UO_LNot: {
    NODE* x = value(sub);
    if (x->type->is_vector())
      return compare(EQ, x, zero_of(value_type(value_type(x->type)->elem_type())));
    TYPE* type = value_type(x->type);
    return type->is_int() ? mk_EXCLAIM(x) : compare(EQ, x, zero_of(type));
  }
  case clang::UO_PostInc:
  case clang::UO_PostDec:
  case clang::UO_PreInc:
  case clang::UO_PreDec: return increment(e);
  default: refuse(at, "this operator is not supported");
  }
}

NODE* LOWERING::increment(const clang::UnaryOperator* e) {
  const SourceLocation at = e->getExprLoc();
  NODE* place = lower(e->getSubExpr());
  TYPE* type = value_type(place->type);
  if (!type->is_scalar() || !is_place(place))
    refuse(at, "increment of this operand is not supported");
  const bool up = e->isIncrementOp();
  if (type->is_bool()) {
    NODE* setup = nullptr;
    place = steady_place(place, setup, at);
    NODE* again = copy_tree(place, true);
    NODE* moved = apply(up ? PLUS : MINUS, copy_tree(place, true), icon(1, int_type()), at);
    if (e->isPrefix()) {
      erase_tree(again);
      return mk_COMMAOP(setup, assign(place, moved));
    }
    SYMTAB* old = temporary(type, at);
    NODE* keep = assign(name_node(old), again);
    return mk_COMMAOP(mk_COMMAOP(setup, keep), mk_COMMAOP(assign(place, moved), name_node(old)));
  }
  NODE* amount;
  if (type->is_pointer())
    amount = element_units(type, icon(1, ptrdiff_type()));
  else if (type->is_float())
    amount = fcon(1, type);
  else
    amount = icon(1, type->size < int_type()->size ? int_type() : type);
  if (e->isPrefix()) return maketree(up ? PLUSASG : MINUSASG, place, amount, type);
  return maketree(up ? PLUSPLUS : MINMIN, place, amount, type);
}

NODE* LOWERING::additive(int op, NODE* left, NODE* right, SourceLocation at) {
  left = decay(left);
  right = decay(right);
  const bool left_is_pointer = left->type->is_pointer(),
             right_is_pointer = right->type->is_pointer();
  if (!left_is_pointer && !right_is_pointer) return arithmetic(op, left, right);
  for (const NODE* side : {left, right})
    if (side->type->is_pointer() && !pointee(side->type)->is_void())
      complete(pointee(side->type), at);
  if (left_is_pointer && right_is_pointer) return pointer_difference(left, right);
  if (left_is_pointer) return step(op, left, right);
  // i + p: the operands keep their order of evaluation.
  TYPE* type = value_type(right->type);
  return maketree(op, element_units(type, left), right, type);
}

NODE* LOWERING::apply(int op, NODE* left, NODE* right, SourceLocation at) {
  switch (op) {
  case PLUS:
  case MINUS: return additive(op, left, right, at);
  case SLL:
  case SRL: return shift(op, left, right);
  case EQ:
  case NEQ:
  case LT:
  case LE:
  case GT:
  case GE: return compare(op, left, right);
  default: return arithmetic(op, left, right);
  }
}

NODE* LOWERING::logical(int op, const clang::BinaryOperator* e) {
  NODE* left = truth(value(e->getLHS()));
  return maketree(op, left, truth(value(e->getRHS())), int_type());
}

NODE* LOWERING::binary(const clang::BinaryOperator* e) {
  const SourceLocation at = e->getOperatorLoc();
  switch (e->getOpcode()) {
  case clang::BO_Comma: {
    NODE* first = effect(e->getLHS());
    return mk_COMMAOP(first, value(e->getRHS()));
  }
  case clang::BO_Assign: {
    NODE* place = lower(e->getLHS());
    if (!is_place(place)) refuse(at, "assignment to a value");
    if (place->op == VFIELD && place->type->is_vector())
      refuse(at, "assignment to several vector elements is not supported");
    return assign(place, value(e->getRHS()));
  }
  case clang::BO_LAnd:
  case clang::BO_LOr:
    if (e->getType()->isVectorType()) refuse(at, "this operator is not supported for vectors");
    return logical(e->getOpcode() == clang::BO_LAnd ? ANDAND : OROR, e);
  default: break;
  }
  const int op = operator_of(e->getOpcode());
  if (op == ILLOP) refuse(at, "this operator is not supported");
  NODE* left = value(e->getLHS());
  return apply(op, left, value(e->getRHS()), at);
}

// One operator where its rule gives C's value. A bit-field that C promotes to int computes in its
// own type there, which differs where signs matter; a bool and a vector are spelled out too.
NODE* LOWERING::compound_assignment(const clang::CompoundAssignOperator* e) {
  const SourceLocation at = e->getOperatorLoc();
  const int op = operator_of(e->getOpcode());
  NODE* place = lower(e->getLHS());
  if (!is_place(place) || (place->op == VFIELD && place->type->is_vector()))
    refuse(at, "assignment to this operand is not supported");
  TYPE* type = value_type(place->type);
  NODE* operand = value(e->getRHS());
  if (type->is_pointer()) {
    complete(pointee(type)->is_void() ? char_type() : pointee(type), at);
    return maketree(opASG_of_op[op], place, element_units(type, operand), type);
  }
  const bool is_plain =
      !type->is_bool() && !type->is_vector() && place->op != VFIELD && !bit_field_of(place);
  if (is_plain) return maketree(opASG_of_op[op], place, promote(operand), type);
  NODE* setup = nullptr;
  place = steady_place(place, setup, at);
  NODE* result = apply(op, copy_tree(place, true), operand, at);
  return mk_COMMAOP(setup, assign(place, result));
}

// Values of either kind, brought to their common type.
NODE* LOWERING::choice(NODE* condition, NODE* a, NODE* b, bool a_is_null, bool b_is_null) {
  TYPE* type = value_type(a->type);
  if (a->type->is_pointer() || b->type->is_pointer()) {
    // A null constant takes the other's type; else void* wins, and qualifiers add up.
    TYPE *x = value_type(a->type), *y = value_type(b->type);
    if (!x->is_pointer() || a_is_null)
      type = y;
    else if (!y->is_pointer() || b_is_null)
      type = x;
    else {
      TYPE* to = pointee(y)->is_void() ? pointee(y) : pointee(x);
      type = tp->mk_ptr(qualified(to, pointee(x)->qual_kind(true) | pointee(y)->qual_kind(true)));
    }
    a = cast(a, type);
    b = cast(b, type);
  } else if (!type->is_csu()) {
    type = common_type(a, b);
    a = convert(a, type);
    b = convert(b, type);
  }
  return maketree(QUEST, condition, maketree(COLON, a, b, type), type);
}

NODE* LOWERING::conditional(const clang::ConditionalOperator* e) {
  if (e->getCond()->getType()->isVectorType())
    refuse(e->getQuestionLoc(), "this operator is not supported for vectors");
  NODE* condition = truth(value(e->getCond()));
  if (!e->getType()->isVoidType()) {
    NODE* a = value(e->getTrueExpr());
    return choice(condition, a, value(e->getFalseExpr()), is_null_constant(e->getTrueExpr()),
                  is_null_constant(e->getFalseExpr()));
  }
  auto side = [&](const clang::Expr* x) {
    NODE* tree = effect(x);
    return tree ? decay(tree) : alloc_node(NOP, tp->mk_void());
  };
  NODE* a = side(e->getTrueExpr());
  NODE* b = side(e->getFalseExpr());
  return maketree(QUEST, condition, maketree(COLON, a, b, tp->mk_void()), tp->mk_void());
}

NODE* LOWERING::first_or(const clang::BinaryConditionalOperator* e) {
  NODE* first = value(e->getCommon());
  if (bit_field_of(first)) first = promote(first); // the variable that keeps it has all bits
  if (first->type->is_vector())
    refuse(e->getQuestionLoc(), "this operator is not supported for vectors");
  SYMTAB* kept = temporary(first->type, e->getExprLoc());
  NODE* keep = assign(name_node(kept), first);
  NODE* chosen = choice(truth(name_node(kept)), name_node(kept), value(e->getFalseExpr()), false,
                        is_null_constant(e->getFalseExpr()));
  return mk_COMMAOP(keep, chosen);
}

NODE* LOWERING::explicit_cast(const clang::CStyleCastExpr* e) {
  const SourceLocation at = e->getExprLoc();
  TYPE* to = type_of(e->getTypeInfoAsWritten());
  if (to->is_void()) {
    NODE* tree = effect(e->getSubExpr());
    return tree;
  }
  to = value_type(to);
  NODE* x = value(e->getSubExpr());
  if (to->is_csu()) refuse(at, "cast to a structure or union is not supported");
  if (to->is_vector()) {
    TYPE* from = value_type(x->type);
    if (!from->is_vector()) return maketree(VPACKM, convert(x, to->elem_type()), nullptr, to);
    if (from == to) return x;
    if (from->size != to->size) refuse(at, "cast between vectors of different sizes");
    return maketree(VRCONV, x, nullptr, to);
  }
  if (x->type->is_vector()) {
    if (x->type->size != to->size) refuse(at, "cast between types of different sizes");
    return maketree(VRCONV, x, nullptr, to);
  }
  if (to->is_pointer() && x->type->is_float()) refuse(at, "cast of a floating value to a pointer");
  return cast(x, to);
}

// ---------------------------------------------------------------------------------------------
// Sizes

NODE* LOWERING::size_or_alignment(const clang::UnaryExprOrTypeTraitExpr* e) {
  const SourceLocation at = e->getOperatorLoc();
  TYPE* type = e->isArgumentType() ? type_of(e->getArgumentTypeInfo())
                                   : type_of_expression(e->getArgumentExpr());
  switch (e->getKind()) {
  case clang::UETT_SizeOf:
    if (type->is_void() || type->is_func()) return icon(1, size_type());
    return icon(size_in_units(complete(type, at)), size_type());
  case clang::UETT_AlignOf:
  case clang::UETT_PreferredAlignOf: {
    while (type->is_array())
      type = type->underlying_type()->elem_type();
    return icon(complete(type, at)->align / UNIT_BITS, size_type());
  }
  default: refuse(at, "this operator is not supported");
  }
}

NODE* LOWERING::offset_of(const clang::OffsetOfExpr* e) {
  TYPE* type = type_of(e->getTypeSourceInfo());
  NODE* offset = icon(0, size_type());
  for (unsigned k = 0; k < e->getNumComponents(); k++) {
    const clang::OffsetOfNode& node = e->getComponent(k);
    if (node.getKind() == clang::OffsetOfNode::Field) {
      const fkMDATA* m = member(node.getField());
      if (m->is_bitfield()) refuse(e->getExprLoc(), "offset of a bit-field");
      offset =
          arithmetic(PLUS, offset, icon(m->bit_offset / static_cast<long>(UNIT_BITS), size_type()));
      type = m->type;
    } else if (node.getKind() == clang::OffsetOfNode::Array) {
      type = type->underlying_type()->elem_type();
      NODE* index = convert(value(e->getIndexExpr(node.getArrayExprIndex())), size_type());
      offset =
          arithmetic(PLUS, offset, arithmetic(MULT, index, icon(size_in_units(type), size_type())));
    } else {
      refuse(e->getExprLoc(), "this member is not supported");
    }
  }
  if (const auto known = evaluate_integer(offset)) {
    erase_tree(offset);
    return icon(*known, size_type());
  }
  return offset;
}

} // namespace cc
