// A small GenApi reader: it fetches the XML of a port and drives features by name through the
// registers that the XML names. It judges no value and caches none, so that what a camera refuses
// is what a test sees; a node that it cannot follow is a std::runtime_error. It knows neither the
// camera library nor the test framework.
#pragma once

#include "Producer.h"

#include <boost/property_tree/ptree.hpp>

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

// An access to the port that failed, with the text that the module recorded.
struct PortError : std::runtime_error {
    PortError(int32_t answer, const std::string& text) : std::runtime_error(text), code(answer) {}
    int32_t code;
};

class GenApi {
public:
    struct Register {
        uint64_t address = 0;
        size_t length = 0;
    };

    // Throws PortError, or std::runtime_error when the port's URL does not fit the text behind it.
    GenApi(Producer& gentl, PORT_HANDLE port);

    const std::string& Xml() const { return m_xml; }
    // Every node that a category lists, without the categories; every node that has an address.
    std::vector<std::string> Features() const;
    std::vector<std::string> Registers() const;

    // "IntReg", "Enumeration", ...
    const std::string& Kind(const std::string& name) const { return Find(name).kind; }
    // "RO", "WO" or "RW"; a locked feature is "RO".
    std::string Access(const std::string& name) const;
    // The texts of the children of this name, such as Unit or pSelected.
    std::vector<std::string> Properties(const std::string& name, const std::string& property) const;
    // Where a feature's bytes are, by the present values of its indexes.
    Register Place(const std::string& name) const;

    std::string Text(const std::string& name) const;
    void SetText(const std::string& name, const std::string& text) const;
    int64_t Int(const std::string& name) const;
    void SetInt(const std::string& name, int64_t value) const;
    double Float(const std::string& name) const;
    void SetFloat(const std::string& name, double value) const;
    bool Bool(const std::string& name) const;
    void SetBool(const std::string& name, bool value) const;
    std::string Entry(const std::string& name) const;
    void SetEntry(const std::string& name, const std::string& entry) const;
    std::map<std::string, int64_t> Entries(const std::string& name) const;
    void Execute(const std::string& name) const;
    std::string Bytes(const std::string& name) const;
    void SetBytes(const std::string& name, const std::string& bytes) const;

    // Of an Integer or Float: literal, or of the node that pMin, pMax or pInc names.
    int64_t IntLimit(const std::string& name, const std::string& limit) const;
    double FloatLimit(const std::string& name, const std::string& limit) const;

private:
    using Tree = boost::property_tree::ptree;
    struct Node {
        std::string name;
        std::string kind;
        const Tree* tree;
    };

    void FetchXml();
    void Check(int32_t answer) const;
    void Read(uint64_t address, void* bytes, size_t size) const;
    void Write(uint64_t address, const void* bytes, size_t size) const;
    const Node& Find(const std::string& name) const;
    const Node& Behind(const Node& node) const;
    int64_t IntOf(const Node& node) const;
    void SetIntOf(const Node& node, int64_t value) const;
    double FloatOf(const Node& node) const;
    void SetFloatOf(const Node& node, double value) const;
    int64_t RegisterValue(const Node& node) const;
    template <typename Number>
    Number Calculate(const Node& node, const std::string& formula,
                     std::map<std::string, Number> variables) const;

    Producer& m_gentl;
    PORT_HANDLE m_port;
    std::string m_xml;
    Tree m_tree;
    std::map<std::string, Node> m_nodes;
};
