// The main of the benchmarks that draw with Qt: an application on the
// offscreen platform (unless another one is asked for), then Google
// Benchmark's own steps.
#include <QApplication>

#include <benchmark/benchmark.h>

#include <cstdlib>

int main(int argc, char** argv)
{
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
