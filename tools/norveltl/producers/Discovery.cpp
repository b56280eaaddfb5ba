#include "producers/Discovery.h"

#include "terminal/Console.h"
#include "terminal/Names.h"

#include <algorithm>

namespace norveltl {

namespace {

constexpr const char* kOwnModule = "NorvelTL40.cti";
constexpr const char* kOwnVendor = "NORVEL";
constexpr const char* kSearchVariable = "GENICAM_GENTL64_PATH";
constexpr uint64_t kSearchMilliseconds = 1000;
constexpr std::string_view kSerialPrefix = "SN->";

namespace fs = std::filesystem;

bool IsModule(const fs::path& path) {
    std::error_code error;
    return Lower(Utf8FromPath(path.extension())) == ".cti" && fs::is_regular_file(path, error);
}

std::vector<fs::path> ModulesIn(const fs::path& place) {
    if (IsModule(place)) {
        return {place};
    }
    std::vector<fs::path> modules;
    std::error_code error;
    for (fs::directory_iterator entry(place, error), end; !error && entry != end;
         entry.increment(error)) {
        if (IsModule(entry->path())) {
            modules.push_back(entry->path());
        }
    }
    std::sort(modules.begin(), modules.end());
    return modules;
}

std::vector<fs::path> FindModules(const std::string& cti) {
    std::error_code error;
    if (!cti.empty()) {
        if (!fs::is_regular_file(PathFromUtf8(cti), error)) {
            throw CToolError("there is no producer module at " + cti, kNothingFound);
        }
        return {PathFromUtf8(cti)};
    }
    const fs::path own = LoadedPath(nullptr).parent_path() / kOwnModule;
    if (fs::is_regular_file(own, error)) {
        return {own};
    }
    std::vector<fs::path> modules;
    for (const fs::path& place : PathsFromEnvironment(kSearchVariable)) {
        for (const fs::path& module : ModulesIn(place)) {
            if (std::find(modules.begin(), modules.end(), module) == modules.end()) {
                modules.push_back(module);
            }
        }
    }
    if (modules.empty()) {
        throw CToolError("found no producer module: there is no " + Utf8FromPath(own) +
                             " and no .cti file through " + kSearchVariable +
                             "\n  Name one with --cti PATH.",
                         kNothingFound);
    }
    return modules;
}

SDevice Describe(const CProducer& producer, IF_HANDLE handle, std::string id) {
    const auto query = [&](DEVICE_INFO_CMD command) {
        return CProducer::Query(producer.IFGetDeviceInfo, handle, id.c_str(), command);
    };
    SDevice device;
    device.vendor = QueryText(query(DEVICE_INFO_VENDOR));
    device.model = QueryText(query(DEVICE_INFO_MODEL));
    device.serialNumber = QueryText(query(DEVICE_INFO_SERIAL_NUMBER));
    device.userName = QueryText(query(DEVICE_INFO_USER_DEFINED_NAME));
    device.version = QueryText(query(DEVICE_INFO_VERSION));
    device.tlType = QueryText(query(DEVICE_INFO_TLTYPE));
    device.displayName = QueryText(query(DEVICE_INFO_DISPLAYNAME));
    if (const auto status = QueryNumber(query(DEVICE_INFO_ACCESS_STATUS))) {
        device.accessStatus = static_cast<DEVICE_ACCESS_STATUS>(*status);
    }
    device.id = std::move(id);
    return device;
}

// What a whole name may be.
std::vector<std::string> NamesOf(const SDevice& device) {
    std::vector<std::string> names{device.id};
    for (const OptionalText& name : {device.serialNumber, device.userName}) {
        if (name) {
            names.push_back(*name);
        }
    }
    return names;
}

bool IsPartlyNamed(const SDevice& device, const std::string& name) {
    const auto contains = [part = Lower(name)](const OptionalText& text) {
        return text && Lower(*text).find(part) != std::string::npos;
    };
    return contains(device.id) || contains(device.serialNumber) || contains(device.userName) ||
           contains(device.model) || contains(device.displayName);
}

ENamed HowNamed(const SDevice& device, const std::string& name) {
    if (name.starts_with(kSerialPrefix)) {
        return device.serialNumber == name.substr(kSerialPrefix.size()) ? ENamed::Exactly
                                                                        : ENamed::Not;
    }
    const std::vector<std::string> names = NamesOf(device);
    if (std::find(names.begin(), names.end(), name) != names.end()) {
        return ENamed::Exactly;
    }
    if (std::any_of(names.begin(), names.end(),
                    [&](const auto& known) { return EqualsIgnoringCase(known, name); })) {
        return ENamed::Whole;
    }
    return IsPartlyNamed(device, name) ? ENamed::Partly : ENamed::Not;
}

template <class Condition>
std::vector<SChoice> Filter(const std::vector<SChoice>& choices, Condition condition) {
    std::vector<SChoice> kept;
    std::copy_if(choices.begin(), choices.end(), std::back_inserter(kept),
                 [&](const SChoice& choice) { return condition(*choice.device); });
    return kept;
}

std::string ListText(const std::vector<SChoice>& choices) {
    std::string text;
    for (const SChoice& choice : choices) {
        const SDevice& device = *choice.device;
        text += "\n  " + Printable(device.id) + "  " + Printable(device.model.value_or("")) +
                "  serial number " + Printable(device.serialNumber.value_or("not reported")) +
                ", " + device.AccessText();
    }
    return text;
}

// What an unknown name may have meant.
std::string Suggestion(const std::vector<SChoice>& all, const std::string& name) {
    std::vector<std::string> names;
    for (const SChoice& choice : all) {
        const std::vector<std::string> own = NamesOf(*choice.device);
        names.insert(names.end(), own.begin(), own.end());
    }
    return DidYouMean(name, names);
}

CToolError NobodyNamed(const std::vector<SChoice>& all, const std::string& name) {
    const std::string suggestion = Suggestion(all, name);
    return CToolError("no camera is named \"" + Printable(name) + "\"" +
                          (suggestion.empty() ? "; there are:" : suggestion + " There are:") +
                          ListText(all),
                      kNothingFound);
}

std::string Lines(const std::vector<std::string>& texts) {
    std::string lines;
    for (const std::string& text : texts) {
        lines += "\n  " + text;
    }
    return lines;
}

} // namespace

bool SDevice::Accessible() const {
    return !accessStatus || *accessStatus == DEVICE_ACCESS_STATUS_UNKNOWN ||
           *accessStatus == DEVICE_ACCESS_STATUS_READWRITE;
}

std::string SDevice::AccessText() const {
    if (!accessStatus) {
        return "access not reported";
    }
    switch (*accessStatus) {
    case DEVICE_ACCESS_STATUS_UNKNOWN:
        return "access unknown";
    case DEVICE_ACCESS_STATUS_READWRITE:
        return "read and write";
    case DEVICE_ACCESS_STATUS_READONLY:
        return "read only";
    case DEVICE_ACCESS_STATUS_NOACCESS:
        return "no access";
    case DEVICE_ACCESS_STATUS_BUSY:
        return "busy";
    case DEVICE_ACCESS_STATUS_OPEN_READWRITE:
        return "open for reading and writing";
    case DEVICE_ACCESS_STATUS_OPEN_READONLY:
        return "open for reading";
    default:
        return "access status " + std::to_string(*accessStatus);
    }
}

CSystem::CSystem(const fs::path& module)
    : m_producer(std::make_unique<CProducer>(module)),
      m_system(OpenHandle(*m_producer, m_producer->TLClose, m_producer->TLOpen)) {
    try {
        SearchInterfaces();
    } catch (const CMissingFunction& error) {
        m_error = error.what();
    }
}

void CSystem::SearchInterfaces() {
    const CProducer& p = *m_producer;
    bool8_t changed = 0;
    p.Call(p.TLUpdateInterfaceList, m_system.Get(), &changed, kSearchMilliseconds);
    uint32_t count = 0;
    p.Call(p.TLGetNumInterfaces, m_system.Get(), &count);
    for (uint32_t i = 0; i < count; ++i) {
        SInterface found;
        found.id = p.CallText(p.TLGetInterfaceID, m_system.Get(), i);
        const auto query = [&](INTERFACE_INFO_CMD command) {
            return CProducer::Query(p.TLGetInterfaceInfo, m_system.Get(), found.id.c_str(),
                                    command);
        };
        found.displayName = QueryText(query(INTERFACE_INFO_DISPLAYNAME));
        found.tlType = QueryText(query(INTERFACE_INFO_TLTYPE));
        Search(found);
        m_interfaces.push_back(std::move(found));
    }
}

// One interface that fails must not hide the cameras of the others.
void CSystem::Search(SInterface& interface_) {
    const CProducer& p = *m_producer;
    try {
        CHandle handle =
            OpenHandle(p, p.IFClose, p.TLOpenInterface, m_system.Get(), interface_.id.c_str());
        ListDevices(interface_, handle.Get());
        interface_.handle.emplace(std::move(handle));
    } catch (const CToolError& error) {
        interface_.devices.clear();
        interface_.error = error.what();
    }
}

void CSystem::ListDevices(SInterface& interface_, IF_HANDLE handle) {
    const CProducer& p = *m_producer;
    bool8_t changed = 0;
    p.Call(p.IFUpdateDeviceList, handle, &changed, kSearchMilliseconds);
    uint32_t count = 0;
    p.Call(p.IFGetNumDevices, handle, &count);
    interface_.devices.clear();
    for (uint32_t i = 0; i < count; ++i) {
        interface_.devices.push_back(Describe(p, handle, p.CallText(p.IFGetDeviceID, handle, i)));
    }
}

void CSystem::SearchAgain() {
    for (SInterface& interface_ : m_interfaces) {
        if (!interface_.handle) {
            continue;
        }
        try {
            ListDevices(interface_, interface_.handle->Get());
            interface_.error.clear();
        } catch (const CToolError& error) {
            interface_.devices.clear();
            interface_.error = error.what();
        }
    }
}

void CSystem::Reopen(const SInterface& interface_) {
    const CProducer& p = *m_producer;
    SInterface& own = m_interfaces[static_cast<size_t>(&interface_ - m_interfaces.data())];
    own.handle.reset();
    own.handle.emplace(OpenHandle(p, p.IFClose, p.TLOpenInterface, m_system.Get(), own.id.c_str()));
}

void CSystem::Update(const SInterface& interface_) const {
    bool8_t changed = 0;
    m_producer->Call(m_producer->IFUpdateDeviceList, interface_.handle->Get(), &changed,
                     kSearchMilliseconds);
}

OptionalText CSystem::Info(TL_INFO_CMD command) const {
    const CProducer& p = *m_producer;
    if (OptionalText text = QueryText(CProducer::Query(p.TLGetInfo, m_system.Get(), command))) {
        return text;
    }
    return QueryText(CProducer::Query(p.GCGetInfo, command));
}

bool CSystem::IsNorvelTL() const {
    return Info(TL_INFO_VENDOR) == kOwnVendor;
}

SSystems OpenSystems(const std::string& cti) {
    const std::vector<fs::path> modules = FindModules(cti);
    SSystems systems;
    for (const fs::path& module : modules) {
        try {
            systems.open.push_back(std::make_unique<CSystem>(module));
        } catch (const CToolError& error) {
            if (modules.size() == 1) {
                throw;
            }
            systems.errors.push_back(Utf8FromPath(module) + ": " + error.what());
            continue;
        }
        if (const std::string& error = systems.open.back()->Error(); !error.empty()) {
            systems.errors.push_back(error);
        }
        for (const SInterface& interface_ : systems.open.back()->Interfaces()) {
            if (!interface_.error.empty()) {
                systems.errors.push_back("interface " + Printable(interface_.id) + ": " +
                                         interface_.error);
            }
        }
    }
    if (systems.open.empty()) {
        throw CToolError("no producer module can be used:" + Lines(systems.errors));
    }
    return systems;
}

CHandle OpenDevice(const SChoice& choice) {
    const CProducer& producer = choice.system->Producer();
    return OpenHandle(producer, producer.DevClose, producer.IFOpenDevice,
                      choice.interface_->handle->Get(), choice.device->id.c_str(),
                      static_cast<DEVICE_ACCESS_FLAGS>(DEVICE_ACCESS_CONTROL));
}

CHandle OpenFirstStream(const CProducer& producer, DEV_HANDLE device) {
    uint32_t count = 0;
    producer.Call(producer.DevGetNumDataStreams, device, &count);
    if (count == 0) {
        throw CToolError("the camera has no data stream");
    }
    const std::string id = producer.CallText(producer.DevGetDataStreamID, device, 0u);
    return OpenHandle(producer, producer.DSClose, producer.DevOpenDataStream, device, id.c_str());
}

PORT_HANDLE RemotePort(const CProducer& producer, DEV_HANDLE device) {
    PORT_HANDLE port = nullptr;
    producer.Call(producer.DevGetPort, device, &port);
    return port;
}

std::vector<SChoice> AllDevices(const SSystems& systems) {
    std::vector<SChoice> choices;
    for (const auto& system : systems.open) {
        for (const SInterface& interface_ : system->Interfaces()) {
            for (const SDevice& device : interface_.devices) {
                choices.push_back({system.get(), &interface_, &device});
            }
        }
    }
    return choices;
}

ENamed BestNamed(const std::vector<SChoice>& choices, const std::string& name) {
    ENamed best = ENamed::Not;
    for (const SChoice& choice : choices) {
        best = std::max(best, HowNamed(*choice.device, name));
    }
    return best;
}

SChoice ChooseDevice(const SSystems& systems, const std::string& name, bool first) {
    const std::vector<SChoice> all = AllDevices(systems);
    if (all.empty()) {
        throw CToolError("found no camera" + Lines(systems.errors),
                         systems.errors.empty() ? kNothingFound : kFailed);
    }

    std::vector<SChoice> matching = all;
    if (!name.empty()) {
        const ENamed how = BestNamed(all, name);
        if (how == ENamed::Not) {
            throw NobodyNamed(all, name);
        }
        matching = Filter(all, [&](const SDevice& d) { return HowNamed(d, name) == how; });
        if (matching.size() == 1) {
            return matching.front();
        }
    }

    const std::vector<SChoice> accessible =
        Filter(matching, [](const SDevice& device) { return device.Accessible(); });
    if (accessible.empty()) {
        throw CToolError("no camera can be opened now:" + ListText(matching));
    }
    if (accessible.size() > 1 && !first) {
        throw CToolError("several cameras can be meant; name one of them:" + ListText(accessible),
                         kWrongUsage);
    }
    return accessible.front();
}

SChoice ChooseDeviceBefore(const SSystems& systems, const std::string& word) {
    const std::vector<SChoice> all = AllDevices(systems);
    if (BestNamed(all, word) != ENamed::Not) {
        return ChooseDevice(systems, word, false);
    }
    if (all.size() > 1 && !Suggestion(all, word).empty()) {
        throw NobodyNamed(all, word);
    }
    return ChooseDevice(systems, "", false);
}

} // namespace norveltl
