#include "producers/Modules.h"

#include "terminal/Console.h"
#include "terminal/Names.h"

#include <algorithm>
#include <array>
#include <utility>

namespace norveltl {

namespace {

constexpr std::array<std::pair<const char*, EModule>, 5> kNames{{
    {"system", EModule::System},
    {"interface", EModule::Interface},
    {"device", EModule::Device},
    {"port", EModule::Port},
    {"stream", EModule::Stream},
}};

struct SInterfaceChoice {
    const CSystem* system;
    const SInterface* interface_;
};

std::string IdsOf(const std::vector<SInterfaceChoice>& choices) {
    std::string ids;
    for (const SInterfaceChoice& choice : choices) {
        ids += "\n  interface:" + Printable(choice.interface_->id);
    }
    return ids;
}

SInterfaceChoice ChooseInterface(const SSystems& systems, const std::string& id) {
    std::vector<SInterfaceChoice> all;
    for (const auto& system : systems.open) {
        for (const SInterface& interface_ : system->Interfaces()) {
            all.push_back({system.get(), &interface_});
        }
    }
    if (all.empty()) {
        throw CToolError("found no interface", kNothingFound);
    }
    std::vector<SInterfaceChoice> matching = all;
    if (!id.empty()) {
        std::vector<std::string> ids;
        ids.reserve(all.size());
        for (const SInterfaceChoice& choice : all) {
            ids.push_back(choice.interface_->id);
        }
        const auto found = FindName(id, ids);
        if (!found) {
            throw CToolError("no interface is named \"" + Printable(id) +
                                 "\"; there are:" + IdsOf(all),
                             kNothingFound);
        }
        std::erase_if(matching, [&](const SInterfaceChoice& choice) {
            return choice.interface_->id != ids[*found];
        });
    }
    if (matching.size() > 1) {
        throw CToolError("several interfaces can be meant; name one of them:" + IdsOf(matching),
                         kWrongUsage);
    }
    if (!matching.front().interface_->handle) {
        throw CToolError(matching.front().interface_->error);
    }
    return matching.front();
}

const CSystem& ChooseSystem(const SSystems& systems) {
    if (systems.open.size() == 1) {
        return *systems.open.front();
    }
    std::string paths;
    for (const auto& system : systems.open) {
        paths += "\n  --cti " + Utf8FromPath(system->Producer().Path());
    }
    throw CToolError("several producers can be meant; choose one:" + paths, kWrongUsage);
}

} // namespace

bool IsModuleName(const std::string& word) {
    return std::any_of(kNames.begin(), kNames.end(),
                       [&](const auto& known) { return EqualsIgnoringCase(word, known.first); });
}

SModuleName ParseModuleName(const std::string& text, const std::string& device) {
    const size_t colon = text.find(':');
    const std::string name = text.substr(0, colon);
    const std::string id = colon == std::string::npos ? device : text.substr(colon + 1);
    const auto* known = std::find_if(kNames.begin(), kNames.end(), [&](const auto& entry) {
        return EqualsIgnoringCase(name, entry.first);
    });
    const bool isKnown = known != kNames.end();
    const bool isBelow = isKnown && known->second != EModule::System;
    const bool isCamera = isBelow && known->second != EModule::Interface;
    if (!device.empty() && !text.empty() && (colon != std::string::npos || !isCamera)) {
        throw CToolError("\"" + Printable(text) + "\" and --device do not go together",
                         kWrongUsage);
    }
    if (isKnown && (isBelow || colon == std::string::npos)) {
        return {known->second, id};
    }
    std::vector<std::string> names;
    names.reserve(kNames.size());
    for (const auto& entry : kNames) {
        names.emplace_back(entry.first);
    }
    const std::string suggestion = DidYouMean(name, names);
    if (isKnown || (colon != std::string::npos && !suggestion.empty())) {
        throw CToolError("\"" + Printable(text) +
                             "\" is no module: there are system, interface:ID, device:ID, port:ID "
                             "and stream:ID" +
                             (isKnown ? "" : suggestion),
                         kWrongUsage);
    }
    return {EModule::Port, text.empty() ? device : text, true};
}

const char* SModule::Name() const {
    for (const auto& [name, known] : kNames) {
        if (known == module) {
            return name;
        }
    }
    return "";
}

CModulePath::CModulePath(const SSystems& systems, const SModuleName& name) {
    if (name.module == EModule::System) {
        m_system = &ChooseSystem(systems);
        m_modules = {
            {EModule::System, m_system->Info(TL_INFO_ID).value_or(""), m_system->Handle()}};
        return;
    }
    SChoice choice{};
    if (name.module == EModule::Interface) {
        const SInterfaceChoice chosen = ChooseInterface(systems, name.id);
        choice = {chosen.system, chosen.interface_, nullptr};
    } else {
        choice = ChooseDevice(systems, name.id, false);
    }
    m_system = choice.system;
    m_modules = {{EModule::System, m_system->Info(TL_INFO_ID).value_or(""), m_system->Handle()},
                 {EModule::Interface, choice.interface_->id, choice.interface_->handle->Get()}};
    if (choice.device) {
        OpenBelow(choice, name.module);
    }
}

CModulePath::~CModulePath() {
    while (!m_handles.empty()) {
        m_handles.pop_back();
    }
}

void CModulePath::OpenBelow(const SChoice& choice, EModule target) {
    const CProducer& p = Producer();
    m_handles.push_back(OpenDevice(choice));
    DEV_HANDLE device = m_handles.back().Get();
    m_modules.push_back({EModule::Device, choice.device->id, device});
    if (target == EModule::Device) {
        return;
    }
    m_modules.push_back({EModule::Port, choice.device->id, RemotePort(p, device)});
    if (target == EModule::Port) {
        return;
    }
    m_handles.push_back(OpenFirstStream(p, device));
    DS_HANDLE stream = m_handles.back().Get();
    const auto id = QueryText(CProducer::Query(p.DSGetInfo, stream, STREAM_INFO_ID));
    m_modules.push_back({EModule::Stream, id.value_or(""), stream});
}

} // namespace norveltl
