// What a user asks of a grab.
#pragma once

#include "files/ImageSink.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace norveltl {

struct SGrabOptions {
    std::vector<std::string> devices; // none for the only one
    // How many images, and how long; 100 images when neither is given.
    std::optional<uint64_t> count;
    std::optional<double> seconds;
    // Where images are written, or beside it where an earlier run's are; empty for nowhere, "-" for
    // the standard output.
    std::string folder;
    std::string format; // "png", "pgm", "tiff", "raw"; empty for PNG files, or Y4M on the output
    std::string record; // the file for a video; empty for none
    std::string codec = "jpeg";        // of the video, or "none"
    std::string plot;                  // the file for a plot of the intervals; empty for none
    std::vector<std::string> settings; // "NAME=VALUE", done first
    std::shared_ptr<IImageSink> sink;  // where the images go as well; null for nowhere
    size_t numBuffers = 8;
    size_t queueMegabytes = 256; // of images that wait to be written
    // How long a grab goes on without any image.
    double timeoutSeconds = 5;
    // From one trigger to the next.
    double everySeconds = 0.1;
    // Whether the images are triggered by the cameras' command.
    bool triggers = false;
    bool first = false;
    // Whether the files of an earlier run are replaced.
    bool force = false;
    bool stats = false;
    bool json = false;
};

inline bool IsStreamed(const SGrabOptions& options) {
    return options.folder == "-";
}

inline EExisting ExistingOf(const SGrabOptions& options) {
    return options.force ? EExisting::Replace : EExisting::Keep;
}

} // namespace norveltl
