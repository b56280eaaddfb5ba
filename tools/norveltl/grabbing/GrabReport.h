// What is written beside the images of a grab, so that they explain themselves.
#pragma once

#include "grabbing/GrabLoop.h"
#include "producers/Discovery.h"
#include "terminal/Json.h"

namespace norveltl {

// Where the images came from: the producer and the camera.
Json OriginJson(const SChoice& choice);

// What is known of a grab once its images are written.
struct SGrabFacts {
    STotals totals;
    std::vector<SReadValue> settings;
    SImageFormat cameraFormat;
    uint64_t numLeftOut = 0;
    bool isInterrupted = false;
};

// Writes it into the images' folder; throws CToolError when it cannot.
void WriteGrabReport(const CImageFolder& folder, Json origin, const SGrabFacts& facts,
                     EExisting existing);

// The same for a single image; answers the file's name, which begins like the image's.
std::string WriteImageReport(const std::filesystem::path& folder, const std::string& stem,
                             Json origin, const std::vector<SReadValue>& settings,
                             const SImageRecord& record,
                             std::chrono::system_clock::time_point arrival);

// "2026-01-31T12:00:00.250Z"
std::string TimeText(std::chrono::system_clock::time_point time);

} // namespace norveltl
