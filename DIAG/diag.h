// Messages with a severity, a source position and line wrapping. A message is an object of one of
// the classes of DIAG/diag_messages.h; its report() prints it. Main thread only.
#pragma once

#include "DIAG/diag_table.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

// What a source position is made of.
struct DIAG_SRCINFO_DATA {
  std::string file; // empty: unknown
  unsigned line = 0;
  unsigned column = 0; // from 1; 0 is unknown
  bool approx = false;
};

// An optional source position of a message. The object is not owned by the message.
class DIAG_SRCINFO {
public:
  explicit DIAG_SRCINFO(DIAG_SRCINFO_DATA* place) : data(place) {}
  virtual ~DIAG_SRCINFO() = default;
  virtual const char* file() const = 0; // null or empty: unknown
  virtual unsigned line() const = 0;
  virtual unsigned column() const = 0;
  virtual bool approx() const = 0;
  virtual bool is_equal(const DIAG_SRCINFO* other) const = 0;

protected:
  DIAG_SRCINFO_DATA* data; // not owned
};

// A position that is simply what its data says.
class DIAG_FILE_POSITION : public DIAG_SRCINFO {
public:
  using DIAG_SRCINFO::DIAG_SRCINFO;
  const char* file() const override { return data->file.c_str(); }
  unsigned line() const override { return data->line; }
  unsigned column() const override { return data->column; }
  bool approx() const override { return data->approx; }
  bool is_equal(const DIAG_SRCINFO* other) const override;
};

class DIAGNOSTIC {
public:
  virtual ~DIAGNOSTIC() = default;
  // A copy on the heap, for whoever keeps a message beyond its report; free it by free_mem().
  virtual DIAGNOSTIC* alloc() const = 0;
  // Prints the whole message. One of severity "fatal error" doesn't return.
  virtual void report();
  // Room for the text that sp_print is about to format: sp_size bytes, valid until the next call.
  // Null when there is no memory.
  virtual char* get_sp_buffer();
  virtual bool is_equal(const DIAGNOSTIC* other) const;
  virtual void free_mem() { delete this; }
  virtual void dump(); // the record and the position, on the message's stream

  // report(), unless an equal message was printed this way before.
  void report_once();

  // Pieces of a report: header, text, end. print() begins with the header if that is missing. A
  // suppressed message prints nothing.
  int print_header(); // columns printed
  [[gnu::format(printf, 2, 3)]] void print(const char* format, ...);
  // Ends the message: shows the source line if asked, counts an error, ends the run after a fatal
  // error (internal ones by abort) or too many errors. Only the first call acts.
  void flush();

  bool suppress() const; // is its severity switched off?
  bool is_discretionary() const;
  const char* sev_str() const;
  static std::string srcinfo_str(const DIAG_SRCINFO* src);
  // Changes the severity of this message's code for the rest of the run. False if the message may
  // not be lowered.
  bool override_severity(uint32_t severity);
  void set_src(DIAG_SRCINFO* position) { src = position; } // not owned; must outlive the report
  const DIAG_SRCINFO* get_src() const { return src; }
  const DIAG_INFO& get_info() const { return *info; }
  FILE* fp() const; // where the message goes
  // Length of the part of `text` up to its last break at or below `width`; 0 if there is none.
  static size_t last_printable_char(const char* text, size_t width);

  static bool wrap_enabled_m, warnings_m, display_code_m, display_ipos_m, wrap_headers_m, verbose_m,
      advice_m, debug_m, remarks_m;
  static bool debug_mode_m; // every message is followed by its dump
  static unsigned max_errors_m;
  static int wrap_indent_m, diag_cols_m, indent_m; // in columns
  static FILE* fp_m;                               // overrides the choice by severity
  static unsigned error_count_m;

  static void push_debug_mode(bool on);
  static void pop_debug_mode();
  static void push_indent(int indent);
  static void pop_indent();
  // Forgets what report_once has seen.
  static void forget_reported();

private:
  DIAG_INFO* info;
  unsigned printed = 0; // columns printed so far
  DIAG_SRCINFO* src = nullptr;
  const char* report_file; // where the message object was made
  unsigned report_line;
  bool header_printed = false;
  unsigned flushed = 0; // `printed` at the last flush
  int column = 0;       // columns used on the current line

protected:
  DIAGNOSTIC(int code, const char* file, unsigned line);
  DIAGNOSTIC(const DIAGNOSTIC&) = default;

  // Formats into get_sp_buffer()'s memory. Without memory the process ends with a message.
  [[gnu::format(printf, 2, 3)]] char* sp_print(const char* format, ...);
  char* sp_vprint(const char* format, va_list args);
  // The text of the message without its header.
  virtual std::string text() const = 0;
  void dump_if_debugging();
  void show_annotated_source();
  void start_new_line();
  void print_formatted(const char* text); // with word wrapping

  size_t sp_size = 0;
  int displayed_code; // number shown in the header

private:
  static std::vector<bool> debug_mode_stack_m;
  static std::vector<int> indent_stack_m;

  void put(const char* text);
  void put_raw(const char* text, size_t n);
};
