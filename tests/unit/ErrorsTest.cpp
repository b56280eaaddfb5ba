#include "core/Errors.h"
#include "Thrown.h"
#include "api/CallFrame.h"
#include "camlib/GenICamBase.h"

#include <boost/thread/exceptions.hpp>

#include <cerrno>
#include <cstring>
#include <functional>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <type_traits>
#include <vector>

#ifndef _MSC_VER
#include <cxxabi.h>
#endif

namespace {

using namespace GenICam::Client;

constexpr char UNSPECIFIED[] = "Unspecified runtime error.";

struct Recorded {
    int32_t code = 0;
    std::string text;

    bool operator==(const Recorded&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Recorded& error) {
    return out << error.code << " \"" << error.text << "\"";
}

Recorded LastError() {
    Recorded error;
    char text[1000] = {};
    size_t size = sizeof text;
    EXPECT_EQ(ReadLastError(&error.code, text, &size), 0);
    error.text = text;
    return error;
}

// What a consumer gets when an exported function's body throws: the answer and the record agree.
template <typename Error>
Recorded Outcome(const Error& error) {
    RecordLastError(-1, "before");
    const int32_t answer = Translated([&] { throw error; });
    const Recorded recorded = LastError();
    EXPECT_EQ(answer, recorded.code);
    return recorded;
}

// What is known of an error class, and what becomes of it.
struct ErrorClass {
    const char* name;
    int32_t code;
    const std::type_info* type;
    bool derivesFromRuntimeError;
    bool derivesFromLogicError;
    std::function<Recorded(const char*)> outcome;
    std::function<std::string(char*)> textAfterChange;
};

template <typename Error>
ErrorClass Class(const char* name, int32_t code) {
    static_assert(std::is_base_of_v<std::exception, Error>);
    static_assert(std::is_constructible_v<Error, const char*>);
    static_assert(std::is_nothrow_copy_constructible_v<Error>);
    return {name,
            code,
            &typeid(Error),
            std::is_base_of_v<std::runtime_error, Error>,
            std::is_base_of_v<std::logic_error, Error>,
            [](const char* text) { return Outcome(Error(text)); },
            [](char* text) {
                const Error error(text);
                std::memset(text, '#', std::strlen(text));
                return std::string(Error(error).what());
            }};
}

// All error classes, in the order in which they are caught.
std::vector<ErrorClass> ErrorClasses() {
    return {
        Class<initialization_error>("initialization_error", -1002),
        Class<implementation_error>("implementation_error", -1003),
        Class<resource_in_use_error>("resource_in_use_error", -1004),
        Class<access_error>("access_error", -1005),
        Class<invalid_handle_error>("invalid_handle_error", -1006),
        Class<invalid_id_error>("invalid_id_error", -1007),
        Class<no_data_error>("no_data_error", -1008),
        Class<invalid_parameter_error>("invalid_parameter_error", -1009),
        Class<io_error>("io_error", -1010),
        Class<timeout_error>("timeout_error", -1011),
        Class<abort_error>("abort_error", -1012),
        Class<invalid_buffer_error>("invalid_buffer_error", -1013),
        Class<not_available_error>("not_available_error", -1014),
        Class<invalid_address_error>("invalid_address_error", -1015),
        Class<buffer_too_small_error>("buffer_too_small_error", -1016),
        Class<invalid_index_error>("invalid_index_error", -1017),
        Class<parsing_chunk_data_error>("parsing_chunk_data_error", -1018),
        Class<invalid_value_error>("invalid_value_error", -1019),
        Class<resource_exhausted_error>("resource_exhausted_error", -1020),
        Class<out_of_memory_error>("out_of_memory_error", -1021),
        Class<dynamic_cast_error>("dynamic_cast_error", -1001),
    };
}

TEST(ErrorsTest, ThereAre21DistinctClasses) {
    std::set<std::string> types;
    for (const ErrorClass& error : ErrorClasses()) {
        types.insert(error.type->name());
    }
    EXPECT_EQ(types.size(), 21U);
}

TEST(ErrorsTest, EachClassHasItsCodeAndKeepsItsText) {
    for (const ErrorClass& error : ErrorClasses()) {
        const std::string text = std::string("100%s of ") + error.name;
        EXPECT_EQ(error.outcome(text.c_str()), (Recorded{error.code, text})) << error.name;
        EXPECT_EQ(error.outcome(""), (Recorded{error.code, ""})) << error.name;
    }
}

TEST(ErrorsTest, EachClassCopiesItsText) {
    for (const ErrorClass& error : ErrorClasses()) {
        char text[] = "a text that is overwritten after the error was made of it";
        EXPECT_EQ(error.textAfterChange(text),
                  "a text that is overwritten after the error was made of it")
            << error.name;
    }
}

TEST(ErrorsTest, NoClassIsARuntimeOrLogicError) {
    for (const ErrorClass& error : ErrorClasses()) {
        EXPECT_FALSE(error.derivesFromRuntimeError) << error.name;
        EXPECT_FALSE(error.derivesFromLogicError) << error.name;
    }
}

#ifndef _MSC_VER
TEST(ErrorsTest, EachClassDerivesDirectlyAndOnlyFromTheStandardException) {
    for (const ErrorClass& error : ErrorClasses()) {
        const auto* single = dynamic_cast<const abi::__si_class_type_info*>(error.type);
        ASSERT_NE(single, nullptr) << error.name;
        EXPECT_TRUE(*single->__base_type == typeid(std::exception)) << error.name;
    }
}
#endif

TEST(ErrorsTest, RuntimeErrorsKeepTheirText) {
    EXPECT_EQ(Outcome(std::runtime_error("runtime")), (Recorded{-1001, "runtime"}));
    EXPECT_EQ(Outcome(std::range_error("range")), (Recorded{-1001, "range"}));
    EXPECT_EQ(Outcome(std::overflow_error("overflow")), (Recorded{-1001, "overflow"}));
    EXPECT_EQ(Outcome(std::underflow_error("underflow")), (Recorded{-1001, "underflow"}));
    const std::system_error system(std::make_error_code(std::errc::io_error), "system");
    EXPECT_EQ(Outcome(system), (Recorded{-1001, system.what()}));
}

// The thread library's errors are runtime errors whose text ends with the system's own.
TEST(ErrorsTest, ThreadErrorsKeepTheirText) {
    const auto expectKept = [](const auto& error) {
        const Recorded outcome = Outcome(error);
        EXPECT_EQ(outcome.code, -1001);
        EXPECT_EQ(outcome.text, error.what());
        EXPECT_EQ(outcome.text.rfind("what the thread did", 0), 0U) << outcome.text;
    };
    expectKept(boost::lock_error(EDEADLK, "what the thread did"));
    expectKept(boost::thread_resource_error(EAGAIN, "what the thread did"));
    expectKept(boost::condition_error(EINVAL, "what the thread did"));
    expectKept(boost::thread_exception(EINVAL, "what the thread did"));
}

TEST(ErrorsTest, OtherStandardExceptionsLoseTheirText) {
    const Recorded unspecified{-1001, UNSPECIFIED};
    EXPECT_EQ(Outcome(std::invalid_argument("text")), unspecified);
    EXPECT_EQ(Outcome(std::out_of_range("text")), unspecified);
    EXPECT_EQ(Outcome(std::length_error("text")), unspecified);
    EXPECT_EQ(Outcome(std::domain_error("text")), unspecified);
    EXPECT_EQ(Outcome(std::logic_error("text")), unspecified);
    EXPECT_EQ(Outcome(std::bad_alloc()), unspecified);
    EXPECT_EQ(Outcome(std::bad_cast()), unspecified);
    EXPECT_EQ(Outcome(std::exception()), unspecified);
}

TEST(ErrorsTest, ExceptionsOfTheCameraLibraryLoseTheirText) {
    const Recorded unspecified{-1001, UNSPECIFIED};
    EXPECT_EQ(Outcome(GenICam::GenericException("text", "file", 1, "GenericException")),
              unspecified);
    EXPECT_EQ(Outcome(GenICam::InvalidArgumentException("text", "file", 1, "type")), unspecified);
    EXPECT_EQ(Outcome(GenICam::RuntimeException("text", "file", 1, "type")), unspecified);
    EXPECT_EQ(Outcome(GenICam::AccessException("text", "file", 1, "type")), unspecified);
    EXPECT_EQ(Outcome(GenICam::TimeoutException("text", "file", 1, "type")), unspecified);
    EXPECT_EQ(Outcome(GenICam::OutOfRangeException("text", "file", 1, "type")), unspecified);
    EXPECT_EQ(Outcome(GenICam::DynamicCastException("text", "file", 1, "type")), unspecified);
}

TEST(ErrorsTest, WhatIsNoExceptionClassIsCaughtToo) {
    const Recorded unspecified{-1001, UNSPECIFIED};
    EXPECT_EQ(Outcome(42), unspecified);
    EXPECT_EQ(Outcome(-1006), unspecified);
    EXPECT_EQ(Outcome("text"), unspecified);
    EXPECT_EQ(Outcome(std::string("text")), unspecified);
    EXPECT_EQ(Outcome(nullptr), unspecified);
}

template <typename First, typename Second>
struct Both : First, Second {
    Both() : First("first"), Second("second") {}
};

// Only the list's order decides which of its two classes an error is taken for.
template <typename First, typename Second>
void ExpectCaughtBefore(int32_t code) {
    EXPECT_EQ((Outcome(Both<First, Second>())), (Recorded{code, "first"}));
    struct Reversed : Second, First {
        Reversed() : Second("second"), First("first") {}
    };
    EXPECT_EQ(Outcome(Reversed()), (Recorded{code, "first"}));
}

TEST(ErrorsTest, ClassesAreCaughtInTheirOrder) {
    ExpectCaughtBefore<std::runtime_error, initialization_error>(-1001);
    ExpectCaughtBefore<initialization_error, implementation_error>(-1002);
    ExpectCaughtBefore<implementation_error, resource_in_use_error>(-1003);
    ExpectCaughtBefore<resource_in_use_error, access_error>(-1004);
    ExpectCaughtBefore<access_error, invalid_handle_error>(-1005);
    ExpectCaughtBefore<invalid_handle_error, invalid_id_error>(-1006);
    ExpectCaughtBefore<invalid_id_error, no_data_error>(-1007);
    ExpectCaughtBefore<no_data_error, invalid_parameter_error>(-1008);
    ExpectCaughtBefore<invalid_parameter_error, io_error>(-1009);
    ExpectCaughtBefore<io_error, timeout_error>(-1010);
    ExpectCaughtBefore<timeout_error, abort_error>(-1011);
    ExpectCaughtBefore<abort_error, invalid_buffer_error>(-1012);
    ExpectCaughtBefore<invalid_buffer_error, not_available_error>(-1013);
    ExpectCaughtBefore<not_available_error, invalid_address_error>(-1014);
    ExpectCaughtBefore<invalid_address_error, buffer_too_small_error>(-1015);
    ExpectCaughtBefore<buffer_too_small_error, invalid_index_error>(-1016);
    ExpectCaughtBefore<invalid_index_error, parsing_chunk_data_error>(-1017);
    ExpectCaughtBefore<parsing_chunk_data_error, invalid_value_error>(-1018);
    ExpectCaughtBefore<invalid_value_error, resource_exhausted_error>(-1019);
    ExpectCaughtBefore<resource_exhausted_error, out_of_memory_error>(-1020);
    ExpectCaughtBefore<out_of_memory_error, dynamic_cast_error>(-1021);
}

TEST(ErrorsTest, ARuntimeErrorIsCaughtBeforeEveryClass) {
    ExpectCaughtBefore<std::runtime_error, access_error>(-1001);
    ExpectCaughtBefore<std::runtime_error, abort_error>(-1001);
    ExpectCaughtBefore<std::runtime_error, dynamic_cast_error>(-1001);
}

TEST(CallFrameTest, AnswersTheBodysOwnCodeAndRecordsNothing) {
    RecordLastError(-1234, "earlier");
    EXPECT_EQ(Translated([] {}), 0);
    EXPECT_EQ(Translated([]() -> GC_ERROR { return 0; }), 0);
    EXPECT_EQ(Translated([]() -> GC_ERROR { return -1011; }), -1011);
    EXPECT_EQ(LastError(), (Recorded{-1234, "earlier"}));
}

bool IsSet(const void* handle) noexcept {
    return handle != nullptr;
}

TEST(CallFrameTest, TheGuardComesFirst) {
    bool ran = false;
    const auto body = [&] { ran = true; };
    int handle = 0;
    SetInitialized(false);
    for (const auto& call : std::vector<std::function<GC_ERROR()>>{
             [&] { return Framed(body); }, [&] { return FramedOn(&handle, IsSet, body); },
             [&] { return FramedOn(nullptr, IsSet, body); }}) {
        RecordLastError(-1, "before");
        EXPECT_EQ(call(), -1002);
        EXPECT_EQ(LastError(), (Recorded{-1002, "GCInitLib was not called."}));
    }
    EXPECT_FALSE(ran);
}

TEST(CallFrameTest, ANullHandleAnswersAnotherCodeThanItRecords) {
    bool ran = false;
    SetInitialized(true);
    EXPECT_EQ(FramedOn(nullptr, IsSet, [&] { ran = true; }), -1006);
    EXPECT_EQ(LastError(), (Recorded{-1009, "Function call on wrong handle or NULL pointer."}));
    EXPECT_FALSE(ran);
    int handle = 0;
    EXPECT_EQ(FramedOn(&handle, IsSet, [&] { ran = true; }), 0);
    EXPECT_TRUE(ran);
    SetInitialized(false);
}

} // namespace
