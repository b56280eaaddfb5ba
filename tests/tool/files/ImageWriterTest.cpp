// Images on their way through the queue and its threads.
#include "files/ImageWriter.h"
#include "terminal/Error.h"

#include <gtest/gtest.h>

#include <atomic>

namespace norveltl {

namespace {

using namespace std::chrono_literals;

// The earlier an image comes, the longer it takes, so that later ones are ready before.
class CSlowSink : public IImageSink {
public:
    std::function<void()> Write(const SImage& image) override {
        std::this_thread::sleep_for(image.number % 2 == 1 ? 20ms : 1ms);
        if (image.number == m_failing) {
            throw CToolError("image " + std::to_string(image.number));
        }
        return [this, number = image.number] { m_numbers.push_back(number); };
    }
    void Finish() override { m_hasFinished = true; }

    uint64_t m_failing = 0;
    std::vector<uint64_t> m_numbers;
    bool m_hasFinished = false;
};

// Takes nothing until it is allowed to.
class CBlockedSink : public IImageSink {
public:
    std::function<void()> Write(const SImage&) override {
        m_isOpen.wait(false);
        return [] {};
    }
    void Finish() override {}
    void Open() {
        m_isOpen = true;
        m_isOpen.notify_all();
    }

private:
    std::atomic<bool> m_isOpen{false};
};

SImage Image(uint64_t number, size_t size = 10) {
    SImage image{};
    image.number = number;
    image.bytes.resize(size);
    return image;
}

} // namespace

TEST(ImageWriter, ImagesStayInTheirOrder) {
    const auto sink = std::make_shared<CSlowSink>();
    CImageWriter writer({sink}, 1000);
    std::vector<uint64_t> expected;
    for (uint64_t number = 1; number <= 12; ++number) {
        ASSERT_TRUE(writer.HasRoom(10));
        writer.Add(Image(number));
        expected.push_back(number);
    }
    writer.Finish();
    EXPECT_EQ(sink->m_numbers, expected);
    EXPECT_TRUE(sink->m_hasFinished);
    EXPECT_EQ(writer.NumLeftOut(), 0U);
}

TEST(ImageWriter, WhatFailsIsThrownOnceAndEndsNobodyElse) {
    const auto failing = std::make_shared<CSlowSink>();
    const auto other = std::make_shared<CSlowSink>();
    failing->m_failing = 3;
    CImageWriter writer({failing, other}, 1000);
    for (uint64_t number = 1; number <= 3; ++number) {
        ASSERT_TRUE(writer.HasRoom(10));
        writer.Add(Image(number));
    }
    EXPECT_THROW(
        for (;;) {
            writer.HasRoom(10);
            std::this_thread::sleep_for(1ms);
        },
        CToolError);
    EXPECT_NO_THROW(writer.Finish());
    EXPECT_EQ(failing->m_numbers, (std::vector<uint64_t>{1, 2}));
    EXPECT_EQ(other->m_numbers, (std::vector<uint64_t>{1, 2, 3}));
    EXPECT_TRUE(failing->m_hasFinished);
}

TEST(ImageWriter, WhatFailsAtTheEndIsThrownByFinish) {
    const auto failing = std::make_shared<CSlowSink>();
    failing->m_failing = 1;
    CImageWriter writer({failing}, 1000);
    ASSERT_TRUE(writer.HasRoom(10));
    writer.Add(Image(1));
    EXPECT_THROW(writer.Finish(), CToolError);
}

TEST(ImageWriter, WhatFindsNoRoomIsCounted) {
    const auto sink = std::make_shared<CBlockedSink>();
    CImageWriter writer({sink}, 100);
    uint64_t number = 0, numRefused = 0;
    // A thread that begins its work makes room for one more.
    while (numRefused < 2) {
        if (writer.HasRoom(40)) {
            writer.Add(Image(++number, 40));
        } else {
            ++numRefused;
        }
    }
    EXPECT_GE(number, 2U);
    EXPECT_EQ(writer.NumLeftOut(), numRefused);
    sink->Open();
    writer.Finish();
    EXPECT_EQ(writer.NumQueued(), 0U);
}

} // namespace norveltl
