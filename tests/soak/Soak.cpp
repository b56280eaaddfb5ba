// A long run: cameras stream with random faults, restarts and pulled plugs, while every image is
// checked and the process is watched. norveltl_soak SECONDS [SEED]; exit code 1 for any complaint.
#include "Camera.h"
#include "OptivoSim.h"
#include "Process.h"
#include "Trouble.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

constexpr char WORLD[] = R"({"interfaces": [
    {"name": "eth0", "cameras": [
        {"name": "Paced-1", "width": 320, "height": 240, "frameRate": 400},
        {"name": "Paced-2", "width": 640, "height": 480, "frameRate": 150, "pixelFormat": "RGB8"}]},
    {"name": "usb0", "tlType": "U3V", "cameras": [
        {"name": "Paced-3", "width": 128, "height": 64, "frameRate": 1000},
        {"name": "Unpaced", "width": 320, "height": 240, "frameRate": 0}]}]})";
const std::vector<std::string> CAMERAS = {"Paced-1", "Paced-2", "Paced-3", "Unpaced"};

// Memory and handles may settle for this share of a run; then they must not grow by more than this.
constexpr double SETTLING = 0.3;
constexpr double MOST_KIBIBYTES_PER_MINUTE = 256;
constexpr double MOST_HANDLES_PER_MINUTE = 4;
constexpr double SHORTEST_JUDGED_SECONDS = 120;

struct Sample {
    double seconds;
    double kibibytes;
    double handles;
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

class Soak {
public:
    Soak() : m_gentl(Producer::Load()) {
        char error[256] = "";
        Require(OptivoSim_LoadWorld(WORLD, error, sizeof error) == 1, error);
        Require(m_gentl->GCInitLib() == 0, "GCInitLib");
        Require(m_gentl->TLOpen(&m_system) == 0, "TLOpen");
        Require(m_gentl->TLUpdateInterfaceList(m_system, nullptr, 1000) == 0, "interfaces");
    }
    ~Soak() {
        m_cameras.clear();
        m_gentl->TLClose(m_system);
        m_gentl->GCCloseLib();
    }
    Soak(const Soak&) = delete;
    Soak& operator=(const Soak&) = delete;

    bool Run(double seconds, unsigned seed) {
        OpenCameras("GEV::eth0", {CAMERAS[0], CAMERAS[1]}, seed);
        OpenCameras("U3V::usb0", {CAMERAS[2], CAMERAS[3]}, seed + 10);
        {
            const Trouble trouble(CAMERAS, seed);
            Watch(seconds, trouble);
        }
        const unsigned threads = NumThreads();
        m_cameras.clear();
        std::printf("threads at the end %u, with every camera closed %u\n", threads, NumThreads());
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

    void OpenCameras(const char* id, const std::vector<std::string>& cameras, unsigned seed) {
        IF_HANDLE iface = nullptr;
        Require(m_gentl->TLOpenInterface(m_system, id, &iface) == 0, id);
        Require(m_gentl->IFUpdateDeviceList(iface, nullptr, 1000) == 0, id);
        for (const std::string& camera : cameras) {
            m_cameras.push_back(
                std::make_unique<SoakCamera>(*m_gentl, iface, camera, m_tally, ++seed));
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
                m_samples.push_back({now, ResidentKibibytes(), static_cast<double>(NumHandles())});
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
                    "%llu refused, %.0f KiB, %u threads, %u handles\n",
                    now, static_cast<unsigned long long>(m_tally.numImages),
                    static_cast<double>(m_tally.numBytes) / 1e9,
                    static_cast<unsigned long long>(m_tally.numLost),
                    static_cast<unsigned long long>(m_tally.numAcquisitions),
                    static_cast<unsigned long long>(trouble.NumMade()),
                    static_cast<unsigned long long>(m_tally.numRefused), ResidentKibibytes(),
                    NumThreads(), NumHandles());
        std::fflush(stdout);
    }

    void CheckEnd(double seconds) {
        const double kibibytes = GrowthPerMinute(m_samples, &Sample::kibibytes);
        const double handles = GrowthPerMinute(m_samples, &Sample::handles);
        std::printf("memory grew by %.1f KiB a minute, handles by %.1f\n", kibibytes, handles);
        const bool isJudged = seconds >= SHORTEST_JUDGED_SECONDS;
        if (isJudged && kibibytes > MOST_KIBIBYTES_PER_MINUTE) {
            m_tally.Complain("memory grows");
        }
        if (isJudged && handles > MOST_HANDLES_PER_MINUTE) {
            m_tally.Complain("handles grow");
        }
        if (m_tally.numImages == 0 || m_tally.numAcquisitions < CAMERAS.size()) {
            m_tally.Complain("hardly anything was acquired");
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

    std::unique_ptr<Producer> m_gentl;
    TL_HANDLE m_system = nullptr;
    Tally m_tally;
    std::vector<std::unique_ptr<SoakCamera>> m_cameras;
    std::vector<Sample> m_samples;
};

} // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 60;
    const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1;
    if (!(seconds > 0)) {
        std::fprintf(stderr, "usage: norveltl_soak SECONDS [SEED]\n");
        return 2;
    }
    return Soak().Run(seconds, seed) ? 0 : 1;
}
