#include "check/Judgement.h"

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
    {"STREAM_INFO_DEFINES_PAYLOADSIZE into one byte",
     "STREAM_INFO_DEFINES_PAYLOADSIZE answers the payload size itself, as 64 bits."},
    {"EventKill ends a wait", "EventKill wakes nobody; wait with a finite time-out."},
    {"EventKill ends an infinite wait", "EventKill wakes nobody; wait with a finite time-out."},
    {"GCGetLastError in a thread without a failure",
     "The last error is one for the whole process."},
    {"GCGetLastError after another thread's failure",
     "The last error is one for the whole process."},
    {"the XML at the URL of the device",
     "Devices and streams have no description; the camera's own port has one."},
    {"the XML at the URL of the stream",
     "Devices and streams have no description; the camera's own port has one."},
    {"a restarted stream delivers new images only",
     "ACQ_QUEUE_ALL_DISCARD lets every buffer be fetched once more; flush with "
     "ACQ_QUEUE_OUTPUT_DISCARD too before queueing again."},
    {"IFOpenDevice after the interface was opened anew",
     "An interface knows no camera until its own IFUpdateDeviceList."},
};

// What the camera's features tell instead.
constexpr const char* kKnownOfImages[] = {"BUFFER_INFO_TIMESTAMP",
                                          "BUFFER_INFO_IS_INCOMPLETE",
                                          "BUFFER_INFO_WIDTH",
                                          "BUFFER_INFO_HEIGHT",
                                          "BUFFER_INFO_XOFFSET",
                                          "BUFFER_INFO_YOFFSET",
                                          "BUFFER_INFO_XPADDING",
                                          "BUFFER_INFO_YPADDING",
                                          "BUFFER_INFO_FRAMEID",
                                          "BUFFER_INFO_IMAGEPRESENT",
                                          "BUFFER_INFO_IMAGEOFFSET",
                                          "BUFFER_INFO_PAYLOADTYPE",
                                          "BUFFER_INFO_PIXELFORMAT",
                                          "BUFFER_INFO_PIXELFORMAT_NAMESPACE",
                                          "BUFFER_INFO_DELIVERED_IMAGEHEIGHT",
                                          "BUFFER_INFO_DATA_SIZE",
                                          "BUFFER_INFO_TIMESTAMP_NS"};
constexpr const char* kWhyOfImages =
    "Buffers know nothing of their images; read the camera's features before the start.";

// Why the deviation is kept; null if it is not known.
const char* WhyKnown(const std::string& check) {
    for (const SKnown& known : kKnown) {
        if (check == known.check) {
            return known.why;
        }
    }
    const auto isKnown = [&](const char* known) { return check == known; };
    return std::any_of(std::begin(kKnownOfImages), std::end(kKnownOfImages), isKnown) ? kWhyOfImages
                                                                                      : nullptr;
}

} // namespace

const char* VerdictText(EVerdict verdict) {
    return verdict == EVerdict::Passed     ? "passed"
           : verdict == EVerdict::Deviates ? "deviates"
                                           : "FAILED";
}

void CJudgement::Compare(const char* function, const std::string& check, GC_ERROR code,
                         const std::vector<GC_ERROR>& expected, const std::string& rule,
                         const std::string& remark) {
    std::string codes;
    for (const GC_ERROR known : expected) {
        codes += (codes.empty() ? "" : " or ") + CodeText(known);
    }
    Want(function, check, std::find(expected.begin(), expected.end(), code) != expected.end(),
         codes + ": " + rule, CodeText(code) + remark);
}

void CJudgement::Want(const char* function, const std::string& check, bool holds,
                      const std::string& expected, const std::string& answer) {
    SFinding finding{EVerdict::Passed, m_subject, function, check, answer, expected};
    if (!holds) {
        finding.verdict = EVerdict::Deviates;
        const char* const why = m_hasKnown ? WhyKnown(check) : nullptr;
        if (why) {
            finding.isKnown = true;
            m_explanations.insert(why);
        }
    }
    m_findings.push_back(std::move(finding));
}

void CJudgement::Require(const char* function, const std::string& check, bool holds,
                         const std::string& answer) {
    m_findings.push_back(
        {holds ? EVerdict::Passed : EVerdict::Failed, m_subject, function, check, answer, ""});
}

size_t CJudgement::Count(EVerdict verdict) const {
    return static_cast<size_t>(
        std::count_if(m_findings.begin(), m_findings.end(),
                      [&](const SFinding& finding) { return finding.verdict == verdict; }));
}

} // namespace norveltl
