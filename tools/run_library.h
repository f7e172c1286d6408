// The C library that programs may call: functions that the unit declares but doesn't define.
#pragma once

#include "tools/run_exec.h"

namespace icode::run {

// The index of a library function, -1 for an unknown name. Underscores in front are looked through.
int find_library_function(const std::string& name);

// What a variable of that name points to at the start: 1 for stdout, 2 for stderr, otherwise 0.
int standard_stream(const std::string& name);

// Calls a library function; gives a result in canonical form of the site's type.
uint64_t call_library(Machine& m, const FunctionCode& f, const CallSite& site, uint64_t* arguments);

// A call in progress, as the library's functions see it. Accessors check the arguments' number.
struct LibraryCall {
  Machine& m;
  const FunctionCode& function;
  const CallSite& site;
  const uint64_t* arguments;
  uint64_t result = 0; // canonical in site.result

  size_t count() const { return site.arguments.size(); }
  Scalar type(size_t i) const; // faults for an aggregate
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
  uint64_t string_length(uint32_t at, uint64_t limit = UINT64_MAX) const; // up to `limit` units
  std::string string(uint32_t at) const;                                  // low bytes of the units
};

// The variable arguments of a formatted output.
struct FormatArguments {
  LibraryCall& call;
  size_t next = 0;        // argument of the call
  bool in_memory = false; // they lie at `at` instead, laid out as for a variadic function
  uint32_t at = 0;
  uint64_t integer(unsigned bits, bool is_signed); // `bits` counts for those in memory
  double number();
  uint32_t pointer();
};

// The text that a printf format makes of the arguments.
std::string format(const std::string& text, FormatArguments arguments);

void put_text(Machine& m, const std::string& text);

} // namespace icode::run
