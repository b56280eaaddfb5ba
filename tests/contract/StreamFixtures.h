// What the tests of the data stream share beyond StreamTest: a stream of small grey images whose
// pixels are known, faults of the camera library, and calls on threads of their own.
#pragma once

#include "Cameras.h"
#include "Fixtures.h"
#include "OptivoImage.h"

#include <algorithm>
#include <future>
#include <utility>

inline constexpr uint32_t IMAGE_WIDTH = 64;
inline constexpr uint32_t IMAGE_HEIGHT = 48;
inline constexpr size_t IMAGE_SIZE = 3072;

// Whether another thread waits already cannot be seen. Tries what depends on it again, with longer
// and longer pauses, until it comes out as wanted; false when it never does.
inline bool Try(const std::function<bool(std::chrono::milliseconds pause)>& attempt) {
    for (int milliseconds = 5; milliseconds < 3000; milliseconds *= 2) {
        if (attempt(std::chrono::milliseconds(milliseconds))) {
            return true;
        }
    }
    return false;
}

template <typename Value>
bool IsReady(const std::future<Value>& future, uint64_t milliseconds = 0) {
    return future.wait_for(std::chrono::milliseconds(milliseconds)) == std::future_status::ready;
}

// The buffer holds the beginning of the camera's image of that number and size, stamp and all.
inline testing::AssertionResult HoldsImage(const unsigned char* pixels, uint64_t number,
                                           size_t size = IMAGE_SIZE,
                                           size_t imageSize = IMAGE_SIZE) {
    OptivoImageStamp stamp;
    if (OptivoImage_Read(pixels, size, &stamp) != (size == imageSize ? 1 : 0)) {
        return testing::AssertionFailure() << "the stamp does not fit the image";
    }
    if (size >= sizeof stamp && (stamp.imageSize != imageSize || stamp.number != number)) {
        return testing::AssertionFailure() << "image " << stamp.number << " of " << stamp.imageSize
                                           << " bytes instead of " << number;
    }
    for (size_t i = sizeof stamp; i < size; ++i) {
        const uint64_t expected = (i % IMAGE_WIDTH + i / IMAGE_WIDTH + 2 * number) % 256;
        if (pixels[i] != expected) {
            return testing::AssertionFailure() << "byte " << i << " of image " << number << " is "
                                               << int{pixels[i]} << " instead of " << expected;
        }
    }
    return testing::AssertionSuccess();
}

// The stream of the grey camera is open. Its images come only when Produce asks for them.
class MonoStreamTest : public StreamTest {
protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(InterfaceTest::SetUp());
        OpenDevice(Cameras::GREY_INDEX);
        ASSERT_EQ(camera, Cameras::GREY_CAMERA);
        ASSERT_TRUE(Cameras::SetImageSize(camera, IMAGE_WIDTH, IMAGE_HEIGHT));
        ASSERT_TRUE(Cameras::SetFrameRate(camera, -1));
        OpenStream();
        ASSERT_EQ(PayloadSize(), IMAGE_SIZE);
    }

    // The stream anew, as it is after opening.
    void RenewStream() {
        Cameras::Release();
        EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
        EXPECT_OK(gentl.DSFlushQueue(stream, 4));
        CloseStream();
        buffers.clear();
        newBuffer = nullptr;
        OpenStream();
    }

    // Opens another stream of the device.
    DS_HANDLE OpenAnother(const std::string& id = "DS1") {
        DS_HANDLE another = nullptr;
        EXPECT_OK(gentl.DevOpenDataStream(device, id.c_str(), &another));
        EXPECT_NE(another, nullptr);
        EXPECT_NE(another, stream);
        return another;
    }

    // Announces buffers, fills so many of them and leaves the acquisition running.
    void Deliver(size_t count) {
        StartWith(count);
        Produce(count);
        ASSERT_TRUE(Eventually([&] { return NumAwaitDelivery() == count; }));
    }

    static void AddFault(OptivoOperation operation, OptivoFaultKind kind, int32_t result,
                         uint32_t count = OPTIVO_FOREVER, uint64_t selector = OPTIVO_ANY_SELECTOR) {
        const OptivoFault fault = {operation, kind, result, selector, 0, count};
        OptivoSim_AddFault(&fault);
    }

    // The next grabs answer this and do nothing; the images stay.
    static void GrabAnswers(int32_t result, uint32_t count = 1) {
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_RESULT, result, count);
    }

    // Returns when the acquisition thread hangs in its next grab, until OptivoSim_Release.
    void HangInGrab() {
        const uint64_t numGrabs = OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE);
        AddFault(OPTIVO_STREAM_GRAB_IMAGE, OPTIVO_FAULT_HANG, 0, 1);
        Produce(1);
        ASSERT_TRUE(
            Eventually([&] { return OptivoSim_NumCalls(OPTIVO_STREAM_GRAB_IMAGE) > numGrabs; }));
    }

    // Calls on a thread of its own; true when the call ends although the library hangs.
    static bool EndsDuringHang(const std::function<int32_t()>& call, int32_t* answer) {
        auto result = std::async(std::launch::async, call);
        const bool ends = IsReady(result, LONG_WAIT);
        if (!ends) {
            OptivoSim_Release();
        }
        *answer = result.get();
        return ends;
    }

    std::future<NewBuffer> WaitElsewhere(uint64_t timeout = LONG_WAIT) {
        return std::async(std::launch::async, [this, timeout] { return WaitBuffer(timeout); });
    }

    // The handles that waits give until there is no buffer left.
    std::vector<BUFFER_HANDLE> FetchAll() {
        std::vector<BUFFER_HANDLE> fetched;
        for (NewBuffer next = WaitBuffer(0); next.code == 0; next = WaitBuffer(0)) {
            fetched.push_back(next.handle);
        }
        return fetched;
    }

    unsigned char* Memory(BUFFER_HANDLE buffer) {
        const Info base =
            Ask([&](auto... out) { return gentl.DSGetBufferInfo(stream, buffer, 0, out...); });
        EXPECT_OK(base.code);
        return base.As<unsigned char*>();
    }

    void ExpectFlags(BUFFER_HANDLE buffer, bool isQueued, bool hasNewData) {
        EXPECT_EQ(BufferFlag(buffer, 5), isQueued) << "is queued";
        EXPECT_EQ(BufferFlag(buffer, 4), hasNewData) << "new data";
    }

    // Queued or delivered.
    void ExpectNotRevocable(BUFFER_HANDLE buffer) {
        EXPECT_FAILS(-1001, "Buffer queued",
                     gentl.DSRevokeBuffer(stream, buffer, nullptr, nullptr));
    }

    void ExpectLengths(uint64_t numQueued, uint64_t numAwaiting) {
        EXPECT_EQ(NumQueued(), numQueued) << "input queue";
        EXPECT_EQ(NumAwaitDelivery(), numAwaiting) << "output queue";
    }
};
