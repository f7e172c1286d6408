// Formatted input of the library.
#include "tools/run/library.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <utility>

namespace icode::run {

namespace {

constexpr uint64_t MAX_FIELD = 1 << 20; // characters of one value

bool is_space(int c) {
  return c >= 0 && isspace(c);
}

struct DIRECTIVE {
  bool is_skipped = false;
  uint64_t width = MAX_FIELD;
  unsigned bits = 16;   // of an integer
  unsigned lengths = 0; // count of the letters l, and of L as two
  char conversion = 0;
  std::array<bool, 256> set{}; // of %[
};

struct SCANNER {
  FORMAT_ARGUMENTS& arguments;
  CHARACTER_SOURCE& from;
  int64_t taken = 0;
  int64_t stored = 0;

  int peek() { return from.peek(); }
  char get() {
    char c = char(from.peek());
    from.skip();
    ++taken;
    return c;
  }
  void skip_space() {
    while (is_space(peek()))
      get();
  }

  // As many characters as `takes` likes; it may keep what it has seen, since each one that it likes
  // is taken.
  template <class F> std::string field(uint64_t width, F takes) {
    std::string text;
    while (text.size() < width && peek() >= 0 && takes(peek()))
      text += get();
    return text;
  }

  void store(const DIRECTIVE& d, unsigned bits, uint64_t v) {
    if (d.is_skipped) return;
    uint32_t at = arguments.pointer();
    arguments.call.need_write(at, bits / 16);
    arguments.call.m.memory.store(at, bits, v);
    ++stored;
  }
  void store_text(const DIRECTIVE& d, const std::string& text, bool with_end) {
    if (d.is_skipped) return;
    uint32_t at = arguments.pointer();
    arguments.call.need_write(at, text.size() + with_end);
    for (size_t i = 0; i < text.size(); i++)
      arguments.call.m.memory.units[at + i] = uint8_t(text[i]);
    if (with_end) arguments.call.m.memory.units[at + text.size()] = 0;
    ++stored;
  }

  bool integer(const DIRECTIVE& d, unsigned base, bool is_signed) {
    size_t digits = 0;
    bool is_first = true, may_be_x = false; // behind a lone 0
    unsigned of_base = base ? base : 10;
    std::string text = field(d.width, [&](int c) {
      bool was_first = std::exchange(is_first, false);
      if (c == '-' || c == '+') return was_first;
      if (std::exchange(may_be_x, false) && (c | 32) == 'x') {
        of_base = 16;
        return true;
      }
      if (digits++ == 0 && c == '0') {
        may_be_x = base == 0 || base == 16;
        if (base == 0) of_base = 8;
        return true;
      }
      return of_base == 16 ? isxdigit(c) != 0 : c >= '0' && unsigned(c - '0') < of_base;
    });
    READ_INTEGER n = read_integer(text, base);
    if (n.length == 0) return false;
    uint64_t v = n.is_negative ? 0 - n.magnitude : n.magnitude;
    store(d, d.bits, wrap(v, d.bits, is_signed));
    return true;
  }

  bool number(const DIRECTIVE& d) {
    bool may_be_sign = true, has_digit = false, has_point = false, has_exponent = false;
    std::string text = field(d.width, [&](int c) {
      bool may_have_sign = std::exchange(may_be_sign, false);
      if (c == '+' || c == '-') return may_have_sign;
      if (c == '.') return !has_exponent && !std::exchange(has_point, true);
      if ((c | 32) == 'e') {
        may_be_sign = true;
        return has_digit && !std::exchange(has_exponent, true);
      }
      has_digit = true;
      return isdigit(c) != 0;
    });
    char* end = nullptr;
    double v = strtod(text.c_str(), &end);
    if (end == text.c_str()) return false;
    SCALAR type = DOUBLE;
    if (d.lengths == 0) type.bits = 32;
    if (d.lengths == 1) type.bits = uint8_t(arguments.call.m.program.double_bits == 64 ? 64 : 32);
    store(d, type.bits, float_bits(v, type));
    return true;
  }

  bool value(const DIRECTIVE& d) {
    if (d.conversion != 'c' && d.conversion != '[' && d.conversion != 'n') skip_space();
    if (d.conversion == 'n') {
      store(d, d.bits, uint64_t(taken));
      stored -= !d.is_skipped;
      return true;
    }
    switch (d.conversion) {
    case 'd': return integer(d, 10, true);
    case 'i': return integer(d, 0, true);
    case 'u': return integer(d, 10, false);
    case 'o': return integer(d, 8, false);
    case 'x':
    case 'X':
    case 'p': return integer(d, 16, false);
    case 'e':
    case 'f':
    case 'g':
    case 'a':
    case 'E':
    case 'F':
    case 'G':
    case 'A': return number(d);
    case 'c': {
      uint64_t width = d.width == MAX_FIELD ? 1 : d.width;
      std::string text = field(width, [](int) { return true; });
      if (text.size() < width) return false;
      store_text(d, text, false);
      return true;
    }
    case 's': {
      std::string text = field(d.width, [](int c) { return !is_space(c); });
      if (text.empty()) return false;
      store_text(d, text, true);
      return true;
    }
    case '[': {
      std::string text = field(d.width, [&](int c) { return d.set[size_t(c & 0xFF)]; });
      if (text.empty()) return false;
      store_text(d, text, true);
      return true;
    }
    default: fault(std::string("a format has the unknown conversion %") + d.conversion);
    }
  }
};

void read_set(const std::string& text, size_t& i, DIRECTIVE& d) {
  bool is_inverted = i < text.size() && text[i] == '^';
  i += is_inverted;
  for (bool first = true; i < text.size() && (first || text[i] != ']'); first = false) {
    auto low = uint8_t(text[i++]), high = low;
    if (i + 1 < text.size() && text[i] == '-' && text[i + 1] != ']') {
      high = uint8_t(text[i + 1]);
      i += 2;
    }
    for (unsigned c = low; c <= high; c++)
      d.set[c] = true;
  }
  if (i >= text.size()) fault("a format ends inside of %[");
  ++i;
  if (is_inverted)
    for (bool& is_in : d.set)
      is_in = !is_in;
}

DIRECTIVE read_directive(const std::string& text, size_t& i) {
  DIRECTIVE d;
  if (i < text.size() && text[i] == '*') {
    d.is_skipped = true;
    ++i;
  }
  if (i < text.size() && isdigit(uint8_t(text[i]))) {
    d.width = 0;
    for (; i < text.size() && isdigit(uint8_t(text[i])); i++)
      d.width = std::min(d.width * 10 + uint64_t(text[i] - '0'), MAX_FIELD - 1);
    if (d.width == 0) d.width = MAX_FIELD;
  }
  for (; i < text.size() && std::string_view("hljztL").find(text[i]) != std::string_view::npos;
       ++i) {
    if (text[i] == 'l') d.bits = d.bits == 32 ? 64 : 32;
    if (text[i] == 'z' || text[i] == 't') d.bits = 32;
    if (text[i] == 'j') d.bits = 64;
    d.lengths += text[i] == 'L' ? 2 : text[i] == 'l';
  }
  if (i < text.size()) d.conversion = text[i++];
  if (d.conversion == 'p') d.bits = 32;
  if (d.conversion == '[') read_set(text, i, d);
  return d;
}

} // namespace

int64_t scan(const std::string& text, FORMAT_ARGUMENTS arguments, CHARACTER_SOURCE& from) {
  SCANNER s{arguments, from};
  for (size_t i = 0; i < text.size();) {
    if (is_space(uint8_t(text[i]))) {
      s.skip_space();
      ++i;
      continue;
    }
    bool is_plain = text[i] != '%' || (i + 1 < text.size() && text[i + 1] == '%');
    if (is_plain) {
      i += text[i] == '%';
      if (text[i] == '%') s.skip_space();
      if (s.peek() < 0) return s.stored ? s.stored : -1;
      if (s.peek() != uint8_t(text[i])) break;
      s.get();
      ++i;
      continue;
    }
    DIRECTIVE d = read_directive(text, ++i);
    if (d.conversion != 'c' && d.conversion != '[' && d.conversion != 'n') s.skip_space();
    if (d.conversion != 'n' && s.peek() < 0) return s.stored ? s.stored : -1;
    if (!s.value(d)) break;
  }
  return s.stored;
}

} // namespace icode::run
