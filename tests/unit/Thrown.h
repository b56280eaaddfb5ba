// How the unit tests look at failures: the exact class and the text of what a call throws, and what
// a refusal comes to.
#pragma once

#include "core/Outcome.h"

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

// How an operation ended, as consumers and readers of the source see it.
struct Ended {
    Ended(const GenICam::Client::COutcome& outcome) : code(outcome.Code()) {
        if (outcome.IsRefusal()) {
            isTold = outcome.IsTold();
            text = outcome.Text().data();
        }
    }

    template <typename Error>
    static Ended Refused(const std::string& text) {
        Ended ended(GenICam::Client::Refusal<Error>(""));
        ended.text = text;
        return ended;
    }

    int32_t code;
    bool isTold = false;
    std::string text;

    bool operator==(const Ended&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Ended& ended) {
    return out << ended.code << (ended.isTold ? " \"" : " untold \"") << ended.text << "\"";
}

#define EXPECT_ANSWERS(...) EXPECT_EQ(Ended(__VA_ARGS__), Ended(0))
// The operation refuses as if it had thrown this class with exactly this text.
#define EXPECT_REFUSES(Error, text, ...) EXPECT_EQ(Ended(__VA_ARGS__), Ended::Refused<Error>(text))
