// The tools of the toolchain, and the files that options add to their command lines.

#include "DIAG/diag_messages.h"
#include "options/option_obj.h"

const std::map<std::string, TOOL_TYPE> option_obj::tool_cmd_map = {
    {"vrx-shell", TOOL_SHELL},         {"vrx-cc", TOOL_SHELL},
    {"vrx-cxx", TOOL_SHELL},           {"vrx-front", TOOL_PARSER},
    {"vrx-front-c", TOOL_PARSER},      {"vrx-front-cxx", TOOL_PARSER},
    {"vrx-prelink", TOOL_PARSER},      {"vrx-mid", TOOL_OPTIMIZER},
    {"vrx-mid-whole", TOOL_OPTIMIZER}, {"vrx-back", TOOL_CODEGEN},
    {"vrx-back-100", TOOL_CODEGEN},    {"vrx-back-200", TOOL_CODEGEN},
    {"vrx-interlist", TOOL_CODEGEN},   {"vrx-as", TOOL_ASSEMBLER},
    {"vrx-as-linear", TOOL_ASSEMBLER}, {"vrx-macro", TOOL_ASSEMBLER},
    {"vrx-link", TOOL_LINKER},         {"vrx-link-whole", TOOL_LINKER},
    {"vrx-copytable", TOOL_LINKER},    {"vrx-ar", TOOL_ARCHIVER},
    {"vrx-ranlib", TOOL_ARCHIVER},     {"vrx-libindex", TOOL_ARCHIVER},
    {"vrx-dis", TOOL_OBJECT},          {"vrx-nm", TOOL_OBJECT},
    {"vrx-objdump", TOOL_OBJECT},      {"vrx-size", TOOL_OBJECT},
    {"vrx-strip", TOOL_OBJECT},        {"vrx-hex", TOOL_OBJECT},
    {"vrx-xref", TOOL_OBJECT},         {"vrx-abslist", TOOL_OBJECT},
    {"vrx-demangle", TOOL_OBJECT},
};

static const char* const tool_names[TOOL_TYPE_COUNT] = {
    "shell", "parser", "optimizer", "codegen", "assembler", "linker", "archiver", "object"};

std::map<std::string, option_obj::FILE_LIST> option_obj::tn_fileopt_map = [] {
  std::map<std::string, FILE_LIST> all;
  for (const char* name : tool_names)
    all[name];
  return all;
}();

TOOL_TYPE option_obj::tool_of_command(const std::string& command) {
  auto place = tool_cmd_map.find(command);
  if (place != tool_cmd_map.end()) return place->second;
  DIAG::optgen_missing_tool_type(command).report();
  return TOOL_TYPE_COUNT;
}

bool option_obj::addfileopt(const std::string& tool_name, const std::string& file,
                            const std::string& options) {
  std::string name = tool_name;
  if (name.starts_with("vrx-")) { // it is given by its command
    const TOOL_TYPE type = tool_of_command(name);
    if (type == TOOL_TYPE_COUNT) return false;
    name = tool_names[type];
  }
  auto place = tn_fileopt_map.find(name);
  if (place == tn_fileopt_map.end()) {
    DIAG::optgen_missing_fileopt(tool_name).report();
    return false;
  }
  FILE_LIST& list = place->second;
  // Groups of files that are searched together don't nest.
  if (file == "--start-group") {
    if (list.group_is_open) {
      DIAG::optgen_nested_group().report();
      return false;
    }
    list.group_is_open = true;
  } else if (file == "--end-group") {
    if (!list.group_is_open) {
      DIAG::optgen_unmatched_group().report();
      return false;
    }
    list.group_is_open = false;
  }
  trace("add file %s to the options of %s", file.c_str(), name.c_str());
  if (!options.empty()) list.files.push_back(options);
  list.files.push_back(file);
  return true;
}

std::vector<std::string> option_obj::fileopts(const std::string& tool_name) {
  auto place = tn_fileopt_map.find(tool_name);
  return place == tn_fileopt_map.end() ? std::vector<std::string>{} : place->second.files;
}

void option_obj::clear_fileopts() {
  for (auto& [name, list] : tn_fileopt_map)
    list = {};
}
