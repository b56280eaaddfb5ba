#include "Words.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

class CWords final : public IWords {
public:
    explicit CWords(std::size_t size) : m_bytes(size) {}
    void Copy(std::size_t offset, void* destination) const override {
        std::memcpy(destination, m_bytes.data() + offset, sizeof(std::uint32_t));
    }

private:
    std::vector<char> m_bytes;
};

} // namespace

std::unique_ptr<IWords> MakeWords(std::size_t size) {
    return std::make_unique<CWords>(size);
}
