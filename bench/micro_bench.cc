// Google Benchmark registrations of the same workloads as quorvix_compare,
// for statistics (repetitions, aggregates, JSON output) on single kernels.
#include <benchmark/benchmark.h>

#include <vector>

#include "workloads.h"

namespace {

constexpr long kBatch = 1000;  // evaluations per benchmark iteration

void BM_QuorvixParseOnce(benchmark::State& state) {
  bench::QuorvixScalar q;
  for (auto _ : state) benchmark::DoNotOptimize(bench::QuorvixParseOnce(q, kBatch));
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_QuorvixParseOnce);

void BM_QuorvixParseOnceSetVariable(benchmark::State& state) {
  bench::QuorvixScalar q;
  for (auto _ : state) benchmark::DoNotOptimize(bench::QuorvixParseOnceSetVariable(q, kBatch));
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_QuorvixParseOnceSetVariable);

void BM_QuorvixReparse(benchmark::State& state) {
  bench::QuorvixScalar q;
  for (auto _ : state) benchmark::DoNotOptimize(bench::QuorvixReparse(q, kBatch));
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_QuorvixReparse);

void BM_Muparser(benchmark::State& state) {
  bench::MuparserScalar m;
  for (auto _ : state) benchmark::DoNotOptimize(bench::MuparserLoop(m, kBatch));
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_Muparser);

void BM_NativeScalar(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(bench::NativeScalarLoop(kBatch));
  state.SetItemsProcessed(state.iterations() * kBatch);
}
BENCHMARK(BM_NativeScalar);

void BM_QuorvixVector(benchmark::State& state) {
  std::vector<double> x, y;
  bench::MakeVectorInputs(static_cast<std::size_t>(state.range(0)), x, y);
  bench::QuorvixVector q(x, y);
  for (auto _ : state) {
    symtab* r = bench::QuorvixVectorEval(q);
    if (r == nullptr) {
      state.SkipWithError("evaluation failed");
      break;
    }
    benchmark::DoNotOptimize(r->data);
    r->Delete();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_QuorvixVector)->Arg(1000000)->Unit(benchmark::kMillisecond);

void BM_NativeVector(benchmark::State& state) {
  std::vector<double> x, y;
  bench::MakeVectorInputs(static_cast<std::size_t>(state.range(0)), x, y);
  for (auto _ : state) {
    auto out = bench::NativeVectorEval(x, y);
    benchmark::DoNotOptimize(out.get());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_NativeVector)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
