#include "DIAG/diag_table.h"

#include <algorithm>
#include <vector>

DIAG_INFO* find_diag_info(int code) {
  static std::vector<DIAG_INFO> table(std::begin(diag_rows), std::end(diag_rows));
  auto row = std::lower_bound(table.begin(), table.end(), code,
                              [](const DIAG_INFO& r, int c) { return r.code < c; });
  return row != table.end() && row->code == code ? &*row : nullptr;
}
