#include "world/ObjectReader.h"

#include <algorithm>
#include <limits>

namespace OptivoSim {

namespace {

constexpr std::size_t kMaxText = 4095;
constexpr std::size_t kMaxDiscovery = 1000;

template <typename TInteger>
[[noreturn]] void RefuseInteger(const SJsonNode& node, TInteger least, TInteger most) {
    throw SValueError{&node, "must be an integer from " + std::to_string(least) + " to " +
                                 std::to_string(most)};
}

std::uint64_t Unsigned(const SJsonNode& node, std::uint64_t least, std::uint64_t most) {
    if (node.kind != EJson::Integer || node.isNegative || node.magnitude < least ||
        node.magnitude > most) {
        RefuseInteger(node, least, most);
    }
    return node.magnitude;
}

// A double as its limits are written, without digits that say nothing.
std::string Plain(double value) {
    std::string text = std::to_string(value);
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

} // namespace

CObjectReader::CObjectReader(const SJsonNode& object)
    : m_object(object), m_isRead(object.children.size()) {
    if (object.kind != EJson::Object) {
        throw SValueError{&object, "must be an object"};
    }
}

const SJsonNode* CObjectReader::Find(const char* key) {
    for (std::size_t i = 0; i < m_object.children.size(); ++i) {
        if (m_object.children[i].key == key) {
            m_isRead[i] = true;
            return &m_object.children[i];
        }
    }
    return nullptr;
}

const SJsonNode& CObjectReader::Require(const char* key) {
    if (const SJsonNode* const node = Find(key)) {
        return *node;
    }
    throw SValueError{&m_object, std::string("has no member ") + key};
}

const std::string& CObjectReader::Text(const SJsonNode& node) {
    if (node.kind != EJson::Text) {
        throw SValueError{&node, "must be a text"};
    }
    if (node.text.find('\0') != std::string::npos) {
        throw SValueError{&node, "must not contain \\u0000"};
    }
    if (node.text.size() > kMaxText) {
        throw SValueError{&node, "must have at most " + std::to_string(kMaxText) + " bytes"};
    }
    return node.text;
}

void CObjectReader::Read(const char* key, std::string& value) {
    if (const SJsonNode* const node = Find(key)) {
        value = Text(*node);
    }
}

void CObjectReader::ReadName(const char* key, std::string& value) {
    const SJsonNode* const node = Find(key);
    if (node == nullptr) {
        return;
    }
    value = Text(*node);
    if (value.empty()) {
        throw SValueError{node, "must not be empty"};
    }
}

void CObjectReader::Read(const char* key, double& value, double most) {
    const SJsonNode* const node = Find(key);
    if (node == nullptr) {
        return;
    }
    const bool isNumber = node->kind == EJson::Integer || node->kind == EJson::Number;
    if (!isNumber || node->number < 0 || node->number > most) {
        throw SValueError{node, "must be a number from 0 to " + Plain(most)};
    }
    value = node->number;
}

void CObjectReader::Read(const char* key, std::vector<bool>& value) {
    const SJsonNode* const node = Find(key);
    if (node == nullptr) {
        return;
    }
    const auto& elements = Elements(key, kMaxDiscovery);
    const auto isBoolean = [](const SJsonNode& child) { return child.kind == EJson::Boolean; };
    if (elements.empty() || !std::all_of(elements.begin(), elements.end(), isBoolean)) {
        throw SValueError{node, "must be a list of true and false, and not empty"};
    }
    value.clear();
    for (const SJsonNode& element : elements) {
        value.push_back(element.boolean);
    }
}

void CObjectReader::Read(const char* key, std::int32_t& value) {
    using Limits = std::numeric_limits<std::int32_t>;
    const SJsonNode* const node = Find(key);
    if (node == nullptr) {
        return;
    }
    if (node->kind != EJson::Integer || node->number < Limits::min() ||
        node->number > Limits::max()) {
        RefuseInteger(*node, Limits::min(), Limits::max());
    }
    value = static_cast<std::int32_t>(node->number);
}

void CObjectReader::Read(const char* key, std::uint32_t& value, std::uint32_t least,
                         std::uint32_t most) {
    if (const SJsonNode* const node = Find(key)) {
        value = static_cast<std::uint32_t>(Unsigned(*node, least, most));
    }
}

void CObjectReader::Read(const char* key, std::uint64_t& value) {
    if (const SJsonNode* const node = Find(key)) {
        value = Unsigned(*node, 0, UINT64_MAX);
    }
}

const std::vector<SJsonNode>& CObjectReader::Elements(const char* key, std::size_t most) {
    static const auto* const none = new std::vector<SJsonNode>;
    const SJsonNode* const node = Find(key);
    if (node == nullptr) {
        return *none;
    }
    if (node->kind != EJson::Array) {
        throw SValueError{node, "must be a list"};
    }
    if (node->children.size() > most) {
        throw SValueError{node, "must have at most " + std::to_string(most) + " elements"};
    }
    return node->children;
}

void CObjectReader::Finish() const {
    for (std::size_t i = 0; i < m_object.children.size(); ++i) {
        if (m_isRead[i]) {
            continue;
        }
        const SJsonNode& child = m_object.children[i];
        for (std::size_t before = 0; before < i; ++before) {
            if (m_object.children[before].key == child.key) {
                throw SValueError{&child, "is given twice"};
            }
        }
        throw SValueError{&child, "is no member that is known"};
    }
}

} // namespace OptivoSim
