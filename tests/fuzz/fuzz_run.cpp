// Whole runs of vrx-mid, in one process: at the level that the size of the input says. The output
// must decode, and from the first step on a failed check is a fault.
#include "DIAG/diag.h"
#include "OPT5/driver.h"
#include "OPT5/opt_client.h"
#include "OPT5/write.h"
#include "tests/fuzz/thrown_end.h"
#include "tools/unit/unit.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

// Files in memory, with a path each.
int input, output;
std::string path_of(int file) {
  return "/proc/self/fd/" + std::to_string(file);
}

void write_input(const uint8_t* data, size_t size) {
  if (ftruncate(input, 0) != 0 || pwrite(input, data, size, 0) != static_cast<ssize_t>(size))
    abort();
}

std::vector<uint8_t> read_output() {
  struct stat info;
  if (fstat(output, &info) != 0) abort();
  std::vector<uint8_t> bytes(static_cast<size_t>(info.st_size));
  if (pread(output, bytes.data(), bytes.size(), 0) != info.st_size) abort();
  return bytes;
}

// Globals are entered for writing when all functions have been read.
bool reading_is_over() {
  return o_file && !o_file->globals.empty();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  input = memfd_create("input", 0);
  output = memfd_create("output", 0);
  if (input < 0 || output < 0) abort();
  internal_failures_are_faults = reading_is_over;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  write_input(data, size);
  std::string name = "vrx-mid", level = "--opt_level=" + std::to_string(size % 5);
  std::string in = path_of(input), out = path_of(output);
  char* args[] = {name.data(), level.data(), in.data(), out.data(), nullptr};
  try {
    if (run_compilation(4, args) != 0) abort();
  } catch (const THROWN_END&) {
    abandon_run();
    // A file that was being opened when the run ended belongs to nobody.
    close_range(static_cast<unsigned>(output) + 1, ~0U, 0);
    return 0;
  }
  icode::UNIT unit;
  std::string error;
  if (!icode::decode_unit(read_output(), unit, error)) {
    fprintf(stderr, "the output is damaged: %s\n", error.c_str());
    abort();
  }
  return 0;
}
