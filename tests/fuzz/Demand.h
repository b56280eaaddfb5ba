// What the fuzzing targets share: bytes that become arguments, and the end of the process when what
// must hold does not.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using Bytes = FuzzedDataProvider;

// Ends the process with the words when the condition does not hold, which libFuzzer then reports.
inline void Demand(bool condition, const char* words) {
    if (!condition) {
        std::fprintf(stderr, "DEMAND: %s\n", words);
        std::abort();
    }
}

template <typename Value>
void DemandEqual(const Value& found, const Value& expected, const char* words) {
    Demand(found == expected, words);
}

inline void DemandEqual(const std::string& found, const std::string& expected, const char* words) {
    if (found != expected) {
        std::fprintf(stderr, "found:    \"%s\"\nexpected: \"%s\"\n", found.c_str(),
                     expected.c_str());
        Demand(false, words);
    }
}

// A text without zeros.
inline std::string TakeText(Bytes& bytes, std::size_t maxLength) {
    const std::string text = bytes.ConsumeRandomLengthString(maxLength);
    return text.substr(0, text.find('\0'));
}
