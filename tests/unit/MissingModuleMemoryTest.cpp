// The system has no memory left for the module object itself.
#include "ModuleFixture.h"
#include "Thrown.h"
#include "core/LastError.h"
#include "modules/BufferInfo.h"

#include <deque>
#include <limits>
#include <new>

#if defined(__linux__)
#include <malloc.h>
#endif

namespace {

// The size for which this thread gets no memory by asking without exceptions.
thread_local std::size_t s_refusedSize = 0;

// The least size of an array for which it gets none.
thread_local std::size_t s_refusedArray = std::numeric_limits<std::size_t>::max();

class RefusedMemory {
public:
    explicit RefusedMemory(std::size_t size) { s_refusedSize = size; }
    ~RefusedMemory() { s_refusedSize = 0; }
    RefusedMemory(const RefusedMemory&) = delete;
    RefusedMemory& operator=(const RefusedMemory&) = delete;
};

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (size == s_refusedSize) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void* operator new[](std::size_t size) {
    if (size >= s_refusedArray) {
        throw std::bad_alloc();
    }
    return ::operator new(size);
}

void operator delete[](void* array) noexcept {
    ::operator delete(array);
}

void operator delete[](void* array, std::size_t /*size*/) noexcept {
    ::operator delete(array);
}

namespace {

using namespace GenICam::Client;

class MissingModuleMemoryTest : public ModuleTest {};

TEST_F(MissingModuleMemoryTest, WithoutASystemThereIsANullHandleAndNoRecord) {
    ASSERT_EQ(GCInitLib(), 0);
    RecordLastError(-7, "before");
    const uint64_t numAsked = OptivoSim_NumCalls(OPTIVO_GET_SYSTEM);
    TL_HANDLE handle = this;
    {
        const RefusedMemory refused(sizeof(CTL));
        EXPECT_EQ(TLOpen(&handle), -1006);
    }
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_GET_SYSTEM), numAsked);
    int32_t code = 0;
    char text[16] = {};
    size_t size = sizeof text;
    EXPECT_EQ(ReadLastError(&code, text, &size), 0);
    EXPECT_EQ(code, -7);
    EXPECT_STREQ(text, "before");

    EXPECT_EQ(TLOpen(&handle), 0);
    EXPECT_EQ(TLClose(handle), 0);
    EXPECT_EQ(GCCloseLib(), 0);
}

TEST_F(MissingModuleMemoryTest, WithoutADeviceItsCameraIsClosed) {
    const uint64_t numAlive = OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE);
    const uint64_t numOpened = OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE);
    {
        const RefusedMemory refused(sizeof(CDevice));
        EXPECT_THROWS(std::runtime_error, "Unable to create Device",
                      interface->OpenDevice("Norvel-G1300C-10002", 3));
    }
    EXPECT_EQ(OptivoSim_NumCalls(OPTIVO_INTERFACE_OPEN_DEVICE), numOpened + 1);
    EXPECT_EQ(OptivoSim_NumAlive(OPTIVO_OBJECT_DEVICE), numAlive);
    EXPECT_NE(interface->OpenDevice("Norvel-G1300C-10002", 3), nullptr);
}

#if defined(__linux__)

// Handles are kept in a table that grows in steps.
TEST(MissingHandleMemoryTest, ABufferWithoutAHandleKeepsNoMemory) {
    constexpr std::size_t kImage = std::size_t{64} << 20;
    constexpr std::size_t kMany = 100000;
    char memory = 0;
    std::deque<CBufferInfo> buffers;
    s_refusedArray = 100000;
    const auto announce = [&](void* image) {
        try {
            buffers.emplace_back(image, image == nullptr ? kImage : 1, nullptr);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    };
    while (buffers.size() < kMany && announce(&memory)) {
    }
    EXPECT_LT(buffers.size(), kMany);
    const std::size_t before = mallinfo2().hblkhd;
    EXPECT_FALSE(announce(nullptr));
    EXPECT_EQ(mallinfo2().hblkhd, before);
    s_refusedArray = std::numeric_limits<std::size_t>::max();
}

#endif

} // namespace
