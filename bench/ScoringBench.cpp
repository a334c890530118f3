// One candidate scored against every record of a full table: the inner loop of
// classification when nothing reaches the level.
#include "SampleTables.h"

#include "analysis/PictureSimilarity.h"
#include "analysis/TextSimilarity.h"
#include "base/HostYield.h"

#include <benchmark/benchmark.h>

#include <algorithm>

namespace {

using namespace velmora;

// Scores `candidate` against every entry, keeping the best score as the
// classifier does.
template <typename Table, typename Record, typename Compare>
void scanWholeTable(benchmark::State& state, const Table& table, const Record& candidate,
                    Compare compare) {
    float best = 0;
    for (auto _ : state) {
        best = 0;
        for (const auto& entry : table) {
            const float score = compare(entry, candidate);
            if (score > best)
                best = score;
        }
        benchmark::DoNotOptimize(best);
    }
    state.counters["best"] = best;
    state.counters["records/s"] = benchmark::Counter(
        double(table.upperBound()) * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_ScanTxtTable(benchmark::State& state) {
    scanWholeTable(state, bench::sampleTxtTable(bench::kFullTable), bench::distantTxtCandidate(),
                   comparetxt);
}
BENCHMARK(BM_ScanTxtTable)->Unit(benchmark::kMillisecond);

// The same scan as the classifier runs it, over the table's packed rows.
void BM_ScanTxtTablePacked(benchmark::State& state) {
    const TxtRecords table = bench::sampleTxtTable(bench::kFullTable);
    const TxtRec candidate = bench::distantTxtCandidate();
    float best = 0;
    for (auto _ : state) {
        TxtTableScan scan(table, candidate);
        best = 0;
        for (int i = 1; i <= table.upperBound(); ++i)
            best = std::max(best, scan.score(i));
        benchmark::DoNotOptimize(best);
    }
    state.counters["best"] = best;
    state.counters["records/s"] = benchmark::Counter(
        double(table.upperBound()) * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ScanTxtTablePacked)->Unit(benchmark::kMillisecond);

// The known-sender look-up of a sender the full table does not hold.
void BM_UnknownSenderLookUp(benchmark::State& state) {
    const TxtRecords table = bench::sampleTxtTable(bench::kFullTable);
    const QString sender = QStringLiteral("stranger@nowhere.example");
    for (auto _ : state)
        benchmark::DoNotOptimize(table.firstIndexOfSender(sender));
}
BENCHMARK(BM_UnknownSenderLookUp)->Unit(benchmark::kMicrosecond);

void BM_ScanPicTable(benchmark::State& state) {
    scanWholeTable(state, bench::samplePicTable(bench::kFullTable), bench::distantPicCandidate(),
                   comparepics);
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
