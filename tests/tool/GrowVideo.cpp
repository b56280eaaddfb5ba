// Records a video whose segments have any size: grow_video FILE SEGMENT WIDTH HEIGHT COUNT [killed]
//
// Frame N is all of the grey N % 256. A recording that is killed ends without being told.
#include "files/AviFile.h"
#include "terminal/Console.h"

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() < 5) {
        std::cerr << "grow_video FILE SEGMENT WIDTH HEIGHT COUNT [killed]\n";
        return 2;
    }
    const auto width = static_cast<uint32_t>(std::stoul(arguments[2]));
    const auto height = static_cast<uint32_t>(std::stoul(arguments[3]));
    norveltl::CAviFile file(norveltl::PathFromUtf8(arguments[0]), norveltl::EExisting::Keep,
                            {width, height, "Y800", 8}, 50, std::stoull(arguments[1]));
    std::vector<uint8_t> frame(size_t{width} * height);
    for (unsigned long i = 0; i < std::stoul(arguments[4]); ++i) {
        frame.assign(frame.size(), static_cast<uint8_t>(i));
        file.Append(frame);
    }
    if (arguments.size() > 5) {
        std::_Exit(9);
    }
    file.Finish(25);
    return 0;
}
