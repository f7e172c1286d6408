#include "tools/text/converters.h"

#include "tools/text/parse.h"
#include "tools/text/print.h"
#include "tools/unit/unit.h"

namespace icode {

namespace {

bool assemble(const std::string& input, const std::string& name, std::string& output,
              std::string& error) {
  icode::UNIT unit;
  if (!icode::parse_text(input, name, unit, error)) return false;
  if (icode::encode_unit(unit, unit.version, output, error)) return true;
  error = name + ": error: " + error;
  return false;
}

bool disassemble(const std::string& input, const std::string& name, std::string& output,
                 std::string& error) {
  icode::UNIT unit;
  if (!icode::decode_unit({reinterpret_cast<const uint8_t*>(input.data()), input.size()}, unit,
                          error)) {
    error = name + ": " + error;
    return false;
  }
  output = icode::print_unit(unit);
  return true;
}

} // namespace

const CONVERTER assembler = {
    "icode-as",
    "usage: icode-as IN.ict [-o OUT.icode]\n"
    "Makes an icode file of a text, in the version that the text's first line names.\n"
    "Without -o the output stands beside the input, with the extension .icode;\n"
    "- is standard input or output.\n",
    ".icode", assemble};

const CONVERTER disassembler = {
    "icode-dis",
    "usage: icode-dis IN.icode [-o OUT.ict]\n"
    "Prints an icode file as text, from which icode-as makes the same bytes again.\n"
    "Without -o the output stands beside the input, with the extension .ict;\n"
    "- is standard input or output.\n",
    ".ict", disassemble};

} // namespace icode
