#include "tools/unit/bytes.h"

#include <cstdio>
#include <cstring>

namespace icode {

void READER::fail_at(size_t offset, const std::string& message) {
  if (!ok()) return;
  char where[48];
  snprintf(where, sizeof where, "file offset 0x%zx: ", offset);
  error_ = where + message;
  pos_ = limit_; // loops over "the rest" end here
}

void READER::fail(const std::string& message) {
  fail_at(pos_, message);
}

void READER::seek(size_t pos) {
  if (!ok()) return;
  if (pos > bytes_.size()) return fail_at(pos, "offset behind the end of the file");
  pos_ = pos;
}

uint8_t READER::open_record() {
  size_t start = pos_;
  if (!ok()) return 255;
  if (at_end()) {
    fail("the file ends where a record should begin");
    return 255;
  }
  uint8_t tag = u8();
  if (tag == 255) return tag;
  uint64_t length = uint();
  if (!ok()) return 255;
  if (length > left()) {
    fail_at(start, "record of tag " + std::to_string(tag) + " has " + std::to_string(length) +
                       " bytes, but only " + std::to_string(left()) + " are left");
    return 255;
  }
  limit_ = pos_ + size_t(length);
  return tag;
}

void READER::close_record() {
  if (ok() && pos_ != limit_)
    fail("the record has " + std::to_string(left()) + " bytes more than its fields");
  limit_ = bytes_.size();
  if (!ok()) pos_ = limit_;
}

uint8_t READER::u8() {
  if (!ok()) return 0;
  if (pos_ >= limit_) {
    fail("the record ends within a field");
    return 0;
  }
  return bytes_[pos_++];
}

uint16_t READER::u16() {
  uint16_t low = u8();
  return uint16_t(low | u8() << 8);
}

uint32_t READER::u32() {
  uint32_t low = u16();
  return low | uint32_t(u16()) << 16;
}

uint64_t READER::uint() {
  size_t start = pos_;
  uint64_t value = 0;
  for (int shift = 0;; shift += 7) {
    uint8_t byte = u8();
    if (shift > 63 || (shift == 63 && (byte & 0x7e))) {
      fail_at(start, "a number of more than 64 bits");
      return 0;
    }
    value |= uint64_t(byte & 0x7f) << shift;
    if (!(byte & 0x80)) return ok() ? value : 0;
  }
}

uint32_t READER::uint_32() {
  size_t start = pos_;
  uint64_t value = uint();
  if (value > UINT32_MAX) {
    fail_at(start, "the number " + std::to_string(value) + " does not fit in 32 bits");
    return 0;
  }
  return uint32_t(value);
}

int64_t READER::wide_sint() {
  size_t start = pos_;
  uint64_t value = 0;
  for (int shift = 0;; shift += 7) {
    uint8_t byte = u8();
    if (shift > 63) {
      fail_at(start, "a number of more than 64 bits");
      return 0;
    }
    value |= uint64_t(byte & 0x7f) << shift;
    if (byte & 0x80) continue;
    int bits = shift + 7;
    if (bits < 64 && (byte & 0x40)) value |= ~uint64_t(0) << bits;
    return ok() ? int64_t(value) : 0;
  }
}

// The sign that the wide form puts above bit 31 is dropped with the other bits there.
int32_t READER::sint() {
  return int32_t(uint32_t(wide_sint()));
}

std::string READER::str() {
  if (!ok()) return {};
  const auto* begin = reinterpret_cast<const char*>(bytes_.data()) + pos_;
  const void* end = left() ? memchr(begin, 0, left()) : nullptr;
  if (!end) {
    fail("a text without its closing zero byte");
    return {};
  }
  std::string text(begin, static_cast<const char*>(end));
  pos_ += text.size() + 1;
  return text;
}

std::string READER::counted(uint64_t length) {
  if (!ok()) return {};
  if (length > left()) {
    fail("a text of " + std::to_string(length) + " bytes, but only " + std::to_string(left()) +
         " are left");
    return {};
  }
  std::string text(reinterpret_cast<const char*>(bytes_.data()) + pos_, size_t(length));
  pos_ += size_t(length);
  return text;
}

void WRITER::u16(uint64_t v) {
  u8(v & 0xff);
  u8(v >> 8 & 0xff);
}

void WRITER::u32(uint64_t v) {
  u16(v & 0xffff);
  u16(v >> 16 & 0xffff);
}

void WRITER::uint(uint64_t v) {
  for (; v > 0x7f; v >>= 7)
    u8((v & 0x7f) | 0x80);
  u8(v);
}

void WRITER::sint(int64_t v) {
  for (;;) {
    uint8_t low = v & 0x7f;
    v >>= 7;
    if ((v == 0 && !(low & 0x40)) || (v == -1 && (low & 0x40))) return u8(low);
    u8(low | 0x80);
  }
}

void WRITER::str(std::string_view text) {
  const size_t zero = text.find('\0');
  if (zero != text.npos) cut_text = text.substr(0, zero);
  bytes += text;
  bytes.push_back('\0');
}

void WRITER::record(uint8_t tag, const WRITER& payload) {
  u8(tag);
  uint(payload.bytes.size());
  bytes += payload.bytes;
  if (payload.cut_text) cut_text = payload.cut_text;
}

} // namespace icode
