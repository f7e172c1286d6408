// The primitive encodings of icode files: a bounds-checked reader over a byte buffer, and a writer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace icode {

// Reads primitives from a buffer that it doesn't own. The first failure is kept, with its offset;
// from then on every read gives zero and nothing moves, so a caller may check once for many reads.
class READER {
public:
  explicit READER(std::span<const uint8_t> bytes) : bytes_(bytes), limit_(bytes.size()) {}

  size_t pos() const { return pos_; }
  void seek(size_t pos); // outside a record; fails behind the end of the buffer
  bool ok() const { return error_.empty(); }
  bool at_end() const { return pos_ >= limit_; }
  size_t left() const {
    return limit_ - pos_;
  } // bytes up to the end of the record, or of the buffer
  const std::string& error() const { return error_; } // "file offset 0x...: ...", or empty
  void fail(const std::string& message);              // at the current position
  void fail_at(size_t offset, const std::string& message);

  // The tag of the next record, without moving; END_TAG at the end of the buffer as well.
  uint8_t peek_tag() const { return pos_ < bytes_.size() ? bytes_[pos_] : 255; }
  // Reads a record's tag and length and bounds what follows to its payload. Gives the tag; fails on
  // a payload that reaches behind the buffer. The tag 255 has neither length nor payload.
  uint8_t open_record();
  // Ends the record; fails if the payload was not read to its last byte.
  void close_record();

  uint8_t u8();
  int8_t s8() { return int8_t(u8()); }
  bool boolean() { return u8() != 0; }
  uint16_t u16();
  uint32_t u32();
  uint64_t uint();     // unsigned LEB128 of at most 64 bits
  uint32_t uint_32();  // the same, failing on a value of more than 32 bits
  int32_t sint();      // signed LEB128; bits above the 32nd are dropped
  int64_t wide_sint(); // signed LEB128 of at most 64 bits
  std::string str();   // up to a zero byte, which is not part of the result
  std::string counted(uint64_t length);
  std::string rest() { return counted(left()); } // what is left of the payload

private:
  std::span<const uint8_t> bytes_;
  size_t pos_ = 0;
  size_t limit_;
  std::string error_;
};

// Appends primitives to a byte string.
class WRITER {
public:
  std::string bytes;
  std::optional<std::string> cut_text; // what a reader would take for a text with a zero inside

  void u8(uint64_t v) { bytes.push_back(char(v)); }
  void boolean(bool v) { u8(v); }
  void u16(uint64_t v);
  void u32(uint64_t v);
  void uint(uint64_t v);
  void sint(int64_t v);
  void str(std::string_view text); // the text and a zero byte
  void raw(std::string_view text) { bytes += text; }
  // Appends a whole record around `payload`.
  void record(uint8_t tag, const WRITER& payload);
};

} // namespace icode
