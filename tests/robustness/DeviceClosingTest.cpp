// Cameras of one interface that their consumers open and close on threads of their own.
#include "Background.h"
#include "Consumer.h"

#include <array>

namespace {

class DeviceClosingTest : public InterfaceTest {
protected:
    static constexpr size_t COUNT = 4;
    static constexpr int ROUNDS = 200;

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(InterfaceTest::SetUp());
        for (size_t i = 0; i < COUNT; ++i) {
            m_ids.push_back("Closing-" + std::to_string(i));
            ASSERT_EQ(OptivoSim_AddCamera("eth0", m_ids[i].c_str(), m_ids[i].c_str()), 1);
        }
        ASSERT_OK(gentl.IFUpdateDeviceList(iface, nullptr, LONG_WAIT));
    }

    int32_t Open(size_t index) {
        return gentl.IFOpenDevice(iface, m_ids[index].c_str(), 4, &m_devices[index]);
    }

    std::vector<std::string> m_ids;
    std::array<DEV_HANDLE, COUNT> m_devices{};
};

TEST_F(DeviceClosingTest, OfSeveralAtATime) {
    for (int round = 0; round < ROUNDS; ++round) {
        std::vector<std::function<int32_t()>> closes;
        for (size_t i = 0; i < COUNT; ++i) {
            ASSERT_OK(Open(i));
            closes.emplace_back([this, i] { return gentl.DevClose(m_devices[i]); });
        }
        ASSERT_EQ(RunTogether(closes), std::vector<int32_t>(COUNT, 0));
    }
}

TEST_F(DeviceClosingTest, WhileAnotherIsOpened) {
    ASSERT_OK(Open(0));
    for (int round = 0; round < ROUNDS; ++round) {
        const size_t closed = static_cast<size_t>(round) % COUNT;
        const size_t opened = (closed + 1) % COUNT;
        ASSERT_EQ(RunTogether({[&] { return gentl.DevClose(m_devices[closed]); },
                               [&] { return Open(opened); }}),
                  std::vector<int32_t>(2, 0));
    }
    EXPECT_OK(gentl.DevClose(m_devices[ROUNDS % COUNT]));
}

} // namespace
