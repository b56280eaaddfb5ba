// The checks of a camera's data stream: buffers, acquisition, restart, events.
#pragma once

#include "Judgement.h"
#include "Producer.h"

namespace norveltl {

// Opens the device's first stream, uses it, and closes it.
void CheckStream(const CProducer& producer, DEV_HANDLE device, CJudgement& judge);

} // namespace norveltl
