// Types as written, sizes and layouts of the target, enumerations.

#include "tools/cc/linkage.h"

#include "TYPES/type_values.h"

#include "clang/AST/Attr.h"
#include "clang/AST/RecordLayout.h"

#include <algorithm>

using clang::SourceLocation;

namespace cc {

namespace {

constexpr unsigned long MAX_OBJECT_BITS = 1ul << 36; // of a 32-bit space of 16-bit units

unsigned long round_up(unsigned long n, unsigned long to) {
  return (n + to - 1) / to * to;
}

int quals_of(clang::Qualifiers q) {
  return (q.hasConst() ? TYPE::Q_CONST : 0) | (q.hasVolatile() ? TYPE::Q_VOLATILE : 0) |
         (q.hasRestrict() ? TYPE::Q_RESTRICT : 0);
}

} // namespace

TYPE* LOWERING::basic_type(const clang::BuiltinType* type, SourceLocation at) {
  using BT = clang::BuiltinType;
  switch (type->getKind()) {
  case BT::Void: return tp->mk_void();
  case BT::Bool: return tp->basic[TYPE::I_BOOL];
  case BT::Char_U:
  case BT::Char_S:
  case BT::SChar: return tp->basic[TYPE::I_SCHAR];
  case BT::UChar: return tp->basic[TYPE::I_UCHAR];
  case BT::Short: return tp->basic[TYPE::I_SHORT];
  case BT::UShort: return tp->basic[TYPE::I_USHORT];
  case BT::Int: return tp->basic[TYPE::I_INT];
  case BT::UInt: return tp->basic[TYPE::I_UINT];
  case BT::Long: return tp->basic[TYPE::I_LONG];
  case BT::ULong: return tp->basic[TYPE::I_ULONG];
  case BT::LongLong: return tp->basic[TYPE::I_LLONG];
  case BT::ULongLong: return tp->basic[TYPE::I_ULLONG];
  case BT::Float: return float_type(TYPE::F_FLOAT);
  case BT::Double: return float_type(TYPE::F_DOUBLE);
  case BT::LongDouble: return float_type(TYPE::F_LDOUBLE);
  default:
    refuse(at, "type '" + type->getName(ctx.getPrintingPolicy()).str() + "' is not supported");
  }
}

TYPE* LOWERING::complete(TYPE* type, SourceLocation at) {
  TYPE* t = type->underlying_type();
  if (t->is_csu()) lay_out_now(t);
  if (t->is_func() || t->is_void() || !t->is_complete()) refuse(at, "size of an incomplete type");
  return type;
}

TYPE* LOWERING::array_type(TYPE* elem, unsigned long count, SourceLocation at) {
  complete(elem, at);
  if (elem->size && count > MAX_OBJECT_BITS / elem->size) refuse(at, "array is too large");
  return tp->mk_array(elem, count);
}

TYPE* LOWERING::array_type(TYPE* elem, const clang::Expr* bound, SourceLocation at) {
  NODE* tree = value(bound);
  const std::optional<INT65> known = evaluate_integer(tree);
  erase_tree(tree);
  if (!known) refuse(at, "arrays of variable length are not supported");
  const INT65 count = *known;
  if (count.is_negative()) refuse(at, "array of negative size");
  return array_type(elem, count.low, at);
}

TYPE* LOWERING::vector_type(TYPE* elem, unsigned count, SourceLocation at) {
  elem = value_type(elem);
  if (elem->is_bool() || count < 2) refuse(at, "vectors of this type are not supported");
  const unsigned long size = elem->size * count;
  return tp->mk_vector(elem, false, count, size, size >= 32 ? 32 : 16);
}

TYPE* LOWERING::type_of(clang::TypeLoc loc) {
  const SourceLocation at = loc.getBeginLoc();
  switch (loc.getTypeLocClass()) {
  case clang::TypeLoc::Qualified: {
    auto inner = loc.castAs<clang::QualifiedTypeLoc>();
    return qualified(type_of(inner.getUnqualifiedLoc()),
                     quals_of(loc.getType().getLocalQualifiers()));
  }
  case clang::TypeLoc::Pointer:
    return tp->mk_ptr(type_of(loc.castAs<clang::PointerTypeLoc>().getPointeeLoc()));
  case clang::TypeLoc::ConstantArray:
  case clang::TypeLoc::IncompleteArray:
  case clang::TypeLoc::VariableArray: {
    auto array = loc.castAs<clang::ArrayTypeLoc>();
    TYPE* elem = type_of(array.getElementLoc());
    if (loc.getTypeLocClass() == clang::TypeLoc::VariableArray)
      refuse(at, "arrays of variable length are not supported");
    if (const clang::Expr* bound = array.getSizeExpr()) return array_type(elem, bound, at);
    complete(elem, at);
    return tp->mk_array(elem, 0, 0, elem->align, false, false);
  }
  case clang::TypeLoc::FunctionProto:
  case clang::TypeLoc::FunctionNoProto: return function_type(loc.castAs<clang::FunctionTypeLoc>());
  case clang::TypeLoc::Paren: return type_of(loc.castAs<clang::ParenTypeLoc>().getInnerLoc());
  case clang::TypeLoc::Elaborated:
    return type_of(loc.castAs<clang::ElaboratedTypeLoc>().getNamedTypeLoc());
  case clang::TypeLoc::Attributed:
    return type_of(loc.castAs<clang::AttributedTypeLoc>().getModifiedLoc());
  case clang::TypeLoc::MacroQualified:
    return type_of(loc.castAs<clang::MacroQualifiedTypeLoc>().getInnerLoc());
  case clang::TypeLoc::Decayed:
  case clang::TypeLoc::Adjusted:
    return type_of(loc.castAs<clang::AdjustedTypeLoc>().getOriginalLoc());
  case clang::TypeLoc::Typedef:
    return type_of_typedef(loc.castAs<clang::TypedefTypeLoc>().getTypedefNameDecl());
  case clang::TypeLoc::TypeOf:
    return type_of(loc.castAs<clang::TypeOfTypeLoc>().getUnderlyingTInfo());
  case clang::TypeLoc::TypeOfExpr:
    return type_of_expression(loc.castAs<clang::TypeOfExprTypeLoc>().getUnderlyingExpr());
  case clang::TypeLoc::Vector:
  case clang::TypeLoc::ExtVector: {
    auto vector = loc.castAs<clang::VectorTypeLoc>();
    return vector_type(type_of(vector.getElementLoc()), vector.getTypePtr()->getNumElements(), at);
  }
  default: return type_of(loc.getType(), at);
  }
}

TYPE* LOWERING::type_of(clang::QualType type, SourceLocation at) {
  if (const int quals = quals_of(type.getLocalQualifiers()))
    return qualified(type_of(type.getLocalUnqualifiedType(), at), quals);
  const clang::Type* t = type.getTypePtr();
  if (auto* typedef_type = llvm::dyn_cast<clang::TypedefType>(t))
    return type_of_typedef(typedef_type->getDecl());
  if (auto* basic = llvm::dyn_cast<clang::BuiltinType>(t)) return basic_type(basic, at);
  if (auto* pointer = llvm::dyn_cast<clang::PointerType>(t))
    return tp->mk_ptr(type_of(pointer->getPointeeType(), at));
  if (auto* record = llvm::dyn_cast<clang::RecordType>(t)) return record_type(record->getDecl());
  if (auto* enumeration = llvm::dyn_cast<clang::EnumType>(t))
    return enum_type(enumeration->getDecl());
  if (auto* array = llvm::dyn_cast<clang::ConstantArrayType>(t))
    return array_type(type_of(array->getElementType(), at), array->getSize().getZExtValue(), at);
  if (auto* vector = llvm::dyn_cast<clang::VectorType>(t))
    return vector_type(type_of(vector->getElementType(), at), vector->getNumElements(), at);
  if (auto* proto = llvm::dyn_cast<clang::FunctionProtoType>(t)) {
    std::vector<TYPE_PARAM> params;
    for (clang::QualType param : proto->param_types())
      params.push_back({value_type(type_of(param, at)), 0, nullptr});
    return tp->mk_func(type_of(proto->getReturnType(), at), true, proto->isVariadic(), TYPE::CC_C,
                       false, params);
  }
  if (auto* bare = llvm::dyn_cast<clang::FunctionNoProtoType>(t))
    return tp->mk_func(type_of(bare->getReturnType(), at), false, false, TYPE::CC_C, false, {});
  const clang::QualType simpler = type.getSingleStepDesugaredType(ctx);
  if (simpler.getTypePtr() != t) return type_of(simpler, at);
  refuse(at, "type '" + type.getAsString() + "' is not supported");
}

TYPE* LOWERING::type_of_typedef(const clang::TypedefNameDecl* decl) {
  auto known = declared_types.find(decl);
  if (known != declared_types.end()) return known->second;
  TYPE* type = decl->isImplicit() || !decl->getTypeSourceInfo()
                   ? type_of(decl->getUnderlyingType(), decl->getLocation())
                   : type_of(decl->getTypeSourceInfo());
  if (decl->hasAttr<clang::AlignedAttr>())
    refuse(decl->getLocation(), "alignment of a type name is not supported");
  // The attribute of a vector stands behind the declarator, in the type but not in its written
  // form.
  if (auto* vector = decl->getUnderlyingType()->getAs<clang::VectorType>();
      vector && !type->is_vector())
    type = vector_type(type, vector->getNumElements(), decl->getLocation());
  return declared_types[decl] = type;
}

TYPE* LOWERING::type_of_decl(const clang::DeclaratorDecl* decl) {
  if (auto* param = llvm::dyn_cast<clang::ParmVarDecl>(decl)) return parameter_type(param);
  const clang::TypeSourceInfo* info = decl->getTypeSourceInfo();
  if (decl->getType()->getContainedAutoType()) // the initialiser's, on the target
    if (auto* variable = llvm::dyn_cast<clang::VarDecl>(decl); variable && variable->getInit()) {
      NODE* tree = value(variable->getInit());
      TYPE* deduced = value_type(tree->type);
      erase_tree(tree);
      return deduced;
    }
  TYPE* type = info ? type_of(info) : type_of(decl->getType(), decl->getLocation());
  if (type->is_array() && !type->is_complete())
    if (const auto* array = ctx.getAsConstantArrayType(decl->getType()))
      type = tp->mk_array(type->elem_type(), array->getSize().getZExtValue());
  return type;
}

TYPE* LOWERING::parameter_type(const clang::ParmVarDecl* decl) {
  const clang::TypeSourceInfo* info = decl->getTypeSourceInfo();
  TYPE* type = info ? type_of(info) : type_of(decl->getType(), decl->getLocation());
  if (type->is_array())
    return qualified(tp->mk_ptr(type->underlying_type()->elem_type()),
                     quals_of(decl->getType().getLocalQualifiers()));
  return type->is_func() ? tp->mk_ptr(type) : type;
}

TYPE* LOWERING::function_type(clang::FunctionTypeLoc loc) {
  TYPE* result = type_of(loc.getReturnLoc());
  if (result->is_array() || result->is_func())
    refuse(loc.getBeginLoc(), "function result of this type");
  auto* proto = llvm::dyn_cast<clang::FunctionProtoType>(loc.getTypePtr());
  std::vector<TYPE_PARAM> params;
  for (unsigned k = 0; k < loc.getNumParams(); k++)
    params.push_back({value_type(parameter_type(loc.getParam(k))), 0, nullptr});
  return tp->mk_func(value_type(result), proto != nullptr, proto && proto->isVariadic(), TYPE::CC_C,
                     false, params);
}

// ---------------------------------------------------------------------------------------------
// Structures and unions

// `aligned` counts units. Without a number it asks for what the stack and the heap give.
unsigned LOWERING::wanted_alignment(const clang::Decl* decl) {
  constexpr unsigned long MAX_UNITS = 4096;
  unsigned bits = 0;
  for (const auto* attr : decl->specific_attrs<clang::AlignedAttr>()) {
    unsigned wanted = 32;
    if (!attr->isAlignmentExpr()) {
      wanted = type_of(attr->getAlignmentType())->align;
    } else if (const clang::Expr* e = attr->getAlignmentExpr()) {
      const INT65 units = constant_of(e);
      if (units.is_negative() || units > INT65(MAX_UNITS) || (units.low & (units.low - 1)))
        refuse(attr->getLocation(), "alignment to other than a power of two up to 4096 units");
      wanted = static_cast<unsigned>(units.low) * UNIT_BITS;
    }
    bits = std::max(bits, wanted);
  }
  return bits;
}

// What two definitions of one structure have in common.
std::string LOWERING::layout_key(const clang::RecordDecl* decl) {
  std::string key = decl->getKindName().str() + " " + decl->getName().str();
  if (decl->getName().empty()) key += place_text(decl->getLocation());
  auto attributes = [&](const clang::Decl* d) {
    if (d->hasAttr<clang::PackedAttr>()) key += " packed";
    if (const unsigned bits = wanted_alignment(d)) key += " aligned " + std::to_string(bits);
    if (const auto* most = d->getAttr<clang::MaxFieldAlignmentAttr>())
      key += " pack " + std::to_string(most->getAlignment());
  };
  attributes(decl);
  for (const clang::FieldDecl* field : decl->fields()) {
    const clang::QualType type = field->getType().getCanonicalType();
    key += "; " + type.getAsString() + " " + field->getName().str();
    if (field->isBitField()) key += " : " + std::to_string(constant_of(field->getBitWidth()).low);
    attributes(field);
    if (const clang::RecordDecl* part = type->getBaseElementTypeUnsafe()->getAsRecordDecl())
      if (part->getDefinition()) key += " {" + layout_key(part->getDefinition()) + "}";
  }
  return key;
}

TYPE* LOWERING::record_type(const clang::RecordDecl* decl) {
  decl = llvm::cast<clang::RecordDecl>(decl->getCanonicalDecl());
  TYPE*& known = declared_types[decl];
  const clang::RecordDecl* definition = decl->getDefinition();
  std::string key;
  if (!known && definition && unit.is_of_several() && definition->isCompleteDefinition()) {
    key = layout_key(definition);
    const auto alike = unit.layouts.find(key);
    if (alike != unit.layouts.end() && alike->second.type->is_complete()) {
      size_t k = 0;
      for (const clang::FieldDecl* field : definition->fields())
        if (fkMDATA* m = alike->second.members[k++]) members[field] = m;
      return declared_types[decl] = alike->second.type;
    }
  }
  if (!known) {
    std::string name = decl->getName().str();
    if (name.empty() && decl->getTypedefNameForAnonDecl())
      name = decl->getTypedefNameForAnonDecl()->getName().str();
    if (name.empty()) name = "$anon" + std::to_string(declared_types.size());
    known = decl->isUnion() ? tp->mk_union(name.c_str()) : tp->mk_struct(name.c_str());
    known->csu_parts()->psn = psn_of(decl->getLocation());
    known->align = UNIT_BITS;
    if (!key.empty()) layout_keys[known] = key;
  }
  TYPE* type = known;
  if (definition && definition->isCompleteDefinition() && !type->csu_parts()->has_long_form) {
    type->csu_parts()->has_long_form = true; // before the members, which may point back here
    later_layouts[type] = definition;
    if (!layouts_in_progress) finish_layouts();
  }
  return type;
}

// A record met in another one's members is laid out when its size is asked for, or else when the
// other one is done: it may hold that one by value.
void LOWERING::lay_out_now(TYPE* record) {
  const auto found = later_layouts.find(record);
  if (found == later_layouts.end()) return;
  const clang::RecordDecl* decl = found->second;
  later_layouts.erase(found);
  layouts_in_progress++;
  try {
    lay_out(decl, record);
  } catch (const REFUSED&) {
    layouts_in_progress--;
    throw;
  }
  layouts_in_progress--;
}

void LOWERING::finish_layouts() {
  while (!later_layouts.empty())
    lay_out_now(later_layouts.begin()->first);
}

// Members follow one another, each at its type's alignment. A bit-field goes into the bits that are
// left of an object of its type, or else begins the next one; width 0 ends the object.
void LOWERING::lay_out(const clang::RecordDecl* decl, TYPE* record) {
  unsigned long at = 0, end = 0;
  unsigned align = UNIT_BITS, number = 0;
  unsigned most = decl->hasAttr<clang::PackedAttr>() ? UNIT_BITS : ~0u;
  if (const auto* pack = decl->getAttr<clang::MaxFieldAlignmentAttr>()) // in bits of 8 a unit
    most = std::min(most, std::max(pack->getAlignment() * 2, UNIT_BITS));
  for (const clang::FieldDecl* field : decl->fields()) {
    TYPE* type = type_of_decl(field);
    if (!type->is_array()) complete(type, field->getLocation());
    if (type->is_enum()) type = qualified(value_type(type), type->qual_kind(true));
    if (decl->isUnion()) at = 0;
    fkMDATA data;
    const std::string name = field->getName().str();
    data.name = name.c_str();
    data.type = type;
    data.psn = psn_of(field->getLocation());
    unsigned field_align = std::min(type->align, most);
    if (field->hasAttr<clang::PackedAttr>()) field_align = UNIT_BITS;
    field_align = std::max(field_align, wanted_alignment(field));
    unsigned long width = type->storage_size();
    if (field->isBitField()) {
      width = constant_of(field->getBitWidth()).low;
      if (width > type->size) refuse(field->getLocation(), "bit-field is wider than its type");
      if (width == 0) {
        at = round_up(at, type->size);
        continue;
      }
      if (at / type->size != (at + width - 1) / type->size) at = round_up(at, type->size);
      data.bit_size = static_cast<unsigned>(width);
    } else {
      at = round_up(at, field_align);
    }
    if (!field->isBitField() || !name.empty()) align = std::max(align, field_align);
    if (at > INT32_MAX) refuse(field->getLocation(), "member lies too far behind the first one");
    data.number = ++number;
    data.bit_offset = static_cast<long>(at);
    at += width;
    end = std::max(end, at);
    if (end > MAX_OBJECT_BITS) refuse(field->getLocation(), "structure is too large");
    if (!name.empty() || field->isAnonymousStructOrUnion() || !field->isBitField())
      members[field] = tp->add_member(record, data);
  }
  align = std::max(align, wanted_alignment(decl));
  record->align = align;
  record->size = round_up(end, align);
  record->csu_parts()->complete = true;
  if (const auto key = layout_keys.find(record); key != layout_keys.end()) {
    LINKAGE::LAYOUT& layout = unit.layouts[key->second];
    if (layout.type) return;
    layout.type = record;
    for (const clang::FieldDecl* field : decl->fields()) {
      const auto found = members.find(field);
      layout.members.push_back(found == members.end() ? nullptr : found->second);
    }
  }
}

fkMDATA* LOWERING::member(const clang::FieldDecl* decl) {
  lay_out_now(record_type(decl->getParent()));
  auto found = members.find(decl);
  if (found == members.end()) refuse(decl->getLocation(), "member of an incomplete type");
  return found->second;
}

// ---------------------------------------------------------------------------------------------
// Enumerations

// The type is int if it holds all values, else the narrowest of the wider ones that does.
TYPE* LOWERING::enum_type(const clang::EnumDecl* decl) {
  const clang::EnumDecl* definition = decl->getDefinition();
  if (!definition || !definition->isCompleteDefinition()) {
    // Inside its own braces, or never defined.
    return int_type();
  }
  auto known = declared_types.find(definition);
  if (known != declared_types.end()) return known->second;
  INT65 least = 0, most = 0;
  for (const clang::EnumConstantDecl* constant : definition->enumerators()) {
    least = std::min(least, value_of(constant).value);
    most = std::max(most, value_of(constant).value);
  }
  TYPE* under = nullptr;
  for (TYPE::IKIND k :
       {TYPE::I_INT, TYPE::I_UINT, TYPE::I_LONG, TYPE::I_ULONG, TYPE::I_LLONG, TYPE::I_ULLONG}) {
    TYPE* type = tp->basic[k];
    if (most <= int_type_max(type) && least >= int_type_min(type)) {
      under = type;
      break;
    }
  }
  if (!under)
    refuse(definition->getLocation(), "no integer type holds all values of the enumeration");
  const std::string name = definition->getName().str();
  std::string key = "enum " + (name.empty() ? place_text(definition->getLocation()) : name);
  for (const clang::EnumConstantDecl* constant : definition->enumerators())
    key += "; " + constant->getName().str() + " = " + int65_text(value_of(constant).value);
  LINKAGE::LAYOUT& alike = unit.layouts[key];
  if (alike.type) return declared_types[definition] = alike.type;
  TYPE* type = alike.type = tp->mk_enum(name.c_str(), under, under->size, under->align);
  type->enum_parts()->psn = psn_of(definition->getLocation());
  for (const clang::EnumConstantDecl* constant : definition->enumerators()) {
    const INT65 v = value_of(constant).value;
    type->enum_parts()->enumerators.push_back({intern_text(constant->getName().str().c_str()),
                                               static_cast<long>(v.low),
                                               psn_of(constant->getLocation())});
  }
  return declared_types[definition] = type;
}

const LOWERING::ENUM_VALUE& LOWERING::value_of(const clang::EnumConstantDecl* decl) {
  auto known = enum_values.find(decl);
  if (known != enum_values.end()) return known->second;
  // All, in order: a list may be long.
  ENUM_VALUE last{INT65(-1), int_type()};
  for (const clang::EnumConstantDecl* constant :
       llvm::cast<clang::EnumDecl>(decl->getDeclContext())->enumerators()) {
    auto found = enum_values.find(constant);
    if (found == enum_values.end()) {
      INT65 v = last.value + INT65(1);
      if (const clang::Expr* init = constant->getInitExpr()) v = constant_of(init);
      TYPE* type = v >= int_type_min(int_type()) && v <= int_type_max(int_type())
                       ? int_type()
                       : wide_enough_int_type(v);
      if (!type) refuse(constant->getLocation(), "value of the enumerator is too large");
      found = enum_values.emplace(constant, ENUM_VALUE{v, type}).first;
    }
    last = found->second;
  }
  return enum_values.at(decl);
}

INT65 LOWERING::constant_of(const clang::Expr* e) {
  NODE* tree = value(e);
  const std::optional<INT65> v = evaluate_integer(tree);
  erase_tree(tree);
  if (!v) refuse(e->getExprLoc(), "not an integer constant expression");
  return *v;
}

} // namespace cc
