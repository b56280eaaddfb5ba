// A JSON text as a tree in which every value knows where it stands, so that whoever finds fault
// with one can tell its place. Knows nothing of what the values mean.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace OptivoSim {

enum class EJson { Null, Boolean, Integer, Number, Text, Array, Object };

struct SJsonNode {
    EJson kind = EJson::Null;
    std::size_t offset = 0; // of the value's first byte in the text
    std::string key;        // under which the object around it holds it
    bool boolean = false;
    double number = 0;               // of an integer too
    std::uint64_t magnitude = 0;     // of an integer
    bool isNegative = false;         // likewise
    std::string text;                // UTF-8
    std::vector<SJsonNode> children; // of an array or object, in the order of the text
};

// What is wrong with a text, and where: line and column count from 1, the column in bytes.
struct STextError {
    std::size_t line = 1;
    std::size_t column = 1;
    std::string reason;

    // "LINE:COLUMN: reason"
    std::string Message() const;
};

STextError ErrorAt(std::string_view text, std::size_t offset, const std::string& reason);

// False, with the error, for a text that is no JSON or is nested too deeply. Bytes of any kind and
// number are welcome; only memory that runs out throws.
bool ParseJson(std::string_view text, SJsonNode& root, STextError& error);

// The JSON pointer to a node of the tree; empty for the root.
std::string PointerTo(const SJsonNode& root, const SJsonNode& node);

} // namespace OptivoSim
