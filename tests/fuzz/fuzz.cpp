// fuzz [--seed S] [--count N] [--jobs J] [--keep DIR] [--kind KIND] [--list] [--case N]
// FILE.icode...
//
// Sends mutated copies of the given files through icode-dis, icode-run and vrx-mid in child
// processes, and checks how they end: status 0 or 1 (125 too for icode-run, a program's own fault),
// within two seconds, and with status 1 no output. What vrx-mid writes must be a well-formed file.
// A case that breaks a rule is kept in DIR (default ".") under its number; the same seed makes the
// same cases.
//
// Half of the cases change records of the decoded file ("records"), the others bytes within a
// record, with lengths and offsets put right ("payload"), or any bytes ("bytes"); --kind asks for
// one of them only, --as-is for the files as they are. The end tells how far they got, and how
// often the two readers disagree on what is a well-formed unit; --list names the disagreements,
// each with its first case, and --case only keeps the case of that number.
#include "OPT5/driver.h"
#include "OPT5/funinfo.h"
#include "OPT5/opt_client.h"
#include "OPT5/write.h"
#include "ifile/i_file.h"
#include "tests/fuzz/mutations.h"
#include "tools/run/command.h"
#include "tools/text/print.h"
#include "tools/unit/unit.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <new>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using fuzz::BYTES;
using fuzz::RANDOM;

namespace {

BYTES read_bytes(const char* path) {
  BYTES bytes;
  if (FILE* fp = fopen(path, "rb")) {
    uint8_t chunk[4096];
    while (size_t n = fread(chunk, 1, sizeof chunk, fp))
      bytes.insert(bytes.end(), chunk, chunk + n);
    fclose(fp);
  }
  return bytes;
}

enum TOOL { MID, DIS, RUN, TOOL_COUNT };
const char* const tool_names[] = {"vrx-mid", "icode-dis", "icode-run"};

struct PATHS {
  std::string in, out;
};

int run_tool(TOOL tool, const PATHS& paths) {
  std::string in = paths.in, out = paths.out;
  switch (tool) {
  case MID: {
    std::string name = "vrx-mid", level = "--opt_level=2";
    char* args[] = {name.data(), level.data(), in.data(), out.data(), nullptr};
    return run_compilation(4, args);
  }
  case DIS: {
    const BYTES bytes = read_bytes(in.c_str());
    icode::UNIT unit;
    std::string error;
    if (!icode::decode_unit(bytes, unit, error)) return 1;
    icode::print_unit(unit);
    return 0;
  }
  default: {
    std::string name = "icode-run", limit = "--max-steps", steps = "200000";
    char* args[] = {name.data(), limit.data(), steps.data(), in.data(), nullptr};
    return icode::run::run_command(4, args);
  }
  }
}

double now() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

bool exists(const std::string& path) {
  return access(path.c_str(), F_OK) == 0;
}

enum KIND { RECORDS, PAYLOAD, ANY_BYTES, KIND_COUNT };
const char* const kind_names[] = {"records", "payload", "bytes"};

// How far vrx-mid came with a case.
enum STAGE { IN_HEADER, IN_TYPES, IN_SYMBOLS, IN_FUNCTIONS, IN_STEPS, ACCEPTED, STAGE_COUNT };
const char* const stage_names[] = {"header", "types", "symbols", "functions", "steps", "accepted"};

// What a worker's runner tells the worker, in memory that both see.
struct PROGRESS {
  long case_number; // the case at work
  TOOL tool;        // the tool at work; TOOL_COUNT ahead of the first one of a case
  double start;     // of that tool
  char fault[700];  // what is wrong with a tool that came back
  KIND kind;        // of the case
  STAGE stage;      // where vrx-mid ended
  int run_status;   // icode-run's
  char run_text[300];
  long stages[KIND_COUNT][STAGE_COUNT];
};

struct PLAN {
  uint64_t seed = 1;
  long count = 1000, jobs = 2, only_case = -1;
  int kind = KIND_COUNT; // KIND_COUNT for all of them
  bool list = false, as_is = false;
  std::string keep = ".";
  std::vector<BYTES> seeds;
};

BYTES case_bytes(long number, const PLAN& plan, KIND& kind) {
  if (plan.as_is) return plan.seeds[static_cast<size_t>(number)];
  RANDOM random(plan.seed + static_cast<uint64_t>(number) * 7919);
  const std::vector<BYTES>& seeds = plan.seeds;
  BYTES bytes = seeds[random.below(seeds.size())];
  kind = random.below(2) ? RECORDS : random.below(2) ? PAYLOAD : ANY_BYTES;
  if (plan.kind != KIND_COUNT) kind = static_cast<KIND>(plan.kind);
  if (kind == RECORDS && fuzz::mutate_unit(bytes, random)) return bytes;
  // Half of them with one change only: most changes are refused early, and what gets through a few
  // of them seldom goes deep.
  for (size_t n = random.below(2) ? 1 : 1 + random.below(4); n; n--)
    if (kind == ANY_BYTES)
      fuzz::mutate_bytes(bytes, seeds, random);
    else
      fuzz::mutate_payload(bytes, seeds, random);
  return bytes;
}

void write_bytes(const std::string& path, const BYTES& bytes) {
  if (FILE* to = fopen(path.c_str(), "wb")) {
    fwrite(bytes.data(), 1, bytes.size(), to);
    fclose(to);
  }
}

// What is wrong with a run that ended with that status after these seconds, or an empty text.
std::string judge(TOOL tool, int code, double seconds, const PATHS& paths) {
  if (code != 0 && code != 1 && !(tool == RUN && code >= 0))
    return "status " + std::to_string(code);
  if (seconds > 2) return std::to_string(seconds) + " seconds";
  if (tool != MID) return "";
  if (code == 1) return exists(paths.out) ? "output behind status 1" : "";
  icode::UNIT unit;
  std::string error;
  if (!icode::decode_unit(read_bytes(paths.out.c_str()), unit, error))
    return "output is damaged: " + error;
  return "";
}

// A message less what differs from case to case: names, numbers, trees.
std::string kind_of_message(std::string text) {
  text.erase(0, text.find_first_not_of('\n'));
  text.resize(std::min(text.find('\n'), text.size()));
  // A refused tree stands behind its fault.
  if (text.starts_with(">> ")) text = text.substr(3, text.find(": ") - 3);
  if (text.starts_with("icode-run: ")) text.erase(0, text.find(": ", strlen("icode-run: ")) + 2);
  if (text.starts_with("file offset ")) text.erase(0, text.find(": ") + 2);
  for (const char* lead : {"the initialiser of ", "option set "}) // behind which a name stands
    if (text.starts_with(lead)) {
      const size_t name = strlen(lead);
      text.replace(name, std::min(text.find_first_of(" ", name), text.size()) - name, "...");
    }
  std::string kind;
  for (const char c : text) {
    if (isdigit(static_cast<unsigned char>(c))) {
      if (kind.empty() || kind.back() != '#') kind += '#';
    } else {
      kind += isprint(static_cast<unsigned char>(c)) ? c : '?';
    }
  }
  return kind.substr(0, 100);
}

// Both readers should agree on what is a well-formed unit: notes where they don't.
void compare_verdicts(const PROGRESS& progress, int mid_status, const std::string& mid_text,
                      FILE* disagreements) {
  // A program may itself end with status 1.
  const bool run_refuses =
      progress.run_status == 1 && std::string(progress.run_text).starts_with("icode-run: ");
  if (run_refuses == (mid_status != 0)) return;
  fprintf(disagreements, "%s%s\t%ld\n", run_refuses ? "vrx-mid accepts: " : "icode-run accepts: ",
          kind_of_message(run_refuses ? progress.run_text : mid_text).c_str(),
          progress.case_number);
  fflush(disagreements);
}

PROGRESS* progress_of_exit; // of this runner

STAGE stage_of_failure() {
  if (!i_file || !o_file) return IN_HEADER;
  if (i_file->globals.empty() && functions.empty() && !currfunc) return IN_TYPES;
  if (functions.empty() && !currfunc) return IN_SYMBOLS;
  // Written symbols are entered behind the last function.
  return o_file->globals.empty() ? IN_FUNCTIONS : IN_STEPS;
}

} // namespace

// The linker sends here what means _exit (see CMakeLists.txt): so a failing run ends.
extern "C" [[noreturn]] void __real__exit(int status);
extern "C" [[noreturn]] void __wrap__exit(int status) {
  if (progress_of_exit && progress_of_exit->tool == MID && status == 1)
    progress_of_exit->stage = stage_of_failure();
  __real__exit(status);
}

namespace {

std::string log_text(const PATHS& paths) {
  const BYTES log = read_bytes((paths.in + ".log").c_str());
  return {log.begin(), log.end()};
}

// Runs cases one after another until one of them ends the process, which vrx-mid does when it
// refuses a file. To start a process takes longer than a case: so icode-dis and icode-run, which
// always come back, run first, and what vrx-mid accepts leaves a process that can go on.
[[noreturn]] void run_cases(PROGRESS& progress, const PLAN& plan, FILE* disagreements,
                            const PATHS& paths) {
  const int null = open("/dev/null", O_RDWR);
  const int log = open((paths.in + ".log").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND, 0600);
  dup2(null, 0);
  dup2(null, 1);
  dup2(log, 2);
  progress_of_exit = &progress;
  // Whatever calls exit() leaves at once: taking the sanitizer down costs more than the case.
  on_exit([](int code, void*) { fflush(nullptr), _exit(code); }, nullptr);
  for (; progress.case_number < plan.count; progress.case_number += plan.jobs) {
    progress.tool = TOOL_COUNT;
    write_bytes(paths.in, case_bytes(progress.case_number, plan, progress.kind));
    unlink(paths.out.c_str());
    for (TOOL tool : {DIS, RUN, MID}) {
      if (ftruncate(2, 0) != 0) _exit(3);
      progress.tool = tool;
      progress.start = now();
      alarm(10);
      const int code = run_tool(tool, paths);
      fflush(nullptr);
      const std::string fault = judge(tool, code, now() - progress.start, paths);
      if (tool == RUN) {
        progress.run_status = code;
        snprintf(progress.run_text, sizeof progress.run_text, "%s", log_text(paths).c_str());
      }
      if (tool == MID && code == 0) {
        progress.stages[progress.kind][ACCEPTED]++;
        compare_verdicts(progress, 0, "", disagreements);
      }
      if (fault.empty()) continue;
      snprintf(progress.fault, sizeof progress.fault, "%s", fault.c_str());
      _exit(0);
    }
  }
  _exit(0);
}

void keep_case(long number, const PLAN& plan) {
  KIND kind;
  write_bytes(plan.keep + "/case-" + std::to_string(number) + ".icode",
              case_bytes(number, plan, kind));
}

// How the runner's process ended: what is wrong with the case at work, or an empty text.
std::string end_of_runner(int status, const PROGRESS& progress, const PATHS& paths) {
  if (progress.fault[0]) return progress.fault;
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  const std::string text = log_text(paths);
  for (const char* report :
       {"AddressSanitizer", "runtime error:", "INTERNAL ERROR: C/C++", "VERIFY: after"})
    if (size_t at = text.find(report); at != std::string::npos) return text.substr(at, 600);
  return judge(progress.tool, WEXITSTATUS(status), now() - progress.start, paths);
}

int run_worker(PROGRESS& progress, const PLAN& plan, long first, FILE* disagreements) {
  char folder[] = "/tmp/fuzzXXXXXX";
  if (!mkdtemp(folder)) return 1;
  const PATHS paths{std::string(folder) + "/in.icode", std::string(folder) + "/out.icode"};
  int faults = 0;
  for (progress.case_number = first; progress.case_number < plan.count;
       progress.case_number += plan.jobs) {
    const long number = progress.case_number;
    progress.fault[0] = 0;
    progress.tool = TOOL_COUNT;
    const pid_t child = fork();
    if (child == 0) run_cases(progress, plan, disagreements, paths);
    int status = 0;
    waitpid(child, &status, 0);
    if (progress.case_number >= plan.count) break;
    const std::string fault = end_of_runner(status, progress, paths);
    if (fault.empty()) { // vrx-mid refuses it
      progress.stages[progress.kind][progress.stage]++;
      compare_verdicts(progress, 1, log_text(paths), disagreements);
      continue;
    }
    faults++;
    // What an earlier case of the same process left behind may be at fault: the kept file tells.
    printf("case %ld: %s: %s\n", progress.case_number,
           progress.tool < TOOL_COUNT ? tool_names[progress.tool] : "start", fault.c_str());
    if (progress.case_number != number) printf("    behind other cases since %ld\n", number);
    fflush(stdout);
    keep_case(progress.case_number, plan);
  }
  for (const std::string& path : {paths.in, paths.out, paths.in + ".log"})
    unlink(path.c_str());
  rmdir(folder);
  return faults ? 1 : 0;
}

void print_stages(const PROGRESS* workers, const PLAN& plan) {
  printf("%-9s", "");
  for (const char* name : stage_names)
    printf("%11s", name);
  printf("\n");
  for (int kind = 0; kind < KIND_COUNT; kind++) {
    long counts[STAGE_COUNT] = {}, all = 0;
    for (int stage = 0; stage < STAGE_COUNT; stage++)
      for (long j = 0; j < plan.jobs; j++)
        all += workers[j].stages[kind][stage], counts[stage] += workers[j].stages[kind][stage];
    if (!all) continue;
    printf("%-9s", kind_names[kind]);
    for (long count : counts)
      printf("%10.1f%%", 100.0 * static_cast<double>(count) / static_cast<double>(all));
    printf("\n");
  }
}

// Where one of them means to take less than the other; docs/tools.md says why.
bool is_intended(const std::string& kind) {
  static const char* const leads[] = {
      "vrx-mid accepts: the function main is not defined", // nothing to execute
      "vrx-mid accepts: main has parameters",
      "vrx-mid accepts: main takes parameters",
      "vrx-mid accepts: the initialiser of ... has", // what is no constant to icode-run
      "vrx-mid accepts: the program is too large",
      "vrx-mid accepts: the record has # bytes more", // a later version's fields
      "vrx-mid accepts: a record of tag #",
      "vrx-mid accepts: a section without its end mark",
      "vrx-mid accepts: expected a file name",
      "vrx-mid accepts: two sections overlap",
      "icode-run accepts: option set", // which icode-run does not read
  };
  for (const char* lead : leads)
    if (kind.starts_with(lead)) return true;
  return kind.find("is larger than the memory") != std::string::npos;
}

void print_disagreements(const std::vector<FILE*>& files, bool list) {
  struct CASES {
    long count = 0, first = 0;
  };
  std::map<std::string, CASES> kinds;
  long real = 0, intended = 0;
  for (FILE* file : files) {
    rewind(file);
    char line[300];
    while (fgets(line, sizeof line, file)) {
      char* tab = strchr(line, '\t');
      if (!tab) continue;
      const long number = strtol(tab + 1, nullptr, 10);
      *tab = 0;
      CASES& cases = kinds[line];
      if (!cases.count++ || number < cases.first) cases.first = number;
      (is_intended(line) ? intended : real)++;
    }
  }
  printf("the readers disagree on %ld of them, and on %ld on purpose\n", real, intended);
  for (const auto& [kind, cases] : kinds)
    if (list) printf("%7ld %s (case %ld)\n", cases.count, kind.c_str(), cases.first);
}

bool parse_arguments(int argc, char** argv, PLAN& plan) {
  for (int k = 1; k < argc; k++) {
    const std::string arg = argv[k];
    const bool has_value = k + 1 < argc;
    if (arg == "--seed" && has_value)
      plan.seed = strtoull(argv[++k], nullptr, 0);
    else if (arg == "--count" && has_value)
      plan.count = strtol(argv[++k], nullptr, 0);
    else if (arg == "--jobs" && has_value)
      plan.jobs = std::max(1l, strtol(argv[++k], nullptr, 0));
    else if (arg == "--keep" && has_value)
      plan.keep = argv[++k];
    else if (arg == "--case" && has_value)
      plan.only_case = strtol(argv[++k], nullptr, 0);
    else if (arg == "--list")
      plan.list = true;
    else if (arg == "--as-is")
      plan.as_is = true;
    else if (arg == "--kind" && has_value) {
      const std::string name = argv[++k];
      plan.kind = 0;
      while (plan.kind < KIND_COUNT && name != kind_names[plan.kind])
        plan.kind++;
      if (plan.kind == KIND_COUNT) return false;
    } else if (BYTES bytes = read_bytes(argv[k]); !bytes.empty())
      plan.seeds.push_back(bytes);
    else {
      fprintf(stderr, "fuzz: %s: cannot read\n", argv[k]);
      return false;
    }
  }
  if (plan.as_is) plan.count = static_cast<long>(plan.seeds.size());
  return !plan.seeds.empty();
}

} // namespace

int main(int argc, char** argv) {
  PLAN plan;
  if (!parse_arguments(argc, argv, plan)) {
    fprintf(stderr, "usage: fuzz [--seed S] [--count N] [--jobs J] [--keep DIR] [--list]\n"
                    "            [--kind records|payload|bytes] [--case N] FILE.icode...\n");
    return 1;
  }
  if (plan.only_case >= 0) {
    keep_case(plan.only_case, plan);
    return 0;
  }
  void* shared = mmap(nullptr, sizeof(PROGRESS) * static_cast<size_t>(plan.jobs),
                      PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return 1;
  auto* workers = static_cast<PROGRESS*>(shared);
  std::vector<FILE*> disagreements;
  std::vector<pid_t> children;
  for (long j = 0; j < plan.jobs; j++) {
    disagreements.push_back(tmpfile());
    if (!disagreements.back()) return 1;
    const pid_t child = fork();
    if (child == 0) _exit(run_worker(*new (&workers[j]) PROGRESS{}, plan, j, disagreements.back()));
    children.push_back(child);
  }
  int failed = 0;
  for (pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    failed |= status;
  }
  if (!plan.as_is) print_stages(workers, plan);
  print_disagreements(disagreements, plan.list);
  printf("%ld files, seed %llu: %s\n", plan.count, static_cast<unsigned long long>(plan.seed),
         failed ? "FAULTS" : "no faults");
  return failed ? 1 : 0;
}
