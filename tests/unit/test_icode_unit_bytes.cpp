// Primitive encodings: edge values, and reads that would leave their record.
#include "tools/unit/bytes.h"

#include <gtest/gtest.h>

#include <memory>

using namespace icode;

namespace {

std::string sint_bytes(int64_t v) {
  WRITER w;
  w.sint(v);
  return w.bytes;
}

std::string uint_bytes(uint64_t v) {
  WRITER w;
  w.uint(v);
  return w.bytes;
}

// A reader with bytes of its own.
struct OWNING_READER : READER {
  explicit OWNING_READER(std::shared_ptr<std::string> bytes)
      : READER({reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size()}), bytes_(bytes) {}
  std::shared_ptr<std::string> bytes_;
};

OWNING_READER reader_of(std::string bytes) {
  return OWNING_READER(std::make_shared<std::string>(std::move(bytes)));
}

} // namespace

TEST(IcodeBytes, SignedNumbersTakeAsFewGroupsAsTheSignAllows) {
  EXPECT_EQ(sint_bytes(-1), "\x7f");
  EXPECT_EQ(sint_bytes(63), "\x3f");
  EXPECT_EQ(sint_bytes(64), std::string("\xc0\x00", 2));
  EXPECT_EQ(sint_bytes(-64), "\x40");
  EXPECT_EQ(sint_bytes(-65), "\xbf\x7f");
  EXPECT_EQ(sint_bytes(INT32_MIN), "\x80\x80\x80\x80\x78");
}

TEST(IcodeBytes, NumbersReadBackAtGroupBorders) {
  for (int64_t v : {0L, 1L, 63L, 64L, 8191L, 8192L, 1L << 20, 1L << 27, 134217728L, 2147483647L}) {
    for (int64_t s : {v, -v, -v - 1}) {
      std::string bytes = sint_bytes(s);
      EXPECT_EQ(reader_of(bytes).sint(), s);
    }
    std::string bytes = uint_bytes(uint64_t(v));
    EXPECT_EQ(reader_of(bytes).uint(), uint64_t(v));
  }
  std::string top = uint_bytes(UINT64_MAX);
  EXPECT_EQ(reader_of(top).uint(), UINT64_MAX);
}

TEST(IcodeBytes, TooManyBitsAreRefused) {
  OWNING_READER r = reader_of("\xff\xff\xff\xff\xff\xff\xff\xff\xff\x02");
  r.uint();
  EXPECT_FALSE(r.ok());
  OWNING_READER endless = reader_of(std::string(1000, '\x80'));
  endless.sint();
  EXPECT_FALSE(endless.ok());
  OWNING_READER wide = reader_of("\x80\x80\x80\x80\x10");
  wide.uint_32();
  EXPECT_EQ(wide.error(), "file offset 0x0: the number 4294967296 does not fit in 32 bits");
}

TEST(IcodeBytes, FieldsStayWithinTheirRecord) {
  std::string bytes("\x2a\x02\x80\x80\x01\x00", 6); // payload of two bytes, then more
  OWNING_READER r = reader_of(bytes);
  EXPECT_EQ(r.open_record(), 42);
  r.uint();
  EXPECT_EQ(r.error(), "file offset 0x4: the record ends within a field");
  EXPECT_EQ(r.u32(), 0u) << "after a failure there are only zeros";

  OWNING_READER text = reader_of(std::string("\x2f\x03"
                                             "abc\0",
                                             6));
  text.open_record();
  text.str();
  EXPECT_FALSE(text.ok()) << "the zero byte is behind the record";

  OWNING_READER left = reader_of(std::string("\x2a\x02\x01\x01", 4));
  left.open_record();
  left.uint();
  left.close_record();
  EXPECT_EQ(left.error(), "file offset 0x3: the record has 1 bytes more than its fields");

  OWNING_READER longer = reader_of("\x2a\x7f\x01");
  longer.open_record();
  EXPECT_EQ(longer.error(), "file offset 0x0: record of tag 42 has 127 bytes, but only 1 are left");
}
