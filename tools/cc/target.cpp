#include "tools/cc/target.h"

#include "clang/Basic/Builtins.h"
#include "clang/Basic/MacroBuilder.h"
#include "clang/Basic/TargetOptions.h"
#include "llvm/ADT/Triple.h"

#include <memory>

namespace cc {

namespace {

// The base class keeps its options to itself and gives them to targets of its own list only, but
// the parser asks for them here and there. An explicit instantiation may name the member.
std::shared_ptr<clang::TargetOptions>& options_of(clang::TargetInfo& target);
template <std::shared_ptr<clang::TargetOptions> clang::TargetInfo::*MEMBER> struct OPTIONS_ACCESS {
  friend std::shared_ptr<clang::TargetOptions>& options_of(clang::TargetInfo& target) {
    return target.*MEMBER;
  }
};
template struct OPTIONS_ACCESS<&clang::TargetInfo::TargetOpts>;

class ULM200_TARGET : public clang::TargetInfo {
public:
  explicit ULM200_TARGET(bool has_short_double) : TargetInfo(llvm::Triple("ulm200-unknown-elf")) {
    options_of(*this) = std::make_shared<clang::TargetOptions>();
    BigEndian = false;
    TLSSupported = false;
    PointerWidth = PointerAlign = 32;
    IntWidth = IntAlign = 16;
    LongWidth = LongAlign = 32;
    LongLongWidth = 64;
    LongLongAlign = 32;
    SuitableAlign = DefaultAlignForAttributeAligned = 32;
    FloatWidth = FloatAlign = 32;
    FloatFormat = &llvm::APFloat::IEEEsingle();
    DoubleWidth = has_short_double ? 32 : 64;
    DoubleAlign = 32;
    DoubleFormat = has_short_double ? &llvm::APFloat::IEEEsingle() : &llvm::APFloat::IEEEdouble();
    LongDoubleWidth = 64;
    LongDoubleAlign = 32;
    LongDoubleFormat = &llvm::APFloat::IEEEdouble();
    SizeType = UnsignedLong;
    PtrDiffType = IntPtrType = SignedLong;
    IntMaxType = SignedLongLong;
    Int16Type = SignedInt;
    Int64Type = SignedLongLong;
    WCharType = WIntType = UnsignedInt;
    Char16Type = UnsignedInt;
    Char32Type = UnsignedLong;
    SigAtomicType = SignedInt;
    UseBitFieldTypeAlignment = true;
    MaxAtomicPromoteWidth = MaxAtomicInlineWidth = 0;
    resetDataLayout("e-p:32:32-i64:32-f64:32-a:0:16-n16");
  }

  // The widths that the parser believes in don't show in macros.
  void getTargetDefines(const clang::LangOptions&, clang::MacroBuilder& builder) const override {
    for (const char* name :
         {"__CHAR_BIT__",        "__SCHAR_MAX__",        "__CHAR_UNSIGNED__",
          "__INT8_TYPE__",       "__INT8_MAX__",         "__UINT8_TYPE__",
          "__UINT8_MAX__",       "__INT_FAST8_TYPE__",   "__INT_LEAST8_TYPE__",
          "__UINT_FAST8_TYPE__", "__UINT_LEAST8_TYPE__", "__SIZEOF_INT__",
          "__SIZEOF_SHORT__",    "__SIZEOF_LONG__",      "__SIZEOF_LONG_LONG__",
          "__SIZEOF_FLOAT__",    "__SIZEOF_DOUBLE__",    "__SIZEOF_LONG_DOUBLE__",
          "__SIZEOF_POINTER__",  "__SIZEOF_SIZE_T__",    "__SIZEOF_PTRDIFF_T__",
          "__SIZEOF_WCHAR_T__",  "__SIZEOF_WINT_T__",    "__BIGGEST_ALIGNMENT__"})
      builder.undefineMacro(name);
    builder.defineMacro("__CHAR_BIT__", "16");
    builder.defineMacro("__SCHAR_MAX__", "32767");
    builder.defineMacro("__ULM200__");
  }
  llvm::ArrayRef<clang::Builtin::Info> getTargetBuiltins() const override { return {}; }
  bool hasInt128Type() const override { return false; }
  BuiltinVaListKind getBuiltinVaListKind() const override { return CharPtrBuiltinVaList; }
  bool validateAsmConstraint(const char*&, ConstraintInfo&) const override { return false; }
  const char* getClobbers() const override { return ""; }
  llvm::ArrayRef<const char*> getGCCRegNames() const override { return {}; }
  llvm::ArrayRef<GCCRegAlias> getGCCRegAliases() const override { return {}; }
};

} // namespace

clang::TargetInfo* make_target(bool has_short_double) {
  return new ULM200_TARGET(has_short_double);
}

} // namespace cc
