#include "Geometry.h"

#include "First.h"
#include "Info.h"

#include "genapi/Description.h"
#include "genapi/NodeMap.h"

#include <stdexcept>
#include <string>

namespace Standard {
namespace {

struct SFeature {
    EFact fact;
    const char* name;
};
constexpr SFeature kFeatures[] = {{EFact::Width, "Width"},
                                  {EFact::Height, "Height"},
                                  {EFact::OffsetX, "OffsetX"},
                                  {EFact::OffsetY, "OffsetY"},
                                  {EFact::PixelFormat, "PixelFormat"}};

GenApi::SPort PortOf(PORT_HANDLE port) {
    const auto check = [](GC_ERROR code, size_t wanted, size_t transferred) {
        if (code != GC_ERR_SUCCESS || transferred != wanted) {
            throw std::runtime_error("the camera's register cannot be reached");
        }
    };
    return {[=](std::uint64_t address, void* buffer, size_t size) {
                size_t transferred = size;
                const GC_ERROR code = First().GCReadPort(port, address, buffer, &transferred);
                check(code, size, transferred);
            },
            [=](std::uint64_t address, const void* buffer, size_t size) {
                size_t transferred = size;
                const GC_ERROR code = First().GCWritePort(port, address, buffer, &transferred);
                check(code, size, transferred);
            }};
}

std::unique_ptr<const GenApi::CNodeMap> ReadNodes(PORT_HANDLE port) {
    SValue url;
    if (url.Ask([port](INFO_DATATYPE* type, void* buffer, size_t* size) {
            return First().GCGetPortURLInfo(port, 0, URL_INFO_URL, type, buffer, size);
        }) != GC_ERR_SUCCESS) {
        throw std::runtime_error("the camera names no description");
    }
    const GenApi::SPort registers = PortOf(port);
    return std::make_unique<const GenApi::CNodeMap>(
        GenApi::ReadDescription(std::string(url.Text()), registers), registers);
}

// A camera without a description is one of which nothing is known.
template <class Work>
void Try(Work&& work) {
    try {
        work();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): see above
    }
}

} // namespace

std::optional<std::uint64_t> CGeometry::Get(EFact fact) const noexcept {
    const std::uint64_t value =
        m_facts[static_cast<std::size_t>(fact)].load(std::memory_order_relaxed);
    return value == kUnknown ? std::nullopt : std::optional(value);
}

void CGeometry::Set(EFact fact, std::optional<std::uint64_t> value) noexcept {
    m_facts[static_cast<std::size_t>(fact)].store(value.value_or(kUnknown),
                                                  std::memory_order_relaxed);
}

void CGeometry::CopyFrom(const CGeometry& other) noexcept {
    for (std::size_t i = 0; i < kNumFacts; ++i) {
        m_facts[i].store(other.m_facts[i].load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
    }
}

CGeometryReader::CGeometryReader() = default;
CGeometryReader::~CGeometryReader() = default;

void CGeometryReader::Read(PORT_HANDLE port, CGeometry& geometry) {
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_nodes) {
        Try([&] { m_nodes = ReadNodes(port); });
    }
    for (const SFeature& feature : kFeatures) {
        std::optional<std::uint64_t> value;
        Try([&] {
            if (m_nodes && m_nodes->Has(feature.name)) {
                value = static_cast<std::uint64_t>(m_nodes->Integer(feature.name));
            }
        });
        geometry.Set(feature.fact, value);
    }
}

void CGeometryReader::Forget() {
    const std::lock_guard<std::mutex> lock(m_lock);
    m_nodes.reset();
}

} // namespace Standard
