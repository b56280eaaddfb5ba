#include "Streams.h"

namespace {

// Two interfaces, two cameras in each, three streams in each of them.
class TreeTest : public LibraryTest {
protected:
    static constexpr size_t NUM_INTERFACES = 2;
    static constexpr size_t NUM_DEVICES = 2;
    static constexpr size_t NUM_STREAMS = 3;

    struct OneDevice {
        DEV_HANDLE handle = nullptr;
        std::array<DS_HANDLE, NUM_STREAMS> streams{};
    };
    struct OneInterface {
        IF_HANDLE handle = nullptr;
        std::array<OneDevice, NUM_DEVICES> devices{};
    };

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(LibraryTest::SetUp());
        ASSERT_EQ(OptivoSim_AddCamera("usb0", "Norvel-G640M-30001", "30001"), 1);
        Grow();
    }

    void Grow() {
        OpenSystem();
        for (uint32_t i = 0; i < NUM_INTERFACES; ++i) {
            OpenInterface(i);
            m_interfaces[i].handle = std::exchange(iface, nullptr);
            for (uint32_t j = 0; j < NUM_DEVICES; ++j) {
                Grow(m_interfaces[i].handle, j, m_interfaces[i].devices[j]);
            }
        }
        ASSERT_EQ(alive.Interfaces(), NUM_INTERFACES);
        ASSERT_EQ(alive.Devices(), NUM_INTERFACES * NUM_DEVICES);
        ASSERT_EQ(alive.Streams(), NUM_INTERFACES * NUM_DEVICES * NUM_STREAMS);
    }

    void Grow(IF_HANDLE parent, uint32_t index, OneDevice& opened) {
        iface = parent;
        OpenDevice(index);
        opened.handle = device;
        for (size_t i = 0; i < NUM_STREAMS; ++i) {
            ASSERT_OK(gentl.DevOpenDataStream(device, ("DS" + std::to_string(i)).c_str(),
                                              &opened.streams[i]));
        }
        iface = device = remote = nullptr;
    }

    void ExpectNothingLeft() {
        EXPECT_EQ(alive.Streams(), 0U);
        EXPECT_EQ(alive.Devices(), 0U);
        EXPECT_EQ(alive.Interfaces(), 0U);
        EXPECT_EQ(alive.Systems(), 0U);
    }

    AliveCount alive;
    std::array<OneInterface, NUM_INTERFACES> m_interfaces{};
};

TEST_F(TreeTest, TheSystemTakesAllWithIt) {
    CloseSystem();
    ExpectNothingLeft();
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 12U);
}

TEST_F(TreeTest, DevicesTakeTheirStreamsWithThem) {
    for (const OneInterface& one : m_interfaces) {
        for (const OneDevice& opened : one.devices) {
            EXPECT_OK(gentl.DevClose(opened.handle));
        }
    }
    EXPECT_EQ(alive.Streams(), 0U);
    EXPECT_EQ(alive.Devices(), 0U);
    CloseSystem();
    ExpectNothingLeft();
}

TEST_F(TreeTest, ChildrenMayGoOneByOne) {
    for (const OneInterface& one : m_interfaces) {
        for (const OneDevice& opened : one.devices) {
            EXPECT_OK(gentl.DSClose(opened.streams[1]));
            EXPECT_OK(gentl.DSClose(opened.streams[2]));
            EXPECT_OK(gentl.DSClose(opened.streams[0]));
        }
        EXPECT_OK(gentl.DevClose(one.devices[1].handle));
        EXPECT_OK(gentl.DevClose(one.devices[0].handle));
        EXPECT_OK(gentl.IFClose(one.handle));
    }
    EXPECT_EQ(alive.Interfaces(), 0U);
    CloseSystem();
    ExpectNothingLeft();
}

TEST_F(TreeTest, WhatIsLeftGoesWithTheSystem) {
    EXPECT_OK(gentl.DSClose(m_interfaces[0].devices[0].streams[0]));
    EXPECT_OK(gentl.DevClose(m_interfaces[0].devices[1].handle));
    EXPECT_OK(gentl.DSClose(m_interfaces[1].devices[1].streams[2]));
    EXPECT_EQ(alive.Streams(), 7U);
    CloseSystem();
    ExpectNothingLeft();
    EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE), 12U);
}

// A closed module is not found again under its ID, and its siblings are.
TEST_F(TreeTest, ParentsForgetTheirClosedChildren) {
    IF_HANDLE first = nullptr;
    IF_HANDLE second = nullptr;
    for (const OneDevice& opened : m_interfaces[0].devices) {
        EXPECT_OK(gentl.DevClose(opened.handle));
    }
    EXPECT_OK(gentl.IFClose(m_interfaces[0].handle));
    const uint64_t before = NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE);
    EXPECT_OK(gentl.TLOpenInterface(tl, InterfaceId(1).c_str(), &second));
    EXPECT_EQ(second, m_interfaces[1].handle);
    EXPECT_EQ(NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE), before);
    EXPECT_OK(gentl.TLOpenInterface(tl, InterfaceId(0).c_str(), &first));
    EXPECT_EQ(NumCalls(OPTIVO_SYSTEM_OPEN_INTERFACE), before + 1);
    EXPECT_EQ(alive.Devices(), NUM_DEVICES);
}

} // namespace
