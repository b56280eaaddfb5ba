#include "Handle.h"

#include "camlib/GenICamBase.h"

#include <chrono>
#include <cstring>
#include <thread>

namespace OptivoSim {

void BeginFault(const FaultVerdict& verdict, const CallShape& call) {
    switch (verdict.kind) {
    case OPTIVO_FAULT_GENERIC_EXCEPTION:
        throw GenICam::GenericException("The camera library failed.", "Optivo.cpp", 42,
                                        "RuntimeException");
    case OPTIVO_FAULT_FOREIGN_EXCEPTION:
        throw static_cast<int>(verdict.result);
    case OPTIVO_FAULT_UNTERMINATED_TEXT:
        if (call.buffer != nullptr && call.size != nullptr) {
            std::memset(call.buffer, 'X', *call.size);
        }
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
