// A consumer of one of the maker's cameras, from the device to its images.
#pragma once

#include "Fixtures.h"
#include "Maker.h"

#include <array>
#include <cstdint>
#include <string>

inline constexpr char MICROSCOPE[] = "Norvel-U320C-20001";

// The bytes are the whole image of that number, stamp and all.
inline testing::AssertionResult IsImage(const unsigned char* bytes, size_t size, uint64_t number,
                                        uint32_t camera) {
    MakerStamp stamp{};
    std::memcpy(&stamp, bytes, sizeof stamp);
    if (stamp.magic != MAKER_MAGIC || stamp.size != size || stamp.number != number ||
        stamp.camera != camera) {
        return testing::AssertionFailure()
               << "image " << stamp.number << " of camera " << stamp.camera << " with "
               << stamp.size << " bytes instead of image " << number << " of camera " << camera;
    }
    uint32_t checksum = 0x811C9DC5;
    for (size_t i = sizeof stamp; i < size; ++i) {
        if (bytes[i] != (i * 7 + number * 31 + camera) % 256) {
            return testing::AssertionFailure() << "byte " << i << " of image " << number;
        }
        checksum = (checksum ^ bytes[i]) * 0x01000193;
    }
    return checksum == stamp.checksum ? testing::AssertionSuccess()
                                      : testing::AssertionFailure() << "the checksum";
}

class Session {
public:
    static constexpr size_t NUM_BUFFERS = 4;

    // The serial number is the camera's.
    Session(IF_HANDLE iface, const std::string& camera, uint32_t serialNumber)
        : m_camera(camera), m_serialNumber(serialNumber) {
        EXPECT_EQ(Maker_SetRate(camera.c_str(), -1), 1);
        EXPECT_OK(gentl.IFOpenDevice(iface, camera.c_str(), 4, &device));
        EXPECT_OK(gentl.DevOpenDataStream(device, "DS0", &stream));
        EXPECT_OK(gentl.GCRegisterEvent(stream, 1, &m_newBuffer));
        m_size = static_cast<size_t>(Number(9));
        for (BUFFER_HANDLE& buffer : m_buffers) {
            EXPECT_OK(gentl.DSAllocAndAnnounceBuffer(stream, m_size, &buffer, &buffer));
            EXPECT_OK(gentl.DSQueueBuffer(stream, buffer));
        }
    }

    ~Session() {
        EXPECT_OK(gentl.DSStopAcquisition(stream, 0));
        EXPECT_OK(gentl.DSFlushQueue(stream, 4));
        EXPECT_OK(gentl.DSClose(stream));
        EXPECT_OK(gentl.DevClose(device));
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void Start() const { EXPECT_OK(gentl.DSStartAcquisition(stream, 0, GENTL_INFINITE)); }

    // As many images as there are buffers, each checked; the buffers are queued again.
    void TakeRound(uint64_t first) const {
        ASSERT_EQ(Maker_Produce(m_camera.c_str(), NUM_BUFFERS), 1);
        for (uint64_t number = first; number < first + NUM_BUFFERS; ++number) {
            EVENT_NEW_BUFFER_DATA data = {};
            size_t size = sizeof data;
            ASSERT_OK(gentl.EventGetData(m_newBuffer, &data, &size, LONG_WAIT));
            ASSERT_EQ(*static_cast<BUFFER_HANDLE*>(data.pUserPointer), data.BufferHandle);
            const Info base = Ask([&](auto... out) {
                return gentl.DSGetBufferInfo(stream, data.BufferHandle, 0, out...);
            });
            ASSERT_OK(base.code);
            ASSERT_TRUE(IsImage(base.As<unsigned char*>(), m_size, number, m_serialNumber));
            ASSERT_OK(gentl.DSQueueBuffer(stream, data.BufferHandle));
        }
    }

    uint64_t Number(STREAM_INFO_CMD command) const {
        uint64_t number = 0;
        size_t size = sizeof number;
        EXPECT_OK(gentl.DSGetInfo(stream, command, nullptr, &number, &size));
        return number;
    }

    DEV_HANDLE device = nullptr;
    DS_HANDLE stream = nullptr;

private:
    Producer& gentl = TheProducer();
    std::string m_camera;
    uint32_t m_serialNumber;
    size_t m_size = 0;
    EVENT_HANDLE m_newBuffer = nullptr;
    std::array<BUFFER_HANDLE, NUM_BUFFERS> m_buffers{};
};
