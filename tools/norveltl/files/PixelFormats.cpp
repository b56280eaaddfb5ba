#include "files/PixelFormats.h"

#include <algorithm>
#include <iterator>

namespace norveltl {

namespace {

constexpr EPacking kBytes = EPacking::Bytes, kBits = EPacking::Bits, kTriplets = EPacking::Triplets;
constexpr EColours kMono = EColours::Mono, kBayer = EColours::Bayer, kRgb = EColours::Rgb,
                   kYuv = EColours::Yuv, kYCbCr601 = EColours::YCbCr601,
                   kYCbCr709 = EColours::YCbCr709;

// Behind the names of the convention stand those that GigE Vision had before it.
constexpr SPixelFormat kFormats[] = {
    {"Mono8", 0x01080001, kBytes, 8, kMono, "Y"},
    {"Mono10", 0x01100003, kBytes, 10, kMono, "Y"},
    {"Mono12", 0x01100005, kBytes, 12, kMono, "Y"},
    {"Mono14", 0x01100025, kBytes, 14, kMono, "Y"},
    {"Mono16", 0x01100007, kBytes, 16, kMono, "Y"},
    {"Mono10p", 0x010A0046, kBits, 10, kMono, "Y"},
    {"Mono12p", 0x010C0047, kBits, 12, kMono, "Y"},
    {"Mono14p", 0x010E0104, kBits, 14, kMono, "Y"},
    {"Mono10Packed", 0x010C0004, kTriplets, 10, kMono, "Y"},
    {"Mono12Packed", 0x010C0006, kTriplets, 12, kMono, "Y"},
    {"BayerGR8", 0x01080008, kBytes, 8, kBayer, "GR"},
    {"BayerRG8", 0x01080009, kBytes, 8, kBayer, "RG"},
    {"BayerGB8", 0x0108000A, kBytes, 8, kBayer, "GB"},
    {"BayerBG8", 0x0108000B, kBytes, 8, kBayer, "BG"},
    {"BayerGR10", 0x0110000C, kBytes, 10, kBayer, "GR"},
    {"BayerRG10", 0x0110000D, kBytes, 10, kBayer, "RG"},
    {"BayerGB10", 0x0110000E, kBytes, 10, kBayer, "GB"},
    {"BayerBG10", 0x0110000F, kBytes, 10, kBayer, "BG"},
    {"BayerGR12", 0x01100010, kBytes, 12, kBayer, "GR"},
    {"BayerRG12", 0x01100011, kBytes, 12, kBayer, "RG"},
    {"BayerGB12", 0x01100012, kBytes, 12, kBayer, "GB"},
    {"BayerBG12", 0x01100013, kBytes, 12, kBayer, "BG"},
    {"BayerGR14", 0x01100109, kBytes, 14, kBayer, "GR"},
    {"BayerRG14", 0x0110010A, kBytes, 14, kBayer, "RG"},
    {"BayerGB14", 0x0110010B, kBytes, 14, kBayer, "GB"},
    {"BayerBG14", 0x0110010C, kBytes, 14, kBayer, "BG"},
    {"BayerGR16", 0x0110002E, kBytes, 16, kBayer, "GR"},
    {"BayerRG16", 0x0110002F, kBytes, 16, kBayer, "RG"},
    {"BayerGB16", 0x01100030, kBytes, 16, kBayer, "GB"},
    {"BayerBG16", 0x01100031, kBytes, 16, kBayer, "BG"},
    {"BayerGR10p", 0x010A0056, kBits, 10, kBayer, "GR"},
    {"BayerRG10p", 0x010A0058, kBits, 10, kBayer, "RG"},
    {"BayerGB10p", 0x010A0054, kBits, 10, kBayer, "GB"},
    {"BayerBG10p", 0x010A0052, kBits, 10, kBayer, "BG"},
    {"BayerGR12p", 0x010C0057, kBits, 12, kBayer, "GR"},
    {"BayerRG12p", 0x010C0059, kBits, 12, kBayer, "RG"},
    {"BayerGB12p", 0x010C0055, kBits, 12, kBayer, "GB"},
    {"BayerBG12p", 0x010C0053, kBits, 12, kBayer, "BG"},
    {"BayerGR10Packed", 0x010C0026, kTriplets, 10, kBayer, "GR"},
    {"BayerRG10Packed", 0x010C0027, kTriplets, 10, kBayer, "RG"},
    {"BayerGB10Packed", 0x010C0028, kTriplets, 10, kBayer, "GB"},
    {"BayerBG10Packed", 0x010C0029, kTriplets, 10, kBayer, "BG"},
    {"BayerGR12Packed", 0x010C002A, kTriplets, 12, kBayer, "GR"},
    {"BayerRG12Packed", 0x010C002B, kTriplets, 12, kBayer, "RG"},
    {"BayerGB12Packed", 0x010C002C, kTriplets, 12, kBayer, "GB"},
    {"BayerBG12Packed", 0x010C002D, kTriplets, 12, kBayer, "BG"},
    {"RGB8", 0x02180014, kBytes, 8, kRgb, "RGB"},
    {"RGB10", 0x02300018, kBytes, 10, kRgb, "RGB"},
    {"RGB12", 0x0230001A, kBytes, 12, kRgb, "RGB"},
    {"RGB14", 0x0230005E, kBytes, 14, kRgb, "RGB"},
    {"RGB16", 0x02300033, kBytes, 16, kRgb, "RGB"},
    {"BGR8", 0x02180015, kBytes, 8, kRgb, "BGR"},
    {"BGR10", 0x02300019, kBytes, 10, kRgb, "BGR"},
    {"BGR12", 0x0230001B, kBytes, 12, kRgb, "BGR"},
    {"BGR14", 0x0230004A, kBytes, 14, kRgb, "BGR"},
    {"BGR16", 0x0230004B, kBytes, 16, kRgb, "BGR"},
    {"RGB10p", 0x021E005C, kBits, 10, kRgb, "RGB"},
    {"RGB12p", 0x0224005D, kBits, 12, kRgb, "RGB"},
    {"BGR10p", 0x021E0048, kBits, 10, kRgb, "BGR"},
    {"BGR12p", 0x02240049, kBits, 12, kRgb, "BGR"},
    {"RGBa8", 0x02200016, kBytes, 8, kRgb, "RGBa"},
    {"BGRa8", 0x02200017, kBytes, 8, kRgb, "BGRa"},
    {"YUV422_8", 0x02100032, kBytes, 8, kYuv, "YUYV"},
    {"YUV422_8_UYVY", 0x0210001F, kBytes, 8, kYuv, "UYVY"},
    {"YUV411_8_UYYVYY", 0x020C001E, kBytes, 8, kYuv, "UYYVYY"},
    {"YUV8_UYV", 0x02180020, kBytes, 8, kYuv, "UYV"},
    {"YCbCr8_CbYCr", 0x0218003A, kBytes, 8, kYuv, "UYV"},
    {"YCbCr422_8", 0x0210003B, kBytes, 8, kYuv, "YUYV"},
    {"YCbCr422_8_CbYCrY", 0x02100043, kBytes, 8, kYuv, "UYVY"},
    {"YCbCr411_8_CbYYCrYY", 0x020C003C, kBytes, 8, kYuv, "UYYVYY"},
    {"YCbCr601_8_CbYCr", 0x0218003D, kBytes, 8, kYCbCr601, "UYV"},
    {"YCbCr601_422_8", 0x0210003E, kBytes, 8, kYCbCr601, "YUYV"},
    {"YCbCr601_422_8_CbYCrY", 0x02100044, kBytes, 8, kYCbCr601, "UYVY"},
    {"YCbCr601_411_8_CbYYCrYY", 0x020C003F, kBytes, 8, kYCbCr601, "UYYVYY"},
    {"YCbCr709_8_CbYCr", 0x02180040, kBytes, 8, kYCbCr709, "UYV"},
    {"YCbCr709_422_8", 0x02100041, kBytes, 8, kYCbCr709, "YUYV"},
    {"YCbCr709_422_8_CbYCrY", 0x02100045, kBytes, 8, kYCbCr709, "UYVY"},
    {"YCbCr709_411_8_CbYYCrYY", 0x020C0042, kBytes, 8, kYCbCr709, "UYYVYY"},
    {"YCbCr8", 0x0218005B, kBytes, 8, kYuv, "YUV"},
    {"YCbCr411_8", 0x020C005A, kBytes, 8, kYuv, "YYUYYV"},
    {"RGB8Packed", 0x02180014, kBytes, 8, kRgb, "RGB"},
    {"BGR8Packed", 0x02180015, kBytes, 8, kRgb, "BGR"},
    {"RGBA8Packed", 0x02200016, kBytes, 8, kRgb, "RGBa"},
    {"BGRA8Packed", 0x02200017, kBytes, 8, kRgb, "BGRa"},
    {"RGB10Packed", 0x02300018, kBytes, 10, kRgb, "RGB"},
    {"BGR10Packed", 0x02300019, kBytes, 10, kRgb, "BGR"},
    {"RGB12Packed", 0x0230001A, kBytes, 12, kRgb, "RGB"},
    {"BGR12Packed", 0x0230001B, kBytes, 12, kRgb, "BGR"},
    {"RGB16Packed", 0x02300033, kBytes, 16, kRgb, "RGB"},
    {"YUV411Packed", 0x020C001E, kBytes, 8, kYuv, "UYYVYY"},
    {"YUV422Packed", 0x0210001F, kBytes, 8, kYuv, "UYVY"},
    {"YUV422_YUYV_Packed", 0x02100032, kBytes, 8, kYuv, "YUYV"},
    {"YUV444Packed", 0x02180020, kBytes, 8, kYuv, "UYV"},
};

template <class C>
const SPixelFormat* Find(C condition) {
    const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats), condition);
    return found != std::end(kFormats) ? found : nullptr;
}

} // namespace

unsigned SPixelFormat::StorageBits() const {
    if (packing == EPacking::Bytes) {
        return bits == 8 ? 8 : 16;
    }
    return packing == EPacking::Triplets ? 12 : bits;
}

size_t SPixelFormat::PixelsPerGroup() const {
    const auto count = static_cast<size_t>(std::count(order.begin(), order.end(), 'Y'));
    return std::max<size_t>(count, 1);
}

size_t SPixelFormat::SamplesPerLine(size_t width) const {
    const size_t perGroup = colours == EColours::Bayer ? 1 : order.size();
    return (width + PixelsPerGroup() - 1) / PixelsPerGroup() * perGroup;
}

std::optional<size_t> SPixelFormat::LineSize(size_t width) const {
    const size_t numBits = SamplesPerLine(width) * StorageBits();
    return numBits % 8 == 0 ? std::optional(numBits / 8) : std::nullopt;
}

std::span<const SPixelFormat> PixelFormats() {
    return kFormats;
}

const SPixelFormat* FindPixelFormat(std::string_view name) {
    return Find([name](const SPixelFormat& format) { return format.name == name; });
}

const SPixelFormat* FindPixelFormat(uint64_t value) {
    return Find([value](const SPixelFormat& format) { return format.value == value; });
}

} // namespace norveltl
