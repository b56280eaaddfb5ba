#include "commands/Check.h"

#include "check/CheckReport.h"
#include "check/Checks.h"
#include "terminal/Console.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>

namespace norveltl {

namespace {

// NorvelTL's other module, which deviates in nothing on purpose.
constexpr const char* kStandardModule = "NorvelTL40-standard.cti";

void CheckOpenDevice(const SChoice& choice, DEV_HANDLE device, CJudgement& judge,
                     const GiveUp& giveUp) {
    const CProducer& p = choice.system->Producer();
    IF_HANDLE interface_ = choice.interface_->handle->Get();
    const char* const id = choice.device->id.c_str();
    void* again = nullptr;
    judge.Expect("IFOpenDevice of an open camera", {GC_ERR_RESOURCE_IN_USE, GC_ERR_ACCESS_DENIED},
                 "a camera that is open is in use", p.IFOpenDevice, interface_, id,
                 DEVICE_ACCESS_CONTROL, &again);
    if (!p.IFGetDeviceInfo.IsMissing()) {
        const auto status = QueryNumber(
            CProducer::Query(p.IFGetDeviceInfo, interface_, id, DEVICE_INFO_ACCESS_STATUS));
        constexpr std::array<uint64_t, 3> kOpen = {DEVICE_ACCESS_STATUS_OPEN_READWRITE,
                                                   DEVICE_ACCESS_STATUS_OPEN_READONLY,
                                                   DEVICE_ACCESS_STATUS_BUSY};
        judge.Want(p.IFGetDeviceInfo.name, "access status of an open camera",
                   status && std::find(kOpen.begin(), kOpen.end(), *status) != kOpen.end(),
                   "open or busy", status ? std::to_string(*status) : "not reported");
    }
    CheckDescription(p, device, "the device", judge);
    CheckRemotePort(p, RemotePort(p, device), judge);
    CheckStream(p, device, EDepth::Everything, judge, giveUp);
    judge.SetSubject(choice.device->id + ", stream reopened");
    CheckStream(p, device, EDepth::Acquisitions, judge, giveUp);
}

void CheckDevice(CSystem& system, const SChoice& choice, CJudgement& judge, const GiveUp& giveUp) {
    const CProducer& p = system.Producer();
    judge.SetSubject(choice.device->id);
    judge.Attempt(p.IFOpenDevice.name, "the camera can be opened, used and closed", [&] {
        const CHandle device = OpenDevice(choice);
        CheckOpenDevice(choice, device.Get(), judge, giveUp);
    });
    judge.SetSubject(choice.device->id);
    judge.Attempt(p.IFOpenDevice.name, "the camera can be opened again",
                  [&] { OpenDevice(choice); });
    if (p.IFClose.IsMissing() || p.IFUpdateDeviceList.IsMissing()) {
        return;
    }
    judge.Attempt(p.TLOpenInterface.name, "the interface can be opened again", [&] {
        system.Reopen(*choice.interface_);
        std::string trouble;
        try {
            OpenDevice(choice);
        } catch (const CToolError& error) {
            trouble = error.what();
        }
        judge.Want(p.IFOpenDevice.name, "IFOpenDevice after the interface was opened anew",
                   trouble.empty(), "a known ID opens the camera, without an updated list",
                   trouble);
        system.Update(*choice.interface_);
    });
}

EExitCode Report(const std::vector<SJudged>& producers, const SCheckOptions& options) {
    bool hasFailed = false;
    for (const SJudged& judged : producers) {
        if (options.json) {
            PrintCheckJson(judged);
        } else {
            PrintCheck(judged, options.all);
        }
        hasFailed = hasFailed || judged.judgement.Count(EVerdict::Failed) > 0;
    }
    if (!options.junit.empty()) {
        WriteJUnit(PathFromUtf8(options.junit), producers);
    }
    return hasFailed ? kFailed : kDone;
}

} // namespace

EExitCode Check(const std::string& cti, const SCheckOptions& options) {
    const SSystems systems = OpenSystems(cti);
    std::vector<SJudged> producers;
    // Leaving the process by any other way would take the producer from below the thread.
    const GiveUp giveUp = [&] {
        try {
            Report(producers, options);
        } catch (const CToolError& error) {
            ReportError(error.what());
        }
        std::_Exit(kFailed);
    };
    for (const auto& system : systems.open) {
        const bool hasKnown = system->IsNorvelTL() && system->Info(TL_INFO_ID) != kStandardModule;
        producers.push_back({system->Producer().Path(), CJudgement(hasKnown)});
        CJudgement& judge = producers.back().judgement;
        CheckLibrary(system->Producer(), judge);
        CheckSystem(*system, judge);
        for (const SChoice& choice : AllDevices(systems)) {
            if (choice.system == system.get() && choice.device->Accessible()) {
                CheckDevice(*system, choice, judge, giveUp);
            }
        }
    }
    const EExitCode code = Report(producers, options);
    if (AllDevices(systems).empty()) {
        throw CToolError("found no camera to check", kNothingFound);
    }
    return code;
}

} // namespace norveltl
