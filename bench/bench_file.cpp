// Reading and writing: time and memory of a whole run at level 0 on a generated unit, and on one of
// a tenth of its size. Linear growth shows as equal MB/s and bytes a node.
#include "OPT5/driver.h"
#include "OPT5/opt_client.h"
#include "ifile/i_file.h"
#include "tools/text/parse.h"
#include "tools/unit/unit.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

namespace {

struct SAMPLE_FILE {
  std::string path;
  size_t bytes;
  size_t nodes;
};

std::string unit_text(int functions) {
  std::string text =
      "icode -71 \"generated.c\"\ntype fn.int = fn int (int)\nglobal table: int[100]\n";
  for (int k = 0; k < functions; k++)
    text += "global f" + std::to_string(k) + ": fn.int\n";
  for (int k = 0; k < functions; k++) {
    const std::string name = "f" + std::to_string(k);
    text += "func " + name + " @" + std::to_string(k + 1) +
            ":1 {\n  param n: int\n  auto n.2 \"n\": int\n  auto i: int\n  auto s: int\n"
            "  ASG(n.2, n)\n  ASG(i, 0)\n  ASG(s, " +
            std::to_string(k % 1000) +
            ")\nL1:\n"
            "  CBRANCH(GE(i, n.2), L2)\n"
            "  ASG(s, PLUS(s, MULT(UMULT:int(PLUS:int*(UAND:int*(table), i)), MINUS(i, s))))\n"
            "  CBRANCH(LT(s, 0), L3)\n  ASG(s, XORB(SRL(s, 3), 21))\nL3:\n"
            "  ASG(i, PLUS(i, 1))\n  BRANCH(L1)\nL2:\n  RETURN(" +
            name + ", s)\n}\n";
  }
  return text;
}

const SAMPLE_FILE& sample(int functions) {
  static std::map<int, SAMPLE_FILE> made;
  SAMPLE_FILE& s = made[functions];
  if (!s.path.empty()) return s;
  icode::UNIT unit;
  std::string error;
  std::string bytes;
  if (!icode::parse_text(unit_text(functions), "generated.ict", unit, error) ||
      !icode::encode_unit(unit, bytes, error)) {
    fprintf(stderr, "%s\n", error.c_str());
    exit(1);
  }
  s = {"/tmp/vrx-bench-" + std::to_string(getpid()) + "-" + std::to_string(functions) + ".icode",
       bytes.size(), unit.nodes.size()};
  FILE* fp = fopen(s.path.c_str(), "wb");
  fwrite(bytes.data(), 1, bytes.size(), fp);
  fclose(fp);
  return s;
}

// A whole run of vrx-mid: its seconds, the system's for it included, and the peak of its memory.
double measured_run(const std::string& path, double& peak_bytes) {
  const std::string folder = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
  const std::string command = "'" + folder + "/bench-measure' '" + folder +
                              "/vrx-mid' --opt_level=0 " + path + " " + path + ".opt";
  FILE* answer = popen(command.c_str(), "r");
  double own = 0, system = 0, wall = 0;
  int status = -1;
  if (!answer ||
      fscanf(answer, "%lf %lf %lf %lf %d", &own, &system, &wall, &peak_bytes, &status) != 5 ||
      status != 0)
    abort();
  pclose(answer);
  return own + system;
}

void BM_ReadWrite(benchmark::State& state) {
  const SAMPLE_FILE& s = sample(static_cast<int>(state.range(0)));
  double empty_peak = 0, peak = 0;
  measured_run(sample(1).path, empty_peak);
  measured_run(s.path, peak); // the system finds large pages for the first one
  for (auto _ : state)
    state.SetIterationTime(measured_run(s.path, peak));
  state.counters["MB/s"] = benchmark::Counter(static_cast<double>(s.bytes) *
                                                  static_cast<double>(state.iterations()) / 1e6,
                                              benchmark::Counter::kIsRate);
  state.counters["bytes/node"] = (peak - empty_peak) / static_cast<double>(s.nodes);
  state.counters["nodes"] = static_cast<double>(s.nodes);
}

// The file layer alone: the frames of all records, read and passed over.
void BM_ReadFrames(benchmark::State& state) {
  const SAMPLE_FILE& s = sample(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    I_FILE* in = I_FILE::if_open(fopen(s.path.c_str(), "rb"), opt_client());
    if (!in->if_check_lengths()) abort();
    in->if_close(false, true);
    delete in;
  }
  state.SetBytesProcessed(static_cast<int64_t>(s.bytes) * state.iterations());
}

// Records of the size of an expression node, written to nowhere.
void BM_WriteRecords(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  unsigned long bytes = 0;
  for (auto _ : state) {
    I_FILE* out = I_FILE::if_create(fopen("/dev/null", "wb"), nullptr, "bench.c", 0);
    for (int k = 0; k < count; k++) {
      out->i_write_i8(NAME);
      out->i_write_uint(3);
      out->i_write_uint(2);
      out->i_write_uint(static_cast<unsigned>(k & 127));
      out->i_flush(TAG_NODE);
    }
    bytes = out->if_tell();
    out->if_close(false, true);
    delete out;
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes) * state.iterations());
}

// The measure of both: bytes of that number copied once.
void BM_CopyBytes(benchmark::State& state) {
  const SAMPLE_FILE& s = sample(static_cast<int>(state.range(0)));
  const std::string from(s.bytes, 'x');
  std::string to(s.bytes, 'y');
  for (auto _ : state) {
    memcpy(to.data(), from.data(), from.size());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(s.bytes) * state.iterations());
}

} // namespace

BENCHMARK(BM_ReadFrames)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WriteRecords)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyBytes)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadWrite)
    ->Arg(1000)
    ->Arg(10000)
    ->UseManualTime()
    ->MinTime(2)
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
