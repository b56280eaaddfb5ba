#include "check/Checks.h"
#include "producers/Description.h"
#include "producers/Features.h"

#include "genapi/Description.h"
#include "genapi/Document.h"

#include <array>

namespace norveltl {

namespace {

constexpr uint64_t kUnknownAddress = 0x7FFFFFFFFFFFFF00;

std::string FirstUrl(const CProducer& p, PORT_HANDLE port) {
    std::array<char, 4096> url{};
    size_t size = url.size() - 1;
    return !p.GCGetPortURL.IsMissing() && p.GCGetPortURL(port, url.data(), &size) == GC_ERR_SUCCESS
               ? url.data()
               : "";
}

// By the newer function, else by the older one that knows only the first.
std::string CheckUrl(const CProducer& p, PORT_HANDLE port, uint32_t index,
                     const std::string& module, CJudgement& judge) {
    std::string first = index == 0 ? FirstUrl(p, port) : "";
    if (p.GCGetPortURLInfo.IsMissing()) {
        return first;
    }
    std::string url =
        QueryText(CProducer::Query(p.GCGetPortURLInfo, port, index, URL_INFO_URL)).value_or("");
    judge.Want(p.GCGetPortURLInfo.name, "GCGetPortURLInfo gives a URL of " + module, !url.empty(),
               "a text", "refused, or an empty one");
    if (url.empty()) {
        return first;
    }
    if (index == 0 && !p.GCGetPortURL.IsMissing()) {
        judge.Want(p.GCGetPortURL.name, "GCGetPortURL gives the first URL of " + module,
                   first == url, "\"" + url + "\"", "\"" + first + "\"");
    }
    return url;
}

void CheckXml(const CProducer& p, PORT_HANDLE port, const std::string& url,
              const std::string& module, CJudgement& judge) {
    std::string answer = "on the network, not read";
    bool isRead = true;
    if (!GenApi::IsOnNetwork(url)) {
        try {
            GenApi::ParseXml(ReadDescription(p, port, url));
            answer.clear();
        } catch (const std::runtime_error& error) {
            answer = error.what();
            isRead = false;
        }
    }
    judge.Want(p.GCReadPort.name, "the XML at the URL of " + module, isRead,
               "readable there, and well-formed", answer);
}

} // namespace

void CheckDescription(const CProducer& p, PORT_HANDLE port, const std::string& module,
                      CJudgement& judge) {
    uint32_t count = 1;
    if (!p.GCGetNumPortURLs.IsMissing()) {
        count = 0;
        const GC_ERROR code = p.GCGetNumPortURLs(port, &count);
        judge.Want(p.GCGetNumPortURLs.name, "the port of " + module + " names a description",
                   code == GC_ERR_SUCCESS && count > 0, "one URL at least",
                   code == GC_ERR_SUCCESS ? std::to_string(count) + " URLs" : CodeText(code));
    }
    for (uint32_t i = 0; i < count; ++i) {
        const std::string url = CheckUrl(p, port, i, module, judge);
        if (!url.empty() && !p.GCReadPort.IsMissing()) {
            CheckXml(p, port, url, module, judge);
        }
    }
}

void CheckRemotePort(const CProducer& p, PORT_HANDLE port, CJudgement& judge) {
    uint32_t word = 0;
    size_t size = sizeof(word);
    judge.Expect("GCReadPort where no register is", {GC_ERR_INVALID_ADDRESS, GC_ERR_IO},
                 "the address is invalid", p.GCReadPort, port, kUnknownAddress, &word, &size);
    judge.Expect("GCReadPort without a buffer", {GC_ERR_INVALID_PARAMETER},
                 "a null pointer is an invalid parameter", p.GCReadPort, port, uint64_t{0}, nullptr,
                 &size);
    CheckDescription(p, port, "the camera", judge);
    judge.Attempt(p.GCReadPort.name,
                  "the camera's description is well-formed and its features can be read", [&] {
                      const CFeatures features(p, port);
                      for (const SFeature& feature : features.All()) {
                          if (!feature.error.empty()) {
                              judge.Want(p.GCReadPort.name, "feature " + feature.name, false,
                                         "readable as described", feature.error);
                          }
                      }
                  });
}

} // namespace norveltl
