// Source positions. A position is shared by all that stand at one place; nobody frees one.
#pragma once

// file: interned name (see intern_text), null for "no file"; line and column count from 1.
struct PSN {
  const char* file;
  unsigned line;
  unsigned column;
};

// The one copy of `text` that lives to the end of the run; equal texts give equal pointers.
// Null gives null. Safe from any thread.
const char* intern_text(const char* text);

// The shared position of that file (already interned or not), line and column. Safe from any
// thread (psnmap_lock).
PSN* make_psn(const char* file, unsigned line, unsigned column);
