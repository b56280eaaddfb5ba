#include "check/Checks.h"

#include <array>
#include <cstring>
#include <map>

namespace norveltl {

namespace {

// What a producer knows of any buffer that it delivers is required; of the rest it may say that it
// is not available.
struct SImageInfo {
    BUFFER_INFO_CMD command;
    const char* name;
    INFO_DATATYPE type;
    bool isRequired;
};

#define INFO(name, type, required)                                                                 \
    { BUFFER_INFO_##name, "BUFFER_INFO_" #name, INFO_DATATYPE_##type, required }

constexpr SImageInfo kInfos[] = {INFO(BASE, PTR, true),
                                 INFO(SIZE, SIZET, true),
                                 INFO(TIMESTAMP, UINT64, false),
                                 INFO(NEW_DATA, BOOL8, true),
                                 INFO(IS_QUEUED, BOOL8, true),
                                 INFO(IS_ACQUIRING, BOOL8, true),
                                 INFO(IS_INCOMPLETE, BOOL8, true),
                                 INFO(SIZE_FILLED, SIZET, true),
                                 INFO(WIDTH, SIZET, false),
                                 INFO(HEIGHT, SIZET, false),
                                 INFO(XOFFSET, SIZET, false),
                                 INFO(YOFFSET, SIZET, false),
                                 INFO(XPADDING, SIZET, false),
                                 INFO(YPADDING, SIZET, false),
                                 INFO(FRAMEID, UINT64, false),
                                 INFO(IMAGEPRESENT, BOOL8, false),
                                 INFO(IMAGEOFFSET, SIZET, false),
                                 INFO(PAYLOADTYPE, SIZET, true),
                                 INFO(PIXELFORMAT, UINT64, false),
                                 INFO(PIXELFORMAT_NAMESPACE, UINT64, false),
                                 INFO(DELIVERED_IMAGEHEIGHT, SIZET, false),
                                 INFO(DATA_SIZE, SIZET, false),
                                 INFO(TIMESTAMP_NS, UINT64, false)};

#undef INFO

size_t SizeOf(INFO_DATATYPE type) {
    return type == INFO_DATATYPE_BOOL8 ? 1 : 8;
}

const char* TypeText(INFO_DATATYPE type) {
    return type == INFO_DATATYPE_BOOL8   ? "BOOL8 of 1 byte"
           : type == INFO_DATATYPE_PTR   ? "PTR of 8 bytes"
           : type == INFO_DATATYPE_SIZET ? "SIZET of 8 bytes"
                                         : "UINT64 of 8 bytes";
}

bool IsUnavailable(GC_ERROR code) {
    return code == GC_ERR_NOT_AVAILABLE || code == GC_ERR_NOT_IMPLEMENTED;
}

using Values = std::map<BUFFER_INFO_CMD, uint64_t>;

// What is given in the right form is kept.
void CheckInfo(const InfoQuery& query, const char* function, const SImageInfo& info,
               CJudgement& judge, Values& values) {
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    std::array<uint8_t, 64> bytes{};
    size_t size = SizeOf(info.type);
    const GC_ERROR code = query(&type, bytes.data(), &size);
    const bool isGiven = code == GC_ERR_SUCCESS && type == info.type && size == SizeOf(info.type);
    std::string answer = CodeText(code);
    if (code == GC_ERR_SUCCESS && !isGiven) {
        answer = "type " + std::to_string(type) + " of " + std::to_string(size) + " bytes";
    }
    judge.Want(function, info.name, isGiven || (!info.isRequired && IsUnavailable(code)),
               TypeText(info.type) + std::string(info.isRequired ? "" : ", or not available"),
               answer);
    if (isGiven) {
        uint64_t value = 0;
        std::memcpy(&value, bytes.data(), size);
        values[info.command] = value;
    }
}

} // namespace

void CheckImageInfos(const CProducer& p, DS_HANDLE stream, BUFFER_HANDLE buffer,
                     const SImageFormat& format, CJudgement& judge) {
    if (p.DSGetBufferInfo.IsMissing()) {
        return;
    }
    const char* const function = p.DSGetBufferInfo.name;
    Values values;
    for (const SImageInfo& info : kInfos) {
        CheckInfo(CProducer::Query(p.DSGetBufferInfo, stream, buffer, info.command), function, info,
                  judge, values);
    }
    const auto expect = [&](BUFFER_INFO_CMD command, const std::string& check, uint64_t expected) {
        if (values.contains(command)) {
            judge.Want(function, check, values[command] == expected, std::to_string(expected),
                       std::to_string(values[command]));
        }
    };
    expect(BUFFER_INFO_NEW_DATA, "BUFFER_INFO_NEW_DATA of a delivered buffer", 1);
    expect(BUFFER_INFO_IS_QUEUED, "BUFFER_INFO_IS_QUEUED of a delivered buffer", 0);
    expect(BUFFER_INFO_IS_ACQUIRING, "BUFFER_INFO_IS_ACQUIRING of a delivered buffer", 0);
    if (values.contains(BUFFER_INFO_PAYLOADTYPE) &&
        values[BUFFER_INFO_PAYLOADTYPE] == PAYLOAD_TYPE_IMAGE) {
        expect(BUFFER_INFO_IMAGEPRESENT, "BUFFER_INFO_IMAGEPRESENT of an image", 1);
    }
    if (format.width > 0) {
        expect(BUFFER_INFO_WIDTH, "BUFFER_INFO_WIDTH is the camera's Width", format.width);
    }
    if (format.height > 0) {
        expect(BUFFER_INFO_HEIGHT, "BUFFER_INFO_HEIGHT is the camera's Height", format.height);
    }
    if (values.contains(BUFFER_INFO_SIZE) && values.contains(BUFFER_INFO_SIZE_FILLED)) {
        judge.Want(function, "BUFFER_INFO_SIZE_FILLED is within the buffer",
                   values[BUFFER_INFO_SIZE_FILLED] <= values[BUFFER_INFO_SIZE],
                   "at most " + std::to_string(values[BUFFER_INFO_SIZE]),
                   std::to_string(values[BUFFER_INFO_SIZE_FILLED]));
    }
}

} // namespace norveltl
