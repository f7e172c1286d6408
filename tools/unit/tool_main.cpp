#include "tools/unit/tool_main.h"

#include "tools/unit/command_line.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <getopt.h>
#include <memory>
#include <new>
#include <unistd.h>

namespace icode {

bool read_file(const std::string& name, std::string& bytes, std::string& error) {
  FILE* f = name == "-" ? stdin : fopen(name.c_str(), "rb");
  if (!f) {
    error = name + ": cannot open: " + strerror(errno);
    return false;
  }
  auto buffer = std::make_unique<char[]>(1 << 16);
  while (size_t n = fread(buffer.get(), 1, 1 << 16, f))
    bytes.append(buffer.get(), n);
  bool ok = !ferror(f);
  if (!ok) error = name + ": cannot read: " + strerror(errno);
  if (f != stdin) fclose(f);
  return ok;
}

bool write_file(const std::string& name, const std::string& bytes, std::string& error) {
  bool is_stdout = name == "-";
  FILE* f = is_stdout ? stdout : fopen(name.c_str(), "wb");
  if (!f) {
    error = name + ": cannot open for writing: " + strerror(errno);
    return false;
  }
  bool ok = fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  ok = fflush(f) == 0 && ok;
  int reason = errno;
  if (!is_stdout) ok = fclose(f) == 0 && ok;
  if (ok) return true;
  error = name + ": cannot write: " + strerror(reason);
  std::error_code ignored;
  // Half a file must not pass for a whole one; but a device is not ours to remove.
  if (!is_stdout && std::filesystem::is_regular_file(name, ignored)) remove(name.c_str());
  return false;
}

namespace {

int complain(const CONVERTER& converter, const std::string& message) {
  fprintf(stderr, "%s: %s\n", converter.name, message.c_str());
  return 1;
}

int run(const CONVERTER& converter, int argc, char** argv) {
  static const option long_options[] = {{"help", no_argument, nullptr, 'h'},
                                        {nullptr, 0, nullptr, 0}};
  std::string output_name;
  optind = 0;
  opterr = 0;
  for (int c; (c = getopt_long(argc, argv, "o:", long_options, nullptr)) != -1;) {
    if (c == 'h') {
      fputs(converter.help, stdout);
      return 0;
    }
    if (c != 'o')
      return complain(converter,
                      "unknown or incomplete option " + refused_option(argv) + "; try --help");
    output_name = optarg;
    if (output_name.empty()) return complain(converter, "-o expects the name of a file");
  }
  if (optind == argc) return complain(converter, "expected an input file; try --help");
  if (optind + 1 < argc)
    return complain(converter,
                    std::string("expected one input file, found also ") + argv[optind + 1]);
  const std::string input_name = argv[optind];
  if (output_name.empty())
    output_name =
        input_name == "-"
            ? "-"
            : std::filesystem::path(input_name).replace_extension(converter.extension).string();
  std::error_code ignored;
  if (std::filesystem::is_regular_file(output_name, ignored) &&
      std::filesystem::equivalent(output_name, input_name, ignored))
    return complain(converter, input_name + ": the output would overwrite the input");
  std::string input, output, error;
  if (!read_file(input_name, input, error)) return complain(converter, error);
  if (!converter.convert(input, input_name, output, error)) {
    fprintf(stderr, "%s\n", error.c_str());
    return 1;
  }
  if (!write_file(output_name, output, error)) return complain(converter, error);
  return 0;
}

} // namespace

// What static objects allocate may fail too, those of shared libraries included.
static void end_without_memory() {
  static const char text[] = "out of memory\n";
  if (write(STDERR_FILENO, text, sizeof text - 1) < 0) {
    // The status still tells.
  }
  _exit(1);
}
static void install_before_main() {
  std::set_new_handler(end_without_memory);
}
[[gnu::section(".preinit_array"),
  gnu::used]] static void (*const first_of_all)() = install_before_main;

void let_failures_be_handled() {
  std::set_new_handler(nullptr);
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

int run_converter(const CONVERTER& converter, int argc, char** argv) {
  let_failures_be_handled();
  try {
    return run(converter, argc, argv);
  } catch (const std::exception& e) { // out of memory, for one
    return complain(converter, e.what());
  }
}

} // namespace icode
