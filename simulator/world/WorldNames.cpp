#include "world/WorldNames.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <string_view>

namespace OptivoSim {

namespace {

#define ENUMERATOR(name)                                                                           \
    { #name, name }

constexpr std::pair<const char*, OptivoOperation> kOperations[] = {
    ENUMERATOR(OPTIVO_GET_SYSTEM),
    ENUMERATOR(OPTIVO_SYSTEM_UPDATE_INTERFACE_LIST),
    ENUMERATOR(OPTIVO_SYSTEM_GET_INTERFACE_NAME),
    ENUMERATOR(OPTIVO_SYSTEM_GET_INTERFACE),
    ENUMERATOR(OPTIVO_SYSTEM_OPEN_INTERFACE),
    ENUMERATOR(OPTIVO_SYSTEM_CLOSE),
    ENUMERATOR(OPTIVO_INTERFACE_UPDATE_DEVICE_LIST),
    ENUMERATOR(OPTIVO_INTERFACE_GET_DEVICE_NAME),
    ENUMERATOR(OPTIVO_INTERFACE_GET_DEVICE),
    ENUMERATOR(OPTIVO_INTERFACE_OPEN_DEVICE),
    ENUMERATOR(OPTIVO_INTERFACE_WRITE_PORT),
    ENUMERATOR(OPTIVO_INTERFACE_READ_PORT),
    ENUMERATOR(OPTIVO_INTERFACE_CLOSE),
    ENUMERATOR(OPTIVO_DEVICE_GET_NUM_DATA_STREAMS),
    ENUMERATOR(OPTIVO_DEVICE_OPEN_DATA_STREAM),
    ENUMERATOR(OPTIVO_DEVICE_WRITE_PORT),
    ENUMERATOR(OPTIVO_DEVICE_READ_PORT),
    ENUMERATOR(OPTIVO_DEVICE_GET_INFO),
    ENUMERATOR(OPTIVO_DEVICE_REGISTER_EVENT_CALLBACK),
    ENUMERATOR(OPTIVO_DEVICE_CLOSE),
    ENUMERATOR(OPTIVO_STREAM_START_ACQUISITION),
    ENUMERATOR(OPTIVO_STREAM_STOP_ACQUISITION),
    ENUMERATOR(OPTIVO_STREAM_GRAB_IMAGE),
    ENUMERATOR(OPTIVO_STREAM_SET_STREAM_PARAMETER),
    ENUMERATOR(OPTIVO_STREAM_GET_STREAM_INFO),
    ENUMERATOR(OPTIVO_STREAM_CLOSE)};
static_assert(std::size(kOperations) == OPTIVO_NUM_OPERATIONS);

constexpr std::pair<const char*, OptivoFaultKind> kFaultKinds[] = {
    ENUMERATOR(OPTIVO_FAULT_RESULT),
    ENUMERATOR(OPTIVO_FAULT_RESULT_AFTER),
    ENUMERATOR(OPTIVO_FAULT_NULL_OBJECT),
    ENUMERATOR(OPTIVO_FAULT_GENERIC_EXCEPTION),
    ENUMERATOR(OPTIVO_FAULT_FOREIGN_EXCEPTION),
    ENUMERATOR(OPTIVO_FAULT_UNTERMINATED_TEXT),
    ENUMERATOR(OPTIVO_FAULT_OVERLONG_SIZE),
    ENUMERATOR(OPTIVO_FAULT_DELAY),
    ENUMERATOR(OPTIVO_FAULT_HANG),
    ENUMERATOR(OPTIVO_FAULT_EMPTY_TEXT),
    ENUMERATOR(OPTIVO_FAULT_NOT_TEXT),
    ENUMERATOR(OPTIVO_FAULT_EXCEPTION_AFTER),
    ENUMERATOR(OPTIVO_FAULT_WRONG_COUNT)};
static_assert(std::size(kFaultKinds) == OPTIVO_FAULT_WRONG_COUNT + 1);

constexpr std::pair<const char*, OptivoImageFaultKind> kImageFaultKinds[] = {
    ENUMERATOR(OPTIVO_IMAGE_LOST), ENUMERATOR(OPTIVO_IMAGE_LATE),
    ENUMERATOR(OPTIVO_IMAGE_REPEATED)};
static_assert(std::size(kImageFaultKinds) == OPTIVO_IMAGE_REPEATED + 1);

#undef ENUMERATOR

// OPTIVO_SYSTEM_CLOSE without the prefix OPTIVO_ is SystemClose.
std::string CamelCase(std::string_view words) {
    std::string name;
    bool startsWord = true;
    for (const char letter : words) {
        if (letter == '_') {
            startsWord = true;
            continue;
        }
        name += startsWord ? letter : static_cast<char>(std::tolower(letter));
        startsWord = false;
    }
    return name;
}

template <typename TValue, std::size_t count>
NamedValues<TValue> NamesOf(const std::pair<const char*, TValue> (&enumerators)[count],
                            std::string_view prefix, bool startsSmall) {
    NamedValues<TValue> names;
    for (const auto& [enumerator, value] : enumerators) {
        std::string name = CamelCase(std::string_view(enumerator).substr(prefix.size()));
        if (startsSmall) {
            name[0] = static_cast<char>(std::tolower(name[0]));
        }
        names.emplace_back(std::move(name), value);
    }
    return names;
}

} // namespace

const NamedValues<OptivoOperation>& OperationNames() {
    static const auto* const names =
        new NamedValues<OptivoOperation>(NamesOf(kOperations, "OPTIVO_", false));
    return *names;
}

const NamedValues<OptivoFaultKind>& FaultKindNames() {
    static const auto* const names =
        new NamedValues<OptivoFaultKind>(NamesOf(kFaultKinds, "OPTIVO_FAULT_", true));
    return *names;
}

const NamedValues<OptivoImageFaultKind>& ImageFaultKindNames() {
    static const auto* const names =
        new NamedValues<OptivoImageFaultKind>(NamesOf(kImageFaultKinds, "OPTIVO_IMAGE_", true));
    return *names;
}

const NamedValues<EPixelFormat>& PixelFormatNames() {
    static const auto* const names =
        new NamedValues<EPixelFormat>{{"Mono8", EPixelFormat::Mono8},
                                      {"Mono16", EPixelFormat::Mono16},
                                      {"BayerRG8", EPixelFormat::BayerRG8},
                                      {"RGB8", EPixelFormat::RGB8}};
    return *names;
}

const NamedValues<ETestPattern>& TestPatternNames() {
    static const auto* const names = new NamedValues<ETestPattern>{
        {"Black", ETestPattern::Black},
        {"White", ETestPattern::White},
        {"GreyHorizontalRamp", ETestPattern::GreyHorizontalRamp},
        {"GreyVerticalRampMoving", ETestPattern::GreyVerticalRampMoving},
        {"GreyDiagonalRampMoving", ETestPattern::GreyDiagonalRampMoving},
        {"ColorBar", ETestPattern::ColorBar}};
    return *names;
}

} // namespace OptivoSim
