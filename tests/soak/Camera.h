// One camera of the soak: a thread that opens it, acquires, checks every image and closes, over and
// over. Knows nothing of the troubles that befall it.
#pragma once

#include "Events.h"
#include "Producer.h"
#include "Tally.h"

#include "Chance.h"
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

// An interface that several threads use. Its list must not be updated while one of its cameras
// opens, but where the answers are the standard's; closing and streaming do not mind.
struct SoakInterface {
    std::string id;
    IF_HANDLE handle = nullptr;
    std::mutex listLock{};

    std::unique_lock<std::mutex> Lock() {
        return Producer::IsStandard() ? std::unique_lock<std::mutex>() : std::unique_lock(listLock);
    }
};

class SoakCamera {
public:
    SoakCamera(Producer& gentl, SoakInterface& iface, EventSource& source, Tally& tally,
               unsigned seed);
    // Ends within a second.
    ~SoakCamera();
    SoakCamera(const SoakCamera&) = delete;
    SoakCamera& operator=(const SoakCamera&) = delete;

private:
    // What the images of one acquisition have shown.
    struct Account {
        uint64_t numSpoiltBefore = 0; // grabs that were made to fail with a lost image
        uint64_t numFetched = 0;
        uint64_t numMissing = 0; // gaps in the numbers of what was fetched
        uint64_t next = 0;       // the number after the last
    };

    void Run();
    bool Open(DEV_HANDLE* device);
    void UseDevice(DEV_HANDLE device);
    void UseStream(DS_HANDLE stream, EVENT_HANDLE event);
    void Acquire(DS_HANDLE stream, EVENT_HANDLE event);
    // So many images, unless the acquisition ends by itself.
    void TakeImages(DS_HANDLE stream, EVENT_HANDLE event, uint64_t count);
    bool HasEnded(DS_HANDLE stream);
    void CheckImage(DS_HANDLE stream, BUFFER_HANDLE buffer);
    void CheckAccount(DS_HANDLE stream);
    uint64_t NumSpoilt() const;
    uint64_t Number(DS_HANDLE stream, STREAM_INFO_CMD command);
    void Complain(const std::string& text) { m_tally.Complain(m_id + ": " + text); }

    Producer& m_gentl;
    SoakInterface& m_iface;
    std::string m_id;
    Tally& m_tally;
    Chance m_chance;
    EventReader m_events;
    Account m_account;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};
