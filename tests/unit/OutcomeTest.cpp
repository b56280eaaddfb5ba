#include "core/Outcome.h"
#include "api/CallFrame.h"
#include "core/Errors.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

namespace {

using namespace GenICam::Client;

// What a call answers and what it records; an earlier error stays where it records nothing.
struct Told {
    GC_ERROR answer = 0;
    GC_ERROR code = 0;
    std::string text;

    template <typename Body>
    static Told By(const Body& body) {
        RecordLastError(-1, "earlier");
        Told told{Translated(body), 0, ""};
        std::array<char, 200> text{};
        size_t size = text.size();
        EXPECT_EQ(ReadLastError(&told.code, text.data(), &size), 0);
        told.text = text.data();
        return told;
    }

    bool operator==(const Told&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Told& told) {
    return out << told.answer << ", recorded " << told.code << " \"" << told.text << "\"";
}

template <typename Error>
class OutcomeOfClassTest : public testing::Test {};

using ErrorClasses =
    testing::Types<initialization_error, implementation_error, resource_in_use_error, access_error,
                   invalid_handle_error, invalid_id_error, no_data_error, invalid_parameter_error,
                   io_error, timeout_error, abort_error, invalid_buffer_error, not_available_error,
                   invalid_address_error, buffer_too_small_error, invalid_index_error,
                   parsing_chunk_data_error, invalid_value_error, resource_exhausted_error,
                   out_of_memory_error, dynamic_cast_error, std::runtime_error, std::range_error,
                   std::invalid_argument, std::out_of_range, std::logic_error>;
TYPED_TEST_SUITE(OutcomeOfClassTest, ErrorClasses);

TYPED_TEST(OutcomeOfClassTest, ARefusalComesToWhatThrowingComesTo) {
    EXPECT_EQ(Told::By([] { return Refusal<TypeParam>("No %d here", -7); }),
              Told::By([] { throw TypeParam("No -7 here"); }));
    EXPECT_EQ(Told::By([] { return Refusal<TypeParam>("Nothing"); }),
              Told::By([] { throw TypeParam("Nothing"); }));
}

std::string TextOf(const COutcome& outcome) {
    return outcome.Text().data();
}

TEST(OutcomeTest, ANumberTakesThePlaceOfItsPlaceholder) {
    EXPECT_EQ(TextOf(Refusal<io_error>("%d")), "0");
    EXPECT_EQ(TextOf(Refusal<io_error>("%d is", 12)), "12 is");
    EXPECT_EQ(TextOf(Refusal<io_error>("is %ld", 12)), "is 12");
    EXPECT_EQ(TextOf(Refusal<io_error>("an %ld odd deed", 12)), "an 12 odd deed");
    EXPECT_EQ(TextOf(Refusal<io_error>("without", 12)), "without");
    EXPECT_EQ(TextOf(Refusal<io_error>("")), "");
}

TEST(OutcomeTest, TheLongestNumberFitsBehindTheLongestText) {
    constexpr char longest[] = "A text that is as long as any may be, here with a: %d.";
    static_assert(sizeof longest - sizeof "%d" + sizeof "-2147483648" ==
                  std::tuple_size_v<COutcome::TextBuffer>);
    EXPECT_EQ(TextOf(Refusal<io_error>(longest, INT32_MIN)),
              "A text that is as long as any may be, here with a: -2147483648.");
}

TEST(OutcomeTest, ACodeAloneIsNotRecorded) {
    EXPECT_EQ(Told::By([] { return COutcome(); }), (Told{0, -1, "earlier"}));
    EXPECT_EQ(Told::By([] { return COutcome(-1006); }), (Told{-1006, -1, "earlier"}));
}

TEST(OutcomeTest, WhatIsNotToldCanBeToldWithACodeOfItsOwn) {
    const COutcome untold = Refusal<std::invalid_argument>("Invalid Size");
    EXPECT_EQ(Told::By([&] { return untold; }), (Told{-1001, -1001, "Unspecified runtime error."}));
    EXPECT_EQ(Told::By([&] { return untold.ToldAs(-1016); }), (Told{-1016, -1016, "Invalid Size"}));
}

} // namespace
