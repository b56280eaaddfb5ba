#include "Session.h"

#include <thread>

namespace {

class SessionTest : public InterfaceTest {
protected:
    // The other interface, which the base class knows nothing of.
    IF_HANDLE OpenUsb() {
        IF_HANDLE usb = nullptr;
        EXPECT_OK(gentl.TLOpenInterface(tl, "U3V::usb0", &usb));
        EXPECT_OK(gentl.IFUpdateDeviceList(usb, nullptr, LONG_WAIT));
        return usb;
    }

    std::vector<std::string> Devices() {
        std::vector<std::string> ids;
        for (uint32_t i = 0; i < NumDevices(); ++i) {
            ids.push_back(DeviceId(i));
        }
        return ids;
    }

    int IsChanged() {
        bool8_t changed = 77;
        EXPECT_OK(gentl.IFUpdateDeviceList(iface, &changed, LONG_WAIT));
        return changed;
    }
};

TEST_F(SessionTest, DescriptionsAreThoseOfTheLibrary) {
    EXPECT_EQ(NumInterfaces(), 2U);
    EXPECT_EQ(InterfaceId(0), "GEV::eth0");
    EXPECT_EQ(InterfaceId(1), "U3V::usb0");
    const std::vector<std::pair<DEVICE_INFO_CMD, std::string>> texts = {
        {0, RIGHT},   {1, "Norvel"}, {2, "G1300C"}, {3, "GEV"},
        {6, "Right"}, {7, "10002"},  {8, "1.4.2"}};
    for (const auto& [command, text] : texts) {
        EXPECT_EQ(Ask([&, key = command](auto... out) {
                      return gentl.IFGetDeviceInfo(iface, RIGHT, key, out...);
                  }),
                  TextInfo(text));
    }
}

TEST_F(SessionTest, ImagesOfTwoCamerasAtOnce) {
    constexpr uint64_t NUM_ROUNDS = 100;
    const IF_HANDLE usb = OpenUsb();
    {
        const Session left(iface, LEFT, 10001);
        const Session microscope(usb, MICROSCOPE, 20001);
        left.Start();
        microscope.Start();
        const auto take = [](const Session& session) {
            for (uint64_t round = 0; round < NUM_ROUNDS && !HasFailure(); ++round) {
                session.TakeRound(round * Session::NUM_BUFFERS);
            }
        };
        std::thread other(take, std::cref(microscope));
        take(left);
        other.join();
        for (const Session* session : {&left, &microscope}) {
            EXPECT_EQ(session->Number(1), NUM_ROUNDS * Session::NUM_BUFFERS) << "delivered";
            EXPECT_EQ(session->Number(2), 0U) << "lost";
            EXPECT_EQ(session->Number(8), 1U) << "grabbing";
        }
    }
    EXPECT_OK(gentl.IFClose(usb));
}

TEST_F(SessionTest, RegistersHoldWhatIsWritten) {
    const Session session(iface, LEFT, 10001);
    PORT_HANDLE port = nullptr;
    ASSERT_OK(gentl.DevGetPort(session.device, &port));
    const uint32_t written = 0x12345678;
    uint32_t read = 0;
    size_t size = sizeof read;
    EXPECT_OK(gentl.GCWritePort(port, 0x8AC, &written, &size));
    EXPECT_OK(gentl.GCReadPort(port, 0x8AC, &read, &size));
    EXPECT_EQ(read, written);
    EXPECT_FAILS(-1015, "Invalid Address", gentl.GCReadPort(port, 0x8B0, &read, &size));
}

TEST_F(SessionTest, ACameraComesAndGoes) {
    EXPECT_EQ(Devices(), (std::vector<std::string>{RIGHT, LEFT}));
    EXPECT_EQ(IsChanged(), 0);

    ASSERT_EQ(Maker_Plug(LEFT, 0), 1);
    EXPECT_EQ(IsChanged(), 1);
    EXPECT_EQ(Devices(), (std::vector<std::string>{RIGHT}));
    DEV_HANDLE opened = nullptr;
    EXPECT_FAILS(-1001, "Unspecified runtime error.", gentl.IFOpenDevice(iface, LEFT, 4, &opened));
    EXPECT_EQ(opened, nullptr);

    ASSERT_EQ(Maker_Plug(LEFT, 1), 1);
    EXPECT_EQ(IsChanged(), 1);
    EXPECT_EQ(Devices(), (std::vector<std::string>{RIGHT, LEFT}));
    const Session session(iface, LEFT, 10001);
    session.Start();
    session.TakeRound(0);
}

TEST_F(SessionTest, ACameraThatHasJustGoneIsNotOpened) {
    ASSERT_EQ(Maker_Plug(LEFT, 0), 1);
    DEV_HANDLE opened = nullptr;
    EXPECT_FAILS(-1001, "Unable to open device Norvel-G640M-10001",
                 gentl.IFOpenDevice(iface, LEFT, 4, &opened));
    EXPECT_EQ(opened, nullptr);
}

} // namespace
