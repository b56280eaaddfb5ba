// A camera's features, found through the XML description that its port names. Understands plain
// nodes only: numbers, enumerations and commands that lead through pValue to a register. Whatever
// it cannot resolve it says by throwing CToolError; it never guesses a value.
#pragma once

#include "Producer.h"

#include <boost/property_tree/ptree.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace norveltl {

class CFeatures {
public:
    // Reads the description through the port, which must stay open as long as this object lives.
    CFeatures(const CProducer& producer, PORT_HANDLE port);

    bool Has(const std::string& feature) const;
    int64_t ReadInteger(const std::string& feature) const;
    // The name of the current entry.
    std::string ReadEnumeration(const std::string& feature) const;
    void Execute(const std::string& command) const;

private:
    using Tree = boost::property_tree::ptree;

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
    };

    struct SRegister {
        uint64_t address;
        size_t length;
        bool bigEndian;
        bool isSigned;
        unsigned lowBit;
        unsigned numBits;
    };

    void AddNodes(const Tree& tree, const Tree* structure);
    const SNode& Node(const std::string& name) const;
    int64_t Read(const std::string& name, unsigned depth) const;
    void Write(const std::string& name, int64_t value, unsigned depth) const;
    SRegister Register(const SNode& node, unsigned depth) const;
    void SetBits(const SNode& node, SRegister& target) const;
    void CheckPort(const SNode& node) const;
    uint64_t ReadBytes(const SRegister& source) const;
    void WriteBytes(const SRegister& target, uint64_t bits) const;

    const CProducer& m_producer;
    PORT_HANDLE m_port;
    Tree m_document;
    std::map<std::string, SNode> m_nodes;
};

// The XML text itself, read through the port; throws where it is not in plain form in the camera.
std::string ReadDescription(const CProducer& producer, PORT_HANDLE port);

} // namespace norveltl
