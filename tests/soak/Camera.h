// One camera of the soak: a thread that opens it, acquires, checks every image and closes, over and
// over. Knows nothing of the troubles that befall it.
#pragma once

#include "Producer.h"

#include "Chance.h"
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// What all cameras of a soak have seen; any thread may add.
struct Tally {
    std::atomic<uint64_t> numImages{0};
    std::atomic<uint64_t> numBytes{0};
    std::atomic<uint64_t> numAcquisitions{0};
    std::atomic<uint64_t> numLost{0};
    std::atomic<uint64_t> numRefused{0}; // openings and starts that failed, as they may

    void Complain(const std::string& text);
    std::vector<std::string> Complaints();

private:
    std::mutex m_lock;
    std::vector<std::string> m_complaints;
};

class SoakCamera {
public:
    SoakCamera(Producer& gentl, IF_HANDLE iface, std::string id, Tally& tally, unsigned seed);
    // Ends within a second.
    ~SoakCamera();
    SoakCamera(const SoakCamera&) = delete;
    SoakCamera& operator=(const SoakCamera&) = delete;

private:
    void Run();
    void UseDevice(DEV_HANDLE device);
    void UseStream(DS_HANDLE stream, EVENT_HANDLE event);
    // So many images, unless the acquisition ends by itself.
    void TakeImages(DS_HANDLE stream, EVENT_HANDLE event, uint64_t count);
    bool HasEnded(DS_HANDLE stream);
    void CheckImage(DS_HANDLE stream, BUFFER_HANDLE buffer);
    void CheckCounters(DS_HANDLE stream);
    uint64_t Number(DS_HANDLE stream, STREAM_INFO_CMD command);

    Producer& m_gentl;
    IF_HANDLE m_iface;
    std::string m_id;
    Tally& m_tally;
    Chance m_chance;
    std::atomic<bool> m_stop{false};
    bool m_hasImage = false;
    uint64_t m_lastNumber = 0;
    std::thread m_thread;
};
