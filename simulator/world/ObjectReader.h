// Takes the members of a JSON object one by one into variables, with the limits that hold for each,
// and refuses what is left over. Knows nothing of what the members are for.
#pragma once

#include "world/JsonTree.h"
#include "world/WorldNames.h"

#include <cstdint>
#include <string>
#include <vector>

namespace OptivoSim {

// A value that cannot be: thrown, and reported with its place by whoever holds the whole text.
struct SValueError {
    const SJsonNode* node; // not owned
    std::string reason;
};

// Every function throws SValueError; a variable whose member is not there keeps its value.
class CObjectReader {
public:
    explicit CObjectReader(const SJsonNode& object);

    // Null when it is not there.
    const SJsonNode* Find(const char* key);
    const SJsonNode& Require(const char* key);

    // Not long, as many cameras may share it, and without zeros, as texts end with one.
    void Read(const char* key, std::string& value);
    void ReadName(const char* key, std::string& value); // not empty either
    void Read(const char* key, double& value, double most);
    void Read(const char* key, std::vector<bool>& value); // not empty
    void Read(const char* key, std::int32_t& value);
    void Read(const char* key, std::uint32_t& value, std::uint32_t least = 0,
              std::uint32_t most = UINT32_MAX);
    void Read(const char* key, std::uint64_t& value);
    template <typename TValue>
    void Read(const char* key, TValue& value, const NamedValues<TValue>& names);

    // The elements of an array; none when it is not there.
    const std::vector<SJsonNode>& Elements(const char* key, std::size_t most = SIZE_MAX);

    // Refuses members that nobody has asked for.
    void Finish() const;

private:
    static const std::string& Text(const SJsonNode& node);

    const SJsonNode& m_object;
    std::vector<bool> m_isRead; // by child
};

template <typename TValue>
void CObjectReader::Read(const char* key, TValue& value, const NamedValues<TValue>& names) {
    const SJsonNode* const node = Find(key);
    if (node == nullptr) {
        return;
    }
    std::string known;
    for (const auto& [name, named] : names) {
        if (Text(*node) == name) {
            value = named;
            return;
        }
        known += (known.empty() ? "" : ", ") + name;
    }
    throw SValueError{node, "must be one of " + known};
}

} // namespace OptivoSim
