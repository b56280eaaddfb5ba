#include "Judgement.h"

#include "Producer.h"

#include <algorithm>

namespace norveltl {

namespace {

// Deviations that NorvelTL keeps because its consumers know them.
struct SKnown {
    const char* check;
    const char* why;
};

constexpr SKnown kKnown[] = {
    {"GCInitLib again", "GCInitLib succeeds however often it is called."},
    {"access status of an open camera",
     "A camera that is open has the access status 3, no access, also for whoever opened it."},
    {"TLGetInfo into a small buffer",
     "Only GCGetInfo and GCGetLastError answer that a buffer is too small (-1016); elsewhere it is "
     "-1001."},
    {"TLGetInterfaceID behind the last",
     "Failures without a code of their own are -1001; GCGetLastError has the text."},
    {"TLGetInfo of an unknown command",
     "Failures without a code of their own are -1001; GCGetLastError has the text."},
    {"STREAM_INFO_DEFINES_PAYLOADSIZE is a flag",
     "STREAM_INFO_DEFINES_PAYLOADSIZE answers the payload size itself, as 64 bits."},
    {"STREAM_INFO_PAYLOAD_SIZE",
     "STREAM_INFO_PAYLOAD_SIZE is refused; STREAM_INFO_DEFINES_PAYLOADSIZE answers it."},
    {"DSRevokeBuffer of a queued buffer",
     "A queued buffer is refused with -1001; flush with ACQ_QUEUE_ALL_DISCARD first."},
    {"EventKill ends a wait", "EventKill wakes nobody; wait with a finite time-out."},
};

} // namespace

const char* VerdictText(EVerdict verdict) {
    return verdict == EVerdict::Passed     ? "passed"
           : verdict == EVerdict::Deviates ? "deviates"
                                           : "FAILED";
}

void CJudgement::Expect(const std::string& check, GC_ERROR code,
                        const std::vector<GC_ERROR>& expected, const std::string& rule) {
    if (std::find(expected.begin(), expected.end(), code) != expected.end()) {
        return Require(check, true, CodeText(code));
    }
    std::string codes;
    for (const GC_ERROR known : expected) {
        codes += (codes.empty() ? "" : " or ") + CodeText(known);
    }
    Deviate(check, codes + ": " + rule, CodeText(code));
}

void CJudgement::Deviate(const std::string& check, const std::string& expected,
                         const std::string& answer) {
    SFinding finding{EVerdict::Deviates, m_subject, check, answer, expected};
    if (m_isNorvelTL) {
        for (const SKnown& known : kKnown) {
            if (check == known.check) {
                finding.isKnown = true;
                m_explanations.insert(known.why);
            }
        }
    }
    m_findings.push_back(std::move(finding));
}

void CJudgement::Require(const std::string& check, bool holds, const std::string& answer) {
    m_findings.push_back(
        {holds ? EVerdict::Passed : EVerdict::Failed, m_subject, check, answer, ""});
}

size_t CJudgement::Count(EVerdict verdict) const {
    return static_cast<size_t>(
        std::count_if(m_findings.begin(), m_findings.end(),
                      [&](const SFinding& finding) { return finding.verdict == verdict; }));
}

} // namespace norveltl
