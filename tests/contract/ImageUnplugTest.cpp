// A camera whose plug is pulled while it streams, and that is plugged in again.
#include "CameraFeatureFixtures.h"
#include "DeviceFixtures.h"

namespace {

class ImageUnplugTest : public CameraFeatureTest {
protected:
    void Unplug() { ASSERT_EQ(OptivoSim_Unplug(camera.c_str()), 1); }
    void Plug() { ASSERT_EQ(OptivoSim_Plug(camera.c_str()), 1); }

    // The stream runs, one of its two buffers was filled and fetched, and the camera is gone.
    void UnplugWhileStreaming() {
        StartWith(2);
        Produce(1);
        ASSERT_OK(WaitBuffer().code);
        Unplug();
        ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    }

    void ExpectDeadPort() {
        EXPECT_REFUSED(-1010, "Read register 0x400 is failed.", feature->Int("Width"));
        EXPECT_REFUSED(-1010, "Read register 0x400 is failed.", feature->SetInt("Width", 32));
        EXPECT_REFUSED(-1010, "Read register 0x200 is failed.",
                       feature->SetText("DeviceUserID", ""));
        EXPECT_REFUSED(-1010, "Read register 0x500 is failed.",
                       feature->Execute("AcquisitionStart"));
    }

    bool UpdateList() {
        bool8_t changed = 99;
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, &changed, LONG_WAIT));
        return changed != 0;
    }

    std::vector<std::string> ListedCameras() {
        std::vector<std::string> names;
        for (uint32_t i = 0; i < NumDevices(); ++i) {
            names.push_back(DeviceId(i));
        }
        return names;
    }

    void ExpectOpeningFails(int32_t code, const char* text) {
        DEV_HANDLE opened = this;
        EXPECT_FAILS(code, text, gentl.IFOpenDevice(iface, MONO_CAMERA, 4, &opened));
        EXPECT_EQ(opened, this);
    }
};

TEST_F(ImageUnplugTest, EndsTheAcquisition) {
    UnplugWhileStreaming();
    EXPECT_FAILS(-1001, "Port is not available", WaitBuffer(1).code);
    EXPECT_EQ(NumDelivered(), 1U);
    EXPECT_EQ(NumUnderrun(), 0U);
    ExpectLengths(1, 0);
}

TEST_F(ImageUnplugTest, LeavesWhatWasDelivered) {
    Deliver(3);
    Unplug();
    ASSERT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    for (uint64_t number = 0; number < 3; ++number) {
        const NewBuffer image = WaitBuffer();
        ASSERT_OK(image.code);
        EXPECT_TRUE(HoldsImage(Memory(image.handle), number));
    }
}

TEST_F(ImageUnplugTest, EndsAFastAcquisition) {
    SetRate(0);
    StartWith(4);
    for (int i = 0; i < 20; ++i) {
        NextStamp();
    }
    Unplug();
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
}

TEST_F(ImageUnplugTest, EndsAWaitForALateImage) {
    const OptivoImageFault fault = {OPTIVO_IMAGE_LATE, 3600000, 0, 1, 0, 0};
    ASSERT_EQ(OptivoSim_AddImageFault(camera.c_str(), &fault), 1);
    StartWith(2);
    Produce(1);
    Unplug();
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
}

TEST_F(ImageUnplugTest, PortsAreDead) {
    UnplugWhileStreaming();
    ExpectDeadPort();
    char url[512] = "before";
    size_t size = sizeof url;
    EXPECT_FAILS(-1013, "Buffer too small", gentl.GCGetPortURL(remote, url, &size));
    EXPECT_STREQ(url, "before");
}

TEST_F(ImageUnplugTest, NoOtherStreamOpens) {
    UnplugWhileStreaming();
    DS_HANDLE another = this;
    EXPECT_FAILS(-1001, "Unable to open Stream", gentl.DevOpenDataStream(device, "DS1", &another));
    EXPECT_EQ(another, this);
}

TEST_F(ImageUnplugTest, StreamThatIsStartedAgainEndsAtOnce) {
    UnplugWhileStreaming();
    Stop();
    Start();
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    EXPECT_FAILS(-1001, "Port is not available", WaitBuffer(1).code);
    EXPECT_EQ(NumDelivered(), 0U);
}

TEST_F(ImageUnplugTest, CameraVanishesFromTheNextList) {
    UnplugWhileStreaming();
    EXPECT_EQ(ListedCameras(), (std::vector<std::string>{BAYER_CAMERA, MONO_CAMERA}));
    EXPECT_TRUE(UpdateList());
    EXPECT_EQ(ListedCameras(), std::vector<std::string>{BAYER_CAMERA});
    EXPECT_FALSE(UpdateList());
    Plug();
    EXPECT_EQ(ListedCameras(), std::vector<std::string>{BAYER_CAMERA});
    EXPECT_TRUE(UpdateList());
    EXPECT_EQ(ListedCameras(), (std::vector<std::string>{BAYER_CAMERA, MONO_CAMERA}));
}

TEST_F(ImageUnplugTest, OpeningFails) {
    UnplugWhileStreaming();
    ExpectOpeningFails(-1004, "Device already open");
    CloseAll();
    OpenSystem();
    OpenInterface();
    Plug();
    UpdateList();
    Unplug();
    ExpectOpeningFails(-1001, "Unable to open device Norvel-G640M-10001");
    UpdateList();
    ExpectOpeningFails(-1001, "Unspecified runtime error.");
}

TEST_F(ImageUnplugTest, StreamAndDeviceCloseOnce) {
    UnplugWhileStreaming();
    const uint64_t before = OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE);
    CloseStream();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE), 1U);
    CloseDevice();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE), 1U);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_DEVICE_CLOSE), before + 1);
}

TEST_F(ImageUnplugTest, DeviceClosesItsStream) {
    UnplugWhileStreaming();
    const uint64_t numStreams = OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM);
    const uint64_t numDevices = OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE);
    CloseDevice();
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_STREAM_CLOSE), 1U);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_STREAM), numStreams - 1);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), numDevices - 1);
}

TEST_F(ImageUnplugTest, OpensAnewOncePluggedIn) {
    UnplugWhileStreaming();
    CloseDevice();
    buffers.clear();
    Plug();
    UpdateList();
    OpenDevice(1);
    ASSERT_EQ(camera, MONO_CAMERA);
    OpenStream();
    ASSERT_NE(stream, nullptr);
    StartWith(2);
    Produce(2);
    EXPECT_TRUE(HoldsImage(Memory(WaitBuffer().handle), 0));
    EXPECT_TRUE(HoldsImage(Memory(WaitBuffer().handle), 1));
}

TEST_F(ImageUnplugTest, OldHandlesStayDead) {
    UnplugWhileStreaming();
    Plug();
    UpdateList();
    ExpectDeadPort();
    ExpectOpeningFails(-1004, "Device already open");
    Start();
    Produce(1);
    EXPECT_TRUE(Eventually([&] { return !IsGrabbing(); }));
    EXPECT_EQ(NumDelivered(), 0U);
}

// The part of a program that lost the camera neither blocks nor disturbs another that opens it.
TEST_F(ImageUnplugTest, OpensAnewWhileOldHandlesAreOpen) {
    UnplugWhileStreaming();
    Plug();
    TL_HANDLE otherTl = nullptr;
    IF_HANDLE otherInterface = nullptr;
    DEV_HANDLE otherDevice = nullptr;
    PORT_HANDLE otherRemote = nullptr;
    ASSERT_OK(gentl.TLOpen(&otherTl));
    ASSERT_OK(gentl.TLOpenInterface(otherTl, interfaceId.c_str(), &otherInterface));
    ASSERT_OK(gentl.IFUpdateDeviceList(otherInterface, nullptr, LONG_WAIT));
    ASSERT_OK(gentl.IFOpenDevice(otherInterface, MONO_CAMERA, 4, &otherDevice));
    ASSERT_OK(gentl.DevGetPort(otherDevice, &otherRemote));
    const GenApi others(gentl, otherRemote);
    EXPECT_NO_THROW(others.SetInt("Width", 32)) << "the old stream locks the payload";
    Stop();
    Start();
    EXPECT_NO_THROW(others.SetInt("Width", 32)) << "the old stream started again";
    ExpectDeadPort();
    CloseDevice();
    EXPECT_EQ(others.Int("Width"), 32);
    DEV_HANDLE third = this;
    UpdateList();
    EXPECT_FAILS(-1001, "already opened device.(Norvel-G640M-10001).",
                 gentl.IFOpenDevice(iface, MONO_CAMERA, 4, &third));
    EXPECT_OK(gentl.DevClose(otherDevice));
    EXPECT_OK(gentl.TLClose(otherTl));
    CloseInterface();
}

TEST_F(ImageUnplugTest, LockEndsWithTheConnection) {
    feature->SetInt("TLParamsLocked", 1);
    Unplug();
    Plug();
    CloseDevice();
    UpdateList();
    OpenDevice(1);
    feature.emplace(gentl, remote);
    EXPECT_EQ(feature->Int("TLParamsLocked"), 0);
}

TEST_F(ImageUnplugTest, IsDescribedNoMore) {
    CloseAll();
    OpenSystem();
    OpenInterface();
    Unplug();
    EXPECT_EQ(OptivoSim_Unplug("nobody"), 0);
    EXPECT_EQ(OptivoSim_Plug("nobody"), 0);
    // The list still tells what the last update found.
    EXPECT_EQ(
        Ask([&](auto... out) { return gentl.IFGetDeviceInfo(iface, MONO_CAMERA, 2, out...); }),
        TextInfo("G640M"));
    UpdateList();
    char model[64] = {};
    size_t size = sizeof model;
    EXPECT_FAILS(-1001, "Unable to find device Norvel-G640M-10001",
                 gentl.IFGetDeviceInfo(iface, MONO_CAMERA, 2, nullptr, model, &size));
}

TEST_F(ImageUnplugTest, NoEventsOfFramesFollow) {
    EVENT_HANDLE event = nullptr;
    ASSERT_OK(gentl.GCRegisterEvent(remote, 4, &event));
    feature->SetEntry("EventNotification", "On");
    UnplugWhileStreaming();
    EXPECT_EQ(DeviceEvent::Read(event, LONG_WAIT), DeviceEvent::Of(0x9001, 0));
    Produce(5);
    Stop();
    EXPECT_EQ(DeviceEvent::Read(event, 30), DeviceEvent::Nothing());
}

} // namespace
