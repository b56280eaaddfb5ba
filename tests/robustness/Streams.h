// Streams of images so small that thousands of them cost little, and what tests of such streams
// share.
#pragma once

#include "Background.h"
#include "Cameras.h"
#include "Fixtures.h"
#include "Steering.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>

class SmallStreamTest : public StreamTest {
protected:
    static constexpr size_t PAYLOAD = 32 * 24;

    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(StreamTest::SetUp());
        ASSERT_TRUE(Cameras::SetImageSize(camera, 32, 24));
        ASSERT_EQ(PayloadSize(), PAYLOAD);
    }

    // Images come as fast as they are taken.
    void Unpace() { ASSERT_TRUE(Cameras::SetFrameRate(camera, 0)); }

    // The next grab does not come back before OptivoSim_Release; returns when it is under way.
    void HangNextGrab() {
        const uint64_t before = NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_HANG);
        Produce(1);
        ASSERT_TRUE(Eventually([&] { return NumCalls(OPTIVO_STREAM_GRAB_IMAGE) > before; }));
    }

    // The next call of the operation hangs; answers the call that makes it, when it does.
    std::unique_ptr<Background> HangIn(OptivoOperation operation,
                                       const std::function<int32_t()>& call) {
        const uint64_t before = NumCalls(operation);
        AddFault(operation, OPTIVO_FAULT_HANG);
        auto hanging = std::make_unique<Background>(call);
        EXPECT_TRUE(Eventually([&] { return NumCalls(operation) > before; }));
        return hanging;
    }

    DS_HANDLE OpenOtherStream(const char* id) {
        DS_HANDLE opened = nullptr;
        EXPECT_OK(gentl.DevOpenDataStream(device, id, &opened));
        EXPECT_NE(opened, nullptr);
        return opened;
    }

    // As StreamNumber, of another stream.
    uint64_t NumberOf(DS_HANDLE other, STREAM_INFO_CMD command) {
        std::swap(stream, other);
        const uint64_t number = StreamNumber(command);
        std::swap(stream, other);
        return number;
    }

    // Asks the stream, and its first buffer; the worst code is the answer.
    int32_t AskAll(const std::vector<STREAM_INFO_CMD>& ofStream,
                   const std::vector<BUFFER_INFO_CMD>& ofBuffer) {
        int32_t worst = 0;
        char value[64];
        for (const STREAM_INFO_CMD command : ofStream) {
            size_t size = sizeof value;
            worst =
                std::min<int32_t>(worst, gentl.DSGetInfo(stream, command, nullptr, value, &size));
        }
        for (const BUFFER_INFO_CMD command : ofBuffer) {
            size_t size = sizeof value;
            worst = std::min<int32_t>(
                worst, gentl.DSGetBufferInfo(stream, buffers[0], command, nullptr, value, &size));
        }
        return worst;
    }

    AliveCount alive;
};
