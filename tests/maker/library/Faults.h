// What a test has planned to go wrong, and what was called.
#pragma once

#include "Maker.h"
#include "Platform.h"

namespace Maker {

// Takes note of a call, and has it go wrong when that is planned: it throws, or answers true with
// the result.
bool IsSpoilt(MakerOperation operation, UInt64 selector, Int32* result);
void ForgetCalls();

} // namespace Maker
