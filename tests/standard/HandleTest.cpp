// Handles that mean nothing here: every function answers -1006, and follows none of them.
#include "Calls.h"
#include "StandardFixtures.h"

#include <array>

namespace {

class StandardHandleTest : public StandardStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StandardStreamTest::SetUp());
        AnnounceBuffers(1);
        RegisterNewBuffer();
    }

    void ExpectInvalid(const Call& call, void* handle) {
        SCOPED_TRACE(call.name);
        EXPECT_REFUSES(-1006, call.make(gentl, handle, stream));
    }

    void ExpectInvalid(const std::vector<void*>& handles) {
        for (const Call& call : AllCalls()) {
            for (void* handle : handles) {
                ExpectInvalid(call, handle);
            }
        }
    }

    // Every function that does not take a handle of this kind.
    void ExpectOnlyTakenBy(void* handle, std::vector<Takes> kinds) {
        for (const Call& call : AllCalls()) {
            if (std::find(kinds.begin(), kinds.end(), call.takes) == kinds.end()) {
                ExpectInvalid(call, handle);
            }
        }
    }
};

TEST_F(StandardHandleTest, Null) {
    ExpectInvalid({nullptr});
}

TEST_F(StandardHandleTest, RandomNumbers) {
    std::vector<void*> handles;
    for (const uint64_t number :
         {1ULL, 8ULL, 0x1000ULL, 0xDEADBEEFDEADBEEFULL, 0x7FFFFFFFFFF8ULL, 0xFFFFFFFFFFFFFFFFULL}) {
        handles.push_back(reinterpret_cast<void*>(static_cast<uintptr_t>(number)));
    }
    ExpectInvalid(handles);
}

TEST_F(StandardHandleTest, AddressesOfOtherThings) {
    std::array<uint64_t, 16> memory{};
    ExpectInvalid(
        {memory.data(), this, static_cast<char*>(device) + 8, static_cast<char*>(buffers[0]) + 1});
}

TEST_F(StandardHandleTest, OfASystem) {
    ExpectOnlyTakenBy(tl, {Takes::System, Takes::Port, Takes::Source});
}

TEST_F(StandardHandleTest, OfAnInterface) {
    ExpectOnlyTakenBy(iface, {Takes::Interface, Takes::Port, Takes::Source});
}

TEST_F(StandardHandleTest, OfADevice) {
    ExpectOnlyTakenBy(device, {Takes::Device, Takes::Port, Takes::Source});
}

TEST_F(StandardHandleTest, OfARemotePort) {
    ExpectOnlyTakenBy(remote, {Takes::Port, Takes::Source});
}

TEST_F(StandardHandleTest, OfAStream) {
    ExpectOnlyTakenBy(stream, {Takes::Stream, Takes::Port, Takes::Source});
}

TEST_F(StandardHandleTest, OfABuffer) {
    ExpectOnlyTakenBy(buffers[0], {Takes::Buffer, Takes::Port, Takes::Source});
}

TEST_F(StandardHandleTest, OfAnEvent) {
    ExpectOnlyTakenBy(newBuffer, {Takes::Event});
}

TEST_F(StandardHandleTest, ThatAreClosed) {
    const std::vector<void*> closed = {tl, iface, device, remote, stream, buffers[0], newBuffer};
    CloseSystem();
    ExpectInvalid(closed);
}

TEST_F(StandardHandleTest, OfARevokedBuffer) {
    ASSERT_OK(gentl.DSRevokeBuffer(stream, buffers[0], nullptr, nullptr));
    ExpectInvalid({buffers[0]});
}

TEST_F(StandardHandleTest, OfAnUnregisteredEvent) {
    ASSERT_OK(gentl.GCUnregisterEvent(stream, 1));
    ExpectInvalid({newBuffer});
}

TEST_F(StandardHandleTest, OfTheModuleBelow) {
    Producer& first = TheFirst();
    TL_HANDLE firstSystem = nullptr;
    IF_HANDLE firstInterface = nullptr;
    ASSERT_OK(first.TLOpen(&firstSystem));
    ASSERT_OK(first.TLOpenInterface(firstSystem, "GEV::eth0", &firstInterface));
    ASSERT_OK(first.IFUpdateDeviceList(firstInterface, nullptr, LONG_WAIT));
    DEV_HANDLE firstDevice = nullptr;
    ASSERT_OK(first.IFOpenDevice(firstInterface, "Norvel-G1300C-10002", 4, &firstDevice));
    PORT_HANDLE firstPort = nullptr;
    ASSERT_OK(first.DevGetPort(firstDevice, &firstPort));
    DS_HANDLE firstStream = nullptr;
    ASSERT_OK(first.DevOpenDataStream(firstDevice, "DS0", &firstStream));
    BUFFER_HANDLE firstBuffer = nullptr;
    ASSERT_OK(first.DSAllocAndAnnounceBuffer(firstStream, 64, nullptr, &firstBuffer));
    EVENT_HANDLE firstEvent = nullptr;
    ASSERT_OK(first.GCRegisterEvent(firstStream, 1, &firstEvent));
    ExpectInvalid({firstSystem, firstInterface, firstDevice, firstPort, firstStream, firstBuffer,
                   firstEvent});
    EXPECT_OK(first.TLClose(firstSystem));
}

TEST_F(StandardHandleTest, OfABufferOfAnotherStream) {
    ASSERT_EQ(OptivoSim_SetNumStreams(camera.c_str(), 2), 1);
    const DS_HANDLE another = OpenAnother();
    for (const Call& call : AllCalls()) {
        if (call.takes == Takes::Buffer) {
            SCOPED_TRACE(call.name);
            EXPECT_REFUSES(-1006, call.make(gentl, buffers[0], another));
        }
    }
}

TEST_F(StandardHandleTest, ClosedTwice) {
    void* const closedStream = stream;
    CloseStream();
    EXPECT_REFUSES(-1006, gentl.DSClose(closedStream));
    void* const closedDevice = device;
    CloseDevice();
    EXPECT_REFUSES(-1006, gentl.DevClose(closedDevice));
    void* const closedInterface = iface;
    CloseInterface();
    EXPECT_REFUSES(-1006, gentl.IFClose(closedInterface));
    void* const closedSystem = tl;
    CloseSystem();
    EXPECT_REFUSES(-1006, gentl.TLClose(closedSystem));
}

} // namespace
