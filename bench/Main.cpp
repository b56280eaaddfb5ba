// Measures the producer beside the floor. norveltl_bench [--quick] [OPTION...]; the options are
// Google Benchmark's. With --quick every benchmark runs for a moment, which says nothing of speed.
#include "Figures.h"

#include <cstdio>
#include <exception>
#include <string_view>
#include <vector>

namespace {

char g_shortest[] = "--benchmark_min_time=0.001";

int Run(int argc, char** argv) {
    SEffort effort;
    std::vector<char*> arguments;
    arguments.reserve(static_cast<std::size_t>(argc) + 1);
    for (int i = 0; i < argc; ++i) {
        effort.isQuick = effort.isQuick || argv[i] == std::string_view("--quick");
        arguments.push_back(argv[i] == std::string_view("--quick") ? g_shortest : argv[i]);
    }
    int count = argc;
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 2;
    }
    RegisterFrames(effort);
    RegisterLatency(effort);
    RegisterCalls(effort);
    RegisterStandard(effort);
    RegisterLists(effort);
    RegisterProcess(effort);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "norveltl_bench: %s\n", error.what());
        return 1;
    }
}
