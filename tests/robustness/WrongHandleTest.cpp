// Handles that mean nothing: closed ones, foreign and random values, those of another kind. Every
// function answers them like a null handle.
#include "ExportList.h"
#include "Streams.h"

#include <array>
#include <set>
#include <string>

namespace {

// Bytes that look like an object, and memory that must not be read.
struct Trap {
    std::array<uint64_t, 64> bytes{};
};

class WrongHandleTest : public SmallStreamTest {
protected:
    using Call = std::function<int32_t(void*)>;

    struct Function {
        const char* name;
        Call call;
        int32_t code; // of a null handle
    };

    std::vector<Function> SystemFunctions() {
        return {{"TLClose", [&](void* h) { return gentl.TLClose(h); }, -1006},
                {"TLGetInfo",
                 [&](void* h) { return gentl.TLGetInfo(h, 0, &m_type, m_bytes, &m_size); }, -1006},
                {"TLGetNumInterfaces",
                 [&](void* h) { return gentl.TLGetNumInterfaces(h, &m_number); }, -1006},
                {"TLGetInterfaceID",
                 [&](void* h) { return gentl.TLGetInterfaceID(h, 0, m_bytes, &m_size); }, -1006},
                {"TLGetInterfaceInfo",
                 [&](void* h) {
                     return gentl.TLGetInterfaceInfo(h, "GEV::eth0", 0, &m_type, m_bytes, &m_size);
                 },
                 -1006},
                {"TLOpenInterface",
                 [&](void* h) { return gentl.TLOpenInterface(h, "GEV::eth0", &m_opened); }, -1006},
                {"TLUpdateInterfaceList",
                 [&](void* h) { return gentl.TLUpdateInterfaceList(h, nullptr, 10); }, -1006}};
    }

    std::vector<Function> InterfaceFunctions() {
        return {
            {"IFClose", [&](void* h) { return gentl.IFClose(h); }, -1001},
            {"IFGetInfo", [&](void* h) { return gentl.IFGetInfo(h, 0, &m_type, m_bytes, &m_size); },
             -1001},
            {"IFGetNumDevices", [&](void* h) { return gentl.IFGetNumDevices(h, &m_number); },
             -1001},
            {"IFGetDeviceID", [&](void* h) { return gentl.IFGetDeviceID(h, 0, m_bytes, &m_size); },
             -1001},
            {"IFUpdateDeviceList",
             [&](void* h) { return gentl.IFUpdateDeviceList(h, nullptr, 10); }, -1001},
            {"IFGetDeviceInfo",
             [&](void* h) { return gentl.IFGetDeviceInfo(h, "x", 0, &m_type, m_bytes, &m_size); },
             -1001},
            {"IFOpenDevice", [&](void* h) { return gentl.IFOpenDevice(h, "x", 4, &m_opened); },
             -1001},
            {"IFGetParentTL", [&](void* h) { return gentl.IFGetParentTL(h, &m_opened); }, -1001}};
    }

    std::vector<Function> DeviceFunctions() {
        return {
            {"DevGetPort", [&](void* h) { return gentl.DevGetPort(h, &m_opened); }, -1001},
            {"DevGetNumDataStreams",
             [&](void* h) { return gentl.DevGetNumDataStreams(h, &m_number); }, -1001},
            {"DevGetDataStreamID",
             [&](void* h) { return gentl.DevGetDataStreamID(h, 0, m_bytes, &m_size); }, -1001},
            {"DevOpenDataStream",
             [&](void* h) { return gentl.DevOpenDataStream(h, "DS0", &m_opened); }, -1001},
            {"DevGetInfo",
             [&](void* h) { return gentl.DevGetInfo(h, 0, &m_type, m_bytes, &m_size); }, -1001},
            {"DevClose", [&](void* h) { return gentl.DevClose(h); }, -1006},
            {"DevGetParentIF", [&](void* h) { return gentl.DevGetParentIF(h, &m_opened); }, -1001}};
    }

    std::vector<Function> StreamFunctions() {
        return {
            {"DSAnnounceBuffer",
             [&](void* h) { return gentl.DSAnnounceBuffer(h, m_bytes, 8, nullptr, &m_opened); },
             -1001},
            {"DSAllocAndAnnounceBuffer",
             [&](void* h) { return gentl.DSAllocAndAnnounceBuffer(h, 8, nullptr, &m_opened); },
             -1001},
            {"DSRevokeBuffer",
             [&](void* h) { return gentl.DSRevokeBuffer(h, buffers[0], nullptr, nullptr); }, -1001},
            {"DSQueueBuffer", [&](void* h) { return gentl.DSQueueBuffer(h, buffers[0]); }, -1001},
            {"DSFlushQueue", [&](void* h) { return gentl.DSFlushQueue(h, 4); }, -1001},
            {"DSStartAcquisition", [&](void* h) { return gentl.DSStartAcquisition(h, 0, 1); },
             -1001},
            {"DSStopAcquisition", [&](void* h) { return gentl.DSStopAcquisition(h, 0); }, -1001},
            {"DSGetInfo", [&](void* h) { return gentl.DSGetInfo(h, 0, &m_type, m_bytes, &m_size); },
             -1001},
            {"DSGetBufferInfo",
             [&](void* h) {
                 return gentl.DSGetBufferInfo(h, buffers[0], 0, &m_type, m_bytes, &m_size);
             },
             -1001},
            {"DSGetBufferID", [&](void* h) { return gentl.DSGetBufferID(h, 0, &m_opened); }, -1001},
            {"DSClose", [&](void* h) { return gentl.DSClose(h); }, -1001},
            {"DSGetParentDev", [&](void* h) { return gentl.DSGetParentDev(h, &m_opened); }, -1001},
            {"DSGetBufferChunkData",
             [&](void* h) { return gentl.DSGetBufferChunkData(h, buffers[0], &m_chunk, &m_size); },
             -1001},
            {"DSGetNumBufferParts",
             [&](void* h) { return gentl.DSGetNumBufferParts(h, buffers[0], &m_number); }, -1001},
            {"DSGetBufferPartInfo",
             [&](void* h) {
                 return gentl.DSGetBufferPartInfo(h, buffers[0], 0, 0, &m_type, m_bytes, &m_size);
             },
             -1001}};
    }

    std::vector<Function> BufferFunctions() {
        return {{"DSQueueBuffer", [&](void* h) { return gentl.DSQueueBuffer(stream, h); }, -1001},
                {"DSRevokeBuffer",
                 [&](void* h) { return gentl.DSRevokeBuffer(stream, h, nullptr, nullptr); }, -1001},
                {"DSGetBufferInfo",
                 [&](void* h) {
                     return gentl.DSGetBufferInfo(stream, h, 0, &m_type, m_bytes, &m_size);
                 },
                 -1001},
                // What is not there is so for every buffer.
                {"DSGetBufferChunkData",
                 [&](void* h) { return gentl.DSGetBufferChunkData(stream, h, &m_chunk, &m_size); },
                 -1003},
                {"DSGetNumBufferParts",
                 [&](void* h) { return gentl.DSGetNumBufferParts(stream, h, &m_number); }, -1003},
                {"DSGetBufferPartInfo",
                 [&](void* h) {
                     return gentl.DSGetBufferPartInfo(stream, h, 0, 0, &m_type, m_bytes, &m_size);
                 },
                 -1003}};
    }

    std::vector<Function> PortFunctions() {
        return {
            {"GCReadPort", [&](void* h) { return gentl.GCReadPort(h, 4, m_bytes, &m_size); },
             -1006},
            {"GCWritePort", [&](void* h) { return gentl.GCWritePort(h, 4, m_bytes, &m_size); },
             -1006},
            {"GCReadPortStacked",
             [&](void* h) { return gentl.GCReadPortStacked(h, &m_entry, &m_size); }, -1006},
            {"GCWritePortStacked",
             [&](void* h) { return gentl.GCWritePortStacked(h, &m_entry, &m_size); }, -1006},
            {"GCGetPortURL", [&](void* h) { return gentl.GCGetPortURL(h, m_bytes, &m_size); },
             -1006},
            {"GCGetNumPortURLs", [&](void* h) { return gentl.GCGetNumPortURLs(h, &m_number); },
             -1006},
            {"GCGetPortURLInfo",
             [&](void* h) { return gentl.GCGetPortURLInfo(h, 0, 0, &m_type, m_bytes, &m_size); },
             -1006},
            {"GCGetPortInfo",
             [&](void* h) { return gentl.GCGetPortInfo(h, 0, &m_type, m_bytes, &m_size); }, -1006},
            {"GCRegisterEvent", [&](void* h) { return gentl.GCRegisterEvent(h, 0, &m_opened); },
             -1006},
            {"GCUnregisterEvent", [&](void* h) { return gentl.GCUnregisterEvent(h, 0); }, -1006}};
    }

    std::vector<Function> EventFunctions() {
        return {{"EventGetData",
                 [&](void* h) { return gentl.EventGetData(h, m_bytes, &m_size, 0); }, -1006},
                {"EventGetDataInfo",
                 [&](void* h) {
                     return gentl.EventGetDataInfo(h, m_bytes, 24, 0, &m_type, m_bytes, &m_size);
                 },
                 -1006},
                {"EventGetInfo",
                 [&](void* h) { return gentl.EventGetInfo(h, 1, &m_type, m_bytes, &m_size); },
                 -1006},
                {"EventFlush", [&](void* h) { return gentl.EventFlush(h); }, -1006},
                {"EventKill", [&](void* h) { return gentl.EventKill(h); }, -1006}};
    }

    // Every function that takes a handle, by its first one.
    std::vector<std::vector<Function>> AllFunctions() {
        return {SystemFunctions(), InterfaceFunctions(), DeviceFunctions(),
                StreamFunctions(), PortFunctions(),      EventFunctions()};
    }

    // What the call records; where that is nothing, the error that was recorded before it.
    ErrorRecord RecordedBy(const Function& function, void* value) {
        Fill();
        EXPECT_TRUE(RecordOtherError());
        EXPECT_EQ(function.call(value), function.code);
        EXPECT_TRUE(IsUntouched());
        return LastError();
    }

    // Every value is answered by code and text as null is, and no output is touched.
    void ExpectLikeNull(const std::vector<Function>& functions, const std::vector<void*>& values) {
        ASSERT_TRUE(RecordOtherError());
        const ErrorRecord other = LastError();
        for (const Function& function : functions) {
            SCOPED_TRACE(function.name);
            const ErrorRecord expected = RecordedBy(function, nullptr);
            EXPECT_EQ(expected == other, std::string(function.name) == "DevClose");
            for (void* value : values) {
                SCOPED_TRACE(value);
                EXPECT_EQ(RecordedBy(function, value), expected);
            }
        }
    }

    // Values that never were handles: numbers, and addresses of the consumer's own memory.
    std::vector<void*> ForeignValues() {
        std::vector<void*> values = {&m_trap, &m_trap.bytes[1], m_bytes};
        for (const uintptr_t number : {uintptr_t{1}, uintptr_t{2}, uintptr_t{0x1000}, UINTPTR_MAX,
                                       UINTPTR_MAX / 2, uintptr_t{0xDEADBEEF}}) {
            values.push_back(reinterpret_cast<void*>(number));
        }
        for (char* handle : {static_cast<char*>(tl), static_cast<char*>(stream)}) {
            values.push_back(handle + 1);
            values.push_back(handle + 8);
        }
        return values;
    }

    void Fill() {
        std::fill(std::begin(m_bytes), std::end(m_bytes), '#');
        m_size = sizeof m_bytes;
        m_number = 77;
        m_type = 77;
        m_opened = this;
        m_chunk.ChunkID = 77;
    }

    bool IsUntouched() const {
        return m_size == sizeof m_bytes && m_number == 77 && m_type == 77 && m_opened == this &&
               m_chunk.ChunkID == 77 &&
               std::all_of(std::begin(m_bytes), std::end(m_bytes), [](char c) { return c == '#'; });
    }

    char m_bytes[64]{};
    size_t m_size = 0;
    uint32_t m_number = 0;
    INFO_DATATYPE m_type = 0;
    void* m_opened = nullptr;
    SINGLE_CHUNK_DATA m_chunk{};
    Trap m_trap;
    PORT_REGISTER_STACK_ENTRY m_entry = {4, m_bytes, 4};
};

TEST_F(WrongHandleTest, OfEveryFunctionThatTakesOne) {
    std::set<std::string> known = {"GCInitLib", "GCCloseLib", "GCGetInfo", "GCGetLastError",
                                   "TLOpen"};
    for (const auto& functions : AllFunctions()) {
        for (const Function& function : functions) {
            known.insert(function.name);
        }
    }
    EXPECT_EQ(known, ExportedFunctions());
}

TEST_F(WrongHandleTest, ForeignValues) {
    AnnounceBuffers(1);
    const std::vector<void*> values = ForeignValues();
    for (const auto& functions : AllFunctions()) {
        ExpectLikeNull(functions, values);
    }
    ExpectLikeNull(BufferFunctions(), values);
}

TEST_F(WrongHandleTest, OfAnotherKind) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    void* const buffer = buffers[0];
    ExpectLikeNull(SystemFunctions(), {iface, device, remote, stream, buffer, newBuffer});
    ExpectLikeNull(InterfaceFunctions(), {tl, device, remote, stream, buffer, newBuffer});
    ExpectLikeNull(DeviceFunctions(), {tl, iface, remote, stream, buffer, newBuffer});
    ExpectLikeNull(StreamFunctions(), {tl, iface, device, remote, buffer, newBuffer});
    ExpectLikeNull(BufferFunctions(), {tl, iface, device, remote, stream, newBuffer});
    ExpectLikeNull(PortFunctions(), {newBuffer});
    ExpectLikeNull(EventFunctions(), {tl, iface, device, remote, stream, buffer});
}

TEST_F(WrongHandleTest, OfARevokedBuffer) {
    AnnounceBuffers(2);
    void* const revoked = buffers[1];
    ASSERT_OK(gentl.DSRevokeBuffer(stream, revoked, nullptr, nullptr));
    ExpectLikeNull(BufferFunctions(), {revoked});
    ExpectLikeNull(PortFunctions(), {revoked});
}

// A consumer's clean-up code closes everything that it holds, in any order.
TEST_F(WrongHandleTest, OfWhatItsParentClosed) {
    AnnounceBuffers(1);
    ASSERT_NO_FATAL_FAILURE(RegisterNewBuffer());
    EVENT_HANDLE deviceEvent = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &deviceEvent));
    void* const closedStream = stream;
    void* const closedDevice = device;
    void* const closedPort = remote;
    void* const closedEvent = newBuffer;
    CloseDevice();
    ExpectLikeNull(StreamFunctions(), {closedStream, closedDevice});
    ExpectLikeNull(DeviceFunctions(), {closedDevice, closedStream});
    ExpectLikeNull(PortFunctions(), {closedPort, closedDevice, closedStream, buffers[0]});
    ExpectLikeNull(EventFunctions(), {closedEvent, deviceEvent});
    void* const closedInterface = iface;
    void* const closedSystem = tl;
    CloseSystem();
    ExpectLikeNull(InterfaceFunctions(), {closedInterface});
    ExpectLikeNull(SystemFunctions(), {closedSystem});
    ExpectLikeNull(PortFunctions(), {closedInterface, closedSystem});
}

TEST_F(WrongHandleTest, ClosedTwice) {
    void* const closed = stream;
    CloseStream();
    EXPECT_FAILS(-1001, "Invalid Device Handle", gentl.DSClose(closed));
    void* const closedDevice = device;
    CloseDevice();
    EXPECT_FAILS_UNRECORDED(-1006, gentl.DevClose(closedDevice));
    void* const closedInterface = iface;
    CloseInterface();
    EXPECT_FAILS(-1001, "Unspecified runtime error.", gentl.IFClose(closedInterface));
    void* const closedSystem = tl;
    CloseSystem();
    EXPECT_FAILS(-1006, " Invalid TL handle", gentl.TLClose(closedSystem));
    EXPECT_EQ(OptivoSim_NumDoubleCloses(), 0U);
    EXPECT_EQ(OptivoSim_NumUsesAfterClose(), 0U);
}

} // namespace
