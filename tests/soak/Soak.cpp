// A long run: cameras stream with random faults, restarts and pulled plugs, while every image is
// checked and the process is watched. norveltl_soak [--standard] SECONDS [SEED]; exit code 1 for
// any complaint.
#include "Camera.h"
#include "Lists.h"
#include "OptivoSim.h"
#include "Process.h"
#include "Trouble.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr char WORLD[] = R"({"interfaces": [
    {"name": "eth0", "cameras": [
        {"name": "Paced-1", "width": 320, "height": 240, "frameRate": 400},
        {"name": "Paced-2", "width": 640, "height": 480, "frameRate": 150, "pixelFormat": "RGB8"}]},
    {"name": "usb0", "tlType": "U3V", "cameras": [
        {"name": "Paced-3", "width": 128, "height": 64, "frameRate": 1000},
        {"name": "Unpaced", "width": 320, "height": 240, "frameRate": 0}]}]})";

// Memory, threads and handles may settle for this share of a run; then they must not grow by more
// than this.
constexpr double SETTLING = 0.3;
constexpr double MOST_KIBIBYTES_PER_MINUTE = 64;
constexpr double MOST_THREADS_PER_MINUTE = 1;
constexpr double MOST_HANDLES_PER_MINUTE = 4;
constexpr double SHORTEST_JUDGED_SECONDS = 120;

// What all that is closed may leave in the process, beside what a first, short run has left.
constexpr double FIRST_SECONDS = 1;
constexpr size_t MOST_BYTES_LEFT = 16384;
#if defined(_WIN32)
// A mutex that lasts as long as the process takes a handle when a thread waits for it first, which
// may be in the second run. What an acquisition or an opening left would be many more.
constexpr unsigned MOST_HANDLES_LEFT = 8;
#else
constexpr unsigned MOST_HANDLES_LEFT = 0;
#endif

struct Sample {
    double seconds;
    double kibibytes;
    double threads;
    double handles;
};

struct Remains {
    size_t bytes;
    unsigned threads;
    unsigned handles;
};

// The least-squares slope of a member of the samples, per minute.
double GrowthPerMinute(const std::vector<Sample>& samples, double Sample::*member) {
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (const Sample& sample : samples) {
        sumX += sample.seconds;
        sumY += sample.*member;
        sumXX += sample.seconds * sample.seconds;
        sumXY += sample.seconds * sample.*member;
    }
    const auto count = static_cast<double>(samples.size());
    const double divisor = count * sumXX - sumX * sumX;
    return divisor > 0 ? 60 * (count * sumXY - sumX * sumY) / divisor : 0;
}

// A life of the library, from its initialisation to its end.
class Soak {
public:
    explicit Soak(Producer& gentl) : m_gentl(gentl) {
        char error[256] = "";
        Require(OptivoSim_LoadWorld(WORLD, error, sizeof error) == 1, error);
        Require(m_gentl.GCInitLib() == 0, "GCInitLib");
        Require(m_gentl.TLOpen(&m_system) == 0, "TLOpen");
        Require(m_gentl.TLUpdateInterfaceList(m_system, nullptr, 1000) == 0, "interfaces");
        for (SoakInterface& iface : m_interfaces) {
            Require(m_gentl.TLOpenInterface(m_system, iface.id.c_str(), &iface.handle) == 0,
                    "TLOpenInterface");
            Require(m_gentl.IFUpdateDeviceList(iface.handle, nullptr, 1000) == 0, "cameras");
        }
    }
    ~Soak() {
        for (SoakInterface& iface : m_interfaces) {
            m_gentl.IFClose(iface.handle);
        }
        m_gentl.TLClose(m_system);
        m_gentl.GCCloseLib();
        OptivoSim_Reset();
    }
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    // The simulated library remembers its last thousand closed objects of a kind. Afterwards it has
    // as many, and takes no more memory for them.
    void FillLibrary() {
        for (int i = 0; i < 1100; ++i) {
            DEV_HANDLE device = nullptr;
            DS_HANDLE stream = nullptr;
            Require(m_gentl.TLUpdateInterfaceList(m_system, nullptr, 1000) == 0, "interfaces");
            Require(m_gentl.IFOpenDevice(m_interfaces[0].handle, "Paced-1", DEVICE_ACCESS_CONTROL,
                                         &device) == 0,
                    "IFOpenDevice");
            Require(m_gentl.DevOpenDataStream(device, "DS0", &stream) == 0, "DevOpenDataStream");
            m_gentl.DSClose(stream);
            m_gentl.DevClose(device);
        }
    }

    bool Run(double seconds, unsigned seed) {
        for (size_t i = 0; i < m_sources.size(); ++i) {
            const auto offset = static_cast<unsigned>(i);
            m_cameras.push_back(std::make_unique<SoakCamera>(
                m_gentl, m_interfaces[i / 2], m_sources[i], m_tally, seed + 1 + offset));
        }
        {
            const Lists lists(m_gentl, m_system, m_interfaces, m_tally, seed + 20);
            const Trouble trouble(m_sources, seed);
            Watch(seconds, trouble);
        }
        m_cameras.clear();
        CheckEnd(seconds);
        for (const std::string& complaint : m_tally.Complaints()) {
            std::printf("complaint: %s\n", complaint.c_str());
        }
        return m_tally.Complaints().empty();
    }

private:
    static void Require(bool holds, const char* what) {
        if (!holds) {
            std::fprintf(stderr, "soak: %s failed\n", what);
            std::exit(2);
        }
    }

    void Watch(double seconds, const Trouble& trouble) {
        using Clock = std::chrono::steady_clock;
        const auto begin = Clock::now();
        double nextLine = 0;
        double nextSample = SETTLING * seconds;
        for (;;) {
            const double now = std::chrono::duration<double>(Clock::now() - begin).count();
            if (now >= seconds) {
                break;
            }
            if (now >= nextSample) {
                m_samples.push_back({now, ResidentKibibytes(), static_cast<double>(NumThreads()),
                                     static_cast<double>(NumHandles())});
                nextSample += 1;
            }
            if (now >= nextLine) {
                Print(now, trouble);
                nextLine += seconds > 60 ? 10 : 1;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        Print(seconds, trouble);
    }

    void Print(double now, const Trouble& trouble) {
        std::printf("%6.0f s  %llu images, %.1f GB, %llu lost, %llu acquisitions, %llu troubles, "
                    "%llu events fetched, %llu discarded, %llu listings, %llu changes, "
                    "%llu refused, %.0f KiB, %u threads, %u handles\n",
                    now, static_cast<unsigned long long>(m_tally.numImages),
                    static_cast<double>(m_tally.numBytes) / 1e9,
                    static_cast<unsigned long long>(m_tally.numLost),
                    static_cast<unsigned long long>(m_tally.numAcquisitions),
                    static_cast<unsigned long long>(trouble.NumMade()),
                    static_cast<unsigned long long>(m_tally.numEventsFetched),
                    static_cast<unsigned long long>(m_tally.numEventsDiscarded),
                    static_cast<unsigned long long>(m_tally.numListings),
                    static_cast<unsigned long long>(m_tally.numListChanges),
                    static_cast<unsigned long long>(m_tally.numRefused), ResidentKibibytes(),
                    NumThreads(), NumHandles());
        std::fflush(stdout);
    }

    void CheckEnd(double seconds) {
        const double kibibytes = GrowthPerMinute(m_samples, &Sample::kibibytes);
        const double threads = GrowthPerMinute(m_samples, &Sample::threads);
        const double handles = GrowthPerMinute(m_samples, &Sample::handles);
        std::printf("memory grew by %.1f KiB a minute, threads by %.2f, handles by %.2f\n",
                    kibibytes, threads, handles);
        const bool isJudged = seconds >= SHORTEST_JUDGED_SECONDS;
        if (isJudged && kibibytes > MOST_KIBIBYTES_PER_MINUTE) {
            m_tally.Complain("memory grows");
        }
        if (isJudged && threads > MOST_THREADS_PER_MINUTE) {
            m_tally.Complain("threads grow");
        }
        if (isJudged && handles > MOST_HANDLES_PER_MINUTE) {
            m_tally.Complain("handles grow");
        }
        if (m_tally.numImages == 0 || m_tally.numAcquisitions < m_sources.size()) {
            m_tally.Complain("hardly anything was acquired");
        }
        // In the first, short run chance decides about that.
        if (seconds > FIRST_SECONDS &&
            (m_tally.numEventsFetched == 0 || m_tally.numListChanges == 0)) {
            m_tally.Complain("no event was fetched, or no list changed");
        }
        for (const OptivoObjectKind kind : {OPTIVO_OBJECT_DEVICE, OPTIVO_OBJECT_STREAM}) {
            if (OptivoSim_NumAlive(kind) != 0) {
                m_tally.Complain("an object of the camera library is left open");
            }
        }
        if (OptivoSim_NumDoubleCloses() != 0 || OptivoSim_NumUsesAfterClose() != 0) {
            m_tally.Complain("a closed object of the camera library was used");
        }
    }

    Producer& m_gentl;
    TL_HANDLE m_system = nullptr;
    // Two cameras each.
    Lists::Interfaces m_interfaces{{{.id = "GEV::eth0"}, {.id = "U3V::usb0"}}};
    EventSources m_sources{EventSource("Paced-1"), EventSource("Paced-2"), EventSource("Paced-3"),
                           EventSource("Unpaced")};
    Tally m_tally;
    std::vector<std::unique_ptr<SoakCamera>> m_cameras;
    std::vector<Sample> m_samples;
};

// With everything closed. The system lists a thread that was joined, and its handles, for a moment
// more.
Remains Settled(unsigned threads, unsigned handles) {
    for (int i = 0; i < 100 && (NumThreads() > threads || NumHandles() > handles); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {AllocatedBytes(), NumThreads(), NumHandles()};
}

bool IsClean(const Remains& before, const Remains& after) {
    std::printf("with everything closed: %zu bytes allocated, %u threads, %u handles; after the "
                "first run: %zu, %u, %u\n",
                after.bytes, after.threads, after.handles, before.bytes, before.threads,
                before.handles);
    const bool isClean = after.bytes <= before.bytes + MOST_BYTES_LEFT &&
                         after.threads <= before.threads &&
                         after.handles <= before.handles + MOST_HANDLES_LEFT;
    if (!isClean) {
        std::printf("complaint: the run left something behind\n");
    }
    return isClean;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--standard") == 0) {
        Producer::Choose("standard/NorvelTL40-standard.cti");
        --argc;
        ++argv;
    }
    const double seconds = argc > 1 ? std::atof(argv[1]) : 60;
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
    if (!(seconds > 0)) {
        std::fprintf(stderr, "usage: norveltl_soak [--standard] SECONDS [SEED]\n");
        return 2;
    }
    const auto gentl = Producer::Load();
    const auto run = [&](double length, bool isFirst) {
        Soak soak(*gentl);
        if (isFirst) {
            soak.FillLibrary();
        }
        return soak.Run(length, seed);
    };
    const bool isFirstSound = run(FIRST_SECONDS, true);
    const Remains before = Settled(0, 0);
    const bool isSound = run(seconds, false);
    const bool isClean = IsClean(before, Settled(before.threads, before.handles));
    return isFirstSound && isSound && isClean ? 0 : 1;
}
