// icode-dis: prints an icode file as text.
#include "tools/icode_unit.h"
#include "tools/ict_print.h"
#include "tools/tool_main.h"

int main(int argc, char** argv) {
  icode::Converter dis;
  dis.name = "icode-dis";
  dis.extension = ".ict";
  dis.help = "usage: icode-dis IN.icode [-o OUT.ict]\n"
             "Prints an icode file as text, from which icode-as makes the same bytes again.\n"
             "Without -o the output stands beside the input, with the extension .ict;\n"
             "- is standard input or output.\n";
  dis.convert = [](const std::string& input, const std::string& name, std::string& output,
                   std::string& error) {
    icode::Unit unit;
    if (!icode::decode_unit({reinterpret_cast<const uint8_t*>(input.data()), input.size()}, unit,
                            error)) {
      error = name + ": " + error;
      return false;
    }
    output = icode::print_unit(unit);
    return true;
  };
  return icode::run_converter(dis, argc, argv);
}
