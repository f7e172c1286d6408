// Formatted output of the library.
#include "tools/run/library.h"

#include <algorithm>
#include <cstdio>

namespace icode::run {

namespace {

constexpr int MAX_WIDTH = 4096; // of a field, in characters

struct DIRECTIVE {
  std::string flags;
  int width = -1, precision = -1;
  unsigned bits = 16; // of an integer, by its length modifier
  bool is_long_double = false;
  char conversion = 0;
};

int read_number(const std::string& text, size_t& i) {
  int n = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; i++)
    n = std::min(n * 10 + (text[i] - '0'), MAX_WIDTH);
  return n;
}

// The format of the host for one value, without its conversion.
std::string host_format(const DIRECTIVE& d) {
  std::string f = "%" + d.flags;
  if (d.width >= 0) f += std::to_string(d.width);
  if (d.precision >= 0) f += "." + std::to_string(d.precision);
  return f;
}

template <class T> std::string print(const std::string& format, T value) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
  int size = snprintf(nullptr, 0, format.c_str(), value);
  std::string out(size_t(std::max(size, 0)) + 1, '\0');
  snprintf(out.data(), out.size(), format.c_str(), value);
#pragma GCC diagnostic pop
  out.pop_back();
  return out;
}

DIRECTIVE read_directive(const std::string& text, size_t& i, FORMAT_ARGUMENTS& arguments) {
  DIRECTIVE d;
  auto number = [&] {
    if (i >= text.size() || text[i] != '*') return read_number(text, i);
    ++i;
    auto n = int64_t(arguments.integer(16, true));
    return int(std::clamp<int64_t>(n, -MAX_WIDTH, MAX_WIDTH));
  };
  for (; i < text.size() && std::string_view("-+ #0").find(text[i]) != std::string_view::npos; i++)
    if (d.flags.find(text[i]) == std::string::npos) d.flags += text[i];
  if (i < text.size() && (text[i] == '*' || (text[i] >= '0' && text[i] <= '9'))) {
    d.width = number();
    if (d.width < 0) {
      d.flags += '-';
      d.width = -d.width;
    }
  }
  if (i < text.size() && text[i] == '.') {
    ++i;
    d.precision = number();
  }
  for (; i < text.size() && std::string_view("hljztL").find(text[i]) != std::string_view::npos; i++)
    if (text[i] == 'l')
      d.bits = d.bits == 32 ? 64 : 32;
    else if (text[i] == 'z' || text[i] == 't')
      d.bits = 32;
    else if (text[i] == 'j')
      d.bits = 64;
    else if (text[i] == 'L')
      d.is_long_double = true;
  if (i < text.size()) d.conversion = text[i++];
  return d;
}

std::string one_value(const DIRECTIVE& d, FORMAT_ARGUMENTS& arguments, size_t written) {
  std::string host = host_format(d);
  switch (d.conversion) {
  case 'd':
  case 'i': return print(host + "lld", static_cast<long long>(arguments.integer(d.bits, true)));
  case 'u':
  case 'o':
  case 'x':
  case 'X':
    return print(host + "ll" + d.conversion,
                 static_cast<unsigned long long>(arguments.integer(d.bits, false)));
  case 'c': {
    DIRECTIVE text = d;
    text.precision = -1;
    // A zero is a character too, which the host's own %c takes care of.
    return print(host_format(text) + "c", int(uint8_t(arguments.integer(16, false))));
  }
  case 's': {
    uint32_t at = arguments.pointer();
    std::string value;
    if (d.precision >= 0) {
      uint64_t size = arguments.call.string_length(at, uint64_t(d.precision));
      for (uint64_t k = 0; k < size; k++)
        value += char(arguments.call.m.memory.units[at + k]);
    } else {
      value = arguments.call.string(at);
    }
    return print(host + "s", value.c_str());
  }
  case 'p': return print(host + "s", print("0x%08x", arguments.pointer()).c_str());
  case 'f':
  case 'F':
  case 'e':
  case 'E':
  case 'g':
  case 'G':
  case 'a':
  case 'A': return print(host + d.conversion, arguments.number(d.is_long_double));
  case '%': return "%";
  case 'n': {
    uint32_t at = arguments.pointer();
    arguments.call.need_write(at, d.bits / 16);
    arguments.call.m.memory.store(at, d.bits, written);
    return "";
  }
  default: fault(std::string("a format has the unknown conversion %") + d.conversion);
  }
}

} // namespace

uint64_t FORMAT_ARGUMENTS::integer(unsigned bits, bool is_signed) {
  if (in_memory) {
    at += bits >= 32 ? at & 1 : 0;
    call.need_read(at, bits / 16);
    uint64_t v = wrap(call.m.memory.load(at, bits), bits, is_signed);
    at += bits / 16;
    return v;
  }
  size_t i = next++;
  return is_signed ? uint64_t(call.signed_bits(i)) : call.unsigned_bits(i);
}

double FORMAT_ARGUMENTS::number(bool is_long) {
  if (!in_memory) return call.number(next++);
  if (!is_long && call.m.program.double_bits == 32) return as_float(integer(32, false));
  return as_double(integer(64, false));
}

uint32_t FORMAT_ARGUMENTS::pointer() {
  return in_memory ? uint32_t(integer(32, false)) : call.pointer(next++);
}

std::string format(const std::string& text, FORMAT_ARGUMENTS arguments) {
  std::string out;
  for (size_t i = 0; i < text.size();) {
    if (text[i] != '%') {
      out += text[i++];
      continue;
    }
    ++i;
    out += one_value(read_directive(text, i, arguments), arguments, out.size());
  }
  return out;
}

} // namespace icode::run
