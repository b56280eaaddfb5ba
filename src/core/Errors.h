// The producer's own error classes, one per GenTL code, and the texts that go into them.
// Module code throws these; only the exported functions turn them into codes. This file knows
// nothing of modules or of the last error.
#pragma once

#include "GenTL/GenTL.h"

#include <boost/format.hpp>

#include <exception>
#include <locale>
#include <memory>
#include <string>
#include <utility>

namespace GenICam::Client {

// An error with the GenTL code that a consumer gets for it; keeps a copy of its text, which all
// copies share, as copying an exception must not throw.
template <GC_ERROR Code>
class client_error : public std::exception {
public:
    static constexpr GC_ERROR code = Code;

    explicit client_error(std::string text)
        : m_text(std::make_shared<const std::string>(std::move(text))) {}
    const char* what() const noexcept override { return m_text->c_str(); }

private:
    const std::shared_ptr<const std::string> m_text;
};

using initialization_error = client_error<GC_ERR_NOT_INITIALIZED>;
using implementation_error = client_error<GC_ERR_NOT_IMPLEMENTED>;
using resource_in_use_error = client_error<GC_ERR_RESOURCE_IN_USE>;
using access_error = client_error<GC_ERR_ACCESS_DENIED>;
using invalid_handle_error = client_error<GC_ERR_INVALID_HANDLE>;
using invalid_id_error = client_error<GC_ERR_INVALID_ID>;
using no_data_error = client_error<GC_ERR_NO_DATA>;
using invalid_parameter_error = client_error<GC_ERR_INVALID_PARAMETER>;
using io_error = client_error<GC_ERR_IO>;
using timeout_error = client_error<GC_ERR_TIMEOUT>;
using abort_error = client_error<GC_ERR_ABORT>;
using invalid_buffer_error = client_error<GC_ERR_INVALID_BUFFER>;
using not_available_error = client_error<GC_ERR_NOT_AVAILABLE>;
using invalid_address_error = client_error<GC_ERR_INVALID_ADDRESS>;
using buffer_too_small_error = client_error<GC_ERR_BUFFER_TOO_SMALL>;
using invalid_index_error = client_error<GC_ERR_INVALID_INDEX>;
using parsing_chunk_data_error = client_error<GC_ERR_PARSING_CHUNK_DATA>;
using invalid_value_error = client_error<GC_ERR_INVALID_VALUE>;
using resource_exhausted_error = client_error<GC_ERR_RESOURCE_EXHAUSTED>;
using out_of_memory_error = client_error<GC_ERR_OUT_OF_MEMORY>;
// A failed cast has no code of its own and is reported as the general error.
using dynamic_cast_error = client_error<GC_ERR_ERROR>;

// Fills the placeholders of a printf-style text. An unsigned argument is printed as unsigned
// whatever its placeholder says, so an argument of %d that may be negative is passed signed. The
// consumer's locale takes no part.
template <class... Arguments>
std::string Format(const char* text, const Arguments&... arguments) {
    boost::format format(text, std::locale::classic());
    (format % ... % arguments);
    return format.str();
}

// The object behind a pointer argument of the consumer.
// Throws invalid_parameter_error, naming the argument, when it is null.
template <class T>
T& Require(T* pointer, const char* argument) {
    if (pointer == nullptr) {
        throw invalid_parameter_error(Format("Argument %s is a null pointer.", argument));
    }
    return *pointer;
}

} // namespace GenICam::Client
