// Letters as rectangles. Knows nothing of pictures.
#pragma once

#include <string>
#include <vector>

namespace norveltl {

struct SRectangle {
    int x, y, width, height;
};

// Of a text in ASCII, from its top left corner on; letters are 7 high with what hangs below to 9.
std::vector<SRectangle> RectanglesOf(std::string text);
int WidthOf(std::string text);

} // namespace norveltl
