// The ladder of fixtures of the contract tests, which opens the modules one inside the other.
// Knows the module only through its exported functions, and the camera library through OptivoSim.h.
#pragma once

#include "Checks.h"
#include "OptivoSim.h"
#include "Producer.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <thread>
#include <vector>

// The cameras of the first interface: a monochrome and a colour one.
inline constexpr char LEFT[] = "Norvel-G640M-10001";
inline constexpr char RIGHT[] = "Norvel-G1300C-10002";

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
