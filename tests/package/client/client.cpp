// A program that uses the installed libraries: from the lowest one to the highest.
#include "OPT5/treewalk.h"
#include "options/option_table.h"
#include "support/simul_fval.h"

int main() {
  simul_fval half;
  const bool is_read = f_atof("0.5", &half) == 0 && f_ftoh(&half) == 0.5;
  int visited = 0;
  walk_preorder(static_cast<NODE*>(nullptr), [&](NODE*) { return ++visited > 0; });
  return is_read && visited == 0 && option_definitions[OPT_abi].id == OPT_abi ? 0 : 1;
}
