#include "modules/PortResult.h"

#include "core/Errors.h"

#include <stdexcept>

namespace GenICam::Client {

void ThrowPortFailure(Optivo::Int32 result, std::uint64_t address) {
    switch (result) {
    case GC_ERR_NOT_AVAILABLE:
        throw not_available_error("Port is not available");
    case GC_ERR_INVALID_BUFFER:
        throw invalid_buffer_error("Invalid Buffer");
    case GC_ERR_ABORT:
        throw abort_error("Wait terminated.");
    case GC_ERR_TIMEOUT:
        throw timeout_error("Timeout");
    case GC_ERR_IO:
        throw io_error(Format("Read register 0x%I64X is failed.", address));
    case GC_ERR_INVALID_PARAMETER:
        throw invalid_parameter_error("Invalid parameter");
    case GC_ERR_NO_DATA:
        throw no_data_error("No data.");
    case GC_ERR_INVALID_ID:
        throw invalid_id_error("Invalid id.");
    case GC_ERR_INVALID_HANDLE:
        throw invalid_handle_error("Not invalid handle.");
    case GC_ERR_ACCESS_DENIED:
        throw access_error(Format("Register 0x%I64X is not readable.", address));
    case GC_ERR_RESOURCE_IN_USE:
        throw resource_in_use_error("Resource in use.");
    case GC_ERR_NOT_IMPLEMENTED:
        throw implementation_error(Format("Register 0x%I64X is not implemented", address));
    case GC_ERR_NOT_INITIALIZED:
        throw initialization_error("Not invalid.");
    case GC_ERR_ERROR:
        throw std::runtime_error("Unspecified runtime error.");
    default:
        break;
    }
}

} // namespace GenICam::Client
