// The operations of the camera library itself, without the module above it: what each answers to
// arguments that no sound caller has. Whatever else goes wrong, an exception would end a test.
#include "Cameras.h"
#include "Checks.h"

#include "camlib/CameraLibrary.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace Optivo;

constexpr Int32 OK = 0;
constexpr Int32 ERROR = -1001;
constexpr Int32 IN_USE = -1004;
constexpr Int32 ACCESS_DENIED = -1005;
constexpr Int32 INVALID_ID = -1007;
constexpr Int32 INVALID_PARAMETER = -1009;
constexpr Int32 BUFFER_TOO_SMALL = -1013;
constexpr Int32 NOT_AVAILABLE = -1014;
constexpr Int32 INVALID_ADDRESS = -1015;
constexpr UInt32 ALL = 0xFFFFFFFF;

template <typename Object>
struct Closes {
    void operator()(Object* object) const { EXPECT_EQ(object->Close(), OK); }
};

// A camera is on the wire, and its stream is open.
class OperationTest : public testing::Test {
protected:
    void SetUp() override {
        Cameras::Prepare();
        ICamSystem* newSystem = nullptr;
        ASSERT_EQ(GetSystem(&newSystem), OK);
        system.reset(newSystem);
        ICamInterface* newInterface = nullptr;
        ASSERT_EQ(system->OpenInterface("GigEVision", &newInterface), OK);
        interface.reset(newInterface);
        UInt32 count = 0;
        ASSERT_EQ(interface->UpdateDeviceList(&count, 3000), OK);
        ASSERT_EQ(count, 1U);
        ICamDevice* newDevice = nullptr;
        ASSERT_EQ(interface->OpenDevice(Cameras::GREY_CAMERA, &newDevice), OK);
        device.reset(newDevice);
        ASSERT_TRUE(Cameras::SetImageSize(Cameras::GREY_CAMERA, 64, 48));
        ICamStream* newStream = nullptr;
        ASSERT_EQ(device->OpenDataStream(0, &newStream), OK);
        stream.reset(newStream);
    }

    UInt64 StreamNumber(UInt32 command) {
        UInt64 number = 0;
        Size length =
            command == kStreamImageReady || command == kStreamCustom7 || command == kStreamCustom8
                ? 4
                : 8;
        EXPECT_EQ(stream->GetStreamInfo(command, &number, &length), OK) << command;
        return number;
    }

    Int32 SetWaitTime(UInt32 milliseconds) {
        Size length = sizeof milliseconds;
        return stream->SetStreamParameter(kStreamTimeout, &milliseconds, &length);
    }

    template <typename Object>
    using Ptr = std::unique_ptr<Object, Closes<Object>>;
    Ptr<ICamSystem> system;
    Ptr<ICamInterface> interface;
    Ptr<ICamDevice> device;
    Ptr<ICamStream> stream;
    std::array<char, 4096> bytes{};
    Size size = bytes.size();
};

// The ladder of a text: no buffer, no size, too small, as large as it says.
template <typename Call>
void ExpectTextLadder(const Call& call) {
    std::array<char, 256> text{};
    Size size = text.size();
    EXPECT_EQ(call(nullptr, &size), INVALID_PARAMETER);
    EXPECT_EQ(call(text.data(), nullptr), INVALID_PARAMETER);
    size = 0;
    EXPECT_EQ(call(text.data(), &size), BUFFER_TOO_SMALL);
    EXPECT_GT(size, 0U);
    EXPECT_EQ(call(text.data(), &size), OK);
}

TEST_F(OperationTest, OfTheSystem) {
    EXPECT_EQ(GetSystem(nullptr), INVALID_PARAMETER);
    EXPECT_EQ(system->UpdateInterfaceList(nullptr, ALL), INVALID_PARAMETER);
    ExpectTextLadder(
        [&](char* text, Size* length) { return system->GetInterfaceName(0, text, length); });
    EXPECT_EQ(system->GetInterfaceName(2, bytes.data(), &size), INVALID_PARAMETER);
    EXPECT_EQ(system->GetInterfaceName(ALL, bytes.data(), &size), INVALID_PARAMETER);
    ICamInterface* other = nullptr;
    const std::string endless(1 << 20, 'x');
    for (const char* name : {"", "eth0", "GEV::", endless.c_str()}) {
        EXPECT_EQ(system->OpenInterface(name, &other), INVALID_ID);
        EXPECT_EQ(system->GetInterface(name, &other), INVALID_ID);
    }
    EXPECT_EQ(system->OpenInterface(nullptr, &other), INVALID_PARAMETER);
    EXPECT_EQ(system->OpenInterface("GigEVision", nullptr), INVALID_PARAMETER);
    EXPECT_EQ(system->GetInterface(nullptr, nullptr), INVALID_PARAMETER);
    EXPECT_EQ(other, nullptr);
}

TEST_F(OperationTest, OfTheInterface) {
    EXPECT_EQ(interface->UpdateDeviceList(nullptr, 0), INVALID_PARAMETER);
    UInt32 count = 0;
    EXPECT_EQ(interface->UpdateDeviceList(&count, 0), OK);
    EXPECT_EQ(count, 1U);
    ExpectTextLadder(
        [&](char* text, Size* length) { return interface->GetDeviceName(0, text, length); });
    EXPECT_EQ(interface->GetDeviceName(ALL, bytes.data(), &size), INVALID_PARAMETER);
    ICamDevice* other = nullptr;
    const std::string endless(1 << 20, 'x');
    for (const char* name : {"", "Aravis", endless.c_str()}) {
        EXPECT_EQ(interface->GetDevice(name, &other), INVALID_ID);
        EXPECT_EQ(interface->OpenDevice(name, &other), ERROR);
    }
    EXPECT_EQ(interface->GetDevice(nullptr, &other), INVALID_PARAMETER);
    EXPECT_EQ(interface->OpenDevice(nullptr, &other), INVALID_PARAMETER);
    EXPECT_EQ(interface->OpenDevice(Cameras::GREY_CAMERA, nullptr), INVALID_PARAMETER);
    EXPECT_EQ(interface->OpenDevice(Cameras::GREY_CAMERA, &other), ACCESS_DENIED);
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(interface->ReadPort(0x100, nullptr, &size), INVALID_PARAMETER);
    EXPECT_EQ(interface->ReadPort(0x100, bytes.data(), nullptr), INVALID_PARAMETER);
    EXPECT_EQ(interface->WritePort(0x100, nullptr, &size), INVALID_PARAMETER);
    size = 4;
    EXPECT_EQ(interface->WritePort(0x100, bytes.data(), &size), ACCESS_DENIED);
    for (const UInt64 address :
         {UInt64{0}, std::numeric_limits<UInt64>::max(), UInt64{0x100} + 253}) {
        EXPECT_EQ(interface->ReadPort(address, bytes.data(), &size), INVALID_ADDRESS) << address;
    }
    size = std::numeric_limits<Size>::max();
    EXPECT_EQ(interface->ReadPort(0x100, bytes.data(), &size), INVALID_ADDRESS);
}

TEST_F(OperationTest, OfADeviceThatIsOnlyDescribed) {
    ICamDevice* described = nullptr;
    ASSERT_EQ(interface->GetDevice(Cameras::GREY_CAMERA, &described), OK);
    const Ptr<ICamDevice> closing(described);
    ICamStream* other = nullptr;
    EXPECT_EQ(described->OpenDataStream(0, &other), NOT_AVAILABLE);
    EXPECT_EQ(described->ReadPort(0, bytes.data(), &size), NOT_AVAILABLE);
    EXPECT_EQ(described->WritePort(0, bytes.data(), &size), NOT_AVAILABLE);
    EXPECT_EQ(described->RegisterEventCallback(nullptr, nullptr), NOT_AVAILABLE);
    EXPECT_EQ(described->GetInfo(kDeviceXmlUrl, bytes.data(), &size), NOT_AVAILABLE);
}

TEST_F(OperationTest, OfTheDevice) {
    EXPECT_EQ(device->GetNumDataStreams(nullptr), INVALID_PARAMETER);
    ICamStream* other = nullptr;
    EXPECT_EQ(device->OpenDataStream(0, nullptr), INVALID_PARAMETER);
    EXPECT_EQ(device->OpenDataStream(1, &other), INVALID_PARAMETER);
    EXPECT_EQ(device->OpenDataStream(ALL, &other), INVALID_PARAMETER);
    EXPECT_EQ(device->OpenDataStream(0, &other), IN_USE);
    ExpectTextLadder(
        [&](char* text, Size* length) { return device->GetInfo(kDeviceModel, text, length); });
    EXPECT_EQ(device->GetInfo(ALL, bytes.data(), &size), INVALID_PARAMETER);
    EXPECT_EQ(device->RegisterEventCallback(nullptr, nullptr), OK);
    EXPECT_EQ(device->ReadPort(0, nullptr, &size), INVALID_PARAMETER);
    EXPECT_EQ(device->ReadPort(0, bytes.data(), nullptr), INVALID_PARAMETER);
    EXPECT_EQ(device->WritePort(0, nullptr, &size), INVALID_PARAMETER);
    size = 0;
    EXPECT_EQ(device->ReadPort(0, bytes.data(), &size), OK);
    // GigE Vision's addresses have 32 bits.
    size = 4;
    for (const UInt64 address : {UInt64{1} << 32, UInt64{1} << 63,
                                 std::numeric_limits<UInt64>::max(), UInt64{0xFFFFFFFE}}) {
        EXPECT_EQ(device->ReadPort(address, bytes.data(), &size), INVALID_ADDRESS) << address;
        EXPECT_EQ(device->WritePort(address, bytes.data(), &size), INVALID_ADDRESS) << address;
    }
    size = std::numeric_limits<Size>::max();
    EXPECT_EQ(device->ReadPort(0, bytes.data(), &size), INVALID_ADDRESS);
    EXPECT_EQ(device->WritePort(0, bytes.data(), &size), INVALID_ADDRESS);
}

TEST_F(OperationTest, OfTheStream) {
    UInt32 value = 5;
    size = sizeof value;
    EXPECT_EQ(stream->SetStreamParameter(kStreamTimeout, nullptr, &size), INVALID_PARAMETER);
    EXPECT_EQ(stream->SetStreamParameter(kStreamTimeout, &value, nullptr), INVALID_PARAMETER);
    EXPECT_EQ(stream->SetStreamParameter(ALL, &value, &size), INVALID_PARAMETER);
    size = 3;
    EXPECT_EQ(stream->SetStreamParameter(kStreamTimeout, &value, &size), INVALID_PARAMETER);
    size = 8;
    EXPECT_EQ(stream->GetStreamInfo(kStreamNumStarted, nullptr, &size), INVALID_PARAMETER);
    EXPECT_EQ(stream->GetStreamInfo(kStreamNumStarted, bytes.data(), nullptr), INVALID_PARAMETER);
    EXPECT_EQ(stream->GetStreamInfo(ALL, bytes.data(), &size), INVALID_PARAMETER);
    size = 1;
    EXPECT_EQ(stream->GetStreamInfo(kStreamNumStarted, bytes.data(), &size), BUFFER_TOO_SMALL);
    EXPECT_EQ(stream->GrabImage(bytes.data(), ALL), kGrabEnded);
    EXPECT_EQ(stream->GrabImage(nullptr, 0), kGrabEnded);
    EXPECT_EQ(stream->StopAcquisition(ALL), OK);
    EXPECT_EQ(stream->StartAcquisition(1, ALL), INVALID_PARAMETER);
    EXPECT_EQ(stream->StartAcquisition(0, 0), OK);
    EXPECT_EQ(stream->GrabImage(bytes.data(), ALL), kGrabEnded);
    EXPECT_EQ(stream->StopAcquisition(0), OK);
    EXPECT_EQ(stream->StopAcquisition(0), OK);
}

TEST_F(OperationTest, WaitsForAnImageAsLongAsItIsTold) {
    const auto waits = [&] {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(StreamNumber(kStreamImageReady), 0U);
        return std::chrono::steady_clock::now() - begin;
    };
    ASSERT_EQ(stream->StartAcquisition(0, ALL), OK);
    ASSERT_EQ(SetWaitTime(0), OK);
    EXPECT_LT(waits(), std::chrono::milliseconds(100));
    ASSERT_EQ(SetWaitTime(300), OK);
    EXPECT_GE(waits(), std::chrono::milliseconds(300));
    EXPECT_EQ(stream->GrabImage(bytes.data(), 0), kGrabNothingYet);
    ASSERT_EQ(SetWaitTime(30000), OK);
    ASSERT_TRUE(Cameras::ProduceImages(Cameras::GREY_CAMERA, 1));
    EXPECT_EQ(StreamNumber(kStreamImageReady), 1U);
    EXPECT_EQ(stream->GrabImage(nullptr, 0), kGrabDelivered); // drops it
    EXPECT_EQ(stream->GrabImage(nullptr, 0), kGrabNothingYet);
    EXPECT_EQ(stream->StopAcquisition(0), OK);
    EXPECT_LT(waits(), std::chrono::seconds(1));
}

TEST_F(OperationTest, TellsFigures) {
    ASSERT_EQ(stream->StartAcquisition(0, 2), OK);
    EXPECT_EQ(StreamNumber(kStreamPayloadSize), 64U * 48U);
    ASSERT_TRUE(Cameras::ProduceImages(Cameras::GREY_CAMERA, 3));
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(stream->GrabImage(bytes.data(), 3000), kGrabDelivered);
    }
    EXPECT_EQ(stream->GrabImage(bytes.data(), 3000), kGrabEnded); // as many as were wanted
    EXPECT_TRUE(Eventually([&] { return StreamNumber(kStreamNumStarted) == 3; }));
    EXPECT_EQ(StreamNumber(kStreamNumLost), 0U);
    EXPECT_EQ(StreamNumber(kStreamCustom5), 0U) << "packets that were sent again";
    EXPECT_EQ(StreamNumber(kStreamCustom6), 0U) << "packets that were missing";
    EXPECT_EQ(StreamNumber(kStreamCustom7), 0U) << "images that came incomplete";
    EXPECT_GE(StreamNumber(kStreamCustom8), 576U) << "size of packets";
}

// The stream outlives its device, and the device its interface and its system.
TEST_F(OperationTest, ObjectsMayBeClosedInAnyOrder) {
    ASSERT_EQ(stream->StartAcquisition(0, ALL), OK);
    system.reset();
    interface.reset();
    device.reset();
    ASSERT_TRUE(Cameras::ProduceImages(Cameras::GREY_CAMERA, 1));
    EXPECT_EQ(stream->GrabImage(bytes.data(), 3000), kGrabDelivered);
}

} // namespace
