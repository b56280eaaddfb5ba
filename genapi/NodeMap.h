// The nodes of a camera's description and the values behind them: numbers, texts, and the chain of
// references, masks, converters and formulas that ends in the camera's registers. Whatever it
// cannot resolve it says by throwing CError; it never guesses a value.
#pragma once

#include "genapi/Node.h"
#include "genapi/Port.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace GenApi {

enum class EAccess { NotImplemented, NotAvailable, WriteOnly, ReadOnly, ReadWrite };

// Keeps no values but those of selectors and of TLParamsLocked without a register; each other
// question reads the registers anew. Any number of threads may ask at a time, as far as the port's
// functions bear it. What the port throws reaches whoever asked, except that a formula tells its
// node's name before it and throws CError.
class CNodeMap {
public:
    // Throws CError for XML that cannot be used. The port's functions must work as long as this
    // object lives.
    CNodeMap(const std::string& xml, SPort port);
    CNodeMap(const CNodeMap&) = delete;
    CNodeMap& operator=(const CNodeMap&) = delete;

    bool Has(const std::string& name) const { return m_nodes.contains(name); }
    const SNode& Node(const std::string& name) const;

    int64_t Integer(const std::string& name) const;
    double Float(const std::string& name) const;
    void SetInteger(const std::string& name, int64_t value) const;
    void SetFloat(const std::string& name, double value) const;
    std::string Text(const std::string& name) const;
    void SetText(const std::string& name, const std::string& text) const;
    // The value that a selector keeps here, as no register does; null for other nodes.
    std::atomic<int64_t>* Kept(const std::string& name) const;
    // The bytes of a register of any kind and length.
    std::vector<uint8_t> Bytes(const SNode& node) const;

    EAccess Access(const std::string& name) const;
    // The value of Min, Max or Inc, given or referred to.
    std::optional<int64_t> IntegerLimit(const SNode& node, const char* key) const;
    std::optional<double> FloatLimit(const SNode& node, const char* key) const;

private:
    void AddNodes(const Tree& tree, const Tree* structure);
    void KeepValue(std::string name);

    SPort m_port;
    Tree m_document;
    std::map<std::string, SNode> m_nodes;
    mutable std::map<std::string, std::atomic<int64_t>> m_kept;
};

} // namespace GenApi
