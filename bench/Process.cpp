// What the whole process consumes: processor time of paced cameras, memory of many frames, and the
// time that a consumer waits until it sees the cameras.
#include "Process.h"
#include "Figures.h"
#include "OptivoSim.h"
#include "Subjects.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr unsigned kNumCameras = 16;
constexpr unsigned kVgaWidth = 640;
constexpr unsigned kVgaHeight = 480;
constexpr std::size_t kVgaSize = std::size_t{kVgaWidth} * kVgaHeight;
constexpr double kFrameRate = 30;
constexpr unsigned kNumBuffers = 4;
constexpr unsigned kNumSamples = 20;

// One thread per camera takes images, each by tryTake(camera), while the processor time is looked
// at. Figures are per cent of one core.
void MeasureProcessor(benchmark::State& state, double seconds,
                      const std::function<bool(unsigned camera)>& tryTake) {
    for (unsigned camera = 0; camera < kNumCameras; ++camera) {
        Require(OptivoSim_SetFrameRate(CameraName(camera).c_str(), kFrameRate) == 1, "frame rate");
    }
    std::atomic<bool> stop{false};
    std::atomic<std::uint64_t> numFrames{0};
    std::vector<std::thread> threads;
    threads.reserve(kNumCameras);
    for (unsigned camera = 0; camera < kNumCameras; ++camera) {
        threads.emplace_back([&, camera] {
            while (!stop) {
                numFrames += tryTake(camera) ? 1 : 0;
            }
        });
    }
    double consumed = 0;
    double passed = 0;
    for (auto _ : state) {
        const double before = ProcessorSeconds();
        const auto begin = Clock::now();
        std::this_thread::sleep_for(Seconds(seconds));
        const Seconds time = Clock::now() - begin;
        consumed += ProcessorSeconds() - before;
        passed += time.count();
        state.SetIterationTime(time.count());
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    state.counters["core_percent"] = 100 * consumed / passed;
    state.counters["frames_per_second"] = static_cast<double>(numFrames) / passed;
}

void ProcessorOfModule(benchmark::State& state, double seconds) {
    MakeCameras(kNumCameras, kVgaWidth, kVgaHeight, 0);
    const COpenModule module;
    std::deque<CModuleStream> streams;
    for (unsigned camera = 0; camera < kNumCameras; ++camera) {
        CModuleStream& stream = streams.emplace_back(module, camera, kNumBuffers, kVgaSize);
        stream.Start();
        stream.TakeMany(kWarmUp);
        Require(OptivoSim_SetFrameRate(CameraName(camera).c_str(), -1) == 1, "frame rate");
    }
    MeasureProcessor(state, seconds, [&](unsigned camera) { return streams[camera].TryTake(); });
}

void ProcessorOfLibrary(benchmark::State& state, double seconds) {
    MakeCameras(kNumCameras, kVgaWidth, kVgaHeight, 0);
    COpenLibrary library;
    std::deque<CLibraryStream> streams;
    for (unsigned camera = 0; camera < kNumCameras; ++camera) {
        CLibraryStream& stream = streams.emplace_back(library, camera);
        stream.Start();
        stream.TakeMany(kWarmUp, ImageMemory(camera, kVgaSize));
    }
    MeasureProcessor(state, seconds, [&](unsigned camera) {
        return streams[camera].TryTake(ImageMemory(camera, kVgaSize));
    });
}

// The samples are counters, as the plot is made of them.
void MemoryOfFrames(benchmark::State& state, std::uint64_t numFrames) {
    constexpr unsigned kSide = 8;
    constexpr std::size_t kSize = 64;
    MakeCameras(1, kSide, kSide, 0);
    const COpenModule module;
    CModuleStream stream(module, 0, 16, kSize);
    stream.Start();
    stream.TakeMany(kWarmUp);
    std::vector<double> kibibytes;
    kibibytes.reserve(kNumSamples + 1);
    for (auto _ : state) {
        kibibytes.push_back(ResidentKibibytes());
        for (unsigned i = 0; i < kNumSamples; ++i) {
            stream.TakeMany(numFrames / kNumSamples);
            kibibytes.push_back(ResidentKibibytes());
        }
    }
    for (std::size_t i = 0; i < kibibytes.size(); ++i) {
        std::array<char, 16> name{};
        std::snprintf(name.data(), name.size(), "kib_%03u", static_cast<unsigned>(i));
        state.counters[name.data()] = kibibytes[i];
    }
    state.counters["frames"] = static_cast<double>(numFrames);
}

// From the start of an acquisition to its first image, and from its stop to the return of that
// while images come.
template <class Start, class Fetch, class Stop, class Renew>
void MeasureStart(benchmark::State& state, const Start& start, const Fetch& fetch, const Stop& stop,
                  const Renew& renew) {
    double stopping = 0;
    for (auto _ : state) {
        const auto begin = Clock::now();
        start();
        fetch();
        state.SetIterationTime(Seconds(Clock::now() - begin).count());
        const auto end = Clock::now();
        stop();
        stopping += Seconds(Clock::now() - end).count();
        renew();
    }
    state.counters["stop"] = benchmark::Counter(1e9 * stopping, benchmark::Counter::kAvgIterations);
}

void StartOfModule(benchmark::State& state) {
    MakeCameras(1, kVgaWidth, kVgaHeight, 0);
    const COpenModule module;
    CModuleStream stream(module, 0, kNumBuffers, kVgaSize);
    stream.Start();
    stream.TakeMany(kWarmUp);
    const auto stop = [&] {
        Check(stream.gentl.DSStopAcquisition(stream.stream, ACQ_STOP_FLAGS_DEFAULT), "stop");
    };
    const auto renew = [&] {
        Check(stream.gentl.DSFlushQueue(stream.stream, ACQ_QUEUE_ALL_TO_INPUT), "flush");
    };
    stop();
    renew();
    MeasureStart(
        state,
        [&] {
            Check(stream.gentl.DSStartAcquisition(stream.stream, ACQ_START_FLAGS_DEFAULT,
                                                  GENTL_INFINITE),
                  "start");
        },
        [&] { stream.Fetch(); }, stop, renew);
}

void StartOfLibrary(benchmark::State& state) {
    MakeCameras(1, kVgaWidth, kVgaHeight, 0);
    COpenLibrary library;
    CLibraryStream stream(library, 0);
    void* const memory = ImageMemory(0, kVgaSize);
    const auto stop = [&] { Check(stream.Stream().StopAcquisition(0), "stop"); };
    stream.Start();
    stream.TakeMany(kWarmUp, memory);
    stop();
    MeasureStart(
        state, [&] { stream.Start(); }, [&] { stream.Take(memory); }, stop, [] {});
}

// A copy of the module's file each time, as no module that is loaded is loaded again. The camera
// library is there already.
void LoadOpenList(benchmark::State& state) {
    MakeCameras(1, kVgaWidth, kVgaHeight, kFrameRate);
    for (auto _ : state) {
        Clock::time_point begin;
        const auto producer = Producer::LoadCopy([&](const std::string&) { begin = Clock::now(); });
        const COpenModule module(*producer);
        std::uint32_t count = 0;
        Check(module.gentl.IFGetNumDevices(module.iface, &count), "IFGetNumDevices");
        Require(count == 1, "the number of devices");
        state.SetIterationTime(Seconds(Clock::now() - begin).count());
    }
}

} // namespace

void RegisterProcess(const SEffort& effort) {
    // Windows counts a process's time in hundredths of a second, of which the floor takes five.
    const double seconds = effort.Of(2.0, 1.0);
    benchmark::RegisterBenchmark("processor/module", ProcessorOfModule, seconds)
        ->UseManualTime()
        ->Iterations(1);
    benchmark::RegisterBenchmark("processor/floor", ProcessorOfLibrary, seconds)
        ->UseManualTime()
        ->Iterations(1);
    const auto starts = effort.Of<benchmark::IterationCount>(200, 5);
    benchmark::RegisterBenchmark("start/module", StartOfModule)
        ->UseManualTime()
        ->Iterations(starts);
    benchmark::RegisterBenchmark("start/floor", StartOfLibrary)
        ->UseManualTime()
        ->Iterations(starts);
    const auto numFrames = effort.Of<std::uint64_t>(1'000'000, 20'000);
    benchmark::RegisterBenchmark("memory/module", MemoryOfFrames, numFrames)
        ->UseRealTime()
        ->Iterations(1)
        ->Repetitions(1);
    benchmark::RegisterBenchmark("load_open_list/module", LoadOpenList)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond)
        ->Iterations(effort.Of<benchmark::IterationCount>(20, 2));
}
