// A zip archive with one file, made here; each of its numbers can be wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

struct SArchive {
    std::string name = "Camera.xml";
    std::string text = "<a/>";
    unsigned method = 8;
    unsigned flags = 0;
    // What the archive says instead of the truth.
    uint32_t crcError = 0;
    uint32_t lengthError = 0;
    size_t zerosBehind = 0;

    std::string Bytes() const;
};
