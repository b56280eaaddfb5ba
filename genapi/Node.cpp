#include "genapi/Node.h"

#include "genapi/Text.h"

namespace GenApi {

const Tree* SNode::Child(const char* key) const {
    const auto own = tree->find(key);
    if (own != tree->not_found()) {
        return &own->second;
    }
    if (!parent) {
        return nullptr;
    }
    const auto inherited = parent->find(key);
    return inherited != parent->not_found() ? &inherited->second : nullptr;
}

std::string SNode::Text(const char* key) const {
    const Tree* child = Child(key);
    return child ? Trim(child->data()) : "";
}

std::vector<std::string> SNode::Texts(const char* key) const {
    std::vector<std::string> texts;
    for (const auto& [childKind, child] : *tree) {
        if (childKind == key) {
            texts.push_back(Trim(child.data()));
        }
    }
    return texts;
}

bool IsFloat(const SNode& node) {
    return node.kind == "Float" || node.kind == "FloatReg" || node.kind == "SwissKnife" ||
           node.kind == "Converter";
}

bool IsConverter(const SNode& node) {
    return node.kind == "Converter" || node.kind == "IntConverter";
}

bool IsKnife(const SNode& node) {
    return node.kind == "SwissKnife" || node.kind == "IntSwissKnife";
}

bool IsNumberRegister(const SNode& node) {
    return node.kind == "IntReg" || node.kind == "MaskedIntReg" || node.kind == "StructEntry";
}

bool IsRegister(const SNode& node) {
    return IsNumberRegister(node) || node.kind == "FloatReg" || node.kind == "StringReg" ||
           node.kind == "Register";
}

bool IsReference(const SNode& node) {
    return node.kind == "Integer" || node.kind == "Enumeration" || node.kind == "Boolean" ||
           node.kind == "Float" || node.kind == "Command" || node.kind == "String";
}

} // namespace GenApi
