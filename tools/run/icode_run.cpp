// icode-run: executes a unit.
#include "tools/run/command.h"

int main(int argc, char** argv) {
  return icode::run::run_command(argc, argv);
}
