// Target arithmetic: INT65 beside the built-in integer, bit vectors beside memcpy, and what folding
// costs.
#include "support/bitvec.h"
#include "support/int65.h"
#include "support/simul_fval.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace {

constexpr int CHAIN = 1024;

// A chain of adds, each waiting for the one before. The empty statements keep the compiler from
// adding it up.
void BM_AddChain_uint64(benchmark::State& state) {
  uint64_t sum = 1, step = 0x9E3779B97F4A7C15;
  for (auto _ : state) {
    for (int k = 0; k < CHAIN; k++) {
      sum = sum + step;
      asm volatile("" : "+r"(sum));
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * CHAIN);
}

void BM_AddChain_INT65(benchmark::State& state) {
  INT65 sum = 1, step = INT65(0x9E3779B97F4A7C15u);
  asm volatile("" : "+r"(step.low), "+r"(step.high));
  for (auto _ : state) {
    for (int k = 0; k < CHAIN; k++) {
      sum = sum + step;
      asm volatile("" : "+r"(sum.low), "+r"(sum.high));
    }
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * CHAIN);
}

// The same by way of calls, where operands and results pass in registers.
[[gnu::noinline]] uint64_t call_add(uint64_t a, uint64_t b) {
  return a + b;
}
[[gnu::noinline]] INT65 call_add(INT65 a, INT65 b) {
  return a + b;
}

template <class T> void BM_CallChain(benchmark::State& state) {
  T sum = 1, step = T(0x9E3779B97F4A7C15u);
  for (auto _ : state)
    for (int k = 0; k < CHAIN; k++)
      sum = call_add(sum, step);
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations() * CHAIN);
}

void BM_memcpy(benchmark::State& state) {
  const auto bytes = static_cast<size_t>(state.range(0)) / 8;
  std::vector<char> from(bytes, 1), to(bytes);
  for (auto _ : state) {
    memcpy(to.data(), from.data(), bytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(2 * bytes) * state.iterations());
}

// Two vectors are read, one is written.
void BM_BITVEC(benchmark::State& state, void (BITVEC::*operation)(BITVEC*, BITVEC*)) {
  const auto bits = static_cast<unsigned>(state.range(0));
  BITVEC a(bits), b(bits), r(bits);
  for (unsigned k = 0; k < bits; k += 3)
    a.bv_set(k);
  for (unsigned k = 0; k < bits; k += 5)
    b.bv_set(k);
  r.bv_set_all();
  for (auto _ : state) {
    (r.*operation)(&a, &b);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(3 * bits / 8) * state.iterations());
}

// Operations on numbers with full mantissas.
void BM_simul_fval(benchmark::State& state,
                   int (*operation)(const simul_fval*, const simul_fval*, simul_fval*)) {
  simul_fval a, b, r;
  f_atof("0.7", &a);
  f_atof("1.3", &b);
  for (auto _ : state) {
    operation(&a, &b, &r);
    benchmark::DoNotOptimize(r);
  }
}

constexpr int SMALL = 1 << 17, MIDDLE = 1 << 21, LARGE = 1 << 28; // bits

} // namespace

BENCHMARK(BM_AddChain_uint64);
BENCHMARK(BM_AddChain_INT65);
BENCHMARK_TEMPLATE(BM_CallChain, uint64_t);
BENCHMARK_TEMPLATE(BM_CallChain, INT65);
BENCHMARK(BM_memcpy)->Arg(SMALL)->Arg(MIDDLE)->Arg(LARGE);
BENCHMARK_CAPTURE(BM_BITVEC, union, &BITVEC::bv_merge3)->Arg(SMALL)->Arg(MIDDLE)->Arg(LARGE);
BENCHMARK_CAPTURE(BM_BITVEC, intersection, &BITVEC::bv_and3)->Arg(SMALL)->Arg(MIDDLE)->Arg(LARGE);
BENCHMARK_CAPTURE(BM_BITVEC, difference, &BITVEC::bv_diff)->Arg(SMALL)->Arg(MIDDLE)->Arg(LARGE);
BENCHMARK_CAPTURE(BM_simul_fval, add, f_add);
BENCHMARK_CAPTURE(BM_simul_fval, mul, f_mul);
BENCHMARK_CAPTURE(BM_simul_fval, div, f_div);
BENCHMARK_CAPTURE(BM_simul_fval, pow, f_pow);
