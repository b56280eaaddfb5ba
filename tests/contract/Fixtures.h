// What the contract tests share: a ladder of fixtures that opens the modules one inside the other,
// and checks for answers, recorded errors and the rules by which values are copied out.
// Knows the module only through its exported functions, and the camera library through OptivoSim.h.
#pragma once

#include "OptivoSim.h"
#include "Producer.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

// Long enough for any machine; a test that waits that long has failed.
inline constexpr uint64_t LONG_WAIT = 30000;

// The error that GCGetLastError holds; code 0 and no text when there is none.
struct ErrorRecord {
    int32_t code = 0;
    std::string text;

    bool operator==(const ErrorRecord&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ErrorRecord& error);
ErrorRecord LastError(const Producer& producer = TheProducer());

// "-1006 GC_ERR_INVALID_HANDLE"
std::string CodeName(int32_t code);

testing::AssertionResult Answers(int32_t expected, int32_t answer);
// Records an error that few calls record, so that what is found afterwards is known to be new.
testing::AssertionResult RecordOtherError();
// Each calls RecordOtherError before the call.
testing::AssertionResult CallFails(int32_t code, std::string_view text,
                                   const std::function<int32_t()>& call);
testing::AssertionResult CallFailsWithSomeText(int32_t code, const std::function<int32_t()>& call);
testing::AssertionResult CallFailsUnrecorded(int32_t code, const std::function<int32_t()>& call);

#define EXPECT_OK(...) EXPECT_TRUE(Answers(0, __VA_ARGS__))
#define ASSERT_OK(...) ASSERT_TRUE(Answers(0, __VA_ARGS__))
#define EXPECT_CODE(code, ...) EXPECT_TRUE(Answers(code, __VA_ARGS__))
// The call answers the code, and records it with exactly this text.
#define EXPECT_FAILS(code, text, ...)                                                              \
    EXPECT_TRUE(CallFails(code, text, [&]() -> int32_t { return __VA_ARGS__; }))
#define ASSERT_FAILS(code, text, ...)                                                              \
    ASSERT_TRUE(CallFails(code, text, [&]() -> int32_t { return __VA_ARGS__; }))
// The call answers the code, and records it with a text that is left open.
#define EXPECT_FAILS_WITH_TEXT(code, ...)                                                          \
    EXPECT_TRUE(CallFailsWithSomeText(code, [&]() -> int32_t { return __VA_ARGS__; }))
// The call answers the code, and the error recorded before stays.
#define EXPECT_FAILS_UNRECORDED(code, ...)                                                         \
    EXPECT_TRUE(CallFailsUnrecorded(code, [&]() -> int32_t { return __VA_ARGS__; }))
#define EXPECT_LAST_ERROR(code, text) EXPECT_EQ(LastError(), (ErrorRecord{code, text}))

// The answer of an info query. A type or size that the query did not write keeps these values.
inline constexpr int32_t TYPE_NOT_WRITTEN = -77;
inline constexpr size_t SIZE_NOT_WRITTEN = 7777;
struct Info {
    int32_t code = 0;
    int32_t type = TYPE_NOT_WRITTEN;
    size_t size = SIZE_NOT_WRITTEN;
    std::string bytes;

    // The text before the first zero.
    std::string Text() const { return bytes.c_str(); }

    template <typename Value>
    Value As() const {
        Value value{};
        EXPECT_EQ(bytes.size(), sizeof value);
        std::memcpy(&value, bytes.data(),
                    bytes.size() < sizeof value ? bytes.size() : sizeof value);
        return value;
    }

    bool operator==(const Info&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Info& info);

// The outputs of a ...GetInfo function; [&](auto... out) { return f(handle, command, out...); }
// fits.
using InfoCall = std::function<GC_ERROR(INFO_DATATYPE*, void*, size_t*)>;
// The same of a function that answers a text without a type, such as TLGetInterfaceID.
using TextCall = std::function<GC_ERROR(char*, size_t*)>;

// Asks for the size, then for the value in a buffer of that size; reports bytes written behind it.
Info Ask(const InfoCall& call);
Info AskText(const TextCall& call);

// What Ask answers for a value: a text (zeros inside it count), a flag or a number.
Info TextInfo(std::string_view text);
Info BoolInfo(bool value);
template <typename Value>
Info NumberInfo(int32_t type, Value value) {
    Info info{0, type, sizeof value, std::string(sizeof value, '\0')};
    std::memcpy(info.bytes.data(), &value, sizeof value);
    return info;
}
// What AskText answers for a text.
Info PlainTextInfo(std::string_view text);

// The whole ladder of an info query that knows its value: null size, null buffer, size 0, one byte
// short, exact, larger, without a type. Failures are -1001 with "Unspecified runtime error.".
void ExpectCopyOut(const InfoCall& call, const Info& expected);
void ExpectTextCopyOut(const TextCall& call, const Info& expected);

// Asks again and again until the condition holds; false after LONG_WAIT.
bool Eventually(const std::function<bool()>& condition);

// The library is initialised and the camera library's world is new. Handles that are open at the
// end are closed; every object of the camera library must then be closed exactly once.
class LibraryTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Each opens one module inside the open one above it.
    void OpenSystem();
    void OpenInterface(uint32_t index = 0);
    void OpenDevice(uint32_t index = 0);
    void OpenStream();

    // Each closes one module and forgets every handle that ends with it.
    void CloseStream();
    void CloseDevice();
    void CloseInterface();
    void CloseSystem();
    void CloseAll();

    std::string InterfaceId(uint32_t index);
    std::string DeviceId(uint32_t index);
    uint32_t NumInterfaces();
    uint32_t NumDevices();

    // Announces that the test leaves objects of the camera library open for good.
    void LeavesAlive(OptivoObjectKind kind, uint64_t count);

    Producer& gentl = TheProducer();
    TL_HANDLE tl = nullptr;
    IF_HANDLE iface = nullptr;
    DEV_HANDLE device = nullptr;
    PORT_HANDLE remote = nullptr;
    DS_HANDLE stream = nullptr;
    // The ID of the open interface, the name by which the simulator knows it, and that of the open
    // camera, which is its ID too.
    std::string interfaceId;
    std::string interfaceName;
    std::string camera;

private:
    std::array<uint64_t, OPTIVO_NUM_OBJECT_KINDS> m_expectedAlive{};
};

// The System module is open as tl.
class SystemTest : public LibraryTest {
protected:
    void SetUp() override;
};

// The first interface is open as iface, and its devices are listed.
class InterfaceTest : public SystemTest {
protected:
    void SetUp() override;
};

// The first camera is open as device, its remote port as remote.
class DeviceTest : public InterfaceTest {
protected:
    void SetUp() override;
};

// What one wait for a new buffer gave.
struct NewBuffer {
    int32_t code = 0;
    BUFFER_HANDLE handle = nullptr;
    void* user = nullptr;
    size_t size = 0;
};

// The camera's stream is open as stream; images come only when Produce asks for them.
class StreamTest : public DeviceTest {
protected:
    void SetUp() override;

    size_t PayloadSize();
    // Announces buffers that the module allocates, of the payload's size unless told otherwise;
    // the private pointer of buffers[i] is UserPointer(i).
    void AnnounceBuffers(size_t count, size_t size = 0);
    // Announces a buffer in memory that lives as long as the test.
    BUFFER_HANDLE AnnounceMemory(size_t size, void* user = nullptr);
    static void* UserPointer(size_t index) { return reinterpret_cast<void*>(0x1000 + index); }
    // Queues every announced buffer that these helpers know.
    void QueueAll();
    // Registers the new-buffer event, as newBuffer.
    void RegisterNewBuffer();
    // Announces and queues so many buffers, registers the event and starts without limit.
    void StartWith(size_t numBuffers);
    void Start(uint64_t numToAcquire = GENTL_INFINITE);
    void Stop();
    void Produce(uint64_t count);
    NewBuffer WaitBuffer(uint64_t timeout = LONG_WAIT);

    // Answers of DSGetInfo as one number, whatever their width.
    uint64_t StreamNumber(STREAM_INFO_CMD command);
    uint64_t NumDelivered() { return StreamNumber(1); }
    uint64_t NumUnderrun() { return StreamNumber(2); }
    uint64_t NumAnnounced() { return StreamNumber(3); }
    uint64_t NumQueued() { return StreamNumber(4); }
    uint64_t NumAwaitDelivery() { return StreamNumber(5); }
    bool IsGrabbing() { return StreamNumber(8) != 0; }
    // A flag of a buffer: 4 new data, 5 is queued, 6 is acquiring.
    bool BufferFlag(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command);

    std::vector<BUFFER_HANDLE> buffers;
    EVENT_HANDLE newBuffer = nullptr;

private:
    std::deque<std::vector<unsigned char>> m_memory;
};
