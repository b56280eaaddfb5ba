// Takes the bytes for a camera's XML, zipped if they begin like that, or for a formula when they
// begin like neither, and asks for everything that there is to ask. Whatever they are, there is an
// answer or a CError, soon and with little memory, and the same question finds the same answer.
#include "Demand.h"

#include "genapi/Error.h"
#include "genapi/Formula.h"
#include "genapi/NodeMap.h"
#include "genapi/Zip.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

namespace {

using GenApi::CError;
using GenApi::CNodeMap;
using GenApi::SPort;

constexpr std::size_t kMostAccesses = 1000;
constexpr std::size_t kMostBytes = 1 << 20;

// Registers at every address.
class CRegisters {
public:
    CRegisters() {
        for (std::size_t i = 0; i < m_bytes.size(); ++i) {
            m_bytes[i] = static_cast<std::uint8_t>(i * 3);
        }
    }

    SPort Port() {
        return {[this](std::uint64_t address, void* buffer, std::size_t size) {
                    Count(size);
                    for (std::size_t i = 0; i < size; ++i) {
                        static_cast<std::uint8_t*>(buffer)[i] = At(address + i);
                    }
                },
                [this](std::uint64_t address, const void* buffer, std::size_t size) {
                    Count(size);
                    for (std::size_t i = 0; i < size; ++i) {
                        At(address + i) = static_cast<const std::uint8_t*>(buffer)[i];
                    }
                }};
    }

    std::size_t numAccesses = 0;

private:
    std::uint8_t& At(std::uint64_t address) { return m_bytes[address % m_bytes.size()]; }
    void Count(std::size_t size) {
        ++numAccesses;
        Demand(size > 0 && size <= kMostBytes, "a register has a length");
    }

    std::array<std::uint8_t, 64> m_bytes{};
};

std::string TextOf(std::int64_t value) {
    return std::to_string(value);
}

// Bit for bit, as what is no number equals not even itself.
std::string TextOf(double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof(bits));
    return std::to_string(bits);
}

std::string Answer(const std::function<std::string()>& ask) {
    try {
        return "= " + ask();
    } catch (const CError& error) {
        return error.what();
    }
}

void AskFormula(const std::string& formula) {
    unsigned depth = 0;
    Answer([&] {
        return TextOf(GenApi::EvaluateInteger(
            formula, [](const std::string& name) { return static_cast<std::int64_t>(name.size()); },
            depth));
    });
    Answer([&] {
        return TextOf(GenApi::EvaluateFloat(
            formula, [](const std::string& name) { return static_cast<double>(name.size()) / 4; },
            depth));
    });
    Demand(depth == 0, "every level of a formula ends");
}

class CInquiry {
public:
    explicit CInquiry(const std::string& xml) : m_nodes(xml, m_registers.Port()) {}

    void Everything() {
        for (const char* name : {"A", "B", "C", "D", "E", "F"}) {
            if (m_nodes.Has(name)) {
                About(name);
                Change(name);
                About(name);
            }
        }
    }

private:
    void Ask(const std::function<std::string()>& ask) {
        m_registers.numAccesses = 0;
        const std::string answer = Answer(ask);
        Demand(m_registers.numAccesses <= kMostAccesses, "an answer takes few accesses");
        DemandEqual(Answer(ask), answer, "the same question finds the same answer");
    }

    void About(const std::string& name) {
        const GenApi::SNode& node = m_nodes.Node(name);
        Ask([&] { return TextOf(m_nodes.Integer(name)); });
        Ask([&] { return TextOf(m_nodes.Float(name)); });
        Ask([&] { return m_nodes.Text(name); });
        Ask([&] { return std::to_string(static_cast<int>(m_nodes.Access(name))); });
        Ask([&] { return TextOf(m_nodes.IntegerLimit(node, "Max").value_or(0)); });
        Ask([&] { return TextOf(m_nodes.FloatLimit(node, "Inc").value_or(0)); });
        Ask([&] {
            const auto bytes = m_nodes.Bytes(node);
            return std::string(bytes.begin(), bytes.end());
        });
    }

    void Change(const std::string& name) {
        const auto change = [&](const std::function<void()>& set) {
            m_registers.numAccesses = 0;
            Answer([&] {
                set();
                return "";
            });
            Demand(m_registers.numAccesses <= kMostAccesses, "a change takes few accesses");
        };
        for (const std::int64_t value : {INT64_MIN, INT64_C(-1), INT64_C(1), INT64_MAX}) {
            change([&] { m_nodes.SetInteger(name, value); });
        }
        for (const double value : {-1e300, 0.5, 7.0}) {
            change([&] { m_nodes.SetFloat(name, value); });
        }
        change([&] { m_nodes.SetText(name, "text"); });
    }

    CRegisters m_registers;
    CNodeMap m_nodes;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    if (GenApi::IsZip(text)) {
        const std::string zipped = text;
        text = Answer([&] { return GenApi::Unzip(zipped, kMostBytes); });
        Demand(text.size() <= kMostBytes + 2, "an archive unpacks to no more than is wanted");
        text.erase(0, text.starts_with("= ") ? 2 : 0);
    }
    if (!text.starts_with('<')) {
        AskFormula(text);
        return 0;
    }
    Answer([&] {
        CInquiry(text).Everything();
        return "";
    });
    return 0;
}
