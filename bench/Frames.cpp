// Frames through the data stream. One consumer fetches and requeues; the floor of the cost is a
// pair of threads that pass as many items back and forth, that of the throughput is the camera.
#include "Figures.h"
#include "OptivoSim.h"
#include "Subjects.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <queue>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr unsigned kNumBuffers = 16;
constexpr unsigned kSmallSide = 8;
constexpr std::size_t kSmallSize = 64;
constexpr unsigned kNumLargeBuffers = 8;
constexpr unsigned kLargeWidth = 4096;
constexpr unsigned kLargeHeight = 3072;
constexpr std::size_t kLargeSize = std::size_t{12} << 20;

class CItemQueue {
public:
    void Push(int item) {
        {
            const std::lock_guard lock(m_lock);
            m_items.push(item);
        }
        m_filled.notify_one();
    }
    int Pop() {
        std::unique_lock lock(m_lock);
        m_filled.wait(lock, [this] { return !m_items.empty(); });
        const int item = m_items.front();
        m_items.pop();
        return item;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_filled;
    std::queue<int> m_items;
};

void CostOfModule(benchmark::State& state, unsigned numBuffers) {
    MakeCameras(1, kSmallSide, kSmallSide, 0);
    const COpenModule module;
    CModuleStream stream(module, 0, numBuffers, kSmallSize);
    stream.Start();
    stream.TakeMany(kWarmUp);
    const std::uint64_t lostBefore = stream.Number(STREAM_INFO_NUM_UNDERRUN);
    for (auto _ : state) {
        stream.Take();
    }
    const std::uint64_t lost = stream.Number(STREAM_INFO_NUM_UNDERRUN) - lostBefore;
    state.counters["lost_per_frame"] =
        benchmark::Counter(static_cast<double>(lost), benchmark::Counter::kAvgIterations);
}

void CostOfQueues(benchmark::State& state) {
    constexpr int kEnd = -1;
    CItemQueue filled;
    CItemQueue empty;
    std::thread filler([&] {
        for (int item = empty.Pop(); item != kEnd; item = empty.Pop()) {
            filled.Push(item);
        }
    });
    for (unsigned i = 0; i < kNumBuffers; ++i) {
        empty.Push(static_cast<int>(i));
    }
    for (auto _ : state) {
        empty.Push(filled.Pop());
    }
    empty.Push(kEnd);
    filler.join();
}

// What the library takes of a frame, which the producer's figure contains.
void CostOfLibrary(benchmark::State& state) {
    MakeCameras(1, kSmallSide, kSmallSide, 0);
    COpenLibrary library;
    CLibraryStream stream(library, 0);
    stream.Start();
    void* const memory = ImageMemory(0, kSmallSize);
    stream.TakeMany(kWarmUp, memory);
    for (auto _ : state) {
        stream.Take(memory);
    }
}

void CountBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(kLargeSize) *
                            static_cast<std::int64_t>(state.iterations()));
}

void ThroughputOfModule(benchmark::State& state, unsigned warmUp) {
    MakeCameras(1, kLargeWidth, kLargeHeight, 0);
    const COpenModule module;
    CModuleStream stream(module, 0, kNumLargeBuffers, kLargeSize);
    stream.Start();
    stream.TakeMany(warmUp);
    for (auto _ : state) {
        stream.Take();
    }
    CountBytes(state);
}

void ThroughputOfLibrary(benchmark::State& state, unsigned warmUp) {
    MakeCameras(1, kLargeWidth, kLargeHeight, 0);
    COpenLibrary library;
    CLibraryStream stream(library, 0);
    stream.Start();
    unsigned next = 0;
    const auto grab = [&] {
        void* const memory = ImageMemory(next, kLargeSize);
        next = (next + 1) % kNumLargeBuffers;
        Check(stream.Stream().GrabImage(memory, 1000), "GrabImage");
    };
    for (unsigned i = 0; i < warmUp; ++i) {
        grab();
    }
    for (auto _ : state) {
        grab();
    }
    CountBytes(state);
}

// One image of each camera in turn, while the others wait for theirs. The first round is not
// measured: the threads begin in it.
void TakeInTurn(benchmark::State& state, unsigned numCameras,
                const std::function<void(unsigned camera)>& take) {
    std::vector<std::string> names;
    for (unsigned camera = 0; camera < numCameras; ++camera) {
        names.push_back(CameraName(camera));
    }
    const auto round = [&] {
        for (unsigned camera = 0; camera < numCameras; ++camera) {
            OptivoSim_ProduceImages(names[camera].c_str(), 1);
            take(camera);
        }
    };
    round();
    while (state.KeepRunningBatch(numCameras)) {
        round();
    }
}

void ImagesOfModule(benchmark::State& state, unsigned numCameras) {
    MakeCameras(numCameras, kSmallSide, kSmallSide, -1);
    const COpenModule module;
    std::deque<CModuleStream> streams;
    for (unsigned camera = 0; camera < numCameras; ++camera) {
        streams.emplace_back(module, camera, kNumBuffers, kSmallSize).Start();
    }
    TakeInTurn(state, numCameras, [&](unsigned camera) { streams[camera].Take(); });
}

// The same by threads that wait at the camera library and tell who waits for them.
void ImagesOfLibrary(benchmark::State& state, unsigned numCameras) {
    MakeCameras(numCameras, kSmallSide, kSmallSide, -1);
    COpenLibrary library;
    std::deque<CLibraryStream> streams;
    CItemQueue taken;
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (unsigned camera = 0; camera < numCameras; ++camera) {
        streams.emplace_back(library, camera).Start();
        void* const memory = ImageMemory(camera, kSmallSize);
        threads.emplace_back([&taken, &stop, &stream = streams.back(), memory] {
            while (!stop) {
                if (stream.TryTake(memory)) {
                    taken.Push(1);
                }
            }
        });
    }
    TakeInTurn(state, numCameras, [&](unsigned) { taken.Pop(); });
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

void RegisterGrowth() {
    for (const unsigned numCameras : {1U, 4U, 16U, 64U, 256U}) {
        const std::string name = "cameras_" + std::to_string(numCameras);
        benchmark::RegisterBenchmark((name + "/module").c_str(), ImagesOfModule, numCameras)
            ->UseRealTime();
        benchmark::RegisterBenchmark((name + "/floor").c_str(), ImagesOfLibrary, numCameras)
            ->UseRealTime();
    }
    for (const unsigned numBuffers : {2U, 16U, 1024U}) {
        benchmark::RegisterBenchmark(("buffers_" + std::to_string(numBuffers) + "/module").c_str(),
                                     CostOfModule, numBuffers)
            ->UseRealTime();
    }
}

} // namespace

void RegisterFrames(const SEffort& effort) {
    RegisterGrowth();
    benchmark::RegisterBenchmark("frame_cost/module", CostOfModule, kNumBuffers)->UseRealTime();
    benchmark::RegisterBenchmark("frame_cost/floor", CostOfQueues)->UseRealTime();
    benchmark::RegisterBenchmark("frame_cost/library", CostOfLibrary)->UseRealTime();
    const unsigned warmUp = effort.Of(kWarmUp, kNumLargeBuffers);
    const auto frames = effort.Of<benchmark::IterationCount>(200, 8);
    benchmark::RegisterBenchmark("throughput/module", ThroughputOfModule, warmUp)
        ->UseRealTime()
        ->Iterations(frames);
    benchmark::RegisterBenchmark("throughput/floor", ThroughputOfLibrary, warmUp)
        ->UseRealTime()
        ->Iterations(frames);
}
