// A camera's settings as assignments in the order that doing them needs: every feature that its
// description calls streamable, under each value of its selectors. They are taken from one camera
// and given to another.
#pragma once

#include "producers/Discovery.h"
#include "producers/Features.h"

#include <string>
#include <vector>

namespace norveltl {

struct SSetting {
    std::string name;
    std::string value;
    size_t level = 0; // how many selectors it stands under
    size_t line = 0;  // of the text it was read from
};

struct SSettings {
    std::vector<SSetting> list;
    // What is left out, and why: as it cannot be set at the moment, or cannot be read.
    std::vector<std::string> notes;
    std::vector<std::string> errors;
};

// Selectors have their values again afterwards.
SSettings ReadSettings(const CFeatures& features);

struct SDifference {
    const SSetting* setting;
    std::string reason;
};

// Does them as often as more of them succeed, since the limits of one depend on others; answers
// those that the camera has not taken as they are.
std::vector<SDifference> ApplySettings(const CFeatures& features,
                                       const std::vector<SSetting>& settings);

// A line each, "NAME=VALUE", with blanks before what a selector selects. A value that begins or
// ends otherwise than a line may, or has control characters, is written as JSON does.
std::string ToText(const std::vector<SSetting>& settings);
// The same below a comment that names the camera. Throws CToolError when there is none.
std::string SettingsText(const SDevice& device, const SSettings& settings);
// Takes the same, empty lines, and comments behind "#"; throws CToolError, naming the line, for
// anything else. The file is what errors call it.
std::vector<SSetting> ParseSettings(const std::string& text, const std::string& file);

} // namespace norveltl
