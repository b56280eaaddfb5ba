// What the common fixtures and the fault matrix ask of the simulated camera library, asked of the
// maker's.
#include "OptivoSim.h"

#include "Maker.h"

#include <array>

namespace {

static_assert(static_cast<int>(OPTIVO_STREAM_CLOSE) == static_cast<int>(MAKER_STREAM_CLOSE));
static_assert(static_cast<int>(OPTIVO_OBJECT_STREAM) == static_cast<int>(MAKER_STREAMS));

MakerOperation Of(OptivoOperation operation) {
    return static_cast<MakerOperation>(operation);
}

// Throwing is a matter of its own here: the tests plan it in the maker's words.
MakerMishap MishapOf(OptivoFaultKind kind) {
    return kind == OPTIVO_FAULT_RESULT ? MAKER_ANSWERS : MAKER_CRASHES;
}

} // namespace

void OptivoSim_Reset() {
    Maker_Reset();
}

void OptivoSim_AddFault(const OptivoFault* fault) {
    const MakerFault added = {Of(fault->operation), MishapOf(fault->kind), fault->result,
                              fault->skip,          fault->count,          fault->selector};
    Maker_AddFault(&added);
}

void OptivoSim_ClearFaults() {
    Maker_ClearFaults();
}

// Nothing hangs.
void OptivoSim_Release() {}

int OptivoSim_SetNumStreams(const char* camera, uint32_t count) {
    return Maker_SetNumStreams(camera, count);
}

int OptivoSim_SetFrameRate(const char* camera, double framesPerSecond) {
    return Maker_SetRate(camera, framesPerSecond);
}

int OptivoSim_ProduceImages(const char* camera, uint64_t count) {
    return Maker_Produce(camera, static_cast<unsigned>(count));
}

int OptivoSim_SetImageSize(const char* camera, uint32_t width, uint32_t height) {
    return Maker_SetImageSize(camera, width, height);
}

int OptivoSim_SetStreamValue(const char* camera, uint32_t command, uint64_t value) {
    return Maker_SetStreamValue(camera, command, value);
}

int OptivoSim_FireEvent(const char* camera, uint32_t eventId, uint64_t value) {
    return Maker_Fire(camera, eventId, value);
}

int OptivoSim_HasCallback(const char* camera) {
    return Maker_HasCallback(camera);
}

uint64_t OptivoSim_NumCalls(OptivoOperation operation) {
    return Maker_NumCalls(Of(operation));
}

size_t OptivoSim_Selectors(OptivoOperation operation, uint64_t* selectors, size_t capacity) {
    std::array<unsigned long long, 64> kept{};
    const unsigned count = Maker_Selectors(Of(operation), kept.data(), kept.size());
    const size_t given = capacity < count ? capacity : count;
    for (size_t i = 0; i < given; ++i) {
        selectors[i] = kept[count - given + i];
    }
    return given;
}

uint64_t OptivoSim_NumAlive(OptivoObjectKind kind) {
    const auto counted = static_cast<MakerKind>(kind);
    return Maker_NumMade(counted) - Maker_NumGone(counted);
}

// The maker's library tells a second close from other calls of a closed object no more than a user.
uint64_t OptivoSim_NumDoubleCloses() {
    return Maker_NumMisuses();
}

uint64_t OptivoSim_NumUsesAfterClose() {
    return Maker_NumMisuses();
}

int OptivoSim_FireEvents(const char* camera, uint32_t eventId, uint64_t value, uint32_t count) {
    return Maker_FireMany(camera, eventId, value, count);
}
