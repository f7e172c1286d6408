#include "tools/run/library.h"

#include <algorithm>
#include <cctype>
#include <cmath>

namespace icode::run {

SCALAR LIBRARY_CALL::type(size_t i) const {
  if (i >= count()) fault(function.name + "() gets too few arguments");
  const SHAPE& s = site.arguments[i];
  if (!s.is_scalar())
    fault("argument " + std::to_string(i + 1) + " of " + function.name + "() is no scalar");
  return s.scalar;
}

int64_t LIBRARY_CALL::integer(size_t i) const {
  SCALAR from = type(i);
  return int64_t(convert(arguments[i], from, INT64));
}
uint64_t LIBRARY_CALL::unsigned_bits(size_t i) const {
  return wrap(natural(i), type(i).bits, false);
}
int64_t LIBRARY_CALL::signed_bits(size_t i) const {
  return int64_t(wrap(natural(i), type(i).bits, true));
}
double LIBRARY_CALL::number(size_t i) const {
  SCALAR from = type(i);
  return as_double(convert(arguments[i], from, DOUBLE));
}
uint32_t LIBRARY_CALL::pointer(size_t i) const {
  return uint32_t(integer(i));
}

void LIBRARY_CALL::give(int64_t v) {
  if (site.result.is_scalar()) result = convert(uint64_t(v), INT64, site.result.scalar);
}
void LIBRARY_CALL::give_number(double v) {
  if (site.result.is_scalar()) result = convert(from_double(v), DOUBLE, site.result.scalar);
}

void LIBRARY_CALL::need_read(uint32_t at, uint64_t units) const {
  if (!m.memory.readable(at, units)) bad_access(m.memory, at, units, false);
  charge_steps(m, units);
}
void LIBRARY_CALL::need_write(uint32_t at, uint64_t units) const {
  if (!m.memory.writable(at, units)) bad_access(m.memory, at, units, true);
  charge_steps(m, units);
}

uint16_t LIBRARY_CALL::unit(uint32_t at) const {
  if (!m.memory.can_read(at, 1)) bad_access(m.memory, at, 1, false);
  return m.memory.units[at];
}

uint64_t LIBRARY_CALL::string_length(uint32_t at, uint64_t limit) const {
  uint64_t n = 0;
  while (n < limit && unit(uint32_t(at + n)) != 0)
    ++n;
  charge_steps(m, n);
  return n;
}

std::string LIBRARY_CALL::string(uint32_t at) const {
  std::string text(string_length(at), '\0');
  for (size_t i = 0; i < text.size(); i++)
    text[i] = char(m.memory.units[at + i]);
  return text;
}

void LIBRARY_CALL::store_string(uint32_t at, std::string_view text) const {
  need_write(at, text.size() + 1);
  for (size_t i = 0; i < text.size(); i++)
    m.memory.units[at + i] = uint8_t(text[i]);
  m.memory.units[at + text.size()] = 0;
}

void LIBRARY_CALL::set_error(int number) const {
  auto known = m.program.external.find("errno");
  if (known == m.program.external.end()) return;
  uint32_t at = m.program.global_address[known->second];
  if (m.memory.writable(at, 1)) m.memory.units[at] = uint16_t(number);
}

namespace {

uint32_t allocate(LIBRARY_CALL& c, uint64_t units) {
  charge_steps(c.m, std::min<uint64_t>(units, ARENA_UNITS));
  return c.m.memory.allocate(units);
}
void release(LIBRARY_CALL& c, uint32_t at) {
  if (at && !c.m.memory.release(at)) fault(c.function.name + "() of what is no block of the heap");
}
void do_malloc(LIBRARY_CALL& c) {
  c.give(allocate(c, c.unsigned_bits(0)));
}
void do_calloc(LIBRARY_CALL& c) {
  uint64_t n = c.unsigned_bits(0), size = c.unsigned_bits(1);
  uint64_t units = n <= ARENA_UNITS && size <= ARENA_UNITS ? n * size : ARENA_UNITS + 1;
  uint32_t at = allocate(c, units);
  if (at) std::fill_n(&c.m.memory.units[at], units, uint16_t(0));
  c.give(at);
}
void do_realloc(LIBRARY_CALL& c) {
  uint32_t old = c.pointer(0);
  uint64_t units = c.unsigned_bits(1), old_units = c.m.memory.block_size(old);
  uint32_t at = allocate(c, units);
  if (at && old) {
    c.move(at, old, std::min(units, old_units));
    release(c, old);
  }
  c.give(at);
}
void do_free(LIBRARY_CALL& c) {
  release(c, c.pointer(0));
}

// --- Sorting and searching ---

int64_t call_comparison(LIBRARY_CALL& c, uint32_t function, uint32_t a, uint32_t b) {
  const FUNCTION_CODE* f = c.m.program.function_at(function);
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
void do_qsort(LIBRARY_CALL& c) {
  uint32_t base = c.pointer(0), function = c.pointer(3);
  uint64_t n = c.unsigned_bits(1), size = c.unsigned_bits(2);
  if (n < 2 || size == 0) return;
  if (n > ARENA_UNITS / size) bad_access(c.m.memory, base, n, true);
  c.need_read(base, n * size);
  c.need_write(base, n * size);
  std::vector<uint32_t> order(n), merged(n);
  for (uint64_t i = 0; i < n; i++)
    order[i] = uint32_t(base + i * size);
  for (uint64_t run = 1; run < n; run *= 2) {
    for (uint64_t begin = 0; begin < n; begin += 2 * run) {
      uint64_t middle = std::min(begin + run, n), end = std::min(begin + 2 * run, n);
      uint64_t i = begin, k = middle;
      for (uint64_t to = begin; to < end; to++) {
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

void do_bsearch(LIBRARY_CALL& c) {
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

constexpr size_t MAX_EXIT_FUNCTIONS = 1000;

void do_abs(LIBRARY_CALL& c) {
  int64_t v = c.integer(0);
  c.give(v < 0 ? int64_t(0 - uint64_t(v)) : v);
}
void do_exit(LIBRARY_CALL& c) {
  throw PROGRAM_EXIT{c.integer(0), true};
}
void do_quick_exit(LIBRARY_CALL& c) {
  throw PROGRAM_EXIT{c.integer(0), false};
}
void do_atexit(LIBRARY_CALL& c) {
  const FUNCTION_CODE* f = c.m.program.function_at(c.pointer(0));
  bool good = f && f->has_body && c.m.exit_functions.size() < MAX_EXIT_FUNCTIONS;
  if (good) c.m.exit_functions.push_back(f);
  c.give(!good);
}
void do_abort(LIBRARY_CALL&) {
  fault("abort() is called");
}
void do_rand(LIBRARY_CALL& c) {
  c.m.random = c.m.random * 1103515245 + 12345;
  c.give(c.m.random >> 16 & 0x7FFF);
}
void do_srand(LIBRARY_CALL& c) {
  c.m.random = uint32_t(c.integer(0));
}

template <double F(double)> void do_math(LIBRARY_CALL& c) {
  c.give_number(F(c.number(0)));
}
template <double F(double, double)> void do_math2(LIBRARY_CALL& c) {
  c.give_number(F(c.number(0), c.number(1)));
}
// Those with an integer or a pointer beside the number.
template <double F(double)> void do_rounding(LIBRARY_CALL& c) {
  double v = F(c.number(0));
  c.give(float_to_int(v, true));
}
double to_even(double v) {
  return std::nearbyint(v);
}
void do_ldexp(LIBRARY_CALL& c) {
  c.give_number(std::ldexp(c.number(0), int(std::clamp<int64_t>(c.integer(1), -5000, 5000))));
}
void do_frexp(LIBRARY_CALL& c) {
  int exponent = 0;
  double v = std::frexp(c.number(0), &exponent);
  c.need_write(c.pointer(1), 1);
  c.m.memory.units[c.pointer(1)] = uint16_t(exponent);
  c.give_number(v);
}
void do_modf(LIBRARY_CALL& c) {
  // The whole part has the result's type.
  double whole = 0, v = std::modf(c.number(0), &whole);
  SCALAR type = c.site.result.is_scalar() ? c.site.result.scalar : DOUBLE;
  c.need_write(c.pointer(1), type.bits / 16);
  c.m.memory.store(c.pointer(1), type.bits, convert(from_double(whole), DOUBLE, type));
  c.give_number(v);
}
void do_fma(LIBRARY_CALL& c) {
  c.give_number(std::fma(c.number(0), c.number(1), c.number(2)));
}

template <int F(int)> void do_class(LIBRARY_CALL& c) {
  int64_t v = c.integer(0);
  c.give(v >= 0 && v <= 127 && F(int(v)));
}
template <int F(int)> void do_case(LIBRARY_CALL& c) {
  int64_t v = c.integer(0);
  c.give(v >= 0 && v <= 127 ? F(int(v)) : v);
}

#define MATH(name)                                                                                 \
  {#name, do_math<std::name>}, {#name "f", do_math<std::name>}, {                                  \
#name "l", do_math < std::name>                                                                \
  }
#define MATH2(name)                                                                                \
  {#name, do_math2<std::name>}, {#name "f", do_math2<std::name>}, {                                \
#name "l", do_math2 < std::name>                                                               \
  }
#define FORMS(name, run)                                                                           \
  {#name, run}, {#name "f", run}, {                                                                \
#name "l", run                                                                                 \
  }
#define CTYPE(name)                                                                                \
  { #name, do_class < name> }
constexpr LIBRARY_FUNCTION FUNCTIONS[] = {
    {"malloc", do_malloc},
    {"calloc", do_calloc},
    {"realloc", do_realloc},
    {"free", do_free},
    {"qsort", do_qsort},
    {"bsearch", do_bsearch},
    {"abs", do_abs},
    {"labs", do_abs},
    {"llabs", do_abs},
    {"imaxabs", do_abs},
    {"exit", do_exit},
    {"Exit", do_quick_exit},
    {"quick_exit", do_quick_exit},
    {"atexit", do_atexit},
    {"abort", do_abort},
    {"rand", do_rand},
    {"srand", do_srand},
    {"setjmp", set_jump},
    {"longjmp", jump_back},
    MATH(sqrt),
    MATH(cbrt),
    MATH(fabs),
    MATH(floor),
    MATH(ceil),
    MATH(round),
    MATH(trunc),
    MATH(rint),
    MATH(nearbyint),
    MATH(sin),
    MATH(cos),
    MATH(tan),
    MATH(asin),
    MATH(acos),
    MATH(atan),
    MATH(sinh),
    MATH(cosh),
    MATH(tanh),
    MATH(asinh),
    MATH(acosh),
    MATH(atanh),
    MATH(exp),
    MATH(exp2),
    MATH(expm1),
    MATH(log),
    MATH(log2),
    MATH(log10),
    MATH(log1p),
    MATH2(fmod),
    MATH2(remainder),
    MATH2(pow),
    MATH2(atan2),
    MATH2(hypot),
    MATH2(fmin),
    MATH2(fmax),
    MATH2(fdim),
    MATH2(copysign),
    FORMS(lround, do_rounding<std::round>),
    FORMS(llround, do_rounding<std::round>),
    FORMS(lrint, do_rounding<to_even>),
    FORMS(llrint, do_rounding<to_even>),
    FORMS(ldexp, do_ldexp),
    FORMS(scalbn, do_ldexp),
    FORMS(frexp, do_frexp),
    FORMS(modf, do_modf),
    FORMS(fma, do_fma),
    CTYPE(isalpha),
    CTYPE(isdigit),
    CTYPE(isspace),
    CTYPE(isblank),
    CTYPE(isupper),
    CTYPE(islower),
    CTYPE(isalnum),
    CTYPE(isxdigit),
    CTYPE(ispunct),
    CTYPE(isprint),
    CTYPE(isgraph),
    CTYPE(iscntrl),
    {"toupper", do_case<toupper>},
    {"tolower", do_case<tolower>},
};

const std::vector<LIBRARY_FUNCTION>& all_functions() {
  static const std::vector<LIBRARY_FUNCTION> all = [] {
    std::vector<LIBRARY_FUNCTION> list(std::begin(FUNCTIONS), std::end(FUNCTIONS));
    for (std::span<const LIBRARY_FUNCTION> more :
         {string_functions(), stream_functions(), number_functions()})
      list.insert(list.end(), more.begin(), more.end());
    return list;
  }();
  return all;
}

std::string_view without_underscores(const std::string& name) {
  return std::string_view(name).substr(std::min(name.find_first_not_of('_'), name.size()));
}

} // namespace

int find_library_function(const std::string& name) {
  const auto& all = all_functions();
  for (size_t i = 0; i < all.size(); i++)
    if (without_underscores(name) == all[i].name) return int(i);
  return -1;
}

int standard_stream(const std::string& name) {
  std::string_view plain = without_underscores(name);
  return plain == "stdin" ? STDIN : plain == "stdout" ? STDOUT : plain == "stderr" ? STDERR : 0;
}

uint64_t call_library(MACHINE& m, const FUNCTION_CODE& f, const CALL_SITE& site,
                      uint64_t* arguments) {
  LIBRARY_CALL call{m, f, site, arguments};
  all_functions()[size_t(f.library)].run(call);
  return call.result;
}

} // namespace icode::run
