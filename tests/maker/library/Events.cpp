#include "Events.h"

namespace Maker {
namespace {

struct Event {
    CCamera* camera;
    UInt32 id;
    UInt64 value;
};
constexpr UInt32 kMostWaiting = 1024;

Event g_events[kMostWaiting];
UInt64 g_numReported = 0;
UInt64 g_numTold = 0;

void* g_thread = nullptr;
UInt32 g_threadId = 0;
UInt32 g_numUsers = 0;
bool g_isEnding = false;

void Tell(const Event& event) {
    CCamera& camera = *event.camera;
    const Optivo::DeviceEventCallback callback = camera.callback;
    void* const context = camera.context;
    if (callback == nullptr) {
        return;
    }
    camera.isCalling = true;
    {
        const COpening opening;
        callback(event.id, nullptr, nullptr, static_cast<UInt32>(event.value),
                 static_cast<UInt32>(event.value >> 32), context);
    }
    camera.isCalling = false;
}

UInt32 TellEvents(void*) {
    CGuard guard;
    g_threadId = ThisThread();
    while (g_numUsers > 0) {
        if (g_numTold == g_numReported) {
            guard.Wait(CGuard::kForever);
        } else {
            Tell(g_events[g_numTold % kMostWaiting]);
            ++g_numTold;
            TellChange();
        }
    }
    g_numTold = g_numReported;
    TellChange();
    return 0;
}

} // namespace

void OpenEvents() {
    CGuard guard;
    while (g_isEnding) {
        guard.Wait(CGuard::kForever);
    }
    if (g_numUsers++ == 0) {
        g_thread = StartThread(TellEvents, nullptr);
    }
}

void CloseEvents() {
    {
        const CGuard guard;
        if (--g_numUsers > 0) {
            return;
        }
        g_isEnding = true;
        TellChange();
    }
    JoinThread(g_thread);
    const CGuard guard;
    g_isEnding = false;
    TellChange();
}

UInt64 Report(CCamera& camera, UInt32 id, UInt64 value, UInt32 count, CGuard& guard) {
    for (UInt32 i = 0; i < count && g_numUsers > 0; ++i) {
        while (g_numReported - g_numTold == kMostWaiting) {
            guard.Wait(CGuard::kForever);
        }
        g_events[g_numReported++ % kMostWaiting] = {&camera, id, value + i};
    }
    TellChange();
    return g_numReported;
}

void AwaitReport(UInt64 number, CGuard& guard) {
    while (g_numTold < number && g_numUsers > 0) {
        guard.Wait(CGuard::kForever);
    }
}

void SetCallback(CCamera& camera, Optivo::DeviceEventCallback callback, void* context,
                 CGuard& guard) {
    camera.callback = callback;
    camera.context = context;
    while (camera.isCalling && ThisThread() != g_threadId) {
        guard.Wait(CGuard::kForever);
    }
}

} // namespace Maker
