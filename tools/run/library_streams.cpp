// Streams: output to the standard streams, input from the standard input. There are no files.
#include "tools/run/library.h"

#include <algorithm>
#include <cstdio>

namespace icode::run {

void put_text(MACHINE& m, const std::string& text) {
  constexpr size_t BUFFER = 1 << 16;
  m.output += text;
  if (m.output.size() > BUFFER) flush_output(m);
}

namespace {

// Of `n` elements, for what is moved to or from memory.
uint64_t checked_size(LIBRARY_CALL& c, uint64_t size, uint64_t n) {
  if (size && n > ARENA_UNITS / size) fault(c.function.name + "() of more than the memory holds");
  return size * n;
}

// --- Output ---

void put_to(LIBRARY_CALL& c, size_t argument, const std::string& text) {
  switch (c.natural(argument)) {
  case STDERR:
    flush_output(c.m);
    fwrite(text.data(), 1, text.size(), stderr);
    return;
  case STDOUT: return put_text(c.m, text);
  default: fault(c.function.name + "() to what is no stream for output");
  }
}

std::string format_of(LIBRARY_CALL& c, size_t at) {
  return format(c.string(c.pointer(at)), {c, at + 1});
}
// With the variable arguments in memory, at the address that argument at + 1 gives.
std::string list_format_of(LIBRARY_CALL& c, size_t at) {
  FORMAT_ARGUMENTS arguments{c};
  arguments.in_memory = true;
  arguments.at = c.pointer(at + 1);
  return format(c.string(c.pointer(at)), arguments);
}

void give_printed(LIBRARY_CALL& c, const std::string& text) {
  put_text(c.m, text);
  c.give(int64_t(text.size()));
}
void give_string(LIBRARY_CALL& c, const std::string& text) {
  c.store_string(c.pointer(0), text);
  c.give(int64_t(text.size()));
}
void give_cut_string(LIBRARY_CALL& c, const std::string& text) {
  uint64_t room = c.unsigned_bits(1);
  if (room) c.store_string(c.pointer(0), text.substr(0, room - 1));
  c.give(int64_t(text.size()));
}

void do_printf(LIBRARY_CALL& c) {
  give_printed(c, format_of(c, 0));
}
void do_vprintf(LIBRARY_CALL& c) {
  give_printed(c, list_format_of(c, 0));
}
void do_sprintf(LIBRARY_CALL& c) {
  give_string(c, format_of(c, 1));
}
void do_vsprintf(LIBRARY_CALL& c) {
  give_string(c, list_format_of(c, 1));
}
void do_snprintf(LIBRARY_CALL& c) {
  give_cut_string(c, format_of(c, 2));
}
void do_vsnprintf(LIBRARY_CALL& c) {
  give_cut_string(c, list_format_of(c, 2));
}
void do_fprintf(LIBRARY_CALL& c) {
  std::string text = format_of(c, 1);
  put_to(c, 0, text);
  c.give(int64_t(text.size()));
}
void do_vfprintf(LIBRARY_CALL& c) {
  std::string text = list_format_of(c, 1);
  put_to(c, 0, text);
  c.give(int64_t(text.size()));
}
void do_puts(LIBRARY_CALL& c) {
  put_text(c.m, c.string(c.pointer(0)) + "\n");
  c.give(0);
}
void do_fputs(LIBRARY_CALL& c) {
  put_to(c, 1, c.string(c.pointer(0)));
  c.give(0);
}
void do_putchar(LIBRARY_CALL& c) {
  put_text(c.m, std::string(1, char(c.integer(0))));
  c.give(c.integer(0));
}
void do_fputc(LIBRARY_CALL& c) {
  put_to(c, 1, std::string(1, char(c.integer(0))));
  c.give(c.integer(0));
}
void do_fwrite(LIBRARY_CALL& c) {
  uint64_t size = c.unsigned_bits(1), n = c.unsigned_bits(2), units = checked_size(c, size, n);
  uint32_t from = c.pointer(0);
  c.need_read(from, units);
  std::string text(units, 0);
  for (uint64_t i = 0; i < units; i++)
    text[i] = char(c.m.memory.units[from + i]);
  put_to(c, 3, text);
  c.give(size ? int64_t(n) : 0);
}
void do_perror(LIBRARY_CALL& c) {
  std::string text = c.pointer(0) ? c.string(c.pointer(0)) + ": " : "";
  flush_output(c.m);
  fprintf(stderr, "%serror\n", text.c_str());
}
void do_fflush(LIBRARY_CALL& c) {
  flush_output(c.m);
  c.give(0);
}

// --- Input ---

// The standard input; what was put back comes first.
struct INPUT : CHARACTER_SOURCE {
  explicit INPUT(MACHINE& machine) : m(machine) {}
  MACHINE& m;

  int peek() override {
    if (m.put_back.empty()) {
      if (m.input_ended) return -1;
      flush_output(m);
      int c = getc(stdin);
      if (c == EOF) {
        m.input_ended = true;
        return -1;
      }
      m.put_back.push_back(c);
    }
    return m.put_back.back();
  }
  void skip() override {
    charge_steps(m, 1);
    m.put_back.pop_back();
  }
  int get() {
    int c = peek();
    if (c >= 0) skip();
    return c;
  }
};

void need_input(LIBRARY_CALL& c, size_t argument) {
  if (c.natural(argument) != STDIN) fault(c.function.name + "() from what is no stream for input");
}

void do_getchar(LIBRARY_CALL& c) {
  c.give(INPUT(c.m).get());
}
void do_fgetc(LIBRARY_CALL& c) {
  need_input(c, 0);
  do_getchar(c);
}
void do_ungetc(LIBRARY_CALL& c) {
  constexpr size_t MAX_PUT_BACK = 1000;
  need_input(c, 1);
  int64_t v = c.integer(0);
  if (v < 0 || c.m.put_back.size() > MAX_PUT_BACK) return c.give(-1);
  c.m.put_back.push_back(int(v & 0xFF));
  c.m.input_ended = false;
  c.give(v);
}
void do_fgets(LIBRARY_CALL& c) {
  need_input(c, 2);
  int64_t room = c.integer(1);
  if (room <= 0) return c.give(0);
  INPUT in(c.m);
  std::string text;
  while (int64_t(text.size()) < room - 1) {
    int v = in.get();
    if (v < 0) break;
    text += char(v);
    if (v == '\n') break;
  }
  if (text.empty() && room > 1) return c.give(0);
  c.store_string(c.pointer(0), text);
  c.give(c.pointer(0));
}
void do_fread(LIBRARY_CALL& c) {
  need_input(c, 3);
  uint64_t size = c.unsigned_bits(1), units = checked_size(c, size, c.unsigned_bits(2)), n = 0;
  uint32_t to = c.pointer(0);
  c.need_write(to, units);
  INPUT in(c.m);
  for (; n < units; n++) {
    int v = in.get();
    if (v < 0) break;
    c.m.memory.units[to + n] = uint16_t(v);
  }
  c.give(size ? int64_t(n / size) : 0);
}
void do_feof(LIBRARY_CALL& c) {
  c.give(c.natural(0) == STDIN && c.m.input_ended && c.m.put_back.empty());
}
void do_clearerr(LIBRARY_CALL& c) {
  if (c.natural(0) == STDIN) c.m.input_ended = false;
}

// A string as a source; it ends at its zero, and nobody looks behind what the format takes.
struct STRING_SOURCE : CHARACTER_SOURCE {
  STRING_SOURCE(LIBRARY_CALL& call, uint32_t from) : c(call), at(from) {}
  LIBRARY_CALL& c;
  uint32_t at;
  int peek() override {
    uint16_t unit = c.unit(at);
    return unit ? unit & 0xFF : -1;
  }
  void skip() override {
    charge_steps(c.m, 1);
    ++at;
  }
};

FORMAT_ARGUMENTS list_arguments(LIBRARY_CALL& c, size_t at) {
  FORMAT_ARGUMENTS arguments{c};
  arguments.in_memory = true;
  arguments.at = c.pointer(at);
  return arguments;
}
void do_scanf(LIBRARY_CALL& c) {
  INPUT in(c.m);
  c.give(scan(c.string(c.pointer(0)), {c, 1}, in));
}
void do_fscanf(LIBRARY_CALL& c) {
  need_input(c, 0);
  INPUT in(c.m);
  c.give(scan(c.string(c.pointer(1)), {c, 2}, in));
}
void do_sscanf(LIBRARY_CALL& c) {
  STRING_SOURCE in(c, c.pointer(0));
  c.give(scan(c.string(c.pointer(1)), {c, 2}, in));
}
void do_vscanf(LIBRARY_CALL& c) {
  INPUT in(c.m);
  c.give(scan(c.string(c.pointer(0)), list_arguments(c, 1), in));
}
void do_vsscanf(LIBRARY_CALL& c) {
  STRING_SOURCE in(c, c.pointer(0));
  c.give(scan(c.string(c.pointer(1)), list_arguments(c, 2), in));
}

void give_zero(LIBRARY_CALL& c) {
  c.give(0);
}
void give_failure(LIBRARY_CALL& c) {
  c.give(-1);
}

constexpr LIBRARY_FUNCTION FUNCTIONS[] = {
    {"printf", do_printf},     {"vprintf", do_vprintf},
    {"sprintf", do_sprintf},   {"vsprintf", do_vsprintf},
    {"snprintf", do_snprintf}, {"vsnprintf", do_vsnprintf},
    {"fprintf", do_fprintf},   {"vfprintf", do_vfprintf},
    {"puts", do_puts},         {"fputs", do_fputs},
    {"putchar", do_putchar},   {"putc", do_fputc},
    {"fputc", do_fputc},       {"fwrite", do_fwrite},
    {"perror", do_perror},     {"fflush", do_fflush},
    {"getchar", do_getchar},   {"getc", do_fgetc},
    {"fgetc", do_fgetc},       {"ungetc", do_ungetc},
    {"fgets", do_fgets},       {"fread", do_fread},
    {"feof", do_feof},         {"clearerr", do_clearerr},
    {"ferror", give_zero},     {"setbuf", give_zero},
    {"setvbuf", give_zero},    {"fclose", give_zero},
    {"fopen", give_zero}, // no file can be opened
    {"freopen", give_zero},    {"tmpfile", give_zero},
    {"remove", give_failure},  {"rename", give_failure},
    {"fseek", give_failure},   {"ftell", give_failure},
    {"scanf", do_scanf},       {"fscanf", do_fscanf},
    {"sscanf", do_sscanf},     {"vscanf", do_vscanf},
    {"vsscanf", do_vsscanf},   {"getenv", give_zero}, // nor has the program an environment
    {"system", give_zero},
};

} // namespace

std::span<const LIBRARY_FUNCTION> stream_functions() {
  return FUNCTIONS;
}

} // namespace icode::run
