// Makes a camera wait for the command TriggerSoftware before each image, as long as it lives.
#pragma once

#include "grabbing/Acquisition.h"

#include <string>
#include <utility>
#include <vector>

namespace norveltl {

class CSoftwareTrigger {
public:
    // Throws CToolError when the camera has no such command. The camera must outlive this object.
    explicit CSoftwareTrigger(const CCameraFacts& camera);
    // Sets back what was set.
    ~CSoftwareTrigger();
    CSoftwareTrigger(const CSoftwareTrigger&) = delete;
    CSoftwareTrigger& operator=(const CSoftwareTrigger&) = delete;

    void Fire() const { m_camera.Execute("TriggerSoftware"); }

private:
    void Set(const char* feature, const char* value);
    void SetBack() noexcept;

    const CCameraFacts& m_camera;
    std::vector<std::pair<const char*, std::string>> m_before;
};

} // namespace norveltl
