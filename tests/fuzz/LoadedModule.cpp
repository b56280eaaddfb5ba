// Besides what the header offers, the start of every target that is linked with this file, which
// libFuzzer calls once.
#include "LoadedModule.h"

#include "Demand.h"
#include "SmallWorld.h"

#include "OptivoSim.h"

#include <array>

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    BeginWithSmallWorld();
    TheProducer(); // so that its code counts from the first input on
    return 0;
}

RecordedError ReadLastError(const Producer& gentl) {
    RecordedError recorded;
    std::array<char, 4096> text{};
    std::size_t size = text.size();
    Demand(gentl.GCGetLastError(&recorded.code, text.data(), &size) == 0,
           "the last error can be read");
    recorded.text = text.data();
    DemandEqual(size, recorded.text.size() + 1, "the last error has its size");
    return recorded;
}

void DemandInitialisation(const Producer& gentl) {
    const int32_t code = gentl.GCInitLib();
    Demand(code == 0 || (code == -1004 && Producer::IsStandard()),
           "the library can always be initialised");
}

void DemandAllIsClosed() {
    for (int kind = 0; kind < OPTIVO_NUM_OBJECT_KINDS; ++kind) {
        Demand(OptivoSim_NumAlive(static_cast<OptivoObjectKind>(kind)) == 0,
               "every object of the camera library is closed");
    }
}
