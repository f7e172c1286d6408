// The C library that programs may call: functions that the unit declares but doesn't define.
#pragma once

#include "tools/run/exec.h"

#include <span>

namespace icode::run {

// The index of a library function, -1 for an unknown name. Underscores in front are looked through.
int find_library_function(const std::string& name);

// What a variable of the name of a stream points to at the start, otherwise 0.
enum STREAM : uint8_t { STDOUT = 1, STDERR = 2, STDIN = 3 };
int standard_stream(const std::string& name);

// Calls a library function; gives a result in canonical form of the site's type.
uint64_t call_library(MACHINE& m, const FUNCTION_CODE& f, const CALL_SITE& site,
                      uint64_t* arguments);

// A call in progress, as the library's functions see it. Accessors check the arguments' number.
struct LIBRARY_CALL {
  MACHINE& m;
  const FUNCTION_CODE& function;
  const CALL_SITE& site;
  const uint64_t* arguments;
  uint64_t result = 0; // canonical in site.result

  size_t count() const { return site.arguments.size(); }
  SCALAR type(size_t i) const; // faults for an aggregate
  int64_t integer(size_t i) const;
  uint64_t natural(size_t i) const { return uint64_t(integer(i)); }
  // The low bits of an argument as an integer of its own width.
  uint64_t unsigned_bits(size_t i) const;
  int64_t signed_bits(size_t i) const;
  double number(size_t i) const;
  uint32_t pointer(size_t i) const;

  void give(int64_t v);
  void give_number(double v);

  void need_read(uint32_t at, uint64_t units) const;
  void need_write(uint32_t at, uint64_t units) const;
  uint16_t unit(uint32_t at) const;                                       // that can be read
  uint64_t string_length(uint32_t at, uint64_t limit = UINT64_MAX) const; // up to `limit` units
  std::string string(uint32_t at) const;                                  // low bytes of the units
  void store_string(uint32_t at, std::string_view text) const;            // and a zero behind it
  void move(uint32_t to, uint32_t from, uint64_t units) const;            // may overlap
  void set_error(int number) const; // the program's errno, if it has one
  // Where the members of an aggregate result go; 0 if the caller takes none of that size.
  uint32_t object_result(uint64_t units) const;
};

struct LIBRARY_FUNCTION {
  const char* name;
  void (*run)(LIBRARY_CALL&);
};
std::span<const LIBRARY_FUNCTION> string_functions();
std::span<const LIBRARY_FUNCTION> stream_functions();
std::span<const LIBRARY_FUNCTION> number_functions();
void set_jump(LIBRARY_CALL& c);  // setjmp
void jump_back(LIBRARY_CALL& c); // longjmp

// Values of errno.
constexpr int EDOM_NUMBER = 33, ERANGE_NUMBER = 34;

// The variable arguments of a formatted output.
struct FORMAT_ARGUMENTS {
  LIBRARY_CALL& call;
  size_t next = 0;        // argument of the call
  bool in_memory = false; // they lie at `at` instead, laid out as for a variadic function
  uint32_t at = 0;
  uint64_t integer(unsigned bits, bool is_signed); // `bits` counts for those in memory
  double number(bool is_long);
  uint32_t pointer();
};

// The text that a printf format makes of the arguments.
std::string format(const std::string& text, FORMAT_ARGUMENTS arguments);

// Characters that a scanf format or a conversion of a number reads, one ahead.
struct CHARACTER_SOURCE {
  virtual ~CHARACTER_SOURCE() = default;
  virtual int peek() = 0; // -1 at the end
  virtual void skip() = 0;
};
// Stores what a scanf format reads; gives the number of stored values, -1 if the end came first.
int64_t scan(const std::string& text, FORMAT_ARGUMENTS arguments, CHARACTER_SOURCE& from);

// The longest number that a text begins with.
struct READ_INTEGER {
  uint64_t magnitude = 0;
  bool is_negative = false, overflows = false; // 64 bits
  size_t length = 0;                           // 0 for none
};
READ_INTEGER read_integer(std::string_view text, unsigned base);

void put_text(MACHINE& m, const std::string& text);

} // namespace icode::run
