// Measures the library against raw system calls and against other stores: see script/bench. Takes Google Benchmark's
// options, of which --benchmark_filter and --benchmark_out are of use here. Exits with 1 when a row is short, 2 on a
// failure.

#include <benchmark/benchmark.h>

#include <cstdio>

#include "bench/Report.h"
#include "bench/peers/Store.h"
#include "bench/rows/Rows.h"

int main(int count, char** arguments) {
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 2;
    bench::AddRegistryRows();
    bench::AddTaskRows();
    bench::AddRecordRows();
    bench::AddIndexRows();
    bench::AddManagerRows();
    bench::AddChainRows();
    bench::AddInitRows();
    bench::AddTemplateRows();
    bench::AddFrontRows();
    bench::AddThreadRows();
    bench::AddScannerRows();
    bench::AddPeerRows();
    bench::TableReporter reporter;
    if (benchmark::RunSpecifiedBenchmarks(&reporter) == 0) {
        std::fprintf(stderr, "bench: no row has such a name\n");
        return 2;
    }
    for (std::string const& missing : bench::MissingEngines()) {
        std::printf("left out, its package was not installed when this was built: %s\n", missing.c_str());
    }
    return bench::PrintVerdict() ? 0 : 1;
}
