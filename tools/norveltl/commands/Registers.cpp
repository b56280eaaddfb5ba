#include "commands/Registers.h"

#include "files/OutputFile.h"
#include "producers/Description.h"
#include "producers/Modules.h"
#include "terminal/Console.h"
#include "terminal/Json.h"

#include "genapi/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <span>
#include <utility>

namespace norveltl {

namespace {

constexpr size_t kDefaultText = 64;
constexpr uint64_t kMaxRegister = 64U << 20;
constexpr size_t kBytesInLine = 16;

using Bytes = std::vector<uint8_t>;

struct SRegister {
    uint64_t address;
    Bytes bytes;
};

CToolError WrongUsage(const std::string& text, const std::string& reason) {
    return CToolError("\"" + Printable(text) + "\" " + reason, kWrongUsage);
}

uint64_t ParseAddress(const std::string& text) {
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    const auto number = GenApi::ParseUnsigned(isHex ? text.substr(2) : text, isHex ? 16 : 10);
    if (!number) {
        throw WrongUsage(text, "is no address or length");
    }
    return *number;
}

// The width of a number's type; 0 for texts and bytes.
size_t WidthOf(const std::string& type) {
    if (type == "u32" || type == "i32" || type == "f32") {
        return 4;
    }
    return type == "u64" || type == "i64" || type == "f64" ? 8 : 0;
}

template <class T>
T NumberIn(const Bytes& bytes) {
    T value{};
    std::memcpy(&value, bytes.data(), sizeof(value));
    return value;
}

template <class T>
Bytes BytesOfNumber(const std::string& text) {
    T value{};
    const bool isHex = std::is_integral_v<T> && (text.starts_with("0x") || text.starts_with("0X"));
    const char* const begin = text.data() + (isHex ? 2 : 0);
    const char* const end = text.data() + text.size();
    std::from_chars_result result{};
    if constexpr (std::is_integral_v<T>) {
        result = std::from_chars(begin, end, value, isHex ? 16 : 10);
    } else {
        result = std::from_chars(begin, end, value);
    }
    if (result.ec != std::errc() || result.ptr != end) {
        throw WrongUsage(text, "is no value of that type");
    }
    Bytes bytes(sizeof(value));
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

Bytes BytesOfHex(const std::string& text) {
    Bytes bytes;
    for (size_t i = 0; i + 1 < text.size(); i += 2) {
        const auto byte = GenApi::ParseUnsigned(text.substr(i, 2), 16);
        if (!byte) {
            break;
        }
        bytes.push_back(static_cast<uint8_t>(*byte));
    }
    if (text.empty() || 2 * bytes.size() != text.size()) {
        throw WrongUsage(text, "is no sequence of bytes, two hexadecimal digits each");
    }
    return bytes;
}

Bytes BytesOf(const std::string& type, const std::string& text) {
    if (type == "u32") {
        return BytesOfNumber<uint32_t>(text);
    }
    if (type == "i32") {
        return BytesOfNumber<int32_t>(text);
    }
    if (type == "u64") {
        return BytesOfNumber<uint64_t>(text);
    }
    if (type == "i64") {
        return BytesOfNumber<int64_t>(text);
    }
    if (type == "f32") {
        return BytesOfNumber<float>(text);
    }
    if (type == "f64") {
        return BytesOfNumber<double>(text);
    }
    if (type == "string") {
        Bytes bytes(text.begin(), text.end());
        bytes.push_back(0);
        return bytes;
    }
    return BytesOfHex(text);
}

std::string HexOf(const Bytes& bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x", byte);
        text += digits.data();
    }
    return text;
}

// The shortest text that reads back as the same number of that width.
template <class T>
std::string FloatText(T value) {
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string TextOf(const std::string& type, const Bytes& bytes) {
    if (type == "u32") {
        return std::to_string(NumberIn<uint32_t>(bytes));
    }
    if (type == "i32") {
        return std::to_string(NumberIn<int32_t>(bytes));
    }
    if (type == "u64") {
        return std::to_string(NumberIn<uint64_t>(bytes));
    }
    if (type == "i64") {
        return std::to_string(NumberIn<int64_t>(bytes));
    }
    if (type == "string") {
        return Printable({bytes.begin(), std::find(bytes.begin(), bytes.end(), 0)});
    }
    return type == "f32" ? FloatText(NumberIn<float>(bytes)) : FloatText(NumberIn<double>(bytes));
}

void Dump(const SRegister& source) {
    for (size_t begin = 0; begin < source.bytes.size(); begin += kBytesInLine) {
        std::array<char, 24> address{};
        const unsigned long long first = source.address + begin;
        std::snprintf(address.data(), address.size(), "%08llx ", first);
        std::string line = address.data();
        std::string text;
        for (size_t i = 0; i < kBytesInLine; ++i) {
            const size_t at = begin + i;
            std::array<char, 4> byte{' ', ' ', ' ', '\0'};
            if (at < source.bytes.size()) {
                std::snprintf(byte.data(), byte.size(), " %02x", source.bytes[at]);
                const auto c = static_cast<char>(source.bytes[at]);
                text += c >= ' ' && c <= '~' ? c : '.';
            }
            line += byte.data();
        }
        std::cout << line << "  |" << text << "|\n";
    }
}

// Where the device is named, the first word may be a place already.
SRegisterOptions Sorted(SRegisterOptions options) {
    if (!options.device.empty() && !IsModuleName(options.target)) {
        options.places.insert(options.places.begin(), std::exchange(options.target, ""));
    }
    if (options.places.empty()) {
        throw CToolError("no register is named", kWrongUsage);
    }
    return options;
}

void Print(const std::vector<SRegister>& registers, const std::string& type) {
    for (const SRegister& source : registers) {
        if (type.empty()) {
            Dump(source);
        } else {
            std::cout << TextOf(type, source.bytes) << "\n";
        }
    }
}

// Numbers as numbers, as far as JSON has them.
void PrintJson(const std::vector<SRegister>& registers, const std::string& type) {
    Json list = Json::array();
    for (const SRegister& source : registers) {
        const std::string text = type.empty() ? HexOf(source.bytes) : TextOf(type, source.bytes);
        Json value = WidthOf(type) != 0 ? Json::parse(text, nullptr, false) : Json(text);
        if (value.is_discarded()) {
            value = text;
        }
        list.push_back(
            {{"address", source.address}, {type.empty() ? "bytes" : "value", std::move(value)}});
    }
    std::cout << ToText(list) << "\n";
}

std::vector<SRegister> PlacesToRead(const SRegisterOptions& options) {
    std::vector<SRegister> places;
    for (const std::string& place : options.places) {
        const size_t colon = place.find(':');
        const size_t width = WidthOf(options.type);
        uint64_t length = width != 0 ? width : options.type == "string" ? kDefaultText : 4;
        if (colon != std::string::npos) {
            length = ParseAddress(place.substr(colon + 1));
            if (length == 0 || length > kMaxRegister || (width != 0 && length != width)) {
                throw WrongUsage(place, "names a length that does not suit");
            }
        }
        places.push_back(
            {ParseAddress(place.substr(0, colon)), Bytes(static_cast<size_t>(length))});
    }
    return places;
}

std::vector<SRegister> PlacesToWrite(const SRegisterOptions& options) {
    std::vector<SRegister> places;
    for (const std::string& place : options.places) {
        const size_t equals = place.find('=');
        if (equals == std::string::npos) {
            throw WrongUsage(place, "is not of the form ADDRESS=VALUE");
        }
        places.push_back({ParseAddress(place.substr(0, equals)),
                          BytesOf(options.type, place.substr(equals + 1))});
    }
    return places;
}

// One place by itself, several in a stack; a stack that breaks off says how far it came.
template <class F, class S>
void Access(const CModulePath& path, std::vector<SRegister>& places, const F& single,
            const S& stacked) {
    const CProducer& p = path.Producer();
    PORT_HANDLE port = path.Target().handle;
    if (places.size() == 1) {
        size_t size = places[0].bytes.size();
        p.Call(single, port, places[0].address, places[0].bytes.data(), &size);
        if (size < places[0].bytes.size()) {
            places[0].bytes.resize(size);
        }
        return;
    }
    std::vector<PORT_REGISTER_STACK_ENTRY> entries;
    entries.reserve(places.size());
    for (SRegister& place : places) {
        entries.push_back({place.address, place.bytes.data(), place.bytes.size()});
    }
    size_t count = entries.size();
    const GC_ERROR code = stacked(port, entries.data(), &count);
    if (code != GC_ERR_SUCCESS) {
        Note(std::to_string(count) + " of " + std::to_string(entries.size()) +
             " registers were accessed before the call failed");
    }
    p.Check(stacked.name, code);
}

} // namespace

EExitCode ReadRegisters(const std::string& cti, const SRegisterOptions& given) {
    const SRegisterOptions options = Sorted(given);
    std::vector<SRegister> places = PlacesToRead(options);
    const SModuleName name = ParseModuleName(options.target, options.device);
    const SSystems systems = OpenSystems(cti);
    const CModulePath path(systems, name);
    const CProducer& p = path.Producer();
    Access(path, places, p.GCReadPort, p.GCReadPortStacked);
    for (const SRegister& place : places) {
        if (place.bytes.size() < WidthOf(options.type)) {
            throw CToolError("the port gave only " + std::to_string(place.bytes.size()) + " bytes");
        }
    }
    if (options.json) {
        PrintJson(places, options.type);
    } else {
        Print(places, options.type);
    }
    std::cout << std::flush;
    return kDone;
}

EExitCode WriteRegisters(const std::string& cti, const SRegisterOptions& given) {
    const SRegisterOptions options = Sorted(given);
    std::vector<SRegister> places = PlacesToWrite(options);
    const SModuleName name = ParseModuleName(options.target, options.device);
    const SSystems systems = OpenSystems(cti);
    const CModulePath path(systems, name);
    const CProducer& p = path.Producer();
    Access(path, places, p.GCWritePort, p.GCWritePortStacked);
    return kDone;
}

EExitCode ShowXml(const std::string& cti, const SXmlOptions& options) {
    const SModuleName name = ParseModuleName(options.target, options.device);
    const std::filesystem::path file = PathFromUtf8(options.file);
    const EExisting existing = options.force ? EExisting::Replace : EExisting::Keep;
    CheckPlace(file, existing);
    const SSystems systems = OpenSystems(cti);
    const CModulePath path(systems, name);
    const std::string xml = ReadDescription(path.Producer(), path.Target().handle);
    if (options.file.empty()) {
        std::cout << xml << std::flush;
    } else {
        WriteFile(file, {reinterpret_cast<const uint8_t*>(xml.data()), xml.size()}, existing);
    }
    return kDone;
}

} // namespace norveltl
