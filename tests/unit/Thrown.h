// How the unit tests look at failures: the exact class and the text of what a call throws.
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <ostream>
#include <string>
#include <typeinfo>

struct Failure {
    std::string type;
    std::string text;

    template <typename Error>
    static Failure Of(const std::string& text) {
        return {typeid(Error).name(), text};
    }

    bool operator==(const Failure&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    return out << failure.type << " \"" << failure.text << "\"";
}

// The failure of a call; nothing in it when the call returns.
template <typename Call>
Failure FailureOf(const Call& call) {
    try {
        call();
    } catch (const std::exception& error) {
        return {typeid(error).name(), error.what()};
    }
    return {};
}

// The call throws exactly this class, no derived one, with exactly this text.
#define EXPECT_THROWS(Error, text, ...)                                                            \
    EXPECT_EQ(FailureOf([&] { __VA_ARGS__; }), Failure::Of<Error>(text))
