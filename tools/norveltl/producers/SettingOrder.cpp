#include "producers/SettingOrder.h"

#include "genapi/Text.h"

#include <algorithm>
#include <set>

namespace norveltl {

using GenApi::CNodeMap;
using GenApi::SNode;
using GenApi::Trim;

namespace {

using Names = std::set<std::string>;

bool IsStreamable(const SNode& node) {
    return node.Text("Streamable") == "Yes";
}

// Whether a node's value, limits or access follow from what such an element names.
bool IsDependence(const std::string& key) {
    constexpr const char* kOthers[] = {"pSelected",  "pFeature", "pInvalidator", "pAlias",
                                       "pCastAlias", "pError",   "pPort",        "pSelecting"};
    return key.starts_with("p") && std::ranges::find(kOthers, key) == std::end(kOthers);
}

// The settings among the nodes that an element leads to; no further from there.
void Collect(const CNodeMap& nodes, const GenApi::Tree& tree, const Names& settings, Names& seen,
             Names& found) {
    for (const auto& [key, child] : tree) {
        const std::string name = Trim(child.data());
        if (!child.empty() && !IsDependence(key)) {
            Collect(nodes, child, settings, seen, found);
        } else if (IsDependence(key) && nodes.Has(name) && seen.insert(name).second) {
            if (settings.contains(name)) {
                found.insert(name);
            } else {
                Collect(nodes, *nodes.Node(name).tree, settings, seen, found);
            }
        }
    }
}

// The settings on which those of a group depend.
Names Needed(const CNodeMap& nodes, const SSettingGroup& group, const Names& settings) {
    Names found;
    for (const std::string& feature : group.features) {
        Names seen{feature};
        Collect(nodes, *nodes.Node(feature).tree, settings, seen, found);
    }
    return found;
}

std::vector<SSettingGroup> Groups(const CFeatures& features) {
    std::vector<SSettingGroup> groups;
    const Selectors all = AllSelectors(features);
    for (const SListed& listed : features.Names()) {
        if (!IsStreamable(features.Nodes().Node(listed.name))) {
            continue;
        }
        const std::vector<std::string> selectors = SelectorsOf(all, listed.name);
        const auto known = std::ranges::find_if(groups, [&](const SSettingGroup& group) {
            return !selectors.empty() && group.selectors == selectors;
        });
        if (known != groups.end()) {
            known->features.push_back(listed.name);
        } else {
            groups.push_back({selectors, {listed.name}});
        }
    }
    Names walked;
    for (const SSettingGroup& group : groups) {
        walked.insert(group.selectors.begin(), group.selectors.end());
    }
    std::erase_if(groups, [&](const SSettingGroup& group) {
        return group.selectors.empty() && walked.contains(group.features.front());
    });
    return groups;
}

} // namespace

Selectors AllSelectors(const CFeatures& features) {
    Selectors selectors;
    for (const SListed& listed : features.Names()) {
        for (const std::string& name : features.Nodes().Node(listed.name).Texts("pSelected")) {
            selectors[name].push_back(listed.name);
        }
    }
    return selectors;
}

std::vector<std::string> SelectorsOf(const Selectors& selectors, const std::string& feature) {
    std::vector<std::string> found;
    std::vector<std::string> open{feature};
    while (!open.empty()) {
        const auto direct = selectors.find(open.back());
        open.pop_back();
        if (direct == selectors.end()) {
            continue;
        }
        for (const std::string& name : direct->second) {
            if (name != feature && std::ranges::find(found, name) == found.end()) {
                found.insert(found.begin(), name);
                open.push_back(name);
            }
        }
    }
    return found;
}

std::vector<SSettingGroup> OrderedSettings(const CFeatures& features) {
    std::vector<SSettingGroup> groups = Groups(features);
    Names pending;
    for (const SSettingGroup& group : groups) {
        pending.insert(group.features.begin(), group.features.end());
    }
    const Names settings = pending;
    std::vector<Names> needed;
    needed.reserve(groups.size());
    for (const SSettingGroup& group : groups) {
        needed.push_back(Needed(features.Nodes(), group, settings));
    }
    std::vector<SSettingGroup> ordered;
    while (!groups.empty()) {
        size_t next = 0;
        const auto isReady = [&](size_t i) {
            return std::ranges::none_of(needed[i], [&](const std::string& name) {
                const auto& own = groups[i].features;
                return pending.contains(name) && std::ranges::find(own, name) == own.end();
            });
        };
        while (next < groups.size() && !isReady(next)) {
            ++next;
        }
        // What depends on each other comes as the description has it.
        next = next == groups.size() ? 0 : next;
        for (const std::string& name : groups[next].features) {
            pending.erase(name);
        }
        ordered.push_back(std::move(groups[next]));
        groups.erase(groups.begin() + static_cast<std::ptrdiff_t>(next));
        needed.erase(needed.begin() + static_cast<std::ptrdiff_t>(next));
    }
    return ordered;
}

} // namespace norveltl
