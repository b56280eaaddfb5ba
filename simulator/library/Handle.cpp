#include "library/Handle.h"

#include "camlib/GenICamBase.h"

#include <chrono>
#include <cstring>
#include <thread>

namespace OptivoSim {

namespace {

bool HasRoom(const SCallShape& call) {
    return call.buffer != nullptr && call.size != nullptr && *call.size > 0;
}

void EmptyText(const SCallShape& call) {
    if (HasRoom(call)) {
        *static_cast<char*>(call.buffer) = '\0';
        *call.size = 1;
    }
}

// Bytes that no encoding of text has in this order, and that no reader can print.
void FillWithNoText(const SCallShape& call) {
    if (!HasRoom(call)) {
        return;
    }
    constexpr Size kNumHigh = 0x80;
    constexpr Size kNumControls = 0x1F;
    auto* const bytes = static_cast<unsigned char*>(call.buffer);
    for (Size i = 0; i < *call.size - 1; ++i) {
        const Size place = i % (kNumHigh + kNumControls);
        bytes[i] =
            static_cast<unsigned char>(place < kNumHigh ? 0x80 + place : place - kNumHigh + 1);
    }
    bytes[*call.size - 1] = 0;
}

} // namespace

void ThrowGenericException() {
    throw GenICam::GenericException("The camera library failed.", "Optivo.cpp", 42,
                                    "RuntimeException");
}

void BeginFault(const SFaultVerdict& verdict, const SCallShape& call) {
    switch (verdict.kind) {
    case OPTIVO_FAULT_GENERIC_EXCEPTION:
        ThrowGenericException();
    case OPTIVO_FAULT_FOREIGN_EXCEPTION:
        throw static_cast<int>(verdict.result);
    case OPTIVO_FAULT_UNTERMINATED_TEXT:
        if (call.buffer != nullptr && call.size != nullptr) {
            std::memset(call.buffer, 'X', *call.size);
        }
        break;
    case OPTIVO_FAULT_EMPTY_TEXT:
        EmptyText(call);
        break;
    case OPTIVO_FAULT_NOT_TEXT:
        FillWithNoText(call);
        break;
    case OPTIVO_FAULT_DELAY:
        std::this_thread::sleep_for(std::chrono::milliseconds(verdict.result));
        break;
    case OPTIVO_FAULT_HANG:
        CLibrary::Get().Faults().WaitForRelease(verdict);
        break;
    default:
        break;
    }
}

} // namespace OptivoSim
