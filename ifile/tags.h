// The numbers of an icode file: tags of records, codes of types and of the lists in them. The file
// layer and the tools have readers of their own, but not numbers.
#pragma once

enum ICODE_TAG : unsigned char {
  TAG_BEGIN_FUNC = 1,
  TAG_END_FUNC = 2,
  TAG_BEGIN_BLOCK = 3,
  TAG_END_BLOCK = 4,
  TAG_END_ARGS = 5,
  TAG_END_LOCALS = 6,
  TAG_HEADER = 8,
  TAG_LIR = 34,
  TAG_SYMBOL = 35,
  TAG_ASM = 36,
  TAG_LOOP_DEF = 38,
  TAG_LABEL = 42,
  TAG_MBANK = 45,
  TAG_EXPR = 46,
  TAG_COMMENT = 47,
  TAG_DD_EDGE = 58,
  TAG_DD_VECTOR = 59,
  TAG_CATCH = 63,
  TAG_FUNC_INFO = 64,
  TAG_EHT_ENTRY = 91,
  TAG_EHT = 93,
  TAG_PRAGMA = 94,
  TAG_NODE = 101,
  TAG_INIT = 105,
  TAG_LDSPEC = 108,
  TAG_OPTION_SET = 111,
  TAG_TYPE = 116,
  TAG_IR_FUNC = 123,
  TAG_IN_LOOP = 124,
  TAG_IR_END = 125,
  TAG_FILE_NAME = 126,
  TAG_EOF = 255
};

// Codes of type records.
enum TYPE_CODE : unsigned char {
  TC_BOOL = 0,
  TC_SCHAR = 1,
  TC_UCHAR = 2,
  TC_WCHAR = 3,
  TC_SHORT = 4,
  TC_USHORT = 5,
  TC_INT = 6,
  TC_UINT = 7,
  TC_LONG = 8,
  TC_ULONG = 9,
  TC_FLOAT = 10,
  TC_DOUBLE = 11,
  TC_LDOUBLE = 12,
  TC_FIXED = 13,
  TC_TYPEDEF = 14,
  TC_POINTER = 15,
  TC_REFERENCE = 16,
  TC_QUALIFIED = 17,
  TC_ARRAY = 18,
  TC_PTM = 19,
  TC_FUNC = 20,
  TC_PARAM = 21,
  TC_ENUM = 22,
  TC_ENUMERATOR = 23,
  TC_CSU_SHORT = 24,
  TC_CSU_LONG = 25,
  TC_MEMBER = 28,
  TC_BASE_CLASS = 29,
  TC_ACCESS_DECL = 30,
  TC_FRIEND_FUNC = 31,
  TC_FRIEND_CLASS = 32,
  TC_NESTED_TYPE = 33,
  TC_STATIC_MEMBER = 34,
  TC_MEMBER_FUNC = 35,
  TC_COMPLEX = 36,
  TC_UNKNOWN = 48,
  TC_VOID = 49,
  TC_LLONG = 50,
  TC_ULLONG = 51,
  TC_LIST_HEADER = 254,
  TC_LIST_TRAILER = 255
};

// Lists of elements of a type.
enum TYPE_LIST_KIND {
  TL_PARAMS,
  TL_ENUMERATORS,
  TL_BASES,
  TL_ACCESS_DECLS,
  TL_FRIEND_FUNCS,
  TL_FRIEND_CLASSES,
  TL_NESTED_TYPES,
  TL_MEMBERS,
  TL_STATIC_MEMBERS,
  TL_MEMBER_FUNCS,
  TL_COUNT
};

// The list that an element of that code belongs to, -1 if the code is no element's.
constexpr int list_of_element(int code) {
  switch (code) {
  case TC_PARAM: return TL_PARAMS;
  case TC_ENUMERATOR: return TL_ENUMERATORS;
  case TC_BASE_CLASS: return TL_BASES;
  case TC_ACCESS_DECL: return TL_ACCESS_DECLS;
  case TC_FRIEND_FUNC: return TL_FRIEND_FUNCS;
  case TC_FRIEND_CLASS: return TL_FRIEND_CLASSES;
  case TC_NESTED_TYPE: return TL_NESTED_TYPES;
  case TC_MEMBER: return TL_MEMBERS;
  case TC_STATIC_MEMBER: return TL_STATIC_MEMBERS;
  case TC_MEMBER_FUNC: return TL_MEMBER_FUNCS;
  default: return -1;
  }
}

// The name of a member with a fixed-type id, whatever its record calls it.
inline constexpr const char* FIXED_TYPE_NAME = "fti:%x";
