// A camera while it delivers images: what its features say about them, and its start and stop.
#pragma once

#include "files/Samples.h"
#include "grabbing/Stream.h"
#include "producers/Features.h"

#include <optional>
#include <string>
#include <vector>

namespace norveltl {

struct SReadValue {
    std::string name, value;
};

// What the camera's own features say, with the reasons why some of it may be missing.
class CCameraFacts {
public:
    CCameraFacts(const CProducer& producer, DEV_HANDLE device);

    bool Has(const char* feature) const { return m_features && m_features->Has(feature); }
    void Execute(const char* command) const { m_features->Execute(command); }
    // Why there are no features at all; empty when there are.
    const std::string& Reason() const { return m_reason; }
    // Nothing where there is a reason.
    const std::optional<CFeatures>& Features() const { return m_features; }
    // Each "NAME=VALUE"; throws CToolError for what cannot be done.
    void Set(const std::vector<std::string>& assignments) const;
    // Both are for features that it has.
    std::string Get(const char* feature) const { return m_features->Get(feature); }
    void Set(const char* feature, const std::string& value) const {
        m_features->Set(feature, value);
    }

    uint64_t PayloadSize() const;
    // Fields that cannot be read stay 0 or empty; each is told about once.
    SImageFormat Format() const;
    // How many images a second it says that it takes.
    std::optional<double> FrameRate() const;
    // Every feature that can be read now, but for those beyond a bound that no camera needs.
    std::vector<SReadValue> Settings() const;

private:
    uint32_t Extent(const char* feature) const;

    std::optional<CFeatures> m_features;
    std::string m_reason;
};

// As long as it lives, the features that an acquisition depends on are locked, or are not, where
// the camera leaves that to the program (by its feature TLParamsLocked).
class CParametersLock {
public:
    CParametersLock(const CCameraFacts& camera, bool isLocked);
    ~CParametersLock();
    CParametersLock(const CParametersLock&) = delete;
    CParametersLock& operator=(const CParametersLock&) = delete;

private:
    const CCameraFacts& m_camera;
    std::optional<std::string> m_before; // where it was another
};

// Acquires as long as it lives: starts the stream first and the camera second, and the reverse at
// the end. In between, the camera keeps what the payload depends on.
class CAcquisition {
public:
    CAcquisition(CStream& stream, const CCameraFacts& camera);
    ~CAcquisition();
    CAcquisition(const CAcquisition&) = delete;
    CAcquisition& operator=(const CAcquisition&) = delete;

private:
    const CParametersLock m_lock;
    CStream& m_stream;
    const CCameraFacts& m_camera;
};

} // namespace norveltl
