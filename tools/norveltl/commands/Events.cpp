#include "commands/Events.h"

#include "grabbing/Acquisition.h"
#include "grabbing/Stream.h"
#include "producers/Discovery.h"
#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kWaitSlice{20};
constexpr size_t kMaxEvent = 1 << 16;
constexpr size_t kDefaultEvent = 4096;
constexpr size_t kBuffers = 8;
// No producer fills a whole event with it.
constexpr uint8_t kUntouched = 0xA5;

std::string Hex(const std::vector<uint8_t>& bytes, size_t size) {
    std::string text;
    for (size_t i = 0; i < std::min(size, bytes.size()); ++i) {
        std::array<char, 4> byte{};
        std::snprintf(byte.data(), byte.size(), "%02x", bytes[i]);
        text += (i > 0 && i % 4 == 0 ? " " : "") + std::string(byte.data());
    }
    return text;
}

// One registered kind of event of one module.
class CSource {
public:
    CSource(const CProducer& producer, std::string name, void* module, EVENT_TYPE type)
        : m_producer(producer), m_name(std::move(name)), m_module(module), m_type(type) {
        producer.Call(producer.GCRegisterEvent, module, type, &m_event);
        const auto size =
            QueryNumber(CProducer::Query(producer.EventGetInfo, m_event, EVENT_SIZE_MAX));
        m_data.resize(std::clamp<size_t>(static_cast<size_t>(size.value_or(kDefaultEvent)),
                                         sizeof(uint64_t), kMaxEvent));
    }
    ~CSource() { m_producer.CallOrReport(m_producer.GCUnregisterEvent, m_module, m_type); }
    CSource(const CSource&) = delete;
    CSource& operator=(const CSource&) = delete;

    // Prints the next event, if there is one within the time.
    bool PrintNext(std::chrono::milliseconds timeout, Clock::duration since) {
        std::fill(m_data.begin(), m_data.end(), kUntouched);
        size_t size = m_data.size();
        const GC_ERROR code = m_producer.EventGetData(m_event, m_data.data(), &size,
                                                      static_cast<uint64_t>(timeout.count()));
        if (code == GC_ERR_TIMEOUT || code == GC_ERR_NO_DATA) {
            return false;
        }
        m_producer.Check(m_producer.EventGetData.name, code);
        // Some producers end a wait without an event in success.
        const bool isUntouched = std::all_of(m_data.begin(), m_data.end(),
                                             [](uint8_t byte) { return byte == kUntouched; });
        if (isUntouched) {
            return false;
        }
        std::array<char, 32> time{};
        std::snprintf(time.data(), time.size(), "%10.3f s  ",
                      std::chrono::duration<double>(since).count());
        std::cout << time.data() << m_name << "  " << Id() << "  "
                  << Hex(m_data, std::min(size, m_data.size())) << std::endl;
        return true;
    }

private:
    std::string Id() const {
        const InfoQuery query = [this](INFO_DATATYPE* type, void* buffer, size_t* size) {
            return m_producer.EventGetDataInfo(m_event, m_data.data(), m_data.size(), EVENT_DATA_ID,
                                               type, buffer, size);
        };
        if (const auto number = QueryNumber(query)) {
            std::array<char, 32> text{};
            std::snprintf(text.data(), text.size(), "ID 0x%llx",
                          static_cast<unsigned long long>(*number));
            return text.data();
        }
        if (const auto text = QueryText(query)) {
            return "ID " + Printable(*text);
        }
        return "ID not reported";
    }

    const CProducer& m_producer;
    const std::string m_name;
    void* const m_module;
    const EVENT_TYPE m_type;
    EVENT_HANDLE m_event = nullptr;
    std::vector<uint8_t> m_data;
};

// Drops the images that the stream has by now.
void Drain(CStream& stream) {
    while (BUFFER_HANDLE buffer = stream.Wait(std::chrono::milliseconds(0))) {
        stream.Queue(buffer);
    }
}

// A module need not have events of every kind.
void AddSource(std::vector<std::unique_ptr<CSource>>& sources, const CProducer& producer,
               const char* name, void* module, EVENT_TYPE type) {
    try {
        sources.push_back(std::make_unique<CSource>(producer, name, module, type));
    } catch (const CCallError& error) {
        Note(std::string("no ") + name + " events: " + error.what());
    }
}

// Prints events until the time is over; answers how many, also after a failure, which it reports.
uint64_t Watch(const std::vector<std::unique_ptr<CSource>>& sources, CStream* stream,
               const std::optional<double>& seconds) {
    uint64_t count = 0;
    const Clock::time_point begin = Clock::now();
    const auto isOver = [&] {
        return Interrupted() || !std::cout ||
               (seconds && Clock::now() - begin >= std::chrono::duration<double>(*seconds));
    };
    try {
        while (!isOver()) {
            for (const auto& source : sources) {
                while (!isOver() &&
                       source->PrintNext(kWaitSlice / sources.size(), Clock::now() - begin)) {
                    ++count;
                }
            }
            if (stream) {
                Drain(*stream);
            }
        }
    } catch (const CToolError& error) {
        ReportError(error.what());
    }
    return count;
}

} // namespace

EExitCode Events(const std::string& cti, const SEventOptions& options) {
    const SSystems systems = OpenSystems(cti);
    const SChoice choice = ChooseDevice(systems, options.device, false);
    const CProducer& producer = choice.system->Producer();
    const CHandle device = OpenDevice(choice);
    const CCameraFacts camera(producer, device.Get());
    camera.Set(options.settings);

    std::vector<std::unique_ptr<CSource>> sources;
    AddSource(sources, producer, "camera", RemotePort(producer, device.Get()), EVENT_REMOTE_DEVICE);
    AddSource(sources, producer, "device error", device.Get(), EVENT_ERROR);
    if (sources.empty()) {
        throw CToolError("the camera has no events");
    }

    std::optional<CStream> stream;
    std::optional<CAcquisition> acquisition;
    if (options.acquire) {
        stream.emplace(producer, device.Get());
        std::optional<uint64_t> payload = stream->PayloadSize();
        stream->Announce(static_cast<size_t>(payload ? *payload : camera.PayloadSize()), kBuffers);
        acquisition.emplace(*stream, camera);
    }
    CatchInterrupt();
    std::cout << "camera      " << Printable(choice.device->id) << std::endl;
    const uint64_t count = Watch(sources, stream ? &*stream : nullptr, options.seconds);
    std::cout << "events      " << count << std::endl;
    return kDone;
}

} // namespace norveltl
