// icode-run: executes a unit.
#include "tools/run_data.h"
#include "tools/run_exec.h"
#include "tools/run_stats.h"
#include "tools/run_translate.h"
#include "tools/tool_main.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <pthread.h>

namespace icode::run {

namespace {

constexpr int FAULT_STATUS = 125;
constexpr int64_t DEFAULT_STEPS = 20'000'000'000;
// Translation goes down a tree by recursion; this is room for the deepest tree that it takes.
constexpr size_t NATIVE_STACK = size_t(1) << 31;

constexpr const char* HELP =
    "usage: icode-run [--entry NAME] [--stats] [--max-steps N] UNIT.icode [ARG...]\n"
    "Executes a unit: its function main, with the arguments, or NAME without any.\n"
    "  --entry NAME    the function to call\n"
    "  --stats         print counts of what was executed, as JSON on standard error\n"
    "  --max-steps N   fault after N nodes; 20000000000 unless given\n"
    "The exit status is the low 8 bits of what the program returns or gives to exit().\n"
    "A program that does what has no meaning ends with a message and status 125; status 1 is a\n"
    "bad file or a bad command line.\n";

struct Options {
  std::string entry = "main";
  bool has_entry = false, stats = false, help = false;
  int64_t max_steps = DEFAULT_STEPS;
  std::string file;
  std::vector<std::string> arguments; // of the program, its name first
};

bool parse_options(int argc, char** argv, Options& o, std::string& error) {
  int i = 1;
  for (; i < argc && argv[i][0] == '-' && argv[i][1]; ++i) {
    std::string option = argv[i];
    if (option == "--help") {
      o.help = true;
      return true;
    }
    if (option == "--stats") {
      o.stats = true;
      continue;
    }
    if (option != "--entry" && option != "--max-steps") {
      error = "unknown option " + option + "; try --help";
      return false;
    }
    if (++i == argc) {
      error = "expected a value behind " + option;
      return false;
    }
    if (option == "--entry") {
      o.entry = argv[i];
      o.has_entry = true;
      continue;
    }
    const char* end = argv[i] + strlen(argv[i]);
    auto [stop, bad] = std::from_chars(argv[i], end, o.max_steps);
    if (bad != std::errc() || stop != end || o.max_steps < 0) {
      error = "expected a number of steps, found " + std::string(argv[i]);
      return false;
    }
  }
  if (i == argc) {
    error = "expected an input file; try --help";
    return false;
  }
  o.file = argv[i];
  o.arguments.assign(argv + i, argv + argc);
  return true;
}

const FunctionCode* find_entry(const Program& p, const std::string& name) {
  for (const FunctionCode& f : p.functions)
    if (f.has_body && f.name == name) return &f;
  return nullptr;
}

// argv in the program's memory: the strings and the array with a null at its end.
uint32_t place_arguments(Memory& memory, const std::vector<std::string>& arguments) {
  constexpr unsigned POINTER_UNITS = 2;
  uint32_t array = memory.place_data((arguments.size() + 1) * POINTER_UNITS, POINTER_UNITS);
  for (size_t i = 0; array && i < arguments.size(); ++i) {
    uint32_t text = memory.place_data(arguments[i].size() + 1, 1);
    if (!text) return 0;
    for (size_t k = 0; k < arguments[i].size(); ++k)
      memory.units[text + k] = uint8_t(arguments[i][k]);
    memory.store(array + uint32_t(i) * POINTER_UNITS, 32, text);
  }
  return array;
}

// The arguments of the entry function. False, with a message, if it asks for others.
bool entry_arguments(Program& p, const FunctionCode& f, const Options& o,
                     std::vector<uint64_t>& values, std::string& error) {
  if (f.params.empty()) return true;
  if (o.has_entry || f.params.size() > 2 || f.is_variadic) {
    error = f.name + " takes parameters that it cannot be given";
    return false;
  }
  uint32_t argv = place_arguments(p.memory, o.arguments);
  uint64_t given[] = {o.arguments.size(), argv};
  for (size_t i = 0; i < f.params.size(); ++i) {
    if (f.params[i].cls != C_INT) {
      error = f.name + " has parameters of other types than int and char**";
      return false;
    }
    values.push_back(convert(given[i], INT64, f.params[i].scalar));
  }
  return true;
}

int complain(const std::string& message) {
  fprintf(stderr, "icode-run: %s\n", message.c_str());
  return 1;
}

int execute(Program& program, const FunctionCode& entry, const std::vector<uint64_t>& arguments,
            const Options& o) {
  Machine machine(program);
  machine.steps_left = o.max_steps;
  int status = 0;
  auto guarded = [&](auto work) {
    try {
      work();
    } catch (const ProgramExit& e) {
      status = int(uint64_t(e.status) & 0xFF);
      if (!e.runs_exit_functions) machine.exit_functions.clear();
    } catch (const ProgramFault& f) {
      machine.exit_functions.clear();
      flush_output(machine);
      fprintf(stderr, "icode-run: %s: %s\n", fault_position(machine).c_str(), f.text.c_str());
      status = FAULT_STATUS;
    }
  };
  guarded([&] {
    uint64_t result = run_function(machine, entry, arguments);
    status = entry.result.cls == C_INT ? int(result & 0xFF) : 0;
  });
  while (!machine.exit_functions.empty()) {
    const FunctionCode* last = machine.exit_functions.back();
    machine.exit_functions.pop_back();
    guarded([&] { run_exit_function(machine, *last); });
  }
  flush_output(machine);
  if (o.stats) fputs(stats_json(program).c_str(), stderr);
  if (machine.output_errno)
    return complain(std::string("cannot write to standard output: ") +
                    strerror(machine.output_errno));
  return status;
}

int run(const Options& o) {
  std::string bytes, error;
  if (!read_file(o.file, bytes, error)) return complain(error);
  Unit unit;
  if (!decode_unit({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, unit, error))
    return complain(o.file + ": " + error);
  Program program(unit);
  program.with_stats = o.stats;
  if (!build_data(program, error) || !translate(program, error))
    return complain(o.file + ": " + error);
  const FunctionCode* entry = find_entry(program, o.entry);
  if (!entry) return complain(o.file + ": the function " + o.entry + " is not defined");
  std::vector<uint64_t> arguments;
  if (!entry_arguments(program, *entry, o, arguments, error))
    return complain(o.file + ": " + error);
  program.memory.seal_data();
  program.region_counts.assign(program.regions.size(), 0);
  return execute(program, *entry, arguments, o);
}

struct Job {
  const Options& options;
  int status = 1;
};

void* run_job(void* p) {
  Job& job = *static_cast<Job*>(p);
  let_failures_be_handled();
  try {
    job.status = run(job.options);
  } catch (const std::exception& e) { // out of memory, for one
    job.status = complain(e.what());
  }
  return nullptr;
}

int main_program(int argc, char** argv) {
  Options options;
  std::string error;
  if (!parse_options(argc, argv, options, error)) return complain(error);
  if (options.help) {
    fputs(HELP, stdout);
    return 0;
  }
  Job job{options};
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, NATIVE_STACK) ||
      pthread_create(&thread, &attributes, run_job, &job))
    return complain("cannot start a thread");
  pthread_join(thread, nullptr);
  return job.status;
}

} // namespace

} // namespace icode::run

int main(int argc, char** argv) {
  return icode::run::main_program(argc, argv);
}
