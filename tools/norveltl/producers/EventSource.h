// One kind of event that a module reports, and what the producer tells of each event.
#pragma once

#include "producers/Producer.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

// What the producer tells beside the event's bytes.
struct SEventFacts {
    std::optional<uint64_t> id;
    std::string idText; // where the ID is no number
    std::optional<uint64_t> value;
    std::string text;
    std::optional<uint64_t> timestamp;
};

class CEventSource {
public:
    // Registers it; throws CCallError where the module has no such events.
    // isOwn: of NorvelTL, whose events' layout is known.
    CEventSource(const CProducer& producer, bool isOwn, std::string name, void* module,
                 EVENT_TYPE type);
    ~CEventSource();
    CEventSource(const CEventSource&) = delete;
    CEventSource& operator=(const CEventSource&) = delete;

    const std::string& Name() const { return m_name; }
    // The next event's bytes; none when there is no event within the time. One thread may wait
    // while another asks for facts.
    std::vector<uint8_t> Wait(std::chrono::milliseconds timeout);
    SEventFacts Facts(const std::vector<uint8_t>& event) const;

private:
    const CProducer& m_producer;
    const bool m_isOwn;
    const std::string m_name;
    void* const m_module;
    const EVENT_TYPE m_type;
    EVENT_HANDLE m_event = nullptr;
    std::vector<uint8_t> m_buffer;
};

} // namespace norveltl
