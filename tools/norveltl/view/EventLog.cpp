#include "view/EventLog.h"

#include <algorithm>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kWaitSlice{100};
constexpr size_t kMaxEvents = 1000;
// A camera that reports more often than that is not asked for the data of each event.
constexpr std::chrono::milliseconds kBetweenData{20};

double MillisecondsSince1970() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
}

} // namespace

CEventLog::CEventLog(const CSystem& system, DEV_HANDLE device, const CFeatures* features,
                     std::mutex& port)
    : m_port(port),
      m_events(OpenEventSources(system, device)),
      m_reader(features),
      m_lacking(m_events.lacking) {
    for (const auto& source : m_events.sources) {
        m_threads.emplace_back([this, &its = *source] { Listen(its); });
    }
}

CEventLog::~CEventLog() {
    m_isOver = true;
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void CEventLog::Listen(CEventSource& source) {
    try {
        Clock::time_point asked{};
        while (!m_isOver) {
            std::vector<uint8_t> bytes = source.Wait(kWaitSlice);
            if (bytes.empty()) {
                continue;
            }
            const double time = MillisecondsSince1970();
            const bool withData = Clock::now() - asked >= kBetweenData;
            SEvent event;
            {
                const std::lock_guard port(m_port);
                event = m_reader.Read(source, std::move(bytes), withData);
            }
            if (!event.data.empty()) {
                asked = Clock::now();
            }
            Json json{{"number", 0}, {"time", time}};
            json.update(ToJson(event));
            Add(std::move(json));
        }
    } catch (const std::exception& error) {
        const std::lock_guard lock(m_lock);
        m_lacking.push_back("no more " + source.Name() + " events: " + error.what());
    }
}

void CEventLog::Add(Json event) {
    const std::lock_guard lock(m_lock);
    event["number"] = ++m_numEvents;
    m_log.push_back(std::move(event));
    if (m_log.size() > kMaxEvents) {
        m_log.pop_front();
    }
}

Json CEventLog::After(uint64_t number, size_t most) {
    const std::lock_guard lock(m_lock);
    const uint64_t numNew = m_numEvents - std::min(number, m_numEvents);
    const size_t count = std::min({static_cast<size_t>(numNew), most, m_log.size()});
    Json events = Json::array();
    for (size_t i = m_log.size() - count; i < m_log.size(); ++i) {
        events.push_back(m_log[i]);
    }
    return {{"newest", m_numEvents}, {"events", events}, {"lacking", m_lacking}};
}

} // namespace norveltl
