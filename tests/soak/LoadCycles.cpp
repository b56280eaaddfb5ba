// Loads the module, acquires and unloads it, many times in one process, which must not grow by it.
// norveltl_load_cycles CYCLES; exit code 1 when memory, threads or handles grow.
#include "Consumer.h"
#include "Process.h"

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {

struct Sample {
    size_t allocated;
    double resident;
    unsigned threads;
    unsigned handles;
};

// One whole life of the module, a refused call included. The world is made new, as the simulated
// library remembers every closed object until then.
void Cycle() {
    PrepareWorld();
    const auto producer = Producer::Load();
    Consumer consumer(*producer);
    consumer.Open();
    consumer.RegisterDeviceEvent();
    consumer.Start();
    consumer.Take(5);
    if (producer->TLUpdateInterfaceList(nullptr, nullptr, 0) != -1006) {
        throw std::runtime_error("a null handle is not refused");
    }
    consumer.Close();
}

Sample Print(int cycles) {
    const Sample sample = {AllocatedBytes(), ResidentKibibytes(), NumThreads(), NumHandles()};
    std::printf("%6d cycles  %zu bytes allocated, %.0f KiB resident, %u threads, %u handles\n",
                cycles, sample.allocated, sample.resident, sample.threads, sample.handles);
    std::fflush(stdout);
    return sample;
}

// What the process may still take after the first tenth of the cycles: the allocator's caches
// settle late.
constexpr size_t MOST_BYTES = 32 * 1024;
#if defined(UNDER_A_SANITIZER)
// Sanitizers keep what was freed.
constexpr double MOST_RESIDENT_KIB = 1024 * 1024;
#else
constexpr double MOST_RESIDENT_KIB = 512;
#endif

int Judge(const Sample& first, const Sample& last) {
    int complaints = 0;
    const auto complain = [&](bool holds, const char* what) {
        if (!holds) {
            std::printf("complaint: %s grow\n", what);
            ++complaints;
        }
    };
    complain(last.allocated <= first.allocated + MOST_BYTES, "allocations");
    complain(last.resident <= first.resident + MOST_RESIDENT_KIB, "resident pages");
    complain(last.threads <= first.threads, "threads");
    complain(last.handles <= first.handles, "handles");
    return complaints == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 0;
    if (cycles < 10) {
        std::fprintf(stderr, "usage: norveltl_load_cycles CYCLES (10 or more)\n");
        return 2;
    }
    Sample first{};
    Sample last{};
    try {
        for (int done = 1; done <= cycles; ++done) {
            Cycle();
            if (done % (cycles / 10) == 0) {
                last = Print(done);
                first = done == cycles / 10 ? last : first;
            }
        }
    } catch (const std::exception& failure) {
        std::printf("complaint: %s\n", failure.what());
        return 1;
    }
    return Judge(first, last);
}
