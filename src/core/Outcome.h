// How an info query ended. Consumers ask for what there may be, and are refused some ten times an
// image: that is answered, since an exception takes microseconds, and tens of them in a process
// with an unwinder of its own. Everything else that fails is thrown.
// This file knows nothing of the last error.
#pragma once

#include "GenTL/GenTL.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <type_traits>

namespace GenICam::Client {

// What a consumer is told of an error whose own text it does not get.
inline constexpr char kUnspecifiedError[] = "Unspecified runtime error.";

// Success, a code alone, or a refusal: the code and the text of an error.
class [[nodiscard]] COutcome {
public:
    using TextBuffer = std::array<char, 64>;

    constexpr COutcome() noexcept = default;
    // A code that a consumer gets without a text.
    constexpr COutcome(GC_ERROR code) noexcept : m_code(code) {}

    // A refusal. A number takes the place of the %d or %ld in the text, which is a literal.
    template <std::size_t Size>
    constexpr COutcome(GC_ERROR code, bool isTold, const char (&text)[Size],
                       std::int32_t number) noexcept
        : m_text(text), m_number(number), m_code(code), m_isTold(isTold) {
        static_assert(Size - sizeof "%d" + sizeof "-2147483648" <= std::tuple_size_v<TextBuffer>);
    }

    GC_ERROR Code() const noexcept { return m_code; }
    bool IsRefusal() const noexcept { return m_text != nullptr; }
    // Whether a consumer is told the text of a refusal, instead of kUnspecifiedError.
    bool IsTold() const noexcept { return m_isTold; }
    // The text of a refusal, with its number.
    TextBuffer Text() const noexcept;
    // The same refusal, told to the consumer with a code of its own.
    COutcome ToldAs(GC_ERROR code) const noexcept;

private:
    const char* m_text = nullptr;
    std::int32_t m_number = 0;
    GC_ERROR m_code = GC_ERR_SUCCESS;
    bool m_isTold = false;
};

// What throwing an Error with this text would come to.
template <class Error, std::size_t Size>
constexpr COutcome Refusal(const char (&text)[Size], std::int32_t number = 0) noexcept {
    if constexpr (requires { Error::code; }) {
        return {Error::code, true, text, number};
    } else {
        return {GC_ERR_ERROR, std::is_base_of_v<std::runtime_error, Error>, text, number};
    }
}

} // namespace GenICam::Client
