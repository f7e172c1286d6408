#include "tools/run_library.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace icode::run {

Scalar LibraryCall::type(size_t i) const {
  if (i >= count()) fault(function.name + "() gets too few arguments");
  const Shape& s = site.arguments[i];
  if (!s.is_scalar())
    fault("argument " + std::to_string(i + 1) + " of " + function.name + "() is no scalar");
  return s.scalar;
}

int64_t LibraryCall::integer(size_t i) const {
  Scalar from = type(i);
  return int64_t(convert(arguments[i], from, INT64));
}
uint64_t LibraryCall::unsigned_bits(size_t i) const {
  return wrap(natural(i), type(i).bits, false);
}
int64_t LibraryCall::signed_bits(size_t i) const {
  return int64_t(wrap(natural(i), type(i).bits, true));
}
double LibraryCall::number(size_t i) const {
  Scalar from = type(i);
  return as_double(convert(arguments[i], from, DOUBLE));
}
uint32_t LibraryCall::pointer(size_t i) const {
  return uint32_t(integer(i));
}

void LibraryCall::give(int64_t v) {
  if (site.result.is_scalar()) result = convert(uint64_t(v), INT64, site.result.scalar);
}
void LibraryCall::give_number(double v) {
  if (site.result.is_scalar()) result = convert(from_double(v), DOUBLE, site.result.scalar);
}

void LibraryCall::need_read(uint32_t at, uint64_t units) const {
  if (!m.memory.readable(at, units)) bad_access(m.memory, at, units, false);
  charge_steps(m, units);
}
void LibraryCall::need_write(uint32_t at, uint64_t units) const {
  if (!m.memory.writable(at, units)) bad_access(m.memory, at, units, true);
  charge_steps(m, units);
}

uint64_t LibraryCall::string_length(uint32_t at, uint64_t limit) const {
  uint64_t n = 0;
  for (; n < limit; ++n) {
    auto unit = uint32_t(at + n);
    if (!m.memory.can_read(unit, 1)) bad_access(m.memory, unit, 1, false);
    if (m.memory.units[unit] == 0) break;
  }
  charge_steps(m, n);
  return n;
}

std::string LibraryCall::string(uint32_t at) const {
  std::string text(string_length(at), '\0');
  for (size_t i = 0; i < text.size(); ++i)
    text[i] = char(m.memory.units[at + i]);
  return text;
}

void put_text(Machine& m, const std::string& text) {
  constexpr size_t BUFFER = 1 << 16;
  m.output += text;
  if (m.output.size() > BUFFER) flush_output(m);
}

namespace {

using Call = LibraryCall;

constexpr uint64_t STDERR = 2;

// --- Output ---

void put_to(Call& c, size_t stream, const std::string& text) {
  if (c.natural(stream) == STDERR) {
    flush_output(c.m);
    fwrite(text.data(), 1, text.size(), stderr);
  } else {
    put_text(c.m, text);
  }
}

std::string format_of(Call& c, size_t at) {
  return format(c.string(c.pointer(at)), {c, at + 1});
}
// With the variable arguments in memory, at the address that argument at + 1 gives.
std::string list_format_of(Call& c, size_t at) {
  FormatArguments arguments{c};
  arguments.in_memory = true;
  arguments.at = c.pointer(at + 1);
  return format(c.string(c.pointer(at)), arguments);
}

void store_string(Call& c, uint32_t at, const std::string& text) {
  c.need_write(at, text.size() + 1);
  for (size_t i = 0; i < text.size(); ++i)
    c.m.memory.units[at + i] = uint8_t(text[i]);
  c.m.memory.units[at + text.size()] = 0;
}

void give_printed(Call& c, const std::string& text) {
  put_text(c.m, text);
  c.give(int64_t(text.size()));
}
void give_string(Call& c, const std::string& text) {
  store_string(c, c.pointer(0), text);
  c.give(int64_t(text.size()));
}
void give_cut_string(Call& c, const std::string& text) {
  uint64_t room = c.unsigned_bits(1);
  if (room) store_string(c, c.pointer(0), text.substr(0, room - 1));
  c.give(int64_t(text.size()));
}

void do_printf(Call& c) {
  give_printed(c, format_of(c, 0));
}
void do_vprintf(Call& c) {
  give_printed(c, list_format_of(c, 0));
}
void do_sprintf(Call& c) {
  give_string(c, format_of(c, 1));
}
void do_vsprintf(Call& c) {
  give_string(c, list_format_of(c, 1));
}
void do_snprintf(Call& c) {
  give_cut_string(c, format_of(c, 2));
}
void do_vsnprintf(Call& c) {
  give_cut_string(c, list_format_of(c, 2));
}
void do_fprintf(Call& c) {
  std::string text = format_of(c, 1);
  put_to(c, 0, text);
  c.give(int64_t(text.size()));
}
void do_puts(Call& c) {
  put_text(c.m, c.string(c.pointer(0)) + "\n");
  c.give(0);
}
void do_fputs(Call& c) {
  put_to(c, 1, c.string(c.pointer(0)));
  c.give(0);
}
void do_putchar(Call& c) {
  put_text(c.m, std::string(1, char(c.integer(0))));
  c.give(c.integer(0));
}
void do_fputc(Call& c) {
  put_to(c, 1, std::string(1, char(c.integer(0))));
  c.give(c.integer(0));
}
void do_fflush(Call& c) {
  flush_output(c.m);
  c.give(0);
}

// --- Memory and strings ---

void move_memory(Call& c, uint32_t to, uint32_t from, uint64_t n) {
  c.need_read(from, n);
  c.need_write(to, n);
  if (n) memmove(&c.m.memory.units[to], &c.m.memory.units[from], n * sizeof(uint16_t));
}
void do_memcpy(Call& c) {
  move_memory(c, c.pointer(0), c.pointer(1), c.unsigned_bits(2));
  c.give(c.pointer(0));
}
void do_memset(Call& c) {
  uint64_t n = c.unsigned_bits(2);
  c.need_write(c.pointer(0), n);
  if (n) std::fill_n(&c.m.memory.units[c.pointer(0)], n, uint16_t(c.integer(1)));
  c.give(c.pointer(0));
}

// The sign of the first difference of two runs of units, within n and, for strings, up to a zero.
int64_t compare(Call& c, uint32_t a, uint32_t b, uint64_t n, bool strings) {
  for (uint64_t i = 0; i < n; ++i, ++a, ++b) {
    c.need_read(a, 1);
    c.need_read(b, 1);
    uint16_t x = c.m.memory.units[a], y = c.m.memory.units[b];
    if (x != y) return x < y ? -1 : 1;
    if (strings && x == 0) return 0;
  }
  return 0;
}
void do_memcmp(Call& c) {
  c.give(compare(c, c.pointer(0), c.pointer(1), c.unsigned_bits(2), false));
}
void do_strcmp(Call& c) {
  c.give(compare(c, c.pointer(0), c.pointer(1), UINT64_MAX, true));
}
void do_strncmp(Call& c) {
  c.give(compare(c, c.pointer(0), c.pointer(1), c.unsigned_bits(2), true));
}
void do_strlen(Call& c) {
  c.give(int64_t(c.string_length(c.pointer(0))));
}
void do_strcpy(Call& c) {
  move_memory(c, c.pointer(0), c.pointer(1), c.string_length(c.pointer(1)) + 1);
  c.give(c.pointer(0));
}
void do_strncpy(Call& c) {
  uint32_t to = c.pointer(0);
  uint64_t n = c.unsigned_bits(2), size = c.string_length(c.pointer(1), n);
  c.need_write(to, n);
  move_memory(c, to, c.pointer(1), size);
  if (n) std::fill_n(&c.m.memory.units[to + size], n - size, uint16_t(0));
  c.give(to);
}
void do_strcat(Call& c) {
  auto end = uint32_t(c.pointer(0) + c.string_length(c.pointer(0)));
  move_memory(c, end, c.pointer(1), c.string_length(c.pointer(1)) + 1);
  c.give(c.pointer(0));
}
void do_strchr(Call& c) {
  auto wanted = uint16_t(c.integer(1));
  for (uint32_t at = c.pointer(0);; ++at) {
    c.need_read(at, 1);
    uint16_t unit = c.m.memory.units[at];
    if (unit == wanted) return c.give(at);
    if (unit == 0) return c.give(0);
  }
}

uint32_t allocate(Call& c, uint64_t units) {
  charge_steps(c.m, std::min<uint64_t>(units, ARENA_UNITS));
  return c.m.memory.allocate(units);
}
void release(Call& c, uint32_t at) {
  if (at && !c.m.memory.release(at)) fault(c.function.name + "() of what is no block of the heap");
}
void do_malloc(Call& c) {
  c.give(allocate(c, c.unsigned_bits(0)));
}
void do_calloc(Call& c) {
  uint64_t n = c.unsigned_bits(0), size = c.unsigned_bits(1);
  uint64_t units = n <= ARENA_UNITS && size <= ARENA_UNITS ? n * size : ARENA_UNITS + 1;
  uint32_t at = allocate(c, units);
  if (at) std::fill_n(&c.m.memory.units[at], units, uint16_t(0));
  c.give(at);
}
void do_realloc(Call& c) {
  uint32_t old = c.pointer(0);
  uint64_t units = c.unsigned_bits(1), old_units = c.m.memory.block_size(old);
  uint32_t at = allocate(c, units);
  if (at && old) {
    move_memory(c, at, old, std::min(units, old_units));
    release(c, old);
  }
  c.give(at);
}
void do_free(Call& c) {
  release(c, c.pointer(0));
}

// --- Sorting and searching ---

int64_t call_comparison(Call& c, uint32_t function, uint32_t a, uint32_t b) {
  const FunctionCode* f = c.m.program.function_at(function);
  if (!f || !f->has_body) fault("a comparison that is no function of the program");
  if (f->params.size() != 2 || !f->params[0].is_scalar() || !f->params[1].is_scalar() ||
      !f->result.is_scalar())
    fault(f->name + "() is no comparison function");
  auto as = [&](size_t i, uint32_t v) { return convert(v, POINTER, f->params[i].scalar); };
  uint64_t v = run_function(c.m, *f, {as(0, a), as(1, b)});
  return int64_t(convert(v, f->result.scalar, INT64));
}

// Merges runs of growing length, so that any comparison function, even one that contradicts
// itself, ends in a permutation. Elements stay in place until all comparisons are made.
void do_qsort(Call& c) {
  uint32_t base = c.pointer(0), function = c.pointer(3);
  uint64_t n = c.unsigned_bits(1), size = c.unsigned_bits(2);
  if (n < 2 || size == 0) return;
  if (n > ARENA_UNITS / size) bad_access(c.m.memory, base, n, true);
  c.need_read(base, n * size);
  c.need_write(base, n * size);
  std::vector<uint32_t> order(n), merged(n);
  for (uint64_t i = 0; i < n; ++i)
    order[i] = uint32_t(base + i * size);
  for (uint64_t run = 1; run < n; run *= 2) {
    for (uint64_t begin = 0; begin < n; begin += 2 * run) {
      uint64_t middle = std::min(begin + run, n), end = std::min(begin + 2 * run, n);
      uint64_t i = begin, k = middle;
      for (uint64_t to = begin; to < end; ++to) {
        bool from_left =
            k == end || (i < middle && call_comparison(c, function, order[i], order[k]) <= 0);
        merged[to] = from_left ? order[i++] : order[k++];
      }
    }
    order.swap(merged);
  }
  std::vector<uint16_t> sorted;
  sorted.reserve(n * size);
  for (uint32_t at : order)
    sorted.insert(sorted.end(), &c.m.memory.units[at], &c.m.memory.units[at] + size);
  c.need_write(base, n * size); // a comparison may have freed them
  std::copy(sorted.begin(), sorted.end(), &c.m.memory.units[base]);
}

void do_bsearch(Call& c) {
  uint32_t key = c.pointer(0), base = c.pointer(1), function = c.pointer(4);
  uint64_t low = 0, high = c.unsigned_bits(2), size = c.unsigned_bits(3);
  while (low < high) {
    uint64_t middle = low + (high - low) / 2;
    auto at = uint32_t(base + middle * size);
    int64_t order = call_comparison(c, function, key, at);
    if (order == 0) return c.give(at);
    (order < 0 ? high : low) = order < 0 ? middle : middle + 1;
  }
  c.give(0);
}

// --- The rest ---

void do_abs(Call& c) {
  int64_t v = c.integer(0);
  c.give(v < 0 ? int64_t(0 - uint64_t(v)) : v);
}
void do_exit(Call& c) {
  throw ProgramExit{c.integer(0)};
}
void do_abort(Call&) {
  fault("abort() is called");
}
void do_rand(Call& c) {
  c.m.random = c.m.random * 1103515245 + 12345;
  c.give(c.m.random >> 16 & 0x7FFF);
}
void do_srand(Call& c) {
  c.m.random = uint32_t(c.integer(0));
}

template <double F(double)> void do_math(Call& c) {
  c.give_number(F(c.number(0)));
}
template <double F(double, double)> void do_math2(Call& c) {
  c.give_number(F(c.number(0), c.number(1)));
}
template <int F(int)> void do_class(Call& c) {
  int64_t v = c.integer(0);
  c.give(v >= 0 && v <= 127 && F(int(v)));
}
template <int F(int)> void do_case(Call& c) {
  int64_t v = c.integer(0);
  c.give(v >= 0 && v <= 127 ? F(int(v)) : v);
}

struct LibraryFunction {
  const char* name;
  void (*run)(Call&);
};

#define MATH(name)                                                                                 \
  {#name, do_math<std::name>}, {                                                                   \
#name "f", do_math < std::name>                                                                \
  }
#define MATH2(name)                                                                                \
  {#name, do_math2<std::name>}, {                                                                  \
#name "f", do_math2 < std::name>                                                               \
  }
#define CTYPE(name)                                                                                \
  { #name, do_class < name> }
constexpr LibraryFunction FUNCTIONS[] = {
    {"printf", do_printf},
    {"vprintf", do_vprintf},
    {"sprintf", do_sprintf},
    {"vsprintf", do_vsprintf},
    {"snprintf", do_snprintf},
    {"vsnprintf", do_vsnprintf},
    {"fprintf", do_fprintf},
    {"puts", do_puts},
    {"fputs", do_fputs},
    {"putchar", do_putchar},
    {"putc", do_fputc},
    {"fputc", do_fputc},
    {"fflush", do_fflush},
    {"memcpy", do_memcpy},
    {"memmove", do_memcpy},
    {"memset", do_memset},
    {"memcmp", do_memcmp},
    {"strlen", do_strlen},
    {"strcmp", do_strcmp},
    {"strncmp", do_strncmp},
    {"strcpy", do_strcpy},
    {"strncpy", do_strncpy},
    {"strcat", do_strcat},
    {"strchr", do_strchr},
    {"malloc", do_malloc},
    {"calloc", do_calloc},
    {"realloc", do_realloc},
    {"free", do_free},
    {"qsort", do_qsort},
    {"bsearch", do_bsearch},
    {"abs", do_abs},
    {"labs", do_abs},
    {"llabs", do_abs},
    {"exit", do_exit},
    {"abort", do_abort},
    {"rand", do_rand},
    {"srand", do_srand},
    MATH(sqrt),
    MATH(fabs),
    MATH(floor),
    MATH(ceil),
    MATH(sin),
    MATH(cos),
    MATH(tan),
    MATH(atan),
    MATH(exp),
    MATH(log),
    MATH(log10),
    MATH2(fmod),
    MATH2(pow),
    MATH2(atan2),
    CTYPE(isalpha),
    CTYPE(isdigit),
    CTYPE(isspace),
    CTYPE(isupper),
    CTYPE(islower),
    CTYPE(isalnum),
    CTYPE(isxdigit),
    CTYPE(ispunct),
    {"toupper", do_case<toupper>},
    {"tolower", do_case<tolower>},
};

std::string_view without_underscores(const std::string& name) {
  return std::string_view(name).substr(std::min(name.find_first_not_of('_'), name.size()));
}

} // namespace

int find_library_function(const std::string& name) {
  for (size_t i = 0; i < std::size(FUNCTIONS); ++i)
    if (without_underscores(name) == FUNCTIONS[i].name) return int(i);
  return -1;
}

int standard_stream(const std::string& name) {
  std::string_view plain = without_underscores(name);
  return plain == "stdout" ? 1 : plain == "stderr" ? int(STDERR) : 0;
}

uint64_t call_library(Machine& m, const FunctionCode& f, const CallSite& site,
                      uint64_t* arguments) {
  LibraryCall call{m, f, site, arguments};
  FUNCTIONS[f.library].run(call);
  return call.result;
}

} // namespace icode::run
