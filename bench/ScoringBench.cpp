// One candidate scored against every record of a full table: the inner loop of
// classification when nothing reaches the level.
#include "SampleTables.h"

#include "analysis/PictureSimilarity.h"
#include "analysis/TextSimilarity.h"
#include "base/HostYield.h"

#include <benchmark/benchmark.h>

namespace {

using namespace velmora;

void BM_ScanTxtTable(benchmark::State& state) {
    const TxtRecords table = bench::sampleTxtTable(bench::kFullTable);
    const TxtRec candidate = bench::distantTxtCandidate();
    float best = 0;
    for (auto _ : state) {
        best = 0;
        for (const TxtRec& rec : table) {
            const float score = comparetxt(rec, candidate);
            if (score > best)
                best = score;
        }
        benchmark::DoNotOptimize(best);
    }
    state.counters["best"] = best;
    state.counters["records/s"] =
        benchmark::Counter(double(table.upperBound()) * double(state.iterations()),
                           benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ScanTxtTable)->Unit(benchmark::kMillisecond);

void BM_ScanPicTable(benchmark::State& state) {
    const PicRecords table = bench::samplePicTable(bench::kFullTable);
    const PicRec candidate = bench::distantPicCandidate();
    float best = 0;
    for (auto _ : state) {
        best = 0;
        for (const PicRec& rec : table) {
            const float score = comparepics(rec, candidate);
            if (score > best)
                best = score;
        }
        benchmark::DoNotOptimize(best);
    }
    state.counters["best"] = best;
    state.counters["records/s"] =
        benchmark::Counter(double(table.upperBound()) * double(state.iterations()),
                           benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ScanPicTable)->Unit(benchmark::kMillisecond);

} // namespace

namespace {

void BM_YieldToHost(benchmark::State& state) {
    for (auto _ : state)
        velmora::yieldToHost();
}
BENCHMARK(BM_YieldToHost);

} // namespace
