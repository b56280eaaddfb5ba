#include "Glib.h"

namespace OptivoVision {

Int32 CError::Code() const {
    if (m_error == nullptr || m_error->domain != ARV_DEVICE_ERROR) {
        return kIo;
    }
    switch (static_cast<ArvDeviceError>(m_error->code)) {
    case ARV_DEVICE_ERROR_TIMEOUT:
        return kTimeout;
    case ARV_DEVICE_ERROR_NOT_CONTROLLER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
        return kAccessDenied;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BAD_ALIGNMENT:
        return kInvalidAddress;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
        return kNotImplemented;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
        return kResourceInUse;
    case ARV_DEVICE_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
        return kInvalidParameter;
    default:
        return kIo;
    }
}

} // namespace OptivoVision
