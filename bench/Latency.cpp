// From the end of a grab to the return of the EventGetData that was already waiting for it; the
// floors are one wake-up of a waiting condition variable, and of a thread that sleeps on a word by
// the system's own means. In all, a third thread first wakes the one
// that is measured against, so that it runs as a thread does that has just been woken itself, and
// the threads are kept where they are: a wake-up on another processor that idles takes ten times as
// long as one on the same, and which of them a woken thread gets is the system's choice.
#include "Figures.h"
#include "OptivoSim.h"
#include "Placement.h"
#include "Subjects.h"
#include "platform/WordSleep.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace {

namespace Platform = GenICam::Client::Platform;
using Clock = std::chrono::steady_clock;

constexpr unsigned kNumBuffers = 4;
constexpr unsigned kSide = 8;
constexpr std::size_t kSize = 64;
// Long enough for a thread that is about to wait to be asleep.
constexpr std::chrono::milliseconds kPause(1);

std::atomic<Clock::rep> g_begin{0};

void NoteBegin() {
    g_begin.store(Clock::now().time_since_epoch().count(), std::memory_order_release);
}

// A flag that threads wait for.
class CSignal {
public:
    void Give() {
        {
            const std::lock_guard lock(m_lock);
            m_given = true;
        }
        m_changed.notify_one();
    }
    void Await() {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [this] { return m_given; });
        m_given = false;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_given = false;
};

// The same by the system's shortest way.
class CWordSignal {
public:
    void Give() {
        m_given.store(1, std::memory_order_release);
        Platform::Wake(&m_given);
    }
    void Await() {
        while (m_given.exchange(0, std::memory_order_acquire) == 0) {
            Platform::SleepOn(m_given, 0, Platform::kSleepForever);
        }
    }

private:
    Platform::SleepWord m_given{0};
};

// A thread that does something whenever it is asked to.
class CHelper {
public:
    explicit CHelper(std::function<void()> work) : m_work(std::move(work)) {
        m_thread = std::thread([this] { Run(); });
    }
    ~CHelper() {
        m_stop = true;
        m_asked.Give();
        m_thread.join();
    }
    CHelper(const CHelper&) = delete;
    CHelper& operator=(const CHelper&) = delete;

    void Ask() { m_asked.Give(); }

private:
    void Run() {
        for (m_asked.Await(); !m_stop; m_asked.Await()) {
            m_work();
        }
    }

    std::function<void()> m_work;
    CSignal m_asked;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

struct SPlacement {
    int ofWaker;
    int ofWaiter;
};

// Measures from NoteBegin to the return of the wait, which cause ends; renew makes all ready again.
// Called on the waker's processor, which the threads that take part in the cause inherit.
template <class Wait, class Renew>
void MeasureWaits(benchmark::State& state, SPlacement placement, const std::function<void()>& cause,
                  const Wait& wait, const Renew& renew) {
    CHelper causer([&] {
        std::this_thread::sleep_for(kPause);
        cause();
    });
    const CThreadPlacement waiterPlace(placement.ofWaiter);
    std::vector<double> nanoseconds;
    nanoseconds.reserve(static_cast<std::size_t>(state.max_iterations));
    for (auto _ : state) {
        causer.Ask();
        wait();
        const auto end = Clock::now().time_since_epoch();
        const Clock::duration begin(g_begin.load(std::memory_order_acquire));
        const std::chrono::duration<double> seconds = end - begin;
        state.SetIterationTime(seconds.count());
        nanoseconds.push_back(seconds.count() * 1e9);
        renew();
    }
    std::sort(nanoseconds.begin(), nanoseconds.end());
    state.counters["median"] = nanoseconds[nanoseconds.size() / 2];
    state.counters["p99"] = nanoseconds[nanoseconds.size() * 99 / 100];
}

void OfProducer(benchmark::State& state, SPlacement placement, Producer& producer) {
    const CThreadPlacement wakerPlace(placement.ofWaker);
    MakeCameras(1, kSide, kSide, -1);
    const COpenModule module(producer);
    CModuleStream stream(module, 0, kNumBuffers, kSize);
    stream.Start();
    OptivoSim_ObserveGrabs(NoteBegin);
    const std::string camera = CameraName(0);
    BUFFER_HANDLE fetched = nullptr;
    MeasureWaits(
        state, placement, [&] { OptivoSim_ProduceImages(camera.c_str(), 1); },
        [&] { fetched = stream.Fetch(); }, [&] { stream.Queue(fetched); });
    OptivoSim_ObserveGrabs(nullptr);
}

void OfModule(benchmark::State& state, SPlacement placement) {
    OfProducer(state, placement, TheProducer());
}

void OfStandardModule(benchmark::State& state, SPlacement placement) {
    OfProducer(state, placement, TheStandardProducer());
}

template <class Signal>
void OfWakeUp(benchmark::State& state, SPlacement placement) {
    const CThreadPlacement wakerPlace(placement.ofWaker);
    Signal filled;
    CHelper filler([&] {
        NoteBegin();
        filled.Give();
    });
    MeasureWaits(
        state, placement, [&] { filler.Ask(); }, [&] { filled.Await(); }, [] {});
}

} // namespace

void RegisterLatency(const SEffort& effort) {
    const auto waits = effort.Of<benchmark::IterationCount>(500, 20);
    const auto add = [waits](const char* name, auto measure, SPlacement placement) {
        benchmark::RegisterBenchmark(name, measure, placement)->UseManualTime()->Iterations(waits);
    };
    constexpr SPlacement kApart{0, 1};
    add("latency/module", OfModule, kApart);
    add("latency/floor", OfWakeUp<CSignal>, kApart);
    add("latency/word", OfWakeUp<CWordSignal>, kApart);
    add("standard_latency/module", OfStandardModule, kApart);
    add("standard_latency/floor", OfModule, kApart);
#if defined(__linux__)
    constexpr SPlacement kTogether{0, 0};
    add("latency_together/module", OfModule, kTogether);
    add("latency_together/floor", OfWakeUp<CSignal>, kTogether);
    add("latency_together/word", OfWakeUp<CWordSignal>, kTogether);
#endif
}
