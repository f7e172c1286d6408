// The record model: exactness over damaged files, versions, look-ups, depth.
#include "tools/text/parse.h"
#include "tools/text/print.h"
#include "tools/unit/records.h"
#include "tools/unit/unit.h"

#include <gtest/gtest.h>

#include <random>

using namespace icode;

namespace {

UNIT unit_of(const std::string& text) {
  UNIT unit;
  std::string error;
  EXPECT_TRUE(parse_text(text, "test", unit, error)) << error;
  return unit;
}

std::string encoded(const UNIT& unit, int version = NEWEST_VERSION) {
  std::string bytes, error;
  EXPECT_TRUE(encode_unit(unit, version, bytes, error)) << error;
  return bytes;
}

bool decoded(const std::string& bytes, UNIT& unit, std::string& error) {
  return decode_unit({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, unit, error);
}

UNIT decoded(const std::string& bytes) {
  UNIT unit;
  std::string error;
  EXPECT_TRUE(decoded(bytes, unit, error)) << error;
  return unit;
}

std::string error_of(const std::string& bytes) {
  UNIT unit;
  std::string error;
  EXPECT_FALSE(decoded(bytes, unit, error));
  return error;
}

// From bytes to a unit, to text, to a unit, to bytes.
void expect_exact(const std::string& bytes) {
  UNIT unit = decoded(bytes);
  EXPECT_EQ(encoded(unit, unit.version), bytes);
  std::string text = print_unit(unit);
  EXPECT_EQ(encoded(unit_of(text), unit.version), bytes) << text;
}

const char* const SAMPLE = R"(icode -71 "a.c"
options 1 "-O2"
file "a.c"
type struct.node = struct { next: struct.node*, val: int, low: uint bits=3 }
type enum.color = enum int { red = -1, green }
type word = typedef const.int
type fn.int = fn int (int)
global f: fn.int @1:1
global head: struct.node* pragma(3 "x")
static tab: int[3]
init tab = { 1, SKIP[1](NOP), "ab":int[1] }
func f @2:1 {
  param a: int
  auto i: word
  pragma 5 "once"
  ASG(i, a) @3:1
L5:
  CBRANCH(LT(i, STREF(head, .val)), L5) @4:2
  block {
    auto p: struct.node*
    CALL(UAND(f), {a, i, 5000000000})
    eht {
      cleanup id=1: ASG(a, 1)
      catch id=2 {"int" 1 flag}
    }
  }
  loop id=1 max=10
  spec induction id=1 stride=-2 type=int
  RETURN(UAND(f), i) @5:1
} @6:1
)";

// A file made of raw records behind a header.
std::string file_of_stream(const std::string& records) {
  return encode_header({}, NEWEST_VERSION, {}) + records;
}

// Pads the length of the record at `at` by a group that says nothing.
std::string with_padded_length(std::string bytes, size_t at) {
  bytes[at + 1] = char(bytes[at + 1] | 0x80);
  return bytes.insert(at + 2, 1, '\0');
}

} // namespace

TEST(IcodeUnit, EmptyFileIsAHeaderAndAnEndMark) {
  std::string bytes = encoded(unit_of("icode -71 \"a.c\""));
  EXPECT_EQ(bytes, std::string("\x08\x2a!<icode>\n\0\xb9\xff\x58\x02", 16) + std::string(20, '\0') +
                       std::string("a.c\0\0\0\0\0\xff", 9));
  expect_exact(bytes);
}

TEST(IcodeUnit, EveryVersionHoldsWhatItHasRoomFor) {
  UNIT unit = unit_of(SAMPLE);
  unit.extra_word = 0x1234;
  unit.globals[0].retention = 2;
  for (int version = OLDEST_VERSION; version <= NEWEST_VERSION; version++) {
    std::string bytes = encoded(unit, version);
    UNIT again = decoded(bytes);
    EXPECT_EQ(again.version, version);
    EXPECT_EQ(again.extra_word, version >= -83 ? 0x1234u : 0u);
    EXPECT_EQ(again.globals[0].retention, version >= -71 ? 2 : 0);
    EXPECT_EQ(again.items.size(), unit.items.size());
    expect_exact(bytes);
  }
}

TEST(IcodeUnit, RecordsWrittenInOtherBytesAreKept) {
  // A label's number in two groups, a bool of 2, an integer constant wider than 32 bits.
  std::string bytes = file_of_stream(std::string("\x2a\x02\x85\x00\xff", 5));
  UNIT unit = decoded(bytes);
  EXPECT_EQ(unit.items[0].index, 5u);
  EXPECT_EQ(unit.raws[unit.items[0].raw], std::string("\x2a\x02\x85\x00", 4));
  expect_exact(bytes);

  unit = unit_of(SAMPLE);
  unit.header_raw = uint32_t(unit.raws.size());
  unit.raws.push_back(with_padded_length(encode_header(unit, NEWEST_VERSION, {}), 0));
  expect_exact(encoded(unit));
}

TEST(IcodeUnit, UnusualLayoutIsKept) {
  UNIT unit = unit_of(SAMPLE);
  unit.layout = {{SEC_GLOBALS, "gap"}, {SEC_STREAM, ""},  {SEC_TYPES, ""},   {SEC_INITS, "x"},
                 {SEC_FILES, ""},      {SEC_OPTIONS, ""}, {SEC_TAIL, "tail"}};
  // The stream is found behind the header, so it can only stand first.
  std::swap(unit.layout[0], unit.layout[1]);
  std::string bytes = encoded(unit);
  EXPECT_EQ(decoded(bytes).layout.size(), 7u);
  expect_exact(bytes);
}

// Damaged copies of a file either read and go through text exactly, or fail with a place.
TEST(IcodeUnit, DamagedFilesAreExactOrRefused) {
  std::string sample = encoded(unit_of(SAMPLE));
  std::mt19937 random(1);
  int read = 0;
  for (int round = 0; round < 3000; round++) {
    std::string bytes = sample;
    for (int n = int(random() % 3); n >= 0; --n) {
      char& byte = bytes[random() % bytes.size()];
      byte = char(random() % 3 ? byte ^ 1 << random() % 8 : random());
    }
    if (random() % 20 == 0) bytes.resize(random() % bytes.size());
    UNIT unit;
    std::string error;
    if (decoded(bytes, unit, error)) {
      ++read;
      expect_exact(bytes);
    } else {
      EXPECT_TRUE(error.starts_with("file offset 0x")) << error;
    }
    if (HasFailure()) break;
  }
  EXPECT_GT(read, 100);
}

TEST(IcodeUnit, FaultsNameTheirPlace) {
  std::string sample = encoded(unit_of(SAMPLE));
  EXPECT_EQ(error_of(""), "file offset 0x0: the file ends where a record should begin");
  std::string other = sample;
  other[3] = 'X';
  EXPECT_EQ(error_of(other), "file offset 0x2: this is no icode file");
  other = sample;
  other[12] = char(-70);
  EXPECT_EQ(error_of(other), "file offset 0xc: version -70 is not between -86 and -71");
  size_t begin = encode_header({}, NEWEST_VERSION, {}).size();
  auto at = [&](size_t offset) {
    char text[32];
    snprintf(text, sizeof text, "file offset 0x%zx: ", begin + offset);
    return std::string(text);
  };
  EXPECT_EQ(error_of(file_of_stream("\x07")),
            at(1) + "the record ends within a field"); // a tag at the end of the file
  EXPECT_EQ(error_of(file_of_stream(std::string("\x07\x00", 2))),
            at(0) + "a record of tag 7 has no place in the function stream");
  EXPECT_EQ(error_of(file_of_stream(std::string("\x2e\x01\x00\x65\x02\x64\x00", 7))),
            at(5) + "no operator has the code 100");
  // An operand that isn't there, a block that isn't closed, an end without a function.
  EXPECT_EQ(error_of(file_of_stream(std::string("\x2e\x01\x00\x65\x02\x0d\x00\xff", 8))),
            at(7) + "expected an expression node (tag 101), found tag 255");
  EXPECT_EQ(error_of(file_of_stream(
                std::string("\x01\x02\x00\x00\x05\x01\x00\x03\x01\x00\x02\x01\x00\xff", 14))),
            at(10) + "the function ends within a block");
  EXPECT_EQ(error_of(file_of_stream(std::string("\x02\x01\x00\xff", 4))),
            at(0) + "an end of function where none has begun");
  // A count that the bytes can't hold.
  EXPECT_EQ(error_of(file_of_stream("\x5d\x05\xff\xff\xff\xff\x0f\xff")),
            at(7) + "expected an exception table entry (tag 91), found tag 255");
}

TEST(IcodeUnit, TypeLookUpsSeeThroughNamesAndQualifiers) {
  UNIT unit = unit_of(SAMPLE);
  const SYMBOL& i = unit.functions[0].locals[1];
  const TYPE_INFO* word = find_type(unit, i.type);
  ASSERT_TRUE(word);
  EXPECT_EQ(word->kind, K_TYPEDEF);
  EXPECT_EQ(word->qualifiers, QUAL_CONST);
  EXPECT_EQ(resolved_type(unit, i.type)->kind, K_INTEGER);
  EXPECT_TRUE(is_signed_type(unit, i.type));
  const TYPE_INFO* pointer = find_type(unit, unit.globals[1].type);
  EXPECT_FALSE(is_signed_type(unit, pointer->number));
  const TYPE_INFO* node = resolved_type(unit, pointer->element);
  EXPECT_EQ(node->kind, K_STRUCT);
  EXPECT_EQ(node->units(), 4u);
  ASSERT_EQ(node->members.size(), 3u);
  EXPECT_EQ(find_member(unit, node->number, 3)->offset, 48);
  EXPECT_EQ(find_member(unit, node->number, 4), nullptr);
  EXPECT_EQ(find_type(unit, 0), nullptr);
  EXPECT_EQ(resolved_type(unit, 12345), nullptr);
}

TEST(IcodeUnit, SymbolsAndLabelsAreFoundByNumber) {
  UNIT unit = decoded(encoded(unit_of(SAMPLE)));
  const FUNCTION& f = unit.functions[0];
  EXPECT_EQ(find_symbol(unit, &f, 0, 1)->name, "head");
  EXPECT_EQ(find_symbol(unit, &f, 1, 1)->name, "i") << "any level but 0 counts in the locals";
  EXPECT_EQ(find_symbol(unit, &f, 3, 2)->level, 3u);
  EXPECT_EQ(find_symbol(unit, &f, NONE, 0), nullptr);
  EXPECT_EQ(find_symbol(unit, &f, 1, 99), nullptr);
  EXPECT_EQ(find_symbol(unit, nullptr, 1, 0), nullptr);
  EXPECT_EQ(unit.items[find_label(f, 5)].tag, TAG_LABEL);
  EXPECT_EQ(find_label(f, 6), NONE);
  EXPECT_EQ(unit.items[f.begin].tag, TAG_BEGIN_FUNC);
  EXPECT_EQ(unit.items[f.end - 1].tag, TAG_END_FUNC);
}

TEST(IcodeUnit, SizeOf22MeansAPointersSize) {
  UNIT unit = unit_of("icode -71 \"a.c\"\ntype p = ptr int size=22 align=0\nglobal x: p size=22\n");
  EXPECT_EQ(find_type(unit, unit.globals[0].type)->size, 32u);
  EXPECT_EQ(symbol_bits(unit.globals[0]), 32u);
  EXPECT_EQ(symbol_align(unit.globals[0]), 32u);
}

TEST(IcodeUnit, TreesMayBeAMillionDeep) {
  constexpr uint32_t LEFT_DEPTH = 1000000, RIGHT_DEPTH = 300000;
  for (bool left : {true, false}) {
    UNIT unit = unit_of("icode -71 \"a.c\"\ntype int = int\ntype void = void\n");
    NODE leaf;
    leaf.op = ICON;
    leaf.type = 1;
    unit.nodes.push_back(leaf);
    uint32_t top = 0;
    for (uint32_t i = 0; i < (left ? LEFT_DEPTH : RIGHT_DEPTH); i++) {
      unit.nodes.push_back(leaf);
      NODE plus;
      plus.op = PLUS;
      plus.type = 1;
      auto other = uint32_t(unit.nodes.size() - 1);
      plus.left = left ? top : other;
      plus.right = left ? other : top;
      unit.nodes.push_back(plus);
      top = uint32_t(unit.nodes.size() - 1);
    }
    ITEM item;
    item.tag = TAG_EXPR;
    item.index = top;
    unit.items.push_back(item);
    expect_exact(encoded(unit));
  }
}

TEST(IcodeUnit, WhatNoFileHoldsIsRefused) {
  std::string bytes, error;
  UNIT unit = unit_of(SAMPLE);
  unit.nodes[unit.items[6].index].right = NONE;
  EXPECT_FALSE(encode_unit(unit, bytes, error));
  EXPECT_EQ(error, "an operator lacks an operand");
  unit = unit_of(SAMPLE);
  unit.globals[0].pragmas.resize(128);
  EXPECT_FALSE(encode_unit(unit, bytes, error));
  std::string twice = "icode -71 \"a.c\"\ntype 1 int = int\ntype 1 long = long\n";
  EXPECT_FALSE(parse_text(twice, "t", unit, error));
  EXPECT_EQ(error, "t:3:8: error: type 1 is defined twice");
  unit = unit_of(SAMPLE);
  TYPE_RECORD early;
  early.number = 1000;
  early.code = TC_ENUMERATOR;
  EXPECT_FALSE(add_type_record(unit, early, error));
  EXPECT_EQ(error, "an element of type 1000 ahead of its record");
}
