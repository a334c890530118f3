// Load and save of full text and picture tables through their files.
#include "SampleTables.h"

#include "store/PicTableFile.h"
#include "store/TxtTableFile.h"

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

using namespace velmora;

struct FullStore {
    QTemporaryDir dir;
    SpamData data{DataFolder(dir.path())};

    FullStore() {
        QDir().mkpath(data.folder.dataFolder());
        data.TxtTable = bench::sampleTxtTable(bench::kFullTable);
        data.PicTable = bench::samplePicTable(bench::kFullTable);
        WriteTxtTable(data);
        WritePicTable(data);
    }
};

FullStore& fullStore() {
    static FullStore store;
    return store;
}

void BM_ReadTxtTable(benchmark::State& state) {
    FullStore& store = fullStore();
    for (auto _ : state) {
        ReadTxtTable(store.data);
        benchmark::DoNotOptimize(store.data.TxtTable.upperBound());
    }
    state.counters["records"] = store.data.TxtTable.upperBound();
}
BENCHMARK(BM_ReadTxtTable)->Unit(benchmark::kMillisecond);

void BM_WriteTxtTable(benchmark::State& state) {
    FullStore& store = fullStore();
    for (auto _ : state)
        WriteTxtTable(store.data);
    state.counters["records"] = store.data.TxtTable.upperBound();
}
BENCHMARK(BM_WriteTxtTable)->Unit(benchmark::kMillisecond);

void BM_ReadPicTable(benchmark::State& state) {
    FullStore& store = fullStore();
    for (auto _ : state) {
        ReadPicTable(store.data);
        benchmark::DoNotOptimize(store.data.PicTable.upperBound());
    }
    state.counters["records"] = store.data.PicTable.upperBound();
}
BENCHMARK(BM_ReadPicTable)->Unit(benchmark::kMillisecond);

void BM_WritePicTable(benchmark::State& state) {
    FullStore& store = fullStore();
    for (auto _ : state)
        WritePicTable(store.data);
    state.counters["records"] = store.data.PicTable.upperBound();
}
BENCHMARK(BM_WritePicTable)->Unit(benchmark::kMillisecond);

} // namespace
