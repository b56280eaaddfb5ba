// What the tests of the standard module share: refusals as it records them, the module that it
// forwards to, and a stream of small grey images.
#pragma once

#include "StreamFixtures.h"

#include <memory>

// The call answers the code, and the calling thread's last error is that code with some text.
testing::AssertionResult Refuses(int32_t code, const std::function<int32_t()>& call);
#define EXPECT_REFUSES(code, ...)                                                                  \
    EXPECT_TRUE(Refuses(code, [&]() -> int32_t { return __VA_ARGS__; }))

// The whole ladder of an info query that knows its value: the size, too little room, the value
// with and without more room, no type wanted, no size.
void ExpectAnswer(const InfoCall& call, const Info& expected);
void ExpectTextAnswer(const TextCall& call, std::string_view expected);

// Of three threads that open the same at once, one gets a handle and the others -1004.
void ExpectOneOpens(const std::function<int32_t(void**)>& open,
                    const std::function<int32_t(void*)>& close);

// The module that this one forwards to, loaded beside it as any program may.
Producer& TheFirst();

// The grey camera's stream is open; images of 64 x 48 pixels come only when Produce asks for them.
class StandardStreamTest : public MonoStreamTest {
protected:
    InfoCall StreamInfo(STREAM_INFO_CMD command) {
        return [=, this](auto... out) { return gentl.DSGetInfo(stream, command, out...); };
    }
    InfoCall BufferInfo(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
        return [=, this](auto... out) {
            return gentl.DSGetBufferInfo(stream, buffer, command, out...);
        };
    }

    // The code of a query for the size.
    int32_t BufferInfoCode(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command) {
        return Ask(BufferInfo(buffer, command)).code;
    }

    // The next image that is delivered; its buffer stays fetched.
    BUFFER_HANDLE Fetch() {
        const NewBuffer image = WaitBuffer();
        EXPECT_OK(image.code);
        return image.handle;
    }

    // Makes one image and fetches it.
    BUFFER_HANDLE FetchNew() {
        Produce(1);
        return Fetch();
    }

    void ExpectNothing() { EXPECT_EQ(CodeName(WaitBuffer(50).code), CodeName(-1011)); }
};
