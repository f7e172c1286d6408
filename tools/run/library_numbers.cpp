// Numbers in texts, divisions with two results, and time.
#include "tools/run/library.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <ctime>

namespace icode::run {

namespace {

int digit_value(char c) {
  auto u = static_cast<unsigned char>(c);
  return isdigit(u) ? u - '0' : isalpha(u) ? tolower(u) - 'a' + 10 : 99;
}

// What stands at an address up to where no number goes on: programs read long texts number by
// number.
std::string number_text(LIBRARY_CALL& c) {
  std::string text;
  uint32_t at = c.pointer(0);
  auto take = [&](auto takes) {
    for (uint16_t unit = c.unit(at); unit < 128 && takes(unit); unit = c.unit(++at))
      text += char(unit);
  };
  take([](int unit) { return isspace(unit) != 0; });
  take([&](int unit) {
    char last = text.empty() || isspace(uint8_t(text.back())) ? 'e' : char(text.back() | 32);
    if (unit == '+' || unit == '-') return last == 'e' || last == 'p';
    return isalnum(unit) != 0 || unit == '.' || unit == '_' || unit == ')' ||
           (unit == '(' && last == 'n');
  });
  charge_steps(c.m, text.size());
  return text;
}

// Stores where a conversion ended, unless the program doesn't ask.
void store_end(LIBRARY_CALL& c, size_t argument, uint64_t length) {
  if (c.count() <= argument || !c.pointer(argument)) return;
  c.need_write(c.pointer(argument), 2);
  c.m.memory.store(c.pointer(argument), 32, uint32_t(c.pointer(0) + length));
}

// To a type of that width, held at its bounds as C asks; atoi and its kin have no other arguments.
void give_integer(LIBRARY_CALL& c, unsigned bits, bool is_signed) {
  std::string text = number_text(c);
  unsigned base = c.count() > 2 ? unsigned(std::clamp<int64_t>(c.integer(2), -1, 37)) : 10;
  if (base == 1 || base > 36) {
    store_end(c, 1, 0);
    return c.give(0);
  }
  READ_INTEGER n = read_integer(text, base);
  store_end(c, 1, n.length);
  uint64_t most = is_signed ? UINT64_MAX >> (65 - bits) : UINT64_MAX >> (64 - bits);
  uint64_t bound = is_signed && n.is_negative ? most + 1 : most;
  uint64_t v = n.magnitude;
  if (n.overflows || v > bound) {
    c.set_error(ERANGE_NUMBER);
    v = bound;
    if (!is_signed) n.is_negative = false; // the greatest value, whatever the sign
  }
  c.give(int64_t(wrap(n.is_negative ? 0 - v : v, bits, is_signed)));
}

void do_strtol(LIBRARY_CALL& c) {
  give_integer(c, 32, true);
}
void do_strtoul(LIBRARY_CALL& c) {
  give_integer(c, 32, false);
}
void do_strtoll(LIBRARY_CALL& c) {
  give_integer(c, 64, true);
}
void do_strtoull(LIBRARY_CALL& c) {
  give_integer(c, 64, false);
}
void do_atoi(LIBRARY_CALL& c) {
  // What doesn't fit has no meaning; it is cut, as a target without traps does.
  READ_INTEGER n = read_integer(number_text(c), 10);
  c.give(int64_t(n.is_negative ? 0 - n.magnitude : n.magnitude));
}

void do_strtod(LIBRARY_CALL& c) {
  std::string text = number_text(c);
  char* end = nullptr;
  errno = 0;
  double v = strtod(text.c_str(), &end);
  if (errno == ERANGE) c.set_error(ERANGE_NUMBER);
  store_end(c, 1, uint64_t(end - text.c_str()));
  c.give_number(v);
}

// div_t and its kin: the quotient, then the remainder.
void divide(LIBRARY_CALL& c, unsigned bits) {
  int64_t x = c.integer(0), y = c.integer(1);
  if (y == 0) fault(c.function.name + "() by zero");
  uint32_t at = c.object_result(bits / 8);
  if (!at) fault(c.function.name + "() with another result than two integers");
  c.m.memory.store(at, bits, y == -1 ? 0 - uint64_t(x) : uint64_t(x / y));
  c.m.memory.store(at + bits / 16, bits, y == -1 ? 0 : uint64_t(x % y));
}
void do_div(LIBRARY_CALL& c) {
  divide(c, 16);
}
void do_ldiv(LIBRARY_CALL& c) {
  divide(c, 32);
}
void do_lldiv(LIBRARY_CALL& c) {
  divide(c, 64);
}

void do_time(LIBRARY_CALL& c) {
  auto now = uint64_t(time(nullptr));
  if (uint32_t at = c.pointer(0)) {
    c.need_write(at, 2);
    c.m.memory.store(at, 32, now);
  }
  c.give(int64_t(now));
}
void do_clock(LIBRARY_CALL& c) {
  c.give(int64_t(wrap(uint64_t(clock()) / (CLOCKS_PER_SEC / 1000), 32, false)));
}
void do_difftime(LIBRARY_CALL& c) {
  c.give_number(double(c.integer(0)) - double(c.integer(1)));
}

constexpr LIBRARY_FUNCTION FUNCTIONS[] = {
    {"strtol", do_strtol},     {"strtoul", do_strtoul},   {"strtoll", do_strtoll},
    {"strtoull", do_strtoull}, {"strtoimax", do_strtoll}, {"strtoumax", do_strtoull},
    {"wcstol", do_strtol},     {"wcstoul", do_strtoul},   {"atoi", do_atoi},
    {"atol", do_atoi},         {"atoll", do_atoi},        {"atof", do_strtod},
    {"strtod", do_strtod},     {"strtof", do_strtod},     {"strtold", do_strtod},
    {"div", do_div},           {"ldiv", do_ldiv},         {"lldiv", do_lldiv},
    {"time", do_time},         {"clock", do_clock},       {"difftime", do_difftime},
};

} // namespace

uint32_t LIBRARY_CALL::object_result(uint64_t units) const {
  if (!site.result.in_memory() || site.result.units != units) return 0;
  return m.at_frame + site.result_at;
}

READ_INTEGER read_integer(std::string_view text, unsigned base) {
  READ_INTEGER n;
  size_t i = 0;
  while (i < text.size() && isspace(static_cast<unsigned char>(text[i])))
    ++i;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) n.is_negative = text[i++] == '-';
  auto is_at = [&](size_t k, unsigned of_base) {
    return k < text.size() && unsigned(digit_value(text[k])) < of_base;
  };
  if ((base == 0 || base == 16) && i + 1 < text.size() && text[i] == '0' &&
      (text[i + 1] | 32) == 'x' && is_at(i + 2, 16)) {
    i += 2;
    base = 16;
  }
  if (base == 0) base = i < text.size() && text[i] == '0' ? 8 : 10;
  for (; is_at(i, base); n.length = ++i)
    if (__builtin_mul_overflow(n.magnitude, uint64_t(base), &n.magnitude) ||
        __builtin_add_overflow(n.magnitude, uint64_t(digit_value(text[i])), &n.magnitude))
      n.overflows = true;
  if (n.length == 0) n.is_negative = false;
  return n;
}

std::span<const LIBRARY_FUNCTION> number_functions() {
  return FUNCTIONS;
}

} // namespace icode::run
