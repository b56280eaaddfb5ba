#include "grabbing/ImageCopy.h"

#include <utility>

namespace norveltl {

namespace {

// The number's meaning depends on the namespace: only the two that share their numbers are named.
std::string PixelFormatOf(CStream& stream, BUFFER_HANDLE buffer) {
    constexpr uint64_t kGigEVision = 1, kPfnc32Bit = 4;
    const auto value = stream.OptionalInfo(buffer, BUFFER_INFO_PIXELFORMAT);
    const uint64_t nameSpace =
        stream.OptionalInfo(buffer, BUFFER_INFO_PIXELFORMAT_NAMESPACE).value_or(kPfnc32Bit);
    if (!value || (nameSpace != kGigEVision && nameSpace != kPfnc32Bit)) {
        return "";
    }
    const SPixelFormat* const known = FindPixelFormat(*value);
    return known ? std::string(known->name) : "";
}

SImageFormat FormatOf(CStream& stream, BUFFER_HANDLE buffer, SImageFormat format) {
    const auto width = stream.OptionalInfo(buffer, BUFFER_INFO_WIDTH);
    const auto height = stream.OptionalInfo(buffer, BUFFER_INFO_HEIGHT);
    if (width && height) {
        format.width = static_cast<uint32_t>(*width);
        format.height = static_cast<uint32_t>(*height);
    }
    if (std::string name = PixelFormatOf(stream, buffer); !name.empty()) {
        format.pixelFormat = std::move(name);
    }
    format.linePadding =
        static_cast<size_t>(stream.OptionalInfo(buffer, BUFFER_INFO_XPADDING).value_or(0));
    return format;
}

} // namespace

SImage CopyImage(CStream& stream, BUFFER_HANDLE buffer, const SImageFormat& usual, uint64_t number,
                 std::chrono::duration<double> arrival) {
    const std::span<const uint8_t> bytes = stream.Bytes(buffer);
    return {number,
            FormatOf(stream, buffer, usual),
            {bytes.begin(), bytes.end()},
            arrival,
            stream.OptionalInfo(buffer, BUFFER_INFO_FRAMEID),
            stream.OptionalInfo(buffer, BUFFER_INFO_TIMESTAMP)};
}

} // namespace norveltl
