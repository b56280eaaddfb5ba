#include "Fixtures.h"

#include "Cameras.h"

#include <algorithm>
#include <cstring>

namespace {

template <typename Query>
std::string IdOf(const Query& query) {
    const Info info = AskText(query);
    EXPECT_OK(info.code);
    return info.Text();
}

} // namespace

void LibraryTest::SetUp() {
    Cameras::Prepare();
    for (size_t kind = 0; kind < m_expectedAlive.size(); ++kind) {
        m_expectedAlive[kind] = Cameras::NumOpen(static_cast<OptivoObjectKind>(kind));
    }
    ASSERT_OK(gentl.GCInitLib());
}

void LibraryTest::TearDown() {
    Cameras::Release();
    gentl.GCInitLib(); // the test may have closed the library
    CloseAll();
    EXPECT_OK(gentl.GCCloseLib());

    static constexpr std::array<const char*, OPTIVO_NUM_OBJECT_KINDS> NAMES = {
        "systems", "interfaces", "devices", "streams"};
    for (size_t kind = 0; kind < m_expectedAlive.size(); ++kind) {
        EXPECT_EQ(Cameras::NumOpen(static_cast<OptivoObjectKind>(kind)), m_expectedAlive[kind])
            << NAMES[kind] << " of the camera library are still open";
    }
    EXPECT_EQ(Cameras::NumMisuses(), 0U);
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
    ASSERT_TRUE(Cameras::SetFrameRate(camera, -1));
    OpenStream();
}

size_t StreamTest::PayloadSize() {
    return static_cast<size_t>(StreamNumber(Producer::IsStandard() ? 7 : 9));
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
    ASSERT_TRUE(Cameras::ProduceImages(camera, count));
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
