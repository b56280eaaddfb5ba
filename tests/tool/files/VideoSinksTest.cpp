// Frames of videos byte by byte, where the sizes of cameras do not reach.
#include "files/VideoSinks.h"
#include "terminal/Error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace norveltl {

namespace {

using Bytes = std::vector<uint8_t>;

class VideoSinks : public testing::Test {
protected:
    void SetUp() override {
        const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
        m_path = std::filesystem::temp_directory_path() /
                 ("norveltl_files_tests." + std::string(test.name()) + ".avi");
    }
    void TearDown() override {
        std::error_code error;
        std::filesystem::remove(m_path, error);
    }

    static SImage Image(uint32_t width, uint32_t height, const char* format, Bytes bytes) {
        return {1, {width, height, format, 0}, std::move(bytes), {}, {}, {}};
    }

    Bytes File() const {
        std::ifstream file(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // The content of the first chunk of that name behind the place.
    static Bytes Chunk(const Bytes& file, std::string_view name, size_t from = 0) {
        const auto found = std::search(file.begin() + static_cast<std::ptrdiff_t>(from), file.end(),
                                       name.begin(), name.end());
        if (file.end() - found < 8) {
            return {};
        }
        const size_t size = found[4] | static_cast<size_t>(found[5]) << 8;
        return {found + 8, found + 8 + static_cast<std::ptrdiff_t>(size)};
    }

    static size_t Frames(const Bytes& file) {
        constexpr std::string_view kList = "movi";
        return static_cast<size_t>(
            std::search(file.begin(), file.end(), kList.begin(), kList.end()) - file.begin());
    }

    std::filesystem::path m_path;
};

TEST_F(VideoSinks, LinesOfColoursAreFilledUp) {
    CAviSink sink(m_path, EExisting::Replace, ECodec::None, 10);
    sink.Write(Image(1, 2, "RGB8", {1, 2, 3, 4, 5, 6}))();
    sink.Finish();
    const Bytes file = File();
    EXPECT_EQ(Chunk(file, "00db", Frames(file)), (Bytes{6, 5, 4, 0, 3, 2, 1, 0}));
    EXPECT_EQ(sink.NumImages(), 1U);
}

TEST_F(VideoSinks, MoreBitsThan8AreReduced) {
    CAviSink sink(m_path, EExisting::Replace, ECodec::None, 10);
    sink.Write(Image(2, 1, "Mono12p", {0xBC, 0x3A, 0x12}))();
    sink.Finish();
    const Bytes file = File();
    EXPECT_EQ(Chunk(file, "00db", Frames(file)), (Bytes{0xAB, 0x12}));
}

TEST_F(VideoSinks, JpegIsWhatItSays) {
    CAviSink sink(m_path, EExisting::Replace, ECodec::Jpeg, 10);
    sink.Write(Image(8, 8, "Mono8", Bytes(64, 77)))();
    sink.Finish();
    const Bytes file = File();
    const Bytes frame = Chunk(file, "00dc", Frames(file));
    ASSERT_GT(frame.size(), 4U);
    EXPECT_EQ((Bytes{frame.begin(), frame.begin() + 3}), (Bytes{0xFF, 0xD8, 0xFF}));
    EXPECT_EQ((Bytes{frame.end() - 2, frame.end()}), (Bytes{0xFF, 0xD9}));
}

TEST_F(VideoSinks, ImagesOfAnotherKindEndIt) {
    CAviSink sink(m_path, EExisting::Replace, ECodec::None, 10);
    sink.Write(Image(2, 1, "Mono8", {1, 2}))();
    EXPECT_THROW(sink.Write(Image(1, 2, "Mono8", {1, 2}))(), CToolError);
    EXPECT_THROW(sink.Write(Image(2, 1, "RGB8", Bytes(6)))(), CToolError);
    EXPECT_THROW(sink.Write(Image(2, 1, "Confidence8", {1, 2})), CToolError);
    sink.Write(Image(2, 1, "Mono8", {3, 4}))();
    EXPECT_EQ(sink.NumImages(), 2U);
}

TEST_F(VideoSinks, WithoutImagesThereIsNoFile) {
    CAviSink sink(m_path, EExisting::Replace, ECodec::Jpeg, 10);
    sink.Finish();
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

} // namespace

} // namespace norveltl
