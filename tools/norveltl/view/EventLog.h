// What a camera has reported since it was opened, as far as it was not too long ago.
#pragma once

#include "producers/EventReader.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace norveltl {

// Any thread may call.
class CEventLog {
public:
    // features: null where there are none. port: held while the camera is asked for an event's
    // data. All must outlive this object.
    CEventLog(const CSystem& system, DEV_HANDLE device, const CFeatures* features,
              std::mutex& port);
    ~CEventLog();
    CEventLog(const CEventLog&) = delete;
    CEventLog& operator=(const CEventLog&) = delete;

    // The newest, at most so many, of those after the number, the oldest first: each with its
    // number, counted from 1, and its time in milliseconds since 1970. Beside them the number of
    // the newest event, and why events are lacking.
    Json After(uint64_t number, size_t most);

private:
    void Listen(CEventSource& source);
    void Add(Json event);

    std::mutex& m_port;
    const SEventSources m_events;
    const CEventReader m_reader;
    std::atomic<bool> m_isOver{false};
    std::mutex m_lock; // guards all that follows
    std::vector<std::string> m_lacking;
    std::deque<Json> m_log;
    uint64_t m_numEvents = 0;
    std::vector<std::thread> m_threads;
};

} // namespace norveltl
