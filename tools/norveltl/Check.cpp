#include "Check.h"

#include "Console.h"
#include "Discovery.h"
#include "Features.h"
#include "Json.h"
#include "Judgement.h"
#include "StreamCheck.h"
#include "Table.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <set>

namespace norveltl {

namespace {

constexpr uint64_t kUnknownAddress = 0x7FFFFFFFFFFFFF00;
constexpr uint32_t kFarIndex = 1000000;

void CheckLibrary(const CProducer& p, CJudgement& judge) {
    judge.Expect("GCInitLib again", p.GCInitLib.call(), {GC_ERR_RESOURCE_IN_USE},
                 "an initialised library refuses to be initialised again");
    judge.Require("GCGetInfo gives the library's ID",
                  QueryText(CProducer::Query(p.GCGetInfo, TL_INFO_ID)).has_value());
    std::array<char, 256> text{};
    size_t size = text.size();
    GC_ERROR code = 0;
    judge.Expect("GCGetLastError", p.GCGetLastError.call(&code, text.data(), &size),
                 {GC_ERR_SUCCESS, GC_ERR_NO_DATA}, "the last error can always be asked");
}

void CheckSystem(const CSystem& system, CJudgement& judge) {
    const CProducer& p = system.Producer();
    judge.Expect("TLGetInfo of no handle",
                 p.TLGetInfo.call(nullptr, TL_INFO_ID, nullptr, nullptr, nullptr),
                 {GC_ERR_INVALID_HANDLE}, "a null handle is an invalid handle");
    size_t size = 0;
    judge.Expect("TLGetInterfaceID behind the last",
                 p.TLGetInterfaceID.call(system.Handle(), kFarIndex, nullptr, &size),
                 {GC_ERR_INVALID_INDEX, GC_ERR_INVALID_PARAMETER},
                 "an index behind the last interface is invalid");
    std::array<char, 1> little{};
    size = little.size();
    INFO_DATATYPE type = 0;
    judge.Expect("TLGetInfo into a small buffer",
                 p.TLGetInfo.call(system.Handle(), TL_INFO_VENDOR, &type, little.data(), &size),
                 {GC_ERR_BUFFER_TOO_SMALL}, "a buffer that is too small has a code of its own");
    judge.Expect("TLGetInfo of an unknown command",
                 p.TLGetInfo.call(system.Handle(), 999, &type, nullptr, &size),
                 {GC_ERR_NOT_IMPLEMENTED, GC_ERR_NOT_AVAILABLE, GC_ERR_INVALID_PARAMETER},
                 "an unknown command is not implemented, not available or invalid");
    std::set<std::string> ids;
    for (const SInterface& interface_ : system.Interfaces()) {
        judge.Require("interface " + Printable(interface_.id) + " opens and lists its cameras",
                      interface_.handle.has_value(), interface_.error);
        judge.Require("interface " + Printable(interface_.id) + " has an ID of its own",
                      ids.insert(interface_.id).second);
    }
}

void CheckPort(const CProducer& p, PORT_HANDLE port, CJudgement& judge) {
    uint32_t word = 0;
    size_t size = sizeof(word);
    judge.Expect("GCReadPort where no register is",
                 p.GCReadPort.call(port, kUnknownAddress, &word, &size),
                 {GC_ERR_INVALID_ADDRESS, GC_ERR_IO}, "the address is invalid");
    judge.Expect("GCReadPort without a buffer", p.GCReadPort.call(port, 0, nullptr, &size),
                 {GC_ERR_INVALID_PARAMETER}, "a null pointer is an invalid parameter");
    judge.Attempt("the camera's description is well-formed and its features can be read", [&] {
        const CFeatures features(p, port);
        for (const SFeature& feature : features.All()) {
            if (!feature.error.empty()) {
                judge.Deviate("feature " + feature.name, "readable as described", feature.error);
            }
        }
    });
}

void CheckDevice(const SChoice& choice, CJudgement& judge) {
    const CProducer& p = choice.system->Producer();
    judge.SetSubject(choice.device->id);
    judge.Attempt("the camera can be opened, used and closed", [&] {
        const CHandle device = OpenDevice(choice);
        void* again = nullptr;
        judge.Expect("IFOpenDevice of an open camera",
                     p.IFOpenDevice.call(choice.interface_->handle->Get(),
                                         choice.device->id.c_str(), DEVICE_ACCESS_CONTROL, &again),
                     {GC_ERR_RESOURCE_IN_USE, GC_ERR_ACCESS_DENIED},
                     "a camera that is open is in use");
        const auto status =
            QueryNumber(CProducer::Query(p.IFGetDeviceInfo, choice.interface_->handle->Get(),
                                         choice.device->id.c_str(), DEVICE_INFO_ACCESS_STATUS));
        constexpr std::array<uint64_t, 3> kOpen = {DEVICE_ACCESS_STATUS_OPEN_READWRITE,
                                                   DEVICE_ACCESS_STATUS_OPEN_READONLY,
                                                   DEVICE_ACCESS_STATUS_BUSY};
        if (!status || std::find(kOpen.begin(), kOpen.end(), *status) == kOpen.end()) {
            judge.Deviate("access status of an open camera", "open or busy",
                          status ? std::to_string(*status) : "not reported");
        }
        CheckPort(p, RemotePort(p, device.Get()), judge);
        for (int round = 0; round < 2; ++round) {
            judge.SetSubject(choice.device->id + (round > 0 ? ", stream reopened" : ""));
            CheckStream(p, device.Get(), judge);
        }
    });
    judge.SetSubject(choice.device->id);
    judge.Attempt("the camera can be opened again", [&] { OpenDevice(choice); });
}

// What several cameras have in common stands in one row.
void Print(const CJudgement& judge, bool all) {
    using Row = std::array<std::string, 4>;
    std::vector<std::pair<Row, std::vector<std::string>>> rows;
    for (const SFinding& finding : judge.Findings()) {
        if (!all && finding.verdict == EVerdict::Passed) {
            continue;
        }
        const std::string answer = finding.answer.substr(0, finding.answer.find('\n'));
        const Row row{VerdictText(finding.verdict), finding.check, Printable(answer),
                      finding.expected};
        auto found = std::find_if(rows.begin(), rows.end(),
                                  [&](const auto& known) { return known.first == row; });
        if (found == rows.end()) {
            found = rows.insert(rows.end(), {row, {}});
        }
        found->second.push_back(Printable(finding.subject));
    }
    CTable table({"", "check", "where", "answer", "the standard"});
    for (const auto& [row, subjects] : rows) {
        std::string where = subjects.front();
        if (subjects.size() > 1) {
            where += " and " + std::to_string(subjects.size() - 1) + " more";
        }
        table.Add({row[0], row[1], where, row[2], row[3]});
    }
    table.Print(std::cout);
    for (const std::string& why : judge.Explanations()) {
        std::cout << "known       " << why << "\n";
    }
    std::cout << judge.Count(EVerdict::Passed) << " passed, " << judge.Count(EVerdict::Deviates)
              << " deviate, " << judge.Count(EVerdict::Failed) << " failed" << std::endl;
}

void PrintJson(const CJudgement& judge) {
    Json json{{"passed", judge.Count(EVerdict::Passed)},
              {"deviates", judge.Count(EVerdict::Deviates)},
              {"failed", judge.Count(EVerdict::Failed)},
              {"findings", Json::array()}};
    for (const SFinding& finding : judge.Findings()) {
        json["findings"].push_back({{"verdict", VerdictText(finding.verdict)},
                                    {"where", finding.subject},
                                    {"check", finding.check},
                                    {"answer", finding.answer},
                                    {"standard", finding.expected},
                                    {"known", finding.isKnown}});
    }
    std::cout << ToText(json) << std::endl;
}

} // namespace

EExitCode Check(const std::string& cti, const SCheckOptions& options) {
    const SSystems systems = OpenSystems(cti);
    if (AllDevices(systems).empty()) {
        throw CToolError("found no camera to check", kNothingFound);
    }
    bool hasFailed = false;
    for (const auto& system : systems.open) {
        CJudgement judge(system->IsNorvelTL());
        CheckLibrary(system->Producer(), judge);
        CheckSystem(*system, judge);
        for (const SChoice& choice : AllDevices(systems)) {
            if (choice.system == system.get() && choice.device->Accessible()) {
                CheckDevice(choice, judge);
            }
        }
        if (options.json) {
            PrintJson(judge);
        } else {
            std::cout << Utf8FromPath(system->Producer().Path()) << "\n";
            Print(judge, options.all);
        }
        hasFailed = hasFailed || judge.Count(EVerdict::Failed) > 0;
    }
    return hasFailed ? kFailed : kDone;
}

} // namespace norveltl
