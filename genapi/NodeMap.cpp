#include "genapi/NodeMap.h"

#include "genapi/Error.h"
#include "genapi/Evaluation.h"
#include "genapi/Text.h"

#include <utility>

namespace GenApi {

namespace {

// More than in any sound description; a cycle ends here.
constexpr unsigned kMostLinks = 32;

} // namespace

CNodeMap::CNodeMap(const std::string& xml, SPort port)
    : m_port(std::move(port)), m_document(ParseXml(xml)) {
    AddNodes(m_document, nullptr);
    // By the Standard Features Naming Convention it is the program that locks.
    KeepValue("TLParamsLocked");
    for (const auto& [name, node] : m_nodes) {
        if (node.Has("pSelected")) {
            KeepValue(name);
        }
        for (const std::string& index : node.Texts("pIndex")) {
            KeepValue(index);
        }
    }
}

// Other values that stand in the description are fixed.
void CNodeMap::KeepValue(std::string name) {
    for (unsigned links = 0; links < kMostLinks; ++links) {
        const auto found = m_nodes.find(name);
        if (found == m_nodes.end()) {
            return;
        }
        const SNode& node = found->second;
        if (!node.Has("pValue")) {
            const auto number = ParseUnsigned(node.Text("Value"), 10);
            if ((node.kind == "Integer" || node.kind == "Enumeration") && number) {
                m_kept[name] = static_cast<int64_t>(*number);
            }
            return;
        }
        name = node.Text("pValue");
    }
}

std::atomic<int64_t>* CNodeMap::Kept(const std::string& name) const {
    const auto found = m_kept.find(name);
    return found == m_kept.end() ? nullptr : &found->second;
}

// Entries of enumerations and parts of formulas have names too, but belong to their node only.
void CNodeMap::AddNodes(const Tree& tree, const Tree* structure) {
    for (const auto& [kind, child] : tree) {
        if (kind == "EnumEntry" || kind == "<xmlattr>" || kind == "pVariable" ||
            kind == "Constant" || kind == "Expression") {
            continue;
        }
        if (const auto name = child.get_optional<std::string>("<xmlattr>.Name")) {
            m_nodes.try_emplace(*name, SNode{*name, kind, &child, structure});
        }
        AddNodes(child, kind == "StructReg" ? &child : nullptr);
    }
}

const SNode& CNodeMap::Node(const std::string& name) const {
    const auto found = m_nodes.find(name);
    if (found == m_nodes.end()) {
        throw CError("the camera's XML has no node " + Printable(name));
    }
    return found->second;
}

int64_t CNodeMap::Integer(const std::string& name) const {
    return CEvaluation(*this, m_port).Number<int64_t>(name);
}

double CNodeMap::Float(const std::string& name) const {
    return CEvaluation(*this, m_port).Number<double>(name);
}

void CNodeMap::SetInteger(const std::string& name, int64_t value) const {
    CEvaluation(*this, m_port).SetInteger(name, value);
}

void CNodeMap::SetFloat(const std::string& name, double value) const {
    CEvaluation(*this, m_port).SetFloat(name, value);
}

std::string CNodeMap::Text(const std::string& name) const {
    return CEvaluation(*this, m_port).Text(name);
}

void CNodeMap::SetText(const std::string& name, const std::string& text) const {
    CEvaluation(*this, m_port).SetText(name, text);
}

std::vector<uint8_t> CNodeMap::Bytes(const SNode& node) const {
    return CEvaluation(*this, m_port).Bytes(node);
}

EAccess CNodeMap::Access(const std::string& name) const {
    return CEvaluation(*this, m_port).Access(name);
}

std::optional<int64_t> CNodeMap::IntegerLimit(const SNode& node, const char* key) const {
    return CEvaluation(*this, m_port).Limit<int64_t>(node, key);
}

std::optional<double> CNodeMap::FloatLimit(const SNode& node, const char* key) const {
    return CEvaluation(*this, m_port).Limit<double>(node, key);
}

} // namespace GenApi
