#include "grabbing/Acquisition.h"

#include "terminal/Console.h"

#include <limits>
#include <utility>

namespace norveltl {

static constexpr const char* kLock = "TLParamsLocked";

CCameraFacts::CCameraFacts(const CProducer& producer, DEV_HANDLE device) {
    try {
        m_features.emplace(producer, RemotePort(producer, device));
    } catch (const std::runtime_error& error) {
        m_reason = error.what();
    }
}

void CCameraFacts::Set(const std::vector<std::string>& assignments) const {
    for (const std::string& text : assignments) {
        const auto [name, value] = ParseAssignment(text);
        if (!m_features) {
            throw CToolError(name + " cannot be set: " + m_reason);
        }
        m_features->Set(name, value);
    }
}

uint64_t CCameraFacts::PayloadSize() const {
    const std::string known = "the image size is not known: the stream does not tell it, and ";
    if (!m_features) {
        throw CToolError(known + m_reason);
    }
    try {
        const int64_t size = m_features->ReadInteger("PayloadSize");
        if (size > 0) {
            return static_cast<uint64_t>(size);
        }
        throw CToolError("PayloadSize is " + std::to_string(size));
    } catch (const std::runtime_error& error) {
        throw CToolError(known + error.what());
    }
}

SImageFormat CCameraFacts::Format() const {
    SImageFormat format;
    if (!m_features) {
        return format;
    }
    const auto attempt = [](auto read) {
        try {
            read();
        } catch (const std::runtime_error& error) {
            Note(error.what());
        }
    };
    attempt([&] { format.width = Extent("Width"); });
    attempt([&] { format.height = Extent("Height"); });
    attempt([&] { format.pixelFormat = m_features->ReadEnumeration("PixelFormat"); });
    return format;
}

std::optional<double> CCameraFacts::FrameRate() const {
    for (const char* feature : {"AcquisitionResultingFrameRate", "ResultingFrameRate",
                                "AcquisitionResultingFrameRateAbs", "AcquisitionFrameRate"}) {
        try {
            if (Has(feature)) {
                if (const double rate = std::stod(Get(feature)); rate > 0 && rate < 1e6) {
                    return rate;
                }
            }
        } catch (const std::exception&) {
            // Then another one may tell.
            continue;
        }
    }
    return std::nullopt;
}

std::vector<SReadValue> CCameraFacts::Settings() const {
    constexpr size_t kMaxSettings = 5000, kMaxLength = 1000;
    std::vector<SReadValue> settings;
    if (!m_features) {
        return settings;
    }
    for (const SFeature& feature : m_features->All()) {
        if (feature.value && settings.size() < kMaxSettings) {
            settings.push_back({feature.name, feature.value->substr(0, kMaxLength)});
        }
    }
    return settings;
}

uint32_t CCameraFacts::Extent(const char* feature) const {
    const int64_t value = m_features->ReadInteger(feature);
    if (value < 1 || value > std::numeric_limits<uint32_t>::max()) {
        throw CToolError(std::string(feature) + " is " + std::to_string(value));
    }
    return static_cast<uint32_t>(value);
}

CParametersLock::CParametersLock(const CCameraFacts& camera, bool isLocked) : m_camera(camera) {
    if (!m_camera.Has(kLock)) {
        return;
    }
    try {
        const std::string before = m_camera.Get(kLock);
        if (const std::string value = isLocked ? "1" : "0"; before != value) {
            m_camera.Set(kLock, value);
            m_before = before;
        }
    } catch (const std::runtime_error& error) {
        Note(error.what());
    }
}

CParametersLock::~CParametersLock() {
    try {
        if (m_before) {
            m_camera.Set(kLock, *m_before);
        }
    } catch (const std::exception&) {
        // A camera that cannot be reached any more has forgotten it, and was told about.
        m_before.reset();
    }
}

CAcquisition::CAcquisition(CStream& stream, const CCameraFacts& camera)
    : m_lock(camera, true), m_stream(stream), m_camera(camera) {
    m_stream.Start();
    if (m_camera.Has("AcquisitionStart")) {
        m_camera.Execute("AcquisitionStart");
    }
}

CAcquisition::~CAcquisition() {
    try {
        if (m_camera.Has("AcquisitionStop")) {
            m_camera.Execute("AcquisitionStop");
        }
    } catch (const std::exception& error) {
        ReportError(error.what());
    }
    m_stream.Stop();
}

} // namespace norveltl
