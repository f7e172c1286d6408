// Codes of the records in the types section.
#pragma once

enum TYPE_CODE {
  TC_FIRST_INT = 0,
  TC_LAST_SHORT_INT = 9, // see int_code in the reader and the table of the writer
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

// The name of a member with a fixed-type id, whatever its record calls it.
inline constexpr const char* FIXED_TYPE_NAME = "fti:%x";
