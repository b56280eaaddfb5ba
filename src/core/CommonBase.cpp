#include "core/CommonBase.h"

#include "core/Errors.h"

#include <stdexcept>

namespace GenICam::Client {

void IEventSrc::RegisterEvent(EVENT_TYPE type, EVENT_HANDLE* /*event*/) {
    throw std::runtime_error(Format("Event ID %ld not implemented", type));
}

void IEventSrc::UnregisterEvent(EVENT_TYPE type) {
    throw std::runtime_error(Format("Event ID %ld not implemented", type));
}

void ICommonBase::Read(std::uint64_t /*address*/, void* /*buffer*/, size_t* /*size*/) {}

void ICommonBase::Write(std::uint64_t /*address*/, const void* /*buffer*/, size_t* /*size*/) {}

void ICommonBase::ReadRegister(std::uint64_t /*address*/, std::uint32_t* /*value*/) {}

void ICommonBase::WriteRegister(std::uint64_t /*address*/, std::uint32_t /*value*/) {}

void ICommonBase::GetNumPortURLs(std::uint32_t* count) {
    Require(count, "piNumURLs") = 1;
}

} // namespace GenICam::Client
