#include "producers/EventSource.h"

#include "genapi/Text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace norveltl {

namespace {

constexpr size_t kMaxEvent = 1 << 16;
constexpr size_t kDefaultEvent = 4096;
// No producer fills a whole event with it.
constexpr uint8_t kUntouched = 0xA5;

// What NorvelTL's first module writes; of that it tells the ID alone.
struct SOwnEvent {
    uint32_t id;
    uint32_t reserved;
    uint64_t value;
    uint64_t timestamp;
};

void AddValue(SEventFacts& facts, const InfoQuery& query) {
    std::array<uint8_t, sizeof(uint64_t)> bytes{};
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = bytes.size();
    if (facts.value = QueryNumber(query); facts.value) {
        return;
    }
    if (query(&type, bytes.data(), &size) == GC_ERR_SUCCESS && type == INFO_DATATYPE_BUFFER &&
        size <= bytes.size()) {
        uint64_t value = 0;
        std::memcpy(&value, bytes.data(), size);
        facts.value = value;
    } else {
        facts.text = QueryText(query).value_or("");
    }
}

} // namespace

CEventSource::CEventSource(const CProducer& producer, bool isOwn, std::string name, void* module,
                           EVENT_TYPE type)
    : m_producer(producer),
      m_isOwn(isOwn),
      m_name(std::move(name)),
      m_module(module),
      m_type(type) {
    producer.Call(producer.GCRegisterEvent, module, type, &m_event);
    const auto size = QueryNumber(CProducer::Query(producer.EventGetInfo, m_event, EVENT_SIZE_MAX));
    m_buffer.resize(std::clamp<size_t>(static_cast<size_t>(size.value_or(kDefaultEvent)),
                                       sizeof(uint64_t), kMaxEvent));
}

CEventSource::~CEventSource() {
    m_producer.CallOrReport(m_producer.GCUnregisterEvent, m_module, m_type);
}

std::vector<uint8_t> CEventSource::Wait(std::chrono::milliseconds timeout) {
    std::fill(m_buffer.begin(), m_buffer.end(), kUntouched);
    size_t size = m_buffer.size();
    const GC_ERROR code = m_producer.EventGetData(m_event, m_buffer.data(), &size,
                                                  static_cast<uint64_t>(timeout.count()));
    if (code == GC_ERR_TIMEOUT || code == GC_ERR_NO_DATA) {
        return {};
    }
    m_producer.Check(m_producer.EventGetData.name, code);
    // Some producers end a wait without an event in success.
    const bool isUntouched = std::all_of(m_buffer.begin(), m_buffer.end(),
                                         [](uint8_t byte) { return byte == kUntouched; });
    if (isUntouched) {
        return {};
    }
    const auto end = static_cast<std::ptrdiff_t>(std::min(size, m_buffer.size()));
    return {m_buffer.begin(), m_buffer.begin() + end};
}

SEventFacts CEventSource::Facts(const std::vector<uint8_t>& event) const {
    const auto query = [&](EVENT_DATA_INFO_CMD command) {
        return CProducer::Query(m_producer.EventGetDataInfo, m_event, event.data(), event.size(),
                                command);
    };
    SEventFacts facts;
    if (const auto id = QueryTypedNumber(query(EVENT_DATA_ID))) {
        facts.id = id->type == INFO_DATATYPE_INT32 ? static_cast<uint32_t>(id->value) : id->value;
    } else {
        facts.idText = QueryText(query(EVENT_DATA_ID)).value_or("");
        facts.id = GenApi::ParseUnsigned(GenApi::WithoutHexPrefix(facts.idText), 16);
    }
    AddValue(facts, query(EVENT_DATA_VALUE));
    SOwnEvent own{};
    if (!facts.value && m_isOwn && m_type == EVENT_REMOTE_DEVICE && event.size() == sizeof(own)) {
        std::memcpy(&own, event.data(), sizeof(own));
        facts.value = own.value;
        facts.timestamp = own.timestamp != 0 ? std::optional(own.timestamp) : std::nullopt;
    }
    return facts;
}

} // namespace norveltl
