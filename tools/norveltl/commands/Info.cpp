#include "commands/Info.h"

#include "producers/CameraLibrary.h"
#include "producers/Modules.h"
#include "terminal/Console.h"
#include "terminal/Table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>
#include <span>

namespace norveltl {

namespace {

// Producers may answer more than the size query promised.
constexpr size_t kSpareBytes = 256;
constexpr size_t kMaxBytesShown = 32;

struct SCommand {
    int32_t number;
    const char* name;
};

#define COMMAND(name)                                                                              \
    { name, #name }

constexpr SCommand kSystem[] = {COMMAND(TL_INFO_ID),
                                COMMAND(TL_INFO_VENDOR),
                                COMMAND(TL_INFO_MODEL),
                                COMMAND(TL_INFO_VERSION),
                                COMMAND(TL_INFO_TLTYPE),
                                COMMAND(TL_INFO_NAME),
                                COMMAND(TL_INFO_PATHNAME),
                                COMMAND(TL_INFO_DISPLAYNAME),
                                COMMAND(TL_INFO_CHAR_ENCODING),
                                COMMAND(TL_INFO_GENTL_VER_MAJOR),
                                COMMAND(TL_INFO_GENTL_VER_MINOR)};
constexpr SCommand kInterface[] = {COMMAND(INTERFACE_INFO_ID), COMMAND(INTERFACE_INFO_DISPLAYNAME),
                                   COMMAND(INTERFACE_INFO_TLTYPE)};
constexpr SCommand kDevice[] = {COMMAND(DEVICE_INFO_ID),
                                COMMAND(DEVICE_INFO_VENDOR),
                                COMMAND(DEVICE_INFO_MODEL),
                                COMMAND(DEVICE_INFO_TLTYPE),
                                COMMAND(DEVICE_INFO_DISPLAYNAME),
                                COMMAND(DEVICE_INFO_ACCESS_STATUS),
                                COMMAND(DEVICE_INFO_USER_DEFINED_NAME),
                                COMMAND(DEVICE_INFO_SERIAL_NUMBER),
                                COMMAND(DEVICE_INFO_VERSION),
                                COMMAND(DEVICE_INFO_TIMESTAMP_FREQUENCY)};
constexpr SCommand kStream[] = {COMMAND(STREAM_INFO_ID),
                                COMMAND(STREAM_INFO_NUM_DELIVERED),
                                COMMAND(STREAM_INFO_NUM_UNDERRUN),
                                COMMAND(STREAM_INFO_NUM_ANNOUNCED),
                                COMMAND(STREAM_INFO_NUM_QUEUED),
                                COMMAND(STREAM_INFO_NUM_AWAIT_DELIVERY),
                                COMMAND(STREAM_INFO_NUM_STARTED),
                                COMMAND(STREAM_INFO_PAYLOAD_SIZE),
                                COMMAND(STREAM_INFO_IS_GRABBING),
                                COMMAND(STREAM_INFO_DEFINES_PAYLOADSIZE),
                                COMMAND(STREAM_INFO_TLTYPE),
                                COMMAND(STREAM_INFO_NUM_CHUNKS_MAX),
                                COMMAND(STREAM_INFO_BUF_ANNOUNCE_MIN),
                                COMMAND(STREAM_INFO_BUF_ALIGNMENT)};
constexpr SCommand kPort[] = {
    COMMAND(PORT_INFO_ID),         COMMAND(PORT_INFO_VENDOR),      COMMAND(PORT_INFO_MODEL),
    COMMAND(PORT_INFO_TLTYPE),     COMMAND(PORT_INFO_MODULE),      COMMAND(PORT_INFO_LITTLE_ENDIAN),
    COMMAND(PORT_INFO_BIG_ENDIAN), COMMAND(PORT_INFO_ACCESS_READ), COMMAND(PORT_INFO_ACCESS_WRITE),
    COMMAND(PORT_INFO_ACCESS_NA),  COMMAND(PORT_INFO_ACCESS_NI),   COMMAND(PORT_INFO_VERSION),
    COMMAND(PORT_INFO_PORTNAME)};
constexpr SCommand kUrl[] = {COMMAND(URL_INFO_URL),
                             COMMAND(URL_INFO_SCHEMA_VER_MAJOR),
                             COMMAND(URL_INFO_SCHEMA_VER_MINOR),
                             COMMAND(URL_INFO_FILE_VER_MAJOR),
                             COMMAND(URL_INFO_FILE_VER_MINOR),
                             COMMAND(URL_INFO_FILE_VER_SUBMINOR),
                             COMMAND(URL_INFO_FILE_SHA1_HASH),
                             COMMAND(URL_INFO_FILE_REGISTER_ADDRESS),
                             COMMAND(URL_INFO_FILE_SIZE),
                             COMMAND(URL_INFO_SCHEME),
                             COMMAND(URL_INFO_FILENAME)};

#undef COMMAND

constexpr std::array<const char*, 15> kTypes = {
    "UNKNOWN", "STRING",  "STRINGLIST", "INT16", "UINT16", "INT32",  "UINT32", "INT64",
    "UINT64",  "FLOAT64", "PTR",        "BOOL8", "SIZET",  "BUFFER", "PTRDIFF"};

// What a producer leaves as it is when it succeeds without an answer.
constexpr INFO_DATATYPE kUntouched = -1;

std::string TypeName(INFO_DATATYPE type) {
    if (type == kUntouched) {
        return "";
    }
    return type >= 0 && static_cast<size_t>(type) < kTypes.size()
               ? kTypes[static_cast<size_t>(type)]
               : std::to_string(type);
}

// What a producer answered to one command.
struct SAnswer {
    const SCommand* command;
    GC_ERROR code;
    INFO_DATATYPE type = kUntouched;
    std::vector<uint8_t> bytes;

    Json Value() const;
    std::string Text() const;
};

template <class T>
Json NumberOf(const std::vector<uint8_t>& bytes) {
    T value{};
    std::memcpy(&value, bytes.data(), std::min(sizeof(value), bytes.size()));
    return value;
}

std::string Hex(const std::vector<uint8_t>& bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < std::min(bytes.size(), kMaxBytesShown); ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

Json SAnswer::Value() const {
    switch (type) {
    case kUntouched:
        return nullptr;
    case INFO_DATATYPE_STRING:
        return std::string(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
    case INFO_DATATYPE_INT16:
        return NumberOf<int16_t>(bytes);
    case INFO_DATATYPE_UINT16:
        return NumberOf<uint16_t>(bytes);
    case INFO_DATATYPE_INT32:
        return NumberOf<int32_t>(bytes);
    case INFO_DATATYPE_UINT32:
        return NumberOf<uint32_t>(bytes);
    case INFO_DATATYPE_INT64:
    case INFO_DATATYPE_PTRDIFF:
        return NumberOf<int64_t>(bytes);
    case INFO_DATATYPE_UINT64:
    case INFO_DATATYPE_PTR:
    case INFO_DATATYPE_SIZET:
        return NumberOf<uint64_t>(bytes);
    case INFO_DATATYPE_FLOAT64:
        return NumberOf<double>(bytes);
    case INFO_DATATYPE_BOOL8:
        return NumberOf<uint8_t>(bytes) != 0;
    default:
        return Hex(bytes);
    }
}

std::string SAnswer::Text() const {
    if (code != GC_ERR_SUCCESS) {
        return CodeText(code);
    }
    if (type == kUntouched) {
        return "no answer";
    }
    const Json value = Value();
    return value.is_string() ? "\"" + Printable(value.get<std::string>()) + "\"" : value.dump();
}

SAnswer Ask(const InfoQuery& query, const SCommand& command) {
    SAnswer answer{&command, GC_ERR_SUCCESS, kUntouched, {}};
    size_t size = 0;
    answer.code = query(&answer.type, nullptr, &size);
    if (answer.code != GC_ERR_SUCCESS || answer.type == kUntouched) {
        return answer;
    }
    const size_t promised = std::min<size_t>(size, 1 << 20);
    answer.bytes.resize(promised + kSpareBytes);
    size = answer.bytes.size();
    answer.code = query(&answer.type, answer.bytes.data(), &size);
    answer.bytes.resize(std::min(size, answer.bytes.size()));
    return answer;
}

// The answers of one kind that a module gives.
struct SGroup {
    std::string title;
    std::vector<SAnswer> answers;
};

// By function(arguments..., command, answer...). A group whose function is missing is empty.
template <class P, class... A>
SGroup AskAll(std::string title, std::span<const SCommand> commands, const SFunction<P>& function,
              A... arguments) {
    SGroup group{std::move(title), {}};
    if (function.IsMissing()) {
        Note(CMissingFunction(function.name).what());
        return group;
    }
    for (const SCommand& command : commands) {
        group.answers.push_back(
            Ask(CProducer::Query(function, arguments..., command.number), command));
    }
    return group;
}

SGroup AskModule(const CProducer& p, const SModule& module) {
    switch (module.module) {
    case EModule::System:
        return AskAll("info", kSystem, p.TLGetInfo, module.handle);
    case EModule::Interface:
        return AskAll("info", kInterface, p.IFGetInfo, module.handle);
    case EModule::Device:
        return AskAll("info", kDevice, p.DevGetInfo, module.handle);
    case EModule::Stream:
        return AskAll("info", kStream, p.DSGetInfo, module.handle);
    default:
        return {"info", {}};
    }
}

std::vector<SGroup> AskEverything(const CProducer& p, const SModule& module) {
    std::vector<SGroup> groups;
    if (module.module != EModule::Port) {
        groups.push_back(AskModule(p, module));
    }
    groups.push_back(AskAll("port", kPort, p.GCGetPortInfo, module.handle));
    uint32_t numUrls = 0;
    if (p.GCGetNumPortURLs.IsMissing() ||
        p.GCGetNumPortURLs(module.handle, &numUrls) != GC_ERR_SUCCESS) {
        numUrls = 1;
    }
    for (uint32_t i = 0; i < numUrls; ++i) {
        groups.push_back(
            AskAll("url " + std::to_string(i), kUrl, p.GCGetPortURLInfo, module.handle, i));
    }
    return groups;
}

void Print(const CSystem& system, const SModule& module, const std::vector<SGroup>& groups) {
    std::cout << module.Name() << (module.id.empty() ? "" : " " + Printable(module.id)) << "\n";
    if (module.module == EModule::System) {
        if (const auto library = FindCameraLibrary(system)) {
            std::cout << "  " << library->Text() << "\n";
        }
    }
    CTable table({"", "number", "type", "size", "answer"});
    for (const SGroup& group : groups) {
        for (const SAnswer& answer : group.answers) {
            const bool isGiven = answer.code == GC_ERR_SUCCESS;
            table.Add({answer.command->name, std::to_string(answer.command->number),
                       isGiven ? TypeName(answer.type) : "",
                       isGiven ? std::to_string(answer.bytes.size()) : "", answer.Text()});
        }
    }
    table.Print(std::cout, "  ");
}

Json ToJson(const CSystem& system, const SModule& module, const std::vector<SGroup>& groups) {
    Json json{{"module", module.Name()}, {"id", module.id}};
    if (module.module == EModule::System) {
        json["cameraLibrary"] = ToJson(FindCameraLibrary(system));
    }
    for (const SGroup& group : groups) {
        Json& list = json[group.title] = Json::array();
        for (const SAnswer& answer : group.answers) {
            Json entry{{"command", answer.command->name}, {"number", answer.command->number}};
            if (answer.code == GC_ERR_SUCCESS) {
                entry["type"] = TypeName(answer.type);
                entry["size"] = answer.bytes.size();
                entry["value"] = answer.Value();
            } else {
                entry["error"] = answer.code;
                entry["name"] = CodeText(answer.code);
            }
            list.push_back(std::move(entry));
        }
    }
    return json;
}

} // namespace

EExitCode Info(const std::string& cti, const SInfoOptions& options) {
    const SSystems systems = OpenSystems(cti);
    SModuleName name = ParseModuleName(options.target, options.device);
    if (name.isCamera) {
        name.module = EModule::Stream;
    }
    const CModulePath path(systems, name);
    Json json = Json::array();
    for (const SModule& module : path.Modules()) {
        if (!name.isCamera && &module != &path.Target()) {
            continue;
        }
        const std::vector<SGroup> groups = AskEverything(path.Producer(), module);
        if (options.json) {
            json.push_back(ToJson(path.System(), module, groups));
        } else {
            Print(path.System(), module, groups);
        }
    }
    if (options.json) {
        std::cout << ToText(json) << "\n";
    }
    std::cout << std::flush;
    return kDone;
}

} // namespace norveltl
