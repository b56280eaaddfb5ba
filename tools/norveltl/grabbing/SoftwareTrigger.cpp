#include "grabbing/SoftwareTrigger.h"

#include "terminal/Console.h"
#include "terminal/Error.h"

namespace norveltl {

// The selector comes first, since it chooses what the others mean.
CSoftwareTrigger::CSoftwareTrigger(const CCameraFacts& camera) : m_camera(camera) {
    if (!camera.Has("TriggerSoftware")) {
        throw CToolError("the camera has no TriggerSoftware");
    }
    try {
        Set("TriggerSelector", "FrameStart");
        Set("TriggerSource", "Software");
        Set("TriggerMode", "On");
    } catch (...) {
        SetBack();
        throw;
    }
}

CSoftwareTrigger::~CSoftwareTrigger() {
    SetBack();
}

void CSoftwareTrigger::Set(const char* feature, const char* value) {
    if (m_camera.Has(feature)) {
        m_before.emplace_back(feature, m_camera.Get(feature));
        m_camera.Set(feature, value);
    }
}

void CSoftwareTrigger::SetBack() noexcept {
    while (!m_before.empty()) {
        try {
            m_camera.Set(m_before.back().first, m_before.back().second);
        } catch (const std::exception& error) {
            ReportError(error.what());
        }
        m_before.pop_back();
    }
}

} // namespace norveltl
