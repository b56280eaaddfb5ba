#include "core/LastError.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace {

using GenICam::Client::CTLIError;
using GenICam::Client::ReadLastError;
using GenICam::Client::RecordLastError;

constexpr int NUM_THREADS = 8;
constexpr int NUM_ROUNDS = 2000;

// Each thread has a code and a text of its own, of very different length: from a few characters,
// which a string keeps inside itself, to some hundreds.
struct Signature {
    int32_t code;
    std::string text;
};

std::vector<Signature> Signatures() {
    std::vector<Signature> signatures;
    for (int i = 0; i < NUM_THREADS; ++i) {
        const auto length = static_cast<size_t>(1 + i * i * 17);
        signatures.push_back({-2000 - i, std::string(length, static_cast<char>('A' + i))});
    }
    return signatures;
}

enum class Seen { Whole, Torn, Nothing };

Seen Look(const std::vector<Signature>& signatures) {
    int32_t code = 0;
    std::array<char, 2000> text{};
    size_t size = text.size();
    if (ReadLastError(&code, text.data(), &size) != 0) {
        return Seen::Nothing;
    }
    const int index = -2000 - code;
    if (index < 0 || index >= NUM_THREADS) {
        return Seen::Torn;
    }
    const std::string& expected = signatures[static_cast<size_t>(index)].text;
    return expected == text.data() && size == expected.size() + 1 ? Seen::Whole : Seen::Torn;
}

TEST(LastErrorSlotsTest, AReaderAlwaysSeesACodeWithItsOwnText) {
    const std::vector<Signature> signatures = Signatures();
    RecordLastError(signatures[0].code, signatures[0].text.c_str());
    std::atomic<int> numTorn{0};
    std::atomic<int> numMissing{0};
    std::atomic<int> numReady{0};
    std::vector<std::thread> threads;
    for (const Signature& own : signatures) {
        threads.emplace_back([&] {
            ++numReady;
            while (numReady < NUM_THREADS) {
                std::this_thread::yield();
            }
            for (int round = 0; round < NUM_ROUNDS; ++round) {
                RecordLastError(own.code, own.text.c_str());
                const Seen seen = Look(signatures);
                numTorn += seen == Seen::Torn ? 1 : 0;
                numMissing += seen == Seen::Nothing ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(numTorn, 0);
    EXPECT_EQ(numMissing, 0);
    EXPECT_EQ(Look(signatures), Seen::Whole);
}

TEST(LastErrorSlotsTest, OneThreadAlwaysReadsWhatItRecordedLast) {
    for (int i = 0; i < 1000; ++i) {
        const std::string recorded(static_cast<size_t>(i), 'x');
        RecordLastError(-i, recorded.c_str());
        int32_t code = 1;
        std::array<char, 1001> text{};
        size_t size = text.size();
        ASSERT_EQ(ReadLastError(&code, text.data(), &size), 0);
        ASSERT_EQ(code, -i);
        ASSERT_EQ(text.data(), recorded);
        ASSERT_EQ(size, recorded.size() + 1);
    }
}

TEST(LastErrorSlotsTest, AVeryLongTextIsKeptWhole) {
    const std::string recorded(1'000'000, 'y');
    RecordLastError(-7, recorded.c_str());
    size_t size = 0;
    ASSERT_EQ(ReadLastError(nullptr, nullptr, &size), 0);
    ASSERT_EQ(size, 1'000'001U);
    std::string text(size, '?');
    ASSERT_EQ(ReadLastError(nullptr, text.data(), &size), 0);
    EXPECT_TRUE(text == recorded + '\0');
}

TEST(LastErrorSlotsTest, AnErrorKeepsACopyOfItsText) {
    char recorded[] = "before";
    RecordLastError(-5, recorded);
    recorded[0] = 'X';
    char text[10] = {};
    size_t size = sizeof text;
    ASSERT_EQ(ReadLastError(nullptr, text, &size), 0);
    EXPECT_STREQ(text, "before");
}

TEST(LastErrorSlotsTest, ANewRecordIsEmpty) {
    const CTLIError error;
    EXPECT_EQ(error.m_message, "");
    EXPECT_EQ(error.m_code, 0);
}

} // namespace
