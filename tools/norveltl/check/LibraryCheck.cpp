#include "check/Checks.h"
#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <set>
#include <thread>

namespace norveltl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint32_t kFarIndex = 1000000;
constexpr TL_INFO_CMD kUnknownCommand = 999;
constexpr size_t kRefusals = 101;
constexpr std::chrono::microseconds kSlow{1000};

using LastError = std::pair<GC_ERROR, std::string>;

LastError AskLastError(const CProducer& p) {
    std::array<char, 1024> text{};
    size_t size = text.size() - 1;
    GC_ERROR code = GC_ERR_SUCCESS;
    if (p.GCGetLastError(&code, text.data(), &size) != GC_ERR_SUCCESS) {
        return {GC_ERR_SUCCESS, ""};
    }
    return {code, text.data()};
}

// Two threads whose calls fail differently; a third whose calls do not fail.
void CheckLastErrors(const CSystem& system, CJudgement& judge) {
    const CProducer& p = system.Producer();
    if (p.GCGetLastError.IsMissing() || p.TLGetInfo.IsMissing() || p.TLGetInterfaceID.IsMissing()) {
        return;
    }
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t textSize = 0;
    const GC_ERROR answered = p.TLGetInfo(nullptr, TL_INFO_ID, &type, nullptr, &textSize);
    const LastError own = AskLastError(p);
    judge.Compare(p.GCGetLastError.name, "GCGetLastError after a failure", own.first, {answered},
                  "the last error is what the last call that failed answered");
    LastError fresh;
    std::thread([&] {
        fresh = AskLastError(p);
        size_t size = 0;
        p.TLGetInterfaceID(system.Handle(), kFarIndex, nullptr, &size);
    }).join();
    judge.Compare(p.GCGetLastError.name, "GCGetLastError in a thread without a failure",
                  fresh.first, {GC_ERR_SUCCESS}, "the last error is the thread's own");
    const LastError after = AskLastError(p);
    judge.Want(p.GCGetLastError.name, "GCGetLastError after another thread's failure", after == own,
               "the last error is the thread's own", "another's: " + CodeText(after.first));
}

// Consumers ask for what a producer may not have, also for every image.
void CheckRefusals(const CSystem& system, CJudgement& judge) {
    const CProducer& p = system.Producer();
    if (p.TLGetInfo.IsMissing()) {
        return;
    }
    std::vector<Clock::duration> times;
    for (size_t i = 0; i < kRefusals; ++i) {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        size_t size = 0;
        const Clock::time_point begin = Clock::now();
        p.TLGetInfo(system.Handle(), kUnknownCommand, &type, nullptr, &size);
        times.push_back(Clock::now() - begin);
    }
    std::nth_element(times.begin(), times.begin() + kRefusals / 2, times.end());
    const auto median = std::chrono::duration_cast<std::chrono::nanoseconds>(times[kRefusals / 2]);
    judge.Want(p.TLGetInfo.name, "a refusal costs little", median < kSlow, "less than 1 ms",
               std::to_string(median.count()) + " ns");
}

} // namespace

void CheckLibrary(const CProducer& p, CJudgement& judge) {
    for (const CProducer::SExport& known : p.Exports()) {
        judge.Want(known.name, std::string(known.name) + " is exported", !known.isMissing,
                   "a producer exports every function", known.isMissing ? "missing" : "");
    }
    judge.Expect("GCInitLib again", {GC_ERR_RESOURCE_IN_USE},
                 "an initialised library refuses to be initialised again", p.GCInitLib);
    if (!p.GCGetInfo.IsMissing()) {
        judge.Require(p.GCGetInfo.name, "GCGetInfo gives the library's ID",
                      QueryText(CProducer::Query(p.GCGetInfo, TL_INFO_ID)).has_value());
    }
    std::array<char, 256> text{};
    size_t size = text.size();
    GC_ERROR code = 0;
    judge.Expect("GCGetLastError", {GC_ERR_SUCCESS, GC_ERR_NO_DATA},
                 "the last error can always be asked", p.GCGetLastError, &code, text.data(), &size);
}

void CheckSystem(const CSystem& system, CJudgement& judge) {
    const CProducer& p = system.Producer();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    size_t size = 0;
    judge.Expect("TLGetInfo of no handle", {GC_ERR_INVALID_HANDLE},
                 "a null handle is an invalid handle", p.TLGetInfo, nullptr, TL_INFO_ID, &type,
                 nullptr, &size);
    judge.Expect("TLGetInterfaceID behind the last",
                 {GC_ERR_INVALID_INDEX, GC_ERR_INVALID_PARAMETER},
                 "an index behind the last interface is invalid", p.TLGetInterfaceID,
                 system.Handle(), kFarIndex, nullptr, &size);
    std::array<char, 1> little{};
    size = little.size();
    judge.Expect("TLGetInfo into a small buffer", {GC_ERR_BUFFER_TOO_SMALL},
                 "a buffer that is too small has a code of its own", p.TLGetInfo, system.Handle(),
                 TL_INFO_VENDOR, &type, little.data(), &size);
    judge.Expect("TLGetInfo of an unknown command",
                 {GC_ERR_NOT_IMPLEMENTED, GC_ERR_NOT_AVAILABLE, GC_ERR_INVALID_PARAMETER},
                 "an unknown command is not implemented, not available or invalid", p.TLGetInfo,
                 system.Handle(), kUnknownCommand, &type, nullptr, &size);
    CheckRefusals(system, judge);
    CheckLastErrors(system, judge);
    if (!system.Error().empty()) {
        judge.Require(p.TLGetNumInterfaces.name, "the system lists its interfaces", false,
                      system.Error());
    }
    CheckDescription(p, system.Handle(), "the system", judge);
    std::set<std::string> ids;
    for (const SInterface& interface_ : system.Interfaces()) {
        const std::string name = "interface " + Printable(interface_.id);
        judge.Require(p.TLOpenInterface.name, name + " opens and lists its cameras",
                      interface_.handle.has_value(), interface_.error);
        judge.Require(p.TLGetInterfaceID.name, name + " has an ID of its own",
                      ids.insert(interface_.id).second);
        if (interface_.handle) {
            judge.SetSubject(interface_.id);
            CheckDescription(p, interface_.handle->Get(), "an interface", judge);
            judge.SetSubject("");
        }
    }
}

} // namespace norveltl
