// icode-cc: the C front end.
#include "tools/cc/command.h"

int main(int argc, char** argv) {
  return cc::run_compiler(argc, argv);
}
