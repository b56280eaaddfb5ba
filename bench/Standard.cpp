// What the standard module adds to the calls of every image, and how soon it ends a wait.
#include "Figures.h"
#include "OptivoSim.h"
#include "Placement.h"
#include "Subjects.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kSide = 8;
constexpr std::size_t kSize = 64;
constexpr unsigned kMany = 32;

// As many images as a consumer has buffers are made at a time, on that processor, and wait when
// they are fetched in one go.
void Fetch(benchmark::State& state, Producer& producer, int processorOfAcquisition) {
    const CThreadPlacement acquisition(processorOfAcquisition);
    MakeCameras(1, kSide, kSide, -1);
    const COpenModule module(producer);
    CModuleStream stream(module, 0, kMany, kSize);
    stream.Start();
    const CThreadPlacement consumer(0);
    std::vector<BUFFER_HANDLE> fetched(kMany);
    while (state.KeepRunningBatch(kMany)) {
        OptivoSim_ProduceImages(CameraName(0).c_str(), kMany);
        while (stream.Number(STREAM_INFO_NUM_AWAIT_DELIVERY) < kMany) {
            std::this_thread::yield();
        }
        const auto begin = Clock::now();
        for (auto& buffer : fetched) {
            buffer = stream.Fetch();
        }
        const std::chrono::duration<double> time = Clock::now() - begin;
        state.SetIterationTime(time.count());
        for (auto* const buffer : fetched) {
            stream.Queue(buffer);
        }
    }
}

// Of a buffer with an image.
void BufferInfo(benchmark::State& state, Producer& producer, BUFFER_INFO_CMD command) {
    MakeCameras(1, kSide, kSide, 0);
    const COpenModule module(producer);
    CModuleStream stream(module, 0, 1, kSize);
    stream.Start();
    auto* const buffer = stream.Fetch();
    for (auto _ : state) {
        std::uint64_t value = 0;
        std::size_t size = sizeof value;
        INFO_DATATYPE type = 0;
        Check(producer.DSGetBufferInfo(stream.stream, buffer, command, &type, &value, &size),
              "DSGetBufferInfo");
        benchmark::DoNotOptimize(value);
    }
}

// From the call to the return of an infinite wait, at whatever moment of it.
void Kill(benchmark::State& state) {
    MakeCameras(1, kSide, kSide, -1);
    Producer& gentl = TheStandardProducer();
    const COpenModule module(gentl);
    CModuleStream stream(module, 0, 1, kSize);
    std::vector<double> nanoseconds;
    unsigned round = 0;
    for (auto _ : state) {
        Clock::time_point end;
        GC_ERROR code = GC_ERR_SUCCESS;
        std::thread waiter([&] {
            EVENT_NEW_BUFFER_DATA data{};
            std::size_t size = sizeof data;
            code = gentl.EventGetData(stream.NewBuffer(), &data, &size, GENTL_INFINITE);
            end = Clock::now();
        });
        std::this_thread::sleep_for(std::chrono::microseconds(20000 + 700 * (round++ % 20)));
        const auto begin = Clock::now();
        Check(gentl.EventKill(stream.NewBuffer()), "EventKill");
        waiter.join();
        Require(code == GC_ERR_ABORT, "a wait that was killed");
        const std::chrono::duration<double> seconds = end - begin;
        state.SetIterationTime(seconds.count());
        nanoseconds.push_back(seconds.count() * 1e9);
    }
    std::sort(nanoseconds.begin(), nanoseconds.end());
    state.counters["median"] = nanoseconds[nanoseconds.size() / 2];
    state.counters["longest"] = nanoseconds.back();
}

} // namespace

void RegisterStandard(const SEffort& effort) {
    const auto fetches = kMany * effort.Of<benchmark::IterationCount>(1000, 2);
    const auto fetch = [fetches](const char* name, Producer& (*producer)(), int processor) {
        benchmark::RegisterBenchmark(name,
                                     [=](auto& state) { Fetch(state, producer(), processor); })
            ->UseManualTime()
            ->Iterations(fetches);
    };
    fetch("standard_fetch/module", TheStandardProducer, 0);
    fetch("standard_fetch/floor", TheProducer, 0);
    fetch("standard_fetch_apart/module", TheStandardProducer, 1);
    fetch("standard_fetch_apart/floor", TheProducer, 1);
    const auto info = [](const char* name, Producer& (*producer)(), BUFFER_INFO_CMD command) {
        benchmark::RegisterBenchmark(name, [=](auto& state) {
            BufferInfo(state, producer(), command);
        })->UseRealTime();
    };
    info("standard_info/module", TheStandardProducer, BUFFER_INFO_WIDTH);
    info("standard_info/floor", TheProducer, BUFFER_INFO_BASE);
    benchmark::RegisterBenchmark("standard_kill/module", Kill)
        ->UseManualTime()
        ->Iterations(effort.Of<benchmark::IterationCount>(100, 3));
}
