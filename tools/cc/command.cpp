#include "tools/cc/command.h"

#include "tools/unit/command_line.h"

#include <filesystem>
#include <getopt.h>
#include <sstream>

namespace cc {

const char* const HELP =
    "usage: icode-cc [OPTION]... IN.c... [-o OUT.icode]\n"
    "Compiles C files to one unit of icode. Several files are linked: their static names are kept\n"
    "apart, their external ones are shared.\n"
    "  -o FILE           the output; the first input's name with .icode unless given\n"
    "  -O SETTINGS       the optimiser's options for the file, in one text\n"
    "  -O0 ... -O4       the same as -O --opt_level=N\n"
    "  -I DIR, -isystem DIR, -include FILE, -D NAME[=VALUE], -U NAME\n"
    "                    as usual\n"
    "  -std=STANDARD     the language: c89, gnu89, c99, gnu99, c11, gnu11, c17, gnu17 (the "
    "default)\n"
    "  -W..., -pedantic  warnings of the parser, which are off unless asked for; -w: none at all\n"
    "  -E                print the preprocessed text instead\n"
    "  -c, -g, -f..., -pipe\n"
    "                    are accepted and change nothing\n";

namespace {

enum LONG_OPTION { STD = 256, INCLUDE, ISYSTEM, PEDANTIC, IGNORED, HELP_OPTION };

bool read_settings(const std::string& text, COMMAND& command, std::string& fault) {
  if (text.size() == 1 && text[0] >= '0' && text[0] <= '4') {
    command.options.push_back("--opt_level=" + text);
    return true;
  }
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word[0] != '-') {
      fault = "expected an option with its dash in -O, found " + word;
      return false;
    }
    command.options.push_back(word);
  }
  return true;
}

} // namespace

bool read_command(int argc, char** argv, COMMAND& command, std::string& fault) {
  static const option long_options[] = {{"std", required_argument, nullptr, STD},
                                        {"include", required_argument, nullptr, INCLUDE},
                                        {"isystem", required_argument, nullptr, ISYSTEM},
                                        {"pedantic", no_argument, nullptr, PEDANTIC},
                                        {"ansi", no_argument, nullptr, STD},
                                        {"pipe", no_argument, nullptr, IGNORED},
                                        {"help", no_argument, nullptr, HELP_OPTION},
                                        {nullptr, 0, nullptr, 0}};
  auto pass = [&](const std::string& text) { command.parser.push_back(text); };
  bool has_output = false;
  opterr = 0;
  for (int c;
       (c = getopt_long_only(argc, argv, "I:D:U:O:o:W:wEcg::f:", long_options, nullptr)) != -1;) {
    const std::string text = optarg ? optarg : "";
    switch (c) {
    case 'I':
    case 'D':
    case 'U':
    case 'W': pass(std::string("-") + char(c) + text); break;
    case 'O':
      if (!read_settings(text, command, fault)) return false;
      break;
    case 'o':
      command.output = text;
      has_output = true;
      break;
    case 'w':
      command.no_warnings = true;
      pass("-w");
      break;
    case 'E': command.preprocess = true; break;
    case STD: pass("-std=" + (optarg ? text : "c89")); break;
    case INCLUDE:
      pass("-include");
      pass(text);
      break;
    case ISYSTEM:
      pass("-isystem");
      pass(text);
      break;
    case PEDANTIC: pass("-pedantic"); break;
    case 'c':
    case 'g':
    case 'f':
    case IGNORED: break;
    case HELP_OPTION: command.help = true; return true;
    default:
      fault = "unknown or incomplete option " + icode::refused_option(argv) + "; try --help";
      return false;
    }
  }
  command.inputs.assign(argv + optind, argv + argc);
  if (command.inputs.empty()) {
    fault = "expected an input file; try --help";
    return false;
  }
  if (!has_output && !command.preprocess)
    command.output = std::filesystem::path(command.inputs[0]).replace_extension(".icode").string();
  std::error_code ignored;
  for (const std::string& input : command.inputs)
    if (std::filesystem::is_regular_file(command.output, ignored) &&
        std::filesystem::equivalent(command.output, input, ignored))
      fault = input + ": the output would overwrite the input";
  return fault.empty();
}

} // namespace cc
