// Bytes that are read word by word through a virtual operation, of which no caller knows what it
// does.
#pragma once

#include <cstddef>
#include <memory>

class IWords {
public:
    virtual ~IWords() = default;
    // Copies the four bytes from offset on.
    virtual void Copy(std::size_t offset, void* destination) const = 0;
};

std::unique_ptr<IWords> MakeWords(std::size_t size);
