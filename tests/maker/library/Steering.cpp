#include "Events.h"
#include "Objects.h"

namespace Maker {
namespace {

UInt64 g_numMisuses = 0;

template <typename Work>
int With(const char* name, Work&& work) {
    CGuard guard;
    CCamera* const camera = FindCamera(name);
    if (camera == nullptr) {
        return 0;
    }
    work(*camera, guard);
    return 1;
}

} // namespace

void CountMisuse() {
    ++g_numMisuses;
}

} // namespace Maker

using namespace Maker;

void Maker_Reset() {
    Maker_ClearFaults();
    const CGuard guard;
    ForgetCalls();
    g_numMisuses = 0;
    for (UInt32 i = 0; i < kNumAdapters; ++i) {
        Adapter(i).Reset();
    }
}

unsigned long long Maker_NumMisuses() {
    const CGuard guard;
    return g_numMisuses;
}

int Maker_Plug(const char* camera, int isPlugged) {
    return With(camera, [&](CCamera& c, CGuard&) { c.isPlugged = isPlugged != 0; });
}

int Maker_SetNumStreams(const char* camera, unsigned count) {
    return With(camera, [&](CCamera& c, CGuard&) { c.numStreams = count; });
}

int Maker_SetStreamValue(const char* camera, unsigned command, unsigned long long value) {
    return With(camera, [&](CCamera& c, CGuard&) {
        if (command <= Optivo::kStreamNumLost) {
            c.streamValues[command] = value;
        }
    });
}

int Maker_SetImageSize(const char* camera, unsigned width, unsigned height) {
    return With(camera, [&](CCamera& c, CGuard&) { c.SetImageSize(width, height); });
}

int Maker_SetRate(const char* camera, double rate) {
    return With(camera, [&](CCamera& c, CGuard&) { c.SetRate(rate); });
}

int Maker_Produce(const char* camera, unsigned count) {
    return With(camera, [&](CCamera& c, CGuard&) { c.Produce(count); });
}

int Maker_Fire(const char* camera, unsigned eventId, unsigned long long value) {
    int isInstalled = 0;
    With(camera, [&](CCamera& c, CGuard& guard) {
        isInstalled = c.callback != nullptr ? 1 : 0;
        AwaitReport(Report(c, eventId, value, 1, guard), guard);
    });
    return isInstalled;
}

int Maker_FireMany(const char* camera, unsigned eventId, unsigned long long value, unsigned count) {
    int isInstalled = 0;
    With(camera, [&](CCamera& c, CGuard& guard) {
        isInstalled = c.callback != nullptr ? 1 : 0;
        Report(c, eventId, value, count, guard);
    });
    return isInstalled;
}

int Maker_HasCallback(const char* camera) {
    int isInstalled = 0;
    With(camera, [&](CCamera& c, CGuard&) { isInstalled = c.callback != nullptr ? 1 : 0; });
    return isInstalled;
}
