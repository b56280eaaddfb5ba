// How info answers reach the consumer: one copy-out for texts and fixed-width values, and the
// answers that the module ports have in common.
// This file knows nothing of the modules whose values it copies.
#pragma once

#include "core/Outcome.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace GenICam::Client {

// Where one info answer goes: the consumer's type, buffer and size (bytes, in and out) arguments,
// each of which may be null.
// Every answer sets the type first. A null size is refused as std::invalid_argument "Invalid Size";
// a null buffer asks for the size; a size of 0 with a buffer means that the buffer is large enough;
// a size that is too small is refused as std::invalid_argument "Invalid Buffer Size".
class CInfoOut {
public:
    CInfoOut(INFO_DATATYPE* type, void* buffer, size_t* size)
        : m_type(type), m_buffer(buffer), m_size(size) {}

    // The text and a terminating zero; a zero inside the text is copied like any character.
    COutcome String(std::string_view text) const;
    COutcome Bool8(bool value) const;
    COutcome Int32(std::int32_t value) const;
    COutcome UInt32(std::uint32_t value) const;
    COutcome Int64(std::int64_t value) const;
    COutcome UInt64(std::uint64_t value) const;
    COutcome Pointer(const void* value) const;
    COutcome Size(size_t value) const;
    // width bytes of any value, under the given type.
    COutcome Bytes(INFO_DATATYPE type, const void* value, size_t width) const;

private:
    // The value and zeros behind it.
    COutcome Copy(INFO_DATATYPE type, const void* value, size_t width, size_t numZeros) const;

    INFO_DATATYPE* m_type;
    void* m_buffer;
    size_t* m_size;
};

// Answers the port-info commands that have the same meaning at every port: vendor, model,
// transport layer, module, byte order, access and port name. Nothing for every other command.
std::optional<COutcome> AnswerPortInfo(PORT_INFO_CMD command, std::string_view module,
                                       std::string_view portName, const CInfoOut& out);

// The refusal of a port-info command that a port does not have.
template <class Error>
COutcome InvalidPortInfoCommand(PORT_INFO_CMD command) {
    return Refusal<Error>("Invalid port info command %d", command);
}

// Answers the version numbers among the URL-info commands, the sub-minor number of the file as
// given; writes nothing for every other command.
COutcome AnswerUrlVersion(URL_INFO_CMD command, std::int32_t fileSubMinor, const CInfoOut& out);

} // namespace GenICam::Client
