// icode-as: makes an icode file of its text.
#include "tools/icode_unit.h"
#include "tools/ict_parse.h"
#include "tools/tool_main.h"

int main(int argc, char** argv) {
  icode::Converter as;
  as.name = "icode-as";
  as.extension = ".icode";
  as.help = "usage: icode-as IN.ict [-o OUT.icode]\n"
            "Makes an icode file of a text, in the version that the text's first line names.\n"
            "Without -o the output stands beside the input, with the extension .icode;\n"
            "- is standard input or output.\n";
  as.convert = [](const std::string& input, const std::string& name, std::string& output,
                  std::string& error) {
    icode::Unit unit;
    if (!icode::parse_text(input, name, unit, error)) return false;
    if (icode::encode_unit(unit, unit.version, output, error)) return true;
    error = name + ": error: " + error;
    return false;
  };
  return icode::run_converter(as, argc, argv);
}
