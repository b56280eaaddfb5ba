// The fault matrix as data: what a consumer can do, where the camera library can fail below it, and
// what comes of it then. MatrixTest.cpp crosses the rows with every result and checks each cell.
// Codes and texts are literal; nothing here knows what the module holds.
#pragma once

#include "MatrixBench.h"

#include <functional>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Matrix {

// What a call comes to.
struct Outcome {
    int32_t code = 0;
    std::string text = {}; // of the error that it records; empty when it records none
    std::string outputs = "unchanged";
    // What the consumer sees afterwards; none is what the action says of a call with such a code.
    std::optional<std::string> seen = std::nullopt;

    bool operator==(const Outcome&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Outcome& outcome);

// None is the outcome of a call in which nothing goes wrong.
using Expected = std::optional<Outcome>;
inline const Expected SOUND = std::nullopt;

// A call of an exported function, always made in the same state.
struct Action {
    std::string name = {}; // the function, and behind a comma what is special
    State state = State::Library;
    std::function<int32_t(Bench&)> call = nullptr;
    Outcome sound = {};
    std::string seenAfterFailure = {};
    // What is done before the call, and what is looked at after it.
    std::function<void(Bench&)> prepare = nullptr;
    std::function<std::string(Bench&)> see = nullptr;
    // Takes back what a call did that succeeded.
    std::function<void(Bench&)> undo = nullptr;
    // The state that a success leaves, when it is another one.
    std::optional<State> left = std::nullopt;
    // It closes what it is called on, whatever it answers.
    bool closes = false;
    // An acquisition thread asks the library for images at the same time.
    bool streams = false;

    std::string Function() const { return name.substr(0, name.find(',')); }
};
std::vector<Action> AllActions();
// Those of them that are made on a stream, or while it acquires.
std::vector<Action> StreamActions();
// The exported functions, each in calls that never reach the camera library.
std::vector<Action> QuietActions();

// What comes of every result of an operation.
struct Outcomes {
    std::map<int32_t, Outcome> named = {};
    Expected negative = SOUND;
    Expected positive = SOUND;

    Expected Of(int32_t result) const;
};

// One operation of the camera library that an action reaches.
struct Row {
    std::string action = {};
    OptivoOperation operation = OPTIVO_GET_SYSTEM;
    // Key, command or address that tells this call of the operation from others.
    uint64_t selector = OPTIVO_ANY_SELECTOR;
    Outcomes idle = {};   // the operation does nothing and answers the result
    Outcomes worked = {}; // it does its work first
    Expected thrown = Outcome{-1001, "Unspecified runtime error."};
    Expected delayed = SOUND;
    // What a success without an object comes to, where the operation hands out one.
    bool handsOut = false;
    Expected null = SOUND;
    // How many calls of the operation stay sound before the one that goes wrong.
    uint32_t skip = 0;
    // The kind of object that stays open for good when the operation does not do its work, or even
    // when it does and answers a failure.
    std::optional<OptivoObjectKind> unclosed = std::nullopt;
    bool isUnclosedAlways = false;
};

template <typename Entry>
std::vector<Entry> Joined(const std::vector<std::vector<Entry>>& parts) {
    std::vector<Entry> all;
    for (const std::vector<Entry>& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace Matrix
