// The part of the walk's runner that waits, asks, and compares.
#include "WalkRunner.h"

#include "OptivoImage.h"
#include "OptivoSim.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <thread>
#include <utility>

namespace Walk {
namespace {

constexpr int32_t NO_TYPE = -77;
constexpr size_t LARGE = 64;
constexpr char UNTOUCHED = '#';

enum Type : int32_t {
    TEXT = 1,
    UINT32 = 6,
    INT64 = 7,
    UINT64 = 8,
    POINTER = 10,
    BOOL8 = 11,
    SIZE = 12
};

template <class Value>
std::string BytesOf(Value value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

} // namespace

void Runner::ExpectText(const Answer& recorded) {
    int32_t code = 0;
    char text[256] = {};
    size_t size = sizeof text;
    ++m_numCalls;
    m_gentl.GCGetLastError(&code, text, &size);
    ExpectSame("recorded code", recorded.code, code);
    ExpectSame("recorded text", recorded.text, std::string(text));
}

void Runner::Expect(const Answer& expected, int32_t code) {
    ++m_numCalls;
    m_code = m_code.value_or(code);
    ExpectSame("code", expected.code, code);
    if (expected.code != 0 && code == expected.code) {
        ExpectText(expected);
    }
}

void Runner::ExpectSourceError(int32_t code) {
    ++m_numCalls;
    m_code = m_code.value_or(code);
    ExpectSame("code", -1006, code);
    if (code == -1006) {
        ExpectText(WRONG_SOURCE);
    }
}

void Runner::Wait(const Operation& operation) {
    const Handle handle = At(operation.place);
    const bool hasArea = operation.detail != 0;
    const bool hasSize = operation.number >= 0;
    char area[LARGE];
    std::fill(std::begin(area), std::end(area), UNTOUCHED);
    size_t size = hasSize ? static_cast<size_t>(operation.number) : 0;
    const size_t offered = size;
    const int32_t code =
        m_gentl.EventGetData(handle, hasArea ? area : nullptr, hasSize ? &size : nullptr, 0);
    const auto stream = EventOf(handle);
    Fetched fetched;
    if (stream) {
        fetched = m_model.Fetch(*stream, hasArea,
                                hasSize ? std::optional<size_t>(offered) : std::nullopt);
    }
    if (stream || IsErrorEvent(handle)) {
        Expect(fetched.answer, code);
    } else {
        ExpectSourceError(code);
    }
    ExpectSame("size", fetched.isSizeSet ? sizeof(EVENT_NEW_BUFFER_DATA) : offered, size);
    ExpectFetched(fetched, hasArea, area);
}

void Runner::ExpectFetched(const Fetched& fetched, bool hasArea, const void* area) {
    std::string expected(LARGE, UNTOUCHED);
    if (fetched.buffer && hasArea) {
        const Announced& buffer = m_announced[*fetched.buffer];
        const EVENT_NEW_BUFFER_DATA data{buffer.handle, buffer.user};
        std::memcpy(expected.data(), &data, sizeof data);
    }
    ExpectSame("area is as expected", 0, std::memcmp(expected.data(), area, LARGE));
    if (fetched.buffer) {
        ExpectImage(*fetched.buffer);
    }
    m_numImages += fetched.isNew ? 1 : 0;
}

// It holds as much of its image as it has room for, and nothing is written behind it.
void Runner::ExpectImage(size_t number) {
    const Buffer& buffer = m_model.buffers[number];
    const Announced& announced = m_announced[number];
    const size_t filled = std::min(buffer.size, m_around.payload);
    if (buffer.image && filled >= sizeof(OptivoImageStamp)) {
        OptivoImageStamp stamp;
        const int isSound = OptivoImage_Read(announced.memory, filled, &stamp);
        ExpectSame("image is sound", filled == m_around.payload ? 1 : 0, isSound);
        ExpectSame("number of the image", *buffer.image, stamp.number);
    }
    if (announced.isConsumers) {
        const unsigned char* behind = announced.memory + (buffer.image ? filled : 0);
        const auto size = static_cast<std::ptrdiff_t>(announced.memory + buffer.size - behind +
                                                      static_cast<std::ptrdiff_t>(GUARD_SIZE));
        ExpectSame("bytes left behind the image", size, std::count(behind, behind + size, GUARD));
    }
}

void Runner::EventControl(const Operation& operation) {
    const Handle handle = At(operation.place);
    const bool isKill = operation.kind == Kind::Kill;
    const int32_t code = isKill ? m_gentl.EventKill(handle) : m_gentl.EventFlush(handle);
    const auto stream = EventOf(handle);
    if (!stream && !IsErrorEvent(handle)) {
        return ExpectSourceError(code);
    }
    Expect(DONE, code);
    if (stream && !isKill) {
        m_model.Flush(*stream, 1);
    }
}

void Runner::EventInfo(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto command = static_cast<int32_t>(operation.number);
    const auto call = [&](auto... out) { return m_gentl.EventGetInfo(handle, command, out...); };
    const auto stream = EventOf(handle);
    if (IsErrorEvent(handle)) {
        return;
    }
    if (!stream) {
        return Ask({{-1006, ""}, NO_TYPE, "", false}, operation.detail, call);
    }
    if (command != 1) {
        return Ask({DONE, NO_TYPE, "", false}, operation.detail, call);
    }
    const auto length = static_cast<uint32_t>(m_model.streams[*stream].output.size());
    Ask({DONE, UINT32, BytesOf(length), true}, operation.detail, call);
}

void Runner::EventDataInfo(const Operation& operation) {
    const Handle handle = At(operation.place);
    if (IsErrorEvent(handle)) {
        return;
    }
    const auto command = static_cast<int32_t>(operation.number);
    const EVENT_NEW_BUFFER_DATA data{};
    const Query expected{EventOf(handle) ? DONE : Answer{-1006, ""}, NO_TYPE, "", false};
    Ask(expected, static_cast<int64_t>(Room::Large), [&](auto... out) {
        return m_gentl.EventGetDataInfo(handle, &data, sizeof data, command, out...);
    });
}

// Of streams and buffers, and of what is neither.
void Runner::Register(const Operation& operation) {
    const Handle handle = At(operation.place);
    if (operation.place == DEVICE_PLACE || operation.place == REMOTE_PLACE ||
        operation.place == SYSTEM_PLACE) {
        return;
    }
    const auto type = static_cast<int32_t>(operation.number);
    const bool isRegister = operation.kind == Kind::Register;
    Handle event = this;
    const int32_t code = isRegister ? m_gentl.GCRegisterEvent(handle, type, &event)
                                    : m_gentl.GCUnregisterEvent(handle, type);
    const auto stream = StreamOf(handle);
    const Answer unknown = {-1001, "Event ID " + std::to_string(type) + " not implemented"};
    Handle expected = this;
    if (stream) {
        const bool isKnown = type == 0 || type == 1;
        Expect(isKnown ? DONE : unknown, code);
        if (isKnown && isRegister) {
            expected =
                At((type == 1 ? EVENT_PLACE : ERROR_EVENT_PLACE) + static_cast<int>(*stream));
        }
    } else if (BufferOf(handle)) {
        Expect(isRegister ? UNSPECIFIED : unknown, code);
    } else {
        ExpectSourceError(code);
    }
    ExpectSame("event handle", expected, event);
}

void Runner::StreamInfo(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto command = static_cast<int32_t>(operation.number);
    const auto stream = StreamOf(handle);
    Query expected{WRONG_HANDLE, NO_TYPE, "", false};
    if (stream) {
        const Answer unknown = {-1009, "Invalid stream info command " + std::to_string(command)};
        expected = StreamValue(*stream, command).value_or(Query{unknown, NO_TYPE, "", false});
        // The camera is asked with the caller's size, and refuses one that is too small.
        const bool isCameras = command >= 1001 && command <= 1004;
        if (isCameras && operation.detail == static_cast<int64_t>(Room::TooSmall)) {
            expected = {unknown, NO_TYPE, "", false};
        }
    }
    Ask(expected, operation.detail,
        [&](auto... out) { return m_gentl.DSGetInfo(handle, command, out...); });
}

std::optional<Runner::Query> Runner::StreamValue(size_t number, int32_t command) {
    const Stream& stream = m_model.streams[number];
    const auto length = [](const auto& queue) {
        return Query{DONE, UINT32, BytesOf(static_cast<uint32_t>(queue.size())), true};
    };
    const auto wide = [](uint64_t value, Type type = UINT64) {
        return Query{DONE, type, BytesOf(value), true};
    };
    switch (command) {
    case 0:
        return Query{DONE, TEXT, "DS" + std::to_string(number) + '\0', true};
    case 1:
        return wide(stream.numDelivered);
    case 2:
        return wide(stream.numLost + m_around.numLost);
    case 3:
        return length(stream.announced);
    case 4:
        return length(stream.input);
    case 5:
        return length(stream.output);
    case 6:
        return wide(stream.numMade, INT64);
    case 8:
        return Query{DONE, BOOL8, BytesOf(static_cast<char>(stream.isGrabbing)), true};
    case 9:
        return wide(m_around.payload);
    case 10:
        return Query{DONE, TEXT, std::string("Mixed") + '\0', true};
    case 1001:
    case 1002:
        return wide(m_around.values[static_cast<size_t>(command - 1001)]);
    case 1003:
    case 1004:
        return Query{
            DONE, UINT32,
            BytesOf(static_cast<uint32_t>(m_around.values[static_cast<size_t>(command - 1001)])),
            true};
    default:
        return {};
    }
}

void Runner::BufferInfo(const Operation& operation) {
    const Handle handle = At(operation.place);
    const Handle asked = At(operation.buffer);
    const auto command = static_cast<int32_t>(operation.number);
    const auto buffer = BufferOf(asked);
    Query expected{WRONG_HANDLE, NO_TYPE, "", false};
    if (StreamOf(handle) && buffer) {
        const Answer unknown = {-1009, "Invalid buffer info command " + std::to_string(command)};
        expected = BufferValue(*buffer, command).value_or(Query{unknown, NO_TYPE, "", false});
    }
    Ask(expected, operation.detail,
        [&](auto... out) { return m_gentl.DSGetBufferInfo(handle, asked, command, out...); });
}

std::optional<Runner::Query> Runner::BufferValue(size_t number, int32_t command) {
    const Buffer& buffer = m_model.buffers[number];
    const auto flag = [](bool value) {
        return Query{DONE, BOOL8, BytesOf(static_cast<char>(value)), true};
    };
    switch (command) {
    case 0:
        return Query{DONE, POINTER, BytesOf(m_announced[number].memory), true};
    case 2:
        return Query{DONE, POINTER, BytesOf(m_announced[number].user), true};
    case 4:
        return flag(buffer.hasNewData);
    case 5:
        return flag(buffer.isQueued);
    case 6:
        return flag(false);
    case 1:
    case 9:
        return Query{DONE, SIZE, BytesOf(buffer.size), true};
    default:
        return {};
    }
}

void Runner::BufferId(const Operation& operation) {
    const Handle handle = At(operation.place);
    const auto index = static_cast<uint32_t>(operation.number);
    Handle found = this;
    const int32_t code = m_gentl.DSGetBufferID(handle, index, &found);
    const auto stream = StreamOf(handle);
    if (!stream) {
        Expect(WRONG_HANDLE, code);
    } else if (index < m_model.streams[*stream].announced.size()) {
        Expect(DONE, code);
        ExpectSame("buffer", m_announced[m_model.streams[*stream].announced[index]].handle, found);
        return;
    } else {
        Expect({-1001, "Invalid Buffer Index " + std::to_string(index)}, code);
    }
    ExpectSame<Handle>("buffer", this, found);
}

// Makes the query, which knows its value or fails before it looks at the destination.
template <class Call>
void Runner::Ask(Query expected, int64_t room, Call call) {
    const auto how = static_cast<Room>(room);
    char bytes[LARGE];
    std::fill(std::begin(bytes), std::end(bytes), UNTOUCHED);
    const size_t width = expected.bytes.size();
    const size_t offers[] = {0, 1000, 0, std::max<size_t>(width, 2) - 1, width, LARGE};
    size_t size = offers[room];
    int32_t type = NO_TYPE;
    if (expected.isWritten && (how == Room::NoSize || (how == Room::TooSmall && size < width))) {
        expected.answer = UNSPECIFIED;
        expected.isWritten = false;
    }
    const size_t sizeAfter = expected.isWritten ? width : size;
    std::string bytesAfter(LARGE, UNTOUCHED);
    if (expected.isWritten && how != Room::NoBuffer) {
        bytesAfter.replace(0, width, expected.bytes);
    }
    const int32_t code =
        call(&type, how == Room::NoBuffer ? nullptr : bytes, how == Room::NoSize ? nullptr : &size);
    if (expected.answer.code == -1006) {
        ExpectSourceError(code);
    } else {
        Expect(expected.answer, code);
    }
    ExpectSame("type", expected.type, type);
    ExpectSame("size", sizeAfter, size);
    ExpectSame("bytes", bytesAfter, std::string(bytes, LARGE));
}

// Returns when the images are where the model has them, or when patience ends.
void Runner::Settle() {
    const auto end = std::chrono::steady_clock::now() + m_patience;
    const uint64_t numCalls = m_numCalls;
    std::string differences = CountsThatDiffer();
    while (!differences.empty() && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
        m_numCalls = numCalls; // asking again proves nothing more
        differences = CountsThatDiffer();
    }
    m_differences += differences;
    OptivoSim_ClearFaults();
    ExpectBuffersAgree();
}

uint64_t Runner::Number(size_t stream, int32_t command) {
    uint64_t number = 0;
    size_t size = sizeof number;
    INFO_DATATYPE type = 0;
    const int32_t code =
        m_gentl.DSGetInfo(m_handles[STREAM_PLACE + stream], command, &type, &number, &size);
    ++m_numCalls;
    return code == 0 ? number : UINT64_MAX;
}

std::string Runner::CountsThatDiffer() {
    std::string differences;
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        const Stream& stream = m_model.streams[i];
        const std::pair<int32_t, uint64_t> counts[] = {
            {1, stream.numDelivered},      {2, stream.numLost + m_around.numLost},
            {3, stream.announced.size()},  {4, stream.input.size()},
            {5, stream.output.size()},     {6, stream.numMade},
            {8, stream.isGrabbing ? 1 : 0}};
        for (const auto& [command, expected] : counts) {
            const uint64_t actual = stream.isOpen ? Number(i, command) : expected;
            if (actual != expected) {
                differences += "stream " + std::to_string(i) + ", info " + std::to_string(command) +
                               ": " + std::to_string(actual) + " instead of " +
                               std::to_string(expected) + '\n';
            }
        }
    }
    return differences;
}

// The announced buffers in their order, and the state of every buffer that is left.
void Runner::ExpectBuffersAgree() {
    Handle anyStream = nullptr;
    for (size_t i = 0; i < NUM_STREAMS; ++i) {
        const Stream& stream = m_model.streams[i];
        if (!stream.isOpen) {
            continue;
        }
        anyStream = m_handles[STREAM_PLACE + i];
        for (uint32_t index = 0; index < stream.announced.size(); ++index) {
            Handle found = nullptr;
            Expect(DONE, m_gentl.DSGetBufferID(anyStream, index, &found));
            ExpectSame("announced buffer", m_announced[stream.announced[index]].handle, found);
        }
    }
    for (size_t i = 0; anyStream != nullptr && i < m_announced.size(); ++i) {
        if (m_model.buffers[i].isAlive) {
            ExpectFlagsAgree(anyStream, i);
        }
    }
}

void Runner::ExpectFlagsAgree(Handle stream, size_t number) {
    const Buffer& buffer = m_model.buffers[number];
    const std::pair<int32_t, bool> flags[] = {
        {4, buffer.hasNewData}, {5, buffer.isQueued}, {6, false}};
    for (const auto& [command, expected] : flags) {
        char flag = 2;
        size_t size = sizeof flag;
        INFO_DATATYPE type = 0;
        Expect(DONE, m_gentl.DSGetBufferInfo(stream, m_announced[number].handle, command, &type,
                                             &flag, &size));
        if (flag != static_cast<char>(expected)) {
            m_differences += "announcement " + std::to_string(number + 1) + ", info " +
                             std::to_string(command) + ": " + std::to_string(int{flag}) +
                             " instead of " + std::to_string(int{expected}) + '\n';
        }
    }
}

} // namespace Walk
