// The font's code; foreign, so it is compiled without warnings.
#include "files/Font.h"

#include <stb/stb_easy_font.h>

#include <array>

namespace norveltl {

std::vector<SRectangle> RectanglesOf(std::string text) {
    struct SCorner {
        float x, y, z;
        std::array<unsigned char, 4> colour;
    };
    static_assert(sizeof(SCorner) == 16, "the font writes corners like that");
    std::vector<std::array<SCorner, 4>> quads(text.size() * 64 + 1);
    const int count = stb_easy_font_print(0, 0, text.data(), nullptr, quads.data(),
                                          static_cast<int>(quads.size() * sizeof(quads[0])));
    std::vector<SRectangle> rectangles;
    for (int i = 0; i < count; ++i) {
        const auto& [topLeft, topRight, bottomRight, bottomLeft] = quads[i];
        rectangles.push_back({static_cast<int>(topLeft.x), static_cast<int>(topLeft.y),
                              static_cast<int>(topRight.x - topLeft.x),
                              static_cast<int>(bottomLeft.y - topLeft.y)});
    }
    return rectangles;
}

int WidthOf(std::string text) {
    return stb_easy_font_width(text.data());
}

} // namespace norveltl
