// What a camera's own features say of its images. Read when an acquisition starts, as the camera
// does not change them meanwhile; copied to each buffer with its image.
#pragma once

#include "GenTL/GenTL.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

namespace GenApi {
class CNodeMap;
}

namespace Standard {

enum class EFact { Width, Height, OffsetX, OffsetY, PixelFormat, PayloadSize };

// Facts in the units of the features: pixels, bytes, and the number of the pixel format. Any
// thread may read while another one writes, and then finds some old and some new.
class CGeometry {
public:
    std::optional<std::uint64_t> Get(EFact fact) const noexcept;
    void Set(EFact fact, std::optional<std::uint64_t> value) noexcept;
    void CopyFrom(const CGeometry& other) noexcept;
    void Clear() noexcept { CopyFrom(CGeometry()); }

private:
    static constexpr std::uint64_t kUnknown = ~std::uint64_t{0};
    static constexpr std::size_t kNumFacts = 6;

    std::array<std::atomic<std::uint64_t>, kNumFacts> m_facts{kUnknown, kUnknown, kUnknown,
                                                              kUnknown, kUnknown, kUnknown};
};

// Reads the features of one camera. Its description is fetched and parsed at the first use.
class CGeometryReader {
public:
    CGeometryReader();
    ~CGeometryReader();
    CGeometryReader(const CGeometryReader&) = delete;
    CGeometryReader& operator=(const CGeometryReader&) = delete;

    // port is the first module's handle of the camera's port. What cannot be read is unknown
    // afterwards; the payload size is left.
    void Read(PORT_HANDLE port, CGeometry& geometry);
    // Another camera follows.
    void Forget();

private:
    std::mutex m_lock;
    std::unique_ptr<const GenApi::CNodeMap> m_nodes;
};

} // namespace Standard
