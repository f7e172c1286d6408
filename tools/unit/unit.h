// A whole icode file in memory, record by record, together with the look-ups that tools need.
//
// The model knows the file format and nothing of the optimiser. It holds exactly what a file holds:
// decode_unit followed by encode_unit gives the same bytes for every well-formed file.
//
// Units of measure: type and symbol sizes, alignments, member offsets and bit-field widths count
// bits, as in the records. One addressable unit of the target is 16 bits; TYPE_INFO::units() gives
// sizes in those. "Offsets" in messages are bytes of the file.
//
// Everything is owned by Unit and addressed by index, so that trees of any depth are copied, walked
// and freed without recursion. 0xFFFFFFFF (NONE) stands for "no node", "no function" and so on.
#pragma once

#include "ifile/opcodes.h"
#include "ifile/tags.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace icode {

constexpr uint32_t NONE = 0xFFFFFFFF;
constexpr int OLDEST_VERSION = -86;
constexpr int NEWEST_VERSION = -71;
constexpr int CPU_ID = 600;

constexpr uint8_t CLASS_KIND_CLASS = 13, CLASS_KIND_STRUCT = 14, CLASS_KIND_UNION = 15;
constexpr uint32_t QUAL_CONST = 1, QUAL_VOLATILE = 2, QUAL_RESTRICT = 64;

// Storage classes of symbols.
enum STORAGE : int8_t {
  ST_AUTO = 1,
  ST_GLOBAL = 2,
  ST_STATIC = 3,
  ST_REGISTER = 4,
  ST_EXTERN = 5,
  ST_LABEL = 6,
  ST_PARAM = 9,
  ST_REGPARAM = 17,
  ST_REGCOPY = 22,
  ST_RESULT = 27,
};

// A source position; file 0 is "no position".
struct UNIT_PSN {
  uint32_t file = 0; // 1-based, in Unit::files
  uint32_t line = 0;
  uint32_t column = 0;
  bool operator==(const UNIT_PSN&) const = default;
};

// Records have a field `raw`, except those that another one's covers. It is 0, or the index in
// Unit::raws of the record's bytes as they stood in the file, for a record whose fields alone would
// not be encoded to those bytes (a number written with more groups than it needs, a bool other than
// 0 and 1). Whoever changes a record's fields sets `raw` to 0.

// A node of an expression tree. What the payload fields mean depends on the operator:
//   LABEL a: label number           NAME a: level, b: symbol index     ICON a: the value's 64 bits
//   SCON text: the bytes            FCON, LCON text: the number        SWITCH a: case count
//   FIELD small: kind, a: member number, b: class type                 UCALL a: exception entry
//   CALL a: arguments, b: arguments behind the named parameters        EPVAL a: profile value
//   SKIP a: 16-bit units            VREG a: register (as int64_t)      ICALL family text: name
//   DDNODE a: id, b: locale, small: flags
// An ICON's value is sign-extended from its record where the type is signed (is_signed_type).
struct NODE {
  uint8_t op = NOP;
  uint8_t small = 0;
  uint32_t type = 0;
  uint32_t left = NONE, right = NONE; // indices in Unit::nodes
  uint32_t text = 0;                  // index in Unit::strings
  uint64_t a = 0, b = 0;
};

// A type record: it defines a type, or is an element or a list mark of one. Only the fields of the
// code's form mean anything; fields with several meanings list them by form.
struct TYPE_RECORD {
  uint32_t number = 0; // type that the record defines or extends
  uint8_t code = TC_UNKNOWN;
  uint32_t raw = 0;
  std::string name;
  uint32_t ref = 0;      // target, element, return, underlying, part or member type; 0 for none
  uint32_t ref2 = 0;     // ptm: the class
  uint64_t size = 0;     // bits; ptr: 22 stands for a size and an alignment of 32
  uint64_t align = 0;    // bits
  uint64_t count = 0;    // array: elements; qual: qualifier bits; param: flags; csu long: size of
                         // the table of virtual functions; mdata: member number; adecl: its word
  int64_t offset = 0;    // mdata: bit offset; bclass: offset; mfunc: table index; fixed: fraction
  uint64_t value = 0;    // etor: the value's 64 bits
  uint64_t bit_size = 0; // mdata: width of a bit-field, 0 for a plain member
  uint8_t kind = 0;      // csu: class kind; func: convention; elements: access; fixed: is signed
  int8_t list = 0;       // list marks: TYPE_LIST_KIND
  uint8_t fixed_type_id = 0;                                      // mdata
  bool is_signed = false, is_boolean = false, std_signed = false; // integral
  bool hidden = false, complete = false, lowered = false, is_vector = false;
  bool prototyped = false, variadic = false; // func
  bool has_data = false;                     // csu short: the class has data members
  bool vector_like = false, is_cpp = false;  // csu; is_cpp also of enum
  bool flag1 = false, flag2 = false, flag3 = false,
       flag4 = false; // mdata 3, mfunc 4; param 1;
                      // bclass 1: is virtual; array 1: the spare bool
  uint16_t lists = 0; // csu long: bit i is the i-th of its nine bools; see LONG_FORM_LISTS
  UNIT_PSN psn;
};

// List kinds in the order of the nine bools of a class's long form.
constexpr std::array<int8_t, 9> LONG_FORM_LISTS = {
    TL_BASES,   TL_ACCESS_DECLS,   TL_FRIEND_FUNCS, TL_FRIEND_CLASSES, TL_NESTED_TYPES,
    TL_MEMBERS, TL_STATIC_MEMBERS, TL_MEMBER_FUNCS, TL_PARAMS};

struct PRAGMA_RECORD {
  uint64_t kind = 0;
  std::vector<std::string> args;
};

struct SYMBOL {
  std::string name;
  uint64_t size = 0; // bits; 22 stands for a size and an alignment of 32
  uint64_t value = 0;
  int8_t storage = 0; // STORAGE
  int16_t qual = 0;
  uint32_t type = 0, source_type = 0;
  uint64_t align = 0; // bits
  uint64_t location = 0;
  uint64_t option_set = 0;
  UNIT_PSN psn;
  uint8_t retention = 0;
  std::vector<PRAGMA_RECORD> pragmas;
  uint32_t raw = 0;       // covers the pragmas too
  uint32_t level = 0;     // 0 global, 1 parameter, 2 outermost block, more in inner blocks
  bool in_stream = false; // a global whose record stands in the function stream
};

struct OPTION_SET {
  uint64_t number = 0;
  std::vector<std::string> options;
  uint32_t raw = 0;
};

struct FILE_NAME {
  std::string name;
  uint32_t raw = 0;
};

// An initialiser: roots up to and with the ENDINIT.
struct INIT {
  uint64_t global = 0; // index in Unit::globals, unchecked
  std::vector<uint32_t> roots;
  uint32_t raw = 0;
};

struct LOOP_DEF {
  uint64_t id = 0, parent = 0, min_trips = 0, max_trips = 0, multiple = 0;
  uint16_t flags = 0;
};
struct LOOP_USE {
  uint64_t loop = 0;
  int64_t level = -1, index = 0; // as in NAME; level -1 for no symbol
  uint8_t flag = 0;
};
struct MEM_BANK {
  uint64_t word1 = 0, word2 = 0, word3 = 0, word4 = 0, word5 = 0;
};
struct DEP_EDGE {
  uint64_t from = 0, to = 0, kind = 0;
};
struct DEP_ENTRY {
  uint8_t kind = 0;
  int8_t distance = 0;
};
struct DEP_VECTOR {
  uint64_t id = 0;
  uint8_t kind = 0;
  std::vector<DEP_ENTRY> entries;
};
enum LDSPEC_FORM : uint8_t { LDSPEC_INDUCTION, LDSPEC_RANDOM, LDSPEC_REGION };
struct LOAD_SPEC {
  uint64_t id = 0;
  uint8_t form = LDSPEC_REGION;
  uint64_t first = 0, second = 0, last = 0; // second: random only
  int64_t stride = 0;                       // induction only
  uint32_t type = 0;
  int64_t symbol = -1; // index, -1 for none
  uint64_t label = 0;  // region only
};
struct IR_BEGIN {
  uint64_t word1 = 0, word2 = 0;
  int8_t kind = 0;
  uint64_t word3 = 0;
};

struct CATCH_ENTRY {
  std::string type_name;
  uint64_t number = 0;
  bool flag = false;
};
constexpr uint64_t EHT_CLEANUP = 1, EHT_CATCH = 2;
struct EHT_RECORD {
  uint64_t id = 0, kind = 0, region = 0;
  uint64_t link = 0;                // of a catch: the number of its triples
  std::vector<CATCH_ENTRY> catches; // kind EHT_CATCH
  uint32_t tree = NONE;             // kind EHT_CLEANUP; NONE for no tree
};
using EXCEPTION_TABLE = std::vector<EHT_RECORD>;

// A record of the function stream (or several that belong together). `index` by tag:
//   BEGIN_FUNC, END_FUNC, IR_BEGIN, IR_END  function in Unit::functions
//   SYMBOL   symbol in the function's locals; outside functions in Unit::globals
//   EXPR     root node, NONE for no tree
//   LABEL    label number                INFO   the s8, as int32_t
//   ASM, COMMENT, IR  text in Unit::strings (of IR the whole payload)
//   PRAGMA, LOOP, LOOP_USE, MBANK, EDGE, VECTOR, LDSPEC, EHT  the Unit's vector of that kind
struct ITEM {
  uint8_t tag = 0;
  uint32_t index = NONE;
  uint32_t raw = 0;
  UNIT_PSN psn; // of those that have one
};

struct FUNCTION {
  uint64_t global = 0; // index in Unit::globals, unchecked; not of an IR function
  IR_BEGIN ir;         // of an IR function
  bool is_ir = false;
  uint32_t begin = NONE; // items of the function: [begin, end), with its begin and end records
  uint32_t end = NONE;
  std::vector<SYMBOL> locals; // in file order, parameters first; NAME's index counts here
  std::unordered_map<uint32_t, uint32_t> labels; // number to item
};

// What a tool wants to know of a type number. Chains of typedefs and qualifiers are looked through
// once, when the type is entered.
enum KIND : uint8_t {
  K_UNKNOWN,
  K_VOID,
  K_INTEGER,
  K_FLOAT,
  K_FIXED,
  K_COMPLEX,
  K_POINTER,
  K_REFERENCE,
  K_QUALIFIED,
  K_TYPEDEF,
  K_ARRAY,
  K_VECTOR,
  K_PTM,
  K_FUNC,
  K_ENUM,
  K_CLASS,
  K_STRUCT,
  K_UNION,
};
struct TYPE_INFO {
  uint32_t number = 0;
  KIND kind = K_UNKNOWN;
  uint32_t record = NONE;  // defining record in Unit::types; a class's long form if there is one
  uint32_t resolved = 0;   // the number below typedefs and qualifiers, its own if it is neither
  uint32_t element = 0;    // target, element, return, underlying or part type
  uint32_t qualifiers = 0; // of the whole chain
  uint64_t size = 0;       // bits
  uint64_t align = 0;      // bits
  uint64_t count = 0;      // elements of an array or vector
  bool is_signed = false;  // integers, enumerations, floats, through the whole chain
  bool is_boolean = false;
  // Elements, as indices in Unit::types in file order.
  std::vector<uint32_t> members, bases, params, enumerators;

  uint64_t units() const { return (size + 15) / 16; } // size in addressable units
  bool is_aggregate() const { return kind >= K_CLASS; }
};

enum SECTION : uint8_t {
  SEC_STREAM,
  SEC_INITS,
  SEC_OPTIONS,
  SEC_TYPES,
  SEC_FILES,
  SEC_GLOBALS,
  SEC_TAIL,
  SECTION_COUNT,
};
// One region of a file that is not laid out as usual: bytes that belong to nothing, then a section.
struct LAYOUT_PART {
  SECTION section = SEC_TAIL; // SEC_TAIL: the end of the file
  std::string gap;
};

struct UNIT {
  int version = NEWEST_VERSION;
  std::string source;
  uint32_t extra_word = 0;
  uint32_t header_raw = 0;
  std::vector<LAYOUT_PART> layout; // empty for the usual layout

  std::vector<OPTION_SET> options;
  std::vector<TYPE_RECORD> types;
  std::vector<FILE_NAME> files; // file number n is files[n - 1]
  std::vector<SYMBOL> globals;  // NAME's index counts here
  std::vector<INIT> inits;
  std::vector<ITEM> items; // the function stream
  std::vector<FUNCTION> functions;

  std::vector<NODE> nodes;
  std::vector<std::string> strings;
  std::vector<PRAGMA_RECORD> pragmas; // those of the function stream
  std::vector<LOOP_DEF> loops;
  std::vector<LOOP_USE> loop_uses;
  std::vector<MEM_BANK> banks;
  std::vector<DEP_EDGE> edges;
  std::vector<DEP_VECTOR> vectors;
  std::vector<LOAD_SPEC> speculations;
  std::vector<EXCEPTION_TABLE> exception_tables;
  std::vector<std::string> raws = {""};

  std::unordered_map<uint32_t, TYPE_INFO> type_info;
  std::unordered_map<uint64_t, uint32_t> member_index; // class << 32 | member number, to record
};

// Decodes a file. On failure gives false and a message "file offset 0x...: ..."; `unit` then holds
// what was read so far and must not be used.
bool decode_unit(std::span<const uint8_t> bytes, UNIT& unit, std::string& error);

// Encodes in the form of `version`; fields that it has no room for are dropped. Layout and raw
// bytes are kept only where `version` is the unit's own. On failure gives false and a message.
bool encode_unit(const UNIT& unit, int version, std::string& bytes, std::string& error);
inline bool encode_unit(const UNIT& unit, std::string& bytes, std::string& error) {
  return encode_unit(unit, NEWEST_VERSION, bytes, error);
}

// Appends a type record and enters it in the look-ups. Gives false, with a message, for a second
// definition of a type number and for an element ahead of its type.
bool add_type_record(UNIT& unit, TYPE_RECORD record, std::string& error);

// Whether a type record of this code is an element of a type (a member, a parameter, ...), and
// whether it defines its type number; list marks do neither.
bool is_element_code(uint8_t code);
bool is_definition_code(uint8_t code);

uint32_t add_string(UNIT& unit, std::string text); // gives its index in Unit::strings

// Look-ups. Null (or 0, NONE) where there is no such thing.
const TYPE_INFO* find_type(const UNIT& unit, uint32_t number);     // just this number
const TYPE_INFO* resolved_type(const UNIT& unit, uint32_t number); // below typedefs and qualifiers
bool is_signed_type(const UNIT& unit, uint32_t number); // ICON and enumerators: sint or uint
// A data member's record, of a class type or one qualified or named by a typedef.
const TYPE_RECORD* find_member(const UNIT& unit, uint32_t class_type, uint64_t member_number);
// The symbol of a NAME's level and index; `function` is null outside functions.
const SYMBOL* find_symbol(const UNIT& unit, const FUNCTION* function, uint64_t level,
                          uint64_t index);
uint32_t find_label(const FUNCTION& function, uint32_t number); // the item of its LABEL record
uint64_t symbol_bits(const SYMBOL& symbol);                     // size, the value 22 resolved
uint64_t symbol_align(const SYMBOL& symbol);

constexpr int8_t NO_OP = -1;
int operand_count(unsigned op);          // of an operator in a file; NO_OP for a code that is none
const char* op_name(unsigned op);        // null for a code that is none
int op_by_name(const std::string& name); // NO_OP for a name that is none

} // namespace icode
