#include "Faults.h"

#include "Thrown.h"

namespace Maker {
namespace {

constexpr UInt32 kMostFaults = 64;
constexpr UInt32 kNumKept = 64;

MakerFault g_faults[kMostFaults];
UInt32 g_numFaults = 0;

struct Calls {
    UInt64 count;
    UInt64 selectors[kNumKept];
};
Calls g_calls[MAKER_NUM_OPERATIONS];

bool Matches(const MakerFault& fault, MakerOperation operation, UInt64 selector) {
    return fault.count > 0 && fault.operation == operation &&
           (fault.selector == MAKER_ANY_SELECTOR || fault.selector == selector);
}

// The first fault that matches and has no call left to skip decides.
MakerFault* Decide(MakerOperation operation, UInt64 selector) {
    for (UInt32 i = 0; i < g_numFaults; ++i) {
        MakerFault& fault = g_faults[i];
        if (!Matches(fault, operation, selector)) {
            continue;
        }
        if (fault.skip > 0) {
            --fault.skip;
            continue;
        }
        if (fault.count != MAKER_FOREVER) {
            --fault.count;
        }
        return &fault;
    }
    return nullptr;
}

void ForgetSpent() {
    UInt32 kept = 0;
    for (UInt32 i = 0; i < g_numFaults; ++i) {
        if (g_faults[i].count > 0) {
            g_faults[kept++] = g_faults[i];
        }
    }
    g_numFaults = kept;
}

} // namespace

bool IsSpoilt(MakerOperation operation, UInt64 selector, Int32* result) {
    MakerMishap mishap{};
    {
        const CGuard guard;
        Calls& calls = g_calls[operation];
        calls.selectors[calls.count % kNumKept] = selector;
        ++calls.count;
        TellChange();
        const MakerFault* const fault = Decide(operation, selector);
        if (fault == nullptr) {
            return false;
        }
        mishap = fault->mishap;
        *result = fault->result;
    }
    Suffer(mishap);
    return true;
}

void ForgetCalls() {
    for (Calls& calls : g_calls) {
        calls.count = 0;
    }
}

} // namespace Maker

using namespace Maker;

int Maker_AddFault(const MakerFault* fault) {
    const CGuard guard;
    ForgetSpent();
    if (g_numFaults == kMostFaults) {
        return 0;
    }
    g_faults[g_numFaults++] = *fault;
    return 1;
}

void Maker_ClearFaults() {
    const CGuard guard;
    g_numFaults = 0;
}

unsigned long long Maker_NumCalls(MakerOperation operation) {
    const CGuard guard;
    return g_calls[operation].count;
}

unsigned Maker_Selectors(MakerOperation operation, unsigned long long* selectors,
                         unsigned capacity) {
    const CGuard guard;
    const Calls& calls = g_calls[operation];
    const UInt64 kept = calls.count < kNumKept ? calls.count : kNumKept;
    const UInt32 count = static_cast<UInt32>(kept < capacity ? kept : capacity);
    for (UInt32 i = 0; i < count; ++i) {
        selectors[i] = calls.selectors[(calls.count - count + i) % kNumKept];
    }
    return count;
}
