// One question to a node map, or one value that a node is given: follows references, masks,
// converters and formulas down to the registers. Gives up where they lead back to themselves, or
// where the answer takes more work than any sound description asks for.
#pragma once

#include "genapi/NodeMap.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace GenApi {

// Lives for one call of the node map's function of the same name.
class CEvaluation {
public:
    CEvaluation(const CNodeMap& nodes, const SPort& port) : m_nodes(nodes), m_port(port) {}
    CEvaluation(const CEvaluation&) = delete;
    CEvaluation& operator=(const CEvaluation&) = delete;

    // Of int64_t or double.
    template <class T>
    T Number(const std::string& name);
    template <class T>
    std::optional<T> Limit(const SNode& node, const std::string& key);
    void SetInteger(const std::string& name, int64_t value);
    void SetFloat(const std::string& name, double value);
    std::string Text(const std::string& name);
    void SetText(const std::string& name, const std::string& text);
    std::vector<uint8_t> Bytes(const SNode& node);
    EAccess Access(const std::string& name);

private:
    struct SPlace {
        uint64_t address;
        size_t length;
    };
    struct SBits {
        unsigned low;
        unsigned count;
    };

    void Spend(size_t work);
    // Whoever goes on from here goes one level down.
    const SNode& Enter(const std::string& name);
    std::string TextOf(const Tree& element);
    std::string ValueOf(const SNode& node, const char* key);
    int64_t IntegerIn(const SNode& node, const char* key);
    bool IsZero(const SNode& node, const char* key);

    std::string ValueNode(const SNode& node);
    template <class T>
    T Referred(const SNode& node);
    template <class T>
    T Evaluate(const SNode& node, const Tree& definitions, const std::string& formula,
               const char* argument, T value);
    template <class T>
    T Variable(const Tree& definitions, const std::string& name, const char* argument, T value);

    SPlace Place(const SNode& node);
    // At most 8 bytes long.
    SPlace NumberPlace(const SNode& node);
    int64_t Summand(const SNode& node, const std::string& kind, const Tree& part);
    SBits Bits(const SNode& node, size_t length);
    void CheckPort(const SNode& node);
    uint64_t ReadRegister(const SNode& node, const SPlace& place);
    void WriteRegister(const SNode& node, const SPlace& place, uint64_t bits);
    void Read(const SPlace& place, void* buffer);
    void Write(const SPlace& place, const void* buffer);

    const CNodeMap& m_nodes;
    const SPort& m_port;
    unsigned m_depth = 0;
    unsigned m_formulaDepth = 0;
    size_t m_work = 0;
};

} // namespace GenApi
