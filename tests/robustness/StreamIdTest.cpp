#include "Streams.h"

#include <algorithm>

namespace {

// Any text opens a stream, and the camera's index is what the text holds from its third character.
class StreamIdTest : public DeviceTest {
protected:
    DS_HANDLE Open(const std::string& id) {
        DS_HANDLE opened = nullptr;
        EXPECT_OK(gentl.DevOpenDataStream(device, id.c_str(), &opened));
        return opened;
    }

    // Opening it again finds it, without asking the library.
    bool IsListed(const std::string& id, DS_HANDLE handle) {
        const uint64_t before = NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM);
        return Open(id) == handle && NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM) == before;
    }

    // Opens these streams, closes them in this order, and closes the device with what is left.
    void ExpectEachForgetsItselfAlone(const std::vector<std::string>& ids,
                                      const std::vector<size_t>& order, size_t numClosed) {
        std::vector<DS_HANDLE> handles;
        for (const std::string& id : ids) {
            handles.push_back(Open(id));
        }
        const uint64_t before = NumCalls(OPTIVO_STREAM_CLOSE);
        for (size_t i = 0; i < numClosed; ++i) {
            ASSERT_OK(gentl.DSClose(handles[order[i]]));
            for (size_t rest = i + 1; rest < order.size(); ++rest) {
                EXPECT_TRUE(IsListed(ids[order[rest]], handles[order[rest]]));
            }
        }
        CloseDevice();
        EXPECT_EQ(NumCalls(OPTIVO_STREAM_CLOSE) - before, ids.size());
        EXPECT_EQ(alive.Streams(), 0U);
        OpenDevice();
    }

    AliveCount alive;
};

TEST_F(StreamIdTest, TheIndexIsTheNumberFromTheThirdCharacterOn) {
    const std::vector<std::pair<std::string, uint64_t>> rows = {
        {"DS0", 0},
        {"DS5", 5},
        {"X", 0},
        {"", 0},
        {"DS", 0},
        {"DSx", 0},
        {"xy7", 7},
        {"555", 5},
        {"::", 0},
        {"DS12a", 12},
        {"DS 3", 3},
        {"\xC3\xA4"
         "9",
         9},
    };
    for (const auto& [id, index] : rows) {
        SCOPED_TRACE(id);
        const DS_HANDLE opened = Open(id);
        ASSERT_NE(opened, nullptr);
        EXPECT_EQ(OptivoSim_LastSelector(OPTIVO_DEVICE_OPEN_DATA_STREAM), index);
        EXPECT_EQ(Ask([&](auto... out) { return gentl.DSGetInfo(opened, 0, out...); }),
                  TextInfo(id));
        EXPECT_TRUE(IsListed(id, opened));
    }
}

TEST_F(StreamIdTest, NumbersBeyondAnyIndexOpenAStreamToo) {
    for (const char* id :
         {"DS4294967296", "DS-1", "DS99999999999999999999999999", "DS-999999999999"}) {
        SCOPED_TRACE(id);
        const DS_HANDLE opened = Open(id);
        ASSERT_NE(opened, nullptr);
        EXPECT_TRUE(IsListed(id, opened));
        EXPECT_OK(gentl.DSClose(opened));
        EXPECT_FALSE(IsListed(id, nullptr));
    }
}

TEST_F(StreamIdTest, ClosingOneForgetsNoOther) {
    const std::vector<std::string> ids = {"DS0", "X", "", "DS5"};
    std::vector<size_t> order = {0, 1, 2, 3};
    do {
        SCOPED_TRACE(testing::PrintToString(order));
        for (size_t numClosed = 0; numClosed <= ids.size(); ++numClosed) {
            ASSERT_NO_FATAL_FAILURE(ExpectEachForgetsItselfAlone(ids, order, numClosed));
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST_F(StreamIdTest, AClosedOneIsOpenedAnew) {
    for (const char* id : {"DS0", "X", "", "DS", "DS5"}) {
        SCOPED_TRACE(id);
        const uint64_t before = NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM);
        ASSERT_OK(gentl.DSClose(Open(id)));
        ASSERT_OK(gentl.DSClose(Open(id)));
        EXPECT_EQ(NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM) - before, 2U);
    }
    EXPECT_EQ(alive.Streams(), 0U);
}

// A close that stops half-way, whatever the stream is called.
TEST_F(StreamIdTest, AHalfClosedOneIsForgottenAlone) {
    for (const char* id : {"DS1", "X", "", "DS", "DS5"}) {
        SCOPED_TRACE(id);
        const DS_HANDLE sound = Open("DS0");
        const DS_HANDLE halfClosed = Open(id);
        ASSERT_OK(gentl.DSStartAcquisition(halfClosed, 0, GENTL_INFINITE));
        AddFault(OPTIVO_STREAM_STOP_ACQUISITION, OPTIVO_FAULT_RESULT, -1001);
        ASSERT_OK(gentl.DSClose(halfClosed));
        LeavesAlive(OPTIVO_OBJECT_STREAM, 1);
        EXPECT_TRUE(IsListed("DS0", sound));
        const DS_HANDLE anew = Open(id);
        EXPECT_OK(gentl.DSStopAcquisition(anew, 0));
        CloseDevice();
        ASSERT_NO_FATAL_FAILURE(OpenDevice());
    }
    EXPECT_EQ(alive.Streams(), 5U);
}

} // namespace
