// icode-dis: prints an icode file as text.
#include "tools/text/converters.h"

int main(int argc, char** argv) {
  return icode::run_converter(icode::disassembler, argc, argv);
}
