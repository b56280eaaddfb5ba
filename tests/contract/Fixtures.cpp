#include "Fixtures.h"

#include <algorithm>
#include <cctype>
#include <iomanip>

namespace {

constexpr char FILLER = '\x5A';
constexpr size_t GUARD = 64;

// The outputs of one info query, before and after.
struct Outputs {
    explicit Outputs(size_t capacity) : buffer(capacity + GUARD, FILLER) {}

    std::string Untouched() const { return std::string(buffer.size(), FILLER); }

    INFO_DATATYPE type = TYPE_NOT_WRITTEN;
    size_t size = SIZE_NOT_WRITTEN;
    std::string buffer;
};

InfoCall WithoutType(const TextCall& call) {
    return [call](INFO_DATATYPE*, void* buffer, size_t* size) {
        return call(static_cast<char*>(buffer), size);
    };
}

void ExpectRefusedCopy(const InfoCall& call, const Info& expected, size_t* size, Outputs& out) {
    EXPECT_FAILS(-1001, "Unspecified runtime error.", call(&out.type, out.buffer.data(), size));
    EXPECT_EQ(out.type, expected.type);
    EXPECT_EQ(out.buffer, out.Untouched());
}

void ExpectCopied(const InfoCall& call, const Info& expected, size_t offeredSize) {
    Outputs out(expected.size);
    out.size = offeredSize;
    EXPECT_OK(call(&out.type, out.buffer.data(), &out.size));
    EXPECT_EQ(out.type, expected.type);
    EXPECT_EQ(out.size, expected.size);
    EXPECT_EQ(out.buffer, expected.bytes + std::string(GUARD, FILLER));
}

void ExpectAnsweredWithoutType(const InfoCall& call, const Info& expected) {
    Outputs out(expected.size);
    out.size = expected.size;
    EXPECT_OK(call(nullptr, out.buffer.data(), &out.size));
    EXPECT_EQ(out.buffer, expected.bytes + std::string(GUARD, FILLER));
}

template <typename Query>
std::string IdOf(const Query& query) {
    const Info info = AskText(query);
    EXPECT_OK(info.code);
    return info.Text();
}

} // namespace

std::ostream& operator<<(std::ostream& out, const ErrorRecord& error) {
    return out << CodeName(error.code) << " \"" << error.text << '"';
}

ErrorRecord LastError(const Producer& producer) {
    size_t size = 0;
    if (producer.GCGetLastError(nullptr, nullptr, &size) != 0) {
        return {};
    }
    ErrorRecord error;
    std::vector<char> text(size + 1);
    size = text.size();
    EXPECT_EQ(producer.GCGetLastError(&error.code, text.data(), &size), 0);
    error.text = text.data();
    return error;
}

std::string CodeName(int32_t code) {
    static constexpr std::array<const char*, 21> NAMES = {"ERROR",
                                                          "NOT_INITIALIZED",
                                                          "NOT_IMPLEMENTED",
                                                          "RESOURCE_IN_USE",
                                                          "ACCESS_DENIED",
                                                          "INVALID_HANDLE",
                                                          "INVALID_ID",
                                                          "NO_DATA",
                                                          "INVALID_PARAMETER",
                                                          "IO",
                                                          "TIMEOUT",
                                                          "ABORT",
                                                          "INVALID_BUFFER",
                                                          "NOT_AVAILABLE",
                                                          "INVALID_ADDRESS",
                                                          "BUFFER_TOO_SMALL",
                                                          "INVALID_INDEX",
                                                          "PARSING_CHUNK_DATA",
                                                          "INVALID_VALUE",
                                                          "RESOURCE_EXHAUSTED",
                                                          "OUT_OF_MEMORY"};
    const std::string number = std::to_string(code);
    if (code == 0) {
        return number + " GC_ERR_SUCCESS";
    }
    if (code > -1001 || code < -1021) {
        return number;
    }
    return number + " GC_ERR_" + NAMES[static_cast<size_t>(-1001 - code)];
}

testing::AssertionResult Answers(int32_t expected, int32_t answer) {
    if (answer == expected) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "it answers " << CodeName(answer) << " instead of "
                                       << CodeName(expected) << "; last error: " << LastError();
}

namespace {

const ErrorRecord OTHER_ERROR = {-1009, "Unsupported GCInfo parameter"};

} // namespace

testing::AssertionResult RecordOtherError() {
    TheProducer().GCGetInfo(99, nullptr, nullptr, nullptr);
    if (LastError() == OTHER_ERROR) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "no other error can be recorded: " << LastError();
}

testing::AssertionResult CallFails(int32_t code, std::string_view text,
                                   const std::function<int32_t()>& call) {
    if (const auto recorded = RecordOtherError(); !recorded) {
        return recorded;
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found == ErrorRecord{code, std::string(text)}) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "it answers " << CodeName(answer) << " and records "
           << (found == OTHER_ERROR ? "nothing" : testing::PrintToString(found)) << "; wanted "
           << CodeName(code) << " \"" << text << '"';
}

testing::AssertionResult CallFailsWithSomeText(int32_t code, const std::function<int32_t()>& call) {
    if (const auto recorded = RecordOtherError(); !recorded) {
        return recorded;
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found.code == code && !found.text.empty() && found != OTHER_ERROR) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "it answers " << CodeName(answer) << " and records "
           << (found == OTHER_ERROR ? "nothing" : testing::PrintToString(found)) << "; wanted "
           << CodeName(code) << " with a text";
}

testing::AssertionResult CallFailsUnrecorded(int32_t code, const std::function<int32_t()>& call) {
    if (const auto recorded = RecordOtherError(); !recorded) {
        return recorded;
    }
    const int32_t answer = call();
    const ErrorRecord found = LastError();
    if (answer == code && found == OTHER_ERROR) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "it answers " << CodeName(answer) << " and records "
           << (found == OTHER_ERROR ? "nothing" : testing::PrintToString(found)) << "; wanted "
           << CodeName(code) << " and no record";
}

std::ostream& operator<<(std::ostream& out, const Info& info) {
    out << CodeName(info.code) << ", type " << info.type << ", size " << info.size << ", bytes";
    const auto flags = out.flags();
    for (const char byte : info.bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (std::isprint(value) != 0) {
            out << ' ' << byte;
        } else {
            out << " \\x" << std::hex << std::setw(2) << std::setfill('0') << unsigned{value};
        }
    }
    out.flags(flags);
    return out;
}

Info Ask(const InfoCall& call) {
    Info info;
    info.code = call(&info.type, nullptr, &info.size);
    if (info.code != 0 || info.size == SIZE_NOT_WRITTEN) {
        return info;
    }
    Outputs out(info.size);
    out.size = info.size;
    info.code = call(&out.type, out.buffer.data(), &out.size);
    EXPECT_EQ(out.type, info.type) << "the size query told another type";
    EXPECT_EQ(out.size, info.size) << "the size query told another size";
    EXPECT_EQ(out.buffer.substr(info.size), std::string(GUARD, FILLER)) << "written too far";
    info.bytes = out.buffer.substr(0, info.size);
    return info;
}

Info AskText(const TextCall& call) {
    return Ask(WithoutType(call));
}

Info TextInfo(std::string_view text) {
    return {0, 1, text.size() + 1, std::string(text) + '\0'};
}

Info BoolInfo(bool value) {
    return {0, 11, 1, std::string(1, value ? '\1' : '\0')};
}

Info PlainTextInfo(std::string_view text) {
    Info info = TextInfo(text);
    info.type = TYPE_NOT_WRITTEN;
    return info;
}

void ExpectCopyOut(const InfoCall& call, const Info& expected) {
    Outputs noSize(expected.size);
    ExpectRefusedCopy(call, expected, nullptr, noSize);

    EXPECT_EQ(Ask(call), expected);
    ExpectCopied(call, expected, 0);
    ExpectCopied(call, expected, expected.size);
    ExpectCopied(call, expected, expected.size + 17);
    ExpectAnsweredWithoutType(call, expected);

    if (expected.size > 1) {
        Outputs oneShort(expected.size);
        oneShort.size = expected.size - 1;
        ExpectRefusedCopy(call, expected, &oneShort.size, oneShort);
        EXPECT_EQ(oneShort.size, expected.size - 1);
    }
}

void ExpectTextCopyOut(const TextCall& call, const Info& expected) {
    ExpectCopyOut(WithoutType(call), expected);
}

bool Eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(LONG_WAIT);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

void LibraryTest::SetUp() {
    OptivoSim_Reset();
    for (size_t kind = 0; kind < m_expectedAlive.size(); ++kind) {
        m_expectedAlive[kind] = OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind));
    }
    ASSERT_OK(gentl.GCInitLib());
}

void LibraryTest::TearDown() {
    OptivoSim_ClearFaults();
    OptivoSim_Release();
    EXPECT_OK(gentl.GCInitLib());
    CloseAll();
    EXPECT_OK(gentl.GCCloseLib());

    static constexpr std::array<const char*, OPTIVO_NUM_OBJECT_KINDS> NAMES = {
        "systems", "interfaces", "devices", "streams"};
    for (size_t kind = 0; kind < m_expectedAlive.size(); ++kind) {
        EXPECT_EQ(OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind)), m_expectedAlive[kind])
            << NAMES[kind] << " of the camera library are still open";
    }
    EXPECT_EQ(OptivoSim_NumDoubleCloses(), 0U);
    EXPECT_EQ(OptivoSim_NumUsesAfterClose(), 0U);
}

void LibraryTest::LeavesAlive(OptivoObjectKind kind, uint64_t count) {
    m_expectedAlive[static_cast<size_t>(kind)] += count;
}

void LibraryTest::OpenSystem() {
    ASSERT_OK(gentl.TLOpen(&tl));
    ASSERT_NE(tl, nullptr);
}

void LibraryTest::OpenInterface(uint32_t index) {
    ASSERT_GT(NumInterfaces(), index);
    interfaceId = InterfaceId(index);
    const size_t separator = interfaceId.find("::");
    ASSERT_NE(separator, std::string::npos);
    interfaceName = interfaceId.substr(separator + 2);
    ASSERT_OK(gentl.TLOpenInterface(tl, interfaceId.c_str(), &iface));
    ASSERT_NE(iface, nullptr);
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
}

void LibraryTest::OpenDevice(uint32_t index) {
    ASSERT_GT(NumDevices(), index);
    camera = DeviceId(index);
    ASSERT_OK(gentl.IFOpenDevice(iface, camera.c_str(), 4, &device));
    ASSERT_NE(device, nullptr);
    ASSERT_OK(gentl.DevGetPort(device, &remote));
    ASSERT_NE(remote, nullptr);
}

void LibraryTest::OpenStream() {
    const std::string id =
        IdOf([&](auto... out) { return gentl.DevGetDataStreamID(device, 0, out...); });
    ASSERT_OK(gentl.DevOpenDataStream(device, id.c_str(), &stream));
    ASSERT_NE(stream, nullptr);
}

void LibraryTest::CloseStream() {
    EXPECT_OK(gentl.DSClose(stream));
    stream = nullptr;
}

void LibraryTest::CloseDevice() {
    EXPECT_OK(gentl.DevClose(device));
    device = remote = stream = nullptr;
}

void LibraryTest::CloseInterface() {
    EXPECT_OK(gentl.IFClose(iface));
    iface = nullptr;
}

void LibraryTest::CloseSystem() {
    EXPECT_OK(gentl.TLClose(tl));
    tl = nullptr;
    // Only a device whose interface is open ends with its system.
    if (iface != nullptr) {
        iface = device = remote = stream = nullptr;
    }
}

void LibraryTest::CloseAll() {
    if (stream != nullptr) {
        EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
        EXPECT_OK(gentl.DSFlushQueue(stream, 4));
        CloseStream();
    }
    if (device != nullptr) {
        CloseDevice();
    }
    if (iface != nullptr) {
        CloseInterface();
    }
    if (tl != nullptr) {
        CloseSystem();
    }
}

std::string LibraryTest::InterfaceId(uint32_t index) {
    return IdOf([&](auto... out) { return gentl.TLGetInterfaceID(tl, index, out...); });
}

std::string LibraryTest::DeviceId(uint32_t index) {
    return IdOf([&](auto... out) { return gentl.IFGetDeviceID(iface, index, out...); });
}

uint32_t LibraryTest::NumInterfaces() {
    uint32_t count = 0;
    EXPECT_OK(gentl.TLGetNumInterfaces(tl, &count));
    return count;
}

uint32_t LibraryTest::NumDevices() {
    uint32_t count = 0;
    EXPECT_OK(gentl.IFGetNumDevices(iface, &count));
    return count;
}

void SystemTest::SetUp() {
    ASSERT_NO_FATAL_FAILURE(LibraryTest::SetUp());
    OpenSystem();
}

void InterfaceTest::SetUp() {
    ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
    OpenInterface();
}

void DeviceTest::SetUp() {
    ASSERT_NO_FATAL_FAILURE(InterfaceTest::SetUp());
    OpenDevice();
}

void StreamTest::SetUp() {
    ASSERT_NO_FATAL_FAILURE(DeviceTest::SetUp());
    ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), -1), 1);
    OpenStream();
}

size_t StreamTest::PayloadSize() {
    return static_cast<size_t>(StreamNumber(9));
}

void StreamTest::AnnounceBuffers(size_t count, size_t size) {
    const size_t wanted = size == 0 ? PayloadSize() : size;
    for (size_t i = 0; i < count; ++i) {
        BUFFER_HANDLE buffer = nullptr;
        ASSERT_OK(
            gentl.DSAllocAndAnnounceBuffer(stream, wanted, UserPointer(buffers.size()), &buffer));
        ASSERT_NE(buffer, nullptr);
        buffers.push_back(buffer);
    }
}

BUFFER_HANDLE StreamTest::AnnounceMemory(size_t size, void* user) {
    m_memory.emplace_back(size);
    BUFFER_HANDLE buffer = nullptr;
    EXPECT_OK(gentl.DSAnnounceBuffer(stream, m_memory.back().data(), size, user, &buffer));
    buffers.push_back(buffer);
    return buffer;
}

void StreamTest::QueueAll() {
    for (BUFFER_HANDLE buffer : buffers) {
        ASSERT_OK(gentl.DSQueueBuffer(stream, buffer));
    }
}

void StreamTest::RegisterNewBuffer() {
    ASSERT_OK(gentl.GCRegisterEvent(stream, 1, &newBuffer));
    ASSERT_NE(newBuffer, nullptr);
}

void StreamTest::StartWith(size_t numBuffers) {
    ASSERT_NO_FATAL_FAILURE(AnnounceBuffers(numBuffers));
    ASSERT_NO_FATAL_FAILURE(QueueAll());
    ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    Start();
}

void StreamTest::Start(uint64_t numToAcquire) {
    ASSERT_OK(gentl.DSStartAcquisition(stream, 0, numToAcquire));
}

void StreamTest::Stop() {
    ASSERT_OK(gentl.DSStopAcquisition(stream, 0));
}

void StreamTest::Produce(uint64_t count) {
    ASSERT_EQ(OptivoSim_ProduceImages(camera.c_str(), count), 1);
}

NewBuffer StreamTest::WaitBuffer(uint64_t timeout) {
    EVENT_NEW_BUFFER_DATA data = {};
    size_t size = sizeof data;
    const int32_t code = gentl.EventGetData(newBuffer, &data, &size, timeout);
    return {code, data.BufferHandle, data.pUserPointer, size};
}

uint64_t StreamTest::StreamNumber(STREAM_INFO_CMD command) {
    const Info info = Ask([&](auto... out) { return gentl.DSGetInfo(stream, command, out...); });
    EXPECT_OK(info.code);
    EXPECT_LE(info.bytes.size(), sizeof(uint64_t));
    uint64_t number = 0;
    std::memcpy(&number, info.bytes.data(), std::min(info.bytes.size(), sizeof number));
    return number;
}

bool StreamTest::BufferFlag(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
    const Info info =
        Ask([&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, command, out...); });
    EXPECT_OK(info.code);
    EXPECT_EQ(info.type, 11);
    return info.As<uint8_t>() != 0;
}
