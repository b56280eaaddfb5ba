// A consumer asks with the handles of what it closed while new objects are made at their addresses.
#include "Streams.h"

#include <set>

namespace {

class OpeningTest : public SmallStreamTest {
protected:
    // The handles of events whose streams are closed.
    std::set<EVENT_HANDLE> ClosedEvents() {
        std::set<EVENT_HANDLE> closed;
        for (int i = 0; i < 4; ++i) {
            for (const EVENT_TYPE type : {EVENT_ERROR, EVENT_NEW_BUFFER}) {
                EVENT_HANDLE event = nullptr;
                EXPECT_OK(gentl.GCRegisterEvent(stream, type, &event));
                closed.insert(event);
            }
            CloseStream();
            if (i < 3) {
                OpenStream();
            }
        }
        return closed;
    }

    std::set<int32_t> AnswersOf(const std::set<EVENT_HANDLE>& events) {
        std::set<int32_t> answers;
        for (EVENT_HANDLE event : events) {
            char data[64] = {};
            size_t size = sizeof data;
            answers.insert(gentl.EventGetData(event, data, &size, 200));
            answers.insert(gentl.EventGetInfo(event, EVENT_NUM_IN_QUEUE, nullptr, data, &size));
            answers.insert(gentl.EventFlush(event));
            answers.insert(gentl.EventKill(event));
        }
        return answers;
    }
};

// The thread that closed opens too: it is the one that gets the addresses again.
TEST_F(OpeningTest, TheEventsOfAStreamMeanNothingBeforeTheCameraHasOpenedIt) {
    const std::set<EVENT_HANDLE> closed = ClosedEvents();
    const uint64_t before = NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM);
    AddFault(OPTIVO_DEVICE_OPEN_DATA_STREAM, OPTIVO_FAULT_HANG);
    std::set<int32_t> answers;
    Background asking([&] {
        Eventually([&] { return NumCalls(OPTIVO_DEVICE_OPEN_DATA_STREAM) > before; });
        answers = AnswersOf(closed);
        OptivoSim_Unplug(camera.c_str());
        OptivoSim_Release();
        return 0;
    });
    DS_HANDLE opened = nullptr;
    EXPECT_CODE(-1001, gentl.DevOpenDataStream(device, "DS0", &opened));
    asking.Finish();
    EXPECT_EQ(opened, nullptr);
    EXPECT_EQ(answers, std::set<int32_t>{-1006});
    EXPECT_EQ(AnswersOf(closed), std::set<int32_t>{-1006});
}

} // namespace
