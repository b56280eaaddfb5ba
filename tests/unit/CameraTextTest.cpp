// How a text of the camera library in a consumer's buffer is given an end.
#include "camlib/CameraObjects.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace GenICam::Client;
using namespace std::string_literals;

struct EndedText {
    std::string bytes;
    size_t size;

    bool operator==(const EndedText&) const = default;
};

std::ostream& operator<<(std::ostream& out, const EndedText& ended) {
    return out << testing::PrintToString(ended.bytes) << ", size " << ended.size;
}

// The library left these bytes in a buffer of capacity bytes, and tells a size.
EndedText End(std::string bytes, size_t capacity, size_t told) {
    EndCameraText(bytes.data(), capacity, told);
    return {bytes, told};
}

TEST(CameraTextTest, ThatEndsInItsBufferIsLeftAlone) {
    EXPECT_EQ(End("ab\0##"s, 5, 3), (EndedText{"ab\0##"s, 3}));
    EXPECT_EQ(End("ab\0##"s, 5, 2), (EndedText{"ab\0##"s, 2}));
    EXPECT_EQ(End("ab\0##"s, 5, 5), (EndedText{"ab\0##"s, 5}));
    EXPECT_EQ(End("ab\0##"s, 5, 0), (EndedText{"ab\0##"s, 0}));
    EXPECT_EQ(End("abcd\0"s, 5, 5), (EndedText{"abcd\0"s, 5}));
    EXPECT_EQ(End("\0####"s, 5, 1), (EndedText{"\0####"s, 1}));
}

TEST(CameraTextTest, WithoutAnEndIsGivenOneWhereTheLibraryStopped) {
    EXPECT_EQ(End("ab###"s, 5, 2), (EndedText{"ab\0##"s, 3}));
    EXPECT_EQ(End("ab##\0"s, 5, 2), (EndedText{"ab\0#\0"s, 3}));
    EXPECT_EQ(End("abcd#"s, 5, 4), (EndedText{"abcd\0"s, 5}));
}

TEST(CameraTextTest, ThatFillsItsBufferLosesItsLastByte) {
    EXPECT_EQ(End("abcde###"s, 5, 5), (EndedText{"abcd\0###"s, 5}));
    EXPECT_EQ(End("abcde###"s, 5, 0), (EndedText{"abcd\0###"s, 5}));
    EXPECT_EQ(End("abcde###"s, 5, 6), (EndedText{"abcd\0###"s, 5}));
    EXPECT_EQ(End("a##"s, 1, 1), (EndedText{"\0##"s, 1}));
}

TEST(CameraTextTest, IsNoLongerThanItsBufferWhateverIsTold) {
    EXPECT_EQ(End("ab\0##"s, 5, 6), (EndedText{"ab\0##"s, 3}));
    EXPECT_EQ(End("ab\0##"s, 5, size_t{1} << 63), (EndedText{"ab\0##"s, 3}));
    EXPECT_EQ(End("abcde#"s, 5, SIZE_MAX), (EndedText{"abcd\0#"s, 5}));
}

// A consumer who offers no byte gets what the library makes of that.
TEST(CameraTextTest, InABufferOfUnknownSizeIsLeftAlone) {
    EXPECT_EQ(End("ab###"s, 0, 2), (EndedText{"ab###"s, 2}));
}

} // namespace
