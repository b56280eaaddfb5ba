// What tests of the module as a consumer holds it check: answers, recorded errors and the rules by
// which values are copied out. Knows the module only through its exported functions, and nothing
// below it.
#pragma once

#include "Producer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

// Long enough for any machine; a test that waits that long has failed.
inline constexpr uint64_t LONG_WAIT = 30000;

// What the module says of failures that it knows nothing more of.
inline constexpr char UNSPECIFIED[] = "Unspecified runtime error.";

// The error that GCGetLastError holds; code 0 and no text when there is none.
struct ErrorRecord {
    int32_t code = 0;
    std::string text;

    bool operator==(const ErrorRecord&) const = default;
};
std::ostream& operator<<(std::ostream& out, const ErrorRecord& error);
ErrorRecord LastError(const Producer& producer = TheProducer());

// "-1006 GC_ERR_INVALID_HANDLE"
std::string CodeName(int32_t code);

testing::AssertionResult Answers(int32_t expected, int32_t answer);
// Records an error that few calls record, so that what is found afterwards is known to be new.
testing::AssertionResult RecordOtherError();
// Each calls RecordOtherError before the call.
testing::AssertionResult CallFails(int32_t code, std::string_view text,
                                   const std::function<int32_t()>& call);
testing::AssertionResult CallFailsWithSomeText(int32_t code, const std::function<int32_t()>& call);
testing::AssertionResult CallFailsUnrecorded(int32_t code, const std::function<int32_t()>& call);

#define EXPECT_OK(...) EXPECT_TRUE(Answers(0, __VA_ARGS__))
#define ASSERT_OK(...) ASSERT_TRUE(Answers(0, __VA_ARGS__))
#define EXPECT_CODE(code, ...) EXPECT_TRUE(Answers(code, __VA_ARGS__))
// The call answers the code, and records it with exactly this text.
#define EXPECT_FAILS(code, text, ...)                                                              \
    EXPECT_TRUE(CallFails(code, text, [&]() -> int32_t { return __VA_ARGS__; }))
#define ASSERT_FAILS(code, text, ...)                                                              \
    ASSERT_TRUE(CallFails(code, text, [&]() -> int32_t { return __VA_ARGS__; }))
// The call answers the code, and records it with a text that is left open.
#define EXPECT_FAILS_WITH_TEXT(code, ...)                                                          \
    EXPECT_TRUE(CallFailsWithSomeText(code, [&]() -> int32_t { return __VA_ARGS__; }))
// The call answers the code, and the error recorded before stays.
#define EXPECT_FAILS_UNRECORDED(code, ...)                                                         \
    EXPECT_TRUE(CallFailsUnrecorded(code, [&]() -> int32_t { return __VA_ARGS__; }))
#define EXPECT_LAST_ERROR(code, text) EXPECT_EQ(LastError(), (ErrorRecord{code, text}))

// The answer of an info query. A type or size that the query did not write keeps these values.
inline constexpr int32_t TYPE_NOT_WRITTEN = -77;
inline constexpr size_t SIZE_NOT_WRITTEN = 7777;
struct Info {
    int32_t code = 0;
    int32_t type = TYPE_NOT_WRITTEN;
    size_t size = SIZE_NOT_WRITTEN;
    std::string bytes;

    // The text before the first zero.
    std::string Text() const { return bytes.c_str(); }

    template <typename Value>
    Value As() const {
        Value value{};
        EXPECT_EQ(bytes.size(), sizeof value);
        std::memcpy(&value, bytes.data(),
                    bytes.size() < sizeof value ? bytes.size() : sizeof value);
        return value;
    }

    bool operator==(const Info&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Info& info);

// The outputs of a ...GetInfo function; [&](auto... out) { return f(handle, command, out...); }
// fits.
using InfoCall = std::function<GC_ERROR(INFO_DATATYPE*, void*, size_t*)>;
// The same of a function that answers a text without a type, such as TLGetInterfaceID.
using TextCall = std::function<GC_ERROR(char*, size_t*)>;

// Asks for the size, then for the value in a buffer of that size; reports bytes written behind it.
Info Ask(const InfoCall& call);
Info AskText(const TextCall& call);

// What Ask answers for a value: a text (zeros inside it count), a flag or a number.
Info TextInfo(std::string_view text);
Info BoolInfo(bool value);
template <typename Value>
Info NumberInfo(int32_t type, Value value) {
    Info info{0, type, sizeof value, std::string(sizeof value, '\0')};
    std::memcpy(info.bytes.data(), &value, sizeof value);
    return info;
}
// What AskText answers for a text.
Info PlainTextInfo(std::string_view text);

// The whole ladder of an info query that knows its value: null size, null buffer, size 0, one byte
// short, exact, larger, without a type. Failures are -1001 with "Unspecified runtime error.".
void ExpectCopyOut(const InfoCall& call, const Info& expected);
void ExpectTextCopyOut(const TextCall& call, const Info& expected);

// Asks again and again until the condition holds; false after LONG_WAIT.
bool Eventually(const std::function<bool()>& condition);
