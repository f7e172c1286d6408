// fuzz [--seed S] [--count N] [--jobs J] [--keep DIR] FILE.icode...
//
// Sends mutated copies of the given files through icode-dis, icode-run and vrx-mid in child
// processes, and checks how they end: status 0 or 1 (125 too for icode-run, a program's own fault),
// within two seconds, and with status 1 no output. What vrx-mid writes must be a well-formed file.
// A case that breaks a rule is kept in DIR (default ".") under its number; the same seed makes the
// same cases.
#include "OPT5/driver.h"
#include "tools/run/command.h"
#include "tools/text/print.h"
#include "tools/unit/unit.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using BYTES = std::vector<uint8_t>;

struct RANDOM {
  uint64_t state;
  explicit RANDOM(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint64_t next() {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
  }
  size_t below(size_t n) { return n ? next() % n : 0; }
};

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

// The start of a record of the function stream: records are spliced and cut where they begin.
std::vector<size_t> record_starts(const BYTES& bytes) {
  std::vector<size_t> starts;
  for (size_t at = 0; at < bytes.size();) {
    starts.push_back(at);
    if (bytes[at++] == 255) continue;
    size_t length = 0;
    for (int shift = 0; at < bytes.size() && shift < 28; shift += 7) {
      const uint8_t b = bytes[at++];
      length |= static_cast<size_t>(b & 0x7F) << shift;
      if (!(b & 0x80)) break;
    }
    at += length;
  }
  return starts;
}

void mutate(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random) {
  static const uint8_t telling[] = {0, 1, 2, 0x7F, 0x80, 0xFE, 0xFF};
  if (bytes.empty()) return;
  const size_t at = random.below(bytes.size());
  switch (random.below(9)) {
  case 0: bytes[at] ^= static_cast<uint8_t>(1u << random.below(8)); break;
  case 1: bytes[at] = static_cast<uint8_t>(random.next()); break;
  case 2: bytes[at] = telling[random.below(sizeof telling)]; break;
  case 3: bytes[at] = static_cast<uint8_t>(bytes[at] + (random.below(2) ? 1 : -1)); break;
  case 4: bytes.resize(at); break;
  case 5: { // a slice out
    const size_t n = 1 + random.below(std::min<size_t>(bytes.size() - at, 40));
    bytes.erase(bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(at + n));
    break;
  }
  default: { // whole records of some file in, in front of a record of this one
    const BYTES& from = seeds[random.below(seeds.size())];
    const std::vector<size_t> there = record_starts(from), here = record_starts(bytes);
    const size_t first = random.below(there.size());
    const size_t last = std::min(there.size(), first + 1 + random.below(6));
    const size_t begin = there[first], end = last < there.size() ? there[last] : from.size();
    const size_t to = here[random.below(here.size())];
    if (random.below(2))
      bytes.insert(bytes.begin() + static_cast<long>(to), from.begin() + static_cast<long>(begin),
                   from.begin() + static_cast<long>(end));
    else
      for (size_t k = begin; k < end && to + k - begin < bytes.size(); k++)
        bytes[to + k - begin] = from[k];
  }
  }
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

// What a worker's runner tells the worker, in memory that both see.
struct PROGRESS {
  long case_number; // the case at work
  TOOL tool;        // the tool at work; TOOL_COUNT ahead of the first one of a case
  double start;     // of that tool
  char fault[700];  // what is wrong with a tool that came back
};

BYTES case_bytes(long number, uint64_t seed, const std::vector<BYTES>& seeds) {
  RANDOM random(seed + static_cast<uint64_t>(number) * 7919);
  BYTES bytes = seeds[random.below(seeds.size())];
  // Half of them with one change only: most changes are refused early, and what gets through a few
  // of them seldom goes deep.
  for (size_t n = random.below(2) ? 1 : 1 + random.below(4); n; n--)
    mutate(bytes, seeds, random);
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

// Runs cases one after another until one of them ends the process, which vrx-mid does when it
// refuses a file. To start a process takes longer than a case: so icode-dis and icode-run, which
// always come back, run first, and what vrx-mid accepts leaves a process that can go on.
[[noreturn]] void run_cases(PROGRESS& progress, long step, long count, uint64_t seed,
                            const std::vector<BYTES>& seeds, const PATHS& paths) {
  const int null = open("/dev/null", O_RDWR);
  const int log = open((paths.in + ".log").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_APPEND, 0600);
  dup2(null, 0);
  dup2(null, 1);
  dup2(log, 2);
  // Whatever calls exit() leaves at once: taking the sanitizer down costs more than the case.
  on_exit([](int code, void*) { fflush(nullptr), _exit(code); }, nullptr);
  for (; progress.case_number < count; progress.case_number += step) {
    write_bytes(paths.in, case_bytes(progress.case_number, seed, seeds));
    unlink(paths.out.c_str());
    for (TOOL tool : {DIS, RUN, MID}) {
      if (ftruncate(2, 0) != 0) _exit(3);
      progress.tool = tool;
      progress.start = now();
      alarm(10);
      const int code = run_tool(tool, paths);
      fflush(nullptr);
      const std::string fault = judge(tool, code, now() - progress.start, paths);
      if (fault.empty()) continue;
      snprintf(progress.fault, sizeof progress.fault, "%s", fault.c_str());
      _exit(0);
    }
  }
  _exit(0);
}

// How the runner's process ended: what is wrong with the case at work, or an empty text.
std::string end_of_runner(int status, const PROGRESS& progress, const PATHS& paths) {
  if (progress.fault[0]) return progress.fault;
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  const BYTES log = read_bytes((paths.in + ".log").c_str());
  const std::string text(log.begin(), log.end());
  for (const char* report : {"AddressSanitizer", "runtime error:", "INTERNAL ERROR: C/C++"})
    if (size_t at = text.find(report); at != std::string::npos) return text.substr(at, 600);
  return judge(progress.tool, WEXITSTATUS(status), now() - progress.start, paths);
}

int fuzz(uint64_t seed, long first, long step, long count, const std::string& keep,
         const std::vector<BYTES>& seeds) {
  char folder[] = "/tmp/fuzzXXXXXX";
  if (!mkdtemp(folder)) return 1;
  const PATHS paths{std::string(folder) + "/in.icode", std::string(folder) + "/out.icode"};
  void* shared =
      mmap(nullptr, sizeof(PROGRESS), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return 1;
  auto& progress = *new (shared) PROGRESS{};
  int faults = 0;
  for (progress.case_number = first; progress.case_number < count; progress.case_number += step) {
    const long number = progress.case_number;
    progress.fault[0] = 0;
    progress.tool = TOOL_COUNT;
    const pid_t child = fork();
    if (child == 0) run_cases(progress, step, count, seed, seeds, paths);
    int status = 0;
    waitpid(child, &status, 0);
    if (progress.case_number >= count) break;
    const std::string fault = end_of_runner(status, progress, paths);
    if (fault.empty()) continue;
    faults++;
    // What an earlier case of the same process left behind may be at fault: the kept file tells.
    printf("case %ld: %s: %s\n", progress.case_number,
           progress.tool < TOOL_COUNT ? tool_names[progress.tool] : "start", fault.c_str());
    if (progress.case_number != number) printf("    behind other cases since %ld\n", number);
    fflush(stdout);
    write_bytes(keep + "/case-" + std::to_string(progress.case_number) + ".icode",
                case_bytes(progress.case_number, seed, seeds));
  }
  munmap(shared, sizeof(PROGRESS));
  for (const std::string& path : {paths.in, paths.out, paths.in + ".log"})
    unlink(path.c_str());
  rmdir(folder);
  return faults ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
  uint64_t seed = 1;
  long count = 1000, jobs = 2;
  std::string keep = ".";
  std::vector<BYTES> seeds;
  for (int k = 1; k < argc; k++) {
    const std::string arg = argv[k];
    if (arg == "--seed" && k + 1 < argc)
      seed = strtoull(argv[++k], nullptr, 0);
    else if (arg == "--count" && k + 1 < argc)
      count = strtol(argv[++k], nullptr, 0);
    else if (arg == "--jobs" && k + 1 < argc)
      jobs = strtol(argv[++k], nullptr, 0);
    else if (arg == "--keep" && k + 1 < argc)
      keep = argv[++k];
    else if (BYTES bytes = read_bytes(argv[k]); !bytes.empty())
      seeds.push_back(bytes);
    else {
      fprintf(stderr, "fuzz: %s: cannot read\n", argv[k]);
      return 1;
    }
  }
  if (seeds.empty()) {
    fprintf(stderr, "usage: fuzz [--seed S] [--count N] [--jobs J] [--keep DIR] FILE.icode...\n");
    return 1;
  }
  std::vector<pid_t> children;
  for (long j = 0; j < jobs; j++) {
    const pid_t child = fork();
    if (child == 0) _exit(fuzz(seed, j, jobs, count, keep, seeds));
    children.push_back(child);
  }
  int failed = 0;
  for (pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    failed |= status;
  }
  printf("%ld mutated files, seed %llu: %s\n", count, static_cast<unsigned long long>(seed),
         failed ? "FAULTS" : "no faults");
  return failed ? 1 : 0;
}
