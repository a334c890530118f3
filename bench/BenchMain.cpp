#include <QCoreApplication>

#include <benchmark/benchmark.h>

// The routines measured yield to the event loop once per record, as they do in
// every host, so a real application object exists.
int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
