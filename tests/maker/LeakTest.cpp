#include "Session.h"

#include "Process.h"

#include <iostream>

namespace {

constexpr MakerMishap MISHAPS[] = {MAKER_THROWS_CLASS,         MAKER_THROWS_INT,
                                   MAKER_THROWS_RUNTIME_ERROR, MAKER_THROWS_DERIVED_ERROR,
                                   MAKER_THROWS_EXCEPTION,     MAKER_RETHROWS};

// What a process holds.
struct Held {
    size_t bytes = AllocatedBytes();
    unsigned numThreads = NumThreads();
    unsigned numHandles = NumHandles();
};

class LeakTest : public InterfaceTest {
protected:
    static constexpr size_t NUM_ROUNDS = 1000;

    static void Plan(MakerOperation operation, size_t round) {
        const MakerFault fault = {operation,         MISHAPS[round % std::size(MISHAPS)], 0, 0, 1,
                                  MAKER_ANY_SELECTOR};
        ASSERT_EQ(Maker_AddFault(&fault), 1);
    }

    void ExpectFails(MakerOperation operation, size_t round, const std::function<int32_t()>& call) {
        Plan(operation, round);
        ASSERT_EQ(call(), -1001) << "operation " << operation << ", round " << round;
    }

    // A round fails in every mishap in turn; the first ones fill what is kept for good. The library
    // may keep so many bytes a round.
    static void ExpectFlat(const std::function<void(size_t)>& round, size_t kept = 0) {
        const auto run = [&round](size_t count) {
            for (size_t i = 0; i < count && !HasFailure(); ++i) {
                round(i);
            }
        };
        run(NUM_ROUNDS / 10);
        const Held before;
        run(NUM_ROUNDS);
        const Held after;
        std::cout << NUM_ROUNDS << " rounds: " << before.bytes << " to " << after.bytes
                  << " bytes, " << before.numThreads << " to " << after.numThreads << " threads, "
                  << before.numHandles << " to " << after.numHandles << " handles\n";
        EXPECT_LT(after.bytes, before.bytes + 4096 + kept * NUM_ROUNDS);
        EXPECT_LE(after.numThreads, before.numThreads);
        EXPECT_LE(after.numHandles, before.numHandles);
        for (const MakerKind kind : {MAKER_EXCEPTIONS, MAKER_LOCALS}) {
            EXPECT_EQ(Maker_NumMade(kind), Maker_NumGone(kind));
        }
    }

    void* m_handle = nullptr;
};

TEST_F(LeakTest, CallsThatFail) {
    const Session session(iface, LEFT, 10001);
    PORT_HANDLE port = nullptr;
    ASSERT_OK(gentl.DevGetPort(session.device, &port));
    ExpectFlat([&](size_t round) {
        ExpectFails(MAKER_SYSTEM_GET_INTERFACE_NAME, round,
                    [&] { return gentl.TLUpdateInterfaceList(tl, nullptr, 200); });
        ExpectFails(MAKER_INTERFACE_READ_PORT, round,
                    [&] { return gentl.TLUpdateInterfaceList(tl, nullptr, 200); });
        ExpectFails(MAKER_SYSTEM_OPEN_INTERFACE, round,
                    [&] { return gentl.TLOpenInterface(tl, "U3V::usb0", &m_handle); });
        ExpectFails(MAKER_DEVICE_GET_INFO, round,
                    [&] { return gentl.IFUpdateDeviceList(iface, nullptr, 200); });
        ExpectFails(MAKER_INTERFACE_OPEN_DEVICE, round,
                    [&] { return gentl.IFOpenDevice(iface, RIGHT, 4, &m_handle); });
        ExpectFails(MAKER_DEVICE_OPEN_DATA_STREAM, round,
                    [&] { return gentl.DevOpenDataStream(session.device, "DS1", &m_handle); });
        ExpectFails(MAKER_DEVICE_READ_PORT, round, [&] {
            uint32_t value = 0;
            size_t size = sizeof value;
            return gentl.GCReadPort(port, 0x30C, &value, &size);
        });
        ExpectFails(MAKER_STREAM_START_ACQUISITION, round,
                    [&] { return gentl.DSStartAcquisition(session.stream, 0, GENTL_INFINITE); });
    });
}

TEST_F(LeakTest, AcquisitionsThatEnd) {
    const Session session(iface, LEFT, 10001);
    ExpectFlat([&](size_t round) {
        Plan(MAKER_STREAM_GRAB_IMAGE, round);
        const uint64_t before = Maker_NumCalls(MAKER_STREAM_GRAB_IMAGE);
        session.Start();
        ASSERT_EQ(Maker_Produce(LEFT, 1), 1);
        ASSERT_TRUE(Eventually([&] {
            return Maker_NumCalls(MAKER_STREAM_GRAB_IMAGE) > before && session.Number(8) == 0;
        }));
        ASSERT_OK(gentl.DSStopAcquisition(session.stream, 0));
        ASSERT_OK(gentl.DSFlushQueue(session.stream, 4));
        ASSERT_OK(gentl.DSFlushQueue(session.stream, 2));
    });
}

// The library keeps the small object that it did not close.
TEST_F(LeakTest, ClosingsThatFail) {
    const auto run = [&](size_t round) {
        DEV_HANDLE opened = nullptr;
        ASSERT_OK(gentl.IFOpenDevice(iface, LEFT, 4, &opened));
        ExpectFails(MAKER_DEVICE_CLOSE, round, [&] { return gentl.DevClose(opened); });
        Maker_Reset();
        LeavesAlive(OPTIVO_OBJECT_DEVICE, 1);
    };
    ExpectFlat(run, 32);
}

TEST_F(LeakTest, SystemsThatDoNotOpen) {
    CloseAll();
    ExpectFlat([&](size_t round) {
        ExpectFails(MAKER_GET_SYSTEM, round, [&] { return gentl.TLOpen(&m_handle); });
    });
}

} // namespace
