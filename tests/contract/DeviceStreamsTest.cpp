#include "DeviceFixtures.h"

namespace {

// Streams are opened under any ID, and the device keeps a list of them.
class StreamListTest : public DeviceTest {
protected:
    DS_HANDLE Open(const std::string& id) {
        DS_HANDLE handle = nullptr;
        EXPECT_OK(gentl.DevOpenDataStream(device, id.c_str(), &handle));
        EXPECT_NE(handle, nullptr);
        return handle;
    }

    std::string StreamId(DS_HANDLE handle) {
        return Ask([&](auto... out) { return gentl.DSGetInfo(handle, 0, out...); }).Text();
    }

    const KindCount NumStreamsAlive{OPTIVO_OBJECT_STREAM};
    static uint64_t NumOpenings() { return OptivoSim_NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM); }
};

TEST_F(StreamListTest, SameIdIsTheSameStream) {
    const DS_HANDLE first = Open("DS0");
    EXPECT_EQ(Open("DS0"), first);
    EXPECT_EQ(Open(std::string("DS0\0more", 8)), first);
    EXPECT_EQ(NumOpenings(), 1U);
}

TEST_F(StreamListTest, EveryOtherTextIsAStreamOfItsOwn) {
    const std::vector<std::string> ids = {"DS0",  "ds0",  "DS",   "D",
                                          "",     "DS1",  "DS00", "DS0 ",
                                          " DS0", "%s%n", "DS%d", std::string(10000, '7')};
    std::vector<DS_HANDLE> handles;
    for (const std::string& id : ids) {
        const DS_HANDLE handle = Open(id);
        for (DS_HANDLE other : handles) {
            EXPECT_NE(handle, other) << id;
        }
        handles.push_back(handle);
    }
    for (size_t i = 0; i < ids.size(); ++i) {
        EXPECT_EQ(Open(ids[i]), handles[i]);
        EXPECT_EQ(StreamId(handles[i]), ids[i]);
    }
    EXPECT_EQ(NumStreamsAlive(), ids.size());
    uint32_t count = 77;
    EXPECT_OK(gentl.DevGetNumDataStreams(device, &count));
    EXPECT_EQ(count, 1U);
}

TEST_F(StreamListTest, AsksTheCameraForTheNumberInTheId) {
    struct Row {
        const char* id;
        uint64_t index;
    };
    const Row rows[] = {{"DS0", 0}, {"DS7", 7},     {"DS12x", 12}, {"XY3", 3},
                        {"DSx", 0}, {"12345", 345}, {"D", 0},      {"", 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        Open(row.id);
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_OPEN_DATA_STREAM), row.index);
    }
}

TEST_F(StreamListTest, ClosedStreamIsForgotten) {
    const DS_HANDLE first = Open("DS0");
    const DS_HANDLE second = Open("DS1");
    const DS_HANDLE third = Open("DS2");
    EXPECT_OK(gentl.DSClose(second));
    EXPECT_EQ(NumStreamsAlive(), 2U);
    EXPECT_EQ(Open("DS0"), first);
    EXPECT_EQ(Open("DS2"), third);
    EXPECT_EQ(NumOpenings(), 3U);
    Open("DS1");
    EXPECT_EQ(NumOpenings(), 4U);
    EXPECT_OK(gentl.DSClose(first));
    EXPECT_EQ(Open("DS2"), third);
}

TEST_F(StreamListTest, ClosingAStreamForgetsNoOtherOfItsNumber) {
    const DS_HANDLE first = Open("DS1");
    const DS_HANDLE second = Open("XX1");
    const DS_HANDLE third = Open("1");
    EXPECT_OK(gentl.DSClose(second));
    EXPECT_OK(gentl.DSClose(third));
    EXPECT_EQ(Open("DS1"), first);
    EXPECT_EQ(StreamId(first), "DS1");
    EXPECT_EQ(NumStreamsAlive(), 1U);
}

TEST_F(StreamListTest, FailedOpeningLeavesNoStream) {
    DS_HANDLE none = this;
    for (const int32_t result : {-1, -1001, -1014, -10003, INT32_MIN}) {
        SCOPED_TRACE(result);
        AddLastingFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT, result, 1);
        EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS0", &none));
        AddLastingFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT_AFTER, result, 1);
        EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS0", &none));
        EXPECT_EQ(NumStreamsAlive(), 0U);
    }
    EXPECT_EQ(none, this);
    Open("DS0");
    EXPECT_EQ(NumStreamsAlive(), 1U);
}

TEST_F(StreamListTest, PositiveResultOpens) {
    AddLastingFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_RESULT_AFTER, 5, 1);
    EXPECT_EQ(StreamId(Open("DS0")), "DS0");
}

TEST_F(StreamListTest, NullStreamOfTheLibraryIsAFailure) {
    AddLastingFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_NULL_OBJECT, 0, 1);
    DS_HANDLE none = this;
    EXPECT_FAILS_WITH_TEXT(-1001, gentl.DevOpenDataStream(device, "DS0", &none));
    EXPECT_EQ(none, this);
    Open("DS0");
}

TEST_F(StreamListTest, MissingArgumentsOpenNothing) {
    DS_HANDLE none = this;
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevOpenDataStream(device, nullptr, &none));
    EXPECT_FAILS_WITH_TEXT(-1009, gentl.DevOpenDataStream(device, "DS0", nullptr));
    EXPECT_EQ(none, this);
    EXPECT_EQ(NumOpenings(), 0U);
}

class DeviceCloseTest : public StreamListTest {
protected:
    const KindCount NumDevicesAlive{OPTIVO_OBJECT_DEVICE};

    int32_t AccessStatus() {
        const Info info = Ask(
            [&](auto... out) { return gentl.IFGetDeviceInfo(iface, camera.c_str(), 5, out...); });
        return info.As<int32_t>();
    }
};

TEST_F(DeviceCloseTest, RefusesWhatIsNoDevice) {
    stream = Open("DS0");
    EXPECT_FAILS_UNRECORDED(-1006, gentl.DevClose(nullptr));
    for (const DEV_HANDLE wrong : {tl, iface, remote, stream}) {
        EXPECT_FAILS_UNRECORDED(-1006, gentl.DevClose(wrong));
    }
    EXPECT_EQ(NumDevicesAlive(), 1U);
}

TEST_F(DeviceCloseTest, GivesTheCameraBack) {
    EXPECT_EQ(AccessStatus(), 3);
    EXPECT_EQ(NumDevicesAlive(), 1U);
    EXPECT_OK(gentl.DevClose(device));
    device = nullptr;
    EXPECT_EQ(NumDevicesAlive(), 0U);
    EXPECT_EQ(AccessStatus(), 1);
    OpenDevice();
    EXPECT_EQ(NumDevicesAlive(), 1U);
}

TEST_F(DeviceCloseTest, ClosesItsStreams) {
    for (const char* id : {"DS0", "DS1", "other", ""}) {
        Open(id);
    }
    EXPECT_EQ(NumStreamsAlive(), 4U);
    CloseDevice();
    EXPECT_EQ(NumStreamsAlive(), 0U);
    EXPECT_EQ(NumDevicesAlive(), 0U);
}

TEST_F(DeviceCloseTest, ClosesItsStreamsBeforeTheCamera) {
    Open("DS0");
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE);
    AddLastingFault(OPTIVO_STREAM_CLOSE, OPTIVO_FAULT_HANG, 0, 1);
    std::thread closing([this] { CloseDevice(); });
    EXPECT_TRUE(Eventually([] { return OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE) == 1; }));
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE), before);
    OptivoSim_Release();
    closing.join();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE), before + 1);
}

TEST_F(DeviceCloseTest, RemovesTheEventCallback) {
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &event));
    ASSERT_EQ(OptivoSim_HasCallback(camera.c_str()), 1);
    CloseDevice();
    EXPECT_EQ(OptivoSim_HasCallback(camera.c_str()), 0);
    EXPECT_EQ(OptivoSim_FireEvent(camera.c_str(), 1, 1), 0);
}

TEST_F(DeviceCloseTest, TakesTheDeviceWhateverTheCameraAnswers) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_RESULT, OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        SCOPED_TRACE(kind);
        AddLastingFault(OPTIVO_DEVICE_CLOSE, kind, -1001, 1);
        LeavesAlive(OPTIVO_OBJECT_DEVICE, 1);
        if (kind == OPTIVO_FAULT_RESULT) {
            EXPECT_FAILS_UNRECORDED(0, gentl.DevClose(device));
        } else {
            EXPECT_FAILS(-1001, "Unspecified runtime error.", gentl.DevClose(device));
        }
        device = nullptr;
        // The interface has forgotten it, though the library has not.
        EXPECT_FAILS(-1001, "already opened device.(" + camera + ").",
                     gentl.IFOpenDevice(iface, camera.c_str(), 4, &device));
        OptivoSim_Reset();
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
        CloseAll();
        OpenSystem();
        OpenInterface();
        OpenDevice();
    }
}

TEST_F(DeviceCloseTest, SucceedsWhenItsStreamCannotBeClosed) {
    for (const OptivoFaultKind kind :
         {OPTIVO_FAULT_RESULT, OPTIVO_FAULT_GENERIC_EXCEPTION, OPTIVO_FAULT_FOREIGN_EXCEPTION}) {
        SCOPED_TRACE(kind);
        Open("DS0");
        AddLastingFault(OPTIVO_STREAM_CLOSE, kind, -1001, 1);
        LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
        EXPECT_FAILS_UNRECORDED(0, gentl.DevClose(device));
        device = remote = nullptr;
        EXPECT_EQ(NumDevicesAlive(), 0U);
        OpenDevice();
    }
}

TEST_F(DeviceCloseTest, InAnyOrder) {
    DEV_HANDLE other = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(iface, DeviceId(1).c_str(), 4, &other));
    EXPECT_OK(gentl.DevClose(device));
    device = other;
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 7, out...); }),
              TextInfo("10001"));
    EXPECT_EQ(NumDevicesAlive(), 1U);
}

TEST_F(DeviceCloseTest, MayComeAfterItsInterfaceAndSystem) {
    Open("DS0");
    CloseInterface();
    CloseSystem();
    EXPECT_EQ(Ask([&](auto... out) { return gentl.DevGetInfo(device, 0, out...); }),
              TextInfo(camera));
    EXPECT_EQ(Ask([&](auto... out) { return gentl.GCGetPortInfo(device, 11, out...); }),
              TextInfo(std::string_view("4.0.1.0\0", 8)));
    uint32_t width = 0;
    size_t size = sizeof width;
    EXPECT_OK(gentl.GCReadPort(remote, 0x400, &width, &size));
    EXPECT_EQ(width, 1280U);
    Open("DS1");
    EXPECT_EQ(NumStreamsAlive(), 2U);
    CloseDevice();
    EXPECT_EQ(NumStreamsAlive(), 0U);
    EXPECT_EQ(NumDevicesAlive(), 0U);
}

class BusyDeviceCloseTest : public StreamTest {
protected:
    const KindCount NumStreamsAlive{OPTIVO_OBJECT_STREAM};
    const KindCount NumDevicesAlive{OPTIVO_OBJECT_DEVICE};
};

TEST_F(BusyDeviceCloseTest, EndsTheAcquisitionOfItsStream) {
    StartWith(3);
    Produce(1);
    ASSERT_EQ(WaitBuffer().code, 0);
    ASSERT_EQ(OptivoSim_SetFrameRate(camera.c_str(), 0), 1);
    CloseDevice();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_STOP_ACQUISITION), 1U);
    EXPECT_EQ(NumStreamsAlive(), 0U);
    EXPECT_EQ(NumDevicesAlive(), 0U);
}

} // namespace
