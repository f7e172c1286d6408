// fuzz [--seed S] [--count N] [--jobs J] [--keep DIR] FILE.icode...
//
// Sends mutated copies of the given files through vrx-mid, icode-dis and icode-run, each in a child
// process, and checks how they end: status 0 or 1 (125 too for icode-run, a program's own fault),
// within two seconds, and with status 1 no output. What vrx-mid writes must be a well-formed file.
// A case that breaks a rule is kept in DIR (default ".") under its number; the same seed makes the
// same cases.
#include "OPT5/driver.h"
#include "tools/icode_unit.h"
#include "tools/ict_print.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

int icode_run_main(int argc, char** argv);

namespace {

using Bytes = std::vector<uint8_t>;

struct Random {
  uint64_t state;
  explicit Random(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint64_t next() {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
  }
  size_t below(size_t n) { return n ? next() % n : 0; }
};

Bytes read_bytes(const char* path) {
  Bytes bytes;
  if (FILE* fp = fopen(path, "rb")) {
    uint8_t chunk[4096];
    while (size_t n = fread(chunk, 1, sizeof chunk, fp))
      bytes.insert(bytes.end(), chunk, chunk + n);
    fclose(fp);
  }
  return bytes;
}

// The start of a record of the function stream: records are spliced and cut where they begin.
std::vector<size_t> record_starts(const Bytes& bytes) {
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

void mutate(Bytes& bytes, const std::vector<Bytes>& seeds, Random& random) {
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
    const Bytes& from = seeds[random.below(seeds.size())];
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

enum Tool { MID, DIS, RUN, TOOL_COUNT };
const char* const tool_names[] = {"vrx-mid", "icode-dis", "icode-run"};

volatile long current_case; // for a debugger

struct Paths {
  std::string in, out;
};

int run_tool(Tool tool, const Paths& paths) {
  std::string in = paths.in, out = paths.out;
  switch (tool) {
  case MID: {
    std::string name = "vrx-mid", level = "--opt_level=2";
    char* args[] = {name.data(), level.data(), in.data(), out.data(), nullptr};
    return run_compilation(4, args);
  }
  case DIS: {
    const Bytes bytes = read_bytes(in.c_str());
    icode::Unit unit;
    std::string error;
    if (!icode::decode_unit(bytes, unit, error)) return 1;
    icode::print_unit(unit);
    return 0;
  }
  default: {
    std::string name = "icode-run", limit = "--max-steps", steps = "200000";
    char* args[] = {name.data(), limit.data(), steps.data(), in.data(), nullptr};
    return icode_run_main(4, args);
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

// What is wrong with how the tool ended, or an empty text.
std::string try_tool(Tool tool, const Paths& paths) {
  unlink(paths.out.c_str());
  const double start = now();
  const pid_t child = fork();
  if (child == 0) {
    const int null = open("/dev/null", O_RDWR);
    const int log = open((paths.in + ".log").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(null, 0);
    dup2(null, 1);
    dup2(log, 2);
    alarm(10);
    // Whatever calls exit() leaves at once: taking the sanitizer down costs more than the case.
    on_exit([](int code, void*) { fflush(nullptr), _exit(code); }, nullptr);
    const int status = run_tool(tool, paths);
    fflush(nullptr);
    _exit(status);
  }
  int status = 0;
  waitpid(child, &status, 0);
  const double seconds = now() - start;
  if (WIFSIGNALED(status)) return "killed by signal " + std::to_string(WTERMSIG(status));
  const int code = WEXITSTATUS(status);
  if (code != 0 && code != 1 && tool != RUN) return "status " + std::to_string(code);
  const Bytes log = read_bytes((paths.in + ".log").c_str());
  const std::string text(log.begin(), log.end());
  for (const char* report : {"AddressSanitizer", "runtime error:", "INTERNAL ERROR: C/C++"})
    if (text.find(report) != std::string::npos) return text.substr(0, 600);
  if (seconds > 2) return std::to_string(seconds) + " seconds";
  if (tool != MID) return "";
  if (code == 1) return exists(paths.out) ? "output behind status 1" : "";
  icode::Unit unit;
  std::string error;
  if (!icode::decode_unit(read_bytes(paths.out.c_str()), unit, error))
    return "output is damaged: " + error;
  return "";
}

int fuzz(uint64_t seed, long first, long step, long count, const std::string& keep,
         const std::vector<Bytes>& seeds) {
  char folder[] = "/tmp/fuzzXXXXXX";
  if (!mkdtemp(folder)) return 1;
  const Paths paths{std::string(folder) + "/in.icode", std::string(folder) + "/out.icode"};
  int faults = 0;
  for (long k = first; k < count; k += step) {
    Random random(seed + static_cast<uint64_t>(k) * 7919);
    Bytes bytes = seeds[random.below(seeds.size())];
    for (size_t n = 1 + random.below(4); n; n--)
      mutate(bytes, seeds, random);
    FILE* fp = fopen(paths.in.c_str(), "wb");
    fwrite(bytes.data(), 1, bytes.size(), fp);
    fclose(fp);
    current_case = k;
    bool unreadable = false;
    for (int tool = 0; tool < TOOL_COUNT; tool++) {
      // icode-dis has no state and never exits from within: it needs no process of its own, whose
      // start is what costs the time. A crash there shows as the worker's, with the case in
      // `current_case`. What it refuses, icode-run refuses by the same reader; one such case in
      // eight is run all the same.
      std::string fault;
      if (tool == DIS)
        unreadable = run_tool(DIS, paths) != 0;
      else if (tool == MID || !unreadable || k % 8 == 0)
        fault = try_tool(static_cast<Tool>(tool), paths);
      if (fault.empty()) continue;
      faults++;
      printf("case %ld: %s: %s\n", k, tool_names[tool], fault.c_str());
      fflush(stdout);
      const std::string copy = keep + "/case-" + std::to_string(k) + ".icode";
      if (FILE* to = fopen(copy.c_str(), "wb")) {
        fwrite(bytes.data(), 1, bytes.size(), to);
        fclose(to);
      }
    }
  }
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
  std::vector<Bytes> seeds;
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
    else if (Bytes bytes = read_bytes(argv[k]); !bytes.empty())
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
