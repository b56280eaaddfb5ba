// The nodes of a camera's description and the values behind them: numbers, texts, and the chain of
// references, masks, converters and formulas that ends in the camera's registers. Whatever it
// cannot resolve it says by throwing CToolError; it never guesses a value.
#pragma once

#include "Formula.h"
#include "Node.h"
#include "Producer.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

enum class EAccess { NotImplemented, NotAvailable, WriteOnly, ReadOnly, ReadWrite };

class CNodeMap {
public:
    // Reads the description through the port, which must stay open as long as this object lives.
    CNodeMap(const CProducer& producer, PORT_HANDLE port);
    CNodeMap(const CNodeMap&) = delete;
    CNodeMap& operator=(const CNodeMap&) = delete;

    bool Has(const std::string& name) const { return m_nodes.contains(name); }
    const SNode& Node(const std::string& name) const;
    // Whether the node's value is a floating-point number.
    bool IsFloat(const SNode& node) const;

    int64_t Integer(const std::string& name, unsigned depth = 0) const;
    double Float(const std::string& name, unsigned depth = 0) const;
    void SetInteger(const std::string& name, int64_t value, unsigned depth = 0) const;
    void SetFloat(const std::string& name, double value, unsigned depth = 0) const;
    std::string Text(const std::string& name, unsigned depth = 0) const;
    void SetText(const std::string& name, const std::string& text, unsigned depth = 0) const;
    // The bytes of a register of any kind and length.
    std::vector<uint8_t> Bytes(const SNode& node) const;

    EAccess Access(const std::string& name, unsigned depth = 0) const;
    // The value of Min, Max or Inc, given or referred to.
    std::optional<int64_t> IntegerLimit(const SNode& node, const char* key) const;
    std::optional<double> FloatLimit(const SNode& node, const char* key) const;

private:
    using Tree = SNode::Tree;

    struct SPlace {
        uint64_t address;
        size_t length;
    };
    struct SBits {
        unsigned low;
        unsigned count;
    };

    void AddNodes(const Tree& tree, const Tree* structure);
    const SNode& Enter(const std::string& name, unsigned depth) const;
    std::string ValueNode(const SNode& node, unsigned depth) const;
    template <class T>
    T Number(const std::string& name, unsigned depth) const;
    template <class T>
    T Evaluate(const SNode& node, const Tree& definitions, const std::string& formula,
               const char* argument, T value, unsigned depth) const;
    template <class T>
    T Variable(const Tree& definitions, const std::string& name, const char* argument, T value,
               unsigned depth) const;
    template <class T>
    std::optional<T> Limit(const SNode& node, const std::string& key, unsigned depth) const;
    SPlace Place(const SNode& node, unsigned depth) const;
    SBits Bits(const SNode& node, size_t length) const;
    void CheckPort(const SNode& node) const;
    uint64_t ReadRegister(const SNode& node, const SPlace& place) const;
    void WriteRegister(const SNode& node, const SPlace& place, uint64_t bits) const;

    const CProducer& m_producer;
    PORT_HANDLE m_port;
    Tree m_document;
    std::map<std::string, SNode> m_nodes;
};

} // namespace norveltl
