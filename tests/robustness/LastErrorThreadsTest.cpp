#include "Fixtures.h"

#include "Background.h"
#include "Process.h"

#include <algorithm>

namespace {

// Threads fail at the same time, with codes and texts of their own. Which one is told is open; half
// of one and half of another is not.
class LastErrorThreadsTest : public InterfaceTest {
protected:
    struct Failure {
        std::function<int32_t()> call;
        ErrorRecord error;
    };

    std::vector<Failure> Failures() {
        std::vector<Failure> failures = {
            {[this] { return gentl.TLClose(nullptr); }, {-1006, " Invalid TL handle"}},
            {[this] { return gentl.GCGetInfo(9, nullptr, nullptr, nullptr); },
             {-1009, "Unsupported GCInfo parameter"}},
            {[this] { return gentl.IFClose(nullptr); }, {-1001, "Unspecified runtime error."}},
            {[this] { return gentl.EventFlush(nullptr); },
             {-1009, "Function call on wrong handle or NULL pointer."}},
        };
        for (const size_t length : {size_t{1}, size_t{15}, size_t{300}, size_t{10000}}) {
            const std::string id(length, static_cast<char>('a' + failures.size()));
            failures.push_back({[this, id] {
                                    void* opened = nullptr;
                                    return gentl.TLOpenInterface(tl, id.c_str(), &opened);
                                },
                                {-1001, "Invalid interface name " + id}});
        }
        return failures;
    }

    // Fails until told to stop; 0 when each call failed as it must.
    std::function<int32_t()> Fail(const Failure& failure) {
        return [this, failure]() -> int32_t {
            int32_t expected = failure.error.code;
            if (failure.error.text.starts_with("Function")) {
                expected = -1006; // what is recorded differs from what is answered
            }
            while (!m_isDone) {
                if (failure.call() != expected) {
                    return -1;
                }
            }
            return 0;
        };
    }

    // 0 when every error read was one of these.
    std::function<int32_t()> ReadAll(const std::vector<Failure>& failures) {
        return [this, failures]() -> int32_t {
            std::vector<char> text(20000);
            int32_t result = 0;
            for (int i = 0; i < 3000 && result == 0; ++i) {
                GC_ERROR code = 0;
                size_t size = text.size();
                result = gentl.GCGetLastError(&code, text.data(), &size);
                const bool isKnown =
                    std::any_of(failures.begin(), failures.end(), [&](const Failure& failure) {
                        return failure.error.code == code &&
                               failure.error.text.size() + 1 == size &&
                               failure.error.text == text.data();
                    });
                result = isKnown ? result : -1;
            }
            m_isDone = true;
            return result;
        };
    }

    void ExpectWholeErrors(size_t numFailing) {
        std::vector<Failure> failures = Failures();
        // The longest ones too.
        std::reverse(failures.begin(), failures.end());
        failures.resize(numFailing);
        ASSERT_LT(failures[0].call(), 0);
        m_isDone = false;
        std::vector<std::function<int32_t()>> calls = {ReadAll(failures)};
        for (const Failure& failure : failures) {
            calls.push_back(Fail(failure));
        }
        EXPECT_EQ(RunTogether(calls), std::vector<int32_t>(numFailing + 1, 0));
    }

    std::atomic<bool> m_isDone{false};
};

TEST_F(LastErrorThreadsTest, TwoAreNeverMixed) {
    ExpectWholeErrors(2);
}

TEST_F(LastErrorThreadsTest, FourAreNeverMixed) {
    ExpectWholeErrors(4);
}

TEST_F(LastErrorThreadsTest, EightAreNeverMixed) {
    ExpectWholeErrors(8);
}

// A text that has grown since its size was asked for is too long, and never cut.
TEST_F(LastErrorThreadsTest, SizesFitTheirTexts) {
    const std::vector<Failure> failures = Failures();
    ASSERT_LT(failures[7].call(), 0);
    const auto ask = [&]() -> int32_t {
        int32_t worst = 0;
        for (int i = 0; i < 3000; ++i) {
            size_t size = 0;
            worst = std::min(worst, gentl.GCGetLastError(nullptr, nullptr, &size));
            if (size != failures[0].error.text.size() + 1 &&
                size != failures[7].error.text.size() + 1) {
                worst = -1;
            }
            std::string text(size, '#');
            const int32_t code = gentl.GCGetLastError(nullptr, text.data(), &size);
            if (code != 0 && code != -1016) {
                worst = code;
            }
        }
        m_isDone = true;
        return worst;
    };
    EXPECT_EQ(RunTogether({ask, ask, Fail(failures[0]), Fail(failures[7])}),
              (std::vector<int32_t>{0, 0, 0, 0}));
}

// With nobody else failing, a thread reads what it just caused.
TEST_F(LastErrorThreadsTest, TheLastOneIsThereWhenAllAreDone) {
    for (int i = 0; i < 20; ++i) {
        const std::vector<Failure> failures = Failures();
        m_isDone = true;
        std::vector<std::function<int32_t()>> calls;
        for (const Failure& failure : failures) {
            calls.push_back(failure.call);
        }
        RunTogether(calls);
        for (const Failure& failure : failures) {
            failure.call();
            ASSERT_EQ(LastError(), failure.error);
        }
    }
}

#if defined(__linux__)

TEST_F(LastErrorThreadsTest, FailingAgainAndAgainTakesNoMoreMemory) {
    const std::vector<Failure> failures = Failures();
    const auto failAll = [&] {
        for (int i = 0; i < 2000; ++i) {
            failures[static_cast<size_t>(i) % failures.size()].call();
        }
    };
    failAll();
    const size_t before = AllocatedBytes();
    failAll();
    EXPECT_LE(AllocatedBytes(), before + 8 * 10100);
    const size_t after = AllocatedBytes();
    failAll();
    EXPECT_LE(AllocatedBytes(), after + 1000);
}

#endif

} // namespace
