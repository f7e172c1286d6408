// Words of the text form of icode that both its tools and the optimiser's dumps must know.
#pragma once

#include <string_view>

// Classes of storage, by their number in a file.
struct STORAGE_WORD {
  const char* word;
  int storage;
};
inline constexpr STORAGE_WORD storage_words[] = {
    {"auto", 1},     {"global", 2}, {"static", 3},    {"register", 4}, {"extern", 5},
    {"labelsym", 6}, {"param", 9},  {"regparam", 17}, {"regcopy", 22}, {"result", 27},
};

// Besides those and the operators: what can't name a symbol without quotes.
inline constexpr std::string_view reserved_words[] = {
    "icode", "layout", "options", "file",      "type",   "define",  "record", "init",
    "here",  "func",   "irfunc",  "block",     "asm",    "comment", "info",   "pragma",
    "loop",  "inloop", "mbank",   "edge",      "vector", "spec",    "eht",    "ir",
    "empty", "raw",    "endargs", "endlocals", "exact",  "symbol",
};
