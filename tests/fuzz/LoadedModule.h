// What the targets share that load the module as a consumer does: they begin with a small world and
// with the module's code in memory, read its last error, and leave nothing open in its camera
// library. Knows no function under test.
#pragma once

#include "Producer.h"

#include <cstdint>
#include <string>

struct RecordedError {
    int32_t code = 0;
    std::string text;
    bool operator==(const RecordedError&) const = default;
};

// Ends the process when there is none.
RecordedError ReadLastError(const Producer& gentl);

// Initialises the library, as may always be done; the standard has it done once.
void DemandInitialisation(const Producer& gentl);

void DemandAllIsClosed();
