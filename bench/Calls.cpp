// Single calls of exported functions, in nanoseconds each.
#include "Figures.h"
#include "Subjects.h"
#include "Words.h"

#include "camlib/LibraryAbi.h"
#include "core/LiveObjects.h"

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kSide = 8;
constexpr std::size_t kSize = 64;
constexpr std::uint64_t kWidthRegister = 0x400;

// An open camera with a stream of one buffer that acquires nothing.
struct SIdleStream {
    const bool isWorldMade = (MakeCameras(1, kSide, kSide, -1), true);
    COpenModule module;
    CModuleStream stream{module, 0, 1, kSize};
};

void ReadPortOfModule(benchmark::State& state) {
    const SIdleStream idle;
    Producer& gentl = idle.module.gentl;
    for (auto _ : state) {
        std::uint32_t value = 0;
        std::size_t size = sizeof value;
        Check(gentl.GCReadPort(idle.stream.remote, kWidthRegister, &value, &size), "GCReadPort");
        benchmark::DoNotOptimize(value);
    }
}

void ReadPortOfLibrary(benchmark::State& state) {
    MakeCameras(1, kSide, kSide, -1);
    COpenLibrary library;
    CLibraryStream stream(library, 0);
    Optivo::ICamDevice& device = stream.Device();
    for (auto _ : state) {
        std::uint32_t value = 0;
        Optivo::Size size = sizeof value;
        Check(device.ReadPort(kWidthRegister, &value, &size), "ReadPort");
        benchmark::DoNotOptimize(value);
    }
}

// The port of a stream gives and takes nothing: what is left is the frame with its handle check.
void EmptyCall(benchmark::State& state) {
    const SIdleStream idle;
    Producer& gentl = idle.module.gentl;
    for (auto _ : state) {
        std::uint32_t value = 0;
        std::size_t size = sizeof value;
        Check(gentl.GCReadPort(idle.stream.stream, 0, &value, &size), "GCReadPort");
        benchmark::DoNotOptimize(value);
    }
}

void StreamInfo(benchmark::State& state) {
    SIdleStream idle;
    for (auto _ : state) {
        benchmark::DoNotOptimize(idle.stream.Number(STREAM_INFO_NUM_DELIVERED));
    }
}

void BufferInfo(benchmark::State& state) {
    const SIdleStream idle;
    Producer& gentl = idle.module.gentl;
    auto* const buffer = idle.stream.buffers.at(0);
    for (auto _ : state) {
        void* base = nullptr;
        std::size_t size = sizeof base;
        INFO_DATATYPE type = 0;
        Check(gentl.DSGetBufferInfo(idle.stream.stream, buffer, BUFFER_INFO_BASE, &type, &base,
                                    &size),
              "DSGetBufferInfo");
        benchmark::DoNotOptimize(base);
    }
}

// What a consumer gets that asks a buffer for more than there is, ten times an image.
void Refuse(benchmark::State& state, BUFFER_INFO_CMD command, std::size_t offered, GC_ERROR code) {
    const SIdleStream idle;
    Producer& gentl = idle.module.gentl;
    auto* const buffer = idle.stream.buffers.at(0);
    for (auto _ : state) {
        std::uint64_t value = 0;
        std::size_t size = offered;
        INFO_DATATYPE type = 0;
        const GC_ERROR answer =
            gentl.DSGetBufferInfo(idle.stream.stream, buffer, command, &type, &value, &size);
        Require(answer == code, "a refusal");
    }
}

void RefusedCommand(benchmark::State& state) {
    Refuse(state, BUFFER_INFO_TIMESTAMP, sizeof(std::uint64_t), GC_ERR_INVALID_PARAMETER);
}

void RefusedSize(benchmark::State& state) {
    Refuse(state, BUFFER_INFO_SIZE, 1, GC_ERR_ERROR);
}

// A thousand buffers are queued, and taken back unmeasured.
void QueueBuffers(benchmark::State& state) {
    constexpr unsigned kMany = 1000;
    MakeCameras(1, kSide, kSide, -1);
    const COpenModule module;
    CModuleStream stream(module, 0, kMany, kSize);
    while (state.KeepRunningBatch(kMany)) {
        const auto begin = Clock::now();
        for (auto* const buffer : stream.buffers) {
            stream.Queue(buffer);
        }
        const std::chrono::duration<double> time = Clock::now() - begin;
        state.SetIterationTime(time.count());
        Check(stream.gentl.DSFlushQueue(stream.stream, ACQ_QUEUE_ALL_DISCARD), "DSFlushQueue");
    }
}

// A buffer is queued and taken back: two calls.
void QueueAndDiscard(benchmark::State& state) {
    SIdleStream idle;
    auto* const buffer = idle.stream.buffers.at(0);
    Producer& gentl = idle.module.gentl;
    for (auto _ : state) {
        idle.stream.Queue(buffer);
        Check(gentl.DSFlushQueue(idle.stream.stream, ACQ_QUEUE_ALL_DISCARD), "DSFlushQueue");
    }
}

// Where the System module's XML is, as its URL tells: "Local:NAME;ADDRESS;LENGTH".
struct SBlock {
    SBlock(Producer& gentl, TL_HANDLE system) {
        std::array<char, 1024> url{};
        std::size_t length = url.size();
        Check(gentl.GCGetPortURL(system, url.data(), &length), "GCGetPortURL");
        const char* const first = std::strchr(url.data(), ';');
        Require(first != nullptr, "no address in the URL");
        char* second = nullptr;
        address = std::strtoull(first + 1, &second, 16);
        Require(*second == ';', "no length in the URL");
        size = (std::strtoull(second + 1, nullptr, 16) + 3) / 4 * 4;
    }

    std::uint64_t address;
    std::size_t size;
};

void XmlOfModule(benchmark::State& state) {
    const SIdleStream idle;
    Producer& gentl = idle.module.gentl;
    const SBlock block(gentl, idle.module.system);
    std::vector<char> text(block.size);
    for (auto _ : state) {
        std::size_t size = block.size;
        Check(gentl.GCReadPort(idle.module.system, block.address, text.data(), &size),
              "GCReadPort");
        benchmark::ClobberMemory();
    }
    Require(text.at(0) == '<', "no XML");
    state.counters["bytes"] = static_cast<double>(block.size);
}

void XmlByVirtualCalls(benchmark::State& state) {
    const SIdleStream idle;
    const SBlock block(idle.module.gentl, idle.module.system);
    std::vector<char> text(block.size);
    const std::unique_ptr<IWords> words = MakeWords(block.size);
    for (auto _ : state) {
        for (std::size_t offset = 0; offset < block.size; offset += sizeof(std::uint32_t)) {
            words->Copy(offset, text.data() + offset);
        }
        benchmark::ClobberMemory();
    }
    state.counters["bytes"] = static_cast<double>(block.size);
}

// As many handles as a process with some cameras has, in an order that no processor foresees.
class CHandles {
public:
    static constexpr std::size_t kCount = 1024;

    CHandles() {
        for (std::size_t i = 0; i < kCount; ++i) {
            m_objects[i] = std::make_unique<std::array<char, 200>>();
            GenICam::Client::CLiveObjects::Modules().Add(m_objects[i].get());
        }
    }
    ~CHandles() {
        for (const auto& object : m_objects) {
            GenICam::Client::CLiveObjects::Modules().Remove(object.get());
        }
    }
    CHandles(const CHandles&) = delete;
    CHandles& operator=(const CHandles&) = delete;

    const void* Next() {
        m_next = (m_next * 5 + 1) % kCount;
        return m_objects[m_next].get();
    }

private:
    std::array<std::unique_ptr<std::array<char, 200>>, kCount> m_objects;
    std::size_t m_next = 0;
};

void HandleCheck(benchmark::State& state) {
    CHandles handles;
    const auto& live = GenICam::Client::CLiveObjects::Modules();
    bool areAllFound = true;
    for (auto _ : state) {
        const bool isFound = live.Contains(handles.Next());
        benchmark::DoNotOptimize(areAllFound = areAllFound && isFound);
    }
    Require(areAllFound, "a live handle was not found");
}

void NoHandleCheck(benchmark::State& state) {
    CHandles handles;
    for (auto _ : state) {
        benchmark::DoNotOptimize(handles.Next());
    }
}

// An operation of the camera library that does nothing.
class CEmptyOperation {
public:
    virtual Optivo::Int32 Answer() { return 0; }

protected:
    ~CEmptyOperation() = default;
};
class CEmptyObject final : public CEmptyOperation {};

// The compiler does not know the object's class, nor that of the camera library's objects.
CEmptyOperation& Unknown(CEmptyOperation& object) {
    CEmptyOperation* unknown = &object;
    benchmark::DoNotOptimize(unknown);
    return *unknown;
}

void GuardedCall(benchmark::State& state) {
    CEmptyObject object;
    CEmptyOperation& operation = Unknown(object);
    for (auto _ : state) {
        benchmark::DoNotOptimize(GenICam::Client::CallLibrary([&] { return operation.Answer(); }));
    }
}

void UnguardedCall(benchmark::State& state) {
    CEmptyObject object;
    CEmptyOperation& operation = Unknown(object);
    for (auto _ : state) {
        benchmark::DoNotOptimize(operation.Answer());
    }
}

} // namespace

void RegisterCalls(const SEffort& /*effort*/) {
    const auto add = [](const char* name, void (*run)(benchmark::State&)) {
        benchmark::RegisterBenchmark(name, run)->UseRealTime();
    };
    add("read_port/module", ReadPortOfModule);
    add("read_port/floor", ReadPortOfLibrary);
    add("empty_call/floor", EmptyCall);
    add("stream_info/module", StreamInfo);
    add("buffer_info/module", BufferInfo);
    add("refused_command/module", RefusedCommand);
    add("refused_size/module", RefusedSize);
    benchmark::RegisterBenchmark("queue_buffer/module", QueueBuffers)->UseManualTime();
    add("queue_and_discard/module", QueueAndDiscard);
    add("system_xml/module", XmlOfModule);
    add("system_xml/floor", XmlByVirtualCalls);
    add("handle_check/module", HandleCheck);
    add("handle_check/floor", NoHandleCheck);
    add("guarded_call/module", GuardedCall);
    add("guarded_call/floor", UnguardedCall);
}
