// The command icode-run: its options, and a run from the file to the exit status.
#include "tools/run/command.h"

#include "tools/run/check.h"
#include "tools/run/data.h"
#include "tools/run/exec.h"
#include "tools/run/stats.h"
#include "tools/run/translate.h"
#include "tools/unit/tool_main.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <getopt.h>
#include <pthread.h>

namespace icode::run {

namespace {

constexpr int FAULT_STATUS = 125;
constexpr int64_t DEFAULT_STEPS = 20'000'000'000;
// Translation goes down a tree by recursion; this is room for the deepest tree that it takes.
constexpr size_t NATIVE_STACK = size_t(1) << 31;

constexpr const char* HELP =
    "usage: icode-run [--entry NAME] [--stats | --profile OUT] [--max-steps N] UNIT.icode "
    "[ARG...]\n"
    "Executes a unit: its function main, with the arguments, or NAME without any.\n"
    "  --entry NAME    the function to call\n"
    "  --stats         print counts of what was executed, as JSON on standard error\n"
    "  --profile OUT   write the unit with counts of its branches, for vrx-mid\n"
    "  --max-steps N   fault after N nodes; 20000000000 unless given\n"
    "The exit status is the low 8 bits of what the program returns or gives to exit().\n"
    "A program that does what has no meaning ends with a message and status 125; status 1 is a\n"
    "bad file or a bad command line.\n";

struct OPTIONS {
  std::string entry = "main";
  bool has_entry = false, stats = false, help = false;
  int64_t max_steps = DEFAULT_STEPS;
  std::string file, profile;          // no profile if empty
  std::vector<std::string> arguments; // of the program, its name first
};

bool parse_options(int argc, char** argv, OPTIONS& o, std::string& error) {
  enum { ENTRY = 256, STATS, PROFILE, MAX_STEPS, HELP_OPTION };
  static const option long_options[] = {{"entry", required_argument, nullptr, ENTRY},
                                        {"stats", no_argument, nullptr, STATS},
                                        {"profile", required_argument, nullptr, PROFILE},
                                        {"max-steps", required_argument, nullptr, MAX_STEPS},
                                        {"help", no_argument, nullptr, HELP_OPTION},
                                        {nullptr, 0, nullptr, 0}};
  optind = 0;
  opterr = 0;
  // What stands after the unit belongs to the program: '+' ends the options there.
  for (int c, at = 1; (c = getopt_long(argc, argv, "+", long_options, nullptr)) != -1;
       at = optind) {
    switch (c) {
    case ENTRY:
      o.entry = optarg;
      o.has_entry = true;
      break;
    case STATS: o.stats = true; break;
    case PROFILE:
      o.profile = optarg;
      if (o.profile.empty()) {
        error = "--profile expects the name of a file";
        return false;
      }
      break;
    case MAX_STEPS: {
      const char* end = optarg + strlen(optarg);
      auto [stop, bad] = std::from_chars(optarg, end, o.max_steps);
      if (bad != std::errc() || stop != end || o.max_steps < 0) {
        error = "expected a number of steps, found " + std::string(optarg);
        return false;
      }
      break;
    }
    case HELP_OPTION: o.help = true; return true;
    default:
      error = std::string("unknown or incomplete option ") + argv[at] + "; try --help";
      return false;
    }
  }
  if (optind == argc) {
    error = "expected an input file; try --help";
    return false;
  }
  if (o.stats && !o.profile.empty()) {
    error = "--stats and --profile count different things: one of them a run";
    return false;
  }
  o.file = argv[optind];
  o.arguments.assign(argv + optind, argv + argc);
  return true;
}

const FUNCTION_CODE* find_entry(const PROGRAM& p, const std::string& name) {
  for (const FUNCTION_CODE& f : p.functions)
    if (f.has_body && f.name == name) return &f;
  return nullptr;
}

// argv in the program's memory: the strings and the array with a null at its end.
uint32_t place_arguments(MEMORY& memory, const std::vector<std::string>& arguments) {
  constexpr unsigned POINTER_UNITS = 2;
  uint32_t array = memory.place_data((arguments.size() + 1) * POINTER_UNITS, POINTER_UNITS);
  for (size_t i = 0; array && i < arguments.size(); i++) {
    uint32_t text = memory.place_data(arguments[i].size() + 1, 1);
    if (!text) return 0;
    for (size_t k = 0; k < arguments[i].size(); k++)
      memory.units[text + k] = uint8_t(arguments[i][k]);
    memory.store(array + uint32_t(i) * POINTER_UNITS, 32, text);
  }
  return array;
}

// The arguments of the entry function. False, with a message, if it asks for others.
bool entry_arguments(PROGRAM& p, const FUNCTION_CODE& f, const OPTIONS& o,
                     std::vector<uint64_t>& values, std::string& error) {
  if (f.params.empty()) return true;
  if (o.has_entry || f.params.size() > 2 || f.is_variadic) {
    error = f.name + " takes parameters that it cannot be given";
    return false;
  }
  uint32_t argv = place_arguments(p.memory, o.arguments);
  uint64_t given[] = {o.arguments.size(), argv};
  for (size_t i = 0; i < f.params.size(); i++) {
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

int execute(PROGRAM& program, const FUNCTION_CODE& entry, const std::vector<uint64_t>& arguments,
            const OPTIONS& o) {
  MACHINE machine(program);
  machine.steps_left = o.max_steps;
  int status = 0;
  auto guarded = [&](auto work) {
    try {
      work();
    } catch (const PROGRAM_EXIT& e) {
      status = int(uint64_t(e.status) & 0xFF);
      if (!e.runs_exit_functions) machine.exit_functions.clear();
    } catch (const PROGRAM_FAULT& f) {
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
    const FUNCTION_CODE* last = machine.exit_functions.back();
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

// The unit with what was counted. A node that is counted goes into a wrapper in its place.
bool write_profile(UNIT& unit, const PROGRAM& program, const std::string& file,
                   std::string& error) {
  constexpr uint64_t MOST = UINT32_MAX - 1; // all ones would be no count
  for (size_t k = 0; k < program.profile_sites.size(); k++) {
    const uint32_t n = program.profile_sites[k];
    if (unit.nodes[n].op != EPVAL) {
      NODE wrapper;
      wrapper.op = EPVAL;
      wrapper.type = unit.nodes[n].type;
      wrapper.left = uint32_t(unit.nodes.size());
      unit.nodes.push_back(unit.nodes[n]);
      unit.nodes[n] = wrapper;
    }
    unit.nodes[n].a = std::min(program.region_counts[k], MOST);
  }
  std::string bytes;
  return encode_unit(unit, bytes, error) && write_file(file, bytes, error);
}

int run(const OPTIONS& o) {
  std::string bytes, error;
  if (!read_file(o.file, bytes, error)) return complain(error);
  UNIT unit;
  if (!decode_unit({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, unit, error))
    return complain(o.file + ": " + error);
  if (!check_unit(unit, error)) return complain(o.file + ": " + error);
  PROGRAM program(unit);
  program.with_stats = o.stats;
  program.with_profile = !o.profile.empty();
  if (!build_data(program, error) || !translate(program, error))
    return complain(o.file + ": " + error);
  const FUNCTION_CODE* entry = find_entry(program, o.entry);
  if (!entry) return complain(o.file + ": the function " + o.entry + " is not defined");
  std::vector<uint64_t> arguments;
  if (!entry_arguments(program, *entry, o, arguments, error))
    return complain(o.file + ": " + error);
  program.memory.seal_data();
  program.region_counts.assign(std::max(program.regions.size(), program.profile_sites.size()), 0);
  const int status = execute(program, *entry, arguments, o);
  if (o.profile.empty() || write_profile(unit, program, o.profile, error)) return status;
  return complain(error);
}

struct JOB {
  const OPTIONS& options;
  int status = 1;
};

void* run_job(void* p) {
  JOB& job = *static_cast<JOB*>(p);
  let_failures_be_handled();
  try {
    job.status = run(job.options);
  } catch (const std::exception& e) { // out of memory, for one
    job.status = complain(e.what());
  }
  return nullptr;
}

} // namespace

int run_command(int argc, char** argv) {
  OPTIONS options;
  std::string error;
  if (!parse_options(argc, argv, options, error)) return complain(error);
  if (options.help) {
    fputs(HELP, stdout);
    return 0;
  }
  JOB job{options};
  pthread_attr_t attributes;
  pthread_t thread;
  pthread_attr_init(&attributes);
  if (pthread_attr_setstacksize(&attributes, NATIVE_STACK) ||
      pthread_create(&thread, &attributes, run_job, &job))
    return complain("cannot start a thread");
  pthread_join(thread, nullptr);
  return job.status;
}

} // namespace icode::run
