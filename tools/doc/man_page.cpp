// man-page NAME VERSION SEE-ALSO...: prints the manual page of a program, made of its --help on
// standard input: lines of usage, a description, options (two blanks before each, and what they do
// from a common column on) perhaps under headings, and behind the options the exit status. Has no
// date, so that the same sources give the same bytes.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

std::string escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\\')
      out += "\\e";
    else if (c == '-')
      out += "\\-";
    else if (c == '\'')
      out += "\\(aq";
    else if (c == '.' && out.empty())
      out += "\\&.";
    else
      out += c;
  }
  return out;
}

void print_text(const std::string& text) {
  if (!text.empty()) printf("%s\n", escaped(text).c_str());
}

size_t indentation(const std::string& line) {
  return std::min(line.find_first_not_of(' '), line.size());
}

constexpr size_t OPTION_INDENT = 2;

// Where the texts of the options begin: told by one that is continued, else by the gap before it.
size_t text_column(const std::vector<std::string>& lines) {
  size_t by_gap = std::string::npos;
  for (const std::string& line : lines) {
    if (indentation(line) > OPTION_INDENT) return indentation(line);
    if (indentation(line) != OPTION_INDENT || by_gap != std::string::npos) continue;
    const size_t gap = line.find("  ", OPTION_INDENT);
    if (gap != std::string::npos) by_gap = line.find_first_not_of(' ', gap);
  }
  return by_gap;
}

// "makes an icode file of a text": the first sentence up to its first pause.
std::string short_description(const std::vector<std::string>& lines) {
  for (const std::string& line : lines) {
    if (line.empty()) continue;
    std::string text = line.substr(0, line.find_first_of(",.:"));
    text[0] = static_cast<char>(text[0] | 0x20);
    return text;
  }
  return "";
}

void print_option(const std::string& line, size_t column) {
  const bool has_text = line.size() > column && line[column - 1] == ' ';
  std::string forms = line.substr(OPTION_INDENT, has_text ? column - OPTION_INDENT : line.npos);
  forms.erase(forms.find_last_not_of(' ') + 1);
  printf(".TP\n.B %s\n", escaped(forms).c_str());
  if (has_text) print_text(line.substr(column));
}

void print_body(const std::vector<std::string>& lines) {
  const size_t column = text_column(lines);
  bool in_options = false, paragraph_ended = false, behind_options = false;
  printf(".SH DESCRIPTION\n");
  for (const std::string& line : lines) {
    if (line.empty()) {
      paragraph_ended = true;
      continue;
    }
    const size_t indent = indentation(line);
    const bool is_heading = indent == 0 && line.back() == ':' && paragraph_ended;
    if (!in_options && (is_heading || indent == OPTION_INDENT)) {
      printf(".SH OPTIONS\n");
      in_options = true;
    }
    if (is_heading) {
      printf(".SS %s\n", escaped(line.substr(0, line.size() - 1)).c_str());
    } else if (indent == OPTION_INDENT) {
      print_option(line, column);
    } else {
      if (in_options && indent == 0 && !behind_options) {
        printf(".SH EXIT STATUS\n");
        behind_options = true;
      } else if (paragraph_ended && !in_options) {
        printf(".PP\n");
      }
      print_text(line.substr(indent));
    }
    paragraph_ended = false;
  }
}

} // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    fprintf(stderr, "usage: man-page NAME VERSION SEE-ALSO... < HELP\n");
    return 1;
  }
  const std::string name = argv[1];
  std::vector<std::string> usage, lines;
  for (std::string line; std::getline(std::cin, line);) {
    // The program's name as it was called stands in front.
    const bool is_usage = line.starts_with("usage: ") || line.starts_with("Usage: ");
    const size_t behind_name = line.find(' ', strlen("usage: "));
    if (is_usage)
      usage.push_back(behind_name == line.npos ? "" : line.substr(behind_name + 1));
    else if (!lines.empty() || !line.empty())
      lines.push_back(line);
  }
  if (usage.empty() || lines.empty()) {
    fprintf(stderr, "man-page: no help text of %s\n", name.c_str());
    return 1;
  }

  std::string title = name;
  for (char& c : title)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  printf(".TH %s 1 \"\" \"vrx-mid %s\" \"Ulm200 tools\"\n", escaped(title).c_str(), argv[2]);
  printf(".SH NAME\n%s \\- %s\n.SH SYNOPSIS\n", escaped(name).c_str(),
         escaped(short_description(lines)).c_str());
  for (const std::string& form : usage) {
    printf(".B %s\n", escaped(name).c_str());
    print_text(form);
  }
  print_body(lines);
  if (argc > 3) printf(".SH SEE ALSO\n");
  for (int i = 3; i < argc; i++)
    printf(".BR %s (1)%s\n", escaped(argv[i]).c_str(), i + 1 < argc ? "," : "");
  return fflush(stdout) == 0 ? 0 : 1;
}
