#include "commands/Events.h"

#include "grabbing/Acquisition.h"
#include "grabbing/Stream.h"
#include "producers/Discovery.h"
#include "producers/EventReader.h"
#include "terminal/Console.h"
#include "terminal/Json.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <queue>
#include <thread>
#include <utility>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;

// Short enough to end soon, since no producer must end a wait early.
constexpr std::chrono::milliseconds kWaitSlice{50};
constexpr size_t kBuffers = 8;

std::string Format(const char* format, double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

std::string HexNumber(uint64_t number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "0x%llx", static_cast<unsigned long long>(number));
    return text.data();
}

// An event as it came, or why no more come.
struct SArrival {
    const CEventSource* source;
    std::vector<uint8_t> bytes;
    Clock::time_point time;
    std::string error;
};

// Between those who wait for events and who shows them.
class CArrivals {
public:
    void Add(SArrival arrival) {
        const std::scoped_lock lock(m_mutex);
        m_arrivals.push(std::move(arrival));
        m_changed.notify_one();
    }

    std::optional<SArrival> Take(std::chrono::milliseconds timeout) {
        std::unique_lock lock(m_mutex);
        if (!m_changed.wait_for(lock, timeout, [this] { return !m_arrivals.empty(); })) {
            return std::nullopt;
        }
        SArrival arrival = std::move(m_arrivals.front());
        m_arrivals.pop();
        return arrival;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::queue<SArrival> m_arrivals;
};

// Works in a thread of its own until it is to stop or fails.
template <class W>
std::jthread Repeat(CArrivals& arrivals, W work) {
    return std::jthread([&arrivals, work](const std::stop_token& stop) {
        try {
            while (!stop.stop_requested()) {
                work();
            }
        } catch (const std::exception& error) {
            arrivals.Add({nullptr, {}, {}, error.what()});
        }
    });
}

// What is known of an event, for people and for programs.
class CPrinter {
public:
    CPrinter(const CCameraFacts& camera, bool json)
        : m_reader(camera.Features() ? &*camera.Features() : nullptr), m_json(json) {}

    void Print(const SArrival& arrival, Clock::time_point begin) const {
        const SEvent event = m_reader.Read(*arrival.source, arrival.bytes, true);
        for (const auto& [key, read] : event.data) {
            if (!read.value) {
                Note(read.name + " cannot be read" + (read.error.empty() ? "" : ": " + read.error));
            }
        }
        const double seconds = std::chrono::duration<double>(arrival.time - begin).count();
        if (m_json) {
            Json json{{"seconds", seconds}};
            json.update(ToJson(event));
            std::cout << ToLine(json) << std::endl;
        } else {
            PrintText(event, seconds);
        }
    }

private:
    static void PrintText(const SEvent& event, double seconds) {
        const SEventFacts& facts = event.facts;
        std::string line = Format("%11.6f s  ", seconds) + event.source + "  ";
        line += !event.name.empty() ? event.name
                : facts.id          ? "ID " + HexNumber(*facts.id)
                                    : "ID " + Printable(facts.idText);
        if (facts.value) {
            line += "  value " + std::to_string(*facts.value);
        }
        if (facts.timestamp) {
            line += "  timestamp " + std::to_string(*facts.timestamp);
        }
        for (const auto& [key, read] : event.data) {
            if (read.value) {
                line += "  " + Printable(key) + " " + Printable(*read.value) +
                        (read.unit.empty() ? "" : " " + Printable(read.unit));
            }
        }
        if (!facts.text.empty()) {
            line += "  " + Printable(facts.text);
        } else if (!facts.value && event.data.empty()) {
            line += "  " + Hex(event.bytes);
        }
        std::cout << line << std::endl;
    }

    const CEventReader m_reader;
    const bool m_json;
};

// Prints events until the time is over; answers how many, also after a failure, which it reports.
uint64_t Watch(const SEventSources& events, CStream* stream, const std::optional<double>& seconds,
               const CPrinter& printer) {
    CArrivals arrivals;
    const Clock::time_point begin = Clock::now();
    std::vector<std::jthread> threads;
    for (const auto& source : events.sources) {
        threads.push_back(Repeat(arrivals, [&arrivals, source = source.get()] {
            std::vector<uint8_t> bytes = source->Wait(kWaitSlice);
            if (!bytes.empty()) {
                arrivals.Add({source, std::move(bytes), Clock::now(), {}});
            }
        }));
    }
    if (stream) {
        threads.push_back(Repeat(arrivals, [stream] {
            if (BUFFER_HANDLE buffer = stream->Wait(kWaitSlice)) {
                stream->Queue(buffer);
            }
        }));
    }
    const auto isOver = [&] {
        return Interrupted() || !std::cout ||
               (seconds && Clock::now() - begin >= std::chrono::duration<double>(*seconds));
    };
    uint64_t count = 0;
    const auto isLate = [&](const SArrival& arrival) {
        return seconds && arrival.time - begin > std::chrono::duration<double>(*seconds);
    };
    // Answers whether there may be more.
    const auto show = [&](std::chrono::milliseconds timeout) {
        const auto arrival = arrivals.Take(timeout);
        if (arrival && arrival->error.empty()) {
            if (!isLate(*arrival)) {
                printer.Print(*arrival, begin);
                ++count;
            }
        } else if (arrival) {
            ReportError(arrival->error);
        }
        return arrival ? arrival->error.empty() : timeout > std::chrono::milliseconds(0);
    };
    bool goesOn = true;
    while (goesOn && !isOver()) {
        goesOn = show(kWaitSlice);
    }
    for (std::jthread& thread : threads) {
        thread.request_stop();
    }
    threads.clear();
    while (goesOn && std::cout) {
        goesOn = show(std::chrono::milliseconds(0));
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

    const SEventSources events = OpenEventSources(*choice.system, device.Get());
    for (const std::string& lacking : events.lacking) {
        Note(lacking);
    }
    if (events.sources.empty()) {
        throw CToolError("the camera has no events");
    }
    const CPrinter printer(camera, options.json);

    std::optional<CStream> stream;
    std::optional<CAcquisition> acquisition;
    if (options.acquire) {
        stream.emplace(producer, device.Get());
        std::optional<uint64_t> payload = stream->PayloadSize();
        stream->Announce(static_cast<size_t>(payload ? *payload : camera.PayloadSize()), kBuffers);
        acquisition.emplace(*stream, camera);
    }
    CatchInterrupt();
    if (!options.json) {
        std::cout << "camera      " << Printable(choice.device->id) << std::endl;
    }
    const uint64_t count = Watch(events, stream ? &*stream : nullptr, options.seconds, printer);
    if (!options.json) {
        std::cout << "events      " << count << std::endl;
    }
    return kDone;
}

} // namespace norveltl
