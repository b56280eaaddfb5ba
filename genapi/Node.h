// One node of a camera's description as it is written there, and what kind of node it is. Knows
// nothing of values and registers.
#pragma once

#include "genapi/Document.h"

#include <string>
#include <vector>

namespace GenApi {

// A named node; an entry of a structured register takes what it lacks from its parent.
struct SNode {
    std::string name;
    std::string kind;
    const Tree* tree;
    const Tree* parent;

    const Tree* Child(const char* key) const;
    bool Has(const char* key) const { return Child(key) != nullptr; }
    // The text within the child element, or nothing.
    std::string Text(const char* key) const;
    // The texts of all children of that name.
    std::vector<std::string> Texts(const char* key) const;
};

// Whether its value is a floating-point number.
bool IsFloat(const SNode& node);
bool IsConverter(const SNode& node);
bool IsKnife(const SNode& node);
bool IsNumberRegister(const SNode& node);
bool IsRegister(const SNode& node);
// Nodes that hold a value of their own or refer to the node that does.
bool IsReference(const SNode& node);

} // namespace GenApi
