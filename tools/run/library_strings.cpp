// Memory, strings and characters.
#include "tools/run/library.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <vector>

namespace icode::run {

void LIBRARY_CALL::move(uint32_t to, uint32_t from, uint64_t units) const {
  need_read(from, units);
  need_write(to, units);
  if (units) memmove(&m.memory.units[to], &m.memory.units[from], units * sizeof(uint16_t));
}

namespace {

void do_memcpy(LIBRARY_CALL& c) {
  c.move(c.pointer(0), c.pointer(1), c.unsigned_bits(2));
  c.give(c.pointer(0));
}
void do_memset(LIBRARY_CALL& c) {
  uint64_t n = c.unsigned_bits(2);
  c.need_write(c.pointer(0), n);
  if (n) std::fill_n(&c.m.memory.units[c.pointer(0)], n, uint16_t(c.integer(1)));
  c.give(c.pointer(0));
}

// The sign of the first difference of two runs of units, within n and, for strings, up to a zero.
int64_t compare(LIBRARY_CALL& c, uint32_t a, uint32_t b, uint64_t n, bool strings) {
  for (uint64_t i = 0; i < n; ++i, ++a, ++b) {
    c.need_read(a, 1);
    c.need_read(b, 1);
    uint16_t x = c.m.memory.units[a], y = c.m.memory.units[b];
    if (x != y) return x < y ? -1 : 1;
    if (strings && x == 0) return 0;
  }
  return 0;
}
void do_memcmp(LIBRARY_CALL& c) {
  c.give(compare(c, c.pointer(0), c.pointer(1), c.unsigned_bits(2), false));
}
void do_strcmp(LIBRARY_CALL& c) {
  c.give(compare(c, c.pointer(0), c.pointer(1), UINT64_MAX, true));
}
void do_strncmp(LIBRARY_CALL& c) {
  c.give(compare(c, c.pointer(0), c.pointer(1), c.unsigned_bits(2), true));
}
void do_strlen(LIBRARY_CALL& c) {
  c.give(int64_t(c.string_length(c.pointer(0))));
}
void do_strcpy(LIBRARY_CALL& c) {
  c.move(c.pointer(0), c.pointer(1), c.string_length(c.pointer(1)) + 1);
  c.give(c.pointer(0));
}
void do_strncpy(LIBRARY_CALL& c) {
  uint32_t to = c.pointer(0);
  uint64_t n = c.unsigned_bits(2), size = c.string_length(c.pointer(1), n);
  c.need_write(to, n);
  c.move(to, c.pointer(1), size);
  if (n) std::fill_n(&c.m.memory.units[to + size], n - size, uint16_t(0));
  c.give(to);
}
void do_strcat(LIBRARY_CALL& c) {
  auto end = uint32_t(c.pointer(0) + c.string_length(c.pointer(0)));
  c.move(end, c.pointer(1), c.string_length(c.pointer(1)) + 1);
  c.give(c.pointer(0));
}
void do_strchr(LIBRARY_CALL& c) {
  auto wanted = uint16_t(c.integer(1));
  for (uint32_t at = c.pointer(0);; at++) {
    c.need_read(at, 1);
    uint16_t unit = c.m.memory.units[at];
    if (unit == wanted) return c.give(at);
    if (unit == 0) return c.give(0);
  }
}

void do_memchr(LIBRARY_CALL& c) {
  auto wanted = uint16_t(c.integer(1));
  uint32_t at = c.pointer(0);
  for (uint64_t n = c.unsigned_bits(2); n > 0; --n, ++at) {
    c.need_read(at, 1);
    if (c.m.memory.units[at] == wanted) return c.give(at);
  }
  c.give(0);
}
void do_strrchr(LIBRARY_CALL& c) {
  auto wanted = uint16_t(c.integer(1));
  uint32_t from = c.pointer(0);
  uint64_t n = c.string_length(from) + 1;
  while (n-- > 0)
    if (c.m.memory.units[from + n] == wanted) return c.give(int64_t(from + n));
  c.give(0);
}
void do_strncat(LIBRARY_CALL& c) {
  auto end = uint32_t(c.pointer(0) + c.string_length(c.pointer(0)));
  uint64_t n = c.string_length(c.pointer(1), c.unsigned_bits(2));
  c.need_write(end, n + 1);
  c.move(end, c.pointer(1), n);
  c.m.memory.units[end + n] = 0;
  c.give(c.pointer(0));
}

// The units of a string.
std::u16string units_of(LIBRARY_CALL& c, uint32_t at) {
  uint64_t n = c.string_length(at);
  const uint16_t* units = &c.m.memory.units[n ? at : 0];
  return std::u16string(units, units + n);
}

// Reads no further than the end of the first place, so that a loop over all places takes a time in
// step with the text; where a part of it has to be looked at again, `back` tells how much is known.
void do_strstr(LIBRARY_CALL& c) {
  const std::u16string part = units_of(c, c.pointer(1));
  if (part.empty()) return c.give(c.pointer(0));
  // Of each beginning of the part, the longest proper end that is a beginning too.
  std::vector<size_t> back(part.size() + 1);
  for (size_t i = 1, k = 0; i < part.size(); back[++i] = k) {
    while (k > 0 && part[k] != part[i])
      k = back[k];
    k += part[k] == part[i];
  }
  size_t known = 0;
  for (uint32_t at = c.pointer(0);; at++) {
    charge_steps(c.m, 1);
    uint16_t unit = c.unit(at);
    if (unit == 0) return c.give(0);
    while (known > 0 && part[known] != unit)
      known = back[known];
    known += part[known] == unit;
    if (known == part.size()) return c.give(int64_t(at + 1 - part.size()));
  }
}
// How many units at the beginning are in the set, or are not.
uint64_t span(LIBRARY_CALL& c, uint32_t at, std::u16string set, bool in_set) {
  std::sort(set.begin(), set.end());
  uint64_t n = 0;
  for (;; n++) {
    uint16_t unit = c.unit(uint32_t(at + n));
    if (unit == 0 || std::binary_search(set.begin(), set.end(), unit) != in_set) break;
  }
  charge_steps(c.m, n);
  return n;
}
void do_strspn(LIBRARY_CALL& c) {
  c.give(int64_t(span(c, c.pointer(0), units_of(c, c.pointer(1)), true)));
}
void do_strcspn(LIBRARY_CALL& c) {
  c.give(int64_t(span(c, c.pointer(0), units_of(c, c.pointer(1)), false)));
}
void do_strpbrk(LIBRARY_CALL& c) {
  auto at = uint32_t(c.pointer(0) + span(c, c.pointer(0), units_of(c, c.pointer(1)), false));
  c.give(c.m.memory.units[at] ? at : 0);
}

// Cuts the next part off the text at `at`; gives its address, 0 at the end.
uint32_t next_part(LIBRARY_CALL& c, uint32_t& at, const std::u16string& separators) {
  auto begin = uint32_t(at + span(c, at, separators, true));
  auto end = uint32_t(begin + span(c, begin, separators, false));
  at = end;
  if (begin == end) return 0;
  if (c.m.memory.units[end]) {
    c.need_write(end, 1);
    c.m.memory.units[end] = 0;
    at = end + 1;
  }
  return begin;
}
void do_strtok(LIBRARY_CALL& c) {
  if (uint32_t text = c.pointer(0)) c.m.token_at = text;
  if (!c.m.token_at) return c.give(0);
  c.give(next_part(c, c.m.token_at, units_of(c, c.pointer(1))));
}
void do_strtok_r(LIBRARY_CALL& c) {
  uint32_t kept = c.pointer(2), at = c.pointer(0);
  if (!at) {
    c.need_read(kept, 2);
    at = uint32_t(c.m.memory.load(kept, 32));
  }
  uint32_t part = at ? next_part(c, at, units_of(c, c.pointer(1))) : 0;
  c.need_write(kept, 2);
  c.m.memory.store(kept, 32, at);
  c.give(part);
}

void duplicate(LIBRARY_CALL& c, uint64_t limit) {
  uint32_t from = c.pointer(0);
  uint64_t n = c.string_length(from, limit);
  uint32_t to = c.m.memory.allocate(n + 1);
  if (to) {
    c.move(to, from, n);
    c.m.memory.units[to + n] = 0;
  }
  c.give(to);
}
void do_strdup(LIBRARY_CALL& c) {
  duplicate(c, UINT64_MAX);
}
void do_strndup(LIBRARY_CALL& c) {
  duplicate(c, c.unsigned_bits(1));
}
void do_strnlen(LIBRARY_CALL& c) {
  c.give(int64_t(c.string_length(c.pointer(0), c.unsigned_bits(1))));
}

int small_letter(uint16_t unit) {
  return unit < 128 ? tolower(unit) : unit;
}
void compare_letters(LIBRARY_CALL& c, uint64_t n) {
  uint32_t a = c.pointer(0), b = c.pointer(1);
  for (; n > 0; --n, ++a, ++b) {
    c.need_read(a, 1);
    c.need_read(b, 1);
    int x = small_letter(c.m.memory.units[a]), y = small_letter(c.m.memory.units[b]);
    if (x != y || x == 0) return c.give(x - y);
  }
  c.give(0);
}
void do_strcasecmp(LIBRARY_CALL& c) {
  compare_letters(c, UINT64_MAX);
}
void do_strncasecmp(LIBRARY_CALL& c) {
  compare_letters(c, c.unsigned_bits(2));
}
void do_strxfrm(LIBRARY_CALL& c) {
  uint64_t n = c.string_length(c.pointer(1));
  if (n < c.unsigned_bits(2)) c.move(c.pointer(0), c.pointer(1), n + 1);
  c.give(int64_t(n));
}
void do_strerror(LIBRARY_CALL& c) {
  std::string text = "error " + std::to_string(c.integer(0));
  if (!c.m.error_text) c.m.error_text = c.m.memory.allocate(32);
  if (c.m.error_text) c.store_string(c.m.error_text, text);
  c.give(c.m.error_text);
}

// The functions of wide characters are the same ones: a character is a unit in both.
constexpr LIBRARY_FUNCTION FUNCTIONS[] = {
    {"memcpy", do_memcpy},         {"wmemcpy", do_memcpy},          {"memmove", do_memcpy},
    {"wmemmove", do_memcpy},       {"memset", do_memset},           {"wmemset", do_memset},
    {"memcmp", do_memcmp},         {"wmemcmp", do_memcmp},          {"memchr", do_memchr},
    {"wmemchr", do_memchr},        {"strlen", do_strlen},           {"wcslen", do_strlen},
    {"strcmp", do_strcmp},         {"wcscmp", do_strcmp},           {"strcoll", do_strcmp},
    {"strncmp", do_strncmp},       {"wcsncmp", do_strncmp},         {"strcpy", do_strcpy},
    {"wcscpy", do_strcpy},         {"strncpy", do_strncpy},         {"wcsncpy", do_strncpy},
    {"strcat", do_strcat},         {"wcscat", do_strcat},           {"strncat", do_strncat},
    {"wcsncat", do_strncat},       {"strchr", do_strchr},           {"wcschr", do_strchr},
    {"strrchr", do_strrchr},       {"wcsrchr", do_strrchr},         {"strstr", do_strstr},
    {"wcsstr", do_strstr},         {"strspn", do_strspn},           {"strcspn", do_strcspn},
    {"strpbrk", do_strpbrk},       {"strtok", do_strtok},           {"strtok_r", do_strtok_r},
    {"strdup", do_strdup},         {"strndup", do_strndup},         {"strnlen", do_strnlen},
    {"strcasecmp", do_strcasecmp}, {"strncasecmp", do_strncasecmp}, {"strxfrm", do_strxfrm},
    {"strerror", do_strerror},
};

} // namespace

std::span<const LIBRARY_FUNCTION> string_functions() {
  return FUNCTIONS;
}

} // namespace icode::run
