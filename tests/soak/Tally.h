// What all threads of a soak have seen; any of them may add.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

struct Tally {
    std::atomic<uint64_t> numImages{0};
    std::atomic<uint64_t> numBytes{0};
    std::atomic<uint64_t> numAcquisitions{0};
    std::atomic<uint64_t> numLost{0};
    std::atomic<uint64_t> numRefused{0}; // openings and starts that failed, as they may
    std::atomic<uint64_t> numEventsFetched{0};
    std::atomic<uint64_t> numEventsDiscarded{0}; // flushed, or gone with their device
    std::atomic<uint64_t> numListings{0};
    std::atomic<uint64_t> numListChanges{0};

    void Complain(const std::string& text) {
        const std::lock_guard lock(m_lock);
        m_complaints.push_back(text);
    }
    std::vector<std::string> Complaints() {
        const std::lock_guard lock(m_lock);
        return m_complaints;
    }

private:
    std::mutex m_lock;
    std::vector<std::string> m_complaints;
};
