// Threads of one consumer that ask and change the lists of one system and one interface at once,
// as the standard lets them.
#include "Background.h"
#include "StandardFixtures.h"

#include <algorithm>
#include <atomic>

namespace {

class StandardThreadsTest : public SystemTest {
protected:
    using Call = std::function<int32_t()>;

    static constexpr int NUM_ROUNDS = 100;

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SystemTest::SetUp());
        ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    }

    // The worst code of many rounds.
    static Call Often(const Call& call) {
        return [call] {
            int32_t worst = 0;
            for (int i = 0; i < NUM_ROUNDS; ++i) {
                worst = std::min(worst, call());
            }
            return worst;
        };
    }

    Call Asks() {
        return Often([this]() -> int32_t {
            char text[64];
            size_t size = sizeof text;
            uint32_t count = 0;
            int32_t type = 0;
            const auto room = [&] { return size = sizeof text, &size; };
            return std::min<int32_t>(
                {gentl.TLGetNumInterfaces(tl, &count), gentl.TLGetInterfaceID(tl, 0, text, room()),
                 gentl.TLGetInterfaceInfo(tl, "U3V::usb0", 1, &type, text, room()),
                 gentl.GCReadPort(tl, 4, text, (size = 4, &size)),
                 gentl.IFGetNumDevices(iface, &count), gentl.IFGetDeviceID(iface, 0, text, room()),
                 gentl.IFGetDeviceInfo(iface, CAMERA, 6, &type, text, room()),
                 gentl.IFGetDeviceInfo(iface, CAMERA, 5, &type, text, room())});
        });
    }

    Call Updates() {
        return Often([this]() -> int32_t {
            bool8_t hasChanged = 0;
            return std::min<int32_t>(gentl.TLUpdateInterfaceList(tl, &hasChanged, 100),
                                     gentl.IFUpdateDeviceList(iface, &hasChanged, 100));
        });
    }

    Call OpensAndCloses(const char* id) {
        return Often([this, id]() -> int32_t {
            DEV_HANDLE opened = nullptr;
            const int32_t code = gentl.IFOpenDevice(iface, id, 4, &opened);
            return code == 0 ? gentl.DevClose(opened) : code;
        });
    }

    Call OpensAndClosesAnInterface() {
        return Often([this]() -> int32_t {
            IF_HANDLE opened = nullptr;
            const int32_t code = gentl.TLOpenInterface(tl, "U3V::usb0", &opened);
            return code == 0 ? gentl.IFClose(opened) : code;
        });
    }

    static constexpr const char* CAMERA = "Norvel-G640M-10001";
};

TEST_F(StandardThreadsTest, AskUpdateOpenAndCloseAtOnce) {
    ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    const std::vector<Call> calls = {Asks(),
                                     Asks(),
                                     Updates(),
                                     Updates(),
                                     OpensAndCloses(CAMERA),
                                     OpensAndCloses("Norvel-G1300C-10002"),
                                     OpensAndClosesAnInterface()};
    EXPECT_EQ(RunTogether(calls), std::vector<int32_t>(calls.size(), 0));
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), 0U);
}

TEST_F(StandardThreadsTest, CloseWhatOthersAsk) {
    for (int i = 0; i < 50; ++i) {
        std::atomic<bool> isClosed = false;
        const auto ask = [&]() -> int32_t {
            int32_t code = 0;
            while (code == 0) {
                uint32_t count = 0;
                code = std::min<int32_t>(gentl.IFUpdateDeviceList(iface, nullptr, 10),
                                         gentl.IFGetNumDevices(iface, &count));
            }
            return isClosed ? code : 0;
        };
        const auto close = [&]() -> int32_t {
            isClosed = true;
            return gentl.IFClose(iface);
        };
        ASSERT_EQ(RunTogether({ask, ask, close}), (std::vector<int32_t>{-1006, -1006, 0}));
        ASSERT_OK(gentl.TLOpenInterface(tl, "GEV::eth0", &iface));
    }
}

} // namespace
