// What the room throws: its text says, for a user, what cannot be read or resolved and why.
#pragma once

#include <stdexcept>

namespace GenApi {

class CError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace GenApi
