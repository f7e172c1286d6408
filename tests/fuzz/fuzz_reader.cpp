// Any bytes through both readers. What the tools' decoder accepts is encoded, and printed and
// assembled, to the same bytes.
#include "OPT5/memory.h"
#include "OPT5/symbol.h"
#include "TYPES/type_pkg.h"
#include "tests/fuzz/thrown_end.h"
#include "tests/unit/idle_client.h"
#include "tools/text/parse.h"
#include "tools/text/print.h"
#include "tools/unit/unit.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void expect_same(const char* what, const std::string& made, std::span<const uint8_t> bytes) {
  if (made.size() == bytes.size() && memcmp(made.data(), bytes.data(), bytes.size()) == 0) return;
  fprintf(stderr, "other bytes when %s\n", what);
  abort();
}

void read_by_tools(std::span<const uint8_t> bytes) {
  icode::UNIT unit, again;
  std::string error, made;
  if (!icode::decode_unit(bytes, unit, error)) return;
  if (!icode::encode_unit(unit, unit.version, made, error)) abort();
  expect_same("encoded", made, bytes);
  const std::string text = icode::print_unit(unit);
  if (!icode::parse_text(text, "printed", again, error) ||
      !icode::encode_unit(again, again.version, made, error)) {
    fprintf(stderr, "%s\n", error.c_str());
    abort();
  }
  expect_same("printed and assembled", made, bytes);
}

struct READING_CLIENT : IDLE_CLIENT {
  std::vector<std::unique_ptr<PRAGMA>> pragmas;
  // The nodes are the optimiser's, and take its symbols.
  I_SYMTAB* cl_symbol_create(char* name, TYPE* type, TYPE*, unsigned long, unsigned long,
                             unsigned long, int, int, PSN* psn, unsigned long, unsigned,
                             I_SYMTAB::RETENTION_POLICY) override {
    auto* sym = new SYMTAB;
    sym->name = strdup(name);
    sym->type = sym->otype = type ? type : tp->mk_void();
    sym->psn = psn;
    return sym;
  }
  void cl_pragma(I_SYMTAB*, PRAGMA* pragma) override { pragmas.emplace_back(pragma); }
  void cl_func_eht(EHT_ENTRY* entries, unsigned count) override {
    for (unsigned k = 0; k < count; k++)
      delete entries[k].catches;
  }
};

void read_by_file_layer(const uint8_t* data, size_t size) {
  FILE* fp = fmemopen(const_cast<uint8_t*>(data), size, "rb");
  if (!fp) return;
  READING_CLIENT client;
  tp = TYPE_PKG::init_type_pkg();
  std::unique_ptr<I_FILE> file;
  try {
    file.reset(I_FILE::if_open(fp, &client));
    if (file) {
      file->if_type_init(tp);
      file->if_read_file();
    } else {
      fclose(fp);
    }
  } catch (const THROWN_END&) {
  }
  file.reset();
  erase_all_symbols();
  delete tp;
  tp = nullptr;
  TYPE_PKG::tp_count = 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  read_by_tools({data, size});
  read_by_file_layer(data, size);
  return 0;
}
