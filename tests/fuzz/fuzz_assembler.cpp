// Any text through the assembler. What it makes decodes, and prints as a text that makes the same
// bytes.
#include "tools/text/parse.h"
#include "tools/text/print.h"
#include "tools/unit/unit.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

[[noreturn]] void fail(const char* what, const std::string& error) {
  fprintf(stderr, "%s: %s\n", what, error.c_str());
  abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  icode::UNIT unit, decoded, again;
  std::string error, bytes, same;
  if (!icode::parse_text(text, "input", unit, error)) {
    if (error.empty()) fail("refused", "without a message");
    return 0;
  }
  if (!icode::encode_unit(unit, unit.version, bytes, error)) return 0;
  if (!icode::decode_unit({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, decoded,
                          error))
    fail("what was assembled does not decode", error);
  const std::string printed = icode::print_unit(decoded);
  if (!icode::parse_text(printed, "printed", again, error) ||
      !icode::encode_unit(again, again.version, same, error))
    fail("what was printed does not assemble", error + "\n" + printed);
  if (same != bytes) fail("other bytes behind a print", printed);
  return 0;
}
