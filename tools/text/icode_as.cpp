// icode-as: makes an icode file of its text.
#include "tools/text/converters.h"

int main(int argc, char** argv) {
  return icode::run_converter(icode::assembler, argc, argv);
}
