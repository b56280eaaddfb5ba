#include "camlib/CameraObjects.h"

namespace GenICam::Client {

void ClearText(char* text, std::size_t size) noexcept {
    std::memset(text, 0, size);
}

} // namespace GenICam::Client
