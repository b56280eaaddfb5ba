#include "Streams.h"

#include <array>
#include <functional>
#include <vector>

namespace {

// Two parts of a program each open a system of their own.
class TwoSystemsTest : public SmallStreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(SmallStreamTest::SetUp());
        ASSERT_OK(gentl.TLOpen(&m_second));
        ASSERT_NE(m_second, tl);
    }

    void TearDown() override {
        if (m_second != nullptr) {
            CloseSecond();
        }
        SmallStreamTest::TearDown();
    }

    IF_HANDLE OpenInSecond(const char* id) {
        IF_HANDLE opened = nullptr;
        EXPECT_OK(gentl.TLOpenInterface(m_second, id, &opened));
        EXPECT_OK(gentl.IFUpdateDeviceList(opened, nullptr, LONG_WAIT));
        return opened;
    }

    void CloseSecond() {
        EXPECT_OK(gentl.TLClose(m_second));
        m_second = nullptr;
    }

    TL_HANDLE m_second = nullptr;
};

TEST_F(TwoSystemsTest, HaveInterfacesOfTheirOwn) {
    auto* const own = OpenInSecond("GEV::eth0");
    EXPECT_NE(own, iface);
    EXPECT_EQ(alive.Systems(), 2U);
    EXPECT_EQ(alive.Interfaces(), 2U);
    EXPECT_OK(gentl.IFClose(own));
    EXPECT_EQ(NumDevices(), 2U);
}

TEST_F(TwoSystemsTest, ShareTheCameras) {
    auto* const own = OpenInSecond("GEV::eth0");
    DEV_HANDLE opened = this;
    EXPECT_FAILS(-1001, "already opened device.(Norvel-G1300C-10002).",
                 gentl.IFOpenDevice(own, camera.c_str(), 4, &opened));
    EXPECT_EQ(opened, this);
    CloseDevice();
    EXPECT_OK(gentl.IFOpenDevice(own, camera.c_str(), 4, &opened));
    EXPECT_EQ(alive.Devices(), 1U);
}

TEST_F(TwoSystemsTest, DoNotEndTogether) {
    StartWith(2);
    Unpace();
    ASSERT_OK(WaitBuffer().code);
    DEV_HANDLE opened = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(OpenInSecond("GEV::eth0"), "Norvel-G640M-10001", 4, &opened));
    EXPECT_EQ(alive.Devices(), 2U);
    CloseSecond();
    EXPECT_EQ(alive.Devices(), 1U);
    EXPECT_EQ(alive.Interfaces(), 1U);
    for (int i = 0; i < 5; ++i) {
        QueueAll();
        EXPECT_OK(WaitBuffer().code);
    }
}

TEST_F(TwoSystemsTest, TheFirstMayEndFirst) {
    auto* const own = OpenInSecond("U3V::usb0");
    DEV_HANDLE opened = nullptr;
    ASSERT_OK(gentl.IFOpenDevice(own, "Norvel-U320C-20001", 4, &opened));
    CloseSystem();
    EXPECT_EQ(alive.Systems(), 1U);
    uint32_t count = 0;
    EXPECT_OK(gentl.TLGetNumInterfaces(m_second, &count));
    EXPECT_EQ(count, 2U);
    EXPECT_OK(gentl.DevClose(opened));
    EXPECT_OK(gentl.IFClose(own));
}

TEST_F(TwoSystemsTest, AcquireAtTheSameTime) {
    const auto acquire = [this](const char* interfaceId_, const char* cameraId) -> int32_t {
        TL_HANDLE system = nullptr;
        IF_HANDLE opened = nullptr;
        DEV_HANDLE dev = nullptr;
        DS_HANDLE ds = nullptr;
        EVENT_HANDLE event = nullptr;
        BUFFER_HANDLE buffer = nullptr;
        int32_t sum = gentl.TLOpen(&system);
        sum += gentl.TLOpenInterface(system, interfaceId_, &opened);
        sum += gentl.IFUpdateDeviceList(opened, nullptr, 1000);
        sum += gentl.IFOpenDevice(opened, cameraId, 4, &dev);
        sum += gentl.DevOpenDataStream(dev, "DS0", &ds);
        sum += gentl.GCRegisterEvent(ds, 1, &event);
        sum += gentl.DSAllocAndAnnounceBuffer(ds, PAYLOAD * 3, nullptr, &buffer);
        sum += gentl.DSStartAcquisition(ds, 0, GENTL_INFINITE);
        for (int i = 0; i < 50 && sum == 0; ++i) {
            EVENT_NEW_BUFFER_DATA data = {};
            size_t size = sizeof data;
            sum += gentl.DSQueueBuffer(ds, buffer);
            sum += gentl.EventGetData(event, &data, &size, LONG_WAIT);
        }
        return sum + gentl.TLClose(system);
    };
    for (const char* name : {"Norvel-G640M-10001", "Norvel-U320C-20001"}) {
        ASSERT_EQ(OptivoSim_SetImageSize(name, 32, 24), 1);
        ASSERT_EQ(OptivoSim_SetFrameRate(name, 0), 1);
    }
    EXPECT_EQ(RunTogether({[&] { return acquire("GEV::eth0", "Norvel-G640M-10001"); },
                           [&] { return acquire("U3V::usb0", "Norvel-U320C-20001"); }}),
              (std::vector<int32_t>{0, 0}));
    EXPECT_EQ(alive.Systems(), 2U);
}

// No system is open.
class FirstSystemsTest : public LibraryTest {
protected:
    static constexpr size_t NUM_SYSTEMS = 2;

    std::vector<int32_t> ForEachTogether(const std::function<int32_t(TL_HANDLE&)>& call) {
        std::vector<std::function<int32_t()>> calls;
        calls.reserve(NUM_SYSTEMS);
        for (TL_HANDLE& system : m_systems) {
            calls.emplace_back([&] { return call(system); });
        }
        return RunTogether(calls);
    }

    std::array<TL_HANDLE, NUM_SYSTEMS> m_systems{};
    AliveCount m_alive;
};

TEST_F(FirstSystemsTest, OpenAndCloseAtTheSameTime) {
    const std::vector<int32_t> allSucceed(NUM_SYSTEMS, 0);
    for (int round = 0; round < 50; ++round) {
        SCOPED_TRACE(round);
        m_systems.fill(nullptr);
        ASSERT_EQ(ForEachTogether([this](TL_HANDLE& system) { return gentl.TLOpen(&system); }),
                  allSucceed);
        EXPECT_EQ(m_alive.Systems(), NUM_SYSTEMS);
        EXPECT_NE(m_systems[0], m_systems[1]);
        for (auto* const system : m_systems) {
            uint32_t count = 0;
            EXPECT_OK(gentl.TLGetNumInterfaces(system, &count));
            EXPECT_EQ(count, 2U);
        }
        ASSERT_EQ(ForEachTogether([this](TL_HANDLE& system) { return gentl.TLClose(system); }),
                  allSucceed);
        EXPECT_EQ(m_alive.Systems(), 0U);
    }
}

} // namespace
