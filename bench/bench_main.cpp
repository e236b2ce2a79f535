// The entry point of every benchmark program.
#include <benchmark/benchmark.h>

#include "bench_support.h"

int main(int argc, char** argv) {
    RegisterBenchmarks();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
