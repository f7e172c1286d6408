// The type package: makes, shares, compares and measures the C and C++ types of a compilation.
//
// Types are interned: a maker returns the one TYPE of that shape, so equal types have equal
// pointers (structures, unions, classes and enumerations are distinct by definition, not by shape).
// The package owns every TYPE; delete_type_tree frees them at the end of the run.
//
// Sizes, alignments and offsets are in bits.
#pragma once

#include "support/psn.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

class TYPE;
class TYPE_PKG;
struct INT65;

// A member of a class-like type.
struct fkMDATA {
  const char* name = ""; // interned
  TYPE* type = nullptr;
  TYPE* owner = nullptr; // the class
  unsigned number = 0;   // member number, unique within the class
  int access = 0;
  long bit_offset = 0;          // from the start of the class
  unsigned bit_size = 0;        // width of a bit-field, 0 for a plain member
  unsigned fixed_type_id = 0;   // if not 0, `name` is made of it
  const char* record_name = ""; // interned; what the file calls a member with such an id
  bool flags[3] = {};           // as in the file's record
  PSN* psn = nullptr;
  bool is_bitfield() const { return bit_size != 0; }
};

// The other elements of class-like types, kept as the file gives them.
struct TYPE_BASE_CLASS {
  TYPE* type;
  long offset;
  int access;
  bool is_virtual;
};
struct TYPE_ACCESS_DECL {
  unsigned word;
  int access;
};
struct TYPE_FRIEND_FUNC {
  const char* name;
  TYPE* type;
};
struct TYPE_STATIC_MEMBER {
  const char* name;
  TYPE* type;
  int access;
};
struct TYPE_MEMBER_FUNC {
  const char* name;
  TYPE* type;
  int access;
  long vtable_index;
  bool flags[4];
};
struct TYPE_ENUMERATOR {
  const char* name;
  long value;
  PSN* psn;
}; // value as its 64 bits
struct TYPE_PARAM {
  TYPE* type;
  unsigned flags;
  const char* name;
};

// Kind-specific records ("subparts").
struct TYPEDEF_PARTS {
  const char* name;
  bool hidden, lowered;
  PSN* psn;
};
struct ARRAY_PARTS {
  unsigned long count;
  bool hidden, complete, is_vector, is_bool_vector;
};
struct FUNC_PARTS {
  std::vector<TYPE_PARAM> params;
  bool is_prototyped, is_variadic; // the record's two bools, in this order
  int convention;                  // TYPE::CC_KIND
  bool hidden;
};
struct ENUM_PARTS {
  const char* name;
  std::vector<TYPE_ENUMERATOR> enumerators;
  bool is_cpp;
  PSN* psn;
};
struct CSU_PARTS {
  const char* name;
  bool complete, lowered, has_data, vector_like, is_cpp;
  unsigned long vtable_size;
  bool has_long_form; // the file gave (or the maker made) the long form
  PSN* psn;
  std::vector<fkMDATA*> members; // owned, in order
  std::map<unsigned, fkMDATA*> member_by_number;
  std::vector<TYPE_BASE_CLASS> bases;
  std::vector<TYPE_ACCESS_DECL> access_decls;
  std::vector<TYPE_FRIEND_FUNC> friend_funcs;
  std::vector<TYPE*> friend_classes;
  std::vector<TYPE*> nested_types;
  std::vector<TYPE_STATIC_MEMBER> static_members;
  std::vector<TYPE_MEMBER_FUNC> member_funcs;
  std::vector<TYPE_PARAM> params; // template parameters
};

class TYPE {
public:
  enum KIND : int {
    K_VOID,
    K_INT,
    K_FLOAT,
    K_FIXED,
    K_COMPLEX,
    K_POINTER,
    K_REFERENCE,
    K_QUALIFIED,
    K_TYPEDEF,
    K_ARRAY,
    K_PTM,
    K_FUNC,
    K_ENUM,
    K_CLASS,
    K_STRUCT,
    K_UNION,
    K_UNKNOWN // of the front end's own: no layout, no values; only carried from file to file
  };
  // Slots of the basic integer types; also the file's codes by way of ekind().
  enum IKIND : int {
    I_BOOL,
    I_SCHAR,
    I_UCHAR,
    I_WCHAR,
    I_SHORT,
    I_USHORT,
    I_INT,
    I_UINT,
    I_ALIAS_LONG,
    I_ALIAS_ULONG,
    I_LONG,
    I_ULONG,
    I_LLONG,
    I_ULLONG
  };
  enum FKIND : int { F_FLOAT, F_DOUBLE, F_LDOUBLE };
  enum CC_KIND : int { CC_C };
  enum QUAL : int { Q_CONST = 1, Q_VOLATILE = 2, Q_RESTRICT = 64 };
  // The bits of `flags`: the IKIND or FKIND, then these, a qualifier byte and the fraction of a
  // fixed-point type (signed, 8 bits).
  enum FLAG : unsigned { KIND_MASK = 0xF, SIGNED = 0x10, BOOLEAN = 0x20, STD_SIGNED = 0x40 };
  static constexpr int QUAL_SHIFT = 8, FRACTION_SHIFT = 16;
  using BASED_TYPE_CONTAINER = std::vector<TYPE*>;

  unsigned uid = 0; // 0 until registered
  KIND kind;
  unsigned long size = 0; // bits
  unsigned align = 0;     // bits
  TYPE_PKG* pkg = nullptr;
  bool registered = false;
  TYPE* base;                 // what a derived type sits on; itself for a basic type
  TYPE* normalized = nullptr; // cache, under mk_ptr_lock; use normalized_type()
  unsigned flags = 0;         // IKIND or FKIND in the low bits, see below
  unsigned session_mark = 0;
  void* subparts =
      nullptr;           // by kind: TYPEDEF_PARTS, ARRAY_PARTS, FUNC_PARTS, ENUM_PARTS, CSU_PARTS
  const char* name = ""; // interned
  std::map<std::string, BASED_TYPE_CONTAINER>* based_types = nullptr;
  TYPE* extra = nullptr;   // class of a pointer to member
  bool frozen = false;     // never handed out as the twin of a new type
  TYPE* pointer = nullptr; // cache of mk_ptr, under mk_ptr_lock

  unsigned file_number = 0; // scratch of the file layer: number in the output, 0 for none
  unsigned file_marks = 0;  // scratch of the file layer

  explicit TYPE(KIND);
  virtual ~TYPE();
  static void* operator new(size_t size);
  static void operator delete(void* p);

  // Kind tests look through typedefs and qualifiers.
  KIND base_kind() const { return underlying_type()->kind; }
  bool is_void() const { return base_kind() == K_VOID; }
  bool is_unknown() const { return base_kind() == K_UNKNOWN; }
  bool is_int() const { return base_kind() == K_INT; }
  bool is_enum() const { return base_kind() == K_ENUM; }
  bool is_int_or_enum() const { return is_int() || is_enum(); }
  bool is_float() const { return base_kind() == K_FLOAT; }
  bool is_complex() const { return base_kind() == K_COMPLEX; }
  bool is_pointer() const { return base_kind() == K_POINTER || base_kind() == K_REFERENCE; }
  bool is_array() const { return base_kind() == K_ARRAY && !is_vector(); } // a true array
  bool is_vector() const;
  bool is_func() const { return base_kind() == K_FUNC; }
  bool is_csu() const { return unsigned(base_kind()) - K_CLASS < 3; } // class, struct or union
  bool is_union() const { return base_kind() == K_UNION; }
  bool is_scalar() const {
    return is_int_or_enum() || is_float() || is_pointer() || base_kind() == K_FIXED;
  }
  bool is_bool() const;   // the boolean integer
  bool is_signed() const; // integers (through enumerations) and floats; false for pointers
  bool is_const() const { return qual_kind(true) & Q_CONST; }
  bool is_volatile() const { return qual_kind(true) & Q_VOLATILE; }

  // The type below typedefs and qualifiers; never null.
  TYPE* underlying_type();
  const TYPE* underlying_type() const { return const_cast<TYPE*>(this)->underlying_type(); }
  // What a pointer, reference, array, vector, complex points to or is made of. Dies on other kinds.
  TYPE* elem_type() const;
  TYPE* return_type() const; // of a function type
  // Qualifier bits of this node, or with look_through of all layers of typedef and qualifier.
  int qual_kind(bool look_through) const;
  // The type with typedef layers off and one merged layer of qualifiers at most.
  TYPE* type_qualified();
  // The type by which two types are compared for sameness of representation: no typedefs or
  // qualifiers, and one representative for integer types of one width and signedness.
  TYPE* normalized_type();
  TYPE* enum_underlying() const;      // integer type of an enumeration
  int rank() const;                   // conversion rank of an integer kind; dies on other kinds
  TYPE::IKIND ikind() const;          // of this integer node
  TYPE::FKIND fkind() const;          // of this floating node
  int fraction() const;               // fraction bits of this fixed-point node
  int ekind() const;                  // code of a basic kind for the file's table
  unsigned long storage_size() const; // bits, rounded up to whole units
  bool is_complete() const;

  TYPEDEF_PARTS* typedef_parts() const;
  ARRAY_PARTS* array_parts() const; // typedefs and qualifiers looked through, as in all of these
  FUNC_PARTS* func_parts() const;
  ENUM_PARTS* enum_parts() const;
  CSU_PARTS* csu_parts() const;
  // Kind-specific record of this very node; dies with "Bad kind:  TYPE::getr()" on a mismatch.
  void* getr(int kind) const;

  std::string str() const; // C-like spelling, for messages
};

class TYPE_PKG {
public:
  static int tp_count;
  static TYPE* root_type;
  static bool seen_enum_type, seen_small_enums, seen_bitfield, flat_memory_model, byte_mode,
      large_code_model;
  static int cpu_version;
  static int abi; // 1 or 2, as the --abi option's items
  static int wchar_t_size_in_bits;

  TYPE* basic[19] = {}; // slots by TYPE::IKIND, then float, double, long double, void, void*

  // Makes a package, counts it in tp_count, and makes it `tp` if there is none. Deleting the
  // package deletes all its types.
  static TYPE_PKG* init_type_pkg();
  ~TYPE_PKG();
  void update_basic_types();
  void normalize_basic_types();

  TYPE* mk_void() { return basic[17]; }
  TYPE* mk_unknown(); // the one type of unknown kind
  TYPE* mk_int(TYPE::IKIND k, bool boolean = false);
  TYPE* mk_int(TYPE::IKIND k, bool is_signed, unsigned long size, unsigned align, bool is_boolean,
               bool std_signed);
  TYPE* mk_fltpt(TYPE::FKIND k);
  TYPE* mk_fltpt(TYPE::FKIND k, unsigned long size, unsigned align);
  TYPE* mk_fxtpt(TYPE* under, int fraction);
  TYPE* mk_fxtpt(TYPE* under, int fraction, unsigned long size, unsigned align);
  TYPE* mk_complex(TYPE* part);
  TYPE* mk_complex(TYPE* part, unsigned long size, unsigned align);
  TYPE* mk_ptr(TYPE* to);
  TYPE* mk_ptr(TYPE* to, unsigned long size, unsigned align);
  TYPE* mk_ref(TYPE* to);
  TYPE* mk_ref(TYPE* to, unsigned long size, unsigned align);
  TYPE* mk_qual(TYPE* t, unsigned char qual);
  TYPE* mk_qual(TYPE* t, unsigned char qual, unsigned long size, unsigned align);
  TYPE* mk_ptm(TYPE* to, TYPE* cls, unsigned long size, unsigned align);
  TYPE* mk_array(TYPE* elem, unsigned long count); // complete, natural size
  TYPE* mk_array(TYPE* elem, unsigned long count, unsigned long size, unsigned align, bool hidden,
                 bool complete);
  TYPE* mk_vector(TYPE* elem, bool hidden, unsigned long count, unsigned long size, unsigned align);
  TYPE* mk_bool_vector(int num_lanes);
  TYPE* mk_vpred();
  TYPE* mk_struct_vector(unsigned long size, TYPE* elem);
  TYPE* mk_func(TYPE* ret, bool prototyped, bool variadic, int convention, bool hidden,
                std::vector<TYPE_PARAM> params);
  TYPE* mk_enum(const char* name, TYPE* under, unsigned long size, unsigned align);
  TYPE* mk_csu(TYPE::KIND kind, const char* name); // incomplete; the caller fills csu_parts()
  TYPE* mk_class(const char* name) { return mk_csu(TYPE::K_CLASS, name); }
  TYPE* mk_struct(const char* name) { return mk_csu(TYPE::K_STRUCT, name); }
  TYPE* mk_union(const char* name) { return mk_csu(TYPE::K_UNION, name); }
  TYPE* mk_typedef(const char* name, bool hidden, TYPE* to, unsigned long size, unsigned align,
                   bool lowered);
  TYPE* mk_signed(TYPE* t);
  TYPE* mk_unsigned(TYPE* t);
  TYPE* mk_boolean_int(TYPE* t);
  TYPE* mk_ptm_int(TYPE* t);
  fkMDATA* add_member(TYPE* csu, const fkMDATA& member); // a copy, owned by the class
  TYPE* mk_char() { return basic[TYPE::I_SCHAR]; }
  TYPE* mk_plain_int() { return basic[TYPE::I_INT]; }
  TYPE* mk_plain_uint() { return basic[TYPE::I_UINT]; }
  TYPE* mk_long() { return basic[TYPE::I_LONG]; }
  TYPE* mk_void_ptr() { return basic[18]; }
  TYPE* mk_ptrdiff() { return basic[TYPE::I_LONG]; } // type of a pointer difference

  // The type without those qualifier bits; typedef layers that hide one go with it.
  TYPE* remove_known_qual(TYPE* t, unsigned char qual);
  // An array of as many of the other elements, or a vector of them.
  TYPE* replace_array_elem(TYPE* array, TYPE* elem);
  // C's rules. Types that they don't cover come back without typedefs and qualifiers; the second
  // dies on operands that are not arithmetic.
  TYPE* c_integral_promotions(TYPE* t);
  TYPE* c_usual_arith_conv(TYPE* a, TYPE* b);

  // Gives back the twin of `candidate` (which is then deleted), or the candidate, from now on owned
  // by the package and listed under `base`, which for a type without a base is the package's void.
  TYPE* register_type(TYPE* candidate, TYPE* base);
  void assign_uid(TYPE& t);
  // Deletes `t` and, if recursive, what is based on it; dies if something is and it isn't. `unlink`
  // takes it out of its base's list, which is not needed when the base goes too.
  void delete_type_tree(TYPE* t, bool recursive, bool unlink);
  // Every type, bases before what is derived from them, in a fixed order.
  void walk_types(void (*visit)(TYPE*, void*), void* arg);
  void dump_all(); // to standard output
  void print_stats();

private:
  unsigned next_uid = 1;
  unsigned session = 0; // stamp of the package
  std::atomic<unsigned> fake_names = 0;
  TYPE* vpred = nullptr;
  TYPE* unknown = nullptr;
  std::map<std::pair<unsigned long, TYPE*>, TYPE*> struct_vectors;

  TYPE_PKG() = default;
  TYPE* new_type(TYPE::KIND kind, TYPE* base, unsigned long size, unsigned align);
  TYPE* make_array(TYPE* elem, const ARRAY_PARTS& parts, unsigned long size, unsigned align);
  TYPE* parent_of(TYPE* t) const;
  void unlink_type(TYPE* t);
  void set_basic_layout(TYPE* t, unsigned long size, unsigned align);
  TYPE* int_representative(unsigned long size, bool is_signed) const;
  TYPE* change_sign(TYPE* t, bool to_signed, const char* complaint);
  friend class TYPE;
};

// The one package of the run.
extern TYPE_PKG* tp;

// Structural identity, names included.
bool exact_types(const TYPE* a, const TYPE* b);
// Same type after typedefs and qualifiers; relaxed also lets enumerations match their integer.
bool compatible_types(const TYPE* a, const TYPE* b, bool relaxed = false);

// Zeroed memory, counted; dies when there is none.
void* tp_alloc(size_t bytes);
void tp_free(void* p, size_t bytes);
size_t tp_bytes_allocated();
// "TP>> internal error: %s\n", the support message, exit with status 1.
[[noreturn]] void tp_die(const char* text);
